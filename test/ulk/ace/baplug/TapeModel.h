#pragma once

#include "TapeRig.h"

#include <algorithm>
#include <cmath>

namespace test {

// Blocks of a sample that are in the cache.
class LoadedBlocks {
public:
    void set(long block) {
        _flag_arr.resize(std::max(_flag_arr.size(), static_cast<std::size_t>(block) + 1));
        _flag_arr[static_cast<std::size_t>(block)] = 1;
    }
    bool is_set(long block) const {
        auto const at = static_cast<std::size_t>(block);
        return at < _flag_arr.size() && _flag_arr[at] != 0;
    }

private:
    std::vector<char> _flag_arr;
};

// Tape told frame by frame, without any of its code. Sums are doubles; positions, fades and rates
// have the precision that the plug-in promises. Beside each output frame stands the sum of the
// magnitudes that went into it, for a tolerance.
class TapeModel {
public:
    using Dsp = kryn::PluginDsp;
    using Doubles = std::vector<double>;

    // A parameter with its ramp and the chase after a jump.
    struct Mgr {
        double time;
        double freq = 44100;
        double val = 0, target = 0, slope = 0;
        long left = 0;
        bool chasing = false;
        double chaser = 0, chaser_slope = 0;

        double heard() const { return chasing ? chaser : val; }
        void chase(double old) {
            double const mean = std::fabs((val + old) / 2);
            if (mean == 0 || !(std::fabs(val - old) / mean > 0.001)) {
                return;
            }
            long const n = static_cast<long>(std::ceil(time * freq));
            double const aim = n + 1 < left ? static_cast<double>(n + 1) * slope + val : target;
            chasing = true;
            chaser = old;
            chaser_slope = (aim - old) / static_cast<double>(n);
        }
        void jump(double v) {
            double const old = heard();
            val = target = v;
            left = 0;
            chase(old);
        }
        void ramp(Dsp::EventParam const& e) {
            double const old = heard();
            target = e.val_end;
            left = 0;
            val = e.val_end;
            if (e.ramp_len != 0) {
                val = e.val_beg;
                slope = (e.val_end - e.val_beg) / static_cast<double>(e.ramp_len);
                left = slope == 0 ? 0 : e.ramp_len;
            }
            chase(old);
        }
        void settle() {
            chasing = false;
            left = 0;
            slope = 0;
            val = target;
        }
        void move(long n) {
            double const prev = val;
            val = n < left ? val + static_cast<double>(n) * slope : target;
            left = std::max(0L, left - n);
            if (chasing) {
                double const next = chaser + static_cast<double>(n) * chaser_slope;
                chasing = (chaser - prev) * (next - val) > 0;
                chaser = chasing ? next : chaser;
            }
        }
        long limit(long n) const {
            long bound = left;
            if (chasing) {
                auto const sane = [](double q) { return std::fabs(q) < 2147483648.0; };
                double const reach = (target - chaser) / chaser_slope;
                if (sane(reach)) {
                    bound = std::max(bound, static_cast<long>(std::ceil(reach)));
                }
                double const rel = (left < 1 ? 0.0 : slope) - chaser_slope;
                double const meet = (chaser - val) / rel;
                if (rel != 0 && sane(meet) && std::ceil(meet) >= 1 &&
                    std::ceil(meet) < static_cast<double>(bound)) {
                    return std::min(n, static_cast<long>(std::ceil(meet)));
                }
            }
            return bound >= 1 ? std::min(n, bound) : n;
        }
    };

    struct Voice {
        bool active = false, started = false, released = false, rest = false;
        unsigned long id = 0;
        double spl = 0, pos = 0, out = 0, pitch = 0;
        Mgr vol{static_cast<double>(0.005f)};
        Mgr pan{static_cast<double>(0.005f)};
        float fade = 1, fade_step = 0;
        long fade_left = 0;
        // Reader.
        TapeSample const* spl_ptr = nullptr;
        LoadedBlocks const* loaded_ptr = nullptr;
        float rate = 1;
        double play = 0;
        long long asked = 0, ahead = 0; // of the cache
        std::vector<Doubles> audio;
        bool read = false, mixed = false;
    };

    // A pin of the block in progress.
    struct Pin {
        long nbr_chn = 2;
        int activity = 2;
        bool ignore = false, through = false;
        std::vector<Doubles> mix, mag, out;
    };

    explicit TapeModel(SampleStore& spl_store, long frames_per_cell_float)
        : store(spl_store)
        , cell_len(frames_per_cell_float) {
        for (Voice& v : voices) {
            v.vol.val = v.vol.target = default_norm;
        }
    }

