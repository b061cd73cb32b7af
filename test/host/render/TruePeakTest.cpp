#include "host/render/TruePeak.h"

#include "host/render/SamplePeak.h"
#include "host/render/SoundMaker.h"

#include <ebur128.h>
#include <gtest/gtest.h>

using test::SoundMaker;
using ulk::host::render::SamplePeak;
using ulk::host::render::TruePeak;

namespace {

double measure_by_library(std::vector<float> const& signal, double sample_freq) {
    auto* ebur = ebur128_init(1, static_cast<unsigned long>(sample_freq), EBUR128_MODE_TRUE_PEAK);
    ebur128_add_frames_float(ebur, signal.data(), signal.size());
    double peak = -1;
    ebur128_true_peak(ebur, 0, &peak);
    ebur128_destroy(&ebur);
    return peak;
}

float measure(SoundMaker& maker, std::vector<float> const& signal, double sample_freq,
              long max_block_len) {
    TruePeak peak(sample_freq);
    maker.push_blocks({signal}, max_block_len, [&](float const* const* chn_arr, long len) {
        peak.push(chn_arr[0], len, SamplePeak::find(chn_arr[0], len));
    });
    return peak.get_peak();
}

class TruePeakTest : public ::testing::TestWithParam<double> {};

} // namespace

TEST_P(TruePeakTest, IsWhatTheLibraryGivesToTheBit) {
    double const sample_freq = GetParam();
    SoundMaker maker(static_cast<unsigned>(sample_freq));
    long nbr_higher = 0; // than the samples
    for (int round = 0; round < 1000; ++round) {
        auto const signal = maker.draw_signal(maker.draw_int(1, 700));
        double const expected = measure_by_library(signal, sample_freq);
        nbr_higher += expected > SamplePeak::find(signal.data(), static_cast<long>(signal.size()));
        for (long const max_block_len : {1L, 13L, 1000L}) {
            ASSERT_EQ(expected, measure(maker, signal, sample_freq, max_block_len)) << round;
        }
    }
    EXPECT_EQ(sample_freq<192000, nbr_higher> 300) << nbr_higher;
}

INSTANTIATE_TEST_SUITE_P(Rates, TruePeakTest,
                         ::testing::Values(8000, 44100, 48000, 95999, 96000, 176400, 192000,
                                           384000));

TEST(TruePeakTest, SeesBetweenSamples) {
    // A tone of a quarter of the rate, whose samples lie at 45 degrees.
    std::vector<float> const turn = {0.5f, 0.5f, -0.5f, -0.5f};
    std::vector<float> signal;
    for (int k = 0; k < 100; ++k) {
        signal.insert(signal.end(), turn.begin(), turn.end());
    }
    SoundMaker maker(1);
    EXPECT_NEAR(std::sqrt(0.5), measure(maker, signal, 48000, 64), 0.03);
}

TEST(TruePeakTest, LongSoundsWithQuietStretches) {
    SoundMaker maker(2);
    std::vector<float> signal;
    for (int part = 0; part < 40; ++part) {
        auto const more = maker.draw_signal(maker.draw_int(1, 3000));
        signal.insert(signal.end(), more.begin(), more.end());
        signal.resize(signal.size() + static_cast<std::size_t>(maker.draw_int(0, 2000)));
        ASSERT_EQ(measure_by_library(signal, 48000), measure(maker, signal, 48000, 500));
    }
}

TEST(SamplePeakTest, IsTheHighestMagnitude) {
    float const signal[] = {0.25f, -0.5f, 0, -0.0f, 0.125f};
    EXPECT_EQ(0.5f, SamplePeak::find(signal, 5));
    EXPECT_EQ(0.25f, SamplePeak::find(signal, 1));
    EXPECT_EQ(0, SamplePeak::find(signal + 2, 2));
    EXPECT_EQ(0, SamplePeak::find(signal, 0));
    float const broken[] = {1, -std::numeric_limits<float>::infinity(), 2};
    EXPECT_FALSE(std::isfinite(SamplePeak::find(broken, 3)));
    float const no_number[] = {1, std::numeric_limits<float>::quiet_NaN(), 2};
    EXPECT_FALSE(std::isfinite(SamplePeak::find(no_number, 3)));
}
