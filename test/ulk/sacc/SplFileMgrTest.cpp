#include "ulk/sacc/SplFileMgr.h"

#include "support/AllocFault.h"
#include "support/FileFault.h"
#include "ulk/sacc/WavTools.h"

#include "ulk/mem/SharedPtr.h"
#include "ulk/sacc/Err.h"
#include "ulk/sacc/SplFileExtData.h"
#include "ulk/sacc/SplFileFmtFactoryInterface.h"
#include "ulk/sacc/SplFileFmtWav.h"
#include "ulk/sacc/SplFileHnd.h"
#include "ulk/sacc/SplFileMgrImpl.h"
#include "ulk/sys/Err.h"
#include "ulk/sys/File.h"
#include "ulk/sys/UtcTime.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>
#include <stdexcept>
#include <type_traits>

using namespace ulk;
using namespace ulk::sacc;
using test::Bytes;
using test::Floats;

static_assert(!std::is_copy_constructible_v<SplFileHnd> &&
              !std::is_move_constructible_v<SplFileHnd>);

namespace {

class SplFileMgrTest : public ::testing::Test {
protected:
    // A file of 10 frames in 16-bit stereo, whose float n is n / 32768.
    std::string make_file(std::string const& name = "x.wav") {
        Bytes data;
        for (unsigned long n = 0; n < 20; ++n) {
            test::append_le(data, n, 2);
        }
        auto const path = _files.make_name(name);
        test::save_bytes(path, test::make_riff({test::make_fmt(1, 2, 44100, 4, 16),
                                                test::make_chunk("data", data),
                                                test::make_chunk("tail", {1, 2, 3, 4})}));
        return path;
    }
    int open(SplFileHnd& hnd, std::string const& path, bool write_flag = false) {
        return hnd.open(_files.mgr, path.c_str(), write_flag);
    }
    int create(SplFileHnd& hnd, std::string const& path, SplFileBitFmt bit_fmt = SplFileBitFmt_S16,
               int chn = 2, long len = 0) {
        return hnd.create_new(_files.mgr, path.c_str(), test::make_desc(bit_fmt, chn), len);
    }
    static void expect_content(SplFileHnd& hnd) {
        Floats floats(20);
        ASSERT_EQ(0, hnd.read_block(floats.data(), 0, 10));
        for (std::size_t n = 0; n < 20; ++n) {
            ASSERT_EQ(static_cast<float>(n) / 32768, floats[n]);
        }
    }

    test::SplFiles _files;
    SplFileHnd _a;
    SplFileHnd _b;
};

// How many times the file layer opens something while it lives.
class OpenCounter {
public:
    OpenCounter() {
        _fault.fail_at(test::FileFault::FOR_EVER, 0, test::FileFault::SysCall::Op_OPEN);
    }
    long get_count() const { return _fault.get_nbr_calls(); }

private:
    test::FileFault _fault;
};

} // namespace

TEST_F(SplFileMgrTest, OpensAndTellsAboutAFile) {
    auto const path = make_file();
    EXPECT_FALSE(_a.is_open());
    ASSERT_EQ(0, open(_a, path));
    EXPECT_TRUE(_a.is_open());
    EXPECT_EQ(10, _a.get_length());
    EXPECT_EQ(2, _a.get_nbr_chn());
    EXPECT_EQ(44100.0, _a.get_sample_freq());
    EXPECT_EQ(SplFileBitFmt_S16, _a.get_sample_format());
    EXPECT_EQ(SplFileFmt_WAV, _a.get_file_format());
    EXPECT_TRUE(_a.is_len_fixed());
    EXPECT_TRUE(_a.can_be_read());
    EXPECT_FALSE(_a.can_be_written()); // what it was opened for, though the file could be
    EXPECT_TRUE(_files.mgr.use_impl().can_be_written(_a));
    EXPECT_TRUE(_files.mgr.use_impl().is_len_fixed(_a));
    EXPECT_NE(nullptr, dynamic_cast<SplFileFmtWav*>(_a.get_data_provider()));
    expect_content(_a);
    EXPECT_EQ(0, _a.close());
    EXPECT_FALSE(_a.is_open());
    EXPECT_EQ(&_files.mutex, &_files.mgr.use_mutex());
}

