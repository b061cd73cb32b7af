#include "ulk/prout/ParamAdder.h"
#include "ulk/prout/ParamDescList.h"
#include "ulk/prout/ParamValList.h"

#include "ulk/ace/Err.h"
#include "ulk/prout/DescParamList.h"

#include <gtest/gtest.h>

#include <limits>
#include <stdexcept>
#include <string>

using namespace ulk;
using kryn::ParamScope_GLOBAL;
using kryn::ParamScope_NOTE;
using prout::ParamDescInterface;
using prout::ParamDescList;
using prout::ParamValList;

namespace {

// Remembers nothing; every conversion gives a value that tells which it was.
class ParamFake : public ParamDescInterface {
public:
    explicit ParamFake(int prop_code = 0)
        : _prop_code(prop_code) {}

protected:
    int do_get_prop(Prop& prop) const override {
        prop = {"Nm\nName", "Hz", 3, 1, 5, 6, 7, 1, 0, 0, -2.5, 12.5};
        return _prop_code;
    }
    int do_conv_norm_to_nat(double norm, double& nat) const override {
        nat = norm + 10;
        return 1;
    }
    int do_conv_nat_to_norm(double nat, double& norm) const override {
        norm = nat + 20;
        return 2;
    }
    int do_conv_to_str(double val, char* txt, long max_len) const override {
        txt[0] = static_cast<char>('a' + static_cast<int>(val));
        txt[1] = '\0';
        return static_cast<int>(max_len);
    }
    int do_conv_from_str(char const* txt, double& val) const override {
        val = txt[0];
        return 4;
    }
    double do_get_val_min() const override { return -2.5; }
    double do_get_val_max() const override { return 12.5; }

private:
    int _prop_code;
};

using DescPtr = mem::SharedPtr<ParamDescInterface>;

DescPtr make_desc(int prop_code = 0) {
    return DescPtr(new ParamFake(prop_code));
}

class ObserverFake : public util::ObserverInterface {
public:
    void update(util::ObservableInterface& subject) override {
        ++_nbr_calls;
        _last_ptr = &subject;
    }

    int _nbr_calls = 0;
    util::ObservableInterface* _last_ptr = nullptr;
};

} // namespace

TEST(ParamDescListTest, GrowsWithNullSlots) {
    ParamDescList list;
    EXPECT_TRUE(list.is_ok());
    EXPECT_EQ(0, list.get_nbr_param());
    list.add_param(2, make_desc());
    EXPECT_EQ(3, list.get_nbr_param());
    EXPECT_FALSE(list.is_ok());
    list.add_param(0, make_desc());
    EXPECT_FALSE(list.is_ok());
    EXPECT_TRUE(list.is_param_set(0));
    EXPECT_FALSE(list.is_param_set(1));
    list.add_param(1, make_desc());
    EXPECT_TRUE(list.is_ok());
    DescPtr const other = make_desc();
    list.add_param(1, other);
    EXPECT_TRUE(list.is_ok());
    EXPECT_EQ(other.get(), &list.use_desc(1));
    list.add_param(1, DescPtr());
    EXPECT_FALSE(list.is_ok());
    list.add_param(1, other);
    EXPECT_TRUE(list.is_ok());
}

TEST(ParamDescListTest, IsParamSetTakesAnyIndex) {
    ParamDescList list;
    list.add_param(1, make_desc());
    EXPECT_FALSE(list.is_param_set(-1));
    EXPECT_FALSE(list.is_param_set(std::numeric_limits<int>::min()));
    EXPECT_FALSE(list.is_param_set(0));
    EXPECT_TRUE(list.is_param_set(1));
    EXPECT_FALSE(list.is_param_set(2));
    EXPECT_FALSE(list.is_param_set(std::numeric_limits<int>::max()));
}

