// tessitone render as a user meets it.

#include "support/CommandRun.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <sndfile.hh>

namespace {

namespace fs = std::filesystem;

class RenderCommandTest : public ::testing::Test {
protected:
    RenderCommandTest() {
        fs::copy(SOURCE_DIR "/examples", dir.get_path(), fs::copy_options::recursive);
    }

    test::CommandRun run(std::string const& args) {
        return test::CommandRun::run(dir.get_path(), "render " + args);
    }
    nlohmann::json report(std::string const& args) {
        auto const outcome = run(args + " --json");
        EXPECT_EQ(0, outcome.code) << outcome.err;
        return nlohmann::json::parse(outcome.out);
    }
    std::string read(std::string const& name) {
        return test::CommandRun::read_file(dir.get_path() / name);
    }
    void write(std::string const& name, std::string const& text) {
        std::ofstream(dir.get_path() / name) << text;
    }

    test::TempDir dir;
};

constexpr char session[] = "03_rates_and_pitches.toml";

} // namespace

TEST_F(RenderCommandTest, SillyCommandLinesAreToldWhatToDo) {
    write("broken.toml", "rate = 48000\n[[track]\n");
    write("empty.toml", "");
    write("wrong.toml", "[[track]]\nclips = [{ sampel = \"samples/kick.wav\" }]\n");
    write("insert.toml", "[[track]]\nclips = []\n[[track.inserts]]\nplugin = \"Reverb\"\n");
    struct Case {
        std::string args;
        int code;
        std::string text; // of standard error
    };
    std::string const ok = session;
    for (Case const& line : std::vector<Case>{
             {"", 1, "session is required"},
             {"nothing.toml", 2, "nothing.toml: "},
             {"samples", 2, "samples: "},
             {"samples/kick.wav", 2, "samples/kick.wav: "},
             {"broken.toml", 2, "broken.toml:2:"},
             {"empty.toml", 2, "empty.toml:1:1: error: "},
             {"wrong.toml", 2, "wrong.toml:2:12: error: "},
             {"wrong.toml", 2, "sample"},
             {"insert.toml", 2, "insert.toml:3:"},
             {ok + " --format mp3", 1, "--format"},
             {ok + " --rate 0", 1, "--rate"},
             {ok + " --rate fast", 1, "--rate"},
             {ok + " --block 0", 1, "--block"},
             {ok + " --jobs 0", 1, "--jobs"},
             {ok + " --jobs -1", 1, "--jobs"},
             {ok + " --quality good", 1, "--quality"},
             {ok + " --from soon", 1, "--from soon: is no time"},
             {ok + " --from -1", 1, "--from -1: is no time"},
             {ok + " --from 100", 1, "--from 100: lies behind the end of the session"},
             {ok + " --to 1 --from 2", 1, "--to 1: does not lie behind --from"},
             {ok + " --to '0|0'", 1, "--to 0|0: is no time"},
             {ok + " --tail -1", 1, "--tail -1: is no time"},
             {ok + " --cache 0", 1, "--cache"},
             {ok + " --plot out.jpg", 1, "out.jpg: "},
             {ok + " --bundle nothing.so", 2, "nothing.so"},
             {ok + " -o nowhere/out.wav", 4, "nowhere/out.wav: cannot be made"},
             {ok + " -o .", 4, "cannot be made"},
             {ok + " -o wrong.toml", 1, "wrong.toml: is there and no WAV file"},
             {ok + " -o " + ok, 1, "is read by the session"},
             {ok + " -o samples/bass.wav", 1, "is read by the session"},
             {ok + " --report " + ok, 1, ": is read by the session"},
             {ok + " --report samples/../samples/bass.wav", 1, "bass.wav: is read by the session"},
             {ok + " --report ./out.wav", 1, "out.wav: would be written twice"},
             {ok + " --report a.png --plot a.png", 1, "a.png: would be written twice"},
             {ok + " --stems /dev/null/stems", 4, "/dev/null/stems"},
             {ok + " --report nowhere/report.json", 4, "nowhere/report.json: "},
             {ok + " --to 100000000 --format f32", 1, "--to"},
             {ok + " --to 10000000 --format f32", 1, "out.wav"},
             {ok + " --wat", 1, "--wat"},
             {ok + " other.toml", 1, "other.toml"},
         }) {
        std::string const out = line.args.find(" -o ") == std::string::npos ? " -o out.wav" : "";
        auto const outcome = run(line.args + out);
        EXPECT_EQ(line.code, outcome.code) << line.args << '\n' << outcome.err;
        EXPECT_NE(std::string::npos, outcome.err.find(line.text)) << line.args << '\n'
                                                                  << outcome.err;
    }
    EXPECT_EQ(read(session), test::CommandRun::read_file(std::string(SOURCE_DIR "/examples/") +
                                                         session)); // nothing was lost
}

