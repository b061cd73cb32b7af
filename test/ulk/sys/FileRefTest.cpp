#include "ulk/sys/FileRef.h"

#include "support/FileFault.h"
#include "support/TempDir.h"
#include "ulk/sys/File.h"
#include "ulk/sys/FileRefFactory.h"
#include "ulk/sys/UtcTime.h"
#include "ulk/util/FileDescriptor.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <fstream>
#include <map>
#include <stdexcept>
#include <thread>

#include <sys/stat.h>
#include <sys/xattr.h>

using namespace ulk;
using archi::UByte;
using sys::File;
using sys::FileRef;
using sys::FileRefFactory;
using test::FileFault;

namespace {

class FileRefTest : public ::testing::Test {
protected:
    using Ptr = FileRefFactory::Ptr;
    using Op = FileFault::SysCall;

    std::string make_file(std::string const& name, std::string const& txt = "x") const {
        std::string const path = _dir.make_name(name);
        std::filesystem::create_directories(std::filesystem::path(path).parent_path());
        std::ofstream(path, std::ios::binary) << txt;
        return path;
    }
    static std::vector<UByte> save(Ptr const& ref) {
        std::vector<UByte> bytes = {1, 2, 3};
        EXPECT_EQ(0, ref->save(bytes));
        return bytes;
    }
    static std::vector<UByte> save_path(std::string const& path) {
        return save(FileRefFactory::from_utf8_path(path));
    }
    static void expect_path(std::string const& path, Ptr const& ref) {
        ASSERT_NE(nullptr, ref.get());
        EXPECT_EQ(std::filesystem::canonical(path), ref->to_utf8_path());
    }
    static long count_descriptors() {
        auto const it = std::filesystem::directory_iterator("/proc/self/fd");
        return std::distance(begin(it), end(it));
    }

    test::TempDir _dir;
};

} // namespace

TEST_F(FileRefTest, OneFileHasEqualReferences) {
    std::string const path = make_file("a");
    std::filesystem::create_hard_link(path, _dir.make_name("hard"));
    std::filesystem::create_symlink(path, _dir.make_name("soft"));
    File f;
    ASSERT_EQ(0, f.open(path.c_str(), File::Flag_WRITE));
    Ptr a;
    ASSERT_EQ(0, f.get_fileref(a));
    for (char const* const name : {"a", "hard", "soft", "./a"}) {
        Ptr const b = FileRefFactory::from_utf8_path(_dir.make_name(name));
        EXPECT_TRUE(*a == *b) << name;
        EXPECT_FALSE(*a != *b);
        EXPECT_FALSE(*a < *b);
        EXPECT_EQ(save(a), save(b));
        EXPECT_EQ(a->get_fs_ref(), b->get_fs_ref());
        EXPECT_EQ(a->to_utf8_path(), b->to_utf8_path());
    }
    FileRef const copy(*a);
    EXPECT_TRUE(copy == *a);
}

TEST_F(FileRefTest, OrderIsThatOfTheSavedBytes) {
    std::vector<Ptr> list;
    std::map<FileRef, int> map;
    for (int i = 0; i < 20; ++i) {
        list.push_back(FileRefFactory::from_utf8_path(make_file(std::to_string(i))));
        map[*list.back()] = i;
    }
    EXPECT_EQ(20u, map.size());
    for (int i = 0; i < 20; ++i) {
        Ptr const& a = list[static_cast<size_t>(i)];
        EXPECT_EQ(i, map[*a]);
        for (Ptr const& b : list) {
            EXPECT_EQ(save(a) < save(b), *a < *b);
            EXPECT_EQ(a.get() == b.get(), *a == *b);
            EXPECT_EQ(a.get() != b.get(), *a != *b);
        }
    }
}

TEST_F(FileRefTest, EqualityDoesNotDependOnContentOrDates) {
    std::string const path = make_file("a");
    auto const before = save_path(path);
    make_file("a", "something longer");
    std::filesystem::last_write_time(path, {});
    std::filesystem::permissions(path, std::filesystem::perms::owner_read);
    EXPECT_EQ(before, save_path(path));
}

