#include "host/session/TimeText.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <vector>

namespace ulk::host::session {

namespace {

struct Suffix {
    std::string_view txt;
    TimeText::Unit unit;
    double divisor;
};
constexpr std::array suffix_arr = {Suffix{"ms", TimeText::Unit::SECOND, 1000},
                                   Suffix{"smp", TimeText::Unit::FRAME, 1},
                                   Suffix{"s", TimeText::Unit::SECOND, 1}};

std::vector<std::string_view> split(std::string_view txt, char mark) {
    std::vector<std::string_view> part_arr;
    for (std::size_t beg = 0; beg <= txt.size();) {
        std::size_t const end = std::min(txt.find(mark, beg), txt.size());
        part_arr.push_back(txt.substr(beg, end - beg));
        beg = end + 1;
    }
    return part_arr;
}

// A number of nothing but digits.
std::optional<long long> parse_whole(std::string_view txt) {
    long long val = 0;
    auto const res = std::from_chars(txt.data(), txt.data() + txt.size(), val);
    bool const ok_flag = !txt.empty() && txt[0] != '-' && res.ec == std::errc() &&
                         res.ptr == txt.data() + txt.size() && val <= 1'000'000'000;
    return ok_flag ? std::optional(val) : std::nullopt;
}

// Digits with a point perhaps, neither sign nor exponent.
std::optional<double> parse_plain(std::string_view txt) {
    bool const plain_flag = txt.find_first_not_of("0123456789.") == std::string_view::npos;
    return plain_flag ? TimeText::parse_number(txt) : std::nullopt;
}

// [hours:]minutes:seconds
std::optional<TimeText> parse_clock(std::string_view txt) {
    bool const minus_flag = txt.starts_with('-');
    auto const part_arr = split(txt.substr(minus_flag ? 1 : 0), ':');
    auto const second = parse_plain(part_arr.back());
    if (part_arr.size() > 3 || !second || *second >= 60) {
        return std::nullopt;
    }
    double time = 0;
    for (std::size_t pos = 0; pos + 1 < part_arr.size(); ++pos) {
        auto const val = parse_whole(part_arr[pos]);
        if (!val || (pos > 0 && *val >= 60)) {
            return std::nullopt;
        }
        time = time * 60 + static_cast<double>(*val);
    }
    time = time * 60 + *second;
    return TimeText{TimeText::Unit::SECOND, minus_flag ? -time : time, 0, 0};
}

std::optional<TimeText> parse_bar(std::string_view txt) {
    auto const part_arr = split(txt, '|');
    auto const bar = parse_whole(part_arr[0]);
    auto const beat = parse_whole(part_arr[1]);
    auto const fraction = part_arr.size() == 3 ? parse_plain(part_arr[2]) : 0;
    if (part_arr.size() > 3 || !bar || !beat || !fraction || *fraction >= 1) {
        return std::nullopt;
    }
    return TimeText{TimeText::Unit::BAR, *fraction, *bar, *beat};
}

} // namespace

std::optional<TimeText> TimeText::parse(std::string_view txt) {
    if (txt.find('|') != std::string_view::npos) {
        return parse_bar(txt);
    }
    if (txt.find(':') != std::string_view::npos) {
        return parse_clock(txt);
    }
    Suffix suffix{"", Unit::SECOND, 1};
    for (Suffix const& candidate : suffix_arr) {
        if (suffix.txt.empty() && txt.ends_with(candidate.txt)) {
            suffix = candidate;
        }
    }
    txt.remove_suffix(suffix.txt.size());
    if (!suffix.txt.empty() && txt.ends_with(' ')) {
        txt.remove_suffix(1);
    }
    auto const number = parse_number(txt);
    return number ? std::optional(TimeText{suffix.unit, *number / suffix.divisor, 0, 0})
                  : std::nullopt;
}

std::optional<double> TimeText::parse_number(std::string_view txt) {
    double val = 0;
    if (txt.starts_with('+') && !txt.starts_with("+-")) {
        txt.remove_prefix(1);
    }
    auto const res = std::from_chars(txt.data(), txt.data() + txt.size(), val);
    bool const ok_flag =
        res.ec == std::errc() && res.ptr == txt.data() + txt.size() && !std::isnan(val);
    return ok_flag ? std::optional(val) : std::nullopt;
}

} // namespace ulk::host::session
