#include "ulk/txt/utf8/block_check.h"

namespace ulk::txt::utf8 {

namespace {

// What may not stand behind b1, b2 and b3, the last of them first: a follow byte belongs exactly
// where lead bytes announce it.
unsigned is_fault(unsigned char b, unsigned char b1, unsigned char b2, unsigned char b3) {
    unsigned const follow = (b & 0xC0) == 0x80;
    unsigned const expected = (b1 >= 0xC0) | (b2 >= 0xE0) | (b3 >= 0xF0);
    return (follow ^ expected) | ((b & 0xFE) == 0xC0) | (b >= 0xF5);
}

} // namespace

bool is_well_formed(char const* src) {
    unsigned char p[checked_len];
    std::memcpy(p, src, checked_len);
    unsigned const head =
        is_fault(p[0], 0, 0, 0) | is_fault(p[1], p[0], 0, 0) | is_fault(p[2], p[1], p[0], 0);
    unsigned char body = 0;
    for (int i = 3; i < checked_len; ++i) {
        body |= static_cast<unsigned char>(is_fault(p[i], p[i - 1], p[i - 2], p[i - 3]));
    }
    return (head | body) == 0;
}

} // namespace ulk::txt::utf8