TEST(ParamDescListTest, ClearForgetsTheNullSlots) {
    ParamDescList list;
    list.add_param(4, make_desc());
    list.clear();
    EXPECT_TRUE(list.is_ok());
    EXPECT_EQ(0, list.get_nbr_param());
    list.add_param(0, make_desc());
    EXPECT_TRUE(list.is_ok());
}

TEST(ParamDescListTest, ConversionsForward) {
    ParamDescList list;
    list.add_param(0, make_desc());
    double val = 0;
    EXPECT_EQ(1, list.conv_param_norm_to_nat(0, 0.5, val));
    EXPECT_EQ(10.5, val);
    EXPECT_EQ(2, list.conv_param_nat_to_norm(0, 0.5, val));
    EXPECT_EQ(20.5, val);
    char txt[8] = "";
    EXPECT_EQ(7, list.conv_param_to_str(0, 2, txt, 7));
    EXPECT_STREQ("c", txt);
    EXPECT_EQ(4, list.conv_param_from_str(0, "A", val));
    EXPECT_EQ(65.0, val);
}

TEST(ParamDescListTest, TextConversionsRefuseAnIndexOutOfRange) {
    ParamDescList list;
    list.add_param(1, make_desc());
    for (int index : {-1, 0, 2, 1000}) {
        char txt[8] = "old";
        EXPECT_EQ(ace::Err_OUT_OF_RANGE, list.conv_param_to_str(index, 0, txt, 7));
        EXPECT_STREQ("", txt);
        double val = 5;
        EXPECT_EQ(ace::Err_OUT_OF_RANGE, list.conv_param_from_str(index, "A", val));
        EXPECT_EQ(0.0, val);
        val = 5;
        EXPECT_EQ(ace::Err_OUT_OF_RANGE, list.conv_param_norm_to_nat(index, 0.5, val));
        EXPECT_EQ(ace::Err_OUT_OF_RANGE, list.conv_param_nat_to_norm(index, 0.5, val));
        EXPECT_EQ(5.0, val);
    }
}

TEST(ParamDescListTest, CopyToDescCopiesEachField) {
    ParamDescList list;
    list.add_param(0, make_desc());
    list.add_param(1, make_desc());
    prout::DescParamList desc;
    desc.set_nbr_param(ParamScope_NOTE, 5);
    EXPECT_EQ(0, list.copy_to_desc(desc, ParamScope_NOTE));
    EXPECT_EQ(2, desc.get_nbr_param(ParamScope_NOTE));
    EXPECT_EQ(0, desc.get_nbr_param(ParamScope_GLOBAL));
    auto const& param = desc.use_param(ParamScope_NOTE, 1);
    EXPECT_EQ("Nm\nName", param.get_name());
    EXPECT_EQ("Hz", param.get_unit());
    EXPECT_EQ(3, param.get_flags());
    EXPECT_EQ(1, param.get_dir());
    EXPECT_EQ(5, param.get_type_use());
    EXPECT_EQ(6, param.get_type_data());
    EXPECT_EQ(7, param.get_validity());
    EXPECT_EQ(1, param.get_domain_time());
    EXPECT_EQ(0, param.get_domain_val());
    EXPECT_EQ(0, param.get_public_range());
    EXPECT_EQ(-2.5, param.get_range_min());
    EXPECT_EQ(12.5, param.get_range_max());
}

TEST(ParamDescListTest, CopyToDescStopsAtTheFirstFailure) {
    ParamDescList list;
    list.add_param(0, make_desc());
    list.add_param(1, make_desc(-77));
    list.add_param(2, make_desc());
    prout::DescParamList desc;
    EXPECT_EQ(-77, list.copy_to_desc(desc, ParamScope_GLOBAL));
    EXPECT_EQ(3, desc.get_nbr_param(ParamScope_GLOBAL));
    EXPECT_EQ("Hz", desc.use_param(ParamScope_GLOBAL, 0).get_unit());
    EXPECT_EQ("", desc.use_param(ParamScope_GLOBAL, 1).get_unit());
    EXPECT_EQ("", desc.use_param(ParamScope_GLOBAL, 2).get_unit());

    ParamDescList holes;
    holes.add_param(1, make_desc());
    EXPECT_EQ(ace::Err_DATA_NOT_AVAILABLE, holes.copy_to_desc(desc, ParamScope_NOTE));
    EXPECT_EQ(2, desc.get_nbr_param(ParamScope_NOTE));
}

