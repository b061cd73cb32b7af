#include "host/WavInfo.h"

#include "host/ByteReader.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <fstream>
#include <iterator>
#include <limits>

using ulk::host::ByteReader;
using ulk::host::WavInfo;
using Json = nlohmann::ordered_json;

namespace {

std::string make_le(unsigned long val, int nbr_bytes) {
    std::string bytes;
    for (int b = 0; b < nbr_bytes; ++b) {
        bytes += static_cast<char>(val >> (8 * b));
    }
    return bytes;
}

std::string make_longs(std::vector<unsigned long> const& list) {
    std::string bytes;
    for (auto const val : list) {
        bytes += make_le(val, 4);
    }
    return bytes;
}

std::string make_chunk(std::string const& id, std::string const& content) {
    return id + make_le(content.size(), 4) + content;
}

std::string make_fmt(unsigned long category, unsigned long nbr_chn, unsigned long nbr_bits) {
    unsigned long const align = nbr_chn * nbr_bits / 8;
    return make_chunk("fmt ", make_le(category, 2) + make_le(nbr_chn, 2) + make_le(44100, 4) +
                                  make_le(44100 * align, 4) + make_le(align, 2) +
                                  make_le(nbr_bits, 2));
}

std::string make_riff(std::string const& chunks) {
    return "RIFF" + make_le(chunks.size() + 4, 4) + "WAVE" + chunks;
}

std::string pad(std::string txt, std::size_t len) {
    txt.resize(len);
    return txt;
}

// All that is known, in a file that can be used.
std::string make_full() {
    std::string const bext = pad("A bell\x1B[31m", 256) + pad("Me", 32) + pad("REF", 32) +
                             "2026-11-22" + "01:02:03" + make_le(48000, 8) + make_le(2, 2) +
                             pad("", 64) + make_le(0xF700, 2) + make_le(700, 2) +
                             make_le(0xFF9C, 2) + make_le(0xFA24, 2) + make_le(0xF8F8, 2) +
                             pad("", 180) + "A=PCM,F=44100\r\n ";
    std::string const loop = make_longs({1, 1, 10, 20, 0, 3});
    return make_riff(
        make_fmt(1, 2, 16) + make_chunk("fact", make_le(3, 4)) +
        make_chunk("smpl", make_longs({0x1000041, 2, 22676, 60, 0x80000000, 0, 0, 1, 0}) + loop) +
        make_chunk("inst", std::string("\x3C\xFB\x06\x00\x7F\x01\x7F\x00", 8)) +
        make_chunk("cue ", make_longs({1, 7, 2}) + "data" + make_longs({0, 0, 2})) +
        make_chunk("LIST", "INFO" + make_chunk("INAM", std::string("Bell\0", 5)) +
                               std::string(1, '\0') + make_chunk("IART", "Us")) +
        make_chunk("LIST", "adtl" + make_chunk("labl", make_le(7, 4) + std::string("Hit\0", 4)) +
                               make_chunk("file", "1234")) +
        make_chunk("bext", bext) + make_chunk("junk", "12345678") +
        make_chunk("data", std::string(12, '\1')));
}

class WavInfoTest : public ::testing::Test {
protected:
    Json make(std::string const& content) {
        std::ofstream(_dir.make_name("file.wav"), std::ios::binary) << content;
        Json info = WavInfo::make(_dir.make_name("file.wav"));
        EXPECT_EQ(info["usable"].get<bool>(), !info.contains("reason"));
        EXPECT_NE("", WavInfo::print(info));
        info["path"] = "file.wav";
        return info;
    }

    void expect_problem(std::string const& content, std::string const& problem) {
        Json const info = make(content);
        EXPECT_NE(std::string::npos, info["problems"].dump().find(Json(problem).dump()))
            << info["problems"];
    }

    test::TempDir _dir;
};

std::string load(std::string const& name) {
    std::ifstream file(TEST_DATA_DIR "/wav_info/" + name, std::ios::binary);
    EXPECT_TRUE(file.is_open()) << name;
    return {std::istreambuf_iterator<char>(file), {}};
}

} // namespace