    void set_freq(double freq) {
        sample_freq = freq;
        vol.freq = freq;
        for (Voice& v : voices) {
            v.vol.freq = v.pan.freq = freq;
        }
    }
    static double law(double norm) {
        return norm >= 0 && norm <= 1 ? (std::exp(norm * 8 * std::log(2.0)) - 1) / 255 * 16 : 1;
    }

    // states: of the outputs, in and out. input: of the pins, null for none.
    void process(long n, std::vector<Dsp::Event> const& events,
                 std::vector<std::vector<Floats>> const* input, std::vector<long> const& state_in,
                 std::vector<long>& states) {
        len = n;
        for (std::size_t p = 0; p < pins.size(); ++p) {
            Pin& pin = pins[p];
            pin.activity = 2;
            pin.ignore = states[p] != 0;
            pin.through = !pin.ignore && input != nullptr && state_in[p] == 0;
            auto const chn = static_cast<std::size_t>(pin.nbr_chn);
            auto const size = static_cast<std::size_t>(n);
            pin.mix.assign(chn, Doubles(size, 0));
            pin.mag = pin.mix;
            pin.out = pin.mix;
        }
        for (Voice& v : voices) {
            if (v.active) {
                run(v, events);
            }
        }
        std::size_t next = 0;
        for (Dsp::Event const& e : events) {
            if (e.type != 6) {
                continue;
            }
            while (next < 64 && voices[next].active) {
                ++next;
            }
            if (next == 64) {
                break;
            }
            Voice& v = voices[next];
            v.active = v.rest = true;
            v.started = v.released = false;
            v.id = static_cast<unsigned long>(e.note_id);
            v.spl = v.pos = v.out = v.pitch = 0;
            v.pan.jump(0);
            v.vol.jump(default_norm);
            run(v, events);
        }
        master(events);
        for (std::size_t p = 0; p < pins.size(); ++p) {
            states[p] = pins[p].through ? 0 : pins[p].activity;
        }
    }

    static constexpr double default_norm = 0.51026862859725952;
    SampleStore& store;
    long cell_len; // floats
    std::map<long long, LoadedBlocks> loaded;
    double sample_freq = 44100;
    Mgr vol{0.005};
    std::vector<Pin> pins;
    std::vector<Voice> voices = std::vector<Voice>(64);
    bool info_flag = true;                   // the host tells of samples
    std::vector<CacheProbe::Call> call_list; // of the cache, grows
    long len = 0;

private:
    void run(Voice& v, std::vector<Dsp::Event> const& events) {
        v.read = v.mixed = false;
        bool on = false, off = false, end = false, go = true;
        long cur = 0;
        for (Dsp::Event const& e : events) {
            if (e.timestamp > cur) {
                go = act(v, on, off, end);
                play(v, cur, e.timestamp);
                cur = e.timestamp;
            }
            if (!go) {
                break;
            }
            if (e.type == 5 && e.param.location.scope == 5 &&
                static_cast<unsigned long>(e.param.location.note_id) == v.id) {
                param(v, e.param);
            } else if (e.type == 9) {
                off = true;
            } else if (e.type >= 6 && e.type <= 8 &&
                       static_cast<unsigned long>(e.note_id) == v.id) {
                (e.type == 6 ? on : e.type == 7 ? off : end) = true;
            }
        }
        if (cur < len) {
            act(v, on, off, end);
            play(v, cur, len);
        }
        if (v.mixed) {
            pin_of(v).activity = 0;
        }
        if (!v.rest || (v.released && v.fade_left <= 0)) {
            v.active = false;
        }
        if (v.active && v.started) {
            look_ahead(v);
        }
    }
    void look_ahead(Voice& v) {
        long long const target = static_cast<long long>(std::floor(v.play + 0.5)) + v.ahead;
        if (target < v.asked + 4096) {
            return;
        }
        long long const rest = v.spl_ptr->get_len() - v.asked;
        if (rest > 0) {
            call_list.push_back({'p', v.spl_ptr->cache_id, v.asked,
                                 static_cast<long>(std::min(rest, target - v.asked))});
        }
        v.asked = target;
    }
    Pin& pin_of(Voice const& v) { return pins[static_cast<std::size_t>(std::floor(v.out + 0.5))]; }

