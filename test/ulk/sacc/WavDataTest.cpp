// The files of test/data/wav/, made by tools/make_wav_data, against their manifest, and all that we
// and libsndfile read and write of each other.

#include "ulk/sacc/WavTools.h"

#include "ulk/sacc/SplFileExtData.h"

#include <gtest/gtest.h>
#include <sndfile.h>

#include <filesystem>
#include <random>
#include <set>
#include <sstream>

using namespace ulk;
using namespace ulk::sacc;
using test::Bytes;
using test::Floats;

namespace {

std::string const data_dir = TEST_DATA_DIR "/wav/";

struct Entry {
    std::string path;
    int code = 0;
    std::string coding;
    int nbr_chn = 0;
    double freq = 0;
    long len = 0;
    Floats samples;
};

std::vector<Entry> load_manifest() {
    std::vector<Entry> entry_list;
    std::ifstream file(data_dir + "manifest.txt");
    for (std::string line; std::getline(file, line);) {
        std::istringstream fields(line);
        Entry entry;
        fields >> entry.path >> entry.code;
        if (entry.code == 0) {
            fields >> entry.coding >> entry.nbr_chn >> entry.freq >> entry.len;
            for (std::string val; fields >> val;) {
                entry.samples.push_back(std::stof(val));
            }
        }
        entry_list.push_back(entry);
    }
    return entry_list;
}

// What libsndfile finds in a file; an empty list of samples and 0 channels if it refuses it.
struct Second {
    explicit Second(std::string const& path) {
        SF_INFO info = {};
        if (auto* const snd = sf_open(path.c_str(), SFM_READ, &info); snd != nullptr) {
            nbr_chn = info.channels;
            freq = info.samplerate;
            subtype = info.format & SF_FORMAT_SUBMASK;
            samples.resize(static_cast<std::size_t>(info.frames * info.channels));
            EXPECT_EQ(info.frames, sf_readf_float(snd, samples.data(), info.frames));
            sf_close(snd);
        }
    }

    int nbr_chn = 0;
    double freq = 0;
    int subtype = 0;
    Floats samples;
};

// A copy in which every file may be opened for writing.
class WavDataTest : public ::testing::Test {
protected:
    std::string copy(std::string const& path) {
        auto const target = _files.make_name("copy.wav");
        std::filesystem::copy_file(data_dir + path, target,
                                   std::filesystem::copy_options::overwrite_existing);
        return target;
    }

    test::SplFiles _files;
};

} // namespace

TEST_F(WavDataTest, FilesGiveWhatTheManifestSays) {
    auto const entry_list = load_manifest();
    ASSERT_GT(entry_list.size(), 80U);
    for (auto const& entry : entry_list) {
        SCOPED_TRACE(entry.path);
        SplFileHnd hnd;
        ASSERT_EQ(entry.code, hnd.open(_files.mgr, copy(entry.path).c_str(), false));
        if (entry.code != 0) {
            continue;
        }
        EXPECT_EQ(entry.coding, test::coding_list[hnd.get_sample_format()].name);
        EXPECT_EQ(entry.nbr_chn, hnd.get_nbr_chn());
        EXPECT_EQ(entry.freq, hnd.get_sample_freq());
        ASSERT_EQ(entry.len, hnd.get_length());
        Floats samples(static_cast<std::size_t>(entry.len * entry.nbr_chn));
        EXPECT_EQ(0, hnd.read_block(samples.data(), 0, entry.len));
        EXPECT_EQ(entry.samples, samples);
        EXPECT_EQ(0, hnd.close());
    }
}

TEST_F(WavDataTest, ManifestNamesEveryFile) {
    std::set<std::string> named;
    for (auto const& entry : load_manifest()) {
        named.insert(entry.path);
        EXPECT_EQ(entry.code != 0, entry.path.starts_with("bad/")) << entry.path;
    }
    std::set<std::string> found;
    for (auto const& file : std::filesystem::recursive_directory_iterator(data_dir)) {
        if (file.path().extension() == ".wav") {
            found.insert(std::filesystem::relative(file.path(), data_dir).string());
        }
    }
    EXPECT_EQ(named, found);
}

TEST_F(WavDataTest, LibsndfileAgreesOnGoodFiles) {
    for (auto const& entry : load_manifest()) {
        if (!entry.path.starts_with("good/")) {
            continue;
        }
        SCOPED_TRACE(entry.path);
        Second const second(data_dir + entry.path);
        EXPECT_EQ(entry.nbr_chn, second.nbr_chn);
        EXPECT_EQ(entry.freq, second.freq);
        EXPECT_EQ(entry.samples, second.samples);
    }
}

