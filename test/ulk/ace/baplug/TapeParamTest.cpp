#include "ulk/ace/Err.h"
#include "ulk/ace/baplug/ParamGlobPitchShift.h"
#include "ulk/ace/baplug/ParamGlobVol.h"
#include "ulk/ace/baplug/ParamSplId.h"
#include "ulk/ace/baplug/ParamSplOut.h"
#include "ulk/ace/baplug/ParamSplPan.h"
#include "ulk/ace/baplug/ParamSplPitch.h"
#include "ulk/ace/baplug/ParamSplPos.h"
#include "ulk/ace/baplug/ParamSplTimeStretch.h"
#include "ulk/ace/baplug/ParamSplVol.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>

using namespace ulk::ace;
using namespace ulk::ace::baplug;
using ulk::prout::ParamDescInterface;

namespace {

std::string to_str(ParamDescInterface const& param, double val, long max_len = 30) {
    char txt[64] = "untouched";
    int const ret = param.conv_to_str(val, txt, max_len);
    return ret == 0 ? txt : std::to_string(ret);
}

void expect_read(ParamDescInterface const& param, char const* txt, double expected) {
    double val = -77;
    EXPECT_EQ(0, param.conv_from_str(txt, val)) << txt;
    EXPECT_DOUBLE_EQ(expected, val) << txt;
}

void expect_refused(ParamDescInterface const& param, char const* txt) {
    double val = -77;
    EXPECT_EQ(Err_CANNOT_CONVERT_PARAM_VAL, param.conv_from_str(txt, val)) << txt;
}

} // namespace

TEST(TapeParamTest, VolumeLaw) {
    for (auto const& [norm, nat] :
         {std::pair(0.25, 0.188235294), {0.5, 0.941176471}, {0.75, 3.952941176}, {1.0, 16.0}}) {
        EXPECT_NEAR(nat, ParamSplVol::conv_direct_param_norm_to_nat(norm), 1e-9);
        double val = 0;
        EXPECT_EQ(0, ParamGlobVol().conv_norm_to_nat(norm, val));
        EXPECT_NEAR(nat, val, 1e-9);
    }
    for (auto const& [nat, norm] : {std::pair(0.1, 0.17187993228435516),
                                    {1.0, 0.51026862859725952},
                                    {2.0, 0.62986487150192261},
                                    {4.0, 0.75210106372833252}}) {
        EXPECT_EQ(norm, ParamSplVol::conv_direct_param_nat_to_norm(nat));
    }
    double const unity =
        ParamSplVol::conv_direct_param_norm_to_nat(ParamSplVol::get_direct_default_norm_val());
    EXPECT_NEAR(0.99999999073618162, unity, 1e-15);
    EXPECT_EQ(1.0f, static_cast<float>(unity));
    EXPECT_EQ(1, ParamSplVol::conv_direct_param_norm_to_nat(1.5));
    double val = 0;
    EXPECT_EQ(Err_OUT_OF_RANGE, ParamSplVol().conv_norm_to_nat(1.5, val));
    EXPECT_EQ(1, val);
    EXPECT_EQ(Err_OUT_OF_RANGE, ParamSplVol().conv_nat_to_norm(16.5, val = 0));
    EXPECT_EQ(1, val);
}

TEST(TapeParamTest, VolumeTexts) {
    ParamSplVol const vol;
    EXPECT_EQ("-oo", to_str(vol, 0));
    EXPECT_EQ("-14499", to_str(vol, 0, 2));
    EXPECT_EQ("-14484", to_str(vol, 1.1));
    EXPECT_EQ('+', to_str(vol, 0.6)[0]);
    expect_read(vol, "-OO", 0);
    expect_read(vol, "+90", 1);
    expect_refused(vol, "loud");
}

TEST(TapeParamTest, NaturalOnesHaveNoNormalisedForm) {
    ParamSplId const id;
    ParamSplOut const out;
    ParamSplPan const pan;
    ParamSplPitch const pitch;
    ParamSplPos const pos;
    ParamGlobPitchShift const shift;
    for (ParamDescInterface const* param :
         {static_cast<ParamDescInterface const*>(&id), static_cast<ParamDescInterface const*>(&out),
          static_cast<ParamDescInterface const*>(&pan),
          static_cast<ParamDescInterface const*>(&pitch),
          static_cast<ParamDescInterface const*>(&pos),
          static_cast<ParamDescInterface const*>(&shift)}) {
        double val = 3;
        EXPECT_EQ(Err_NOT_SUPPORTED, param->conv_nat_to_norm(0.5, val));
        EXPECT_EQ(Err_NOT_SUPPORTED, param->conv_norm_to_nat(0.5, val));
        EXPECT_EQ(3, val);
        EXPECT_EQ("-14484", to_str(*param, param->get_val_max() + 1));
        EXPECT_EQ("-14484", to_str(*param, param->get_val_min() - 1));
        EXPECT_EQ("-14484", to_str(*param, std::nan("")));
        EXPECT_EQ("-14499", to_str(*param, 0, 1));
    }
}

