#pragma once

#include <cmath>
#include <numbers>
#include <random>
#include <vector>

namespace test {

// Sounds of several channels for tests, and ways to hand them on in blocks.
class SoundMaker {
public:
    using Sound = std::vector<std::vector<float>>; // a vector a channel

    explicit SoundMaker(unsigned seed)
        : _rng(seed) {}

    double draw(double min, double max) {
        return std::uniform_real_distribution<double>(min, max)(_rng);
    }
    long draw_int(long min, long max) {
        return std::uniform_int_distribution<long>(min, max)(_rng);
    }

    // Noise, a tone, clicks, a square, or a step, at any level.
    std::vector<float> draw_signal(long len) {
        std::vector<float> signal(static_cast<std::size_t>(len));
        double const level = std::pow(10, draw(-4, 0.5));
        double const step = draw(0, std::numbers::pi);
        double const phase = draw(0, 6);
        long const kind = draw_int(0, 4);
        for (std::size_t pos = 0; pos < signal.size(); ++pos) {
            double const angle = step * static_cast<double>(pos) + phase;
            double const val = kind == 0   ? draw(-1, 1)
                               : kind == 1 ? std::sin(angle)
                               : kind == 2 ? (draw(0, 1) < 0.05 ? draw(-1, 1) : 0)
                               : kind == 3 ? (std::sin(angle) > 0 ? 1 : -1)
                                           : (pos > signal.size() / 2 ? 1 : 0);
            signal[pos] = static_cast<float>(val * level);
        }
        return signal;
    }

    Sound draw_sound(int nbr_chn, long len) {
        Sound sound;
        for (int chn = 0; chn < nbr_chn; ++chn) {
            sound.push_back(draw_signal(len));
        }
        return sound;
    }

    static std::vector<float> make_tone(double freq, double sample_freq, double level, double s) {
        std::vector<float> signal(static_cast<std::size_t>(std::lround(s * sample_freq)));
        for (std::size_t pos = 0; pos < signal.size(); ++pos) {
            double const turn = freq / sample_freq * static_cast<double>(pos);
            signal[pos] = static_cast<float>(std::pow(10, level / 20) *
                                             std::sin(2 * std::numbers::pi * turn));
        }
        return signal;
    }

    static std::vector<float> interleave(Sound const& sound) {
        std::vector<float> both;
        for (std::size_t pos = 0; pos < sound[0].size(); ++pos) {
            for (auto const& chn : sound) {
                both.push_back(chn[pos]);
            }
        }
        return both;
    }

    // Calls push(chn_arr, len) for the whole sound, in blocks of up to max_len frames.
    template <class F>
    void push_blocks(Sound const& sound, long max_len, F push) {
        std::vector<float const*> chn_arr;
        for (auto const& chn : sound) {
            chn_arr.push_back(chn.data());
        }
        for (long left = static_cast<long>(sound[0].size()); left > 0;) {
            long const len = std::min(left, draw_int(1, max_len));
            push(chn_arr.data(), len);
            for (float const*& chn : chn_arr) {
                chn += len;
            }
            left -= len;
        }
    }

private:
    std::mt19937 _rng;
};

} // namespace test
