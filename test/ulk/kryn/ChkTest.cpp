#include "ulk/kryn/Chk.h"

#include "ulk/ace/Err.h"

#include <gtest/gtest.h>

#include <string>

using kryn::Chk;
using kryn::PluginDsp;

namespace {

// A configuration with one pin of 2 channels on each side and room for four.
class ChkTest : public ::testing::Test {
protected:
    long _in[4] = {2, 0, 0, 0};
    long _out[4] = {2, 0, 0, 0};
    PluginDsp::AudioConf _conf = {{{4, 1, _in}, {4, 1, _out}}};
};

} // namespace

TEST_F(ChkTest, ConfToBeFilledNeedsCapacityAndArray) {
    EXPECT_EQ(1, Chk::check_audio_conf_to_be_filled(_conf));
    for (auto& port : _conf.port_arr) {
        auto const saved = port;
        port.nbr_pins_max = 0;
        EXPECT_EQ(1, Chk::check_audio_conf_to_be_filled(_conf));
        port.nbr_pins_max = -1;
        EXPECT_EQ(0, Chk::check_audio_conf_to_be_filled(_conf));
        port = saved;
        port.chn_arr = nullptr;
        EXPECT_EQ(0, Chk::check_audio_conf_to_be_filled(_conf));
        port = saved;
        port.nbr_pins = -1; // not looked at
        EXPECT_EQ(1, Chk::check_audio_conf_to_be_filled(_conf));
        port = saved;
    }
}

TEST_F(ChkTest, ConfToBeSetNeedsPinsWithChannels) {
    EXPECT_EQ(1, Chk::check_audio_conf_to_be_set(_conf));
    for (auto& port : _conf.port_arr) {
        auto const saved = port;
        port.nbr_pins = -1;
        EXPECT_EQ(0, Chk::check_audio_conf_to_be_set(_conf));
        port.nbr_pins = 2; // the second pin has 0 channels
        EXPECT_EQ(0, Chk::check_audio_conf_to_be_set(_conf));
        port = saved;
        port.chn_arr = nullptr;
        EXPECT_EQ(0, Chk::check_audio_conf_to_be_set(_conf));
        port.nbr_pins = 0;
        EXPECT_EQ(1, Chk::check_audio_conf_to_be_set(_conf));
        port = saved;
        port.nbr_pins_max = -1; // not looked at
        EXPECT_EQ(1, Chk::check_audio_conf_to_be_set(_conf));
        port = saved;
    }
}

TEST_F(ChkTest, NegotiationBeforeAsksForBoth) {
    EXPECT_EQ(1, Chk::check_audio_conf_nego_before(_conf));
    for (auto& port : _conf.port_arr) {
        auto const saved = port;
        port.nbr_pins = -1; // the plug-ins take it as a question, the check refuses it
        EXPECT_EQ(0, Chk::check_audio_conf_nego_before(_conf));
        port = saved;
        port.nbr_pins_max = -1;
        EXPECT_EQ(0, Chk::check_audio_conf_nego_before(_conf));
        port = saved;
        port.nbr_pins_max = 0; // less than nbr_pins, which only the check after looks at
        EXPECT_EQ(1, Chk::check_audio_conf_nego_before(_conf));
        EXPECT_EQ(0, Chk::check_audio_conf_nego_after(_conf));
        port.nbr_pins = 0;
        port.chn_arr = nullptr;
        EXPECT_EQ(0, Chk::check_audio_conf_nego_before(_conf));
        EXPECT_EQ(1, Chk::check_audio_conf_nego_after(_conf));
        port = saved;
    }
}

TEST(ChkPlugIdTest, CharacterIsJudgedByItsLow21Bits) {
    EXPECT_EQ(1, Chk::check_plug_id_char(32));
    EXPECT_EQ(0, Chk::check_plug_id_char(31));
    EXPECT_EQ(0, Chk::check_plug_id_char(0));
    EXPECT_EQ(1, Chk::check_plug_id_char(0x1FFFFF));
    EXPECT_EQ(0, Chk::check_plug_id_char(0x200000));
    EXPECT_EQ(0, Chk::check_plug_id_char(0x7FE00000));
    EXPECT_EQ(1, Chk::check_plug_id_char(-1));
}

TEST(ChkPlugIdTest, Texts) {
    using namespace ulk::ace;
    EXPECT_EQ(0, Chk::check_plug_id_str("Brevanto#TessitoneBypass", 0));
    EXPECT_EQ(Err_FORBIDDEN_ELEMENT, Chk::check_plug_id_str("ChangeMe#ChangeMe", 0));
    EXPECT_EQ(Err_FORBIDDEN_ELEMENT, Chk::check_plug_id_str("ChangeMe#ChangeMe|x", '|'));
    EXPECT_EQ(0, Chk::check_plug_id_str("ChangeMe#ChangeMe1", 0));
    EXPECT_EQ(0, Chk::check_plug_id_str("ChangeMe#ChangeM", 0));
    EXPECT_EQ(Err_INVALID_SIZE, Chk::check_plug_id_str("", 0));
    EXPECT_EQ(Err_INVALID_SIZE, Chk::check_plug_id_str("ab", 0));
    EXPECT_EQ(Err_INVALID_SIZE, Chk::check_plug_id_str("abcde", 0));
    EXPECT_EQ(0, Chk::check_plug_id_str("abcdef", 0));
    EXPECT_EQ(Err_FORBIDDEN_CHAR, Chk::check_plug_id_str("a\tb", 0)); // before the length
    EXPECT_EQ(Err_FORBIDDEN_CHAR, Chk::check_plug_id_str("abc\tdefgh", 0));
    EXPECT_EQ(Err_FORBIDDEN_CHAR, Chk::check_plug_id_str("abcdefgh", 'z')); // NUL comes first
    EXPECT_EQ(0, Chk::check_plug_id_str("\xC3\xA9\xC3\xA9\xC3\xA9", 0));
}

TEST(EventListTest, NullListNeedsZeroCount) {
    PluginDsp::EventList list = {nullptr, 0};
    EXPECT_EQ(1, list.check_events());
    list.nbr_evt = 1;
    EXPECT_EQ(0, list.check_events());
    list.nbr_evt = -1;
    EXPECT_EQ(0, list.check_events());
}

TEST(EventListTest, ListHasNoNullEntry) {
    PluginDsp::Event const evt = {};
    PluginDsp::Event const* arr[3] = {&evt, &evt, nullptr};
    PluginDsp::EventList list = {arr, -1};
    EXPECT_EQ(1, list.check_events());
    list.nbr_evt = 0;
    EXPECT_EQ(1, list.check_events());
    list.nbr_evt = 2;
    EXPECT_EQ(1, list.check_events());
    list.nbr_evt = 3;
    EXPECT_EQ(0, list.check_events());
}
