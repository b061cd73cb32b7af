#include "host/engine/NotePlan.h"

#include <gtest/gtest.h>

#include <cmath>
#include <map>
#include <random>

using namespace ulk::host::engine;
using Session = ulk::host::session::Session;

namespace {

class NotePlanTest : public ::testing::Test {
protected:
    NotePlanTest() {
        _session.track_arr.resize(1);
        _session.sample_arr.resize(4);
        _fact_arr.resize(4);
        set_facts(0, 48000, 48000, 1);
        set_facts(1, 1, 48000, 2);
        set_facts(3, 22050, 22050, 2);
    }

    void set_facts(std::size_t sample, long long len, double freq, int nbr_chn) {
        _fact_arr[sample].len = len;
        _fact_arr[sample].sample_freq = freq;
        _fact_arr[sample].nbr_chn = nbr_chn;
    }
    Session::Clip& add(int sample, double at) {
        Session::Clip clip;
        clip.sample = sample;
        clip.at = at;
        _session.track_arr[0].clips.push_back(clip);
        return _session.track_arr[0].clips.back();
    }
    NotePlan make() const { return NotePlan(_session, _fact_arr, _settings); }
    // The one note of the session; none when there is none.
    std::vector<Note> make_notes() const {
        auto const plan = make();
        return plan.use_players(0).empty() ? std::vector<Note>() : plan.use_players(0)[0];
    }

    Session _session;
    std::vector<SampleFacts> _fact_arr;
    NotePlan::Settings _settings;
};

} // namespace

TEST_F(NotePlanTest, AClipBeginsOnItsFrame) {
    add(0, 1.5);
    auto const note = make_notes().at(0);
    EXPECT_EQ(72000, note.beg);
    EXPECT_EQ(0, note.pos);
    EXPECT_EQ(Note::never, note.off);
    EXPECT_GE(note.end, 72000 + 48001);
    EXPECT_LE(note.end, 72000 + 48020);
    EXPECT_EQ(120000, make().get_end());
}

TEST_F(NotePlanTest, WhatLiesBeforeTheStartIsCutFromTheHead) {
    add(3, -0.25);
    auto const note = make_notes().at(0);
    EXPECT_EQ(0, note.beg);
    EXPECT_NEAR(0.25, note.pos, 1e-12);
    EXPECT_EQ(-12000 + NotePlan::lead, note.clip_beg);
    _settings.first = 24000; // the same from further on
    auto const later = make_notes().at(0);
    EXPECT_NEAR(0.75, later.pos, 1e-12);
    EXPECT_EQ(make().get_end(), 36000);
}

TEST_F(NotePlanTest, ClipsThatAreOverAreLeftOut) {
    add(0, -1);
    add(0, -2).length = 1.5;
    add(0, -0.5).length = 0.5;
    add(0, 5).offset = 1;
    add(0, 5).offset = 1e300;
    add(2, 0);
    EXPECT_TRUE(make_notes().empty());
    EXPECT_EQ(0, make().get_end());
}

TEST_F(NotePlanTest, LengthsEndANoteUnlessTheSampleDoes) {
    add(0, 0).length = 0.5;
    add(0, 0).length = 1;
    add(0, 0).length = 1e300;
    auto const note_arr = make_notes();
    EXPECT_EQ(24000 + NotePlan::lead, note_arr[0].off);
    EXPECT_EQ(Note::never, note_arr[1].off);
    EXPECT_EQ(Note::never, note_arr[2].off);
}

TEST_F(NotePlanTest, WhatIsHeardIsKnownToTheFrame) {
    for (int offset = 0; offset < 3000; ++offset) {
        SCOPED_TRACE(offset);
        _session.track_arr[0].clips.clear();
        add(0, 0.25).offset = offset / 48000.0;
        auto& cut = add(0, 0.25);
        cut.offset = offset / 48000.0;
        cut.length = 0.5;
        auto const note_arr = make_notes();
        for (auto const& note : note_arr) {
            ASSERT_EQ(12000 + NotePlan::lead, note.heard_beg);
        }
        ASSERT_EQ(12000 + 48000 - offset + NotePlan::lead, note_arr[0].heard_end);
        ASSERT_EQ(12000 + 24000 + 240 + NotePlan::lead, note_arr[1].heard_end);
    }
}