    void param(Voice& v, Dsp::EventParam const& e) {
        if (v.started) {
            if (e.location.index == 3) {
                v.vol.ramp(e);
            } else if (e.location.index == 6) {
                v.pan.ramp(e);
            }
            return;
        }
        double* const target[] = {&v.spl, &v.pos, &v.out, nullptr, &v.pitch};
        if (e.location.index == 3 || e.location.index == 6) {
            Mgr& m = e.location.index == 3 ? v.vol : v.pan;
            m.jump(e.val_end);
            m.settle();
        } else if (e.location.index >= 0 && e.location.index < 5) {
            *target[e.location.index] = e.val_end;
        }
    }
    bool act(Voice& v, bool& on, bool& off, bool& end) {
        if (on) {
            on = false;
            if (!start(v)) {
                v.active = false;
                off = end = false;
                return false;
            }
            v.started = true;
            if (v.pos <= 0) {
                v.fade_left = 0;
                v.fade = 1;
                v.vol.chasing = v.pan.chasing = false;
            } else {
                v.fade_left =
                    static_cast<long>(std::floor(sample_freq * static_cast<double>(0.005f) + 0.5));
                v.fade = 0;
                v.fade_step = 1.0f / static_cast<float>(v.fade_left);
            }
        }
        if (off) {
            off = false;
            v.released = true;
            v.fade_left = static_cast<long>(std::floor(
                sample_freq * static_cast<double>(0.005f) * static_cast<double>(v.fade) + 0.5));
            if (v.fade_left > 0) {
                v.fade_step = -v.fade / static_cast<float>(v.fade_left);
            }
        }
        return !end;
    }
    bool start(Voice& v) {
        double const pin = std::floor(v.out + 0.5);
        auto const it = store.map.find(static_cast<long long>(std::floor(v.spl + 0.5)));
        if (pin < 0 || pin >= static_cast<double>(pins.size()) || it == store.map.end() ||
            !info_flag) {
            return false;
        }
        TapeSample const& spl = it->second;
        if (!(v.pos * spl.freq < static_cast<double>(spl.get_len()))) {
            return false;
        }
        v.spl_ptr = &spl;
        v.loaded_ptr = &loaded[it->first];
        v.play = v.pos * spl.freq;
        v.rate =
            static_cast<float>(std::exp(v.pitch * 0.057762265046662105) * spl.freq / sample_freq);
        v.asked = static_cast<long long>(std::floor(v.play));
        v.ahead = static_cast<long long>(static_cast<double>(v.rate) * spl.freq) + 4096;
        look_ahead(v);
        return true;
    }
    void read(Voice& v, long from) {
        TapeSample const& spl = *v.spl_ptr;
        v.audio.assign(static_cast<std::size_t>(spl.nbr_chn),
                       Doubles(static_cast<std::size_t>(len), 0));
        double const p = v.play - 1;
        long const first = static_cast<long>(std::floor(p));
        long const last = static_cast<long>(
            std::floor(p + static_cast<double>(static_cast<float>(len - from - 1) * v.rate)));
        long const beg = std::max(first, 0L);
        long const end = beg + std::min(last - first + 2, spl.get_len() - beg);
        if (end > beg) {
            call_list.push_back({'g', spl.cache_id, beg, end - beg});
        }
        long const block = cell_len / spl.nbr_chn;
        // Frames of the range; null for one that is not there.
        auto const find = [&](long f) -> float const* {
            bool const there = f >= beg && f < end && v.loaded_ptr->is_set(f / block);
            return there ? spl.data.data() + f * spl.nbr_chn : nullptr;
        };
        auto const step = static_cast<unsigned long>(
            std::floor(static_cast<double>(v.rate) * 4294967296.0 + 0.5));
        auto raw =
            static_cast<unsigned long>(std::floor((p - static_cast<double>(first)) * 4294967296.0));
        for (long i = from; i < len; ++i, raw += step) {
            long const f = first + static_cast<long>(raw >> 32);
            float const* const a = find(f);
            float const* const b = find(f + 1);
            double const frac = static_cast<double>(raw & 0xFFFFFFFF) / 4294967296.0;
            for (int c = 0; c < spl.nbr_chn; ++c) {
                v.audio[static_cast<std::size_t>(c)][static_cast<std::size_t>(i)] =
                    (a != nullptr ? static_cast<double>(a[c]) : 0) * (1 - frac) +
                    (b != nullptr ? static_cast<double>(b[c]) : 0) * frac;
            }
        }
    }
    void play(Voice& v, long from, long to) {
        if (!v.started) {
            return;
        }
        Pin& pin = pin_of(v);
        if (!v.read) {
            v.read = true;
            pin.activity = std::min(pin.activity, 1);
            if (!pin.ignore) {
                read(v, from);
            }
            v.play += static_cast<double>(static_cast<float>(len - from) * v.rate);
            v.rest = v.play < static_cast<double>(v.spl_ptr->get_len() + 1);
        }
        while (!pin.ignore && from < to) {
            long const n = v.fade_left > 0 ? std::min(to - from, v.fade_left) : to - from;
            double const v0 = gain(v);
            double const p0 = v.pan.heard();
            v.vol.move(n);
            v.pan.move(n);
            if (v.fade_left > 0) {
                v.fade += static_cast<float>(n) * v.fade_step;
                v.fade_left -= n;
            }
            double const v1 = gain(v);
            double const p1 = v.pan.heard();
            if (v0 > 1e-6 || v1 > 1e-6) {
                v.mixed = true;
                mix(v, pin, from, n, {v0, p0}, {v1, p1});
            }
            from += n;
        }
    }
    static double gain(Voice const& v) {
        double const f = static_cast<double>(v.fade);
        return law(v.vol.heard()) * f * f * (3 - 2 * f);
    }

