// The background side of the cache: memory, files, slices, locks.

#include "support/AllocFault.h"
#include "support/FileFault.h"
#include "ulk/sacc/CacheFixture.h"

#include "ulk/sacc/SplFileExtData.h"
#include "ulk/sys/UtcTime.h"

#include <functional>
#include <map>

using namespace ulk;
using namespace ulk::sacc;

namespace {

class SplCacheBkgTest : public test::CacheFixture {
protected:
    long count(Cell::Type type, Cell::Status status) {
        SplCacheStat stat;
        cache.collect_statistics(stat);
        return stat.get_nbr_cells(type, status);
    }

    // A silent file, which costs its blocks on disk nothing.
    Id open_silence(long len, int nbr_chn) {
        auto const path = files.make_name("silence");
        SplFileHnd hnd;
        EXPECT_EQ(0, hnd.create_new(files.mgr, path.c_str(),
                                    test::make_desc(SplFileBitFmt_U8, nbr_chn), len));
        EXPECT_EQ(0, hnd.close());
        return open_path(path);
    }
};

// Asked before every call to the system.
class CallFilter : public test::FileFault::SysCall::Filter {
public:
    using Fnc = std::function<void()>;

    explicit CallFilter(Fnc fnc)
        : _fnc(std::move(fnc))
        , _prev_ptr(test::FileFault::SysCall::set_filter(this)) {}
    CallFilter(CallFilter const&) = delete;
    CallFilter& operator=(CallFilter const&) = delete;
    ~CallFilter() override { test::FileFault::SysCall::set_filter(_prev_ptr); }

protected:
    long do_check(test::FileFault::SysCall::Op, long) override {
        _fnc();
        return 0;
    }

private:
    Fnc _fnc;
    test::FileFault::SysCall::Filter* _prev_ptr;
};

} // namespace

TEST_F(SplCacheBkgTest, WithoutCells) {
    EXPECT_FALSE(cache.do_run_slice());
    EXPECT_EQ(16384, Probe::get_cell_len(cache));
    EXPECT_EQ(0, cache.set_memory(0, 0, 10));
    EXPECT_FALSE(cache.do_run_slice());
    Id const id = open("a", 100);
    EXPECT_EQ(0, prefetch(id, 0, 100));
    EXPECT_EQ((Lines{"W prefetch_data(): Not enough available cell to prefetch all data for file "
                     "\"" +
                     files.make_name("a") + "\""}),
              log.take());
    EXPECT_EQ(0, cache.set_memory(9, 0, 10)); // less than a cell
    EXPECT_TRUE(list_lru().empty());
    SplCacheBkgInterface& bkg = cache;
    EXPECT_FALSE(bkg.do_run_slice());
}

TEST_F(SplCacheBkgTest, MemoryIsCutAfterItWasAdded) {
    EXPECT_EQ(0, cache.set_memory(25, 19, 10)); // 44 floats: 1 for recording, 3 others
    EXPECT_EQ((Longs{0}), list_rec_free());
    EXPECT_EQ((Longs{3, 2, 1}), list_lru());
    EXPECT_EQ(0, cache.add_memory(15, 35)); // 3 and 2
    EXPECT_EQ((Longs{0, 4, 5, 6}), list_rec_free());
    EXPECT_EQ((Longs{8, 7, 3, 2, 1}), list_lru());
    EXPECT_EQ(0, cache.set_memory(5, 9, 10)); // no recording cell at all
    EXPECT_EQ((Longs{0}), list_lru());
    EXPECT_TRUE(list_rec_free().empty());
    Id const id = create("r");
    EXPECT_EQ(Spans(), push(id, 5));
    EXPECT_EQ(0, get_length(id));
    EXPECT_EQ((Lines{"E update_or_reserve_rec_cell(): Not enough free memory."}), log.take());
}

TEST_F(SplCacheBkgTest, AnIdThatWasTakenIsSpent) {
    EXPECT_EQ(1, cache.generate_new_id());
    EXPECT_EQ(2, cache.generate_new_id());
    give_cells(2);
    EXPECT_EQ(3, open("a", 20));
    EXPECT_EQ(0, cache.close_file(3));
    EXPECT_EQ(4, cache.generate_new_id());
}