TEST_F(NotePlanTest, StereoOnAMonoTrackGoesToAPinOfItsOwn) {
    _session.track_arr[0].nbr_chn = 1;
    add(0, 0);
    EXPECT_FALSE(make().has_stereo_pin(0));
    add(3, 0);
    EXPECT_TRUE(make().has_stereo_pin(0));
    EXPECT_EQ(0, make_notes()[0].pin);
    EXPECT_EQ(1, make_notes()[1].pin);
}

// A voice is taken for all blocks that its note touches. None of a player's may ever be wanting.
TEST_F(NotePlanTest, NoPlayerNeedsMoreVoicesThanItHas) {
    for (unsigned seed = 0; seed < 60; ++seed) {
        std::mt19937 rng(seed);
        auto const draw = [&](double low, double high) {
            return std::uniform_real_distribution<double>(low, high)(rng);
        };
        _session.track_arr[0].clips.clear();
        _settings.block_len = 1 + static_cast<long>(draw(0, 3000));
        _settings.first = static_cast<long long>(draw(0, 10000));
        int const nbr_clips = 1 + static_cast<int>(draw(0, 700));
        for (int rest = nbr_clips; rest > 0; --rest) {
            auto& clip = add(rest % 3 == 0 ? 1 : 0, std::round(draw(-0.2, 1) * 20) / 20);
            clip.length = draw(0.001, 1.2);
            clip.pitch = draw(-24, 24);
        }
        auto const plan = make();
        long nbr_notes = 0;
        for (auto const& note_arr : plan.use_players(0)) {
            std::map<long long, int> step_map; // block, voices more from there on
            long long last_beg = 0;
            for (Note const& note : note_arr) {
                EXPECT_LE(last_beg, note.beg);
                last_beg = note.beg;
                ++step_map[note.beg / _settings.block_len];
                --step_map[note.end / _settings.block_len + 1];
                ++nbr_notes;
            }
            int sum = 0;
            for (auto const& step : step_map) {
                sum += step.second;
                ASSERT_LE(sum, NotePlan::nbr_voices);
            }
        }
        long nbr_expected = 0;
        for (auto const& clip : _session.track_arr[0].clips) {
            long long const at = std::llround(clip.at * 48000) - _settings.first;
            double const rate = std::exp2(clip.pitch / 12);
            auto const& facts = _fact_arr[static_cast<std::size_t>(clip.sample)];
            bool const over_flag =
                static_cast<double>(-at) * rate >= static_cast<double>(facts.len) ||
                std::llround((clip.at + clip.length) * 48000) - _settings.first <= 0;
            nbr_expected += over_flag ? 0 : 1;
        }
        EXPECT_EQ(nbr_expected, nbr_notes);
    }
}

TEST_F(NotePlanTest, APlayerForEachSixteenAtOnce) {
    for (int count = 0; count < 16; ++count) {
        add(0, 0);
    }
    EXPECT_EQ(1u, make().use_players(0).size());
    add(0, 0);
    EXPECT_EQ(2u, make().use_players(0).size());
    for (int count = 17; count < 1000; ++count) {
        add(0, 0.9);
    }
    EXPECT_EQ(63u, make().use_players(0).size());
    add(0, 3);
    EXPECT_EQ(63u, make().use_players(0).size());
}

