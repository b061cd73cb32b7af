// The mixer's parameters: curves and texts.

#include "ulk/ace/Err.h"
#include "ulk/ace/baplug/ParamDryWet.h"
#include "ulk/ace/baplug/ParamGain.h"

#include <gtest/gtest.h>

#include <clocale>
#include <cmath>
#include <cstring>
#include <limits>

using namespace ulk::ace;
using baplug::ParamDryWet;
using baplug::ParamGain;
using Law = baplug::ParamSharedVol<4, 8>;

namespace {

constexpr double not_a_number = std::numeric_limits<double>::quiet_NaN();
constexpr double inf = std::numeric_limits<double>::infinity();

std::string print(ulk::prout::ParamInterface const& param, double val) {
    char txt[32] = "before";
    EXPECT_EQ(0, param.conv_to_str(val, txt, sizeof(txt)));
    return txt;
}

// The result of a text that must be readable.
double read(ulk::prout::ParamInterface const& param, char const* txt) {
    double val = -9;
    EXPECT_EQ(0, param.conv_from_str(txt, val)) << txt;
    return val;
}

} // namespace

TEST(ParamDryWetTest, TellsItsProperties) {
    ParamDryWet const param;
    ParamDryWet::Prop prop;
    prop.flags = prop.dir = prop.type_use = prop.public_range = 9;
    ASSERT_EQ(0, param.get_prop(prop));
    EXPECT_EQ("Wet/Dry Mix", prop.name);
    EXPECT_EQ("%", prop.unit);
    for (int const field : {prop.flags, prop.dir, prop.type_use, prop.type_data, prop.validity,
                            prop.domain_time, prop.domain_val, prop.public_range}) {
        EXPECT_EQ(0, field);
    }
    EXPECT_EQ(0, prop.val_min);
    EXPECT_EQ(1, prop.val_max);
    EXPECT_EQ(0, param.get_val_min());
    EXPECT_EQ(1, param.get_val_max());
}

TEST(ParamDryWetTest, CurveIsSteepInTheMiddle) {
    for (double const fixed : {0.0, 0.5, 1.0}) {
        double val = -9;
        EXPECT_EQ(0, ParamDryWet::st_conv_norm_to_nat(fixed, val));
        EXPECT_DOUBLE_EQ(fixed, val);
        EXPECT_EQ(0, ParamDryWet::st_conv_nat_to_norm(fixed, val));
        EXPECT_DOUBLE_EQ(fixed, val);
    }
    double last = -1;
    for (int i = 0; i <= 1000; ++i) {
        double const norm = i / 1000.0;
        double nat = -9;
        ASSERT_EQ(0, ParamDryWet::st_conv_norm_to_nat(norm, nat));
        EXPECT_EQ(nat, ParamDryWet::st_conv_norm_to_nat_no_check(norm));
        EXPECT_GT(nat, last);
        last = nat;
        double back = -9;
        ASSERT_EQ(0, ParamDryWet::st_conv_nat_to_norm(std::min(std::max(nat, 0.0), 1.0), back));
        EXPECT_NEAR(norm, back, 1e-14);
    }
    EXPECT_GT(ParamDryWet::st_conv_norm_to_nat_no_check(0.51), 0.54);
    EXPECT_LT(ParamDryWet::st_conv_norm_to_nat_no_check(0.01), 0.003);
    EXPECT_LT(ParamDryWet::st_conv_norm_to_nat_no_check(-0.1), 0); // no test of the range
}

TEST(ParamDryWetTest, RangeIsChecked) {
    ParamDryWet const param;
    for (double const val : {-1e-9, 1.0000001, -inf, inf, not_a_number}) {
        double result = -9;
        EXPECT_EQ(Err_OUT_OF_RANGE, param.conv_norm_to_nat(val, result));
        EXPECT_EQ(Err_OUT_OF_RANGE, param.conv_nat_to_norm(val, result));
        EXPECT_EQ(-9, result);
        char txt[16] = "before";
        EXPECT_EQ(Err_OUT_OF_RANGE, param.conv_to_str(val, txt, sizeof(txt)));
        EXPECT_EQ(Err_OUT_OF_RANGE, param.conv_to_str(val, txt, 0)); // before the size
        EXPECT_STREQ("before", txt);
    }
}

TEST(ParamDryWetTest, Texts) {
    ParamDryWet const param;
    EXPECT_EQ("100 /   0", print(param, 0));
    EXPECT_EQ(" 92 /   8", print(param, 0.25));
    EXPECT_EQ(" 50 /  50", print(param, 0.5));
    EXPECT_EQ("  0 / 100", print(param, 1));
    char txt[16] = "before";
    for (long const max_len : {2L, 0L, -1L}) {
        EXPECT_EQ(Err_NO_ROOM, param.conv_to_str(0, txt, max_len));
        EXPECT_STREQ("before", txt);
    }
    EXPECT_EQ(0, param.conv_to_str(0, txt, 3));
    EXPECT_STREQ("100", txt); // cut, not refused; the room is without the terminator
    EXPECT_STREQ("re", txt + 4);
}

