#include "ulk/sacc/SplFileBitFmtConv.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cfenv>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <random>
#include <vector>

using Conv = ulk::sacc::SplFileBitFmtConv;

namespace {

using Byte = unsigned char;
using Bytes = std::vector<Byte>;
using Floats = std::vector<float>;

constexpr float inf = std::numeric_limits<float>::infinity();
constexpr float nan_val = std::numeric_limits<float>::quiet_NaN();

struct Format {
    char const* name;
    int size;
    double nominal;
    long long zero;                                 // stored for silence
    void (*read)(float*, Byte const*, long, float); // flat
    void (*read_strided)(float*, Byte const*, long, int, int, float);
    void (*read_generic)(int, float*, Byte*, long, int, int, float);
    void (*write)(Byte*, float const*, long, float);
    void (*write_strided)(Byte*, float const*, long, int, int, float);
    void (*write_generic)(int, Byte*, float const*, long, int, int, float);
};

constexpr Format format_list[] = {
    {"u8", 1, 128, 128, Conv::conv_u8_to_n, Conv::conv_u8_to_n,
     [](int, float* dst, Byte* src, long n, int chn, int align, float scale) {
         Conv::conv_u8_to_n_generic(dst, src, n, chn, align, scale);
     },
     Conv::conv_n_to_u8, Conv::conv_n_to_u8,
     [](int, Byte* dst, float const* src, long n, int chn, int align, float scale) {
         Conv::conv_n_to_u8_generic(dst, src, n, chn, align, scale);
     }},
    {"s8", 1, 128, 0, Conv::conv_s8_to_n, Conv::conv_s8_to_n,
     [](int, float* dst, Byte* src, long n, int chn, int align, float scale) {
         Conv::conv_s8_to_n_generic(dst, src, n, chn, align, scale);
     },
     Conv::conv_n_to_s8, Conv::conv_n_to_s8,
     [](int, Byte* dst, float const* src, long n, int chn, int align, float scale) {
         Conv::conv_n_to_s8_generic(dst, src, n, chn, align, scale);
     }},
    {"s16", 2, 32768, 0, Conv::conv_s16_to_n, Conv::conv_s16_to_n, Conv::conv_s16_to_n_generic,
     Conv::conv_n_to_s16, Conv::conv_n_to_s16, Conv::conv_n_to_s16_generic},
    {"s24", 3, 8388608, 0, Conv::conv_s24_to_n, Conv::conv_s24_to_n, Conv::conv_s24_to_n_generic,
     Conv::conv_n_to_s24, Conv::conv_n_to_s24, Conv::conv_n_to_s24_generic},
    {"s32", 4, 2147483648.0, 0, Conv::conv_s32_to_n, Conv::conv_s32_to_n,
     Conv::conv_s32_to_n_generic, Conv::conv_n_to_s32, Conv::conv_n_to_s32,
     Conv::conv_n_to_s32_generic},
};

// The model works on numbers: a stored sample is an integer, found from the bytes by arithmetic.

long long decode(Byte const* src, Format const& fmt) {
    long long val = 0;
    for (int b = fmt.size - 1; b >= 0; --b) {
        val = val * 256 + src[b];
    }
    if (fmt.zero != 0) {
        return val - fmt.zero;
    }
    return val >= static_cast<long long>(fmt.nominal)
               ? val - 2 * static_cast<long long>(fmt.nominal)
               : val;
}

void encode(Byte* dst, long long val, Format const& fmt) {
    long long rest = val + fmt.zero;
    for (int b = 0; b < fmt.size; ++b) {
        dst[b] = static_cast<Byte>(rest & 255);
        rest >>= 8;
    }
}

double round_model(double val, int mode) {
    double const low = std::floor(val);
    double const frac = val - low;
    switch (mode) {
    case FE_DOWNWARD:
        return low;
    case FE_UPWARD:
        return std::ceil(val);
    case FE_TOWARDZERO:
        return std::trunc(val);
    default:
        break;
    }
    bool const up_flag = frac > 0.5 || (frac == 0.5 && std::fmod(low, 2) != 0);
    return up_flag ? low + 1 : low;
}

long long write_model(float val, float scale, Format const& fmt, int mode = FE_TONEAREST) {
    double const v = static_cast<float>(val * scale);
    if (std::isnan(v)) {
        return 0;
    }
    if (v < -fmt.nominal) {
        return static_cast<long long>(-fmt.nominal);
    }
    if (v > fmt.nominal - 1) {
        return static_cast<long long>(fmt.nominal - 1);
    }
    // The offset makes all values positive before they are rounded, so toward zero is down.
    int const offset_mode = fmt.zero != 0 && mode == FE_TOWARDZERO ? FE_DOWNWARD : mode;
    return static_cast<long long>(round_model(v, offset_mode));
}

std::uint32_t bits(float x) {
    return std::bit_cast<std::uint32_t>(x);
}

void expect_same_floats(Floats const& expected, Floats const& actual, char const* what) {
    ASSERT_EQ(expected.size(), actual.size());
    for (std::size_t i = 0; i < expected.size(); ++i) {
        ASSERT_EQ(bits(expected[i]), bits(actual[i]))
            << what << " at " << i << ": " << expected[i] << " against " << actual[i];
    }
}

// Reads all the samples in data in each form and compares with the model.
void check_reading(Format const& fmt, Bytes data, float scale) {
    long const n = static_cast<long>(data.size()) / fmt.size;
    Floats expected(static_cast<std::size_t>(n));
    for (long i = 0; i < n; ++i) {
        auto const val =
            static_cast<float>(decode(&data[static_cast<std::size_t>(i * fmt.size)], fmt));
        expected[static_cast<std::size_t>(i)] = val * scale;
    }
    Floats actual(expected.size(), 7);
    fmt.read(actual.data(), data.data(), n, scale);
    expect_same_floats(expected, actual, fmt.name);
    std::fill(actual.begin(), actual.end(), 7.f);
    fmt.read_strided(actual.data(), data.data(), n, 1, fmt.size, scale);
    expect_same_floats(expected, actual, fmt.name);
    std::fill(actual.begin(), actual.end(), 7.f);
    fmt.read_generic(2, actual.data(), data.data(), n, 1, fmt.size, scale);
    expect_same_floats(expected, actual, fmt.name);
}

void check_writing(Format const& fmt, Floats const& data, float scale, int mode = FE_TONEAREST) {
    auto const n = static_cast<long>(data.size());
    Bytes expected(data.size() * static_cast<std::size_t>(fmt.size));
    for (std::size_t i = 0; i < data.size(); ++i) {
        encode(&expected[i * static_cast<std::size_t>(fmt.size)],
               write_model(data[i], scale, fmt, mode), fmt);
    }
    auto const compare = [&](Bytes const& actual) {
        for (std::size_t i = 0; i < expected.size(); ++i) {
            auto const spl = i / static_cast<std::size_t>(fmt.size);
            ASSERT_EQ(expected[i], actual[i])
                << fmt.name << " sample " << spl << " of " << n << ": " << data[spl];
        }
    };
    int const old_mode = std::fegetround();
    Bytes actual(expected.size(), 0xAA);
    std::fesetround(mode);
    fmt.write(actual.data(), data.data(), n, scale);
    std::fesetround(old_mode);
    compare(actual);
    std::fill(actual.begin(), actual.end(), Byte(0xAA));
    std::fesetround(mode);
    fmt.write_strided(actual.data(), data.data(), n, fmt.size, 1, scale);
    std::fesetround(old_mode);
    compare(actual);
    std::fill(actual.begin(), actual.end(), Byte(0xAA));
    fmt.write_generic(2, actual.data(), data.data(), n, 1, fmt.size, scale);
    if (mode == FE_TONEAREST) {
        compare(actual);
    }
}

Bytes random_bytes(std::mt19937& rng, std::size_t n) {
    Bytes data(n);
    std::generate(data.begin(), data.end(), [&] { return static_cast<Byte>(rng()); });
    return data;
}

} // namespace

