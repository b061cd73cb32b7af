#include "ulk/prout/ParamTplEnum.h"

#include "ulk/ace/Err.h"
#include "ulk/txt/out/Print.h"

#include <cstring>

namespace ulk::prout {

ParamTplEnum::ParamTplEnum(char const* item_list, char const* name, char const* unit, int index,
                           char const* print_format) {
    txt::out::Print print;
    print.print(name).arg(index);
    _prop.name = print;
    _prop.unit = unit;
    _helper.set_print_format(print_format);

    long pos = 0;
    for (char const* sep = nullptr; (sep = std::strchr(item_list, '\n')) != nullptr; ++pos) {
        _helper.add_item(pos, std::string(item_list, sep).c_str());
        item_list = sep + 1;
    }
    _helper.add_item(pos, item_list);
    _helper.prefill_prop(_prop);
}

int ParamTplEnum::do_get_prop(Prop& prop) const {
    prop = _prop;
    return ace::Err_OK;
}

int ParamTplEnum::do_conv_norm_to_nat(double norm, double& nat) const {
    nat = _helper.conv_norm_to_nat(norm);
    return ace::Err_OK;
}

int ParamTplEnum::do_conv_nat_to_norm(double nat, double& norm) const {
    norm = _helper.conv_nat_to_norm(nat);
    return ace::Err_OK;
}

int ParamTplEnum::do_conv_to_str(double val, char* txt, long max_len) const {
    return _helper.conv_nat_to_str(val, txt, max_len);
}

int ParamTplEnum::do_conv_from_str(char const* txt, double& val) const {
    return _helper.conv_str_to_nat(txt, val);
}

double ParamTplEnum::do_get_val_min() const {
    return static_cast<double>(_helper.get_val_min());
}

double ParamTplEnum::do_get_val_max() const {
    return static_cast<double>(_helper.get_val_max());
}

} // namespace ulk::prout
