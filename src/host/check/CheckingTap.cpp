#include "host/check/CheckingTap.h"

#include "host/CommandName.h"
#include "host/check/GuardedArray.h"
#include "ulk/ace/Err.h"
#include "ulk/sys/ChildProcess.h"

#include <algorithm>
#include <cfenv>
#include <cstring>
#include <optional>

namespace ulk::host::check {

namespace {

using sys::RealTimeGuard;

bool is_real_time(int cmd) {
    return cmd == kryn::PluginDsp::CmdPlug::PROCESS ||
           cmd == kryn::PluginDsp::CmdPlug::CLEAR_BUFFERS;
}

// The array of a pin configuration, replaced by one with guards as long as it lives.
class PortArea {
public:
    explicit PortArea(kryn::PluginDsp::AudioConfPort& port)
        : _port(port)
        , _before(port) {
        if (port.chn_arr != nullptr) {
            _area.emplace(port.nbr_pins_max);
            std::copy_n(port.chn_arr, get_nbr_used(port.nbr_pins), _area->data());
            port.chn_arr = _area->data();
            _copy.assign(reinterpret_cast<char*>(_area->data()),
                         sizeof(long) * static_cast<std::size_t>(_area->get_len()));
        }
    }

    bool is_question() const { return _before.nbr_pins < 0; } // a negotiation without a wish
    bool is_intact() const { return !_area || _area->is_intact(); }
    bool is_frame_same() const { // all but the answer
        return _port.nbr_pins_max == _before.nbr_pins_max &&
               _port.chn_arr == (_area ? _area->data() : nullptr);
    }
    bool is_same() const {
        return is_frame_same() && _port.nbr_pins == _before.nbr_pins &&
               (!_area || std::memcmp(_copy.data(), _area->data(), _copy.size()) == 0);
    }
    // Puts the caller's array back, with what was written to the other.
    void give_back() {
        if (_area) {
            std::copy_n(_area->data(), get_nbr_used(_port.nbr_pins), _before.chn_arr);
        }
        _port.chn_arr = _before.chn_arr;
        _port.nbr_pins_max = _before.nbr_pins_max;
    }

private:
    long get_nbr_used(long nbr_pins) const {
        return std::clamp(nbr_pins, 0L, std::max(_before.nbr_pins_max, 0L));
    }

