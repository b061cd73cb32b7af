#pragma once

namespace ulk::txt::unicode {

// Bidi_Class, in the order in which the database documents them.
enum BidiClass : int {
    BidiClass_L = 0,
    BidiClass_R,
    BidiClass_AL,
    BidiClass_EN,
    BidiClass_ES,
    BidiClass_ET,
    BidiClass_AN,
    BidiClass_CS,
    BidiClass_NSM,
    BidiClass_BN,
    BidiClass_B,
    BidiClass_S,
    BidiClass_WS,
    BidiClass_ON,
    BidiClass_LRE,
    BidiClass_LRO,
    BidiClass_RLE,
    BidiClass_RLO,
    BidiClass_PDF,
    BidiClass_LRI,
    BidiClass_RLI,
    BidiClass_FSI,
    BidiClass_PDI
};

} // namespace ulk::txt::unicode
