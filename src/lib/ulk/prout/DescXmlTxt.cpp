#include "ulk/prout/DescXmlTxt.h"

#include "ulk/ace/Err.h"
#include "ulk/txt/out/Print.h"
#include "ulk/txt/utf8/Codec8.h"

#include <bit>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <string_view>

namespace ulk::prout {

namespace {

constexpr char const* scope_name_arr[kryn::ParamScope_NBR_ELT] = {"global", "1",    "2", "3",
                                                                  "4",      "note", "6"};
constexpr std::string_view bits_prefix = "0x";

template <class T, class... Opt>
bool read_number(T& val, std::string_view txt, Opt... opt) {
    T num = 0;
    char const* const end = txt.data() + txt.size();
    auto const res = std::from_chars(txt.data(), end, num, opt...);
    if (res.ec != std::errc() || res.ptr != end) {
        return false;
    }
    val = num;
    return true;
}

bool reads_back(double val, std::string const& txt) {
    double back = 0;
    return DescXmlTxt::conv_txt_to_double(back, txt) &&
           std::bit_cast<std::uint64_t>(back) == std::bit_cast<std::uint64_t>(val);
}

bool is_xml_char(txt::unicode::Char c) {
    return c == '\t' || c == '\n' || c == '\r' || (c >= 0x20 && c < 0xD800) ||
           (c >= 0xE000 && c < 0xFFFE) || (c >= 0x10000 && c < 0x110000);
}

} // namespace

char const* DescXmlTxt::get_scope_name(kryn::ParamScope scope) {
    return scope_name_arr[scope];
}

bool DescXmlTxt::conv_txt_to_scope(kryn::ParamScope& scope, std::string const& txt) {
    for (int pos = 0; pos < kryn::ParamScope_NBR_ELT; ++pos) {
        if (txt == scope_name_arr[pos]) {
            scope = static_cast<kryn::ParamScope>(pos);
            return true;
        }
    }
    return false;
}

std::string DescXmlTxt::conv_enum_to_txt(int val, kryn::CodeTxt const* table) {
    for (; table->txt != nullptr; ++table) {
        if (table->code == val) {
            return table->txt;
        }
    }
    return conv_int_to_txt(val);
}

bool DescXmlTxt::conv_txt_to_enum(int& val, std::string const& txt, kryn::CodeTxt const* table) {
    for (; table->txt != nullptr; ++table) {
        if (txt == table->txt) {
            val = table->code;
            return true;
        }
    }
    return conv_txt_to_int(val, txt);
}

std::string DescXmlTxt::conv_flags_to_txt(int val, kryn::CodeTxt const* table) {
    std::string txt;
    for (; table->txt != nullptr; ++table) {
        if ((val & table->code) != 0) {
            val &= ~table->code;
            txt.append(txt.empty() ? "" : " ").append(table->txt);
        }
    }
    return val == 0 ? txt : txt + (txt.empty() ? "" : " ") + conv_int_to_txt(val);
}

bool DescXmlTxt::conv_txt_to_flags(int& val, std::string const& txt, kryn::CodeTxt const* table) {
    int flags = 0;
    for (std::size_t end = 0, beg = 0; beg < txt.size(); beg = end + 1) {
        end = std::min(txt.find(' ', beg), txt.size());
        int flag = 0;
        if (end > beg && !conv_txt_to_enum(flag, txt.substr(beg, end - beg), table)) {
            return false;
        }
        flags |= flag;
    }
    val = flags;
    return true;
}

std::string DescXmlTxt::conv_int_to_txt(int val) {
    txt::out::Print print;
    print.print("%1%").arg(val);
    return print;
}

bool DescXmlTxt::conv_txt_to_int(int& val, std::string const& txt) {
    return read_number(val, txt, 10);
}

std::string DescXmlTxt::conv_double_to_txt(double val) {
    txt::out::Print print;
    if (std::isfinite(val)) { // the formatter takes no other
        for (char const* fmt : {"%1%", "%1ep17%"}) {
            print.print(fmt).arg(val);
            if (std::string const& txt = print; reads_back(val, txt)) {
                return txt;
            }
        }
    }
    // Two halves: a 64-bit integer is signed to the formatter.
    auto const bits = std::bit_cast<std::uint64_t>(val);
    print.print("0x%1rm8w0X%%2rm8w0X%")
        .arg(static_cast<unsigned int>(bits >> 32))
        .arg(static_cast<unsigned int>(bits));
    return print;
}

bool DescXmlTxt::conv_txt_to_double(double& val, std::string const& txt) {
    if (!txt.starts_with(bits_prefix)) {
        return read_number(val, txt);
    }
    std::uint64_t bits = 0;
    if (!read_number(bits, std::string_view(txt).substr(bits_prefix.size()), 16)) {
        return false;
    }
    val = std::bit_cast<double>(bits);
    return true;
}

int DescXmlTxt::check_txt(std::string const& txt) {
    for (char const *ptr = txt.c_str(), *end = ptr + txt.size(); ptr < end;) {
        txt::unicode::Char c = 0;
        int len = 0;
        if (txt::utf8::Codec8::decode_char(c, ptr, len) != 0) {
            return ace::Err_INVALID_UTF8;
        }
        if (!is_xml_char(c)) {
            return ace::Err_FORBIDDEN_CHAR;
        }
        ptr += len;
    }
    return ace::Err_OK;
}

} // namespace ulk::prout
