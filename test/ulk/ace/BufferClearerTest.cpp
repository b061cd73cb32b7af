#include "ulk/ace/BufferClearer.h"

#include "ulk/ace/Constants.h"
#include "ulk/dsp/BasicMixing.h"

#include <gtest/gtest.h>

#include <bit>
#include <cstdint>
#include <vector>

namespace {

using ulk::ace::BufferClearer;

constexpr std::uint32_t MARK_MIDDLE = 0xA25D5C66;
constexpr std::uint32_t MARK_END = 0x23012091;

std::vector<std::uint32_t> clear(void (*fnc)(float*, long), long len) {
    ulk::dsp::BasicMixing::setup();
    std::vector<float> buf(static_cast<std::size_t>(len) + 2, -5.0f);
    fnc(&buf[1], len);
    EXPECT_EQ(buf.front(), -5.0f);
    EXPECT_EQ(buf.back(), -5.0f);
    std::vector<std::uint32_t> bits;
    for (long i = 0; i < len; ++i) {
        bits.push_back(std::bit_cast<std::uint32_t>(buf[static_cast<std::size_t>(i) + 1]));
    }
    return bits;
}

TEST(BufferClearerTest, fast_form_leaves_two_marks_in_zeros) {
    for (long len = 1; len < 130; ++len) {
        auto const l = static_cast<std::size_t>(len);
        std::vector<std::uint32_t> ref(l, 0);
        ref[l / 2] = MARK_MIDDLE;
        ref[l - 1] = MARK_END;
        EXPECT_EQ(clear(&BufferClearer::clear_buf_antidenormal_fast, len), ref) << len;
    }
}

TEST(BufferClearerTest, marks_do_not_cancel) {
    EXPECT_NE(std::bit_cast<float>(MARK_MIDDLE) + std::bit_cast<float>(MARK_END), 0.0f);
}

TEST(BufferClearerTest, short_buffers_keep_the_positive_mark) {
    auto* const fnc = &BufferClearer::clear_buf_antidenormal_fast;
    EXPECT_EQ(clear(fnc, 1), std::vector<std::uint32_t>({MARK_END}));
    EXPECT_EQ(clear(fnc, 2), std::vector<std::uint32_t>({0, MARK_END}));
    EXPECT_EQ(clear(fnc, 3), std::vector<std::uint32_t>({0, MARK_MIDDLE, MARK_END}));
}

TEST(BufferClearerTest, dense_form_is_the_same_positive_noise_each_time) {
    auto* const fnc = &BufferClearer::clear_buf_antidenormal;
    std::vector<std::uint32_t> const noise = clear(fnc, 1000);
    std::uint64_t state = 1;
    std::uint32_t const base =
        std::bit_cast<std::uint32_t>(ulk::ace::Constants::ANTI_DENORMAL) & 0x7F800000u;
    for (std::uint32_t const val : noise) {
        ASSERT_EQ(val, base + (state & 0x007F0000u));
        state = (state * 1664525 + 1013904223) % 4294967296;
    }
    EXPECT_EQ(clear(fnc, 1000), noise);
}

} // namespace
