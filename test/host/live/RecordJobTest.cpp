// Takes from a device without sound, whatever holds up the watch or the disk.

#include "host/live/RecordJob.h"

#include "host/live/ClockDevice.h"
#include "support/FileFault.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <chrono>
#include <cstring>
#include <filesystem>
#include <thread>

using namespace ulk::host::live;

namespace {

class LiveRecordTest : public ::testing::Test {
protected:
    LiveRecordTest() { settings.path = dir.make_name("take.wav"); }
    RecordJob::Result run(RecordJob::Watch const& watch) {
        return RecordJob::run(
            settings,
            [](Device::Settings const& wish) { return std::make_unique<ClockDevice>(wish); },
            watch);
    }
    auto find_size() const { return std::filesystem::file_size(settings.path); }

    test::TempDir dir;
    RecordJob::Settings settings;
};

} // namespace

// The file grows, and its cache does not fill up, while a terminal is blocked.
TEST_F(LiveRecordTest, AWatchThatBlocksHoldsUpNoWriting) {
    std::uintmax_t size = 0;
    auto const result = run([&](RecordJob::View const&) {
        std::this_thread::sleep_for(std::chrono::seconds(2));
        size = find_size();
        return false;
    });
    EXPECT_GT(size, 48000u);
    EXPECT_EQ(0, result.nbr_lost);
    EXPECT_FALSE(result.failure);
    EXPECT_FALSE(result.full_flag);
    EXPECT_EQ(44u + 6 * static_cast<std::uintmax_t>(result.nbr_frames), find_size());
}

TEST_F(LiveRecordTest, EachSecondIsBroughtToTheDisk) {
    test::FileFault fault;
    fault.fail_at(1, EINVAL, test::FileFault::SysCall::Op_SYNC); // as file systems do that can't
    auto const result = run([&](RecordJob::View const&) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1500));
        return false;
    });
    EXPECT_TRUE(fault.was_hit());
    EXPECT_FALSE(result.failure);
    EXPECT_EQ(0, result.nbr_lost);
}

TEST_F(LiveRecordTest, AFileThatCanHoldNoMoreEndsTheTake) {
    settings.max_file_len = 100000;
    auto const watch = [](RecordJob::View const&) {
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
        return true;
    };
    auto const result = run(watch);
    EXPECT_TRUE(result.full_flag);
    EXPECT_FALSE(result.failure);
    EXPECT_EQ((100000 - 1024) / 6, result.nbr_frames);
    EXPECT_EQ(0, result.nbr_lost);
    EXPECT_EQ(44u + 6 * static_cast<std::uintmax_t>(result.nbr_frames), find_size());
    settings.len = 0.3; // all of which it can hold
    EXPECT_FALSE(run(watch).full_flag);
    settings.len = 0.4;
    EXPECT_TRUE(run(watch).full_flag);
}

TEST_F(LiveRecordTest, AFullDiskEndsTheTakeWithAReport) {
    test::FileFault fault;
    auto const result = run([&, first_flag = true](RecordJob::View const&) mutable {
        if (first_flag) {
            std::this_thread::sleep_for(std::chrono::milliseconds(1500));
            fault.fail_at(1, ENOSPC, test::FileFault::SysCall::Op_WRITE, test::FileFault::FOR_EVER);
        }
        first_flag = false;
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
        return true;
    });
    ASSERT_TRUE(result.failure);
    EXPECT_NE(nullptr, std::strstr(result.failure->what(), settings.path.c_str()));
    EXPECT_GT(result.nbr_frames, 24000);
    EXPECT_GT(result.nbr_lost, 0);
}
