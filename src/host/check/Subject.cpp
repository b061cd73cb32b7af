#include "host/check/Subject.h"

#include "host/PluginError.h"

#include <algorithm>

namespace ulk::host::check {

namespace {

using Dsp = kryn::PluginDsp;

std::vector<long> make_pins(Dice& dice, long nbr_pins) {
    std::vector<long> pin_list;
    for (long pin = 0; pin < nbr_pins; ++pin) {
        pin_list.push_back(dice.has_luck(80) ? dice.roll(1, 2) : dice.roll(1, 8));
    }
    return pin_list;
}

} // namespace

Subject::Subject(Plugin& plugin, Dice& dice) {
    auto const doc = plugin.describe();
    if (!doc.empty()) {
        _desc = std::make_unique<Description>(std::string(doc.begin(), doc.end()), plugin.get_id());
        read_params();
    }
    _conf_list.push_back(plugin.get_pin_conf());
    for (PinConf const& conf : list_declared_confs()) {
        try_conf(plugin, conf);
    }
    for (int i = 0; i < 40; ++i) {
        try_conf(plugin, make_wish(dice));
    }
}

PinConf Subject::make_wish(Dice& dice) {
    PinConf conf;
    conf.out = make_pins(dice, dice.roll(0, 4));
    switch (dice.roll(5)) {
    case 0:
        break; // no input
    case 1:
        conf.in = conf.out;
        break;
    case 2: // several inputs of an output's kind
        for (long const nbr_chn : conf.out) {
            conf.in.insert(conf.in.end(), 2, nbr_chn);
        }
        break;
    case 3:
        conf.in.swap(conf.out);
        break;
    default:
        conf.in = make_pins(dice, dice.roll(0, 4));
    }
    return conf;
}

std::vector<PinConf> Subject::list_declared_confs() const {
    std::vector<PinConf> list;
    for (int i = 0; _desc != nullptr && i < _desc->use_pin_conf_list().get_nbr_conf(); ++i) {
        auto const& conf = _desc->use_pin_conf_list().use_conf(i);
        auto const& in = conf.use_audio_pin_list(kryn::PinDir_IN);
        auto const& out = conf.use_audio_pin_list(kryn::PinDir_OUT);
        list.push_back({{in.begin(), in.end()}, {out.begin(), out.end()}});
    }
    return list;
}

void Subject::read_params() {
    auto const& list = _desc->use_param_list();
    for (auto const scope : {kryn::ParamScope_GLOBAL, kryn::ParamScope_NOTE}) {
        for (int index = 0; index < list.get_nbr_param(scope); ++index) {
            auto const& param = list.use_param(scope, index);
            bool const natural_flag = param.get_public_range() == Dsp::ParamPublicVal_NATURAL;
            bool const ramp_flag = param.get_domain_time() == Dsp::ParamRange_CONTINUOUS;
            if (param.get_dir() != Dsp::ParamDir_OUT) {
                _param_list.push_back({{scope, 0, index},
                                       natural_flag ? param.get_range_min() : 0.0,
                                       natural_flag ? param.get_range_max() : 1.0,
                                       ramp_flag});
            }
        }
    }
}

void Subject::try_conf(Plugin& plugin, PinConf conf) {
    bool const known_flag =
        std::find(_conf_list.begin(), _conf_list.end(), conf) != _conf_list.end();
    if (!known_flag && plugin.negotiate_pin_conf(conf) != Dsp::CmdPlug::NegoResult_REFUSED) {
        _conf_list.push_back(conf);
    }
}

} // namespace ulk::host::check
