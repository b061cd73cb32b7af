#pragma once

#include <cstring>

namespace ulk::txt::utf8 {

// Sixteen bytes on which operators work one by one, with a sign because the most processors
// compare them so; a comparison gives 0 or -1 for each. GCC and Clang make vector code of it where
// the processor has some.
using ByteVec [[gnu::vector_size(16)]] = signed char;

inline ByteVec load_vec(char const* src) {
    ByteVec vec;
    std::memcpy(&vec, src, sizeof(vec));
    return vec;
}

inline bool is_any_set(ByteVec vec) {
    unsigned long long word_arr[2];
    std::memcpy(word_arr, &vec, sizeof(vec));
    return (word_arr[0] | word_arr[1]) != 0;
}

} // namespace ulk::txt::utf8
