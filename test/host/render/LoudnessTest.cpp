#include "host/render/Loudness.h"

#include "host/render/SoundMaker.h"

#include <ebur128.h>
#include <gtest/gtest.h>

using test::SoundMaker;
using ulk::host::render::Loudness;
using ulk::host::render::LoudnessHistogram;

namespace {

struct Answer {
    double integrated;
    double range;
};

Answer measure_by_library(SoundMaker::Sound const& sound, double sample_freq) {
    auto const rate = static_cast<unsigned long>(sample_freq);
    auto const nbr_chn = static_cast<unsigned>(sound.size());
    auto* ebur = ebur128_init(nbr_chn, rate, EBUR128_MODE_I | EBUR128_MODE_LRA);
    ebur128_add_frames_float(ebur, SoundMaker::interleave(sound).data(), sound[0].size());
    Answer answer{};
    ebur128_loudness_global(ebur, &answer.integrated);
    ebur128_loudness_range(ebur, &answer.range);
    ebur128_destroy(&ebur);
    return answer;
}

Answer measure(SoundMaker& maker, SoundMaker::Sound const& sound, double sample_freq,
               long max_block_len) {
    Loudness loudness(static_cast<int>(sound.size()), sample_freq);
    maker.push_blocks(sound, max_block_len,
                      [&](float const* const* chn_arr, long len) { loudness.push(chn_arr, len); });
    return {loudness.compute_integrated(), loudness.compute_range()};
}

void append(SoundMaker::Sound& sound, std::vector<float> const& signal) {
    for (auto& chn : sound) {
        chn.insert(chn.end(), signal.begin(), signal.end());
    }
}

// Tones of 1 kHz on both sides, of levels in dBFS and lengths in seconds.
SoundMaker::Sound make_tones(std::vector<std::pair<double, double>> const& tone_arr) {
    SoundMaker::Sound sound(2);
    for (auto const& [level, s] : tone_arr) {
        append(sound, SoundMaker::make_tone(1000, 48000, level, s));
    }
    return sound;
}

} // namespace

TEST(LoudnessTest, IsWhatTheLibraryGives) {
    SoundMaker maker(3);
    for (double const sample_freq : {8000., 11025., 44100., 48000., 96000., 192000.}) {
        for (int const nbr_chn : {1, 2, 3, 4, 5, 6, 8}) {
            SoundMaker::Sound sound(static_cast<std::size_t>(nbr_chn));
            for (int part = 0; part < 5; ++part) {
                auto const len = static_cast<long>(maker.draw(0, 2) * sample_freq) + 1;
                for (auto& chn : sound) {
                    auto const more = maker.draw_signal(len);
                    chn.insert(chn.end(), more.begin(), more.end());
                }
                append(sound, std::vector<float>(static_cast<std::size_t>(
                                  maker.draw(0, 1) * maker.draw(0, 1) * sample_freq)));
            }
            Answer const expected = measure_by_library(sound, sample_freq);
            Answer const answer = measure(maker, sound, sample_freq, 3000);
            EXPECT_NEAR(expected.integrated, answer.integrated, 0.02) << sample_freq << nbr_chn;
            EXPECT_NEAR(expected.range, answer.range, 0.02) << sample_freq << nbr_chn;
        }
    }
}

TEST(LoudnessTest, SignalsOfTheStandard) {
    SoundMaker maker(4);
    struct Case {
        std::vector<std::pair<double, double>> tones;
        double loudness;
    };
    // EBU Tech 3341, cases 1 to 5
    for (Case const& c : {Case{{{-23, 20}}, -23}, Case{{{-33, 20}}, -33},
                          Case{{{-36, 10}, {-23, 60}, {-36, 10}}, -23},
                          Case{{{-72, 10}, {-36, 10}, {-23, 60}, {-36, 10}, {-72, 10}}, -23},
                          Case{{{-26, 20}, {-20, 20.1}, {-26, 20}}, -23}}) {
        EXPECT_NEAR(c.loudness, measure(maker, make_tones(c.tones), 48000, 4096).integrated, 0.1);
    }
}

TEST(LoudnessTest, RangesOfTheStandard) {
    SoundMaker maker(5);
    struct Case {
        std::vector<std::pair<double, double>> tones;
        double range;
    };
    // EBU Tech 3342, cases 1 to 4
    for (Case const& c : {Case{{{-20, 20}, {-30, 20}}, 10}, Case{{{-20, 20}, {-15, 20}}, 5},
                          Case{{{-40, 20}, {-20, 20}}, 20},
                          Case{{{-50, 20}, {-35, 20}, {-20, 20}, {-35, 20}, {-50, 20}}, 15}}) {
        EXPECT_NEAR(c.range, measure(maker, make_tones(c.tones), 48000, 4096).range, 1);
    }
}

