#include "host/PinBuffers.h"
#include "support/AllocFault.h"
#include "support/BundleInstance.h"
#include "support/RealTimeGuard.h"
#include "ulk/ace/Err.h"

#include <gtest/gtest.h>

#include <cstring>
#include <random>

using namespace ulk::ace;
using Dsp = kryn::PluginDsp;
using CmdPlug = Dsp::CmdPlug;

namespace {

class BypassTest : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_EQ(0, _bundle.instantiate("Brevanto#TessitoneBypass", _plug)); }

    // Points the record at _in and _out, with their sizes as capacity.
    Dsp::FullPinConf make_conf(long nbr_in, long nbr_out) {
        return {{{{static_cast<long>(_in.size()), nbr_in, _in.data()},
                  {static_cast<long>(_out.size()), nbr_out, _out.data()}}},
                0,
                0};
    }

    int set_conf(std::vector<long> const& chn_arr) {
        _in = _out = chn_arr;
        long const nbr_pins = static_cast<long>(chn_arr.size());
        CmdPlug::SetPinConf rec = {make_conf(nbr_pins, nbr_pins)};
        return _plug.send(CmdPlug::SET_PIN_CONF, &rec);
    }

    std::vector<long> get_conf() {
        _in.assign(16, -9);
        _out.assign(16, -9);
        CmdPlug::GetPinConf rec = {make_conf(-9, -9)};
        EXPECT_EQ(0, _plug.send(CmdPlug::GET_PIN_CONF, &rec));
        long const nbr_pins = rec.conf.audio.port_arr[0].nbr_pins;
        EXPECT_EQ(nbr_pins, rec.conf.audio.port_arr[1].nbr_pins);
        EXPECT_EQ(_in, _out);
        _in.resize(static_cast<std::size_t>(nbr_pins));
        return _in;
    }

    CmdPlug::NegotiatePinConf negotiate(long nbr_in, long nbr_out, int expected_ret = 0) {
        CmdPlug::NegotiatePinConf rec = {make_conf(nbr_in, nbr_out), -9};
        EXPECT_EQ(expected_ret, _plug.send(CmdPlug::NEGOTIATE_PIN_CONF, &rec));
        return rec;
    }

    test::BundleInstance _bundle;
    test::Point _plug;
    std::vector<long> _in;
    std::vector<long> _out;
};

} // namespace

TEST_F(BypassTest, AnswersNothingElse) {
    for (int const cmd : {0x2101, 0x2102, 0x3101, 0x3102, 0x3104, 0x3105, 0x3111, 0x3112, 0x3113,
                          0x3114, 0x3115, 0x3116, 0, -1, 0x10000000}) {
        std::string record(128, '\x5A');
        EXPECT_EQ(-1, _plug.send(cmd, record.data())) << cmd;
        EXPECT_EQ(std::string(128, '\x5A'), record);
    }
}

TEST_F(BypassTest, StartsWithOneStereoPin) {
    EXPECT_EQ(std::vector<long>{2}, get_conf());
}

TEST_F(BypassTest, GetPinConfTellsCountsWithoutRoom) {
    ASSERT_EQ(0, set_conf({2, 1, 6}));
    for (auto const& [max_in, max_out] : {std::pair{0, 0}, {2, 3}, {3, 2}, {3, 0}}) {
        std::vector<long> chn_in(3, -9);
        std::vector<long> chn_out(3, -9);
        CmdPlug::GetPinConf rec = {
            {{{{max_in, -9, chn_in.data()}, {max_out, -9, chn_out.data()}}}, 5, 6}};
        EXPECT_EQ(Err_NO_ROOM, _plug.send(CmdPlug::GET_PIN_CONF, &rec));
        for (auto const& port : rec.conf.audio.port_arr) {
            EXPECT_EQ(3, port.nbr_pins);
        }
        EXPECT_EQ(std::vector<long>(3, -9), chn_in);
        EXPECT_EQ(std::vector<long>(3, -9), chn_out);
        EXPECT_EQ(0, rec.conf.nbr_pins_data_in);
        EXPECT_EQ(0, rec.conf.nbr_pins_data_out);
    }
}

