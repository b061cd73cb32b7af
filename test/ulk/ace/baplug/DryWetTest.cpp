#include "ulk/ace/baplug/DryWet.h"
#include "MixerRig.h"
#include "support/AllocFault.h"
#include "ulk/ace/BufferClearer.h"
#include "ulk/ace/Constants.h"
#include "ulk/ace/Err.h"
#include "ulk/ace/baplug/ParamValMgrSmooth.h"
#include "ulk/dsp/BasicMixing.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cmath>
#include <limits>
#include <string>
#include <thread>

using namespace ulk::ace;
using Dsp = kryn::PluginDsp;
using CmdPlug = Dsp::CmdPlug;
using test::make_event;
using test::MixerBuffers;

namespace {

constexpr long max_len = 1024;
constexpr float tiny = Constants::ANTI_DENORMAL;

enum Index { Index_BYPASS, Index_MIX, Index_GAIN };

// A mixer with one mono pin. The wet input is 1 + i/4096, the dry one half of it.
class DryWetTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_EQ(0, _mixer.set_pins({1}));
        for (long i = 0; i < max_len; ++i) {
            _in.chn(0, 0)[i] = 1 + static_cast<float>(i) / 4096;
            _in.chn(1, 0)[i] = _in.chn(0, 0)[i] / 2;
        }
    }

    void start() {
        _mixer.init();
        _mixer.clear_buffers();
    }

    // One block; returns the state of the output.
    long run(long nbr_spl, std::vector<Dsp::Event> const& evt_arr = {}) {
        std::vector<Dsp::Event const*> ptr_arr;
        for (auto const& evt : evt_arr) {
            ptr_arr.push_back(&evt);
        }
        CmdPlug::Process block = {
            {_in.pins.data()},
            {_out.pins.data()},
            {ptr_arr.empty() ? nullptr : ptr_arr.data(), static_cast<long>(ptr_arr.size())},
            nbr_spl};
        _out.reset();
        _out.pins[0].state = 0;
        _mixer.process(block);
        return _out.pins[0].state;
    }

    float wet(long i) { return _in.chn(0, 0)[i]; }
    float dry(long i) { return _in.chn(1, 0)[i]; }
    float out(long i) { return _out.chn(0, 0)[i]; }
    // Gain that was put on a wet signal alone.
    double level(long i) { return static_cast<double>(out(i)) / static_cast<double>(wet(i)); }

    void expect_cleared(long beg, long end) {
        std::vector<float> expected(static_cast<std::size_t>(end - beg));
        ulk::dsp::BasicMixing::setup();
        BufferClearer::clear_buf_antidenormal_fast(expected.data(), end - beg);
        for (long i = beg; i < end; ++i) {
            EXPECT_EQ(expected[static_cast<std::size_t>(i - beg)], out(i)) << i;
        }
    }
    void expect_untouched(long beg) {
        for (long i = beg; i < max_len; ++i) {
            EXPECT_EQ(MixerBuffers::pattern, out(i)) << i;
        }
    }

    test::Mixer _mixer;
    MixerBuffers _in{{1, 1}, max_len};
    MixerBuffers _out{{1}, max_len};
};

} // namespace

TEST_F(DryWetTest, AnswersNothingElse) {
    for (int const cmd : {0x2102, 0x3101, 0x3102, 0x3103, 0x3104, 0x3106, 0x3117, 0x2103, 0x1102, 0,
                          -1, 0x10000000}) {
        std::string record(128, '\x5A');
        EXPECT_EQ(-1, _mixer.point.send(cmd, record.data())) << cmd;
        EXPECT_EQ(std::string(128, '\x5A'), record);
    }
}

TEST_F(DryWetTest, DefaultsLetTheWetSignalThroughUntouched) {
    start();
    EXPECT_EQ(0, run(64));
    for (long i = 0; i < 64; ++i) {
        EXPECT_EQ(wet(i), out(i));
    }
    expect_untouched(64);
}

