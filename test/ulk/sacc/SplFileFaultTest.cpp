// What happens to sample files when the n-th call to the system or allocation fails, for all n.

#include "support/AllocFault.h"
#include "support/FileFault.h"
#include "ulk/sacc/WavTools.h"

#include "ulk/sacc/Err.h"
#include "ulk/sacc/SplFileExtData.h"
#include "ulk/sys/Err.h"
#include "ulk/sys/File.h"

#include <gtest/gtest.h>

#include <cerrno>

using namespace ulk;
using namespace ulk::sacc;
using test::Bytes;
using test::FileFault;
using test::Floats;

namespace {

constexpr long nbr_frames = 50000;

Floats make_ramp(long beg, long len) {
    Floats floats(static_cast<std::size_t>(len));
    for (long n = 0; n < len; ++n) {
        floats[static_cast<std::size_t>(n)] = static_cast<float>((beg + n) % 30000) / 32768;
    }
    return floats;
}

class SplFileFaultTest : public ::testing::Test {
protected:
    // A recording of one channel in blocks, up to the first failure. How many frames are in it.
    long record(std::string const& path, int& first_err, int& close_err) {
        SplFileHnd hnd;
        close_err = 0;
        first_err =
            hnd.create_new(_files.mgr, path.c_str(), test::make_desc(SplFileBitFmt_S16, 1), 0);
        if (first_err != 0) {
            EXPECT_FALSE(hnd.is_open());
            return -1;
        }
        long done = 0;
        while (done < nbr_frames && first_err == 0) {
            auto const block = make_ramp(done, 10000);
            first_err = hnd.write_block(block.data(), done, 10000);
            done += first_err == 0 ? 10000 : 0;
        }
        EXPECT_EQ(done, hnd.get_length());
        close_err = hnd.close();
        EXPECT_FALSE(hnd.is_open());
        return done;
    }

    // The path is free again: nobody has it, and the lock of the file is gone.
    void expect_free(std::string const& path) {
        SplFileHnd hnd;
        EXPECT_EQ(
            0, hnd.create_new(_files.mgr, path.c_str(), test::make_desc(SplFileBitFmt_S16, 1), 0));
        EXPECT_EQ(0, hnd.close());
    }

    void expect_ramp(std::string const& path, long len) {
        SplFileHnd hnd;
        ASSERT_EQ(0, hnd.open(_files.mgr, path.c_str(), false));
        ASSERT_EQ(len, hnd.get_length());
        Floats floats(static_cast<std::size_t>(len));
        ASSERT_EQ(0, hnd.read_block(floats.data(), 0, len));
        ASSERT_EQ(make_ramp(0, len), floats);
        ASSERT_EQ(0, hnd.close());
    }

    test::SplFiles _files;
};

} // namespace

// One failed call: whatever was written is readable, since closing gets through.
TEST_F(SplFileFaultTest, RecordingSurvivesTheNthFailure) {
    auto const path = _files.make_name("rec.wav");
    bool hit_flag = true;
    long nbr_rounds = 0;
    for (long n = 1; hit_flag; ++n) {
        int first_err = 0;
        int close_err = 0;
        long done = 0;
        {
            FileFault fault;
            fault.fail_at(n, EIO);
            done = record(path, first_err, close_err);
            hit_flag = fault.was_hit();
        }
        if (!hit_flag) {
            EXPECT_EQ(0, first_err);
        }
        if (done >= 0 && close_err == 0) {
            expect_ramp(path, done);
        }
        expect_free(path);
        ++nbr_rounds;
    }
    EXPECT_GT(nbr_rounds, 8);
}

// The disk is full from the n-th write on, and has room again when the file is closed.
TEST_F(SplFileFaultTest, RecordingSurvivesAFullDisk) {
    auto const path = _files.make_name("rec.wav");
    for (long n = 1; n < 9; ++n) {
        SplFileHnd hnd;
        long done = 0;
        {
            FileFault fault;
            fault.fail_at(n, ENOSPC, FileFault::SysCall::Op_WRITE, FileFault::FOR_EVER);
            ASSERT_EQ(0, hnd.create_new(_files.mgr, path.c_str(),
                                        test::make_desc(SplFileBitFmt_S16, 1), 0));
            for (int ret_val = 0; done < nbr_frames && ret_val == 0;) {
                auto const block = make_ramp(done, 10000);
                ret_val = hnd.write_block(block.data(), done, 10000);
                done += ret_val == 0 ? 10000 : 0;
            }
            EXPECT_EQ(done, hnd.get_length());
        }
        EXPECT_EQ(0, hnd.close()) << n;
        expect_ramp(path, done);
    }
}

