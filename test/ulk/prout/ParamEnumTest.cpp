#include "ulk/prout/ParamHelperEnum.h"
#include "ulk/prout/ParamTplEnum.h"

#include "ulk/ace/Err.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>

using namespace ulk;
using prout::ParamHelperEnum;
using prout::ParamInterface;
using prout::ParamTplEnum;

namespace {

ParamHelperEnum make_helper(std::initializer_list<char const*> item_list) {
    ParamHelperEnum helper;
    long index = 0;
    for (char const* item : item_list) {
        helper.add_item(index++, item);
    }
    return helper;
}

struct Parsed {
    int ret;
    double val;

    bool operator==(Parsed const&) const = default;
};

template <class Conv>
Parsed parse(Conv const& conv, char const* txt) {
    double val = -99;
    int const ret = conv.conv_from_str(txt, val);
    return {ret, val};
}

Parsed parse(ParamHelperEnum const& helper, char const* txt) {
    double val = -99;
    int const ret = helper.conv_str_to_nat(txt, val);
    return {ret, val};
}

std::string show(ParamInterface const& param, double val, long max_len = 63) {
    char txt[64] = "before";
    EXPECT_EQ(0, param.conv_to_str(val, txt, max_len));
    return txt;
}

} // namespace

TEST(ParamHelperEnumTest, Size) {
    ParamHelperEnum helper;
    EXPECT_FALSE(helper.is_ok());
    EXPECT_TRUE(helper.check_length(0));
    EXPECT_EQ(0, helper.get_val_min());
    EXPECT_EQ(-1, helper.get_val_max());
    helper.add_item(2, "c");
    EXPECT_TRUE(helper.is_ok());
    EXPECT_TRUE(helper.check_length(3));
    EXPECT_FALSE(helper.check_length(2));
    EXPECT_EQ(2, helper.get_val_max());
    helper.add_item(0, "a");
    EXPECT_TRUE(helper.check_length(3));
    EXPECT_FALSE(make_helper({"only"}).is_ok());
}

TEST(ParamHelperEnumTest, RoundsHalvesUp) {
    auto const helper = make_helper({"a", "b", "c", "d"});
    EXPECT_EQ(2, helper.conv_nat_to_int(1.5));
    EXPECT_EQ(1, helper.conv_nat_to_int(1.4999));
    EXPECT_EQ(-1, helper.conv_nat_to_int(-1.5)); // no rounding away from zero
    EXPECT_EQ(-2, helper.conv_nat_to_int(-1.75));
    for (int k = 0; k <= 1000; ++k) {
        double const norm = k / 1000.0;
        EXPECT_EQ(std::floor(norm * 3 + 0.5), helper.conv_norm_to_nat(norm));
    }
    EXPECT_EQ(1.0 / 3, helper.conv_nat_to_norm(1));
    EXPECT_EQ(2.0 / 3, helper.conv_nat_to_norm(1.5));
    EXPECT_EQ(1.0, helper.conv_nat_to_norm(3));
}

TEST(ParamHelperEnumTest, OneItemHasNoScale) {
    auto const helper = make_helper({"only"});
    EXPECT_EQ(0.0, helper.conv_nat_to_norm(0));
    EXPECT_EQ(0.0, helper.conv_nat_to_norm(5));
    EXPECT_EQ(0.0, helper.conv_norm_to_nat(1.0));
    EXPECT_EQ(0.0, ParamHelperEnum().conv_nat_to_norm(0));
}

TEST(ParamHelperEnumTest, PrintsTheItemThroughTheFormat) {
    auto helper = make_helper({"Off", "50%", "100%%"});
    char txt[16] = "";
    EXPECT_EQ(0, helper.conv_nat_to_str(1, txt, 15));
    EXPECT_STREQ("50%", txt); // an item is an argument, and no format
    EXPECT_EQ(0, helper.conv_nat_to_str(1.5, txt, 15));
    EXPECT_STREQ("100%%", txt);
    helper.set_print_format("<%1%>");
    EXPECT_EQ(0, helper.conv_nat_to_str(0.49, txt, 15));
    EXPECT_STREQ("<Off>", txt);
    EXPECT_EQ(0, helper.conv_nat_to_str(0, txt, 3));
    EXPECT_STREQ("<Of", txt);
    EXPECT_EQ(0, helper.conv_nat_to_str(0, txt, 0));
    EXPECT_STREQ("", txt);
    helper.set_print_format("never %");
    EXPECT_EQ(0, helper.conv_nat_to_str(0, txt, 15));
    EXPECT_STREQ("", txt);
}

TEST(ParamHelperEnumTest, PrintsNothingOutOfRange) {
    auto const helper = make_helper({"Off", "On"});
    for (double nat :
         {-0.6, 1.5, 2.0, 1e300, -1e300, std::nan(""), std::numeric_limits<double>::infinity()}) {
        char txt[16] = "before";
        EXPECT_EQ(ace::Err_OUT_OF_RANGE, helper.conv_nat_to_str(nat, txt, 15));
        EXPECT_STREQ("", txt);
    }
    char txt[16] = "before";
    EXPECT_EQ(0, helper.conv_nat_to_str(-0.5, txt, 15));
    EXPECT_STREQ("Off", txt);
}

