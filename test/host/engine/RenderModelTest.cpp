#include "host/engine/RenderModel.h"
#include "host/engine/RenderRig.h"

using namespace ulk::host::engine;
using test::RenderModel;
using test::RenderRig;

namespace {

constexpr double inaudible = 1e-5; // -100 dB: how slopes end in silence
constexpr char bypass_id[] = "Brevanto#TessitoneBypass";
constexpr char mixer_id[] = "Brevanto#TessitoneDryWet";

class RenderModelTest : public ::testing::Test, public RenderRig {
protected:
    double draw(double low, double high) {
        return std::uniform_real_distribution<double>(low, high)(rng);
    }
    int pick(int nbr) { return std::uniform_int_distribution<int>(0, nbr - 1)(rng); }

    // Compares the mix of the session with the model's, frame by frame.
    void check() {
        auto const mix = render();
        RenderModel model(session, fact_arr, noise_arr, settings.sample_freq,
                          static_cast<long>(mix[0].size()));
        auto const expected = model.render();
        for (std::size_t chn = 0; chn < mix.size(); ++chn) {
            for (std::size_t pos = 0; pos < mix[chn].size(); ++pos) {
                auto const& frame = expected[chn][pos];
                ASSERT_NEAR(frame.val, static_cast<double>(mix[chn][pos]), frame.tol + inaudible)
                    << "channel " << chn << ", frame " << pos;
            }
        }
        EXPECT_TRUE(holes.empty());
        EXPECT_TRUE(dropped.empty());
    }

    void add_samples() {
        double const freq_arr[] = {8000, 22050, 44100, 48000, 96000, 192000};
        for (int nbr_chn : {1, 1, 2, 2, 1 + pick(16)}) {
            double const freq = freq_arr[pick(6)];
            add_noise(nbr_chn, 1 + static_cast<long>(draw(0, 0.15) * freq), freq);
        }
    }
    Session::Curve make_levels(double len) {
        Session::Curve points;
        double time = draw(-0.02, len / 2);
        for (int rest = 1 + pick(4); rest > 0; --rest) {
            points.push_back({time, pick(10) == 0 ? Session::silence : draw(-40, 6)});
            time += pick(5) == 0 ? 0 : draw(0.002, len);
        }
        return points;
    }
    void shape_clip(Session::Clip& clip) {
        if (pick(3) == 0) {
            clip.offset = draw(0, 0.1);
        }
        if (pick(3) == 0) {
            clip.length = draw(0.001, 0.2);
        }
        if (pick(3) == 0) {
            clip.gain = draw(-30, 6);
        }
        if (pick(3) == 0) {
            clip.pitch = draw(-24, 24);
        }
        if (pick(4) == 0) {
            clip.fade_in = draw(0, 0.1);
        }
        if (pick(4) == 0) {
            clip.fade_out = draw(0, 0.1);
        }
        if (pick(4) == 0) {
            clip.volume = make_levels(0.1);
        }
        if (pick(3) == 0) {
            clip.pan = {{0, draw(-1, 1)}};
        } else if (pick(4) == 0) {
            clip.pan = {{draw(0, 0.05), draw(-1, 1)}, {draw(0.2, 0.4), draw(-1, 1)}};
        }
    }
    void add_insert(Session::Track& track, int index) {
        Session::Insert insert;
        insert.plugin = pick(2) == 0 ? bypass_id : mixer_id;
        if (insert.plugin == mixer_id) {
            insert.params.push_back({0, "1", std::to_string(pick(5) * 20 + 10), 0, {}});
            insert.params.push_back({0, "2", std::to_string(-pick(12)), 0, {}});
            if (pick(2) == 0) {
                insert.params.push_back(
                    {draw(0.01, 0.3), "1", std::to_string(pick(5) * 20 + 10), 0, {}});
            }
            insert.dry = static_cast<Session::Dry>(pick(3));
            if (insert.dry == Session::Dry::TRACK && index == 0) {
                insert.dry = Session::Dry::PRE;
            }
            insert.dry_track = index > 0 ? pick(index) : 0;
        }
        track.inserts.push_back(insert);
    }
    // Tracks feed those behind them, so that there is no loop.
    void make_session() {
        session.nbr_chn = pick(3) == 0 ? 1 + pick(16) : 2;
        session.file_arr = {"session"};
        add_samples();
        int const nbr_tracks = 1 + pick(6);
        for (int index = 0; index < nbr_tracks; ++index) {
            int const width_arr[] = {1, 2, 2, 1 + pick(16)};
            add_track("track " + std::to_string(index), width_arr[pick(4)]);
            auto& track = session.track_arr.back();
            if (pick(2) == 0 && index + 1 < nbr_tracks) {
                track.output = index + 1 + pick(nbr_tracks - index - 1);
            }
            if (pick(3) == 0) {
                track.volume = make_levels(0.2);
            }
            track.mute_flag = pick(10) == 0;
            for (int rest = pick(8); rest > 0; --rest) {
                shape_clip(add_clip(index, pick(5), draw(-0.05, 0.3)));
            }
            if (pick(3) == 0) {
                add_insert(track, index);
            }
            if (pick(6) == 0) {
                add_insert(track, index);
            }
        }
        if (pick(3) == 0) {
            session.volume = make_levels(0.2);
        }
    }
};

class RandomSessionTest : public RenderModelTest, public ::testing::WithParamInterface<unsigned> {};

} // namespace

TEST_P(RandomSessionTest, SoundsLikeTheModel) {
    for (unsigned part = 0; part < 16 && !HasFailure(); ++part) {
        unsigned const seed = GetParam() * 16 + part;
        SCOPED_TRACE(seed);
        rng.seed(seed);
        session = {};
        fact_arr.clear();
        noise_arr.clear();
        settings.sample_freq = pick(2) == 0 ? 48000 : pick(2) == 0 ? 44100 : draw(16000, 100000);
        settings.block_len = 1 + pick(2000);
        make_session();
        check();
    }
}

INSTANTIATE_TEST_SUITE_P(Seeds, RandomSessionTest, ::testing::Range(0u, 12u));

TEST_F(RenderModelTest, AFadeEndsWhereItShould) {
    session.file_arr = {"session"};
    int const tone = add_noise(1, 30000, 48000);
    add_track("one", 2);
    auto& clip = add_clip(0, tone, 0.01);
    clip.fade_in = 0.003;
    clip.fade_out = 0.003;
    settings.block_len = 4096;
    check();
}

TEST_F(RenderModelTest, PointsWithinABlockAreMetOnTheirFrames) {
    session.file_arr = {"session"};
    int const tone = add_noise(2, 30000, 48000);
    add_track("one", 2);
    auto& clip = add_clip(0, tone, 0);
    clip.volume = {{0.001, 0}, {0.004, -20}, {0.02, -20}, {0.021, 6}, {0.03, 6}, {0.03, -6}};
    clip.pan = {{0.05, -1}, {0.1, 1}, {0.15, 1}, {0.2, 0}};
    settings.block_len = 8192;
    check();
}

TEST_F(RenderModelTest, AnyRatePlaysAtItsPitchAndLength) {
    session.file_arr = {"session"};
    add_track("one", 2);
    double at = 0;
    for (double const freq : {8000.0, 11025.0, 32000.0, 44100.0, 48000.0, 88200.0, 192000.0}) {
        for (double const pitch : {-24.0, 0.0, 7.0, 24.0}) {
            add_clip(0, add_noise(1, static_cast<long>(freq / 20), freq), at).pitch = pitch;
            at += 0.25;
        }
    }
    check();
}
