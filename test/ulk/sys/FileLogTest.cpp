// The log lines of files, references and times, to the letter: people and scripts look for them.

#include "support/FileFault.h"
#include "support/LogCatcher.h"
#include "support/TempDir.h"
#include "ulk/sys/File.h"
#include "ulk/sys/FileRef.h"
#include "ulk/sys/FileRefFactory.h"
#include "ulk/sys/MacTimeFnc.h"
#include "ulk/sys/UTCDateTime.h"
#include "ulk/sys/UtcTime.h"
#include "ulk/util/Date.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdio>
#include <fstream>
#include <functional>
#include <stdexcept>

#include <fcntl.h>
#include <sys/stat.h>

using namespace ulk;
using archi::Int64;
using archi::UByte;
using sys::File;
using sys::FileRefFactory;
using test::FileFault;
using Lines = std::vector<std::string>;
using Op = FileFault::SysCall;

namespace {

class FileLogTest : public ::testing::Test {
protected:
    FileLogTest() { std::ofstream(_name) << "0123"; }

    // What the call logs that gives the code, with the system calls of a kind failing.
    Lines run(int code, std::function<int()> const& fnc, int op = Op::Op_NBR_ELT, int err = EIO) {
        FileFault fault;
        fault.fail_at(1, err, op, FileFault::FOR_EVER);
        _log.take();
        EXPECT_EQ(code, fnc());
        EXPECT_EQ(op != Op::Op_NBR_ELT, fault.was_hit());
        return _log.take();
    }
    static std::string print_hex(int val) {
        char txt[32];
        std::snprintf(txt, sizeof(txt), "%X", static_cast<unsigned int>(val));
        return txt;
    }
    int write(std::string const& txt) {
        return _file.write(reinterpret_cast<UByte const*>(txt.data()),
                           static_cast<long>(txt.size()));
    }

    test::TempDir _dir;
    std::string _name = _dir.make_name("100% a file");
    test::LogCatcher _log;
    File _file;
    UByte _data[10] = {};
    Int64 _val = 0;
    sys::UtcTime _date{0};
};

constexpr int base_flags = O_NOFOLLOW | O_NONBLOCK;

} // namespace

TEST_F(FileLogTest, Opening) {
    auto const try_open = [&](std::string const& path, long flags) {
        return run(-2998, [&] { return _file.open(path.c_str(), flags); });
    };
    Lines const no_permission = {"E Cannot open with no read and no write permission"};
    EXPECT_EQ(no_permission, try_open(_name, 0));
    EXPECT_EQ(no_permission, try_open(_name, 4));
    EXPECT_EQ(no_permission, try_open(_name, 8));
    EXPECT_EQ(no_permission, try_open(_name, 12));
    Lines const no_write = {
        "E We forbid opening a file with create or erase flags if no write flag."};
    EXPECT_EQ(no_write, try_open(_name, 5));
    EXPECT_EQ(no_write, try_open(_name, 9));

    auto const path = _dir.make_name("none/x");
    auto const intro = "E ::open () failed. File : " + path +
                       ". errno : 2 - No such file or directory open flags : ";
    EXPECT_EQ(Lines{intro + print_hex(base_flags)}, try_open(path, 1));
    EXPECT_EQ(Lines{intro + print_hex(base_flags | O_RDWR)}, try_open(path, 2));
    EXPECT_EQ(Lines{intro + print_hex(base_flags | O_RDWR | O_CREAT | O_EXCL)}, try_open(path, 6));

    // The second attempt at a file that exists, refused by its lock
    File holder;
    ASSERT_EQ(0, holder.open(_name.c_str(), 2));
    EXPECT_EQ(Lines{"E ::open () failed. File : " + _name +
                    ". errno : 11 - Resource temporarily unavailable open flags : " +
                    print_hex(base_flags | O_RDWR)},
              try_open(_name, 6));
    EXPECT_EQ(Lines{}, run(0, [&] { return _file.open(_name.c_str(), 1); }));
    EXPECT_EQ(Lines{"E self already opened"}, try_open(_name, 1));
    EXPECT_EQ(no_permission, try_open(_name, 0)); // flags are looked at before
}

