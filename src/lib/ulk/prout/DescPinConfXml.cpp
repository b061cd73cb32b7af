#include "ulk/ace/Err.h"
#include "ulk/prout/DescPinConf.h"
#include "ulk/prout/DescProperties.h"
#include "ulk/txt/out/Print.h"
#include "ulk/udbg/log.h"

#include <cstdlib>

namespace ulk::prout {

namespace {

constexpr int err_invalid_char = -14470; // has no text

// White space of the C locale, whatever the program's locale is.
bool is_space(char c) {
    return c == ' ' || (c >= '\t' && c <= '\r');
}

} // namespace

void DescPinConf::serialize_prop(XmlTagAccess& xml, std::string const& name,
                                 std::string const& val) const {
    DescProperties::serialize_prop(xml, name, val);
}

std::string DescPinConf::conv_chn_list_to_str(std::vector<int> const& list) {
    txt::out::Print print;
    for (std::size_t pin = 0; pin < list.size(); ++pin) {
        print.cat(pin == 0 ? "%1%" : " %1%").arg(list[pin]);
    }
    return print;
}

int DescPinConf::conv_str_to_chn_list(std::vector<int>& list, char const* txt) {
    list.clear();
    for (;;) {
        char* end = nullptr;
        int const nbr_chn = static_cast<int>(std::strtol(txt, &end, 10));
        if (end == txt) {
            break;
        }
        if (nbr_chn < 1 || nbr_chn > max_nbr_chn) {
            ULK_LOG(ERROR,
                    "conv_str_to_chn_list(): Number of channels out of range (%1%) for pin %2%.",
                    nbr_chn, static_cast<long>(list.size()));
            return ace::Err_OUT_OF_RANGE;
        }
        list.push_back(nbr_chn);
        txt = end;
    }
    while (is_space(*txt)) {
        ++txt;
    }
    if (*txt != '\0') {
        ULK_LOG(ERROR, "conv_str_to_chn_list(): Invalid character.");
        return err_invalid_char;
    }
    return ace::Err_OK;
}

} // namespace ulk::prout