TEST_F(WavInfoTest, TellsAllThatIsKnown) {
    Json const info = make(make_full());
    EXPECT_EQ(load("full.json"), info.dump(2) + "\n");
    EXPECT_EQ(load("full.txt"), WavInfo::print(info));
}

TEST_F(WavInfoTest, ExtensibleFilesSayWhatTheyAre) {
    std::string const extension = make_le(22, 2) + make_le(20, 2) + make_le(3, 4) + make_le(1, 2) +
                                  std::string("\0\0\0\0\x10\0\x80\0\0\xAA\0\x38\x9B\x71", 14);
    std::string const fmt = make_fmt(0xFFFE, 2, 24).substr(8) + extension;
    Json const info = make(make_riff(make_chunk("fmt ", fmt) + make_chunk("data", "123456")));
    Json const fields = info["chunks"][0]["fields"];
    EXPECT_EQ("extensible", fields["category_name"]);
    EXPECT_EQ(20, fields["valid_bits"]);
    EXPECT_EQ("0x00000003", fields["channel_mask"]);
    EXPECT_EQ("integers", fields["sub_category_name"]);
    EXPECT_TRUE(info["usable"].get<bool>());
    EXPECT_EQ(1, info["sound"]["frames"]);
}

TEST_F(WavInfoTest, OtherKindsAreNamed) {
    EXPECT_EQ("an AIFF file", make("FORM1234AIFF")["kind"]);
    EXPECT_EQ("an RF64 file", make("RF641234WAVE")["kind"]);
    EXPECT_FALSE(make("RF641234WAVE")["usable"].get<bool>());
    EXPECT_FALSE(make(make_full()).contains("kind"));
    Json const info = WavInfo::make(TEST_DATA_DIR "/wav/bad/rf64.wav");
    EXPECT_EQ("an RF64 file", info["kind"]);
    EXPECT_TRUE(info["usable"].get<bool>());
}

TEST_F(WavInfoTest, BrokenFilesSayWhatIsWrong) {
    std::string const data = make_chunk("data", "1234");
    expect_problem(make_riff(data), "has no chunk \"fmt \", which tells the format");
    expect_problem(make_riff(data), "nothing before the sound tells its format");
    expect_problem(make_riff(make_fmt(1, 1, 16)), "has no chunk \"data\", which holds the sound");
    expect_problem(make_riff(make_fmt(1, 1, 16) + data).substr(0, 46),
                   "chunk \"data\" states 4 bytes, and the file holds 2 of them");
    expect_problem(make_riff(make_fmt(1, 1, 16) + data).substr(0, 46),
                   "the RIFF header counts 40 bytes behind it, and there are 38");
    expect_problem(make_riff(make_fmt(1, 1, 16) + data) + "12345678",
                   "the RIFF header leaves out the last 8 bytes");
    expect_problem(make_riff(make_fmt(1, 1, 16) + data) + "123",
                   "has 3 bytes at its end that are no chunk");
    expect_problem(make_riff(make_fmt(1, 1, 16) + make_chunk("data", "12345")),
                   "the last frame is not whole");
    expect_problem(
        make_riff(make_chunk("fmt ", make_le(1, 2) + make_le(2, 2) + make_le(44100, 4) +
                                         make_le(88200, 4) + make_le(2, 2) + make_le(10, 2)) +
                  data),
        "frames of 2 bytes, where 2 times 10 bits take 4");
    expect_problem(make_riff(make_chunk("fmt ", "12345678") + data),
                   "chunk \"fmt \" is too short for what it holds");
    expect_problem("RIFF1234AVI ", "does not begin as a RIFF WAVE file does");
    expect_problem("RIFF", "does not begin as a RIFF WAVE file does");
    expect_problem("", "does not begin as a RIFF WAVE file does");
}