TEST_F(SplFileMgrTest, SharesAFileBetweenPathsOfOneKey) {
    auto const path = make_file();
    auto const other = _files.make_name("nowhere/.././x.wav");
    SplFileHnd c;
    ASSERT_EQ(0, open(_a, path));
    {
        OpenCounter const count;
        EXPECT_EQ(0, open(_b, other)); // "nowhere" does not even exist
        EXPECT_EQ(0, open(c, path, true));
        EXPECT_EQ(0, count.get_count());
    }
    EXPECT_EQ(_a.get_data_provider(), _b.get_data_provider());
    EXPECT_EQ(_a.get_data_provider(), c.get_data_provider());
    EXPECT_TRUE(c.can_be_written());
    Floats const src = {0.5f, 0.25f};
    EXPECT_EQ(0, c.write_block(src.data(), 3, 1));
    Floats dst(2);
    EXPECT_EQ(0, _b.read_block(dst.data(), 3, 1)); // at once
    EXPECT_EQ(src, dst);
    EXPECT_EQ(0, _a.close());
    EXPECT_EQ(0, c.close());
    EXPECT_EQ(10, _b.get_length()); // the last one keeps it open
    EXPECT_EQ(0, _b.close());
    OpenCounter const count;
    EXPECT_EQ(0, open(_a, path));
    EXPECT_EQ(1, count.get_count());
    EXPECT_EQ(0, _a.close());
}

TEST_F(SplFileMgrTest, KeysAreTextualSoOtherPathsAreOtherFiles) {
    auto const path = make_file();
    auto const twice = _files.dir.get_path().string() + "//x.wav"; // an empty piece more
    ASSERT_EQ(0, open(_a, path));
    EXPECT_EQ(sys::Err_FILE_OPEN, open(_b, twice, true)); // locked by the first
    ASSERT_EQ(0, open(_b, twice));                        // so for reading alone
    EXPECT_NE(_a.get_data_provider(), _b.get_data_provider());
    EXPECT_FALSE(_files.mgr.use_impl().can_be_written(_b));
    EXPECT_EQ(0, _b.close());
    EXPECT_EQ(0, _a.close());
}

TEST_F(SplFileMgrTest, FallsBackToReading) {
    auto const path = make_file();
    sys::File other; // holds the lock of the file, as another program would
    ASSERT_EQ(0, other.open(path.c_str(), sys::File::Flag_WRITE));
    EXPECT_EQ(sys::Err_FILE_OPEN, open(_b, path, true));
    EXPECT_FALSE(_b.is_open());
    {
        OpenCounter const count;
        ASSERT_EQ(0, open(_a, path));
        EXPECT_EQ(2, count.get_count());
    }
    expect_content(_a);
    EXPECT_FALSE(_files.mgr.use_impl().can_be_written(_a));
    EXPECT_EQ(0, other.close());
    EXPECT_EQ(Err_FILE_NOT_WRITABLE, open(_b, path, true)); // even now that it could be had
    EXPECT_FALSE(_b.is_open());
    EXPECT_EQ(0, open(_b, path));
    EXPECT_EQ(0, _a.close());
    EXPECT_EQ(0, _b.close());
    EXPECT_EQ(0, open(_b, path, true));
    EXPECT_EQ(0, _b.close());
}

TEST_F(SplFileMgrTest, RefusesWhatIsNoFile) {
    EXPECT_EQ(sys::Err_FILE_OPEN, open(_a, _files.make_name("none.wav")));
    EXPECT_EQ(sys::Err_FILE_OPEN, open(_a, _files.dir.get_path().string(), true));
    EXPECT_EQ(Err_EXCEPTION, _a.open(_files.mgr, nullptr, false));
    auto const path = make_file();
    std::filesystem::create_symlink(path, _files.make_name("link.wav"));
    EXPECT_EQ(sys::Err_FILE_OPEN, open(_a, _files.make_name("link.wav")));
    auto const junk = _files.make_name("junk.wav");
    test::save_bytes(junk, Bytes(100, 7));
    EXPECT_EQ(Err_FORMAT_UNKNOWN, open(_a, junk));
    EXPECT_FALSE(_a.is_open());
    sys::File file; // it has let go of the file, which can be locked again
    EXPECT_EQ(0, file.open(junk.c_str(), sys::File::Flag_WRITE));
}

