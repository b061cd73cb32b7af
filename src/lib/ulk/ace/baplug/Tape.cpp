// All of the plug-in but its blocks: description, pins, buffers, the commands to and from the host.

#include "ulk/ace/baplug/Tape.h"

#include "halfband/Downsampler2xFpu.h"
#include "ulk/ace/Constants.h"
#include "ulk/ace/Err.h"
#include "ulk/ace/baplug/ParamConvTools.h"
#include "ulk/ace/baplug/ParamGlobVol.h"
#include "ulk/ace/baplug/PinConfTools.h"
#include "ulk/ace/baplug/vendor_cmd.h"
#include "ulk/dsp/BasicMixing.h"
#include "ulk/dsp/BasicMixingAlign.h"
#include "ulk/dsp/Downsampler2xWrapper.h"
#include "ulk/kryn/Component.h"
#include "ulk/kryn/Plugin.h"
#include "ulk/pibase/Tools.h"
#include "ulk/udbg/log.h"

#include <algorithm>
#include <numeric>
#include <stdexcept>

namespace ulk::ace::baplug {

namespace {

constexpr long block_len_max = 1L << 28; // frames; beyond what can be allocated anyway

constexpr long round_down_to_quad(long len) {
    return len & ~3L;
}

} // namespace

Tape::Tape(pibase::BidirComPoint& com)
    : _com_ptr(&com)
    , _desc(Constants::PLUGIN_ID_TAPE) {
    dsp::BasicMixing::setup();
    dsp::BasicMixingAlign::setup();
    init_pin_confs();
    init_params();
    _vol.set_smooth_time(0.005);
    _pitch_shift.set_smooth_time(0.005);

    _pin_arr.reserve(Constants::MAX_NBR_USER_AUDIO_PINS);
    init_audio_conf_port(_out_conf, 1, 2);
    if (update_pins_out() != Err_OK) {
        throw std::runtime_error("ulk::ace::baplug::Tape::Tape(): Cannot set up the pins.");
    }
    for (TapeSpl& voice : _voice_arr) {
        voice.set_cb(*this);
    }
    _com_ptr->plugin_data = this;
    _com_ptr->plugin_execute = &execute_command_static;
}

void Tape::init_audio_conf_port(AudioConfSingle& conf, int nbr_pins, int nbr_chn) {
    conf._chn_vect.assign(static_cast<std::size_t>(nbr_pins), nbr_chn);
    conf._port.nbr_pins = nbr_pins;
    conf._port.chn_arr = conf._chn_vect.data();
}

// Each layout with the input passing through, then all of them without input.
void Tape::init_pin_confs() {
    struct Layout {
        char const* name;
        unsigned long long chn_word; // channels of each pin, one digit a pin
    };
    static constexpr Layout layout_arr[] = {
        {"1 Stereo", 0x2},        {"1 Mono", 0x1},        {"1 5.1", 0x6},
        {"1 7.1", 0x8},           {"2 Stereo", 0x22},     {"2 Mono", 0x11},
        {"2 5.1", 0x66},          {"2 7.1", 0x88},        {"4 Stereo", 0x2222},
        {"4 Mono", 0x1111},       {"4 5.1", 0x6666},      {"4 7.1", 0x8888},
        {"8 Stereo", 0x22222222}, {"8 Mono", 0x11111111}, {"8 5.1", 0x66666666},
        {"8 7.1", 0x88888888},
    };
    for (bool const in_flag : {true, false}) {
        for (Layout const& layout : layout_arr) {
            _desc.use_pin_conf_list().add_conf(in_flag ? layout.chn_word : 0, layout.chn_word, 0, 0,
                                               layout.name);
        }
    }
}

int Tape::execute_command_static(pibase::BidirComPoint* com, int cmd, void* data) {
    return pibase::Tools::execute_guarded<Tape>(com, cmd, data);
}

int Tape::execute_command(int cmd, void* data) {
    switch (cmd) {
    case kryn::Component::Cmd::DESCRIBE:
        return _desc.describe(*static_cast<kryn::Component::Cmd::Describe*>(data));
    case kryn::Component::Cmd::DESTROY:
        return destroy();
    case kryn::Plugin::CmdPlug::INIT:
        return init();
    case kryn::Plugin::CmdPlug::RESTORE:
    case CmdPlug::ACTIVATE:
        return Err_OK;
    case CmdPlug::DEACTIVATE:
        return deactivate();
    case CmdPlug::SET_PROCESS_BLOCK_LEN:
        return set_process_block_len(*static_cast<CmdPlug::SetProcessBlockLen*>(data));
    case CmdPlug::SET_SAMPLE_FREQ:
        return set_sample_freq(*static_cast<CmdPlug::SetSampleFreq*>(data));
    case CmdPlug::GET_PIN_CONF:
        return get_pin_conf(*static_cast<CmdPlug::GetPinConf*>(data));
    case CmdPlug::NEGOTIATE_PIN_CONF:
        return negotiate_pin_conf(*static_cast<CmdPlug::NegotiatePinConf*>(data));
    case CmdPlug::SET_PIN_CONF:
        return set_pin_conf(*static_cast<CmdPlug::SetPinConf*>(data));
    case CmdPlug::PROCESS:
        return process(*static_cast<CmdPlug::Process*>(data));
    case CmdPlug::CLEAR_BUFFERS:
        return clear_buffers();
    case CmdPlug::GET_PARAM_VAL:
        return get_param_val(*static_cast<CmdPlug::GetParamVal*>(data));
    default:
        return conv_param(cmd, data);
    }
}

int Tape::destroy() {
    delete this;
    return Err_OK;
}

int Tape::init() {
    _vol.set_val(ParamGlobVol::get_direct_default_norm_val());
    _pitch_shift.set_val(0);
    return Err_OK;
}

int Tape::deactivate() {
    force_voices_off();
    return Err_OK;
}

// Voices know the working memory, which moves.
int Tape::set_process_block_len(CmdPlug::SetProcessBlockLen const& cmd) {
    force_voices_off();
    long nbr_chn = 0;
    for (TapePinInfo const& pin : _pin_arr) {
        nbr_chn += pin._buf.get_nbr_chn();
    }
    try {
        TmpMem mem = make_tmp_mem(cmd.max_block_len, nbr_chn);
        _block_len = cmd.max_block_len;
        return update_tmp_buf(mem);
    } catch (...) {
        ULK_LOG(ERROR, "set_process_block_len(): exception.");
        return Err_FAILURE;
    }
}

int Tape::set_sample_freq(CmdPlug::SetSampleFreq const& cmd) {
    for (TapeSpl& voice : _voice_arr) {
        voice.set_sample_freq(cmd.sample_freq);
    }
    _vol.set_sample_freq(cmd.sample_freq);
    _pitch_shift.set_sample_freq(cmd.sample_freq);
    return Err_OK;
}

int Tape::get_pin_conf(CmdPlug::GetPinConf& cmd) const {
    PinConfTools::clear_data_pins(cmd.conf);
    auto& in = cmd.conf.audio.port_arr[kryn::PinDir_IN];
    auto& out = cmd.conf.audio.port_arr[kryn::PinDir_OUT];
    long const nbr_pins = static_cast<long>(_pin_arr.size());
    if (out.nbr_pins_max < nbr_pins) {
        return Err_NO_ROOM;
    }
    out.nbr_pins = nbr_pins;
    in.nbr_pins = _in_flag ? nbr_pins : 0;
    for (std::size_t pin = 0; pin < _pin_arr.size(); ++pin) {
        out.chn_arr[pin] = _pin_arr[pin]._buf.get_nbr_chn();
        if (_in_flag) {
            in.chn_arr[pin] = out.chn_arr[pin];
        }
    }
    return Err_OK;
}

int Tape::negotiate_pin_conf(CmdPlug::NegotiatePinConf& cmd) const {
    auto const propose_nothing = [](Dsp::AudioConf&) { return Err_OK; };
    return PinConfTools::negotiate(cmd, propose_nothing, &check_audio_config);
}

int Tape::set_pin_conf(CmdPlug::SetPinConf const& cmd) {
    force_voices_off();
    bool const ok_flag = check_config(cmd.conf);
    auto const& out = cmd.conf.audio.port_arr[kryn::PinDir_OUT];
    if (out.nbr_pins < 0) {
        return Err_INVALID_PIN_CONF;
    }
    TmpMem mem;
    // Stored even when it is refused: the host has to come back with a valid one.
    try {
        _out_conf._chn_vect.assign(out.chn_arr, out.chn_arr + out.nbr_pins);
        _out_conf._port.nbr_pins = out.nbr_pins;
        _out_conf._port.chn_arr = _out_conf._chn_vect.data();
        if (ok_flag) { // all memory comes first: a failure leaves the pins as they were
            auto const& chn_list = _out_conf._chn_vect;
            mem = make_tmp_mem(_block_len, std::accumulate(chn_list.begin(), chn_list.end(), 0L));
        }
    } catch (...) {
        ULK_LOG(ERROR, "set_pin_conf(): exception.");
        return Err_FAILURE;
    }
    if (!ok_flag) {
        return Err_INVALID_PIN_CONF;
    }
    int const ret = update_pins_out();
    if (ret != Err_OK) {
        return ret;
    }
    _in_flag = cmd.conf.audio.port_arr[kryn::PinDir_IN].nbr_pins > 0;
    return update_tmp_buf(mem);
}

int Tape::get_param_val(CmdPlug::GetParamVal& cmd) const {
    int const index = cmd.location.index;
    if (cmd.location.scope != kryn::ParamScope_GLOBAL ||
        (index != Param_VOL && index != Param_PITCH_SHIFT)) {
        return Err_INVALID_PARAM_LOCATION;
    }
    cmd.val = (index == Param_VOL ? _vol : _pitch_shift).get_val();
    return Err_OK;
}

int Tape::conv_param(int cmd, void* data) const {
    return ParamConvTools::execute(
        cmd, data, [this](kryn::ParamLocation const& loc) { return access_param(loc); });
}

bool Tape::check_config(Dsp::FullPinConf const& conf) {
    return conf.nbr_pins_data_in == 0 && conf.nbr_pins_data_out == 0 &&
           check_audio_config(conf.audio);
}

bool Tape::check_audio_config(Dsp::AudioConf const& conf) {
    auto const& in = conf.port_arr[kryn::PinDir_IN];
    auto const& out = conf.port_arr[kryn::PinDir_OUT];
    if (out.nbr_pins < 1 || (in.nbr_pins > 0 && in.nbr_pins != out.nbr_pins)) {
        return false;
    }
    for (long pin = 0; pin < out.nbr_pins; ++pin) {
        long const nbr_chn = out.chn_arr[pin];
        if (nbr_chn < 0 || nbr_chn > _nbr_chn_max ||
            (in.nbr_pins > 0 && in.chn_arr[pin] != nbr_chn)) {
            return false;
        }
    }
    return true;
}

// The list that describes the parameter, null when there is no such parameter.
prout::ParamDescList const* Tape::access_param(kryn::ParamLocation const& location) const {
    prout::ParamDescList const* list = nullptr;
    if (location.scope == kryn::ParamScope_GLOBAL) {
        list = &_param_desc_glob;
    } else if (location.scope == kryn::ParamScope_NOTE) {
        list = &_param_desc_note;
    }
    return list != nullptr && list->is_param_set(location.index) ? list : nullptr;
}

// The new pins replace the old ones once all of them are made. They have no buffers yet.
int Tape::update_pins_out() {
    try {
        std::vector<TapePinInfo> pin_arr;
        std::vector<std::vector<DownsamplerPtr>> dspl_arr;
        pin_arr.reserve(Constants::MAX_NBR_USER_AUDIO_PINS);
        pin_arr.resize(_out_conf._chn_vect.size());
        dspl_arr.resize(pin_arr.size());
        for (std::size_t pin = 0; pin < pin_arr.size(); ++pin) {
            int const nbr_chn = static_cast<int>(_out_conf._chn_vect[pin]);
            pin_arr[pin]._buf.set_nbr_chn(nbr_chn);
            for (int chn = 0; chn < nbr_chn; ++chn) {
                using Wrapper = dsp::Downsampler2xWrapper<halfband::Downsampler2xFpu<8>>;
                dspl_arr[pin].push_back(mem::SharedPtr<Wrapper>::make());
            }
        }
        _pin_arr.swap(pin_arr);
        _dspl_arr.swap(dspl_arr);
        _chn_stride = 0;
    } catch (...) {
        ULK_LOG(ERROR, "update_pins_out(): exception.");
        return Err_FAILURE;
    }
    return Err_OK;
}

// Empty before the host has told a block length. nbr_chn: of all pins.
Tape::TmpMem Tape::make_tmp_mem(long block_len, long nbr_chn) {
    TmpMem mem;
    if (block_len <= 0) {
        return mem;
    }
    if (block_len > block_len_max) {
        throw std::length_error("ulk::ace::baplug::Tape::make_tmp_mem(): Block too long.");
    }
    mem.stride = round_down_to_quad(2 * block_len + 3); // with room for oversampling by 2
    long const chn_max = std::max(nbr_chn, static_cast<long>(TapeSpl::_nbr_chn_max));
    mem.len_arr = {round_down_to_quad(TapeSpl::get_resampler_buf_len() + 3),
                   std::max(mem.stride * chn_max, 4096L), mem.stride * nbr_chn};
    mem.buf.resize(static_cast<std::size_t>(mem.len_arr[0] + mem.len_arr[1] + mem.len_arr[2]));
    return mem;
}

int Tape::update_tmp_buf(TmpMem& mem) {
    if (_block_len <= 0) {
        return Err_OK;
    }
    _tmp_buf.swap(mem.buf);
    _chn_stride = mem.stride;
    float* ptr = _tmp_buf.data();
    for (int type = 0; type < BufType_NBR_ELT; ++type) {
        _tmp_buf_info[type] = {ptr, mem.len_arr[type]};
        ptr += mem.len_arr[type];
    }
    assign_mix_buffers();
    return Err_OK;
}

void Tape::assign_mix_buffers() {
    float* ptr = _tmp_buf_info[BufType_MIX].ptr;
    for (TapePinInfo& pin : _pin_arr) {
        for (int chn = 0; chn < pin._buf.get_nbr_chn(); ++chn) {
            pin._buf.set_chn(chn, ptr);
            ptr += _chn_stride;
        }
    }
}

// fnc_name: what the log calls it. Without opt_flag, -1 is an error.
int Tape::send_cmd_to_host(int cmd, void* data, bool opt_flag, char const* fnc_name, bool rt_flag) {
    auto const execute = _com_ptr->host_execute; // null: a host that takes no command
    int const ret = execute == nullptr ? Err_NOT_IMPLEMENTED : execute(_com_ptr, cmd, data);
    if (ret == Err_NOT_IMPLEMENTED && !opt_flag) {
        dump_unimplemented_func_error(fnc_name, rt_flag);
    } else if (pibase::Tools::not_imp_success(ret) != Err_OK) {
        dump_error(ret, fnc_name, rt_flag);
    }
    return ret;
}

void Tape::dump_error(int ret, char const* fnc_name, bool rt_flag) {
    char const* const format = "%1%(): Returned special code %2% (\"%3%\").";
    if (rt_flag) {
        ULK_LOG_CACHE(ERROR, format, fnc_name, ret, Err_get_text_nn(ret));
    } else {
        ULK_LOG(ERROR, format, fnc_name, ret, Err_get_text_nn(ret));
    }
}

void Tape::dump_unimplemented_func_error(char const* fnc_name, bool rt_flag) {
    char const* const format = "%1%(): Error, function not implemented.";
    if (rt_flag) {
        ULK_LOG_CACHE(ERROR, format, fnc_name);
    } else {
        ULK_LOG(ERROR, format, fnc_name);
    }
}

int Tape::do_get_nbr_pins() const {
    return static_cast<int>(_pin_arr.size());
}

TapePinInfo& Tape::do_use_pin_mix_buffers(int pin_index) {
    return _pin_arr[static_cast<std::size_t>(pin_index)];
}

Tape::BufInfo const& Tape::do_use_tmp_buf(BufType type) const {
    return _tmp_buf_info[type];
}

long Tape::do_get_tmp_buf_chn_stride() const {
    return _chn_stride;
}

int Tape::do_get_sample_info(long long sample_id, long& cache_id, long long& len,
                             double& sample_freq, int& nbr_chn) {
    SampleInfo info = {};
    info.sample_id = sample_id;
    int const ret =
        send_cmd_to_host(CMD_VENDOR_GET_SAMPLE_INFO, &info, false, "do_get_sample_info", true);
    if (ret == Err_OK) {
        cache_id = info.cache_id;
        len = info.len;
        sample_freq = info.sample_freq;
        nbr_chn = info.nbr_chn;
    }
    return ret;
}

// The name in the log is not this function's; readers of logs know it.
sacc::SplCacheRtInterface& Tape::do_use_cache() {
    UseCache info = {};
    char const* const fnc_name = "do_prefetch_sample_data";
    int const ret = send_cmd_to_host(CMD_VENDOR_USE_CACHE, &info, false, fnc_name, true);
    if (ret == Err_OK && info.cache_ptr == nullptr) {
        dump_error(Err_NOT_FOUND, fnc_name, true);
    }
    if (ret != Err_OK || info.cache_ptr == nullptr) {
        throw std::runtime_error(
            "ulk::ace::baplug::Tape::do_use_cache(): Cannot access to sample cache.");
    }
    return *info.cache_ptr;
}

void Tape::force_voices_off() {
    for (TapeSpl& voice : _voice_arr) {
        voice.force_deactivation();
    }
}

} // namespace ulk::ace::baplug
