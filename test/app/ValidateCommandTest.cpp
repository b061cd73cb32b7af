#include "support/CommandRun.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace {

using test::CommandRun;
using Json = nlohmann::json;

class ValidateCommandTest : public ::testing::Test {
protected:
    ValidateCommandTest() {
        std::filesystem::copy(TEST_DATA_DIR "/wav", _dir.get_path() / "wav",
                              std::filesystem::copy_options::recursive);
    }
    CommandRun run(std::string const& args) const { return CommandRun::run(_dir.get_path(), args); }
    void write(std::string const& name, std::string const& txt) const {
        std::ofstream(_dir.make_name(name), std::ios::binary) << txt;
    }

    test::TempDir _dir;
};

} // namespace

TEST_F(ValidateCommandTest, SumsUpAGoodSession) {
    write("song.toml", "[[track]]\nclips = [\n"
                       "  { sample = 'wav/good/rate_100.wav', at = 2, pitch = -12 },\n"
                       "  { sample = 'wav/good/s16_2ch.wav', length = 10 },\n"
                       "]\n[[track]]\nclips = [{ sample = 'wav/good/s16_2ch.wav' }]\n");
    auto const outcome = run("validate song.toml");
    EXPECT_EQ(0, outcome.code);
    EXPECT_EQ("song.toml: good: tracks 2, clips 3, samples 2, end of the last clip at 2.100 s\n",
              outcome.out);
    EXPECT_EQ("", outcome.err);
    Json const json = Json::parse(run("validate --json song.toml").out);
    EXPECT_EQ(true, json["good"]);
    EXPECT_EQ("song", json["name"]);
    EXPECT_EQ(3, json["clips"]);
    EXPECT_EQ(2, json["samples"]);
    EXPECT_DOUBLE_EQ(2.1, json["end"].get<double>());
    EXPECT_TRUE(json["diagnostics"].empty());
}

TEST_F(ValidateCommandTest, TellsMistakesOfInserts) {
    write("song.toml", "[[track]]\n"
                       "channels = 2\n"
                       "clips = []\n"
                       "inserts = [\n"
                       "  { plugin = 'Brevanto#TessitoneDryWet', params = { Gain = '-6 dB' } },\n"
                       "  { plugin = 'Brevanto#TessitoneDryWet', params = { Gian = 1 } },\n"
                       "  { plugin = 'Brevanto#TessitoneDryWet', params = { Gain = 'loud' } },\n"
                       "  { plugin = 'Brevanto#TessitoneReverb' },\n"
                       "  { plugin = 'Brevanto#TessitoneAudioInput' },\n"
                       "]\n");
    auto const outcome = run("validate song.toml");
    EXPECT_EQ(2, outcome.code);
    for (char const* const text :
         {"song.toml:6:53: error: ", "Gian", "song.toml:7:53: error: ", "loud",
          "song.toml:8:3: error: Brevanto#TessitoneReverb: no such plug-in",
          "song.toml:9:3: error: track Track 1: Brevanto#TessitoneAudioInput cannot be an "
          "insert"}) {
        EXPECT_NE(std::string::npos, outcome.out.find(text)) << text << "\n" << outcome.out;
    }
    EXPECT_TRUE(outcome.err.ends_with("tessitone: song.toml: 4 mistakes\n")) << outcome.err;
    auto const alone = run("validate --bundle none.so song.toml");
    EXPECT_EQ(2, alone.code);
    EXPECT_NE(std::string::npos, alone.out.find("song.toml: error: no plug-in could be asked: "
                                                "none.so: no such bundle"))
        << alone.out;
}

TEST_F(ValidateCommandTest, TellsMistakesOfTheTextAndOfTheMaterial) {
    std::filesystem::create_directory(_dir.make_name("folder.wav"));
    write("empty.wav", "");
    write("song.toml", "[[track]]\n"
                       "clips = [\n"
                       "  { sample = 'none.wav' },\n"
                       "  { sample = 'folder.wav', at = -1, gain = 30 },\n"
                       "  { sample = 'wav/bad/category_2.wav' },\n"
                       "  { sample = './none.wav' },\n"
                       "  { sample = 'none.wav' },\n"
                       "  { sample = 'wav/good/rate_100.wav', offset = 0.05 },\n"
                       "  { sample = 'empty.wav' },\n"
                       "]\n");
    auto const outcome = run("validate song.toml");
    EXPECT_EQ(2, outcome.code);
    EXPECT_EQ("tessitone: song.toml: 7 mistakes\n", outcome.err);
    EXPECT_EQ(CommandRun::read_file(TEST_DATA_DIR "/session/material.txt"), outcome.out);
    auto const as_json = run("validate song.toml --json");
    EXPECT_EQ(2, as_json.code);
    Json const json = Json::parse(as_json.out);
    EXPECT_EQ(false, json["good"]);
    EXPECT_EQ(7, json["errors"]);
    EXPECT_EQ(7u, json["diagnostics"].size());
    EXPECT_EQ((Json{{"file", "song.toml"},
                    {"line", 3},
                    {"column", 14},
                    {"severity", "error"},
                    {"text", "none.wav does not exist (2 clips)"}}),
              json["diagnostics"][0]);
}

TEST_F(ValidateCommandTest, TakesWarningsForGood) {
    write("song.json", R"({"samples": {"kick": "kick.wav"}, "track": [{}]})");
    auto const outcome = run("validate song.json");
    EXPECT_EQ(0, outcome.code);
    EXPECT_EQ(0u, outcome.out.find("song.json:1:22: warning: no clip plays \"kick\"\n"))
        << outcome.out;
}

TEST_F(ValidateCommandTest, EndsPlainlyOnSillyCalls) {
    std::filesystem::create_directory(_dir.make_name("folder.toml"));
    write("song.toml", "[[track]]\n");
    struct Case {
        char const* args;
        int code;
        char const* message;
    };
    for (Case const& c :
         {Case{"validate", 1, "session is required"},
          Case{"validate song.toml more.toml", 1, "more.toml"},
          Case{"validate --xml song.toml", 1, "--xml"},
          Case{"validate none.toml", 2, "none.toml: cannot be read: No such file"},
          Case{"validate folder.toml", 2, "folder.toml: is a folder"},
          Case{"validate song", 2, "song: the name of a session ends in .toml or .json"},
          Case{"validate ''", 2, "ends in .toml or .json"},
          Case{"validate song.toml >/dev/full", 4, "writing to standard output failed"}}) {
        auto const outcome = run(c.args);
        EXPECT_EQ(c.code, outcome.code) << c.args;
        EXPECT_NE(std::string::npos, outcome.err.find(c.message)) << outcome.err;
        EXPECT_EQ("", outcome.out) << c.args;
    }
}
