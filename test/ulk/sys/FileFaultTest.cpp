#include "support/FileFault.h"
#include "support/TempDir.h"
#include "ulk/sys/Err.h"
#include "ulk/sys/File.h"
#include "ulk/sys/UtcTime.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <fstream>
#include <functional>
#include <string>

using namespace ulk;
using archi::Int64;
using archi::UByte;
using sys::File;
using test::FileFault;

namespace {

struct Step {
    int fail_code;
    std::function<int(File&)> run;
};

class FileFaultTest : public ::testing::Test {
protected:
    static std::string make_txt(size_t len, unsigned int seed) {
        std::string txt(len, '\0');
        for (auto& c : txt) {
            seed = seed * 1664525u + 1013904223u;
            c = static_cast<char>(seed >> 24);
        }
        return txt;
    }
    static Step write(std::string const& txt) {
        return {sys::Err_FILE_WRITE, [txt](File& f) {
                    return f.write(reinterpret_cast<UByte const*>(txt.data()),
                                   static_cast<long>(txt.size()));
                }};
    }
    static Step read(std::string const& expected) {
        return {sys::Err_FILE_READ, [expected](File& f) {
                    std::string txt(expected.size(), '\0');
                    int const result =
                        f.read(reinterpret_cast<UByte*>(txt.data()), static_cast<long>(txt.size()));
                    if (result == 0) {
                        EXPECT_TRUE(expected == txt);
                    }
                    return result;
                }};
    }
    static Step seek(Int64 pos) {
        return {sys::Err_FILE_SEEK, [pos](File& f) { return f.seek(pos); }};
    }
    static Step expect_pos(Int64 pos) {
        return {sys::Err_FILE_GET_POS, [pos](File& f) {
                    Int64 got = -1;
                    int const result = f.get_pos(got);
                    EXPECT_EQ(pos, got);
                    return result;
                }};
    }

    // A life of a file that makes every call of the layer at least once.
    std::vector<Step> make_life() const {
        std::string const small = make_txt(100, 1);
        std::string const middle = make_txt(9000, 2);
        std::string const big = make_txt(50000, 3);
        sys::UtcTime date;
        date.set(130270395091234567);
        return {{sys::Err_FILE_OPEN, [this](File& f) { return f.open(_name.c_str(), 15); }},
                write(small),
                write(middle),
                write(middle),
                write(big),
                expect_pos(68100),
                seek(50),
                write(small),
                seek(0),
                read(small.substr(0, 50) + small + middle.substr(50, 100)),
                read((middle + middle + big).substr(150, 50000)),
                {sys::Err_FILE_SET_LENGTH, [](File& f) { return f.set_length(60000); }},
                seek(59990),
                write(small),
                {sys::Err_FILE_SET_MODIFICATION_DATE,
                 [date](File& f) { return f.set_modification_date(date); }},
                {sys::Err_FILE_GET_MODIFICATION_DATE,
                 [date](File& f) {
                     sys::UtcTime got = date;
                     int const result = f.get_modification_date(got);
                     EXPECT_EQ(date, got);
                     return result;
                 }},
                {sys::Err_FILE_GET_CREATION_DATE,
                 [](File& f) {
                     sys::UtcTime got;
                     int const result = f.get_creation_date(got);
                     EXPECT_EQ(result == 0, got.is_valid());
                     return result;
                 }},
                {sys::Err_FILE_CLOSE, [](File& f) { return f.close(); }}};
    }

    std::string get_content() const {
        std::ifstream in(_name, std::ios::binary);
        return {std::istreambuf_iterator<char>(in), {}};
    }

    std::string get_expected() const {
        std::string const small = make_txt(100, 1);
        std::string const middle = make_txt(9000, 2);
        std::string txt = small + middle + middle + make_txt(50000, 3);
        txt.replace(50, 100, small);
        txt.resize(59990);
        return txt + small;
    }

    // Runs the life under the fault; what fails is tried again. The number of failures.
    int run(FileFault const& fault) {
        std::filesystem::remove(_name);
        File f;
        int nbr_failures = 0;
        for (Step const& step : make_life()) {
            bool const open_flag = f.is_open();
            int result = step.run(f);
            if (result != 0) {
                EXPECT_EQ(step.fail_code, result);
                EXPECT_TRUE(fault.was_hit());
                EXPECT_EQ(open_flag, f.is_open());
                ++nbr_failures;
                result = step.run(f);
            }
            EXPECT_EQ(0, result) << step.fail_code;
        }
        EXPECT_TRUE(get_expected() == get_content());
        return nbr_failures;
    }

    test::TempDir _dir;
    std::string _name = _dir.make_name("life.bin");
};

} // namespace

TEST_F(FileFaultTest, AnyCallMayFailOnce) {
    for (int err : {EIO, ENOSPC, EACCES, ENOMEM}) {
        bool hit_flag = true;
        long n = 1;
        for (; hit_flag; ++n) {
            FileFault fault;
            fault.fail_at(n, err);
            int const nbr_failures = run(fault);
            hit_flag = fault.was_hit();
            EXPECT_LE(nbr_failures, hit_flag ? 1 : 0) << n;
        }
        EXPECT_GT(n, 15);
    }
}

TEST_F(FileFaultTest, SignalsAreNotNoticed) {
    bool hit_flag = true;
    for (long n = 1; hit_flag; ++n) {
        FileFault fault;
        // A close is never made again: interrupted or not, the descriptor is gone.
        fault.fail_at(n, EINTR, FileFault::ANY_OP, 3);
        int const nbr_failures = run(fault);
        hit_flag = fault.was_hit();
        EXPECT_LE(nbr_failures, 1);
    }
    for (int op = 0; op < FileFault::SysCall::Op_NBR_ELT; ++op) {
        if (op != FileFault::SysCall::Op_CLOSE) {
            FileFault fault;
            fault.fail_at(1, EINTR, op, 5);
            EXPECT_EQ(0, run(fault)) << op;
        }
    }
}

