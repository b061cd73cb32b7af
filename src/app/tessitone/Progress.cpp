#include "tessitone/Progress.h"

#include "host/render/TimeText.h"
#include "ulk/sys/Terminal.h"

#include <nlohmann/json.hpp>

#include <cmath>
#include <cstdio>

namespace tessitone {

Progress::Progress(std::string const& label)
    : _label(label)
    , _line_flag(_format == Format::AUTO && ulk::sys::Terminal::is_stderr_terminal())
    , _start(Clock::now())
    , _next(_start) {}

Progress::~Progress() {
    if (_line_flag) {
        std::fputs("\r\x1B[K", stderr);
    }
}

void Progress::show(long long done, long long total) {
    if (!is_due(done, total)) {
        return;
    }
    auto const now = Clock::now();
    _next = now + std::chrono::milliseconds(100);
    _last_done = done;
    double const elapsed = std::chrono::duration<double>(now - _start).count();
    _estimate.update(done, total, elapsed);
    _line_flag ? print_line(done, total) : print_json(done, total, elapsed);
}

bool Progress::is_due(long long done, long long total) {
    if ((!_line_flag && _format != Format::JSON) || done <= 0 || total <= 0) {
        return false;
    }
    return Clock::now() >= _next || (done >= total && done != _last_done);
}

void Progress::print_line(long long done, long long total) const {
    auto const left = _estimate.get_left();
    std::string const left_txt =
        left ? ", " + ulk::host::render::TimeText::print(std::ceil(*left), 0) + " left" : "";
    std::fprintf(stderr, "\r%s %3.0f %%%s \x1B[K", _label.c_str(),
                 100 * static_cast<double>(done) / static_cast<double>(total), left_txt.c_str());
}

void Progress::print_json(long long done, long long total, double elapsed) const {
    using Json = nlohmann::ordered_json;
    auto const round = [](double s) { return std::round(s * 1000) / 1000; };
    auto const left = _estimate.get_left();
    Json const json = {{"task", _label},
                       {"done", done},
                       {"total", total},
                       {"elapsed", round(elapsed)},
                       {"eta", left ? Json(round(*left)) : Json()}};
    std::fprintf(stderr, "%s\n", json.dump(-1, ' ', false, Json::error_handler_t::replace).c_str());
}

} // namespace tessitone
