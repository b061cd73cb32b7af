// What a log call costs its caller, call by call and paced as an audio thread paces them, and what
// the primitives cost beside the bare atomic.
#include "ulk/udbg/log.h"
#include "ulk/mem/SharedPtr.h"
#include "ulk/sys/CritSec.h"
#include "ulk/sys/Interlocked.h"
#include "ulk/util/LogMgr.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstring>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#if __has_include(<spdlog/async.h>)
#define FMT_HEADER_ONLY
#include <spdlog/async.h>
#include <spdlog/fmt/fmt.h>
#include <spdlog/sinks/basic_file_sink.h>
#include <spdlog/spdlog.h>
#endif

namespace {

using Clock = std::chrono::steady_clock;

double compute_ns(Clock::time_point beg) {
    return std::chrono::duration<double, std::nano>(Clock::now() - beg).count();
}

// How calls follow each other: at once, or as an audio thread makes them, with work in between.
struct Pace {
    std::size_t nbr_calls;
    double gap_ns; // 0: at once
};
constexpr Pace tight = {1000000, 0};
constexpr Pace paced = {50000, 30000};

// Times of single calls, sorted.
template <class FNC, class REST>
std::vector<double> measure(Pace pace, FNC fnc, REST rest) {
    std::vector<double> ns_arr(pace.nbr_calls);
    for (std::size_t i = 0; i < pace.nbr_calls; ++i) {
        auto const beg = Clock::now();
        fnc(static_cast<int>(i));
        ns_arr[i] = compute_ns(beg);
        rest(i);
        while (pace.gap_ns > 0 && compute_ns(beg) < pace.gap_ns) {
        }
    }
    std::sort(ns_arr.begin(), ns_arr.end());
    return ns_arr;
}

// flush: what a service thread does now and then. Where calls follow each other at once it is done
// between them, outside of the times; else by a thread of its own, so that it may disturb. The
// clock's own median is taken off.
template <class FNC, class FLUSH>
void run_calls(benchmark::State& state, Pace pace, FNC fnc, FLUSH flush) {
    auto const none = [](std::size_t) {};
    for (auto _ : state) {
        std::jthread service;
        if (pace.gap_ns > 0) {
            service = std::jthread([flush](std::stop_token const& stop) {
                while (!stop.stop_requested()) {
                    flush();
                    std::this_thread::sleep_for(std::chrono::microseconds(500));
                }
            });
        }
        std::size_t const mid = pace.nbr_calls / 2;
        double const clock_ns = measure(
            pace, [](int) {}, none)[mid];
        auto const ns_arr = pace.gap_ns > 0 ? measure(pace, fnc, none)
                                            : measure(pace, fnc, [&flush](std::size_t i) {
                                                  if (i % 32 == 0) {
                                                      flush();
                                                  }
                                              });
        state.counters["median_ns"] = ns_arr[mid] - clock_ns;
        state.counters["p99.9_ns"] = ns_arr[pace.nbr_calls / 1000 * 999] - clock_ns;
        state.counters["max_ns"] = ns_arr.back() - clock_ns;
    }
}

// The bundle's side and the host's side in one call: what the real-time thread feels.
void log_cached(benchmark::State& state, Pace pace) {
    using ulk::udbg::LogMgr;
    ulk::util::LogMgr::force_destroy();
    ulk::util::LogMgr::use_instance().open_file("/dev/null");
    LogMgr::create_as_win32_debugger(LogMgr::Config());
    LogMgr::create_as_util(LogMgr::Config());
    run_calls(
        state, pace,
        [](int i) { ULK_LOG_CACHE(INFO, "process(): Unknown file id %1% (%2%).", i, "x"); },
        [] { ulk::util::LogMgr::use_instance().flush(); });
    ulk::util::LogMgr::force_destroy();
}

// The bundle's side alone.
void log_plugin(benchmark::State& state, Pace pace) {
    using ulk::udbg::LogMgr;
    LogMgr::create_as_plugin("bench", [](int, void* data) {
        benchmark::DoNotOptimize(data);
        return 0;
    });
    run_calls(
        state, pace, [](int i) { ULK_LOG(INFO, "process(): Unknown file id %1% (%2%).", i, "x"); },
        [] {});
}

#if __has_include(<spdlog/async.h>)
void log_spdlog(benchmark::State& state, Pace pace) {
    spdlog::init_thread_pool(8192, 1);
    auto logger = spdlog::basic_logger_mt<spdlog::async_factory>("bench", "/dev/null");
    // Its own thread writes at once; only a tight loop has to be waited for.
    run_calls(
        state, pace, [&](int i) { logger->info("process(): Unknown file id {} ({}).", i, "x"); },
        [&] {
            if (pace.gap_ns == 0) {
                logger->flush();
            }
        });
    logger.reset();
    spdlog::shutdown();
}

// What a cached line can't do without: two formats, a mutex, a clock and a copy.
void log_floor(benchmark::State& state, Pace pace) {
    static char slot[1024];
    std::mutex mutex;
    auto const call = [&](int i) {
        char text[1024];
        char line[1024];
        *fmt::format_to_n(text, 1023, "process(): Unknown file id {} ({}).", i, "x").out = '\0';
        auto const end = fmt::format_to_n(line, 1023, "{}\t{}\t{}\t{}\t{}\t{}\t", "main", "INFO",
                                          text, __FILE__ ", " __DATE__, __PRETTY_FUNCTION__, i);
        std::lock_guard<std::mutex> const lock(mutex);
        benchmark::DoNotOptimize(Clock::now());
        std::memcpy(slot, line, static_cast<std::size_t>(end.out - line));
        benchmark::DoNotOptimize(slot);
    };
    run_calls(state, pace, call, [] {});
}
#endif

bool register_calls() {
    struct Row {
        char const* group;
        char const* contender;
        void (*fnc)(benchmark::State& state, Pace pace);
    };
    static constexpr Row row_arr[] = {
        {"log_cached", "tessitone", log_cached},
        {"log_plugin", "tessitone", log_plugin},
#if __has_include(<spdlog/async.h>)
        {"log_cached", "spdlog_async", log_spdlog},
        {"log_cached", "floor", log_floor},
        {"log_plugin", "spdlog_async", log_spdlog},
#endif
    };
    for (Row const& row : row_arr) {
        for (bool const paced_flag : {false, true}) {
            std::string const name =
                std::string(row.group) + (paced_flag ? "_paced/" : "/") + row.contender;
            benchmark::RegisterBenchmark(name.c_str(), row.fnc, paced_flag ? paced : tight)
                ->Iterations(1);
        }
    }
    return true;
}
bool const registered_flag = register_calls();

void bm_atomic_cas(benchmark::State& state) {
    std::atomic<int> word{0};
    for (auto _ : state) {
        int old_val = word.load(std::memory_order_relaxed);
        benchmark::DoNotOptimize(word.compare_exchange_strong(old_val, old_val + 1));
    }
}

void bm_interlocked_cas(benchmark::State& state) {
    int word = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(
            ulk::sys::Interlocked::compare_exchange_int32(word, word + 1, word));
    }
}

