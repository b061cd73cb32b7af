#include "host/render/OutputFormat.h"

#include "host/Error.h"
#include "ulk/sacc/SplFileFmtTools.h"
#include "ulk/sacc/SplFileFmtWav.h"

#include <gtest/gtest.h>

#include <cmath>

using ulk::host::Error;
using ulk::host::render::OutputFormat;
using namespace ulk::sacc;

namespace {

std::string get_refusal(OutputFormat const& format, long long nbr_frames) {
    try {
        format.check_len("out.wav", nbr_frames);
    } catch (Error const& e) {
        EXPECT_EQ(Error::Kind_USE, e.get_kind());
        return e.what();
    }
    return "";
}

} // namespace

TEST(OutputFormatTest, NamesBothWays) {
    EXPECT_EQ((std::vector<std::string>{"u8", "s16", "s24", "s32", "f32"}),
              OutputFormat::list_names());
    for (auto const& name : OutputFormat::list_names()) {
        EXPECT_EQ(name, (OutputFormat{OutputFormat::find_bit_fmt(name), 48000, 1}).get_name());
    }
    for (char const* name : {"", "S16", "s8", "f64"}) {
        EXPECT_THROW(OutputFormat::find_bit_fmt(name), Error) << name;
    }
}

// The level is the highest that comes back as it was, but for rounding; the next float saturates.
TEST(OutputFormatTest, ClipLevelIsWhereTheConversionSaturates) {
    EXPECT_EQ(127.f / 128, (OutputFormat{SplFileBitFmt_U8, 48000, 1}).get_clip_level());
    EXPECT_EQ(32767.f / 32768, (OutputFormat{SplFileBitFmt_S16, 48000, 1}).get_clip_level());
    EXPECT_EQ(1, (OutputFormat{SplFileBitFmt_F32, 48000, 1}).get_clip_level());
    for (SplFileBitFmt const fmt :
         {SplFileBitFmt_U8, SplFileBitFmt_S16, SplFileBitFmt_S24, SplFileBitFmt_S32}) {
        float const level = OutputFormat{fmt, 48000, 1}.get_clip_level();
        double const nominal = SplFileFmtTools::get_std_nominal_val(fmt);
        EXPECT_LE(level * nominal, nominal - 1);
        EXPECT_GT(std::nextafter(level, 2.f) * nominal, nominal - 1);
    }
}

TEST(OutputFormatTest, RefusesWhatAWavFileCannotHold) {
    OutputFormat const s16 = {SplFileBitFmt_S16, 48000, 2};
    long long const max = (0xFFFFFFFFLL - 36) / 4;
    EXPECT_EQ("", get_refusal(s16, 0));
    EXPECT_EQ("", get_refusal(s16, max));
    EXPECT_EQ("out.wav: 4.0 GiB of sound, and a WAV file holds less than 4 GiB; render it in parts "
              "of up to 6:12:49 (--from, --to)",
              get_refusal(s16, max + 1));
    OutputFormat const f32 = {SplFileBitFmt_F32, 48000, 2};
    EXPECT_EQ("out.wav: 4.0 GiB of sound, and a WAV file holds less than 4 GiB; render it in parts "
              "of up to 3:06:24 (--from, --to), or take --format s16",
              get_refusal(f32, max / 2 + 1));
    EXPECT_NE("", get_refusal(f32, 1LL << 60));
}

// The limit is what the header can state: the longest file's sizes don't wrap.
TEST(OutputFormatTest, TheLongestFileHasAnHonestHeader) {
    SplFileFmtWav wav;
    ASSERT_EQ(0, wav.setup_new(1, SplFileBitFmt_U8, 48000));
    long long const max = 0xFFFFFFFFLL - 36;
    EXPECT_EQ("", get_refusal({SplFileBitFmt_U8, 48000, 1}, max));
    auto const header = wav.make_header(max);
    for (std::size_t pos = 4; pos < 8; ++pos) {
        EXPECT_EQ(0xFF, header[pos]);
    }
}
