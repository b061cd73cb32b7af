#include "tessitone/Progress.h"

#include "ulk/sys/Terminal.h"

#include <cmath>
#include <cstdio>

namespace tessitone {

Progress::Progress(std::string const& label)
    : _label(label)
    , _terminal_flag(ulk::sys::Terminal::is_stderr_terminal())
    , _start(Clock::now())
    , _next(_start) {}

Progress::~Progress() {
    if (_terminal_flag) {
        std::fputs("\r\x1B[K", stderr);
    }
}

void Progress::show(long long done, long long total) {
    if (!_terminal_flag || Clock::now() < _next || done <= 0 || total <= 0) {
        return;
    }
    _next = Clock::now() + std::chrono::milliseconds(100);
    double const ratio = static_cast<double>(done) / static_cast<double>(total);
    double const elapsed = std::chrono::duration<double>(Clock::now() - _start).count();
    double const left = std::ceil(elapsed / ratio - elapsed);
    std::fprintf(stderr, "\r%s %3.0f %%, %.0f s left \x1B[K", _label.c_str(), ratio * 100, left);
}

} // namespace tessitone
