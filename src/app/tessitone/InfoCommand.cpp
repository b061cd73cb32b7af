#include "host/Report.h"
#include "tessitone/Commands.h"

#include <nlohmann/json.hpp>

#include <cstdio>
#include <memory>

namespace tessitone {

namespace {

void show_report(Context const& context, bool json_flag) {
    auto const report = ulk::host::Report::make(context.find_bundle());
    // Names of files are bytes, and may be no UTF-8.
    auto const handler = nlohmann::ordered_json::error_handler_t::replace;
    std::string const txt =
        json_flag ? report.dump(2, ' ', false, handler) + "\n" : ulk::host::Report::print(report);
    std::fputs(txt.c_str(), stdout);
}

} // namespace

void add_info_command(CLI::App& app, Context& context) {
    CLI::App* const command =
        app.add_subcommand("info", "Tell what to put into the report of a bug");
    add_bundle_option(*command, context);
    auto const json_flag = std::make_shared<bool>(false);
    command->add_flag("--json", *json_flag, "Print JSON");
    command->callback([&context, json_flag] { show_report(context, *json_flag); });
}

} // namespace tessitone