TEST_F(FileRefTest, ReferencesFollowTheirFile) {
    std::string const path = make_file("a");
    Ptr const ref = FileRefFactory::from_utf8_path(path);
    EXPECT_EQ("a", ref->get_name());
    std::filesystem::create_directory(_dir.make_name("sub"));
    std::filesystem::rename(path, _dir.make_name("sub/b"));
    expect_path(_dir.make_name("sub/b"), ref);
    EXPECT_EQ("a", ref->get_name()); // until told
    ref->update_info();
    EXPECT_EQ("b", ref->get_name());
    make_file("a"); // another one
    EXPECT_FALSE(*ref == *FileRefFactory::from_utf8_path(path));
    std::filesystem::rename(_dir.make_name("sub"), _dir.make_name("bus"));
    expect_path(_dir.make_name("bus/b"), ref);
}

TEST_F(FileRefTest, RemovedFilesHaveNoPathAndStayDistinct) {
    std::string const path = make_file("a");
    File f;
    ASSERT_EQ(0, f.open(path.c_str(), File::Flag_READ));
    Ptr const a = FileRefFactory::from_utf8_path(path);
    Ptr const b = FileRefFactory::from_utf8_path(make_file("b"));
    std::filesystem::remove(path);
    std::filesystem::remove(_dir.make_name("b"));
    make_file("a");
    make_file("a (deleted)");
    for (Ptr const& ref : {a, b}) {
        std::vector<UByte> bytes;
        EXPECT_EQ(-2989, ref->save(bytes));
        EXPECT_EQ(nullptr, FileRefFactory::load(bytes).get());
        try {
            ref->to_utf8_path();
            ADD_FAILURE();
        } catch (std::runtime_error const& e) {
            EXPECT_STREQ("ulk::sys::FileRefImpl::conv_to_fopen : FSRefMakePath failed", e.what());
        }
        EXPECT_EQ("", ref->get_name());
    }
    EXPECT_FALSE(*a == *b);
    Ptr again;
    EXPECT_EQ(0, f.get_fileref(again));
    EXPECT_TRUE(*a == *again);
    EXPECT_FALSE(*a == *FileRefFactory::from_utf8_path(path));
}

TEST_F(FileRefTest, InfoTellsWhatTheFileSystemKnows) {
    std::string const path = make_file("some name.wav", "12345");
    File f;
    ASSERT_EQ(0, f.open(path.c_str(), File::Flag_WRITE));
    sys::UtcTime date;
    date.set(130270395091234567);
    ASSERT_EQ(0, f.set_modification_date(date));
    sys::UtcTime creation;
    ASSERT_EQ(0, f.get_creation_date(creation));
    Ptr ref;
    ASSERT_EQ(0, f.get_fileref(ref));
    util::FileDescriptor const& info = ref->get_info();
    EXPECT_EQ("some name.wav", info.get_name());
    EXPECT_EQ(5, info.get_length());
    EXPECT_EQ(date, info.get_modification_date());
    EXPECT_EQ(creation, info.get_creation_date());
    EXPECT_FALSE(info.is_directory());
    EXPECT_FALSE(info.is_read_only());
    EXPECT_FALSE(info.is_hidden());
    EXPECT_FALSE(info.is_system());
    if (f.set_creation_date(date) == 0) {
        ref->update_info();
        EXPECT_EQ(date, ref->get_info().get_creation_date());
    }
    FileRef const copy(*ref);
    EXPECT_EQ(5, copy.get_info().get_length());
    make_file("some name.wav", "123");
    EXPECT_EQ(5, copy.get_info().get_length());
    copy.update_info();
    EXPECT_EQ(3, copy.get_info().get_length());
}

TEST_F(FileRefTest, ReadOnlyAndHiddenFiles) {
    std::string const path = make_file(".hidden");
    Ptr const ref = FileRefFactory::from_utf8_path(path);
    EXPECT_TRUE(ref->is_hidden());
    EXPECT_FALSE(ref->is_read_only());
    ASSERT_EQ(0, ::chmod(path.c_str(), 0444));
    EXPECT_FALSE(ref->is_read_only());
    ref->update_info();
    EXPECT_TRUE(ref->is_read_only());
    EXPECT_FALSE(ref->is_directory());
}

