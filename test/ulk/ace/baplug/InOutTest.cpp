#include "support/AllocFault.h"
#include "support/BundleInstance.h"
#include "support/RealTimeGuard.h"
#include "ulk/ace/Err.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>

using namespace ulk::ace;
using Dsp = kryn::PluginDsp;
using CmdPlug = Dsp::CmdPlug;

namespace {

// One of the two end points. The main side is the one with pins.
struct EndPoint {
    char const* id;
    kryn::PinDir main;

    kryn::PinDir other() const {
        return main == kryn::PinDir_IN ? kryn::PinDir_OUT : kryn::PinDir_IN;
    }
};

class InOutTest : public ::testing::TestWithParam<EndPoint> {
protected:
    void SetUp() override { ASSERT_EQ(0, _bundle.instantiate(GetParam().id, _plug)); }

    // Counts by role; both arrays have room for 16.
    Dsp::FullPinConf make_conf(long nbr_main, long nbr_other) {
        Dsp::FullPinConf conf = {};
        conf.audio.port_arr[GetParam().main] = {16, nbr_main, _main.data()};
        conf.audio.port_arr[GetParam().other()] = {16, nbr_other, _other.data()};
        return conf;
    }
    CmdPlug::NegotiatePinConf negotiate(long nbr_main, long nbr_other) {
        CmdPlug::NegotiatePinConf rec = {make_conf(nbr_main, nbr_other), -9};
        EXPECT_EQ(0, _plug.send(CmdPlug::NEGOTIATE_PIN_CONF, &rec));
        return rec;
    }
    int set(long nbr_main, long nbr_other) {
        CmdPlug::SetPinConf rec = {make_conf(nbr_main, nbr_other)};
        return _plug.send(CmdPlug::SET_PIN_CONF, &rec);
    }
    Dsp::AudioConfPort& use_main(Dsp::FullPinConf& conf) {
        return conf.audio.port_arr[GetParam().main];
    }
    Dsp::AudioConfPort& use_other(Dsp::FullPinConf& conf) {
        return conf.audio.port_arr[GetParam().other()];
    }
    std::vector<long> get() {
        std::vector<long> const before = _main;
        _main.assign(16, -9);
        CmdPlug::GetPinConf rec = {make_conf(-9, -9)};
        EXPECT_EQ(0, _plug.send(CmdPlug::GET_PIN_CONF, &rec));
        EXPECT_EQ(0, use_other(rec.conf).nbr_pins);
        std::vector<long> const result(_main.begin(), _main.begin() + use_main(rec.conf).nbr_pins);
        _main = before;
        return result;
    }

    test::BundleInstance _bundle;
    test::Point _plug;
    std::vector<long> _main = std::vector<long>(16, 3);
    std::vector<long> _other = std::vector<long>(16, -7);
};

} // namespace

TEST_P(InOutTest, AnswersNothingElse) {
    for (int const cmd : {0x2101, 0x2102, 0x3101, 0x3102, 0x3104, 0x3105, 0x3111, 0x3112, 0x3113,
                          0x3114, 0x3115, 0x3116, 0, -1, 0x10000000}) {
        std::string record(128, '\x5A');
        EXPECT_EQ(-1, _plug.send(cmd, record.data())) << cmd;
        EXPECT_EQ(std::string(128, '\x5A'), record);
    }
}

TEST_P(InOutTest, StartsWithOneStereoPin) {
    EXPECT_EQ(std::vector<long>{2}, get());
}