    kryn::PluginDsp::AudioConfPort& _port;
    kryn::PluginDsp::AudioConfPort _before;
    std::optional<GuardedArray<long>> _area;
    std::string _copy; // the area's bytes at the start
};

} // namespace

void CheckingTap::add(TestId id, std::string const& txt) {
    _findings.add(id, _subject + ": " + _cmd_name + " " + txt);
}

int CheckingTap::do_execute(pibase::BidirComPoint& com, int cmd, void* data) {
    _cmd_name = CommandName::find(cmd);
    sys::ChildProcess::set_note((_cmd_name + " to " + _subject).c_str());
    pibase::BidirComPoint const before = com;
    int const ret = run_record(com, cmd, data);
    check_point(com, before, cmd == kryn::Component::Cmd::DESTROY);
    if (!_thrown_flag) {
        check_code(cmd, ret);
    }
    return ret;
}

int CheckingTap::run(pibase::BidirComPoint& com, int cmd, void* data) {
    int const rounding = std::fegetround();
    int ret = ace::Err_EXCEPTION;
    _thrown_flag = false;
    try {
        ret = is_real_time(cmd) ? run_watched(com, cmd, data) : com.plugin_execute(&com, cmd, data);
    } catch (...) {
        _thrown_flag = true;
        add(TestId_EXCEPTIONS, "let an exception out");
    }
    if (std::fegetround() != rounding) {
        add(TestId_ROUNDING, "changed the rounding of floating-point numbers");
        std::fesetround(rounding);
    }
    return ret;
}

int CheckingTap::run_watched(pibase::BidirComPoint& com, int cmd, void* data) {
    RealTimeGuard guard(_locks);
    int ret = 0;
    try {
        ret = com.plugin_execute(&com, cmd, data);
    } catch (...) {
        guard.stop(); // a throw allocates, and is told as such
        throw;
    }
    std::string const txt = guard.stop();
    if (!txt.empty()) {
        add(TestId_REAL_TIME, "did: " + txt + "\n" + RealTimeGuard::get_stack());
    }
    return ret;
}

int CheckingTap::run_record(pibase::BidirComPoint& com, int cmd, void* data) {
    if (data == nullptr) {
        return run(com, cmd, data);
    }
    switch (cmd) {
    case kryn::Component::Cmd::DESCRIBE:
        return run_describe(com, *static_cast<kryn::Component::Cmd::Describe*>(data));
    case kryn::PluginFactory::CmdFact::INSTANTIATE:
        return run_instantiate(com, *static_cast<kryn::PluginFactory::CmdFact::Instantiate*>(data));
    case CmdPlug::SET_PROCESS_BLOCK_LEN:
        return run_constant<CmdPlug::SetProcessBlockLen>(com, cmd, data);
    case CmdPlug::SET_SAMPLE_FREQ:
        return run_constant<CmdPlug::SetSampleFreq>(com, cmd, data);
    case CmdPlug::GET_PIN_CONF:
    case CmdPlug::SET_PIN_CONF:
        return run_pins(com, cmd, static_cast<CmdPlug::SetPinConf*>(data)->conf, data);
    case CmdPlug::NEGOTIATE_PIN_CONF:
        return run_negotiate(com, *static_cast<CmdPlug::NegotiatePinConf*>(data));
    case CmdPlug::PROCESS:
        return run_constant<CmdPlug::Process>(com, cmd, data);
    case CmdPlug::GET_PARAM_VAL:
        return run_answer(com, cmd, data, &CmdPlug::GetParamVal::val);
    case CmdPlug::CONV_PARAM_NAT_TO_NORM:
        return run_answer(com, cmd, data, &CmdPlug::ConvParamNorm::val_norm);
    case CmdPlug::CONV_PARAM_NORM_TO_NAT:
        return run_answer(com, cmd, data, &CmdPlug::ConvParamNorm::val_nat);
    case CmdPlug::CONV_PARAM_TO_STR:
        return run_to_str(com, *static_cast<CmdPlug::ConvParamToStr*>(data));
    case CmdPlug::CONV_PARAM_FROM_STR:
        return run_answer(com, cmd, data, &CmdPlug::ConvParamFromStr::val);
    default:
        return run(com, cmd, data);
    }
}

int CheckingTap::run_describe(pibase::BidirComPoint& com, kryn::Component::Cmd::Describe& rec) {
    GuardedArray<unsigned char> area(rec.len);
    kryn::Component::Cmd::Describe copy = {area.data(), rec.len};
    int const ret = run(com, kryn::Component::Cmd::DESCRIBE, &copy);
    if (!area.is_intact()) {
        add(TestId_ROOM, "wrote beyond a room of " + std::to_string(rec.len) + " bytes");
    }
    if (copy.data != area.data()) {
        add(TestId_RECORDS, "changed the address of the room");
    }
    if (ret == ace::Err_OK) {
        std::copy_n(area.data(), std::clamp(copy.len, 0, rec.len), rec.data);
        rec.len = copy.len;
    } else if (copy.len != rec.len || !area.is_untouched()) {
        add(TestId_DESCRIBE_ROOM, "failed (" + std::to_string(ret) + ") and wrote all the same");
    }
    return ret;
}

int CheckingTap::run_instantiate(pibase::BidirComPoint& com,
                                 kryn::PluginFactory::CmdFact::Instantiate& rec) {
    int const cmd = kryn::PluginFactory::CmdFact::INSTANTIATE;
    if (rec.com_point == nullptr) {
        return run_constant<kryn::PluginFactory::CmdFact::Instantiate>(com, cmd, &rec);
    }
    pibase::BidirComPoint const before = *rec.com_point;
    int const ret = run_constant<kryn::PluginFactory::CmdFact::Instantiate>(com, cmd, &rec);
    check_point(*rec.com_point, before, true);
    return ret;
}

int CheckingTap::run_pins(pibase::BidirComPoint& com, int cmd, Dsp::FullPinConf& conf, void* data) {
    long const data_in = conf.nbr_pins_data_in;
    long const data_out = conf.nbr_pins_data_out;
    PortArea port_arr[] = {PortArea(conf.audio.port_arr[0]), PortArea(conf.audio.port_arr[1])};
    int const ret = run(com, cmd, data);
    bool same_flag = conf.nbr_pins_data_in == data_in && conf.nbr_pins_data_out == data_out;
    for (PortArea& port : port_arr) {
        same_flag = same_flag && port.is_same();
        if (!port.is_intact()) {
            add(TestId_ROOM, "wrote beyond the room for pins");
        }
        if (!port.is_frame_same()) {
            add(TestId_RECORDS, "changed the address or the size of the room for pins");
        }
        port.give_back();
    }
    if (cmd == CmdPlug::SET_PIN_CONF && !same_flag) {
        add(TestId_RECORDS, "changed the configuration that it was to take");
    }
    bool const question_flag = port_arr[0].is_question() && port_arr[1].is_question();
    if (cmd == CmdPlug::NEGOTIATE_PIN_CONF && !same_flag && !question_flag &&
        static_cast<CmdPlug::NegotiatePinConf*>(data)->result == CmdPlug::NegoResult_OK) {
        add(TestId_PINS_NEGOTIATE, "changed the configuration, and says that it did not");
    }
    return ret;
}

int CheckingTap::run_negotiate(pibase::BidirComPoint& com, CmdPlug::NegotiatePinConf& rec) {
    return run_pins(com, CmdPlug::NEGOTIATE_PIN_CONF, rec.conf, &rec);
}

int CheckingTap::run_to_str(pibase::BidirComPoint& com, CmdPlug::ConvParamToStr& rec) {
    GuardedArray<char> area(rec.max_len + 1);
    CmdPlug::ConvParamToStr copy = rec;
    copy.txt = area.data();
    int const ret = run_constant<CmdPlug::ConvParamToStr>(com, CmdPlug::CONV_PARAM_TO_STR, &copy);
    bool const end_flag =
        std::find(area.data(), area.data() + area.get_len(), '\0') != area.data() + area.get_len();
    if (!area.is_intact() || (ret == ace::Err_OK && !end_flag)) {
        add(TestId_ROOM,
            "wrote more than the room of " + std::to_string(rec.max_len) + " characters");
    }
    if (ret == ace::Err_OK) {
        std::copy_n(area.data(), area.get_len(), rec.txt);
        rec.txt[rec.max_len] = '\0';
    }
    return ret;
}

template <class Rec, class Field>
int CheckingTap::run_answer(pibase::BidirComPoint& com, int cmd, void* data, Field Rec::*answer) {
    Rec before;
    std::memcpy(&before, data, sizeof(Rec));
    int const ret = run(com, cmd, data);
    Rec after;
    std::memcpy(&after, data, sizeof(Rec));
    after.*answer = before.*answer;
    if (std::memcmp(&before, &after, sizeof(Rec)) != 0) {
        add(TestId_RECORDS, "changed more of its record than the answer");
    }
    return ret;
}

template <class Rec>
int CheckingTap::run_constant(pibase::BidirComPoint& com, int cmd, void* data) {
    Rec before;
    std::memcpy(&before, data, sizeof(Rec));
    int const ret = run(com, cmd, data);
    if (std::memcmp(&before, data, sizeof(Rec)) != 0) {
        add(TestId_RECORDS, "changed its record");
        std::memcpy(data, &before, sizeof(Rec));
    }
    return ret;
}

// plugin_flag: the plug-in's words may change. Puts back what may not.
void CheckingTap::check_point(pibase::BidirComPoint& com, pibase::BidirComPoint const& before,
                              bool plugin_flag) {
    if (com.host_execute != before.host_execute || com.host_data != before.host_data) {
        add(TestId_POINT, "changed the host's words of the communication point");
        com.host_execute = before.host_execute;
        com.host_data = before.host_data;
    }
    if (!plugin_flag &&
        (com.plugin_execute != before.plugin_execute || com.plugin_data != before.plugin_data)) {
        add(TestId_POINT, "changed the plug-in's words of the communication point");
        com.plugin_execute = before.plugin_execute;
        com.plugin_data = before.plugin_data;
    }
}

void CheckingTap::check_code(int cmd, int ret) {
    if (ret != ace::Err_OK && ace::Err_get_text(ret) == nullptr) {
        add(TestId_CODES, "returned " + std::to_string(ret) + ", which is no code of the protocol");
    }
    bool const must_flag = cmd == CmdPlug::PROCESS || cmd == kryn::Component::Cmd::DESTROY;
    if (must_flag && ret != ace::Err_OK) {
        add(TestId_CODES, "returned " + std::to_string(ret) + " and not 0");
    }
}

} // namespace ulk::host::check