TEST_F(FileFaultTest, ShortTransfersAreNotNoticed) {
    for (long len : {1L, 7L, 4096L, 16383L, 16385L}) {
        FileFault fault;
        fault.limit_transfers(len);
        EXPECT_EQ(0, run(fault));
    }
}

TEST_F(FileFaultTest, ShortTransfersMayFailInTheMiddle) {
    bool hit_flag = true;
    for (long n = 1; hit_flag; ++n) {
        FileFault fault;
        fault.limit_transfers(5000);
        fault.fail_at(n, ENOSPC);
        EXPECT_LE(run(fault), 1);
        hit_flag = fault.was_hit();
    }
}

TEST_F(FileFaultTest, FullDiskLosesNothingOnceThereIsRoom) {
    File f;
    ASSERT_EQ(0, f.open(_name.c_str(), 15));
    auto const small = write("0123456789");
    ASSERT_EQ(0, small.run(f));
    {
        FileFault fault;
        fault.fail_at(1, ENOSPC, FileFault::SysCall::Op_WRITE, FileFault::FOR_EVER);
        for (int i = 0; i < 3; ++i) {
            EXPECT_EQ(-2997, f.close());
            EXPECT_TRUE(f.is_open());
            EXPECT_EQ(-2994, write(make_txt(50000, 1)).run(f));
            UByte data[1] = {};
            EXPECT_EQ(-2996, f.read(data, 1));
            Int64 len = -1;
            EXPECT_EQ(0, f.get_length(len)); // goes on with what the disk has
            EXPECT_EQ(0, len);
            EXPECT_EQ(-2986, f.set_modification_date(sys::UtcTime(5)));
            EXPECT_EQ(-2987, f.set_creation_date(sys::UtcTime(5)));
        }
        EXPECT_EQ(0, expect_pos(10).run(f));
    }
    EXPECT_EQ(0, f.close());
    EXPECT_FALSE(f.is_open());
    EXPECT_EQ("0123456789", get_content());
}

TEST_F(FileFaultTest, DestructorLetsGoOfWhatCannotBeWritten) {
    {
        FileFault fault;
        fault.fail_at(1, ENOSPC, FileFault::SysCall::Op_WRITE, FileFault::FOR_EVER);
        File f;
        ASSERT_EQ(0, f.open(_name.c_str(), 15));
        ASSERT_EQ(0, write("lost").run(f));
    }
    EXPECT_EQ("", get_content());
    File f; // the lock went with it
    EXPECT_EQ(0, f.open(_name.c_str(), 2));
}

TEST_F(FileFaultTest, FailedCloseCountsAsOpenUntilTheNext) {
    File f;
    ASSERT_EQ(0, f.open(_name.c_str(), 15));
    ASSERT_EQ(0, write("written").run(f));
    {
        FileFault fault;
        fault.fail_at(1, EIO, FileFault::SysCall::Op_CLOSE);
        EXPECT_EQ(-2997, f.close());
    }
    EXPECT_TRUE(f.is_open());
    EXPECT_EQ(7, f.get_flags() & 7);
    Int64 len = 3;
    EXPECT_EQ(-2991, f.get_length(len));
    EXPECT_EQ(3, len);
    EXPECT_EQ(0, f.close());
    EXPECT_FALSE(f.is_open());
    EXPECT_EQ("written", get_content());
}

TEST_F(FileFaultTest, NoDescriptorIsLost) {
    auto const count = [] {
        long n = 0;
        for ([[maybe_unused]] auto const& e :
             std::filesystem::directory_iterator("/proc/self/fd")) {
            ++n;
        }
        return n;
    };
    long const before = count();
    bool hit_flag = true;
    for (long n = 1; hit_flag; ++n) {
        FileFault fault;
        fault.fail_at(n, EIO);
        run(fault);
        hit_flag = fault.was_hit();
    }
    EXPECT_EQ(before, count());
}

TEST_F(FileFaultTest, ReadingOnCostsACallAPage) {
    constexpr long page_len = 4096;
    constexpr long nbr_pages = 10;
    std::ofstream(_name, std::ios::binary) << make_txt(page_len * nbr_pages, 1);
    FileFault fault;
    fault.fail_at(FileFault::FOR_EVER, EIO, FileFault::SysCall::Op_READ);
    File f;
    ASSERT_EQ(0, f.open(_name.c_str(), 1));
    UByte data[8];
    auto const count_calls = [&](Int64 pos, long nbr_reads) {
        long const before = fault.get_nbr_calls();
        EXPECT_EQ(0, f.seek(pos));
        for (long i = 0; i < nbr_reads; ++i) {
            EXPECT_EQ(0, f.read(data, sizeof(data)));
        }
        return fault.get_nbr_calls() - before;
    };
    EXPECT_EQ(nbr_pages, count_calls(0, page_len * nbr_pages / 8));
    EXPECT_EQ(nbr_pages + 1, count_calls(0, page_len * nbr_pages / 8)); // a jump takes less first
    EXPECT_EQ(1, count_calls(5000, 512 / 8));
    EXPECT_EQ(0, count_calls(5000, 512 / 8));
    EXPECT_EQ(1, count_calls(5000 + 512, (2 * page_len - 5512) / 8)); // to the end of the page
}
