// How long the background side of the cache holds the real-time mutex, which is what a pass may
// have to wait: percentiles over all holds of a kind of operation, in nanoseconds, as counters.

#include "ulk/sacc/SplCache.h"
#include "ulk/sacc/SplCacheIteratorWrite.h"
#include "ulk/sacc/SplCacheStat.h"
#include "ulk/sacc/SplFileFmtDesc.h"
#include "ulk/sacc/SplFileMgr.h"
#include "ulk/sys/CritSec.h"
#include "ulk/sys/Mutex.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include <dlfcn.h>
#include <pthread.h>
#include <unistd.h>

namespace {

using Clock = std::chrono::steady_clock;

void const* watched_ptr = nullptr; // the mutex whose holds are timed
Clock::time_point hold_beg;
std::vector<double> hold_list; // never grows within a hold's time

template <class FNC>
FNC find_next(char const* name) {
    return reinterpret_cast<FNC>(::dlsym(RTLD_NEXT, name));
}

} // namespace

// Stand before those of the C library.
extern "C" int pthread_mutex_lock(pthread_mutex_t* mutex) {
    static auto const next = find_next<int (*)(pthread_mutex_t*)>("pthread_mutex_lock");
    int const ret = next(mutex);
    if (mutex == watched_ptr) {
        hold_beg = Clock::now();
    }
    return ret;
}

extern "C" int pthread_mutex_unlock(pthread_mutex_t* mutex) {
    static auto const next = find_next<int (*)(pthread_mutex_t*)>("pthread_mutex_unlock");
    auto const end = mutex == watched_ptr ? Clock::now() : Clock::time_point();
    int const ret = next(mutex);
    if (mutex == watched_ptr) {
        hold_list.push_back(std::chrono::duration<double, std::nano>(end - hold_beg).count());
    }
    return ret;
}

namespace {

using namespace ulk::sacc;

constexpr long cell_len = 256;
constexpr long nbr_cells = 4096;
constexpr long nbr_files = 64;
constexpr long file_len = 32 * cell_len;

void check(bool ok_flag) {
    if (!ok_flag) {
        std::abort();
    }
}

struct Rig {
    Rig() {
        std::filesystem::create_directory(dir);
        desc.set_data(SplFileFmt_WAV, SplFileBitFmt_F32, 48000, 1);
        check(cache.set_memory(nbr_cells * cell_len, nbr_cells * cell_len, cell_len) == 0);
        for (long n = 0; n < nbr_files; ++n) {
            SplFileHnd hnd;
            check(hnd.create_new(mgr, get_path(n).c_str(), desc, file_len) == 0);
            check(hnd.close() == 0);
            open(n);
        }
    }
    ~Rig() {
        for (auto const id : id_arr) {
            cache.close_file(id);
        }
        std::filesystem::remove_all(dir);
    }

    std::string get_path(long n) const { return dir / (std::to_string(n) + ".wav"); }
    void open(long n) { check(cache.open_file(id_arr[n], get_path(n).c_str(), false) == 0); }
    void record(SplCacheFileId& id) {
        check(cache.create_file_new(id, (dir / "rec").c_str(), desc) == 0);
        SplCacheIteratorWrite it;
        cache.push_data(id, 20 * cell_len + 7, it);
        for (; it.is_rem_elt(); it.iterate()) {
        }
    }
    void prefetch() {
        for (auto const id : id_arr) {
            cache.prefetch_data(id, 0, file_len);
        }
    }

    std::filesystem::path dir =
        std::filesystem::temp_directory_path() / ("bench_hold_" + std::to_string(::getpid()));
    SplFileFmtDesc desc;
    ulk::sys::Mutex mutex_mgr;
    ulk::sys::Mutex mutex_rt;
    ulk::sys::Mutex mutex_bkg;
    SplFileMgr mgr{mutex_mgr};
    SplCache cache{mutex_rt, mutex_bkg, mgr};
    SplCacheFileId id_arr[nbr_files] = {};
};

void report(benchmark::State& state) {
    std::sort(hold_list.begin(), hold_list.end());
    auto const get = [](double part) {
        auto const pos = static_cast<std::size_t>(part * static_cast<double>(hold_list.size()));
        return hold_list[std::min(pos, hold_list.size() - 1)];
    };
    state.counters["p50"] = get(0.5);
    state.counters["p99"] = get(0.99);
    state.counters["p99.9"] = get(0.999);
    state.counters["max"] = hold_list.back();
    state.counters["holds"] = static_cast<double>(hold_list.size());
}

// prepare() goes untimed before each fnc().
void run(benchmark::State& state, std::function<void(Rig&)> const& prepare,
         std::function<void(Rig&)> const& fnc) {
    Rig rig;
    hold_list.clear();
    hold_list.reserve(50000000);
    for (auto _ : state) {
        state.PauseTiming();
        prepare(rig);
        watched_ptr = &rig.mutex_rt;
        state.ResumeTiming();
        fnc(rig);
        watched_ptr = nullptr;
    }
    report(state);
}

void add(std::string const& name, std::function<void(Rig&)> const& prepare,
         std::function<void(Rig&)> const& fnc) {
    benchmark::RegisterBenchmark(("hold_" + name + "/tessitone").c_str(), [=](auto& state) {
        run(state, prepare, fnc);
    })->Iterations(200);
}

int const registered = [] {
    add(
        "empty", [](Rig&) {},
        [](Rig& rig) {
            for (int n = 0; n < 4096; ++n) { // what the clock itself makes of nothing
                ulk::sys::CritSec const lock(rig.mutex_rt);
            }
        });
    add(
        "idle_slice", [](Rig&) {}, [](Rig& rig) { rig.cache.do_run_slice(); });
    add(
        "filling_slice",
        [](Rig& rig) {
            for (auto const id : rig.id_arr) {
                rig.cache.invalidate_data(id, 0, file_len);
            }
            rig.prefetch();
        },
        [](Rig& rig) { rig.cache.do_run_slice(); });
    add(
        "close_and_open", [](Rig& rig) { rig.prefetch(); },
        [](Rig& rig) {
            rig.cache.close_file(rig.id_arr[3]);
            rig.open(3);
        });
    add(
        "close_recording", [](Rig&) {},
        [](Rig& rig) {
            SplCacheFileId id = 0;
            rig.record(id);
            rig.cache.close_file(id);
        });
    add(
        "lock_and_unlock", [](Rig&) {},
        [](Rig& rig) {
            rig.cache.lock_data(rig.id_arr[5], 0, file_len);
            rig.cache.unlock_data(rig.id_arr[5]);
        });
    add(
        "statistics", [](Rig&) {},
        [](Rig& rig) {
            SplCacheStat stat;
            rig.cache.collect_statistics(stat);
        });
    return 0;
}();

} // namespace
