// Sound through ALSA, whose default device stands for a server or for none at all.

#include "host/Error.h"
#include "host/live/PulseServer.h"
#include "host/live/SoundRig.h"
#include "support/CommandRun.h"

#include <nlohmann/json.hpp>

using namespace ulk::host;
using test::CommandRun;
using test::PulseServer;
using test::SoundRig;

namespace {

class AlsaTest : public ::testing::Test, public SoundRig {
protected:
    void SetUp() override { ASSERT_TRUE(server.is_running()) << server.read_output(); }

    // What the default device is, in the language of ALSA's settings; the server serves as its
    // mixer, without which RtAudio does not look at it.
    void set_default(std::string const& txt) {
        std::string const path = dir.make_name("alsa.conf");
        std::ofstream(path) << "ctl.!default { type pulse }\npcm.!default { " << txt << " }\n";
        ::setenv("ALSA_CONFIG_PATH", path.c_str(), 1);
    }

    PulseServer server;
};

} // namespace

TEST_F(AlsaTest, ADeviceThatOnlyPlaysIsTheDefaultToPlayTo) {
    set_default("type asym playback.pcm { type null }");
    live::DeviceModule devices(BUILD_DIR);
    EXPECT_EQ("default", devices.open({"ALSA:", 48000, 256, 2, 0})->get_name());
    EXPECT_THROW(devices.open({"ALSA:", 48000, 256, 0, 2}), Error);
}

TEST_F(AlsaTest, ADeviceThatRacesIsGone) {
    set_default("type null");
    write_long_song();
    auto const played =
        CommandRun::run(dir.get_path(), "play song.toml --device ALSA: --json --loop 0 50");
    EXPECT_EQ(4, played.code) << played.err;
    EXPECT_TRUE(played.err.ends_with("tessitone: the sound device default is gone; is its server "
                                     "still running, and the device plugged in?\n"))
        << played.err;
    EXPECT_EQ("default", nlohmann::json::parse(played.out)["device"]);
}

TEST_F(AlsaTest, ASessionPlaysToItsEnd) {
    set_default("type pulse");
    add_noise(2, 60000, 48000);
    std::ofstream(dir.get_path() / "song.toml")
        << "[[track]]\nclips = [{ sample = \"sample 0.wav\" }]\n";
    auto const played =
        CommandRun::run(dir.get_path(), "play song.toml --device ALSA:default --block 1024 --json");
    EXPECT_TRUE(played.code == 0 || played.code == 3) << played.err;
    auto const report = nlohmann::json::parse(played.out);
    EXPECT_EQ("default", report["device"]);
    EXPECT_NEAR(60000. / 48000, report["time_s"].get<double>(), 0.1);
    EXPECT_LT(report["frames"], 5 * 48000);
}
