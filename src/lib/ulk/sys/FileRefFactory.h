#pragma once

#include "ulk/archi/types.h"
#include "ulk/mem/SharedPtr.h"
#include "ulk/sys/FSRef.h"
#include "ulk/sys/FileRef.h"

#include <string>
#include <vector>

namespace ulk::sys {

// Makes references to files and directories. All give null on failure.
class FileRefFactory {
public:
    using Ptr = mem::SharedPtr<FileRef>;

    enum Path : int {
        Path_SYSTEM_ROOT,
        Path_WORKING_DIR,
        Path_CUR_APPLICATION,
        Path_USER_DOCUMENTS,
        Path_USER_DESKTOP,
        Path_USER_LOG,
        Path_USER_PREFERENCES,
        Path_USER_CACHE,
        Path_FONTS,
        Path_COMMON_PREFERENCES,

        Path_NBR_ELT
    };

    // Whose folder it is.
    enum Domain : short { kSystemDomain = -32766, kLocalDomain = -32765, kUserDomain = -32763 };

    // Symbolic links are followed.
    static Ptr from_utf8_path(std::string const& path);

    // "file:///path", with %XX for any byte; the host must be none or "localhost".
    static Ptr from_file_url(std::string const& url);

    static Ptr from_fsref(FSRef const& ref); // null gives null

    // The well-known folder of a domain; its type is made of four characters, as by
    // make_folder_type("docs"). The user's folders are made if missing.
    static Ptr from_folder_type(short domain, unsigned long folder_type);
    static constexpr unsigned long make_folder_type(char const (&txt)[5]) {
        unsigned long code = 0;
        for (int i = 0; i < 4; ++i) {
            code = code * 256 + static_cast<unsigned char>(txt[i]);
        }
        return code;
    }

    // From the bytes of FileRef::save(). Finds files that were renamed or moved near by, and rather
    // nothing than another file.
    static Ptr load(std::vector<archi::UByte> const& bytes);

    static Ptr get_path(Path path);

    static Ptr get_system_root();
    static Ptr get_user_documents();
    static Ptr get_user_desktop();
    static Ptr get_user_log();
    static Ptr get_user_preferences();
    static Ptr get_user_cache();
    static Ptr get_temporary();
    static Ptr get_fonts();
    static Ptr get_common_preferences();
    static Ptr get_applications();
    static Ptr get_shared_app_data();
    static Ptr get_shared_user_datas();

    static Ptr get_working_dir();
    static Ptr get_cur_application(); // the program's file
};

} // namespace ulk::sys
