#include "host/SampleFileMgr.h"

#include "host/SoundFileFmt.h"
#include "support/TempDir.h"
#include "ulk/sacc/Err.h"
#include "ulk/sacc/SplFileFmtDesc.h"
#include "ulk/sacc/SplFileHnd.h"

#include <gtest/gtest.h>
#include <sndfile.hh>

#include <climits>
#include <filesystem>
#include <fstream>
#include <random>
#include <vector>

using ulk::host::SampleFileMgr;
using ulk::host::SoundFileFmt;
using ulk::sacc::SplFileHnd;

namespace {

struct Kind {
    char const* name;
    int format;
    ulk::sacc::SplFileBitFmt bit_fmt;
};

using namespace ulk::sacc;
constexpr Kind kind_arr[] = {
    {"wavex_s16", SF_FORMAT_WAVEX | SF_FORMAT_PCM_16, SplFileBitFmt_S16},
    {"wavex_s24", SF_FORMAT_WAVEX | SF_FORMAT_PCM_24, SplFileBitFmt_S24},
    {"wavex_f32", SF_FORMAT_WAVEX | SF_FORMAT_FLOAT, SplFileBitFmt_F32},
    {"wav_f64", SF_FORMAT_WAV | SF_FORMAT_DOUBLE, SplFileBitFmt_F32},
    {"wav_ulaw", SF_FORMAT_WAV | SF_FORMAT_ULAW, SplFileBitFmt_F32},
    {"rifx_s16", SF_FORMAT_WAV | SF_FORMAT_PCM_16 | SF_ENDIAN_BIG, SplFileBitFmt_S16},
    {"rf64_s24", SF_FORMAT_RF64 | SF_FORMAT_PCM_24, SplFileBitFmt_S24},
    {"w64_f32", SF_FORMAT_W64 | SF_FORMAT_FLOAT, SplFileBitFmt_F32},
    {"aiff_s16", SF_FORMAT_AIFF | SF_FORMAT_PCM_16, SplFileBitFmt_S16},
    {"aiff_s8", SF_FORMAT_AIFF | SF_FORMAT_PCM_S8, SplFileBitFmt_U8},
    {"aiff_s32", SF_FORMAT_AIFF | SF_FORMAT_PCM_32, SplFileBitFmt_S32},
    {"flac_s16", SF_FORMAT_FLAC | SF_FORMAT_PCM_16, SplFileBitFmt_S16},
    {"flac_s24", SF_FORMAT_FLAC | SF_FORMAT_PCM_24, SplFileBitFmt_S24},
    {"ogg", SF_FORMAT_OGG | SF_FORMAT_VORBIS, SplFileBitFmt_F32},
    {"opus", SF_FORMAT_OGG | SF_FORMAT_OPUS, SplFileBitFmt_F32},
    {"au_s16", SF_FORMAT_AU | SF_FORMAT_PCM_16, SplFileBitFmt_S16},
    {"caf_s24", SF_FORMAT_CAF | SF_FORMAT_PCM_24, SplFileBitFmt_S24},
};

constexpr int rate = 48000;

// Noise on top of tones, in steps of 8 bits where the format keeps what it gets.
std::vector<float> make_sound(long len, int nbr_chn) {
    std::mt19937 rnd(static_cast<unsigned>(len + nbr_chn));
    std::vector<float> sound(static_cast<std::size_t>(len * nbr_chn));
    for (float& val : sound) {
        val = static_cast<float>(static_cast<int>(rnd() % 200) - 100) / 128;
    }
    return sound;
}

void write(std::string const& path, int format, std::vector<float> const& sound, int nbr_chn) {
    SF_INFO info = {};
    info.samplerate = rate;
    info.channels = nbr_chn;
    info.format = format;
    SNDFILE* const file = sf_open(path.c_str(), SFM_WRITE, &info);
    ASSERT_NE(nullptr, file) << path << ": " << sf_strerror(nullptr);
    auto const len = static_cast<sf_count_t>(sound.size()) / nbr_chn;
    EXPECT_EQ(len, sf_writef_float(file, sound.data(), len));
    sf_close(file);
}

// From start to end, as the library of the format gives it.
std::vector<float> read_all(std::string const& path, int nbr_chn) {
    SF_INFO info = {};
    SNDFILE* const file = sf_open(path.c_str(), SFM_READ, &info);
    std::vector<float> sound(static_cast<std::size_t>(info.frames * nbr_chn));
    EXPECT_EQ(info.frames, sf_readf_float(file, sound.data(), info.frames));
    sf_close(file);
    return sound;
}

class SampleFileMgrTest : public ::testing::Test {
protected:
    // Any span, however one comes there, is that of the sound read from start to end.
    void expect_sound(std::string const& path, std::vector<float> const& sound, int nbr_chn) {
        SplFileHnd hnd;
        ASSERT_EQ(0, hnd.open(_mgr.use_mgr(), path.c_str(), false)) << path;
        auto const len = static_cast<long>(sound.size()) / nbr_chn;
        EXPECT_EQ(len, hnd.get_length()) << path;
        EXPECT_EQ(nbr_chn, hnd.get_nbr_chn());
        EXPECT_EQ(rate, hnd.get_sample_freq());
        std::mt19937 rnd(7);
        long pos = 0;
        for (int i = 0; i < 200; ++i) {
            pos = rnd() % 3 == 0 || pos >= len ? static_cast<long>(rnd()) % len : pos;
            long const nbr = std::min(1 + static_cast<long>(rnd() % 3000), len - pos);
            std::vector<float> block(static_cast<std::size_t>(nbr * nbr_chn) + 1, 77.0f);
            ASSERT_EQ(0, hnd.read_block(block.data(), pos, nbr)) << path;
            ASSERT_EQ(77.0f, block.back()); // nothing behind the span
            block.pop_back();
            ASSERT_TRUE(std::equal(block.begin(), block.end(), sound.begin() + pos * nbr_chn))
                << path << ": " << nbr << " frames from " << pos;
            pos += nbr;
        }
        std::vector<float> one(static_cast<std::size_t>(nbr_chn));
        EXPECT_EQ(Err_OUT_OF_RANGE, hnd.read_block(one.data(), len, 1));
        EXPECT_EQ(0, hnd.close());
    }

