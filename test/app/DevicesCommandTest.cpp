// tessitone devices, and what play says, where there is no sound system.

#include "support/CommandRun.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include <fstream>

using test::CommandRun;

namespace {

class DevicesCommandTest : public ::testing::Test {
protected:
    // What the libraries look for is not there.
    CommandRun run(std::string const& args, std::string const& setting = "ALSA_CONFIG_PATH=none") {
        return CommandRun::run(_dir.get_path(), args,
                               "HOME=. XDG_RUNTIME_DIR=. PULSE_SERVER=unix:./nowhere "
                               "JACK_DEFAULT_SERVER=tessitone_nowhere " +
                                   setting);
    }
    void write(std::string const& name, std::string const& txt) const {
        std::ofstream(_dir.get_path() / name) << txt;
    }

private:
    test::TempDir _dir;
};

} // namespace

TEST_F(DevicesCommandTest, ListsTheDeviceWithoutSoundAndPrintsNothingElse) {
    auto const listed = run("devices");
    EXPECT_EQ(0, listed.code);
    EXPECT_EQ("silent:none: 16 out, 16 in\n", listed.out);
    EXPECT_EQ("", listed.err);
    auto const json = nlohmann::json::parse(run("devices --json").out);
    ASSERT_EQ(1u, json.size());
    EXPECT_EQ(nlohmann::json({{"name", "none"},
                              {"system", "silent"},
                              {"outputs", 16},
                              {"inputs", 16},
                              {"plays_by_default", false},
                              {"records_by_default", false},
                              {"rates", nlohmann::json::array()}}),
              json[0]);
}

// The system's own settings, which name a card that may not be there.
TEST_F(DevicesCommandTest, LibrariesOfSoundPrintNothing) {
    auto const listed = run("devices", "");
    EXPECT_EQ(0, listed.code);
    EXPECT_EQ("", listed.err);
}

TEST_F(DevicesCommandTest, PlayAndRecordTellInOneLineThatThereIsNoDevice) {
    write("song.toml", "[[track]]\n");
    std::string const none =
        "tessitone: there is no sound device; \"tessitone devices\" lists what there is\n";
    auto const played = run("play song.toml");
    EXPECT_EQ(2, played.code);
    EXPECT_EQ(none, played.err);
    auto const recorded = run("record take.wav");
    EXPECT_EQ(2, recorded.code);
    EXPECT_EQ(none, recorded.err);
}
