#pragma once

#include "ulk/ace/Constants.h"
#include "ulk/kryn/PluginDsp.h"

#include <algorithm>
#include <cmath>
#include <vector>

namespace test {

// The dry/wet mixer told frame by frame, without any of its code: doubles for the parameters, and
// plain serial floats for the samples.
class MixerModel {
public:
    using Dsp = kryn::PluginDsp;

    // A parameter: index 0 bypass, 1 balance, 2 gain.
    struct Param {
        double val = 0;
        double target = 0;
        double slope = 0;
        long left = 0;
        bool chasing = false;
        double chaser = 0;
        double chaser_slope = 0;

        double heard() const { return chasing ? chaser : val; }
    };

    double sample_freq = 44100;
    std::vector<long> pin_arr{2}; // channels of each output pin
    Param param_arr[3];

    void init() {
        jump(param_arr[1], 0);
        jump(param_arr[0], 0);
        jump(param_arr[2], 0.7521010637283325);
    }
    void clear_buffers() {
        for (Param& p : param_arr) {
            p.chasing = false;
            p.left = 0;
            p.val = p.target;
            p.slope = 0;
        }
    }
    void process(Dsp::CmdPlug::Process& block) {
        _block = &block;
        _written_arr.assign(pin_arr.size(), false);
        long evt = 0;
        long pos = 0;
        // Frames between events are one stretch, whatever the events are.
        bool more = true;
        while (more) {
            bool const evt_flag = evt < block.evt_list.nbr_evt;
            long const end = evt_flag ? block.evt_list.evt_arr[evt]->timestamp : block.nbr_spl;
            while (pos < end) {
                pos += play(pos, end - pos);
            }
            if (evt_flag) {
                obey(*block.evt_list.evt_arr[evt++]);
            }
            more = pos < block.nbr_spl;
        }
        for (std::size_t pin = 0; pin < pin_arr.size(); ++pin) {
            long& state = block.port_out.pin_arr[pin].state;
            if (state == 0 && !_written_arr[pin]) {
                state = 2;
            }
        }
    }

private:
    struct Levels {
        double dry;
        double wet;
    };
    struct Source {
        float* const* chn_arr;
        bool heard;
        bool unity;
        float level; // at the next frame
        float step;
    };

    void chase(Param& p, double old) const {
        double const mean = std::fabs((p.val + old) / 2);
        if (mean == 0 || !(std::fabs(p.val - old) / mean > 0.001)) {
            return;
        }
        int const n = static_cast<int>(std::ceil(0.005 * sample_freq));
        double const aim = n + 1 < p.left ? (n + 1) * p.slope + p.val : p.target;
        p.chasing = true;
        p.chaser = old;
        p.chaser_slope = (aim - old) / n;
    }
    void jump(Param& p, double val) const {
        double const old = p.heard();
        p.val = p.target = val;
        p.left = 0;
        chase(p, old);
    }
    void obey(Dsp::Event const& evt) {
        if (evt.type != 5 || evt.param.location.scope != 0 || evt.param.location.index < 0 ||
            evt.param.location.index > 2) {
            return;
        }
        Param& p = param_arr[evt.param.location.index];
        double const old = p.heard();
        p.target = evt.param.val_end;
        if (evt.param.ramp_len == 0) {
            p.left = 0;
            p.val = evt.param.val_end;
        } else {
            p.val = evt.param.val_beg;
            p.slope =
                (evt.param.val_end - evt.param.val_beg) / static_cast<double>(evt.param.ramp_len);
            p.left = p.slope == 0.0 ? 0 : evt.param.ramp_len;
        }
        chase(p, old);
    }
    static bool is_sane(double quotient) { return std::fabs(quotient) < 2147483648.0; }

