#pragma once

namespace ulk::txt::unicode {

// Line_Break classes. Those before SA index the pair table; classes younger than the table are
// stored as the one they are closest to (CP as CL, HL as AL, CJ as NS, RI, EB, EM and CB as ID,
// ZWJ as CM, AI, SG and XX as AL).
enum LineBreakProp : int {
    LineBreakProp_OP = 0, // opening punctuation
    LineBreakProp_CL,     // closing punctuation
    LineBreakProp_QU,     // quotation
    LineBreakProp_GL,     // glue
    LineBreakProp_NS,     // non-starter
    LineBreakProp_EX,     // exclamation, interrogation
    LineBreakProp_SY,     // symbols that allow a break after
    LineBreakProp_IS,     // infix separator
    LineBreakProp_PR,     // numeric prefix
    LineBreakProp_PO,     // numeric postfix
    LineBreakProp_NU,     // digits
    LineBreakProp_AL,     // letters
    LineBreakProp_ID,     // ideographs
    LineBreakProp_IN,     // inseparable
    LineBreakProp_HY,     // hyphen
    LineBreakProp_BA,     // break after
    LineBreakProp_BB,     // break before
    LineBreakProp_B2,     // break before and after
    LineBreakProp_ZW,     // zero-width space
    LineBreakProp_CM,     // combining mark
    LineBreakProp_WJ,     // word joiner
    LineBreakProp_H2,     // Hangul LV syllable
    LineBreakProp_H3,     // Hangul LVT syllable
    LineBreakProp_JL,     // Hangul leading jamo
    LineBreakProp_JV,     // Hangul vowel jamo
    LineBreakProp_JT,     // Hangul trailing jamo

    LineBreakProp_NBR_TABLE,                    // the classes of the table
    LineBreakProp_SA = LineBreakProp_NBR_TABLE, // complex context (South East Asian)
    LineBreakProp_SP,                           // space
    LineBreakProp_BK = 29,                      // mandatory break
    LineBreakProp_CR,
    LineBreakProp_LF,
    LineBreakProp_NL
};

} // namespace ulk::txt::unicode
