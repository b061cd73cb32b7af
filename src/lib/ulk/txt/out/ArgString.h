#pragma once

#include "ulk/txt/out/ArgBase.h"

namespace ulk::txt::out {

// A text of bytes, cut to its field rather than marked
class ArgString final : public ArgBase {
public:
    // txt ends with a null character and outlives the object
    ArgString(DevInterface& dev, FmtInfo const& fmt, char const* txt);

    void print(); // real-time

private:
    void format();
    void print_shown();

    char const* _txt;
    long _len;
    long _beg = 0; // first character shown
    long _nbr_shown = 0;
    long _nbr_fill_pre = 0;
    long _nbr_fill_post = 0;
    char _fill_pre = ' ';
    char _fill_post = ' ';
};

} // namespace ulk::txt::out
