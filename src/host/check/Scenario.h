#pragma once

namespace ulk::host::check {

// A run of the bundle in a process of its own, on which tests look.
enum Scenario : int {
    Scenario_LOAD = 0,
    Scenario_RELOAD,
    Scenario_FACTORY,
    Scenario_INSTANCES,
    Scenario_OUTLIVE,
    Scenario_DESCRIBE,
    Scenario_COMMANDS,
    Scenario_PINS,
    Scenario_PARAMS,
    Scenario_LIFE,
    Scenario_PROCESS,
    Scenario_SAMPLES,

    Scenario_NBR_ELT
};

} // namespace ulk::host::check
