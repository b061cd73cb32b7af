// The sample cache's calls, by the number of open files and of cells. Real-time calls go to blocks
// that are in memory, of one file after the other; beside them stand the locks that they cannot do
// without. A slice that fills cells stands beside pread of the same bytes.

#include "ulk/sacc/SplCache.h"
#include "ulk/sacc/SplCacheIteratorRead.h"
#include "ulk/sacc/SplFileFmtDesc.h"
#include "ulk/sacc/SplFileMgr.h"
#include "ulk/sys/CritSec.h"
#include "ulk/sys/Mutex.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include <fcntl.h>
#include <unistd.h>

namespace {

using namespace ulk::sacc;

constexpr long nbr_blocks = 32; // of a file

// Open files of 32 mono blocks each, of which as many are loaded as there are cells for.
class Rig {
public:
    Rig(long nbr_files, long nbr_cells, long cell_len)
        : _cell_len(cell_len) {
        std::filesystem::create_directory(_dir);
        check(_cache.set_memory(nbr_cells * cell_len, 0, cell_len) == 0);
        std::vector<float> const data(static_cast<std::size_t>(nbr_blocks * cell_len), 0.5f);
        SplFileFmtDesc desc;
        desc.set_data(SplFileFmt_WAV, SplFileBitFmt_F32, 48000, 1);
        for (long n = 0; n < nbr_files; ++n) {
            std::string const path = get_path(n);
            SplFileHnd hnd;
            check(hnd.create_new(_mgr, path.c_str(), desc, 0) == 0);
            check(hnd.write_block(data.data(), 0, nbr_blocks * cell_len) == 0);
            check(hnd.close() == 0);
            SplCacheFileId id = 0;
            check(_cache.open_file(id, path.c_str(), false) == 0);
            _id_list.push_back(id);
        }
        _nbr_loaded = std::min(nbr_files, nbr_cells / nbr_blocks);
        for (long n = 0; n < _nbr_loaded; ++n) {
            check(_cache.prefetch_data(get_id(n), 0, nbr_blocks * cell_len) == 0);
        }
        _cache.do_run_slice();
    }
    Rig(Rig const&) = delete;
    Rig& operator=(Rig const&) = delete;
    ~Rig() {
        for (auto const id : _id_list) {
            _cache.close_file(id);
        }
        std::filesystem::remove_all(_dir);
    }

    static void check(bool ok_flag) {
        if (!ok_flag) {
            std::abort();
        }
    }