    struct Level {
        double vol, pan;
    };
    // Gain from a sample's channel to a pin's.
    static double route(long nbr_src, long nbr_dst, long s, long d, Level l) {
        if (nbr_src == 1 && nbr_dst == 2) {
            return (d == 0 ? 1 - l.pan : 1 + l.pan) * l.vol;
        }
        if (nbr_src == 2 && nbr_dst == 1) {
            return s == 0 ? (1 - l.pan) * l.vol / 2 : 0;
        }
        if (nbr_src == 2 && nbr_dst == 2) {
            if (s == d) {
                bool const weak = (s == 0) == (l.pan >= 0) && l.pan != 0;
                return (weak ? 1 - std::fabs(l.pan) : 1) * l.vol;
            }
            return (s == 0) == (l.pan >= 0) ? std::fabs(l.pan) * l.vol : 0;
        }
        if (nbr_dst == 1) {
            return l.vol / static_cast<double>(nbr_src);
        }
        return nbr_src == 1 || s == d ? l.vol : 0;
    }
    void mix(Voice const& v, Pin& pin, long from, long n, Level beg, Level end) {
        for (long d = 0; d < pin.nbr_chn; ++d) {
            for (long s = 0; s < v.spl_ptr->nbr_chn; ++s) {
                double const g0 = route(v.spl_ptr->nbr_chn, pin.nbr_chn, s, d, beg);
                double const g1 = route(v.spl_ptr->nbr_chn, pin.nbr_chn, s, d, end);
                double const big = std::max(std::fabs(g0), std::fabs(g1));
                if (big == 0) {
                    continue;
                }
                double const* const src = v.audio[static_cast<std::size_t>(s)].data() + from;
                double* const sum = pin.mix[static_cast<std::size_t>(d)].data() + from;
                double* const mag = pin.mag[static_cast<std::size_t>(d)].data() + from;
                double const step = (g1 - g0) / static_cast<double>(n);
                for (long i = 0; i < n; ++i) {
                    sum[i] += src[i] * (g0 + step * static_cast<double>(i));
                    mag[i] += (std::fabs(src[i]) + 0.02) * big;
                }
            }
        }
    }
    void master(std::vector<Dsp::Event> const& events) {
        long pos = 0;
        std::size_t e = 0;
        while (pos < len) {
            while (e < events.size() &&
                   (events[e].type != 5 || events[e].param.location.scope != 0)) {
                ++e;
            }
            long const end = e < events.size() ? events[e].timestamp : len;
            while (pos < end) {
                long const n = vol.limit(end - pos);
                double const g0 = law(vol.heard());
                vol.move(n);
                double const g1 = law(vol.heard());
                for (Pin& pin : pins) {
                    for (std::size_t c = 0; c < pin.mix.size(); ++c) {
                        for (long i = 0; i < n; ++i) {
                            auto const at = static_cast<std::size_t>(pos + i);
                            double const g =
                                g0 + (g1 - g0) * static_cast<double>(i) / static_cast<double>(n);
                            pin.out[c][at] = pin.mix[c][at] * g;
                            pin.mag[c][at] *= std::max(g0, g1);
                        }
                    }
                }
                pos += n;
            }
            if (e < events.size()) {
                if (pos < len && events[e].param.location.index == 0) {
                    vol.ramp(events[e].param);
                }
                ++e;
            }
        }
    }
};

} // namespace test