TEST(SplFileBitFmtConvTest, ReadsEveryValueOf8And16Bits) {
    for (float const scale : {1.f, 1.f / 128, 1.f / 32768, 0.3f, -1.75f, 1e-38f, 3e38f, 0.f}) {
        for (auto const& fmt : format_list) {
            if (fmt.size > 2) {
                continue;
            }
            Bytes data;
            for (int val = 0; val < 1 << (8 * fmt.size); ++val) {
                for (int b = 0; b < fmt.size; ++b) {
                    data.push_back(static_cast<Byte>(val >> (8 * b)));
                }
            }
            check_reading(fmt, data, scale);
        }
    }
}

TEST(SplFileBitFmtConvTest, ReadsValuesAcrossThe24BitRange) {
    Bytes data;
    for (int val = -8388608; val < 8388608; val += 37) {
        for (int b = 0; b < 3; ++b) {
            data.push_back(static_cast<Byte>(val >> (8 * b)));
        }
    }
    check_reading(format_list[3], data, 1.f / 8388608);
    check_reading(format_list[3], data, 0.7f);
}

TEST(SplFileBitFmtConvTest, ReadsRandomBytes) {
    std::mt19937 rng(1);
    for (auto const& fmt : format_list) {
        for (float const scale : {1 / static_cast<float>(fmt.nominal), 0.123f, 1e-36f}) {
            check_reading(fmt, random_bytes(rng, 12 * 20000), scale);
        }
    }
}