TEST_F(SplFileMgrTest, ReadsAndWritesWithinTheFile) {
    auto const path = make_file();
    ASSERT_EQ(0, open(_a, path, true));
    Floats floats(40, 3);
    EXPECT_EQ(0, _a.read_block(floats.data(), 8, 2));
    EXPECT_EQ(0, _a.read_block(floats.data(), 10, 0));
    EXPECT_EQ(0, _a.write_block(floats.data(), 10, 0));
    EXPECT_EQ(0, _a.write_block(floats.data(), 8, 2));
    for (auto const& [pos, len] :
         std::vector<std::pair<archi::Int64, long>>{{8, 3},
                                                    {10, 1},
                                                    {11, 0},
                                                    {0, 11},
                                                    {-1, 1},
                                                    {-5, 3},
                                                    {5, -1},
                                                    {std::numeric_limits<archi::Int64>::max(), 1},
                                                    {1, std::numeric_limits<long>::max()}}) {
        EXPECT_EQ(Err_OUT_OF_RANGE, _a.read_block(floats.data(), pos, len)) << pos << " " << len;
        EXPECT_EQ(Err_OUT_OF_RANGE, _a.write_block(floats.data(), pos, len)) << pos << " " << len;
    }
    EXPECT_EQ(10, _a.get_length());
    expect_content(_a);
    EXPECT_EQ(0, _a.close());
}

TEST_F(SplFileMgrTest, CreatesAndGrowsAFile) {
    auto const path = _files.make_name("new.wav");
    ASSERT_EQ(0, create(_a, path));
    EXPECT_TRUE(_a.is_open());
    EXPECT_TRUE(_a.can_be_read());
    EXPECT_TRUE(_a.can_be_written());
    EXPECT_FALSE(_a.is_len_fixed());
    EXPECT_FALSE(_files.mgr.use_impl().is_len_fixed(_a));
    EXPECT_EQ(0, _a.get_length());
    EXPECT_EQ(Err_FILE_EXCLUSIVE, open(_b, path));
    EXPECT_EQ(Err_FILE_EXCLUSIVE, open(_b, path, true));
    EXPECT_EQ(Err_FILE_ALREADY_OPEN, create(_b, path));
    SplFileExtData ext;
    EXPECT_EQ(Err_FILE_ALREADY_OPEN, _b.create_copy(_files.mgr, path.c_str(), ext));
    Floats const src = {0.5f, -0.5f, 0.25f, -0.25f};
    EXPECT_EQ(0, _a.write_block(src.data(), 3, 2));
    EXPECT_EQ(5, _a.get_length());
    Floats dst(4);
    EXPECT_EQ(0, _a.read_block(dst.data(), 3, 2));
    EXPECT_EQ(src, dst);
    EXPECT_EQ(Err_OUT_OF_RANGE, _a.write_block(src.data(), -1, 2));
    EXPECT_EQ(Err_OUT_OF_RANGE, _a.read_block(dst.data(), 4, 2));
    EXPECT_EQ(0, _a.close());
    ASSERT_EQ(0, open(_b, path)); // the headers are up to date
    EXPECT_EQ(5, _b.get_length());
    EXPECT_TRUE(_b.is_len_fixed());
    EXPECT_EQ(0, _b.read_block(dst.data(), 0, 2));
    EXPECT_EQ(Floats(4), dst); // the gap
    EXPECT_EQ(Err_FILE_ALREADY_OPEN, create(_a, path));
    EXPECT_EQ(0, _b.close());
    ASSERT_EQ(0, create(_a, path, SplFileBitFmt_U8, 1)); // what was there is lost
    EXPECT_EQ(0, _a.close());
    EXPECT_EQ(44U, std::filesystem::file_size(path));
    auto const data = test::load_bytes(path);
    EXPECT_EQ(36, data[4]);
    EXPECT_EQ(0, data[40] + data[41] + data[42] + data[43]);
    EXPECT_EQ(std::filesystem::perms::owner_read | std::filesystem::perms::owner_write,
              std::filesystem::status(path).permissions());
}

TEST_F(SplFileMgrTest, ValidatesWhileItGrows) {
    auto const path = _files.make_name("new.wav");
    ASSERT_EQ(0, create(_a, path, SplFileBitFmt_F32, 1));
    Floats const src(1000, 0.75f);
    EXPECT_EQ(0, _a.write_block(src.data(), 0, 1000));
    EXPECT_EQ(0, _a.validate_new_data());
    EXPECT_EQ(1000, _a.get_length()); // and the disk has it:
    SplFileMgr other(_files.mutex);
    ASSERT_EQ(0, _b.open(other, path.c_str(), false));
    EXPECT_EQ(1000, _b.get_length());
    EXPECT_EQ(0, _b.close());
    EXPECT_EQ(0, _a.write_block(src.data(), 1000, 500));
    EXPECT_EQ(0, _a.close());
    ASSERT_EQ(0, open(_a, path));
    EXPECT_EQ(1500, _a.get_length());
    EXPECT_EQ(0, _a.close());
}

