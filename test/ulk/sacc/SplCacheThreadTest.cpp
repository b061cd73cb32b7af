// The cache under all its threads at once: passes of readers and recorders, passes of several
// threads under one lock, slices, and a thread that opens, locks and closes. Every frame tells its
// place. TESSITONE_THREAD_SECONDS sets how long it goes on.

#include "ulk/sacc/CacheFixture.h"

#include <array>
#include <atomic>
#include <barrier>
#include <chrono>
#include <cstdlib>
#include <functional>
#include <random>
#include <thread>

using namespace ulk;
using namespace ulk::sacc;

namespace {

constexpr long nbr_slots = 4; // files that are read
constexpr long nbr_recs = 2;
constexpr long file_len = 30000;
constexpr long rec_len_max = 400000;

double get_duration() {
    char const* const txt = std::getenv("TESSITONE_THREAD_SECONDS");
    return txt != nullptr ? std::atof(txt) : 1.5;
}

float get_frame(long slot, archi::Int64 pos) {
    return static_cast<float>(slot * file_len + pos);
}

class SplCacheThreadTest : public test::CacheFixture {
protected:
    struct Recording {
        std::atomic<long> id{-1};
        std::atomic<long> len{0}; // frames written by the passes
    };

    static int get_nbr_chn(long slot) { return 1 + static_cast<int>(slot % 2); }

    std::string get_path(long slot) { return files.make_name("read" + std::to_string(slot)); }

    void make_files() {
        for (long slot = 0; slot < nbr_slots; ++slot) {
            int const nbr_chn = get_nbr_chn(slot);
            test::Floats floats;
            for (long n = 0; n < file_len * nbr_chn; ++n) {
                floats.push_back(get_frame(slot, n / nbr_chn));
            }
            SplFileHnd hnd;
            EXPECT_EQ(0, hnd.create_new(files.mgr, get_path(slot).c_str(),
                                        test::make_desc(SplFileBitFmt_F32, nbr_chn), 0));
            EXPECT_EQ(0, hnd.write_block(floats.data(), 0, file_len));
            EXPECT_EQ(0, hnd.close());
        }
    }

    void open_slot(long slot) {
        Id id = -1;
        _nbr_bad += cache.open_file(id, get_path(slot).c_str(), false) != 0;
        _id_arr[static_cast<std::size_t>(slot)] = id;
    }

    void open_recording(long rec) {
        Recording& recording = _rec_arr[static_cast<std::size_t>(rec)];
        recording.len = 0;
        Id id = -1;
        auto const path = files.make_name("rec" + std::to_string(rec));
        _nbr_bad +=
            cache.create_file_new(id, path.c_str(), test::make_desc(SplFileBitFmt_F32, 1)) != 0;
        recording.id = id;
    }

    void close_recording(long rec) {
        Recording& recording = _rec_arr[static_cast<std::size_t>(rec)];
        _nbr_bad += cache.validate_new_data(recording.id) != 0;
        _nbr_bad += cache.close_file(recording.id) != 0;
        recording.id = -1;
        long const len = recording.len;
        auto const path = files.make_name("rec" + std::to_string(rec));
        SplFileHnd hnd;
        _nbr_bad += hnd.open(files.mgr, path.c_str(), false) != 0 || hnd.get_length() != len;
        test::Floats floats(static_cast<std::size_t>(len));
        _nbr_bad += hnd.read_block(floats.data(), 0, len) != 0;
        _nbr_bad += hnd.close() != 0;
        for (long n = 0; n < len; ++n) {
            _nbr_bad += floats[static_cast<std::size_t>(n)] != static_cast<float>(n);
        }
        _nbr_recorded += len;
    }

    // Within a pass, from here on.
    void read(std::mt19937& rng) {
        long const slot = static_cast<long>(rng() % nbr_slots);
        Id const id = _id_arr[static_cast<std::size_t>(slot)];
        int const nbr_chn = get_nbr_chn(slot);
        long const pos = static_cast<long>(rng() % (file_len - 3000));
        if (rng() % 2 == 0) {
            cache.prefetch_data(id, pos, 2500);
        }
        SplCacheIteratorRead it;
        cache.get_data(id, pos, 2500, it);
        archi::Int64 end = pos;
        for (; it.is_rem_elt(); it.iterate()) {
            _nbr_bad += it.get_data_pos_file() < end || it.get_data_len() < 1;
            end = it.get_data_pos_file() + it.get_data_len();
            float const* const data = it.use_cell().use_data() + it.get_data_pos_cell() * nbr_chn;
            for (long n = 0; n < it.get_data_len() * nbr_chn; ++n) {
                _nbr_bad += data[n] != get_frame(slot, it.get_data_pos_file() + n / nbr_chn);
            }
            _nbr_read += it.get_data_len();
        }
        _nbr_bad += end > pos + 2500;
    }

    void record(long rec, std::mt19937& rng) {
        Recording& recording = _rec_arr[static_cast<std::size_t>(rec)];
        Id const id = recording.id;
        SplCacheIteratorWrite it;
        long const len = static_cast<long>(rng() % 700);
        if (recording.len > rec_len_max || cache.push_data(id, len, it) != 0) {
            return;
        }
        for (; it.is_rem_elt(); it.iterate()) {
            float* const data = it.use_cell().use_data() + it.get_data_pos_cell();
            for (long n = 0; n < it.get_data_len(); ++n) {
                data[n] = static_cast<float>(it.get_data_pos_file() + n);
            }
            recording.len += it.get_data_len();
        }
    }

