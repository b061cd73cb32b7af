#include "TapeRig.h"

#include "support/AllocFault.h"
#include "support/LogCatcher.h"
#include "ulk/ace/Err.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <string>
#include <vector>

using namespace ulk::ace;
using Cmd = kryn::PluginDsp::CmdPlug;
using Counts = std::vector<long>;
using Lines = std::vector<std::string>;

namespace {

class TapePinTest : public ::testing::Test {
protected:
    long negotiate(Counts in, Counts out, long data_in = 0) {
        Cmd::NegotiatePinConf rec = {};
        auto const nbr_in = static_cast<long>(in.size());
        auto const nbr_out = static_cast<long>(out.size());
        rec.conf.audio = {{{nbr_in, nbr_in, in.data()}, {nbr_out, nbr_out, out.data()}}};
        rec.conf.nbr_pins_data_in = data_in;
        EXPECT_EQ(0, rig.send(Cmd::NEGOTIATE_PIN_CONF, &rec));
        EXPECT_EQ(0, rec.conf.nbr_pins_data_in);
        return rec.result;
    }
    int set(Counts in, Counts out) {
        Cmd::SetPinConf rec = {};
        auto const nbr_in = static_cast<long>(in.size());
        auto const nbr_out = static_cast<long>(out.size());
        rec.conf.audio = {{{nbr_in, nbr_in, in.data()}, {nbr_out, nbr_out, out.data()}}};
        return rig.send(Cmd::SET_PIN_CONF, &rec);
    }
    int get(long room) {
        chn_in.assign(20, -5);
        chn_out.assign(20, -5);
        told.conf.audio = {{{room, -7, chn_in.data()}, {room, -7, chn_out.data()}}};
        told.conf.nbr_pins_data_in = told.conf.nbr_pins_data_out = 4;
        int const ret = rig.send(Cmd::GET_PIN_CONF, &told);
        EXPECT_EQ(0, told.conf.nbr_pins_data_in);
        EXPECT_EQ(0, told.conf.nbr_pins_data_out);
        return ret;
    }

    test::LogCatcher log;
    test::SampleStore store{1024, 4};
    test::TapeRig rig{store};
    Counts chn_in, chn_out;
    Cmd::GetPinConf told = {};
};

} // namespace

TEST_F(TapePinTest, Negotiates) {
    EXPECT_EQ(0, negotiate({}, {2}));
    EXPECT_EQ(0, negotiate({2}, {2}));
    EXPECT_EQ(1, negotiate({2}, {2}, 3));
    EXPECT_EQ(0, negotiate({}, {16}));
    EXPECT_EQ(0, negotiate({}, {0}));
    EXPECT_EQ(2, negotiate({}, {17}));
    EXPECT_EQ(2, negotiate({}, {-1}));
    EXPECT_EQ(2, negotiate({}, {}));
    EXPECT_EQ(2, negotiate({1}, {2}));
    EXPECT_EQ(2, negotiate({2, 2}, {2}));
    EXPECT_EQ(0, negotiate({}, Counts(9, 1)));
    Cmd::NegotiatePinConf both = {};
    both.conf.audio = {{{0, -1, nullptr}, {0, -1, nullptr}}};
    EXPECT_EQ(0, rig.send(Cmd::NEGOTIATE_PIN_CONF, &both));
    EXPECT_EQ(2, both.result);
}

TEST_F(TapePinTest, TellsItsPins) {
    EXPECT_EQ(0, get(1));
    EXPECT_EQ(0, told.conf.audio.port_arr[0].nbr_pins);
    EXPECT_EQ(1, told.conf.audio.port_arr[1].nbr_pins);
    EXPECT_EQ(2, chn_out[0]);
    EXPECT_EQ(-5, chn_in[0]);
    EXPECT_EQ(0, set({1, 6}, {1, 6}));
    EXPECT_EQ(0, get(2));
    EXPECT_EQ((Counts{1, 6}), Counts(chn_in.begin(), chn_in.begin() + 2));
    EXPECT_EQ((Counts{1, 6}), Counts(chn_out.begin(), chn_out.begin() + 2));
    EXPECT_EQ(Err_NO_ROOM, get(1));
    EXPECT_EQ(-7, told.conf.audio.port_arr[1].nbr_pins);
}

TEST_F(TapePinTest, LooksAtTheRoomOfTheOutputsAlone) {
    EXPECT_EQ(0, set({2, 1}, {2, 1}));
    chn_in.assign(2, -5);
    chn_out.assign(2, -5);
    told.conf.audio = {{{0, -7, chn_in.data()}, {2, -7, chn_out.data()}}};
    EXPECT_EQ(0, rig.send(Cmd::GET_PIN_CONF, &told));
    EXPECT_EQ((Counts{2, 1}), chn_in);
    EXPECT_EQ((Counts{2, 1}), chn_out);
    told.conf.audio.port_arr[1].nbr_pins_max = 1;
    told.conf.audio.port_arr[0].nbr_pins_max = 2;
    EXPECT_EQ(-14499, rig.send(Cmd::GET_PIN_CONF, &told));
}

