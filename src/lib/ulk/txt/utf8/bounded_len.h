#pragma once

#include <cstddef>
#include <cstring>

namespace ulk::txt::utf8 {

// Bytes before the terminator, at most max_len; reads no further than that.
inline std::size_t bounded_len(char const* text, std::size_t max_len) {
    void const* const end = std::memchr(text, '\0', max_len);
    return end == nullptr ? max_len
                          : static_cast<std::size_t>(static_cast<char const*>(end) - text);
}

// A long text is looked at in pieces that stay in the first-level cache between the search for
// the terminator and the work on the bytes.
constexpr std::size_t chunk_len = 4096;

} // namespace ulk::txt::utf8
