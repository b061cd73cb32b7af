#include "ulk/txt/utf8/block_check.h"

#include "ulk/txt/utf8/ByteVec.h"

namespace ulk::txt::utf8 {

namespace {

// Not 0 where b cannot stand behind b1, b2 and b3, the last of them first, or nowhere: a follow
// byte belongs exactly where lead bytes announce it. T: signed char or ByteVec.
template <class T>
T find_fault(T b, T b1, T b2, T b3) {
    auto const order = [](T x) { return x ^ -0x80; }; // as without sign, but 0x80 less
    T announced = order(b1) >= 0xC0 - 0x80;
    announced |= order(b2) >= 0xE0 - 0x80;
    announced |= order(b3) >= 0xF0 - 0x80;
    T fault = b < -0x40;
    fault ^= announced;
    fault |= (b & -2) == -0x40;
    fault |= order(b) > 0xF4 - 0x80;
    return fault;
}

} // namespace

bool is_well_formed(char const* src) {
    using Byte = signed char;
    auto const get = [src](int i) { return static_cast<Byte>(src[i]); };
    int const start = find_fault<Byte>(get(0), 0, 0, 0) | find_fault<Byte>(get(1), get(0), 0, 0) |
                      find_fault<Byte>(get(2), get(1), get(0), 0);
    ByteVec fault{};
    for (char const* p = src + 3; p != src + checked_len; p += sizeof(ByteVec)) {
        fault |= find_fault(load_vec(p), load_vec(p - 1), load_vec(p - 2), load_vec(p - 3));
    }
    return start == 0 && !is_any_set(fault);
}

} // namespace ulk::txt::utf8
