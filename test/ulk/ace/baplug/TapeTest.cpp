#include "TapeRig.h"

#include "support/LogCatcher.h"
#include "ulk/ace/Err.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

using test::CacheProbe;
using test::Floats;
using test::SampleStore;
using test::TapeRig;
using test::TapeSample;

namespace {

enum { ID = 0, POS, OUT, VOL, PITCH, STRETCH, PAN };
enum { ON = 6, OFF, END, ALL_OFF };

// Frame f of channel c is a value that no other frame has.
TapeSample make_ramp(int nbr_chn, long len, double freq = 44100) {
    TapeSample spl{nbr_chn, freq, {}, 0};
    for (long i = 0; i < len * nbr_chn; ++i) {
        spl.data.push_back(static_cast<float>(i + 1) / 65536);
    }
    return spl;
}

class TapeTest : public ::testing::Test {
protected:
    void SetUp() override {
        store.add(1, make_ramp(1, 30000));
        store.add(2, make_ramp(2, 30000));
        for (auto const& [id, spl] : store.map) {
            store.load_range(id, 0, spl.get_len());
        }
        EXPECT_EQ(0, rig.set_freq(44100));
        EXPECT_EQ(0, rig.set_block_len(1024));
        rig.init_settled();
    }
    Floats take(int pin, int chn, long len) {
        Floats buf = rig.out[static_cast<std::size_t>(pin)][static_cast<std::size_t>(chn)];
        buf.resize(static_cast<std::size_t>(len));
        return buf;
    }
    Floats take_ramp(long id, int chn, long first, long len) {
        Floats buf;
        for (long f = first; f < first + len; ++f) {
            buf.push_back(store.map[id].get(f, chn));
        }
        return buf;
    }

    test::LogCatcher log;
    SampleStore store;
    TapeRig rig{store};
};

} // namespace

TEST_F(TapeTest, DefaultNoteIsTheSampleOneFrameLate) {
    ASSERT_EQ(0, rig.set_conf({1}, false));
    rig.note(0, ON, 7);
    rig.param(0, 7, ID, 1);
    store.probe.call_list.clear();
    ASSERT_EQ(0, rig.process(10));
    EXPECT_EQ(0, rig.state[0]);
    EXPECT_EQ(take_ramp(1, 0, -1, 10), take(0, 0, 10));
    EXPECT_EQ(77.0f, rig.out[0][0][10]);
    long const id = store.map[1].cache_id;
    ASSERT_EQ(2u, store.probe.call_list.size());
    EXPECT_EQ((CacheProbe::Call{'p', id, 0, 30000}), store.probe.call_list[0]);
    EXPECT_EQ((CacheProbe::Call{'g', id, 0, 11}), store.probe.call_list[1]);
}

TEST_F(TapeTest, PrefetchesOneSecondAheadInSteps) {
    store.add(3, make_ramp(1, 300000));
    store.probe.prefetch_flag = false;
    rig.note(0, ON, 7);
    rig.param(0, 7, ID, 3);
    rig.param(0, 7, POS, 1.5);
    rig.param(0, 7, PITCH, 12);
    rig.state = {0};
    std::vector<CacheProbe::Call> expected;
    long const id = store.map[3].cache_id;
    expected.push_back({'p', id, 66150, 92296});
    for (int block = 0; block < 4; ++block) {
        rig.state = {0};
        store.probe.call_list.clear();
        ASSERT_EQ(0, rig.process(1024));
        std::vector<CacheProbe::Call> prefetch_list;
        for (auto const& call : store.probe.call_list) {
            if (call.op == 'p') {
                prefetch_list.push_back(call);
            }
        }
        if (block % 2 == 1) {
            expected.push_back({'p', id, 66150 + 92296 + 4096 * (block / 2), 4096});
        }
        EXPECT_EQ(expected, prefetch_list) << block;
        expected.clear();
    }
}

TEST_F(TapeTest, PrefetchesBeforeTheStartOfTheLongestSample) {
    store.add(3, make_ramp(1, 300000));
    store.probe.prefetch_flag = false;
    rig.told_len = std::numeric_limits<long long>::max();
    rig.note(0, ON, 7);
    rig.param(0, 7, ID, 3);
    rig.param(0, 7, POS, -1);
    store.probe.call_list.clear();
    ASSERT_EQ(0, rig.process(64));
    ASSERT_FALSE(store.probe.call_list.empty());
    EXPECT_EQ((CacheProbe::Call{'p', store.map[3].cache_id, -44100, 48196}),
              store.probe.call_list[0]);
}

