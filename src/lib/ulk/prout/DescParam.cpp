#include "ulk/prout/DescParam.h"

#include "ulk/ace/Err.h"

namespace ulk::prout {

void DescParam::fill_default() {
    *this = DescParam();
}

int DescParam::write(util::BinaryStreamOutputBase& out) const {
    out.write(_val_min);
    out.write(_val_max);
    out.write(_name);
    out.write(_unit);
    out.write(_dir);
    out.write(_flags);
    out.write(_validity_flags);
    out.write(_public_range);
    out.write(_domain_val);
    out.write(_domain_time);
    out.write(_type_data);
    out.write(_type_use);
    return ace::Err_OK;
}

int DescParam::read(util::BinaryStreamInput& in) {
    fill_default();
    bool const ok_flag =
        in.read(_val_min, "DescParam: Error while reading _val_min") == 0 &&
        in.read(_val_max, "DescParam: Error while reading _val_max") == 0 &&
        in.read(_name, "DescParam: Error while reading _name") == 0 &&
        in.read(_unit, "DescParam: Error while reading _unit") == 0 &&
        in.read(_dir, "DescParam: Error while reading _dir") == 0 &&
        in.read(_flags, "DescParam: Error while reading _flags") == 0 &&
        in.read(_validity_flags, "DescParam: Error while reading _validity_flags") == 0 &&
        in.read(_public_range, "DescParam: Error while reading _public_range") == 0 &&
        in.read(_domain_val, "DescParam: Error while reading _domain_val") == 0 &&
        in.read(_domain_time, "DescParam: Error while reading _domain_time") == 0 &&
        in.read(_type_data, "DescParam: Error while reading _type_data") == 0 &&
        in.read(_type_use, "DescParam: Error while reading _type_use") == 0;
    return ok_flag ? ace::Err_OK : ace::Err_DATA_CORRUPTED;
}

} // namespace ulk::prout
