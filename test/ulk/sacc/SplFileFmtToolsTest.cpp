#include "ulk/sacc/SplFileFmtTools.h"

#include "support/AllocFault.h"
#include "ulk/sacc/WavTools.h"

#include "ulk/mem/SharedPtr.h"
#include "ulk/sacc/Err.h"
#include "ulk/sacc/SplFileExtData.h"
#include "ulk/sacc/SplFileFmtFactoryInterface.h"
#include "ulk/sacc/SplFileFmtFactoryWav.h"
#include "ulk/sacc/SplFileFmtMgr.h"
#include "ulk/sys/Err.h"
#include "ulk/sys/File.h"

#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <stdexcept>

using namespace ulk;
using namespace ulk::sacc;
using test::Bytes;

namespace {

Bytes make_bytes(std::size_t len) {
    std::mt19937 rng(1);
    Bytes data(len);
    for (auto& b : data) {
        b = static_cast<unsigned char>(rng());
    }
    return data;
}

// Keeps the header that it is shown.
class SpyFactory : public SplFileFmtFactoryInterface {
public:
    Bytes _header;
    bool _throw_flag = false;

protected:
    int do_detect_format(sys::File&, int&, archi::UByte const* header) override {
        if (_throw_flag) {
            throw std::runtime_error("spy");
        }
        _header.assign(header, header + 512);
        return 0;
    }
    int do_create_format(mem::SharedPtr<SplFileFmtInterface>&) override { return -1; }
};

class SplFileFmtToolsTest : public ::testing::Test {
protected:
    void open(Bytes const& content) {
        auto const name = _dir.make_name("file");
        test::save_bytes(name, content);
        ASSERT_EQ(0, _file.open(name.c_str(), sys::File::Flag_WRITE));
    }
    Bytes close() {
        EXPECT_EQ(0, _file.close());
        return test::load_bytes(_dir.make_name("file"));
    }

    test::TempDir _dir;
    sys::File _file;
    SplFileFmtMgr _mgr;
    SplFileFmtFactoryWav _wav;
    mem::SharedPtr<SplFileFmtInterface> _ptr;
    SplFileExtData _ext;
};

} // namespace

TEST_F(SplFileFmtToolsTest, KnowsSizesAndNominalValues) {
    for (auto const& coding : test::coding_list) {
        EXPECT_EQ(coding.nbr_bytes, SplFileFmtTools::get_nbr_bytes_per_sample(coding.bit_fmt));
        EXPECT_EQ(coding.nominal, SplFileFmtTools::get_std_nominal_val(coding.bit_fmt));
    }
    for (int const other : {-1, 5, 1000, -2}) {
        EXPECT_EQ(1, SplFileFmtTools::get_nbr_bytes_per_sample(SplFileBitFmt(other)));
        EXPECT_EQ(1.0, SplFileFmtTools::get_std_nominal_val(SplFileBitFmt(other)));
    }
}

TEST_F(SplFileFmtToolsTest, DetectsAndMakesTheFormat) {
    _mgr.register_format_factory(0, _wav);
    open(test::make_riff({}));
    EXPECT_EQ(0, _file.seek(7)); // the place does not matter
    EXPECT_EQ(0, SplFileFmtTools::detect_format(_file, _ptr, _mgr));
    ASSERT_NE(nullptr, _ptr.get());
    EXPECT_EQ(SplFileFmt_WAV, _ptr->get_file_format());
    EXPECT_FALSE(_ptr->is_file_valid()); // its headers have not been read
}

TEST_F(SplFileFmtToolsTest, ShowsTheHeaderWithZerosBehindTheEnd) {
    SpyFactory spy;
    _mgr.register_format_factory(0, spy);
    for (std::size_t const len : {0U, 1U, 511U, 512U, 513U, 2000U}) {
        auto const content = make_bytes(len);
        open(content);
        EXPECT_EQ(Err_FORMAT_UNKNOWN, SplFileFmtTools::detect_format(_file, _ptr, _mgr));
        auto expected = content;
        expected.resize(512);
        EXPECT_EQ(expected, spy._header) << len;
        close();
    }
}

