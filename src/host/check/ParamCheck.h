#pragma once

#include "host/check/Session.h"

namespace ulk::host::check {

// Looks over the parameters of an instance.
class ParamCheck {
public:
    // All outlive it.
    ParamCheck(Session& session, Plugin& plugin, Subject const& subject, Dice& dice)
        : _session(session)
        , _plugin(plugin)
        , _subject(subject)
        , _dice(dice) {}

    void run();

private:
    void check_value(Subject::Param const& param);
    void check_norm(kryn::ParamLocation const& loc);
    bool convert_norm(kryn::ParamLocation const& loc, double norm, double& back);
    void check_text(Subject::Param const& param, double val);
    bool read_back(Subject::Param const& param, double val, double& back);
    void check_text_room(Subject::Param const& param, double val);
    void check_missing(kryn::ParamLocation const& loc);
    static double get_slack(Subject::Param const& param);
    double roll_value(Subject::Param const& param);
    void add(TestId id, kryn::ParamLocation const& loc, std::string const& txt);

    Session& _session;
    Plugin& _plugin;
    Subject const& _subject;
    Dice& _dice;
};

} // namespace ulk::host::check
