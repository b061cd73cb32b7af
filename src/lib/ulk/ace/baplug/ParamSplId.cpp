#include "ulk/ace/baplug/ParamSplId.h"

#include "ulk/kryn/PluginDsp.h"
#include "ulk/txt/out/PrintNa.h"
#include "ulk/txt/utf8/ConvNum.h"

#include <cmath>

namespace ulk::ace::baplug {

namespace {

constexpr long nbr_digits = (Constants::TAPE_SPL_ID_BIT_DEPTH + 3) / 4;

} // namespace

int ParamSplId::do_get_prop(Prop& prop) const {
    using kryn::PluginDsp;
    prop = Prop();
    prop.name = std::string("SId\nSpl Id\nSample identifier");
    prop.flags = PluginDsp::ParamFlag_HIDDEN;
    prop.dir = PluginDsp::ParamDir_IN;
    prop.validity = PluginDsp::ParamValidityFlag_NOTE_ON;
    prop.domain_time = PluginDsp::ParamRange_DISCRETE;
    prop.domain_val = PluginDsp::ParamRange_DISCRETE;
    prop.public_range = PluginDsp::ParamPublicVal_NATURAL;
    prop.val_min = get_val_min();
    prop.val_max = get_val_max();
    return Err_OK;
}

int ParamSplId::do_conv_to_str(double val, char* txt, long max_len) const {
    int const ret = check_to_str(val, max_len, nbr_digits);
    if (ret == Err_OK) {
        auto const id = static_cast<long long>(std::floor(val + 0.5));
        txt::out::PrintNa(txt, max_len).print("%1m!rw0X%").arg(id, nbr_digits);
    }
    return ret;
}

int ParamSplId::do_conv_from_str(char const* txt, double& val) const {
    long long id = 0;
    if (txt::utf8::ConvNum::conv_str_to_int64(id, txt, 16) != 0 || id < 0 ||
        static_cast<double>(id) > _max_val) {
        return Err_CANNOT_CONVERT_PARAM_VAL;
    }
    val = static_cast<double>(id);
    return Err_OK;
}

double ParamSplId::do_get_val_min() const {
    return _min_val;
}

double ParamSplId::do_get_val_max() const {
    return _max_val;
}

} // namespace ulk::ace::baplug
