// The scenarios that load the bundle, make instances and run blocks.

#include "host/check/Scenarios.h"

#include "host/Error.h"
#include "host/check/SampleHost.h"
#include "host/check/Traffic.h"
#include "ulk/ace/Err.h"
#include "ulk/archi/types.h"
#include "ulk/kryn/Chk.h"
#include "ulk/sys/SystemInfo.h"

#include <algorithm>
#include <climits>
#include <cstring>
#include <filesystem>
#include <set>

namespace ulk::host::check {

namespace {

using EntryPoint = archi::Int32(archi::Int32 cmd, void* data);

constexpr int nbr_instances = 1000;

void do_nothing() {}

void check_unknown_entries(Session& session, EntryPoint* entry_point) {
    for (int const cmd : {0, 3, -1, 1000, INT_MAX, INT_MIN}) {
        try {
            int const ret = entry_point(cmd, nullptr);
            if (ret != ace::Err_NOT_IMPLEMENTED) {
                session.findings.add(TestId_ENTRY_UNKNOWN,
                                     "ulk_entry_point returned " + std::to_string(ret) +
                                         " for command " + std::to_string(cmd) + ", and not -1");
            }
        } catch (...) {
            session.findings.add(TestId_EXCEPTIONS, "ulk_entry_point let an exception out");
        }
    }
}

// One INSTANTIATE that cannot succeed. com: may be null.
void check_refusal(Session& session, Bundle& bundle, char const* id, pibase::BidirComPoint* com,
                   int expected) {
    pibase::BidirComPoint const before = com != nullptr ? *com : pibase::BidirComPoint();
    kryn::PluginFactory::CmdFact::Instantiate rec = {id, com};
    int const ret = bundle.send(kryn::PluginFactory::CmdFact::INSTANTIATE, &rec);
    std::string const what = std::string("INSTANTIATE of ") + (id != nullptr ? id : "nothing") +
                             (com != nullptr ? "" : " on no point");
    if (ret != expected) {
        session.findings.add(TestId_FACTORY_REFUSE, what + " returned " + std::to_string(ret) +
                                                        ", and not " + std::to_string(expected));
    }
    if (com != nullptr &&
        (com->plugin_execute != before.plugin_execute || com->plugin_data != before.plugin_data)) {
        session.findings.add(TestId_FACTORY_REFUSE, what + " failed and wrote to the point");
    }
}

void check_leak(Session& session, Bundle& bundle, std::string const& id) {
    constexpr int nbr_cycles = 100;
    auto const cycle = [&] {
        for (int i = 0; i < nbr_cycles; ++i) {
            bundle.instantiate(id)->init();
        }
        return sys::SystemInfo::get_used_heap_len();
    };
    long const before = cycle(); // what is made once is there now
    long const lost = cycle() - before;
    if (lost >= nbr_cycles) {
        session.findings.add(TestId_LEAK, id + ": " + std::to_string(lost / nbr_cycles) +
                                              " bytes are lost with each instance");
    }
}

} // namespace

void Scenarios::run(Scenario scenario, Session& session) {
    using Fnc = void(Session&);
    static constexpr Fnc* fnc_arr[] = {&run_load,    &run_reload,   &run_factory,  &run_instances,
                                       &run_outlive, &run_describe, &run_commands, &run_pins,
                                       &run_params,  &run_life,     &run_process,  &run_samples};
    static_assert(std::size(fnc_arr) == Scenario_NBR_ELT);
    session.guard(static_cast<TestId>(scenario), [&] { fnc_arr[scenario](session); });
}

void Scenarios::run_load(Session& session) {
    session.load();
    auto const path = std::filesystem::absolute(session.bundle_path).string();
    sys::SharedLibrary const library(path);
    auto* const entry_point = library.find<EntryPoint>("ulk_entry_point");
    check_unknown_entries(session, entry_point);
}

void Scenarios::run_reload(Session& session) {
    auto const path = std::filesystem::absolute(session.bundle_path).string();
    for (int i = 0; i < 3; ++i) {
        session.for_each_plugin(TestId_RELOAD, nullptr, [&](Plugin& plugin, Dice& dice) {
            std::function<void()> const between = &do_nothing;
            Traffic(session, plugin, dice, between).run(1, 3);
        });
        if (sys::SharedLibrary::is_loaded(path)) {
            session.findings.add(TestId_RELOAD,
                                 "the library stays in memory when its last object is gone");
        }
    }
}

void Scenarios::run_factory(Session& session) {
    auto const bundle = session.load();
    auto const id_list = bundle->list_plugins();
    std::set<std::string> seen_set;
    for (std::string const& id : id_list) {
        int const ret = kryn::Chk::check_plug_id_str(id.c_str(), '\0');
        if (ret != ace::Err_OK) {
            session.findings.add(TestId_FACTORY,
                                 "\"" + id + "\" is no identifier: " + ace::Err_get_text_nn(ret));
        }
        if (!seen_set.insert(id).second) {
            session.findings.add(TestId_FACTORY, id + " is listed twice");
        }
        bundle->instantiate(id);
    }
    if (id_list.empty()) {
        session.findings.add(TestId_FACTORY, "the factory lists no plug-in");
        return;
    }
    std::string const& id = id_list.front();
    pibase::BidirComPoint com = {};
    check_refusal(session, *bundle, nullptr, &com, ace::Err_INVALID_ARGUMENT);
    check_refusal(session, *bundle, id.c_str(), nullptr, ace::Err_INVALID_ARGUMENT);
    check_refusal(session, *bundle, nullptr, nullptr, ace::Err_INVALID_ARGUMENT);
    for (std::string const& unknown : {std::string(), id + "x", id.substr(0, id.size() - 1)}) {
        if (!seen_set.contains(unknown)) {
            check_refusal(session, *bundle, unknown.c_str(), &com, ace::Err_NOT_FOUND);
        }
    }
}

void Scenarios::run_instances(Session& session) {
    auto const bundle = session.load();
    Dice dice(session.seed);
    for (std::string const& id : bundle->list_plugins()) {
        session.tap.set_subject(id);
        std::vector<std::unique_ptr<Plugin>> list;
        for (int i = 0; i < nbr_instances; ++i) {
            list.push_back(bundle->instantiate(id));
        }
        auto const expected = list.front()->describe();
        while (!list.empty()) {
            if (dice.has_luck(2) && list.back()->describe() != expected) {
                session.findings.add(TestId_INSTANCES, id + ": instances differ");
            }
            std::swap(list[static_cast<std::size_t>(dice.roll(static_cast<long>(list.size())))],
                      list.back());
            list.pop_back();
        }
        check_leak(session, *bundle, id);
    }
}

void Scenarios::run_outlive(Session& session) {
    auto bundle = session.load();
    std::vector<std::unique_ptr<Plugin>> list;
    for (std::string const& id : bundle->list_plugins()) {
        list.push_back(bundle->instantiate(id));
    }
    bundle.reset();
    std::function<void()> const between = &do_nothing;
    Dice dice(session.seed);
    for (auto& plugin : list) {
        session.tap.set_subject(plugin->get_id() + " without its factory");
        Traffic(session, *plugin, dice, between).run(2, 10);
        plugin.reset();
    }
}

void Scenarios::run_life(Session& session) {
    auto const body = [&](Plugin& plugin, Dice& dice) {
        std::function<void()> const between = &do_nothing;
        Traffic(session, plugin, dice, between).run(60, 2);
    };
    session.for_each_plugin(TestId_LIFE, nullptr, body);
    // The shortest lives.
    session.for_each_plugin(TestId_LIFE, nullptr, [](Plugin&, Dice&) {});
    session.for_each_plugin(TestId_LIFE, nullptr, [](Plugin& plugin, Dice&) { plugin.init(); });
    session.for_each_plugin(TestId_LIFE, nullptr, [](Plugin& plugin, Dice&) {
        plugin.set_sample_freq(48000);
        plugin.set_process_block_len(64);
        plugin.set_pin_conf(plugin.get_pin_conf());
        for (int i = 0; i < 3; ++i) {
            plugin.activate();
            plugin.clear_buffers();
            plugin.deactivate();
        }
        plugin.activate(); // and so into the end
    });
}

void Scenarios::run_process(Session& session) {
    session.for_each_plugin(TestId_PROCESS, nullptr, [&](Plugin& plugin, Dice& dice) {
        std::function<void()> const between = &do_nothing;
        Dice again = dice;
        Traffic traffic(session, plugin, dice, between);
        traffic.run(50, 20);
        // Another bundle object is the same library: the two live side by side.
        auto const other_bundle = session.load();
        auto const other = other_bundle->instantiate(plugin.get_id());
        session.tap.set_subject(plugin.get_id());
        Traffic repeat(session, *other, again, between);
        repeat.run(50, 20);
        if (traffic.get_hash() != repeat.get_hash()) {
            session.findings.add(TestId_PROCESS_REPEAT,
                                 plugin.get_id() + ": another instance gives other samples");
        }
    });
}

void Scenarios::run_samples(Session& session) {
    session.tap.set_locks(sys::RealTimeGuard::Locks_UNCONTENDED);
    SampleHost host;
    session.for_each_plugin(TestId_SAMPLES, &host, [&](Plugin& plugin, Dice& dice) {
        // Data that are there, that come late, and that never come.
        std::function<void()> const between = [&] {
            if (dice.has_luck(50)) {
                host.load();
            }
        };
        Traffic(session, plugin, dice, between).run(30, 40);
    });
    if (!host.was_asked()) {
        session.findings.skip("no plug-in asks for samples");
    }
}

} // namespace ulk::host::check
