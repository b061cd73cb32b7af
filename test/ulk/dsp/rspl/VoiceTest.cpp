#include "ulk/dsp/rspl/Voice.h"
#include "ulk/dsp/SplDataRetrievalInterface.h"
#include "ulk/dsp/rspl/InterpolatorHermite43.h"
#include "ulk/dsp/rspl/InterpolatorLerp.h"

#include <cmath>
#include <limits>

namespace {

using namespace ulk::dsp::rspl;

// A sample in memory that checks every request.
class Source : public ulk::dsp::SplDataRetrievalInterface {
public:
    Source(long len, int nbr_chn)
        : _chn_arr(static_cast<std::size_t>(nbr_chn)) {
        std::mt19937 rnd(11);
        std::uniform_real_distribution<float> dist(-1, 1);
        for (auto& chn : _chn_arr) {
            chn.resize(static_cast<std::size_t>(len));
            std::generate(chn.begin(), chn.end(), [&] { return dist(rnd); });
        }
    }
    long long get_len() const { return static_cast<long long>(_chn_arr[0].size()); }
    int get_nbr_chn() const { return static_cast<int>(_chn_arr.size()); }
    float get(int chn, long long pos) const {
        return pos < 0 || pos >= get_len()
                   ? 0.0f
                   : _chn_arr[static_cast<std::size_t>(chn)][static_cast<std::size_t>(pos)];
    }

protected:
    void do_get_data(float** chn_arr, long long pos, long nbr_spl, bool backward_flag) override {
        ASSERT_GT(nbr_spl, 0);
        ASSERT_GE(pos, 0);
        ASSERT_LE(pos + nbr_spl, get_len());
        for (int chn = 0; chn < get_nbr_chn(); ++chn) {
            for (long i = 0; i < nbr_spl; ++i) {
                chn_arr[chn][i] = get(chn, backward_flag ? pos + nbr_spl - 1 - i : pos + i);
            }
        }
    }

private:
    std::vector<std::vector<float>> _chn_arr;
};

struct Scene {
    bool hermite_flag = false;
    bool backward_flag = false;
    long long pos = 0;
    unsigned int frac = 0;
    double rate = 1;
    double rate_step = 0;
    Voice::LoopMode loop_mode = Voice::LoopMode_NONE;
    long long loop_beg = 0;
    long long loop_len = 0;
};

using Output = std::vector<std::vector<float>>;

// What the voice has to play, with the cursor walking frame by frame.
class Model {
public:
    Model(Source const& src, Scene const& scene)
        : _src(src)
        , _scene(scene)
        , _beg(std::max(scene.loop_beg, 0LL))
        , _end(std::min(scene.loop_beg + scene.loop_len, src.get_len()))
        , _pos(scene.pos)
        , _dir(scene.backward_flag ? -1 : 1) {
        if (scene.hermite_flag) {
            _pos -= _dir;
        }
    }

    Output run(long nbr_spl) {
        Output out(static_cast<std::size_t>(_src.get_nbr_chn()));
        long long frac = _scene.frac;
        long long rate = ulk::math::FixedPoint::from_double(_scene.rate).get_raw();
        long long const step = ulk::math::FixedPoint::from_double(_scene.rate_step).get_raw();
        bool dead_flag = false;
        for (long i = 0; i < nbr_spl; ++i) {
            dead_flag = dead_flag || rate <= 0 || is_outside();
            for (int chn = 0; chn < _src.get_nbr_chn(); ++chn) {
                out[static_cast<std::size_t>(chn)].push_back(
                    dead_flag ? 0.0f
                              : interpolate(chn, std::ldexp(static_cast<double>(frac), -32)));
            }
            frac += rate;
            rate += step;
            for (; frac >= 1LL << 32 && !dead_flag; frac -= 1LL << 32) {
                walk(_pos, _dir);
            }
        }
        _frac = static_cast<unsigned int>(frac);
        return out;
    }

    long long get_pos() const { return _pos + (_scene.hermite_flag ? _dir : 0); }
    unsigned int _frac = 0; // after run()

private:
    bool is_outside() const { return _dir > 0 ? _pos >= _src.get_len() : _pos < 0; }

    void walk(long long& pos, int& dir) const {
        bool const loop_flag = _scene.loop_mode != Voice::LoopMode_NONE && _beg < _end;
        bool const back_flag = _scene.loop_mode == Voice::LoopMode_BACK_AND_FORTH;
        if (loop_flag && dir > 0 && pos == _end - 1) {
            pos = back_flag ? _end - 1 : _beg;
            dir = back_flag ? -1 : 1;
        } else if (loop_flag && dir < 0 && pos == _beg) {
            pos = back_flag ? _beg : _end - 1;
            dir = back_flag ? 1 : -1;
        } else {
            pos += dir;
        }
    }

