#include "ulk/sys/posix/Folders.h"

#include "ulk/sys/posix/SysCall.h"

#include <cerrno>
#include <cstdlib>
#include <fstream>
#include <vector>

#include <pwd.h>
#include <unistd.h>

namespace ulk::sys::posix {

namespace {

constexpr unsigned int user_mode = 0700;

std::string trim(std::string path) {
    while (path.size() > 1 && path.back() == '/') {
        path.pop_back();
    }
    return path;
}

// The first absolute path of a variable that holds one, or several with colons between.
std::string get_variable(char const* name, std::string const& fallback) {
    char const* const val = std::getenv(name);
    std::string_view rest = val != nullptr ? val : "";
    while (!rest.empty()) {
        auto const len = std::min(rest.find(':'), rest.size());
        if (rest.front() == '/') {
            return trim(std::string(rest.substr(0, len)));
        }
        rest.remove_prefix(std::min(len + 1, rest.size()));
    }
    return fallback;
}

// The value of a line such as XDG_DESKTOP_DIR="$HOME/Desktop", as a shell would read it; empty if
// it is no absolute path.
std::string parse_user_dir(std::string const& line, std::string const& key) {
    auto const beg = line.find_first_not_of(" \t");
    std::string const head = key + "=\"";
    if (beg == std::string::npos || line.compare(beg, head.size(), head) != 0) {
        return "";
    }
    std::string_view rest = std::string_view(line).substr(beg + head.size());
    std::string path;
    constexpr std::string_view home = "$HOME";
    if (rest.starts_with("$HOME/") || rest.starts_with("$HOME\"")) {
        path = Folders::get_home();
        rest.remove_prefix(home.size());
    }
    for (size_t i = 0; i < rest.size() && rest[i] != '"'; ++i) {
        if (rest[i] == '\\' && i + 1 < rest.size()) {
            ++i;
        }
        path += rest[i];
    }
    return path.starts_with('/') ? trim(path) : "";
}

// A folder of the user's choice, by the user-dirs file; the last line that names it counts.
std::string get_user_dir(std::string const& key, std::string const& fallback) {
    std::ifstream file(Folders::get_preferences() + "/user-dirs.dirs");
    std::string path;
    for (std::string line; std::getline(file, line);) {
        std::string const found = parse_user_dir(line, key);
        path = found.empty() ? path : found;
    }
    return path.empty() ? Folders::get_home() + fallback : path;
}

} // namespace

std::string Folders::get_home() {
    std::string const path = get_variable("HOME", "");
    if (!path.empty()) {
        return path == "/" ? "" : path;
    }
    std::vector<char> buf(16384);
    passwd entry;
    passwd* found_ptr = nullptr;
    bool const found_flag =
        ::getpwuid_r(::getuid(), &entry, buf.data(), buf.size(), &found_ptr) == 0 &&
        found_ptr != nullptr && entry.pw_dir != nullptr && entry.pw_dir[0] == '/';
    std::string const dir = found_flag ? trim(entry.pw_dir) : "/";
    return dir == "/" ? "" : dir;
}

std::string Folders::get_documents() {
    return get_user_dir("XDG_DOCUMENTS_DIR", "/Documents");
}

std::string Folders::get_desktop() {
    return get_user_dir("XDG_DESKTOP_DIR", "/Desktop");
}

std::string Folders::get_state() {
    return get_variable("XDG_STATE_HOME", get_home() + "/.local/state");
}

std::string Folders::get_preferences() {
    return get_variable("XDG_CONFIG_HOME", get_home() + "/.config");
}

std::string Folders::get_cache() {
    return get_variable("XDG_CACHE_HOME", get_home() + "/.cache");
}

std::string Folders::get_temporary() {
    return get_variable("TMPDIR", "/tmp");
}

std::string Folders::get_fonts() {
    return "/usr/share/fonts";
}

std::string Folders::get_common_preferences() {
    return get_variable("XDG_CONFIG_DIRS", "/etc/xdg");
}

std::string Folders::get_applications() {
    return "/usr/bin";
}

std::string Folders::get_shared_app_data() {
    return get_variable("XDG_DATA_DIRS", "/usr/local/share");
}

std::string Folders::get_shared_user_data() {
    return "/srv";
}

int Folders::make(std::string const& path) {
    for (size_t pos = path.find('/', 1); pos != std::string::npos; pos = path.find('/', pos + 1)) {
        SysCall::make_dir(path.substr(0, pos).c_str(), user_mode); // the last one tells
    }
    return SysCall::make_dir(path.c_str(), user_mode) == 0 || errno == EEXIST ? 0 : errno;
}

} // namespace ulk::sys::posix