// Copies of good and odd files are the files again.
TEST_F(WavDataTest, CopiesAreTheSame) {
    for (auto const& entry : load_manifest()) {
        if (entry.code != 0) {
            continue;
        }
        SCOPED_TRACE(entry.path);
        SplFileHnd src;
        SplFileHnd dst;
        SplFileExtData ext;
        auto const src_path = copy(entry.path);
        auto const dst_path = _files.make_name("dst.wav");
        ASSERT_EQ(0, src.open(_files.mgr, src_path.c_str(), false));
        ASSERT_EQ(0, src.read_ext_data(ext));
        ASSERT_EQ(0, dst.create_copy(_files.mgr, dst_path.c_str(), ext));
        Floats floats(static_cast<std::size_t>(entry.len * entry.nbr_chn));
        ASSERT_EQ(0, src.read_block(floats.data(), 0, entry.len));
        ASSERT_EQ(0, dst.write_block(floats.data(), 0, entry.len));
        EXPECT_EQ(0, src.close());
        EXPECT_EQ(0, dst.close());
        // Padding comes out as zeros, and floats do not hold all 32 bits.
        if (entry.path.find("padded") == std::string::npos && entry.coding != "s32") {
            EXPECT_EQ(test::load_bytes(src_path), test::load_bytes(dst_path));
        }
        SplFileHnd again;
        ASSERT_EQ(0, again.open(_files.mgr, dst_path.c_str(), false));
        Floats back(floats.size());
        EXPECT_EQ(0, again.read_block(back.data(), 0, entry.len));
        EXPECT_EQ(entry.samples, back);
        EXPECT_EQ(0, again.close());
    }
}

TEST_F(WavDataTest, LibsndfileReadsWhatWeWrite) {
    std::mt19937 rng(21);
    std::uniform_real_distribution<float> dist(-1.2f, 1.2f);
    for (auto const& coding : test::coding_list) {
        for (int const chn : {1, 2, 6}) {
            SCOPED_TRACE(coding.name);
            auto const path = _files.make_name("ours.wav");
            long const len = 20011;
            Floats floats(static_cast<std::size_t>(len * chn));
            for (auto& spl : floats) {
                spl = dist(rng);
            }
            SplFileHnd hnd;
            ASSERT_EQ(0, hnd.create_new(_files.mgr, path.c_str(),
                                        test::make_desc(coding.bit_fmt, chn, 96000), 0));
            for (long pos = 0; pos < len; pos += 4003) {
                long const part = std::min(4003L, len - pos);
                ASSERT_EQ(0,
                          hnd.write_block(&floats[static_cast<std::size_t>(pos * chn)], pos, part));
            }
            ASSERT_EQ(0, hnd.close());
            ASSERT_EQ(0, hnd.open(_files.mgr, path.c_str(), false));
            ASSERT_EQ(len, hnd.get_length());
            Floats back(floats.size());
            ASSERT_EQ(0, hnd.read_block(back.data(), 0, len));
            ASSERT_EQ(0, hnd.close());
            Second const second(path);
            EXPECT_EQ(chn, second.nbr_chn);
            EXPECT_EQ(96000, second.freq);
            EXPECT_EQ(coding.sndfile_subtype, second.subtype);
            EXPECT_EQ(back, second.samples);
            if (coding.bit_fmt == SplFileBitFmt_F32) {
                EXPECT_EQ(floats, second.samples);
            }
        }
    }
}

TEST_F(WavDataTest, WeReadWhatLibsndfileWrites) {
    std::mt19937 rng(22);
    std::uniform_real_distribution<float> dist(-1, 1);
    for (auto const& coding : test::coding_list) {
        for (int const chn : {1, 2, 6}) {
            SCOPED_TRACE(coding.name);
            auto const path = _files.make_name("theirs.wav");
            SF_INFO info = {0, 48000, chn, SF_FORMAT_WAV | coding.sndfile_subtype, 0, 0};
            auto* const snd = sf_open(path.c_str(), SFM_WRITE, &info);
            ASSERT_NE(nullptr, snd);
            Floats floats(static_cast<std::size_t>(12345 * chn));
            for (auto& spl : floats) {
                spl = dist(rng);
            }
            ASSERT_EQ(12345, sf_writef_float(snd, floats.data(), 12345));
            sf_close(snd);
            SplFileHnd hnd;
            ASSERT_EQ(0, hnd.open(_files.mgr, path.c_str(), false));
            EXPECT_EQ(coding.bit_fmt, hnd.get_sample_format());
            EXPECT_EQ(chn, hnd.get_nbr_chn());
            EXPECT_EQ(48000.0, hnd.get_sample_freq());
            ASSERT_EQ(12345, hnd.get_length());
            Floats ours(floats.size());
            ASSERT_EQ(0, hnd.read_block(ours.data(), 0, 12345));
            EXPECT_EQ(0, hnd.close());
            EXPECT_EQ(Second(path).samples, ours);
        }
    }
}