TEST_F(FileLogTest, Stream) {
    EXPECT_EQ(Lines{"E ::fopen () failed. File : " + _name +
                    ". errno : 5 - Input/output error open flags : " + std::to_string(base_flags)},
              run(
                  -2998, [&] { return _file.open(_name.c_str(), 1); }, Op::Op_SEEK));
}

TEST_F(FileLogTest, ClosedFiles) {
    Lines const closed = {"E File is not opened"};
    mem::SharedPtr<sys::FileRef> ref;
    EXPECT_EQ(closed, run(-2999, [&] { return static_cast<int>(_file.get_flags()); }));
    EXPECT_EQ(closed, run(-2999, [&] { return _file.read(_data, 1); }));
    EXPECT_EQ(closed, run(-2999, [&] { return _file.write(_data, 1); }));
    EXPECT_EQ(closed, run(-2999, [&] { return _file.seek(0); }));
    EXPECT_EQ(closed, run(-2999, [&] { return _file.get_pos(_val); }));
    EXPECT_EQ(closed, run(-2999, [&] { return _file.get_length(_val); }));
    EXPECT_EQ(closed, run(-2999, [&] { return _file.set_length(0); }));
    EXPECT_EQ(closed, run(-2999, [&] { return _file.get_creation_date(_date); }));
    EXPECT_EQ(closed, run(-2999, [&] { return _file.set_creation_date(_date); }));
    EXPECT_EQ(closed, run(-2999, [&] { return _file.get_modification_date(_date); }));
    EXPECT_EQ(closed, run(-2999, [&] { return _file.set_modification_date(_date); }));
    EXPECT_EQ(closed, run(-2999, [&] { return _file.get_fileref(ref); }));
    EXPECT_EQ(Lines{"E fails: self is not opened"}, run(-2997, [&] { return _file.close(); }));
    EXPECT_FALSE(_file.is_open());
    EXPECT_EQ(Lines{}, _log.take()); // a question, not an operation
}

TEST_F(FileLogTest, Bytes) {
    ASSERT_EQ(0, _file.open(_name.c_str(), 2));
    auto const quoted = "\"" + _name + "\".";
    EXPECT_EQ(Lines{"E read(): Attempt to read file \"" + _name +
                    "\" past its end. Requested 10 bytes, read 4."},
              run(-2995, [&] { return _file.read(_data, 10); }));
    EXPECT_EQ(Lines{"E ::fread failed for file " + quoted},
              run(
                  -2996, [&] { return _file.read(_data, 10); }, Op::Op_READ));
    EXPECT_EQ(Lines{"E ::fwrite failed for file " + quoted},
              run(
                  -2994, [&] { return write(std::string(100000, 'x')); }, Op::Op_WRITE));
    EXPECT_EQ(Lines{"E ::fseeko failed [errno = 22 - Invalid argument] File " + quoted},
              run(-2992, [&] { return _file.seek(-1); }));
    EXPECT_EQ(Lines{"E ::fstat64 failed [errno = 5 - Input/output error] File " + quoted},
              run(
                  -2991, [&] { return _file.get_length(_val); }, Op::Op_STAT));
    EXPECT_EQ(Lines{"E ::ftruncate failed [errno = 5 - Input/output error] File " + quoted},
              run(
                  -2990, [&] { return _file.set_length(2); }, Op::Op_TRUNCATE));
    ASSERT_EQ(0, write("pending"));
    EXPECT_EQ(Lines{"W ::fflush failed [errno = 28 - No space left on device] File: \"" + _name +
                    "\". Length might not be accurate"},
              run(
                  0, [&] { return _file.get_length(_val); }, Op::Op_WRITE, ENOSPC));
    EXPECT_EQ(4, _val);
    EXPECT_EQ(Lines{"E ::fclose () failed. with errno : 28 - No space left on device File : " +
                    _name + " "},
              run(
                  -2997, [&] { return _file.close(); }, Op::Op_WRITE, ENOSPC));
    EXPECT_TRUE(_file.is_open());
    EXPECT_EQ(Lines{}, run(0, [&] { return _file.close(); }));
}

