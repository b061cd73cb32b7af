#include "ulk/math/ShortDigits.h"

#include "ulk/math/DecText.h"
#include "ulk/math/Pow10Table.h"

#include <algorithm>
#include <bit>

namespace ulk::math {

namespace {

using archi::UInt64;
__extension__ using UInt128 = unsigned __int128;

constexpr UInt64 hidden_bit = UInt64(1) << 52;
constexpr UInt64 inf_bits = UInt64(0x7FF) << 52;
constexpr int min_exp2 = -1074; // of the lowest bit of a denormal

// mant * 2^exp2, with exp2 the weight of the last bit
struct Parts {
    UInt64 mant;
    int exp2;
};

// Integers only: a caller's thread may flush denormals to zero.
Parts split(double val) {
    auto const bits = std::bit_cast<UInt64>(val);
    int const field = static_cast<int>(bits >> 52) & 0x7FF;
    UInt64 const frac = bits & (hidden_bit - 1);
    return field == 0 ? Parts{frac, min_exp2} : Parts{frac | hidden_bit, field - 1 + min_exp2};
}

// The standard one has the type of its argument for a result.
int bit_width(UInt64 val) {
    return 64 - std::countl_zero(val);
}

int bit_width(UInt128 val) {
    auto const hi = static_cast<UInt64>(val >> 64);
    return hi != 0 ? 64 + bit_width(hi) : bit_width(static_cast<UInt64>(val));
}

UInt128 get_pow10(int p) {
    auto const& g = Pow10Table::get(p);
    return UInt128(g.hi) << 64 | g.lo;
}

int log2_base(int base) {
    return base == 16 ? 4 : 1;
}

int floor_div(int num, int den) {
    return num >= 0 ? num / den : -((den - 1 - num) / den);
}

// Floor of the decimal logarithm of 2^exp2
int log10_floor(int exp2) {
    return (exp2 * 1262611) >> 22;
}

// cp * g / 2^128, cut, with the lowest bit set if anything was cut that is no rounding of g
UInt64 mul_to_odd(UInt64 hi, UInt64 lo, UInt64 cp) {
    UInt128 const y = UInt128(hi) * cp + static_cast<UInt64>(UInt128(lo) * cp >> 64);
    return static_cast<UInt64>(y >> 64) | (static_cast<UInt64>(y) > 1);
}

struct Decimal {
    UInt64 mant;
    int exp10;
};

// Scales the value and both bounds, times 4, by the power of ten that leaves between one and ten
// candidates between the bounds. The search and the proof that 128 bits decide each comparison
// are from R. Giulietti, "The Schubfach way to render doubles".
Decimal find_shortest(UInt64 mant, int exp2) {
    int const k = log10_floor(exp2);
    auto const& g = Pow10Table::get(-k);
    UInt64 const lo = g.lo + !Pow10Table::is_exact(-k); // rounded up; no entry ends in ones alone
    int const h = exp2 + Pow10Table::log2_floor(-k) + 1;
    UInt64 const low = mul_to_odd(g.hi, lo, (4 * mant - 2) << h) + 1;
    UInt64 const val = mul_to_odd(g.hi, lo, (4 * mant) << h);
    UInt64 const high = mul_to_odd(g.hi, lo, (4 * mant + 2) << h) - 1;

    UInt64 const s = val / 4;
    UInt64 const tens = s / 10;
    bool const tens_low = s >= 10 && low <= 40 * tens;
    bool const tens_high = s >= 10 && 40 * tens + 40 <= high;
    if (tens_low != tens_high) {
        return {tens + tens_high, k + 1};
    }
    bool const one_low = low <= 4 * s;
    bool const one_high = 4 * s + 4 <= high;
    if (one_low != one_high) {
        return {s + one_high, k};
    }
    return {s + (val >= 4 * s + 2), k};
}

// base^power / 2 as [mant, mant + 1) * 2^exp2, or just mant * 2^exp2 if it is exact
struct Half {
    UInt128 mant;
    int exp2;
    bool exact;
};

Half make_half(int base, int power) {
    if (base == 10) {
        return {get_pow10(power), Pow10Table::get_exp(power) - 1, Pow10Table::is_exact(power)};
    }
    return {UInt128(1) << 127, log2_base(base) * power - 128, true};
}

// The double nearest to mant * 2^exp2, ties to even, as bits. At least two bits go.
UInt64 round_to_double(UInt128 mant, int exp2) {
    int const drop = std::max(bit_width(mant) - 53, min_exp2 - exp2);
    auto r = static_cast<UInt64>(mant >> drop);
    UInt128 const rest = mant & ((UInt128(1) << drop) - 1);
    UInt128 const middle = UInt128(1) << (drop - 1);
    r += rest > middle || (rest == middle && (r & 1) != 0);
    // The hidden bit, or a carry out of the mantissa, adds its one to the exponent field.
    return r < hidden_bit ? r : (static_cast<UInt64>(exp2 + drop - min_exp2) << 52) + r;
}

} // namespace

void ShortDigits::set(double val, int base) {
    auto const parts = split(val);
    if (base == 10) {
        set_dec(parts.mant, parts.exp2);
    } else {
        set_pow2(parts.mant, parts.exp2, log2_base(base));
    }
    trim_zeros();
}

void ShortDigits::set_dec(UInt64 mant, int exp2) {
    auto const dec = find_shortest(mant, exp2);
    char* const end = _digit_arr + MAX_LEN;
    char const* const beg = DecText::write_back(end, dec.mant);
    _beg = static_cast<int>(beg - _digit_arr);
    _len = MAX_LEN - _beg;
    _exp = dec.exp10 + _len - 1;
}

// All bits of the mantissa are needed, and are enough.
void ShortDigits::set_pow2(UInt64 mant, int exp2, int bits) {
    int const top = exp2 + bit_width(mant) - 1;
    _exp = floor_div(top, bits);
    // The mantissa at the left end, behind the bits that the first digit does not use
    int const nbr_unused = bits - 1 - (top - _exp * bits);
    UInt128 window = UInt128(mant) << (127 - nbr_unused - (bit_width(mant) - 1));
    _beg = 0;
    _len = 0;
    while (window != 0) {
        auto const digit = static_cast<int>(window >> (128 - bits));
        _digit_arr[_len++] = static_cast<char>(digit < 10 ? '0' + digit : 'A' + digit - 10);
        window <<= bits;
    }
}

void ShortDigits::trim_zeros() {
    while (_digit_arr[_beg + _len - 1] == '0') {
        --_len;
    }
}

int ShortDigits::compute_exp(double val, int base) {
    auto const parts = split(val);
    if (base != 10) {
        return floor_div(parts.exp2 + bit_width(parts.mant) - 1, log2_base(base));
    }
    // The highest power of ten below the upper bound, which is high * 2^(exp2 - 1). High is odd
    // and above 1, so that its own highest bit lies strictly below it.
    UInt64 const high = 2 * parts.mant + 1;
    int const top = parts.exp2 - 1 + bit_width(high) - 1;
    int const p = log10_floor(top) + 1;
    int const p_top = Pow10Table::log2_floor(p);
    bool const below =
        p_top < top || (p_top == top && get_pow10(p) < UInt128(high) << (128 - bit_width(high)));
    return below ? p : p - 1;
}

double ShortDigits::add_half_unit(double val, int base, long power) {
    constexpr long min_power_pow2 = -1080; // less than half the smallest denormal, in base 2
    if (power < (base == 10 ? Pow10Table::MIN_POW : min_power_pow2)) {
        return val;
    }
    auto const parts = split(val);
    auto const half = make_half(base, static_cast<int>(power));
    // Everything in units of the value's last bit, with two bits more, the lower of which stands
    // for all that is below.
    int const shift = parts.exp2 - half.exp2;
    UInt64 bits = 0;
    if (shift > 128) {
        return val; // less than half a unit
    }
    if (shift >= 3) {
        UInt128 const rest = half.mant & ((UInt128(1) << (shift - 2)) - 1);
        UInt128 const sum = (UInt128(parts.mant) << 2) + (half.mant >> (shift - 2));
        bits = round_to_double(sum | (rest != 0 || !half.exact), parts.exp2 - 2);
    } else {
        // The value only breaks a tie: it lies below the last bit of the half, and no power of
        // ten comes that close to the middle of two doubles.
        bits = round_to_double(half.mant >> 2 | 1, half.exp2 + 2);
    }
    return bits < inf_bits ? std::bit_cast<double>(bits) : val;
}

} // namespace ulk::math
