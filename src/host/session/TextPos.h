#pragma once

#include "host/session/Session.h"

#include <cstddef>
#include <string>
#include <string_view>

namespace ulk::host::session {

// A place that walks ahead in a text, counting lines, and columns in characters (code points of
// UTF-8). A byte order mark at the start counts as nothing.
class TextPos {
public:
    TextPos(std::string_view txt, int file);

    // Goes on to an offset in bytes, not below the present one.
    void move(std::size_t offset);

    std::size_t get_offset() const { return _offset; }
    Session::Place const& get_place() const { return _place; }

    // Whether a byte starts a character.
    static bool is_start(char c) { return (static_cast<unsigned char>(c) & 0xC0) != 0x80; }

    // The offset of the character with this index, or the end.
    static std::size_t find_character(std::string_view txt, std::size_t index);

    // With a blank for each control character but the tab, which must not reach a terminal.
    static std::string make_printable(std::string_view txt);

    // The length of the byte order mark at the start of txt, if there is one.
    static std::size_t get_bom_len(std::string_view txt);

private:
    std::string_view _txt;
    std::size_t _offset;
    Session::Place _place;
};

} // namespace ulk::host::session