TEST_F(DryWetTest, IsSilentUntilInit) {
    for (int index = 0; index < 3; ++index) {
        EXPECT_EQ(0, _mixer.get_val(index));
    }
    EXPECT_EQ(Dsp::State_DIRTY, run(64)); // a gain of 0, all wet
    expect_untouched(0);
}

TEST_F(DryWetTest, InitFadesIn) {
    for (auto const& [freq, len] : {std::pair{0.0, 221},
                                    {8000, 40},
                                    {11025, 56},
                                    {22050, 111},
                                    {32000, 160},
                                    {44100, 221},
                                    {48000, 240},
                                    {88200, 441},
                                    {96000, 480},
                                    {192000, 960}}) {
        SCOPED_TRACE(freq);
        test::Mixer mixer;
        ASSERT_EQ(0, mixer.set_pins({1}));
        if (freq != 0) { // otherwise that of a fresh instance
            mixer.set_sample_freq(freq);
        }
        mixer.init();
        CmdPlug::Process block = {{_in.pins.data()}, {_out.pins.data()}, {nullptr, 0}, max_len};
        _out.reset();
        _out.pins[0].state = 0;
        mixer.process(block);
        // A line in the curve's ends, not along the curve, then all of it.
        EXPECT_EQ(0, out(0));
        EXPECT_NEAR(0.5, level(len / 2), 0.5 / len + 1e-6);
        EXPECT_LT(level(len - 1), 1 - 0.5 / len);
        EXPECT_EQ(wet(len), out(len));
        EXPECT_EQ(wet(max_len - 1), out(max_len - 1));
    }
}

TEST_F(DryWetTest, SilentWetPinIsNotTouched) {
    start();
    for (long const state : {1, 2}) {
        _in.pins[0].state = state;
        EXPECT_EQ(Dsp::State_DIRTY, run(64));
        expect_untouched(0);
    }
}

TEST_F(DryWetTest, UnwantedOutputKeepsItsState) {
    start();
    for (long const state : {1L, 2L, 77L}) {
        _out.reset();
        _out.pins[0].state = state;
        CmdPlug::Process block = {{_in.pins.data()}, {_out.pins.data()}, {nullptr, 0}, 64};
        _mixer.process(block);
        EXPECT_EQ(state, _out.pins[0].state);
        expect_untouched(0);
    }
}

TEST_F(DryWetTest, SecondHalfSounds) {
    start();
    // All wet with a gain of 0; the balance jumps from exact 0 to all dry, with a run of smoothing.
    run(1, {make_event(0, Index_GAIN, 0)});
    _mixer.clear_buffers();
    EXPECT_EQ(0, run(64, {make_event(32, Index_MIX, 1)}));
    expect_cleared(0, 32);
    EXPECT_EQ(0, out(32)); // the level starts at 0
    for (long i = 33; i < 64; ++i) {
        EXPECT_GT(out(i), out(i - 1));
    }
    expect_untouched(64);
}

TEST_F(DryWetTest, EachPieceOfASilentRegionIsClearedByItself) {
    start();
    _in.pins[1].state = 1; // the dry signal is silent
    EXPECT_EQ(0, run(64, {make_event(0, Index_GAIN, 0.5), make_event(16, Index_BYPASS, 1),
                          make_event(48, 5, 0)}));
    _mixer.clear_buffers();
    // Bypassed, with a silent dry input; the wet one comes back for a while in the middle.
    EXPECT_EQ(0, run(400, {make_event(10, 7, 0), make_event(40, Index_BYPASS, 0, 100, 0),
                           make_event(60, Index_BYPASS, 1, 0), make_event(380, 99, 0)}));
    expect_cleared(0, 40); // put off until the first sound: one region
    EXPECT_GT(out(45), 0);
    // Bypass fades in over 221 frames; behind it each piece has its own marks.
    expect_cleared(60 + 221, 380);
    expect_cleared(380, 400);
    expect_untouched(400);
}

