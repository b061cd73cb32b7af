#include "host/engine/Recorder.h"

#include "host/Error.h"
#include "support/FileFault.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

#include <sndfile.h>

#include <cerrno>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <random>

using namespace ulk::host::engine;
using namespace ulk::sacc;
using ulk::host::Error;

namespace {

constexpr long cell_len = 1024;

class RecorderTest : public ::testing::Test {
protected:
    using Channels = std::vector<std::vector<float>>;

    static Channels make_noise(int nbr_chn, long len) {
        std::mt19937 rng(3);
        std::uniform_real_distribution<float> dist(-0.9f, 0.9f);
        Channels channels(static_cast<std::size_t>(nbr_chn));
        for (auto& channel : channels) {
            for (long pos = 0; pos < len; ++pos) {
                channel.push_back(dist(rng));
            }
        }
        return channels;
    }
    // Pushes the frames from beg to end in parts, with slices in between.
    bool push(Recorder& recorder, Channels const& channels, long beg, long end) {
        std::vector<float const*> ptr_arr(channels.size());
        for (long pos = beg; pos < end;) {
            long const len = std::min(end - pos, 1 + pos * 7 % 300);
            for (std::size_t chn = 0; chn < channels.size(); ++chn) {
                ptr_arr[chn] = channels[chn].data() + pos;
            }
            {
                CacheService::Pass const pass(_cache);
                if (recorder.push(ptr_arr.data(), len) != len) {
                    return false;
                }
            }
            _cache.run_slices();
            pos += len;
        }
        return true;
    }
    // A second opinion on what the file holds.
    static Channels read(std::string const& path) {
        SF_INFO info = {};
        SNDFILE* const file = sf_open(path.c_str(), SFM_READ, &info);
        if (file == nullptr) {
            ADD_FAILURE() << path << ": " << sf_strerror(nullptr);
            return {};
        }
        std::vector<float> frames(static_cast<std::size_t>(info.frames * info.channels));
        EXPECT_EQ(info.frames, sf_readf_float(file, frames.data(), info.frames));
        sf_close(file);
        Channels channels(static_cast<std::size_t>(info.channels));
        for (std::size_t place = 0; place < frames.size(); ++place) {
            channels[place % channels.size()].push_back(frames[place]);
        }
        return channels;
    }
    static void expect_same(Channels const& expected, Channels const& got, std::size_t len,
                            double tol) {
        ASSERT_EQ(expected.size(), got.size());
        for (std::size_t chn = 0; chn < expected.size(); ++chn) {
            ASSERT_EQ(len, got[chn].size());
            for (std::size_t pos = 0; pos < len; ++pos) {
                ASSERT_NEAR(expected[chn][pos], got[chn][pos], tol) << chn << " " << pos;
            }
        }
    }
    template <class F>
    static bool fails(F fnc) {
        try {
            fnc();
        } catch (Error const& e) {
            EXPECT_EQ(Error::Kind_IO, e.get_kind()) << e.what();
            EXPECT_NE(std::string::npos, std::string(e.what()).find("take.wav")) << e.what();
            return true;
        }
        return false;
    }

    // The text of the error with which a file of that name is refused.
    std::string find_refusal(std::string const& path) {
        std::string txt;
        EXPECT_TRUE(fails([&] {
            try {
                Recorder(_cache, path, {SplFileBitFmt_F32, 48000, 1});
            } catch (Error const& e) {
                txt = e.what();
                throw;
            }
        }));
        return txt;
    }

    test::TempDir _dir;
    std::string _path = _dir.make_name("take.wav");
    CacheService _cache{{4 * cell_len, 16 * cell_len, cell_len}};
};

} // namespace

TEST_F(RecorderTest, TheFileHoldsWhatWasPushed) {
    struct Case {
        SplFileBitFmt bit_fmt;
        double step;
    };
    for (Case const& c : {Case{SplFileBitFmt_U8, 0x1p-7}, Case{SplFileBitFmt_S16, 0x1p-15},
                          Case{SplFileBitFmt_S24, 0x1p-23}, Case{SplFileBitFmt_S32, 0x1p-24},
                          Case{SplFileBitFmt_F32, 0}}) {
        for (int const nbr_chn : {1, 2, 3, 16}) {
            for (long const len : {0L, 1L, 1023L, 1024L, 5000L}) {
                auto const channels = make_noise(nbr_chn, len);
                Recorder recorder(_cache, _path, {c.bit_fmt, 44100, nbr_chn});
                ASSERT_TRUE(push(recorder, channels, 0, len));
                recorder.close();
                expect_same(channels, read(_path), static_cast<std::size_t>(len), c.step * 1.01);
            }
        }
    }
}

// As if the program were killed there.
TEST_F(RecorderTest, ACopyAtAnyTimeIsReadable) {
    auto const channels = make_noise(2, 9000);
    Recorder recorder(_cache, _path, {SplFileBitFmt_S24, 48000, 2});
    std::string const copy = _dir.make_name("copy.wav");
    long done = 0;
    for (long const end : {100L, 600L, 3000L, 9000L}) {
        ASSERT_TRUE(push(recorder, channels, done, end));
        auto const whole = static_cast<std::size_t>(recorder.validate(recorder.get_nbr_pushed()));
        EXPECT_EQ(static_cast<std::size_t>(end / (cell_len / 2) * (cell_len / 2)), whole);
        std::filesystem::copy_file(_path, copy, std::filesystem::copy_options::overwrite_existing);
        expect_same(channels, read(copy), whole, 0x1p-22);
        done = end;
    }
    recorder.close();
    expect_same(channels, read(_path), 9000, 0x1p-22);
}