TEST_P(InOutTest, GetPinConfTellsOneSideAlone) {
    _main = {2, 1, 6};
    _main.resize(16, 3);
    ASSERT_EQ(0, set(3, 0));
    std::fill(_main.begin(), _main.end(), -5);
    // No room: the main count stays as it was.
    for (long const room : {2, 1, 0}) {
        CmdPlug::GetPinConf rec = {make_conf(-9, -9)};
        use_main(rec.conf).nbr_pins_max = room;
        use_other(rec.conf).nbr_pins_max = 0;
        rec.conf.nbr_pins_data_in = 4;
        rec.conf.nbr_pins_data_out = 5;
        EXPECT_EQ(Err_NO_ROOM, _plug.send(CmdPlug::GET_PIN_CONF, &rec));
        EXPECT_EQ(-9, use_main(rec.conf).nbr_pins);
        EXPECT_EQ(0, use_other(rec.conf).nbr_pins);
        EXPECT_EQ(0, rec.conf.nbr_pins_data_in);
        EXPECT_EQ(0, rec.conf.nbr_pins_data_out);
        EXPECT_EQ(std::vector<long>(16, -5), _main);
    }
    CmdPlug::GetPinConf rec = {make_conf(-9, -9)};
    use_main(rec.conf).nbr_pins_max = 3;
    use_other(rec.conf).nbr_pins_max = 0; // no room needed there
    rec.conf.nbr_pins_data_in = 4;
    rec.conf.nbr_pins_data_out = 5;
    EXPECT_EQ(0, _plug.send(CmdPlug::GET_PIN_CONF, &rec));
    EXPECT_EQ(3, use_main(rec.conf).nbr_pins);
    EXPECT_EQ(3, use_main(rec.conf).nbr_pins_max);
    EXPECT_EQ(0, use_other(rec.conf).nbr_pins);
    EXPECT_EQ(0, rec.conf.nbr_pins_data_in);
    EXPECT_EQ(0, rec.conf.nbr_pins_data_out);
    EXPECT_EQ((std::vector<long>{2, 1, 6, -5}),
              std::vector<long>(_main.begin(), _main.begin() + 4));
    EXPECT_EQ(std::vector<long>(16, -7), _other);
}

TEST_P(InOutTest, NegotiatesByPinCountsAlone) {
    _main = {77, 0, -4, 2}; // channel counts are not examined
    _main.resize(16, 3);
    EXPECT_EQ(0, negotiate(2, 0).result);
    EXPECT_EQ(0, negotiate(1, 0).result);
    EXPECT_EQ(0, negotiate(16, 0).result);
    EXPECT_EQ(2, negotiate(1, 1).result);
    EXPECT_EQ(2, negotiate(0, 0).result);
    EXPECT_EQ(2, negotiate(0, 1).result);
    EXPECT_EQ(2, negotiate(-1, 0).result);
    EXPECT_EQ(2, negotiate(1, -1).result);
    EXPECT_EQ(77, _main[0]);
}

TEST_P(InOutTest, ProposalIsWrittenAndRefused) {
    for (long const room : {16, 1, 0}) { // the capacity is not looked at
        std::fill(_main.begin(), _main.end(), 3);
        CmdPlug::NegotiatePinConf rec = {make_conf(-1, -1), -9};
        use_main(rec.conf).nbr_pins_max = room;
        EXPECT_EQ(0, _plug.send(CmdPlug::NEGOTIATE_PIN_CONF, &rec));
        EXPECT_EQ(2, rec.result);
        EXPECT_EQ(1, use_main(rec.conf).nbr_pins);
        EXPECT_EQ(2, _main[0]);
        EXPECT_EQ(3, _main[1]);
        EXPECT_EQ(-1, use_other(rec.conf).nbr_pins);
        EXPECT_EQ(std::vector<long>(16, -7), _other);
    }
}

TEST_P(InOutTest, WipesDataPins) {
    for (auto const& [data_in, data_out] : {std::pair{1, 0}, {0, -1}, {3, 4}}) {
        for (auto const& [nbr_main, result] : {std::pair{1, 1}, {0, 2}}) {
            CmdPlug::NegotiatePinConf rec = {make_conf(nbr_main, 0), -9};
            rec.conf.nbr_pins_data_in = data_in;
            rec.conf.nbr_pins_data_out = data_out;
            EXPECT_EQ(0, _plug.send(CmdPlug::NEGOTIATE_PIN_CONF, &rec));
            EXPECT_EQ(result, rec.result);
            EXPECT_EQ(0, rec.conf.nbr_pins_data_in);
            EXPECT_EQ(0, rec.conf.nbr_pins_data_out);
        }
    }
}

