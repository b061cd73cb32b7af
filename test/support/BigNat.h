#pragma once

#include <cstdint>
#include <cstring>
#include <stdexcept>

namespace test {

// Plain natural numbers of up to 3200 bits, for exact models of number printing
class BigNat {
public:
    BigNat(std::uint64_t val = 0) {
        for (; val != 0; val >>= 32) {
            _limb_arr[_len++] = static_cast<std::uint32_t>(val);
        }
    }
    BigNat(BigNat const& other)
        : _len(other._len) {
        copy_limbs(other);
    }
    BigNat& operator=(BigNat const& other) {
        _len = other._len;
        copy_limbs(other);
        return *this;
    }

    bool is_zero() const { return _len == 0; }

    int count_bits() const {
        int nbr = 32 * _len;
        for (int bit = 31; _len > 0 && (_limb_arr[_len - 1] >> bit & 1) == 0; --bit) {
            --nbr;
        }
        return nbr;
    }

    BigNat& mul(std::uint32_t factor) {
        std::uint64_t carry = 0;
        for (int i = 0; i < _len; ++i) {
            carry += std::uint64_t(_limb_arr[i]) * factor;
            _limb_arr[i] = static_cast<std::uint32_t>(carry);
            carry >>= 32;
        }
        push(static_cast<std::uint32_t>(carry));
        return *this;
    }

    BigNat& mul_pow(std::uint32_t base, long power) {
        if (base == 2) {
            return shift_left(static_cast<int>(power));
        }
        for (; power >= 7; power -= 7) { // 16^7 and 10^7 fit a limb
            mul(base == 16 ? 1u << 28 : 10000000);
        }
        for (; power > 0; --power) {
            mul(base);
        }
        return *this;
    }

    BigNat& shift_left(int nbr_bits) {
        int const nbr_limbs = nbr_bits / 32;
        if (nbr_limbs > 0 && _len > 0) {
            check_len(_len + nbr_limbs);
            std::memmove(_limb_arr + nbr_limbs, _limb_arr,
                         sizeof(_limb_arr[0]) * std::size_t(_len));
            std::memset(_limb_arr, 0, sizeof(_limb_arr[0]) * std::size_t(nbr_limbs));
            _len += nbr_limbs;
        }
        if (nbr_bits % 32 != 0) {
            mul(1u << nbr_bits % 32);
        }
        return *this;
    }

    BigNat& operator+=(BigNat const& other) {
        std::uint64_t carry = 0;
        for (int i = 0; i < other._len || (carry != 0 && i < _len); ++i) {
            carry += std::uint64_t(i < _len ? _limb_arr[i] : 0) +
                     (i < other._len ? other._limb_arr[i] : 0);
            check_len(i + 1);
            _limb_arr[i] = static_cast<std::uint32_t>(carry);
            _len = i < _len ? _len : i + 1;
            carry >>= 32;
        }
        push(static_cast<std::uint32_t>(carry));
        return *this;
    }

    // Other is not above.
    BigNat& operator-=(BigNat const& other) {
        std::uint64_t borrow = 0;
        for (int i = 0; i < _len; ++i) {
            std::uint64_t const diff =
                std::uint64_t(_limb_arr[i]) - (i < other._len ? other._limb_arr[i] : 0) - borrow;
            _limb_arr[i] = static_cast<std::uint32_t>(diff);
            borrow = diff >> 63;
        }
        while (_len > 0 && _limb_arr[_len - 1] == 0) {
            --_len;
        }
        return *this;
    }

    // -1, 0 or 1
    int compare(BigNat const& other) const {
        if (_len != other._len) {
            return _len < other._len ? -1 : 1;
        }
        for (int i = _len - 1; i >= 0; --i) {
            if (_limb_arr[i] != other._limb_arr[i]) {
                return _limb_arr[i] < other._limb_arr[i] ? -1 : 1;
            }
        }
        return 0;
    }

private:
    static constexpr int max_len = 100;

    void copy_limbs(BigNat const& other) {
        std::memcpy(_limb_arr, other._limb_arr, sizeof(_limb_arr[0]) * std::size_t(_len));
    }
    static void check_len(int len) {
        if (len > max_len) {
            throw std::length_error("BigNat");
        }
    }
    void push(std::uint32_t limb) {
        if (limb != 0) {
            check_len(_len + 1);
            _limb_arr[_len++] = limb;
        }
    }

    std::uint32_t _limb_arr[max_len]; // the least significant first
    int _len = 0;                     // without leading zeros
};

} // namespace test