TEST(ParamValMgrTest, StartsUnbounded) {
    prout::ParamValMgr mgr;
    EXPECT_EQ(0.0, mgr.get_val());
    EXPECT_EQ(0.0, mgr.get_val_end());
    EXPECT_EQ(0.0, mgr.get_step());
    EXPECT_EQ(std::numeric_limits<double>::lowest(), mgr.get_val_min());
    EXPECT_EQ(std::numeric_limits<double>::max(), mgr.get_val_max());
    EXPECT_EQ(0, mgr.get_ramp_rem());
    EXPECT_EQ(-1, mgr.get_obs_id());
}

TEST(ParamValMgrTest, RampMovesToItsTarget) {
    prout::ParamValMgr mgr;
    ObserverFake obs;
    mgr.add_observer(obs);
    mgr.set_ramp(8, 1.0, 3.0);
    EXPECT_EQ(1, obs._nbr_calls);
    EXPECT_EQ(&mgr, dynamic_cast<prout::ParamValMgr*>(obs._last_ptr));
    EXPECT_EQ(1.0, mgr.get_val());
    EXPECT_EQ(3.0, mgr.get_val_end());
    EXPECT_EQ(0.25, mgr.get_step());
    EXPECT_EQ(8, mgr.get_ramp_rem());
    mgr.tick(3);
    EXPECT_EQ(1.75, mgr.get_val());
    EXPECT_EQ(5, mgr.get_ramp_rem());
    EXPECT_EQ(2, obs._nbr_calls);
    mgr.tick(5); // the end of the ramp is no change of course: nobody is told
    EXPECT_EQ(3.0, mgr.get_val());
    EXPECT_EQ(0, mgr.get_ramp_rem());
    EXPECT_EQ(2, obs._nbr_calls);
}

TEST(ParamValMgrTest, JumpsAndFlatRamps) {
    prout::ParamValMgr mgr;
    ObserverFake obs;
    mgr.add_observer(obs);
    mgr.set_ramp(0, 7.0, 2.0);
    EXPECT_EQ(2.0, mgr.get_val());
    EXPECT_EQ(2.0, mgr.get_val_end());
    EXPECT_EQ(0, mgr.get_ramp_rem());
    mgr.set_ramp(100, 4.0, 4.0);
    EXPECT_EQ(4.0, mgr.get_val());
    EXPECT_EQ(0, mgr.get_ramp_rem());
    mgr.set_ramp(100, 4.0, 5.0);
    mgr.set_val(-1.0);
    EXPECT_EQ(-1.0, mgr.get_val());
    EXPECT_EQ(-1.0, mgr.get_val_end());
    EXPECT_EQ(0, mgr.get_ramp_rem());
    EXPECT_EQ(4, obs._nbr_calls);
    mgr.remove_observer(obs);
    mgr.set_val(1.0);
    EXPECT_EQ(4, obs._nbr_calls);
}

TEST(ParamValListTest, ManagersStandAtTheirValue) {
    ParamValList list;
    list.add_param(1, 0.75);
    EXPECT_EQ(2, list.get_nbr_param());
    EXPECT_FALSE(list.is_param_set(0));
    EXPECT_EQ(0.75, list.use_mgr(1).get_val());
    EXPECT_EQ(0.75, list.use_mgr(1).get_val_end());
    EXPECT_EQ(0, list.use_mgr(1).get_ramp_rem());
    list.add_param(1, 0.5);
    EXPECT_EQ(0.5, list.use_mgr(1).get_val());
    list.clear();
    EXPECT_EQ(0, list.get_nbr_param());
}

