#include "host/render/Meter.h"

#include "host/render/SoundMaker.h"
#include "support/RealTimeGuard.h"

#include <gtest/gtest.h>
#include <xxhash.h>

using test::SoundMaker;
using ulk::host::render::Meter;
using ulk::host::render::SoundHash;

namespace {

constexpr double no_level = -std::numeric_limits<double>::infinity();

Meter::Figures measure(SoundMaker& maker, SoundMaker::Sound const& sound, long max_block_len,
                       float clip_level = 1) {
    Meter meter(static_cast<int>(sound.size()), 48000, clip_level);
    maker.push_blocks(sound, max_block_len, [&](float const* const* chn_arr, long len) {
        test::RealTimeGuard guard;
        meter.push(chn_arr, len);
    });
    return meter.compute_figures();
}

std::uint64_t hash_at_once(SoundMaker::Sound const& sound) {
    auto const both = SoundMaker::interleave(sound);
    return XXH3_64bits(both.data(), both.size() * sizeof(float));
}

} // namespace

TEST(MeterTest, FiguresDoNotDependOnTheBlocks) {
    SoundMaker maker(11);
    for (int const nbr_chn : {1, 2, 3, 7, 16}) {
        auto sound = maker.draw_sound(nbr_chn, 30000);
        sound[0] = SoundMaker::make_tone(440, 48000, -10, 30000 / 48000.0);
        sound[0][777] = std::numeric_limits<float>::quiet_NaN();
        Meter::Figures const expected = measure(maker, sound, 30000);
        EXPECT_EQ(30000, expected.nbr_frames);
        EXPECT_EQ(static_cast<std::size_t>(nbr_chn), expected.peak_arr.size());
        EXPECT_EQ(hash_at_once(sound), expected.hash);
        for (long const max_block_len : {1L, 64L, 1000L}) {
            Meter::Figures const figures = measure(maker, sound, max_block_len);
            EXPECT_EQ(expected.peak_arr, figures.peak_arr);
            EXPECT_EQ(expected.true_peak, figures.true_peak);
            EXPECT_NEAR(expected.loudness, figures.loudness, 1e-9);
            EXPECT_EQ(expected.loudness_range, figures.loudness_range);
            EXPECT_EQ(expected.nbr_clipped, figures.nbr_clipped);
            EXPECT_EQ(1, figures.nbr_non_finite);
            EXPECT_EQ(expected.hash, figures.hash);
        }
    }
}

TEST(MeterTest, TellsPeaksOfEachChannel) {
    SoundMaker maker(12);
    SoundMaker::Sound const sound = {{0, 0.5f, 0}, {0, 0, -0.25f}, {0, 0, 0}};
    Meter::Figures const figures = measure(maker, sound, 2);
    EXPECT_NEAR(-6.0206, figures.peak_arr[0], 1e-4);
    EXPECT_NEAR(-12.0412, figures.peak_arr[1], 1e-4);
    EXPECT_EQ(no_level, figures.peak_arr[2]);
    EXPECT_EQ(figures.peak_arr[0], figures.peak);
    EXPECT_GE(figures.true_peak, figures.peak);
    EXPECT_EQ(no_level, figures.loudness);
}

TEST(MeterTest, CountsFramesThatClip) {
    SoundMaker maker(13);
    constexpr float just_above = 1.0000001f;
    SoundMaker::Sound const sound = {{1, just_above, 0, -1, 2, 0, 0.9999999f},
                                     {-1, 0, -just_above, 0, -3, 0, 0.5f}};
    for (long const max_block_len : {1L, 7L}) {
        EXPECT_EQ(3, measure(maker, sound, max_block_len).nbr_clipped);
        EXPECT_EQ(5, measure(maker, sound, max_block_len, 32767.f / 32768).nbr_clipped);
    }
}

TEST(MeterTest, WhatIsNotFiniteIsSilenceAndCounted) {
    SoundMaker maker(14);
    constexpr float inf = std::numeric_limits<float>::infinity();
    constexpr float nan = std::numeric_limits<float>::quiet_NaN();
    SoundMaker::Sound sound = {SoundMaker::make_tone(1000, 48000, -20, 1),
                               SoundMaker::make_tone(1000, 48000, -20, 1)};
    sound[0][100] = nan;
    sound[1][100] = inf;
    sound[1][5000] = -inf;
    SoundMaker::Sound silenced = sound;
    silenced[0][100] = silenced[1][100] = silenced[1][5000] = 0;
    Meter::Figures const expected = measure(maker, silenced, 48000);
    Meter::Figures const figures = measure(maker, sound, 500);
    EXPECT_EQ(3, figures.nbr_non_finite);
    EXPECT_EQ(0, figures.nbr_clipped);
    EXPECT_EQ(expected.peak, figures.peak);
    EXPECT_EQ(expected.true_peak, figures.true_peak);
    EXPECT_NEAR(expected.loudness, figures.loudness, 1e-9);
    EXPECT_EQ(hash_at_once(sound), figures.hash);
    EXPECT_NE(expected.hash, figures.hash);
}

TEST(MeterTest, SilenceAndNothing) {
    SoundMaker maker(15);
    Meter::Figures const nothing = Meter(2, 44100).compute_figures();
    EXPECT_EQ(0, nothing.nbr_frames);
    EXPECT_EQ(XXH3_64bits("", 0), nothing.hash);
    Meter::Figures const silence =
        measure(maker, SoundMaker::Sound(2, std::vector<float>(48000 * 4)), 512);
    for (Meter::Figures const& figures : {nothing, silence}) {
        EXPECT_EQ(no_level, figures.peak);
        EXPECT_EQ(no_level, figures.true_peak);
        EXPECT_EQ(no_level, figures.loudness);
        EXPECT_EQ(0, figures.loudness_range);
    }
}

TEST(SoundHashTest, TellsSoundsApart) {
    auto const make_hash = [](SoundMaker::Sound const& sound) {
        SoundHash hash(static_cast<int>(sound.size()));
        SoundMaker maker(16);
        maker.push_blocks(sound, SoundHash::max_len,
                          [&](float const* const* chn_arr, long len) { hash.push(chn_arr, len); });
        return hash.get_hash();
    };
    // The same on every machine.
    EXPECT_EQ(0x35d861666eec8ca3u, make_hash({{0, 0.5f, -1}, {1, 0, 0.25f}}));
    EXPECT_NE(make_hash({{0, 1}, {0, 0}}), make_hash({{0, 0}, {0, 1}}));
    EXPECT_NE(make_hash({{0, 1}}), make_hash({{0, 1, 0}}));
}
