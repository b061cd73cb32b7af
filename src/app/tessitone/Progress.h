#pragma once

#include "host/ProgressEstimate.h"

#include <chrono>
#include <string>

namespace tessitone {

// Tells on standard error how far long work has come, and how long it will go on: a line where that
// is a terminal, nothing elsewhere; or, as one has chosen, a JSON object a line for programs.
class Progress {
public:
    enum class Format { AUTO, JSON, NONE };

    // For all that come.
    static void choose_format(Format format) { _format = format; }

    explicit Progress(std::string const& label);
    ~Progress(); // takes the line away

    Progress(Progress const&) = delete;
    Progress& operator=(Progress const&) = delete;

    // Shows at most ten times a second, and the end.
    void show(long long done, long long total);

private:
    using Clock = std::chrono::steady_clock;

    bool is_due(long long done, long long total);
    void print_line(long long done, long long total) const;
    void print_json(long long done, long long total, double elapsed) const;

    inline static Format _format = Format::AUTO;

    std::string _label;
    bool _line_flag;
    Clock::time_point _start;
    Clock::time_point _next;   // when it may show again
    long long _last_done = -1; // as shown
    ulk::host::ProgressEstimate _estimate;
};

} // namespace tessitone
