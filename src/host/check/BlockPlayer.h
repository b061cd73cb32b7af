#pragma once

#include "host/PinConf.h"
#include "host/Plugin.h"
#include "host/check/Dice.h"
#include "host/check/EventMaker.h"
#include "host/check/Findings.h"
#include "host/check/PinArea.h"

#include <cstdint>
#include <string>

namespace ulk::host::check {

// Runs blocks through an active instance, with inputs and states at random, and looks over all
// that a block has left behind.
class BlockPlayer {
public:
    // The instance has this configuration and block length. All outlive the player.
    BlockPlayer(Plugin& plugin, PinConf const& conf, long max_len, Dice& dice, Findings& findings);

    void play(long nbr_spl, EventMaker& events);

    // Of all outputs so far, states and samples.
    std::uint64_t get_hash() const { return _hash; }

private:
    void fill_inputs();
    void fill_outputs();
    bool run(long nbr_spl, kryn::PluginDsp::EventList const& evt_list);
    void check_states();
    void check_pin(PinArea const& area, long pin, char const* dir, long nbr_spl);
    void check_input(long pin);
    void check_output(long pin);
    void check_unwanted(long pin);
    void check_signal(long pin, long chn);
    bool is_cleared(PinArea const& area, long pin) const;
    void add_to_hash(long pin);
    void add(TestId id, std::string const& txt);

    Plugin& _plugin;
    Dice& _dice;
    Findings& _findings;
    PinArea _in;
    PinArea _out;
    long _nbr_spl = 0; // of the present block
    long _block = 0;   // its number
    std::uint64_t _hash = 0xCBF29CE484222325;
};

} // namespace ulk::host::check