TEST_F(TapePinTest, RefusedPinsChangeNothing) {
    EXPECT_EQ(Err_INVALID_PIN_CONF, set({}, {17, 1, 1}));
    EXPECT_EQ(Err_INVALID_PIN_CONF, set({1, 1}, {1}));
    Cmd::SetPinConf conf = {};
    conf.conf.audio.port_arr[1] = {0, -1, nullptr};
    EXPECT_EQ(Err_INVALID_PIN_CONF, rig.send(Cmd::SET_PIN_CONF, &conf));
    EXPECT_EQ(0, get(1));
    EXPECT_EQ(2, chn_out[0]);
}

TEST_F(TapePinTest, NothingSoundsWithoutABlockLength) {
    store.add(1, {1, 44100, test::Floats(1000, 0.5f), 0});
    store.load_range(1, 0, 1000);
    rig.init_settled();
    rig.note(0, 6, 1);
    rig.param(0, 1, 0, 1);
    rig.state = {0};
    EXPECT_EQ(0, rig.process(64));
    EXPECT_EQ(2, rig.state[0]);
    EXPECT_EQ(0, rig.set_block_len(1));
    rig.note(0, 6, 1);
    rig.param(0, 1, 0, 1);
    rig.state = {0};
    EXPECT_EQ(0, rig.process(1));
    EXPECT_EQ(0, rig.state[0]);
    EXPECT_EQ(0, rig.process(1));
    EXPECT_EQ(0.5f, rig.out[0][0][0]);
    EXPECT_EQ(77.0f, rig.out[0][0][1]);
    // A block of no frames changes nothing.
    rig.state = {0};
    EXPECT_EQ(0, rig.process(0));
    EXPECT_EQ(0, rig.state[0]);
    // Deactivation silences at once.
    EXPECT_EQ(0, rig.send(Cmd::DEACTIVATE));
    EXPECT_EQ(0, rig.process(1));
    EXPECT_EQ(2, rig.state[0]);
}

TEST_F(TapePinTest, UnreachableCacheSilencesTheBlock) {
    store.add(1, {1, 44100, test::Floats(1000, 0.5f), 0});
    EXPECT_EQ(0, rig.set_block_len(64));
    rig.guard_flag = false;
    rig.cache_ret = -1;
    log.take();
    rig.note(0, 6, 1);
    rig.param(0, 1, 0, 1);
    rig.state = {0};
    EXPECT_EQ(0, rig.process(64));
    EXPECT_EQ(2, rig.state[0]);
    EXPECT_EQ(
        (std::vector<std::string>{"E do_prefetch_sample_data(): Error, function not implemented."}),
        log.take());

    rig.cache_ret = 0;
    rig.cache_flag = false; // says yes and gives none
    rig.note(0, 6, 1);
    rig.param(0, 1, 0, 1);
    rig.state = {0};
    EXPECT_EQ(0, rig.process(64));
    EXPECT_EQ(2, rig.state[0]);
    EXPECT_EQ((std::vector<std::string>{"E do_prefetch_sample_data(): Returned special code "
                                        "-14498 (\"Not found\")."}),
              log.take());
}

TEST_F(TapePinTest, UnreachableCacheSilencesNotesThatPlay) {
    store.add(1, {1, 44100, test::Floats(900, 0.5f), 0});
    store.load_range(1, 0, 900);
    EXPECT_EQ(0, rig.set_conf({1, 1}, true));
    EXPECT_EQ(0, rig.set_block_len(64));
    rig.init_settled();
    rig.note(0, 6, 1);
    rig.param(0, 1, 0, 1);
    EXPECT_EQ(0, rig.process(64));
    EXPECT_EQ(0.5f + 77.0f, rig.out[0][0][1]);
    rig.guard_flag = false;
    rig.cache_ret = -2;
    rig.note(0, 6, 2); // asks for the cache, when the other one has been mixed already
    rig.param(0, 2, 0, 1);
    EXPECT_EQ(0, rig.process(64));
    EXPECT_EQ((Counts{0, 0}), rig.state); // the input passes through
    EXPECT_EQ(77.0f, rig.out[1][0][1]);
    EXPECT_EQ(0, rig.process(64));
    EXPECT_EQ(77.0f, rig.out[0][0][1]);
}