TEST(ParamDryWetTest, ReadsTheWetShare) {
    ParamDryWet const param;
    double const norm = read(param, "30");
    EXPECT_EQ(0.5588235294117647, norm);
    double nat = -9;
    EXPECT_EQ(0, param.conv_norm_to_nat(norm, nat));
    EXPECT_DOUBLE_EQ(0.7, nat);
    EXPECT_EQ(norm, read(param, "  +30 % wet"));
    EXPECT_EQ(norm, read(param, "3e1"));
    EXPECT_DOUBLE_EQ(0, read(param, "100 /   0"));
    EXPECT_DOUBLE_EQ(1, read(param, "0"));
    EXPECT_DOUBLE_EQ(0.5, read(param, "50.0"));
    for (char const* txt : {"", "abc", "%30", "-", "+", ".", "  "}) {
        double val = -9;
        EXPECT_EQ(Err_CANNOT_CONVERT_PARAM_VAL, param.conv_from_str(txt, val)) << txt;
        EXPECT_EQ(0, val);
    }
    for (auto const& [txt, expected] : {std::pair{"150", -0.5}, {"-20", 1.2}, {"100.5", -0.005}}) {
        double val = -9;
        EXPECT_EQ(Err_OUT_OF_RANGE, param.conv_from_str(txt, val)) << txt;
        EXPECT_DOUBLE_EQ(expected, val); // what was read stays
    }
}

TEST(ParamDryWetTest, TextsComeBack) {
    ParamDryWet const param;
    for (int wet = 0; wet <= 100; ++wet) {
        double const norm = read(param, std::to_string(wet).c_str());
        std::string const txt = print(param, norm);
        EXPECT_EQ(wet, std::stoi(txt));
        EXPECT_EQ(100 - wet, std::stoi(txt.substr(5)));
        EXPECT_EQ(norm, read(param, txt.c_str()));
    }
}

TEST(ParamGainTest, TellsItsProperties) {
    ParamGain const param;
    ParamGain::Prop prop;
    prop.flags = prop.dir = prop.validity = prop.public_range = 9;
    ASSERT_EQ(0, param.get_prop(prop));
    EXPECT_EQ("Gain", prop.name);
    EXPECT_EQ("dB", prop.unit);
    EXPECT_EQ(5, prop.type_use);
    EXPECT_EQ(6, prop.type_data);
    for (int const field : {prop.flags, prop.dir, prop.validity, prop.domain_time, prop.domain_val,
                            prop.public_range}) {
        EXPECT_EQ(0, field);
    }
    EXPECT_EQ(0, prop.val_min);
    EXPECT_EQ(4, prop.val_max);
    EXPECT_EQ(0, param.get_val_min());
    EXPECT_EQ(4, param.get_val_max());
    EXPECT_EQ(0, ParamGain::get_direct_val_min());
    EXPECT_EQ(4, ParamGain::get_direct_val_max());
}

TEST(ParamGainTest, CurveIsExponential) {
    EXPECT_EQ(5.545177444479562, Law::log_base);
    EXPECT_EQ(255.99999999999994, std::exp(Law::log_base));
    EXPECT_EQ(0.7521010637283325, ParamGain::get_direct_default_norm_val());
    EXPECT_EQ(1.0000001563911067, ParamGain::conv_direct_param_norm_to_nat(0.7521010637283325));
    EXPECT_EQ(0, ParamGain::conv_direct_param_norm_to_nat(0));
    EXPECT_EQ(4, ParamGain::conv_direct_param_norm_to_nat(1));
    EXPECT_EQ(0, ParamGain::conv_direct_param_nat_to_norm(0));
    EXPECT_EQ(1, ParamGain::conv_direct_param_nat_to_norm(4));
    for (int i = 0; i <= 1000; ++i) {
        double const norm = i / 1000.0;
        double const nat = (std::exp(norm * 5.545177444479562) - 1) / (255.99999999999994 - 1) * 4;
        EXPECT_EQ(nat, ParamGain::conv_direct_param_norm_to_nat(norm));
        double const back = ParamGain::conv_direct_param_nat_to_norm(std::min(nat, 4.0));
        EXPECT_NEAR(norm, back, 1e-7);
        EXPECT_EQ(back, static_cast<double>(static_cast<float>(back))); // single precision
    }
}

