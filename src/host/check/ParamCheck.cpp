#include "host/check/ParamCheck.h"

#include "host/CommandName.h"
#include "host/PluginError.h"
#include "ulk/ace/Err.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace ulk::host::check {

namespace {

using CmdPlug = kryn::PluginDsp::CmdPlug;

// Values pass through single precision on some ways.
constexpr double tolerance = 1e-5;

bool is_digit(char c) {
    return c >= '0' && c <= '9';
}

} // namespace

void ParamCheck::run() {
    for (Subject::Param const& param : _subject.use_param_list()) {
        check_value(param);
        check_norm(param.location);
        for (int i = 0; i < 50; ++i) {
            double const val = roll_value(param);
            check_text(param, val);
            check_text_room(param, val);
        }
    }
    for (auto const scope : {kryn::ParamScope_GLOBAL, kryn::ParamScope_NOTE}) {
        for (int const index : {-1, 10000, 0x7FFFFFFF, -0x7FFFFFFF}) {
            check_missing({scope, 0, index});
        }
    }
    for (auto const scope : {kryn::ParamScope_1, kryn::ParamScope_4, kryn::ParamScope_6}) {
        check_missing({scope, 0, 0});
    }
}

double ParamCheck::get_slack(Subject::Param const& param) {
    return tolerance * (param.val_max - param.val_min);
}

double ParamCheck::roll_value(Subject::Param const& param) {
    switch (_dice.roll(8)) {
    case 0:
        return param.val_min;
    case 1:
        return param.val_max;
    default:
        return param.val_min + (param.val_max - param.val_min) * _dice.roll_unit();
    }
}

// Of the global scope; a note's values are the note's.
void ParamCheck::check_value(Subject::Param const& param) {
    CmdPlug::GetParamVal rec = {param.location, NAN};
    int const ret = _plugin.send(CmdPlug::GET_PARAM_VAL, &rec);
    if (ret != ace::Err_OK) {
        if (param.location.scope == kryn::ParamScope_GLOBAL) {
            add(TestId_PARAMS, param.location, "GET_PARAM_VAL returned " + std::to_string(ret));
        }
    } else if (!(rec.val >= param.val_min && rec.val <= param.val_max)) {
        add(TestId_PARAMS, param.location,
            "stands at " + std::to_string(rec.val) + ", out of its range");
    }
}

void ParamCheck::check_norm(kryn::ParamLocation const& loc) {
    auto const& param = _subject.use_description().use_param_list().use_param(loc.scope, loc.index);
    bool const discrete_flag = param.get_domain_val() == kryn::PluginDsp::ParamRange_DISCRETE;
    for (int i = 0; i <= 100; ++i) {
        double norm = i <= 10 ? i * 0.1 : _dice.roll_unit();
        double back = norm;
        // A choice comes back as its own place on the scale, and as the same from there.
        for (int turn = 0; turn < (discrete_flag ? 2 : 1); ++turn) {
            norm = back;
            if (!convert_norm(loc, norm, back)) {
                return;
            }
        }
        if (!(std::fabs(back - norm) <= tolerance)) {
            add(TestId_PARAMS_ROUND_TRIP, loc,
                "normalised " + std::to_string(norm) + " comes back as " + std::to_string(back));
            return;
        }
    }
}

// There and back; false when that is not offered, or went wrong.
bool ParamCheck::convert_norm(kryn::ParamLocation const& loc, double norm, double& back) {
    auto const& param = _subject.use_description().use_param_list().use_param(loc.scope, loc.index);
    double const lo = param.get_range_min();
    double const hi = param.get_range_max();
    double const slack = (hi - lo) * tolerance;
    CmdPlug::ConvParamNorm rec = {0, norm, loc};
    int ret = _plugin.send(CmdPlug::CONV_PARAM_NORM_TO_NAT, &rec);
    if (ret == ace::Err_NOT_SUPPORTED || ret == ace::Err_NOT_IMPLEMENTED) {
        return false;
    }
    if (ret != ace::Err_OK || !(rec.val_nat >= lo - slack && rec.val_nat <= hi + slack)) {
        add(TestId_PARAMS, loc,
            "normalised " + std::to_string(norm) + " becomes " + std::to_string(rec.val_nat) +
                " (code " + std::to_string(ret) + "), out of its range");
        return false;
    }
    rec = {std::clamp(rec.val_nat, lo, hi), -1, loc};
    ret = _plugin.send(CmdPlug::CONV_PARAM_NAT_TO_NORM, &rec);
    if (ret != ace::Err_OK) {
        add(TestId_PARAMS, loc,
            "natural " + std::to_string(rec.val_nat) + " gives code " + std::to_string(ret));
        return false;
    }
    back = rec.val_norm;
    return true;
}

