#include "ulk/udbg/LogMgr.h"

#include "ulk/sys/CritSec.h"
#include "ulk/sys/SystemLog.h"
#include "ulk/sys/ThreadMgr.h"
#include "ulk/sys/posix/Folders.h"
#include "ulk/txt/out/Print.h"
#include "ulk/txt/out/PrintNa.h"
#include "ulk/util/LogMgr.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace ulk::udbg {

std::unique_ptr<LogMgr> LogMgr::_instance_aptr;
std::atomic<LogMgr*> LogMgr::_instance_ptr{nullptr};

LogMgr& LogMgr::use_instance() {
    return use_instance_or(Mode_UTIL);
}

void LogMgr::create_empty_if_not_existing() {
    use_instance_or(Mode_NONE);
}

void LogMgr::create_as_plugin(char const* name, Callback callback) {
    LogMgr& mgr = use_instance_or(Mode_NONE);
    if (mgr._mode != Mode_PLUGIN) {
        mgr.set_name(name);
        mgr._callback = callback;
        mgr._mode = Mode_PLUGIN;
    }
}

void LogMgr::create_as_util(Config config) {
    create_as(Mode_UTIL, config);
}

void LogMgr::create_as_printf(Config config) {
    create_as(Mode_PRINTF, config);
}

void LogMgr::create_as_win32_debugger(Config config) {
    create_as(Mode_WIN32_DEBUGGER, config);
}

void LogMgr::create_as_syslog(char const* ident) {
    LogMgr& mgr = use_instance_or(Mode_NONE);
    if (mgr._mode != Mode_SYSLOG) {
        mgr.set_name("main");
        sys::SystemLog::open(ident);
        mgr._mode = Mode_SYSLOG;
    }
}

void LogMgr::create_as_util_library_logs(char const* folder, char const* file, Config config) {
    constexpr std::size_t path_len_max = 4096;
    create_as_util(config);
    std::string const base = sys::posix::Folders::get_state();
    if (int const err = sys::posix::Folders::make(base); err != 0) {
        std::printf("FSFindFolder kUserDomain/kLogsFolderType failed with error %ld\n",
                    static_cast<long>(err));
        return;
    }
    if (base.size() > path_len_max) {
        std::printf("FSRefMakePath failed with error %ld\n", static_cast<long>(ENAMETOOLONG));
        return;
    }
    txt::out::Print print;
    std::string const& path = print;
    print.print("%1%/%2%").arg(base.c_str()).arg(folder);
    sys::posix::Folders::make(path); // what fails shows when the file is opened
    print.print("%1%/%2%/%3%").arg(base.c_str()).arg(folder).arg(file);
    util::LogMgr::use_instance().open_file(path.c_str());
}

void LogMgr::set_scope_crop(char const* text) {
    if (text == nullptr) {
        return;
    }
    LogMgr& mgr = use_instance_or(Mode_NONE);
    char const own_path[] = __FILE__;
    if (char const* const pos = std::strstr(own_path, text); pos != nullptr) {
        mgr._crop_len = pos - own_path + static_cast<long>(std::strlen(text));
    }
}

int LogMgr::execute_command(int cmd, void* data) {
    if (cmd != CMD_WRITE) {
        return -1;
    }
    return use_instance().dispatch(*static_cast<Record*>(data));
}

void LogMgr::indent(int delta) {
    _indent += delta;
}

void LogMgr::escape_slash(std::string& txt) {
    for (auto pos = txt.find('/'); pos != std::string::npos; pos = txt.find('/', pos + 2)) {
        txt.insert(pos, 1, '/');
    }
}

void LogMgr::write(Debugger::Level level, char const* text, char const* source,
                   char const* function, long line) noexcept {
    Record record = {_name, level, text, crop(source), function, line, 0};
    send(record);
}

void LogMgr::write_cache(Debugger::Level level, char const* text, char const* source,
                         char const* function, long line) noexcept {
    Record record = {_name, level, text, crop(source), function, line, 1};
    send(record);
}

void LogMgr::write_dump_abort(Debugger::Level level, char const* text, char const* source,
                              char const* function, long line) noexcept {
    write(level, text, source, function, line);
    sys::ThreadMgr::sleep(1.0);
    std::abort();
}

LogMgr::LogMgr(Mode mode)
    : _mode(mode) {}

