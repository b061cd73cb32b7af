#pragma once

#include <cstddef>
#include <cstring>

// Checks of many bytes at once, without a branch a byte, so that the compiler makes vector code of
// them.
namespace ulk::txt::utf8 {

constexpr int block_len = 64;
constexpr int checked_len = block_len + 3;

inline bool is_ascii_block(char const* src) {
    unsigned long long word_arr[block_len / 8];
    std::memcpy(word_arr, src, block_len);
    unsigned long long all = 0;
    for (unsigned long long const word : word_arr) {
        all |= word;
    }
    return (all & 0x8080808080808080ULL) == 0;
}

// Tells if checked_len bytes from the start of a character on hold no faulty sequence; the last
// one may reach over their end.
bool is_well_formed(char const* src);

// How many of the last bytes before end, in a text without fault, belong to a character that
// reaches over it.
inline int count_open(char const* end) {
    auto const get_byte = [end](int back) { return static_cast<unsigned char>(end[-back]); };
    return get_byte(1) >= 0xC0 ? 1 : get_byte(2) >= 0xE0 ? 2 : get_byte(3) >= 0xF0 ? 3 : 0;
}

} // namespace ulk::txt::utf8