// A text may round its value; what was read from a text is to survive as it is.
void ParamCheck::check_text(Subject::Param const& param, double val) {
    double first = 0;
    double second = 0;
    if (read_back(param, val, first) && read_back(param, first, second) &&
        !(std::fabs(first - second) <= get_slack(param))) {
        add(TestId_PARAMS_ROUND_TRIP, param.location,
            "the value " + std::to_string(first) + ", that came from a text, comes back as " +
                std::to_string(second));
    }
}

// To a text and back; false when that is not offered, or went wrong.
bool ParamCheck::read_back(Subject::Param const& param, double val, double& back) {
    std::string txt;
    try {
        txt = _plugin.conv_param_to_str(param.location, val);
    } catch (PluginError const& e) {
        if (e.get_code() != ace::Err_NOT_IMPLEMENTED) {
            add(TestId_PARAMS_TEXT, param.location,
                "value " + std::to_string(val) + " has no text: " + e.what());
        }
        return false;
    }
    CmdPlug::ConvParamFromStr rec = {param.location, NAN, txt.c_str()};
    int const ret = _plugin.send(CmdPlug::CONV_PARAM_FROM_STR, &rec);
    bool const word_flag = std::none_of(txt.begin(), txt.end(), &is_digit);
    if (ret == ace::Err_CANNOT_CONVERT_PARAM_VAL && word_flag) {
        return false;
    }
    double const slack = get_slack(param);
    back = rec.val;
    if (ret != ace::Err_OK || !(back >= param.val_min - slack && back <= param.val_max + slack)) {
        add(TestId_PARAMS_ROUND_TRIP, param.location,
            "its text \"" + txt + "\" is read as " + std::to_string(back) + " (code " +
                std::to_string(ret) + "), out of its range");
        return false;
    }
    back = std::clamp(back, param.val_min, param.val_max);
    return true;
}

void ParamCheck::check_text_room(Subject::Param const& param, double val) {
    for (long const max_len : {0L, 1L, 2L, 3L, 5L, 11L, 12L, 30L}) {
        char txt[32] = {};
        CmdPlug::ConvParamToStr rec = {param.location, val, txt, max_len};
        int const ret = _plugin.send(CmdPlug::CONV_PARAM_TO_STR, &rec);
        if (ret != ace::Err_OK && ret != ace::Err_NO_ROOM && ret != ace::Err_NOT_IMPLEMENTED) {
            add(TestId_PARAMS_TEXT, param.location,
                "CONV_PARAM_TO_STR with room for " + std::to_string(max_len) +
                    " characters returned " + std::to_string(ret));
        }
    }
}

// Where there is no parameter, no command has an answer.
void ParamCheck::check_missing(kryn::ParamLocation const& loc) {
    char txt[65] = "0";
    CmdPlug::GetParamVal get_val = {loc, 0};
    CmdPlug::ConvParamNorm norm = {0, 0, loc};
    CmdPlug::ConvParamToStr to_str = {loc, 0, txt, 64};
    CmdPlug::ConvParamFromStr from_str = {loc, 0, txt};
    struct Call {
        int cmd;
        void* data;
    };
    for (Call const& call :
         {Call{CmdPlug::GET_PARAM_VAL, &get_val}, Call{CmdPlug::CONV_PARAM_NORM_TO_NAT, &norm},
          Call{CmdPlug::CONV_PARAM_NAT_TO_NORM, &norm}, Call{CmdPlug::CONV_PARAM_TO_STR, &to_str},
          Call{CmdPlug::CONV_PARAM_FROM_STR, &from_str}}) {
        if (_plugin.send(call.cmd, call.data) == ace::Err_OK) {
            add(TestId_PARAMS, loc,
                CommandName::find(call.cmd) + " succeeds where there is no parameter");
        }
    }
}

void ParamCheck::add(TestId id, kryn::ParamLocation const& loc, std::string const& txt) {
    _session.findings.add(id, _plugin.get_id() + ": parameter " + std::to_string(loc.index) +
                                  " of scope " + std::to_string(loc.scope) + ": " + txt);
}

} // namespace ulk::host::check