TEST_F(RenderCommandTest, SaysTheSameInAPipeAndInAFile) {
    for (char const* format : {"u8", "s16", "s24", "s32", "f32"}) {
        std::string const args = std::string(session) + " --format " + format;
        EXPECT_EQ(0, run(args + " -o out.wav -q").code);
        auto const pipe = run(args + " -o -");
        EXPECT_EQ(0, pipe.code);
        EXPECT_TRUE(read("out.wav") == pipe.out) << format;
        EXPECT_NE(std::string::npos, pipe.err.find("standard output")) << pipe.err;
    }
}

TEST_F(RenderCommandTest, NamesItsOutputAfterTheSession) {
    auto const outcome = run(session);
    EXPECT_EQ(0, outcome.code);
    EXPECT_NE(std::string::npos, outcome.out.find("03_rates_and_pitches.wav"));
    EXPECT_TRUE(fs::exists(dir.get_path() / "03_rates_and_pitches.wav"));
}

TEST_F(RenderCommandTest, GivesTheSameSoundWithAnyNumberOfJobs) {
    auto const one = report("10_cloud.toml -o one.wav");
    for (int const jobs : {2, 3, 8}) {
        auto const many = report("10_cloud.toml -o many.wav --jobs " + std::to_string(jobs));
        EXPECT_EQ(one["sound"], many["sound"]) << jobs;
        EXPECT_TRUE(read("one.wav") == read("many.wav")) << jobs;
    }
}

TEST_F(RenderCommandTest, QuietMeansQuiet) {
    auto const outcome = run(std::string(session) + " -q -o out.wav");
    EXPECT_EQ(0, outcome.code);
    EXPECT_EQ("", outcome.out);
    EXPECT_EQ("", outcome.err);
}

TEST_F(RenderCommandTest, MissingSamplesAreNamedAndCostTheirClips) {
    fs::remove(dir.get_path() / "samples/hat.wav");
    auto const outcome = run(std::string(session) + " -o out.wav --json");
    EXPECT_EQ(3, outcome.code);
    EXPECT_NE(std::string::npos, outcome.err.find("03_rates_and_pitches.toml:")) << outcome.err;
    EXPECT_NE(std::string::npos, outcome.err.find("samples/hat.wav")) << outcome.err;
    auto const report = nlohmann::json::parse(outcome.out);
    EXPECT_EQ(1u, report["missing_samples"].size());
    EXPECT_EQ(1u, report["dropped_notes"].size());
    EXPECT_EQ(5, report["notes_played"]);
    EXPECT_TRUE(fs::exists(dir.get_path() / "out.wav"));

    fs::remove(dir.get_path() / "out.wav");
    EXPECT_EQ(2, run(std::string(session) + " -o out.wav --strict").code);
    EXPECT_FALSE(fs::exists(dir.get_path() / "out.wav"));
}

TEST_F(RenderCommandTest, ClippingIsALossOnlyWhenOneIsStrict) {
    write("loud.toml", "[[track]]\nclips = [{ sample = \"samples/kick.wav\", gain = 12 }]\n");
    EXPECT_EQ(0, run("loud.toml -o out.wav").code);
    EXPECT_EQ(3, run("loud.toml -o out.wav --strict").code);
}

TEST_F(RenderCommandTest, StemsAreOfOneLengthAndSumToTheMix) {
    auto const json = report("05_bus_and_dry_wet.toml -o out.wav --stems stems");
    ASSERT_EQ(2u, json["stems"].size());
    EXPECT_LT(json["stems_deviation_dbfs"], -120);
    for (auto const& stem : json["stems"]) {
        EXPECT_EQ(fs::file_size(dir.get_path() / "out.wav"),
                  fs::file_size(dir.get_path() / stem["path"].get<std::string>()));
    }
}

