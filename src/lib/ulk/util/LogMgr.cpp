#include "ulk/util/LogMgr.h"

#include "ulk/sys/CritSec.h"
#include "ulk/sys/ThreadMgr.h"
#include "ulk/sys/TimerReliable.h"

namespace ulk::util {

std::unique_ptr<LogMgr> LogMgr::_instance_ptr;

LogMgr& LogMgr::use_instance() {
    sys::Mutex& mutex = use_instance_mutex();
    sys::CritSec const lock(mutex, true);
    if (_instance_ptr == nullptr) {
        _instance_ptr.reset(new LogMgr(mutex));
    }
    return *_instance_ptr;
}

void LogMgr::force_destroy() {
    sys::CritSec const lock(use_instance_mutex(), true);
    _instance_ptr.reset();
}

int LogMgr::open_file(char const* path) {
    sys::CritSec const lock(_mutex, true);
    close_file_no_lock();
    _file_ptr = std::fopen(path, "w");
    if (_file_ptr == nullptr) {
        return -1;
    }
    _filename = path;
    write_no_lock("Log started", "", -1);
    return 0;
}

int LogMgr::close_file() {
    sys::CritSec const lock(_mutex, true);
    return close_file_no_lock();
}

int LogMgr::close_file_no_lock() {
    close_file_no_guard_no_lock();
    _filename.clear();
    return 0;
}

int LogMgr::close_file_no_guard() {
    flush();
    close_stream();
    return 0;
}

int LogMgr::close_file_no_guard_no_lock() {
    flush_no_lock();
    close_stream();
    return 0;
}

std::string LogMgr::get_filename() const {
    sys::CritSec const lock(_mutex, true);
    return _filename;
}

void LogMgr::write(char const* msg, char const* scope, long line) {
    sys::CritSec const lock(_mutex, true);
    write_no_lock(msg, scope, line);
}

void LogMgr::write_no_lock(char const* msg, char const* scope, long line) {
    write_cache_no_lock(msg, scope, line);
    flush_no_lock();
}

void LogMgr::write_cache(char const* msg, char const* scope, long line) {
    sys::CritSec const lock(_mutex, true);
    write_cache_no_lock(msg, scope, line);
}

void LogMgr::write_cache_no_lock(char const* msg, char const* scope, long line) {
    if (needs_flush()) {
        flush_no_lock();
    }
    if (_nbr_lines >= MAX_NBR_LINES) {
        return;
    }
    long len = 0;
    LogLine* const slot = _ring.use_data_block_write(len);
    if (len > 0) {
        double const date = sys::TimerReliable::use_instance().get() - _start_time;
        slot->set_log(_nbr_lines, date, msg, scope, line);
        _ring.advance_write();
        ++_nbr_lines;
    }
}

void LogMgr::flush() {
    sys::CritSec const lock(_mutex, true);
    flush_no_lock();
}

void LogMgr::flush_no_lock() {
    try {
        flush_lines();
    } catch (...) {
        // A log has nobody to complain to.
    }
}

bool LogMgr::needs_flush() const {
    return _ring.is_full();
}

void LogMgr::use_aux_stream(std::FILE* stream) {
    set_aux_stream(stream);
}

void LogMgr::stop_using_aux_stream() {
    set_aux_stream(nullptr);
}

LogMgr::LogMgr(sys::Mutex& mutex)
    : _mutex(mutex)
    , _start_time(sys::TimerReliable::use_instance().get()) {}

LogMgr::~LogMgr() {
    close_file_no_lock();
}

void LogMgr::set_aux_stream(std::FILE* stream) {
    sys::CritSec const lock(_mutex, true);
    flush_no_lock();
    _aux_ptr = stream;
}

void LogMgr::close_stream() {
    if (_file_ptr != nullptr) {
        std::fclose(_file_ptr);
        _file_ptr = nullptr;
    }
}

void LogMgr::flush_lines() {
    bool written_flag = false;
    while (!_ring.is_empty()) {
        long len = 0;
        LogLine const& line = *_ring.use_data_block_read(len);
        if (_file_ptr != nullptr) {
            flush_line(_file_ptr, line, true);
        }
        if (_aux_ptr != nullptr) {
            flush_line(_aux_ptr, line, false);
        }
        _ring.advance_read();
        written_flag = true;
    }
    for (std::FILE* const file : {_file_ptr, _aux_ptr}) {
        if (written_flag && file != nullptr) {
            std::fflush(file);
        }
    }
}

// The thread shown is the one that flushes, on purpose.
void LogMgr::flush_line(std::FILE* file, LogLine const& line, bool detailed_flag) {
    if (!detailed_flag) {
        std::fprintf(file, "%s\t\n", line.get_msg());
        return;
    }
    std::fprintf(file, "%ld\t%ld\t%.3f\t%s\t%s", line.get_order(),
                 static_cast<long>(sys::ThreadMgr::get_current_thread_id()), line.get_date(),
                 line.get_msg(), line.get_scope());
    if (line.get_line() > 0) {
        std::fprintf(file, ", %ld", line.get_line());
    }
    std::fputc('\n', file);
}

// Local, so that it stands whatever static object logs first.
sys::Mutex& LogMgr::use_instance_mutex() {
    static sys::Mutex _instance_mutex;
    return _instance_mutex;
}

} // namespace ulk::util