TEST(ParamHelperEnumTest, FirstItemInTheTextWins) {
    auto const helper = make_helper({"sine", "Sine 2", "Saw"});
    EXPECT_EQ((Parsed{0, 0}), parse(helper, "SINE"));
    EXPECT_EQ((Parsed{0, 0}), parse(helper, "Sine 2")); // never reached by its text
    EXPECT_EQ((Parsed{0, 0}), parse(helper, "saw, then sine"));
    EXPECT_EQ((Parsed{0, 2}), parse(helper, "a sAw tooth"));
    EXPECT_EQ((Parsed{0, 1}), parse(helper, "1"));
    EXPECT_EQ((Parsed{0, 0}), parse(make_helper({"", "On"}), "On")); // an empty item matches all
}

TEST(ParamHelperEnumTest, FoldsBeyondAscii) {
    auto const helper = make_helper({"\xC3\xA9tude", "\xD0\x9F"});
    EXPECT_EQ((Parsed{0, 0}), parse(helper, "\xC3\x89TUDE"));
    EXPECT_EQ((Parsed{0, 1}), parse(helper, "x\xD0\xBF"));
}

TEST(ParamHelperEnumTest, ReadsAnIndex) {
    auto const helper = make_helper({"Off", "On"});
    auto const fail = ace::Err_CANNOT_CONVERT_PARAM_VAL;
    EXPECT_EQ((Parsed{0, 0}), parse(helper, "0"));
    EXPECT_EQ((Parsed{0, 1}), parse(helper, " +1"));
    EXPECT_EQ((Parsed{0, 1}), parse(helper, "1.9 and more"));
    EXPECT_EQ((Parsed{fail, 2}), parse(helper, "2")); // stored, then compared
    EXPECT_EQ((Parsed{fail, -1}), parse(helper, "-1"));
    EXPECT_EQ((Parsed{fail, 9223372036854775807.0}), parse(helper, "99999999999999999999"));
    for (char const* txt : {"", "   ", "+", "-", "x", "- 1"}) {
        EXPECT_EQ((Parsed{fail, -99}), parse(helper, txt)) << txt;
    }
}

TEST(ParamHelperEnumTest, FailureOfTheSearchIsPassedOn) {
    auto const helper = make_helper({"Off", "On"});
    EXPECT_EQ((Parsed{-3496, -99}), parse(helper, "\xC0 on"));
    EXPECT_EQ((Parsed{-3493, -99}), parse(helper, "\xC3( on"));
    EXPECT_EQ((Parsed{0, 0}), parse(helper, "off \xC0")); // found before the fault
}

TEST(ParamTplEnumTest, OffOn) {
    ParamTplEnum const param("Off\nOn", "Byp\nBypass", "", 0, "%1%");
    EXPECT_EQ(0.0, param.get_val_min());
    EXPECT_EQ(1.0, param.get_val_max());
    double val = -1;
    EXPECT_EQ(0, param.conv_norm_to_nat(0.5, val));
    EXPECT_EQ(1.0, val);
    EXPECT_EQ(0, param.conv_norm_to_nat(0.499, val));
    EXPECT_EQ(0.0, val);
    EXPECT_EQ(0, param.conv_nat_to_norm(1, val));
    EXPECT_EQ(1.0, val);
    EXPECT_EQ("Off", show(param, 0));
    EXPECT_EQ("On", show(param, 1));
    EXPECT_EQ((Parsed{0, 1}), parse(param, "on"));
    EXPECT_EQ((Parsed{0, 1}), parse(param, "ON"));
    EXPECT_EQ((Parsed{0, 1}), parse(param, "1"));
    EXPECT_EQ(ace::Err_CANNOT_CONVERT_PARAM_VAL, parse(param, "2").ret);
}

TEST(ParamTplEnumTest, Prop) {
    ParamTplEnum const param("a\nb\nc", "Out %1%", "dB", 7, "%1%");
    ParamInterface::Prop prop;
    prop.flags = prop.dir = prop.type_use = prop.type_data = prop.validity = 9;
    EXPECT_EQ(0, param.get_prop(prop));
    EXPECT_EQ("Out 7", prop.name);
    EXPECT_EQ("dB", prop.unit);
    EXPECT_EQ(0, prop.flags);
    EXPECT_EQ(0, prop.dir);
    EXPECT_EQ(0, prop.type_use);
    EXPECT_EQ(0, prop.type_data);
    EXPECT_EQ(0, prop.validity);
    EXPECT_EQ(1, prop.domain_time);
    EXPECT_EQ(1, prop.domain_val);
    EXPECT_EQ(1, prop.public_range);
    EXPECT_EQ(0.0, prop.val_min);
    EXPECT_EQ(2.0, prop.val_max);
}

TEST(ParamTplEnumTest, ItemsAndNames) {
    EXPECT_EQ(2.0, ParamTplEnum("a\nb\n", "n", "", 0, "%1%").get_val_max());
    EXPECT_EQ("", show(ParamTplEnum("a\nb\n", "n", "", 0, "%1%"), 2));
    EXPECT_EQ(0.0, ParamTplEnum("a", "n", "", 0, "%1%").get_val_max());
    EXPECT_EQ(0.0, ParamTplEnum("", "n", "", 0, "%1%").get_val_max());
    EXPECT_EQ("[b]", show(ParamTplEnum("a\nb", "n", "", 0, "[%1%]"), 1));
    auto const name_of = [](char const* name, int index) {
        ParamInterface::Prop prop;
        ParamTplEnum("a\nb", name, "", index, "%1%").get_prop(prop);
        return prop.name;
    };
    EXPECT_EQ("No number", name_of("No number", 3));
    EXPECT_EQ("03/03", name_of("%1rm2w0%/%1rm2w0%", 3));
    EXPECT_EQ("100%", name_of("100%%", 3));
    EXPECT_EQ("", name_of("100%", 3)); // no valid format
}
