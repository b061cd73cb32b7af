#include "host/session/SampleCheck.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

#include <sys/stat.h>

using namespace ulk::host::session;

namespace {

class SampleCheckTest : public ::testing::Test {
protected:
    SampleCheck::Info look(std::string const& path) {
        Session session;
        session.sample_arr = {{path, {}}};
        return SampleCheck::look(session).at(0);
    }
    static std::string get_path(std::string const& name) { return TEST_DATA_DIR "/wav/" + name; }
};

} // namespace

TEST_F(SampleCheckTest, TellsWhatAHeaderSays) {
    SampleCheck::Info const info = look(get_path("good/s24_5ch.wav"));
    EXPECT_EQ("", info.reason);
    EXPECT_EQ(5, info.len);
    EXPECT_EQ(44100, info.sample_freq);
    EXPECT_EQ(5, info.nbr_chn);
    EXPECT_EQ("", look(get_path("odd/no_frames.wav")).reason);
}

TEST_F(SampleCheckTest, SaysWhyASampleCannotBeUsed) {
    struct Case {
        char const* name;
        char const* reason;
    };
    for (Case const& c :
         {Case{"none.wav", "does not exist"}, Case{"good", "is a folder"},
          Case{"good/u8_1ch.wav/x", "does not exist"}, Case{"bad/avi.wav", "no sound that can"},
          Case{"bad/no_data.wav", "without sound"}, Case{"bad/category_65534.wav", "of a kind"},
          Case{"bad/bits_64.wav", "8, 16, 24 or 32 bits"},
          Case{"bad/channels_256.wav", "impossible rate"},
          Case{"bad/align_3.wav", "contradicts itself"},
          Case{"bad/truncated.wav", "ends before its sound"},
          Case{"bad/chunk_size_ffffffff.wav", "broken chunks"}}) {
        SampleCheck::Info const info = look(get_path(c.name));
        EXPECT_NE(std::string::npos, info.reason.find(c.reason)) << c.name << ": " << info.reason;
        EXPECT_EQ(0, info.len);
    }
}

// Those of them that libsndfile reads all the same are no trouble.
TEST_F(SampleCheckTest, FindsAReasonForEveryBadFile) {
    int nbr_bad = 0;
    for (auto const& entry : std::filesystem::directory_iterator(get_path("bad"))) {
        SampleCheck::Info const info = look(entry.path().string());
        EXPECT_EQ(info.reason.empty(), info.nbr_chn > 0) << entry.path();
        EXPECT_EQ(std::string::npos, info.reason.find("code")) << info.reason;
        nbr_bad += !info.reason.empty();
    }
    EXPECT_GT(nbr_bad, 25);
    for (char const* const name : {"rf64", "category_6", "bits_64_float", "data_size_ffffffff",
                                   "chunk_of_odd_size_with_pad"}) {
        EXPECT_EQ("", look(get_path(std::string("bad/") + name + ".wav")).reason) << name;
    }
}

// Opening a pipe that nobody writes to would wait for ever.
TEST_F(SampleCheckTest, DoesNotWaitForPipes) {
    test::TempDir const dir;
    std::string const path = dir.make_name("pipe.wav");
    ASSERT_EQ(0, ::mkfifo(path.c_str(), 0600));
    EXPECT_EQ("is no regular file", look(path).reason);
}

TEST_F(SampleCheckTest, MeasuresClips) {
    SampleCheck::Info const info{48000, 48000, 1, ""};
    Session::Clip clip;
    EXPECT_EQ(1, SampleCheck::find_duration(clip, info));
    clip.pitch = 12;
    EXPECT_EQ(0.5, SampleCheck::find_duration(clip, info));
    clip.offset = 0.25;
    EXPECT_EQ(0.375, SampleCheck::find_duration(clip, info));
    clip.length = 0.125;
    EXPECT_EQ(0.125, SampleCheck::find_duration(clip, info));
    EXPECT_FALSE(SampleCheck::is_behind_end(clip, info));
    clip.offset = 1;
    EXPECT_TRUE(SampleCheck::is_behind_end(clip, info));
    EXPECT_EQ(0, SampleCheck::find_duration(clip, info));
    EXPECT_EQ(0, SampleCheck::find_duration({}, {0, 0, 0, "does not exist"}));
    EXPECT_FALSE(SampleCheck::is_behind_end({}, {0, 48000, 1, ""})); // silence, from its start
}
