// What the cache keeps when calls to the system and allocations fail, files vanish, the disk is
// full, or the process is killed.

#include "support/AllocFault.h"
#include "support/FileFault.h"
#include "ulk/sacc/CacheFixture.h"

#include "ulk/sys/Err.h"

#include <algorithm>
#include <csignal>
#include <filesystem>

#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace ulk;
using namespace ulk::sacc;
using test::FileFault;

namespace {

using Op = FileFault::SysCall::Op;

class SplCacheFaultTest : public test::CacheFixture {
protected:
    // Memory for a few cells of 2000 floats: more than the files' buffers hold.
    void give_large_cells(long nbr_normal, long nbr_rec) {
        EXPECT_EQ(0, cache.set_memory(nbr_normal * 2000, nbr_rec * 2000, 2000));
    }

    // Every cell is on its list and bears no content.
    void expect_all_free(std::size_t nbr_normal, std::size_t nbr_rec) {
        EXPECT_EQ(nbr_normal, list_lru().size());
        EXPECT_EQ(nbr_rec, list_rec_free().size());
        EXPECT_TRUE(list_rec_used().empty());
        SplCacheStat stat;
        cache.collect_statistics(stat);
        EXPECT_EQ(static_cast<long>(nbr_normal),
                  stat.get_nbr_cells(Cell::Type_NORMAL, Cell::Status_FREE));
        EXPECT_EQ(static_cast<long>(nbr_rec),
                  stat.get_nbr_cells(Cell::Type_REC, Cell::Status_FREE));
        Longs list;
        cache.list_open_files(list);
        EXPECT_TRUE(list.empty());
    }

    // Frames of a recording's file as they are on disk, without its header's word for it.
    test::Floats read_raw(std::string const& path) {
        auto const bytes = test::load_bytes(path);
        test::Floats floats(bytes.size() > 44 ? (bytes.size() - 44) / 4 : 0);
        if (!floats.empty()) {
            std::memcpy(floats.data(), bytes.data() + 44, floats.size() * 4);
        }
        return floats;
    }
};

// A small file system of its own, or a limit on the length of files where mounting is not
// permitted.
class SmallDisk {
public:
    explicit SmallDisk(std::string const& dir)
        : _dir(dir) {
        std::filesystem::create_directory(dir);
        if (::mount("tmpfs", dir.c_str(), "tmpfs", 0, "size=256k") == 0) {
            _mounted_flag = true;
        } else {
            ::getrlimit(RLIMIT_FSIZE, &_limit);
            _prev_handler = std::signal(SIGXFSZ, SIG_IGN);
            rlimit limit = _limit;
            limit.rlim_cur = 256 * 1024;
            ::setrlimit(RLIMIT_FSIZE, &limit);
        }
    }
    SmallDisk(SmallDisk const&) = delete;
    SmallDisk& operator=(SmallDisk const&) = delete;
    ~SmallDisk() {
        if (_mounted_flag) {
            ::umount2(_dir.c_str(), MNT_DETACH);
        } else {
            ::setrlimit(RLIMIT_FSIZE, &_limit);
            std::signal(SIGXFSZ, _prev_handler);
        }
    }

private:
    std::string _dir;
    bool _mounted_flag = false;
    rlimit _limit{};
    void (*_prev_handler)(int) = SIG_DFL;
};

} // namespace

