#include "ulk/sacc/SplFileFmtWav.h"

#include "support/AllocFault.h"
#include "support/FileFault.h"
#include "ulk/sacc/WavTools.h"

#include "ulk/dsp/BasicMixing.h"
#include "ulk/sacc/Err.h"
#include "ulk/sacc/SplFileExtData.h"
#include "ulk/sacc/SplFileFmtFactoryWav.h"
#include "ulk/sys/Err.h"
#include "ulk/sys/File.h"

#include <gtest/gtest.h>

#include <bit>
#include <cerrno>
#include <cstring>
#include <limits>
#include <random>

using namespace ulk;
using namespace ulk::sacc;
using test::Bytes;
using test::Floats;

namespace {

class SplFileFmtWavTest : public ::testing::Test {
protected:
    void open(Bytes const& content) {
        test::save_bytes(_name, content);
        ASSERT_EQ(0, _file.open(_name.c_str(), sys::File::Flag_WRITE));
    }
    void open_new() { ASSERT_EQ(0, _file.open(_name.c_str(), 15)); }
    int read_info(Bytes const& content) {
        open(content);
        int const ret_val = _wav.read_format_info(_file);
        EXPECT_EQ(ret_val == 0, _wav.is_file_valid());
        if (ret_val != 0) {
            expect_cleared();
        }
        EXPECT_EQ(0, _file.close());
        return ret_val;
    }
    Bytes close() {
        EXPECT_EQ(0, _file.close());
        return test::load_bytes(_name);
    }
    void expect_cleared() {
        EXPECT_FALSE(_wav.is_file_valid());
        EXPECT_FALSE(_wav.is_file_being_created());
        EXPECT_EQ(-1, _wav.get_length());
        EXPECT_EQ(-1, _wav.get_nbr_chn());
        EXPECT_EQ(-1.0, _wav.get_sample_freq());
        EXPECT_EQ(-1, int{_wav.get_sample_format()});
        EXPECT_EQ(SplFileFmt_WAV, _wav.get_file_format());
    }

    test::TempDir _dir;
    std::string const _name = _dir.make_name("x.wav");
    sys::File _file;
    SplFileFmtWav _wav;
};

// The 44 bytes, from the description of the format.
Bytes make_header(unsigned long riff_size, int category, int chn, unsigned long freq, int bits,
                  unsigned long data_size) {
    Bytes data;
    test::append_txt(data, "RIFF");
    test::append_le(data, riff_size, 4);
    test::append_txt(data, "WAVE");
    auto const fmt = test::make_fmt(category, chn, freq, chn * bits / 8, bits);
    data.insert(data.end(), fmt.begin(), fmt.end());
    test::append_txt(data, "data");
    test::append_le(data, data_size, 4);
    return data;
}

Bytes operator+(Bytes lhs, Bytes const& rhs) {
    lhs.insert(lhs.end(), rhs.begin(), rhs.end());
    return lhs;
}

} // namespace

TEST_F(SplFileFmtWavTest, StartsCleared) {
    expect_cleared();
    EXPECT_TRUE(dsp::BasicMixing::is_ready());
    EXPECT_EQ(4294967294LL, SplFileFmtWav::_max_data_len_bytes);
}

TEST_F(SplFileFmtWavTest, ComparesAndCopiesIds) {
    unsigned char data[5] = {1, 2, 3, 4, 5};
    SplFileFmtWav::copy_id(data, SplFileFmtWav::_chunk_id_fmt);
    EXPECT_EQ(0, std::memcmp(data, "fmt \5", 5));
    EXPECT_TRUE(SplFileFmtWav::compare_id(data, "fmt "));
    EXPECT_FALSE(SplFileFmtWav::compare_id(data, "fmtx"));
    EXPECT_FALSE(SplFileFmtWav::compare_id(data, SplFileFmtWav::_chunk_id_data));
    EXPECT_EQ(0, std::memcmp(SplFileFmtWav::_chunk_id_riff, "RIFF", 4));
    EXPECT_EQ(0, std::memcmp(SplFileFmtWav::_chunk_id_wave, "WAVE", 4));
}

