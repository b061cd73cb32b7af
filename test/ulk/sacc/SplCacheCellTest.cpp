// Cells, their lists, the pool of their memory, and the counts of their states.

#include "support/AllocFault.h"
#include "support/LogCatcher.h"

#include "ulk/sacc/Err.h"
#include "ulk/sacc/SplCacheCellList.h"
#include "ulk/sacc/SplCacheMemPool.h"
#include "ulk/sacc/SplCacheStat.h"
#include "ulk/sys/Mutex.h"

#include <gtest/gtest.h>

#include <deque>
#include <random>

using namespace ulk;
using namespace ulk::sacc;

namespace {

using Cell = SplCacheCell;
using CellVect = SplCacheCellList::CellVect;
using Lines = std::vector<std::string>;

CellVect make_cells(long nbr) {
    CellVect cells;
    for (long c = 0; c < nbr; ++c) {
        cells.push_back(mem::SharedPtr<Cell>::make(nullptr, 10));
    }
    return cells;
}

// From the links alone, both ways.
std::deque<long> walk(SplCacheCellList const& list, CellVect const& cells) {
    auto const use = [&](long index) -> Cell const& {
        return *cells[static_cast<std::size_t>(index)];
    };
    std::deque<long> forth;
    std::deque<long> back;
    for (long c = list.get_head_index(); c >= 0; c = use(c).get_next_cell()) {
        forth.push_back(c);
    }
    for (long c = list.get_tail_index(); c >= 0; c = use(c).get_prev_cell()) {
        back.push_front(c);
    }
    EXPECT_EQ(forth, back);
    return forth;
}

void expect_free(Cell const& cell) {
    EXPECT_EQ(Cell::Status_FREE, cell.get_status());
    EXPECT_EQ(0, cell.get_file_id());
    EXPECT_EQ(-1, cell.get_block_index());
    EXPECT_EQ(0, cell.get_content_len());
    EXPECT_FALSE(cell.has_been_read());
}

} // namespace

TEST(SplCacheCellTest, TheNumbersOfTypesAndStates) {
    EXPECT_EQ(0, Cell::Type_NORMAL);
    EXPECT_EQ(1, Cell::Type_LOCKED);
    EXPECT_EQ(2, Cell::Type_REC);
    EXPECT_EQ(0, Cell::Status_FREE);
    EXPECT_EQ(1, Cell::Status_REQUESTED);
    EXPECT_EQ(2, Cell::Status_TRANSFER);
    EXPECT_EQ(3, Cell::Status_FULL);
}

TEST(SplCacheCellTest, StartsWithoutATypeAndTakesOneByInit) {
    float data[10];
    Cell cell(data, 10);
    EXPECT_FALSE(cell.is_valid());
    EXPECT_EQ(-1, cell.get_type());
    expect_free(cell);
    EXPECT_EQ(-1, cell.get_next_cell());
    EXPECT_EQ(-1, cell.get_prev_cell());
    EXPECT_EQ(data, cell.use_data());
    cell.init(Cell::Type_REC);
    EXPECT_TRUE(cell.is_valid());
    EXPECT_EQ(Cell::Type_REC, cell.get_type());
    cell.request_data(true, 5, 1, 2, 100);
    cell.signal_read();
    cell.init(Cell::Type_NORMAL);
    expect_free(cell);
    EXPECT_EQ(Cell::Type_NORMAL, cell.get_type());
}

TEST(SplCacheCellTest, ARequestKnowsTheShortLastBlock) {
    Cell cell(nullptr, 16384);
    cell.request_data(false, 3, 11, 2, 100000);
    EXPECT_EQ(8192, cell.get_content_len());
    cell.request_data(false, 3, 12, 2, 100000);
    EXPECT_EQ(1696, cell.get_content_len());
    EXPECT_EQ(12, cell.get_block_index());
    EXPECT_EQ(3, cell.get_file_id());
    EXPECT_EQ(Cell::Status_REQUESTED, cell.get_status());
    EXPECT_EQ(Cell::Type_NORMAL, cell.get_type());
    cell.request_data(true, 4, 0, 3, 100000); // one float stays unused
    EXPECT_EQ(5461, cell.get_content_len());
    EXPECT_EQ(Cell::Type_LOCKED, cell.get_type());
    cell.request_data(true, 4, 100000, 1, 100000LL * 16384 + 7); // past 32 bits
    EXPECT_EQ(7, cell.get_content_len());
}

