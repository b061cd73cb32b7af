#include "tessitone/Commands.h"

#include <cstdlib>
#include <filesystem>

namespace tessitone {

namespace fs = std::filesystem;

std::string Context::find_bundle() const {
    if (!bundle_path.empty()) {
        return bundle_path;
    }
    char const* const env = std::getenv("TESSITONE_BUNDLE");
    if (env != nullptr && *env != '\0') {
        return env;
    }
    fs::path const folder = fs::read_symlink("/proc/self/exe").parent_path();
    fs::path const installed = folder.parent_path() / "lib" / "tessitone" / "baplug.so";
    return fs::exists(installed) ? installed.string() : (folder / "baplug.so").string();
}

std::string Context::find_folder() const {
    return fs::absolute(find_bundle()).parent_path();
}

void add_bundle_option(CLI::App& command, Context& context) {
    command.add_option("--bundle", context.bundle_path, "Bundle of plug-ins to load")
        ->type_name("FILE");
}

} // namespace tessitone