void bm_shared_ptr_copy(benchmark::State& state) { // one swap up, one down
    ulk::mem::SharedPtr<int> const ptr(new int(1));
    for (auto _ : state) {
        ulk::mem::SharedPtr<int> copy(ptr);
        benchmark::DoNotOptimize(copy);
    }
}

void bm_std_shared_ptr(benchmark::State& state) {
    std::shared_ptr<int> const ptr(new int(1));
    for (auto _ : state) {
        std::shared_ptr<int> copy(ptr);
        benchmark::DoNotOptimize(copy);
    }
}

void bm_atomic_add_sub(benchmark::State& state) {
    std::atomic<int> word{0};
    for (auto _ : state) {
        benchmark::DoNotOptimize(word.fetch_add(1));
        benchmark::DoNotOptimize(word.fetch_sub(1));
    }
}

void bm_crit_sec(benchmark::State& state) {
    ulk::sys::Mutex const mutex;
    for (auto _ : state) {
        ulk::sys::CritSec const lock(mutex, true);
        benchmark::ClobberMemory();
    }
}

void bm_std_mutex(benchmark::State& state) {
    std::mutex mutex;
    for (auto _ : state) {
        std::lock_guard<std::mutex> const lock(mutex);
        benchmark::ClobberMemory();
    }
}

BENCHMARK(bm_interlocked_cas)->Name("compare_exchange/tessitone");
BENCHMARK(bm_atomic_cas)->Name("compare_exchange/atomic");
BENCHMARK(bm_shared_ptr_copy)->Name("shared_ptr_copy/tessitone");
BENCHMARK(bm_std_shared_ptr)->Name("shared_ptr_copy/std");
BENCHMARK(bm_atomic_add_sub)->Name("shared_ptr_copy/atomic");
BENCHMARK(bm_crit_sec)->Name("mutex/tessitone");
BENCHMARK(bm_std_mutex)->Name("mutex/std");

} // namespace