TEST(TapeParamTest, Ids) {
    ParamSplId const id;
    EXPECT_EQ(281474976710655.0, ParamSplId::_max_val);
    EXPECT_EQ("000000000000", to_str(id, 0));
    EXPECT_EQ("000000000000", to_str(id, 0, 12));
    EXPECT_EQ("-14499", to_str(id, 0, 11));
    EXPECT_EQ("FFFFFFFFFFFF", to_str(id, ParamSplId::_max_val));
    EXPECT_EQ("0000000000AB", to_str(id, 171));
    expect_read(id, "ab", 171);
    expect_read(id, "FFFFFFFFFFFF", ParamSplId::_max_val);
    expect_refused(id, "1000000000000");
    expect_refused(id, "-1");
    expect_refused(id, "xyz");
    expect_refused(id, "");
}

TEST(TapeParamTest, PitchesPositionsAndPins) {
    ParamSplPitch const pitch;
    expect_read(pitch, "30", 24);
    expect_read(pitch, "-30", -24);
    expect_read(pitch, "1.5 st", 1.5);
    expect_refused(pitch, "up");
    EXPECT_EQ('+', to_str(pitch, 12)[0]);
    ParamSplPos const pos;
    expect_read(pos, "100000.5", 100000.5);
    expect_read(pos, "-2", -2);
    expect_refused(pos, "s");
    EXPECT_EQ("-14499", to_str(pos, 0, 4));
    ParamSplOut const out;
    EXPECT_EQ("1", to_str(out, 0));
    EXPECT_EQ("16", to_str(out, 15));
    EXPECT_EQ("-14499", to_str(out, 0, 1));
    expect_read(out, "1", 0);
    expect_read(out, "99", 15);
    expect_read(out, "-9223372036854775808", 0);
    expect_refused(out, "pin");
}

TEST(TapeParamTest, Pans) {
    ParamSplPan const pan;
    EXPECT_EQ("Center", to_str(pan, 1.0 / 250));
    EXPECT_EQ("Cente", to_str(pan, 0, 5));
    EXPECT_EQ("-14499", to_str(pan, 0, 4));
    EXPECT_EQ("R   1", to_str(pan, 3.0 / 500));
    EXPECT_EQ("L  50", to_str(pan, -0.5));
    expect_read(pan, "L  50", -0.5);
    expect_read(pan, "r200", 1);
    expect_read(pan, "cl 10", -0.1);
    expect_read(pan, "c l r", 0);
    for (char const* const txt : {"c", "Center", "left 30", "", "50"}) {
        double val = 5;
        EXPECT_EQ(Err_CANNOT_CONVERT_PARAM_VAL, pan.conv_from_str(txt, val)) << txt;
        EXPECT_EQ(0, val) << txt;
    }
}

TEST(TapeParamTest, TimeStretch) {
    ParamSplTimeStretch const stretch;
    double val = 0;
    EXPECT_EQ(0, stretch.conv_norm_to_nat(0.5, val));
    EXPECT_DOUBLE_EQ(1, val);
    EXPECT_EQ(0, stretch.conv_nat_to_norm(4, val));
    EXPECT_EQ(1, val);
    EXPECT_EQ(Err_OUT_OF_RANGE, stretch.conv_norm_to_nat(-1, val));
    EXPECT_EQ(1, val);
    EXPECT_EQ(Err_OUT_OF_RANGE, stretch.conv_nat_to_norm(5, val));
    EXPECT_EQ(0.5, val);
    EXPECT_EQ("-14484", to_str(stretch, 0)); // the declared default
    EXPECT_EQ("  100", to_str(stretch, 1));
    expect_read(stretch, "100.0", 1);
    expect_read(stretch, "1000", 4);
    expect_read(stretch, "1", 0.25);
    expect_refused(stretch, "%");
}
