// The mixer's commands on pins.

#include "MixerRig.h"
#include "support/AllocFault.h"
#include "ulk/ace/Err.h"

#include <gtest/gtest.h>

#include <tuple>

using namespace ulk::ace;
using Dsp = kryn::PluginDsp;
using CmdPlug = Dsp::CmdPlug;

namespace {

class DryWetPinTest : public ::testing::Test {
protected:
    // Points the record at _in and _out, with their sizes as capacity.
    Dsp::FullPinConf make_conf(long nbr_in, long nbr_out) {
        return {{{{static_cast<long>(_in.size()), nbr_in, _in.data()},
                  {static_cast<long>(_out.size()), nbr_out, _out.data()}}},
                0,
                0};
    }
    CmdPlug::NegotiatePinConf negotiate(long nbr_in, long nbr_out, int expected_ret = 0) {
        CmdPlug::NegotiatePinConf rec = {make_conf(nbr_in, nbr_out), -9};
        EXPECT_EQ(expected_ret, _mixer.point.send(CmdPlug::NEGOTIATE_PIN_CONF, &rec));
        return rec;
    }
    int set(long nbr_in, long nbr_out) {
        CmdPlug::SetPinConf rec = {make_conf(nbr_in, nbr_out)};
        return _mixer.point.send(CmdPlug::SET_PIN_CONF, &rec);
    }
    // Channels of the outputs; the inputs are looked at too.
    std::vector<long> get() {
        std::vector<long> in(40, -9);
        std::vector<long> out(20, -9);
        CmdPlug::GetPinConf rec = {{{{{40, -9, in.data()}, {20, -9, out.data()}}}, 3, 4}};
        EXPECT_EQ(0, _mixer.point.send(CmdPlug::GET_PIN_CONF, &rec));
        EXPECT_EQ(0, rec.conf.nbr_pins_data_in);
        EXPECT_EQ(0, rec.conf.nbr_pins_data_out);
        out.resize(static_cast<std::size_t>(rec.conf.audio.port_arr[1].nbr_pins));
        in.resize(static_cast<std::size_t>(rec.conf.audio.port_arr[0].nbr_pins));
        EXPECT_EQ(test::Mixer::make_in_arr(out), in);
        return out;
    }

    test::Mixer _mixer;
    std::vector<long> _in;
    std::vector<long> _out;
};

} // namespace

TEST_F(DryWetPinTest, StartsWithOneStereoPin) {
    EXPECT_EQ(std::vector<long>{2}, get());
}

TEST_F(DryWetPinTest, GetPinConfTellsCountsWithoutRoom) {
    ASSERT_EQ(0, _mixer.set_pins({2, 1, 6}));
    for (auto const& [max_in, max_out] : {std::pair{0, 0}, {5, 3}, {6, 2}, {6, 0}, {3, 3}}) {
        std::vector<long> in(6, -9);
        std::vector<long> out(6, -9);
        CmdPlug::GetPinConf rec = {{{{{max_in, -9, in.data()}, {max_out, -9, out.data()}}}, 5, 6}};
        EXPECT_EQ(Err_NO_ROOM, _mixer.point.send(CmdPlug::GET_PIN_CONF, &rec));
        EXPECT_EQ(6, rec.conf.audio.port_arr[0].nbr_pins);
        EXPECT_EQ(3, rec.conf.audio.port_arr[1].nbr_pins);
        EXPECT_EQ(std::vector<long>(6, -9), in);
        EXPECT_EQ(std::vector<long>(6, -9), out);
        EXPECT_EQ(0, rec.conf.nbr_pins_data_in);
        EXPECT_EQ(0, rec.conf.nbr_pins_data_out);
    }
}

