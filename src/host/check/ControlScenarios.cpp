// The scenarios on the commands of the control side: descriptions, pins, parameters.

#include "host/Error.h"
#include "host/PluginError.h"
#include "host/check/ParamCheck.h"
#include "host/check/Scenarios.h"
#include "ulk/ace/Err.h"

#include <algorithm>
#include <climits>
#include <cmath>

namespace ulk::host::check {

namespace {

using Dsp = kryn::PluginDsp;
using CmdPlug = Dsp::CmdPlug;
using Document = std::vector<unsigned char>;

int describe_in(Plugin& plugin, Document& doc, std::size_t capacity) {
    doc.assign(capacity, 0);
    kryn::Component::Cmd::Describe rec = {doc.data(), static_cast<int>(capacity)};
    return plugin.send(kryn::Component::Cmd::DESCRIBE, &rec);
}

void check_describe_room(Session& session, Plugin& plugin, Document const& expected) {
    Document doc;
    auto const add = [&](std::size_t capacity, int ret) {
        session.findings.add(TestId_DESCRIBE_ROOM,
                             plugin.get_id() + ": DESCRIBE of " + std::to_string(expected.size()) +
                                 " bytes into a room of " + std::to_string(capacity) +
                                 " returned " + std::to_string(ret));
    };
    for (std::size_t const capacity : {expected.size() - 1, expected.size() / 2, std::size_t(0)}) {
        int const ret = describe_in(plugin, doc, capacity);
        if (ret != ace::Err_NO_ROOM) {
            add(capacity, ret);
        }
    }
    int const ret = describe_in(plugin, doc, expected.size());
    if (ret != ace::Err_OK || doc != expected) {
        add(expected.size(), ret);
    }
}

void check_content(Session& session, Plugin& plugin, Document const& doc) {
    Description const desc(std::string(doc.begin(), doc.end()), plugin.get_id());
    auto const add = [&](std::string const& txt) {
        session.findings.add(TestId_DESCRIBE, plugin.get_id() + ": " + txt);
    };
    if (desc.use_unique_id().get_id() != plugin.get_id()) {
        add("calls itself \"" + desc.use_unique_id().get_id() + "\"");
    }
    for (int pos = 0; pos < kryn::ParamScope_NBR_ELT; ++pos) {
        auto const scope = static_cast<kryn::ParamScope>(pos);
        for (int index = 0; index < desc.use_param_list().get_nbr_param(scope); ++index) {
            auto const& param = desc.use_param_list().use_param(scope, index);
            bool const finite_flag =
                std::isfinite(param.get_range_min()) && std::isfinite(param.get_range_max());
            if (!finite_flag || param.get_range_min() > param.get_range_max()) {
                add("the range of parameter \"" + param.get_name() + "\" is none");
            }
        }
    }
    for (int i = 0; i < desc.use_pin_conf_list().get_nbr_conf(); ++i) {
        if (!desc.use_pin_conf_list().use_conf(i).is_valid()) {
            add("pin configuration " + std::to_string(i) + " has a pin without channels");
        }
    }
}

template <class Target>
void check_unknown_commands(Session& session, Target& target, std::string const& name, Dice& dice) {
    static constexpr int cmd_arr[] = {0,      1,      -1,         0x2201,  0x2202,     0x3201,
                                      0x3204, 0x7F7F, 0x10000000, INT_MAX, 0x10000001, INT_MIN};
    for (int i = 0; i < 200; ++i) {
        int const cmd = i < 12 ? cmd_arr[i] : static_cast<int>(dice.roll(0x4000, 0x7FFFFFFF));
        std::string blob(256, static_cast<char>(dice.roll(256)));
        std::string const before = blob;
        int const ret = target.send(cmd, dice.has_luck(80) ? blob.data() : nullptr);
        std::string const what = name + ": unknown command " + std::to_string(cmd);
        if (ret != ace::Err_NOT_IMPLEMENTED) {
            session.findings.add(TestId_COMMANDS, what + " returned " + std::to_string(ret));
        }
        if (blob != before) {
            session.findings.add(TestId_COMMANDS, what + " changed its record");
        }
    }
}

std::string print_pins(std::vector<long> const& pin_list) {
    std::string txt = "(";
    for (long const nbr_chn : pin_list) {
        txt.append(txt.size() > 1 ? " " : "").append(std::to_string(nbr_chn));
    }
    return txt.append(")");
}

std::string print_conf(PinConf const& conf) {
    return "in " + print_pins(conf.in) + " out " + print_pins(conf.out);
}

void check_set_and_get(Session& session, TestId id, Plugin& plugin, PinConf const& conf) {
    try {
        plugin.set_pin_conf(conf);
    } catch (PluginError const& e) {
        session.findings.add(id, std::string(e.what()) + ", after an accepted negotiation of " +
                                     print_conf(conf));
        return;
    }
    PinConf const now = plugin.get_pin_conf();
    if (now != conf) {
        session.findings.add(id, plugin.get_id() + ": set was " + print_conf(conf) +
                                     ", and read is " + print_conf(now));
    }
}

void check_wish(Session& session, Plugin& plugin, PinConf const& wish) {
    auto const add = [&](std::string const& txt) {
        session.findings.add(TestId_PINS_NEGOTIATE,
                             plugin.get_id() + ": " + print_conf(wish) + " " + txt);
    };
    PinConf conf = wish;
    auto const result = plugin.negotiate_pin_conf(conf);
    if (result != CmdPlug::NegoResult_REFUSED) {
        PinConf again = conf;
        if (result == CmdPlug::NegoResult_CHANGED &&
            plugin.negotiate_pin_conf(again) != CmdPlug::NegoResult_OK) {
            add("was changed to " + print_conf(conf) + ", which is not accepted as it stands");
        }
        check_set_and_get(session, TestId_PINS_NEGOTIATE, plugin, conf);
        return;
    }
    try {
        plugin.set_pin_conf(wish);
        add("was refused, and can be set");
    } catch (PluginError const& e) {
        if (e.get_code() != ace::Err_INVALID_PIN_CONF) {
            add("was refused, but SET_PIN_CONF returns " + std::to_string(e.get_code()));
        }
    }
}

// A question for a configuration, with room for an answer.
void check_proposal(Session& session, Plugin& plugin) {
    constexpr long room = 16;
    long in_arr[room + 1] = {};
    long out_arr[room + 1] = {};
    CmdPlug::NegotiatePinConf rec = {};
    rec.conf.audio = {{{room, -1, in_arr}, {room, -1, out_arr}}};
    plugin.send(CmdPlug::NEGOTIATE_PIN_CONF, &rec);
    if (rec.result == CmdPlug::NegoResult_REFUSED) {
        return; // it has no proposal
    }
    long const nbr_in = rec.conf.audio.port_arr[kryn::PinDir_IN].nbr_pins;
    long const nbr_out = rec.conf.audio.port_arr[kryn::PinDir_OUT].nbr_pins;
    if (nbr_in < 0 || nbr_in > room || nbr_out < 0 || nbr_out > room) {
        session.findings.add(TestId_PINS_NEGOTIATE,
                             plugin.get_id() + ": asked for a proposal, it accepts the question");
        return;
    }
    check_set_and_get(session, TestId_PINS_NEGOTIATE, plugin,
                      {{in_arr, in_arr + nbr_in}, {out_arr, out_arr + nbr_out}});
}

int get_pin_conf_in(Plugin& plugin, long capacity_in, long capacity_out, CmdPlug::GetPinConf& rec) {
    std::vector<long> in(static_cast<std::size_t>(capacity_in) + 1);
    std::vector<long> out(static_cast<std::size_t>(capacity_out) + 1);
    rec = {};
    rec.conf.audio.port_arr[kryn::PinDir_IN] = {capacity_in, 0, in.data()};
    rec.conf.audio.port_arr[kryn::PinDir_OUT] = {capacity_out, 0, out.data()};
    int const ret = plugin.send(CmdPlug::GET_PIN_CONF, &rec);
    rec.conf.audio.port_arr[kryn::PinDir_IN].chn_arr = nullptr;
    rec.conf.audio.port_arr[kryn::PinDir_OUT].chn_arr = nullptr;
    return ret;
}

void check_pins_room(Session& session, Plugin& plugin) {
    PinConf const conf = plugin.get_pin_conf();
    auto const add = [&](char const* what, int ret) {
        session.findings.add(TestId_PINS_ROOM, plugin.get_id() + ": GET_PIN_CONF of " +
                                                   print_conf(conf) + " with " + what +
                                                   " room returned " + std::to_string(ret));
    };
    CmdPlug::GetPinConf rec;
    int const none = get_pin_conf_in(plugin, 0, 0, rec);
    bool const pins_flag = !conf.in.empty() || !conf.out.empty();
    if (none != (pins_flag ? ace::Err_NO_ROOM : ace::Err_OK)) {
        add("no", none);
    }
    long const nbr_in = static_cast<long>(conf.in.size());
    long const nbr_out = static_cast<long>(conf.out.size());
    int const enough = get_pin_conf_in(plugin, nbr_in, nbr_out, rec);
    if (enough != ace::Err_OK) {
        add("just enough", enough);
    }
}

} // namespace

void Scenarios::run_describe(Session& session) {
    session.for_each_plugin(TestId_DESCRIBE, nullptr, [&](Plugin& plugin, Dice& dice) {
        Document const doc = plugin.describe();
        if (doc.empty()) {
            return; // it has none
        }
        check_content(session, plugin, doc);
        check_describe_room(session, plugin, doc);
        plugin.init();
        Subject const subject(plugin, dice);
        plugin.set_pin_conf(dice.pick(subject.use_conf_list()));
        if (plugin.describe() != doc) {
            session.findings.add(TestId_DESCRIBE,
                                 plugin.get_id() + ": describes itself in another way later");
        }
    });
}

void Scenarios::run_commands(Session& session) {
    session.for_each_plugin(TestId_COMMANDS, nullptr, [&](Plugin& plugin, Dice& dice) {
        check_unknown_commands(session, plugin, plugin.get_id(), dice);
        plugin.init();
        plugin.set_sample_freq(44100);
        plugin.set_process_block_len(64);
        plugin.set_pin_conf(plugin.get_pin_conf());
        plugin.activate();
        check_unknown_commands(session, plugin, plugin.get_id(), dice);
    });
    auto const bundle = session.load();
    Dice dice(session.seed);
    check_unknown_commands(session, *bundle, "the factory", dice);
}

void Scenarios::run_pins(Session& session) {
    session.for_each_plugin(TestId_PINS, nullptr, [&](Plugin& plugin, Dice& dice) {
        Subject const subject(plugin, dice);
        for (PinConf const& conf : subject.list_declared_confs()) {
            PinConf asked = conf;
            if (plugin.negotiate_pin_conf(asked) != CmdPlug::NegoResult_OK) {
                session.findings.add(TestId_PINS, plugin.get_id() + ": " + print_conf(conf) +
                                                      " is declared and not accepted");
                continue;
            }
            check_set_and_get(session, TestId_PINS, plugin, conf);
            check_pins_room(session, plugin);
        }
        check_proposal(session, plugin);
        for (int i = 0; i < 300; ++i) {
            check_wish(session, plugin, Subject::make_wish(dice));
        }
    });
}

void Scenarios::run_params(Session& session) {
    session.for_each_plugin(TestId_PARAMS, nullptr, [&](Plugin& plugin, Dice& dice) {
        Subject const subject(plugin, dice);
        plugin.init();
        plugin.clear_buffers();
        ParamCheck(session, plugin, subject, dice).run();
    });
}

} // namespace ulk::host::check
