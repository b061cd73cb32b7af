#include "host/Automation.h"
#include "host/AutomationFile.h"
#include "host/Bundle.h"
#include "host/Error.h"
#include "support/RealTimeGuard.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

#include <fstream>

using namespace ulk::host;
using Dsp = kryn::PluginDsp;

namespace {

constexpr double freq = 1000; // a frame a millisecond

class AutomationTest : public ::testing::Test {
protected:
    std::string refuse(std::vector<ParamChange> const& change_arr) {
        try {
            Automation automation(_params, change_arr, freq);
        } catch (Error const& e) {
            EXPECT_EQ(Error::Kind_USE, e.get_kind());
            return e.what();
        }
        ADD_FAILURE() << "nothing was refused";
        return "";
    }

    // Parameter, time stamp, length of the ramp and its ends; a jump has no start.
    using Events = std::vector<std::tuple<int, long, long, double, double>>;
    static Events list(Dsp::EventList const& evt_list) {
        EXPECT_TRUE(evt_list.check_events());
        Events events;
        for (long i = 0; i < evt_list.nbr_evt; ++i) {
            Dsp::Event const& evt = *evt_list.evt_arr[i];
            bool const ramp_flag = evt.param.ramp_len > 0;
            events.emplace_back(evt.param.location.index, evt.timestamp, evt.param.ramp_len,
                                ramp_flag ? evt.param.val_beg : 0, evt.param.val_end);
        }
        return events;
    }

    Bundle _bundle{BUILD_DIR "/baplug.so"};
    std::unique_ptr<Plugin> _plugin = _bundle.instantiate("Brevanto#TessitoneDryWet");
    ParamTable _params{*_plugin};
};

class AutomationFileTest : public ::testing::Test {
protected:
    std::vector<ParamChange> read(std::string const& text) {
        std::ofstream(_path, std::ios::binary) << text;
        return AutomationFile::read(_path);
    }
    std::string refuse(std::string const& text) {
        try {
            read(text);
        } catch (Error const& e) {
            EXPECT_EQ(Error::Kind_MATERIAL, e.get_kind());
            EXPECT_EQ(0u, std::string(e.what()).find(_path));
            return std::string(e.what()).substr(_path.size());
        }
        ADD_FAILURE() << "nothing was refused";
        return "";
    }

    test::TempDir _dir;
    std::string _path = _dir.make_name("changes.csv");
};

} // namespace

TEST_F(AutomationTest, FindsParametersByAnyNameAndIndex) {
    ASSERT_EQ(3, _params.get_nbr_params());
    for (auto const& [name, index] : {std::pair{"Byp", 0},
                                      {"Bypass", 0},
                                      {"bYPASS", 0},
                                      {"0", 0},
                                      {"Wet/Dry Mix", 1},
                                      {"1", 1},
                                      {"gain", 2},
                                      {"2", 2}}) {
        EXPECT_EQ(index, _params.find(name)) << name;
    }
    for (char const* name : {"", "3", "-1", "Gai", "Gain ", "99999999999999", "Byp\nBypass"}) {
        EXPECT_THROW(_params.find(name), Error) << name;
    }
    auto const bypass = _bundle.instantiate("Brevanto#TessitoneBypass");
    EXPECT_EQ(0, ParamTable(*bypass).get_nbr_params());
}

TEST_F(AutomationTest, ReadsValuesThroughThePlugin) {
    EXPECT_EQ(1, _params.read_val(0, "on"));
    EXPECT_EQ(0.5588235294117647, _params.read_val(1, "30 %"));
    EXPECT_EQ(0.8752787113189697, _params.read_val(2, "+6 dB"));
    EXPECT_EQ("here: Gain: \"loud\": Cannot convert parameter value",
              refuse({{"here", 0, "Gain", "loud", 0}}));
    EXPECT_NE(std::string::npos, refuse({{"there", 0, "Drive", "1", 0}}).find("there: \"Drive\""));
}

