#pragma once

#include "host/check/Scenario.h"
#include "host/check/Session.h"

namespace ulk::host::check {

// What is done to the bundle, by scenario; the findings go to the session's.
class Scenarios {
public:
    // Errors become findings of the scenario's own test.
    static void run(Scenario scenario, Session& session);

private:
    static void run_load(Session& session);
    static void run_reload(Session& session);
    static void run_factory(Session& session);
    static void run_instances(Session& session);
    static void run_outlive(Session& session);
    static void run_describe(Session& session);
    static void run_commands(Session& session);
    static void run_pins(Session& session);
    static void run_params(Session& session);
    static void run_life(Session& session);
    static void run_process(Session& session);
    static void run_samples(Session& session);
};

} // namespace ulk::host::check
