#include "ulk/sys/ChildProcess.h"

#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <thread>
#include <unistd.h>

using ulk::sys::ChildProcess;

namespace {

ChildProcess::Outcome run(std::function<std::string()> const& work, double time_max = 60) {
    return ChildProcess::run(work, time_max);
}

} // namespace

TEST(ChildProcessTest, GivesTheResultBack) {
    std::string const big(1 << 20, 'x'); // more than a pipe holds
    auto const outcome = run([&big] {
        ChildProcess::set_note("at work");
        std::fputs("out\n", stdout);
        std::fflush(stdout);
        std::fputs("err\n", stderr);
        return big;
    });
    EXPECT_EQ(ChildProcess::End_DONE, outcome.end);
    EXPECT_EQ(big, outcome.result);
    EXPECT_EQ("out\nerr\n", outcome.output);
    EXPECT_EQ("at work", outcome.note);
}

TEST(ChildProcessTest, LeavesThisProcessAsItIs) {
    int val = 1;
    run([&val] { return std::to_string(val = 2); });
    EXPECT_EQ(1, val);
    ChildProcess::set_note("nobody reads this");
}

TEST(ChildProcessTest, TellsASignal) {
    auto const outcome = run([]() -> std::string {
        ChildProcess::set_note("about to die");
        std::signal(SIGTERM, SIG_DFL);
        std::raise(SIGTERM);
        return "not reached";
    });
    EXPECT_EQ(ChildProcess::End_SIGNAL, outcome.end);
    EXPECT_EQ("killed by signal 15 (Terminated)", outcome.describe_end());
    EXPECT_EQ("about to die", outcome.note);
}

TEST(ChildProcessTest, TellsAnExit) {
    for (int const code : {0, 3}) {
        auto const outcome = run([code]() -> std::string { ::_exit(code); });
        EXPECT_EQ(ChildProcess::End_EXIT, outcome.end);
        EXPECT_EQ("ended by exit code " + std::to_string(code), outcome.describe_end());
    }
}

TEST(ChildProcessTest, EndsWhatHangs) {
    auto const start = std::chrono::steady_clock::now();
    auto const outcome = run(
        []() -> std::string {
            std::string const txt = "kept: " + std::string(5000, 'y');
            std::fputs(txt.c_str(), stderr);
            for (;;) {
                std::this_thread::sleep_for(std::chrono::seconds(1));
            }
        },
        0.2);
    EXPECT_EQ(ChildProcess::End_TIMEOUT, outcome.end);
    EXPECT_EQ(std::string(4096, 'y'), outcome.output);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(30));
}

TEST(ChildProcessTest, EndsWhatTheChildHasStarted) {
    // The grandchild holds the pipes; it is ended with its parent's group.
    auto const outcome = run(
        []() -> std::string {
            if (::fork() == 0) {
                for (;;) {
                    ::pause();
                }
            }
            return "parent";
        },
        0.3);
    EXPECT_EQ(ChildProcess::End_TIMEOUT, outcome.end);
    EXPECT_EQ("parent", outcome.result);
}
