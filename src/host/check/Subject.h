#pragma once

#include "host/Description.h"
#include "host/PinConf.h"
#include "host/Plugin.h"
#include "host/check/Dice.h"

#include <memory>
#include <vector>

namespace ulk::host::check {

// What tests have to know of a plug-in to send it legal traffic.
class Subject {
public:
    // A parameter that events may change.
    struct Param {
        kryn::ParamLocation location; // without a note
        double val_min;               // of the public range
        double val_max;
        bool ramp_flag; // may move along a ramp
    };

    // Asks a fresh instance for its description and for configurations of its pins: those that it
    // has, declares, and accepts out of some at random.
    Subject(Plugin& plugin, Dice& dice);

    bool has_description() const { return _desc != nullptr; }
    Description const& use_description() const { return *_desc; } // when there is one
    std::vector<Param> const& use_param_list() const { return _param_list; }
    std::vector<PinConf> const& use_conf_list() const { return _conf_list; } // never empty

    // A wish for pins as a host might have it.
    static PinConf make_wish(Dice& dice);
    std::vector<PinConf> list_declared_confs() const;

private:
    void read_params();
    void try_conf(Plugin& plugin, PinConf conf);

    std::unique_ptr<Description> _desc;
    std::vector<Param> _param_list;
    std::vector<PinConf> _conf_list;
};

} // namespace ulk::host::check
