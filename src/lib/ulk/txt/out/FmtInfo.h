#pragma once

namespace ulk::txt::out {

// Options of one reference of a format: the letters between its number and the closing "%".
class FmtInfo {
public:
    enum JustifyMode {
        JustifyMode_LEFT_NO_PAD = 0,
        JustifyMode_RIGHT,
        JustifyMode_CENTER,
        JustifyMode_LEFT
    };
    enum FloatMode { FloatMode_AUTO = 0, FloatMode_FIXED, FloatMode_SCIENTIFIC };
    enum CaseMode { CaseMode_AS_IS = 0, CaseMode_UPPER, CaseMode_LOWER };
    enum SignMode {
        SignMode_MINUS = 0, // only when negative
        SignMode_BLANK,     // a blank or a minus
        SignMode_PLUS       // a plus or a minus
    };

    // No maximum length; also the highest value that an option takes
    static constexpr long MAX_LEN_NONE = 2147483647;

    FmtInfo() = default;
    FmtInfo(FmtInfo const& other) = default;
    FmtInfo& operator=(FmtInfo const& other) = default;
    virtual ~FmtInfo() = default;

    // Reads the options in their text, len characters without a closing "%", over the present
    // ones. param_arr holds the nbr_param option parameters that "!" and "$" reach. Gives 0, or
    // -1 if a required value is missing or a value is wrong; the argument is then to be left out.
    int parse_options(char const* txt, long len, long const* param_arr,
                      long nbr_param); // real-time

    long get_max_len() const { return _max_len; }
    bool has_max_len() const { return _max_len != MAX_LEN_NONE; }
    long get_base() const { return _base; }
    long get_nbr_decimals() const { return _nbr_decimals; }
    long get_group_size() const { return _group_size; }
    long get_exp_size() const { return _exp_size; }
    JustifyMode get_justify_mode() const { return _justify_mode; }
    FloatMode get_float_mode() const { return _float_mode; }
    CaseMode get_case_mode() const { return _case_mode; }
    SignMode get_sign_mode() const { return _sign_mode; }
    char get_whitespace() const { return _whitespace; }
    bool has_zero_trail() const { return _zero_trail_flag; }
    bool is_truncated() const { return _truncated_flag; }

private:
    struct ParserState {
        char const* txt;
        long len;
        long const* param_arr;
        long nbr_param;
        int error;
        long param_pos; // parameters taken by "!" so far
        long pos;
    };

    void parse_option(ParserState& state);
    void set_base(long base, bool upper_flag);
    void set_float_mode(FloatMode mode, ParserState& state);
    static long parse_value(ParserState& state);
    static long parse_number(ParserState& state);
    static long take_param(ParserState& state, long number);
    static long parse_length(ParserState& state);
    static bool is_value_next(ParserState const& state);

    long _max_len = MAX_LEN_NONE;
    long _base = 10;
    long _nbr_decimals = 6;
    long _group_size = 0;
    long _exp_size = 0;
    JustifyMode _justify_mode = JustifyMode_LEFT_NO_PAD;
    FloatMode _float_mode = FloatMode_AUTO;
    CaseMode _case_mode = CaseMode_AS_IS;
    SignMode _sign_mode = SignMode_MINUS;
    char _whitespace = ' ';
    bool _zero_trail_flag = false;
    bool _truncated_flag = false;
};

} // namespace ulk::txt::out