TEST_F(SplCacheBkgTest, MemoryIsAddedInCellsOfAnyLength) {
    EXPECT_EQ(0, cache.add_memory_internal(40, 20, 20));
    EXPECT_EQ(0, cache.add_memory_internal(30, 0, 10));
    SplCacheStat stat;
    cache.collect_statistics(stat);
    EXPECT_EQ(5, stat.get_nbr_cells(SplCacheCell::Type_NORMAL, SplCacheCell::Status_FREE));
    EXPECT_EQ(1, stat.get_nbr_cells(SplCacheCell::Type_REC, SplCacheCell::Status_FREE));
}

TEST_F(SplCacheBkgTest, MemoryThatCannotBeHad) {
    give_cells(4, 2);
    EXPECT_EQ(0, cache.set_memory(100, 100, 0)); // nothing made, and the length stands
    EXPECT_TRUE(list_lru().empty());
    EXPECT_EQ(10, Probe::get_cell_len(cache));
    EXPECT_EQ(0, cache.set_memory(100, 100, -3));
    EXPECT_EQ(10, Probe::get_cell_len(cache));
    EXPECT_EQ(Lines(), log.take());
    give_cells(4, 2);
    EXPECT_EQ(Err_EXCEPTION, cache.set_memory(-100, 0, 5));
    EXPECT_EQ((Lines{"E add_memory(): Exception."}), log.take());
    EXPECT_EQ(10, Probe::get_cell_len(cache));
    EXPECT_TRUE(list_lru().empty());
    EXPECT_TRUE(list_rec_free().empty());
    EXPECT_FALSE(cache.do_run_slice());
    EXPECT_EQ(0, cache.add_memory(30, 0));
    EXPECT_EQ(3u, list_lru().size());
    EXPECT_EQ(Err_EXCEPTION, cache.add_memory(1L << 61, 0));
    EXPECT_EQ(3u, list_lru().size());
}

TEST_F(SplCacheBkgTest, ASliceEndsOnItsBudgetOfFrames) {
    constexpr long cell_len = 61440;
    EXPECT_EQ(6144000, SplCache::_max_samples_read_per_pass);
    for (long const nbr_cells : {99L, 100L, 101L}) {
        EXPECT_EQ(0, cache.set_memory(nbr_cells * cell_len, 0, cell_len));
        Id const id = open_silence(nbr_cells * cell_len, 1);
        EXPECT_EQ(0, prefetch(id, 0, nbr_cells * cell_len));
        EXPECT_EQ(nbr_cells >= 100, cache.do_run_slice());
        EXPECT_EQ(std::min(nbr_cells, 100L), count(Cell::Type_NORMAL, Cell::Status_FULL));
        EXPECT_FALSE(cache.do_run_slice());
        EXPECT_EQ(nbr_cells, count(Cell::Type_NORMAL, Cell::Status_FULL));
        EXPECT_EQ(0, cache.close_file(id));
    }
    Id const id = open_silence(101 * cell_len / 2, 2); // counted in frames
    EXPECT_EQ(0, prefetch(id, 0, 101 * cell_len / 2));
    EXPECT_FALSE(cache.do_run_slice());
    EXPECT_EQ(101, count(Cell::Type_NORMAL, Cell::Status_FULL));
}

TEST_F(SplCacheBkgTest, LoadsInTheOrderOfTheCells) {
    EXPECT_EQ(0, cache.set_memory(6 * 4096, 0, 4096));
    Id const id = open("a", 6 * 4096);
    EXPECT_EQ(0, prefetch(id, 0, 6 * 4096));
    Longs index_list;
    CallFilter const filter([&] {
        for (long c = 0; c < 6; ++c) {
            if (use_cell(c).get_status() == Cell::Status_TRANSFER) {
                index_list.push_back(c);
            }
        }
    });
    EXPECT_FALSE(cache.do_run_slice());
    index_list.erase(std::unique(index_list.begin(), index_list.end()), index_list.end());
    EXPECT_EQ((Longs{0, 1, 2, 3, 4, 5}), index_list);
    EXPECT_EQ((Longs{0, 1, 2, 3, 4, 5}), list_lru());
}