TEST(LoudnessTest, SilenceThatIsPassedOverChangesNothing) {
    SoundMaker maker(6);
    SoundMaker::Sound sound = make_tones({{-20, 3}});
    append(sound, std::vector<float>(48000 * 7));
    append(sound, SoundMaker::make_tone(300, 48000, -25, 4));
    append(sound, std::vector<float>(12345));
    append(sound, SoundMaker::make_tone(2000, 48000, -15, 2));
    Answer const expected = measure_by_library(sound, 48000);
    for (long const max_block_len : {64L, 5000L}) {
        Answer const answer = measure(maker, sound, 48000, max_block_len);
        EXPECT_NEAR(expected.integrated, answer.integrated, 0.005);
        EXPECT_NEAR(expected.range, answer.range, 0.02);
    }
}

TEST(LoudnessTest, NothingToTell) {
    Loudness loudness(2, 48000);
    EXPECT_EQ(-std::numeric_limits<double>::infinity(), loudness.compute_integrated());
    EXPECT_EQ(0, loudness.compute_range());
    SoundMaker maker(7);
    for (auto const& sound : {make_tones({{-20, 0.3}}), SoundMaker::Sound(2, {0, 0, 0})}) {
        Answer const answer = measure(maker, sound, 48000, 512);
        EXPECT_EQ(-std::numeric_limits<double>::infinity(), answer.integrated);
        EXPECT_EQ(0, answer.range);
    }
}

TEST(LoudnessTest, TheLfeAndFurtherChannelsDoNotCount) {
    SoundMaker maker(8);
    auto const tone = SoundMaker::make_tone(1000, 48000, -20, 1);
    std::vector<float> const silence(tone.size());
    auto const measure_chn = [&](std::size_t chn) {
        SoundMaker::Sound sound(8, silence);
        sound[chn] = tone;
        return measure(maker, sound, 48000, 999).integrated;
    };
    double const front = measure_chn(0);
    EXPECT_NEAR(-23, front, 0.1);
    EXPECT_EQ(front, measure_chn(1));
    EXPECT_EQ(front, measure_chn(2));
    EXPECT_NEAR(front + 1.5, measure_chn(4), 0.02);
    EXPECT_EQ(measure_chn(4), measure_chn(5));
    for (std::size_t const chn : {3u, 6u, 7u}) {
        EXPECT_EQ(-std::numeric_limits<double>::infinity(), measure_chn(chn));
    }
}

TEST(LoudnessHistogramTest, IsCloseToASortedList) {
    SoundMaker maker(9);
    for (int round = 0; round < 50; ++round) {
        LoudnessHistogram histogram;
        std::vector<double> list; // energies above the absolute gate
        for (long k = maker.draw_int(1, 400); k > 0; --k) {
            double const lufs = maker.draw(-90, 20);
            double const energy = LoudnessHistogram::conv_to_energy(lufs);
            histogram.add(energy);
            if (lufs >= -70) {
                list.push_back(energy);
            }
        }
        std::sort(list.begin(), list.end());
        double sum = 0;
        for (double const energy : list) {
            sum += energy;
        }
        double const limit = list.empty() ? 0 : sum / static_cast<double>(list.size()) * 0.1;
        list.erase(list.begin(), std::lower_bound(list.begin(), list.end(), limit));
        sum = 0;
        for (double const energy : list) {
            sum += energy;
        }
        if (list.empty()) {
            EXPECT_EQ(0, histogram.compute_gated_mean(10));
            EXPECT_EQ(0, histogram.compute_gated_quantile(10, 0.5));
            continue;
        }
        double const mean = sum / static_cast<double>(list.size());
        EXPECT_NEAR(1, histogram.compute_gated_mean(10) / mean, 1e-2);
        for (double const ratio : {0., 0.1, 0.95, 1.}) {
            auto const rank = std::lround(static_cast<double>(list.size() - 1) * ratio);
            EXPECT_NEAR(1,
                        histogram.compute_gated_quantile(10, ratio) /
                            list[static_cast<std::size_t>(rank)],
                        0.01 * 0.25);
        }
    }
}

TEST(LoudnessHistogramTest, ConvertsBothWays) {
    EXPECT_NEAR(-23, LoudnessHistogram::conv_to_lufs(LoudnessHistogram::conv_to_energy(-23)), 1e-9);
    EXPECT_EQ(-std::numeric_limits<double>::infinity(), LoudnessHistogram::conv_to_lufs(0));
    LoudnessHistogram histogram;
    histogram.add(LoudnessHistogram::conv_to_energy(500)); // beyond any scale
    EXPECT_NEAR(500, LoudnessHistogram::conv_to_lufs(histogram.compute_gated_mean(10)), 1e-9);
}
