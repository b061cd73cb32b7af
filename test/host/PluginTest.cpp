#include "host/Plugin.h"

#include "host/ContractError.h"
#include "host/PluginError.h"
#include "support/RealTimeGuard.h"
#include "ulk/ace/Err.h"
#include "ulk/kryn/Component.h"
#include "ulk/kryn/Plugin.h"
#include "ulk/kryn/PluginFactory.h"

#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

using ulk::host::ContractError;
using ulk::host::PinConf;
using ulk::host::Plugin;
using ulk::host::PluginError;
using Dsp = kryn::PluginDsp;
using CmdPlug = Dsp::CmdPlug;

namespace {

// A factory and one plug-in of the test's own, which answers as told and keeps a list of what it
// was asked.
class FakePlugin {
public:
    using Answer = std::function<int(void* data)>;

    FakePlugin() {
        _factory.plugin_execute = &execute_factory;
        _factory.plugin_data = this;
        answers[kryn::Component::Cmd::DESTROY] = [](void*) { return 0; };
        answers[CmdPlug::SET_PIN_CONF] = [](void*) { return 0; };
        answers[CmdPlug::PROCESS] = [](void*) { return 0; };
    }

    std::unique_ptr<Plugin> instantiate(ulk::host::HostInterface* host = nullptr) {
        return std::make_unique<Plugin>(nullptr, _factory, "Fake#Plugin", host);
    }

    // Ready for PROCESS, with these output pins and no input.
    std::unique_ptr<Plugin> activate(std::vector<long> const& out) {
        auto plugin = instantiate();
        plugin->set_sample_freq(48000);
        plugin->set_process_block_len(64);
        plugin->set_pin_conf({{}, out});
        plugin->activate();
        return plugin;
    }

    std::map<int, Answer> answers; // other commands are not implemented
    std::vector<int> log;
    int instantiate_ret = 0;
    bool fill_flag = true; // whether INSTANTIATE fills in the point
    ulk::pibase::BidirComPoint* com = nullptr;

private:
    static int execute_factory(ulk::pibase::BidirComPoint* factory, int, void* data) {
        auto& self = *static_cast<FakePlugin*>(factory->plugin_data);
        auto& rec = *static_cast<kryn::PluginFactory::CmdFact::Instantiate*>(data);
        if (self.fill_flag) {
            rec.com_point->plugin_data = &self;
            rec.com_point->plugin_execute = &execute_plugin;
        }
        self.com = rec.com_point;
        return self.instantiate_ret;
    }

    static int execute_plugin(ulk::pibase::BidirComPoint* point, int cmd, void* data) {
        auto& self = *static_cast<FakePlugin*>(point->plugin_data);
        if (cmd != CmdPlug::PROCESS) {
            self.log.push_back(cmd);
        }
        auto const pos = self.answers.find(cmd);
        return pos != self.answers.end() ? pos->second(data) : -1;
    }

    ulk::pibase::BidirComPoint _factory = {};
};

template <class Fnc>
void expect_blame(ContractError::Side side, std::string const& part, Fnc fnc) {
    try {
        fnc();
        ADD_FAILURE() << "no error; expected: " << part;
    } catch (ContractError const& e) {
        EXPECT_EQ(side, e.get_side()) << e.what();
        EXPECT_NE(std::string::npos, std::string(e.what()).find(part)) << e.what();
    }
}

constexpr auto host_side = ContractError::Side_HOST;
constexpr auto plugin_side = ContractError::Side_PLUGIN;

} // namespace

TEST(PluginTest, LifeIsInOrder) {
    FakePlugin fake;
    {
        auto const plugin = fake.instantiate();
        plugin->init();
        plugin->set_sample_freq(44100);
        plugin->set_process_block_len(32);
        plugin->set_pin_conf({{}, {}});
        plugin->activate();
        CmdPlug::Process block = {};
        plugin->process(block);
        plugin->deactivate();
        plugin->activate();
    }
    EXPECT_EQ(
        (std::vector<int>{0x2101, 0x3105, 0x3104, 0x310D, 0x3101, 0x3102, 0x3101, 0x3102, 0x0101}),
        fake.log);
}