TEST_F(FileRefTest, PackagesAreFiles) {
    std::string const path = _dir.make_name("Song.logic");
    std::filesystem::create_directory(path);
    Ptr const ref = FileRefFactory::from_utf8_path(path);
    EXPECT_TRUE(ref->is_directory());
    EXPECT_EQ(0, ref->get_info().get_length());
    unsigned char finder_info[32] = {};
    auto const set_flags = [&](int flags) {
        finder_info[8] = static_cast<unsigned char>(flags >> 8);
        finder_info[9] = static_cast<unsigned char>(flags);
        ref->update_info();
        bool const ok_flag = ::setxattr(path.c_str(), "user.com.apple.FinderInfo", finder_info,
                                        sizeof(finder_info), 0) == 0;
        ref->update_info();
        return ok_flag;
    };
    bool const attribute_flag = set_flags(0x2000);
    EXPECT_EQ(!attribute_flag, ref->is_directory());
    EXPECT_FALSE(ref->is_hidden());
    set_flags(0x4000);
    EXPECT_TRUE(ref->is_directory());
    EXPECT_EQ(attribute_flag, ref->is_hidden());
}

TEST_F(FileRefTest, SavedReferencesLoad) {
    for (std::string const& path :
         {make_file("a"), _dir.get_path().string(), std::string("/"), std::string("/dev/null")}) {
        Ptr const ref = FileRefFactory::load(save_path(path));
        expect_path(path, ref);
        EXPECT_TRUE(*ref == *FileRefFactory::from_utf8_path(path));
    }
}

// With the handles of the file system, where the process may use them, and without.
TEST_F(FileRefTest, SavedReferencesFindMovedFiles) {
    for (bool handle_flag : {true, false}) {
        for (char const* const target : {"x/y/other name", "x/y/z/deep", "x/up", "x/w/beside"}) {
            std::string const path = make_file("x/y/song/../file.wav");
            make_file("x/y/z/decoy");
            make_file("x/w/decoy");
            auto const bytes = save_path(path);
            std::string const moved = _dir.make_name(target);
            std::filesystem::rename(path, moved);
            make_file("x/y/file.wav"); // another one in its place
            FileFault fault;
            fault.fail_at(handle_flag ? FileFault::FOR_EVER : 1, EPERM, Op::Op_OPEN_HANDLE,
                          FileFault::FOR_EVER);
            Ptr const ref = FileRefFactory::load(bytes);
            expect_path(moved, ref);
            std::filesystem::remove_all(_dir.make_name("x"));
        }
    }
}

TEST_F(FileRefTest, SavedReferencesFindFilesOfRenamedFolders) {
    auto const bytes = save_path(make_file("x/y/file"));
    std::filesystem::rename(_dir.make_name("x/y"), _dir.make_name("x/z"));
    FileFault fault;
    fault.fail_at(1, EPERM, Op::Op_OPEN_HANDLE, FileFault::FOR_EVER);
    expect_path(_dir.make_name("x/z/file"), FileRefFactory::load(bytes));
}

TEST_F(FileRefTest, FarAwayIsFoundByHandleOrNotAtAll) {
    std::string const path = make_file("x/y/z/file");
    auto const bytes = save_path(path);
    std::filesystem::create_directories(_dir.make_name("far/far/away"));
    std::filesystem::rename(path, _dir.make_name("far/far/away/file"));
    Ptr const ref = FileRefFactory::load(bytes);
    if (ref.get() != nullptr) {
        expect_path(_dir.make_name("far/far/away/file"), ref);
    }
    FileFault fault;
    fault.fail_at(1, EPERM, Op::Op_OPEN_HANDLE, FileFault::FOR_EVER);
    EXPECT_EQ(nullptr, FileRefFactory::load(bytes).get());
}

// Its handle still opens it, but leads nowhere.
TEST_F(FileRefTest, RemovedFilesThatAreStillOpenDoNotLoad) {
    std::string const path = make_file("a");
    auto const bytes = save_path(path);
    File f;
    ASSERT_EQ(0, f.open(path.c_str(), File::Flag_READ));
    std::filesystem::remove(path);
    EXPECT_EQ(nullptr, FileRefFactory::load(bytes).get());
    make_file("a");
    EXPECT_EQ(nullptr, FileRefFactory::load(bytes).get());
}

// The inode of a removed file is often given to the next one at once.
TEST_F(FileRefTest, AnotherFileWithTheSameInodeIsNotTaken) {
    for (int kind = 0; kind < 3; ++kind) {
        FileFault fault;
        if (kind == 1) {
            fault.fail_at(1, EOPNOTSUPP, Op::Op_GET_HANDLE, FileFault::FOR_EVER);
        } else if (kind == 2) {
            fault.fail_at(1, EPERM, Op::Op_OPEN_HANDLE, FileFault::FOR_EVER);
        }
        for (int i = 0; i < 50; ++i) {
            std::string const path = make_file("file");
            auto const bytes = save_path(path);
            std::filesystem::remove(path);
            make_file(i % 2 == 0 ? "file" : "other");
            EXPECT_EQ(nullptr, FileRefFactory::load(bytes).get());
            std::filesystem::remove(_dir.make_name("other"));
        }
    }
}