TEST(SplFileBitFmtConvTest, ReadsTheGoldenValues) {
    float val = 0;
    auto const read = [&](int fmt, Bytes const& data) {
        format_list[fmt].read(&val, data.data(), 1,
                              1 / static_cast<float>(format_list[fmt].nominal));
        return val;
    };
    EXPECT_EQ(0.f, read(0, {0x80}));
    EXPECT_EQ(-1.f, read(0, {0x00}));
    EXPECT_EQ(127.f / 128, read(0, {0xFF}));
    EXPECT_EQ(-1.f, read(1, {0x80}));
    EXPECT_EQ(-1.f, read(2, {0x00, 0x80}));
    EXPECT_EQ(32767.f / 32768, read(2, {0xFF, 0x7F}));
    EXPECT_EQ(8388607.f / 8388608, read(3, {0xFF, 0xFF, 0x7F}));
    EXPECT_EQ(-1.f, read(3, {0x00, 0x00, 0x80}));
    EXPECT_EQ(-1.f / 8388608, read(3, {0xFF, 0xFF, 0xFF}));
    EXPECT_EQ(16777216.f / 2147483648.f, read(4, {0x01, 0x00, 0x00, 0x01})); // low bits lost
    EXPECT_EQ(1.f, read(4, {0xFF, 0xFF, 0xFF, 0x7F}));
    EXPECT_EQ(-1.f, read(4, {0x00, 0x00, 0x00, 0x80}));
}

TEST(SplFileBitFmtConvTest, WritesTheGoldenValues) {
    auto const write = [](int index, float val, float scale) {
        auto const& fmt = format_list[index];
        Byte data[4] = {};
        fmt.write(data, &val, 1, scale);
        return decode(data, fmt) + fmt.zero;
    };
    EXPECT_EQ(192, write(0, 0.5f, 128));
    EXPECT_EQ(255, write(0, 0.99999f, 128));
    EXPECT_EQ(0, write(0, -1, 128));
    EXPECT_EQ(254, write(0, 126.5f, 1));
    EXPECT_EQ(255, write(0, 127.0001f, 1));
    EXPECT_EQ(2, write(2, 1.5f / 32768, 32768));
    EXPECT_EQ(2, write(2, 2.5f / 32768, 32768));
    EXPECT_EQ(-2, write(2, -1.5f / 32768, 32768));
    EXPECT_EQ(-2, write(2, -2.5f / 32768, 32768));
    EXPECT_EQ(32767, write(2, 1, 32768));
    EXPECT_EQ(-32768, write(2, -1, 32768));
    EXPECT_EQ(2147483647, write(4, 1, 2147483648.f));
    EXPECT_EQ(2147483520, write(4, std::nextafter(1.f, 0.f), 2147483648.f));
    EXPECT_EQ(-2147483648LL, write(4, -1, 2147483648.f));
    for (int fmt = 0; fmt < 5; ++fmt) {
        auto const& f = format_list[fmt];
        EXPECT_EQ(f.zero, write(fmt, nan_val, 1));
        EXPECT_EQ(f.zero, write(fmt, -nan_val, 1));
        EXPECT_EQ(f.zero, write(fmt, inf, 0)); // a NaN as product
        EXPECT_EQ(f.zero, write(fmt, -0.f, 1));
        EXPECT_EQ(f.zero + static_cast<long long>(f.nominal) - 1, write(fmt, inf, 1));
        EXPECT_EQ(f.zero - static_cast<long long>(f.nominal), write(fmt, -inf, 1));
    }
}

