#include "ulk/txt/out/ArgString.h"

#include "ulk/txt/out/Ascii.h"

#include <algorithm>
#include <cstring>

namespace ulk::txt::out {

ArgString::ArgString(DevInterface& dev, FmtInfo const& fmt, char const* txt)
    : ArgBase(dev, fmt)
    , _txt(txt)
    , _len(static_cast<long>(std::strlen(txt))) {}

void ArgString::print() {
    format();
    _dev.print_fill(_fill_pre, _nbr_fill_pre);
    print_shown();
    _dev.print_fill(_fill_post, _nbr_fill_post);
}

void ArgString::format() {
    _nbr_shown = std::min(_len, _fmt.get_max_len());
    long const cut = _len - _nbr_shown;
    long const fill = _fmt.has_max_len() ? _fmt.get_max_len() - _nbr_shown : 0;
    switch (_fmt.get_justify_mode()) {
    case FmtInfo::JustifyMode_CENTER:
        _nbr_fill_pre = fill / 2;
        _nbr_fill_post = fill - _nbr_fill_pre;
        _beg = cut / 2;
        break;
    case FmtInfo::JustifyMode_LEFT:
        _nbr_fill_post = fill;
        break;
    case FmtInfo::JustifyMode_RIGHT:
        _nbr_fill_pre = fill;
        _fill_pre = _fmt.get_whitespace();
        _beg = cut;
        break;
    case FmtInfo::JustifyMode_LEFT_NO_PAD:
        break;
    }
}

void ArgString::print_shown() {
    auto const mode = _fmt.get_case_mode();
    if (mode == FmtInfo::CaseMode_AS_IS) {
        _dev.print_text(_txt + _beg, _nbr_shown);
        return;
    }
    for (long i = 0; i < _nbr_shown; ++i) {
        char const c = _txt[_beg + i];
        _dev.print_char(mode == FmtInfo::CaseMode_UPPER ? Ascii::to_upper(c) : Ascii::to_lower(c));
    }
}

} // namespace ulk::txt::out