TEST(ParamGainTest, OutOfRangeGivesOne) {
    ParamGain const param;
    for (double const norm : {-1e-9, 1.0000001, -inf, inf, not_a_number}) {
        double nat = -9;
        EXPECT_EQ(Err_OUT_OF_RANGE, param.conv_norm_to_nat(norm, nat));
        EXPECT_EQ(1, nat);
        EXPECT_EQ(1, ParamGain::conv_direct_param_norm_to_nat(norm));
        char txt[16] = "before";
        EXPECT_EQ(Err_OUT_OF_RANGE, param.conv_to_str(norm, txt, sizeof(txt)));
        EXPECT_EQ(Err_OUT_OF_RANGE, param.conv_to_str(norm, txt, 0)); // before the size
        EXPECT_STREQ("before", txt);
    }
    for (double const nat : {-1e-9, 4.0000001, -inf, inf, not_a_number}) {
        double norm = -9;
        EXPECT_EQ(Err_OUT_OF_RANGE, param.conv_nat_to_norm(nat, norm));
        EXPECT_EQ(1, norm);
        EXPECT_EQ(1, ParamGain::conv_direct_param_nat_to_norm(nat));
    }
}

TEST(ParamGainTest, Texts) {
    ParamGain const param;
    for (auto const& [norm, txt] : {std::pair{0.0, "-oo"},
                                    {1e-13, "-oo"},
                                    {0.25, "-26.5"},
                                    {0.5, "-12.6"},
                                    {0.75, "-0.1"},
                                    {0.7521010637283325, "+0"},
                                    {0.9, "+7.2"},
                                    {1.0, "+12"}}) {
        EXPECT_EQ(txt, print(param, norm)) << norm;
    }
    char txt[16] = "before";
    for (long const max_len : {2L, 0L, -1L}) {
        EXPECT_EQ(Err_NO_ROOM, param.conv_to_str(0.5, txt, max_len));
        EXPECT_EQ(Err_NO_ROOM, param.conv_to_str(0, txt, max_len));
        EXPECT_STREQ("before", txt);
    }
}

TEST(ParamGainTest, ReadsDecibels) {
    ParamGain const param;
    for (auto const& [txt, norm] : {std::pair{"6", 0.8752787113189697},
                                    {"-60", 0.011144891381263733},
                                    {"12.05", 1.0},
                                    {"+60", 1.0},
                                    {"1e9", 1.0},
                                    {"inf", 1.0},
                                    {"-inf", 0.0},
                                    {"-oo", 0.0},
                                    {"-OO dB", 0.0},
                                    {"some -Oo", 0.0},
                                    {"0", 0.7521010041236877},
                                    {"6 -oo", 0.8752787113189697},
                                    {"  +6 dB", 0.8752787113189697},
                                    {"-1e9", 0.0}}) {
        EXPECT_NEAR(norm, read(param, txt), 6.1e-8) << txt;
    }
    EXPECT_EQ(0.8752787113189697, read(param, "6"));
    EXPECT_EQ(0.011144891381263733, read(param, "-60"));
    EXPECT_EQ(1.0, read(param, "12.05"));
    for (char const* txt : {"", "abc", "oo", "- oo", "-o", "--6"}) {
        double val = -9;
        EXPECT_EQ(Err_CANNOT_CONVERT_PARAM_VAL, param.conv_from_str(txt, val)) << txt;
        EXPECT_EQ(-9, val);
    }
}

TEST(ParamGainTest, TextsComeBack) {
    ParamGain const param;
    for (int tenth = -600; tenth <= 120; ++tenth) {
        char typed[16];
        std::snprintf(typed, sizeof(typed), "%+.1f", tenth / 10.0);
        std::string const txt = print(param, read(param, typed));
        EXPECT_EQ(tenth, std::lround(std::stod(txt) * 10)) << typed;
    }
}

// Numbers have a point, whatever the host's locale says.
TEST(ParamLocaleTest, PointStaysPoint) {
    std::string const before = std::setlocale(LC_ALL, nullptr);
    for (char const* name : {"de_DE.UTF-8", "fr_FR.UTF-8", "C.UTF-8", "C"}) {
        if (std::setlocale(LC_ALL, name) == nullptr) {
            continue; // not on this machine
        }
        EXPECT_NEAR(read(ParamGain(), "-6.5"), 0.57, 0.1);
        EXPECT_NE(read(ParamGain(), "-6.5"), read(ParamGain(), "-6"));
        EXPECT_EQ(read(ParamGain(), "-6,5"), read(ParamGain(), "-6"));
        EXPECT_EQ("-26.5", print(ParamGain(), 0.25));
    }
    std::setlocale(LC_ALL, before.c_str());
}