// Each tie and its neighbours, in and out of range.
TEST(SplFileBitFmtConvTest, RoundsTiesToEven) {
    for (auto const& fmt : format_list) {
        Floats data;
        long const range = fmt.size > 2 ? 300000 : static_cast<long>(fmt.nominal) + 3;
        for (long val = -range; val <= range; ++val) {
            float const tie = static_cast<float>(val) + 0.5f;
            data.insert(data.end(), {std::nextafter(tie, -inf), tie, std::nextafter(tie, inf),
                                     static_cast<float>(val)});
        }
        check_writing(fmt, data, 1);
    }
}

TEST(SplFileBitFmtConvTest, WritesRandomFloats) {
    std::mt19937 rng(2);
    std::uniform_real_distribution<float> dist(-1.1f, 1.1f);
    for (auto const& fmt : format_list) {
        auto const nominal = static_cast<float>(fmt.nominal);
        Floats data(100003);
        std::generate(data.begin(), data.end(), [&] { return dist(rng); });
        check_writing(fmt, data, nominal);
        check_writing(fmt, data, nominal * 0.7f);
        std::generate(data.begin(), data.end(),
                      [&] { return std::bit_cast<float>(static_cast<std::uint32_t>(rng())); });
        check_writing(fmt, data, 1);
        check_writing(fmt, data, nominal);
    }
}

TEST(SplFileBitFmtConvTest, FollowsTheRoundingMode) {
    std::mt19937 rng(3);
    for (auto const& fmt : format_list) {
        auto const limit = static_cast<float>(std::min(fmt.nominal, 1e6)) + 2;
        std::uniform_real_distribution<float> dist(-limit, limit);
        Floats data(10007);
        std::generate(data.begin(), data.end(), [&] { return dist(rng); });
        data.insert(data.end(), {1e-30f, -1e-30f, 0.3f, -0.3f, 126.7f, 127.2f, -128.2f});
        for (int const mode : {FE_DOWNWARD, FE_UPWARD, FE_TOWARDZERO, FE_TONEAREST}) {
            check_writing(fmt, data, 1, mode);
        }
    }
}

TEST(SplFileBitFmtConvTest, WritesBackWhatItRead) {
    std::mt19937 rng(4);
    for (auto const& fmt : format_list) {
        if (fmt.size > 3) {
            continue; // floats have 24 bits
        }
        auto const data = random_bytes(rng, 60000);
        auto const n = static_cast<long>(data.size()) / fmt.size;
        Floats floats(static_cast<std::size_t>(n));
        auto const nominal = static_cast<float>(fmt.nominal);
        fmt.read(floats.data(), data.data(), n, 1 / nominal);
        Bytes back(data.size());
        fmt.write(back.data(), floats.data(), n, nominal);
        EXPECT_EQ(data, back) << fmt.name;
    }
}