    test::TempDir _dir;
    SampleFileMgr _mgr;
};

} // namespace

TEST_F(SampleFileMgrTest, ReadsEveryFrameOfEveryKind) {
    for (Kind const& kind : kind_arr) {
        for (int const nbr_chn : {1, 2}) {
            std::string const path = _dir.make_name(kind.name + std::to_string(nbr_chn));
            write(path, kind.format, make_sound(30000, nbr_chn), nbr_chn);
            expect_sound(path, read_all(path, nbr_chn), nbr_chn);
            SplFileHnd hnd;
            ASSERT_EQ(0, hnd.open(_mgr.use_mgr(), path.c_str(), false));
            EXPECT_EQ(SoundFileFmt::number, hnd.get_file_format()) << kind.name;
            EXPECT_EQ(kind.bit_fmt, hnd.get_sample_format()) << kind.name;
            EXPECT_EQ(0, hnd.close());
        }
    }
}

// Integers come as what they are of the lowest one, to the bit.
TEST_F(SampleFileMgrTest, FullScaleIsOne) {
    for (Kind const& kind : kind_arr) {
        int const codec = kind.format & SF_FORMAT_SUBMASK;
        if (codec == SF_FORMAT_VORBIS || codec == SF_FORMAT_OPUS || codec == SF_FORMAT_ULAW) {
            continue;
        }
        std::string const path = _dir.make_name(kind.name);
        {
            SndfileHandle file(path, SFM_WRITE, kind.format, 1, rate);
            bool const float_flag = codec == SF_FORMAT_FLOAT || codec == SF_FORMAT_DOUBLE;
            int const ints[] = {INT_MIN, 1 << 30, -(1 << 29), 0};
            double const doubles[] = {-1, 0.5, -0.25, 0};
            ASSERT_EQ(4, float_flag ? file.write(doubles, 4) : file.write(ints, 4));
        }
        std::vector<float> block(4);
        SplFileHnd hnd;
        ASSERT_EQ(0, hnd.open(_mgr.use_mgr(), path.c_str(), false));
        ASSERT_EQ(0, hnd.read_block(block.data(), 0, 4));
        EXPECT_EQ((std::vector<float>{-1, 0.5f, -0.25f, 0}), block) << kind.name;
        EXPECT_EQ(0, hnd.close());
    }
}

