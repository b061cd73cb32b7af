#pragma once

#include "ulk/archi/types.h"
#include "ulk/txt/unicode/BidiClass.h"
#include "ulk/txt/unicode/Char.h"
#include "ulk/txt/unicode/GeneralCategory.h"
#include "ulk/txt/unicode/GraphemeBreakProp.h"
#include "ulk/txt/unicode/LineBreakAction.h"
#include "ulk/txt/unicode/LineBreakProp.h"
#include "ulk/txt/unicode/WordBreakProp.h"

namespace ulk::txt::unicode {

// Properties of code points, from constant tables that tools/make_unicode_tables writes. Every
// function takes any value: what is no code point has the properties of an unassigned one.
// Callable from any thread, real-time ones included.
class CharData {
public:
    // What is known of one code point. A mapping is 0 if the code point maps to itself.
    struct Info {
        Char upper;
        Char lower;
        Char title;
        archi::UByte reserved_1;
        archi::UByte categ; // GeneralCategory
        archi::UInt16 reserved_2;
        archi::UByte grapheme_break; // GraphemeBreakProp
        archi::UByte line_break;     // LineBreakProp
        archi::UByte word_break;     // WordBreakProp
        archi::UByte bidi_class;     // BidiClass
    };
    static_assert(sizeof(Info) == 20);

    // Decides on a run of complex-context characters (class SA). cls is the class that holds
    // before the pair, props[0] and props[1] the pair, of which at least one is of the run;
    // len > 1 counts what is left of the text. Fills actions from 0 on, one a pair, and gives the
    // number of pairs filled, 1 to len - 1.
    using ComplexFnc = unsigned long (*)(LineBreakProp cls, LineBreakProp const* props,
                                         LineBreakAction* actions, unsigned long len);

    CharData() = delete;

    static Info const& use_info(long c); // real-time

    static GeneralCategory get_categ(long c);                 // real-time
    static GraphemeBreakProp get_grapheme_break_prop(long c); // real-time
    static LineBreakProp get_line_break_prop(long c);         // real-time
    static WordBreakProp get_word_break_prop(long c);         // real-time
    static BidiClass get_bidi_class(long c);                  // real-time

    // The simple mapping, or c itself if there is none.
    static long to_upper(long c); // real-time
    static long to_lower(long c); // real-time
    static long to_title(long c); // real-time

    // True if a user sees a new character begin between c1 and c2, as far as two neighbours tell:
    // emoji sequences and pairs of regional indicators need more context and come out split.
    static bool is_grapheme_cluster_boundary(long c1, long c2); // real-time

    // The line break opportunities of a text up to its end or its first mandatory break, by the
    // pair table of UAX #14. props and actions have len elements; actions[i] is the place behind
    // character i, and the last one filled is EXPLICIT. Gives the number of actions filled: the
    // caller goes on from there. real-time
    static unsigned long
    find_line_breaks(LineBreakAction* actions, LineBreakProp const* props, unsigned long len,
                     ComplexFnc complex_fnc = &CharData::find_complex_line_breaks_default);

    // No break inside the run, nor at its two ends. real-time
    static unsigned long find_complex_line_breaks_default(LineBreakProp cls,
                                                          LineBreakProp const* props,
                                                          LineBreakAction* actions,
                                                          unsigned long len);

    // The word boundaries of a text by the rules of UAX #29, without the one that needs to know
    // pictographs. props has len elements; breaks[i] becomes 1 if there is a boundary between
    // characters i and i + 1 and 0 if not: len - 1 elements are filled. real-time
    static void find_word_breaks(unsigned char* breaks, WordBreakProp const* props,
                                 unsigned long len);

private:
    // Without a branch: in running text there is no telling which characters have a mapping.
    static long choose(long mapped, long c) {
        return mapped | (c & -static_cast<long>(static_cast<unsigned long>(mapped) < 1));
    }

    static unsigned long find_table_breaks(LineBreakProp& cls, LineBreakAction* actions,
                                           LineBreakProp const* props, unsigned long pos,
                                           unsigned long len);
    // Both of the table. space_flag: next stands behind a space.
    static LineBreakAction find_table_action(LineBreakProp cls, LineBreakProp next,
                                             bool space_flag);

    static constexpr int nbr_line_table = LineBreakProp_NBR_TABLE;

    // An entry for 256 code points: with the high bit, the one record of them all; without, the
    // number of their page in _index_info_list.
    static archi::UInt16 const _index_page_list[0x1100];
    static archi::Int16 const _index_info_list[];
    static Info const _info_unique_list[]; // the first one is that of all that is no code point

    // [class before][class after]
    static archi::UByte const _table_break_grapheme[GraphemeBreakProp_NBR_ELT]
                                                   [GraphemeBreakProp_NBR_ELT];
    static archi::UByte const _table_break_word[WordBreakProp_NBR_ELT][WordBreakProp_NBR_ELT];
    static LineBreakAction const _table_break_line[nbr_line_table][nbr_line_table];
};

inline CharData::Info const& CharData::use_info(long c) {
    if (static_cast<unsigned long>(c) > 0x10FFFF) {
        return _info_unique_list[0];
    }
    long const page = _index_page_list[c >> 8];
    long const pos =
        (page & 0x8000) != 0 ? page & 0x7FFF : _index_info_list[(page << 8) + (c & 255)];
    return _info_unique_list[pos];
}

inline GeneralCategory CharData::get_categ(long c) {
    return static_cast<GeneralCategory>(use_info(c).categ);
}

inline GraphemeBreakProp CharData::get_grapheme_break_prop(long c) {
    return static_cast<GraphemeBreakProp>(use_info(c).grapheme_break);
}

inline LineBreakProp CharData::get_line_break_prop(long c) {
    return static_cast<LineBreakProp>(use_info(c).line_break);
}

inline WordBreakProp CharData::get_word_break_prop(long c) {
    return static_cast<WordBreakProp>(use_info(c).word_break);
}

inline BidiClass CharData::get_bidi_class(long c) {
    return static_cast<BidiClass>(use_info(c).bidi_class);
}

inline long CharData::to_upper(long c) {
    return choose(use_info(c).upper, c);
}

inline long CharData::to_lower(long c) {
    return choose(use_info(c).lower, c);
}

inline long CharData::to_title(long c) {
    return choose(use_info(c).title, c);
}

inline bool CharData::is_grapheme_cluster_boundary(long c1, long c2) {
    return _table_break_grapheme[get_grapheme_break_prop(c1)][get_grapheme_break_prop(c2)] != 0;
}

} // namespace ulk::txt::unicode
