#pragma once

#include "ExactDigits.h"

#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <variant>
#include <vector>

namespace test {

// Straight model of the format language: texts are put together from strings, floats from big
// integers. An argument is an integer, a float or a string, with its option parameters.
class FormatModel {
public:
    struct Arg {
        std::variant<std::int64_t, double, std::string> val;
        long param_arr[4] = {0, 0, 0, 0};
    };

    // The text, empty for a format that is dropped or lacks arguments. Throws
    // std::runtime_error where a float is shown that is not finite.
    static std::string print(std::string const& format, std::vector<Arg> const& args) {
        long needed = 0;
        std::string txt;
        for (bool write_flag : {false, true}) {
            if (write_flag && (needed > 64 || needed > long(args.size()))) {
                return "";
            }
            for (std::size_t pos = 0; pos < format.size();) {
                char const c = format[pos++];
                if (c != '%') {
                    txt += write_flag ? std::string(1, c) : "";
                    continue;
                }
                if (pos == format.size()) {
                    return "";
                }
                if (!is_digit(format[pos])) {
                    txt += !write_flag          ? ""
                           : format[pos] == '%' ? "%"
                                                : "%" + format.substr(pos, 1);
                    ++pos;
                    continue;
                }
                long number = 0;
                for (; pos < format.size() && is_digit(format[pos]); ++pos) {
                    number = std::min(number * 10 + (format[pos] - '0'), 1000L);
                }
                auto const end = format.find('%', pos);
                if (end == std::string::npos) {
                    return "";
                }
                needed = std::max(needed, number);
                if (write_flag && number > 0) {
                    txt += FormatModel().render(format.substr(pos, end - pos),
                                                args[std::size_t(number - 1)]);
                }
                pos = end + 1;
            }
        }
        return txt;
    }

private:
    static constexpr long none = 2147483647;

    long _max = none, _base = 10, _dec = 6, _group = 0, _exp_size = 0;
    int _justify = 0, _float = 0, _case = 0, _sign = 0;
    char _white = ' ';
    bool _keep_zeros = false, _cut = false;

    std::string _opt;
    std::size_t _pos = 0;
    int _next_param = 0;
    long const* _param_arr = nullptr;

    static bool is_digit(char c) { return c >= '0' && c <= '9'; }

    static std::string fill(char c, long nbr) {
        return std::string(std::size_t(std::max(nbr, 0L)), c);
    }

    std::optional<long> parse_value() {
        if (_pos == _opt.size()) {
            return std::nullopt;
        }
        char const c = _opt[_pos];
        if (c == '!') {
            ++_pos;
            return get_param(++_next_param);
        }
        if (c == '$') {
            ++_pos;
            auto const number = parse_value();
            return number ? get_param(*number) : std::nullopt;
        }
        if (!is_digit(c)) {
            return std::nullopt;
        }
        long val = 0;
        for (; _pos < _opt.size() && is_digit(_opt[_pos]); ++_pos) {
            if (val >= 0xCCCCCCC) {
                return std::nullopt;
            }
            val = val * 10 + (_opt[_pos] - '0');
        }
        return val;
    }

    std::optional<long> get_param(long number) const {
        return number >= 1 && number <= 4 ? std::optional<long>(_param_arr[number - 1])
                                          : std::nullopt;
    }

    bool parse_length(long& len) {
        auto const val = parse_value();
        len = std::clamp(val.value_or(0), 0L, none);
        return val.has_value();
    }

    bool parse() {
        while (_pos < _opt.size()) {
            char const c = _opt[_pos++];
            char const low = c >= 'A' && c <= 'Z' ? char(c + 32) : c;
            if (low == 'b' || low == 'd' || low == 'x') {
                _base = low == 'b' ? 2 : low == 'd' ? 10 : 16;
                _case = low == c ? 2 : 1;
            } else if (low == 'm' || low == 'p' || low == 's') {
                if (!parse_length(low == 'm' ? _max : low == 'p' ? _dec : _group)) {
                    return false;
                }
            } else if (low == 'e' || low == 'g') {
                _float = low == 'e' ? 2 : 0;
                _exp_size = 0;
                char const next = _pos < _opt.size() ? _opt[_pos] : 'z';
                if ((is_digit(next) || next == '!' || next == '$') && !parse_length(_exp_size)) {
                    return false;
                }
            } else if (low == 'w') {
                if (_pos == _opt.size()) {
                    return false;
                }
                _white = _opt[_pos++];
            } else {
                parse_flag(low);
            }
        }
        return true;
    }

    void parse_flag(char c) {
        switch (c) {
        case '+':
            _sign = 2;
            break;
        case '-':
            _sign = 1;
            break;
        case 'c':
            _justify = 2;
            break;
        case 'k':
            _justify = 3;
            break;
        case 'l':
            _justify = 0;
            break;
        case 'r':
            _justify = 1;
            break;
        case 'f':
            _float = 1;
            break;
        case 'o':
            _keep_zeros = false;
            break;
        case 'v':
            _keep_zeros = true;
            break;
        case 't':
            _cut = true;
            break;
        default:
            break;
        }
    }

    std::string render(std::string const& opt, Arg const& arg) {
        _opt = opt;
        _param_arr = arg.param_arr;
        if (!parse()) {
            return "";
        }
        if (auto const* const txt = std::get_if<std::string>(&arg.val)) {
            return render_string(*txt);
        }
        if (auto const* const val = std::get_if<double>(&arg.val)) {
            return render_float(*val);
        }
        return render_int(std::get<std::int64_t>(arg.val));
    }

