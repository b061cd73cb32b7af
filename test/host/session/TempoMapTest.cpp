#include "host/session/TempoMap.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>

using ulk::host::session::TempoMap;

namespace {

// Counts beat for beat, with a bar line wherever one is due.
class TempoModel {
public:
    struct Change {
        int beat; // whole beats
        double bpm;
        int nbr_beats;
    };

    explicit TempoModel(std::vector<Change> const& change_arr, int len) {
        double time = 0;
        int in_bar = 0;
        Change now = change_arr[0];
        std::size_t next = 1;
        for (int beat = 0; beat <= len; ++beat) {
            if (next < change_arr.size() && change_arr[next].beat == beat) {
                now = change_arr[next++];
            }
            if (in_bar == 0) {
                bar_arr.push_back(beat);
                size_arr.push_back(now.nbr_beats);
            }
            time_arr.push_back(time);
            bpm_arr.push_back(now.bpm);
            time += 60 / now.bpm;
            in_bar = (in_bar + 1) % now.nbr_beats;
        }
    }

    double get_time(double beat) const {
        auto const whole = static_cast<std::size_t>(beat);
        return time_arr[whole] + (beat - std::floor(beat)) * 60 / bpm_arr[whole];
    }

    std::vector<double> time_arr; // by beat
    std::vector<double> bpm_arr;
    std::vector<int> bar_arr; // beat of each bar, from bar 1 on
    std::vector<int> size_arr;
};

struct Case {
    TempoMap map;
    std::vector<TempoModel::Change> change_arr;
};

// A map with changes of both kinds; those of a bar's beats at the start of one.
Case make_case(std::mt19937& rnd) {
    auto const make_bpm = [&rnd] { return 30 + static_cast<double>(rnd() % 4000) / 17; };
    std::vector<TempoModel::Change> change_arr = {{0, make_bpm(), static_cast<int>(1 + rnd() % 7)}};
    TempoMap map(change_arr[0].bpm, change_arr[0].nbr_beats);
    int bar_beat = 0;
    for (auto nbr = rnd() % 8; nbr > 0; --nbr) {
        TempoModel::Change const& last = change_arr.back();
        TempoModel::Change change{last.beat + 1 + static_cast<int>(rnd() % 20), make_bpm(),
                                  last.nbr_beats};
        int const in_bar = (change.beat - bar_beat) % last.nbr_beats;
        if (rnd() % 2 == 0) {
            change.beat += in_bar == 0 ? 0 : last.nbr_beats - in_bar;
            change.nbr_beats = static_cast<int>(1 + rnd() % 7);
            bar_beat = change.beat;
        }
        map.add_change(change.beat, change.bpm, change.nbr_beats);
        change_arr.push_back(change);
    }
    return {map, change_arr};
}

} // namespace

TEST(TempoMapTest, AgreesWithCountingBeats) {
    std::mt19937 rnd(2);
    for (int round = 0; round < 300; ++round) {
        auto const [map, change_arr] = make_case(rnd);
        TempoModel const model(change_arr, 250);
        for (int i = 0; i < 30; ++i) {
            double const beat = std::uniform_real_distribution(0., 249.)(rnd);
            EXPECT_NEAR(model.get_time(beat), map.conv_beat_to_time(beat), 1e-9);
            EXPECT_NEAR(beat, map.conv_time_to_beat(map.conv_beat_to_time(beat)), 1e-9);
        }
        for (std::size_t pos = 0; pos + 1 < model.bar_arr.size(); ++pos) {
            auto const bar = static_cast<long long>(pos) + 1;
            double const beat = model.bar_arr[pos];
            EXPECT_NEAR(beat, map.find_bar(bar), 1e-9);
            EXPECT_EQ(model.size_arr[pos], map.get_nbr_beats(bar));
            EXPECT_EQ(bar, map.find_bar_of(map.conv_time_to_beat(map.conv_beat_to_time(beat))));
            EXPECT_EQ(bar, map.find_bar_of(model.bar_arr[pos + 1] - 0.01));
            EXPECT_TRUE(map.is_bar_start(beat));
            EXPECT_FALSE(map.is_bar_start(beat + 0.01));
        }
    }
}

TEST(TempoMapTest, MeasuresLengthsFromBarToBar) {
    std::mt19937 rnd(3);
    for (int round = 0; round < 1000; ++round) {
        auto const [map, change_arr] = make_case(rnd);
        TempoModel const model(change_arr, 400);
        std::size_t const bar = rnd() % 20;
        std::size_t const nbr_bars = rnd() % 20;
        double const in_bar = static_cast<double>(rnd() % 8) * model.size_arr[bar] / 8;
        double const rest = static_cast<double>(rnd() % 30) / 4;
        EXPECT_NEAR(
            model.bar_arr[bar + nbr_bars] + in_bar + rest,
            map.add_length(model.bar_arr[bar] + in_bar, static_cast<long long>(nbr_bars), rest),
            1e-9);
    }
}

TEST(TempoMapTest, GoesOnBeforeTheStart) {
    TempoMap map(60, 3);
    map.add_change(6, 120, 4);
    EXPECT_EQ(-4, map.conv_beat_to_time(-4));
    EXPECT_EQ(-4, map.conv_time_to_beat(-4));
    EXPECT_EQ(-1, map.find_bar_of(-4));
    EXPECT_EQ(-6, map.find_bar(-1));
    EXPECT_EQ(2, map.add_length(-1, 1, 0));
}
