#pragma once

#include "host/CommandTap.h"
#include "host/HostInterface.h"
#include "host/PinConf.h"
#include "ulk/kryn/PluginDsp.h"
#include "ulk/pibase/BidirComPoint.h"
#include "ulk/sys/SharedLibrary.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace ulk::host {

// One instance of a plug-in, driven by typed calls. Keeps the order of the commands: INIT, sample
// frequency, block length and pin configuration before ACTIVATE, PROCESS only between ACTIVATE and
// DEACTIVATE. A call out of order and an answer outside the contract throw a ContractError that
// names the guilty side; a command that fails throws a PluginError. All calls are for the control
// side but those marked, and never beside PROCESS unless told.
class Plugin {
public:
    using Dsp = kryn::PluginDsp;

    // Sends INSTANTIATE on a factory's point. host: answers the plug-in's commands, tap: sees those
    // to it; either may be null, and outlives the instance. The library stays loaded as long as the
    // instance lives.
    Plugin(std::shared_ptr<sys::SharedLibrary const> library, pibase::BidirComPoint& factory,
           std::string const& id, HostInterface* host, CommandTap* tap = nullptr);
    ~Plugin();

    Plugin(Plugin const&) = delete;
    Plugin& operator=(Plugin const&) = delete;

    std::string const& get_id() const { return _id; }

    // The description document; empty when the plug-in has none. May run beside PROCESS.
    std::vector<unsigned char> describe();

    void init();
    void set_sample_freq(double sample_freq); // Hz, above 0
    void set_process_block_len(long max_len); // frames, 1 or more
    PinConf get_pin_conf();
    // What the plug-in says of a wish; the configuration may come back changed.
    Dsp::CmdPlug::NegoResult negotiate_pin_conf(PinConf& conf);
    void set_pin_conf(PinConf const& conf);
    void activate();
    void deactivate();
    bool is_active() const { return _active_flag; }

    // One block. real-time, as long as nobody breaks the contract. Outputs that are wanted have
    // state 0 on entry.
    void process(Dsp::CmdPlug::Process& block);
    void clear_buffers(); // real-time

    // Parameters. Values are in the public range of the parameter. May run beside PROCESS.
    double get_param_val(kryn::ParamLocation const& loc);
    double conv_param_nat_to_norm(kryn::ParamLocation const& loc, double val_nat);
    double conv_param_norm_to_nat(kryn::ParamLocation const& loc, double val_norm);
    std::string conv_param_to_str(kryn::ParamLocation const& loc, double val);
    double conv_param_from_str(kryn::ParamLocation const& loc, std::string const& txt);

    // Any command, past the order of commands and the checks: for tools. The result is the code.
    int send(int cmd, void* data) { return CommandTap::execute(_tap, _com, cmd, data); }

private:
    static int execute_host_static(pibase::BidirComPoint* com, int cmd, void* data);

    int send_checked(int cmd, void* data);   // throws on a failure code
    void send_optional(int cmd, void* data); // "not implemented" counts as success
    void check_inactive(char const* what) const;
    void check_block(Dsp::CmdPlug::Process const& block) const;
    void check_states(Dsp::CmdPlug::Process const& block) const;
    std::optional<PinConf> try_get_pin_conf(std::size_t capacity, std::size_t& needed);

    std::shared_ptr<sys::SharedLibrary const> _library;
    std::string _id;
    HostInterface* _host;
    CommandTap* _tap;
    pibase::BidirComPoint _com;
    PinConf _conf;
    long _max_len = 0;
    bool _sample_freq_flag = false;
    bool _conf_flag = false;
    bool _active_flag = false;
};

} // namespace ulk::host
