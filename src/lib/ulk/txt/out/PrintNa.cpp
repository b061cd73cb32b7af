#include "ulk/txt/out/PrintNa.h"

#include <algorithm>
#include <cstring>

namespace ulk::txt::out {

PrintNa::PrintNa(char* buffer, long max_len)
    : PrintInterface(static_cast<RunSink&>(*this))
    , _buffer(buffer)
    , _max_len(max_len) {}

void PrintNa::print_begin() {
    _pos = 0;
}

void PrintNa::print_char(char c) {
    if (_pos < _max_len) {
        _buffer[_pos] = c;
    }
    ++_pos;
}

void PrintNa::print_end() {
    _buffer[std::min(_pos, _max_len)] = '\0';
}

void PrintNa::print_text(char const* txt, long len) {
    if (len > 0) {
        std::memcpy(_buffer + std::min(_pos, _max_len), txt,
                    static_cast<std::size_t>(compute_room(len)));
        _pos += len;
    }
}

void PrintNa::print_fill(char c, long len) {
    if (len > 0) {
        std::memset(_buffer + std::min(_pos, _max_len), c,
                    static_cast<std::size_t>(compute_room(len)));
        _pos += len;
    }
}

// How many of the next len characters can be stored
long PrintNa::compute_room(long len) const {
    return std::clamp(_max_len - _pos, 0L, len);
}

void PrintNa::do_reset() {
    _pos = 0;
}

bool PrintNa::do_is_truncated() const {
    return _pos > _max_len;
}

long PrintNa::do_get_string_len() const {
    return _pos;
}

} // namespace ulk::txt::out
