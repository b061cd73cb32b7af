#include "ulk/math/Pow10Table.h"

#include <array>

namespace ulk::math {

namespace {

using archi::UInt32;
using archi::UInt64;
using Table = std::array<Pow10Table::Mantissa, Pow10Table::MAX_POW - Pow10Table::MIN_POW + 1>;

// Unsigned integer of up to 1248 bits, wide enough for 2^1216 and for 10^324.
struct BigInt {
    std::array<UInt32, 39> limb_arr{}; // the least significant first
    int len = 0;                       // limbs in use; the last of them is not zero

    constexpr void mul_10() {
        UInt64 carry = 0;
        for (int i = 0; i < len; ++i) {
            auto& limb = limb_arr[static_cast<std::size_t>(i)];
            carry += UInt64(limb) * 10;
            limb = static_cast<UInt32>(carry);
            carry >>= 32;
        }
        if (carry != 0) {
            limb_arr[static_cast<std::size_t>(len++)] = static_cast<UInt32>(carry);
        }
    }

    constexpr void div_10() {
        UInt64 rem = 0;
        for (int i = len - 1; i >= 0; --i) {
            auto& limb = limb_arr[static_cast<std::size_t>(i)];
            rem = (rem << 32) | limb;
            limb = static_cast<UInt32>(rem / 10);
            rem %= 10;
        }
        if (limb_arr[static_cast<std::size_t>(len - 1)] == 0) {
            --len;
        }
    }

    constexpr UInt64 get_limb(int i) const {
        return i < 0 ? 0 : limb_arr[static_cast<std::size_t>(i)];
    }

    // The top 128 bits, the ones below cut off
    constexpr Pow10Table::Mantissa get_top() const {
        int shift = 0; // zeros above the highest bit
        while ((get_limb(len - 1) << shift & 0x80000000u) == 0) {
            ++shift;
        }
        UInt32 word_arr[4]{};
        for (int i = 0; i < 4; ++i) {
            UInt64 const two = get_limb(len - 1 - i) << 32 | get_limb(len - 2 - i);
            word_arr[i] = static_cast<UInt32>(two << shift >> 32);
        }
        return {UInt64(word_arr[0]) << 32 | word_arr[1], UInt64(word_arr[2]) << 32 | word_arr[3]};
    }
};

// Cutting after each division by ten is the same as cutting once: the negative powers are
// quotients of 2^1216, of which 128 bits and more are left at the last.
constexpr Table make_table() {
    Table table{};
    BigInt pos;
    pos.len = 1;
    pos.limb_arr[0] = 1;
    for (int p = 0; p <= Pow10Table::MAX_POW; ++p) {
        table[static_cast<std::size_t>(p - Pow10Table::MIN_POW)] = pos.get_top();
        pos.mul_10();
    }
    BigInt neg;
    neg.len = 39;
    neg.limb_arr[38] = 1;
    for (int p = -1; p >= Pow10Table::MIN_POW; --p) {
        neg.div_10();
        table[static_cast<std::size_t>(p - Pow10Table::MIN_POW)] = neg.get_top();
    }
    return table;
}

constexpr Table table = make_table();

} // namespace

Pow10Table::Mantissa const& Pow10Table::get(int p) {
    return table[static_cast<std::size_t>(p - MIN_POW)];
}

} // namespace ulk::math