TEST_F(DryWetTest, SecondHalfIsSilent) {
    start();
    _in.pins[1].state = 2;
    // Down to 0 in the first half, a ramp without a jump.
    EXPECT_EQ(0, run(64, {make_event(0, Index_MIX, 1, 32, 0)}));
    EXPECT_NEAR(1, level(0), 1e-6);
    EXPECT_GT(out(31), 0);
    expect_cleared(32, 64);
    expect_untouched(64);
}

TEST_F(DryWetTest, RampOutlivesTheBlock) {
    start();
    EXPECT_EQ(0, run(64, {make_event(0, Index_BYPASS, 1, 256, 0)}));
    EXPECT_EQ(1, _mixer.get_val(Index_BYPASS)); // the target, not what is heard
    for (int block = 1; block < 4; ++block) {
        EXPECT_EQ(0, run(64));
        double const share = static_cast<double>(out(0)) / static_cast<double>(wet(0));
        EXPECT_NEAR(1 - block * 0.125, share, 1e-6); // the dry signal is half of the wet one
    }
    EXPECT_EQ(0, run(64));
    for (long i = 0; i < 64; ++i) {
        EXPECT_EQ(dry(i), out(i));
    }
}

TEST_F(DryWetTest, SmallJumpIsNotSmoothed) {
    start();
    _in.pins[1].state = 1;
    run(1, {make_event(0, Index_MIX, 0.5)});
    _mixer.clear_buffers();
    run(64, {make_event(32, Index_MIX, 0.50001)});
    double const nat = 0.625 - 0.078125 / (0.50001 - 0.5 + 0.125) + 0.5;
    EXPECT_NEAR(0.5, level(31), 1e-6);
    EXPECT_NEAR(1 - nat, level(32), 1e-6);
    EXPECT_NEAR(1 - nat, level(63), 1e-6);
    EXPECT_GT(level(31) - level(63), 4e-5);
}

TEST_F(DryWetTest, JumpToTheNegativeIsNotSmoothed) {
    start();
    _in.pins[1].state = 1;
    run(1, {make_event(0, Index_BYPASS, 0.5)});
    _mixer.clear_buffers();
    run(64, {make_event(32, Index_BYPASS, -0.5)});
    EXPECT_NEAR(0.5, level(31), 1e-6);
    EXPECT_NEAR(1.5, level(32), 1e-6);
    EXPECT_NEAR(1.5, level(63), 1e-6);
}

TEST_F(DryWetTest, JumpIsSmoothedOver240FramesAt48kHz) {
    _mixer.set_sample_freq(48000);
    start();
    _in.pins[1].state = 1;
    run(1, {make_event(0, Index_BYPASS, 0.2)});
    _mixer.clear_buffers();
    run(512, {make_event(0, Index_BYPASS, 0.8)});
    for (long i = 0; i < 240; ++i) {
        EXPECT_NEAR(0.8 - 0.6 * static_cast<double>(i) / 240, level(i), 2e-6) << i;
    }
    EXPECT_NEAR(0.2, level(240), 1e-6);
    EXPECT_NEAR(0.2, level(511), 1e-6);
}

TEST_F(DryWetTest, RampToWhereItStandsIsNone) {
    start();
    _in.pins[1].state = 1;
    run(1, {make_event(0, Index_BYPASS, 0.25)});
    _mixer.clear_buffers();
    run(200, {make_event(0, Index_BYPASS, 0.25, 100, 0.25)});
    EXPECT_NEAR(0.75, level(0), 1e-6);
    EXPECT_EQ(wet(199) * (out(0) / wet(0)), out(199));
    // The last step stands in the manager, and must not move anything.
    run(200, {make_event(0, Index_BYPASS, 1, 10, 0.25), make_event(5, Index_BYPASS, 0.5)});
    _mixer.clear_buffers();
    run(200);
    EXPECT_NEAR(0.5, level(150), 1e-6);
}

TEST_F(DryWetTest, BlockWithoutFramesServesOneEvent) {
    start();
    EXPECT_EQ(Dsp::State_DIRTY, run(0, {make_event(0, Index_MIX, 0.25), make_event(0, 1, 0.75)}));
    EXPECT_EQ(0.25, _mixer.get_val(Index_MIX));
    expect_untouched(0);
    EXPECT_EQ(Dsp::State_DIRTY, run(0));
    EXPECT_EQ(0.25, _mixer.get_val(Index_MIX));
}

