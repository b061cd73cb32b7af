// The subcommand check: the bundle of this build passes, and each faulty one fails where it should.

#include "support/RealTimeGuard.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <array>
#include <cstdio>
#include <regex>
#include <set>
#include <string>
#include <sys/wait.h>

namespace {

using Json = nlohmann::json;

struct Outcome {
    int code;
    std::string out;
};

// args go through the shell, so that redirections can stand in them.
Outcome run_check(std::string const& args) {
    FILE* const pipe = ::popen(("exec " BUILD_DIR "/tessitone check " + args).c_str(), "r");
    std::string out;
    std::array<char, 4096> buf;
    for (std::size_t n; (n = std::fread(buf.data(), 1, buf.size(), pipe)) > 0;) {
        out.append(buf.data(), n);
    }
    int const status = ::pclose(pipe);
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, out};
}

std::set<std::string> list_names(Json const& report, char const* verdict) {
    std::set<std::string> name_set;
    for (Json const& test : report["tests"]) {
        if (test["verdict"] == verdict) {
            name_set.insert(test["name"]);
        }
    }
    return name_set;
}

std::string find_reason(Json const& report, std::string const& name) {
    for (Json const& test : report["tests"]) {
        if (test["name"] == name) {
            return test["reason"];
        }
    }
    return "no such test";
}

constexpr char bundle[] = BUILD_DIR "/baplug.so ";

// A faulty bundle, the test that finds it out, and what that says.
struct Case {
    char const* fault;
    char const* test;
    char const* reason; // a regular expression
    int code = 3;

    friend void PrintTo(Case const& test_case, std::ostream* out) { *out << test_case.fault; }
};

class FaultTest : public ::testing::TestWithParam<Case> {};

} // namespace

TEST(CheckCommandTest, TheBundlePassesEverything) {
    auto const outcome = run_check(std::string(bundle) + "2>&1");
    EXPECT_EQ(0, outcome.code) << outcome.out;
    EXPECT_EQ(std::string::npos, outcome.out.find("FAIL")) << outcome.out;
    EXPECT_EQ(std::string::npos, outcome.out.find("SKIP")) << outcome.out;
    EXPECT_EQ(0u, outcome.out.find("PASS load: The library loads, "));
    EXPECT_NE(std::string::npos, outcome.out.find(" 0 failed, 0 skipped (seed 1)\n"));
}

TEST(CheckCommandTest, OtherSeedsPassToo) {
    for (char const* seed : {"2", "3", "12345678901234567890"}) {
        auto const outcome = run_check(std::string(bundle) + "--seed " + seed + " 2>&1");
        EXPECT_EQ(0, outcome.code) << outcome.out;
    }
}

TEST(CheckCommandTest, ListsItsTests) {
    auto const outcome = run_check("--list");
    EXPECT_EQ(0, outcome.code);
    EXPECT_NE(std::string::npos,
              outcome.out.find("\nexceptions: No exception leaves the bundle.\n"));
    auto const json = Json::parse(run_check("--list --json").out);
    EXPECT_EQ(33u, json.size());
    EXPECT_EQ("load", json[0]["name"]);
}

TEST(CheckCommandTest, RunsTheTestsAskedForAlone) {
    auto const report =
        Json::parse(run_check(std::string(bundle) + "--json --only pins --only codes").out);
    EXPECT_EQ((std::set<std::string>{"codes", "pins"}), list_names(report, "PASS"));
    EXPECT_EQ(2u, report["tests"].size());
    EXPECT_EQ(2, report["passed"]);
    EXPECT_EQ(1, report["seed"]);
}

TEST(CheckCommandTest, RefusesWrongUse) {
    auto const outcome = run_check(std::string(bundle) + "--only pin 2>&1");
    EXPECT_EQ(1, outcome.code);
    EXPECT_EQ(0u, outcome.out.find("tessitone: pin: no such test; there are\n  load\n"));
    EXPECT_EQ(1, run_check(std::string(bundle) + "--seed x 2>&1").code);
    EXPECT_EQ(1, run_check(std::string(bundle) + "--timeout 0 2>&1").code);
}

TEST(CheckCommandTest, TellsWhatIsNoBundle) {
    auto const outcome = run_check("nowhere.so 2>&1");
    EXPECT_EQ(2, outcome.code);
    EXPECT_EQ("tessitone: nowhere.so: no such bundle\n", outcome.out);
    auto const text = run_check(SOURCE_DIR "/README.md 2>&1");
    EXPECT_EQ(2, text.code);
    EXPECT_EQ(0u, text.out.find("FAIL load: " SOURCE_DIR "/README.md: the bundle does not load"));
    EXPECT_NE(std::string::npos, text.out.find("SKIP process: there is no bundle\n"));
}

TEST(CheckCommandTest, RunsWithoutTheFault) {
    auto const outcome = run_check(FAULTY_DIR "/none.so 2>&1");
    EXPECT_EQ(0, outcome.code) << outcome.out;
}

