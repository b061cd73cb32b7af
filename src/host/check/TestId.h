#pragma once

namespace ulk::host::check {

// The tests. Those that bear the name of a scenario come first, in the same order: they also fail
// when the scenario does not come to its end.
enum TestId : int {
    TestId_LOAD = 0,
    TestId_RELOAD,
    TestId_FACTORY,
    TestId_INSTANCES,
    TestId_OUTLIVE,
    TestId_DESCRIBE,
    TestId_COMMANDS,
    TestId_PINS,
    TestId_PARAMS,
    TestId_LIFE,
    TestId_PROCESS,
    TestId_SAMPLES,

    TestId_ENTRY_UNKNOWN,
    TestId_FACTORY_REFUSE,
    TestId_LEAK,
    TestId_DESCRIBE_ROOM,
    TestId_PINS_NEGOTIATE,
    TestId_PINS_ROOM,
    TestId_PARAMS_TEXT,
    TestId_PARAMS_ROUND_TRIP,
    TestId_PROCESS_BOUNDS,
    TestId_PROCESS_INPUTS,
    TestId_PROCESS_UNWANTED,
    TestId_PROCESS_STATES,
    TestId_PROCESS_SIGNAL,
    TestId_PROCESS_REPEAT,
    TestId_REAL_TIME,
    TestId_CODES,
    TestId_EXCEPTIONS,
    TestId_POINT,
    TestId_RECORDS,
    TestId_ROOM,
    TestId_ROUNDING,

    TestId_NBR_ELT
};

} // namespace ulk::host::check