TEST_F(SplCacheBkgTest, WritesWhatWasFilledLastFirst) {
    give_cells(0, 6);
    Id const id = create("r");
    EXPECT_EQ(4u, push(id, 35).size());
    EXPECT_EQ((Spans{{35, 5, 5}}), push(id, 5));
    EXPECT_EQ((Longs{3, 2, 1, 0}), list_blocks(list_rec_used()));
    EXPECT_EQ(40, get_length(id));
    Longs pos_list;
    {
        CallFilter const filter([&] {
            for (long c = 0; c < 6; ++c) {
                long const pos = use_cell(c).get_block_index() * 10;
                if (use_cell(c).get_status() == Cell::Status_TRANSFER &&
                    (pos_list.empty() || pos_list.back() != pos)) {
                    pos_list.push_back(pos);
                }
            }
        });
        EXPECT_FALSE(cache.do_run_slice());
    }
    EXPECT_EQ((Longs{30, 20, 10, 0}), pos_list);
    EXPECT_TRUE(list_rec_used().empty());
    EXPECT_EQ((Longs{0, 1, 2, 3, 4, 5}), list_rec_free());
    EXPECT_EQ(0, cache.close_file(id));
    expect_file(files.make_name("r"), 40);
}

TEST_F(SplCacheBkgTest, ClosingWritesThePartialCell) {
    give_cells(0, 40);
    Id const other = create("o");
    Id const id = create("r", 3);
    for (int n = 0; n < 30; ++n) { // more than a walk under the lock takes at once
        push(other, 7);
        push(id, n < 8 ? 1 : 0, 3);
    }
    EXPECT_EQ(0, cache.close_file(id));
    expect_file(files.make_name("r"), 8, 3);
    EXPECT_EQ(210, get_length(other));
    EXPECT_EQ(21u, list_rec_used().size());
    EXPECT_TRUE(Probe::check_cell_list_rec_used(cache));
    EXPECT_EQ(0, cache.close_file(other));
    expect_file(files.make_name("o"), 210);
    EXPECT_EQ(40u, list_rec_free().size());
}

// A cell on its way to the disk stands behind those that are being filled.
TEST_F(SplCacheBkgTest, ClosingWritesCellsFromTheBackOfTheList) {
    give_cells(0, 8);
    Id const id = create("r");
    Id const other = create("o");
    push(id, 25);
    push(other, 5);
    EXPECT_EQ(4u, list_rec_used().size());
    long nbr_writes = 0;
    {
        CallFilter const filter([&] {
            for (long const index : list_rec_used()) {
                if (use_cell(index).get_status() == Cell::Status_TRANSFER) {
                    EXPECT_EQ(list_rec_used().back(), index);
                    ++nbr_writes;
                }
            }
        });
        EXPECT_EQ(0, cache.close_file(id));
    }
    EXPECT_GE(nbr_writes, 3);
    EXPECT_EQ(1u, list_rec_used().size());
    EXPECT_EQ(0, cache.close_file(other));
}

TEST_F(SplCacheBkgTest, AClosedFilesCellsAreTheNextToGo) {
    give_cells(6);
    Id const a = open("a", 30);
    Id const b = open("b", 30);
    load(a, 0, 30);
    load(b, 0, 30);
    EXPECT_EQ(0, cache.lock_data(a, 0, 10));
    EXPECT_EQ((Longs{3, 4, 0, 1, 2}), list_lru());
    EXPECT_EQ(0, cache.close_file(a));
    EXPECT_EQ((Longs{5, 4, 3, 0, 1, 2}), list_lru());
    EXPECT_EQ(3, count(Cell::Type_NORMAL, Cell::Status_FREE));
    EXPECT_EQ(3, count(Cell::Type_NORMAL, Cell::Status_FULL));
    EXPECT_EQ((Spans{{0, 0, 10}, {10, 0, 10}, {20, 0, 10}}), get(b, 0, 30));
    EXPECT_FALSE(cache.is_file_existing(a));
    EXPECT_EQ(Err_FILE_ID_UNKNOWN, cache.close_file(a));
    EXPECT_EQ((Lines{"E close_file(): Unknown file id 1"}), log.take());
}