TEST_F(TapeTest, NoteInsideTheSampleFadesIn) {
    rig.note(0, ON, 7);
    rig.param(0, 7, ID, 2);
    rig.param(0, 7, POS, 1000.0 / 44100);
    rig.state = {0};
    ASSERT_EQ(0, rig.process(512));
    for (int f = 0; f < 512; ++f) {
        float const gain = f < 220 ? static_cast<float>(f) / 220 : 1;
        float const src = store.map[2].get(999 + f, 0);
        EXPECT_NEAR(gain * src, rig.out[0][0][static_cast<std::size_t>(f)], 1e-5) << f;
    }
}

TEST_F(TapeTest, SilentPinIsLeftAloneAndDirty) {
    rig.state = {0};
    ASSERT_EQ(0, rig.process(64));
    EXPECT_EQ(2, rig.state[0]);
    EXPECT_EQ(Floats(64, 77.0f), take(0, 0, 64));
}

TEST_F(TapeTest, InputPassesThrough) {
    ASSERT_EQ(0, rig.set_conf({1}, true));
    rig.state = {0};
    ASSERT_EQ(0, rig.process(64));
    EXPECT_EQ(0, rig.state[0]);
    rig.in[0][0] = Floats(72, 0.25f);
    // Events of the global scope cut the block; nothing stale comes in.
    rig.master(16, 0, 0.1);
    ASSERT_EQ(0, rig.process(64));
    EXPECT_EQ(0, rig.state[0]);
    EXPECT_EQ(Floats(64, 0.25f), take(0, 0, 64));
}

TEST_F(TapeTest, UnwantedPinIsClearedByAVoice) {
    rig.note(3, ON, 7);
    rig.param(3, 7, ID, 1);
    rig.state = {1};
    ASSERT_EQ(0, rig.process(64));
    EXPECT_EQ(1, rig.state[0]);
    EXPECT_EQ(Floats(64, 0.0f), take(0, 0, 64));
    rig.state = {0}; // the position went on
    ASSERT_EQ(0, rig.process(64));
    EXPECT_EQ(0, rig.state[0]);
    EXPECT_EQ(take_ramp(1, 0, 60, 64), take(0, 0, 64));
}

TEST_F(TapeTest, SixtyFourNotesSound) {
    for (int n = 0; n < 65; ++n) {
        rig.note(0, ON, n);
        rig.param(0, n, ID, 1);
    }
    rig.state = {0};
    ASSERT_EQ(0, rig.process(64));
    EXPECT_EQ(64 * store.map[1].get(49, 0), rig.out[0][0][50]);
}

TEST_F(TapeTest, ShortSampleEndsWithItsBlock) {
    store.add(4, make_ramp(1, 20));
    store.load_range(4, 0, 20);
    rig.note(0, ON, 7);
    rig.param(0, 7, ID, 4);
    rig.state = {0};
    ASSERT_EQ(0, rig.process(64));
    EXPECT_EQ(take_ramp(4, 0, -1, 64), take(0, 1, 64));
    rig.state = {0};
    ASSERT_EQ(0, rig.process(64));
    EXPECT_EQ(2, rig.state[0]);
}

TEST_F(TapeTest, NoteOffFadesOut) {
    rig.note(0, ON, 7);
    rig.param(0, 7, ID, 1);
    rig.state = {0};
    ASSERT_EQ(0, rig.process(64));
    rig.note(0, OFF, 7);
    rig.state = {0};
    ASSERT_EQ(0, rig.process(100)); // the fade goes on in the next block
    EXPECT_EQ(0, rig.state[0]);
    rig.state = {0};
    ASSERT_EQ(0, rig.process(200));
    EXPECT_NEAR(0, rig.out[0][0][121], 1e-4f);
    EXPECT_EQ(0, rig.out[0][0][150]);
    rig.state = {0};
    ASSERT_EQ(0, rig.process(64));
    EXPECT_EQ(2, rig.state[0]);
}

TEST_F(TapeTest, NoteOffWithNoteOnInsideTheSampleIsSilent) {
    rig.note(0, ON, 7);
    rig.param(0, 7, ID, 1);
    rig.param(0, 7, POS, 0.1);
    rig.note(0, OFF, 7);
    rig.state = {0};
    ASSERT_EQ(0, rig.process(512));
    EXPECT_EQ(1, rig.state[0]);
    EXPECT_EQ(Floats(512, 0.0f), take(0, 0, 512));
    rig.state = {0};
    ASSERT_EQ(0, rig.process(64));
    EXPECT_EQ(2, rig.state[0]);
}

