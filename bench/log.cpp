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
constexpr std::size_t nbr_calls = 1000000;

// Times of single calls, sorted; the rest is done outside of the times, as a service thread would.
template <class FNC, class FLUSH>
std::vector<double> measure(FNC fnc, FLUSH flush) {
    std::vector<double> ns_arr(nbr_calls);
    for (std::size_t i = 0; i < nbr_calls; ++i) {
        auto const beg = Clock::now();
        fnc(static_cast<int>(i));
        ns_arr[i] = std::chrono::duration<double, std::nano>(Clock::now() - beg).count();
        if (i % 32 == 0) {
            flush();
        }
    }
    std::sort(ns_arr.begin(), ns_arr.end());
    return ns_arr;
}

// The clock's own median is taken off.
template <class FNC, class FLUSH>
void run_calls(benchmark::State& state, FNC fnc, FLUSH flush) {
    for (auto _ : state) {
        double const clock_ns = measure([](int) {}, [] {})[nbr_calls / 2];
        auto const ns_arr = measure(fnc, flush);
        state.counters["median_ns"] = ns_arr[nbr_calls / 2] - clock_ns;
        state.counters["p99.9_ns"] = ns_arr[nbr_calls / 1000 * 999] - clock_ns;
        state.counters["max_ns"] = ns_arr.back() - clock_ns;
    }
}

// The bundle's side and the host's side in one call: what the real-time thread feels.
void log_cached(benchmark::State& state) {
    using ulk::udbg::LogMgr;
    ulk::util::LogMgr::force_destroy();
    ulk::util::LogMgr::use_instance().open_file("/dev/null");
    LogMgr::create_as_win32_debugger(LogMgr::Config());
    LogMgr::create_as_util(LogMgr::Config());
    run_calls(
        state, [](int i) { ULK_LOG_CACHE(INFO, "process(): Unknown file id %1% (%2%).", i, "x"); },
        [] { ulk::util::LogMgr::use_instance().flush(); });
    ulk::util::LogMgr::force_destroy();
}
BENCHMARK(log_cached)->Name("log_cached/tessitone")->Iterations(1);

// The bundle's side alone
void log_plugin(benchmark::State& state) {
    using ulk::udbg::LogMgr;
    LogMgr::create_as_plugin("bench", [](int, void* data) {
        benchmark::DoNotOptimize(data);
        return 0;
    });
    run_calls(
        state, [](int i) { ULK_LOG(INFO, "process(): Unknown file id %1% (%2%).", i, "x"); },
        [] {});
}
BENCHMARK(log_plugin)->Name("log_plugin/tessitone")->Iterations(1);

#if __has_include(<spdlog/async.h>)
void log_spdlog(benchmark::State& state) {
    spdlog::init_thread_pool(8192, 1);
    auto logger = spdlog::basic_logger_mt<spdlog::async_factory>("bench", "/dev/null");
    run_calls(
        state, [&](int i) { logger->info("process(): Unknown file id {} ({}).", i, "x"); },
        [&] { logger->flush(); });
    spdlog::shutdown();
}
BENCHMARK(log_spdlog)->Name("log_cached/spdlog_async")->Iterations(1);

// What a cached line can't do without: two formats, a mutex, a clock and a copy.
void log_floor(benchmark::State& state) {
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
    run_calls(state, call, [] {});
}
BENCHMARK(log_floor)->Name("log_cached/floor")->Iterations(1);
#endif

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
