#include "ulk/prout/ParamHelperEnum.h"

#include "ulk/ace/Err.h"
#include "ulk/kryn/PluginDsp.h"
#include "ulk/txt/out/PrintNa.h"
#include "ulk/txt/utf8/ConvNum.h"
#include "ulk/txt/utf8/utf8.h"

#include <cassert>
#include <cmath>

namespace ulk::prout {

namespace {

constexpr int sub_not_found = -3498; // of strstr_ci

} // namespace

void ParamHelperEnum::add_item(long index, char const* txt) {
    assert(index >= 0);
    auto const pos = static_cast<std::size_t>(index);
    if (pos >= _item_list.size()) {
        _item_list.resize(pos + 1);
    }
    _item_list[pos] = txt;
}

long ParamHelperEnum::conv_nat_to_int(double nat) const {
    return static_cast<long>(std::floor(nat + 0.5));
}

double ParamHelperEnum::conv_norm_to_nat(double norm) const {
    return std::floor(norm * static_cast<double>(get_val_max()) + 0.5);
}

double ParamHelperEnum::conv_nat_to_norm(double nat) const {
    return is_ok() ? std::floor(nat + 0.5) / static_cast<double>(get_val_max()) : 0.0;
}

int ParamHelperEnum::conv_nat_to_str(double nat, char* txt, long max_len) const {
    *txt = '\0'; // also the result of a print format that is not valid
    double const index = std::floor(nat + 0.5);
    if (!(index >= 0 && index <= static_cast<double>(get_val_max()))) {
        return ace::Err_OUT_OF_RANGE;
    }
    std::string const& item = _item_list[static_cast<std::size_t>(index)];
    txt::out::PrintNa(txt, max_len).print(_print_format.c_str()).arg(item.c_str());
    return ace::Err_OK;
}

int ParamHelperEnum::conv_str_to_nat(char const* txt, double& nat) const {
    for (std::size_t index = 0; index < _item_list.size(); ++index) {
        long pos = 0;
        int const ret = txt::utf8::strstr_ci(txt, _item_list[index].c_str(), pos);
        if (ret == 0) {
            nat = static_cast<double>(index);
            return ace::Err_OK;
        }
        if (ret != sub_not_found) {
            return ret;
        }
    }
    long long val = 0;
    long stop_pos = 0;
    if (txt::utf8::ConvNum::conv_str_to_int64(val, txt, 10, &stop_pos) != 0) {
        return ace::Err_CANNOT_CONVERT_PARAM_VAL;
    }
    nat = static_cast<double>(val);
    return val >= 0 && val <= get_val_max() ? ace::Err_OK : ace::Err_CANNOT_CONVERT_PARAM_VAL;
}

void ParamHelperEnum::prefill_prop(ParamInterface::Prop& prop) const {
    using kryn::PluginDsp;
    prop.flags = 0;
    prop.dir = PluginDsp::ParamDir_STATEFUL;
    prop.type_use = PluginDsp::ParamPredef_UNDEFINED;
    prop.type_data = PluginDsp::ParamType_UNDEFINED;
    prop.validity = 0;
    prop.domain_time = PluginDsp::ParamRange_DISCRETE;
    prop.domain_val = PluginDsp::ParamRange_DISCRETE;
    prop.public_range = PluginDsp::ParamPublicVal_NATURAL;
    prop.val_min = static_cast<double>(get_val_min());
    prop.val_max = static_cast<double>(get_val_max());
}

} // namespace ulk::prout