    void run_passes(unsigned seed) {
        std::mt19937 rng(seed);
        while (!_stop_flag) {
            sys::CritSec const pass(mutex_rt);
            read(rng);
            std::this_thread::yield();
        }
    }

    // Passes of three threads under a lock that one of them takes for all.
    void run_shared_passes(long member) {
        std::mt19937 rng(static_cast<unsigned>(100 + member));
        for (bool go_flag = true; go_flag;) {
            if (member == 0) {
                mutex_rt.lock();
                _last_pass_flag = _stop_flag.load();
            }
            _barrier.arrive_and_wait();
            go_flag = !_last_pass_flag;
            read(rng);
            if (member < nbr_recs) {
                record(member, rng);
            }
            _barrier.arrive_and_wait();
            if (member == 0) {
                mutex_rt.unlock();
                std::this_thread::yield();
            }
        }
    }

    void run_slices() {
        while (!_stop_flag) {
            cache.do_run_slice();
            std::this_thread::yield();
        }
    }

    void control() {
        std::mt19937 rng(7);
        auto const end =
            std::chrono::steady_clock::now() + std::chrono::duration<double>(get_duration());
        for (long step = 0; std::chrono::steady_clock::now() < end; ++step) {
            control_files(step, rng);
            for (auto const& line : log.take()) {
                check_line(line);
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        _stop_flag = true;
    }

    void control_files(long step, std::mt19937& rng) {
        long const slot = static_cast<long>(rng() % nbr_slots);
        Id const id = _id_arr[static_cast<std::size_t>(slot)];
        SplCacheStat stat;
        archi::Int64 len = 0;
        switch (rng() % 6) {
        case 0:
            _nbr_bad += cache.close_file(id) != 0;
            return open_slot(slot);
        case 1:
            _nbr_bad += cache.lock_data(id, static_cast<long>(rng() % 20000), 3000) != 0;
            return;
        case 2:
            _nbr_bad += cache.unlock_data(id) != 0;
            return;
        case 3:
            _nbr_bad += cache.invalidate_data(id, static_cast<long>(rng() % 20000), 9000) != 0;
            return;
        case 4:
            cache.collect_statistics(stat);
            _nbr_bad += cache.get_length(_rec_arr[0].id, len) != 0 || len < 0;
            _nbr_bad += !cache.is_file_existing(id);
            return;
        default:
            if (step % 8 == 0) {
                long const rec = static_cast<long>(rng() % nbr_recs);
                close_recording(rec);
                open_recording(rec);
            }
            if (cache.add_memory(0, 0) != 0) {
                ++_nbr_bad;
            }
        }
    }

    void check_line(std::string const& line) {
        for (char const* const txt :
             {"prefetch_data(): Unknown file id", "get_data(): Unknown file id",
              "push_data(): Unknown file id", "check_cells_read(): too few cells!",
              "update_or_reserve_rec_cell(): Not enough free memory.",
              "lock_data(): Not enough available cell",
              "prefetch_data(): Not enough available cell"}) {
            if (line.find(txt) == 2) {
                return;
            }
        }
        ADD_FAILURE() << line;
    }

    std::array<std::atomic<long>, nbr_slots> _id_arr{};
    std::array<Recording, nbr_recs> _rec_arr;
    std::atomic<bool> _stop_flag{false};
    bool _last_pass_flag = false; // between the barriers
    std::barrier<> _barrier{3};
    std::atomic<long> _nbr_bad{0};
    std::atomic<long> _nbr_read{0};
    std::atomic<long> _nbr_recorded{0};
};

} // namespace

TEST_F(SplCacheThreadTest, EveryFrameIsWhereItBelongs) {
    make_files();
    EXPECT_EQ(0, cache.set_memory(24 * 1000, 12 * 1000, 1000));
    for (long slot = 0; slot < nbr_slots; ++slot) {
        open_slot(slot);
    }
    for (long rec = 0; rec < nbr_recs; ++rec) {
        open_recording(rec);
    }
    {
        std::vector<std::jthread> thread_list;
        thread_list.emplace_back([this] { run_passes(1); });
        for (long member = 0; member < 3; ++member) {
            thread_list.emplace_back([this, member] { run_shared_passes(member); });
        }
        thread_list.emplace_back([this] { run_slices(); });
        thread_list.emplace_back([this] { control(); });
    }
    for (long rec = 0; rec < nbr_recs; ++rec) {
        close_recording(rec);
    }
    for (auto const& id : _id_arr) {
        EXPECT_EQ(0, cache.close_file(id));
    }
    EXPECT_EQ(0, _nbr_bad);
    EXPECT_GT(_nbr_read, 10000);
    EXPECT_GT(_nbr_recorded, 1000);
    EXPECT_EQ(24u, list_lru().size()); // every cell is back
    EXPECT_EQ(12u, list_rec_free().size());
    RecordProperty("frames_read", static_cast<int>(_nbr_read / 1000));
    RecordProperty("frames_recorded", static_cast<int>(_nbr_recorded / 1000));
}