TEST_P(FaultTest, IsFoundByItsTestAlone) {
    Case const& c = GetParam();
    bool const watch_flag = std::string(c.fault) == "locks" || std::string(c.fault) == "sleeps";
    if (watch_flag && !test::RealTimeGuard::is_complete()) {
        GTEST_SKIP() << "not watched in this build";
    }
    std::string const path = std::string(FAULTY_DIR "/") + c.fault + ".so";
    // A hang has to be waited for.
    std::string const wait = std::string(c.fault) == "hang" ? " --timeout 5" : "";
    auto const outcome = run_check(path + " --json 2>/dev/null" + wait);
    EXPECT_EQ(c.code, outcome.code);
    auto const report = Json::parse(outcome.out, nullptr, false);
    ASSERT_TRUE(report.is_object()) << outcome.out;
    EXPECT_EQ(std::set<std::string>{c.test}, list_names(report, "FAIL")) << report.dump(2);
    std::string const reason = find_reason(report, c.test);
    EXPECT_TRUE(std::regex_search(reason, std::regex(c.reason))) << reason;
}

INSTANTIATE_TEST_SUITE_P(
    Faults, FaultTest,
    ::testing::Values(
        Case{"no_entry", "load", "it exports no ulk_entry_point", 2},
        Case{"no_factory", "load", "creating the factory failed: Generic failure \\(-2\\)", 2},
        Case{"entry_unknown", "entry-unknown", "returned 0 for command 0, and not -1"},
        Case{"not_reloadable", "reload", "stays in memory when its last object is gone"},
        Case{"listed_twice", "factory", "TessitoneBypass is listed twice"},
        Case{"factory_crash", "factory", "killed by signal 6 .*, in INSTANTIATE to the factory"},
        Case{"factory_code", "factory-refuse", "returned -2, and not -14498"},
        Case{"few_instances", "instances", "INSTANTIATE failed: Generic failure"},
        Case{"needs_factory", "outlive", "killed by signal 6 .*, in PROCESS to .* without its"},
        Case{"leak", "leak", "1[0-9]{2} bytes are lost with each instance"},
        Case{"foreign_id", "describe", "calls itself \"Crevanto#"},
        Case{"describe_writes", "describe-room", "failed \\(-14499\\) and wrote all the same"},
        Case{"unknown_accepted", "commands", "unknown command [0-9]+ returned 0"},
        Case{"unknown_writes", "commands", "unknown command [0-9]+ changed its record"},
        Case{"declared_refused", "pins", "in \\(1\\) out \\(1\\) is declared and not accepted"},
        Case{"refused_code", "pins-negotiate", "was refused, but SET_PIN_CONF returns -2"},
        Case{"proposes_nothing", "pins-negotiate", "it accepts the question"},
        Case{"pins_no_room", "pins-room", "with no room returned 0"},
        Case{"value_range", "params", "stands at 1000000000.0+, out of its range"},
        Case{"text_code", "params-text", "with room for 2 characters returned -2"},
        Case{"norm_half", "params-round-trip", "normalised [0-9.]+ comes back as"},
        Case{"text_drifts", "params-round-trip", "comes back as|out of its range"},
        Case{"life_crash", "life", "killed by signal 6 .*, in DEACTIVATE to Brevanto#"},
        Case{"crash", "process", "killed by signal 6 .*, in PROCESS to Brevanto#"},
        Case{"hang", "process", "still not done when its time was over, in PROCESS to Brevanto#"},
        Case{"sample_crash", "samples", "killed by signal 6 .*, in PROCESS to Brevanto#"},
        Case{"writes_behind", "process-bounds", "wrote (behind the block|before or behind)"},
        Case{"writes_before", "process-bounds", "wrote before or behind the buffers of output 0"},
        Case{"writes_input", "process-inputs", "input 0 has changed"},
        Case{"writes_event", "process-inputs", "the events have changed"},
        Case{"writes_unwanted", "process-unwanted", "output [0-9] came in state .*, written to"},
        Case{"state_garbage", "process-states", "output [0-9] was left in state 7"},
        Case{"state_silent", "process-states", "was written to, though its state says silent"},
        Case{"state_unclear", "process-states", "is not clear, as its state says"},
        Case{"not_written", "process-states", "frame 0 was not written, though the state says"},
        Case{"no_number", "process-signal", "output 0, channel 0, frame [0-9]+ is no number"},
        Case{"denormal", "process-signal", "output 0, channel 0, frame [0-9]+ is denormal"},
        Case{"differs", "process-repeat", "another instance gives other samples"},
        Case{"allocates", "real-time", "PROCESS did: [0-9]+ memory calls\n(.|\n)*allocates.so"},
        Case{"allocates_first", "real-time", "PROCESS did: [0-9]+ memory calls\n"},
        Case{"locks", "real-time", "PROCESS did: 1 locks\n"},
        Case{"sleeps", "real-time", "PROCESS did: system call [0-9]+\n"},
        Case{"process_code", "codes", "PROCESS returned 1, which is no code of the protocol"},
        Case{"foreign_code", "codes", "SET_SAMPLE_FREQ returned 12345, which is no code"},
        Case{"throws", "exceptions", "PROCESS let an exception out"},
        Case{"point_host", "point", "PROCESS changed the host's words"},
        Case{"point_plugin", "point", "PROCESS changed the plug-in's words"},
        Case{"record", "records", "PROCESS changed its record"},
        Case{"text_overrun", "room", "CONV_PARAM_TO_STR wrote more than the room"},
        Case{"pins_overrun", "room", "GET_PIN_CONF wrote beyond the room for pins"},
        Case{"rounding", "rounding", "PROCESS changed the rounding"}),
    [](auto const& param_info) { return std::string(param_info.param.fault); });