TEST_F(DryWetTest, EventAtTheEndIsServedOnceAndTheNextDropped) {
    start();
    run(64, {make_event(64, Index_MIX, 0.25), make_event(64, Index_MIX, 0.5),
             make_event(64, Index_GAIN, 0.5)});
    EXPECT_EQ(0.25, _mixer.get_val(Index_MIX));
    EXPECT_EQ(0.7521010637283325, _mixer.get_val(Index_GAIN));
    // Several at the last frame are all served.
    run(64, {make_event(63, Index_MIX, 0.5), make_event(63, Index_MIX, 0.625),
             make_event(63, Index_GAIN, 0.5)});
    EXPECT_EQ(0.625, _mixer.get_val(Index_MIX));
    EXPECT_EQ(0.5, _mixer.get_val(Index_GAIN));
}

TEST_F(DryWetTest, StampBehindTheBlockNeverRunsOverTheBuffers) {
    start();
    run(64, {make_event(1 << 30, Index_MIX, 0.25)});
    expect_untouched(64);
    EXPECT_EQ(0.25, _mixer.get_val(Index_MIX));
}

TEST_F(DryWetTest, StrangeEventsAreSkipped) {
    start();
    std::vector<Dsp::Event> evt_arr;
    for (int const index : {-1, 3, 1000}) {
        evt_arr.push_back(make_event(0, index, 0.5));
    }
    for (int const scope : {1, 2, 3, 4, 5, 6, -1, 7}) {
        evt_arr.push_back(make_event(0, 1, 0.5));
        evt_arr.back().param.location.scope = static_cast<kryn::ParamScope>(scope);
    }
    for (int const type : {-1, 0, 1, 2, 3, 4, 6, 7, 8, 9, 10}) {
        evt_arr.push_back(make_event(0, 1, 0.5));
        evt_arr.back().type = type;
    }
    run(64, evt_arr);
    EXPECT_EQ(0, _mixer.get_val(Index_BYPASS));
    EXPECT_EQ(0, _mixer.get_val(Index_MIX));
    EXPECT_EQ(0.7521010637283325, _mixer.get_val(Index_GAIN));
    EXPECT_EQ(wet(63), out(63));
}

TEST_F(DryWetTest, NegativeLevelIsSilence) {
    start();
    run(1, {make_event(0, Index_BYPASS, 1.5)}); // the wet level turns -0.5, the dry one 1.5
    _mixer.clear_buffers();
    EXPECT_EQ(0, run(64));
    EXPECT_FLOAT_EQ(dry(10) * 1.5f, out(10));
    _in.pins[1].state = 1;
    EXPECT_EQ(Dsp::State_DIRTY, run(64));
    expect_untouched(0);
}

TEST_F(DryWetTest, SmoothingThatWasLeftAloneMayMissItsTarget) {
    start();
    _in.pins[1].state = 1;
    run(1, {make_event(0, Index_BYPASS, 0.5)});
    _mixer.clear_buffers();
    // A run upwards, then a target just below where it stands: the run goes on and on.
    run(100, {make_event(0, Index_BYPASS, 1), make_event(50, Index_BYPASS, 0.6129)});
    double last = level(50);
    for (long i = 51; i < 100; ++i) {
        EXPECT_LT(level(i), last);
        last = level(i);
    }
}

TEST_F(DryWetTest, ClearBuffersEndsRampsAndSmoothing) {
    start();
    _in.pins[1].state = 1;
    run(10, {make_event(0, Index_BYPASS, 0.75, 1000, 0), make_event(5, Index_GAIN, 0.25)});
    _mixer.clear_buffers();
    run(64);
    double const gain = (std::exp(0.25 * 5.545177444479562) - 1) / 255 * 4;
    EXPECT_NEAR(0.25 * gain, level(0), 1e-7);
    EXPECT_NEAR(0.25 * gain, level(63), 1e-7);
    EXPECT_EQ(0.75, _mixer.get_val(Index_BYPASS));
    EXPECT_EQ(0.25, _mixer.get_val(Index_GAIN));
}

