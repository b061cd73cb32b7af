#pragma once

#include <chrono>
#include <string>

namespace tessitone {

// A line on standard error that tells how far long work has come; nothing unless it is a terminal.
class Progress {
public:
    explicit Progress(std::string const& label);
    ~Progress(); // takes the line away

    Progress(Progress const&) = delete;
    Progress& operator=(Progress const&) = delete;

    void show(long long done, long long total);

private:
    using Clock = std::chrono::steady_clock;

    std::string _label;
    bool _terminal_flag;
    Clock::time_point _start;
    Clock::time_point _next; // when the line may change again
};

} // namespace tessitone
