#include "ulk/txt/unicode/CharData.h"

#include <algorithm>

namespace ulk::txt::unicode {

namespace {

bool is_line_end(LineBreakProp prop) {
    return prop == LineBreakProp_BK || prop == LineBreakProp_LF || prop == LineBreakProp_NL;
}

bool is_in_table(LineBreakProp prop) {
    return static_cast<unsigned>(prop) < LineBreakProp_NBR_TABLE;
}

// What a class outside the table counts as when it meets one of the table.
LineBreakProp find_table_class(LineBreakProp prop) {
    return is_in_table(prop) ? prop : LineBreakProp_AL;
}

} // namespace

// The search carries one class as its state, that of the character before the place, which a space
// or a mark leaves as it is.
unsigned long CharData::find_line_breaks(LineBreakAction* actions, LineBreakProp const* props,
                                         unsigned long len, ComplexFnc complex_fnc) {
    if (len == 0) {
        return 0;
    }
    LineBreakProp cls = props[0] == LineBreakProp_SP ? LineBreakProp_WJ : props[0];
    unsigned long pos = 1;
    while (pos < len) {
        if (is_in_table(cls)) {
            pos = find_table_breaks(cls, actions, props, pos, len);
            if (pos == len) {
                break;
            }
        }
        LineBreakProp const next = props[pos];
        if (is_line_end(cls) || (cls == LineBreakProp_CR && next != LineBreakProp_LF)) {
            break;
        }
        LineBreakAction* const action = actions + pos - 1;
        *action = LineBreakAction_PROHIBITED;
        if (is_line_end(next) || next == LineBreakProp_CR) {
            cls = next;
            ++pos;
        } else if (next == LineBreakProp_SP) {
            cls = LineBreakProp_AL; // a complex run ends here, and counts as letters from now on
            ++pos;
        } else if (cls == LineBreakProp_SA || next == LineBreakProp_SA) {
            unsigned long const nbr = complex_fnc(cls, props + pos - 1, action, len - pos + 1);
            pos += std::clamp(nbr, 1UL, len - pos);
            LineBreakProp const last = props[pos - 1];
            cls = last == LineBreakProp_SP ? LineBreakProp_AL : last;
        } else {
            *action = find_table_action(find_table_class(cls), find_table_class(next),
                                        props[pos - 1] == LineBreakProp_SP);
            cls = find_table_class(next);
            ++pos;
        }
    }
    actions[pos - 1] = LineBreakAction_EXPLICIT;
    return pos;
}

// The places from pos on, up to a character that is neither of the table nor a space. Spaces come
// too often and too irregularly for a branch.
unsigned long CharData::find_table_breaks(LineBreakProp& cls, LineBreakAction* actions,
                                          LineBreakProp const* props, unsigned long pos,
                                          unsigned long len) {
    LineBreakProp state = cls;
    bool after_space_flag = props[pos - 1] == LineBreakProp_SP;
    for (; pos < len; ++pos) {
        LineBreakProp const next = props[pos];
        bool const space_flag = next == LineBreakProp_SP;
        if (!is_in_table(next) && !space_flag) {
            break;
        }
        int const column = space_flag ? 0 : next;
        LineBreakAction const action =
            find_table_action(state, static_cast<LineBreakProp>(column), after_space_flag);
        actions[pos - 1] = space_flag ? LineBreakAction_PROHIBITED : action;
        // A mark goes with what it combines with, as the rows of the table tell.
        bool const mark_flag =
            (next == LineBreakProp_CM) & !after_space_flag & (state != LineBreakProp_ZW);
        state = (space_flag | mark_flag) ? state : next;
        after_space_flag = space_flag;
    }
    cls = state;
    return pos;
}

inline LineBreakAction CharData::find_table_action(LineBreakProp cls, LineBreakProp next,
                                                   bool space_flag) {
    LineBreakAction const action = _table_break_line[cls][next];
    // 1 to 3 hold behind a space alone
    bool const conditional_flag =
        static_cast<unsigned>(action) - 1 < LineBreakAction_COMBINING_PROHIBITED;
    return (conditional_flag & !space_flag) ? LineBreakAction_PROHIBITED : action;
}

unsigned long CharData::find_complex_line_breaks_default(LineBreakProp /*cls*/,
                                                         LineBreakProp const* props,
                                                         LineBreakAction* actions,
                                                         unsigned long len) {
    unsigned long pos = 0;
    do {
        actions[pos] = LineBreakAction_PROHIBITED;
        ++pos;
    } while (pos + 1 < len && props[pos] == LineBreakProp_SA);
    return pos;
}

namespace {

using Word = WordBreakProp;

bool is_transparent(Word prop) {
    return prop == WordBreakProp_EXTEND || prop == WordBreakProp_FORMAT ||
           prop == WordBreakProp_ZWJ;
}

bool is_newline(Word prop) {
    return prop == WordBreakProp_CR || prop == WordBreakProp_LF || prop == WordBreakProp_NEWLINE;
}

bool is_letter(Word prop) {
    return prop == WordBreakProp_A_LETTER || prop == WordBreakProp_HEBREW_LETTER;
}

// Tells if mid joins its two neighbours: letters, digits, or two Hebrew letters with a double quote
// for the sign that looks like one.
bool is_joined(Word before, Word mid, Word after) {
    switch (mid) {
    case WordBreakProp_MID_LETTER:
        return is_letter(before) && is_letter(after);
    case WordBreakProp_MID_NUM:
        return before == WordBreakProp_NUMERIC && after == WordBreakProp_NUMERIC;
    case WordBreakProp_MID_NUM_LET:
    case WordBreakProp_SINGLE_QUOTE:
        return (is_letter(before) && is_letter(after)) ||
               (before == WordBreakProp_NUMERIC && after == WordBreakProp_NUMERIC);
    case WordBreakProp_DOUBLE_QUOTE:
        return before == WordBreakProp_HEBREW_LETTER && after == WordBreakProp_HEBREW_LETTER;
    default:
        return false;
    }
}

// The first class from pos on that is not transparent; OTHER at the end.
Word find_solid(WordBreakProp const* props, unsigned long pos, unsigned long len) {
    while (pos < len && is_transparent(props[pos])) {
        ++pos;
    }
    return pos < len ? props[pos] : WordBreakProp_OTHER;
}

} // namespace

void CharData::find_word_breaks(unsigned char* breaks, WordBreakProp const* props,
                                unsigned long len) {
    Word before = WordBreakProp_OTHER; // what solid character there is before the last one
    Word last = len > 0 ? props[0] : WordBreakProp_OTHER;
    unsigned long nbr_indicators = last == WordBreakProp_REGIONAL_INDICATOR;
    for (unsigned long pos = 1; pos < len; ++pos) {
        Word const next = props[pos];
        if (is_transparent(next) && !is_newline(last)) {
            breaks[pos - 1] = 0;
            continue;
        }
        // Spaces join only where nothing stands between them.
        Word const left = last == WordBreakProp_W_SEG_SPACE ? props[pos - 1] : last;
        int cell = _table_break_word[left][next];
        if (cell == 2) {
            cell = is_joined(last, next, find_solid(props, pos + 1, len)) ? 0 : 1;
        } else if (cell == 3) {
            cell = is_joined(before, last, next) ? 0 : 1;
        } else if (cell == 4) {
            cell = nbr_indicators % 2 == 1 ? 0 : 1;
        }
        breaks[pos - 1] = static_cast<unsigned char>(cell);
        nbr_indicators = next == WordBreakProp_REGIONAL_INDICATOR ? nbr_indicators + 1 : 0;
        before = last;
        last = next;
    }
}

} // namespace ulk::txt::unicode
