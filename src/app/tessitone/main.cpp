#include "host/Error.h"
#include "host/Log.h"
#include "tessitone/Commands.h"
#include "tessitone/Progress.h"
#include "ulk/sys/DescriptorOut.h"

#include <cstdio>
#include <exception>
#include <map>

namespace {

void add_progress_option(CLI::App& app) {
    using Format = tessitone::Progress::Format;
    static std::map<std::string, Format> const format_map = {
        {"auto", Format::AUTO}, {"json", Format::JSON}, {"none", Format::NONE}};
    app.add_option_function<std::string>(
           "--progress",
           [](std::string const& name) { tessitone::Progress::choose_format(format_map.at(name)); },
           "Progress on standard error: a line on a terminal, JSON lines, or none")
        ->check(CLI::IsMember({"auto", "json", "none"}));
}

int run(int argc, char** argv) {
    CLI::App app("Play and process sound with a bundle of plug-ins", "tessitone");
    app.set_version_flag("--version", "tessitone " TESSITONE_VERSION);
    app.fallthrough(); // --log may stand behind the subcommand too
    app.add_option_function<std::string>("--log", &ulk::host::Log::keep_all,
                                         "Write all log lines to this file")
        ->type_name("FILE");
    add_progress_option(app);
    tessitone::Context context;
    tessitone::add_plugins_command(app, context);
    tessitone::add_describe_command(app, context);
    tessitone::add_process_command(app, context);
    tessitone::add_check_command(app, context);
    tessitone::add_validate_command(app, context);
    tessitone::add_render_command(app, context);
    tessitone::add_collect_command(app);
    tessitone::add_play_command(app, context);
    tessitone::add_record_command(app, context);
    tessitone::add_devices_command(app, context);
    tessitone::add_info_command(app, context);
    tessitone::add_completion_command(app);
    try {
        app.parse(argc, argv);
        if (app.get_subcommands().empty()) {
            throw CLI::RequiredError("A subcommand");
        }
    } catch (CLI::ParseError const& e) {
        return app.exit(e) == 0 ? 0 : ulk::host::Error::Kind_USE;
    }
    return 0;
}

struct LogFlush {
    ~LogFlush() { ulk::host::Log::flush(); }
};

// The exit code; what fails is told.
int run_told(int argc, char** argv) {
    try {
        LogFlush const flush;
        return run(argc, argv);
    } catch (ulk::host::Error const& e) {
        std::fprintf(stderr, "tessitone: %s\n", e.what());
        return e.get_kind();
    } catch (std::exception const& e) {
        std::fprintf(stderr, "tessitone: %s\n", e.what());
        return ulk::host::Error::Kind_IO;
    }
}

} // namespace

int main(int argc, char** argv) {
    // Writing fails then, and is told.
    ulk::sys::DescriptorOut::ignore_gone_readers();
    int const code = run_told(argc, argv);
    // A full device or a closed pipe shows only when the buffer goes out.
    if (std::fflush(stdout) != 0 || std::ferror(stdout) != 0) {
        std::fputs("tessitone: writing to standard output failed\n", stderr);
        return ulk::host::Error::Kind_IO;
    }
    return code;
}
