#pragma once

namespace ulk::txt::unicode {

// Grapheme_Cluster_Break. The zero-width joiner counts as EXTEND, regional indicators as OTHER.
enum GraphemeBreakProp : int {
    GraphemeBreakProp_OTHER = 0,
    GraphemeBreakProp_CR,
    GraphemeBreakProp_LF,
    GraphemeBreakProp_CONTROL,
    GraphemeBreakProp_EXTEND,
    GraphemeBreakProp_PREPEND,
    GraphemeBreakProp_SPACING_MARK,
    GraphemeBreakProp_L,
    GraphemeBreakProp_V,
    GraphemeBreakProp_T,
    GraphemeBreakProp_LV,
    GraphemeBreakProp_LVT,

    GraphemeBreakProp_NBR_ELT
};

} // namespace ulk::txt::unicode