TEST_F(SplFileMgrTest, CreatesWithALength) {
    auto const path = _files.make_name("new.wav");
    ASSERT_EQ(0, create(_a, path, SplFileBitFmt_S24, 3, 100));
    EXPECT_EQ(100, _a.get_length());
    EXPECT_EQ(0, _a.close());
    EXPECT_EQ(44U + 900, std::filesystem::file_size(path));
}

TEST_F(SplFileMgrTest, RefusesToCreateWhatItDoesNotKnow) {
    auto const path = _files.make_name("new.wav");
    SplFileFmtDesc desc;
    EXPECT_EQ(Err_FORMAT_UNKNOWN, _a.create_new(_files.mgr, path.c_str(), desc, 0));
    EXPECT_FALSE(_a.is_open());
    desc.set_data(SplFileFmt_WAV, SplFileBitFmt_S16, 44100, 0);
    EXPECT_EQ(Err_WAV_OUT_OF_RANGE, _a.create_new(_files.mgr, path.c_str(), desc, 0));
    EXPECT_EQ(sys::Err_FILE_OPEN, create(_a, _files.make_name("none/new.wav")));
    EXPECT_EQ(Err_EXCEPTION, _a.create_new(_files.mgr, nullptr, desc, 0));
    EXPECT_EQ(Err_EXCEPTION, _a.create_copy(_files.mgr, nullptr, SplFileExtData()));
    EXPECT_EQ(0, create(_b, path)); // nothing of it stayed in the maps
    EXPECT_EQ(0, _b.close());
}

TEST_F(SplFileMgrTest, CopiesAFile) {
    auto const path = make_file();
    auto const copy = _files.make_name("copy.wav");
    SplFileExtData ext;
    ASSERT_EQ(0, open(_a, path));
    ASSERT_EQ(0, _a.read_ext_data(ext));
    EXPECT_EQ(Err_FILE_ALREADY_OPEN, _b.create_copy(_files.mgr, path.c_str(), ext));
    ASSERT_EQ(0, _b.create_copy(_files.mgr, copy.c_str(), ext));
    EXPECT_TRUE(_b.can_be_written());
    EXPECT_TRUE(_b.is_len_fixed());
    EXPECT_EQ(10, _b.get_length());
    Floats floats(20, 9);
    EXPECT_EQ(0, _b.read_block(floats.data(), 0, 10));
    EXPECT_EQ(Floats(20), floats); // zeros so far
    SplFileHnd c;
    EXPECT_EQ(0, open(c, copy, true)); // an ordinary file
    EXPECT_EQ(0, c.close());
    EXPECT_EQ(0, _a.read_block(floats.data(), 0, 10));
    EXPECT_EQ(0, _b.write_block(floats.data(), 0, 10));
    EXPECT_EQ(Err_OUT_OF_RANGE, _b.write_block(floats.data(), 1, 10));
    EXPECT_EQ(0, _b.close());
    EXPECT_EQ(test::load_bytes(path), test::load_bytes(copy));
    ext.clear();
    EXPECT_EQ(Err_FORMAT_UNKNOWN, _b.create_copy(_files.mgr, copy.c_str(), ext)); // made empty
    EXPECT_EQ(0U, std::filesystem::file_size(copy));
    EXPECT_EQ(0, _a.close());
}

TEST_F(SplFileMgrTest, SetsDates) {
    auto const path = make_file();
    ASSERT_EQ(0, open(_a, path, true));
    sys::UtcTime creation;
    sys::UtcTime modification;
    ASSERT_EQ(0, _a.get_dates(creation, modification));
    sys::UtcTime const old_modification = modification;
    ASSERT_EQ(0, _a.set_dates(creation, creation));
    ASSERT_EQ(0, _a.get_dates(creation, modification));
    EXPECT_TRUE(modification == creation || old_modification == modification);
    EXPECT_EQ(0, _a.close());
}