TEST_F(BypassTest, GetPinConfClearsDataPins) {
    _in.assign(1, 0);
    _out.assign(1, 0);
    CmdPlug::GetPinConf rec = {make_conf(0, 0)};
    rec.conf.nbr_pins_data_in = 3;
    rec.conf.nbr_pins_data_out = 4;
    ASSERT_EQ(0, _plug.send(CmdPlug::GET_PIN_CONF, &rec));
    EXPECT_EQ(0, rec.conf.nbr_pins_data_in);
    EXPECT_EQ(0, rec.conf.nbr_pins_data_out);
}

TEST_F(BypassTest, NegotiatesWhatTheListDoesNotHave) {
    _in = _out = {2, 1, 6};
    auto const rec = negotiate(3, 3);
    EXPECT_EQ(CmdPlug::NegoResult_OK, rec.result);
    EXPECT_EQ((std::vector<long>{2, 1, 6}), _in);
    EXPECT_EQ(0, set_conf({2, 1, 6}));
    EXPECT_EQ((std::vector<long>{2, 1, 6}), get_conf());
}

TEST_F(BypassTest, RefusesSidesThatDiffer) {
    ASSERT_EQ(0, set_conf({5, 4}));
    _in = {2, 1, 6};
    _out = {2, 2, 6};
    EXPECT_EQ(CmdPlug::NegoResult_REFUSED, negotiate(3, 3).result);
    CmdPlug::SetPinConf set = {make_conf(3, 3)};
    EXPECT_EQ(Err_INVALID_PIN_CONF, _plug.send(CmdPlug::SET_PIN_CONF, &set));
    _out = _in;
    EXPECT_EQ(CmdPlug::NegoResult_REFUSED, negotiate(1, 2).result);
    EXPECT_EQ(CmdPlug::NegoResult_REFUSED, negotiate(-1, 2).result);
    EXPECT_EQ(CmdPlug::NegoResult_REFUSED, negotiate(2, -1).result);
    set = {make_conf(1, 2)};
    EXPECT_EQ(Err_INVALID_PIN_CONF, _plug.send(CmdPlug::SET_PIN_CONF, &set));
    set = {make_conf(-1, -1)};
    EXPECT_EQ(Err_INVALID_PIN_CONF, _plug.send(CmdPlug::SET_PIN_CONF, &set));
    EXPECT_EQ((std::vector<long>{5, 4}), get_conf());
}

TEST_F(BypassTest, ProposesOneStereoPin) {
    _in = _out = {7};
    auto rec = negotiate(-1, -5);
    EXPECT_EQ(CmdPlug::NegoResult_OK, rec.result);
    for (auto const& port : rec.conf.audio.port_arr) {
        EXPECT_EQ(1, port.nbr_pins);
        EXPECT_EQ(2, port.chn_arr[0]);
    }
    _out.clear(); // no room on one side
    rec = negotiate(-1, -5, Err_NO_ROOM);
    EXPECT_EQ(CmdPlug::NegoResult_REFUSED, rec.result);
    EXPECT_EQ(-1, rec.conf.audio.port_arr[0].nbr_pins);
    EXPECT_EQ(-5, rec.conf.audio.port_arr[1].nbr_pins);
}

TEST_F(BypassTest, WipesDataPins) {
    for (auto const& [data_in, data_out] : {std::pair{1, 0}, {0, -1}, {3, 4}}) {
        for (long const count : {1, -1}) {
            _in = _out = {2};
            CmdPlug::NegotiatePinConf rec = {make_conf(count, count), -9};
            rec.conf.nbr_pins_data_in = data_in;
            rec.conf.nbr_pins_data_out = data_out;
            EXPECT_EQ(0, _plug.send(CmdPlug::NEGOTIATE_PIN_CONF, &rec));
            EXPECT_EQ(CmdPlug::NegoResult_CHANGED, rec.result);
            EXPECT_EQ(0, rec.conf.nbr_pins_data_in);
            EXPECT_EQ(0, rec.conf.nbr_pins_data_out);
        }
    }
}

