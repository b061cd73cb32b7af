#include "ulk/sys/File.h"

#include "support/TempDir.h"
#include "ulk/sys/Err.h"
#include "ulk/sys/UtcTime.h"

#include <gtest/gtest.h>

#include <fstream>
#include <random>
#include <string>
#include <vector>

#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/xattr.h>

using namespace ulk;
using archi::Int64;
using archi::UByte;
using sys::File;

namespace {

class FileTest : public ::testing::Test {
protected:
    std::string get_content() const {
        std::ifstream in(_name, std::ios::binary);
        return {std::istreambuf_iterator<char>(in), {}};
    }
    void set_content(std::string const& txt) const {
        std::ofstream(_name, std::ios::binary) << txt;
    }
    static int write(File& file, std::string const& txt) {
        return file.write(reinterpret_cast<UByte const*>(txt.data()),
                          static_cast<long>(txt.size()));
    }
    static std::string read(File& file, size_t len, int expected = 0) {
        std::string txt(len, '.');
        EXPECT_EQ(expected,
                  file.read(reinterpret_cast<UByte*>(txt.data()), static_cast<long>(len)));
        return txt;
    }

    test::TempDir _dir;
    std::string _name = _dir.make_name("a file.bin");
};

} // namespace

TEST_F(FileTest, EveryOperationOnAClosedFileFails) {
    File f;
    UByte data[4] = {};
    Int64 n = 77;
    sys::UtcTime date;
    EXPECT_FALSE(f.is_open());
    EXPECT_EQ(-2999, f.get_flags());
    EXPECT_EQ(-2999, f.read(data, 4));
    EXPECT_EQ(-2999, f.write(data, 4));
    EXPECT_EQ(-2999, f.seek(0));
    EXPECT_EQ(-2999, f.get_pos(n));
    EXPECT_EQ(-2999, f.get_length(n));
    EXPECT_EQ(-2999, f.set_length(3));
    EXPECT_EQ(-2999, f.get_creation_date(date));
    EXPECT_EQ(-2999, f.get_modification_date(date));
    EXPECT_EQ(-2999, f.set_creation_date(sys::UtcTime(5)));
    EXPECT_EQ(-2999, f.set_modification_date(sys::UtcTime(5)));
    EXPECT_EQ(-2997, f.close());
    EXPECT_EQ(77, n);
    EXPECT_FALSE(date.is_valid());
}

TEST_F(FileTest, FlagsWithoutPermissionAreRefused) {
    set_content("old");
    for (long flags : {0L, 4L, 8L, 12L, 5L, 9L, 13L, 16L}) {
        File f;
        EXPECT_EQ(-2998, f.open(_name.c_str(), flags)) << flags;
        EXPECT_FALSE(f.is_open());
    }
    EXPECT_EQ("old", get_content());
}

TEST_F(FileTest, FlagsInForceTellReadForWrite) {
    set_content("kept");
    for (auto const& [flags, expected] : {std::pair{1L, 1L}, {2L, 3L}, {3L, 3L}, {6L, 7L}}) {
        File f;
        ASSERT_EQ(0, f.open(_name.c_str(), flags));
        EXPECT_EQ(expected, f.get_flags());
        EXPECT_EQ(0, f.close());
        EXPECT_EQ("kept", get_content());
    }
}

TEST_F(FileTest, EraseEmptiesAndCreateKeeps) {
    set_content("something");
    File f;
    ASSERT_EQ(0, f.open(_name.c_str(), 15));
    EXPECT_EQ(15, f.get_flags());
    EXPECT_EQ("", get_content());
    EXPECT_EQ(0, write(f, "new"));
    EXPECT_EQ(0, f.close());
    ASSERT_EQ(0, f.open(_name.c_str(), File::Flag_WRITE | File::Flag_CREATE));
    EXPECT_EQ("new", read(f, 3));
    EXPECT_EQ(0, f.close());
    EXPECT_EQ("new", get_content());
}

TEST_F(FileTest, CreatedFilesAreTheUsersAlone) {
    File f;
    EXPECT_EQ(-2998, f.open(_name.c_str(), File::Flag_WRITE));
    EXPECT_EQ(-2998, f.open(_name.c_str(), File::Flag_WRITE | File::Flag_ERASE));
    EXPECT_FALSE(File::exist(_name.c_str(), 1));
    ASSERT_EQ(0, f.open(_name.c_str(), File::Flag_WRITE | File::Flag_CREATE));
    struct stat st = {};
    ASSERT_EQ(0, ::stat(_name.c_str(), &st));
    EXPECT_EQ(0600u, st.st_mode & 07777u);
    ::mode_t const mask = ::umask(022);
    ::umask(mask);
    EXPECT_EQ(042u, mask);
}

