#include "ulk/dsp/GenWhiteNoiseFast.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <vector>

namespace {

using ulk::dsp::GenWhiteNoiseFast;

std::vector<float> render(GenWhiteNoiseFast& gen, long nbr_spl) {
    std::vector<float> dst(static_cast<std::size_t>(nbr_spl));
    gen.process_block(dst.data(), nbr_spl);
    return dst;
}

std::uint32_t bits(float val) {
    return std::bit_cast<std::uint32_t>(val);
}

TEST(GenWhiteNoiseFastTest, follows_the_congruence) {
    GenWhiteNoiseFast gen;
    std::vector<float> const dst = render(gen, 1000);
    EXPECT_EQ(dst[0], 0.5f);
    EXPECT_EQ(bits(dst[1]), 0x3F000000u | (1015568748u & 0x807F0000u));
    std::uint64_t state = 1;
    for (float const val : dst) {
        ASSERT_EQ(bits(val), 0x3F000000u + (state & 0x807F0000u));
        state = (state * 1664525 + 1013904223) % 4294967296;
    }
}

TEST(GenWhiteNoiseFastTest, sequence_does_not_depend_on_blocks) {
    GenWhiteNoiseFast whole;
    GenWhiteNoiseFast cut;
    std::vector<float> const ref = render(whole, 300);
    std::vector<float> dst;
    for (long const len : {1, 0, 7, 64, 228}) {
        std::vector<float> const part = render(cut, len);
        dst.insert(dst.end(), part.begin(), part.end());
    }
    EXPECT_EQ(dst, ref);
}

TEST(GenWhiteNoiseFastTest, clear_buffers_restarts_and_keeps_the_level) {
    GenWhiteNoiseFast gen;
    gen.set_rough_level(0.25f, GenWhiteNoiseFast::Mode_NEGATIVE);
    std::vector<float> const ref = render(gen, 50);
    gen.clear_buffers();
    EXPECT_EQ(render(gen, 50), ref);
    EXPECT_NE(render(gen, 50), ref);
}

TEST(GenWhiteNoiseFastTest, setting_the_level_keeps_the_state) {
    GenWhiteNoiseFast ref;
    GenWhiteNoiseFast gen;
    render(ref, 10);
    render(gen, 10);
    gen.set_rough_level(0.5f, GenWhiteNoiseFast::Mode_BOTH);
    EXPECT_EQ(render(gen, 10), render(ref, 10));
}

TEST(GenWhiteNoiseFastTest, level_loses_sign_and_mantissa) {
    for (float const level : {1.0f, 1.99f, -1.0f, -1.5f}) {
        GenWhiteNoiseFast gen;
        gen.set_rough_level(level, GenWhiteNoiseFast::Mode_BOTH);
        EXPECT_EQ(bits(gen.get_max_level()), 0x3FFF0000u);
        for (float const val : render(gen, 1000)) {
            ASSERT_GE(std::abs(val), 1.0f);
            ASSERT_LE(std::abs(val), gen.get_max_level());
        }
    }
}

TEST(GenWhiteNoiseFastTest, mode_fixes_the_sign) {
    GenWhiteNoiseFast gen;
    auto const count_negative = [&gen](GenWhiteNoiseFast::Mode mode) {
        gen.set_rough_level(0.1f, mode);
        long nbr = 0;
        for (float const val : render(gen, 10000)) {
            nbr += std::signbit(val);
        }
        return nbr;
    };
    EXPECT_EQ(count_negative(GenWhiteNoiseFast::Mode_POSITIVE), 0);
    EXPECT_EQ(count_negative(GenWhiteNoiseFast::Mode_NEGATIVE), 10000);
    EXPECT_NEAR(static_cast<double>(count_negative(GenWhiteNoiseFast::Mode_BOTH)), 5000.0, 300.0);
    gen.set_rough_level(1.0f, GenWhiteNoiseFast::Mode_NEGATIVE);
    EXPECT_EQ(bits(gen.get_max_level()), 0xBFFF0000u);
}

TEST(GenWhiteNoiseFastTest, mode_left_is_forgotten) {
    GenWhiteNoiseFast gen;
    GenWhiteNoiseFast ref;
    gen.set_rough_level(1.0f, GenWhiteNoiseFast::Mode_NEGATIVE);
    gen.set_rough_level(0.5f, GenWhiteNoiseFast::Mode_BOTH);
    EXPECT_EQ(render(gen, 100), render(ref, 100));
}

TEST(GenWhiteNoiseFastTest, add_form_adds_the_same_samples) {
    GenWhiteNoiseFast ref;
    GenWhiteNoiseFast gen;
    std::vector<float> const noise = render(ref, 200);
    std::vector<float> dst(202, 3.0f);
    gen.process_block_add(&dst[1], 200);
    for (std::size_t i = 0; i < noise.size(); ++i) {
        ASSERT_EQ(dst[i + 1], 3.0f + noise[i]);
    }
    EXPECT_EQ(dst.front(), 3.0f);
    EXPECT_EQ(dst.back(), 3.0f);
}

} // namespace
