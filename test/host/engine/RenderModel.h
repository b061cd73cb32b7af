#pragma once

#include "host/engine/GainLaw.h"
#include "host/engine/NotePlan.h"
#include "host/session/Session.h"

#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

namespace test {

// What a session sounds like, frame by frame in double precision and without plug-ins, cache or
// blocks; with it, how far the sound may be from that. It may be anywhere between silence and the
// full level where a voice makes its own fades of 5 ms, within 0.1 dB where a level moves, and is
// exact but for single precision anywhere else.
class RenderModel {
public:
    using Session = ulk::host::session::Session;
    using Facts = ulk::host::engine::SampleFacts;
    using Samples = std::vector<std::vector<std::vector<float>>>; // by sample and channel

    struct Frame {
        double val = 0;
        double tol = 0;

        void add(Frame const& other, double gain) {
            val += other.val * gain;
            tol += other.tol * std::fabs(gain);
        }
    };
    using Sound = std::vector<std::vector<Frame>>; // by channel

    // The first len frames of the session at a sample frequency.
    RenderModel(Session const& session, std::vector<Facts> const& fact_arr, Samples const& samples,
                double freq, long len)
        : _session(session)
        , _fact_arr(fact_arr)
        , _samples(samples)
        , _freq(freq)
        , _len(len)
        , _done_arr(session.track_arr.size()) {}

    Sound render() {
        Sound mix = make(_session.nbr_chn);
        for (std::size_t track = 0; track < _session.track_arr.size(); ++track) {
            if (_session.track_arr[track].output == Session::master) {
                add_level(mix, use_track(static_cast<int>(track)), _session.track_arr[track].volume,
                          _session.track_arr[track].mute_flag);
            }
        }
        Sound result = make(_session.nbr_chn);
        add_level(result, mix, _session.volume, false);
        return result;
    }

private:
    static constexpr double fade_time = 0.005; // s

    Sound make(int nbr_chn) const {
        return Sound(static_cast<std::size_t>(nbr_chn),
                     std::vector<Frame>(static_cast<std::size_t>(_len)));
    }

    // What a track gives, before its volume.
    Sound const& use_track(int track) {
        auto& done = _done_arr[static_cast<std::size_t>(track)];
        if (!done.empty()) {
            return done;
        }
        auto const& info = _session.track_arr[static_cast<std::size_t>(track)];
        Sound sound = make(info.nbr_chn);
        for (auto const& clip : info.clips) {
            if (!info.mute_flag) {
                add_clip(sound, clip);
            }
        }
        for (std::size_t other = 0; other < _session.track_arr.size(); ++other) {
            auto const& feeder = _session.track_arr[other];
            if (feeder.output == track) {
                add_level(sound, use_track(static_cast<int>(other)), feeder.volume,
                          feeder.mute_flag);
            }
        }
        Sound const input = sound;
        for (auto const& insert : info.inserts) {
            insert_plugin(sound, insert, input);
        }
        done = std::move(sound);
        return done;
    }

    // By the rules of the links: one channel goes to all, all to one as their mean, else by pairs.
    void add_level(Sound& dst, Sound const& src, Session::Curve const& volume, bool mute_flag) {
        if (mute_flag) {
            return;
        }
        GainLaw const law(volume, 0, _freq);
        double const error = law.is_constant() ? 3e-7 : 0.012;
        for (long pos = 0; pos < _len; ++pos) {
            double const gain = law.find(static_cast<double>(pos));
            add_frame(dst, src, pos, gain, error);
        }
    }
    static void add_frame(Sound& dst, Sound const& src, long pos, double gain, double error) {
        auto const frame = static_cast<std::size_t>(pos);
        for (std::size_t chn = 0; chn < dst.size(); ++chn) {
            auto const add = [&](std::size_t from, double factor) {
                Frame part = src[from][frame];
                part.tol += std::fabs(part.val) * error;
                dst[chn][frame].add(part, factor);
            };
            if (dst.size() == 1) {
                for (std::size_t from = 0; from < src.size(); ++from) {
                    add(from, gain / static_cast<double>(src.size()));
                }
            } else if (src.size() == 1) {
                add(0, gain);
            } else if (chn < src.size()) {
                add(chn, gain);
            }
        }
    }