TEST_F(FileTest, SecondOpenLeavesTheFirst) {
    set_content("first");
    File f;
    ASSERT_EQ(0, f.open(_name.c_str(), File::Flag_WRITE));
    EXPECT_EQ(-2998, f.open(_dir.make_name("other").c_str(), 15));
    EXPECT_EQ(-2998, f.open(_name.c_str(), 0));
    EXPECT_FALSE(File::exist(_dir.make_name("other").c_str(), 1));
    EXPECT_EQ(3, f.get_flags());
    EXPECT_EQ("first", read(f, 5));
}

TEST_F(FileTest, WritersExcludeEachOtherAndReadersSeeNoLock) {
    set_content("locked");
    File a;
    File b;
    File reader;
    ASSERT_EQ(0, a.open(_name.c_str(), File::Flag_WRITE));
    EXPECT_EQ(-2998, b.open(_name.c_str(), File::Flag_WRITE));
    EXPECT_EQ(-2998, b.open(_name.c_str(), 15)); // and nothing is erased
    EXPECT_EQ("locked", get_content());
    ASSERT_EQ(0, reader.open(_name.c_str(), File::Flag_READ));
    EXPECT_EQ("lock", read(reader, 4));
    EXPECT_EQ(0, a.close());
    EXPECT_EQ(0, b.open(_name.c_str(), File::Flag_WRITE));
}

TEST_F(FileTest, SymbolicLinksAreNotFollowed) {
    set_content("target");
    std::string const link = _dir.make_name("link");
    std::filesystem::create_symlink(_name, link);
    File f;
    for (long flags : {1L, 2L, 15L}) {
        EXPECT_EQ(-2998, f.open(link.c_str(), flags));
    }
    EXPECT_EQ("target", get_content());
    EXPECT_TRUE(File::exist(link.c_str(), 1));
}

TEST_F(FileTest, WhatIsNoFileOpensOrFailsWithoutWaiting) {
    File f;
    EXPECT_EQ(-2998, f.open(nullptr, 1));
    EXPECT_EQ(-2998, f.open("", 1));
    EXPECT_EQ(-2998, f.open(_dir.get_path().c_str(), 2));
    ASSERT_EQ(0, f.open(_dir.get_path().c_str(), 1));
    read(f, 1, -2996);
    EXPECT_EQ(0, f.close());

    std::string const fifo = _dir.make_name("fifo");
    ASSERT_EQ(0, ::mkfifo(fifo.c_str(), 0600));
    ASSERT_EQ(0, f.open(fifo.c_str(), 1));
    Int64 pos = 12;
    EXPECT_EQ(-2993, f.get_pos(pos));
    EXPECT_EQ(-2992, f.seek(0));
    EXPECT_EQ(-2990, f.set_length(0));
    EXPECT_EQ(12, pos);
    read(f, 1, -2995);
}

TEST_F(FileTest, PipesCarryBytes) {
    std::string const fifo = _dir.make_name("fifo");
    ASSERT_EQ(0, ::mkfifo(fifo.c_str(), 0600));
    File out;
    File in;
    ASSERT_EQ(0, out.open(fifo.c_str(), 2));
    ASSERT_EQ(0, in.open(fifo.c_str(), 1));
    EXPECT_EQ(0, write(out, "through"));
    EXPECT_EQ(0, out.close());
    EXPECT_EQ("through", read(in, 7));
}

TEST_F(FileTest, ReadPastTheEndGivesWhatThereIs) {
    set_content("0123456789");
    File f;
    ASSERT_EQ(0, f.open(_name.c_str(), 1));
    ASSERT_EQ(0, f.seek(6));
    EXPECT_EQ("6789......", read(f, 10, -2995));
    Int64 pos = 0;
    EXPECT_EQ(0, f.get_pos(pos));
    EXPECT_EQ(10, pos);
    EXPECT_EQ("..", read(f, 2, -2995));
    EXPECT_EQ("", read(f, 0));
    EXPECT_EQ(0, f.seek(1000));
    EXPECT_EQ(".", read(f, 1, -2995));
    EXPECT_EQ(0, f.get_pos(pos));
    EXPECT_EQ(1000, pos);
}

TEST_F(FileTest, BadPositionsAndLengthsFailAndChangeNothing) {
    set_content("0123456789");
    File f;
    ASSERT_EQ(0, f.open(_name.c_str(), 2));
    ASSERT_EQ(0, f.seek(4));
    EXPECT_EQ(-2992, f.seek(-1));
    EXPECT_EQ(-2990, f.set_length(-1));
    UByte data[2] = {};
    EXPECT_EQ(-2996, f.read(data, -1));
    EXPECT_EQ(-2994, f.write(data, -1));
    EXPECT_EQ("45", read(f, 2));
    Int64 const far = std::numeric_limits<Int64>::max();
    EXPECT_EQ(0, f.seek(far));
    EXPECT_EQ(-2994, f.write(data, 2));
    EXPECT_EQ(-2995, f.read(data, 2));
    EXPECT_EQ(0, f.close());
    EXPECT_EQ("0123456789", get_content());
}

