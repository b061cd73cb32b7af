#pragma once

namespace ulk::txt::unicode {

// General_Category: the group in the high four bits, the subclass below.
enum GeneralCategory : int {
    GeneralCategory_LU = 0x00,
    GeneralCategory_LL,
    GeneralCategory_LT,
    GeneralCategory_LM,
    GeneralCategory_LO,
    GeneralCategory_MN = 0x10,
    GeneralCategory_MC,
    GeneralCategory_ME,
    GeneralCategory_ND = 0x20,
    GeneralCategory_NL,
    GeneralCategory_NO,
    GeneralCategory_PC = 0x30,
    GeneralCategory_PD,
    GeneralCategory_PS,
    GeneralCategory_PE,
    GeneralCategory_PI,
    GeneralCategory_PF,
    GeneralCategory_PO,
    GeneralCategory_SM = 0x40,
    GeneralCategory_SC,
    GeneralCategory_SK,
    GeneralCategory_SO,
    GeneralCategory_ZS = 0x50,
    GeneralCategory_ZL,
    GeneralCategory_ZP,
    GeneralCategory_CC = 0x60,
    GeneralCategory_CF,
    GeneralCategory_CS,
    GeneralCategory_CO,
    GeneralCategory_CN
};

} // namespace ulk::txt::unicode