TEST_F(AutomationTest, CutsEventsIntoBlocks) {
    Automation automation(_params,
                          {{"", 0.020, "0", "on", 0},
                           {"", 0.003, "1", "50", 0},
                           {"", 0.009999, "1", "0", 0},
                           {"", 0.003, "2", "0", 0},
                           {"", 0, "0", "off", 0}},
                          freq);
    std::vector<std::vector<std::pair<long, int>>> const expected = {
        {{0, 0}, {3, 1}, {3, 2}}, {{0, 1}}, {{9, 0}}, {}};
    long long pos = 0;
    for (auto const& [len, block] : {std::pair{10L, 0}, {1L, 1}, {100L, 2}, {5L, 3}}) {
        Dsp::EventList list;
        {
            test::RealTimeGuard guard;
            list = automation.find_block(pos, len);
        }
        EXPECT_TRUE(list.check_events());
        std::vector<std::pair<long, int>> seen;
        for (long i = 0; i < list.nbr_evt; ++i) {
            seen.emplace_back(list.evt_arr[i]->timestamp, list.evt_arr[i]->param.location.index);
            EXPECT_EQ(Dsp::EventType_PARAM, list.evt_arr[i]->type);
            EXPECT_EQ(kryn::ParamScope_GLOBAL, list.evt_arr[i]->param.location.scope);
            EXPECT_EQ(0, list.evt_arr[i]->param.ramp_len);
        }
        EXPECT_EQ(expected[static_cast<std::size_t>(block)], seen) << block;
        pos += len;
    }
}

TEST_F(AutomationTest, RampsStartWhereTheParameterStands) {
    _plugin->init(); // the balance at 0
    Automation automation(_params,
                          {{"", 0.100, "1", "0", 0.100},  // up to 1
                           {"", 0.150, "1", "50", 0.010}, // in its middle
                           {"", 0.200, "1", "100", 0.0001},
                           {"", 0.300, "2", "12.05", 0.5}},
                          freq);
    auto const list = automation.find_block(0, 1000);
    ASSERT_EQ(4, list.nbr_evt);
    std::tuple<long, double, double> const expected[] = {
        {100, 0, 1}, {10, 0.5, 0.5}, {0, 0, 0}, {500, 0.7521010637283325, 1}};
    for (long i = 0; i < 4; ++i) {
        auto const& [ramp_len, val_beg, val_end] = expected[i];
        EXPECT_EQ(ramp_len, list.evt_arr[i]->param.ramp_len);
        EXPECT_NEAR(val_end, list.evt_arr[i]->param.val_end, 1e-12);
        if (ramp_len > 0) { // a jump has no start
            EXPECT_NEAR(val_beg, list.evt_arr[i]->param.val_beg, 1e-12);
        }
    }
}

TEST_F(AutomationTest, ABlockThatStartsAnywhereHasWhatWentBefore) {
    _plugin->init();                                                           // the balance at 0
    std::vector<ParamChange> const change_arr = {{"", 0.100, "1", "0", 0.100}, // up to 1
                                                 {"", 0.050, "0", "on", 0},
                                                 {"", 0.300, "0", "off", 0},
                                                 {"", 0.400, "1", "50", 0.100}};
    struct Case {
        long long pos;
        Events start;
        Events block; // up to frame 350
    };
    for (Case const& c : {Case{0, {}, {{0, 50, 0, 0, 1}, {1, 100, 100, 0, 1}, {0, 300, 0, 0, 0}}},
                          // What begins at the frame itself is in force.
                          Case{50, {{0, 0, 0, 0, 1}}, {{1, 50, 100, 0, 1}, {0, 250, 0, 0, 0}}},
                          Case{99, {{0, 0, 0, 0, 1}}, {{1, 1, 100, 0, 1}, {0, 201, 0, 0, 0}}},
                          Case{100, {{0, 0, 0, 0, 1}}, {{1, 0, 100, 0, 1}, {0, 200, 0, 0, 0}}},
                          // A ramp that runs goes on from where it is.
                          Case{150, {{0, 0, 0, 0, 1}}, {{1, 0, 50, 0.5, 1}, {0, 150, 0, 0, 0}}},
                          Case{199, {{0, 0, 0, 0, 1}}, {{1, 0, 1, 0.99, 1}, {0, 101, 0, 0, 0}}},
                          Case{200, {{0, 0, 0, 0, 1}, {1, 0, 0, 0, 1}}, {{0, 100, 0, 0, 0}}},
                          // The last change of a parameter alone counts.
                          Case{300, {{0, 0, 0, 0, 0}, {1, 0, 0, 0, 1}}, {}}}) {
        SCOPED_TRACE(c.pos);
        Automation automation(_params, change_arr, freq);
        automation.start_at(c.pos);
        EXPECT_EQ(c.start, list(automation.find_start()));
        EXPECT_EQ(c.block, list(automation.find_block(c.pos, static_cast<long>(350 - c.pos))));
        EXPECT_EQ((Events{{1, 50, 100, 1, 0.5}}), list(automation.find_block(350, 100)));
        EXPECT_EQ(c.start, list(automation.find_start())); // stays
    }
}

