// Recordings in a process of their own that is killed, or whose files may not grow; and handles in
// several threads.

#include "ulk/sacc/WavTools.h"

#include "ulk/sys/Err.h"

#include <gtest/gtest.h>

#include <atomic>
#include <csignal>
#include <random>
#include <thread>

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace ulk;
using namespace ulk::sacc;
using test::Floats;

namespace {

constexpr long block_len = 3000;

// Frame n of a 24-bit file holds n, whatever the channel.
Floats make_block(long beg, long len, int nbr_chn = 1) {
    Floats floats;
    for (long n = beg; n < beg + len; ++n) {
        floats.insert(floats.end(), static_cast<std::size_t>(nbr_chn),
                      static_cast<float>(n) / 8388608);
    }
    return floats;
}

long check_file(test::SplFiles& files, std::string const& path) {
    SplFileHnd hnd;
    EXPECT_EQ(0, hnd.open(files.mgr, path.c_str(), false));
    if (!hnd.is_open()) {
        return -1;
    }
    long const len = hnd.get_length();
    Floats floats(static_cast<std::size_t>(len));
    EXPECT_EQ(0, hnd.read_block(floats.data(), 0, len));
    EXPECT_EQ(make_block(0, len), floats);
    EXPECT_EQ(0, hnd.close());
    return len;
}

// The child: records for ever, and tells the length after each validation.
[[noreturn]] void record_until_killed(std::string const& path, int fd) {
    sys::Mutex mutex;
    SplFileMgr mgr(mutex);
    SplFileHnd hnd;
    int err = hnd.create_new(mgr, path.c_str(), test::make_desc(SplFileBitFmt_S24, 1), 0);
    for (long pos = 0; err == 0; pos += block_len) {
        err = hnd.write_block(make_block(pos, block_len).data(), pos, block_len);
        if (err == 0 && pos / block_len % 3 == 2) {
            err = hnd.validate_new_data();
            long const len = pos + block_len;
            err = ::write(fd, &len, sizeof(len)) == sizeof(len) ? err : -1;
        }
    }
    ::_exit(1);
}

} // namespace

TEST(SplFileProcessTest, AKilledRecordingKeepsWhatWasValidated) {
    test::SplFiles files;
    auto const path = files.make_name("rec.wav");
    int fds[2];
    ASSERT_EQ(0, ::pipe(fds));
    auto const pid = ::fork();
    ASSERT_GE(pid, 0);
    if (pid == 0) {
        record_until_killed(path, fds[1]);
    }
    ::close(fds[1]);
    long validated = 0;
    for (int n = 0; n < 20; ++n) {
        ASSERT_EQ(static_cast<long>(sizeof(validated)),
                  ::read(fds[0], &validated, sizeof(validated)));
    }
    ::kill(pid, SIGKILL);
    int status = 0;
    ASSERT_EQ(pid, ::waitpid(pid, &status, 0));
    EXPECT_TRUE(WIFSIGNALED(status));
    ::close(fds[0]);
    EXPECT_EQ(20 * 3 * block_len, validated);
    EXPECT_GE(check_file(files, path), validated);
}

// A limit on the size of files, as real as a full disk: writing fails in the kernel.
TEST(SplFileProcessTest, ARecordingThatMayNotGrowKeepsWhatWasWritten) {
    test::SplFiles files;
    auto const path = files.make_name("rec.wav");
    constexpr rlim_t limit = 300000;
    auto const pid = ::fork();
    ASSERT_GE(pid, 0);
    if (pid == 0) {
        std::signal(SIGXFSZ, SIG_IGN);
        rlimit const lim = {limit, limit};
        ::setrlimit(RLIMIT_FSIZE, &lim);
        sys::Mutex mutex;
        SplFileMgr mgr(mutex);
        SplFileHnd hnd;
        int err = hnd.create_new(mgr, path.c_str(), test::make_desc(SplFileBitFmt_S24, 1), 0);
        for (long pos = 0; err == 0; pos += 20000) { // blocks that go past the stream's buffer
            err = hnd.write_block(make_block(pos, 20000).data(), pos, 20000);
        }
        bool const ok_flag = err == sys::Err_FILE_WRITE && hnd.close() == 0;
        ::_exit(ok_flag ? 0 : 1);
    }
    int status = 0;
    ASSERT_EQ(pid, ::waitpid(pid, &status, 0));
    ASSERT_TRUE(WIFEXITED(status));
    EXPECT_EQ(0, WEXITSTATUS(status));
    // Blocks of 60000 bytes behind a header: four fit whole, and of the fifth nothing counts.
    EXPECT_EQ(80000, check_file(files, path));
}

TEST(SplFileProcessTest, ThreadsShareAManager) {
    test::SplFiles files;
    auto const shared = files.make_name("shared.wav");
    constexpr long len = 20000;
    SplFileHnd hnd;
    ASSERT_EQ(0,
              hnd.create_new(files.mgr, shared.c_str(), test::make_desc(SplFileBitFmt_S24, 2), 0));
    ASSERT_EQ(0, hnd.write_block(make_block(0, len, 2).data(), 0, len));
    ASSERT_EQ(0, hnd.close());
    std::atomic<int> nbr_faults{0};
    auto const read = [&](unsigned int seed) {
        std::mt19937 rng(seed);
        for (int round = 0; round < 60; ++round) {
            SplFileHnd own;
            nbr_faults += own.open(files.mgr, shared.c_str(), seed == 1) != 0;
            for (int n = 0; n < 10; ++n) {
                long const pos = static_cast<long>(rng() % (len - 500));
                Floats floats(1000);
                nbr_faults += own.read_block(floats.data(), pos, 500) != 0;
                nbr_faults += floats != make_block(pos, 500, 2);
            }
            nbr_faults += own.close() != 0;
        }
    };
    auto const record = [&](std::string const& name) {
        for (int round = 0; round < 30; ++round) {
            SplFileHnd own;
            auto const path = files.make_name(name);
            nbr_faults += own.create_new(files.mgr, path.c_str(),
                                         test::make_desc(SplFileBitFmt_S24, 1), 0) != 0;
            nbr_faults += own.write_block(make_block(0, 100).data(), 0, 100) != 0;
            nbr_faults += own.get_length() != 100;
            nbr_faults += own.close() != 0;
        }
    };
    std::vector<std::thread> thread_list;
    thread_list.emplace_back(read, 1);
    thread_list.emplace_back(read, 2);
    thread_list.emplace_back(read, 3);
    thread_list.emplace_back(record, "a.wav");
    thread_list.emplace_back(record, "b.wav");
    for (auto& thread : thread_list) {
        thread.join();
    }
    EXPECT_EQ(0, nbr_faults.load());
}