// Who logs at the program's very end finds no instance, not a dead one.
LogMgr::~LogMgr() {
    _instance_ptr = nullptr;
}

LogMgr& LogMgr::use_instance_or(Mode mode_if_new) {
    LogMgr* const mgr_ptr = _instance_ptr.load(std::memory_order_acquire);
    return mgr_ptr != nullptr ? *mgr_ptr : create_instance(mode_if_new);
}

LogMgr& LogMgr::create_instance(Mode mode_if_new) {
    static sys::Mutex mutex_new;
    sys::CritSec const lock(mutex_new, true);
    if (_instance_aptr == nullptr) {
        _instance_aptr.reset(new LogMgr(mode_if_new));
        _instance_ptr.store(_instance_aptr.get(), std::memory_order_release);
    }
    return *_instance_aptr;
}

void LogMgr::create_as(Mode mode, Config const& config) {
    LogMgr& mgr = use_instance_or(Mode_NONE);
    if (mgr._mode != mode) {
        mgr._config = config;
        mgr.set_name("main");
        mgr._mode = mode;
    }
}

void LogMgr::set_name(char const* name) {
    std::size_t const len = std::min(std::strlen(name), sizeof(_name) - 1);
    std::memmove(_name, name, len);
    _name[len] = '\0';
}

void LogMgr::send(Record& record) noexcept {
    try {
        dispatch(record);
    } catch (...) {
        // A log has nobody to complain to.
    }
}

int LogMgr::dispatch(Record& record) {
    char str[LINE_LEN_MAX + 1];
    switch (_mode) {
    case Mode_UTIL:
        write_str(str, record, false);
        if (record.cached != 0) {
            util::LogMgr::use_instance().write_cache(str, "", -1);
        } else {
            util::LogMgr::use_instance().write(str, "", -1);
        }
        return 0;
    case Mode_SYSLOG: {
        int const prio = Debugger::get_syslog_priority(static_cast<Debugger::Level>(record.level));
        if (prio >= 0) {
            sys::SystemLog::write(prio, record.name, record.text, record.path, record.function,
                                  record.line);
        }
        return 0;
    }
    case Mode_PRINTF:
        write_str(str, record, true);
        std::printf("%s", str);
        return 0;
    case Mode_PLUGIN:
        return _callback != nullptr ? _callback(CMD_WRITE, &record) : 0;
    case Mode_NONE:
    case Mode_WIN32_DEBUGGER:
        return 0;
    }
    return -2;
}

// The texts go in as they are, not through a format: the caller may be the real-time thread.
void LogMgr::write_str(char (&dst)[LINE_LEN_MAX + 1], Record const& record, bool newline_flag) {
    txt::out::PrintNa print(dst, LINE_LEN_MAX);
    print.print("");
    txt::out::DevInterface& dev = print;
    if (_config.indent_thread_flag) {
        dev.print_fill(' ', get_thread_index() * _config.nbr_blanks_per_thread);
    }
    dev.print_fill(' ', _indent);
    auto const add = [&dev](bool flag, char const* piece) {
        if (flag) {
            dev.print_text(piece, piece != nullptr ? static_cast<long>(std::strlen(piece)) : 0);
            dev.print_char('\t');
        }
    };
    add(_config.name_flag, record.name);
    add(_config.level_flag, Debugger::get_level_txt(static_cast<Debugger::Level>(record.level)));
    add(true, record.text);
    add(_config.source_flag, record.path);
    add(_config.function_flag, record.function);
    if (_config.line_flag) {
        print.cat("%1%\t").arg(record.line);
    }
    if (newline_flag) {
        dev.print_char('\n');
    }
    dev.print_end();
}

// The first thread to log has index 0.
long LogMgr::get_thread_index() {
    sys::CritSec const lock(_mutex, true);
    auto const [pos, new_flag] =
        _thread_map.try_emplace(sys::ThreadMgr::get_current_thread_id(), _next_thread_index);
    _next_thread_index += new_flag ? 1 : 0;
    return pos->second;
}

// A path shorter than the others ends empty.
char const* LogMgr::crop(char const* source) const {
    auto const len = static_cast<std::size_t>(_crop_len);
    void const* const end = std::memchr(source, '\0', len);
    return end != nullptr ? static_cast<char const*>(end) : source + len;
}

} // namespace ulk::udbg
