#include "host/live/PlayReport.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <fstream>
#include <iterator>

using ulk::host::Error;
using ulk::host::live::PlayReport;

namespace {

std::string load(std::string const& name) {
    std::ifstream file(TEST_DATA_DIR "/live/" + name, std::ios::binary);
    EXPECT_TRUE(file.is_open()) << name;
    return {std::istreambuf_iterator<char>(file), {}};
}

PlayReport make_clean() {
    PlayReport report;
    report.session = "song.toml";
    report.device = "system";
    report.sample_freq = 48000;
    report.block_len = 64;
    report.nbr_chn = 2;
    report.time = 61.5;
    report.stat.nbr_frames = 2954880;
    report.stat.nbr_blocks = 3;
    report.stat.max_voices = 17;
    report.stat.peaks = {0.5f, 0.f};
    report.stat.nbr_cells = 128;
    report.stat.max_cells_full = 90;
    for (int time : {500, 1500, 1600}) {
        report.stat.waits.add(time);
        report.stat.works.add(60 * time);
    }
    report.real_time = true;
    return report;
}

PlayReport make_lossy() {
    PlayReport report = make_clean();
    report.stat.nbr_jumps = 4;
    report.stat.nbr_late = 480;
    report.stat.nbr_long_waits = 1;
    report.nbr_xruns = 2;
    report.real_time = false;
    report.lost_clips = {{"Drums", "song.toml:7:5", 3.5, "its sample cannot be used"}};
    report.losses = {{"song.toml:9:5", 12.25, 4800, false}, {"clips.csv:3", 60, 1, true}};
    report.failure = Error(Error::Kind_IO, "the sound device system is gone");
    return report;
}

} // namespace

TEST(PlayReportTest, TellsWhatIsThereToBeTold) {
    EXPECT_EQ(load("report_clean.txt"), make_clean().print());
    EXPECT_EQ(load("report_clean.json"), make_clean().make_json().dump(2) + "\n");
    EXPECT_FALSE(make_clean().is_lossy());
}

TEST(PlayReportTest, TellsAllLosses) {
    EXPECT_EQ(load("report_lossy.txt"), make_lossy().print());
    EXPECT_EQ(load("report_lossy.json"), make_lossy().make_json().dump(2) + "\n");
}

TEST(PlayReportTest, EachLossCounts) {
    PlayReport const all = make_lossy();
    auto const is_lossy = [](auto set) {
        PlayReport report = make_clean();
        set(report);
        return report.is_lossy();
    };
    EXPECT_TRUE(is_lossy([&](PlayReport& report) { report.losses = all.losses; }));
    EXPECT_TRUE(is_lossy([&](PlayReport& report) { report.lost_clips = all.lost_clips; }));
    EXPECT_TRUE(is_lossy([&](PlayReport& report) { report.nbr_xruns = 1; }));
    EXPECT_TRUE(is_lossy([&](PlayReport& report) { report.stat.nbr_late = 1; }));
    EXPECT_FALSE(is_lossy([&](PlayReport& report) { report.real_time.reset(); }));
}
