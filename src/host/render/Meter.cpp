#include "host/render/Meter.h"

#include "host/render/SamplePeak.h"

#include <algorithm>
#include <cmath>

namespace ulk::host::render {

namespace {

constexpr long max_block_len = SoundHash::max_len;

double conv_to_db(float level) {
    return 20 * std::log10(static_cast<double>(level));
}

} // namespace

Meter::Meter(int nbr_chn, double sample_freq, float clip_level)
    : _clip_level(clip_level)
    , _raw_arr(static_cast<std::size_t>(nbr_chn))
    , _finite_arr(_raw_arr.size())
    , _loudness(nbr_chn, sample_freq)
    , _hash(nbr_chn) {
    for (int chn = 0; chn < nbr_chn; ++chn) {
        _channel_arr.push_back({TruePeak(sample_freq), 0, std::vector<float>(max_block_len)});
    }
}

void Meter::push(float const* const* chn_arr, long len) {
    std::copy_n(chn_arr, _raw_arr.size(), _raw_arr.begin());
    while (len > 0) {
        long const part_len = std::min(len, max_block_len);
        push_block(part_len);
        for (float const*& chn : _raw_arr) {
            chn += part_len;
        }
        len -= part_len;
    }
}

Meter::Figures Meter::compute_figures() const {
    Figures figures;
    float peak = 0;
    float true_peak = 0;
    for (Channel const& channel : _channel_arr) {
        figures.peak_arr.push_back(conv_to_db(channel.peak));
        peak = std::max(peak, channel.peak);
        true_peak = std::max(true_peak, channel.true_peak.get_peak());
    }
    figures.peak = conv_to_db(peak);
    figures.true_peak = conv_to_db(true_peak);
    figures.loudness = _loudness.compute_integrated();
    figures.loudness_range = _loudness.compute_range();
    figures.nbr_frames = _nbr_frames;
    figures.nbr_clipped = _nbr_clipped;
    figures.nbr_non_finite = _nbr_non_finite;
    figures.hash = _hash.get_hash();
    return figures;
}

void Meter::push_block(long len) {
    float block_peak = 0;
    for (std::size_t chn = 0; chn < _channel_arr.size(); ++chn) {
        Channel& channel = _channel_arr[chn];
        float const* spl_arr = _raw_arr[chn];
        float peak = SamplePeak::find(spl_arr, len);
        if (!std::isfinite(peak)) {
            spl_arr = make_finite(channel, spl_arr, len);
            peak = SamplePeak::find(spl_arr, len);
        }
        _finite_arr[chn] = spl_arr;
        channel.true_peak.push(spl_arr, len, peak);
        channel.peak = std::max(channel.peak, peak);
        block_peak = std::max(block_peak, peak);
    }
    if (block_peak > _clip_level) {
        _nbr_clipped += count_clipped(len);
    }
    _loudness.push(_finite_arr.data(), len);
    _hash.push(_raw_arr.data(), len);
    _nbr_frames += len;
}

float const* Meter::make_finite(Channel& channel, float const* spl_arr, long len) {
    std::transform(spl_arr, spl_arr + len, channel.finite.begin(), [this](float spl) {
        bool const finite_flag = std::isfinite(spl);
        _nbr_non_finite += !finite_flag;
        return finite_flag ? spl : 0;
    });
    return channel.finite.data();
}

long long Meter::count_clipped(long len) const {
    long long count = 0;
    for (long pos = 0; pos < len; ++pos) {
        count += std::any_of(_finite_arr.begin(), _finite_arr.end(), [=, this](float const* chn) {
            return chn[pos] > _clip_level || chn[pos] < -1;
        });
    }
    return count;
}

} // namespace ulk::host::render