TEST_F(DryWetPinTest, TwoInputsForEachOutput) {
    _out = {2, 1, 6};
    _in = {2, 2, 1, 1, 6, 6};
    EXPECT_EQ(0, negotiate(6, 3).result);
    EXPECT_EQ(0, set(6, 3));
    EXPECT_EQ((std::vector<long>{2, 1, 6}), get());
    for (std::size_t pin = 0; pin < _in.size(); ++pin) {
        ++_in[pin];
        EXPECT_EQ(2, negotiate(6, 3).result) << pin;
        EXPECT_EQ(Err_INVALID_PIN_CONF, set(6, 3));
        --_in[pin];
    }
    for (auto const& [nbr_in, nbr_out] :
         {std::pair{5, 3}, {6, 2}, {0, 3}, {6, 0}, {3, 3}, {-2, 1}, {2, -1}, {3, 6}}) {
        EXPECT_EQ(2, negotiate(nbr_in, nbr_out).result);
        EXPECT_EQ(Err_INVALID_PIN_CONF, set(nbr_in, nbr_out));
    }
    EXPECT_EQ(Err_INVALID_PIN_CONF, set(-2, -1));
    EXPECT_EQ((std::vector<long>{2, 1, 6}), get());
    EXPECT_EQ(0, negotiate(0, 0).result);
    EXPECT_EQ(0, set(0, 0));
    EXPECT_EQ(std::vector<long>{}, get());
}

TEST_F(DryWetPinTest, ProposesAStereoPin) {
    _in = {7, 7, 7};
    _out = {7, 7};
    auto rec = negotiate(-1, -5);
    EXPECT_EQ(0, rec.result);
    EXPECT_EQ(2, rec.conf.audio.port_arr[0].nbr_pins);
    EXPECT_EQ(1, rec.conf.audio.port_arr[1].nbr_pins);
    EXPECT_EQ((std::vector<long>{2, 2, 7}), _in);
    EXPECT_EQ((std::vector<long>{2, 7}), _out);
    for (auto const& [room_in, room_out] : {std::pair{1, 1}, {0, 1}, {2, 0}, {0, 0}}) {
        _in.assign(static_cast<std::size_t>(room_in), 7);
        _out.assign(static_cast<std::size_t>(room_out), 7);
        rec = negotiate(-1, -5, Err_NO_ROOM);
        EXPECT_EQ(2, rec.result);
        EXPECT_EQ(-1, rec.conf.audio.port_arr[0].nbr_pins);
        EXPECT_EQ(-5, rec.conf.audio.port_arr[1].nbr_pins);
        EXPECT_EQ(std::vector<long>(static_cast<std::size_t>(room_in), 7), _in);
    }
}

TEST_F(DryWetPinTest, WipesDataPins) {
    for (auto const& [data_in, data_out] : {std::pair{1, 0}, {0, -1}, {3, 4}}) {
        for (auto const& [nbr_in, nbr_out, result] :
             {std::tuple{2, 1, 1}, {-1, -1, 1}, {1, 1, 2}}) {
            _in = {2, 2};
            _out = {2};
            CmdPlug::NegotiatePinConf rec = {make_conf(nbr_in, nbr_out), -9};
            rec.conf.nbr_pins_data_in = data_in;
            rec.conf.nbr_pins_data_out = data_out;
            EXPECT_EQ(0, _mixer.point.send(CmdPlug::NEGOTIATE_PIN_CONF, &rec));
            EXPECT_EQ(result, rec.result);
            EXPECT_EQ(0, rec.conf.nbr_pins_data_in);
            EXPECT_EQ(0, rec.conf.nbr_pins_data_out);
        }
    }
}

TEST_F(DryWetPinTest, FailedAllocationChangesNothing) {
    ASSERT_EQ(0, _mixer.set_pins({5, 4}));
    _out = std::vector<long>(20, 3);
    _in = test::Mixer::make_in_arr(_out);
    int ret = 0;
    {
        test::AllocFault fault(0);
        ret = set(40, 20);
        EXPECT_TRUE(fault.has_failed());
    }
    EXPECT_EQ(Err_FAILURE, ret);
    EXPECT_EQ((std::vector<long>{5, 4}), get());
    EXPECT_EQ(0, set(40, 20));
    EXPECT_EQ(_out, get());
}

TEST_F(DryWetPinTest, FailedAllocationsInTheConstructor) {
    bool fail_flag = true;
    for (long n = 0; fail_flag; ++n) {
        test::Point point;
        int ret = 0;
        {
            test::AllocFault fault(n);
            ret = _mixer.bundle.instantiate("Brevanto#TessitoneDryWet", point);
            fail_flag = fault.has_failed();
        }
        EXPECT_EQ(fail_flag ? Err_FAILURE : 0, ret) << n;
        if (fail_flag) {
            point.com.plugin_execute = nullptr; // nobody lives there
        }
    }
}