TEST_F(SplFileFmtToolsTest, GivesNullForWhatItCannotTell) {
    _mgr.register_format_factory(0, _wav);
    open(test::make_riff({}));
    EXPECT_EQ(0, SplFileFmtTools::detect_format(_file, _ptr, _mgr));
    close();
    for (std::size_t const len : {0U, 100U}) {
        open(make_bytes(len));
        EXPECT_EQ(Err_FORMAT_UNKNOWN, SplFileFmtTools::detect_format(_file, _ptr, _mgr));
        EXPECT_EQ(nullptr, _ptr.get());
        close();
    }
    EXPECT_EQ(sys::Err_FILE_NOT_OPEN, SplFileFmtTools::detect_format(_file, _ptr, _mgr));
    EXPECT_EQ(nullptr, _ptr.get());
}

TEST_F(SplFileFmtToolsTest, AnExceptionIsACode) {
    SpyFactory spy;
    spy._throw_flag = true;
    _mgr.register_format_factory(0, spy);
    open(make_bytes(10));
    EXPECT_EQ(Err_EXCEPTION, SplFileFmtTools::detect_format(_file, _ptr, _mgr));
    EXPECT_EQ(nullptr, _ptr.get());
}

TEST_F(SplFileFmtToolsTest, FormatWithoutMemory) {
    _mgr.register_format_factory(0, _wav);
    open(test::make_riff({}));
    bool hit_flag = true;
    for (long n = 0; hit_flag; ++n) {
        test::AllocFault fault(n);
        int const ret_val = SplFileFmtTools::detect_format(_file, _ptr, _mgr);
        hit_flag = fault.has_failed();
        EXPECT_EQ(hit_flag ? Err_EXCEPTION : 0, ret_val);
        EXPECT_EQ(hit_flag, _ptr.get() == nullptr);
    }
}

TEST(SplFileExtDataTest, KeepsPartsInOrder) {
    SplFileExtData ext;
    EXPECT_EQ(0, ext.get_nbr_parts());
    EXPECT_EQ(0, ext.get_file_length());
    EXPECT_EQ(0, ext.get_max_extent());
    ext.set_file_length(50);
    EXPECT_EQ(50, ext.get_max_extent());
    Bytes data = {1, 2, 3};
    EXPECT_EQ(0, ext.add_part(data.data(), 100, 3));
    data = {9, 8};
    EXPECT_EQ(0, ext.add_part(data.data(), 10, 2));
    EXPECT_EQ(0, ext.add_part(nullptr, 102, 0));
    data = {0, 0};
    ASSERT_EQ(3, ext.get_nbr_parts());
    EXPECT_EQ(100, ext.get_part_pos(0));
    EXPECT_EQ(3, ext.get_part_len(0));
    EXPECT_EQ(0, std::memcmp("\1\2\3", ext.use_part_data(0), 3));
    EXPECT_EQ(10, ext.get_part_pos(1));
    EXPECT_EQ(0, std::memcmp("\11\10", ext.use_part_data(1), 2));
    EXPECT_EQ(0, ext.get_part_len(2));
    EXPECT_EQ(103, ext.get_max_extent());
    EXPECT_EQ(50, ext.get_file_length());
    ext.set_file_length(104);
    EXPECT_EQ(104, ext.get_max_extent());
    ext.clear();
    EXPECT_EQ(0, ext.get_nbr_parts());
    EXPECT_EQ(0, ext.get_max_extent());
}

