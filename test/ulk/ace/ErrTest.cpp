#include "ulk/ace/Err.h"

#include "ulk/ace/Constants.h"

#include <gtest/gtest.h>

#include <cstring>

using namespace ulk::ace;

TEST(ErrTest, CodesHaveTheirTexts) {
    EXPECT_STREQ("OK", Err_get_text(0));
    EXPECT_STREQ("Generic failure", Err_get_text(-2));
    EXPECT_STREQ("Exception", Err_get_text(-14500));
    EXPECT_STREQ("Exception", Err_get_text(-11500));
    EXPECT_STREQ("Too much pins", Err_get_text(-11467));
    EXPECT_STREQ("Data not set", Err_get_text(-11417));
}

TEST(ErrTest, UnassignedCodesHaveNone) {
    EXPECT_EQ(nullptr, Err_get_text(-11448));
    EXPECT_STREQ("", Err_get_text_nn(-11448));
    EXPECT_STREQ("", Err_get_text_nn(1));
    EXPECT_EQ(nullptr, Err_get_text(-14470));
    EXPECT_EQ(nullptr, Err_get_text(-14501));
}

TEST(ErrTest, EveryCodeOfTheBlocksHasAText) {
    int count = 0;
    for (int code = -20000; code <= 10; ++code) {
        char const* const txt = Err_get_text(code);
        count += txt != nullptr;
        EXPECT_STREQ(txt != nullptr ? txt : "", Err_get_text_nn(code));
        bool const block_flag = (code >= -14500 && code <= -14472) ||
                                (code >= -11500 && code <= -11417 && code != -11448) ||
                                (code >= -2 && code <= 0);
        EXPECT_EQ(block_flag, txt != nullptr) << code;
    }
    EXPECT_EQ(115, count);
}

TEST(ConstantsTest, AntiDenormalHasItsBits) {
    unsigned int bits = 0;
    std::memcpy(&bits, &Constants::ANTI_DENORMAL, sizeof(bits));
    EXPECT_EQ(0x219392EFu, bits);
}
