#pragma once

#include <bit>

namespace ulk::math {

template <int N>
void IntMultiPrec<N>::shift_right(int nbr_bits, bool round) {
    if (nbr_bits <= 0) {
        return;
    }
    if (nbr_bits > NBR_BITS + 4) {
        *this = IntMultiPrec();
        return;
    }
    if (round) {
        if (nbr_bits <= NBR_BITS) {
            add_bit(nbr_bits - 1);
        }
    }
    int const nbr_limbs = nbr_bits / LIMB_BITS;
    int const rest = nbr_bits % LIMB_BITS;
    for (int i = 0; i < N; ++i) {
        int const src = i + nbr_limbs;
        archi::UInt64 const lo = src < N ? _limb_arr[src] : 0;
        archi::UInt64 const hi = src + 1 < N ? _limb_arr[src + 1] : 0;
        // A carry in the top limb has no limb above to come down from.
        auto const mask = src == N - 1 ? ~archi::UInt32(0) : LIMB_MASK;
        _limb_arr[i] = static_cast<archi::UInt32>((hi << LIMB_BITS | lo) >> rest) & mask;
    }
    // What the shift left above 28 bits goes to the limb above.
    for (int i = 0; i < N - 1; ++i) {
        _limb_arr[i + 1] += _limb_arr[i] >> LIMB_BITS;
        _limb_arr[i] &= LIMB_MASK;
    }
}

template <int N>
int IntMultiPrec<N>::mul_normalise(IntMultiPrec const& other, bool round) {
    archi::UInt64 prod[2 * N] = {};
    for (int i = 0; i < N; ++i) {
        archi::UInt64 carry = 0;
        for (int j = 0; j < N; ++j) {
            carry += prod[i + j] + archi::UInt64(_limb_arr[i]) * other._limb_arr[j];
            prod[i + j] = carry & LIMB_MASK;
            carry >>= LIMB_BITS;
        }
        prod[i + N] = carry;
    }
    _neg_flag = _neg_flag != other._neg_flag;
    int shift = 0;
    while (shift < N && prod[2 * N - 1 - shift] == 0) {
        ++shift;
    }
    for (int i = 0; i < N; ++i) {
        _limb_arr[i] = static_cast<archi::UInt32>(prod[N - shift + i]);
    }
    bool const up = round && shift < N && (prod[N - shift - 1] >> (LIMB_BITS - 1)) != 0;
    if (up) {
        add_bit(0);
    }
    if (_limb_arr[N - 1] > LIMB_MASK) {
        shift_right(LIMB_BITS, round);
        --shift;
    }
    return shift;
}

template <int N>
bool IntMultiPrec<N>::is_zero() const {
    return find_top_bit() < 0;
}

template <int N>
int IntMultiPrec<N>::find_top_bit() const {
    for (int i = N - 1; i >= 0; --i) {
        if (_limb_arr[i] != 0) {
            return i * LIMB_BITS + int(std::bit_width(_limb_arr[i])) - 1;
        }
    }
    return -1;
}

template <int N>
bool IntMultiPrec<N>::has_bits_below(int pos) const {
    IntMultiPrec top = *this;
    top.clear_below(pos);
    return compare_mag(top) != 0;
}

template <int N>
void IntMultiPrec<N>::clear_below(int pos) {
    for (int i = 0; i < N && i * LIMB_BITS < pos; ++i) {
        int const nbr = pos - i * LIMB_BITS;
        _limb_arr[i] = nbr >= LIMB_BITS ? 0 : _limb_arr[i] >> nbr << nbr;
    }
}

// Adds 2^pos. A carry out of the top limb stays in the bits above it.
template <int N>
void IntMultiPrec<N>::add_bit(int pos) {
    int limb = pos / LIMB_BITS;
    _limb_arr[limb] += archi::UInt32(1) << pos % LIMB_BITS;
    for (; limb < N - 1 && _limb_arr[limb] > LIMB_MASK; ++limb) {
        _limb_arr[limb] &= LIMB_MASK;
        ++_limb_arr[limb + 1];
    }
}

// The top bits leave for good.
template <int N>
void IntMultiPrec<N>::shift_left(int nbr_bits) {
    int const nbr_limbs = nbr_bits / LIMB_BITS;
    int const rest = nbr_bits % LIMB_BITS;
    for (int i = N - 1; i >= 0; --i) {
        int const src = i - nbr_limbs;
        archi::UInt64 const hi = src >= 0 ? _limb_arr[src] : 0;
        archi::UInt64 const lo = src >= 1 ? _limb_arr[src - 1] : 0;
        _limb_arr[i] =
            static_cast<archi::UInt32>((hi << LIMB_BITS | lo) << rest >> LIMB_BITS) & LIMB_MASK;
    }
}

template <int N>
int IntMultiPrec<N>::compare_mag(IntMultiPrec const& other) const {
    for (int i = N - 1; i >= 0; --i) {
        if (_limb_arr[i] != other._limb_arr[i]) {
            return _limb_arr[i] < other._limb_arr[i] ? -1 : 1;
        }
    }
    return 0;
}

template <int N>
void IntMultiPrec<N>::add_mag(IntMultiPrec const& other) {
    for (int i = 0; i < N; ++i) {
        _limb_arr[i] += other._limb_arr[i];
        if (i > 0) {
            _limb_arr[i] += _limb_arr[i - 1] >> LIMB_BITS;
            _limb_arr[i - 1] &= LIMB_MASK;
        }
    }
}

// Other is not above.
template <int N>
void IntMultiPrec<N>::sub_mag(IntMultiPrec const& other) {
    archi::UInt32 borrow = 0;
    for (int i = 0; i < N; ++i) {
        archi::UInt32 const diff = _limb_arr[i] - other._limb_arr[i] - borrow;
        borrow = diff >> 31;
        _limb_arr[i] = diff & LIMB_MASK;
    }
}

} // namespace ulk::math