TEST_F(DryWetTest, SampleFreqKeepsARunningSlope) {
    start();
    _in.pins[1].state = 1;
    run(10, {make_event(0, Index_BYPASS, 0.5)});
    double const before = level(9) - level(8);
    _mixer.set_sample_freq(192000);
    run(10);
    EXPECT_NEAR(before, level(9) - level(8), 1e-6);
}

TEST_F(DryWetTest, GainIsNeverOnTheDrySignal) {
    start();
    run(1, {make_event(0, Index_BYPASS, 1), make_event(0, Index_GAIN, 1)});
    _mixer.clear_buffers();
    run(64);
    for (long i = 0; i < 64; ++i) {
        EXPECT_EQ(dry(i), out(i));
    }
}

TEST_F(DryWetTest, ValueCommandsRefuseOtherLocations) {
    start();
    for (auto const& [scope, index] :
         {std::pair{1, 0}, {5, 1}, {-1, 0}, {0, -1}, {0, 3}, {6, 77}}) {
        kryn::ParamLocation const loc = {static_cast<kryn::ParamScope>(scope), 0, index};
        CmdPlug::GetParamVal get = {loc, -9};
        EXPECT_EQ(Err_INVALID_PARAM_LOCATION, _mixer.point.send(CmdPlug::GET_PARAM_VAL, &get));
        EXPECT_EQ(-9, get.val);

        // The conversions tell a strange index apart from a strange scope.
        int const expected = scope == 0 ? Err_OUT_OF_RANGE : Err_INVALID_PARAM_LOCATION;
        CmdPlug::ConvParamNorm norm = {-8, -9, loc};
        EXPECT_EQ(expected, _mixer.point.send(CmdPlug::CONV_PARAM_NAT_TO_NORM, &norm));
        EXPECT_EQ(expected, _mixer.point.send(CmdPlug::CONV_PARAM_NORM_TO_NAT, &norm));
        EXPECT_EQ(-8, norm.val_nat);
        EXPECT_EQ(-9, norm.val_norm);
        char txt[] = "before";
        CmdPlug::ConvParamToStr to_str = {loc, 0.5, txt, sizeof(txt)};
        EXPECT_EQ(expected, _mixer.point.send(CmdPlug::CONV_PARAM_TO_STR, &to_str));
        EXPECT_STREQ(scope == 0 ? "" : "before", txt);
        CmdPlug::ConvParamFromStr from_str = {loc, -9, "0.5"};
        EXPECT_EQ(expected, _mixer.point.send(CmdPlug::CONV_PARAM_FROM_STR, &from_str));
        EXPECT_EQ(scope == 0 ? 0 : -9, from_str.val);
    }
}

TEST_F(DryWetTest, ConversionsGoToTheParameters) {
    auto const to_str = [this](int index, double val) {
        char txt[64] = {};
        CmdPlug::ConvParamToStr rec = {{kryn::ParamScope_GLOBAL, 0, index}, val, txt, sizeof(txt)};
        EXPECT_EQ(0, _mixer.point.send(CmdPlug::CONV_PARAM_TO_STR, &rec));
        return std::string(txt);
    };
    EXPECT_EQ("Off", to_str(Index_BYPASS, 0));
    EXPECT_EQ("On", to_str(Index_BYPASS, 1));
    EXPECT_EQ("100 /   0", to_str(Index_MIX, 0));
    EXPECT_EQ("+0", to_str(Index_GAIN, 0.7521010637283325));
    auto const from_str = [this](int index, char const* txt) {
        CmdPlug::ConvParamFromStr rec = {{kryn::ParamScope_GLOBAL, 0, index}, -9, txt};
        EXPECT_EQ(0, _mixer.point.send(CmdPlug::CONV_PARAM_FROM_STR, &rec));
        return rec.val;
    };
    EXPECT_EQ(1, from_str(Index_BYPASS, "ON"));
    EXPECT_EQ(0.5588235294117647, from_str(Index_MIX, "30"));
    EXPECT_EQ(0.8752787113189697, from_str(Index_GAIN, "6"));
    CmdPlug::ConvParamNorm rec = {-9, 1, {kryn::ParamScope_GLOBAL, 0, Index_GAIN}};
    EXPECT_EQ(0, _mixer.point.send(CmdPlug::CONV_PARAM_NORM_TO_NAT, &rec));
    EXPECT_EQ(4, rec.val_nat);
    rec.val_nat = 4;
    EXPECT_EQ(0, _mixer.point.send(CmdPlug::CONV_PARAM_NAT_TO_NORM, &rec));
    EXPECT_EQ(1, rec.val_norm);
}

