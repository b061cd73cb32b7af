#include "host/Plugin.h"

#include "host/CommandName.h"
#include "host/ContractError.h"
#include "host/DescribeCommand.h"
#include "host/PluginError.h"
#include "ulk/ace/Err.h"
#include "ulk/kryn/Chk.h"
#include "ulk/kryn/Component.h"
#include "ulk/kryn/Plugin.h"
#include "ulk/kryn/PluginFactory.h"
#include "ulk/pibase/Tools.h"

#include <algorithm>
#include <cmath>

namespace ulk::host {

namespace {

using CmdPlug = kryn::PluginDsp::CmdPlug;

[[noreturn]] void blame_host(std::string const& id, std::string const& text) {
    throw ContractError(ContractError::Side_HOST, id + ": " + text);
}

[[noreturn]] void blame_plugin(std::string const& id, std::string const& text) {
    throw ContractError(ContractError::Side_PLUGIN, id + ": " + text);
}

// Both sides of a configuration as the record of the protocol. in and out are the storage.
kryn::PluginDsp::FullPinConf make_record(std::vector<long>& in, std::vector<long>& out) {
    kryn::PluginDsp::FullPinConf rec = {};
    std::vector<long>* const side_arr[kryn::PinDir_NBR_ELT] = {&in, &out};
    for (int dir = 0; dir < kryn::PinDir_NBR_ELT; ++dir) {
        long const size = static_cast<long>(side_arr[dir]->size());
        // Some plug-ins write the first entry of a proposal whatever the capacity.
        side_arr[dir]->resize(static_cast<std::size_t>(size) + 1);
        rec.audio.port_arr[dir] = {size, size, side_arr[dir]->data()};
    }
    return rec;
}

} // namespace

Plugin::Plugin(std::shared_ptr<sys::SharedLibrary const> library, pibase::BidirComPoint& factory,
               std::string const& id, HostInterface* host, CommandTap* tap)
    : _library(std::move(library))
    , _id(id)
    , _host(host)
    , _tap(tap)
    , _com{&execute_host_static, nullptr, this, nullptr} {
    kryn::PluginFactory::CmdFact::Instantiate rec = {_id.c_str(), &_com};
    int const cmd = kryn::PluginFactory::CmdFact::INSTANTIATE;
    int const ret = CommandTap::execute(_tap, factory, cmd, &rec);
    if (ret != ace::Err_OK) {
        throw PluginError(_id, CommandName::find(cmd), ret);
    }
    if (_com.plugin_execute == nullptr || _com.plugin_data == nullptr) {
        blame_plugin(_id, "INSTANTIATE succeeded without filling in the communication point");
    }
    if (_com.host_data != this || _com.host_execute != &execute_host_static) {
        blame_plugin(_id, "INSTANTIATE changed the host's words of the communication point");
    }
}

Plugin::~Plugin() {
    if (_active_flag) {
        send(CmdPlug::DEACTIVATE, nullptr);
    }
    send(kryn::Component::Cmd::DESTROY, nullptr);
}

int Plugin::execute_host_static(pibase::BidirComPoint* com, int cmd, void* data) {
    Plugin const& self = *static_cast<Plugin const*>(com->host_data);
    return self._host != nullptr ? self._host->execute(cmd, data) : ace::Err_NOT_IMPLEMENTED;
}

int Plugin::send_checked(int cmd, void* data) {
    int const ret = send(cmd, data);
    if (ret != ace::Err_OK) {
        throw PluginError(_id, CommandName::find(cmd), ret);
    }
    return ret;
}

void Plugin::send_optional(int cmd, void* data) {
    int const ret = pibase::Tools::not_imp_success(send(cmd, data));
    if (ret != ace::Err_OK) {
        throw PluginError(_id, CommandName::find(cmd), ret);
    }
}

void Plugin::check_inactive(char const* what) const {
    if (_active_flag) {
        blame_host(_id, std::string(what) + " while active");
    }
}

std::vector<unsigned char> Plugin::describe() {
    return DescribeCommand::run(_com, _id, _tap);
}

void Plugin::init() {
    check_inactive("INIT");
    send_optional(kryn::Plugin::CmdPlug::INIT, nullptr);
}

void Plugin::set_sample_freq(double sample_freq) {
    check_inactive("SET_SAMPLE_FREQ");
    if (!(sample_freq > 0) || !std::isfinite(sample_freq)) {
        blame_host(_id, "SET_SAMPLE_FREQ with " + std::to_string(sample_freq) + " Hz");
    }
    CmdPlug::SetSampleFreq rec = {sample_freq};
    send_optional(CmdPlug::SET_SAMPLE_FREQ, &rec);
    _sample_freq_flag = true;
}

void Plugin::set_process_block_len(long max_len) {
    check_inactive("SET_PROCESS_BLOCK_LEN");
    if (max_len < 1) {
        blame_host(_id, "SET_PROCESS_BLOCK_LEN with " + std::to_string(max_len) + " frames");
    }
    CmdPlug::SetProcessBlockLen rec = {0, max_len};
    send_optional(CmdPlug::SET_PROCESS_BLOCK_LEN, &rec);
    _max_len = max_len;
}

// One question with a given capacity; needed: the larger pin count that the plug-in told.
std::optional<PinConf> Plugin::try_get_pin_conf(std::size_t capacity, std::size_t& needed) {
    PinConf conf{std::vector<long>(capacity), std::vector<long>(capacity)};
    CmdPlug::GetPinConf rec = {make_record(conf.in, conf.out)};
    int const ret = send(CmdPlug::GET_PIN_CONF, &rec);
    if (ret != ace::Err_OK && ret != ace::Err_NO_ROOM) {
        throw PluginError(_id, "GET_PIN_CONF", ret);
    }
    auto const& port_arr = rec.conf.audio.port_arr;
    long const count_in = port_arr[kryn::PinDir_IN].nbr_pins;
    long const count_out = port_arr[kryn::PinDir_OUT].nbr_pins;
    if (count_in < 0 || count_out < 0) {
        blame_plugin(_id, "GET_PIN_CONF returned a negative pin count");
    }
    needed = static_cast<std::size_t>(std::max(count_in, count_out));
    if (ret == ace::Err_NO_ROOM) {
        return std::nullopt;
    }
    if (needed > capacity) {
        blame_plugin(_id, "GET_PIN_CONF succeeded beyond the capacity");
    }
    conf.in.resize(static_cast<std::size_t>(count_in));
    conf.out.resize(static_cast<std::size_t>(count_out));
    return conf;
}

PinConf Plugin::get_pin_conf() {
    constexpr std::size_t max_capacity = 1 << 16;
    std::size_t needed = 0;
    for (std::size_t capacity = 16; capacity <= max_capacity;) {
        if (auto conf = try_get_pin_conf(capacity, needed)) {
            return *conf;
        }
        capacity = std::max(capacity * 2, needed);
    }
    blame_plugin(_id, "GET_PIN_CONF finds no room in any capacity");
}

CmdPlug::NegoResult Plugin::negotiate_pin_conf(PinConf& conf) {
    CmdPlug::NegotiatePinConf rec = {make_record(conf.in, conf.out), -1};
    int const ret = send(CmdPlug::NEGOTIATE_PIN_CONF, &rec);
    auto const& port_arr = rec.conf.audio.port_arr;
    if (rec.result < CmdPlug::NegoResult_OK || rec.result > CmdPlug::NegoResult_REFUSED) {
        blame_plugin(_id, "NEGOTIATE_PIN_CONF wrote no result");
    }
    if (rec.result != CmdPlug::NegoResult_REFUSED &&
        !kryn::Chk::check_audio_conf_nego_after(rec.conf.audio)) {
        blame_plugin(_id, "NEGOTIATE_PIN_CONF accepted an impossible configuration");
    }
    conf.in.resize(static_cast<std::size_t>(std::max(port_arr[kryn::PinDir_IN].nbr_pins, 0L)));
    conf.out.resize(static_cast<std::size_t>(std::max(port_arr[kryn::PinDir_OUT].nbr_pins, 0L)));
    if (ret != ace::Err_OK) {
        throw PluginError(_id, "NEGOTIATE_PIN_CONF", ret);
    }
    return static_cast<CmdPlug::NegoResult>(rec.result);
}

void Plugin::set_pin_conf(PinConf const& conf) {
    check_inactive("SET_PIN_CONF");
    PinConf storage = conf;
    CmdPlug::SetPinConf rec = {make_record(storage.in, storage.out)};
    if (!kryn::Chk::check_audio_conf_to_be_set(rec.conf.audio)) {
        blame_host(_id, "SET_PIN_CONF with a pin of no channel");
    }
    send_checked(CmdPlug::SET_PIN_CONF, &rec);
    _conf = conf;
    _conf_flag = true;
}

void Plugin::activate() {
    check_inactive("ACTIVATE");
    if (!_sample_freq_flag || _max_len == 0 || !_conf_flag) {
        blame_host(_id, "ACTIVATE before SET_SAMPLE_FREQ, SET_PROCESS_BLOCK_LEN and SET_PIN_CONF");
    }
    send_optional(CmdPlug::ACTIVATE, nullptr);
    _active_flag = true;
}

void Plugin::deactivate() {
    if (!_active_flag) {
        blame_host(_id, "DEACTIVATE while not active");
    }
    _active_flag = false;
    send_optional(CmdPlug::DEACTIVATE, nullptr);
}

void Plugin::process(Dsp::CmdPlug::Process& block) {
    check_block(block);
    int const ret = send(CmdPlug::PROCESS, &block);
    if (ret != ace::Err_OK) {
        blame_plugin(_id, "PROCESS returned " + std::to_string(ret));
    }
    check_states(block);
}

void Plugin::check_block(Dsp::CmdPlug::Process const& block) const {
    if (!_active_flag) {
        blame_host(_id, "PROCESS while not active");
    }
    if (block.nbr_spl < 0 || block.nbr_spl > _max_len) {
        blame_host(_id, "PROCESS of " + std::to_string(block.nbr_spl) + " frames, announced were " +
                            std::to_string(_max_len));
    }
    if ((!_conf.in.empty() && block.port_in.pin_arr == nullptr) ||
        (!_conf.out.empty() && block.port_out.pin_arr == nullptr)) {
        blame_host(_id, "PROCESS without pins");
    }
    auto const& list = block.evt_list;
    if (!list.check_events()) {
        blame_host(_id, "PROCESS with a null event");
    }
    for (long i = 1; i < list.nbr_evt; ++i) {
        if (list.evt_arr[i]->timestamp < list.evt_arr[i - 1]->timestamp) {
            blame_host(_id, "PROCESS with events out of order");
        }
    }
}

void Plugin::check_states(Dsp::CmdPlug::Process const& block) const {
    for (std::size_t pin = 0; pin < _conf.out.size(); ++pin) {
        long const state = block.port_out.pin_arr[pin].state;
        if (state < Dsp::State_SIGNAL || state > Dsp::State_DIRTY) {
            blame_plugin(_id, "PROCESS left output pin " + std::to_string(pin) + " in state " +
                                  std::to_string(state));
        }
    }
}

void Plugin::clear_buffers() {
    send_optional(CmdPlug::CLEAR_BUFFERS, nullptr);
}

double Plugin::get_param_val(kryn::ParamLocation const& loc) {
    CmdPlug::GetParamVal rec = {loc, 0};
    send_checked(CmdPlug::GET_PARAM_VAL, &rec);
    return rec.val;
}

double Plugin::conv_param_nat_to_norm(kryn::ParamLocation const& loc, double val_nat) {
    CmdPlug::ConvParamNorm rec = {val_nat, 0, loc};
    send_checked(CmdPlug::CONV_PARAM_NAT_TO_NORM, &rec);
    return rec.val_norm;
}

double Plugin::conv_param_norm_to_nat(kryn::ParamLocation const& loc, double val_norm) {
    CmdPlug::ConvParamNorm rec = {0, val_norm, loc};
    send_checked(CmdPlug::CONV_PARAM_NORM_TO_NAT, &rec);
    return rec.val_nat;
}

std::string Plugin::conv_param_to_str(kryn::ParamLocation const& loc, double val) {
    char txt[256] = {};
    CmdPlug::ConvParamToStr rec = {loc, val, txt, sizeof(txt) - 1};
    send_checked(CmdPlug::CONV_PARAM_TO_STR, &rec);
    if (txt[sizeof(txt) - 1] != '\0') {
        blame_plugin(_id, "CONV_PARAM_TO_STR wrote beyond the buffer");
    }
    return txt;
}

double Plugin::conv_param_from_str(kryn::ParamLocation const& loc, std::string const& txt) {
    CmdPlug::ConvParamFromStr rec = {loc, 0, txt.c_str()};
    send_checked(CmdPlug::CONV_PARAM_FROM_STR, &rec);
    return rec.val;
}

} // namespace ulk::host
