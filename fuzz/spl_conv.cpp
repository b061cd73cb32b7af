// Conversions of samples against arithmetic on one sample at a time: the flat, strided and generic
// forms on the same bytes, and what they leave alone.

#include "ulk/sacc/SplFileBitFmtConv.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

namespace {

using Conv = ulk::sacc::SplFileBitFmtConv;
using Byte = unsigned char;

struct Format {
    int size;
    double nominal;
    long long zero;
    void (*read)(float*, Byte const*, long, float);
    void (*read_strided)(float*, Byte const*, long, int, int, float);
    void (*write)(Byte*, float const*, long, float);
    void (*write_strided)(Byte*, float const*, long, int, int, float);
};

constexpr Format format_list[] = {
    {1, 128, 128, Conv::conv_u8_to_n, Conv::conv_u8_to_n, Conv::conv_n_to_u8, Conv::conv_n_to_u8},
    {1, 128, 0, Conv::conv_s8_to_n, Conv::conv_s8_to_n, Conv::conv_n_to_s8, Conv::conv_n_to_s8},
    {2, 32768, 0, Conv::conv_s16_to_n, Conv::conv_s16_to_n, Conv::conv_n_to_s16,
     Conv::conv_n_to_s16},
    {3, 8388608, 0, Conv::conv_s24_to_n, Conv::conv_s24_to_n, Conv::conv_n_to_s24,
     Conv::conv_n_to_s24},
    {4, 2147483648.0, 0, Conv::conv_s32_to_n, Conv::conv_s32_to_n, Conv::conv_n_to_s32,
     Conv::conv_n_to_s32},
};

long long decode(Byte const* src, Format const& fmt) {
    long long val = 0;
    for (int b = fmt.size - 1; b >= 0; --b) {
        val = val * 256 + src[b];
    }
    auto const half = static_cast<long long>(fmt.nominal);
    return fmt.zero != 0 ? val - fmt.zero : val >= half ? val - 2 * half : val;
}

long long round_clip(float product, Format const& fmt) {
    if (std::isnan(product)) {
        return 0;
    }
    double const val = std::clamp<double>(product, -fmt.nominal, fmt.nominal - 1);
    double const low = std::floor(val);
    double const frac = val - low;
    bool const up_flag = frac > 0.5 || (frac == 0.5 && std::fmod(low, 2) != 0);
    return static_cast<long long>(up_flag ? low + 1 : low);
}

void require(bool ok_flag, char const* what) {
    if (!ok_flag) {
        std::fprintf(stderr, "disagreement: %s\n", what);
        std::abort();
    }
}

bool same(float lhs, float rhs) {
    return std::bit_cast<std::uint32_t>(lhs) == std::bit_cast<std::uint32_t>(rhs) ||
           (std::isnan(lhs) && std::isnan(rhs));
}

// Buffers have the exact length, so that the address sanitizer sees a step beside them.
void check_reading(Format const& fmt, std::vector<Byte> const& data, float scale) {
    auto const len = data.size() / static_cast<std::size_t>(fmt.size);
    std::vector<float> flat(len);
    std::vector<float> strided(len * 2, 5);
    fmt.read(flat.data(), data.data(), static_cast<long>(len), scale);
    fmt.read_strided(strided.data(), data.data(), static_cast<long>(len), 2, fmt.size, scale);
    for (std::size_t n = 0; n < len; ++n) {
        auto const val =
            static_cast<float>(decode(&data[n * static_cast<std::size_t>(fmt.size)], fmt));
        require(same(val * scale, flat[n]), "flat reading");
        require(same(val * scale, strided[2 * n]) && strided[2 * n + 1] == 5, "strided reading");
    }
}

void check_writing(Format const& fmt, std::vector<float> const& floats, float scale) {
    auto const len = floats.size();
    auto const size = static_cast<std::size_t>(fmt.size);
    std::vector<Byte> flat(len * size);
    std::vector<Byte> strided(len * (size + 1), 0x5A);
    fmt.write(flat.data(), floats.data(), static_cast<long>(len), scale);
    fmt.write_strided(strided.data(), floats.data(), static_cast<long>(len), fmt.size + 1, 1,
                      scale);
    for (std::size_t n = 0; n < len; ++n) {
        auto const expected = round_clip(scale * floats[n], fmt);
        require(decode(&flat[n * size], fmt) == expected, "flat writing");
        require(decode(&strided[n * (size + 1)], fmt) == expected, "strided writing");
        require(strided[n * (size + 1) + size] == 0x5A, "padding");
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t len) {
    if (len < 5) {
        return 0;
    }
    auto const& fmt = format_list[data[0] % 5];
    float scale = 0;
    std::memcpy(&scale, data + 1, sizeof(scale));
    if (data[0] >= 128) {
        scale = static_cast<float>(data[0] >= 192 ? fmt.nominal : 1 / fmt.nominal);
    }
    check_reading(fmt, {data + 5, data + len}, scale);
    std::vector<float> floats((len - 5) / sizeof(float));
    if (!floats.empty()) {
        std::memcpy(floats.data(), data + 5, floats.size() * sizeof(float));
        check_writing(fmt, floats, scale);
    }
    return 0;
}
