// Reading a whole file from the page cache in cells of 16384 floats, as the sample cache does:
// through a handle of the file manager, through libsndfile, and by pread of the same bytes without
// any conversion. Times are for a cell.

#include "ulk/sacc/SplFileFmtDesc.h"
#include "ulk/sacc/SplFileHnd.h"
#include "ulk/sacc/SplFileMgr.h"
#include "ulk/sys/Mutex.h"

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <filesystem>
#include <random>
#include <string>
#include <vector>

#include <fcntl.h>
#include <unistd.h>

#if __has_include(<sndfile.h>)
#include <sndfile.h>
#endif

namespace {

using namespace ulk::sacc;

constexpr long cell_len = 16384;
constexpr long nbr_cells = 64;
constexpr char const* name_list[] = {"u8", "s16", "s24", "s32", "f32"};
constexpr long size_list[] = {1, 2, 3, 4, 4};

std::string get_path(int coding) {
    return std::filesystem::temp_directory_path() /
           ("bench_spl_file_" + std::string(name_list[coding]) + ".wav");
}

// A stereo file of noise, removed with the object.
class NoiseFile {
public:
    explicit NoiseFile(int coding)
        : _path(get_path(coding)) {
        SplFileFmtDesc desc;
        desc.set_data(SplFileFmt_WAV, SplFileBitFmt(coding), 48000, 2);
        SplFileHnd hnd;
        std::vector<float> data(cell_len);
        std::mt19937 rng(1);
        std::uniform_real_distribution<float> dist(-1, 1);
        bool ok_flag = hnd.create_new(_mgr, _path.c_str(), desc, 0) == 0;
        for (long cell = 0; cell < nbr_cells && ok_flag; ++cell) {
            for (auto& spl : data) {
                spl = dist(rng);
            }
            ok_flag = hnd.write_block(data.data(), cell * cell_len / 2, cell_len / 2) == 0;
        }
        if (!ok_flag || hnd.close() != 0) {
            std::abort();
        }
    }
    NoiseFile(NoiseFile const&) = delete;
    NoiseFile& operator=(NoiseFile const&) = delete;
    ~NoiseFile() { std::filesystem::remove(_path); }

    SplFileMgr& use_mgr() { return _mgr; }
    char const* get_path_ptr() const { return _path.c_str(); }

private:
    ulk::sys::Mutex _mutex;
    SplFileMgr _mgr{_mutex};
    std::string _path;
};

// Calls fnc with the first frame of one cell after the other.
template <class F>
void run(benchmark::State& state, F const& fnc) {
    long cell = 0;
    for (auto _ : state) {
        if (!fnc(cell * cell_len / 2)) {
            state.SkipWithError("cannot read");
            return;
        }
        cell = (cell + 1) % nbr_cells;
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * cell_len);
}

void read_manager(benchmark::State& state, int coding) {
    NoiseFile file(coding);
    SplFileHnd hnd;
    hnd.open(file.use_mgr(), file.get_path_ptr(), false);
    std::vector<float> data(cell_len);
    run(state, [&](long pos) { return hnd.read_block(data.data(), pos, cell_len / 2) == 0; });
    hnd.close();
}

void read_pread(benchmark::State& state, int coding) {
    NoiseFile const file(coding);
    int const fd = ::open(file.get_path_ptr(), O_RDONLY);
    std::vector<unsigned char> data(cell_len * 4);
    auto const len = cell_len * size_list[coding];
    run(state, [&](long pos) {
        return ::pread(fd, data.data(), static_cast<std::size_t>(len),
                       44 + pos * 2 * size_list[coding]) == len;
    });
    ::close(fd);
}

#if __has_include(<sndfile.h>)
void read_sndfile(benchmark::State& state, int coding) {
    NoiseFile const file(coding);
    SF_INFO info = {};
    auto* const snd = sf_open(file.get_path_ptr(), SFM_READ, &info);
    std::vector<float> data(cell_len);
    run(state, [&](long pos) {
        return sf_seek(snd, pos, SEEK_SET) == pos &&
               sf_readf_float(snd, data.data(), cell_len / 2) == cell_len / 2;
    });
    sf_close(snd);
}
#endif

int const registered = [] {
    for (int coding = 0; coding < 5; ++coding) {
        auto const add = [&](char const* what, void (*fnc)(benchmark::State&, int)) {
            benchmark::RegisterBenchmark((std::string(what) + name_list[coding]).c_str(),
                                         [fnc, coding](auto& state) { fnc(state, coding); });
        };
        add("read_cell/tessitone/", read_manager);
#if __has_include(<sndfile.h>)
        add("read_cell/libsndfile/", read_sndfile);
#endif
        add("read_cell/pread/", read_pread);
    }
    return 0;
}();

} // namespace
