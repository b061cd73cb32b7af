#include "ulk/txt/utf8/block_check.h"

namespace ulk::txt::utf8 {

namespace {

using Byte = unsigned char;

// What may not stand behind b1, b2 and b3, the last of them first: a follow byte belongs exactly
// where lead bytes announce it.
// The high bit tells. Leading ones are counted in bytes by shifts, which vector code is fast at.
Byte find_fault(Byte b, Byte b1, Byte b2, Byte b3) {
    auto const shift = [](Byte x, int n) { return static_cast<Byte>(x << n); };
    Byte const follow = static_cast<Byte>(b & ~shift(b, 1));
    Byte const expect_2 = static_cast<Byte>(b1 & shift(b1, 1));
    Byte const expect_3 = static_cast<Byte>(b2 & shift(b2, 1) & shift(b2, 2));
    Byte const expect_4 = static_cast<Byte>(b3 & shift(b3, 1) & shift(b3, 2) & shift(b3, 3));
    Byte const misplaced = static_cast<Byte>(follow ^ (expect_2 | expect_3 | expect_4));
    Byte const never = (b & 0xFE) == 0xC0 || b >= 0xF5 ? 0x80 : 0;
    return misplaced | never;
}

} // namespace

bool is_well_formed(char const* src) {
    Byte p[checked_len];
    std::memcpy(p, src, checked_len);
    Byte fault =
        find_fault(p[0], 0, 0, 0) | find_fault(p[1], p[0], 0, 0) | find_fault(p[2], p[1], p[0], 0);
    for (int i = 3; i < checked_len; ++i) {
        fault |= find_fault(p[i], p[i - 1], p[i - 2], p[i - 3]);
    }
    return fault < 0x80;
}

} // namespace ulk::txt::utf8