// A disk that stays full: closing tells so, and nothing is left open.
TEST_F(SplFileFaultTest, ClosingOnAFullDiskTellsAndLetsGo) {
    auto const path = _files.make_name("rec.wav");
    {
        FileFault fault;
        fault.fail_at(1, ENOSPC, FileFault::SysCall::Op_WRITE, FileFault::FOR_EVER);
        SplFileHnd hnd;
        ASSERT_EQ(
            0, hnd.create_new(_files.mgr, path.c_str(), test::make_desc(SplFileBitFmt_S16, 1), 0));
        EXPECT_NE(0, hnd.close());
        EXPECT_FALSE(hnd.is_open());
    }
    expect_free(path);
}

// What was validated can be read though the recording never came to its end.
TEST_F(SplFileFaultTest, WhatWasValidatedIsReadable) {
    auto const path = _files.make_name("rec.wav");
    SplFileHnd hnd;
    ASSERT_EQ(0,
              hnd.create_new(_files.mgr, path.c_str(), test::make_desc(SplFileBitFmt_S16, 1), 0));
    auto const block = make_ramp(0, 30000);
    ASSERT_EQ(0, hnd.write_block(block.data(), 0, 20000));
    ASSERT_EQ(0, hnd.validate_new_data());
    ASSERT_EQ(0, hnd.write_block(block.data() + 20000, 20000, 10000));
    ASSERT_EQ(30000, hnd.get_length());
    auto const copy = _files.make_name("killed.wav");
    test::save_bytes(copy, test::load_bytes(path)); // the disk at this moment
    expect_ramp(copy, 20000);
    EXPECT_EQ(0, hnd.close());
    expect_ramp(path, 30000);
}

TEST_F(SplFileFaultTest, ReadingSurvivesTheNthFailure) {
    auto const path = _files.make_name("rec.wav");
    int first_err = 0;
    int close_err = 0;
    ASSERT_EQ(nbr_frames, record(path, first_err, close_err));
    bool hit_flag = true;
    long nbr_rounds = 0;
    for (long n = 1; hit_flag; ++n) {
        SplFileHnd hnd;
        Floats floats(nbr_frames, 9);
        FileFault fault;
        fault.fail_at(n, EIO);
        int const open_err = hnd.open(_files.mgr, path.c_str(), false);
        int read_err = 0;
        if (open_err == 0) {
            EXPECT_EQ(nbr_frames, hnd.get_length());
            read_err = hnd.read_block(floats.data(), 0, nbr_frames);
            if (read_err != 0) {
                EXPECT_EQ(sys::Err_FILE_READ, read_err);
                EXPECT_EQ(0, hnd.read_block(floats.data(), 0, nbr_frames)); // it passes
            }
            EXPECT_EQ(make_ramp(0, nbr_frames), floats);
            hnd.close();
        }
        EXPECT_FALSE(hnd.is_open());
        hit_flag = fault.was_hit();
        ++nbr_rounds;
    }
    EXPECT_GT(nbr_rounds, 6);
    expect_ramp(path, nbr_frames);
}

TEST_F(SplFileFaultTest, CopyingSurvivesTheNthFailure) {
    auto const path = _files.make_name("rec.wav");
    auto const copy = _files.make_name("copy.wav");
    int first_err = 0;
    int close_err = 0;
    ASSERT_EQ(nbr_frames, record(path, first_err, close_err));
    SplFileHnd src;
    ASSERT_EQ(0, src.open(_files.mgr, path.c_str(), false));
    bool hit_flag = true;
    for (long n = 1; hit_flag; ++n) {
        int err = 0;
        {
            FileFault fault;
            fault.fail_at(n, EIO);
            SplFileExtData ext;
            SplFileHnd dst;
            err = src.read_ext_data(ext);
            err = err == 0 ? dst.create_copy(_files.mgr, copy.c_str(), ext) : err;
            Floats floats(nbr_frames);
            err = err == 0 ? src.read_block(floats.data(), 0, nbr_frames) : err;
            err = err == 0 ? dst.write_block(floats.data(), 0, nbr_frames) : err;
            if (dst.is_open()) {
                int const dst_close_err = dst.close();
                err = err == 0 ? dst_close_err : err;
            }
            hit_flag = fault.was_hit();
        }
        if (err == 0) {
            EXPECT_EQ(test::load_bytes(path), test::load_bytes(copy));
        }
        expect_free(copy);
    }
    EXPECT_EQ(0, src.close());
    expect_ramp(path, nbr_frames);
}

