#include "host/Error.h"
#include "host/check/Checker.h"
#include "tessitone/Commands.h"
#include "tessitone/JsonText.h"
#include "tessitone/Progress.h"

#include <nlohmann/json.hpp>

#include <cstdio>
#include <memory>

namespace tessitone {

namespace {

using ulk::host::Error;
using ulk::host::check::Checker;
using ulk::host::check::Test;

struct Arguments {
    Checker::Settings settings;
    std::vector<std::string> only_arr;
    bool json_flag = false;
    bool list_flag = false;
};

void print(std::string const& txt, nlohmann::ordered_json const& json, bool json_flag) {
    std::fputs(json_flag ? print_json(json).c_str() : txt.c_str(), stdout);
    std::fflush(stdout); // ahead of what may follow on standard error
}

void check(Context const& context, Arguments& args) {
    if (args.list_flag) {
        print(Checker::print_list(), Checker::list_tests(), args.json_flag);
        return;
    }
    auto& settings = args.settings;
    if (settings.bundle_path.empty()) {
        settings.bundle_path = context.find_bundle();
    }
    for (std::string const& name : args.only_arr) {
        settings.test_list.push_back(Test::find(name));
    }
    Checker::Report report;
    {
        Progress progress(settings.bundle_path);
        report = Checker::run(settings,
                              [&progress](int done, int total) { progress.show(done, total); });
    }
    print(report.print(), report.conv_to_json(), args.json_flag);
    if (!report.loaded_flag) {
        throw Error(Error::Kind_MATERIAL, settings.bundle_path + ": cannot be used");
    }
    if (report.count(Checker::Verdict_FAIL) > 0 || !report.ended_flag) {
        throw Error(Error::Kind_LOST, settings.bundle_path + ": does not keep the protocol");
    }
}

} // namespace

void add_check_command(CLI::App& app, Context& context) {
    CLI::App* const command =
        app.add_subcommand("check", "Validate a bundle: does it keep the protocol?");
    auto const args = std::make_shared<Arguments>();
    command
        ->add_option("bundle", args->settings.bundle_path,
                     "Bundle to validate; the one that other subcommands load when not given")
        ->type_name("BUNDLE");
    command->add_flag("--json", args->json_flag, "Print JSON");
    command->add_flag("--list", args->list_flag, "List the tests, and run none");
    command->add_option("--only", args->only_arr, "Run this test alone; may be given again")
        ->type_name("NAME")
        ->expected(1)
        ->allow_extra_args(false)
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
    command->add_option("--seed", args->settings.seed, "Start of all random choices")
        ->type_name("N")
        ->capture_default_str();
    command
        ->add_option("--timeout", args->settings.time_max,
                     "Seconds that one part of the tests may take")
        ->type_name("SECONDS")
        ->check(CLI::Range(0.01, 86400.0))
        ->capture_default_str();
    command->callback([&context, args] { check(context, *args); });
}

} // namespace tessitone