TEST_F(TapeTest, RefusesWhatCannotBeMoved) {
    rig.guard_flag = false;
    log.take();
    rig.note(0, ON, 7);
    rig.param(0, 7, ID, 1);
    rig.param(10, 7, PITCH, 5);
    rig.param(10, 8, PITCH, 5);
    rig.param(10, 7, 9, 5);
    rig.state = {0};
    ASSERT_EQ(0, rig.process(64));
    EXPECT_EQ((std::vector<std::string>{
                  "E handle_param_normal(): Received change for note parameter 4 after Note On "
                  "(note id: 7)"}),
              log.take());
}

TEST_F(TapeTest, FailuresAreLoggedAndSilent) {
    rig.guard_flag = false;
    log.take();
    rig.note(0, ON, 7);
    rig.param(0, 7, ID, 99);
    rig.state = {0};
    ASSERT_EQ(0, rig.process(64));
    EXPECT_EQ(2, rig.state[0]);
    auto line_list = log.take();
    ASSERT_EQ(2u, line_list.size());
    EXPECT_EQ(0u, line_list[0].find("E do_get_sample_info(): Returned special code -14498 (\""));
    EXPECT_EQ("E handle_accumulated_note_events(): Cannot retrieve sample information (KRYN id 99)",
              line_list[1]);

    store.probe.prefetch_ret = -1;
    store.probe.get_ret = -1;
    long const id = store.map[1].cache_id;
    rig.note(0, ON, 7);
    rig.param(0, 7, ID, 1);
    rig.state = {0};
    ASSERT_EQ(0, rig.process(64));
    EXPECT_EQ(0, rig.state[0]);
    EXPECT_EQ(Floats(64, 0.0f), take(0, 0, 64));
    EXPECT_EQ((std::vector<std::string>{
                  "E check_prefetch(): Cannot prefetch sample data (KRYN id 1, cache id " +
                      std::to_string(id) + "), start = 0, len = 30000",
                  "E resample_quick(): Cannot retrieve sample data (cache id " +
                      std::to_string(id) + "), start = 0, len = 65"}),
              log.take());
}

// Nothing takes the release back: the note plays to the block's end and no further.
TEST_F(TapeTest, ReleaseBeforeTheNoteInItsBlockEndsIt) {
    for (int const type : {OFF, ALL_OFF}) {
        rig.note(0, type, 7);
        rig.note(10, ON, 7);
        rig.param(10, 7, ID, 1);
        rig.state = {0};
        ASSERT_EQ(0, rig.process(64));
        EXPECT_EQ(0, rig.state[0]);
        EXPECT_EQ(take_ramp(1, 0, -11, 64), take(0, 0, 64)); // no fade
        rig.state = {0};
        ASSERT_EQ(0, rig.process(64));
        EXPECT_EQ(2, rig.state[0]);
    }
}

// A note's end stops the voice's walk over the block's events, and does nothing else.
TEST_F(TapeTest, NoteEndStopsTheWalk) {
    rig.note(0, ON, 7);
    rig.param(0, 7, ID, 1);
    rig.note(10, END, 7);
    rig.param(20, 7, VOL, 0);
    rig.note(20, OFF, 7);
    rig.state = {0};
    ASSERT_EQ(0, rig.process(512));
    EXPECT_EQ(take_ramp(1, 0, -1, 512), take(0, 0, 512));
    rig.state = {0};
    ASSERT_EQ(0, rig.process(64));
    EXPECT_EQ(take_ramp(1, 0, 511, 64), take(0, 0, 64));
    // Before the note in one block, it keeps it from starting; the voice waits for another one.
    ASSERT_EQ(0, rig.send(TapeRig::Cmd::DEACTIVATE));
    rig.note(0, END, 7);
    rig.note(10, ON, 7);
    rig.param(10, 7, ID, 1);
    rig.state = {0};
    ASSERT_EQ(0, rig.process(64));
    EXPECT_EQ(2, rig.state[0]);
    rig.param(0, 7, ID, 1);
    rig.note(0, ON, 7);
    rig.state = {0};
    ASSERT_EQ(0, rig.process(64)); // it, and the voice that this note takes
    EXPECT_EQ(2 * store.map[1].get(20, 0), rig.out[0][0][21]);
}

TEST_F(TapeTest, TwoNotesOfOneIdStartAtTheFirstStamp) {
    rig.note(5, ON, 7);
    rig.param(5, 7, ID, 1);
    rig.note(5, ON, 7);
    rig.state = {0};
    ASSERT_EQ(0, rig.process(64));
    EXPECT_EQ(2 * store.map[1].get(20, 0), rig.out[0][0][26]);
}

