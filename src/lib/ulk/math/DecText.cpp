#include "ulk/math/DecText.h"

#include <array>
#include <cstring>

namespace ulk::math {

namespace {

constexpr auto pair_arr = [] {
    std::array<char, 200> arr{};
    for (std::size_t i = 0; i < 100; ++i) {
        arr[2 * i] = static_cast<char>('0' + i / 10);
        arr[2 * i + 1] = static_cast<char>('0' + i % 10);
    }
    return arr;
}();

} // namespace

char* DecText::write_back(char* end, archi::UInt64 val) {
    while (val >= 100) {
        end -= 2;
        std::memcpy(end, &pair_arr[2 * static_cast<std::size_t>(val % 100)], 2);
        val /= 100;
    }
    if (val >= 10) {
        end -= 2;
        std::memcpy(end, &pair_arr[2 * static_cast<std::size_t>(val)], 2);
    } else {
        *--end = static_cast<char>('0' + val);
    }
    return end;
}

} // namespace ulk::math
