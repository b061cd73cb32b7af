#include "host/check/Checker.h"

#include "host/Error.h"
#include "host/check/Findings.h"
#include "host/check/Scenarios.h"
#include "ulk/sys/ChildProcess.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <filesystem>
#include <optional>

namespace ulk::host::check {

namespace {

using Json = nlohmann::ordered_json;
using sys::ChildProcess;

// What is left of a scenario.
struct Trace {
    bool run_flag = false;   // it has run
    bool ended_flag = false; // to its end
    Findings findings;
};

std::string find_last_line(std::string txt) {
    txt.erase(txt.find_last_not_of(" \t\r\n") + 1);
    auto const pos = txt.rfind('\n');
    return pos != std::string::npos ? txt.substr(pos + 1) : txt;
}

Trace run_scenario(Scenario scenario, Checker::Settings const& settings) {
    auto const outcome = ChildProcess::run(
        [&] {
            Session session(settings.bundle_path, settings.seed);
            Scenarios::run(scenario, session);
            return session.findings.serialise();
        },
        settings.time_max);
    Trace trace;
    trace.run_flag = true;
    trace.ended_flag = outcome.end == ChildProcess::End_DONE;
    if (trace.ended_flag) {
        trace.findings = Findings::parse(outcome.result);
        return trace;
    }
    std::string txt = outcome.describe_end();
    txt += outcome.note.empty() ? "" : ", in " + outcome.note;
    std::string const last = find_last_line(outcome.output);
    trace.findings.add(static_cast<TestId>(scenario), txt + (last.empty() ? "" : "\n  " + last));
    return trace;
}

using Traces = Trace[Scenario_NBR_ELT];

// The verdict on a test, from all scenarios that it looks at.
Checker::Result judge(TestId id, Traces const& trace_arr) {
    Checker::Result result = {id, Checker::Verdict_PASS, ""};
    for (int pos = 0; pos < Scenario_NBR_ELT; ++pos) {
        auto const scenario = static_cast<Scenario>(pos);
        Trace const& trace = trace_arr[scenario];
        if (!Test::use(id).looks_at(scenario)) {
            continue;
        }
        if (std::string const* const txt = trace.findings.find(id)) {
            return {id, Checker::Verdict_FAIL, *txt};
        }
        bool const own_flag = static_cast<int>(id) == static_cast<int>(scenario);
        if (!trace.ended_flag) {
            std::string const name = Test::use(static_cast<TestId>(scenario)).name;
            result = {id, Checker::Verdict_SKIP,
                      trace.run_flag ? name + " did not come to its end" : "there is no bundle"};
        } else if (own_flag && !trace.findings.get_skip_reason().empty()) {
            result = {id, Checker::Verdict_SKIP, trace.findings.get_skip_reason()};
        }
    }
    return result;
}

std::vector<TestId> select_tests(std::vector<TestId> const& test_list) {
    if (!test_list.empty()) {
        return test_list;
    }
    std::vector<TestId> list;
    for (int id = 0; id < TestId_NBR_ELT; ++id) {
        list.push_back(static_cast<TestId>(id));
    }
    return list;
}

// Loading comes first, whatever is asked for: nothing can be said of a bundle that doesn't load.
std::vector<Scenario> select_scenarios(std::vector<TestId> const& test_list) {
    std::vector<Scenario> list;
    for (int pos = 0; pos < Scenario_NBR_ELT; ++pos) {
        auto const scenario = static_cast<Scenario>(pos);
        if (scenario == Scenario_LOAD ||
            std::any_of(test_list.begin(), test_list.end(),
                        [&](TestId id) { return Test::use(id).looks_at(scenario); })) {
            list.push_back(scenario);
        }
    }
    return list;
}

char const* get_verdict_name(Checker::Verdict verdict) {
    static constexpr char const* name_arr[] = {"PASS", "FAIL", "SKIP"};
    return name_arr[verdict];
}

} // namespace

Checker::Report Checker::run(Settings const& settings,
                             std::function<void(int, int)> const& progress) {
    if (!std::filesystem::is_regular_file(settings.bundle_path)) {
        throw Error(Error::Kind_MATERIAL, settings.bundle_path + ": no such bundle");
    }
    auto const test_list = select_tests(settings.test_list);
    auto const scenario_list = select_scenarios(test_list);
    Trace trace_arr[Scenario_NBR_ELT];
    Report report = {settings.bundle_path, settings.seed, {}, true, true};
    int nbr_done = 0;
    for (Scenario const scenario : scenario_list) {
        trace_arr[scenario] = run_scenario(scenario, settings);
        report.ended_flag = report.ended_flag && trace_arr[scenario].ended_flag;
        progress(++nbr_done, static_cast<int>(scenario_list.size()));
        if (scenario == Scenario_LOAD &&
            trace_arr[scenario].findings.find(TestId_LOAD) != nullptr) {
            report.loaded_flag = false;
            break;
        }
    }
    for (TestId const id : test_list) {
        report.result_list.push_back(judge(id, trace_arr));
    }
    return report;
}

long Checker::Report::count(Verdict verdict) const {
    return std::count_if(result_list.begin(), result_list.end(),
                         [verdict](Result const& result) { return result.verdict == verdict; });
}

std::string Checker::Report::print() const {
    std::string txt;
    for (Result const& result : result_list) {
        Test const& test = Test::use(result.id);
        txt += std::string(get_verdict_name(result.verdict)) + " " + test.name + ": " +
               (result.verdict == Verdict_PASS ? test.sentence : result.reason);
        txt += txt.back() == '\n' ? "" : "\n";
    }
    return txt + bundle_path + ": " + std::to_string(count(Verdict_PASS)) + " passed, " +
           std::to_string(count(Verdict_FAIL)) + " failed, " + std::to_string(count(Verdict_SKIP)) +
           " skipped (seed " + std::to_string(seed) + ")\n";
}

Json Checker::Report::conv_to_json() const {
    Json tests = Json::array();
    for (Result const& result : result_list) {
        Test const& test = Test::use(result.id);
        tests.push_back({{"name", test.name},
                         {"sentence", test.sentence},
                         {"verdict", get_verdict_name(result.verdict)},
                         {"reason", result.reason}});
    }
    return {{"bundle", bundle_path},          {"seed", seed},
            {"passed", count(Verdict_PASS)},  {"failed", count(Verdict_FAIL)},
            {"skipped", count(Verdict_SKIP)}, {"tests", tests}};
}

std::string Checker::print_list() {
    std::string txt;
    for (TestId const id : select_tests({})) {
        txt += std::string(Test::use(id).name) + ": " + Test::use(id).sentence + "\n";
    }
    return txt;
}

Json Checker::list_tests() {
    Json list = Json::array();
    for (TestId const id : select_tests({})) {
        list.push_back({{"name", Test::use(id).name}, {"sentence", Test::use(id).sentence}});
    }
    return list;
}

} // namespace ulk::host::check