// Transfers that fall short are no failures.
TEST_F(SplFileFaultTest, ShortTransfersMakeNoDifference) {
    auto const path = _files.make_name("rec.wav");
    FileFault fault;
    fault.limit_transfers(777);
    int first_err = 0;
    int close_err = 0;
    ASSERT_EQ(nbr_frames, record(path, first_err, close_err));
    EXPECT_EQ(0, close_err);
    expect_ramp(path, nbr_frames);
}

TEST_F(SplFileFaultTest, TheNthAllocationFails) {
    auto const path = _files.make_name("rec.wav");
    auto const copy = _files.make_name("copy.wav");
    bool hit_flag = true;
    for (long n = 0; hit_flag; ++n) {
        SplFileHnd hnd;
        auto const desc = test::make_desc(SplFileBitFmt_S16, 1);
        Floats const src(100);
        {
            test::AllocFault const fault(n);
            int const err = hnd.create_new(_files.mgr, path.c_str(), desc, 0);
            if (err == 0) {
                int const write_err = hnd.write_block(src.data(), 0, 100);
                EXPECT_TRUE(write_err == 0 || write_err == Err_EXCEPTION);
                EXPECT_EQ(write_err == 0 ? 100 : 0, hnd.get_length());
                EXPECT_EQ(0, hnd.close());
            } else {
                EXPECT_TRUE(err == Err_EXCEPTION || err == sys::Err_FILE_OPEN) << err;
            }
            hit_flag = fault.has_failed();
            EXPECT_TRUE(hit_flag || err == 0);
        }
        EXPECT_FALSE(hnd.is_open());
        expect_free(path);
    }
    hit_flag = true;
    for (long n = 0; hit_flag; ++n) {
        SplFileHnd a;
        SplFileHnd b;
        SplFileHnd c;
        SplFileExtData ext;
        {
            test::AllocFault const fault(n);
            if (a.open(_files.mgr, path.c_str(), false) == 0) {
                b.open(_files.mgr, path.c_str(), false); // shared: a second handle alone
                a.read_ext_data(ext);
                c.create_copy(_files.mgr, copy.c_str(), ext);
            }
            hit_flag = fault.has_failed();
            EXPECT_TRUE(hit_flag || (a.is_open() && b.is_open() && c.is_open()));
        }
        for (auto* const hnd : {&a, &b, &c}) {
            int const expected = hnd->is_open() ? 0 : int{Err_HANDLE_UNKNOWN};
            EXPECT_EQ(expected, hnd->close());
        }
        expect_free(copy);
        expect_free(path);
    }
}

// A file that is cut or removed while it is open.
TEST_F(SplFileFaultTest, TheFileIsCutOrRemoved) {
    auto const path = _files.make_name("rec.wav");
    int first_err = 0;
    int close_err = 0;
    ASSERT_EQ(nbr_frames, record(path, first_err, close_err));
    SplFileHnd hnd;
    ASSERT_EQ(0, hnd.open(_files.mgr, path.c_str(), false));
    std::filesystem::resize_file(path, 44 + 2 * 20000);
    Floats floats(nbr_frames);
    EXPECT_EQ(0, hnd.read_block(floats.data(), 0, 20000));
    EXPECT_EQ(sys::Err_FILE_READ_PAST_END, hnd.read_block(floats.data(), 10000, 10001));
    EXPECT_EQ(sys::Err_FILE_READ_PAST_END, hnd.read_block(floats.data(), 30000, 1));
    EXPECT_EQ(nbr_frames, hnd.get_length());
    std::filesystem::remove(path);
    EXPECT_EQ(0, hnd.read_block(floats.data(), 0, 20000)); // held by its descriptor
    EXPECT_EQ(0, hnd.close());
    EXPECT_EQ(sys::Err_FILE_OPEN, hnd.open(_files.mgr, path.c_str(), false));
}
