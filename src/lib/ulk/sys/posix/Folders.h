#pragma once

#include <string>

namespace ulk::sys::posix {

// Where the desktop keeps what: the XDG folders of the user and those of the system. Paths are
// absolute, without a slash at the end; empty and relative settings count as unset. Reads the
// environment, so not while another thread changes it.
class Folders {
public:
    static std::string get_home(); // empty for the root

    static std::string get_documents();
    static std::string get_desktop();
    static std::string get_state();       // logs
    static std::string get_preferences(); // configuration
    static std::string get_cache();
    static std::string get_temporary();

    static std::string get_fonts();
    static std::string get_common_preferences();
    static std::string get_applications();
    static std::string get_shared_app_data();
    static std::string get_shared_user_data();

    // Makes the folder and those above it, for the user alone, where they are missing. 0 or an
    // errno.
    static int make(std::string const& path);
};

} // namespace ulk::sys::posix