TEST_F(AutomationTest, WithoutAStartNothingRests) {
    Automation automation(_params, {{"", 0, "1", "0", 0}}, freq);
    EXPECT_EQ(0, automation.find_start().nbr_evt);
    EXPECT_EQ(1, automation.find_block(0, 1).nbr_evt);
}

TEST_F(AutomationFileTest, ReadsLines) {
    auto const change_arr = read("\xEF\xBB\xBFtime,parameter,value,ramp\r\n"
                                 "\r\n"
                                 "# nothing\n"
                                 "0.5,Gain,-6 dB,0.25\r\n"
                                 " 1e0 , \"Wet/Dry, \"\"Mix\"\"\" , 30 ,\n"
                                 "2,0,on");
    ASSERT_EQ(3u, change_arr.size());
    EXPECT_EQ(_path + ":4", change_arr[0].origin);
    EXPECT_EQ(0.5, change_arr[0].time);
    EXPECT_EQ("Gain", change_arr[0].param);
    EXPECT_EQ("-6 dB", change_arr[0].val);
    EXPECT_EQ(0.25, change_arr[0].ramp_time);
    EXPECT_EQ(1, change_arr[1].time);
    EXPECT_EQ("Wet/Dry, \"Mix\"", change_arr[1].param);
    EXPECT_EQ("30", change_arr[1].val);
    EXPECT_EQ(0, change_arr[1].ramp_time);
    EXPECT_EQ(_path + ":6", change_arr[2].origin);
    EXPECT_EQ("on", change_arr[2].val);
    EXPECT_TRUE(read("").empty());
}

TEST_F(AutomationFileTest, NamesTheLineThatIsWrong) {
    EXPECT_EQ(":2: 2 fields; wanted are time,parameter,value,ramp", refuse("0,Gain,1\n1,Gain\n"));
    EXPECT_EQ(":1: 5 fields; wanted are time,parameter,value,ramp", refuse("0,Gain,1,2,3"));
    EXPECT_EQ(":3: \"soon\" is no time in seconds", refuse("0,Gain,1\n\nsoon,Gain,1"));
    EXPECT_EQ(":1: \"\" is no time in seconds", refuse(",Gain,1"));
    EXPECT_EQ(":1: \"-1\" is no time in seconds", refuse("-1,Gain,1"));
    EXPECT_EQ(":1: \"inf\" is no time in seconds", refuse("inf,Gain,1"));
    EXPECT_EQ(":1: \"1 s\" is no ramp in seconds", refuse("1,Gain,1,1 s"));
    EXPECT_EQ(":2: \"time\" is no time in seconds", refuse("0,Gain,1\ntime,parameter,value"));
    EXPECT_EQ(":1: a quote without its end", refuse("0,\"Gain,1"));
    EXPECT_THROW(AutomationFile::read(_dir.make_name("none.csv")), Error);
    EXPECT_THROW(AutomationFile::read(_dir.get_path().string()), Error);
}