TEST_F(TapeTest, NoteOnOfAPlayingIdRestartsItAndStartsAnother) {
    rig.guard_flag = false;
    rig.note(0, ON, 7);
    rig.param(0, 7, ID, 1);
    rig.state = {0};
    ASSERT_EQ(0, rig.process(64));
    rig.note(10, ON, 7);
    rig.param(10, 7, ID, 2); // for the new voice alone
    rig.param(10, 7, PAN, 0);
    rig.state = {0};
    ASSERT_EQ(0, rig.process(64));
    // What was read stays until the block's end.
    EXPECT_EQ(store.map[1].get(83, 0) + store.map[2].get(9, 0), rig.out[0][0][20]);
    rig.state = {0};
    ASSERT_EQ(0, rig.process(64));
    EXPECT_EQ(store.map[1].get(19, 0) + store.map[2].get(73, 0), rig.out[0][0][20]);
}

TEST_F(TapeTest, RestartThatFailsPlaysToTheBlocksEnd) {
    rig.guard_flag = false;
    rig.note(0, ON, 7);
    rig.param(0, 7, ID, 1);
    rig.state = {0};
    ASSERT_EQ(0, rig.process(64));
    rig.info_ret = -2;
    rig.note(10, ON, 7);
    rig.state = {0};
    ASSERT_EQ(0, rig.process(64));
    EXPECT_EQ(take_ramp(1, 0, 63, 64), take(0, 0, 64));
    rig.info_ret = 0;
    rig.state = {0};
    ASSERT_EQ(0, rig.process(64));
    EXPECT_EQ(2, rig.state[0]);
}

TEST_F(TapeTest, SampleThatCannotBePlayedIsAsOneUnknown) {
    rig.guard_flag = false;
    auto const play = [this] {
        rig.note(0, ON, 7);
        rig.param(0, 7, ID, 1);
        rig.state = {0};
        EXPECT_EQ(0, rig.process(64));
        return rig.state[0];
    };
    TapeSample const whole = store.map[1];
    store.map[1].nbr_chn = 17;
    EXPECT_EQ(2, play());
    store.map[1].nbr_chn = -1;
    EXPECT_EQ(2, play());
    store.map[1] = whole;
    for (double const freq : {0.0, -44100.0, std::nan("")}) {
        log.take();
        store.map[1].freq = freq;
        EXPECT_EQ(2, play());
        EXPECT_EQ((std::vector<std::string>{
                      "E handle_accumulated_note_events(): Cannot retrieve sample information "
                      "(KRYN id 1)"}),
                  log.take());
    }
    store.map[1].freq = 44100;
    store.map[1].data.clear();
    EXPECT_EQ(2, play()); // nothing to play
}

TEST_F(TapeTest, AnyIdReachesTheHost) {
    rig.guard_flag = false;
    for (double const id : {281474976710655.0, 0x1p53, -3.0, 0x1p61}) {
        rig.note(0, ON, 7);
        rig.param(0, 7, ID, id);
        rig.state = {0};
        ASSERT_EQ(0, rig.process(64));
        EXPECT_EQ(static_cast<long long>(id), rig.asked_id);
    }
    for (double const id : {1e300, -1e300, std::nan("")}) { // no crash
        rig.note(0, ON, 7);
        rig.param(0, 7, ID, id);
        rig.state = {0};
        ASSERT_EQ(0, rig.process(64));
        EXPECT_EQ(2, rig.state[0]);
    }
}

// It is kept for the host to read, and moves by events alone.
TEST_F(TapeTest, MasterPitchShiftDoesNotSound) {
    auto const get = [this] {
        TapeRig::Cmd::GetParamVal rec = {{kryn::ParamScope_GLOBAL, 0, 1}, -9};
        EXPECT_EQ(0, rig.send(TapeRig::Cmd::GET_PARAM_VAL, &rec));
        return rec.val;
    };
    rig.note(0, ON, 7);
    rig.param(0, 7, ID, 1);
    rig.master(0, 1, 12, 32, 6);
    rig.state = {0};
    ASSERT_EQ(0, rig.process(64));
    EXPECT_EQ(take_ramp(1, 0, -1, 64), take(0, 0, 64));
    EXPECT_EQ(0, get()); // the smoothing after the jump never moves on
    ASSERT_EQ(0, rig.send(TapeRig::Cmd::CLEAR_BUFFERS));
    EXPECT_EQ(12, get());
}
