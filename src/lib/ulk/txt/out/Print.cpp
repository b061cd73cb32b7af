#include "ulk/txt/out/Print.h"

namespace ulk::txt::out {

void Print::print_begin() {
    _txt.clear();
}

void Print::print_char(char c) {
    _txt += c;
}

void Print::print_end() {}

void Print::print_text(char const* txt, long len) {
    if (len > 0) {
        _txt.append(txt, static_cast<std::size_t>(len));
    }
}

void Print::print_fill(char c, long len) {
    if (len > 0) {
        _txt.append(static_cast<std::size_t>(len), c);
    }
}

void Print::do_reset() {
    _txt.clear();
}

bool Print::do_is_truncated() const {
    return false;
}

long Print::do_get_string_len() const {
    return static_cast<long>(_txt.length());
}

} // namespace ulk::txt::out
