#pragma once

#include "host/check/Session.h"

#include <cstdint>
#include <functional>

namespace ulk::host::check {

// A life of an instance: set up and changed again and again, with blocks in between.
class Traffic {
public:
    // between: called between blocks. All outlive the traffic.
    Traffic(Session& session, Plugin& plugin, Dice& dice, std::function<void()> const& between);

    // nbr_confs: how many configurations; each plays nbr_blocks blocks.
    void run(long nbr_confs, long nbr_blocks);

    std::uint64_t get_hash() const { return _hash; } // of all outputs

private:
    void play(PinConf const& conf, long nbr_blocks);
    void interlude();

    Session& _session;
    Plugin& _plugin;
    Dice& _dice;
    std::function<void()> const& _between;
    Subject _subject;
    std::uint64_t _hash = 0;
};

} // namespace ulk::host::check