TEST_F(FileTest, ReadersCannotWrite) {
    set_content("0123456789");
    File f;
    ASSERT_EQ(0, f.open(_name.c_str(), 1));
    EXPECT_EQ(-2994, write(f, "x"));
    EXPECT_EQ(0, write(f, ""));
    EXPECT_EQ(-2990, f.set_length(2));
    EXPECT_EQ("0123", read(f, 4));
    EXPECT_EQ(0, f.close());
    EXPECT_EQ("0123456789", get_content());
}

TEST_F(FileTest, LengthCountsBufferedWrites) {
    File f;
    ASSERT_EQ(0, f.open(_name.c_str(), 15));
    Int64 len = -1;
    for (long n = 1; n < 100; ++n) {
        EXPECT_EQ(0, write(f, "abc"));
        EXPECT_EQ(0, f.get_length(len));
        EXPECT_EQ(3 * n, len);
    }
}

TEST_F(FileTest, SetLengthGrowsAndLeavesThePosition) {
    File f;
    ASSERT_EQ(0, f.open(_name.c_str(), 15));
    EXPECT_EQ(0, write(f, "head"));
    EXPECT_EQ(0, f.set_length(10));
    Int64 n = 0;
    EXPECT_EQ(0, f.get_pos(n));
    EXPECT_EQ(4, n);
    EXPECT_EQ(0, f.get_length(n));
    EXPECT_EQ(10, n);
    EXPECT_EQ(std::string(6, '\0'), read(f, 6));
    EXPECT_EQ(0, f.set_length(2));
    EXPECT_EQ(0, f.seek(0));
    EXPECT_EQ("he.", read(f, 3, -2995));
}

TEST_F(FileTest, SetLengthDoesNotFlush) {
    File f;
    ASSERT_EQ(0, f.open(_name.c_str(), 15));
    EXPECT_EQ(0, write(f, "pending"));
    EXPECT_EQ(0, f.set_length(2));
    EXPECT_EQ(std::string(2, '\0'), get_content());
    EXPECT_EQ(0, f.close());
    EXPECT_EQ("pending", get_content());
}

TEST_F(FileTest, DestructorWritesAndCloses) {
    {
        File f;
        ASSERT_EQ(0, f.open(_name.c_str(), 15));
        EXPECT_EQ(0, write(f, "late"));
    }
    EXPECT_EQ("late", get_content());
}

TEST_F(FileTest, FullDeviceKeepsTheFileOpen) {
    File f;
    ASSERT_EQ(0, f.open("/dev/full", 2));
    EXPECT_EQ(0, write(f, "no room"));
    EXPECT_EQ(-2997, f.close());
    EXPECT_TRUE(f.is_open());
    EXPECT_EQ(-2997, f.close());
    EXPECT_EQ(-2994, write(f, std::string(100000, 'x')));
    EXPECT_TRUE(f.is_open());
}

TEST_F(FileTest, ExistTellsFilesFromDirectories) {
    set_content("");
    char const* const dir = _dir.get_path().c_str();
    for (int kind = -1; kind < 5; ++kind) {
        EXPECT_EQ(kind == 1, File::exist(_name.c_str(), kind)) << kind;
        EXPECT_EQ(kind == 2, File::exist(dir, kind)) << kind;
        EXPECT_FALSE(File::exist(_dir.make_name("none").c_str(), kind));
        EXPECT_FALSE(File::exist((_name + "/x").c_str(), kind));
        EXPECT_FALSE(File::exist("", kind));
        EXPECT_FALSE(File::exist(nullptr, kind));
    }
}

TEST_F(FileTest, ModificationDateIsKeptToTheTick) {
    File f;
    ASSERT_EQ(0, f.open(_name.c_str(), 15));
    EXPECT_EQ(0, write(f, "pending bytes must not date the file anew"));
    sys::UtcTime date;
    date.set(130270395091234567);
    EXPECT_EQ(0, f.set_modification_date(date));
    sys::UtcTime got;
    EXPECT_EQ(0, f.get_modification_date(got));
    EXPECT_EQ(date, got);
    EXPECT_EQ(0, f.close());
    ASSERT_EQ(0, f.open(_name.c_str(), 1));
    EXPECT_EQ(0, f.get_modification_date(got));
    EXPECT_EQ(date, got);
    EXPECT_EQ(-2986, f.set_modification_date(sys::UtcTime()));
    EXPECT_EQ(0, f.get_modification_date(got));
    EXPECT_EQ(date, got);
}

