#include "support/AllocFault.h"
#include "support/BundleInstance.h"
#include "ulk/ace/Constants.h"
#include "ulk/ace/Err.h"
#include "ulk/pibase/Tools.h"

#include <gtest/gtest.h>

#include <cctype>
#include <memory>
#include <string>

using namespace ulk::ace;
using kryn::PluginFactory;
using Cmd = kryn::Component::Cmd;

namespace {

constexpr char bypass_id[] = "Brevanto#TessitoneBypass";

} // namespace

TEST(EntryPointTest, UnknownCommandsAreNotImplemented) {
    test::BundleInstance bundle;
    for (int const cmd : {0, 3, -1, 0x7FFFFFFF}) {
        EXPECT_EQ(-1, bundle.entry_point(cmd, nullptr)) << cmd;
    }
}

TEST(EntryPointTest, FailedCreationLeavesNobodyListening) {
    test::BundleInstance bundle;
    long nbr_fail = 0;
    for (long n = 0;; ++n) {
        test::Point point;
        ulk::pibase::BidirComPoint* com = &point.com;
        point.com.plugin_execute = [](ulk::pibase::BidirComPoint*, int, void*) { return -77; };
        int ret = 0;
        bool fail_flag = false;
        {
            test::AllocFault fault(n);
            ret = bundle.entry_point(1, &com);
            fail_flag = fault.has_failed();
        }
        EXPECT_EQ(fail_flag ? -2 : 0, ret) << n;
        if (!fail_flag) {
            break;
        }
        ++nbr_fail;
        EXPECT_EQ(nullptr, point.com.plugin_execute);
    }
    EXPECT_GT(nbr_fail, 0);
}

TEST(FactoryTest, HostWordsStayUntouched) {
    test::BundleInstance bundle;
    test::Point point;
    int word = 0;
    point.com.host_data = &word;
    auto* const host_execute = point.com.host_execute;
    ASSERT_EQ(0, bundle.instantiate(bypass_id, point));
    EXPECT_EQ(&word, point.com.host_data);
    EXPECT_EQ(host_execute, point.com.host_execute);
    EXPECT_NE(nullptr, point.com.plugin_data);
    EXPECT_NE(nullptr, point.com.plugin_execute);
}

TEST(FactoryTest, UnknownCommandsChangeNothing) {
    test::BundleInstance bundle;
    std::string record(64, '\x5A');
    std::string const before = record;
    for (int const cmd : {0, -1, int(PluginFactory::CmdFact::REFRESH),
                          int(PluginFactory::CmdFact::FIND_CLOSEST_UNIQUE_ID), 0x3110}) {
        EXPECT_EQ(-1, bundle.factory.send(cmd, record.data())) << cmd;
    }
    EXPECT_EQ(before, record);
}

TEST(FactoryTest, NullArgumentsAreTestedBeforeTheIdentifier) {
    test::BundleInstance bundle;
    test::Point point;
    PluginFactory::CmdFact::Instantiate rec = {bypass_id, nullptr};
    int const cmd = PluginFactory::CmdFact::INSTANTIATE;
    EXPECT_EQ(Err_INVALID_ARGUMENT, bundle.factory.send(cmd, &rec));
    rec = {"no such plug-in", nullptr};
    EXPECT_EQ(Err_INVALID_ARGUMENT, bundle.factory.send(cmd, &rec));
    rec = {nullptr, &point.com};
    EXPECT_EQ(Err_INVALID_ARGUMENT, bundle.factory.send(cmd, &rec));
    EXPECT_EQ(nullptr, point.com.plugin_execute);
    EXPECT_EQ(nullptr, point.com.plugin_data);
}

TEST(FactoryTest, IdentifiersMatchToTheByte) {
    test::BundleInstance bundle;
    std::string upper = bypass_id;
    upper[0] = static_cast<char>(std::tolower(upper[0]));
    for (std::string const& id :
         {upper, std::string("Brevanto#TessitoneBypas"), std::string("Brevanto#Tessitone"),
          std::string(bypass_id) + " ", std::string()}) {
        test::Point point;
        EXPECT_EQ(Err_NOT_FOUND, bundle.instantiate(id.c_str(), point)) << id;
        EXPECT_EQ(nullptr, point.com.plugin_execute);
    }
}

TEST(FactoryTest, InstancesAreIndependent) {
    test::BundleInstance bundle;
    test::Point first;
    test::Point second;
    ASSERT_EQ(0, bundle.instantiate(bypass_id, first));
    ASSERT_EQ(0, bundle.instantiate(bypass_id, second));
    EXPECT_NE(first.com.plugin_data, second.com.plugin_data);

    long chn_in[2] = {3, 4};
    long chn_out[2] = {3, 4};
    kryn::PluginDsp::CmdPlug::SetPinConf set = {{{{{2, 2, chn_in}, {2, 2, chn_out}}}, 0, 0}};
    ASSERT_EQ(0, first.send(kryn::PluginDsp::CmdPlug::SET_PIN_CONF, &set));
    kryn::PluginDsp::CmdPlug::GetPinConf get = {{{{{2, 0, chn_in}, {2, 0, chn_out}}}, 9, 9}};
    ASSERT_EQ(0, second.send(kryn::PluginDsp::CmdPlug::GET_PIN_CONF, &get));
    EXPECT_EQ(1, get.conf.audio.port_arr[0].nbr_pins);
    EXPECT_EQ(2, chn_in[0]);
}

TEST(FactoryTest, InstancesOutliveTheFactory) {
    test::BundleInstance bundle;
    test::Point point;
    ASSERT_EQ(0, bundle.instantiate(bypass_id, point));
    EXPECT_EQ(0, bundle.factory.destroy());
    EXPECT_EQ(-1, point.send(0x4321));
    EXPECT_EQ(0, point.destroy());
}

TEST(FactoryTest, NullObjectAnswersDestroy) {
    test::BundleInstance bundle;
    test::Point point;
    ASSERT_EQ(0, bundle.instantiate(bypass_id, point));
    for (auto* live : {&bundle.factory.com, &point.com}) {
        ulk::pibase::BidirComPoint null_com = *live;
        null_com.plugin_data = nullptr;
        EXPECT_EQ(0, live->plugin_execute(&null_com, Cmd::DESTROY, nullptr));
    }
}

TEST(FactoryTest, EveryFailedAllocationIsAnswered) {
    test::BundleInstance bundle;
    for (char const* id : {Constants::PLUGIN_ID_AUDIO_INPUT, Constants::PLUGIN_ID_AUDIO_OUTPUT,
                           Constants::PLUGIN_ID_BYPASS, Constants::PLUGIN_ID_DRYWET}) {
        long nbr_fail = 0;
        for (long n = 0;; ++n) {
            test::Point point;
            int ret = 0;
            bool fail_flag = false;
            {
                test::AllocFault fault(n);
                ret = bundle.instantiate(id, point);
                fail_flag = fault.has_failed();
            }
            EXPECT_EQ(fail_flag ? -2 : 0, ret) << id << " " << n;
            if (!fail_flag) {
                break;
            }
            ++nbr_fail;
            point.com.plugin_data = nullptr;
        }
        EXPECT_GT(nbr_fail, 0) << id;
    }
}

TEST(ToolsTest, NotImplementedCountsAsSuccess) {
    using ulk::pibase::Tools;
    EXPECT_EQ(0, Tools::not_imp_success(-1));
    EXPECT_EQ(-2, Tools::not_imp_success(-2));
    EXPECT_EQ(0, Tools::not_imp_success(0));
    EXPECT_EQ(5, Tools::not_imp_success(5));
}