    // Bypass passes; the mixer's parameters are the wet side in percent (1) and its level in dB
    // (2), standing points alone, or jumps that it takes 5 ms for.
    void insert_plugin(Sound& sound, Session::Insert const& insert, Sound const& input) {
        if (insert.plugin != "Brevanto#TessitoneDryWet") {
            return;
        }
        Sound dry = make(static_cast<int>(sound.size()));
        if (insert.dry == Session::Dry::PRE) {
            dry = input;
        } else if (insert.dry == Session::Dry::TRACK) {
            auto const& other = _session.track_arr[static_cast<std::size_t>(insert.dry_track)];
            add_level(dry, use_track(insert.dry_track), other.volume, other.mute_flag);
        }
        double wet = 1;
        double gain = 1;
        double last_time = 0;
        auto next = insert.params.begin();
        for (long pos = 0; pos < _len; ++pos) {
            auto const frame = static_cast<std::size_t>(pos);
            for (; next != insert.params.end() && std::llround(next->time * _freq) <= pos; ++next) {
                double const val = std::stod(next->val);
                (next->param == "1" ? wet : gain) =
                    next->param == "1" ? val / 100 : std::pow(10.0, val / 20);
                last_time = next->time;
            }
            bool const moving_flag =
                last_time > 0 && static_cast<double>(pos) < (last_time + fade_time) * _freq + 2;
            for (std::size_t chn = 0; chn < sound.size(); ++chn) {
                Frame frame_sum;
                double const error = 1e-6;
                Frame const wet_part = sound[chn][frame];
                frame_sum.add(wet_part, wet * gain);
                frame_sum.add(dry[chn][frame], 1 - wet);
                double const most = std::fabs(wet_part.val) * 4 + std::fabs(dry[chn][frame].val);
                frame_sum.tol += most * (moving_flag ? 1 : error) + wet_part.tol;
                sound[chn][frame] = frame_sum;
            }
        }
    }

    struct ClipTimes {
        long long at;       // frame of the clip's head
        long long beg;      // first frame that may sound
        long long end;      // where it is released, or runs out
        double src;         // source frame at the head
        double rate;        // source frames a frame
        bool faded_flag;    // begins within the sample
        bool released_flag; // ends within the sample
    };

    ClipTimes find_times(Session::Clip const& clip, Facts const& facts) const {
        ClipTimes times;
        times.at = std::llround(clip.at * _freq);
        times.beg = std::max(times.at, 0LL);
        times.src = clip.offset * facts.sample_freq;
        double const rate = std::exp(clip.pitch * 0.057762265046662105) * facts.sample_freq / _freq;
        times.rate = static_cast<double>(static_cast<float>(rate));
        times.faded_flag = times.at < 0 || clip.offset > 0;
        times.end =
            times.at + std::llround(std::ceil((static_cast<double>(facts.len) - times.src) / rate));
        times.released_flag = false;
        if (clip.length < Session::to_the_end) {
            long long const off = std::llround((clip.at + clip.length) * _freq);
            if (off < times.end) {
                times.end = off;
                times.released_flag = true;
            }
        }
        return times;
    }

    void add_clip(Sound& sound, Session::Clip const& clip) {
        auto const sample = static_cast<std::size_t>(clip.sample);
        Facts const& facts = _fact_arr[sample];
        ClipTimes const times = find_times(clip, facts);
        auto const fade_len = static_cast<long long>(std::floor(_freq * fade_time + 0.5));
        GainLaw const law(clip.volume, clip.gain, _freq,
                          {std::llround(clip.fade_in * _freq), std::llround(clip.fade_out * _freq),
                           times.end - times.at});
        bool const moving_flag = !law.is_constant();
        long long const last =
            times.end +
            (times.released_flag ? fade_len + 1 : static_cast<long long>(2 / times.rate) + 2);
        if (times.released_flag && times.end <= times.beg) {
            return;
        }
        for (long long pos = times.beg; pos < std::min<long long>(last, _len); ++pos) {
            double const own = static_cast<double>(pos - times.at);
            double const gain = std::min(law.find(own), 16.0);
            double const error = moving_flag ? 0.012 : 2e-6;
            bool const free_flag = (times.faded_flag && pos <= times.beg + fade_len) ||
                                   (times.released_flag && pos >= times.end) ||
                                   law.has_jumped(own, static_cast<double>(2 * fade_len) + 4);
            double const most = free_flag ? find_most(clip, own, gain, fade_len) : 0;
            add_voice(sound, clip, sample, times, pos, gain, error, most);
        }
    }
    // The highest level shortly before a frame.
    double find_most(Session::Clip const& clip, double own, double gain, long long fade_len) const {
        GainLaw const law(clip.volume, clip.gain, _freq);
        double most = gain;
        for (long long back = 0; back <= 2 * fade_len + 4; back += 8) {
            most = std::max({most, law.find(own - static_cast<double>(back)),
                             law.find_before(own - static_cast<double>(back))});
        }
        return std::min(most, 16.0);
    }

