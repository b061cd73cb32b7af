#include "ulk/sys/FileRefFactory.h"

#include "ulk/sys/posix/FileNode.h"
#include "ulk/sys/posix/Folders.h"
#include "ulk/udbg/log.h"

#include <algorithm>
#include <cerrno>
#include <string_view>

namespace ulk::sys {

namespace {

using posix::FileNode;
using posix::Folders;

std::string get_root() {
    return "/";
}

struct FolderRow {
    short domain;
    unsigned long type;
    std::string (*get_fnc)();
    bool make_flag;
};

constexpr FolderRow make_row(FileRefFactory::Domain domain, char const (&type)[5],
                             std::string (*get_fnc)()) {
    return {domain, FileRefFactory::make_folder_type(type), get_fnc,
            domain == FileRefFactory::kUserDomain};
}

constexpr FolderRow folder_list[] = {
    make_row(FileRefFactory::kSystemDomain, "root", get_root),
    make_row(FileRefFactory::kUserDomain, "docs", Folders::get_documents),
    make_row(FileRefFactory::kUserDomain, "desk", Folders::get_desktop),
    make_row(FileRefFactory::kUserDomain, "logs", Folders::get_state),
    make_row(FileRefFactory::kUserDomain, "pref", Folders::get_preferences),
    make_row(FileRefFactory::kUserDomain, "cach", Folders::get_cache),
    make_row(FileRefFactory::kUserDomain, "temp", Folders::get_temporary),
    make_row(FileRefFactory::kLocalDomain, "font", Folders::get_fonts),
    make_row(FileRefFactory::kLocalDomain, "pref", Folders::get_common_preferences),
    make_row(FileRefFactory::kLocalDomain, "apps", Folders::get_applications),
    make_row(FileRefFactory::kLocalDomain, "asup", Folders::get_shared_app_data),
    make_row(FileRefFactory::kLocalDomain, "sdat", Folders::get_shared_user_data),
};

// The node of a folder, or null and errno.
FSRef find_folder(short domain, unsigned long type) {
    for (FolderRow const& row : folder_list) {
        if (row.domain == domain && row.type == type) {
            std::string const path = row.get_fnc();
            int const err = row.make_flag ? Folders::make(path) : 0;
            if (err != 0) {
                errno = err;
                return nullptr;
            }
            return FileNode::from_path(path + "/"); // and not a file of that name
        }
    }
    errno = ENOENT;
    return nullptr;
}

int get_hex_digit(char c) {
    if (c >= '0' && c <= '9') {
        return c - '0';
    }
    char const lower = static_cast<char>(c | 0x20);
    return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
}

// False for what is no text of a URL.
bool decode_percent(std::string& txt) {
    std::string result;
    for (size_t i = 0; i < txt.size(); ++i) {
        if (txt[i] != '%') {
            result += txt[i];
            continue;
        }
        int const high = i + 2 < txt.size() ? get_hex_digit(txt[i + 1]) : -1;
        int const low = high >= 0 ? get_hex_digit(txt[i + 2]) : -1;
        if (low < 0) {
            return false;
        }
        result += static_cast<char>(high * 16 + low);
        i += 2;
    }
    txt = result;
    return true;
}

// The path of a URL to a file of this machine, still encoded; empty for other URLs.
std::string_view get_url_path(std::string_view url) {
    constexpr std::string_view scheme = "file:";
    constexpr std::string_view host = "localhost";
    auto const is_same_letter = [](char a, char b) { return (a | 0x20) == (b | 0x20); };
    auto const starts_with = [&](std::string_view head) {
        return url.size() >= head.size() &&
               std::equal(head.begin(), head.end(), url.begin(), is_same_letter);
    };
    if (!starts_with(scheme)) {
        return "";
    }
    url.remove_prefix(scheme.size());
    if (url.starts_with("//")) {
        url.remove_prefix(2);
        url.remove_prefix(starts_with(host) ? host.size() : 0);
    }
    url = url.substr(0, url.find_first_of("?#"));
    return url.starts_with('/') ? url : "";
}

} // namespace

FileRefFactory::Ptr FileRefFactory::from_utf8_path(std::string const& path) {
    FSRef const node = FileNode::from_path(path);
    if (node == nullptr) {
        ULK_LOG(ERROR, "FSPathMakeRef failed with error %1% for path %2%", errno, path.c_str());
    }
    return from_fsref(node);
}

FileRefFactory::Ptr FileRefFactory::from_file_url(std::string const& url) {
    std::string path(get_url_path(url));
    if (url.empty() || !decode_percent(path)) {
        ULK_LOG(ERROR, "CFURLCreateWithBytes failed path %1%", url.c_str());
        return Ptr();
    }
    return from_fsref(FileNode::from_path(path));
}

FileRefFactory::Ptr FileRefFactory::from_fsref(FSRef const& ref) {
    return ref != nullptr ? Ptr(new FileRef(ref)) : Ptr();
}

FileRefFactory::Ptr FileRefFactory::from_folder_type(short domain, unsigned long folder_type) {
    FSRef const node = find_folder(domain, folder_type);
    if (node == nullptr) {
        ULK_LOG(ERROR, "FSFindFolder (%1% - %2%) failed with error %3%", domain, folder_type,
                errno);
    }
    return from_fsref(node);
}

FileRefFactory::Ptr FileRefFactory::load(std::vector<archi::UByte> const& bytes) {
    FSRef const node = FileNode::load(bytes);
    if (node == nullptr) {
        ULK_LOG(ERROR, "FSResolveAlias failed with error %1%", errno);
    }
    return from_fsref(node);
}

FileRefFactory::Ptr FileRefFactory::get_path(Path path) {
    using Getter = Ptr (*)();
    constexpr Getter getter_list[Path_NBR_ELT] = {
        get_system_root,  get_working_dir,       get_cur_application,  get_user_documents,
        get_user_desktop, get_user_log,          get_user_preferences, get_user_cache,
        get_fonts,        get_common_preferences};
    return path >= 0 && path < Path_NBR_ELT ? getter_list[path]() : Ptr();
}

FileRefFactory::Ptr FileRefFactory::get_system_root() {
    return from_folder_type(kSystemDomain, make_folder_type("root"));
}

FileRefFactory::Ptr FileRefFactory::get_user_documents() {
    return from_folder_type(kUserDomain, make_folder_type("docs"));
}

FileRefFactory::Ptr FileRefFactory::get_user_desktop() {
    return from_folder_type(kUserDomain, make_folder_type("desk"));
}

FileRefFactory::Ptr FileRefFactory::get_user_log() {
    return from_folder_type(kUserDomain, make_folder_type("logs"));
}

FileRefFactory::Ptr FileRefFactory::get_user_preferences() {
    return from_folder_type(kUserDomain, make_folder_type("pref"));
}

FileRefFactory::Ptr FileRefFactory::get_user_cache() {
    return from_folder_type(kUserDomain, make_folder_type("cach"));
}

FileRefFactory::Ptr FileRefFactory::get_temporary() {
    return from_folder_type(kUserDomain, make_folder_type("temp"));
}

FileRefFactory::Ptr FileRefFactory::get_fonts() {
    return from_folder_type(kLocalDomain, make_folder_type("font"));
}

FileRefFactory::Ptr FileRefFactory::get_common_preferences() {
    return from_folder_type(kLocalDomain, make_folder_type("pref"));
}

FileRefFactory::Ptr FileRefFactory::get_applications() {
    return from_folder_type(kLocalDomain, make_folder_type("apps"));
}

FileRefFactory::Ptr FileRefFactory::get_shared_app_data() {
    return from_folder_type(kLocalDomain, make_folder_type("asup"));
}

FileRefFactory::Ptr FileRefFactory::get_shared_user_datas() {
    return from_folder_type(kLocalDomain, make_folder_type("sdat"));
}

FileRefFactory::Ptr FileRefFactory::get_working_dir() {
    return from_fsref(FileNode::from_path("."));
}

FileRefFactory::Ptr FileRefFactory::get_cur_application() {
    return from_fsref(FileNode::from_path("/proc/self/exe"));
}

} // namespace ulk::sys