// Every short length, at every offset in a vector: nothing outside the buffers is touched. Exact
// heap blocks let the address sanitizer see reads as well.
TEST(SplFileBitFmtConvTest, StaysInsideItsBuffers) {
    std::mt19937 rng(5);
    for (auto const& fmt : format_list) {
        for (long n = 0; n < 70; ++n) {
            for (std::size_t offset = 0; offset < 4; ++offset) {
                auto const len = static_cast<std::size_t>(n);
                auto const nbr_bytes = len * static_cast<std::size_t>(fmt.size);
                auto const src = random_bytes(rng, nbr_bytes + offset);
                Floats dst(len + offset + 5, 9);
                fmt.read(dst.data() + offset, src.data() + offset, n, 1);
                for (std::size_t i = 0; i < dst.size(); ++i) {
                    bool const in_flag = i >= offset && i < offset + len;
                    float const expected =
                        in_flag
                            ? static_cast<float>(decode(
                                  &src[offset + (i - offset) * static_cast<std::size_t>(fmt.size)],
                                  fmt))
                            : 9.f;
                    ASSERT_EQ(expected, dst[i]);
                }
                Floats floats(dst.begin() + static_cast<long>(offset),
                              dst.begin() + static_cast<long>(offset) + n);
                Bytes back(nbr_bytes + offset + 17, 0x5A);
                fmt.write(back.data() + offset, floats.data(), n, 1);
                for (std::size_t i = 0; i < back.size(); ++i) {
                    bool const in_flag = i >= offset && i < offset + nbr_bytes;
                    if (!in_flag) {
                        ASSERT_EQ(0x5A, back[i]) << fmt.name << " length " << n;
                    } else if (fmt.size < 4) {
                        ASSERT_EQ(src[i], back[i]) << fmt.name << " length " << n;
                    }
                }
            }
        }
    }
}

TEST(SplFileBitFmtConvTest, NoFramesAreNoWork) {
    float val = 3;
    Byte data[4] = {1, 2, 3, 4};
    for (auto const& fmt : format_list) {
        fmt.read_generic(1, &val, data, 0, 1, fmt.size, 1);
        fmt.write_generic(1, data, &val, 0, 1, fmt.size + 2, 1);
    }
    Conv::conv_f32_to_n_generic(1, &val, data, 0, 1, 4, 1);
    Conv::conv_n_to_f32_generic(1, data, &val, 0, 1, 4, 1);
    EXPECT_EQ(3, val);
    EXPECT_EQ(0, std::memcmp(data, "\1\2\3\4", 4));
}

TEST(SplFileBitFmtConvTest, ConvertsPaddedFrames) {
    std::mt19937 rng(6);
    for (auto const& fmt : format_list) {
        for (int chn = 1; chn <= 5; ++chn) {
            for (int pad = 0; pad <= 3 * chn * fmt.size; ++pad) {
                int const align = chn * fmt.size + pad;
                long const n = 11;
                auto data = random_bytes(rng, static_cast<std::size_t>(n * align));
                auto const orig = data;
                Floats floats(static_cast<std::size_t>(n * chn), 7);
                fmt.read_generic(2, floats.data(), data.data(), n, chn, align, 0.25f);
                ASSERT_EQ(orig, data);
                Bytes back(data.size(), 0x77);
                fmt.write_generic(2, back.data(), floats.data(), n, chn, align, 2);
                for (long f = 0; f < n; ++f) {
                    for (int c = 0; c < chn; ++c) {
                        auto const pos = static_cast<std::size_t>(f * align + c * fmt.size);
                        auto const spl = static_cast<std::size_t>(f * chn + c);
                        float const expected = static_cast<float>(decode(&data[pos], fmt)) * 0.25f;
                        ASSERT_EQ(expected, floats[spl]);
                        ASSERT_EQ(write_model(expected, 2, fmt), decode(&back[pos], fmt));
                    }
                    for (int b = chn * fmt.size; b < align; ++b) {
                        ASSERT_EQ(0x77, back[static_cast<std::size_t>(f * align + b)]);
                    }
                }
            }
        }
    }
}

TEST(SplFileBitFmtConvTest, PaddedStereoOf24Bits) {
    Bytes data = {0, 0, 0x80, 0xFF, 0xFF, 0x7F, 1, 2, 0, 0, 0x40, 0, 0, 0xC0, 3, 4};
    Floats floats(4);
    Conv::conv_s24_to_n_generic(2, floats.data(), data.data(), 2, 2, 8, 1.f / 8388608);
    EXPECT_EQ((Floats{-1, 8388607.f / 8388608, 0.5f, -0.5f}), floats);
    Bytes back(16, 0xEE);
    Conv::conv_n_to_s24_generic(2, back.data(), floats.data(), 2, 2, 8, 8388608);
    data[6] = data[7] = data[14] = data[15] = 0xEE;
    EXPECT_EQ(data, back);
}

