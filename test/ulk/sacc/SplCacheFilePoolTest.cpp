// What the cache knows of its files: descriptors, and their table.

#include "support/AllocFault.h"
#include "support/LogCatcher.h"
#include "ulk/sacc/WavTools.h"

#include "ulk/sacc/Err.h"
#include "ulk/sacc/SplCacheFilePool.h"

#include <gtest/gtest.h>

#include <map>

using namespace ulk;
using namespace ulk::sacc;

namespace {

using Lines = std::vector<std::string>;
using DescPtr = SplCacheFilePool::DescPtr;

class SplCacheFileDescTest : public ::testing::Test {
protected:
    // A descriptor of a file of that length, of two channels and 10 frames a block.
    void open(SplCacheFileDesc& desc, long len, bool rec_flag = false) {
        auto const path = _files.make_name("a.wav");
        auto const fmt = test::make_desc(SplFileBitFmt_S16, 2, 48000);
        SplFileHnd& hnd = desc.use_handle();
        if (rec_flag) {
            ASSERT_EQ(0, hnd.create_new(_files.mgr, path.c_str(), fmt, 0));
        } else {
            ASSERT_EQ(0, hnd.create_new(_files.mgr, path.c_str(), fmt, len));
            ASSERT_EQ(0, hnd.close());
            ASSERT_EQ(0, hnd.open(_files.mgr, path.c_str(), false));
        }
        desc.set_as_open(path.c_str(), 4, 21, rec_flag);
    }

    test::SplFiles _files;
};

DescPtr make_entry() {
    return DescPtr::make();
}

} // namespace

TEST_F(SplCacheFileDescTest, StartsClosed) {
    SplCacheFileDesc const desc;
    EXPECT_FALSE(desc.is_open());
    EXPECT_EQ("", desc.get_pathname());
    EXPECT_EQ(-1, desc.get_id());
    EXPECT_EQ(-1, desc.get_length());
    EXPECT_EQ(-1.0, desc.get_sample_freq());
    EXPECT_EQ(-1, desc.get_block_frame_len());
    EXPECT_EQ(-1, desc.get_nbr_chn());
    EXPECT_TRUE(desc.use_cell_index_list().empty());
}

TEST_F(SplCacheFileDescTest, HasAnEntryForEachBlock) {
    for (auto const& [len, nbr] :
         std::map<long, std::size_t>{{0, 0}, {1, 1}, {9, 1}, {10, 1}, {11, 2}, {20, 2}, {21, 3}}) {
        SplCacheFileDesc desc;
        open(desc, len);
        EXPECT_TRUE(desc.is_open());
        EXPECT_EQ(4, desc.get_id());
        EXPECT_EQ(len, desc.get_length());
        EXPECT_EQ(2, desc.get_nbr_chn());
        EXPECT_EQ(48000.0, desc.get_sample_freq());
        EXPECT_EQ(10, desc.get_block_frame_len());
        EXPECT_EQ(std::vector<long>(nbr, -1), desc.use_cell_index_list());
        EXPECT_EQ(0, desc.use_handle().close());
    }
}

TEST_F(SplCacheFileDescTest, ClosingKeepsTheRest) {
    SplCacheFileDesc desc;
    open(desc, 25);
    EXPECT_EQ(0, desc.use_handle().close());
    desc.set_as_close();
    EXPECT_FALSE(desc.is_open());
    EXPECT_EQ(-1, desc.get_id());
    EXPECT_EQ(-1, desc.get_nbr_chn());
    EXPECT_EQ("", desc.get_pathname());
    EXPECT_EQ(25, desc.get_length());
    EXPECT_EQ(10, desc.get_block_frame_len());
    EXPECT_EQ(3u, desc.use_cell_index_list().size());
}

TEST_F(SplCacheFileDescTest, CoveringBlocks) {
    SplCacheFileDesc desc;
    open(desc, 1000);
    struct Row {
        archi::Int64 pos;
        long len;
        long first;
        long count;
    };
    for (Row const& row :
         {Row{0, 10, 0, 1}, Row{0, 11, 0, 2}, Row{9, 1, 0, 1}, Row{9, 2, 0, 2}, Row{10, 10, 1, 1},
          Row{5, 30, 0, 4}, Row{0, 0, 0, 1}, Row{5, 0, 0, 1}, Row{10, 0, 1, 0}, Row{20, 0, 2, 0},
          Row{50000000000, 25, 5000000000, 3}}) {
        long first = -7;
        long count = -7;
        desc.compute_block_covering(first, count, row.pos, row.len);
        EXPECT_EQ(row.first, first) << row.pos << " " << row.len;
        EXPECT_EQ(row.count, count) << row.pos << " " << row.len;
    }
    EXPECT_EQ(70, desc.compute_block_pos(7));
    EXPECT_EQ(50000000000, desc.compute_block_pos(5000000000));
    EXPECT_EQ(0, desc.use_handle().close());
}