// What fails leaves pins and memory as they were.
TEST_F(TapePinTest, MemoryThatCannotBeHadChangesNothing) {
    store.add(1, {1, 44100, test::Floats(900, 0.5f), 0});
    store.load_range(1, 0, 900);
    EXPECT_EQ(0, rig.set_block_len(64));
    rig.init_settled();
    auto const expect_sound = [this] {
        rig.note(0, 6, 1);
        rig.param(0, 1, 0, 1);
        rig.state = {0};
        EXPECT_EQ(0, rig.process(64));
        EXPECT_EQ(0, rig.state[0]);
        EXPECT_EQ(0.5f, rig.out[0].back()[63]);
        EXPECT_EQ(77.0f, rig.out[0].back()[64]);
        EXPECT_EQ(0, get(4));
        EXPECT_EQ(rig.chn_arr[0], chn_out[0]);
    };
    log.take();
    for (long const len : {std::numeric_limits<long>::max(), 1L << 40}) {
        EXPECT_EQ(Err_FAILURE, rig.set_block_len(len));
        EXPECT_EQ((Lines{"E set_process_block_len(): exception."}), log.take());
        expect_sound();
    }
    Lines const pin_lines = {"E set_pin_conf(): exception.", "E update_pins_out(): exception."};
    bool fail_flag = true;
    for (long n = 0; fail_flag; ++n) {
        int ret = 0;
        {
            Counts chn_list = {16};
            Cmd::SetPinConf rec = {};
            rec.conf.audio = {{{0, 0, nullptr}, {1, 1, chn_list.data()}}};
            test::AllocFault fault(n);
            ret = rig.send(Cmd::SET_PIN_CONF, &rec);
            fail_flag = fault.has_failed();
        }
        EXPECT_EQ(fail_flag ? Err_FAILURE : Err_OK, ret) << n;
        auto const lines = log.take();
        EXPECT_EQ(fail_flag ? 1u : 0u, lines.size()) << n;
        for (auto const& line : lines) {
            EXPECT_EQ(1, std::count(pin_lines.begin(), pin_lines.end(), line)) << line;
        }
        rig.chn_arr = {fail_flag ? 2 : 16};
        expect_sound();
    }
    fail_flag = true;
    for (long n = 0; fail_flag; ++n) {
        Cmd::SetProcessBlockLen rec = {0, 4096};
        int ret = 0;
        {
            test::AllocFault fault(n);
            ret = rig.send(Cmd::SET_PROCESS_BLOCK_LEN, &rec);
            fail_flag = fault.has_failed();
        }
        EXPECT_EQ(fail_flag ? Err_FAILURE : Err_OK, ret) << n;
        EXPECT_EQ(fail_flag ? 1u : 0u, log.take().size()) << n;
        expect_sound();
    }
}

TEST_F(TapePinTest, AHostThatTakesNoCommandHearsNothing) {
    EXPECT_EQ(0, rig.set_block_len(64));
    rig.init_settled();
    rig.guard_flag = false; // the lines are caught in memory
    rig.com.host_execute = nullptr;
    log.take(); // of the set-up
    rig.note(0, 6, 1);
    rig.param(0, 1, 0, 1);
    rig.state = {0};
    EXPECT_EQ(0, rig.process(64));
    EXPECT_EQ(2, rig.state[0]);
    EXPECT_EQ((Lines{"E do_get_sample_info(): Error, function not implemented.",
                     "E handle_accumulated_note_events(): Cannot retrieve sample information "
                     "(KRYN id 1)"}),
              log.take());
}

TEST_F(TapePinTest, TellsItsParameters) {
    auto const get_val = [this](kryn::ParamScope scope, int index, int& ret) {
        Cmd::GetParamVal val = {{scope, 0, index}, -9};
        ret = rig.send(Cmd::GET_PARAM_VAL, &val);
        return val.val;
    };
    int ret = 0;
    EXPECT_EQ(0, get_val(kryn::ParamScope_GLOBAL, 0, ret));
    EXPECT_EQ(0, rig.send(kryn::Plugin::CmdPlug::INIT));
    EXPECT_EQ(0, get_val(kryn::ParamScope_GLOBAL, 0, ret)); // the value heard: it fades in
    EXPECT_EQ(0, rig.send(Cmd::CLEAR_BUFFERS));
    EXPECT_EQ(0.51026862859725952, get_val(kryn::ParamScope_GLOBAL, 0, ret));
    EXPECT_EQ(0, get_val(kryn::ParamScope_GLOBAL, 1, ret));
    EXPECT_EQ(0, ret);
    get_val(kryn::ParamScope_GLOBAL, 2, ret);
    EXPECT_EQ(Err_INVALID_PARAM_LOCATION, ret);
    get_val(kryn::ParamScope_NOTE, 0, ret);
    EXPECT_EQ(Err_INVALID_PARAM_LOCATION, ret);

    char txt[32] = "";
    Cmd::ConvParamToStr str = {{kryn::ParamScope_NOTE, 0, 6}, -0.5, txt, 31};
    EXPECT_EQ(0, rig.send(Cmd::CONV_PARAM_TO_STR, &str));
    EXPECT_STREQ("L  50", txt);
    for (int const index : {-1, 7}) {
        str.location.index = index;
        EXPECT_EQ(Err_INVALID_PARAM_LOCATION, rig.send(Cmd::CONV_PARAM_TO_STR, &str));
    }
    EXPECT_EQ(0, rig.send(kryn::Plugin::CmdPlug::RESTORE));
    EXPECT_EQ(0, rig.send(Cmd::ACTIVATE));
    EXPECT_EQ(-1, rig.send(Cmd::GET_TAIL_SIZE));
}
