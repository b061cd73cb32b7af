// The real-time side of the cache and its iterators.

#include "support/RealTimeGuard.h"
#include "ulk/sacc/CacheFixture.h"

#include <limits>
#include <thread>

using namespace ulk;
using namespace ulk::sacc;

namespace {

class SplCacheRtTest : public test::CacheFixture {};

} // namespace

TEST_F(SplCacheRtTest, ADefaultIteratorHasNothing) {
    SplCacheIteratorRead read;
    EXPECT_FALSE(read.is_rem_elt());
    EXPECT_EQ(-1, read.get_frame_pos());
    EXPECT_EQ(-1, read.get_frame_len());
    EXPECT_EQ(nullptr, read.use_cell().use_data());
    read.iterate();
    EXPECT_FALSE(read.is_rem_elt());
    SplCacheIteratorWrite write;
    EXPECT_FALSE(write.is_rem_elt());
    EXPECT_EQ(-1, write.get_frame_pos());
    EXPECT_EQ(-1, write.get_frame_len());
    write.iterate();
    EXPECT_FALSE(write.is_rem_elt());
    read.clear(5, 6);
    EXPECT_EQ(5, read.get_frame_pos());
    EXPECT_EQ(6, read.get_frame_len());
    read.clear();
    EXPECT_EQ(-1, read.get_frame_pos());
    EXPECT_EQ(-1, read.get_frame_len());
}

TEST_F(SplCacheRtTest, APrefetchMayEndAtTheEndOfTheFileAndNoFurther) {
    give_cells(6);
    Id const id = open("a", 55);
    auto const lru = list_lru();
    EXPECT_EQ(Err_OUT_OF_RANGE, prefetch(id, 50, 6));
    EXPECT_EQ((Lines{"E prefetch_data(): End position 56 is out file (id 1, len 55)"}), log.take());
    EXPECT_EQ(Longs(6, -1), list_index(id));
    EXPECT_EQ(lru, list_lru());
    EXPECT_EQ(0, prefetch(id, 50, 5));
    EXPECT_EQ((Longs{-1, -1, -1, -1, -1, 5}), list_index(id));
    EXPECT_EQ(Lines(), log.take());
}

TEST_F(SplCacheRtTest, ARangeThatLeavesTheIntegersIsOutsideTheFile) {
    give_cells(6);
    Id const id = open("a", 55);
    auto const far = std::numeric_limits<ulk::archi::Int64>::max();
    EXPECT_EQ(Err_OUT_OF_RANGE, prefetch(id, far, 1));
    EXPECT_EQ(Err_OUT_OF_RANGE, prefetch(id, 1, std::numeric_limits<long>::max()));
    EXPECT_EQ(Err_OUT_OF_RANGE, cache.lock_data(id, far, 1));
    EXPECT_EQ(Err_OUT_OF_RANGE, cache.invalidate_data(id, far - 5, 10));
    EXPECT_EQ(Longs(6, -1), list_index(id));
    auto const end = std::to_string(far);
    auto const lines = log.take();
    ASSERT_EQ(4u, lines.size());
    EXPECT_EQ("E prefetch_data(): End position " + end + " is out file (id 1, len 55)", lines[0]);
    EXPECT_TRUE(lines[2].find("(block end: " + end + ", file len: 55") != std::string::npos);
}

TEST_F(SplCacheRtTest, BlocksGoIntoCellsFromTheLastMadeOn) {
    give_cells(6);
    Id const id = open("a", 60);
    load(id, 0, 60);
    EXPECT_EQ((Longs{5, 4, 3, 2, 1, 0}), list_index(id));
    EXPECT_EQ((Longs{5, 4, 3, 2, 1, 0}), list_blocks(list_lru()));
    EXPECT_EQ((Longs{0, 1, 2, 3, 4, 5}), list_lru());
}

TEST_F(SplCacheRtTest, AnAnswerBeforeTheDataIsThereMarksTheCells) {
    give_cells(4);
    Id const id = open("a", 100);
    EXPECT_EQ(0, prefetch(id, 0, 30));
    EXPECT_EQ(Spans(), get(id, 0, 20));
    SplCacheStat stat;
    cache.collect_statistics(stat);
    EXPECT_EQ(2, stat.get_nbr_cells_read(Cell::Type_NORMAL));
    EXPECT_EQ(3, stat.get_nbr_cells(Cell::Type_NORMAL, Cell::Status_REQUESTED));
    EXPECT_EQ(1, stat.get_nbr_cells(Cell::Type_NORMAL, Cell::Status_FREE));
    EXPECT_EQ((Longs{-1, 2, 0, 1}), list_blocks(list_lru())); // asked for: fresh
    EXPECT_FALSE(cache.do_run_slice());
    EXPECT_EQ((Spans{{0, 0, 10}, {10, 0, 10}}), get(id, 0, 20));
}

