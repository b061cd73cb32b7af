#pragma once

#include "BigNat.h"

#include <algorithm>
#include <cmath>
#include <string>

namespace test {

// What the formatter's floats stand on, in big integers and digit by digit. Values are finite and
// above zero.
struct ExactDigits {
    std::string digits; // as characters, the first not zero
    long exp = 0;       // weight of the first

    // Significand of 53 bits at most and the weight of its last bit
    static std::uint64_t split(double val, int& exp2) {
        int exp = 0;
        double const frac = std::frexp(val, &exp);
        exp2 = std::max(exp - 53, -1074);
        return static_cast<std::uint64_t>(std::ldexp(frac, exp - exp2));
    }

    // Shortest digits strictly between the middles of val and its neighbours, which are one unit
    // of the last bit away; a quarter of it below the smallest denormal.
    static ExactDigits find(double val, int base) {
        auto const b = static_cast<std::uint32_t>(base);
        int exp2 = 0;
        std::uint64_t const mant = split(val, exp2);
        bool const smallest = mant == 1 && exp2 == -1074;
        BigNat rest(4 * mant), below(smallest ? 1 : 2), above(2), unit(4);
        for (BigNat* const num : {&rest, &below, &above}) {
            num->shift_left(std::max(exp2, 0));
        }
        unit.shift_left(std::max(-exp2, 0));
        // The weight above the first digit: the upper bound is at most that, and more than a
        // base-th of it.
        long count = std::lround(std::floor(std::log(val) / std::log(base)));
        unit.mul_pow(b, std::max(count, 0L));
        for (BigNat* const num : {&rest, &below, &above}) {
            num->mul_pow(b, std::max(-count, 0L));
        }
        while (BigNat(rest).operator+=(above).compare(unit) > 0) {
            unit.mul(b);
            ++count;
        }
        while (BigNat(rest).operator+=(above).mul(b).compare(unit) <= 0) {
            rest.mul(b);
            below.mul(b);
            above.mul(b);
            --count;
        }
        ExactDigits res;
        res.exp = count - 1;
        for (bool end_flag = false; !end_flag;) {
            rest.mul(b);
            below.mul(b);
            above.mul(b);
            int digit = 0;
            for (; rest.compare(unit) >= 0; ++digit) {
                rest -= unit;
            }
            bool const low = rest.compare(below) < 0;
            bool const high = BigNat(rest).operator+=(above).compare(unit) > 0;
            digit += high && (!low || BigNat(rest).mul(2).compare(unit) >= 0) ? 1 : 0;
            res.digits += "0123456789ABCDEFG"[digit];
            end_flag = low || high;
        }
        return res;
    }

    // The double nearest to val + base^power / 2, ties to even; val if that overflows. Exact for
    // powers down to -340, -1080 and -270 in the bases 10, 2 and 16.
    static double add_half_unit(double val, int base, long power) {
        auto const b = static_cast<std::uint32_t>(base);
        int exp2 = 0;
        BigNat num(split(val, exp2)), half(1), den(2);
        num.shift_left(1 + std::max(exp2, 0)).mul_pow(b, std::max(-power, 0L));
        half.mul_pow(b, std::max(power, 0L)).shift_left(std::max(-exp2, 0));
        den.shift_left(std::max(-exp2, 0)).mul_pow(b, std::max(-power, 0L));
        num += half;
        double const sum = divide(num, den);
        return std::isfinite(sum) ? sum : val;
    }

    static double divide(BigNat num, BigNat den) {
        // Between 53 and 55 bits before the point, then the remainder tells
        int exp2 = std::max(num.count_bits() - den.count_bits() - 54, -1074);
        num.shift_left(std::max(-exp2, 0));
        den.shift_left(std::max(exp2, 0));
        int const nbr = std::max(num.count_bits() - den.count_bits(), 0);
        std::uint64_t quot = 0;
        for (int i = nbr; i >= 0; --i) {
            BigNat shifted(den);
            shifted.shift_left(i);
            quot <<= 1;
            if (num.compare(shifted) >= 0) {
                num -= shifted;
                quot |= 1;
            }
        }
        // Twice the quotient with a bit for what is below, then cut to 53 bits
        bool sticky = !num.is_zero();
        int const twice = num.mul(2).compare(den);
        if (quot < std::uint64_t(1) << 53) {
            quot += twice > 0 || (twice == 0 && (quot & 1) != 0);
            return std::ldexp(static_cast<double>(quot), exp2);
        }
        int drop = 0;
        while (quot >> drop >= std::uint64_t(1) << 53) {
            ++drop;
        }
        std::uint64_t const low = quot & ((std::uint64_t(1) << drop) - 1);
        std::uint64_t const middle = std::uint64_t(1) << (drop - 1);
        quot >>= drop;
        quot += low > middle || (low == middle && (sticky || (quot & 1) != 0));
        return std::ldexp(static_cast<double>(quot), exp2 + drop);
    }
};

} // namespace test
