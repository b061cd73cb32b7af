#include "ulk/ace/baplug/ParamSplPan.h"

#include "ulk/kryn/PluginDsp.h"
#include "ulk/sys/NumText.h"
#include "ulk/txt/out/PrintNa.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace ulk::ace::baplug {

namespace {

// Offset of the first of these letters, -1 for none.
long find_letter(char const* txt, char const* letters) {
    char const* const place = std::strpbrk(txt, letters);
    return place != nullptr ? place - txt : -1;
}

} // namespace

int ParamSplPan::do_get_prop(Prop& prop) const {
    using kryn::PluginDsp;
    prop = Prop();
    prop.name = std::string("Pan\nSpl pan\nSample pan\nSample panning");
    prop.unit = std::string("%");
    prop.dir = PluginDsp::ParamDir_IN;
    prop.type_data = PluginDsp::ParamType_PAN_LIN_POS;
    prop.public_range = PluginDsp::ParamPublicVal_NATURAL;
    prop.val_min = get_val_min();
    prop.val_max = get_val_max();
    return Err_OK;
}

int ParamSplPan::do_conv_to_str(double val, char* txt, long max_len) const {
    int const ret = check_to_str(val, max_len, 5);
    if (ret == Err_OK) {
        txt::out::PrintNa print(txt, max_len);
        if (std::abs(val) > 0.005) {
            int const percent = static_cast<int>(std::floor(std::abs(val) * 100 + 0.5));
            print.print("%1%%2m4r%").arg(val < 0 ? "L" : "R").arg(percent);
        } else {
            print.print("Center");
        }
    }
    return ret;
}

int ParamSplPan::do_conv_from_str(char const* txt, double& val) const {
    val = 0;
    long const pos_c = find_letter(txt, "cC");
    long const pos_l = find_letter(txt, "lL");
    long const pos_r = find_letter(txt, "rR");
    // An absent side, at -1, is not behind the "c": "Center" as printed does not read back.
    if (pos_c >= 0 && pos_c < pos_l && pos_c < pos_r) {
        return Err_OK;
    }
    long const pos = pos_l >= 0 ? pos_l : pos_r;
    double percent = 0;
    if (pos < 0 || sys::NumText::conv_str_to_dbl(txt + pos + 1, percent) == txt + pos + 1) {
        return Err_CANNOT_CONVERT_PARAM_VAL;
    }
    double const sign = pos_l >= 0 ? -1 : 1;
    val = std::clamp(sign * percent / 100, get_val_min(), get_val_max());
    return Err_OK;
}

double ParamSplPan::do_get_val_min() const {
    return -1;
}

double ParamSplPan::do_get_val_max() const {
    return 1;
}

} // namespace ulk::ace::baplug
