#include "host/session/SessionReader.h"
#include "support/CommandRun.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

#include <set>

namespace {

namespace fs = std::filesystem;
using test::CommandRun;
using namespace ulk::host::session;

class CollectCommandTest : public ::testing::Test {
protected:
    CollectCommandTest() {
        for (char const* const folder : {"a", "b", "lists"}) {
            fs::create_directory(_dir.get_path() / folder);
        }
        copy("s16_1ch.wav", "a/kick.wav");
        copy("s16_2ch.wav", "b/Kick.wav");
        copy("f32_1ch.wav", "lists/soft, snare.wav");
        write("lists/drums.csv", "# \"kick.wav\"\r\nsample,at\r\n \"soft, snare.wav\" ,1\r\n"
                                 "../a/kick.wav,2\r\nshort,3");
        write("song.toml", "# a/kick.wav stays in this comment\n"
                           "[samples]\nshort = 'a/../b/Kick.wav'\nunused = 'none.wav'\n"
                           "[[track]]\n\tclips = 'lists/drums.csv' # the drums\n"
                           "[[track]]\nclips = [\n"
                           "  { sample = \"a/kick.wav\", at = \"1|2\" }, { sample = 'short' },\n]\n"
                           "[[track]]\nclips = './lists/drums.csv'");
    }

    void copy(char const* name, char const* target) const {
        fs::copy_file(std::string(TEST_DATA_DIR "/wav/good/") + name, _dir.get_path() / target);
    }
    void write(std::string const& name, std::string const& txt) const {
        std::ofstream(_dir.make_name(name), std::ios::binary) << txt;
    }
    std::string read(std::string const& name) const {
        return CommandRun::read_file(_dir.make_name(name));
    }
    CommandRun run(std::string const& args, std::string const& setting = "") const {
        return CommandRun::run(_dir.get_path(), args, setting);
    }
    // Below a folder, relative to it.
    std::set<std::string> list(std::string const& folder) const {
        std::set<std::string> name_set;
        for (auto const& entry : fs::recursive_directory_iterator(_dir.get_path() / folder)) {
            name_set.insert(fs::relative(entry.path(), _dir.get_path() / folder).string());
        }
        return name_set;
    }

    test::TempDir _dir;
};

} // namespace

TEST_F(CollectCommandTest, GathersEverythingAndChangesPathsAlone) {
    auto const outcome = run("collect song.toml out");
    EXPECT_EQ(0, outcome.code) << outcome.err;
    EXPECT_EQ("out/song.toml: samples 3, 0.0 MB\n", outcome.out);
    EXPECT_EQ((std::set<std::string>{"song.toml", "drums.csv", "samples", "samples/Kick.wav",
                                     "samples/kick 2.wav", "samples/soft, snare.wav"}),
              list("out"));
    EXPECT_EQ("# a/kick.wav stays in this comment\n"
              "[samples]\nshort = \"samples/Kick.wav\"\nunused = 'none.wav'\n"
              "[[track]]\n\tclips = \"drums.csv\" # the drums\n"
              "[[track]]\nclips = [\n"
              "  { sample = \"samples/kick 2.wav\", at = \"1|2\" }, { sample = 'short' },\n]\n"
              "[[track]]\nclips = \"drums.csv\"",
              read("out/song.toml"));
    EXPECT_EQ("# \"kick.wav\"\r\nsample,at\r\n \"samples/soft, snare.wav\" ,1\r\n"
              "samples/kick 2.wav,2\r\nshort,3",
              read("out/drums.csv"));
    EXPECT_EQ(read("a/kick.wav"), read("out/samples/kick 2.wav"));
    EXPECT_EQ(read("b/Kick.wav"), read("out/samples/Kick.wav"));
    EXPECT_EQ(read("lists/soft, snare.wav"), read("out/samples/soft, snare.wav"));
    EXPECT_EQ(0, run("validate out/song.toml").code);
}

TEST_F(CollectCommandTest, GathersWhatWasGatheredAsItIs) {
    ASSERT_EQ(0, run("collect song.toml out").code);
    fs::create_directory(_dir.get_path() / "again");
    ASSERT_EQ(0, run("collect out/song.toml again").code);
    EXPECT_EQ(list("out"), list("again"));
    for (std::string const& name : list("out")) {
        EXPECT_EQ(read("out/" + name), read("again/" + name)) << name;
    }
}

TEST_F(CollectCommandTest, TakesJsonAndAbsolutePaths) {
    std::string const path = _dir.make_name("a/kick.wav");
    write("song.json", "{\"track\": [{\"clips\": [{\"sample\": \"" + path +
                           "\"}, {\"sample\": "
                           "\"a\\/kick.wav\"}]}]}");
    EXPECT_EQ(0, run("collect song.json out").code);
    EXPECT_EQ("{\"track\": [{\"clips\": [{\"sample\": \"samples/kick.wav\"}, {\"sample\": "
              "\"samples/kick.wav\"}]}]}",
              read("out/song.json"));
}

// A path that were a short name would mean the sample of that name.
TEST_F(CollectCommandTest, KeepsAwayFromShortNames) {
    write("song.toml", "[samples]\n'samples/kick.wav' = 'b/Kick.wav'\n[[track]]\nclips = [\n"
                       "{ sample = 'samples/kick.wav' }, { sample = 'a/kick.wav' }]");
    EXPECT_EQ(0, run("collect song.toml out").code);
    EXPECT_EQ(
        (std::set<std::string>{"song.toml", "samples", "samples/Kick 2.wav", "samples/kick 3.wav"}),
        list("out"));
}

TEST_F(CollectCommandTest, LeavesNothingBehindWhenTheDiskIsFull) {
    write("a/kick.wav", read("a/kick.wav") + std::string(100000, '\0'));
    fs::create_directory(_dir.get_path() / "empty");
    for (std::string const folder : {"out", "empty"}) {
        auto const outcome = run("collect song.toml " + folder, "trap '' XFSZ; ulimit -f 32; ");
        EXPECT_EQ(4, outcome.code);
        EXPECT_NE(std::string::npos, outcome.err.find("cannot be copied to " + folder))
            << outcome.err;
        EXPECT_EQ("", outcome.out);
    }
    EXPECT_FALSE(fs::exists(_dir.get_path() / "out"));
    EXPECT_TRUE(fs::is_empty(_dir.get_path() / "empty"));
}

TEST_F(CollectCommandTest, EndsPlainlyOnSillyCalls) {
    write("bad.toml", "[[track]]\nclips = [{ sample = 'none.wav' }]\n");
    struct Case {
        char const* args;
        int code;
        char const* message;
    };
    for (Case const& c :
         {Case{"collect", 1, "session is required"},
          Case{"collect song.toml", 1, "folder is required"},
          Case{"collect song.toml a", 1, "a: is not empty; give a new or empty folder"},
          Case{"collect song.toml song.toml", 1, "song.toml: is no folder"},
          Case{"collect song.toml none/out", 4, "none/out: cannot be made"},
          Case{"collect none.toml out", 2, "none.toml: cannot be read"},
          Case{"collect bad.toml out", 2, "bad.toml:2:21: error: none.wav does not exist"}}) {
        auto const outcome = run(c.args);
        EXPECT_EQ(c.code, outcome.code) << c.args;
        EXPECT_NE(std::string::npos, outcome.err.find(c.message)) << outcome.err;
        EXPECT_EQ("", outcome.out);
        EXPECT_FALSE(fs::exists(_dir.get_path() / "out")) << c.args;
    }
}