TEST_F(SplCacheFaultTest, ReadingWithTheNthCallFailing) {
    constexpr long len = 10000;
    give_large_cells(6, 0);
    auto const path = make_file("a", len);
    for (int const op : {int{FileFault::ANY_OP}, int{Op::Op_READ}, int{Op::Op_SEEK}}) {
        bool hit_flag = true;
        for (long n = 1; hit_flag; ++n) {
            FileFault fault;
            fault.fail_at(n, EIO, op);
            Id id = -5;
            int const ret = cache.open_file(id, path.c_str(), false);
            if (ret == 0) {
                EXPECT_EQ(0, prefetch(id, 0, len));
                EXPECT_FALSE(cache.do_run_slice());
                auto const spans = get(id, 0, len); // and their frames are right
                EXPECT_GE(spans.size() + (fault.was_hit() ? 1 : 0), 5u);
                long sum = 0;
                for (auto const& span : spans) {
                    sum += span.len;
                }
                SplCacheStat stat;
                cache.collect_statistics(stat);
                long const nbr_holes = stat.get_nbr_cells(Cell::Type_NORMAL, Cell::Status_TRANSFER);
                EXPECT_EQ(len - 2000 * nbr_holes, sum);
                cache.close_file(id);
            } else {
                EXPECT_EQ(-5, id);
            }
            hit_flag = fault.was_hit();
            expect_all_free(6, 0);
        }
    }
    Id const id = open_path(path);
    load(id, 0, len);
    EXPECT_EQ(5u, get(id, 0, len).size());
}

// Each frame on disk is the one that was pushed, or of the block whose writing failed.
TEST_F(SplCacheFaultTest, RecordingWithTheNthCallFailing) {
    constexpr long len = 9000;
    give_large_cells(0, 6);
    auto const path = files.make_name("r");
    bool hit_flag = true;
    for (long n = 1; hit_flag; ++n) {
        {
            FileFault fault;
            fault.fail_at(n, ENOSPC);
            Id id = -5;
            int const ret =
                cache.create_file_new(id, path.c_str(), test::make_desc(SplFileBitFmt_F32, 1));
            if (ret == 0) {
                for (long pos = 0; pos < len; pos += 1500) {
                    push(id, 1500);
                    EXPECT_FALSE(cache.do_run_slice());
                    EXPECT_EQ(pos + 1500, get_length(id)); // it goes on
                }
                cache.close_file(id);
            } else {
                EXPECT_EQ(-5, id);
            }
            hit_flag = fault.was_hit();
            expect_all_free(0, 6);
        }
        auto const floats = read_raw(path);
        auto const wanted = make_frames(0, len, 1);
        std::vector<bool> bad_list(5, false);
        for (std::size_t f = 0; f < floats.size() && f < wanted.size(); ++f) {
            bad_list[f / 2000] = bad_list[f / 2000] || floats[f] != wanted[f];
        }
        EXPECT_LE(std::count(bad_list.begin(), bad_list.end(), true), hit_flag ? 1 : 0) << n;
        EXPECT_LE(floats.size(), wanted.size());
    }
    expect_file(path, len);
}

TEST_F(SplCacheFaultTest, ADiskThatStaysFullStopsNobody) {
    give_large_cells(0, 4);
    Id const id = create("r");
    push(id, 6000);
    EXPECT_FALSE(cache.do_run_slice());
    EXPECT_EQ(0, cache.validate_new_data(id));
    {
        FileFault fault;
        fault.fail_at(1, ENOSPC, Op::Op_WRITE, FileFault::FOR_EVER);
        for (int n = 0; n < 10; ++n) {
            EXPECT_EQ(1u, push(id, 2000).size());
            EXPECT_FALSE(cache.do_run_slice());
        }
        EXPECT_EQ(26000, get_length(id));
        EXPECT_EQ(4u, list_rec_free().size());
        EXPECT_NE(0, cache.close_file(id));
    }
    EXPECT_FALSE(cache.is_file_existing(id));
    expect_all_free(0, 4);
    auto floats = read_raw(files.make_name("r"));
    ASSERT_GE(floats.size(), 6000u);
    floats.resize(6000);
    EXPECT_EQ(make_frames(0, 6000, 1), floats);
}

