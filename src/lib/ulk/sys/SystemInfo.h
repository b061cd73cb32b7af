#pragma once

#include <limits>
#include <string>

namespace ulk::sys {

// What the machine says of itself, for reports. Texts are empty and numbers -1 where it doesn't
// tell. Any thread; reads files.
class SystemInfo {
public:
    static std::string get_system_name();    // "Debian GNU/Linux 12 (bookworm)"
    static std::string get_kernel_name();    // "Linux 6.1.0-18-amd64"
    static std::string get_machine_name();   // "x86_64"
    static std::string get_processor_name(); // as its maker calls it

    static long get_page_len();      // bytes
    static long get_used_heap_len(); // bytes that this process has allocated and not freed

    // What this process may have.
    static constexpr long UNLIMITED = std::numeric_limits<long>::max();
    static long get_max_nbr_open_files();
    static long get_max_locked_len(); // bytes of memory
    static long get_max_rt_priority();
};

} // namespace ulk::sys
