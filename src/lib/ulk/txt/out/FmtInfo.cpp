#include "ulk/txt/out/FmtInfo.h"

#include "ulk/txt/out/Ascii.h"

#include <algorithm>

namespace ulk::txt::out {

int FmtInfo::parse_options(char const* txt, long len, long const* param_arr, long nbr_param) {
    ParserState state = {txt, len, param_arr, nbr_param, 0, 0, 0};
    while (state.pos < len && state.error == 0) {
        parse_option(state);
    }
    return state.error;
}

void FmtInfo::parse_option(ParserState& state) {
    char const c = state.txt[state.pos++];
    switch (Ascii::to_lower(c)) {
    case '+':
        _sign_mode = SignMode_PLUS;
        break;
    case '-':
        _sign_mode = SignMode_BLANK;
        break;
    case 'b':
        set_base(2, Ascii::is_upper(c));
        break;
    case 'd':
        set_base(10, Ascii::is_upper(c));
        break;
    case 'x':
        set_base(16, Ascii::is_upper(c));
        break;
    case 'c':
        _justify_mode = JustifyMode_CENTER;
        break;
    case 'k':
        _justify_mode = JustifyMode_LEFT;
        break;
    case 'l':
        _justify_mode = JustifyMode_LEFT_NO_PAD;
        break;
    case 'r':
        _justify_mode = JustifyMode_RIGHT;
        break;
    case 'm':
        _max_len = parse_length(state);
        break;
    case 'p':
        _nbr_decimals = parse_length(state);
        break;
    case 's':
        _group_size = parse_length(state);
        break;
    case 'e':
        set_float_mode(FloatMode_SCIENTIFIC, state);
        break;
    case 'g':
        set_float_mode(FloatMode_AUTO, state);
        break;
    case 'f':
        _float_mode = FloatMode_FIXED;
        break;
    case 'o':
        _zero_trail_flag = false;
        break;
    case 'v':
        _zero_trail_flag = true;
        break;
    case 't':
        _truncated_flag = true;
        break;
    case 'w':
        if (state.pos < state.len) {
            _whitespace = state.txt[state.pos++];
        } else {
            state.error = -1;
        }
        break;
    default:
        break;
    }
}

void FmtInfo::set_base(long base, bool upper_flag) {
    _base = base;
    _case_mode = upper_flag ? CaseMode_UPPER : CaseMode_LOWER;
}

void FmtInfo::set_float_mode(FloatMode mode, ParserState& state) {
    _float_mode = mode;
    _exp_size = is_value_next(state) ? parse_length(state) : 0;
}

// A value from 0 up, kept within 32 bits so that sums of lengths hold in a long.
long FmtInfo::parse_length(ParserState& state) {
    return std::clamp(parse_value(state), 0L, MAX_LEN_NONE);
}

// Each "$" in front of a value makes it the number of the parameter that holds the value.
long FmtInfo::parse_value(ParserState& state) {
    long const beg = state.pos;
    while (state.pos < state.len && state.txt[state.pos] == '$') {
        ++state.pos;
    }
    long nbr_indirect = state.pos - beg;
    long val = parse_number(state);
    for (; nbr_indirect > 0 && state.error == 0; --nbr_indirect) {
        val = take_param(state, val);
    }
    return val;
}

long FmtInfo::parse_number(ParserState& state) {
    constexpr long max_before_digit = 214748364;
    if (state.pos < state.len && state.txt[state.pos] == '!') {
        ++state.pos;
        return take_param(state, ++state.param_pos);
    }
    if (!is_value_next(state)) {
        state.error = -1;
        return 0;
    }
    long val = 0;
    for (; state.pos < state.len && Ascii::is_digit(state.txt[state.pos]); ++state.pos) {
        if (val >= max_before_digit) {
            state.error = -1;
            return 0;
        }
        val = val * 10 + (state.txt[state.pos] - '0');
    }
    return val;
}

// Parameters are numbered from 1.
long FmtInfo::take_param(ParserState& state, long number) {
    if (number < 1 || number > state.nbr_param) {
        state.error = -1;
        return 0;
    }
    return state.param_arr[number - 1];
}

bool FmtInfo::is_value_next(ParserState const& state) {
    if (state.pos >= state.len) {
        return false;
    }
    char const c = state.txt[state.pos];
    return Ascii::is_digit(c) || c == '!' || c == '$';
}

} // namespace ulk::txt::out
