#include "host/Error.h"
#include "host/Report.h"
#include "host/WavInfo.h"
#include "tessitone/Commands.h"
#include "tessitone/JsonText.h"

#include <nlohmann/json.hpp>

#include <cstdio>
#include <memory>
#include <vector>

namespace tessitone {

namespace {

using Json = nlohmann::ordered_json;

struct Settings {
    bool json_flag = false;
    std::vector<std::string> path_arr;
};

void show_report(Context const& context, bool json_flag) {
    Json const report = ulk::host::Report::make(context.find_bundle());
    if (json_flag) {
        std::fputs(print_json(report).c_str(), stdout);
    } else {
        std::fputs(ulk::host::Report::print(report).c_str(), stdout);
    }
}

void show_files(Settings const& settings) {
    Json files = Json::array();
    std::size_t nbr_unusable = 0;
    for (auto const& path : settings.path_arr) {
        Json const info = ulk::host::WavInfo::make(path);
        nbr_unusable += !info["usable"].get<bool>();
        if (settings.json_flag) {
            files.push_back(info);
        } else {
            std::fputs(ulk::host::WavInfo::print(info).c_str(), stdout);
        }
    }
    if (settings.json_flag) {
        std::fputs(print_json(Json{{"files", files}}).c_str(), stdout);
    }
    if (nbr_unusable > 0) {
        std::fflush(stdout);
        throw ulk::host::Error(ulk::host::Error::Kind_MATERIAL,
                               "info: " + std::to_string(nbr_unusable) + " of " +
                                   std::to_string(settings.path_arr.size()) +
                                   " files cannot be used");
    }
}

} // namespace

void add_info_command(CLI::App& app, Context& context) {
    CLI::App* const command = app.add_subcommand(
        "info", "Tell what is in sound files; without any, what to put into the report of a bug");
    add_bundle_option(*command, context);
    auto const settings = std::make_shared<Settings>();
    command->add_flag("--json", settings->json_flag, "Print JSON");
    command
        ->add_option("files", settings->path_arr, "Sound files to read; WAV files chunk by chunk")
        ->type_name("FILE");
    command->callback([&context, settings] {
        settings->path_arr.empty() ? show_report(context, settings->json_flag)
                                   : show_files(*settings);
    });
}

} // namespace tessitone
