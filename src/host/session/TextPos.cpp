#include "host/session/TextPos.h"

#include <algorithm>

namespace ulk::host::session {

TextPos::TextPos(std::string_view txt, int file)
    : _txt(txt)
    , _offset(get_bom_len(txt))
    , _place{file, 1, 1} {}

void TextPos::move(std::size_t offset) {
    for (; _offset < offset && _offset < _txt.size(); ++_offset) {
        if (_txt[_offset] == '\n') {
            ++_place.line;
            _place.column = 1;
        } else if (is_start(_txt[_offset])) {
            ++_place.column;
        }
    }
}

std::size_t TextPos::find_character(std::string_view txt, std::size_t index) {
    std::size_t pos = 0;
    for (; pos < txt.size(); ++pos) {
        if (is_start(txt[pos]) && index-- == 0) {
            break;
        }
    }
    return pos;
}

std::string TextPos::make_printable(std::string_view txt) {
    std::string printable(txt);
    auto const is_control = [](char c) {
        return (static_cast<unsigned char>(c) < 0x20 && c != '\t') || c == 0x7F;
    };
    std::replace_if(printable.begin(), printable.end(), is_control, ' ');
    return printable;
}

std::size_t TextPos::get_bom_len(std::string_view txt) {
    return txt.starts_with("\xEF\xBB\xBF") ? 3 : 0;
}

} // namespace ulk::host::session