// A FLAC as it comes out of a pipe counts no frames; one that is cut ends before its last.
TEST_F(SampleFileMgrTest, RefusesFilesWithoutTheirEnd) {
    std::string const path = _dir.make_name("a.flac");
    write(path, SF_FORMAT_FLAC | SF_FORMAT_PCM_16, make_sound(30000, 1), 1);
    std::ifstream in(path, std::ios::binary);
    std::string const good{std::istreambuf_iterator<char>(in), {}};
    SplFileHnd hnd;
    std::string piped = good;
    piped[21] = static_cast<char>(piped[21] & 0xF0); // the low 36 bits of 8 bytes count the frames
    std::fill(piped.begin() + 22, piped.begin() + 26, '\0');
    std::ofstream(path, std::ios::binary) << piped;
    EXPECT_EQ(Err_LEN_NOT_FIXED, hnd.open(_mgr.use_mgr(), path.c_str(), false));
    std::ofstream(path, std::ios::binary) << good.substr(0, good.size() / 2);
    EXPECT_EQ(Err_WAV_TRUNCATED, hnd.open(_mgr.use_mgr(), path.c_str(), false));
    std::ofstream(path, std::ios::binary) << good;
    EXPECT_EQ(0, hnd.open(_mgr.use_mgr(), path.c_str(), false));
    EXPECT_EQ(0, hnd.close());

    std::string const ogg = _dir.make_name("a.ogg");
    write(ogg, SF_FORMAT_OGG | SF_FORMAT_VORBIS, make_sound(30000, 1), 1);
    std::filesystem::resize_file(ogg, std::filesystem::file_size(ogg) * 2 / 3);
    int const code = hnd.open(_mgr.use_mgr(), ogg.c_str(), false);
    EXPECT_TRUE(code == Err_LEN_NOT_FIXED || code == Err_WAV_TRUNCATED) << code;
}

TEST_F(SampleFileMgrTest, PlainWavFilesStayWithTheSampleLibrary) {
    for (int const encoding : {SF_FORMAT_PCM_U8, SF_FORMAT_PCM_16, SF_FORMAT_PCM_24,
                               SF_FORMAT_PCM_32, SF_FORMAT_FLOAT}) {
        std::string const path = _dir.make_name(std::to_string(encoding));
        write(path, SF_FORMAT_WAV | encoding, make_sound(5000, 2), 2);
        SplFileHnd hnd;
        ASSERT_EQ(0, hnd.open(_mgr.use_mgr(), path.c_str(), false));
        EXPECT_EQ(SplFileFmt_WAV, hnd.get_file_format());
        EXPECT_EQ(0, hnd.close());
    }
}

