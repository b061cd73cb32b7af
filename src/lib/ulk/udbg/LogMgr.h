#pragma once

#include "ulk/sys/Mutex.h"
#include "ulk/udbg/Debugger.h"

#include <atomic>
#include <map>
#include <memory>
#include <string>

namespace ulk::udbg {

// The front end of logging: decorates a message and sends it where the mode says. A host works in
// util mode, whose lines go to the ring and file of util::LogMgr. A bundle works in plug-in mode:
// it hands records to the host's function, which passes them to execute_command() of its own
// LogMgr.
//
// The create operations, set_scope_crop() and indent() belong to the start, before other threads
// log. Logging itself may be done by any thread and never fails.
class LogMgr {
public:
    // What a line shows. The name stands first, the text between level and source.
    struct Config {
        bool level_flag = true;
        bool source_flag = true;
        bool function_flag = true;
        bool line_flag = true;
        bool name_flag = true;
        bool indent_thread_flag = false; // first blanks by the index of the thread
        long nbr_blanks_per_thread = 0;
    };

    // What crosses from a plug-in to the host, with command 1.
    struct Record {
        char const* name; // of the sender
        int level;        // Debugger::Level
        char const* text;
        char const* path; // of the source, with the date, cropped
        char const* function;
        long line;
        int cached; // 1 from write_cache(), else 0
    };
    using Callback = int (*)(int cmd, void* data);

    static constexpr int CMD_WRITE = 1;

    static LogMgr& use_instance(); // real-time once the instance stands; else made as util
    static void create_empty_if_not_existing(); // swallows all until a mode is set

    // Each does nothing if the mode is set already, and else changes the mode of the instance.
    static void create_as_plugin(char const* name, Callback callback); // 255 characters
    static void create_as_util(Config config);
    static void create_as_printf(Config config);
    static void create_as_win32_debugger(Config config); // writes nothing on this platform
    static void create_as_syslog(char const* ident);
    // As util, with the file named in folder, which is made, of the user's log folder.
    static void create_as_util_library_logs(char const* folder, char const* file, Config config);

    // Source paths are shown from behind the first text in the path of this class's own source,
    // the same count of characters for all. Null does nothing, as does a text that isn't there.
    static void set_scope_crop(char const* text);

    // Takes a Record of a plug-in. 0; -1 for commands other than 1; what the host answers in
    // plug-in mode.
    static int execute_command(int cmd, void* data);

    void indent(int delta);                     // by delta blanks
    static void escape_slash(std::string& txt); // doubles each "/"

    // source: path without extension, ", " and the date of the build. function: its signature.
    // write_cache() is real-time in plug-in and util mode, but for a mutex of the host.
    void write(Debugger::Level level, char const* text, char const* source, char const* function,
               long line) noexcept;
    void write_cache(Debugger::Level level, char const* text, char const* source,
                     char const* function, long line) noexcept;
    // Logs, waits a second for the line to reach its target, and aborts.
    [[noreturn]] void write_dump_abort(Debugger::Level level, char const* text, char const* source,
                                       char const* function, long line) noexcept;

private:
    enum Mode : int {
        Mode_NONE = -1,
        Mode_UTIL,
        Mode_SYSLOG,
        Mode_PRINTF,
        Mode_WIN32_DEBUGGER,
        Mode_PLUGIN
    };
    static constexpr long LINE_LEN_MAX = 1024;
    static constexpr long NAME_SIZE = 256;

    explicit LogMgr(Mode mode);
    LogMgr(LogMgr const&) = delete;
    LogMgr& operator=(LogMgr const&) = delete;
    ~LogMgr();
    friend std::default_delete<LogMgr>;

    static LogMgr& create_instance(Mode mode_if_new);
    static LogMgr& use_instance_or(Mode mode_if_new);
    static void create_as(Mode mode, Config const& config);
    void set_name(char const* name);

    void send(Record& record) noexcept;
    int dispatch(Record& record);
    void write_str(char (&dst)[LINE_LEN_MAX + 1], Record const& record, bool newline_flag);
    long get_thread_index();
    char const* crop(char const* source) const;

    static std::unique_ptr<LogMgr> _instance_aptr;
    static std::atomic<LogMgr*> _instance_ptr; // the same, once it is whole

    Mode _mode;
    Config _config;
    char _name[NAME_SIZE] = "main";
    long _indent = 0;
    long _crop_len = 0;
    Callback _callback = nullptr;
    sys::Mutex _mutex; // guards the next two
    long _next_thread_index = 0;
    std::map<unsigned long, long> _thread_map; // index by identifier
};

} // namespace ulk::udbg