TEST(SplFileExtDataTest, KeepsItsPartsWhenMemoryIsOut) {
    SplFileExtData ext;
    Bytes const data(100, 7);
    bool hit_flag = true;
    for (long n = 0; hit_flag; ++n) {
        auto const nbr_parts = ext.get_nbr_parts();
        test::AllocFault fault(n);
        int const ret_val = ext.add_part(data.data(), 5, 100);
        hit_flag = fault.has_failed();
        EXPECT_EQ(hit_flag ? Err_EXCEPTION : 0, ret_val);
        EXPECT_EQ(hit_flag ? nbr_parts : nbr_parts + 1, ext.get_nbr_parts());
    }
}

TEST_F(SplFileFmtToolsTest, StoresPartsCutAtTheEnd) {
    auto const content = make_bytes(100);
    open(content);
    EXPECT_EQ(0, SplFileFmtTools::read_and_store_part(_file, _ext, 10, 20));
    EXPECT_EQ(0, SplFileFmtTools::read_and_store_part(_file, _ext, 80, 20)); // exactly at the end
    EXPECT_EQ(0, SplFileFmtTools::read_and_store_part(_file, _ext, 90, 1000));
    ASSERT_EQ(3, _ext.get_nbr_parts());
    EXPECT_EQ(10, _ext.get_part_pos(0));
    ASSERT_EQ(20, _ext.get_part_len(0));
    EXPECT_EQ(0, std::memcmp(&content[10], _ext.use_part_data(0), 20));
    ASSERT_EQ(20, _ext.get_part_len(1));
    EXPECT_EQ(90, _ext.get_part_pos(2));
    ASSERT_EQ(10, _ext.get_part_len(2));
    EXPECT_EQ(0, std::memcmp(&content[90], _ext.use_part_data(2), 10));
    // Behind the end, and of no length: nothing is stored, and that is no error.
    for (auto const& [pos, len] : std::vector<std::pair<long, long>>{{100, 1}, {500, 5}, {5, 0}}) {
        EXPECT_EQ(0, SplFileFmtTools::read_and_store_part(_file, _ext, pos, len));
        EXPECT_EQ(3, _ext.get_nbr_parts());
    }
}

TEST_F(SplFileFmtToolsTest, FailsToStoreWithoutMemory) {
    open(make_bytes(100));
    bool hit_flag = true;
    for (long n = 0; hit_flag; ++n) {
        _ext.clear();
        test::AllocFault fault(n);
        int const ret_val = SplFileFmtTools::read_and_store_part(_file, _ext, 0, 100);
        hit_flag = fault.has_failed();
        EXPECT_EQ(hit_flag ? Err_EXCEPTION : 0, ret_val);
        EXPECT_EQ(hit_flag ? 0 : 1, _ext.get_nbr_parts());
    }
}

TEST_F(SplFileFmtToolsTest, WritesPartsInPlace) {
    open(make_bytes(20));
    Bytes const data = {1, 2, 3, 4};
    _ext.add_part(data.data(), 2, 4);
    _ext.add_part(data.data(), 4, 2); // later ones win
    _ext.set_file_length(10);         // shorter: nothing is cut
    EXPECT_EQ(0, SplFileFmtTools::write_parts(_file, _ext));
    auto expected = make_bytes(20);
    std::copy_n(std::begin({1, 2, 1, 2}), 4, expected.begin() + 2);
    EXPECT_EQ(expected, close());
}

TEST_F(SplFileFmtToolsTest, ExtendsTheFileForParts) {
    open(make_bytes(3));
    Bytes const data = {1, 2, 3, 4};
    _ext.add_part(data.data(), 6, 4);
    _ext.set_file_length(14);
    EXPECT_EQ(0, SplFileFmtTools::write_parts(_file, _ext));
    auto expected = make_bytes(3);
    expected.resize(14);
    std::copy(data.begin(), data.end(), expected.begin() + 6);
    EXPECT_EQ(expected, close());
    EXPECT_EQ(sys::Err_FILE_NOT_OPEN, SplFileFmtTools::write_parts(_file, _ext));
    EXPECT_EQ(sys::Err_FILE_NOT_OPEN, SplFileFmtTools::read_and_store_part(_file, _ext, 0, 1));
}