// Between the file's leaving the table and the freeing of its cells passes run.
TEST_F(SplCacheBkgTest, APassTakesACellOfAFileThatIsBeingClosed) {
    give_cells(2, 1);
    Id const a = open("a", 20);
    Id const b = open("b", 20);
    load(a, 0, 20);
    SplCacheFileDesc const* const desc_ptr = Probe::find_file(cache, a);
    bool done_flag = false;
    {
        CallFilter const filter([&] { // the first call after the table was changed
            if (!done_flag && Probe::find_file(cache, a) == nullptr && desc_ptr != nullptr) {
                done_flag = true;
                prefetch(b, 0, 20);
            }
        });
        EXPECT_EQ(0, cache.close_file(a));
    }
    EXPECT_TRUE(done_flag);
    load(b, 0, 20);
    EXPECT_EQ((Spans{{0, 0, 10}, {10, 0, 10}}), get(b, 0, 20));
}

TEST_F(SplCacheBkgTest, LockingWhatIsLocked) {
    give_cells(4);
    auto const path = make_file("a", 100);
    Id const id = open_path(path);
    load(id, 0, 10);
    EXPECT_EQ(0, cache.lock_data(id, 0, 15));
    EXPECT_EQ(1, count(Cell::Type_LOCKED, Cell::Status_FULL));
    EXPECT_EQ(1, count(Cell::Type_LOCKED, Cell::Status_REQUESTED));
    EXPECT_EQ(0, cache.lock_data(id, 5, 20));
    EXPECT_EQ(1u, list_lru().size());
    EXPECT_EQ(Lines(), log.take());
    EXPECT_EQ(0, cache.lock_data(id, 0, 100)); // as far as the cells go
    EXPECT_EQ((Lines{"W lock_data(): Not enough available cell to lock all data for file \"" +
                     path + "\""}),
              log.take());
    EXPECT_TRUE(list_lru().empty());
    EXPECT_FALSE(cache.do_run_slice());
    EXPECT_EQ(4u, get(id, 0, 100).size());
    EXPECT_EQ(0, cache.unlock_data(id));
    EXPECT_EQ((Longs{3, 2, 1, 0}), list_lru()); // block by block to the back
    EXPECT_EQ(4u, get(id, 0, 100).size());
    EXPECT_EQ(0, cache.unlock_data(id));
    EXPECT_EQ(4u, list_lru().size());
}

TEST_F(SplCacheBkgTest, RefusedLocksAndInvalidations) {
    give_cells(4, 2);
    auto const path = make_file("a", 100);
    Id const id = open_path(path);
    Id const rec = create("r");
    auto const rec_path = files.make_name("r");
    EXPECT_EQ(Err_OUT_OF_RANGE, cache.lock_data(id, 95, 6));
    EXPECT_EQ(Err_OUT_OF_RANGE, cache.invalidate_data(id, 95, 6));
    EXPECT_EQ(Err_LEN_NOT_FIXED, cache.lock_data(rec, 0, 1000));
    EXPECT_EQ(Err_LEN_NOT_FIXED, cache.unlock_data(rec));
    EXPECT_EQ(Err_LEN_NOT_FIXED, cache.invalidate_data(rec, 0, 1000));
    EXPECT_EQ(Err_FILE_ID_UNKNOWN, cache.lock_data(9, 0, 1));
    EXPECT_EQ(Err_FILE_ID_UNKNOWN, cache.unlock_data(9));
    EXPECT_EQ(Err_FILE_ID_UNKNOWN, cache.invalidate_data(9, 0, 1));
    EXPECT_EQ(
        (Lines{"E lock_data(): Requested data is out of range (block end: 101, file len: "
               "100, file \"" +
                   path + "\").",
               "E invalidate_data(): Requested data is out of range (block end: 101, file "
               "len: 100, file \"" +
                   path + "\").",
               "E lock_data(): File \"" + rec_path + "\" cannot have its data locked.",
               "E unlock_data(): File \"" + rec_path + "\" cannot have its data unlocked.",
               "E invalidate_data(): File \"" + rec_path + "\" cannot have its data invalidated.",
               "E lock_data(): Unknown file id 9", "E unlock_data(): Unknown file id 9",
               "E invalidate_data(): Unknown file id 9"}),
        log.take());
    EXPECT_EQ(4u, list_lru().size());
}