    std::string get_path(long n) const { return _dir / (std::to_string(n) + ".wav"); }
    SplCacheFileId get_id(long n) const { return _id_list[static_cast<std::size_t>(n)]; }
    long get_nbr_loaded() const { return _nbr_loaded; }
    long get_cell_len() const { return _cell_len; }
    SplCache& use_cache() { return _cache; }

private:
    long _cell_len;
    std::filesystem::path _dir =
        std::filesystem::temp_directory_path() / ("bench_cache_" + std::to_string(::getpid()));
    ulk::sys::Mutex _mutex_mgr;
    ulk::sys::Mutex _mutex_rt;
    ulk::sys::Mutex _mutex_bkg;
    SplFileMgr _mgr{_mutex_mgr};
    SplCache _cache{_mutex_rt, _mutex_bkg, _mgr};
    std::vector<SplCacheFileId> _id_list;
    long _nbr_loaded = 0;
};

// fnc(id, pos): a call on cells from pos on.
void run_calls(benchmark::State& state, long nbr_files, long nbr_cells, long nbr,
               std::function<void(SplCache&, SplCacheFileId, long, long)> const& fnc) {
    Rig rig(nbr_files, nbr_cells, 64);
    long file = 0;
    long block = 0;
    for (auto _ : state) {
        fnc(rig.use_cache(), rig.get_id(file), block * 64, nbr * 64);
        file = file + 1 < rig.get_nbr_loaded() ? file + 1 : 0;
        block = block + nbr < nbr_blocks - nbr ? block + nbr : 0;
    }
}

void get(SplCache& cache, SplCacheFileId id, long pos, long len) {
    SplCacheIteratorRead it;
    cache.get_data(id, pos, len, it);
    for (; it.is_rem_elt(); it.iterate()) {
        benchmark::DoNotOptimize(it.use_cell().use_data());
    }
}

void prefetch(SplCache& cache, SplCacheFileId id, long pos, long len) {
    cache.prefetch_data(id, pos, len);
}

void lock(benchmark::State& state, long nbr) {
    ulk::sys::Mutex mutex;
    for (auto _ : state) {
        for (long n = 0; n < nbr; ++n) {
            ulk::sys::CritSec const lock(mutex);
            benchmark::ClobberMemory();
        }
    }
}

void run_idle_slice(benchmark::State& state, long nbr_files, long nbr_cells) {
    Rig rig(nbr_files, nbr_cells, 64);
    for (auto _ : state) {
        rig.use_cache().do_run_slice();
    }
    state.SetItemsProcessed(state.iterations() * nbr_cells);
}

// 64 cells of 16384 floats, from the page cache.
void fill(benchmark::State& state) {
    Rig rig(2, 64, 16384);
    long const len = nbr_blocks * rig.get_cell_len();
    for (auto _ : state) {
        for (long n = 0; n < 2; ++n) {
            rig.use_cache().invalidate_data(rig.get_id(n), 0, len);
        }
        rig.use_cache().do_run_slice();
    }
}

void fill_by_pread(benchmark::State& state) {
    Rig rig(2, 64, 16384);
    std::vector<float> data(64 * 16384);
    int const fd_arr[2] = {::open(rig.get_path(0).c_str(), O_RDONLY),
                           ::open(rig.get_path(1).c_str(), O_RDONLY)};
    for (auto _ : state) {
        for (long n = 0; n < 64; ++n) {
            Rig::check(::pread(fd_arr[n / 32], data.data() + n * 16384, 65536,
                               44 + n % 32 * 65536) == 65536);
        }
        benchmark::ClobberMemory();
    }
    ::close(fd_arr[0]);
    ::close(fd_arr[1]);
}

void add(std::string const& name, std::function<void(benchmark::State&)> const& fnc) {
    benchmark::RegisterBenchmark(name.c_str(), fnc);
}

void add_calls(long nbr_files, long nbr_cells) {
    std::string arg("/");
    arg += std::to_string(nbr_files) + "_files_" + std::to_string(nbr_cells) + "_cells";
    for (long const nbr : {1L, 9L}) {
        std::string const cells = std::to_string(nbr) + (nbr == 1 ? "_cell" : "_cells");
        add("get_data_walk_" + cells + "/tessitone" + arg,
            [=](auto& state) { run_calls(state, nbr_files, nbr_cells, nbr, get); });
        add("get_data_walk_" + cells + "/locks" + arg, [=](auto& state) { lock(state, 2 * nbr); });
        add("prefetch_data_" + cells + "/tessitone" + arg,
            [=](auto& state) { run_calls(state, nbr_files, nbr_cells, nbr, prefetch); });
        add("prefetch_data_" + cells + "/locks" + arg, [](auto& state) { lock(state, 1); });
    }
    add("idle_slice/tessitone" + arg,
        [=](auto& state) { run_idle_slice(state, nbr_files, nbr_cells); });
    add("idle_slice/locks" + arg, [=](auto& state) { lock(state, nbr_cells + 2); });
}

int const registered = [] {
    for (long const nbr_files : {1L, 64L, 512L}) {
        for (long const nbr_cells : {256L, 4096L, 65536L}) {
            add_calls(nbr_files, nbr_cells);
        }
    }
    add("fill_64_cells/tessitone", fill);
    add("fill_64_cells/pread", fill_by_pread);
    return 0;
}();

} // namespace
