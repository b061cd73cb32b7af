#include "ulk/txt/utf8/utf8.h"

#include "ulk/txt/unicode/CharData.h"
#include "ulk/txt/utf8/Codec8.h"
#include "ulk/txt/utf8/bounded_len.h"
#include "ulk/udbg/log.h"

#include <algorithm>
#include <cstring>

namespace ulk::txt::utf8 {

namespace {

using unicode::CharData;

constexpr std::size_t block_len = 32;

// Characters are gathered before they go to the text: a block of them, each at its longest.
struct Gather {
    char bytes[block_len * Codec8::max_len];
    std::size_t len = 0;
};

struct ToUpper {
    static long map(long c) { return CharData::to_upper(c); }
    static constexpr char first = 'a';
    static constexpr char last = 'z';
};

struct ToLower {
    static long map(long c) { return CharData::to_lower(c); }
    static constexpr char first = 'A';
    static constexpr char last = 'Z';
};

// A character that ended the conversion.
struct Culprit {
    std::size_t pos; // of its first byte
    bool decoded_flag;
    unicode::Char c; // mapped, if it could be decoded
};

// Maps block_len bytes; false if one of them is not ASCII.
template <class Case>
bool map_ascii_block(char* dst, char const* src) {
    unsigned char all = 0;
    for (std::size_t i = 0; i < block_len; ++i) {
        char const c = src[i];
        all |= static_cast<unsigned char>(c);
        dst[i] = static_cast<char>(c ^ (c >= Case::first && c <= Case::last ? 0x20 : 0));
    }
    return all < 128;
}

template <class Case>
int map_char(Gather& dst, char const* src, std::size_t& pos, Culprit& culprit) {
    unicode::Char c;
    int len;
    int ret_val = Codec8::decode_char(c, src + pos, len);
    if (ret_val != 0) {
        culprit = {pos, false, c};
        return ret_val;
    }
    c = static_cast<unicode::Char>(Case::map(c));
    int dst_len;
    ret_val = Codec8::encode_char(dst.bytes + dst.len, c, dst_len);
    if (ret_val != 0) {
        culprit = {pos, true, c};
    }
    dst.len += static_cast<std::size_t>(dst_len);
    pos += static_cast<std::size_t>(len);
    return ret_val;
}

// Maps the characters that start before end, with at most block_len bytes.
template <class Case>
int map_block(std::string& dst, char const* src, std::size_t& pos, std::size_t end,
              Culprit& culprit) {
    Gather mapped;
    int ret_val = 0;
    if (end - pos == block_len && map_ascii_block<Case>(mapped.bytes, src + pos)) {
        mapped.len = block_len;
        pos = end;
    }
    while (pos < end && ret_val == 0) {
        ret_val = map_char<Case>(mapped, src, pos, culprit);
    }
    dst.append(mapped.bytes, mapped.len);
    return ret_val;
}

template <class Case>
int conv_case(std::string& dst, char const* src, std::size_t max_len, Culprit& culprit) {
    dst.clear();
    std::size_t pos = 0;
    while (pos < max_len && src[pos] != '\0') {
        std::size_t const end = pos + bounded_len(src + pos, std::min(max_len - pos, chunk_len));
        while (pos < end) {
            int const ret_val =
                map_block<Case>(dst, src, pos, std::min(pos + block_len, end), culprit);
            if (ret_val != 0) {
                return ret_val;
            }
        }
    }
    return 0;
}

} // namespace

int conv_to_upper_case(std::string& dst, char const* src, std::size_t max_len) {
    Culprit culprit{};
    int const ret_val = conv_case<ToUpper>(dst, src, max_len, culprit);
    if (ret_val != 0 && culprit.decoded_flag) {
        ULK_LOG(ERROR,
                "conv_to_upper_case(): Cannot encode character at source index %1% to UTF-8 "
                "(val: 0x%2X%).",
                culprit.pos, culprit.c);
    } else if (ret_val != 0) {
        ULK_LOG(ERROR, "conv_to_upper_case(): Cannot decode UTF-8 character at source index %1%.",
                culprit.pos);
    }
    return ret_val;
}

int conv_to_lower_case(std::string& dst, char const* src, std::size_t max_len) {
    Culprit culprit{};
    int const ret_val = conv_case<ToLower>(dst, src, max_len, culprit);
    if (ret_val != 0 && culprit.decoded_flag) {
        ULK_LOG(ERROR,
                "conv_to_lower_case(): Cannot encode character at source index %1% to UTF-8 "
                "(val: 0x%2X%).",
                culprit.pos, culprit.c);
    } else if (ret_val != 0) {
        ULK_LOG(ERROR, "conv_to_lower_case(): Cannot decode UTF-8 character at source index %1%.",
                culprit.pos);
    }
    return ret_val;
}

} // namespace ulk::txt::utf8