TEST(SplFileBitFmtConvTest, StridesAreIndependent) {
    Bytes const data = {0, 1, 9, 9, 9, 0, 2, 9, 9, 9, 0, 3, 9, 9, 9};
    Floats floats(9, 5);
    Conv::conv_s16_to_n(floats.data(), data.data(), 3, 3, 5, 1);
    EXPECT_EQ((Floats{256, 5, 5, 512, 5, 5, 768, 5, 5}), floats);
    Bytes back(15, 9);
    Conv::conv_n_to_s16(back.data(), floats.data(), 3, 5, 3, 1);
    EXPECT_EQ(data, back);
}

// Any byte order but 2 swaps: packed data in the source, before reading.
TEST(SplFileBitFmtConvTest, SwapsPackedDataInPlace) {
    std::mt19937 rng(7);
    for (int const byte_order : {0, 1, 3, -1}) {
        for (auto const& fmt : format_list) {
            auto data = random_bytes(rng, static_cast<std::size_t>(6 * fmt.size));
            auto swapped = data;
            for (long i = 0; i < 6; ++i) {
                std::reverse(swapped.begin() + i * fmt.size, swapped.begin() + (i + 1) * fmt.size);
            }
            Floats floats(6);
            fmt.read_generic(byte_order, floats.data(), data.data(), 3, 2, 2 * fmt.size, 1);
            ASSERT_EQ(swapped, data) << fmt.name;
            for (std::size_t i = 0; i < 6; ++i) {
                ASSERT_EQ(
                    static_cast<float>(decode(&data[i * static_cast<std::size_t>(fmt.size)], fmt)),
                    floats[i]);
            }
            Bytes native(data.size());
            Bytes foreign(data.size());
            fmt.write_generic(2, native.data(), floats.data(), 3, 2, 2 * fmt.size, 1);
            fmt.write_generic(byte_order, foreign.data(), floats.data(), 3, 2, 2 * fmt.size, 1);
            Conv::swap_endian_16_generic(fmt.size == 2 ? byte_order : 2, native.data(), 3, 2, 4);
            Conv::swap_endian_24_generic(fmt.size == 3 ? byte_order : 2, native.data(), 3, 2, 6);
            Conv::swap_endian_32_generic(fmt.size == 4 ? byte_order : 2, native.data(), 3, 2, 8);
            ASSERT_EQ(native, foreign) << fmt.name;
        }
    }
}

// The swap of padded frames goes by the sample's size and not by the frame's.
TEST(SplFileBitFmtConvTest, SwapsPaddedFramesAtTheSamplesOwnSize) {
    Bytes data = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11};
    Conv::swap_endian_16_generic(1, data.data(), 3, 1, 4);
    EXPECT_EQ((Bytes{1, 0, 3, 2, 5, 4, 6, 7, 8, 9, 10, 11}), data);
    data = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11};
    Conv::swap_endian_16_generic(1, data.data(), 2, 2, 6); // the second channel swaps back in part
    EXPECT_EQ((Bytes{1, 0, 2, 3, 5, 4, 6, 7, 8, 9, 10, 11}), data);

    Floats floats(2);
    data = {0, 1, 2, 3, 4, 5, 6, 7};
    Conv::conv_s16_to_n_generic(0, floats.data(), data.data(), 2, 1, 4, 1);
    EXPECT_EQ((Bytes{1, 0, 3, 2, 4, 5, 6, 7}), data);
    EXPECT_EQ((Floats{1, 4 + 5 * 256}), floats);
    Bytes back(8, 0);
    Conv::conv_n_to_s16_generic(0, back.data(), floats.data(), 2, 1, 4, 1);
    EXPECT_EQ((Bytes{0, 1, 0, 0, 4, 5, 0, 0}), back);
}

