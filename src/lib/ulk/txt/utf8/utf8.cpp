#include "ulk/txt/utf8/utf8.h"

#include "ulk/txt/utf8/Codec8.h"
#include "ulk/txt/utf8/block_check.h"
#include "ulk/txt/utf8/bounded_len.h"

#include <algorithm>
#include <cstring>

namespace ulk::txt::utf8 {

static_assert(sizeof(wchar_t) == 4, "a wide character is one code point");

namespace {

// Bytes of the whole sequences at the start of src that room bytes can hold.
std::size_t count_whole(char const* src, std::size_t room) {
    std::size_t pos = 0;
    int len;
    while (src[pos] != '\0' && Codec8::get_char_seq_len_utf(len, src[pos]) == 0) {
        std::size_t const seq_len = static_cast<std::size_t>(len);
        if (seq_len > room - pos || bounded_len(src + pos, seq_len) < seq_len) {
            break;
        }
        pos += seq_len;
    }
    return pos;
}

// Where to cut a text that is longer than len: at most len, and not inside a sequence. A faulty
// text is cut anywhere behind what its bytes announce.
std::size_t find_cut(char const* text, std::size_t len) {
    std::size_t const max_back = Codec8::max_len - 1;
    for (std::size_t back = 1; back <= std::min(len, max_back); ++back) {
        char const c = text[len - back];
        if (!Codec8::is_valid_utf8_follow_byte(c)) {
            int seq_len;
            Codec8::get_char_seq_len_utf(seq_len, c);
            return static_cast<std::size_t>(seq_len) > back ? len - back : len;
        }
    }
    return len;
}

} // namespace

int strncpy_0(char* dst, char const* src, unsigned long max_size) {
    if (max_size > 0) {
        std::size_t const len = count_whole(src, max_size - 1);
        std::memcpy(dst, src, len);
        dst[len] = '\0';
    }
    return 1;
}

int strncat_0(char* dst, char const* src, unsigned long max_size) {
    if (max_size > 0) {
        std::size_t const len = bounded_len(dst, max_size);
        strncpy_0(dst + len, src, max_size - len);
    }
    return 1;
}

int truncate_0(char* text, unsigned long max_size) {
    if (max_size == 0 || bounded_len(text, max_size) < max_size) {
        return 0;
    }
    text[find_cut(text, max_size - 1)] = '\0';
    return 1;
}

int truncate(std::string& text, unsigned long max_size) {
    if (max_size == 0 || text.size() < max_size) {
        return 0;
    }
    text.resize(find_cut(text.c_str(), max_size - 1));
    return 1;
}

int encode_wstring(std::string& dst, wchar_t const* src) {
    dst.clear();
    for (; *src != L'\0'; ++src) {
        char seq[Codec8::max_len];
        int len;
        int const ret_val = Codec8::encode_char(seq, static_cast<unicode::Char>(*src), len);
        if (ret_val != 0) {
            return ret_val;
        }
        dst.append(seq, static_cast<std::size_t>(len));
    }
    return 0;
}

int encode_wstring(std::string& dst, std::wstring const& src) {
    return encode_wstring(dst, src.c_str());
}

int decode_wstring(std::wstring& dst, char const* src) {
    char const* const end = src + std::strlen(src);
    dst.resize(static_cast<std::size_t>(end - src)); // no character takes less than a byte
    wchar_t* out = dst.data();
    int ret_val = 0;
    while (src != end && ret_val == 0) {
        if (end - src >= block_len && is_ascii_block(src)) {
            out = std::copy_n(src, block_len, out);
            src += block_len;
            continue;
        }
        char const* const block_end = src + std::min<std::ptrdiff_t>(end - src, block_len);
        while (src < block_end && ret_val == 0) {
            unicode::Char c;
            int len;
            ret_val = Codec8::decode_char(c, src, len);
            *out = static_cast<wchar_t>(c);
            out += ret_val == 0;
            src += len;
        }
    }
    dst.resize(static_cast<std::size_t>(out - dst.data()));
    return ret_val;
}

int decode_wstring(std::wstring& dst, std::string const& src) {
    return decode_wstring(dst, src.c_str());
}

} // namespace ulk::txt::utf8