TEST_F(RecorderTest, SilenceGoesWhereItIsPushed) {
    for (auto const bit_fmt : {SplFileBitFmt_U8, SplFileBitFmt_S24}) {
        auto const channels = make_noise(2, 3000);
        Recorder recorder(_cache, _path, {bit_fmt, 48000, 2});
        ASSERT_TRUE(push(recorder, channels, 0, 1500));
        {
            CacheService::Pass const pass(_cache);
            EXPECT_EQ(2000, recorder.push_silence(2000));
        }
        ASSERT_TRUE(push(recorder, channels, 1500, 3000));
        recorder.close();
        auto wish = channels;
        for (auto& channel : wish) {
            channel.insert(channel.begin() + 1500, 2000, 0.f);
        }
        expect_same(wish, read(_path), 5000, 0x1.1p-7);
    }
}

TEST_F(RecorderTest, FolderThatIsNotThere) {
    EXPECT_EQ(_dir.make_name("no folder/take.wav") +
                  ": cannot be made, since its folder is not there",
              find_refusal(_dir.make_name("no folder/take.wav")));
}

TEST_F(RecorderTest, FilesThatMayNotBeWritten) {
    test::FileFault fault;
    fault.fail_at(1, EACCES, test::FileFault::SysCall::Op_OPEN);
    EXPECT_EQ(_path + ": cannot be made: Permission denied", find_refusal(_path));
    std::ofstream(_path) << "RIFF, kept";
    fault.fail_at(fault.get_nbr_calls() + 1, EACCES, test::FileFault::SysCall::Op_OPEN);
    EXPECT_EQ(_path + ": cannot be made anew, since what is there may not be written: Permission "
                      "denied",
              find_refusal(_path));
    EXPECT_EQ(10u, std::filesystem::file_size(_path));
    Recorder const other(_cache, _path, {SplFileBitFmt_F32, 48000, 1});
    EXPECT_EQ(_path + ": cannot be made; does another program write it?", find_refusal(_path));
}

TEST_F(RecorderTest, WhatIsNoWavFileIsKept) {
    for (std::string const txt : {"[[track]]", "fLaC", "RIF"}) {
        std::ofstream(_path) << txt;
        try {
            Recorder const recorder(_cache, _path, {SplFileBitFmt_F32, 48000, 1});
            FAIL() << txt;
        } catch (Error const& e) {
            EXPECT_EQ(Error::Kind_USE, e.get_kind());
            EXPECT_EQ(_path + ": is there and no WAV file; give another name", e.what());
        }
        EXPECT_EQ(txt.size(), std::filesystem::file_size(_path));
    }
    for (std::string const& txt : {std::string(), std::string("RIFF"), std::string("RF64"),
                                   std::string("riff"), std::string("\0\0", 2)}) {
        std::ofstream(_path) << txt;
        Recorder recorder(_cache, _path, {SplFileBitFmt_F32, 48000, 1});
        recorder.close();
        EXPECT_EQ(44u, std::filesystem::file_size(_path));
    }
}

// By a link to a file that is not there yet, too.
TEST_F(RecorderTest, LinksAreFollowed) {
    std::filesystem::create_symlink("target.wav", _path);
    for (int trial = 0; trial < 2; ++trial) {
        Recorder recorder(_cache, _path, {SplFileBitFmt_F32, 48000, 1});
        recorder.close();
        EXPECT_TRUE(std::filesystem::is_symlink(_path));
        EXPECT_EQ(44u, std::filesystem::file_size(_dir.make_name("target.wav")));
    }
}

TEST_F(RecorderTest, MoreThanTheMemoryHoldsIsTold) {
    auto const channels = make_noise(1, 17 * cell_len);
    Recorder recorder(_cache, _path, {SplFileBitFmt_F32, 48000, 1});
    float const* const chn_arr[] = {channels[0].data()};
    CacheService::Pass const pass(_cache);
    EXPECT_EQ(16 * cell_len, recorder.push(chn_arr, 17 * cell_len));
    EXPECT_EQ(0, recorder.push_silence(1));
    EXPECT_EQ(16 * cell_len, recorder.get_nbr_pushed());
}

// Whatever the disk refuses, and whenever, it is told, and the file stays one that can be read.
TEST_F(RecorderTest, ARefusedWriteIsTold) {
    auto const channels = make_noise(2, 9000);
    for (int const err : {ENOSPC, EIO}) {
        for (long const nbr_calls : {1L, test::FileFault::FOR_EVER}) {
            bool hit_flag = true;
            for (long n = 1; hit_flag; ++n) {
                SCOPED_TRACE(std::to_string(err) + " at " + std::to_string(n));
                bool failed_flag = false;
                {
                    test::FileFault fault;
                    fault.fail_at(n, err, test::FileFault::SysCall::Op_WRITE, nbr_calls);
                    failed_flag = fails([&] {
                        Recorder recorder(_cache, _path, {SplFileBitFmt_S16, 48000, 2});
                        ASSERT_TRUE(push(recorder, channels, 0, 5000));
                        recorder.validate(recorder.get_nbr_pushed());
                        ASSERT_TRUE(push(recorder, channels, 5000, 9000));
                        recorder.close();
                    });
                    hit_flag = fault.was_hit();
                }
                ASSERT_EQ(hit_flag, failed_flag);
                if (n > 1) {
                    EXPECT_LE(read(_path).size(), 2u);
                }
                ASSERT_LT(n, 200);
            }
        }
    }
}

TEST_F(RecorderTest, ShortWritesAreGoneOnWith) {
    auto const channels = make_noise(2, 3000);
    test::FileFault fault;
    fault.limit_transfers(7);
    Recorder recorder(_cache, _path, {SplFileBitFmt_S16, 48000, 2});
    ASSERT_TRUE(push(recorder, channels, 0, 3000));
    recorder.close();
    expect_same(channels, read(_path), 3000, 0x1p-14);
}