TEST_F(SplFileFmtWavTest, FactoryKnowsTheHeaderAndMakesObjects) {
    SplFileFmtFactoryWav factory;
    Bytes header(512);
    int fmt = 5;
    EXPECT_EQ(0, factory.detect_format(_file, fmt, header.data()));
    EXPECT_EQ(-1, fmt);
    std::memcpy(header.data(), "RIFF", 4);
    EXPECT_EQ(0, factory.detect_format(_file, fmt, header.data()));
    EXPECT_EQ(-1, fmt);
    std::memcpy(header.data() + 8, "WAVE", 4);
    EXPECT_EQ(0, factory.detect_format(_file, fmt, header.data()));
    EXPECT_EQ(0, fmt);
    header[0] = 'r';
    EXPECT_EQ(0, factory.detect_format(_file, fmt, header.data()));
    EXPECT_EQ(-1, fmt);

    mem::SharedPtr<SplFileFmtInterface> ptr;
    for (long n = 0; n < 2; ++n) { // the object, then the count
        test::AllocFault fault(n);
        EXPECT_EQ(Err_EXCEPTION, factory.create_format(ptr));
    }
    EXPECT_EQ(0, factory.create_format(ptr));
    EXPECT_NE(nullptr, dynamic_cast<SplFileFmtWav*>(ptr.get()));
}

TEST_F(SplFileFmtWavTest, WritesTheCanonicalHeader) {
    for (auto const& coding : test::coding_list) {
        for (int const chn : {1, 2, 7}) {
            open_new();
            EXPECT_EQ(0, _wav.create_from_scratch(_file, chn, coding.bit_fmt, 44100.6, 0));
            EXPECT_TRUE(_wav.is_file_valid());
            EXPECT_TRUE(_wav.is_file_being_created());
            EXPECT_EQ(0, _wav.get_length());
            EXPECT_EQ(chn, _wav.get_nbr_chn());
            EXPECT_EQ(44100.6, _wav.get_sample_freq());
            EXPECT_EQ(coding.bit_fmt, _wav.get_sample_format());
            int const category = coding.bit_fmt == SplFileBitFmt_F32 ? 3 : 1;
            int const bits = coding.nbr_bytes * 8;
            EXPECT_EQ(make_header(44, category, chn, 44101, bits, 0), close());
            ASSERT_EQ(0, _file.open(_name.c_str(), 2));
            EXPECT_EQ(0, _wav.validate_new_data(_file));
            EXPECT_EQ(make_header(36, category, chn, 44101, bits, 0), close());
            _wav.close();
            expect_cleared();
        }
    }
}

TEST_F(SplFileFmtWavTest, CreatesWithALength) {
    open_new();
    EXPECT_EQ(0, _wav.create_from_scratch(_file, 2, SplFileBitFmt_S24, 48000, 3));
    EXPECT_EQ(3, _wav.get_length());
    EXPECT_TRUE(_wav.is_file_being_created());
    EXPECT_EQ(make_header(54, 1, 2, 48000, 24, 18) + Bytes(18), close());
}

TEST_F(SplFileFmtWavTest, KeepsAFrequencyThatNoHeaderHolds) {
    for (auto const& [freq, stored] : std::vector<std::pair<double, unsigned long>>{
             {0.49, 0},
             {0.5, 1},
             {-1, 0},
             {1e12, 0xFFFFFFFF},
             {22050.499, 22050},
             {std::numeric_limits<double>::quiet_NaN(), 0},
             {std::numeric_limits<double>::infinity(), 0xFFFFFFFF}}) {
        open_new();
        EXPECT_EQ(0, _wav.create_from_scratch(_file, 1, SplFileBitFmt_U8, freq, 0));
        EXPECT_EQ(std::bit_cast<archi::Int64>(freq),
                  std::bit_cast<archi::Int64>(_wav.get_sample_freq()));
        auto const data = close();
        Bytes expected;
        test::append_le(expected, stored, 4);
        EXPECT_TRUE(std::equal(expected.begin(), expected.end(), data.begin() + 24)) << freq;
    }
}

TEST_F(SplFileFmtWavTest, RefusesToCreateWhatItCouldNotCut) {
    open_new();
    for (int const chn : {0, -1, 65536, 32768}) {
        EXPECT_EQ(Err_WAV_OUT_OF_RANGE,
                  _wav.create_from_scratch(_file, chn, SplFileBitFmt_S16, 44100, 0));
        expect_cleared();
    }
    for (int const bit_fmt : {-1, 5}) {
        EXPECT_EQ(Err_WAV_BIT_DEPTH,
                  _wav.create_from_scratch(_file, 1, SplFileBitFmt(bit_fmt), 44100, 0));
        expect_cleared();
    }
    EXPECT_EQ(Bytes(), close());
}

