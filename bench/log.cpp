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
#include <memory>
#include <mutex>
#include <vector>

#if __has_include(<spdlog/async.h>)
#include <spdlog/async.h>
#include <spdlog/sinks/basic_file_sink.h>
#include <spdlog/spdlog.h>
#endif

namespace {

using Clock = std::chrono::steady_clock;
constexpr int nbr_calls = 1000000;

// Times each call by itself; the ring is emptied outside of the times, as a service thread would.
template <class FNC, class FLUSH>
void measure(benchmark::State& state, FNC fnc, FLUSH flush) {
    std::vector<double> ns_arr(nbr_calls);
    for (auto _ : state) {
        for (int i = 0; i < nbr_calls; ++i) {
            auto const beg = Clock::now();
            fnc(i);
            ns_arr[static_cast<std::size_t>(i)] =
                std::chrono::duration<double, std::nano>(Clock::now() - beg).count();
            if (i % 32 == 0) {
                flush();
            }
        }
    }
    std::sort(ns_arr.begin(), ns_arr.end());
    state.counters["median_ns"] = ns_arr[nbr_calls / 2];
    state.counters["p99.9_ns"] = ns_arr[nbr_calls / 1000 * 999];
    state.counters["max_ns"] = ns_arr.back();
}

void bm_clock(benchmark::State& state) {
    measure(
        state, [](int) {}, [] {});
}

// The bundle's side and the host's side in one call: what the real-time thread feels.
void bm_write_cache(benchmark::State& state) {
    using ulk::udbg::Debugger;
    using ulk::udbg::LogMgr;
    ulk::util::LogMgr::force_destroy();
    ulk::util::LogMgr::use_instance().open_file("/dev/null");
    LogMgr::create_as_win32_debugger(LogMgr::Config());
    LogMgr::create_as_util(LogMgr::Config());
    measure(
        state, [](int i) { ULK_LOG_CACHE(INFO, "process(): Unknown file id %1% (%2%).", i, "x"); },
        [] { ulk::util::LogMgr::use_instance().flush(); });
    ulk::util::LogMgr::force_destroy();
}

void bm_write_plugin(benchmark::State& state) {
    using ulk::udbg::LogMgr;
    LogMgr::create_as_plugin("bench", [](int, void* data) {
        benchmark::DoNotOptimize(data);
        return 0;
    });
    measure(
        state, [](int i) { ULK_LOG(INFO, "process(): Unknown file id %1% (%2%).", i, "x"); },
        [] {});
}

#if __has_include(<spdlog/async.h>)
void bm_spdlog_async(benchmark::State& state) {
    spdlog::init_thread_pool(8192, 1);
    auto logger = spdlog::basic_logger_mt<spdlog::async_factory>("bench", "/dev/null");
    measure(
        state, [&](int i) { logger->info("process(): Unknown file id {} ({}).", i, "x"); },
        [&] { logger->flush(); });
    spdlog::shutdown();
}
BENCHMARK(bm_spdlog_async)->Iterations(1);
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

BENCHMARK(bm_clock)->Iterations(1);
BENCHMARK(bm_write_cache)->Iterations(1);
BENCHMARK(bm_write_plugin)->Iterations(1);
BENCHMARK(bm_atomic_cas);
BENCHMARK(bm_interlocked_cas);
BENCHMARK(bm_atomic_add_sub);
BENCHMARK(bm_shared_ptr_copy);
BENCHMARK(bm_std_mutex);
BENCHMARK(bm_crit_sec);

} // namespace