TEST_F(FileLogTest, PositionsOfPipes) {
    ASSERT_EQ(0, ::mkfifo(_dir.make_name("fifo").c_str(), 0600));
    ASSERT_EQ(0, _file.open(_dir.make_name("fifo").c_str(), 1));
    EXPECT_EQ(Lines{"E ::ftello failed [errno = 29 - Illegal seek] File \"" +
                    _dir.make_name("fifo") + "\"."},
              run(-2993, [&] { return _file.get_pos(_val); }));
}

TEST_F(FileLogTest, DatesAndReferences) {
    ASSERT_EQ(0, _file.open(_name.c_str(), 2));
    auto const make_line = [&](char const* what, int err) {
        return Lines{std::string("E set_creation_date(): Cannot set ") + what + " date of file \"" +
                     _name + "\"  because FSSetCatalogInfo returned Mac error code " +
                     std::to_string(err) + "."};
    };
    EXPECT_EQ(make_line("create", 5),
              run(
                  -2987, [&] { return _file.set_creation_date(_date); }, Op::Op_SET_ATTRIBUTE));
    EXPECT_EQ(make_line("modification", 5),
              run(
                  -2986, [&] { return _file.set_modification_date(_date); }, Op::Op_SET_DATE));
    EXPECT_EQ(make_line("modification", 5),
              run(
                  -2985, [&] { return _file.get_creation_date(_date); }, Op::Op_STAT));
    EXPECT_EQ(make_line("modification", 5),
              run(
                  -2984, [&] { return _file.get_modification_date(_date); }, Op::Op_STAT));
    for (char const* const what : {"create", "modification"}) {
        auto lines = make_line(what, 22);
        lines.insert(lines.begin(),
                     "E UCConvertUTCDateTimeToCFAbsoluteTime failed with error -8850");
        bool const create_flag = what[0] == 'c';
        EXPECT_EQ(lines, run(create_flag ? -2987 : -2986, [&] {
                      return create_flag ? _file.set_creation_date(sys::UtcTime())
                                         : _file.set_modification_date(sys::UtcTime());
                  }));
    }
    ASSERT_EQ(0, write("pending"));
    EXPECT_EQ(make_line("create", 28),
              run(
                  -2987, [&] { return _file.set_creation_date(_date); }, Op::Op_WRITE, ENOSPC));
    EXPECT_EQ(make_line("modification", 28),
              run(
                  -2986, [&] { return _file.set_modification_date(_date); }, Op::Op_WRITE, ENOSPC));
    mem::SharedPtr<sys::FileRef> ref;
    EXPECT_EQ(Lines{"E get_fileref(): Error for file \"" + _name + "\" with flags 00000011b."},
              run(
                  -2989, [&] { return _file.get_fileref(ref); }, Op::Op_OPEN));
}

TEST_F(FileLogTest, References) {
    auto const make = [](auto const& ref) { return ref.get() != nullptr ? 0 : -1; };
    auto const none = _dir.make_name("none");
    EXPECT_EQ(Lines{"E FSPathMakeRef failed with error 2 for path " + none},
              run(-1, [&] { return make(FileRefFactory::from_utf8_path(none)); }));
    EXPECT_EQ(Lines{"E CFURLCreateWithBytes failed path "},
              run(-1, [&] { return make(FileRefFactory::from_file_url("")); }));
    EXPECT_EQ(Lines{"E CFURLCreateWithBytes failed path file:///a%2"},
              run(-1, [&] { return make(FileRefFactory::from_file_url("file:///a%2")); }));
    EXPECT_EQ(Lines{}, run(-1, [&] { return make(FileRefFactory::from_file_url("http://a/b")); }));
    EXPECT_EQ(Lines{},
              run(-1, [&] { return make(FileRefFactory::from_file_url("file://" + none)); }));
    EXPECT_EQ(Lines{"E FSFindFolder (-32763 - 1) failed with error 2"}, run(-1, [&] {
                  return make(FileRefFactory::from_folder_type(FileRefFactory::kUserDomain, 1));
              }));
    EXPECT_EQ(Lines{"E FSResolveAlias failed with error 22"}, run(-1, [&] {
                  return make(FileRefFactory::load({1, 2, 3}));
              }));
    EXPECT_EQ(Lines{},
              run(-1, [&] { return make(FileRefFactory::get_path(FileRefFactory::Path(10))); }));
}

