#include "host/render/Loudness.h"

#include "host/render/SamplePeak.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace ulk::host::render {

namespace {

using Pair = double __attribute__((vector_size(16)));

// What is left below this in the filters is no sound any more, -400 dB.
constexpr double settled_level = 1e-20;

double get_weight(int chn, int nbr_chn) {
    constexpr double side = 1.41; // surround channels
    switch (nbr_chn) {
    case 4:
        return chn < 2 ? 1 : side;
    case 5:
        return chn < 3 ? 1 : side;
    default:
        return chn < 3 ? 1 : chn == 4 || chn == 5 ? side : 0;
    }
}

} // namespace

// The two filters of BS.1770 for two channels: a shelf for the head, and a high-pass. Given for
// 48 kHz there; these are the analog filters that those digital ones stand for.
class Loudness::PairFilter {
public:
    PairFilter(int chn, int nbr_chn, double sample_freq)
        : _chn(chn)
        , _second_chn(chn + 1 < nbr_chn ? chn + 1 : chn)
        , _weight{get_weight(chn, nbr_chn), chn + 1 < nbr_chn ? get_weight(chn + 1, nbr_chn) : 0} {
        setup_shelf(sample_freq);
        setup_highpass(sample_freq);
    }

    // real-time
    void push(float const* const* chn_arr, long pos, long len) {
        float const* const left = chn_arr[_chn] + pos;
        float const* const right = chn_arr[_second_chn] + pos;
        if (_settled_flag && SamplePeak::find(left, len) == 0 &&
            SamplePeak::find(right, len) == 0) {
            return;
        }
        filter(left, right, len);
        settle();
    }

    // Weighted sum of squares since the last call.
    double take_energy() {
        Pair const weighted = _sum * _weight;
        _sum = Pair{};
        return weighted[0] + weighted[1];
    }

private:
    struct History {
        Pair x1{}, x2{}; // shelf's input
        Pair y1{}, y2{}; // its output
        Pair z1{}, z2{}; // output of the high-pass
    };

    static Pair make_pair(double val) { return Pair{val, val}; }

    void setup_shelf(double sample_freq) {
        double const k = std::tan(std::numbers::pi * 1681.974450955533 / sample_freq);
        double const v_high = std::pow(10, 3.999843853973347 / 20);
        double const v_mid = std::pow(v_high, 0.4996667741545416);
        double const k_q = k / 0.7071752369554196;
        double const a0 = 1 + k_q + k * k;
        _b0 = make_pair((v_high + v_mid * k_q + k * k) / a0);
        _b1 = make_pair(2 * (k * k - v_high) / a0);
        _b2 = make_pair((v_high - v_mid * k_q + k * k) / a0);
        _a1 = make_pair(2 * (k * k - 1) / a0);
        _a2 = make_pair((1 - k_q + k * k) / a0);
    }

    // Its numerator is 1, -2, 1 at any rate.
    void setup_highpass(double sample_freq) {
        double const k = std::tan(std::numbers::pi * 38.13547087602444 / sample_freq);
        double const k_q = k / 0.5003270373238773;
        double const a0 = 1 + k_q + k * k;
        _c1 = make_pair(2 * (k * k - 1) / a0);
        _c2 = make_pair((1 - k_q + k * k) / a0);
    }

    void filter(float const* left, float const* right, long len) {
        History h = _history;
        Pair sum = _sum;
        for (long pos = 0; pos < len; ++pos) {
            Pair const x = {left[pos], right[pos]};
            // Only the last product waits for the sample before.
            Pair const y = _b0 * x + _b1 * h.x1 + _b2 * h.x2 - _a2 * h.y2 - _a1 * h.y1;
            Pair const z = y - (h.y1 + h.y1) + h.y2 - _c2 * h.z2 - _c1 * h.z1;
            sum += z * z;
            h = {x, h.x1, y, h.y1, z, h.z1};
        }
        _history = h;
        _sum = sum;
    }

    void settle() {
        History const& h = _history;
        _settled_flag = true;
        for (Pair const& val : {h.x1, h.x2, h.y1, h.y2, h.z1, h.z2}) {
            _settled_flag = _settled_flag && std::abs(val[0]) < settled_level &&
                            std::abs(val[1]) < settled_level;
        }
        if (_settled_flag) {
            _history = History{};
        }
    }

    int _chn;
    int _second_chn;
    Pair _weight;
    Pair _b0, _b1, _b2, _a1, _a2; // shelf
    Pair _c1, _c2;                // high-pass
    History _history;
    Pair _sum{};
    bool _settled_flag = true; // the history is zero
};

Loudness::Loudness(int nbr_chn, double sample_freq)
    : _hop_len(std::lround(sample_freq / 10)) {
    for (int chn = 0; chn < nbr_chn; chn += 2) {
        if (get_weight(chn, nbr_chn) > 0 || get_weight(chn + 1, nbr_chn) > 0) {
            _filter_arr.emplace_back(chn, nbr_chn, sample_freq);
        }
    }
}

Loudness::~Loudness() = default;

void Loudness::push(float const* const* chn_arr, long len) {
    for (long pos = 0; pos < len;) {
        long const part_len = std::min(len - pos, _hop_len - _hop_pos);
        for (PairFilter& filter : _filter_arr) {
            filter.push(chn_arr, pos, part_len);
        }
        pos += part_len;
        _hop_pos += part_len;
        if (_hop_pos == _hop_len) {
            end_hop();
        }
    }
}

double Loudness::compute_integrated() const {
    return LoudnessHistogram::conv_to_lufs(_momentary.compute_gated_mean(10));
}

double Loudness::compute_range() const {
    double const low = _short.compute_gated_quantile(20, 0.10);
    double const high = _short.compute_gated_quantile(20, 0.95);
    return low > 0 ? 10 * std::log10(high / low) : 0;
}

void Loudness::end_hop() {
    double sum = 0;
    for (PairFilter& filter : _filter_arr) {
        sum += filter.take_energy();
    }
    _hop_arr[static_cast<std::size_t>(_nbr_hops % _nbr_hops_short)] = sum;
    ++_nbr_hops;
    _hop_pos = 0;
    if (_nbr_hops >= _nbr_hops_momentary) {
        _momentary.add(compute_energy(_nbr_hops_momentary));
    }
    if (_nbr_hops >= _nbr_hops_short && _nbr_hops % _nbr_hops_second == 0) {
        _short.add(compute_energy(_nbr_hops_short));
    }
}

double Loudness::compute_energy(int nbr_hops) const {
    double sum = 0;
    for (int k = 1; k <= nbr_hops; ++k) {
        sum += _hop_arr[static_cast<std::size_t>((_nbr_hops - k) % _nbr_hops_short)];
    }
    return sum / static_cast<double>(nbr_hops * _hop_len);
}

} // namespace ulk::host::render