    // Frames up to the next change of slope.
    static long limit(Param const& p, long len) {
        long bound = p.left;
        if (p.chasing) {
            double const reach = (p.target - p.chaser) / p.chaser_slope;
            if (is_sane(reach)) {
                bound = std::max(bound, static_cast<long>(std::ceil(reach)));
            }
            double const rel = (p.left < 1 ? 0.0 : p.slope) - p.chaser_slope;
            double const meet = (p.chaser - p.val) / rel;
            if (rel != 0 && is_sane(meet)) {
                long const cross = static_cast<long>(std::ceil(meet));
                if (cross >= 1 && cross < bound) {
                    return std::min(len, cross);
                }
            }
        }
        return bound >= 1 ? std::min(len, bound) : len;
    }
    static void advance(Param& p, long len) {
        double const before = p.val;
        if (len < p.left) {
            p.val += static_cast<double>(len) * p.slope;
            p.left -= len;
        } else {
            p.val = p.target;
            p.left = 0;
        }
        if (p.chasing) {
            double const s = p.chaser + static_cast<double>(len) * p.chaser_slope;
            if ((p.chaser - before) * (s - p.val) > 0) {
                p.chaser = s;
            } else {
                p.chasing = false;
            }
        }
    }
    Levels find_levels() const {
        double const x = param_arr[1].heard() - 0.5;
        double const d =
            x >= 0 ? 0.625 - 0.078125 / (x + 0.125) + 0.5 : -0.625 - 0.078125 / (x - 0.125) + 0.5;
        double const norm = param_arr[2].heard();
        double const g = norm >= 0 && norm <= 1 ? (std::exp(norm * 5.545177444479562) - 1) /
                                                      (255.99999999999994 - 1) * 4.0
                                                : 1.0;
        double const w = (1 - d) * (1 - param_arr[0].heard());
        return {1 - w, w * g};
    }
    static Source make_source(Dsp::PinData const& in, double beg, double end, long len) {
        Source src;
        src.chn_arr = in.chn_arr;
        src.heard = in.state == 0 && (beg > 1e-6 || end > 1e-6);
        src.unity = std::fabs(beg - 1) <= 0.001 && std::fabs(end - 1) <= 0.001;
        src.level = static_cast<float>(beg);
        src.step = (static_cast<float>(end) - src.level) / static_cast<float>(len);
        return src;
    }
    // The sample at pos of a channel, with the level that has come so far.
    static float take(Source const& src, float level, long chn, long pos) {
        float const x = src.chn_arr[chn][pos];
        return src.unity ? x : x * level;
    }
    static void clear(Dsp::PinData const& out, long nbr_chn, long pos, long len) {
        constexpr float tiny = ulk::ace::Constants::ANTI_DENORMAL;
        for (long chn = 0; chn < nbr_chn; ++chn) {
            for (long i = 0; i < len; ++i) {
                out.chn_arr[chn][pos + i] = i == len - 1   ? 7.0f * tiny
                                            : i == len / 2 ? -3.0f * tiny
                                                           : 0.0f;
            }
        }
    }
    // The next frames, as far as all parameters go straight; returns how many.
    long play(long pos, long len) {
        len = limit(param_arr[0], len);
        len = limit(param_arr[1], len);
        len = limit(param_arr[2], len);
        Levels const beg = find_levels();
        for (Param& p : param_arr) {
            advance(p, len);
        }
        Levels const end = find_levels();
        for (std::size_t pin = 0; pin < pin_arr.size(); ++pin) {
            Dsp::PinData const* const in = &_block->port_in.pin_arr[2 * pin];
            Source const wet = make_source(in[0], beg.wet, end.wet, len);
            Source const dry = make_source(in[1], beg.dry, end.dry, len);
            play_pin(pin, pos, len, dry, wet);
        }
        return len;
    }
    void play_pin(std::size_t pin, long pos, long len, Source const& dry, Source const& wet) {
        Dsp::PinData const& out = _block->port_out.pin_arr[pin];
        if (out.state != 0) {
            return;
        }
        if (!dry.heard && !wet.heard) {
            if (_written_arr[pin]) {
                clear(out, pin_arr[pin], pos, len);
            }
            return;
        }
        if (!_written_arr[pin] && pos > 0) {
            clear(out, pin_arr[pin], 0, pos);
        }
        _written_arr[pin] = true;
        float dry_level = dry.level;
        float wet_level = wet.level;
        for (long i = pos; i < pos + len; ++i) {
            for (long chn = 0; chn < pin_arr[pin]; ++chn) {
                float& dst = out.chn_arr[chn][i];
                if (dry.heard) {
                    dst = take(dry, dry_level, chn, i);
                }
                if (wet.heard) {
                    float const x = take(wet, wet_level, chn, i);
                    dst = dry.heard ? dst + x : x;
                }
            }
            dry_level += dry.step;
            wet_level += wet.step;
        }
    }

    Dsp::CmdPlug::Process* _block = nullptr;
    std::vector<bool> _written_arr;
};

} // namespace test
