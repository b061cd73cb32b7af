// Takes from devices without sound, whatever holds up the watch or the disk.

#include "host/live/RecordJob.h"

#include "host/live/ClockDevice.h"
#include "host/live/SignalDevice.h"
#include "support/FileFault.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

#include <sndfile.h>

#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <cstring>
#include <filesystem>
#include <mutex>
#include <thread>

#include <sys/stat.h>

using namespace ulk::host::live;
using test::FileFault;
using test::SignalDevice;
using SysCall = ulk::sys::posix::SysCall;

namespace {

void sleep(int ms) {
    std::this_thread::sleep_for(std::chrono::milliseconds(ms));
}

// No write comes to its end while it stalls.
class StallingDisk : public SysCall::Filter {
public:
    StallingDisk()
        : _prev_ptr(SysCall::set_filter(this)) {}
    ~StallingDisk() override { SysCall::set_filter(_prev_ptr); }

    void stall(bool flag) {
        std::lock_guard const lock(_mutex);
        _stalled_flag = flag;
        _condition.notify_all();
    }

protected:
    long do_check(SysCall::Op op, long) override {
        if (op == SysCall::Op_WRITE) {
            std::unique_lock lock(_mutex);
            _condition.wait(lock, [this] { return !_stalled_flag; });
        }
        return 0;
    }

private:
    std::mutex _mutex;
    std::condition_variable _condition;
    bool _stalled_flag = false;
    Filter* _prev_ptr;
};

// A second opinion on a file.
struct Take {
    SF_INFO info = {};
    std::vector<float> frames;

    explicit Take(std::string const& path) {
        SNDFILE* const file = sf_open(path.c_str(), SFM_READ, &info);
        if (file != nullptr) {
            frames.resize(static_cast<std::size_t>(info.frames * info.channels));
            info.frames = sf_readf_float(file, frames.data(), info.frames);
            sf_close(file);
        }
    }
    float const* get_frame(long long pos) const { return frames.data() + pos * info.channels; }
    bool is_signal(long long pos) const {
        for (int chn = 0; chn < info.channels; ++chn) {
            if (get_frame(pos)[chn] != SignalDevice::make(chn, pos)) {
                return false;
            }
        }
        return true;
    }
    bool is_silent(long long pos) const {
        return std::all_of(get_frame(pos), get_frame(pos) + info.channels,
                           [](float val) { return val == 0; });
    }
};

class LiveRecordTest : public ::testing::Test {
protected:
    LiveRecordTest() { settings.path = dir.make_name("take.wav"); }
    RecordJob::Result run(RecordJob::Watch const& watch) {
        return RecordJob::run(
            settings,
            [](Device::Settings const& wish) { return std::make_unique<ClockDevice>(wish); },
            watch);
    }
    // Until the scenario is over, when the device is gone.
    RecordJob::Result hear(SignalDevice::Scenario const& scenario) {
        return RecordJob::run(
            settings,
            [&](Device::Settings wish) {
                wish.sample_freq = freq.value_or(wish.sample_freq);
                wish.block_len = block_len.value_or(wish.block_len);
                return std::make_unique<SignalDevice>(wish, scenario);
            },
            [](RecordJob::View const&) {
                sleep(1);
                return true;
            });
    }
    static bool watch_once(RecordJob::View const&) { return false; }
    // Until it ends by itself.
    static bool watch_long(RecordJob::View const& view) {
        sleep(10);
        return view.time < 20;
    }
    template <class F>
    static void wait_for(F fnc) {
        for (int trial = 0; trial < 2000 && !fnc(); ++trial) {
            sleep(10);
        }
    }
    auto find_size() const { return std::filesystem::file_size(settings.path); }
    template <class F>
    static std::string find_error(F fnc) {
        try {
            fnc();
        } catch (ulk::host::Error const& e) {
            EXPECT_EQ(ulk::host::Error::Kind_IO, e.get_kind());
            return e.what();
        }
        return "";
    }

    test::TempDir dir;
    RecordJob::Settings settings;
    std::optional<double> freq; // that the device settles on
    std::optional<long> block_len;
};

} // namespace

// The file grows, and its cache does not fill up, while a terminal is blocked.
TEST_F(LiveRecordTest, AWatchThatBlocksHoldsUpNoWriting) {
    std::uintmax_t size = 0;
    auto const result = run([&](RecordJob::View const&) {
        sleep(2000);
        size = find_size();
        return false;
    });
    EXPECT_GT(size, 48000u);
    EXPECT_EQ(0, result.nbr_lost);
    EXPECT_FALSE(result.failure);
    EXPECT_FALSE(result.full_flag);
    EXPECT_EQ(44u + 6 * static_cast<std::uintmax_t>(result.nbr_frames), find_size());
}

