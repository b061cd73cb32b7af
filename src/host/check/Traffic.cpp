#include "host/check/Traffic.h"

#include "host/PluginError.h"
#include "host/check/BlockPlayer.h"

namespace ulk::host::check {

Traffic::Traffic(Session& session, Plugin& plugin, Dice& dice, std::function<void()> const& between)
    : _session(session)
    , _plugin(plugin)
    , _dice(dice)
    , _between(between)
    , _subject(plugin, dice) {}

void Traffic::run(long nbr_confs, long nbr_blocks) {
    auto const& conf_list = _subject.use_conf_list();
    for (long i = 0; i < nbr_confs; ++i) {
        // Each once, as far as there is time for it, then any.
        auto const size = static_cast<long>(conf_list.size());
        long const pos = i < size ? i : _dice.roll(size);
        play(conf_list[static_cast<std::size_t>(pos)], nbr_blocks);
    }
}

void Traffic::play(PinConf const& conf, long nbr_blocks) {
    static constexpr double freq_arr[] = {8000, 22050, 44100, 48000, 96000, 192000};
    static constexpr long len_arr[] = {1, 2, 7, 64, 100, 333, 1024};
    if (_dice.has_luck(50)) {
        _plugin.init();
    }
    long const max_len = _dice.pick(len_arr);
    _plugin.set_sample_freq(_dice.pick(freq_arr));
    _plugin.set_process_block_len(max_len);
    _plugin.set_pin_conf(conf);
    _plugin.activate();
    EventMaker events(_dice, _subject.use_param_list());
    BlockPlayer player(_plugin, conf, max_len, _dice, _session.findings);
    for (long block = 0; block < nbr_blocks; ++block) {
        player.play(_dice.has_luck(60) ? max_len : _dice.roll(0, max_len), events);
        interlude();
        _between();
    }
    _plugin.deactivate();
    _hash = _hash * 31 + player.get_hash();
}

// What may come between two blocks.
void Traffic::interlude() {
    switch (_dice.roll(16)) {
    case 0:
        _plugin.clear_buffers();
        break;
    case 1:
        _plugin.describe();
        break;
    case 2:
        _plugin.deactivate();
        _plugin.activate();
        break;
    case 3:
        for (auto const& param : _subject.use_param_list()) {
            kryn::PluginDsp::CmdPlug::GetParamVal rec = {param.location, 0};
            _plugin.send(kryn::PluginDsp::CmdPlug::GET_PARAM_VAL, &rec); // not all can be asked for
        }
        break;
    default:
        break;
    }
}

} // namespace ulk::host::check