TEST_F(SplCacheFaultTest, ARealDiskFillsUp) {
    give_large_cells(0, 4);
    auto const dir = files.make_name("small");
    SmallDisk const disk(dir);
    auto const path = dir + "/r";
    Id id = -1;
    ASSERT_EQ(0, cache.create_file_new(id, path.c_str(), test::make_desc(SplFileBitFmt_F32, 1)));
    for (int n = 0; n < 50; ++n) { // 400000 bytes
        EXPECT_EQ(1u, push(id, 2000).size());
        EXPECT_FALSE(cache.do_run_slice());
        if (n == 19) {
            EXPECT_EQ(0, cache.validate_new_data(id));
        }
    }
    EXPECT_EQ(100000, get_length(id));
    EXPECT_EQ(4u, list_rec_free().size());
    cache.close_file(id);
    expect_all_free(0, 4);
    auto floats = read_raw(path);
    ASSERT_GE(floats.size(), 40000u); // what was validated, at the least
    floats.resize(40000);
    EXPECT_EQ(make_frames(0, 40000, 1), floats);
    Id again = -1; // whatever the header says of the rest, the path is free and the cache is whole
    std::filesystem::remove(path);
    ASSERT_EQ(0, cache.create_file_new(again, path.c_str(), test::make_desc(SplFileBitFmt_F32, 1)));
    push(again, 3000);
    EXPECT_EQ(0, cache.close_file(again));
    expect_file(path, 3000);
}

TEST_F(SplCacheFaultTest, AFileIsCutAndRemovedUnderUs) {
    constexpr long len = 10000;
    give_large_cells(6, 0);
    auto const path = make_file("a", len);
    Id const id = open_path(path);
    load(id, 0, 2000);
    std::filesystem::resize_file(path, 44 + 4 * 5000);
    load(id, 0, len);
    EXPECT_EQ((Spans{{0, 0, 2000}, {2000, 0, 2000}}), get(id, 0, len));
    EXPECT_EQ(len, get_length(id));
    std::filesystem::remove(path);
    EXPECT_EQ(0, cache.invalidate_data(id, 0, 4000));
    EXPECT_FALSE(cache.do_run_slice());
    EXPECT_EQ((Spans{{0, 0, 2000}, {2000, 0, 2000}}), get(id, 0, len)); // held by its descriptor
    EXPECT_EQ(0, cache.close_file(id));
    expect_all_free(6, 0);
    Id none = -5;
    EXPECT_EQ(sys::Err_FILE_OPEN, cache.open_file(none, path.c_str(), false));
    EXPECT_EQ(-5, none);
}

TEST_F(SplCacheFaultTest, AFileThatFailsToCloseIsGoneAllTheSame) {
    give_large_cells(6, 2);
    Id const id = create("r");
    push(id, 100);
    {
        FileFault fault;
        fault.fail_at(1, EIO, FileFault::ANY_OP, FileFault::FOR_EVER);
        EXPECT_NE(0, cache.close_file(id));
    }
    EXPECT_EQ(Err_FILE_ID_UNKNOWN, cache.close_file(id));
    EXPECT_EQ(Err_FILE_ID_UNKNOWN, cache.validate_new_data(id));
    EXPECT_EQ(Err_FILE_ID_UNKNOWN, prefetch(id, 0, 1));
    EXPECT_FALSE(cache.is_file_existing(id));
    expect_all_free(6, 2);
}

// The table cannot be copied: the file stays open, and its locks are gone.
TEST_F(SplCacheFaultTest, ClosingWithTheNthAllocationFailing) {
    give_large_cells(6, 0);
    auto const path = make_file("a", 10000);
    int ret = -1;
    long nbr_rounds = 0;
    Id const id = open_path(path);
    load(id, 0, 10000);
    for (long n = 0; ret != 0; ++n) {
        EXPECT_EQ(0, cache.lock_data(id, 0, 4000));
        log.take();
        {
            test::AllocFault const fault(n);
            ret = cache.close_file(id);
        }
        if (ret != 0) {
            EXPECT_EQ(Err_EXCEPTION, ret);
            EXPECT_EQ((Lines{"E remove_file(): Exception."}), log.take());
            EXPECT_EQ(5u, get(id, 0, 10000).size());
            EXPECT_EQ(6u, list_lru().size());
            ++nbr_rounds;
        }
    }
    EXPECT_GT(nbr_rounds, 0);
    expect_all_free(6, 0);
}

