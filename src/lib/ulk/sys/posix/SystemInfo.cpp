#include "ulk/sys/SystemInfo.h"

#include <cstddef>
#include <fstream>

#include <malloc.h>
#include <sys/resource.h>
#include <sys/utsname.h>
#include <unistd.h>

// There where a sanitizer's allocator stands in for that of the C library.
extern "C" [[gnu::weak]] std::size_t __sanitizer_get_current_allocated_bytes();

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
    if (__sanitizer_get_current_allocated_bytes != nullptr) {
        return static_cast<long>(__sanitizer_get_current_allocated_bytes());
    }
    struct mallinfo2 const info = ::mallinfo2();
    return static_cast<long>(info.uordblks + info.hblkhd);
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