// The demand that is told is the true one's upper bound, and not far above.
TEST_F(NotePlanTest, CellsAreEnoughAtAnyTime) {
    constexpr long cell_len = 8192;
    constexpr long span = 12288;
    for (unsigned seed = 0; seed < 20; ++seed) {
        std::mt19937 rng(seed);
        std::uniform_real_distribution<double> dist(0, 1);
        _session.track_arr[0].clips.clear();
        for (int rest = 40; rest > 0; --rest) {
            auto& clip = add(rest % 2 == 0 ? 0 : 3, 4 * dist(rng));
            clip.pitch = 48 * dist(rng) - 24;
            clip.offset = dist(rng) / 2;
        }
        auto const plan = make();
        long const told = plan.find_nbr_cells(cell_len, span);
        long most = 0;
        for (long long pos = 0; pos < 5 * 48000; pos += 997) {
            long sum = 0;
            for (auto const& note_arr : plan.use_players(0)) {
                for (Note const& note : note_arr) {
                    long long const a = std::max(pos, note.beg);
                    long long const b = std::min(pos + span, note.end);
                    if (a < b) {
                        auto const range = note.find_ahead(note.find_range(a, b));
                        long const block_len = cell_len / note.nbr_chn;
                        sum +=
                            static_cast<long>((range.end - 1) / block_len - range.beg / block_len) +
                            1;
                    }
                }
            }
            most = std::max(most, sum);
        }
        EXPECT_GE(told, most) << seed;
        EXPECT_LE(told, 3 * most + 64) << seed;
    }
}

// What a voice reads lies within what is told for it: positions as the reader adds them up.
TEST(NoteTest, TheRangeHoldsAllThatIsRead) {
    std::mt19937 rng(7);
    std::uniform_real_distribution<double> dist(0, 1);
    for (int count = 0; count < 2000; ++count) {
        Note note = {};
        note.rate = static_cast<float>(std::exp2(8 * dist(rng) - 4));
        note.src_beg = dist(rng) < 0.5 ? 0 : 1e6 * dist(rng);
        note.spl_len = 1LL << 40;
        note.spl_freq = 48000;
        note.beg = static_cast<long long>(1e5 * dist(rng));
        double pos = note.src_beg;
        long const block_len = 1 + static_cast<long>(3000 * dist(rng));
        for (long long frame = note.beg; frame < note.beg + 200 * block_len; frame += block_len) {
            auto const range = note.find_range(frame, frame + block_len);
            double const last =
                pos - 1 + static_cast<double>(static_cast<float>(block_len - 1) * note.rate);
            ASSERT_LE(range.beg, std::max(0LL, static_cast<long long>(std::floor(pos - 1))));
            ASSERT_GE(range.end, static_cast<long long>(std::floor(last)) + 2);
            pos += static_cast<double>(static_cast<float>(block_len) * note.rate);
        }
    }
}

// Of one source frame that is not there, at any rate.
TEST(NoteTest, AGapTakesTheFramesThatTouchIt) {
    std::mt19937 rng(9);
    std::uniform_real_distribution<double> dist(0, 1);
    for (int count = 0; count < 300; ++count) {
        Note note = {};
        bool const same_flag = dist(rng) < 0.3;
        note.rate = same_flag ? 1.f : static_cast<float>(std::exp2(8 * dist(rng) - 4));
        note.src_beg = same_flag ? std::floor(1e5 * dist(rng)) : 1e5 * dist(rng);
        note.spl_len = 1LL << 40;
        note.beg = static_cast<long long>(1e5 * dist(rng));
        long long const gap =
            static_cast<long long>(note.src_beg) + static_cast<long long>(2000 * dist(rng));
        auto const frames = note.find_frames(note.beg, note.beg + 40000, {gap, gap + 1});
        for (long long frame = note.beg; frame < note.beg + 40000; ++frame) {
            double const pos =
                note.src_beg - 1 +
                static_cast<double>(frame - note.beg) * static_cast<double>(note.rate);
            double const dist_to_gap = std::fabs(pos - static_cast<double>(gap));
            if (std::fabs(dist_to_gap - 1) > 1e-3) {
                ASSERT_EQ(dist_to_gap < 1, frame >= frames.beg && frame < frames.end) << pos;
            } else if (same_flag) {
                ASSERT_FALSE(frame >= frames.beg && frame < frames.end);
            }
        }
    }
}
