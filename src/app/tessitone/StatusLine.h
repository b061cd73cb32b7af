#pragma once

#include "host/session/TextPos.h"
#include "ulk/sys/Terminal.h"

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <string>

namespace tessitone {

// The line on standard error that tells again and again how far something is.
class StatusLine {
public:
    // Writes over the line before, as much as the terminal is wide.
    static void show(std::string const& txt) {
        std::string const line = clip(txt, ulk::sys::Terminal::get_width());
        std::fprintf(stderr, "\r%s\x1b[K", line.c_str());
        std::fflush(stderr);
    }

private:
    static std::string clip(std::string const& txt, int width) {
        using ulk::host::session::TextPos;
        std::string line = TextPos::make_printable(txt);
        std::replace(line.begin(), line.end(), '\t', ' ');
        // The last column stays free: a line that fills it would lose its end to the erasure.
        return width > 1
                   ? line.substr(0,
                                 TextPos::find_character(line, static_cast<std::size_t>(width - 1)))
                   : line;
    }
};

} // namespace tessitone