TEST_F(SplFileFmtWavTest, FindsFramesInTheFile) {
    open(test::make_riff({test::make_fmt(1, 2, 44100, 6, 16), test::make_chunk("junk", Bytes(10)),
                          test::make_chunk("data", Bytes(60))}));
    ASSERT_EQ(0, _wav.read_format_info(_file));
    EXPECT_EQ(10, _wav.get_length());
    EXPECT_EQ(62, _wav.compute_data_pos(0));
    EXPECT_EQ(62 + 5 * 6, _wav.get_data_pos(5));
    EXPECT_EQ(62 + 6000000000LL * 6, _wav.compute_data_pos(6000000000LL));
}

TEST_F(SplFileFmtWavTest, FailureClearsWhatWasThere) {
    ASSERT_EQ(0, read_info(test::make_riff(
                     {test::make_fmt(1, 2, 44100, 4, 16), test::make_chunk("data", Bytes(8))})));
    EXPECT_FALSE(_wav.is_file_being_created());
    EXPECT_EQ(Err_WAV_CHUNK_NOT_FOUND,
              read_info(test::make_riff({test::make_fmt(1, 2, 44100, 4, 16)})));
    open_new();
    ASSERT_EQ(0, _wav.create_from_scratch(_file, 2, SplFileBitFmt_S16, 44100, 0));
    close();
    EXPECT_EQ(Err_WAV_CATEGORY, read_info(test::make_riff({test::make_fmt(2, 2, 44100, 4, 16),
                                                           test::make_chunk("data", Bytes(8))})));
}

TEST_F(SplFileFmtWavTest, OnlyCreatingSetsTheCreationFlag) {
    open_new();
    ASSERT_EQ(0, _wav.create_from_scratch(_file, 2, SplFileBitFmt_S16, 44100, 4));
    EXPECT_EQ(0, _wav.validate_new_data(_file));
    EXPECT_TRUE(_wav.is_file_being_created());
    EXPECT_EQ(0, _wav.read_format_info(_file));
    EXPECT_FALSE(_wav.is_file_being_created());
    EXPECT_EQ(4, _wav.get_length());
}

// Rates, channels and alignments at their limits.
TEST_F(SplFileFmtWavTest, ChecksRangesAtTheirLimits) {
    auto const read = [&](int chn, unsigned long freq, int align, int bits) {
        return read_info(test::make_riff(
            {test::make_fmt(1, chn, freq, align, bits), test::make_chunk("data", Bytes(8))}));
    };
    EXPECT_EQ(Err_WAV_OUT_OF_RANGE, read(1, 99, 2, 16));
    EXPECT_EQ(0, read(1, 100, 2, 16));
    EXPECT_EQ(0, read(1, 10000000, 2, 16));
    EXPECT_EQ(Err_WAV_OUT_OF_RANGE, read(1, 10000001, 2, 16));
    EXPECT_EQ(0, read(255, 44100, 255, 8));
    EXPECT_EQ(Err_WAV_OUT_OF_RANGE, read(256, 44100, 256, 8));
    EXPECT_EQ(Err_WAV_OUT_OF_RANGE, read(0, 44100, 0, 8));
    for (int align = 0; align < 40; ++align) {
        EXPECT_EQ(align < 4    ? int{Err_WAV_INCONSISTENT_BIT_DEPTH}
                  : align > 16 ? int{Err_WAV_OUT_OF_RANGE}
                               : 0,
                  read(2, 44100, align, 16))
            << align;
    }
    for (int bits = 0; bits < 70; ++bits) {
        EXPECT_EQ(bits == 8 || bits == 16 || bits == 24 || bits == 32 ? 0 : int{Err_WAV_BIT_DEPTH},
                  read(1, 44100, std::max(1, bits / 8), bits))
            << bits;
    }
}