TEST(ParamValListTest, ClearBuffersEndsRampsWithoutATell) {
    ParamValList list;
    list.add_param(2, 0.0); // slots 0 and 1 stay null
    ObserverFake obs;
    list.use_mgr(2).set_ramp(10, 1.0, 2.0);
    list.use_mgr(2).add_observer(obs);
    list.clear_buffers();
    EXPECT_EQ(2.0, list.use_mgr(2).get_val());
    EXPECT_EQ(2.0, list.use_mgr(2).get_val_end());
    EXPECT_EQ(0.0, list.use_mgr(2).get_step());
    EXPECT_EQ(0, list.use_mgr(2).get_ramp_rem());
    EXPECT_EQ(0, obs._nbr_calls);
}

TEST(ParamAdderTest, FillsBothLists) {
    ParamDescList desc_list;
    ParamValList val_list;
    prout::ParamAdder adder;
    adder.set_desc_list(desc_list);
    DescPtr const desc = make_desc();
    adder.add_param(desc, 1, 0.25); // no list of values yet
    EXPECT_EQ(desc.get(), &desc_list.use_desc(1));
    EXPECT_EQ(0, val_list.get_nbr_param());

    adder.set_val_list(val_list);
    adder.add_param(make_desc(), 0, 0.5);
    EXPECT_TRUE(desc_list.is_ok());
    EXPECT_EQ(1, val_list.get_nbr_param());
    EXPECT_EQ(0.5, val_list.use_mgr(0).get_val());
    EXPECT_EQ(-2.5, val_list.use_mgr(0).get_val_min());
    EXPECT_EQ(12.5, val_list.use_mgr(0).get_val_max());
}

TEST(ParamAdderTest, RegistersObservers) {
    ParamDescList desc_list;
    ParamValList val_list;
    prout::ParamAdder adder;
    adder.set_desc_list(desc_list);
    adder.set_val_list(val_list);
    DescPtr const desc = make_desc();
    adder.add_param(make_desc(), 0, 0);
    adder.add_param(desc, 3, 0); // 1 and 2 stay unset
    ObserverFake obs_index;
    ObserverFake obs_desc;
    adder.set_obs(0, obs_index, 11);
    adder.set_obs(*desc, obs_desc, 22);
    EXPECT_EQ(11, val_list.use_mgr(0).get_obs_id());
    EXPECT_EQ(22, val_list.use_mgr(3).get_obs_id());
    val_list.use_mgr(3).set_val(1);
    EXPECT_EQ(0, obs_index._nbr_calls);
    EXPECT_EQ(1, obs_desc._nbr_calls);
}

TEST(ParamAdderTest, UnknownParameterThrows) {
    ParamDescList desc_list;
    ParamValList val_list;
    prout::ParamAdder adder;
    adder.set_desc_list(desc_list);
    DescPtr const desc = make_desc();
    adder.add_param(desc, 0, 0);
    ObserverFake obs;
    auto const expect_throw = [](auto fnc) {
        try {
            fnc();
            ADD_FAILURE() << "nothing thrown";
        } catch (std::runtime_error const& e) {
            EXPECT_STREQ("ulk::prout::ParamAdder::set_obs(): parameter not found.", e.what());
        }
    };
    expect_throw([&] { adder.set_obs(0, obs, 1); }); // no list of values
    expect_throw([&] { adder.set_obs(*desc, obs, 1); });
    adder.set_val_list(val_list);
    adder.add_param(desc, 0, 0);
    DescPtr const other = make_desc(); // equal, but not the same object
    expect_throw([&] { adder.set_obs(*other, obs, 1); });
    expect_throw([&] { adder.set_obs(1, obs, 1); });
    adder.set_obs(*desc, obs, 1);
}