TEST_F(RenderCommandTest, AMixThatHasTheNameOfAStemChangesNothing) {
    auto const json = report("05_bus_and_dry_wet.toml -o out.wav --stems stems");
    auto const stem = json["stems"][0]["path"].get<std::string>();
    auto const before = read(stem);
    auto const refused = run("05_bus_and_dry_wet.toml -o '" + stem + "' --stems stems");
    EXPECT_EQ(1, refused.code);
    EXPECT_NE(std::string::npos, refused.err.find(stem + ": would be written twice"))
        << refused.err;
    EXPECT_TRUE(before == read(stem));
}

TEST_F(RenderCommandTest, BestQualityIsConvertedOnce) {
    auto const args = std::string(session) + " --quality best -o ";
    std::string const setting = "XDG_CACHE_HOME=" + (dir.get_path() / "cache").string();
    for (char const* out : {"one.wav", "two.wav"}) {
        auto const outcome =
            test::CommandRun::run(dir.get_path(), "render " + args + out + " --json", setting);
        EXPECT_EQ(0, outcome.code) << outcome.err;
        EXPECT_EQ("best", nlohmann::json::parse(outcome.out)["quality"]);
    }
    EXPECT_TRUE(read("one.wav") == read("two.wav"));
    // The bass at three pitches, the pad, the hat.
    std::size_t nbr_files = 0;
    for (auto const& entry : fs::directory_iterator(dir.get_path() / "cache/tessitone/samples")) {
        EXPECT_EQ(".wav", entry.path().extension());
        ++nbr_files;
    }
    EXPECT_EQ(5u, nbr_files);
}

TEST_F(RenderCommandTest, AClosedPipeEndsItWithItsCode) {
    auto const outcome =
        test::CommandRun::run(dir.get_path(),
                              std::string("render --to 60 ") + session +
                                  " -o - 2>err.txt; echo $? >code.txt) | head -c 100 >/dev/null",
                              "(");
    EXPECT_EQ("4\n", read("code.txt"));
    EXPECT_NE(std::string::npos, read("err.txt").find("standard output")) << read("err.txt");
}

TEST_F(RenderCommandTest, AnInterruptLeavesWhatWasRendered) {
    write("long.toml", "rate = 8000\nchannels = 1\n[[track]]\n"
                       "clips = [{ sample = \"samples/pad.wav\" }]\n");
    // Days of it.
    auto const outcome = test::CommandRun::run(
        dir.get_path(), "render long.toml --to 400000 --format u8 -o out.wav --report report.json",
        "timeout --foreground --preserve-status -s INT 2");
    EXPECT_EQ(3, outcome.code) << outcome.err;
    auto const report = nlohmann::json::parse(read("report.json"));
    EXPECT_EQ(false, report["complete"]);
    long long const nbr_frames = report["frames"];
    EXPECT_GT(nbr_frames, 0);
    EXPECT_EQ(44u + static_cast<unsigned long long>(nbr_frames),
              fs::file_size(dir.get_path() / "out.wav"));
}

// Whatever lossless file a sample comes in, the session sounds the same to the bit.
TEST_F(RenderCommandTest, SamplesComeInManyFormats) {
    SndfileHandle in((dir.get_path() / "samples/bass.wav").string());
    ASSERT_GT(in.frames(), 0);
    std::vector<int> sound(static_cast<std::size_t>(in.frames() * in.channels()));
    in.readf(sound.data(), in.frames());
    std::string const text = read(session);
    ASSERT_EQ(0, run(session + std::string(" -o wav.wav")).code);
    int const encoding = in.format() & SF_FORMAT_SUBMASK;
    for (auto const& [ending, container] : {std::pair("flac", SF_FORMAT_FLAC),
                                            {"aiff", SF_FORMAT_AIFF},
                                            {"wavex", SF_FORMAT_WAVEX},
                                            {"rf64", SF_FORMAT_RF64},
                                            {"caf", SF_FORMAT_CAF}}) {
        std::string const name = std::string("samples/the_bass.") + ending;
        {
            SndfileHandle out((dir.get_path() / name).string(), SFM_WRITE, container | encoding,
                              in.channels(), in.samplerate());
            ASSERT_EQ(in.frames(), out.writef(sound.data(), in.frames())) << name;
        }
        std::string changed = text;
        for (std::size_t pos; (pos = changed.find("samples/bass.wav")) != std::string::npos;) {
            changed.replace(pos, 16, name);
        }
        write("other.toml", changed);
        auto const outcome = run("other.toml --strict -o other.wav");
        ASSERT_EQ(0, outcome.code) << outcome.err;
        EXPECT_TRUE(read("wav.wav") == read("other.wav")) << name;
    }
}