TEST_F(SplFileMgrTest, AClosedHandleHasNoFile) {
    EXPECT_EQ(Err_HANDLE_UNKNOWN, _a.close());
    EXPECT_TRUE(_a.is_len_fixed());
    EXPECT_FALSE(_a.can_be_written());
    Floats floats(2);
    SplFileExtData ext;
    sys::UtcTime time;
    EXPECT_THROW(_a.get_length(), std::runtime_error);
    EXPECT_THROW(_a.get_nbr_chn(), std::runtime_error);
    EXPECT_THROW(_a.get_sample_freq(), std::runtime_error);
    EXPECT_THROW(_a.get_sample_format(), std::runtime_error);
    EXPECT_THROW(_a.get_file_format(), std::runtime_error);
    EXPECT_THROW(_a.get_data_provider(), std::runtime_error);
    EXPECT_THROW(_a.validate_new_data(), std::runtime_error);
    EXPECT_THROW(_a.can_be_read(), std::runtime_error);
    EXPECT_THROW(_a.read_block(floats.data(), 0, 1), std::runtime_error);
    EXPECT_THROW(_a.write_block(floats.data(), 0, 1), std::runtime_error);
    EXPECT_THROW(_a.read_ext_data(ext), std::runtime_error);
    EXPECT_THROW(_a.get_dates(time, time), std::runtime_error);
    EXPECT_THROW(_a.set_dates(time, time), std::runtime_error);
    auto& impl = _files.mgr.use_impl();
    EXPECT_EQ(Err_HANDLE_UNKNOWN, impl.close(_a));
    try {
        impl.get_length(_a);
        ADD_FAILURE();
    } catch (std::runtime_error const& e) {
        EXPECT_STREQ("find_file_for_handle(): unknown file handle.", e.what());
    }
    EXPECT_THROW(impl.can_be_written(_a), std::runtime_error);
    EXPECT_THROW(impl.is_len_fixed(_a), std::runtime_error);
}

TEST_F(SplFileMgrTest, AnOpenHandleKeepsItsFile) {
    auto const path = make_file();
    ASSERT_EQ(0, open(_a, path));
    EXPECT_EQ(Err_FILE_ALREADY_OPEN, open(_a, make_file("y.wav")));
    EXPECT_EQ(Err_FILE_ALREADY_OPEN, create(_a, _files.make_name("z.wav")));
    expect_content(_a);
    EXPECT_EQ(0, _a.close());
}

TEST_F(SplFileMgrTest, HandlesCloseThemselves) {
    auto const path = _files.make_name("new.wav");
    {
        SplFileHnd hnd;
        ASSERT_EQ(0, create(hnd, path));
        Floats const src(8);
        EXPECT_EQ(0, hnd.write_block(src.data(), 0, 4));
    }
    ASSERT_EQ(0, open(_a, path));
    EXPECT_EQ(4, _a.get_length());
    EXPECT_EQ(0, _a.close());
}

TEST_F(SplFileMgrTest, AManagerClosesWhatRemains) {
    auto const path = _files.make_name("new.wav");
    SplFileHnd hnd;
    {
        SplFileMgr mgr(_files.mutex);
        ASSERT_EQ(0, hnd.create_new(mgr, path.c_str(), test::make_desc(SplFileBitFmt_S16, 1), 0));
        Floats const src(8);
        EXPECT_EQ(0, hnd.write_block(src.data(), 0, 8));
    }
    EXPECT_FALSE(hnd.is_open());
    ASSERT_EQ(0, open(_a, path));
    EXPECT_EQ(8, _a.get_length());
    EXPECT_EQ(0, _a.close());
}

namespace {

class RefusingFactory : public SplFileFmtFactoryInterface {
protected:
    int do_detect_format(sys::File&, int&, archi::UByte const*) override { return -77; }
    int do_create_format(mem::SharedPtr<SplFileFmtInterface>&) override {
        throw std::runtime_error("no format");
    }
};

} // namespace

TEST_F(SplFileMgrTest, TakesOtherFormats) {
    RefusingFactory factory;
    auto const path = make_file();
    EXPECT_EQ(0, _files.mgr.register_format_factory(-3, factory)); // asked before WAV
    EXPECT_EQ(-77, open(_a, path));
    EXPECT_EQ(0, _files.mgr.unregister_format_factory(-3));
    EXPECT_EQ(Err_FACTORY_REGISTERED, _files.mgr.register_format_factory(0, factory));
    EXPECT_EQ(Err_EXCEPTION, create(_a, _files.make_name("new.wav")));
    EXPECT_EQ(0, _files.mgr.unregister_format_factory(0));
    EXPECT_EQ(Err_FACTORY_NOT_REGISTERED, _files.mgr.unregister_format_factory(0));
    EXPECT_EQ(Err_FORMAT_UNKNOWN, open(_a, path));
}