TEST_F(FileTest, NewFilesAreDatedNow) {
    sys::UtcTime beg;
    sys::UtcTime::get_current_time(beg);
    File f;
    ASSERT_EQ(0, f.open(_name.c_str(), 15));
    EXPECT_EQ(0, write(f, "x"));
    Int64 len = 0;
    EXPECT_EQ(0, f.get_length(len));
    sys::UtcTime creation;
    sys::UtcTime modification;
    EXPECT_EQ(0, f.get_creation_date(creation));
    EXPECT_EQ(0, f.get_modification_date(modification));
    // The kernel stamps with a clock that lags by a timer tick at most.
    EXPECT_NEAR(0.0, creation.compute_diff_s(beg), 5.0);
    EXPECT_FALSE(modification < creation);
}

TEST_F(FileTest, CreationDateIsKeptWhereAttributesAre) {
    File f;
    ASSERT_EQ(0, f.open(_name.c_str(), 15));
    bool const attribute_flag = ::setxattr(_name.c_str(), "user.probe", "x", 1, 0) == 0;
    sys::UtcTime before;
    EXPECT_EQ(0, f.get_creation_date(before));
    sys::UtcTime date;
    date.set(130270395091234567);
    EXPECT_EQ(attribute_flag ? 0 : -2987, f.set_creation_date(date));
    EXPECT_EQ(-2987, f.set_creation_date(sys::UtcTime()));
    EXPECT_EQ(0, f.close());
    ASSERT_EQ(0, f.open(_name.c_str(), 1));
    sys::UtcTime got;
    EXPECT_EQ(0, f.get_creation_date(got));
    EXPECT_EQ(attribute_flag ? date : before, got);
}

TEST_F(FileTest, RubbishInTheAttributeCountsAsNone) {
    File f;
    ASSERT_EQ(0, f.open(_name.c_str(), 15));
    sys::UtcTime before;
    EXPECT_EQ(0, f.get_creation_date(before));
    for (std::string const txt :
         {"", "x", "-5", "12x", "99999999999999999999", "123456789012345678901234567890"}) {
        ::setxattr(_name.c_str(), "user.tessitone.creation_date", txt.data(), txt.size(), 0);
        sys::UtcTime got;
        EXPECT_EQ(0, f.get_creation_date(got));
        EXPECT_EQ(before, got) << txt;
    }
}

// Random operations on a file and on a model of it, with the transfers of all sizes round the
// buffer's.
TEST_F(FileTest, BehavesAsAnArrayOfBytes) {
    std::mt19937 rng(1);
    auto const rnd = [&](long n) {
        return static_cast<long>(rng() % static_cast<unsigned long>(n));
    };
    File f;
    ASSERT_EQ(0, f.open(_name.c_str(), 15));
    std::string model;
    Int64 pos = 0;
    for (int step = 0; step < 20000; ++step) {
        long const len = rnd(50) == 0 ? rnd(60000) : rnd(300);
        switch (rnd(8)) {
        case 0:
        case 1:
        case 2: {
            std::string data(static_cast<size_t>(len), '\0');
            for (auto& c : data) {
                c = static_cast<char>(rng());
            }
            ASSERT_EQ(0, write(f, data));
            if (len > 0) {
                model.resize(std::max(model.size(), static_cast<size_t>(pos + len)));
                model.replace(static_cast<size_t>(pos), data.size(), data);
            }
            pos += len;
            break;
        }
        case 3:
        case 4:
        case 5: {
            long const left =
                std::max(0L, static_cast<long>(model.size()) - static_cast<long>(pos));
            long const got = std::min(len, left);
            std::string const data = read(f, static_cast<size_t>(len), got < len ? -2995 : 0);
            ASSERT_EQ(model.substr(std::min(static_cast<size_t>(pos), model.size()),
                                   static_cast<size_t>(got)),
                      data.substr(0, static_cast<size_t>(got)));
            pos += got;
            break;
        }
        case 6:
            pos = rnd(static_cast<long>(model.size()) + 100);
            ASSERT_EQ(0, f.seek(pos));
            break;
        default: {
            Int64 n = -1;
            ASSERT_EQ(0, f.get_pos(n));
            ASSERT_EQ(pos, n);
            ASSERT_EQ(0, f.get_length(n)); // also writes what is pending
            ASSERT_EQ(static_cast<Int64>(model.size()), n);
            if (rnd(20) == 0) {
                n = rnd(80000);
                ASSERT_EQ(0, f.set_length(n));
                model.resize(static_cast<size_t>(n));
            }
        }
        }
    }
    EXPECT_EQ(0, f.close());
    EXPECT_EQ(model, get_content());
}