    float interpolate(int chn, double f) const {
        long long pos = _pos;
        int dir = _dir;
        double x[4];
        for (double& val : x) {
            val = _src.get(chn, pos);
            walk(pos, dir);
        }
        if (!_scene.hermite_flag) {
            return static_cast<float>(x[0] + f * (x[1] - x[0]));
        }
        double const c1 = (x[2] - x[0]) / 2;
        double const c3 = (x[1] - x[2]) * 1.5 + (x[3] - x[0]) / 2;
        double const c2 = x[0] - x[1] + c1 - c3;
        return static_cast<float>(x[1] + ((c2 + c3 * f) * f + c1) * f);
    }

    Source const& _src;
    Scene const _scene;
    long long const _beg;
    long long const _end;
    long long _pos;
    int _dir;
};

// A voice with all that it needs.
class Rig {
public:
    Rig(Source& src, Scene const& scene, long tmp_len = 256)
        : _src(src)
        , _tmp(static_cast<std::size_t>(tmp_len)) {
        _voice.set_interpolator(scene.hermite_flag ? static_cast<InterpolatorInterface&>(_hermite)
                                                   : static_cast<InterpolatorInterface&>(_lerp));
        _voice.set_sample_freq(48000, 0);
        _voice.set_tmp_buf(_tmp.data(), tmp_len);
        _voice.activate(src, src.get_len(), src.get_nbr_chn(), 48000);
        _voice.set_direction(scene.backward_flag);
        _voice.set_playback_pos(scene.pos, scene.frac);
        _voice.set_loop_info(scene.loop_mode, scene.loop_beg, scene.loop_len);
        _voice.set_rate(scene.rate, scene.rate_step);
    }

    // Blocks of up to max_len frames, or one of all.
    Output run(long nbr_spl, long max_len = 0, unsigned seed = 0) {
        std::mt19937 rnd(seed);
        Output out(static_cast<std::size_t>(_src.get_nbr_chn()));
        std::vector<float*> dest_arr(out.size());
        for (auto& chn : out) {
            chn.assign(static_cast<std::size_t>(nbr_spl), 99.0f);
        }
        for (long pos = 0; pos < nbr_spl;) {
            long len = nbr_spl - pos;
            if (max_len > 0) {
                len = std::min(len, 1 + static_cast<long>(rnd()) % max_len);
            }
            for (std::size_t chn = 0; chn < out.size(); ++chn) {
                dest_arr[chn] = out[chn].data() + pos;
            }
            _voice.process_block(dest_arr.data(), len);
            pos += len;
        }
        return out;
    }

