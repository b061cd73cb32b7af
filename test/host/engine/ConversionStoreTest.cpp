#include "host/engine/ConversionStore.h"

#include "host/Error.h"
#include "host/engine/RenderRig.h"
#include "support/FileFault.h"

#include <cerrno>
#include <cmath>
#include <filesystem>
#include <fstream>

using namespace ulk::host::engine;
using test::RenderRig;
using ulk::host::Error;

namespace {

class ConversionStoreTest : public ::testing::Test, public RenderRig {
protected:
    static std::vector<float> make_sine(long len, double period) {
        std::vector<float> samples;
        for (long pos = 0; pos < len; ++pos) {
            samples.push_back(
                0.5f * static_cast<float>(std::sin(static_cast<double>(pos) * 2 * M_PI / period)));
        }
        return samples;
    }
    ConversionStore::Result convert(int sample, double speed, double sample_freq) {
        auto const index = static_cast<std::size_t>(sample);
        return _store.find_or_make(session.sample_arr[index].path, fact_arr[index], speed,
                                   sample_freq);
    }
    std::vector<float> read(ConversionStore::Result const& result) {
        ulk::sacc::SplFileHnd hnd;
        EXPECT_EQ(0, hnd.open(file_mgr, result.path.c_str(), false));
        EXPECT_EQ(ulk::sacc::SplFileBitFmt_F32, hnd.get_sample_format());
        std::vector<float> samples(
            static_cast<std::size_t>(hnd.get_length() * result.facts.nbr_chn));
        EXPECT_EQ(0, hnd.read_block(samples.data(), 0, static_cast<long>(hnd.get_length())));
        return samples;
    }
    std::string refuse(int sample) {
        try {
            convert(sample, 2, 48000);
        } catch (Error const& e) {
            EXPECT_EQ(Error::Kind_IO, e.get_kind());
            return e.what();
        }
        ADD_FAILURE() << "nothing was refused";
        return "";
    }

    bool has_part() const {
        std::error_code none;
        std::filesystem::directory_iterator const files(_folder, none);
        return std::any_of(begin(files), end(files),
                           [](auto const& file) { return file.path().extension() == ".part"; });
    }

    std::string _folder = dir.make_name("store/samples");
    ConversionStore _store{_folder};
};

} // namespace

TEST_F(ConversionStoreTest, GivesTheSameSoundInLessTime) {
    int const sample = add_sample({make_sine(150000, 100), make_sine(150000, 60)}, 48000);
    auto const result = convert(sample, 1.25, 44100);
    EXPECT_TRUE(result.made_flag);
    double const ratio = 44100 / (48000 * 1.25);
    EXPECT_EQ(std::lround(150000 * ratio), result.facts.len);
    EXPECT_EQ(44100, result.facts.sample_freq);
    EXPECT_EQ(2, result.facts.nbr_chn);
    auto const samples = read(result);
    auto const left = make_sine(static_cast<long>(result.facts.len), 100 * ratio);
    auto const right = make_sine(static_cast<long>(result.facts.len), 60 * ratio);
    for (std::size_t pos = 2000; pos + 2000 < left.size(); ++pos) { // away from the ends
        ASSERT_NEAR(left[pos], samples[2 * pos], 1e-5) << pos;
        ASSERT_NEAR(right[pos], samples[2 * pos + 1], 1e-5) << pos;
    }
}

// What the converter holds back at the end is more than one of our buffers takes.
TEST_F(ConversionStoreTest, TheTailOfAGreatRatioIsWhole) {
    int const sample = add_sample({std::vector<float>(200000, 0.25f)}, 48000);
    auto const result = convert(sample, 256, 48000);
    EXPECT_EQ(std::lround(200000 / 256.0), result.facts.len);
    auto const samples = read(result);
    for (std::size_t pos = 300; pos + 300 < samples.size(); ++pos) {
        ASSERT_NEAR(0.25f, samples[pos], 1e-4) << pos;
    }
}

TEST_F(ConversionStoreTest, ConvertsOnceForAContentAndARatio) {
    int const sample = add_noise(1, 1000, 44100);
    auto const made = convert(sample, 1, 48000);
    EXPECT_TRUE(made.made_flag);
    auto const found = convert(sample, 1, 48000);
    EXPECT_FALSE(found.made_flag);
    EXPECT_EQ(made.path, found.path);
    EXPECT_EQ(made.facts.len, found.facts.len);

    EXPECT_NE(made.path, convert(sample, 2, 48000).path);
    auto const copy = dir.make_name("copy.wav");
    std::filesystem::copy_file(session.sample_arr[0].path, copy);
    EXPECT_EQ(made.path, _store.find_or_make(copy, fact_arr[0], 1, 48000).path);
    int const other = add_noise(1, 1000, 44100);
    EXPECT_NE(made.path, convert(other, 1, 48000).path);
    // Nothing but what was made is left in the folder.
    EXPECT_EQ(3, std::distance(std::filesystem::directory_iterator(_folder), {}));
}

TEST_F(ConversionStoreTest, WhatIsBrokenIsMadeAnew) {
    int const sample = add_noise(1, 1000, 44100);
    auto const made = convert(sample, 1, 48000);
    std::filesystem::resize_file(made.path, 20);
    auto const again = convert(sample, 1, 48000);
    EXPECT_TRUE(again.made_flag);
    EXPECT_EQ(made.path, again.path);
    EXPECT_EQ(made.facts.len, again.facts.len);
}

TEST_F(ConversionStoreTest, NamesTheFileThatFails) {
    int const sample = add_noise(1, 100000, 48000);
    std::string const path = session.sample_arr[0].path;
    for (auto const& [op, text] : {std::pair{test::FileFault::SysCall::Op_WRITE,
                                             "its conversion cannot be written; is the disk full?"},
                                   {test::FileFault::SysCall::Op_READ, "reading failed"}}) {
        // From any call on: it ends with a text, and nothing half done is left.
        bool text_flag = false;
        bool hit_flag = true;
        for (long n = 1; hit_flag; ++n) {
            std::filesystem::remove_all(_folder);
            test::FileFault fault;
            fault.fail_at(n, op == test::FileFault::SysCall::Op_WRITE ? ENOSPC : EIO, op,
                          test::FileFault::FOR_EVER);
            try {
                convert(sample, 2, 48000);
                EXPECT_FALSE(fault.was_hit()) << n;
            } catch (Error const& e) {
                EXPECT_EQ(Error::Kind_IO, e.get_kind());
                text_flag = text_flag || e.what() == path + ": " + text;
                EXPECT_FALSE(has_part()) << n;
            }
            hit_flag = fault.was_hit();
        }
        EXPECT_TRUE(text_flag) << text;
    }
}

TEST_F(ConversionStoreTest, RefusesWhatIsNoSample) {
    int const sample = add_noise(1, 100, 48000);
    std::string const path = session.sample_arr[0].path;
    std::filesystem::resize_file(path, 30);
    EXPECT_EQ(path + ": cannot be read", refuse(sample));
    std::filesystem::remove(path);
    EXPECT_EQ(path + ": reading failed", refuse(sample));
}

TEST_F(ConversionStoreTest, RefusesAFolderThatCannotBe) {
    int const sample = add_noise(1, 100, 48000);
    std::ofstream(dir.make_name("store")) << "a file";
    EXPECT_EQ(_folder + ": a sample's conversion cannot be made there", refuse(sample));
}