TEST(SplCacheCellTest, TheReadMarkOutlivesARequestAndEndsWithTheContent) {
    Cell cell(nullptr, 100);
    cell.init(Cell::Type_NORMAL);
    cell.signal_read();
    cell.request_data(false, 1, 0, 1, 1000);
    EXPECT_TRUE(cell.has_been_read());
    cell.start_transfer();
    EXPECT_EQ(Cell::Status_TRANSFER, cell.get_status());
    cell.signal_load_complete();
    EXPECT_EQ(Cell::Status_FULL, cell.get_status());
    EXPECT_TRUE(cell.has_been_read());
    cell.lock();
    EXPECT_EQ(Cell::Type_LOCKED, cell.get_type());
    EXPECT_EQ(Cell::Status_FULL, cell.get_status());
    EXPECT_EQ(100, cell.get_content_len());
    cell.free_cell();
    expect_free(cell);
    EXPECT_EQ(Cell::Type_LOCKED, cell.get_type());
    cell.unlock();
    EXPECT_EQ(Cell::Type_NORMAL, cell.get_type());
}

TEST(SplCacheCellTest, RecordingFillsABlock) {
    Cell cell(nullptr, 21); // 10 frames of 2
    cell.init(Cell::Type_REC);
    EXPECT_EQ(10, cell.start_rec(7, 3, 2, 45)); // past the end of the block
    EXPECT_EQ(Cell::Status_FULL, cell.get_status());
    EXPECT_EQ(10, cell.get_content_len());
    EXPECT_EQ(10, cell.start_rec(7, 3, 2, 40)); // right at it
    EXPECT_EQ(Cell::Status_FULL, cell.get_status());
    EXPECT_EQ(4, cell.start_rec(7, 3, 2, 34));
    EXPECT_EQ(Cell::Status_REQUESTED, cell.get_status());
    EXPECT_EQ(3, cell.get_block_index());
    EXPECT_EQ(3, cell.extend_rec(37));
    EXPECT_EQ(Cell::Status_REQUESTED, cell.get_status());
    EXPECT_EQ(7, cell.get_content_len());
    Cell exact(cell);
    EXPECT_EQ(3, exact.extend_rec(40));
    EXPECT_EQ(Cell::Status_FULL, exact.get_status());
    EXPECT_EQ(3, cell.extend_rec(1000)); // the room that was left, no more
    EXPECT_EQ(Cell::Status_FULL, cell.get_status());
    EXPECT_EQ(10, cell.get_content_len());
    EXPECT_EQ(Cell::Type_REC, cell.get_type());
}

TEST(SplCacheCellTest, ACopyAliasesTheMemoryAndTakesTheLinks) {
    float data[10];
    CellVect cells = make_cells(3);
    cells.push_back(mem::SharedPtr<Cell>::make(data, 10));
    SplCacheCellList list;
    list.push_back(0, cells);
    list.push_back(3, cells);
    list.push_back(1, cells);
    cells[3]->request_data(true, 9, 2, 1, 100);
    Cell const copy(*cells[3]);
    EXPECT_EQ(data, copy.use_data());
    EXPECT_EQ(0, copy.get_prev_cell());
    EXPECT_EQ(1, copy.get_next_cell());
    EXPECT_EQ(9, copy.get_file_id());
    EXPECT_EQ(Cell::Type_LOCKED, copy.get_type());
}

TEST(SplCacheCellListTest, TheLastRemovedLeavesNothingBehind) {
    CellVect const cells = make_cells(1);
    SplCacheCellList list;
    EXPECT_TRUE(list.is_empty());
    EXPECT_EQ(-1, list.get_head_index());
    EXPECT_EQ(-1, list.get_tail_index());
    list.push_front(0, cells);
    EXPECT_FALSE(list.is_empty());
    list.move_to_back(0, cells);
    list.move_to_front(0, cells);
    EXPECT_EQ(0, list.get_head_index());
    EXPECT_EQ(0, list.get_tail_index());
    list.remove(0, cells);
    EXPECT_EQ(-1, list.get_head_index());
    EXPECT_EQ(-1, list.get_tail_index());
    EXPECT_EQ(-1, cells[0]->get_next_cell());
    EXPECT_EQ(-1, cells[0]->get_prev_cell());
}

