#pragma once

namespace ulk::txt::unicode {

// Word_Break.
enum WordBreakProp : int {
    WordBreakProp_OTHER = 0,
    WordBreakProp_CR,
    WordBreakProp_LF,
    WordBreakProp_NEWLINE,
    WordBreakProp_EXTEND,
    WordBreakProp_FORMAT,
    WordBreakProp_KATAKANA,
    WordBreakProp_A_LETTER,
    WordBreakProp_MID_LETTER,
    WordBreakProp_MID_NUM,
    WordBreakProp_MID_NUM_LET,
    WordBreakProp_NUMERIC,
    WordBreakProp_EXTEND_NUM_LET,
    WordBreakProp_HEBREW_LETTER,
    WordBreakProp_SINGLE_QUOTE,
    WordBreakProp_DOUBLE_QUOTE,
    WordBreakProp_REGIONAL_INDICATOR,
    WordBreakProp_ZWJ,
    WordBreakProp_W_SEG_SPACE,

    WordBreakProp_NBR_ELT
};

} // namespace ulk::txt::unicode
