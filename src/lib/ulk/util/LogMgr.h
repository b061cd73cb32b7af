#pragma once

#include "ulk/mem/LockFreeRingFifo.h"
#include "ulk/sys/Mutex.h"
#include "ulk/util/LogLine.h"

#include <cstdio>
#include <memory>
#include <string>

namespace ulk::util {

// The file back end of logging. Finished lines wait in a ring and go to a log file and to an
// optional second stream when the ring is flushed; with neither, they are consumed. Any thread;
// each operation takes one mutex, which its _no_lock twin expects to be held. Problems with the
// targets are swallowed. After MAX_NBR_LINES all lines are dropped, so no file outgrows that.
class LogMgr {
public:
    static constexpr long MAX_NBR_LINES = 1000000;
    static constexpr long RING_SIZE = 64; // slots, of which one stays unused

    // Made at the first use, lives until force_destroy() or the end of the program (of a bundle:
    // until it is unloaded), which flushes and closes the file.
    static LogMgr& use_instance();
    static void force_destroy(); // nobody may still be logging

    // Truncates or makes the file and writes the line "Log started". What waits goes to the former
    // file, which is closed. 0, or -1 and no file is open.
    int open_file(char const* path);
    int close_file();          // 0
    int close_file_no_lock();  // 0
    int close_file_no_guard(); // 0. Keeps the file name, and locks for the flush alone
    int close_file_no_guard_no_lock();
    std::string get_filename() const; // empty without a file

    // line: number shown behind the scope if above 0.
    void write(char const* msg, char const* scope, long line); // and flushes
    void write_no_lock(char const* msg, char const* scope, long line);
    // real-time, but for the mutex. Touches no file unless the ring is full.
    void write_cache(char const* msg, char const* scope, long line);
    void write_cache_no_lock(char const* msg, char const* scope, long line);
    void flush();
    void flush_no_lock();
    bool needs_flush() const; // the ring is full. For a service thread to poll

    // The stream gets the messages alone. It stays the caller's.
    void use_aux_stream(std::FILE* stream);
    void stop_using_aux_stream();

private:
    explicit LogMgr(sys::Mutex& mutex);
    LogMgr(LogMgr const&) = delete;
    LogMgr& operator=(LogMgr const&) = delete;
    ~LogMgr();
    friend std::default_delete<LogMgr>;

    void set_aux_stream(std::FILE* stream);
    void close_stream();
    void flush_lines();
    static void flush_line(std::FILE* file, LogLine const& line, bool detailed_flag);
    static sys::Mutex& use_instance_mutex();

    static std::unique_ptr<LogMgr> _instance_ptr;

    sys::Mutex& _mutex;
    double _start_time;
    long _nbr_lines = 0; // stored so far, the order number of the next one
    mem::LockFreeRingFifo<LogLine> _ring{RING_SIZE};
    std::FILE* _file_ptr = nullptr;
    std::string _filename;
    std::FILE* _aux_ptr = nullptr;
};

} // namespace ulk::util