TEST_F(BypassTest, ZeroPinsTouchNothing) {
    ASSERT_EQ(0, set_conf({}));
    CmdPlug::Process block = {{nullptr}, {nullptr}, {nullptr, 0}, 64};
    EXPECT_EQ(0, _plug.send(CmdPlug::PROCESS, &block));
}

TEST_F(BypassTest, FailedAllocationKeepsTheConfiguration) {
    ASSERT_EQ(0, set_conf({2, 2}));
    _in = _out = std::vector<long>(100, 1);
    CmdPlug::SetPinConf rec = {make_conf(100, 100)};
    int ret = 0;
    {
        test::AllocFault fault(0);
        ret = _plug.send(CmdPlug::SET_PIN_CONF, &rec);
    }
    EXPECT_EQ(Err_FAILURE, ret);
    EXPECT_EQ((std::vector<long>{2, 2}), get_conf());
}

// Random pins, states and lengths: wanted outputs of sounding inputs get the input's bits, all else
// keeps its own.
TEST_F(BypassTest, CopiesBitsAndNothingElse) {
    std::mt19937 rng(1);
    auto const draw = [&rng](int lo, int hi) {
        return std::uniform_int_distribution<int>(lo, hi)(rng);
    };
    for (int round = 0; round < 500; ++round) {
        std::vector<long> chn_arr(static_cast<std::size_t>(draw(0, 5)));
        for (auto& chn : chn_arr) {
            chn = draw(1, 8);
        }
        ASSERT_EQ(0, set_conf(chn_arr));
        long const len = draw(0, 300);
        ulk::host::PinBuffers in(chn_arr, len + 16);
        ulk::host::PinBuffers out(chn_arr, len + 16);
        ulk::host::PinBuffers expected(chn_arr, len + 16);
        std::vector<long> state_arr;
        std::size_t const bytes = static_cast<std::size_t>(len + 16) * sizeof(float);
        for (long pin = 0; pin < in.get_nbr_pins(); ++pin) {
            in.use_pin(pin).state = draw(0, 2);
            out.use_pin(pin).state = draw(0, 2);
            bool const copy_flag = in.use_pin(pin).state == 0 && out.use_pin(pin).state == 0;
            for (long chn = 0; chn < in.get_nbr_chn(pin); ++chn) {
                for (long i = 0; i < len + 16; ++i) {
                    // All bit patterns: signalling NaN and denormals too.
                    for (float* dst : {in.use_chn(pin, chn) + i, out.use_chn(pin, chn) + i}) {
                        auto const bits = static_cast<std::uint32_t>(rng());
                        std::memcpy(dst, &bits, sizeof(bits));
                    }
                }
                std::memcpy(expected.use_chn(pin, chn), out.use_chn(pin, chn), bytes);
                if (copy_flag) {
                    std::memcpy(expected.use_chn(pin, chn), in.use_chn(pin, chn),
                                static_cast<std::size_t>(len) * sizeof(float));
                }
            }
            state_arr.push_back(out.use_pin(pin).state != 0  ? out.use_pin(pin).state
                                : in.use_pin(pin).state != 0 ? 2
                                                             : 0);
        }
        // Buffers that nobody needs may be missing.
        for (long pin = 0; pin < in.get_nbr_pins(); ++pin) {
            if (in.use_pin(pin).state != 0 || out.use_pin(pin).state != 0) {
                in.use_pin(pin).chn_arr = nullptr;
            }
        }
        CmdPlug::Process block = {in.use_port(), out.use_port(), {nullptr, 0}, len};
        {
            test::RealTimeGuard guard;
            ASSERT_EQ(0, _plug.send(CmdPlug::PROCESS, &block));
        }
        for (long pin = 0; pin < out.get_nbr_pins(); ++pin) {
            ASSERT_EQ(state_arr[static_cast<std::size_t>(pin)], out.use_pin(pin).state);
            for (long chn = 0; chn < out.get_nbr_chn(pin); ++chn) {
                ASSERT_EQ(0, std::memcmp(expected.use_chn(pin, chn), out.use_chn(pin, chn), bytes));
            }
        }
    }
}
