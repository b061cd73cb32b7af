// tessitone play, record and devices as a user meets them, on the device without sound.

#include "support/CommandRun.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <sys/stat.h>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;

class PlayCommandTest : public ::testing::Test {
protected:
    PlayCommandTest() {
        fs::copy(SOURCE_DIR "/examples", dir.get_path(), fs::copy_options::recursive);
    }
    test::CommandRun run(std::string const& args) {
        return test::CommandRun::run(dir.get_path(), args);
    }

    test::TempDir dir;
};

constexpr char session[] = "03_rates_and_pitches.toml";

} // namespace

TEST_F(PlayCommandTest, PlaysASessionToItsEndAndReports) {
    auto const rendered = run(std::string("render --json ") + session);
    ASSERT_EQ(0, rendered.code) << rendered.err;
    long long const len = nlohmann::json::parse(rendered.out)["frames"];
    auto const played = run(std::string("play --device none --json ") + session);
    auto const report = nlohmann::json::parse(played.out);
    EXPECT_GE(report["frames"], len);
    EXPECT_EQ("none", report["device"]);
    EXPECT_EQ(256, report["block"]);
    EXPECT_GE(report["voices_max"], 1);
    // The system may grant a priority or not: what to do is told if it does not.
    EXPECT_EQ(report["real_time"], played.err.find("rtprio") == std::string::npos) << played.err;
    EXPECT_TRUE(report["failure"].is_null());
    EXPECT_LT(report["peaks_db"][0], 24);
    EXPECT_GT(report["peaks_db"][0], -60);
    EXPECT_GT(report["cells_max"], 0);
    long long sum = 0;
    for (auto const& step : report["waits"]["histogram"]) {
        sum += step["blocks"].get<long long>();
    }
    EXPECT_EQ(report["blocks"], sum);
    // A machine that is busy elsewhere may not keep the time.
    bool const lossy_flag = report["xruns"] > 0 || !report["holes"].empty();
    EXPECT_EQ(lossy_flag ? 3 : 0, played.code) << played.err;
}

// As a render does.
TEST_F(PlayCommandTest, AClipWithoutItsSampleIsALoss) {
    fs::remove(dir.get_path() / "samples/pad.wav");
    auto const played = run(std::string("play --device none --json ") + session);
    EXPECT_EQ(3, played.code);
    EXPECT_NE(std::string::npos, played.err.find("pad.wav")) << played.err;
    auto const lost = nlohmann::json::parse(played.out)["dropped_notes"];
    auto const rendered = run(std::string("render --json ") + session);
    EXPECT_FALSE(lost.empty());
    EXPECT_EQ(nlohmann::json::parse(rendered.out)["dropped_notes"], lost);
}

TEST_F(PlayCommandTest, APriorityThatIsRefusedIsTold) {
    // The superuser is asked no limit.
    std::string const setting =
        std::string("ulimit -r 0; ") + (::geteuid() == 0 ? "setpriv --bounding-set -sys_nice" : "");
    auto const played = test::CommandRun::run(
        dir.get_path(), std::string("play --device none --json ") + session, setting);
    EXPECT_FALSE(nlohmann::json::parse(played.out)["real_time"]);
    EXPECT_NE(std::string::npos, played.err.find("rtprio")) << played.err;
    auto const recorded = test::CommandRun::run(
        dir.get_path(), "record take.wav --device none --length 0.2", setting);
    EXPECT_NE(std::string::npos, recorded.err.find("rtprio")) << recorded.err;
}

TEST_F(PlayCommandTest, APlugInThatThrowsEndsTheSoundWithAReport) {
    auto const played =
        run(std::string("play --json --device none --bundle " FAULTY_DIR "/throws.so ") + session);
    EXPECT_EQ(2, played.code);
    EXPECT_NE(std::string::npos, played.err.find(", player: let out")) << played.err;
    auto const report = nlohmann::json::parse(played.out);
    EXPECT_NE(std::string::npos, report["failure"].get<std::string>().find("let out"));
    EXPECT_EQ(0, report["time_s"]);
}

TEST_F(PlayCommandTest, DevicesThatAreNotThereAreTold) {
    auto const played = run(std::string("play --device 'no such' ") + session);
    EXPECT_EQ(2, played.code);
    EXPECT_NE(std::string::npos, played.err.find("tessitone devices")) << played.err;
    auto const list = nlohmann::json::parse(run("devices --json").out);
    EXPECT_TRUE(std::any_of(list.begin(), list.end(),
                            [](auto const& info) { return info["name"] == "none"; }));
}