TEST_F(SplFileFmtWavTest, TheFileMayBeLongerThanItSaysButNotShorter) {
    auto data =
        test::make_riff({test::make_fmt(1, 2, 44100, 4, 16), test::make_chunk("data", Bytes(10))});
    EXPECT_EQ(0, read_info(data)); // 2 frames and 2 bytes
    EXPECT_EQ(2, _wav.get_length());
    data.pop_back();
    data.pop_back();
    EXPECT_EQ(0, read_info(data)); // the bytes that make no frame may lack
    data.pop_back();
    EXPECT_EQ(Err_WAV_TRUNCATED, read_info(data));
    data.resize(1000);
    EXPECT_EQ(0, read_info(data));
    EXPECT_EQ(2, _wav.get_length());
}

TEST_F(SplFileFmtWavTest, FindsChunks) {
    open(test::make_riff({test::make_chunk("aaaa", {1, 2, 3}), test::make_chunk("bbbb", {4, 5}),
                          test::make_chunk("bbbb", {6})}));
    archi::Int64 pos = 5;
    unsigned long size = 99;
    Bytes buffer = {9, 9};
    auto const find = [&](char const* id, long min_len, long max_len) {
        return SplFileFmtWav::find_chunk(_file, pos, size, &buffer, id, min_len, max_len);
    };
    EXPECT_EQ(0, find("bbbb", 8, 100));
    EXPECT_EQ(23, pos);
    EXPECT_EQ(2U, size);
    EXPECT_EQ(test::make_chunk("bbbb", {4, 5}), buffer);
    EXPECT_EQ(0, find("aaaa", 11, 10)); // cut to the maximum
    EXPECT_EQ(12, pos);
    EXPECT_EQ(3U, size);
    Bytes expected = test::make_chunk("aaaa", {1, 2, 3});
    expected.pop_back();
    EXPECT_EQ(expected, buffer);
    EXPECT_EQ(Err_WAV_CHUNK_SIZE, find("aaaa", 12, 100));
    buffer = {7};
    EXPECT_EQ(0, find("cccc", 8, 100));
    EXPECT_EQ(-1, pos);
    EXPECT_EQ(1U, size); // of the last one looked at
    EXPECT_EQ((Bytes{7}), buffer);
    EXPECT_EQ(0, SplFileFmtWav::find_chunk(_file, pos, size, nullptr, "bbbb", 10, 10));
    EXPECT_EQ(23, pos);
    {
        Bytes empty;
        test::AllocFault fault(0);
        EXPECT_EQ(Err_EXCEPTION,
                  SplFileFmtWav::find_chunk(_file, pos, size, &empty, "bbbb", 8, 100));
    }
    _file.close();
    EXPECT_EQ(sys::Err_FILE_NOT_OPEN, find("bbbb", 8, 100));
    EXPECT_EQ(-1, pos);
}

// Every sample of every coding, padded or not, at places that cross the buffer's end: against bytes
// laid out by hand.
TEST_F(SplFileFmtWavTest, ReadsAndWritesBlocksAnywhere) {
    std::mt19937 rng(11);
    for (auto const& coding : test::coding_list) {
        for (int const chn : {1, 2, 3}) {
            for (int const pad : {0, 1, coding.nbr_bytes * chn}) {
                int const align = coding.nbr_bytes * chn + pad;
                long const nbr_frames = 2 * 65536 / align + 777;
                Floats floats(static_cast<std::size_t>(nbr_frames * chn));
                for (auto& spl : floats) {
                    spl = static_cast<float>(static_cast<int>(rng() % 256) - 128) / 128;
                }
                Bytes data(static_cast<std::size_t>(nbr_frames * align), 0x33);
                open(test::make_riff({test::make_fmt(coding.bit_fmt == SplFileBitFmt_F32 ? 3 : 1,
                                                     chn, 44100, align, coding.nbr_bytes * 8),
                                      test::make_chunk("data", data),
                                      test::make_chunk("tail", {1, 2, 3, 4})}));
                ASSERT_EQ(0, _wav.read_format_info(_file));
                ASSERT_EQ(nbr_frames, _wav.get_length());
                for (long pos = 0; pos < nbr_frames;) {
                    long const len =
                        std::min<long>(nbr_frames - pos, static_cast<long>(rng() % 40000) + 1);
                    ASSERT_EQ(0,
                              _wav.write_data(_file, &floats[static_cast<std::size_t>(pos * chn)],
                                              pos, len));
                    pos += len;
                }
                Floats back(floats.size());
                ASSERT_EQ(0, _wav.read_data(_file, back.data(), 0, nbr_frames));
                ASSERT_EQ(floats, back) << coding.name << " " << chn << " " << pad;
                for (int n = 0; n < 20; ++n) {
                    long const pos = static_cast<long>(rng()) % nbr_frames;
                    long const len = static_cast<long>(rng()) % (nbr_frames - pos + 1);
                    std::fill(back.begin(), back.end(), 9.f);
                    ASSERT_EQ(0, _wav.read_data(_file, back.data(), pos, len));
                    auto const* src = floats.data() + pos * chn;
                    ASSERT_TRUE(std::equal(src, src + len * chn, back.begin()));
                    if (len < nbr_frames) {
                        ASSERT_EQ(9.f, back[static_cast<std::size_t>(len * chn)]);
                    }
                }
                auto const content = close();
                ASSERT_EQ(0, std::memcmp(content.data() + content.size() - 12,
                                         "tail\4\0\0\0\1\2\3\4", 12));
                for (long f = 0; f < nbr_frames; ++f) { // what is written is padded by zeros
                    for (int b = align - pad; b < align; ++b) {
                        ASSERT_EQ(0, content[static_cast<std::size_t>(44 + f * align + b)]);
                    }
                }
            }
        }
    }
}

