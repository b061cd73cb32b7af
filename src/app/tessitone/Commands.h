#pragma once

#include <CLI/CLI.hpp>

#include <string>

namespace tessitone {

// What all subcommands share.
struct Context {
    std::string bundle_path; // as given by the user, empty for the installed bundle

    // The bundle to load: the one given, the one that TESSITONE_BUNDLE names, or the one that lies
    // beside the program or where it was installed.
    std::string find_bundle() const;
    // Where the bundle and the modules beside it lie.
    std::string find_folder() const;
};

// Each adds one subcommand, which runs while the command line is parsed and throws an
// ulk::host::Error on failure. context outlives the parsing.
void add_check_command(CLI::App& app, Context& context);
void add_collect_command(CLI::App& app);
void add_completion_command(CLI::App& app);
void add_devices_command(CLI::App& app, Context& context);
void add_describe_command(CLI::App& app, Context& context);
void add_info_command(CLI::App& app, Context& context);
void add_play_command(CLI::App& app, Context& context);
void add_plugins_command(CLI::App& app, Context& context);
void add_process_command(CLI::App& app, Context& context);
void add_record_command(CLI::App& app, Context& context);
void add_validate_command(CLI::App& app, Context& context);
void add_render_command(CLI::App& app, Context& context);

// The option --bundle, for the subcommands that load one.
void add_bundle_option(CLI::App& command, Context& context);

} // namespace tessitone