TEST_F(SplCacheFaultTest, MemoryWithTheNthAllocationFailing) {
    bool hit_flag = true;
    for (long n = 0; hit_flag; ++n) {
        give_cells(3, 2);
        Id const id = open("a", 30);
        load(id, 0, 30);
        int ret = 0;
        {
            test::AllocFault const fault(n);
            ret = cache.add_memory(40, 30);
            hit_flag = fault.has_failed();
        }
        EXPECT_EQ(hit_flag ? int{Err_EXCEPTION} : 0, ret);
        EXPECT_EQ(hit_flag ? 3u : 7u, list_lru().size());
        EXPECT_EQ(hit_flag ? 2u : 5u, list_rec_free().size());
        EXPECT_EQ(3u, get(id, 0, 30).size());
        EXPECT_EQ(0, cache.close_file(id));
        {
            test::AllocFault const fault(n);
            ret = cache.set_memory(40, 30, 5);
        }
        EXPECT_EQ(ret == 0 ? 5 : 10, Probe::get_cell_len(cache));
        EXPECT_EQ(ret == 0 ? 8u : 0u, list_lru().size());
        EXPECT_EQ(ret == 0 ? 6u : 0u, list_rec_free().size());
    }
}

namespace {

// The child of the next test: records until it is killed, and tells what it has validated.
[[noreturn]] void record_until_killed(std::string const& path, int fd) {
    sys::Mutex mutex_mgr;
    sys::Mutex mutex_rt;
    sys::Mutex mutex_bkg;
    SplFileMgr mgr(mutex_mgr);
    SplCache cache(mutex_rt, mutex_bkg, mgr);
    SplCacheFileId id = -1;
    int err = cache.set_memory(0, 8 * 1000, 1000);
    err += cache.create_file_new(id, path.c_str(), test::make_desc(SplFileBitFmt_F32, 1));
    for (long n = 1; err == 0; ++n) {
        SplCacheIteratorWrite it;
        err = cache.push_data(id, 700, it);
        for (; it.is_rem_elt(); it.iterate()) {
            for (long f = 0; f < it.get_data_len(); ++f) {
                it.use_cell().use_data()[it.get_data_pos_cell() + f] =
                    static_cast<float>(it.get_data_pos_file() + f);
            }
        }
        cache.do_run_slice();
        if (err == 0 && n % 4 == 0) {
            err = cache.validate_new_data(id);
            archi::Int64 len = 0;
            cache.get_length(id, len);
            long const written = static_cast<long>(len / 1000 * 1000); // whole cells alone
            err += ::write(fd, &written, sizeof(written)) != sizeof(written);
        }
    }
    ::_exit(1);
}

} // namespace

TEST_F(SplCacheFaultTest, AKilledRecordingKeepsWhatWasValidated) {
    auto const path = files.make_name("killed");
    int fds[2];
    ASSERT_EQ(0, ::pipe(fds));
    auto const pid = ::fork();
    ASSERT_GE(pid, 0);
    if (pid == 0) {
        record_until_killed(path, fds[1]);
    }
    ::close(fds[1]);
    long validated = 0;
    for (int n = 0; n < 25; ++n) {
        ASSERT_EQ(static_cast<long>(sizeof(validated)),
                  ::read(fds[0], &validated, sizeof(validated)));
    }
    ::kill(pid, SIGKILL);
    int status = 0;
    ASSERT_EQ(pid, ::waitpid(pid, &status, 0));
    EXPECT_TRUE(WIFSIGNALED(status));
    ::close(fds[0]);
    EXPECT_EQ(70000, validated);
    give_large_cells(60, 0);
    Id const id = open_path(path);
    long const len = get_length(id);
    EXPECT_GE(len, validated);
    load(id, 0, validated);
    EXPECT_EQ(35u, get(id, 0, validated).size());
}
