#include "ulk/sys/SystemInfo.h"

#include <fstream>

#include <malloc.h>
#include <sys/resource.h>
#include <sys/utsname.h>
#include <unistd.h>

namespace ulk::sys {

namespace {

// What follows the first separator of the first line that begins with the key.
std::string find_value(char const* pathname, std::string const& key, char separator) {
    std::ifstream file(pathname);
    for (std::string line; std::getline(file, line);) {
        auto const pos = line.find(separator);
        if (line.starts_with(key) && pos != std::string::npos) {
            auto const beg = line.find_first_not_of(" \t\"", pos + 1);
            auto const end = line.find_last_not_of(" \t\"");
            return beg != std::string::npos ? line.substr(beg, end + 1 - beg) : "";
        }
    }
    return "";
}

long get_limit(decltype(RLIMIT_NOFILE) resource) {
    rlimit limit;
    if (::getrlimit(resource, &limit) != 0) {
        return -1;
    }
    return limit.rlim_cur == RLIM_INFINITY ? SystemInfo::UNLIMITED
                                           : static_cast<long>(limit.rlim_cur);
}

} // namespace

std::string SystemInfo::get_system_name() {
    return find_value("/etc/os-release", "PRETTY_NAME=", '=');
}

std::string SystemInfo::get_kernel_name() {
    utsname names;
    return ::uname(&names) >= 0 ? std::string(names.sysname) + " " + names.release : "";
}

std::string SystemInfo::get_machine_name() {
    utsname names;
    return ::uname(&names) >= 0 ? names.machine : "";
}

std::string SystemInfo::get_processor_name() {
    return find_value("/proc/cpuinfo", "model name", ':');
}

long SystemInfo::get_page_len() {
    return ::sysconf(_SC_PAGESIZE);
}

long SystemInfo::get_used_heap_len() {
    // A sanitizer's allocator tells nothing here.
    struct mallinfo2 const info = ::mallinfo2();
    return info.arena + info.hblkhd != 0 ? static_cast<long>(info.uordblks + info.hblkhd) : -1;
}

long SystemInfo::get_max_nbr_open_files() {
    return get_limit(RLIMIT_NOFILE);
}

long SystemInfo::get_max_locked_len() {
    return get_limit(RLIMIT_MEMLOCK);
}

long SystemInfo::get_max_rt_priority() {
    return get_limit(RLIMIT_RTPRIO);
}

} // namespace ulk::sys