TEST(SplFileBitFmtConvTest, SwapsSamples) {
    Bytes const orig = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12};
    auto data = orig;
    Conv::swap_endian_16(0, data.data(), 3);
    EXPECT_EQ((Bytes{2, 1, 4, 3, 6, 5, 7, 8, 9, 10, 11, 12}), data);
    data = orig;
    Conv::swap_endian_24(1, data.data(), 2);
    EXPECT_EQ((Bytes{3, 2, 1, 6, 5, 4, 7, 8, 9, 10, 11, 12}), data);
    data = orig;
    Conv::swap_endian_32(3, data.data(), 2);
    EXPECT_EQ((Bytes{4, 3, 2, 1, 8, 7, 6, 5, 9, 10, 11, 12}), data);
    data = orig;
    Conv::swap_endian_16(0, data.data(), 3, 4);
    EXPECT_EQ((Bytes{2, 1, 3, 4, 6, 5, 7, 8, 10, 9, 11, 12}), data);
    Conv::swap_endian_16(0, data.data(), 3, 4);
    Conv::swap_endian_24(0, data.data(), 2, 5);
    EXPECT_EQ((Bytes{3, 2, 1, 4, 5, 8, 7, 6, 9, 10, 11, 12}), data);
    Conv::swap_endian_24(0, data.data(), 2, 5);
    Conv::swap_endian_32(0, data.data(), 2, 6);
    EXPECT_EQ((Bytes{4, 3, 2, 1, 5, 6, 10, 9, 8, 7, 11, 12}), data);
    Conv::swap_endian_32(0, data.data(), 2, 6);
    EXPECT_EQ(orig, data);
    Conv::swap_endian_16(2, data.data(), 6);
    Conv::swap_endian_24(2, data.data(), 4);
    Conv::swap_endian_32(2, data.data(), 3);
    Conv::swap_endian_16(2, data.data(), 2, 4);
    Conv::swap_endian_24(2, data.data(), 2, 4);
    Conv::swap_endian_32(2, data.data(), 2, 4);
    Conv::swap_endian_32_generic(2, data.data(), 1, 2, 12);
    EXPECT_EQ(orig, data);
}

TEST(SplFileBitFmtConvTest, FloatsKeepTheirBitsWhenPacked) {
    std::mt19937 rng(8);
    auto data = random_bytes(rng, 4 * 1000); // signalling NaN among them
    std::vector<std::uint32_t> expected(1000);
    std::memcpy(expected.data(), data.data(), data.size());
    Floats floats(1000);
    Conv::conv_f32_to_n_generic(2, floats.data(), data.data(), 500, 2, 8, 0.5f); // not scaled
    EXPECT_EQ(0, std::memcmp(floats.data(), expected.data(), data.size()));
    Bytes back(data.size());
    Conv::conv_n_to_f32_generic(2, back.data(), floats.data(), 500, 2, 8, 0.5f);
    EXPECT_EQ(data, back);

    Conv::conv_n_to_f32_generic(1, back.data(), floats.data(), 500, 2, 8, 0.5f);
    auto swapped = data;
    Conv::swap_endian_32(1, swapped.data(), 1000);
    EXPECT_EQ(swapped, back);
    Floats again(1000);
    Conv::conv_f32_to_n_generic(1, again.data(), back.data(), 500, 2, 8, 0.5f);
    EXPECT_EQ(0, std::memcmp(again.data(), expected.data(), data.size()));
    EXPECT_EQ(data, back); // swapped in place
}

TEST(SplFileBitFmtConvTest, FloatsAreScaledAndNotClippedWhenPadded) {
    Floats const src = {1, -3, 1e30f, 0.25f};
    Bytes data(24, 0x11);
    Conv::conv_n_to_f32_generic(2, data.data(), src.data(), 2, 2, 12, 4);
    Floats dst(4);
    Conv::conv_f32_to_n_generic(2, dst.data(), data.data(), 2, 2, 12, 0.5f);
    EXPECT_EQ((Floats{2, -6, 2e30f, 0.5f}), dst);
    for (std::size_t const pos : {8U, 9U, 10U, 11U, 20U, 21U, 22U, 23U}) {
        EXPECT_EQ(0x11, data[pos]);
    }
}