TEST_F(SampleFileMgrTest, WritesWavFilesAlone) {
    SplFileFmtDesc desc;
    desc.set_data(SplFileFmt_WAV, SplFileBitFmt_S16, rate, 1);
    float const val = 0.5f;
    SplFileHnd hnd;
    ASSERT_EQ(0, hnd.create_new(_mgr.use_mgr(), _dir.make_name("a.wav").c_str(), desc, 0));
    EXPECT_EQ(0, hnd.write_block(&val, 0, 1));
    EXPECT_EQ(0, hnd.close());
    desc.set_data(SoundFileFmt::number, SplFileBitFmt_S16, rate, 1);
    EXPECT_NE(0, hnd.create_new(_mgr.use_mgr(), _dir.make_name("b.flac").c_str(), desc, 0));

    write(_dir.make_name("c.flac"), SF_FORMAT_FLAC | SF_FORMAT_PCM_16, {0.25f, 0.5f}, 1);
    std::vector<float> const before = read_all(_dir.make_name("c.flac"), 1);
    ASSERT_EQ(0, hnd.open(_mgr.use_mgr(), _dir.make_name("c.flac").c_str(), true));
    EXPECT_NE(0, hnd.write_block(&val, 0, 1));
    EXPECT_EQ(0, hnd.close());
    EXPECT_EQ(before, read_all(_dir.make_name("c.flac"), 1));
}

// Any byte changed or missing: an error or some sound of a length that can be, and nothing else.
TEST_F(SampleFileMgrTest, BearsBrokenFiles) {
    std::mt19937 rnd(11);
    for (Kind const& kind : kind_arr) {
        std::string const path = _dir.make_name(kind.name);
        write(path, kind.format, make_sound(3000, 1), 1);
        std::ifstream in(path, std::ios::binary);
        std::string const good{std::istreambuf_iterator<char>(in), {}};
        for (int i = 0; i < 60; ++i) {
            std::string bytes = good;
            for (int k = 0; k < 3; ++k) {
                std::size_t const area = i % 2 == 0 ? 64 : bytes.size();
                bytes[rnd() % std::min(area, bytes.size())] = static_cast<char>(rnd());
            }
            bytes.resize(i % 3 == 0 ? rnd() % bytes.size() : bytes.size());
            std::ofstream(path, std::ios::binary) << bytes;
            SplFileHnd hnd;
            if (hnd.open(_mgr.use_mgr(), path.c_str(), false) != 0) {
                continue;
            }
            ASSERT_GE(hnd.get_length(), 0);
            ASSERT_LE(hnd.get_length(), 1LL << 40);
            long const len = static_cast<long>(std::min(hnd.get_length(), ulk::archi::Int64{5000}));
            std::vector<float> block(static_cast<std::size_t>(len * hnd.get_nbr_chn()) + 1, 77.f);
            for (ulk::archi::Int64 const pos : {ulk::archi::Int64{0}, hnd.get_length() - len}) {
                EXPECT_LE(hnd.read_block(block.data(), pos, len), 0);
                ASSERT_EQ(77.f, block.back());
            }
            EXPECT_EQ(0, hnd.close());
        }
    }
}

// A list that claims more than the file has, behind the sound: libsndfile 1.2.0 reads it for ever.
TEST_F(SampleFileMgrTest, RefusesChunksThatNeverEnd) {
    std::string const source = SOURCE_DIR "/fuzz/corpus/wav_info/endless_list.wav";
    SplFileHnd hnd;
    EXPECT_NE(0, hnd.open(_mgr.use_mgr(), source.c_str(), false));
    for (Kind const& kind : kind_arr) {
        std::string const name = kind.name;
        bool const little_flag = name.starts_with("wav");
        if (!little_flag && !name.starts_with("rifx") && !name.starts_with("aiff")) {
            continue;
        }
        std::string const path = _dir.make_name(name);
        write(path, kind.format, make_sound(100, 1), 1);
        std::ofstream out(path, std::ios::binary | std::ios::app);
        out << (little_flag ? std::string("LIST\0\0\0\x7F", 8) : std::string("LIST\x7F\0\0\0", 8))
            << "INFO" << std::string(64, '\xFF');
        out.close();
        EXPECT_NE(0, hnd.open(_mgr.use_mgr(), path.c_str(), false)) << name;
    }
}