TEST_F(SplCacheBkgTest, InvalidatingReadsAgainWhatIsThere) {
    give_cells(4);
    Id const id = open("a", 100);
    load(id, 0, 20);
    EXPECT_EQ(0, cache.lock_data(id, 10, 10));
    auto const index_list = list_index(id);
    EXPECT_EQ(0, cache.invalidate_data(id, 0, 100));
    EXPECT_EQ(index_list, list_index(id)); // nothing is brought in
    EXPECT_EQ(1, count(Cell::Type_LOCKED, Cell::Status_REQUESTED));
    EXPECT_EQ(1, count(Cell::Type_NORMAL, Cell::Status_REQUESTED));
    EXPECT_EQ(Spans(), get(id, 0, 100));
    EXPECT_FALSE(cache.do_run_slice());
    EXPECT_EQ(2u, get(id, 0, 100).size());
}

TEST_F(SplCacheBkgTest, AFailedReadIsAHoleForGood) {
    give_cells(1);
    Id const id = open("a", 2000);
    {
        test::FileFault fault;
        fault.fail_at(1, EIO, test::FileFault::SysCall::Op_READ, test::FileFault::FOR_EVER);
        load(id, 1500, 1);
    }
    EXPECT_EQ(1, count(Cell::Type_NORMAL, Cell::Status_TRANSFER));
    for (int n = 0; n < 2; ++n) { // neither asking again nor invalidating heals it
        load(id, 1500, 1);
        EXPECT_EQ(0, cache.invalidate_data(id, 1500, 1));
        EXPECT_FALSE(cache.do_run_slice());
        EXPECT_EQ(Spans(), get(id, 1500, 1));
    }
    EXPECT_EQ(0, cache.lock_data(id, 1500, 1));
    EXPECT_FALSE(cache.do_run_slice());
    EXPECT_EQ(Spans(), get(id, 1500, 1));
    EXPECT_EQ(0, cache.unlock_data(id));
    load(id, 0, 1); // takes its cell
    load(id, 1500, 1);
    EXPECT_EQ((Spans{{1500, 0, 1}}), get(id, 1500, 1));
}

TEST_F(SplCacheBkgTest, FailedReadsCountInTheBudget) {
    constexpr long cell_len = 61440;
    EXPECT_EQ(0, cache.set_memory(100 * cell_len, 0, cell_len));
    Id const id = open_silence(100 * cell_len, 1);
    EXPECT_EQ(0, prefetch(id, 0, 100 * cell_len));
    test::FileFault fault;
    fault.fail_at(1, EIO, test::FileFault::SysCall::Op_READ, test::FileFault::FOR_EVER);
    EXPECT_TRUE(cache.do_run_slice());
    EXPECT_EQ(100, count(Cell::Type_NORMAL, Cell::Status_TRANSFER));
}

TEST_F(SplCacheBkgTest, Queries) {
    give_cells(4, 4);
    auto const path = make_file("a", 33, 2);
    Id const id = open_path(path);
    Id const rec = create("r");
    push(rec, 12);
    EXPECT_EQ(33, get_length(id));
    EXPECT_EQ(12, get_length(rec));
    int nbr_chn = 0;
    EXPECT_EQ(0, cache.get_nbr_chn(id, nbr_chn));
    EXPECT_EQ(2, nbr_chn);
    double freq = 0;
    EXPECT_EQ(0, cache.get_sample_freq(id, freq));
    EXPECT_EQ(44100.0, freq);
    SplFileBitFmt bit_fmt = SplFileBitFmt_U8;
    EXPECT_EQ(0, cache.get_sample_format(id, bit_fmt));
    EXPECT_EQ(SplFileBitFmt_F32, bit_fmt);
    SplFileFmt fmt = SplFileFmt(-1);
    EXPECT_EQ(0, cache.get_file_format(id, fmt));
    EXPECT_EQ(SplFileFmt_WAV, fmt);
    SplFileFmtCustomInterface* provider_ptr = nullptr;
    EXPECT_EQ(0, cache.get_data_provider(id, provider_ptr));
    EXPECT_NE(nullptr, provider_ptr);
    sys::UtcTime creation;
    sys::UtcTime modification;
    EXPECT_EQ(0, cache.get_dates(id, creation, modification));
    EXPECT_EQ(0, cache.set_dates(id, creation, modification));
    Longs list{9, 9, 9};
    cache.list_open_files(list);
    EXPECT_EQ((Longs{id, rec}), list);
    EXPECT_EQ(0, cache.validate_new_data(rec));
    EXPECT_EQ(Lines(), log.take());
    EXPECT_EQ(0, cache.close_file(rec));
}