TEST_F(SplCacheRtTest, HolesArePassedOver) {
    give_cells(2);
    Id const id = open("a", 100);
    EXPECT_EQ(0, prefetch(id, 25, 1));
    EXPECT_EQ(0, prefetch(id, 45, 1));
    EXPECT_FALSE(cache.do_run_slice());
    EXPECT_EQ((Spans{{20, 0, 10}, {40, 0, 10}}), get(id, 3, 90));
    EXPECT_EQ((Spans{{22, 2, 3}}), get(id, 22, 3)); // inside of one cell
    EXPECT_EQ(Spans(), get(id, 0, 20));
}

TEST_F(SplCacheRtTest, ThreeBlocksOfWhichTheFirstAndLastAreCut) {
    give_cells(4);
    Id const id = open("a", 100, 2);
    load(id, 0, 20);
    EXPECT_EQ((Spans{{3, 3, 2}, {5, 0, 5}, {10, 0, 5}, {15, 0, 2}}), get(id, 3, 14, 2));
    EXPECT_EQ((Spans{{8, 3, 2}, {10, 0, 5}, {15, 0, 1}}), get(id, 8, 8, 2));
}

TEST_F(SplCacheRtTest, TheShortLastBlockEndsTheWalk) {
    give_cells(4);
    Id const id = open("a", 23);
    load(id, 10, 13);
    EXPECT_EQ((Spans{{15, 5, 5}, {20, 0, 3}}), get(id, 15, 8));
    // However long the range: there are no blocks behind the file's.
    EXPECT_EQ((Spans{{15, 5, 5}, {20, 0, 3}}), get(id, 15, 1000));
    EXPECT_EQ(Spans(), get(id, 500, 1000));
}

TEST_F(SplCacheRtTest, FramesOfThreeChannelsLeaveAFloatUnused) {
    give_cells(4);
    Id const id = open("a", 11, 3);
    load(id, 0, 11);
    EXPECT_EQ((Spans{{0, 0, 3}, {3, 0, 3}, {6, 0, 3}, {9, 0, 2}}), get(id, 0, 11, 3));
}

TEST_F(SplCacheRtTest, NoFramesCoverOneBlockOrNone) {
    give_cells(4);
    Id const id = open("a", 40);
    load(id, 0, 40);
    EXPECT_EQ((Spans{{0, 0, 0}}), get(id, 0, 0));
    EXPECT_EQ((Spans{{15, 5, 0}}), get(id, 15, 0));
    EXPECT_EQ(Spans(), get(id, 20, 0));
    EXPECT_EQ(Spans(), get(id, 40, 0));
    EXPECT_EQ(0, prefetch(id, 40, 0));
    Id const empty = open("empty", 0);
    EXPECT_EQ(0, prefetch(empty, 0, 0));
    EXPECT_EQ(Spans(), get(empty, 0, 0));
    EXPECT_TRUE(list_index(empty).empty());
    EXPECT_EQ(Lines(), log.take());
}

TEST_F(SplCacheRtTest, LockedCellsAreNeitherMovedNorEvicted) {
    give_cells(3);
    Id const id = open("a", 100);
    EXPECT_EQ(0, cache.lock_data(id, 0, 10));
    EXPECT_FALSE(cache.do_run_slice());
    auto const lru = list_lru();
    EXPECT_EQ(2u, lru.size());
    EXPECT_EQ(0, prefetch(id, 0, 10));
    EXPECT_EQ((Spans{{0, 0, 10}}), get(id, 0, 10));
    EXPECT_EQ(lru, list_lru());
    load(id, 10, 90); // far more than there are cells
    EXPECT_EQ((Spans{{0, 0, 10}, {80, 0, 10}, {90, 0, 10}}), get(id, 0, 100));
}

TEST_F(SplCacheRtTest, WithAllCellsLockedNothingIsRequested) {
    give_cells(2);
    auto const path = make_file("a", 100);
    Id const id = open_path(path);
    EXPECT_EQ(0, cache.lock_data(id, 0, 20));
    EXPECT_EQ(0, prefetch(id, 10, 90));
    EXPECT_EQ((Lines{"W prefetch_data(): Not enough available cell to prefetch all data for file "
                     "\"" +
                     path + "\""}),
              log.take());
    EXPECT_EQ((Longs{1, 0, -1, -1, -1, -1, -1, -1, -1, -1}), list_index(id));
}

TEST_F(SplCacheRtTest, APrefetchOfTooMuchEvictsItsOwnBeginning) {
    give_cells(3);
    Id const id = open("a", 100);
    load(id, 0, 50);
    EXPECT_EQ((Spans{{20, 0, 10}, {30, 0, 10}, {40, 0, 10}}), get(id, 0, 100));
    EXPECT_EQ(Lines(), log.take());
}