TEST_F(WavInfoTest, ChunksOfOddLengthWithAndWithoutAPadByte) {
    for (std::string const& pad_byte : {std::string(), std::string(1, '\0')}) {
        Json const info = make(make_riff(make_fmt(1, 1, 16) + make_chunk("odd ", "123") + pad_byte +
                                         make_chunk("data", "1234")));
        ASSERT_EQ(3U, info["chunks"].size());
        EXPECT_EQ("data", info["chunks"][2]["id"]);
        EXPECT_TRUE(info["usable"].get<bool>());
        EXPECT_EQ(2, info["sound"]["frames"]);
    }
}

TEST_F(WavInfoTest, AnyNumberOfChunksIsBounded) {
    std::string chunks;
    for (int k = 0; k < 5000; ++k) {
        chunks += make_chunk("junk", "");
    }
    Json const info = make(make_riff(chunks));
    EXPECT_EQ(1000U, info["chunks"].size());
    expect_problem(make_riff(chunks), "has more than 1000 chunks; the others are left out here");
    Json const cues =
        make(make_riff(make_chunk("cue ", make_le(0xFFFFFFFF, 4) + std::string(60000, '\1'))));
    EXPECT_EQ(100U, cues["chunks"][0]["fields"]["points"].size());
}

// The walk agrees with the library on every file of the collection, cut anywhere.
TEST_F(WavInfoTest, SurvivesAnything) {
    std::string const full = make_full();
    for (std::size_t len = 0; len < full.size(); len += 5) {
        EXPECT_FALSE(make(full.substr(0, len))["usable"].get<bool>());
    }
    std::mt19937 rng(1);
    for (int round = 0; round < 400; ++round) {
        std::string content = full;
        for (int k = 0; k < 4; ++k) {
            content[rng() % content.size()] = static_cast<char>(rng());
        }
        Json const info = make(content);
        EXPECT_NO_THROW(info.dump(-1, ' ', false, Json::error_handler_t::replace));
    }
}

TEST_F(WavInfoTest, FilesOfTheCollectionAreUsableAsItsManifestSays) {
    std::ifstream manifest(TEST_DATA_DIR "/wav/manifest.txt");
    int nbr_files = 0;
    int nbr_bad = 0;
    for (std::string line; std::getline(manifest, line);) {
        auto const tab = line.find('\t');
        if (line.starts_with("#") || tab == std::string::npos) {
            continue;
        }
        std::string const name = line.substr(0, tab);
        Json const info = WavInfo::make(TEST_DATA_DIR "/wav/" + name);
        bool const usable_flag = info["usable"].get<bool>();
        EXPECT_TRUE(usable_flag || !line.substr(tab + 1).starts_with("0\t")) << name;
        nbr_bad += !usable_flag;
        ++nbr_files;
    }
    EXPECT_GT(nbr_files, 50);
    EXPECT_GT(nbr_bad, 25);
}

TEST_F(WavInfoTest, WhatIsNoFile) {
    for (std::string const& path :
         {_dir.make_name("none.wav"), _dir.get_path().string(), std::string("/dev/zero")}) {
        Json const info = WavInfo::make(path);
        EXPECT_FALSE(info["usable"].get<bool>());
        EXPECT_FALSE(info.contains("chunks"));
        EXPECT_NE("", info["reason"]);
    }
}

TEST(ByteReaderTest, TakesNumbersAndTexts) {
    ByteReader in(std::string_view("\x01\x02\xFF\xFE\x7F\xC4t\x1Bxt\0end", 14));
    EXPECT_EQ(0x201u, in.take_unsigned(2));
    EXPECT_EQ(-257, in.take_signed(2));
    EXPECT_EQ("0x7F", in.take_hex(1));
    EXPECT_EQ("\xC4t?xt", in.take_text(7));
    EXPECT_EQ(2u, in.get_nbr_left());
    EXPECT_THROW(in.take_unsigned(3), ByteReader::EndError);
    EXPECT_EQ("nd", in.take_bytes(2));
    ByteReader longest("\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF");
    EXPECT_EQ(std::numeric_limits<std::uint64_t>::max(), longest.take_unsigned(8));
}