    std::string set_case(std::string txt, bool as_is_flag) const {
        for (char& c : txt) {
            bool const letter = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
            if (letter && !(as_is_flag && _case == 0)) {
                c = char(_case == 2 ? c | 32 : c & ~32);
            }
        }
        return txt;
    }

    std::string render_string(std::string txt) const {
        long const len = long(txt.size());
        long const shown = std::min(len, _max);
        long const gap = _max == none ? 0 : _max - shown;
        long const cut = len - shown;
        txt = txt.substr(_justify == 2   ? std::size_t(cut / 2)
                         : _justify == 1 ? std::size_t(cut)
                                         : 0,
                         std::size_t(shown));
        return justify("", set_case(txt, true), 0, gap);
    }

    // Fill round a sign and a body, whose first group_len characters are grouped digits
    std::string justify(std::string const& sign, std::string const& body, long group_len,
                        long gap) const {
        if (_justify == 0) {
            return sign + body;
        }
        if (_justify != 1) {
            long const before = _justify == 2 ? gap / 2 : 0;
            return fill(' ', before) + sign + body + fill(' ', gap - before);
        }
        std::string pre = fill(_white, gap);
        if (_white == '0' && _group > 0 && group_len > 0) {
            for (long i = 1; i <= gap; ++i) {
                if ((gap + group_len - i) % (_group + 1) == _group) {
                    pre[std::size_t(i - 1)] = ' ';
                }
            }
        }
        return _white == '0' && group_len > 0 ? sign + pre + body : pre + sign + body;
    }

    std::string not_displayable() const {
        return fill('#', _max != none && _justify != 0 ? _max : std::min(_max, 1L));
    }

    std::string group_digits(std::string const& digits) const {
        std::string txt;
        for (std::size_t i = 0; i < digits.size(); ++i) {
            if (i > 0 && _group > 0 && long(digits.size() - i) % _group == 0) {
                txt += ' ';
            }
            txt += digits[i];
        }
        return txt;
    }

    std::string make_sign(bool neg_flag) const {
        return neg_flag ? "-" : _sign == 2 ? "+" : _sign == 1 ? " " : "";
    }

    std::string write_unsigned(std::uint64_t val) const {
        std::string txt;
        do {
            txt.insert(txt.begin(), "0123456789ABCDEF"[val % std::uint64_t(_base)]);
            val /= std::uint64_t(_base);
        } while (val != 0);
        return set_case(txt, false);
    }

    std::string render_int(std::int64_t val) const {
        auto const mag = val < 0 ? 0 - std::uint64_t(val) : std::uint64_t(val);
        return finish(make_sign(val < 0), group_digits(write_unsigned(mag)), "");
    }

    std::string finish(std::string const& sign, std::string const& digits,
                       std::string const& tail) const {
        long const len = long(sign.size() + digits.size() + tail.size());
        if (len > _max) {
            return not_displayable();
        }
        return justify(sign, digits + tail, long(digits.size()), _max == none ? 0 : _max - len);
    }

    // Digits from the weight `from` down to `to`
    static std::string take(ExactDigits const& num, long from, long to) {
        std::string txt;
        for (long pos = from; pos >= to; --pos) {
            long const index = num.exp - pos;
            bool const inside = index >= 0 && index < long(num.digits.size());
            txt += inside ? num.digits[std::size_t(index)] : '0';
        }
        return txt;
    }

    std::string render_float(double val) const {
        if (!std::isfinite(val)) {
            throw std::runtime_error("not finite");
        }
        double mag = std::fabs(val);
        auto num = mag > 0 ? ExactDigits::find(mag, int(_base)) : ExactDigits{"0", 0};
        std::string const sign = make_sign(val < 0);
        for (bool first : {true, false}) {
            bool const exp_flag = _float == 2 || (_float == 0 && (num.exp > 9 || num.exp < -_dec));
            long x = exp_flag ? num.exp : 0;
            for (; exp_flag && _group > 1 && x % _group != 0; --x) {
            }
            std::string tail;
            if (exp_flag) {
                auto const digits = write_unsigned(std::uint64_t(std::abs(x)));
                tail = std::string(1, _case == 1 ? 'E' : 'e') +
                       (x < 0        ? std::string("-")
                        : _sign != 0 ? std::string("+")
                                     : "") +
                       fill('0', _exp_size - long(digits.size())) + digits;
            }
            std::string digits = group_digits(set_case(take(num, std::max(num.exp, x), x), false));
            long const fixed = long(sign.size() + digits.size() + tail.size());
            if (fixed > _max) {
                return not_displayable();
            }
            long dec = std::max(std::min(_dec, _max - fixed - 1), 0L);
            long const exp = num.exp;
            if (first && mag > 0 && !_cut) {
                mag = ExactDigits::add_half_unit(mag, int(_base), x - dec);
                num = ExactDigits::find(mag, int(_base));
                if (num.exp != exp) {
                    continue;
                }
                digits = group_digits(set_case(take(num, std::max(num.exp, x), x), false));
            }
            std::string decimals = set_case(take(num, x - 1, x - dec), false);
            while (!_keep_zeros && !decimals.empty() && decimals.back() == '0') {
                decimals.pop_back();
            }
            return finish(sign, digits, (decimals.empty() ? "" : "." + decimals) + tail);
        }
        return "";
    }
};

} // namespace test