TEST_F(SplCacheFileDescTest, ARecordingHasOneEntryWhateverItsLength) {
    SplCacheFileDesc desc;
    open(desc, 0, true);
    EXPECT_EQ(1u, desc.use_cell_index_list().size());
    EXPECT_EQ(-1, desc.get_rec_cell_index());
    desc.set_rec_cell_index(3);
    EXPECT_EQ(3, desc.use_cell_index_list()[0]);
    EXPECT_FALSE(desc.push_new_data(0));
    EXPECT_FALSE(desc.push_new_data(9));
    EXPECT_EQ(9, desc.get_length());
    EXPECT_EQ(3, desc.get_rec_cell_index());
    EXPECT_TRUE(desc.push_new_data(1)); // right at the end of a block
    EXPECT_EQ(10, desc.get_length());
    EXPECT_EQ(-1, desc.get_rec_cell_index());
    desc.set_rec_cell_index(5);
    EXPECT_FALSE(desc.push_new_data(4));
    EXPECT_EQ(5, desc.get_rec_cell_index());
    EXPECT_TRUE(desc.push_new_data(6));
    EXPECT_EQ(20, desc.get_length());
    EXPECT_EQ(0, desc.use_handle().close());
}

class SplCacheFilePoolTest : public SplCacheFileDescTest {
protected:
    void add(SplCacheFilePool& pool, SplCacheFileId id) {
        DescPtr const desc = make_entry();
        auto const path = _files.make_name(std::to_string(id));
        auto const fmt = test::make_desc(SplFileBitFmt_S16, 1);
        ASSERT_EQ(0, desc->use_handle().create_new(_files.mgr, path.c_str(), fmt, 0));
        desc->set_as_open(path.c_str(), id, 100, false);
        ASSERT_EQ(0, pool.add_file(desc));
    }

    sys::Mutex _mutex;
};

TEST_F(SplCacheFilePoolTest, FindsWhatWasAdded) {
    SplCacheFilePool pool(_mutex);
    test::LogCatcher log;
    DescPtr desc = make_entry();
    EXPECT_FALSE(pool.find_file(1, desc));
    EXPECT_EQ(nullptr, desc.get()); // a miss empties it
    EXPECT_EQ(nullptr, pool.find_file_rt(1));
    for (SplCacheFileId const id : {5, 2, 9}) {
        add(pool, id);
    }
    std::vector<long> list{77};
    pool.list_files(list);
    EXPECT_EQ((std::vector<long>{2, 5, 9}), list);
    EXPECT_TRUE(pool.find_file(5, desc));
    EXPECT_EQ(desc.get(), pool.find_file_rt(5));
    EXPECT_EQ(5, desc->get_id());

    EXPECT_EQ(0, pool.remove_file(5));
    EXPECT_EQ(nullptr, pool.find_file_rt(5));
    EXPECT_EQ(5, desc->get_id()); // held by its reference
    EXPECT_EQ(Lines(), log.take());
    EXPECT_EQ(0, pool.clear());
    list.assign(1, 1);
    pool.list_files(list);
    EXPECT_TRUE(list.empty());
    // Two handles went with their descriptors.
    EXPECT_EQ((Lines(2, "E dtor(): file is still open. Auto-closing.\n")), log.take());
    EXPECT_EQ(0, desc->use_handle().close());
}

TEST_F(SplCacheFilePoolTest, RemovingTheUnknownLeavesTheTable) {
    SplCacheFilePool pool(_mutex);
    add(pool, 3);
    SplCacheFileDesc const* const desc_ptr = pool.find_file_rt(3);
    test::LogCatcher log;
    EXPECT_EQ(Err_FILE_NOT_FOUND_IN_POOL, pool.remove_file(4));
    EXPECT_EQ((Lines{"E remove_file(): File not found (id 4)."}), log.take());
    EXPECT_EQ(desc_ptr, pool.find_file_rt(3));
    EXPECT_EQ(0, pool.remove_file(3));
}

TEST_F(SplCacheFilePoolTest, AFailedAllocationLeavesTheTable) {
    SplCacheFilePool pool(_mutex);
    for (SplCacheFileId const id : {1, 2, 3}) {
        add(pool, id);
    }
    using Operation = int (*)(SplCacheFilePool&);
    static DescPtr const entry = make_entry(); // its id is -1
    for (auto const& [name, fnc] : std::map<std::string, Operation>{
             {"add_file", [](SplCacheFilePool& p) { return p.add_file(entry); }},
             {"remove_file", [](SplCacheFilePool& p) { return p.remove_file(2); }},
             {"clear", [](SplCacheFilePool& p) { return p.clear(); }}}) {
        test::LogCatcher log;
        int ret = -1;
        long nbr_rounds = 0;
        for (long n = 0; ret != 0; ++n, ++nbr_rounds) {
            {
                test::AllocFault const fault(n);
                ret = fnc(pool);
            }
            if (ret != 0) {
                EXPECT_EQ(Err_EXCEPTION, ret);
                EXPECT_EQ((Lines{"E " + name + "(): Exception."}), log.take());
                std::vector<long> list;
                pool.list_files(list);
                EXPECT_NE(list.end(), std::find(list.begin(), list.end(), 2)) << name;
            }
        }
        EXPECT_GT(nbr_rounds, 1) << name;
        pool.clear();
        log.take();
        for (SplCacheFileId const id : {1, 2, 3}) {
            add(pool, id);
        }
    }
    test::LogCatcher log;
    pool.clear();
}