TEST_F(FileLogTest, InformationOfRemovedFiles) {
    auto const ref = FileRefFactory::from_utf8_path(_name);
    ASSERT_EQ(0, std::remove(_name.c_str()));
    std::vector<UByte> bytes;
    EXPECT_EQ(Lines{"E FSNewAliasMinimal failed with error 2"},
              run(-2989, [&] { return ref->save(bytes); }));
    EXPECT_EQ(Lines{"E FSGetCatalogInfo failed with error 2"},
              run(0, [&] { return ref->is_directory() ? 1 : 0; }));
    EXPECT_EQ(Lines(2, "E FSNewAliasMinimal failed with error 2"), // comparing is saving both
              run(1, [&] { return *ref == *ref ? 1 : 0; }));
    EXPECT_EQ(Lines{}, run(0, [&] { return ref->is_hidden() ? 1 : 0; })); // known by now
}

TEST_F(FileLogTest, TimeStamps) {
    auto const conv = [&](Int64 sec, archi::Int32 nsec) {
        return run(0, [&] {
            sys::UtcTime time(0);
            sys::MacTimeFnc::UTCDateTime_to_UtcTime(time, {sec, nsec});
            return time.is_valid() ? 1 : 0;
        });
    };
    std::string const intro = "E UCConvertUTCDateTimeToCFAbsoluteTime";
    EXPECT_EQ(Lines{intro + ": Underflow error"}, conv(-11644473601, 0));
    EXPECT_EQ(Lines{intro + ": Overflow error"}, conv(Int64(1) << 60, 0));
    EXPECT_EQ(Lines{intro + ": Illegal clock value"}, conv(0, -1));
    EXPECT_EQ(Lines{intro + ": Illegal clock value"}, conv(0, 1000000000));
    EXPECT_EQ(Lines{intro + " failed with error -8850"}, run(0, [] {
                  sys::UTCDateTime stamp;
                  sys::MacTimeFnc::UtcTime_to_UTCDateTime(stamp, sys::UtcTime());
                  return 0;
              }));
}

TEST_F(FileLogTest, DatesOutOfTheCalendar) {
    EXPECT_THROW(sys::UtcTime(util::Date(2013, 1, 28, 0, 0, 0), sys::TimeZoneType_UTC),
                 std::runtime_error);
    EXPECT_EQ(Lines{"E ctor(): Cannot construct from date."}, _log.take());
    auto const set = [&](char const* txt) {
        return run(-3995, [txt] { return util::Date().set(txt); });
    };
    EXPECT_EQ(Lines{"E Invalid year"}, set("Thu Xxx 99 99:99:99 ~~~~"));
    EXPECT_EQ(Lines{"E ctor(): Invalid month"}, set("Thu Xxx 99 99:99:99 2013"));
    EXPECT_EQ(Lines{"E ctor(): Invalid day"}, set("Thu Feb 30 99:99:99 2013"));
    EXPECT_EQ(Lines{"E ctor(): Invalid hour"}, set("Thu Feb 28 24:99:99 2013"));
    EXPECT_EQ(Lines{"E ctor(): Invalid minute"}, set("Thu Feb 28 23:60:99 2013"));
    EXPECT_EQ(Lines{"E ctor(): Invalid second"}, set("Thu Feb 28 23:59:60 2013"));
    EXPECT_THROW(util::Date("Thu Feb 29 23:59:59 1900"), std::runtime_error);
    EXPECT_EQ(Lines{"E ctor(): Invalid day"}, _log.take());
}