    // A frame of a sample's channel, with what rounded positions may do to it.
    Frame read(std::vector<float> const& data, double pos, double slack) const {
        auto const get = [&data](long long frame) {
            return frame < 0 || frame >= static_cast<long long>(data.size())
                       ? 0.0
                       : static_cast<double>(data[static_cast<std::size_t>(frame)]);
        };
        auto const first = static_cast<long long>(std::floor(pos));
        double const frac = pos - static_cast<double>(first);
        double const slope = std::max({std::fabs(get(first) - get(first - 1)),
                                       std::fabs(get(first + 1) - get(first)),
                                       std::fabs(get(first + 2) - get(first + 1))});
        return {get(first) + (get(first + 1) - get(first)) * frac, slope * slack + 1e-7};
    }

    void add_voice(Sound& sound, Session::Clip const& clip, std::size_t sample,
                   ClipTimes const& times, long long pos, double gain, double error, double most) {
        auto const& data = _samples[sample];
        double const run = static_cast<double>(pos + 1 - times.at) * times.rate;
        double const src = times.src + run - 1;
        std::vector<Frame> chn_arr;
        for (auto const& channel : data) {
            Frame frame = read(channel, src, 1e-6 + std::fabs(run) * 3e-7);
            double const val = std::fabs(frame.val);
            frame.tol = frame.tol * std::max(gain, most) + val * (gain * error + most);
            frame.val *= gain;
            chn_arr.push_back(frame);
        }
        place(sound, clip, chn_arr, pos, static_cast<double>(pos - times.at));
    }

    void place(Sound& sound, Session::Clip const& clip, std::vector<Frame> const& chn_arr,
               long long pos, double own) {
        auto const frame = static_cast<std::size_t>(pos);
        std::size_t const nbr_dst = sound.size();
        bool const balance_flag = chn_arr.size() == 2 && nbr_dst <= 2;
        bool const pan_flag = balance_flag || (chn_arr.size() == 1 && nbr_dst == 2);
        double const pan = pan_flag ? find_pan(clip.pan, own) : 0;
        double const pan_error = pan_flag && clip.pan.size() > 1 ? 0.02 : 1e-6;
        auto const add = [&](std::size_t dst, std::size_t src, double factor) {
            Frame part = chn_arr[src];
            part.tol += std::fabs(part.val) * 1e-6;
            sound[dst][frame].add(part, factor);
            sound[dst][frame].tol += pan_error * (std::fabs(part.val) + part.tol);
        };
        double const fold = nbr_dst == 1 ? 0.5 : 1;
        std::size_t const right = nbr_dst == 1 ? 0 : 1;
        if (balance_flag) {
            add(0, 0, (pan >= 0 ? 1 - pan : 1) * fold);
            add(right, 0, (pan >= 0 ? pan : 0) * fold);
            add(0, 1, (pan >= 0 ? 0 : -pan) * fold);
            add(right, 1, (pan >= 0 ? 1 : 1 + pan) * fold);
        } else if (pan_flag) {
            add(0, 0, 1 - pan);
            add(1, 0, 1 + pan);
        } else if (nbr_dst == 1) {
            for (std::size_t src = 0; src < chn_arr.size(); ++src) {
                add(0, src, 1 / static_cast<double>(chn_arr.size()));
            }
        } else {
            for (std::size_t dst = 0; dst < nbr_dst; ++dst) {
                if (chn_arr.size() == 1) {
                    add(dst, 0, 1);
                } else if (dst < chn_arr.size()) {
                    add(dst, dst, 1);
                }
            }
        }
    }
    double find_pan(Session::Curve const& points, double own) const {
        std::size_t next = 0;
        while (next < points.size() && std::round(points[next].time * _freq) <= own) {
            ++next;
        }
        if (next == 0) {
            return points.front().val;
        }
        if (next == points.size()) {
            return points.back().val;
        }
        double const beg = std::round(points[next - 1].time * _freq);
        double const end = std::round(points[next].time * _freq);
        return points[next - 1].val +
               (points[next].val - points[next - 1].val) * (own - beg) / (end - beg);
    }

    Session const& _session;
    std::vector<Facts> const& _fact_arr;
    Samples const& _samples;
    double _freq;
    long _len;
    std::vector<Sound> _done_arr; // by track
};

} // namespace test