// Data races show under the thread sanitizer alone.
TEST_F(DryWetTest, ValuesAreReadBesideProcess) {
    start();
    std::atomic<bool> stop_flag = false;
    std::atomic<long> nbr_reads = 0;
    bool sane_flag = true;
    std::thread reader([&] {
        while (!stop_flag) {
            for (int index = 0; index < 3; ++index) {
                CmdPlug::GetParamVal rec = {{kryn::ParamScope_GLOBAL, 0, index}, -9};
                sane_flag &= _mixer.point.send(CmdPlug::GET_PARAM_VAL, &rec) == 0;
                sane_flag &= rec.val >= 0 && rec.val <= 1;
                char txt[64];
                CmdPlug::ConvParamToStr text = {rec.location, rec.val, txt, sizeof(txt)};
                sane_flag &= _mixer.point.send(CmdPlug::CONV_PARAM_TO_STR, &text) == 0;
            }
            ++nbr_reads;
        }
    });
    for (int block = 0; block < 300 || nbr_reads < 100; ++block) {
        double const val = (block % 8) / 8.0;
        run(64, {make_event(3, Index_MIX, val), make_event(7, Index_GAIN, 1 - val, 80, val),
                 make_event(9, Index_BYPASS, block & 1)});
    }
    stop_flag = true;
    reader.join();
    EXPECT_TRUE(sane_flag);
}

TEST(DryWetDeferTest, ClearsUndefinedPinsAlone) {
    ulk::dsp::BasicMixing::setup();
    for (long const state : {0, 1, 2}) {
        MixerBuffers buffers({3}, 16);
        buffers.pins[0].state = state;
        {
            test::RealTimeGuard guard;
            baplug::DryWet::defer_silent_pin(buffers.pins[0], 2, 8);
        }
        EXPECT_EQ(state == 2 ? 1 : state, buffers.pins[0].state);
        for (std::size_t chn = 0; chn < 3; ++chn) {
            bool const cleared_flag = state == 2 && chn < 2;
            EXPECT_EQ(cleared_flag ? 0 : MixerBuffers::pattern, buffers.chn(0, chn)[0]);
            EXPECT_EQ(cleared_flag ? -3.0f * tiny : MixerBuffers::pattern, buffers.chn(0, chn)[4]);
            EXPECT_EQ(cleared_flag ? 7.0f * tiny : MixerBuffers::pattern, buffers.chn(0, chn)[7]);
            EXPECT_EQ(MixerBuffers::pattern, buffers.chn(0, chn)[8]);
        }
    }
}

// A rate without a length of runs: a jump is over with the first piece.
TEST(ParamValMgrSmooth, ARateThatIsNoneSmoothsNothing) {
    for (double const freq : {1e300, std::numeric_limits<double>::infinity(), std::nan("")}) {
        ulk::ace::baplug::ParamValMgrSmooth mgr;
        mgr.set_sample_freq(freq);
        mgr.set_val(0.25);
        mgr.tick(1);
        mgr.set_val(0.75);
        mgr.tick(1);
        EXPECT_EQ(0.75, mgr.get_val()) << freq;
    }
}
