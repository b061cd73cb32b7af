#include "host/engine/InsertCheck.h"

#include "host/Error.h"
#include "host/ParamTable.h"
#include "host/engine/Engine.h"

#include <algorithm>

namespace ulk::host::engine {

namespace {

using session::Diagnostics;
using session::Session;

template <class F>
void tell_error(Session::Place const& place, Diagnostics& diagnostics, F const& fnc) {
    try {
        fnc();
    } catch (Error const& e) {
        diagnostics.error(place, e.what());
    }
}

void report_insert(Session::Insert const& insert, Session::Track const& track, Bundle& bundle,
                   Diagnostics& diagnostics) {
    tell_error(insert.place, diagnostics, [&] {
        auto const plugin = bundle.instantiate(insert.plugin);
        plugin->init();
        ParamTable const params(*plugin);
        for (Session::ParamPoint const& point : insert.params) {
            tell_error(point.place, diagnostics,
                       [&] { params.read_val(params.find(point.param), point.val); });
        }
        Engine::find_insert_conf(*plugin, track);
    });
}

} // namespace

bool InsertCheck::has_insert(Session const& session) {
    return std::any_of(session.track_arr.begin(), session.track_arr.end(),
                       [](Session::Track const& track) { return !track.inserts.empty(); });
}

void InsertCheck::report(Session const& session, Bundle& bundle, Diagnostics& diagnostics) {
    for (Session::Track const& track : session.track_arr) {
        for (Session::Insert const& insert : track.inserts) {
            report_insert(insert, track, bundle, diagnostics);
        }
    }
}

} // namespace ulk::host::engine