TEST_F(SplCacheRtTest, UnknownFiles) {
    give_cells(3, 3);
    EXPECT_EQ(Err_FILE_ID_UNKNOWN, prefetch(7, 0, 1));
    SplCacheIteratorRead read;
    EXPECT_EQ(Err_FILE_ID_UNKNOWN, cache.get_data(7, 30, 40, read));
    EXPECT_FALSE(read.is_rem_elt());
    EXPECT_EQ(30, read.get_frame_pos());
    EXPECT_EQ(40, read.get_frame_len());
    SplCacheIteratorWrite write;
    EXPECT_EQ(Err_FILE_ID_UNKNOWN, cache.push_data(-3, 40, write));
    EXPECT_FALSE(write.is_rem_elt());
    EXPECT_EQ(-1, write.get_frame_pos());
    EXPECT_EQ(-1, write.get_frame_len());
    EXPECT_EQ((Lines{"E prefetch_data(): Unknown file id 7", "E get_data(): Unknown file id 7",
                     "E push_data(): Unknown file id -3"}),
              log.take());
}

TEST_F(SplCacheRtTest, PushesShareACell) {
    give_cells(0, 4);
    Id const id = create("r");
    EXPECT_EQ((Spans{{0, 0, 4}}), push(id, 4));
    EXPECT_EQ((Spans{{4, 4, 4}}), push(id, 4));
    EXPECT_EQ((Spans{{8, 8, 2}, {10, 0, 10}, {20, 0, 3}}), push(id, 15));
    EXPECT_EQ(23, get_length(id));
    EXPECT_EQ((Longs{1, 0, 2}), list_blocks(list_rec_used())); // full ones first, last filled first
    EXPECT_EQ(0, cache.close_file(id));
    expect_file(files.make_name("r"), 23);
}

TEST_F(SplCacheRtTest, APushThatEndsWithABlockLeavesTheFileWithoutACell) {
    give_cells(0, 4);
    Id const id = create("r", 2);
    EXPECT_EQ((Spans{{0, 0, 5}}), push(id, 5, 2));
    EXPECT_EQ(Longs{-1}, list_index(id));
    EXPECT_EQ((Spans{{5, 0, 3}}), push(id, 3, 2));
    EXPECT_EQ(Longs{1}, list_index(id));
    EXPECT_EQ((Spans{{8, 3, 2}}), push(id, 2, 2));
    EXPECT_EQ(Longs{-1}, list_index(id));
    EXPECT_EQ(Spans(), push(id, 0, 2));
    EXPECT_EQ(0, cache.close_file(id));
    expect_file(files.make_name("r"), 10, 2);
}

TEST_F(SplCacheRtTest, WithoutCellsFramesAreLostAndLeaveNoHole) {
    give_cells(0, 2);
    Id const id = create("r");
    EXPECT_EQ((Spans{{0, 0, 10}, {10, 0, 10}}), push(id, 35));
    EXPECT_EQ((Lines{"E update_or_reserve_rec_cell(): Not enough free memory."}), log.take());
    EXPECT_EQ(20, get_length(id));
    EXPECT_EQ(Spans(), push(id, 5));
    EXPECT_EQ((Lines{"E update_or_reserve_rec_cell(): Not enough free memory."}), log.take());
    EXPECT_EQ(20, get_length(id));
    EXPECT_FALSE(cache.do_run_slice());
    EXPECT_EQ((Spans{{20, 0, 5}}), push(id, 5));
    EXPECT_EQ(25, get_length(id));
    EXPECT_EQ(Lines(), log.take());
    EXPECT_EQ(0, cache.close_file(id));
    expect_file(files.make_name("r"), 25);
}

TEST_F(SplCacheRtTest, TwoRecordingsShareTheCells) {
    give_cells(0, 3);
    Id const a = create("a");
    Id const b = create("b");
    for (int n = 0; n < 20; ++n) {
        push(a, 7);
        push(b, 3);
        EXPECT_EQ(7 * (n + 1), get_length(a));
        EXPECT_EQ(3 * (n + 1), get_length(b));
        cache.do_run_slice();
    }
    EXPECT_EQ(0, cache.close_file(a));
    EXPECT_EQ(0, cache.close_file(b));
    expect_file(files.make_name("a"), 140);
    expect_file(files.make_name("b"), 60);
    EXPECT_EQ(3u, list_rec_free().size());
    EXPECT_EQ(Lines(), log.take());
}

