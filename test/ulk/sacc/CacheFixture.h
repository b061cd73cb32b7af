#pragma once

#include "support/LogCatcher.h"
#include "support/SplCacheProbe.h"
#include "ulk/sacc/WavTools.h"

#include "ulk/sacc/Err.h"
#include "ulk/sacc/SplCacheIteratorRead.h"
#include "ulk/sacc/SplCacheIteratorWrite.h"
#include "ulk/sacc/SplCacheStat.h"
#include "ulk/sys/CritSec.h"

#include <gtest/gtest.h>

namespace test {

// A cache with its mutexes and manager, and WAV files of floats whose frame n holds n + 0.25 * c in
// channel c.
class CacheFixture : public ::testing::Test {
protected:
    using Cell = ulk::sacc::SplCacheCell;
    using Probe = ulk::sacc::SplCacheProbe;
    using Id = ulk::sacc::SplCacheFileId;
    using Lines = std::vector<std::string>;
    using Longs = std::vector<long>;

    struct Span {
        long pos_file;
        long pos_cell;
        long len;

        bool operator==(Span const&) const = default;
    };
    using Spans = std::vector<Span>;

    CacheFixture() {
        make_file("first", 0);
        log.take(); // what the first file of a process tells
    }

    static Floats make_frames(long beg, long len, int nbr_chn) {
        Floats floats;
        for (long n = beg; n < beg + len; ++n) {
            for (int c = 0; c < nbr_chn; ++c) {
                floats.push_back(static_cast<float>(n) + 0.25f * static_cast<float>(c));
            }
        }
        return floats;
    }

    std::string make_file(std::string const& name, long len, int nbr_chn = 1) {
        auto const path = files.make_name(name);
        ulk::sacc::SplFileHnd hnd;
        EXPECT_EQ(0, hnd.create_new(files.mgr, path.c_str(),
                                    make_desc(ulk::sacc::SplFileBitFmt_F32, nbr_chn), 0));
        EXPECT_EQ(0, hnd.write_block(make_frames(0, len, nbr_chn).data(), 0, len));
        EXPECT_EQ(0, hnd.close());
        return path;
    }

    Id open(std::string const& name, long len, int nbr_chn = 1) {
        return open_path(make_file(name, len, nbr_chn));
    }
    Id open_path(std::string const& path) {
        Id id = -1;
        EXPECT_EQ(0, cache.open_file(id, path.c_str(), false));
        return id;
    }
    Id create(std::string const& name, int nbr_chn = 1) {
        Id id = -1;
        EXPECT_EQ(0, cache.create_file_new(id, files.make_name(name).c_str(),
                                           make_desc(ulk::sacc::SplFileBitFmt_F32, nbr_chn)));
        return id;
    }

    // Normal and recording cells of 10 floats.
    void give_cells(long nbr_normal, long nbr_rec = 0) {
        EXPECT_EQ(0, cache.set_memory(nbr_normal * 10, nbr_rec * 10, 10));
    }

    int prefetch(Id id, long pos, long len) {
        ulk::sys::CritSec const pass(mutex_rt);
        return cache.prefetch_data(id, pos, len);
    }
    void load(Id id, long pos, long len) {
        EXPECT_EQ(0, prefetch(id, pos, len));
        EXPECT_FALSE(cache.do_run_slice());
    }
    // The walk's spans; their frames are those of the file.
    Spans get(Id id, long pos, long len, int nbr_chn = 1) {
        ulk::sys::CritSec const pass(mutex_rt);
        ulk::sacc::SplCacheIteratorRead it;
        EXPECT_EQ(0, cache.get_data(id, pos, len, it));
        EXPECT_EQ(pos, it.get_frame_pos());
        EXPECT_EQ(len, it.get_frame_len());
        Spans spans;
        for (; it.is_rem_elt(); it.iterate()) {
            Span const span = note(it);
            float const* const data = it.use_cell().use_data() + span.pos_cell * nbr_chn;
            EXPECT_EQ(make_frames(span.pos_file, span.len, nbr_chn),
                      Floats(data, data + span.len * nbr_chn));
            spans.push_back(span);
        }
        return spans;
    }
    // Appends frames that go on from those before, as far as there are cells.
    Spans push(Id id, long len, int nbr_chn = 1) {
        ulk::sys::CritSec const pass(mutex_rt);
        ulk::sacc::SplCacheIteratorWrite it;
        EXPECT_EQ(0, cache.push_data(id, len, it));
        EXPECT_EQ(len, it.get_frame_len());
        Spans spans;
        for (; it.is_rem_elt(); it.iterate()) {
            Span const span = note(it);
            auto const frames = make_frames(span.pos_file, span.len, nbr_chn);
            std::copy(frames.begin(), frames.end(),
                      it.use_cell().use_data() + span.pos_cell * nbr_chn);
            spans.push_back(span);
        }
        return spans;
    }
    template <class ITERATOR>
    static Span note(ITERATOR const& it) {
        return {static_cast<long>(it.get_data_pos_file()), it.get_data_pos_cell(),
                it.get_data_len()};
    }

    // The file on disk, closed.
    void expect_file(std::string const& path, long len, int nbr_chn = 1) {
        ulk::sacc::SplFileHnd hnd;
        ASSERT_EQ(0, hnd.open(files.mgr, path.c_str(), false));
        ASSERT_EQ(len, hnd.get_length());
        Floats floats(static_cast<std::size_t>(len * nbr_chn));
        ASSERT_EQ(0, hnd.read_block(floats.data(), 0, len));
        EXPECT_EQ(make_frames(0, len, nbr_chn), floats);
        EXPECT_EQ(0, hnd.close());
    }

    Longs list_lru() { return Probe::list_cells(Probe::use_lru(cache), Probe::use_cells(cache)); }
    Longs list_rec_free() {
        return Probe::list_cells(Probe::use_rec_free(cache), Probe::use_cells(cache));
    }
    Longs list_rec_used() {
        return Probe::list_cells(Probe::use_rec_used(cache), Probe::use_cells(cache));
    }
    Cell const& use_cell(long index) {
        return *Probe::use_cells(cache)[static_cast<std::size_t>(index)];
    }
    Longs list_blocks(Longs const& index_list) {
        Longs list;
        for (long const index : index_list) {
            list.push_back(use_cell(index).get_block_index());
        }
        return list;
    }
    Longs list_index(Id id) { return Probe::find_file(cache, id)->use_cell_index_list(); }
    long get_length(Id id) {
        ulk::archi::Int64 len = -1;
        EXPECT_EQ(0, cache.get_length(id, len));
        return static_cast<long>(len);
    }

    LogCatcher log;
    SplFiles files;
    ulk::sys::Mutex mutex_rt;
    ulk::sys::Mutex mutex_bkg;
    ulk::sacc::SplCache cache{mutex_rt, mutex_bkg, files.mgr};
};

} // namespace test
