#include "ulk/txt/unicode/CharData.h"

#include <algorithm>

namespace ulk::txt::unicode {

namespace {

bool is_line_end(LineBreakProp prop) {
    return prop == LineBreakProp_BK || prop == LineBreakProp_LF || prop == LineBreakProp_NL;
}

// A complex run ends at a space; the text before that then counts as letters.
LineBreakProp find_state_at_space(LineBreakProp cls) {
    return cls == LineBreakProp_SA ? LineBreakProp_AL : cls;
}

// Row or column of the table; classes that no code point has count as letters.
int find_table_pos(LineBreakProp prop) {
    return prop >= 0 && prop < LineBreakProp_NBR_TABLE ? prop : LineBreakProp_AL;
}

} // namespace

unsigned long CharData::find_line_breaks(LineBreakAction* actions, LineBreakProp const* props,
                                         unsigned long len, ComplexFnc complex_fnc) {
    if (len == 0) {
        return 0;
    }
    LineBreakProp cls = props[0] == LineBreakProp_SP ? LineBreakProp_WJ : props[0];
    unsigned long pos = 1;
    while (pos < len && !is_line_end(cls) &&
           (cls != LineBreakProp_CR || props[pos] == LineBreakProp_LF)) {
        LineBreakProp const next = props[pos];
        LineBreakAction& action = actions[pos - 1];
        action = LineBreakAction_PROHIBITED;
        if (next == LineBreakProp_SP) {
            cls = find_state_at_space(cls);
            ++pos;
        } else if (is_line_end(next) || next == LineBreakProp_CR) {
            cls = next;
            ++pos;
        } else if (cls == LineBreakProp_SA || next == LineBreakProp_SA) {
            unsigned long const nbr = complex_fnc(cls, props + pos - 1, &action, len - pos + 1);
            pos += std::clamp(nbr, 1UL, len - pos);
            LineBreakProp const last = props[pos - 1];
            cls = last == LineBreakProp_SP ? LineBreakProp_AL : last;
        } else {
            bool const space_flag = props[pos - 1] == LineBreakProp_SP;
            action = find_table_action(cls, next, space_flag);
            if (next != LineBreakProp_CM || space_flag || action != LineBreakAction_PROHIBITED) {
                cls = next; // else the mark goes with what it combines with
            }
            ++pos;
        }
    }
    actions[pos - 1] = LineBreakAction_EXPLICIT;
    return pos;
}

LineBreakAction CharData::find_table_action(LineBreakProp cls, LineBreakProp next,
                                            bool space_flag) {
    LineBreakAction const action = _table_break_line[find_table_pos(cls)][find_table_pos(next)];
    bool const conditional_flag = action == LineBreakAction_INDIRECT ||
                                  action == LineBreakAction_COMBINING_INDIRECT ||
                                  action == LineBreakAction_COMBINING_PROHIBITED;
    return conditional_flag && !space_flag ? LineBreakAction_PROHIBITED : action;
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
