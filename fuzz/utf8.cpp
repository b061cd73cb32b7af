// Any bytes as text: what decodes encodes to the same character again, checks and decoding agree,
// and copies stay whole; and two texts in a search, against looking at each place in turn.

#include "ulk/txt/utf8/utf8.h"
#include "ulk/txt/unicode/CharData.h"
#include "ulk/txt/utf8/Codec8.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

namespace {

namespace utf8 = ulk::txt::utf8;
using ulk::txt::unicode::Char;
using ulk::txt::unicode::CharData;
using utf8::Codec8;

void require(bool flag) {
    if (!flag) {
        std::abort();
    }
}

void check_coding(char const* text) {
    std::wstring wide;
    int const ret_val = utf8::decode_wstring(wide, text);
    require(ret_val == Codec8::check_string_valid(text));

    if (wide.find(L'\0') != std::wstring::npos) {
        return; // an overlong terminator: the wide text ends there, the other one goes on
    }
    std::string back;
    int const encoded = utf8::encode_wstring(back, wide.c_str());
    if (encoded == 0) {
        require(Codec8::check_string_valid(back) == 0);
        std::wstring again;
        require(utf8::decode_wstring(again, back) == 0 && again == wide);
        require(back.size() <= std::strlen(text)); // overlong forms become shorter
    }
    std::string upper;
    int const cased = utf8::conv_to_upper_case(upper, text, std::strlen(text));
    require(cased == (ret_val != 0 && encoded == 0 ? ret_val : encoded));
}

void check_cutting(char const* text, unsigned long max_size) {
    std::vector<char> copy(max_size + 1, '#');
    utf8::strncpy_0(copy.data(), text, max_size);
    require(copy[max_size] == '#');
    require(max_size == 0 || std::strlen(copy.data()) < max_size);
    std::string cut = text;
    int const cut_flag = utf8::truncate(cut, max_size);
    require(cut_flag == (max_size > 0 && std::strlen(text) + 1 > max_size ? 1 : 0));
    if (Codec8::check_string_valid(text) == 0 && max_size > 0) {
        require(cut == copy.data() && Codec8::check_string_valid(cut) == 0);
    }
}

// 0, 1 for a difference, or the code that ends the search.
int compare(char const* text, char const* sub) {
    while (*sub != '\0') {
        Char a;
        Char b;
        int a_len;
        int b_len;
        if (*text == '\0') {
            return utf8::Err_NOT_FOUND;
        }
        int ret_val = Codec8::decode_char(a, text, a_len);
        ret_val = ret_val != 0 ? ret_val : Codec8::decode_char(b, sub, b_len);
        if (ret_val != 0) {
            return ret_val;
        }
        if (CharData::to_upper(a) != CharData::to_upper(b)) {
            return 1;
        }
        text += a_len;
        sub += b_len;
    }
    return 0;
}

void check_search(char const* text, char const* sub) {
    long pos = 77;
    int const ret_val = utf8::strstr_ci(text, sub, pos);
    if (*sub == '\0') {
        require(ret_val == 0 && pos == 77);
        return;
    }
    long start = 0;
    int want;
    while ((want = compare(text + start, sub)) == 1) {
        int len;
        Codec8::get_char_seq_len_utf(len, text[start]);
        start += len;
    }
    require(ret_val == want && pos == (want == 0 ? start : -1));
}

} // namespace

// The first byte is the length of what is searched for, the second a size to cut to.
extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    if (size < 2) {
        return 0;
    }
    std::string const all(reinterpret_cast<char const*>(data) + 2, size - 2);
    std::string const sub = all.substr(0, data[0] % 16);
    std::string const text = all.substr(sub.size());
    check_coding(text.c_str());
    check_cutting(text.c_str(), data[1]);
    check_search(text.c_str(), sub.c_str());
    return 0;
}