TEST(SplCacheCellListTest, ClearLeavesTheCellsAlone) {
    CellVect const cells = make_cells(2);
    SplCacheCellList list;
    list.push_back(0, cells);
    list.push_back(1, cells);
    list.clear();
    EXPECT_TRUE(list.is_empty());
    EXPECT_EQ(-1, list.get_tail_index());
    EXPECT_EQ(1, cells[0]->get_next_cell());
    EXPECT_EQ(0, cells[1]->get_prev_cell());
}

TEST(SplCacheCellListTest, RandomOperationsAsOnADeque) {
    constexpr long nbr_cells = 9;
    CellVect const cells = make_cells(nbr_cells);
    SplCacheCellList list;
    std::deque<long> model;
    std::mt19937 rng(1);
    for (int step = 0; step < 100000; ++step) {
        long const index = static_cast<long>(rng() % nbr_cells);
        auto const it = std::find(model.begin(), model.end(), index);
        bool const on_flag = it != model.end();
        switch (rng() % 4) {
        case 0:
            if (on_flag) {
                list.remove(index, cells);
                model.erase(it);
            } else {
                list.push_back(index, cells);
                model.push_back(index);
            }
            break;
        case 1:
            if (on_flag) {
                list.move_to_front(index, cells);
                model.erase(it);
            } else {
                list.push_front(index, cells);
            }
            model.push_front(index);
            break;
        case 2:
            if (on_flag) {
                list.move_to_back(index, cells);
                model.erase(it);
                model.push_back(index);
            }
            break;
        default:
            if (!model.empty()) {
                ASSERT_EQ(model.front(), list.pop_front(cells));
                model.pop_front();
            }
        }
        ASSERT_EQ(model, walk(list, cells));
        ASSERT_EQ(model.empty(), list.is_empty());
    }
}

TEST(SplCacheMemPoolTest, CutsWholeCells) {
    for (long const len : {0L, 9L, 10L, 39L, 40L, 41L}) {
        std::vector<float> mem(static_cast<std::size_t>(len));
        CellVect cells = make_cells(1);
        long nbr = -1;
        EXPECT_EQ(0, SplCacheMemPool::add_cells(cells, mem, 10, nbr));
        EXPECT_EQ(len / 10, nbr);
        ASSERT_EQ(static_cast<std::size_t>(1 + nbr), cells.size());
        for (long c = 0; c < nbr; ++c) {
            EXPECT_EQ(mem.data() + c * 10, cells[static_cast<std::size_t>(c + 1)]->use_data());
            EXPECT_FALSE(cells[static_cast<std::size_t>(c + 1)]->is_valid());
        }
    }
}

TEST(SplCacheMemPoolTest, GrowsWithoutMovingAnything) {
    sys::Mutex mutex;
    SplCacheMemPool pool(mutex);
    long first = -1;
    long nbr = -1;
    EXPECT_EQ(0, pool.add_memory(35, 10, first, nbr));
    EXPECT_EQ(0, first);
    EXPECT_EQ(3, nbr);
    CellVect const before(pool.use_cell_list());
    std::vector<float*> data_list;
    for (auto const& cell : before) {
        data_list.push_back(cell->use_data());
        EXPECT_EQ(0.f, cell->use_data()[9]);
    }
    for (int n = 0; n < 20; ++n) {
        EXPECT_EQ(0, pool.add_memory(20, 10, first, nbr));
        EXPECT_EQ(3 + 2 * n, first);
        EXPECT_EQ(2, nbr);
    }
    ASSERT_EQ(43u, pool.use_cell_list().size());
    for (std::size_t c = 0; c < 3; ++c) {
        EXPECT_EQ(before[c].get(), pool.use_cell_list()[c].get());
        EXPECT_EQ(data_list[c], pool.use_cell_list()[c]->use_data());
    }
    EXPECT_EQ(0, pool.add_memory(9, 10, first, nbr)); // less than a cell is no failure
    EXPECT_EQ(43, first);
    EXPECT_EQ(0, nbr);
    pool.clear();
    EXPECT_TRUE(pool.use_cell_list().empty());
}