TEST_F(SplCacheBkgTest, QueriesOfTheUnknownTouchNothing) {
    archi::Int64 len = 5;
    int nbr_chn = 5;
    double freq = 5;
    SplFileBitFmt bit_fmt = SplFileBitFmt_S24;
    SplFileFmt fmt = SplFileFmt(-1);
    SplFileFmtCustomInterface* provider_ptr = nullptr;
    SplFileExtData ext_data;
    sys::UtcTime creation;
    sys::UtcTime modification;
    std::vector<int> const result_list{cache.get_length(3, len),
                                       cache.get_nbr_chn(3, nbr_chn),
                                       cache.get_sample_freq(3, freq),
                                       cache.get_sample_format(3, bit_fmt),
                                       cache.get_file_format(3, fmt),
                                       cache.get_data_provider(3, provider_ptr),
                                       cache.read_ext_data(3, ext_data),
                                       cache.get_dates(3, creation, modification),
                                       cache.set_dates(3, creation, modification),
                                       cache.validate_new_data(3)};
    EXPECT_EQ(std::vector<int>(10, Err_FILE_ID_UNKNOWN), result_list);
    Lines wanted;
    for (char const* const name :
         {"get_length", "get_nbr_chn", "get_sample_freq", "get_sample_format", "get_file_format",
          "get_data_provider", "read_ext_data", "get_dates", "set_dates", "validate_new_data"}) {
        wanted.push_back("E " + std::string(name) + "(): Unknown file id 3");
    }
    EXPECT_EQ(wanted, log.take());
    EXPECT_EQ(5, len);
    EXPECT_EQ(5, nbr_chn);
    EXPECT_EQ(5.0, freq);
    EXPECT_EQ(SplFileBitFmt_S24, bit_fmt);
    EXPECT_EQ(SplFileFmt(-1), fmt);
    EXPECT_EQ(nullptr, provider_ptr);
}

TEST_F(SplCacheBkgTest, AFailureToOpenSpendsNoId) {
    give_cells(2);
    Id id = -5;
    EXPECT_NE(0, cache.open_file(id, files.make_name("none").c_str(), false));
    EXPECT_NE(0, cache.create_file_new(id, files.make_name("no/dir").c_str(),
                                       test::make_desc(SplFileBitFmt_S16, 1)));
    EXPECT_NE(0, cache.create_file_copy(id, files.make_name("no/dir").c_str(), SplFileExtData()));
    EXPECT_EQ(Err_OUT_OF_RANGE, cache.open_file(id, make_file("wide", 5, 11).c_str(), false));
    EXPECT_EQ(-5, id);
    EXPECT_EQ(1, open("a", 10));
    EXPECT_EQ(2, open("b", 10, 10)); // a frame a cell
    EXPECT_EQ(0, cache.close_file(2));
    EXPECT_EQ(3, open("b", 10, 10)); // never the same again
}

TEST_F(SplCacheBkgTest, ACopyIsReadAndOfFixedLength) {
    give_cells(4, 4);
    Id const id = open("a", 25);
    SplFileExtData ext_data;
    EXPECT_EQ(0, cache.read_ext_data(id, ext_data));
    Id copy = -1;
    auto const path = files.make_name("copy");
    EXPECT_EQ(0, cache.create_file_copy(copy, path.c_str(), ext_data));
    EXPECT_EQ(25, get_length(copy));
    EXPECT_EQ(Longs(3, -1), list_index(copy));
    EXPECT_EQ(0, cache.lock_data(copy, 0, 25));
    EXPECT_EQ(0, cache.close_file(copy));
}