    Voice _voice;

private:
    Source& _src;
    std::vector<float> _tmp;
    InterpolatorLerp _lerp;
    InterpolatorHermite43 _hermite;
};

void check(Output const& out, Output const& expected, double tol) {
    ASSERT_EQ(out.size(), expected.size());
    for (std::size_t chn = 0; chn < out.size(); ++chn) {
        for (std::size_t i = 0; i < out[chn].size(); ++i) {
            ASSERT_NEAR(out[chn][i], expected[chn][i], tol) << chn << ' ' << i;
        }
    }
}

Scene make_scene(std::mt19937& rnd, long long len) {
    auto const draw = [&](long long beg, long long end) {
        return beg + static_cast<long long>(rnd()) % (end - beg);
    };
    Scene scene;
    scene.hermite_flag = rnd() % 2 != 0;
    scene.backward_flag = rnd() % 2 != 0;
    scene.pos = draw(-20, len + 20);
    scene.frac = rnd() % 3 == 0 ? 0U : static_cast<unsigned int>(rnd());
    double const rate_arr[] = {1, 0.5, 2, 0.01, 3.7, 40.123, 1.0001, 0.33};
    scene.rate = rate_arr[rnd() % 8];
    scene.rate_step = rnd() % 2 != 0 ? 0 : (static_cast<double>(rnd() % 2001) - 1000) * 1e-6;
    scene.loop_mode = static_cast<Voice::LoopMode>(rnd() % 3);
    scene.loop_beg = draw(-10, len);
    scene.loop_len = rnd() % 3 == 0 ? draw(-1, 5) : draw(0, len + 20);
    return scene;
}

TEST(VoiceTest, PlaysWhatTheModelPlaysForAnySetUp) {
    std::mt19937 rnd(1);
    for (unsigned trial = 0; trial < 4000; ++trial) {
        Source src(1 + static_cast<long>(rnd() % 200), 1 + static_cast<int>(rnd() % 3));
        Scene const scene = make_scene(rnd, src.get_len());
        Rig whole(src, scene, 2000);
        whole._voice.start(false);
        Output const out = whole.run(600);
        Model model(src, scene);
        check(out, model.run(600), 1e-5);
        if (whole._voice.is_active()) {
            long long pos;
            unsigned int frac;
            whole._voice.get_playback_pos(pos, frac);
            ASSERT_EQ(pos, model.get_pos());
            ASSERT_EQ(frac, model._frac);
        }
        Rig parts(src, scene, 4 * src.get_nbr_chn() + static_cast<long>(rnd() % 300));
        parts._voice.start(false);
        ASSERT_EQ(parts.run(600, 70, trial), out) << trial; // blocks and scratch don't matter
        ASSERT_EQ(parts._voice.is_active(), whole._voice.is_active());
        if (testing::Test::HasFatalFailure()) {
            FAIL() << trial;
        }
    }
}

TEST(VoiceTest, PlaysAWholeSampleAndEnds) {
    Source src(100, 2);
    Rig rig(src, {});
    rig._voice.start(false);
    Output const out = rig.run(150);
    for (int i = 0; i < 150; ++i) {
        EXPECT_EQ(out[1][static_cast<std::size_t>(i)], src.get(1, i));
    }
    EXPECT_FALSE(rig._voice.is_active());
}

TEST(VoiceTest, LoopOfAnyLengthEndsWithTheSample) {
    Source src(50, 1);
    Scene scene;
    scene.loop_mode = Voice::LoopMode_FORWARD;
    scene.loop_beg = 20;
    scene.loop_len = std::numeric_limits<long long>::max();
    Rig rig(src, scene);
    rig._voice.start(false);
    Output const out = rig.run(200);
    for (long long i = 0; i < 200; ++i) {
        ASSERT_EQ(out[0][static_cast<std::size_t>(i)], src.get(0, i < 50 ? i : 20 + (i - 50) % 30));
    }
}

// The operation itself may be overridden, too.
class Ramp : public ulk::dsp::SplDataRetrievalInterface {
public:
    void get_data(float** chn_arr, long long pos, long nbr_spl, bool backward_flag) override {
        for (long i = 0; i < nbr_spl; ++i) {
            chn_arr[0][i] = static_cast<float>(backward_flag ? pos + nbr_spl - 1 - i : pos + i);
        }
    }
};

TEST(VoiceTest, ReadsASourceThatOverridesTheOperationItself) {
    Ramp ramp;
    InterpolatorLerp lerp;
    float tmp[8];
    float out[5];
    float* dest = out;
    Voice voice;
    voice.set_interpolator(lerp);
    voice.set_tmp_buf(tmp, 8);
    voice.activate(ramp, 100, 1, 44100);
    voice.set_rate(0.5, 0);
    voice.start(false);
    voice.process_block(&dest, 5);
    for (int i = 0; i < 5; ++i) {
        EXPECT_EQ(out[i], static_cast<float>(i) * 0.5f);
    }
}

TEST(VoiceTest, EndsWithTheBlockThatReachesTheEnd) {
    Source src(100, 1);
    Rig rig(src, {});
    rig._voice.start(false);
    rig.run(99);
    EXPECT_TRUE(rig._voice.is_active());
    EXPECT_EQ(rig.run(1)[0][0], src.get(0, 99));
    EXPECT_FALSE(rig._voice.is_active());
    EXPECT_EQ(rig.run(10)[0], std::vector<float>(10, 0.0f)); // inactive is silent
}

TEST(VoiceTest, BackAndForthTurnsAtBothEdges) {
    Source src(50, 1);
    Scene scene;
    scene.pos = 10;
    scene.loop_mode = Voice::LoopMode_BACK_AND_FORTH;
    scene.loop_beg = 10;
    scene.loop_len = 3;
    Rig rig(src, scene);
    rig._voice.start(false);
    Output const out = rig.run(14);
    int const path[] = {10, 11, 12, 12, 11, 10, 10, 11, 12, 12, 11, 10, 10, 11};
    for (std::size_t i = 0; i < 14; ++i) {
        EXPECT_EQ(out[0][i], src.get(0, path[i]));
    }
    EXPECT_FALSE(rig._voice.is_running_backward());
    rig.run(2);
    EXPECT_TRUE(rig._voice.is_running_backward());
}

TEST(VoiceTest, LongNotesStayExactInShortLoops) {
    for (Voice::LoopMode mode : {Voice::LoopMode_FORWARD, Voice::LoopMode_BACK_AND_FORTH}) {
        Source src(1000, 1);
        Scene scene;
        scene.loop_mode = mode;
        scene.loop_beg = 300;
        scene.loop_len = 77;
        scene.rate = 1e6 + 0.123456789;
        Rig rig(src, scene, 64);
        rig._voice.start(false);
        rig.run(30000, 500);
        // Frames gone since the loop was entered, modulo two turns.
        __extension__ using Wide = __int128;
        Wide const sum = Wide(ulk::math::FixedPoint::from_double(scene.rate).get_raw()) * 30000;
        long long const gone = static_cast<long long>(sum >> 32) - 300;
        long long pos;
        unsigned int frac;
        rig._voice.get_playback_pos(pos, frac);
        EXPECT_EQ(frac, static_cast<unsigned int>(sum));
        bool const back_flag = mode == Voice::LoopMode_BACK_AND_FORTH && gone % 154 >= 77;
        EXPECT_EQ(pos, back_flag ? 376 - gone % 77 : 300 + gone % 77);
        EXPECT_EQ(rig._voice.is_running_backward(), back_flag);
    }
}

TEST(VoiceTest, PublicPositionSurvivesDirectionAndInterpolator) {
    Source src(100, 1);
    Scene scene;
    scene.hermite_flag = true;
    Rig rig(src, scene);
    InterpolatorLerp lerp;
    long long pos;
    unsigned int frac;
    rig._voice.get_playback_pos(pos, frac);
    EXPECT_EQ(pos, 0);
    EXPECT_EQ(frac, 0U);
    rig._voice.set_playback_pos(50, 0x12345678U);
    for (bool backward_flag : {true, true, false, true}) {
        rig._voice.set_direction(backward_flag);
        EXPECT_EQ(rig._voice.is_running_backward(), backward_flag);
        rig._voice.get_playback_pos(pos, frac);
        EXPECT_EQ(pos, 50);
        EXPECT_EQ(frac, 0x12345678U);
    }
    rig._voice.set_interpolator(lerp);
    EXPECT_EQ(&rig._voice.use_interpolator(), &lerp);
    rig._voice.get_playback_pos(pos, frac);
    EXPECT_EQ(pos, 50);
}

TEST(VoiceTest, BackwardStartsAtItsFrame) {
    for (bool hermite_flag : {false, true}) {
        Source src(100, 1);
        Scene scene;
        scene.hermite_flag = hermite_flag;
        scene.backward_flag = true;
        scene.pos = 60;
        Rig rig(src, scene);
        rig._voice.start(false);
        Output const out = rig.run(20);
        for (int i = 0; i < 20; ++i) {
            EXPECT_EQ(out[0][static_cast<std::size_t>(i)], src.get(0, 60 - i));
        }
    }
}

TEST(VoiceTest, ConvertsPositions) {
    long long pos;
    unsigned int frac;
    Voice::conv_pos_flt_to_fix(pos, frac, 3.75);
    EXPECT_EQ(pos, 3);
    EXPECT_EQ(frac, 0xC0000000U);
    Voice::conv_pos_flt_to_fix(pos, frac, -3.75);
    EXPECT_EQ(pos, -4);
    EXPECT_EQ(frac, 0x40000000U);
    Voice::conv_pos_flt_to_fix(pos, frac, -1e-30);
    EXPECT_EQ(pos, -1);
    EXPECT_EQ(frac, 0xFFFFFFFFU);
    Voice::conv_pos_flt_to_fix(pos, frac, 1e15 + 0.5);
    EXPECT_EQ(pos, 1000000000000000LL);
    EXPECT_EQ(frac, 0x80000000U);
}

TEST(VoiceTest, FadesInAndOut) {
    Source src(10000, 1);
    for (long max_len : {0L, 7L, 100L}) {
        Rig rig(src, {});
        rig._voice.set_fade_duration(0.001); // 48 frames
        rig._voice.start(true);
        Output const in = rig.run(100, max_len);
        for (int i = 0; i < 100; ++i) {
            ASSERT_NEAR(in[0][static_cast<std::size_t>(i)], src.get(0, i) * std::min(i / 48.0, 1.0),
                        1e-6);
        }
        rig._voice.stop(true);
        Output const out = rig.run(100, max_len);
        for (int i = 0; i < 100; ++i) {
            ASSERT_NEAR(out[0][static_cast<std::size_t>(i)],
                        src.get(0, 100 + i) * std::max(1 - i / 48.0, 0.0), 1e-6);
        }
        EXPECT_FALSE(rig._voice.is_active());
    }
}

TEST(VoiceTest, StopInTheMiddleOfAFadeGoesOnFromItsLevel) {
    Source src(10000, 1);
    Rig rig(src, {});
    rig._voice.set_fade_duration(0.001);
    rig._voice.start(true);
    rig.run(24);
    rig._voice.stop(true);
    Output const out = rig.run(48);
    for (int i = 0; i < 48; ++i) {
        ASSERT_NEAR(out[0][static_cast<std::size_t>(i)], src.get(0, 24 + i) * ((48 - i) / 96.0),
                    1e-6);
    }
    EXPECT_FALSE(rig._voice.is_active());
}

TEST(VoiceTest, ShortestFadeIsOneFrame) {
    Source src(100, 1);
    Rig rig(src, {});
    rig._voice.set_fade_duration(0.4 / 48000);
    rig._voice.start(true);
    Output const out = rig.run(3);
    EXPECT_EQ(out[0][0], 0.0f);
    EXPECT_EQ(out[0][1], src.get(0, 1));
}

TEST(VoiceTest, StopWithNothingToFadeSilencesTheNextBlock) {
    Source src(100, 1);
    for (int turn = 0; turn < 3; ++turn) {
        Rig rig(src, {});
        rig._voice.start(turn == 2); // in the third turn the level is still 0.0
        if (turn < 2) {
            rig.run(10);
        }
        rig._voice.stop(turn == 2);
        EXPECT_TRUE(rig._voice.is_active());
        EXPECT_EQ(rig.run(16)[0], std::vector<float>(16, 0.0f));
        EXPECT_FALSE(rig._voice.is_active());
    }
}

TEST(VoiceTest, StartWithoutFadeCanStopWithOne) {
    Source src(1000, 1);
    Rig rig(src, {});
    rig._voice.start(false);
    rig._voice.stop(true);
    EXPECT_NEAR(rig.run(300)[0][120], src.get(0, 120) / 2, 1e-6); // half of 5 ms
}

TEST(VoiceTest, EndOfTheSampleDropsTheFade) {
    Source src(100, 1);
    Rig rig(src, {});
    rig._voice.start(true); // 240 frames
    Output const out = rig.run(120);
    EXPECT_EQ(out[0][50], src.get(0, 50));
    EXPECT_EQ(out[0][110], 0.0f);
    EXPECT_FALSE(rig._voice.is_active());
}

TEST(VoiceTest, NeverLoopsForEver) {
    Source src(100, 2);
    struct Case {
        double rate, step;
        long tmp_len;
    };
    for (Case const& c :
         {Case{0, 0, 256}, Case{-1, 0, 256}, Case{1, 0, 7}, Case{1, 0, 0}, Case{-1, 1, 256}}) {
        for (bool hermite_flag : {true, false}) {
            Scene scene;
            scene.hermite_flag = hermite_flag;
            scene.rate = c.rate;
            scene.rate_step = c.step;
            Rig rig(src, scene, hermite_flag ? c.tmp_len : std::min(c.tmp_len, 3L));
            rig._voice.start(false);
            EXPECT_EQ(rig.run(50)[1], std::vector<float>(50, 0.0f));
            EXPECT_FALSE(rig._voice.is_active());
        }
    }
}

TEST(VoiceTest, ScratchOfOneImpulseIsEnough) {
    Source src(100, 1);
    Scene scene;
    scene.hermite_flag = true;
    scene.rate = 0.77;
    Rig narrow(src, scene, 4);
    Rig wide(src, scene, 1000);
    narrow._voice.start(false);
    wide._voice.start(false);
    EXPECT_EQ(narrow.run(200), wide.run(200));
}

TEST(VoiceTest, ActivationStartsAfreshButKeepsTheRate) {
    Source src(100, 1);
    Scene scene;
    scene.backward_flag = true;
    scene.pos = 50;
    scene.loop_mode = Voice::LoopMode_FORWARD;
    scene.loop_len = 60;
    scene.rate = 2;
    Rig rig(src, scene);
    rig._voice.start(true);
    rig.run(5);
    rig._voice.activate(src, 100, 1, 48000);
    EXPECT_FALSE(rig._voice.is_running_backward());
    rig._voice.start(false);
    Output const out = rig.run(60);
    for (int i = 0; i < 60; ++i) {
        EXPECT_EQ(out[0][static_cast<std::size_t>(i)], src.get(0, 2 * i));
    }
    EXPECT_FALSE(rig._voice.is_active());
}

} // namespace
