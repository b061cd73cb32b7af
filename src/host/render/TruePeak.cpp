#include "host/render/TruePeak.h"

#include "host/render/SamplePeak.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <numbers>

namespace ulk::host::render {

namespace {

using Pair = double __attribute__((vector_size(16)));

Pair load_pair(double const* ptr) {
    Pair val;
    std::memcpy(&val, ptr, sizeof(val));
    return val;
}

int choose_ratio(double sample_freq) {
    return sample_freq < 96000 ? 4 : sample_freq < 192000 ? 2 : 1;
}

} // namespace

TruePeak::TruePeak(double sample_freq)
    : _ratio(choose_ratio(sample_freq))
    , _nbr_taps(_nbr_coef / _ratio) {
    if (_ratio == 1) {
        return;
    }
    constexpr int centre = (_nbr_coef - 1) / 2;
    for (int pos = 0; pos < _nbr_coef; ++pos) {
        if (pos % _ratio == 0) {
            continue; // the zeros of the sinc, and its top
        }
        double const angle = (pos - centre) * std::numbers::pi / _ratio;
        double const wnd = 0.5 * (1 - std::cos(2 * std::numbers::pi * pos / (_nbr_coef - 1)));
        _coef_arr[pos % _ratio - 1][pos / _ratio] = std::sin(angle) / angle * wnd;
    }
    for (auto const& phase : _coef_arr) {
        double sum = 0;
        for (double const coef : phase) {
            sum += std::abs(coef);
        }
        _gain = std::max(_gain, sum * (1 + 1e-9)); // beyond what rounding adds
    }
}

void TruePeak::push(float const* spl_arr, long len, float block_peak) {
    while (len > 0) {
        int const part_len = static_cast<int>(std::min<long>(len, _max_block_len));
        push_block(spl_arr, part_len, block_peak);
        spl_arr += part_len;
        len -= part_len;
    }
    _peak = std::max(_peak, block_peak);
}

// The tail has twice the taps, so that a whole piece can end with the block, however short that is.
void TruePeak::push_block(float const* spl_arr, int len, float block_peak) {
    if (_ratio == 1) {
        return;
    }
    int const tail_len = 2 * _nbr_taps;
    float const tail_peak = SamplePeak::find(_tail_arr, tail_len);
    bool const scan_flag = std::max(block_peak, tail_peak) * _gain > _peak;
    if (!scan_flag && len >= tail_len) {
        std::copy_n(spl_arr + len - tail_len, tail_len, _tail_arr);
        return;
    }
    float buf[_max_tail_len + _max_block_len];
    std::copy_n(_tail_arr, tail_len, buf);
    std::copy_n(spl_arr, len, buf + tail_len);
    if (scan_flag) {
        _ratio == 4 ? scan<_nbr_coef / 4>(buf + tail_len, len)
                    : scan<_nbr_coef / 2>(buf + tail_len, len);
    }
    std::copy_n(buf + len, tail_len, _tail_arr);
}

// Pieces of as many samples as there are taps; the last one overlaps the one before.
template <int NBR_TAPS>
void TruePeak::scan(float const* spl_arr, int len) {
    for (int pos = 0; pos < len; pos += NBR_TAPS) {
        float const* const piece = spl_arr + std::min(pos, len - NBR_TAPS);
        if (SamplePeak::find(piece - NBR_TAPS, 2 * NBR_TAPS) * _gain > _peak) {
            interpolate<NBR_TAPS>(piece);
        }
    }
}

template <int NBR_TAPS>
void TruePeak::interpolate(float const* spl_arr) {
    constexpr int nbr_pairs = 6; // what the registers hold
    double buf[2 * NBR_TAPS];
    std::copy_n(spl_arr - NBR_TAPS, 2 * NBR_TAPS, buf);
    for (int phase = 0; phase < _ratio - 1; ++phase) {
        double const* const coef_arr = _coef_arr[phase];
        for (int beg = 0; beg < NBR_TAPS; beg += 2 * nbr_pairs) {
            Pair sum_arr[nbr_pairs] = {};
            double const* const src = buf + NBR_TAPS + beg;
            for (int tap = 0; tap < NBR_TAPS; ++tap) {
                Pair const coef = {coef_arr[tap], coef_arr[tap]};
                for (int k = 0; k < nbr_pairs; ++k) {
                    sum_arr[k] += coef * load_pair(src + 2 * k - tap);
                }
            }
            for (Pair const& sum : sum_arr) {
                auto const top = static_cast<float>(std::max(std::abs(sum[0]), std::abs(sum[1])));
                _peak = std::max(_peak, top);
            }
        }
    }
}

} // namespace ulk::host::render