TEST(SplCacheMemPoolTest, RebuildingTellsTheLastBlockAlone) {
    sys::Mutex mutex;
    SplCacheMemPool pool(mutex);
    long first = -1;
    long nbr = -1;
    EXPECT_EQ(0, pool.add_memory(50, 10, first, nbr));
    EXPECT_EQ(0, pool.add_memory(30, 10, first, nbr));
    Cell const* const former = pool.use_cell_list()[0].get();
    float const* const data = pool.use_cell_list()[0]->use_data();
    CellVect const kept(pool.use_cell_list());
    EXPECT_EQ(0, pool.rebuild_cell_list(7, nbr));
    EXPECT_EQ(4, nbr);
    EXPECT_EQ(11u, pool.use_cell_list().size());
    EXPECT_NE(former, pool.use_cell_list()[0].get());
    EXPECT_EQ(data, pool.use_cell_list()[0]->use_data());
}

TEST(SplCacheMemPoolTest, AFailedAllocationLeavesTheCells) {
    bool hit_flag = true;
    long nbr_rounds = 0;
    for (long n = 0; hit_flag; ++n, ++nbr_rounds) {
        sys::Mutex mutex;
        SplCacheMemPool pool(mutex);
        long first = -1;
        long nbr = -1;
        ASSERT_EQ(0, pool.add_memory(30, 10, first, nbr));
        Cell const* const cell_ptr = pool.use_cell_list()[0].get();
        test::LogCatcher log;
        int ret = 0;
        int rebuild_ret = 0;
        {
            test::AllocFault const fault(n);
            ret = pool.add_memory(40, 10, first, nbr);
            hit_flag = fault.has_failed();
        }
        EXPECT_EQ(hit_flag ? int{Err_EXCEPTION} : 0, ret);
        EXPECT_EQ(hit_flag ? 3u : 7u, pool.use_cell_list().size());
        EXPECT_EQ(cell_ptr, pool.use_cell_list()[0].get());
        Lines const lines = log.take();
        EXPECT_EQ(hit_flag ? 1u : 0u, lines.size());
        for (auto const& line : lines) {
            EXPECT_TRUE(line == "E add_memory(): Exception." || line == "E add_cells(): Exception.")
                << line;
        }
        bool rebuild_hit_flag = false;
        {
            test::AllocFault const fault(n);
            rebuild_ret = pool.rebuild_cell_list(10, nbr);
            rebuild_hit_flag = fault.has_failed();
        }
        EXPECT_EQ(rebuild_hit_flag ? int{Err_EXCEPTION} : 0, rebuild_ret);
    }
    EXPECT_GT(nbr_rounds, 8);
}

TEST(SplCacheMemPoolTest, MoreMemoryThanThereIs) {
    sys::Mutex mutex;
    SplCacheMemPool pool(mutex);
    long first = -1;
    long nbr = -1;
    test::LogCatcher log;
    EXPECT_EQ(Err_EXCEPTION, pool.add_memory(-1, 10, first, nbr));
    EXPECT_EQ(Err_EXCEPTION, pool.add_memory(1L << 61, 10, first, nbr));
    EXPECT_EQ((Lines{"E add_memory(): Exception.", "E add_memory(): Exception."}), log.take());
    EXPECT_EQ(0, nbr);
}

TEST(SplCacheStatTest, CountsByTypeAndState) {
    SplCacheStat stat;
    Cell cell(nullptr, 10);
    cell.init(Cell::Type_NORMAL);
    stat.add_cell(cell);
    cell.request_data(true, 1, 0, 1, 10);
    cell.signal_read();
    stat.add_cell(cell);
    stat.add_cell(cell);
    cell.init(Cell::Type_REC);
    cell.signal_read();
    stat.add_cell(cell);
    EXPECT_EQ(1, stat.get_nbr_cells(Cell::Type_NORMAL, Cell::Status_FREE));
    EXPECT_EQ(2, stat.get_nbr_cells(Cell::Type_LOCKED, Cell::Status_REQUESTED));
    EXPECT_EQ(1, stat.get_nbr_cells(Cell::Type_REC, Cell::Status_FREE));
    EXPECT_EQ(0, stat.get_nbr_cells_read(Cell::Type_NORMAL));
    EXPECT_EQ(2, stat.get_nbr_cells_read(Cell::Type_LOCKED));
    EXPECT_EQ(0, stat.get_nbr_cells_read(Cell::Type_REC));
    stat.clear();
    EXPECT_EQ(0, stat.get_nbr_cells(Cell::Type_LOCKED, Cell::Status_REQUESTED));
    EXPECT_EQ(0, stat.get_nbr_cells_read(Cell::Type_LOCKED));
}
