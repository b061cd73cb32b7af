#pragma once

#include "host/check/Scenario.h"
#include "host/check/TestId.h"

#include <string>

namespace ulk::host::check {

// What is known of a test before it runs.
struct Test {
    char const* name;
    char const* sentence;
    unsigned scenario_mask; // the scenarios on which it looks, a bit each

    bool looks_at(Scenario scenario) const { return (scenario_mask >> scenario & 1) != 0; }

    static Test const& use(TestId id);
    // Throws an Error with the names of all tests when there is none of this one.
    static TestId find(std::string const& name);
};

} // namespace ulk::host::check