TEST_F(SplCacheRtTest, AnIteratorIsAValue) {
    give_cells(4);
    Id const id = open("a", 40);
    load(id, 0, 40);
    sys::CritSec const pass(mutex_rt);
    SplCacheIteratorRead it;
    EXPECT_EQ(0, cache.get_data(id, 5, 30, it));
    SplCacheIteratorRead other(it);
    other.iterate();
    EXPECT_EQ(5, it.get_data_pos_file());
    EXPECT_EQ(10, other.get_data_pos_file());
    EXPECT_TRUE(other.find_cur_cell());
    EXPECT_EQ(10, other.get_data_pos_file());
    it = other;
    it.iterate();
    EXPECT_EQ(20, it.get_data_pos_file());
    it.iterate();
    EXPECT_EQ(5, it.get_data_len());
    it.iterate();
    EXPECT_FALSE(it.is_rem_elt());
    EXPECT_FALSE(it.find_cur_cell());
}

// The owner's mutexes are for others: held all the time, they stop nothing here.
TEST_F(SplCacheRtTest, TakesNoneOfTheOwnersMutexes) {
    give_cells(4, 4);
    Id const id = open("a", 100);
    Id const rec = create("r");
    load(id, 0, 20);
    {
        sys::CritSec const bkg(mutex_bkg); // and the other by each pass
        EXPECT_EQ(2u, get(id, 0, 20).size());
        EXPECT_EQ(0, prefetch(id, 0, 100));
        EXPECT_EQ(3u, push(rec, 25).size());
        EXPECT_TRUE(cache.is_file_existing(id));
    }
    EXPECT_EQ(0, cache.close_file(rec));
}

TEST_F(SplCacheRtTest, NeitherAllocatesNorCallsTheSystem) {
    give_cells(8, 4);
    Id const id = open("a", 200);
    Id const rec = create("r");
    load(id, 0, 80);
    for (int round = 0; round < 3; ++round) {
        sys::CritSec const pass(mutex_rt);
        test::RealTimeGuard const guard(test::RealTimeGuard::Locks_UNCONTENDED);
        cache.prefetch_data(id, 0, 200);
        cache.prefetch_data(id, 150, 50);
        SplCacheIteratorRead read;
        cache.get_data(id, 0, 200, read);
        for (; read.is_rem_elt(); read.iterate()) {
        }
        SplCacheIteratorWrite write;
        cache.push_data(rec, 13, write);
        for (; write.is_rem_elt(); write.iterate()) {
            write.use_cell().use_data()[write.get_data_pos_cell()] = 1;
        }
    }
    EXPECT_EQ(Lines(), log.take());
    EXPECT_EQ(0, cache.close_file(rec));
}

namespace {

class SplCacheRtLogTest : public ::testing::Test {
protected:
    test::SplFiles _files;
    sys::Mutex _mutex_rt;
    sys::Mutex _mutex_bkg;
    SplCache _cache{_mutex_rt, _mutex_bkg, _files.mgr};
};

} // namespace

// No catcher here: what it would keep, it would allocate.
TEST_F(SplCacheRtLogTest, ToldOnlyInWaysThatARealTimeThreadMayUse) {
    std::string dir = _files.make_name("d");
    for (int n = 0; n < 12; ++n) { // a path that no line has room for
        dir += "/" + std::string(100, static_cast<char>('a' + n));
    }
    std::filesystem::create_directories(dir);
    std::string const path = dir + "/a.wav";
    SplFileHnd hnd;
    ASSERT_EQ(0,
              hnd.create_new(_files.mgr, path.c_str(), test::make_desc(SplFileBitFmt_S16, 1), 100));
    ASSERT_EQ(0, hnd.close());
    SplCacheFileId id = 0;
    SplCacheFileId rec = 0;
    ASSERT_EQ(0, _cache.set_memory(0, 0, 10));
    ASSERT_EQ(0, _cache.open_file(id, path.c_str(), false));
    ASSERT_EQ(0, _cache.create_file_new(rec, _files.make_name("r").c_str(),
                                        test::make_desc(SplFileBitFmt_S16, 1)));
    {
        test::LogCatcher log;
        EXPECT_EQ(0, _cache.prefetch_data(id, 0, 100));
        auto const lines = log.take();
        ASSERT_EQ(1u, lines.size());
        std::string const whole = "W prefetch_data(): Not enough available cell to prefetch all "
                                  "data for file \"" +
                                  path + "\"";
        EXPECT_EQ(whole.substr(0, 2 + 1023), lines[0]);
    }
    SplCacheIteratorRead read;
    SplCacheIteratorWrite write;
    test::RealTimeGuard guard(test::RealTimeGuard::Locks_UNCONTENDED);
    _cache.prefetch_data(id, 0, 100);
    _cache.prefetch_data(id, 0, 101);
    _cache.prefetch_data(99, 0, 1);
    _cache.get_data(99, 0, 1, read);
    _cache.push_data(99, 1, write);
    _cache.push_data(rec, 1, write);
    EXPECT_EQ("", guard.stop());
    EXPECT_EQ(0, _cache.close_file(rec));
    EXPECT_EQ(0, _cache.close_file(id));
}