// What is lost is silence in its place, and nothing slips: in the midst of the take and at its end.
TEST_F(LiveRecordTest, WhatTheDiskIsTooSlowForIsSilence) {
    struct Case {
        int nbr_chn;
        long block_len;
    };
    freq = 8000;
    for (Case const& c : {Case{1, 256}, Case{2, 64}, Case{5, 1000}, Case{16, 8192}}) {
        SCOPED_TRACE(c.nbr_chn);
        settings.nbr_chn = c.nbr_chn;
        block_len = c.block_len;
        StallingDisk disk;
        long long nbr_heard = 0;
        auto const result = hear([&](SignalDevice& device) {
            for (int const s : {11, 14, 22}) {
                disk.stall(false);
                for (int part = 0; part < 40; ++part) { // no faster than the disk
                    device.hear(c.block_len);
                    sleep(10);
                }
                disk.stall(true);
                device.hear(s * 8000);
            }
            nbr_heard = device.get_nbr_heard();
            disk.stall(false);
        });
        EXPECT_EQ(nbr_heard, result.nbr_frames);
        EXPECT_GT(result.nbr_lost, (11 + 14 + 22 - 3 * 10.5) * 8000);
        EXPECT_GE(result.gaps.get_nbr_gaps(), 3);
        EXPECT_EQ(result.nbr_lost, result.gaps.get_nbr_frames());
        Take const take(settings.path);
        ASSERT_EQ(nbr_heard, take.info.frames);
        ASSERT_EQ(result.gaps.get_nbr_gaps(), static_cast<long long>(result.gaps.get_nbr_listed()));
        long long pos = 0;
        for (std::size_t index = 0; index < result.gaps.get_nbr_listed(); ++index) {
            GapList::Gap const& gap = result.gaps.get_gap(index);
            for (; pos < gap.pos; ++pos) {
                ASSERT_TRUE(take.is_signal(pos)) << pos;
            }
            for (; pos < gap.pos + gap.len; ++pos) {
                ASSERT_TRUE(take.is_silent(pos)) << pos;
            }
        }
        EXPECT_EQ(nbr_heard, pos); // the last one is at the end
    }
}

TEST_F(LiveRecordTest, TheFileHasTheRateOfTheDevice) {
    freq = 44100;
    block_len = 480;
    settings.len = 0.5;
    settings.bit_fmt = ulk::sacc::SplFileBitFmt_F32;
    auto const result = hear([](SignalDevice& device) {
        while (!device.is_stopped()) {
            device.hear(480);
        }
    });
    EXPECT_FALSE(result.failure);
    EXPECT_EQ(44100, result.sample_freq);
    EXPECT_EQ(22050, result.nbr_frames);
    Take const take(settings.path);
    EXPECT_EQ(44100, take.info.samplerate);
    ASSERT_EQ(22050, take.info.frames);
    for (long long pos = 0; pos < take.info.frames; ++pos) {
        ASSERT_TRUE(take.is_signal(pos)) << pos;
    }
}

// Whatever the rate, all but the last tenth of a second is in the file within its second.
TEST_F(LiveRecordTest, ATenthOfASecondIsNotWritten) {
    struct Case {
        double freq;
        int nbr_chn;
    };
    for (Case const& c : {Case{8000, 1}, Case{44100, 3}, Case{48000, 2}, Case{192000, 16}}) {
        SCOPED_TRACE(c.freq);
        freq = c.freq;
        settings.nbr_chn = c.nbr_chn;
        auto const nbr_frames = static_cast<long long>(c.freq / 4);
        long long nbr_found = 0;
        hear([&](SignalDevice& device) {
            device.hear(nbr_frames);
            wait_for([&] {
                nbr_found = Take(settings.path).info.frames;
                return nbr_found > 0;
            });
        });
        EXPECT_GE(static_cast<double>(nbr_found), static_cast<double>(nbr_frames) - c.freq / 10);
    }
}

TEST_F(LiveRecordTest, ADiskThatCannotSyncIsAsGood) {
    for (int const err : {EINVAL, ENOTSUP, EOPNOTSUPP, EROFS}) {
        FileFault fault;
        fault.fail_at(1, err, SysCall::Op_SYNC, FileFault::FOR_EVER);
        EXPECT_FALSE(run(watch_once).failure);
        EXPECT_TRUE(fault.was_hit());
    }
}

TEST_F(LiveRecordTest, EachSecondIsBroughtToTheDisk) {
    FileFault fault;
    fault.fail_at(FileFault::FOR_EVER, EIO, SysCall::Op_SYNC);
    long nbr_calls = 0;
    auto const result = run([&](RecordJob::View const&) {
        sleep(20);
        nbr_calls = fault.get_nbr_calls();
        return nbr_calls < 3; // the file, its folder's entry, the file again
    });
    EXPECT_EQ(nbr_calls + 1, fault.get_nbr_calls()); // once more behind its end
    EXPECT_FALSE(result.failure);
    EXPECT_EQ(0, result.nbr_lost);
}

