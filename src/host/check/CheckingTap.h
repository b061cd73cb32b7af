#pragma once

#include "host/CommandTap.h"
#include "host/check/Findings.h"
#include "ulk/kryn/Component.h"
#include "ulk/kryn/PluginDsp.h"
#include "ulk/kryn/PluginFactory.h"
#include "ulk/sys/RealTimeGuard.h"

#include <string>

namespace ulk::host::check {

// Looks at every command and its answer: exceptions, codes, the communication point, what may
// change in the record, the room for results (which it lends with guards round it), rounding, and
// what real-time code must not do.
class CheckingTap : public CommandTap {
public:
    // findings outlives the tap.
    explicit CheckingTap(Findings& findings)
        : _findings(findings) {}

    // Whom the commands go to, for texts.
    void set_subject(std::string const& subject) { _subject = subject; }
    std::string const& get_subject() const { return _subject; }
    // What locks real-time code may take.
    void set_locks(sys::RealTimeGuard::Locks locks) { _locks = locks; }

protected:
    int do_execute(pibase::BidirComPoint& com, int cmd, void* data) override;

private:
    using Dsp = kryn::PluginDsp;
    using CmdPlug = Dsp::CmdPlug;

    void add(TestId id, std::string const& txt);
    int run(pibase::BidirComPoint& com, int cmd, void* data);
    int run_watched(pibase::BidirComPoint& com, int cmd, void* data);
    int run_record(pibase::BidirComPoint& com, int cmd, void* data);
    int run_describe(pibase::BidirComPoint& com, kryn::Component::Cmd::Describe& rec);
    int run_instantiate(pibase::BidirComPoint& com, kryn::PluginFactory::CmdFact::Instantiate& rec);
    int run_pins(pibase::BidirComPoint& com, int cmd, Dsp::FullPinConf& conf, void* data);
    int run_negotiate(pibase::BidirComPoint& com, CmdPlug::NegotiatePinConf& rec);
    int run_to_str(pibase::BidirComPoint& com, CmdPlug::ConvParamToStr& rec);
    // A record of which one field alone may change.
    template <class Rec, class Field>
    int run_answer(pibase::BidirComPoint& com, int cmd, void* data, Field Rec::*answer);
    // A record that may not change.
    template <class Rec>
    int run_constant(pibase::BidirComPoint& com, int cmd, void* data);
    void check_point(pibase::BidirComPoint& com, pibase::BidirComPoint const& before,
                     bool plugin_flag);
    void check_code(int cmd, int ret);

    Findings& _findings;
    sys::RealTimeGuard::Locks _locks = sys::RealTimeGuard::Locks_FORBIDDEN;
    std::string _subject;
    std::string _cmd_name;     // of the present command
    bool _thrown_flag = false; // it threw
};

} // namespace ulk::host::check