TEST_F(FileRefTest, FileSystemsWithoutHandlesWillDo) {
    FileFault fault;
    fault.fail_at(1, EOPNOTSUPP, Op::Op_GET_HANDLE, FileFault::FOR_EVER);
    std::string const path = make_file("a");
    auto const bytes = save_path(path);
    expect_path(path, FileRefFactory::load(bytes));
    std::filesystem::rename(path, _dir.make_name("b"));
    expect_path(_dir.make_name("b"), FileRefFactory::load(bytes));
}

TEST_F(FileRefTest, RubbishLoadsNothing) {
    std::string const path = make_file("file");
    make_file("decoy");
    auto const bytes = save_path(path);
    EXPECT_EQ(nullptr, FileRefFactory::load({}).get());
    for (size_t len = 0; len < bytes.size(); ++len) {
        std::vector<UByte> const cut(bytes.begin(), bytes.begin() + static_cast<long>(len));
        EXPECT_EQ(nullptr, FileRefFactory::load(cut).get()) << len;
    }
    auto longer = bytes;
    longer.push_back(0);
    EXPECT_EQ(nullptr, FileRefFactory::load(longer).get());
    for (size_t pos = 0; pos < bytes.size(); ++pos) {
        for (int bit = 0; bit < 8; ++bit) {
            auto changed = bytes;
            changed[pos] = static_cast<UByte>(changed[pos] ^ (1 << bit));
            Ptr const ref = FileRefFactory::load(changed);
            if (ref.get() != nullptr) { // the device, or the path with the file still near it
                expect_path(path, ref);
            }
        }
    }
}

TEST_F(FileRefTest, NodesAreSharedAndLetGo) {
    std::string const path = make_file("file");
    long const before = count_descriptors();
    {
        std::vector<Ptr> list;
        for (int i = 0; i < 100; ++i) {
            list.push_back(FileRefFactory::from_utf8_path(path));
        }
        EXPECT_EQ(before + 1, count_descriptors());
    }
    EXPECT_EQ(before, count_descriptors());
}

TEST_F(FileRefTest, AnyCallMayFail) {
    std::string const path = make_file("x/file");
    auto const bytes = save_path(path);
    long const before = count_descriptors();
    for (int err : {EIO, ENOENT, EMFILE, EINTR}) {
        for (bool moved_flag : {false, true}) {
            std::string const moved = moved_flag ? _dir.make_name("x/moved") : path;
            std::filesystem::rename(path, moved);
            bool hit_flag = true;
            for (long n = 1; hit_flag; ++n) {
                FileFault fault;
                fault.fail_at(n, err);
                Ptr const a = FileRefFactory::from_utf8_path(moved);
                if (a.get() == nullptr) {
                    EXPECT_TRUE(fault.was_hit());
                }
                File f;
                Ptr b;
                if (f.open(moved.c_str(), 1) == 0 && f.get_fileref(b) != 0) {
                    EXPECT_TRUE(fault.was_hit());
                    EXPECT_EQ(nullptr, b.get());
                }
                Ptr const c = FileRefFactory::load(bytes);
                if (c.get() != nullptr) {
                    c->get_info();
                }
                hit_flag = fault.was_hit();
                fault.fail_at(FileFault::FOR_EVER, 0);
                if (c.get() != nullptr) {
                    expect_path(moved, c);
                }
                EXPECT_TRUE(c.get() != nullptr || hit_flag);
            }
            std::filesystem::rename(moved, path);
            EXPECT_EQ(before, count_descriptors());
        }
    }
}

TEST_F(FileRefTest, ThreadsMayMakeReferencesToOneFile) {
    std::string const path = make_file("file");
    std::vector<std::thread> list;
    for (int i = 0; i < 4; ++i) {
        list.emplace_back([&] {
            for (int k = 0; k < 500; ++k) {
                Ptr const a = FileRefFactory::from_utf8_path(path);
                Ptr const b = FileRefFactory::from_utf8_path(path);
                EXPECT_TRUE(a->get_fs_ref() == b->get_fs_ref());
            }
        });
    }
    for (auto& t : list) {
        t.join();
    }
}
