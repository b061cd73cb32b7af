#pragma once

#include "host/check/Test.h"

#include <nlohmann/json_fwd.hpp>

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace ulk::host::check {

// Validates anyone's bundle: runs the scenarios, each in a process of its own, and judges what the
// tests found there.
class Checker {
public:
    struct Settings {
        std::string bundle_path;
        std::uint64_t seed = 1;        // the same seed sends the same traffic
        double time_max = 60;          // seconds that a scenario may take
        std::vector<TestId> test_list; // those to run; none for all
    };

    enum Verdict { Verdict_PASS, Verdict_FAIL, Verdict_SKIP };

    struct Result {
        TestId id;
        Verdict verdict;
        std::string reason; // empty when it passed; may have more lines than one
    };

    struct Report {
        std::string bundle_path;
        std::uint64_t seed;
        std::vector<Result> result_list; // in the order of the tests
        bool loaded_flag;                // the bundle is usable at all
        bool ended_flag;                 // every scenario came to its end

        long count(Verdict verdict) const;
        std::string print() const; // for people: a line a test, and a summary
        nlohmann::ordered_json conv_to_json() const;
    };

    // progress: told how many of the scenarios are done. To be called while this process has one
    // thread. Throws an Error for a bundle file that is not there.
    static Report run(Settings const& settings, std::function<void(int, int)> const& progress);

    // All tests with their sentences, for people and for programs.
    static std::string print_list();
    static nlohmann::ordered_json list_tests();
};

} // namespace ulk::host::check
