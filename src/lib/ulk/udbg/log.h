#pragma once

#include "ulk/txt/out/PrintNa.h"
#include "ulk/udbg/Debugger.h"
#include "ulk/udbg/LogMgr.h"

#include <cmath>
#include <cstddef>
#include <type_traits>

namespace ulk::udbg {

// The text by which a log statement tells its source: the path of the file without its extension,
// ", " and the date of the build. Made at compile time.
template <std::size_t SIZE>
struct LogSource {
    char txt[SIZE] = {};
};

template <std::size_t PATH_SIZE, std::size_t DATE_SIZE>
consteval auto make_log_source(char const (&path)[PATH_SIZE], char const (&date)[DATE_SIZE]) {
    std::size_t path_len = PATH_SIZE - 1;
    for (std::size_t i = PATH_SIZE - 1; i > 0 && path[i] != '/'; --i) {
        if (path[i] == '.') {
            path_len = i;
            break;
        }
    }
    LogSource<PATH_SIZE + DATE_SIZE + 1> source;
    std::size_t pos = 0;
    for (; pos < path_len; ++pos) {
        source.txt[pos] = path[pos];
    }
    source.txt[pos++] = ',';
    source.txt[pos++] = ' ';
    for (std::size_t i = 0; i + 1 < DATE_SIZE; ++i) {
        source.txt[pos++] = date[i];
    }
    return source;
}

// The formatter refuses numbers that are not finite, and a log line about one is wanted most.
template <class T>
void push_log_arg(txt::out::PrintNa& print, T const& arg) {
    if constexpr (std::is_floating_point_v<T>) {
        if (!std::isfinite(arg)) {
            print.arg(std::isnan(arg) ? "nan" : arg < 0 ? "-inf" : "inf");
            return;
        }
    }
    print.arg(arg);
}

using LogWriteFnc = void (LogMgr::*)(Debugger::Level level, char const* text, char const* source,
                                     char const* function, long line) noexcept;

// Formats on the stack and hands over. Always eight arguments: those that the format does not
// need fall on a finished print. Out of line, to keep the buffers out of the caller's frame.
// real-time with write_cache().
template <class... Args>
[[gnu::noinline]] void write_log(LogWriteFnc write_fnc, Debugger::Level level, char const* source,
                                 char const* function, long line, char const* format,
                                 Args const&... args) noexcept {
    constexpr std::size_t nbr_arg = 8;
    constexpr long text_len_max = 1023;
    static_assert(sizeof...(Args) <= nbr_arg, "A log statement takes eight arguments at most");
    char text[text_len_max + 1] = "";
    txt::out::PrintNa print(text, text_len_max);
    try {
        print.print(format);
        (push_log_arg(print, args), ...);
        for (std::size_t i = sizeof...(Args); i < nbr_arg; ++i) {
            print.arg(0);
        }
        (LogMgr::use_instance().*write_fnc)(level, text, source, function, line);
    } catch (...) {
        // A log has nobody to complain to.
    }
}

} // namespace ulk::udbg

#define ULK_LOG_BY(write_fnc, level, ...)                                                          \
    do {                                                                                           \
        static constexpr auto ulk_log_source = ::ulk::udbg::make_log_source(__FILE__, __DATE__);   \
        ::ulk::udbg::write_log(&::ulk::udbg::LogMgr::write_fnc,                                    \
                               ::ulk::udbg::Debugger::Level_##level, ulk_log_source.txt,           \
                               __PRETTY_FUNCTION__, __LINE__, __VA_ARGS__);                        \
    } while (false)

// A log statement. Level is ERROR, WARNING or INFO; up to eight arguments follow the format, which
// is a text of the format language ("%1%", "%2X%"). ULK_LOG may wait for a disk; ULK_LOG_CACHE
// goes through the cached writer and is for code that may run on the real-time thread.
//     ULK_LOG(ERROR, "get_data(): Unknown file id %1%", file_id);
#define ULK_LOG(level, ...) ULK_LOG_BY(write, level, __VA_ARGS__)
#define ULK_LOG_CACHE(level, ...) ULK_LOG_BY(write_cache, level, __VA_ARGS__)