// Whoever waits for a disk does not hold the real-time mutex: each call to the system takes it.
TEST_F(SplCacheBkgTest, TheRealTimeMutexIsFreeAroundEveryCallToTheSystem) {
    give_cells(4, 4);
    auto const path = make_file("a", 100);
    long nbr_calls = 0;
    CallFilter const filter([&] {
        sys::CritSec const pass(mutex_rt);
        ++nbr_calls;
    });
    Id const id = open_path(path);
    Id const rec = create("r");
    for (int n = 0; n < 4; ++n) {
        EXPECT_EQ(0, prefetch(id, n * 20, 40));
        push(rec, 15);
        EXPECT_FALSE(cache.do_run_slice());
    }
    EXPECT_EQ(0, cache.validate_new_data(rec));
    EXPECT_EQ(0, cache.lock_data(id, 0, 20));
    EXPECT_EQ(0, cache.close_file(rec));
    EXPECT_EQ(0, cache.close_file(id));
    EXPECT_GT(nbr_calls, 20);
}

TEST_F(SplCacheBkgTest, ASliceAllocatesNothing) {
    EXPECT_EQ(0, cache.set_memory(64 * 16384, 4 * 16384, 16384));
    auto const path = make_file("a", 20 * 16384);
    Id const id = open_path(path);
    Id const rec = create("r");
    load(id, 0, 16384);
    test::AllocFault const fault;
    EXPECT_FALSE(cache.do_run_slice());
    EXPECT_EQ(0, prefetch(id, 0, 20 * 16384));
    EXPECT_FALSE(cache.do_run_slice()); // floats go straight into the cells
    EXPECT_EQ(0, fault.get_count());
    EXPECT_EQ(0, cache.close_file(rec));
}

TEST_F(SplCacheBkgTest, OpeningSurvivesTheNthAllocation) {
    give_cells(4, 4);
    auto const path = make_file("a", 100);
    auto const rec_path = files.make_name("r");
    auto const copy_path = files.make_name("c");
    SplFileExtData ext_data;
    {
        Id const id = open_path(path);
        EXPECT_EQ(0, cache.read_ext_data(id, ext_data));
        EXPECT_EQ(0, cache.close_file(id));
    }
    using Operation = std::function<int(Id&)>;
    std::map<std::string, Operation> const operation_map = {
        {"open_file(): Exception while opening file \"" + path + "\".",
         [&](Id& id) { return cache.open_file(id, path.c_str(), false); }},
        {"create_file_new(): Exception for file \"" + rec_path + "\".",
         [&](Id& id) {
             return cache.create_file_new(id, rec_path.c_str(),
                                          test::make_desc(SplFileBitFmt_S16, 1));
         }},
        {"create_file_copy(): Exception for file \"" + copy_path + "\".",
         [&](Id& id) { return cache.create_file_copy(id, copy_path.c_str(), ext_data); }}};
    for (auto const& [text, fnc] : operation_map) {
        int ret = -1;
        long nbr_told = 0;
        for (long n = 0; ret != 0; ++n) {
            Id id = -5;
            log.take();
            {
                test::AllocFault const fault(n);
                ret = fnc(id);
            }
            Longs list;
            cache.list_open_files(list);
            EXPECT_EQ(ret == 0 ? 1u : 0u, list.size());
            auto const lines = log.take();
            bool const told_flag =
                std::find(lines.begin(), lines.end(), "E " + text) != lines.end();
            nbr_told += told_flag;
            EXPECT_TRUE(!told_flag || ret == Err_EXCEPTION);
            if (ret == 0) {
                EXPECT_EQ(0, cache.close_file(id));
            }
        }
        EXPECT_GT(nbr_told, 1) << text;
    }
}

TEST_F(SplCacheBkgTest, WhatIsLeftOpenIsClosedWithAWarning) {
    sys::Mutex rt;
    sys::Mutex bkg;
    auto const path = make_file("a", 100);
    {
        SplCache other(rt, bkg, files.mgr);
        EXPECT_EQ(0, other.set_memory(40, 0, 10));
        Id id = -1;
        EXPECT_EQ(0, other.open_file(id, path.c_str(), true));
    }
    EXPECT_EQ((Lines{"E dtor(): file is still open. Auto-closing.\n"}), log.take());
    EXPECT_EQ(1, open_path(path));
}
