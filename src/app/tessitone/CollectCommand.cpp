#include "host/session/Collection.h"
#include "tessitone/Commands.h"
#include "tessitone/Progress.h"

#include <cstdio>
#include <memory>
#include <string>

namespace tessitone {

namespace {

using ulk::host::session::Collection;

struct Arguments {
    std::string session_path;
    std::string folder;
};

void collect(Arguments const& args) {
    Collection::Result result;
    {
        Progress progress("collect");
        result = Collection::collect(
            args.session_path, args.folder,
            [&progress](long long done, long long total) { progress.show(done, total); });
    }
    std::printf("%s: samples %ld, %.1f MB\n", result.session_path.c_str(), result.nbr_samples,
                static_cast<double>(result.nbr_bytes) / 1e6);
}

} // namespace

void add_collect_command(CLI::App& app) {
    CLI::App* const command =
        app.add_subcommand("collect", "Copy a session with all its material into one folder");
    auto const args = std::make_shared<Arguments>();
    command->add_option("session", args->session_path, "Session file")
        ->type_name("SESSION")
        ->required();
    command->add_option("folder", args->folder, "Folder to make, or an empty one")
        ->type_name("DIR")
        ->required();
    command->callback([args] { collect(*args); });
}

} // namespace tessitone
