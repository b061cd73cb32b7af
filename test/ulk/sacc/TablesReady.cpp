// The routine tables tell the log when they are set up, once in a program. These suites look at
// log lines, and each test may run in a program of its own: the tables come first.

#include "ulk/dsp/BasicMixing.h"

#include <gtest/gtest.h>

namespace {

class TablesReady : public ::testing::Environment {
public:
    void SetUp() override { ulk::dsp::BasicMixing::setup(); }
};

[[maybe_unused]] auto* const tables_ready = ::testing::AddGlobalTestEnvironment(new TablesReady);

} // namespace