TEST_F(PlayCommandTest, ReportsAPathThatIsNoText) {
    fs::copy(dir.get_path() / session, dir.get_path() / "a\xff.toml");
    auto const played = run("play --device none --json --from 1 'a\xff.toml'");
    EXPECT_TRUE(played.code == 0 || played.code == 3) << played.err;
    EXPECT_TRUE(nlohmann::json::accept(played.out)) << played.out;
}

TEST_F(PlayCommandTest, RefusesTimesThatAreNone) {
    auto const twisted = run(std::string("play --device none --loop 2 1 ") + session);
    EXPECT_EQ(1, twisted.code);
    EXPECT_NE(std::string::npos, twisted.err.find("--loop 2 1")) << twisted.err;
    EXPECT_EQ(1, run(std::string("play --device none --from soon ") + session).code);
    for (std::string const option : {"--from 1000", "--loop 1000 1001", "--loop 1 1.000001"}) {
        auto const refused = run("play --device none " + option + " " + session);
        EXPECT_EQ(1, refused.code);
        EXPECT_NE(std::string::npos, refused.err.find(option)) << refused.err;
    }
    EXPECT_EQ(1, run(std::string("play --device none --block 5 ") + session).code);
    EXPECT_NE(0, run("play --device none missing.toml").code);
}

TEST_F(PlayCommandTest, RecordsAsLongAsAsked) {
    auto const outcome = run("record take.wav --device none --length 0.5 --format s16");
    EXPECT_TRUE(outcome.code == 0 || outcome.code == 3) << outcome.err;
    EXPECT_EQ(44u + 24000 * 4, fs::file_size(dir.get_path() / "take.wav"));
    EXPECT_EQ(4, run("record none/take.wav --device none --length 0.5").code);
    auto const told = run("record take.wav --device none --length 0.25 --channels 3 --json");
    auto const report = nlohmann::json::parse(told.out);
    EXPECT_EQ("take.wav", report["file"]);
    EXPECT_EQ("none", report["device"]);
    EXPECT_EQ(12000, report["frames"]);
    EXPECT_EQ(0, report["lost_frames"]);
    EXPECT_EQ(48000, report["rate"]);
    EXPECT_EQ(3u, report["peaks_db"].size());
    EXPECT_TRUE(report["failure"].is_null());
    EXPECT_FALSE(report["full"]);
    EXPECT_TRUE(report.contains("waits"));
    EXPECT_TRUE(report["gaps"].empty());
    EXPECT_EQ(0, report["gap_count"]);
}

TEST_F(PlayCommandTest, RefusesToRecordOverASession) {
    auto const before = test::CommandRun::read_file(dir.get_path() / session);
    auto const refused = run(std::string("record --device none --length 0.2 ") + session);
    EXPECT_EQ(1, refused.code);
    EXPECT_EQ("tessitone: " + std::string(session) +
                  ": is there and no WAV file; give another name\n",
              refused.err);
    EXPECT_EQ(before, test::CommandRun::read_file(dir.get_path() / session));
}

TEST_F(PlayCommandTest, ALossDoesNotHideAReportThatIsNotWritten) {
    fs::remove(dir.get_path() / "samples/pad.wav");
    auto const played = run(std::string("play --device none ") + session + " >/dev/full");
    EXPECT_EQ(4, played.code);
    EXPECT_NE(std::string::npos, played.err.find("writing to standard output failed"))
        << played.err;
    EXPECT_EQ(4, run("--help >/dev/full").code);
}

TEST_F(PlayCommandTest, RefusesToRecordIntoWhatIsNoFile) {
    for (auto const& [path, reason] : {std::pair{"pipe.wav", "a pipe or a device has that name"},
                                       {"/dev/null", "a pipe or a device has that name"},
                                       {"samples", "a folder has that name"},
                                       {"-", "standard output takes no headers later on"},
                                       {"none/take.wav", "its folder is not there"}}) {
        ::mkfifo((dir.get_path() / "pipe.wav").c_str(), 0600);
        auto const refused = run(std::string("record --device none --length 0.2 ") + path);
        EXPECT_EQ(4, refused.code) << path;
        EXPECT_NE(std::string::npos,
                  refused.err.find(std::string(path) + ": cannot be made, since " + reason))
            << refused.err;
    }
}
