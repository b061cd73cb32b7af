#include "host/render/RenderReport.h"

#include "host/render/TimeText.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <fstream>
#include <functional>
#include <iterator>
#include <limits>

using ulk::host::render::Meter;
using ulk::host::render::Percentiles;
using ulk::host::render::RenderReport;
using ulk::host::render::TimeText;

namespace {

constexpr double silence = -std::numeric_limits<double>::infinity();

std::string load(std::string const& name) {
    std::ifstream file(TEST_DATA_DIR "/render/" + name, std::ios::binary);
    EXPECT_TRUE(file.is_open()) << name;
    return {std::istreambuf_iterator<char>(file), {}};
}

Meter::Figures make_figures() {
    Meter::Figures figures;
    figures.nbr_frames = 28800000;
    figures.peak_arr = {-0.3214, silence};
    figures.peak = -0.3214;
    figures.true_peak = 0.126;
    figures.loudness = -16.2345;
    figures.loudness_range = 7.3;
    figures.nbr_clipped = 12;
    figures.nbr_non_finite = 1;
    figures.hash = 0x00d861666eec8ca3u;
    return figures;
}

RenderReport make_small() {
    RenderReport report;
    report.session = "song.toml";
    report.paths = {"-"};
    report.format = {ulk::sacc::SplFileBitFmt_F32, 44100, 1};
    report.nbr_frames = 66150;
    report.block_len = 64;
    report.quality = "fast";
    report.nbr_notes = 1;
    report.max_nbr_voices = 1;
    report.elapsed = 0.0015;
    report.cpu_time = 0.001;
    return report;
}

RenderReport make_full() {
    RenderReport report;
    report.session = "long/song.toml";
    report.paths = {"mix.wav", "copy.wav"};
    report.nbr_frames = 28800000;
    report.block_len = 1024;
    report.quality = "best";
    report.stopped_flag = true;
    report.sound = make_figures();
    report.nbr_notes = 3989;
    for (int k = 1; k <= 12; ++k) {
        std::string const place = "long/clips.csv:" + std::to_string(k) + ":1";
        report.lost_clips.push_back({"Drums", place, k * 0.5, "no voice was free"});
    }
    report.missing_samples = {{"kick.wav", "long/song.toml:12:3", "no such file"}};
    report.holes = {{"long/song.toml:20:5", 61.25, 480}, {"long/song.toml:21:5", 3661.5, 1}};
    report.max_nbr_voices = 64;
    report.cache = {320, 20971520, 210, 12345, 6789, 4001, 3};
    report.block_times.emplace();
    for (int k = 1; k <= 100; ++k) {
        report.block_times->add(k * 25000);
    }
    report.elapsed = 1.75;
    report.cpu_time = 1.8125;
    report.nbr_jobs = 2;
    report.stems = {{"Drums", "stems/Drums.wav", -3.5}, {"Voice", "stems/Voice.wav", silence}};
    report.stem_deviation = -141.25;
    return report;
}

} // namespace

TEST(RenderReportTest, PrintsForPeople) {
    EXPECT_EQ(load("report_full.txt"), make_full().print());
    EXPECT_EQ(load("report_small.txt"), make_small().print());
}

TEST(RenderReportTest, MakesJson) {
    EXPECT_EQ(load("report_full.json"), make_full().make_json().dump(2) + "\n");
    EXPECT_EQ(load("report_small.json"), make_small().make_json().dump(2) + "\n");
}

// The page names every key, so that nobody has to guess one.
TEST(RenderReportTest, EveryKeyIsInTheDocument) {
    std::ifstream file(SOURCE_DIR "/doc/render.md");
    std::string const doc{std::istreambuf_iterator<char>(file), {}};
    std::function<void(nlohmann::ordered_json const&)> const check = [&](auto const& json) {
        for (auto const& [key, val] : json.items()) {
            if (json.is_object()) {
                EXPECT_NE(std::string::npos, doc.find("`" + key + "`")) << key;
            }
            if (val.is_structured()) {
                check(val);
            }
        }
    };
    check(make_full().make_json());
}

TEST(RenderReportTest, KnowsWhenSomethingIsLost) {
    RenderReport const small = make_small();
    EXPECT_FALSE(small.is_lossy(true));
    auto const is_lossy = [&](auto change) {
        RenderReport report = small;
        report.sound = Meter::Figures();
        change(report);
        EXPECT_LE(report.is_lossy(false), report.is_lossy(true));
        return report.is_lossy(false) ? 2 : report.is_lossy(true) ? 1 : 0;
    };
    EXPECT_EQ(0, is_lossy([](RenderReport&) {}));
    EXPECT_EQ(1, is_lossy([](RenderReport& r) { r.sound->nbr_clipped = 1; }));
    EXPECT_EQ(2, is_lossy([](RenderReport& r) { r.sound->nbr_non_finite = 1; }));
    EXPECT_EQ(2, is_lossy([](RenderReport& r) { r.stopped_flag = true; }));
    EXPECT_EQ(2, is_lossy([](RenderReport& r) { r.lost_clips.emplace_back(); }));
    EXPECT_EQ(2, is_lossy([](RenderReport& r) { r.missing_samples.emplace_back(); }));
    EXPECT_EQ(2, is_lossy([](RenderReport& r) { r.holes.emplace_back(); }));
}

TEST(RenderReportTest, NoTimeIsNoSpeed) {
    RenderReport report = make_small();
    EXPECT_NEAR(1000, report.compute_speed(), 1e-9);
    report.elapsed = 0;
    EXPECT_EQ(0, report.compute_speed());
}

TEST(TimeTextTest, Prints) {
    EXPECT_EQ("0:00", TimeText::print(0, 0));
    EXPECT_EQ("0:01", TimeText::print(0.5, 0));
    EXPECT_EQ("0:00.250", TimeText::print(0.25, 3));
    EXPECT_EQ("1:00.000", TimeText::print(59.9999, 3));
    EXPECT_EQ("59:59.9", TimeText::print(3599.94, 1));
    EXPECT_EQ("1:00:00.0", TimeText::print(3599.96, 1));
    EXPECT_EQ("30:00:05", TimeText::print(108005, 0));
    EXPECT_EQ("-0:01.5", TimeText::print(-1.5, 1));
    EXPECT_EQ("0:00.0", TimeText::print(-0.01, 1));
}