TEST(PluginTest, FailedInstantiationThrowsItsCode) {
    FakePlugin fake;
    fake.instantiate_ret = ulk::ace::Err_NOT_FOUND;
    try {
        fake.instantiate();
        FAIL();
    } catch (PluginError const& e) {
        EXPECT_EQ(ulk::ace::Err_NOT_FOUND, e.get_code());
        EXPECT_STREQ("Fake#Plugin: INSTANTIATE failed: Not found (-14498)", e.what());
    }
    EXPECT_TRUE(fake.log.empty()); // nobody is there to be destroyed
}

TEST(PluginTest, HostBreaksTheOrder) {
    FakePlugin fake;
    auto plugin = fake.instantiate();
    CmdPlug::Process block = {};
    expect_blame(host_side, "PROCESS while not active", [&] { plugin->process(block); });
    expect_blame(host_side, "ACTIVATE before", [&] { plugin->activate(); });
    expect_blame(host_side, "DEACTIVATE while not", [&] { plugin->deactivate(); });
    expect_blame(host_side, "0 frames", [&] { plugin->set_process_block_len(0); });
    expect_blame(host_side, "SET_SAMPLE_FREQ", [&] { plugin->set_sample_freq(-1); });
    expect_blame(host_side, "pin of no channel", [&] { plugin->set_pin_conf({{0}, {}}); });
    plugin = fake.activate({2});
    expect_blame(host_side, "SET_PIN_CONF while active", [&] { plugin->set_pin_conf({}); });
    expect_blame(host_side, "INIT while active", [&] { plugin->init(); });
    expect_blame(host_side, "ACTIVATE while active", [&] { plugin->activate(); });
    expect_blame(host_side, "while active", [&] { plugin->set_sample_freq(44100); });
    expect_blame(host_side, "while active", [&] { plugin->set_process_block_len(64); });
}

TEST(PluginTest, HostSendsABadBlock) {
    FakePlugin fake;
    auto const plugin = fake.activate({1});
    Dsp::PinData pin = {nullptr, Dsp::State_SIGNAL};
    CmdPlug::Process block = {{nullptr}, {&pin}, {nullptr, 0}, 65};
    expect_blame(host_side, "65 frames", [&] { plugin->process(block); });
    block.nbr_spl = -1;
    expect_blame(host_side, "-1 frames", [&] { plugin->process(block); });
    block.nbr_spl = 64;
    block.port_out.pin_arr = nullptr;
    expect_blame(host_side, "without pins", [&] { plugin->process(block); });
    block.port_out.pin_arr = &pin;
    block.evt_list.nbr_evt = 1;
    expect_blame(host_side, "null event", [&] { plugin->process(block); });
    Dsp::Event late = {};
    late.timestamp = 7;
    Dsp::Event early = {};
    Dsp::Event const* events[] = {&late, &early};
    block.evt_list = {events, 2};
    expect_blame(host_side, "out of order", [&] { plugin->process(block); });
}