TEST_F(SplFileFmtWavTest, GrowsInCreation) {
    open_new();
    ASSERT_EQ(0, _wav.create_from_scratch(_file, 1, SplFileBitFmt_S16, 44100, 0));
    Floats const src = {0.5f, -0.5f, 1, -1};
    EXPECT_EQ(0, _wav.write_data(_file, src.data(), 6, 2)); // behind the end: a gap
    EXPECT_EQ(8, _wav.get_length());
    EXPECT_EQ(0, _wav.write_data(_file, src.data(), 0, 4)); // into the gap
    EXPECT_EQ(8, _wav.get_length());
    EXPECT_EQ(0, _wav.write_data(_file, src.data(), 7, 3)); // across the end
    EXPECT_EQ(10, _wav.get_length());
    EXPECT_EQ(0, _wav.write_data(_file, src.data(), 10, 0));
    EXPECT_EQ(10, _wav.get_length());
    EXPECT_EQ(0, _wav.validate_new_data(_file));
    Bytes const frames = {0, 0x40, 0, 0xC0, 0xFF, 0x7F, 0, 0x80, 0,    0,
                          0, 0,    0, 0x40, 0,    0x40, 0, 0xC0, 0xFF, 0x7F};
    EXPECT_EQ(make_header(56, 1, 1, 44100, 16, 20) + frames, close());
}

TEST_F(SplFileFmtWavTest, TellsAllButTheSamples) {
    auto const content = test::make_riff(
        {test::make_chunk("LIST", Bytes(6, 0x22)), test::make_fmt(1, 2, 44100, 4, 16),
         test::make_chunk("data", Bytes(11, 0x33)), test::make_chunk("tail", Bytes(5, 0x44))});
    open(content);
    ASSERT_EQ(0, _wav.read_format_info(_file));
    SplFileExtData ext;
    ext.add_part(content.data(), 7, 3); // to be replaced
    ASSERT_EQ(0, _wav.read_extra_data(_file, ext));
    EXPECT_EQ(static_cast<long>(content.size()), ext.get_file_length());
    ASSERT_EQ(2, ext.get_nbr_parts());
    EXPECT_EQ(0, ext.get_part_pos(0));
    ASSERT_EQ(58, ext.get_part_len(0));
    EXPECT_EQ(0, std::memcmp(content.data(), ext.use_part_data(0), 58));
    EXPECT_EQ(58 + 8, ext.get_part_pos(1)); // behind the last whole frame
    ASSERT_EQ(3 + 13, ext.get_part_len(1));
    EXPECT_EQ(0, std::memcmp(content.data() + 66, ext.use_part_data(1), 16));
    close();
    EXPECT_EQ(sys::Err_FILE_NOT_OPEN, _wav.read_extra_data(_file, ext));
    EXPECT_EQ(0, ext.get_nbr_parts());
}