TEST_P(InOutTest, SetPinConfKeepsTheRule) {
    _main = {5, 4};
    _main.resize(16, 3);
    ASSERT_EQ(0, set(2, 0));
    for (auto const& [nbr_main, nbr_other] :
         {std::pair{0, 0}, {0, 1}, {1, 1}, {-1, -1}, {-1, 0}, {1, -1}}) {
        EXPECT_EQ(Err_INVALID_PIN_CONF, set(nbr_main, nbr_other));
        EXPECT_EQ((std::vector<long>{5, 4}), get());
    }
    _main = std::vector<long>(16, 8);
    EXPECT_EQ(0, set(16, 0));
    EXPECT_EQ(std::vector<long>(16, 8), get());
    _main[0] = 1;
    EXPECT_EQ(0, set(1, 0));
    EXPECT_EQ(std::vector<long>{1}, get());
}

TEST_P(InOutTest, FailedAllocationChangesNothing) {
    ASSERT_EQ(0, set(1, 0));
    int ret = 0;
    {
        test::AllocFault fault(0);
        ret = set(16, 0);
        EXPECT_TRUE(fault.has_failed());
    }
    EXPECT_EQ(Err_FAILURE, ret);
    EXPECT_EQ(std::vector<long>{3}, get());
    EXPECT_EQ(Err_FAILURE, set(std::numeric_limits<long>::max(), 0));
    EXPECT_EQ(std::vector<long>{3}, get());
    EXPECT_EQ(0, set(16, 0));
    EXPECT_EQ(std::vector<long>(16, 3), get());
}

TEST_P(InOutTest, FailedAllocationsInTheConstructor) {
    bool fail_flag = true;
    for (long n = 0; fail_flag; ++n) {
        test::Point point;
        int ret = 0;
        {
            test::AllocFault fault(n);
            ret = _bundle.instantiate(GetParam().id, point);
            fail_flag = fault.has_failed();
        }
        EXPECT_EQ(fail_flag ? Err_FAILURE : 0, ret) << n;
        if (fail_flag) {
            point.com.plugin_execute = nullptr; // nobody lives there
        }
    }
}

TEST_P(InOutTest, ProcessTouchesStatesOfOutputsAlone) {
    _main = std::vector<long>(16, 2);
    ASSERT_EQ(0, set(3, 0));
    float chn[2][8];
    std::fill(&chn[0][0], &chn[0][0] + 16, 0.25f);
    float* chn_arr[] = {chn[0], chn[1]};
    for (long const state : {0, 1, 2}) {
        Dsp::PinData pin_arr[5];
        std::fill(pin_arr, pin_arr + 5, Dsp::PinData{chn_arr, state});
        bool const is_input = GetParam().main == kryn::PinDir_OUT;
        Dsp::PinData* const none = nullptr;
        Dsp::Event evt = {};
        evt.type = Dsp::EventType_PARAM;
        evt.timestamp = 3;
        Dsp::Event const* const evt_arr[] = {&evt};
        CmdPlug::Process block = {
            {is_input ? none : pin_arr + 1}, {is_input ? pin_arr + 1 : none}, {evt_arr, 1}, 8};
        int ret = -9;
        {
            test::RealTimeGuard guard;
            ret = _plug.send(CmdPlug::PROCESS, &block);
        }
        EXPECT_EQ(0, ret);
        for (int pin = 0; pin < 5; ++pin) {
            bool const reset_flag = is_input && pin >= 1 && pin <= 3; // three pins, no more
            EXPECT_EQ(reset_flag ? 0 : state, pin_arr[pin].state);
            EXPECT_EQ(chn_arr, pin_arr[pin].chn_arr);
        }
        for (float const x : chn[0]) {
            EXPECT_EQ(0.25f, x);
        }
    }
}

INSTANTIATE_TEST_SUITE_P(
    EndPoints, InOutTest,
    ::testing::Values(EndPoint{"Brevanto#TessitoneAudioInput", kryn::PinDir_OUT},
                      EndPoint{"Brevanto#TessitoneAudioOutput", kryn::PinDir_IN}),
    [](auto const& end) { return end.param.main == kryn::PinDir_OUT ? "Input" : "Output"; });