TEST(PluginTest, PluginAnswersOutsideTheContract) {
    FakePlugin fake;
    Dsp::PinData pin = {nullptr, Dsp::State_SIGNAL};
    CmdPlug::Process block = {{nullptr}, {&pin}, {nullptr, 0}, 64};
    auto const plugin = fake.activate({1});
    fake.answers[CmdPlug::PROCESS] = [](void*) { return -5; };
    expect_blame(plugin_side, "PROCESS returned -5", [&] { plugin->process(block); });
    fake.answers[CmdPlug::PROCESS] = [](void* data) {
        static_cast<CmdPlug::Process*>(data)->port_out.pin_arr[0].state = 3;
        return 0;
    };
    expect_blame(plugin_side, "state 3", [&] { plugin->process(block); });

    PinConf conf{{}, {2}};
    fake.answers[CmdPlug::NEGOTIATE_PIN_CONF] = [](void*) { return 0; };
    expect_blame(plugin_side, "wrote no result", [&] { plugin->negotiate_pin_conf(conf); });
    fake.answers[CmdPlug::NEGOTIATE_PIN_CONF] = [](void* data) {
        auto& rec = *static_cast<CmdPlug::NegotiatePinConf*>(data);
        rec.conf.audio.port_arr[kryn::PinDir_OUT].nbr_pins = 100;
        rec.result = 1;
        return 0;
    };
    expect_blame(plugin_side, "impossible", [&] { plugin->negotiate_pin_conf(conf); });
    for (kryn::PinDir const dir : {kryn::PinDir_IN, kryn::PinDir_OUT}) {
        fake.answers[CmdPlug::GET_PIN_CONF] = [dir](void* data) {
            static_cast<CmdPlug::GetPinConf*>(data)->conf.audio.port_arr[dir].nbr_pins = -3;
            return 0;
        };
        expect_blame(plugin_side, "negative pin count", [&] { plugin->get_pin_conf(); });
    }
    fake.answers[CmdPlug::GET_PIN_CONF] = [](void*) { return int(ulk::ace::Err_NO_ROOM); };
    expect_blame(plugin_side, "no room", [&] { plugin->get_pin_conf(); });
    fake.answers[kryn::Component::Cmd::DESCRIBE] = [](void* data) {
        static_cast<kryn::Component::Cmd::Describe*>(data)->len = 1 << 20;
        return 0;
    };
    expect_blame(plugin_side, "beyond the capacity", [&] { plugin->describe(); });
    fake.answers[CmdPlug::CONV_PARAM_TO_STR] = [](void* data) {
        auto& rec = *static_cast<CmdPlug::ConvParamToStr*>(data);
        std::memset(rec.txt, 'x', static_cast<std::size_t>(rec.max_len) + 1);
        return 0;
    };
    expect_blame(plugin_side, "beyond the buffer", [&] { plugin->conv_param_to_str({}, 0); });
}

TEST(PluginTest, InstantiateMustFillInThePoint) {
    FakePlugin fake;
    fake.fill_flag = false;
    expect_blame(plugin_side, "without filling in", [&] { fake.instantiate(); });
}

TEST(PluginTest, DescribeGrowsUntilItFits) {
    FakePlugin fake;
    fake.answers[kryn::Component::Cmd::DESCRIBE] = [](void* data) {
        auto& rec = *static_cast<kryn::Component::Cmd::Describe*>(data);
        if (rec.len < 5000) {
            return int(ulk::ace::Err_NO_ROOM);
        }
        std::memset(rec.data, 7, 5000);
        rec.len = 5000;
        return 0;
    };
    auto const plugin = fake.instantiate();
    EXPECT_EQ(std::vector<unsigned char>(5000, 7), plugin->describe());
    fake.answers.erase(kryn::Component::Cmd::DESCRIBE);
    EXPECT_TRUE(plugin->describe().empty());
}

TEST(PluginTest, CommandsOfThePluginReachTheHost) {
    class Host : public ulk::host::HostInterface {
    public:
        int cmd = 0;
        void* data = nullptr;

    protected:
        int do_execute(int c, void* d) override {
            cmd = c;
            data = d;
            return 42;
        }
    } host;
    FakePlugin fake;
    auto const plugin = fake.instantiate(&host);
    int word = 0;
    EXPECT_EQ(42, fake.com->host_execute(fake.com, 0x10000000, &word));
    EXPECT_EQ(0x10000000, host.cmd);
    EXPECT_EQ(&word, host.data);
    FakePlugin lonely;
    auto const other = lonely.instantiate();
    EXPECT_EQ(-1, lonely.com->host_execute(lonely.com, 0x10000000, &word));
}

TEST(PluginTest, ProcessIsRealTime) {
    FakePlugin fake;
    auto const plugin = fake.activate({1});
    Dsp::PinData pin = {nullptr, Dsp::State_SIGNAL};
    CmdPlug::Process block = {{nullptr}, {&pin}, {nullptr, 0}, 64};
    test::RealTimeGuard guard;
    plugin->process(block);
}