TEST_F(SplFileFmtWavTest, OneAllocationABlock) {
    open(test::make_riff(
        {test::make_fmt(1, 2, 44100, 4, 16), test::make_chunk("data", Bytes(400000))}));
    ASSERT_EQ(0, _wav.read_format_info(_file));
    Floats floats(200000);
    {
        test::AllocFault const count;
        int const read_err = _wav.read_data(_file, floats.data(), 0, 100000);
        long const nbr_read = count.get_count();
        int const write_err = _wav.write_data(_file, floats.data(), 0, 100000);
        long const nbr_all = count.get_count();
        EXPECT_EQ(0, read_err);
        EXPECT_EQ(0, write_err);
        EXPECT_EQ(1, nbr_read);
        EXPECT_EQ(2, nbr_all);
    }
    {
        test::AllocFault const fault(0);
        EXPECT_EQ(Err_EXCEPTION, _wav.read_data(_file, floats.data(), 0, 100000));
    }
    {
        test::AllocFault const fault(0);
        EXPECT_EQ(Err_EXCEPTION, _wav.write_data(_file, floats.data(), 200000, 1));
    }
    EXPECT_EQ(100000, _wav.get_length()); // nothing was done
    EXPECT_EQ(400044U, close().size());
}

// A cell of 16384 floats is one read of the disk.
TEST_F(SplFileFmtWavTest, ReadsACellAtOnce) {
    open(test::make_riff(
        {test::make_fmt(1, 2, 44100, 4, 16), test::make_chunk("data", Bytes(400000))}));
    ASSERT_EQ(0, _wav.read_format_info(_file));
    Floats floats(16384);
    test::FileFault fault;
    fault.fail_at(test::FileFault::FOR_EVER, 0, test::FileFault::SysCall::Op_READ);
    EXPECT_EQ(0, _wav.read_data(_file, floats.data(), 8192, 8192));
    EXPECT_EQ(1, fault.get_nbr_calls());
}

TEST_F(SplFileFmtWavTest, ReadsFailWithTheFile) {
    open(test::make_riff(
        {test::make_fmt(1, 2, 44100, 4, 16), test::make_chunk("data", Bytes(400))}));
    ASSERT_EQ(0, _wav.read_format_info(_file));
    Floats floats(400, 5);
    EXPECT_EQ(sys::Err_FILE_READ_PAST_END, _wav.read_data(_file, floats.data(), 50, 51));
    EXPECT_EQ(Floats(400, 5), floats);
    EXPECT_EQ(sys::Err_FILE_SEEK, _wav.read_data(_file, floats.data(), -100, 5));
    EXPECT_EQ(sys::Err_FILE_SEEK, _wav.write_data(_file, floats.data(), -100, 5));
    _file.close();
    EXPECT_EQ(sys::Err_FILE_NOT_OPEN, _wav.read_data(_file, floats.data(), 0, 1));
    EXPECT_EQ(sys::Err_FILE_NOT_OPEN, _wav.write_data(_file, floats.data(), 0, 1));
    EXPECT_EQ(sys::Err_FILE_NOT_OPEN, _wav.validate_new_data(_file));
}

// A failed extension has moved the length; a failed write has not.
TEST_F(SplFileFmtWavTest, LengthAfterFailedWrites) {
    open_new();
    ASSERT_EQ(0, _wav.create_from_scratch(_file, 1, SplFileBitFmt_S16, 44100, 0));
    Floats const src(100000);
    test::FileFault fault;
    fault.fail_at(2, ENOSPC, test::FileFault::SysCall::Op_WRITE, test::FileFault::FOR_EVER);
    EXPECT_EQ(sys::Err_FILE_WRITE, _wav.write_data(_file, src.data(), 0, 100000));
    EXPECT_EQ(0, _wav.get_length()); // the first write was the pending header
    fault.fail_at(fault.get_nbr_calls() + 3, ENOSPC, test::FileFault::SysCall::Op_WRITE, 1);
    EXPECT_EQ(sys::Err_FILE_WRITE, _wav.write_data(_file, src.data(), 0, 100000));
    EXPECT_EQ(65536, _wav.get_length()); // two buffers of 32768 frames are in
    fault.fail_at(1, EFBIG, test::FileFault::SysCall::Op_TRUNCATE, test::FileFault::FOR_EVER);
    EXPECT_EQ(sys::Err_FILE_SET_LENGTH, _wav.write_data(_file, src.data(), 70000, 10));
    EXPECT_EQ(70000, _wav.get_length());
}
