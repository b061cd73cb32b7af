// Values as texts: channel lists, doubles, integers and bit sets read back what was written, and
// what was read can be written.

#include "ulk/kryn/PluginDsp.h"
#include "ulk/prout/DescPinConf.h"
#include "ulk/prout/DescXmlTxt.h"
#include "ulk/txt/utf8/ConvNum.h"
#include "ulk/udbg/LogMgr.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

using namespace ulk;
using prout::DescPinConf;
using prout::DescXmlTxt;

namespace {

void check(bool ok_flag) {
    if (!ok_flag) {
        std::abort();
    }
}

void check_chn_list(std::string const& txt) {
    std::vector<int> list;
    if (DescPinConf::conv_str_to_chn_list(list, txt.c_str()) == 0) {
        std::vector<int> back;
        std::string const out = DescPinConf::conv_chn_list_to_str(list);
        check(DescPinConf::conv_str_to_chn_list(back, out.c_str()) == 0 && back == list);
    }
}

void check_double(double val) {
    double back = 0;
    check(DescXmlTxt::conv_txt_to_double(back, DescXmlTxt::conv_double_to_txt(val)));
    check(std::bit_cast<std::uint64_t>(back) == std::bit_cast<std::uint64_t>(val));
}

void check_flags(int val) {
    int back = 0;
    auto const* const table = kryn::PluginDsp::param_validity_flag_txt_list;
    check(DescXmlTxt::conv_txt_to_flags(back, DescXmlTxt::conv_flags_to_txt(val, table), table));
    check(back == val);
}

void check_int64(long long val, int base) {
    char txt[66];
    long long back = 0;
    long stop_pos = 0;
    check(txt::utf8::ConvNum::conv_int64_to_str(txt, val, 65, base) == 0);
    check(txt::utf8::ConvNum::conv_str_to_int64(back, txt, base, &stop_pos) == 0);
    check(back == val && stop_pos == static_cast<long>(std::strlen(txt)));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    udbg::LogMgr::create_as_plugin("fuzz", [](int, void*) { return 0; });
    std::string const txt(reinterpret_cast<char const*>(data), size);
    check_chn_list(txt);
    double val = 0;
    if (DescXmlTxt::conv_txt_to_double(val, txt)) {
        check_double(val);
    }
    int flags = 0;
    if (DescXmlTxt::conv_txt_to_flags(flags, txt, kryn::PluginDsp::param_flag_txt_list)) {
        check_flags(flags);
    }
    std::uint64_t bits = 0;
    std::memcpy(&bits, data, std::min(size, sizeof(bits)));
    check_double(std::bit_cast<double>(bits));
    check_flags(static_cast<int>(bits));
    check_int64(static_cast<long long>(bits), 2 + static_cast<int>(size % 35));
    return 0;
}
