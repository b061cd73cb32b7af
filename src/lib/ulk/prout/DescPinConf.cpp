#include "ulk/prout/DescPinConf.h"

#include "ulk/ace/Err.h"
#include "ulk/archi/types.h"
#include "ulk/prout/DescRead.h"

#include <algorithm>

namespace ulk::prout {

void DescPinConf::set_pins(unsigned long long chn_in, unsigned long long chn_out, int data_in,
                           int data_out) {
    conv_int_to_chn_list(_chn_list_arr[kryn::PinDir_IN], chn_in);
    conv_int_to_chn_list(_chn_list_arr[kryn::PinDir_OUT], chn_out);
    _nbr_pins_data_arr[kryn::PinDir_IN] = data_in;
    _nbr_pins_data_arr[kryn::PinDir_OUT] = data_out;
}

void DescPinConf::set_name(std::string const& name) {
    _name = name;
    _name_flag = true;
}

bool DescPinConf::is_valid() const {
    return std::all_of(std::begin(_chn_list_arr), std::end(_chn_list_arr), [](auto const& list) {
        return std::all_of(list.begin(), list.end(), [](int nbr_chn) { return nbr_chn > 0; });
    });
}

void DescPinConf::clear() {
    *this = DescPinConf();
}

int DescPinConf::write(util::BinaryStreamOutputBase& out) const {
    for (auto const& list : _chn_list_arr) {
        out.write(list.begin(), list.end());
    }
    for (int nbr_pins : _nbr_pins_data_arr) {
        out.write(nbr_pins);
    }
    return ace::Err_OK;
}

int DescPinConf::read(util::BinaryStreamInput& in) {
    using namespace kryn;
    clear();
    auto const read_chn_list = [&](PinDir dir, char const* err) {
        return DescRead::read_list(in, _chn_list_arr[dir], sizeof(archi::Int32), err);
    };
    bool const ok_flag =
        read_chn_list(PinDir_IN, "DescPinConf: Error while reading chn list in") == 0 &&
        read_chn_list(PinDir_OUT, "DescPinConf: Error while reading chn list out") == 0 &&
        in.read(_nbr_pins_data_arr[PinDir_IN], "DescPinConf: Error while reading pin data in") ==
            0 &&
        in.read(_nbr_pins_data_arr[PinDir_OUT], "DescPinConf: Error while reading pin data out") ==
            0;
    return ok_flag ? ace::Err_OK : ace::Err_DATA_CORRUPTED;
}

void DescPinConf::conv_int_to_chn_list(std::vector<int>& list, unsigned long long mask) {
    list.clear();
    for (; mask != 0; mask >>= 4) {
        list.push_back(static_cast<int>(mask & 15));
    }
}

} // namespace ulk::prout
