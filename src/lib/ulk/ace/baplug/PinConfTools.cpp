#include "ulk/ace/baplug/PinConfTools.h"

#include <algorithm>

namespace ulk::ace::baplug {

void PinConfTools::clear_data_pins(FullPinConf& conf) {
    conf.nbr_pins_data_in = 0;
    conf.nbr_pins_data_out = 0;
}

bool PinConfTools::has_same_sides(AudioConf const& conf) {
    auto const& in = conf.port_arr[kryn::PinDir_IN];
    auto const& out = conf.port_arr[kryn::PinDir_OUT];
    return in.nbr_pins >= 0 && in.nbr_pins == out.nbr_pins &&
           (in.nbr_pins == 0 || std::equal(in.chn_arr, in.chn_arr + in.nbr_pins, out.chn_arr));
}

} // namespace ulk::ace::baplug