TEST_F(LiveRecordTest, ADiskThatFailsToSyncEndsTheTake) {
    for (int const err : {EIO, ENOSPC, EDQUOT}) {
        FileFault fault;
        fault.fail_at(3, err, SysCall::Op_SYNC);
        auto const result = run(watch_long);
        ASSERT_TRUE(result.failure);
        EXPECT_EQ(settings.path + ": cannot be brought to the disk: " + std::strerror(err),
                  result.failure->what());
        EXPECT_GT(result.nbr_frames, 0);
        EXPECT_GT(result.nbr_lost, 0);
    }
}

TEST_F(LiveRecordTest, TheLastSyncIsJudgedToo) {
    for (int const call : {1, 2}) { // the file and its folder's entry
        FileFault fault;
        fault.fail_at(call, EIO, SysCall::Op_SYNC);
        EXPECT_TRUE(run(watch_once).failure);
        EXPECT_TRUE(fault.was_hit());
    }
}

TEST_F(LiveRecordTest, AFileThatCanHoldNoMoreEndsTheTake) {
    settings.max_file_len = 100000;
    auto const result = run(watch_long);
    EXPECT_TRUE(result.full_flag);
    EXPECT_FALSE(result.failure);
    EXPECT_EQ((100000 - 1024) / 6, result.nbr_frames);
    EXPECT_EQ(0, result.nbr_lost);
    EXPECT_EQ(44u + 6 * static_cast<std::uintmax_t>(result.nbr_frames), find_size());
    settings.len = 0.3; // all of which it can hold
    EXPECT_FALSE(run(watch_long).full_flag);
    settings.len = 0.4;
    EXPECT_TRUE(run(watch_long).full_flag);
}

// The report tells no frame that is not there.
TEST_F(LiveRecordTest, AFullDiskEndsTheTakeWithAReport) {
    FileFault fault;
    long long nbr_heard = 0;
    auto const result = hear([&](SignalDevice& device) {
        device.hear(50000); // no number of cells
        wait_for([&] { return Take(settings.path).info.frames > 0; });
        fault.fail_at(1, ENOSPC, SysCall::Op_WRITE, FileFault::FOR_EVER);
        device.hear(50000);
        nbr_heard = device.get_nbr_heard();
        wait_for([&] { return device.is_stopped(); });
    });
    ASSERT_TRUE(result.failure);
    EXPECT_NE(nullptr, std::strstr(result.failure->what(), settings.path.c_str()));
    EXPECT_GE(result.nbr_frames, 50000 - 4800);
    EXPECT_EQ(nbr_heard, result.nbr_frames + result.nbr_lost);
    Take const take(settings.path);
    ASSERT_GE(take.info.frames, result.nbr_frames);
    for (long long pos = 0; pos < result.nbr_frames; ++pos) {
        ASSERT_TRUE(take.is_signal(pos)) << pos;
    }
}

TEST_F(LiveRecordTest, AFileThatIsGoneIsToldAsSuch) {
    std::string const moved = dir.make_name("moved.wav");
    auto const result = run([&, nbr_calls = 0](RecordJob::View const& view) mutable {
        if (++nbr_calls == 5) {
            std::filesystem::rename(settings.path, moved);
        }
        return watch_long(view);
    });
    ASSERT_TRUE(result.failure);
    EXPECT_EQ(settings.path +
                  ": is not there any more: it was renamed or deleted while it was written",
              result.failure->what());
    EXPECT_GT(Take(moved).info.frames, 0);
}

// A pipe would be waited for, for ever.
TEST_F(LiveRecordTest, WhatIsNoFileIsRefusedBeforeAnythingIsOpened) {
    std::string const pipe = dir.make_name("pipe.wav");
    ASSERT_EQ(0, ::mkfifo(pipe.c_str(), 0600));
    std::filesystem::create_symlink(pipe, dir.get_path() / "link.wav");
    for (std::string const& path :
         {pipe, dir.make_name("link.wav"), std::string("/dev/null"), dir.get_path().string()}) {
        settings.path = path;
        bool open_flag = false;
        std::string const txt = find_error([&] {
            RecordJob::run(
                settings,
                [&](Device::Settings const& wish) {
                    open_flag = true;
                    return std::make_unique<ClockDevice>(wish);
                },
                watch_once);
        });
        bool const folder_flag = path == dir.get_path().string();
        EXPECT_EQ(path + ": cannot be made, since " +
                      (folder_flag ? "a folder has that name"
                                   : "a pipe or a device has that name; give that of a WAV file"),
                  txt);
        EXPECT_FALSE(open_flag);
    }
}
