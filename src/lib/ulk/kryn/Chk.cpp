#include "ulk/kryn/Chk.h"

#include "ulk/ace/Err.h"

#include <algorithm>
#include <cstring>
#include <string_view>

namespace kryn {

namespace {

template <class Pred>
int check_ports(PluginDsp::AudioConf const& conf, Pred pred) {
    return std::all_of(std::begin(conf.port_arr), std::end(conf.port_arr), pred);
}

} // namespace

char const Chk::_forbidden_plug_id[] = "ChangeMe#ChangeMe";

int Chk::check_audio_conf_to_be_filled(PluginDsp::AudioConf const& conf) {
    return check_ports(conf, [](PluginDsp::AudioConfPort const& port) {
        return port.nbr_pins_max >= 0 && port.chn_arr != nullptr;
    });
}

int Chk::check_audio_conf_to_be_set(PluginDsp::AudioConf const& conf) {
    return check_ports(conf, [](PluginDsp::AudioConfPort const& port) {
        if (port.nbr_pins <= 0) {
            return port.nbr_pins == 0;
        }
        return port.chn_arr != nullptr && std::all_of(port.chn_arr, port.chn_arr + port.nbr_pins,
                                                      [](long nbr_chn) { return nbr_chn > 0; });
    });
}

int Chk::check_audio_conf_nego_before(PluginDsp::AudioConf const& conf) {
    return check_audio_conf_to_be_set(conf) && check_audio_conf_to_be_filled(conf);
}

int Chk::check_audio_conf_nego_after(PluginDsp::AudioConf const& conf) {
    return check_audio_conf_to_be_set(conf) &&
           check_ports(conf, [](PluginDsp::AudioConfPort const& port) {
               return port.nbr_pins_max >= port.nbr_pins;
           });
}

int Chk::check_plug_id_char(long c) {
    return (c & 0x1FFFFF) > 31;
}

int Chk::check_plug_id_str(char const* str, char term) {
    if (*str == term) {
        return ulk::ace::Err_INVALID_SIZE;
    }
    std::size_t len = 0;
    for (; str[len] != term; ++len) {
        if (!check_plug_id_char(str[len])) {
            return ulk::ace::Err_FORBIDDEN_CHAR;
        }
    }
    if (len < 6) {
        return ulk::ace::Err_INVALID_SIZE;
    }
    if (std::string_view(str, len) == _forbidden_plug_id) {
        return ulk::ace::Err_FORBIDDEN_ELEMENT;
    }
    return 0;
}

} // namespace kryn
