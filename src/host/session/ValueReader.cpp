#include "host/session/ValueReader.h"

#include "host/session/QuotedText.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace ulk::host::session {

namespace {

std::string print_range(double min, double max) {
    return "from " + Node::print_number(min) + " to " + Node::print_number(max);
}

bool is_control(char c) {
    return static_cast<unsigned char>(c) < 0x20 || c == 0x7F;
}

} // namespace

void ValueReader::refuse(Node const& node, std::string_view name, std::string const& expected) {
    _diagnostics.error(node.place, QuotedText::quote(name) + " is " + expected + "; this is " +
                                       node.describe());
}

std::optional<double> ValueReader::read_number(Node const& node, std::string_view name, double min,
                                               double max) {
    auto const* const val = std::get_if<double>(&node.val);
    if (val == nullptr || !(*val >= min && *val <= max)) {
        refuse(node, name, "a number " + print_range(min, max));
        return std::nullopt;
    }
    return *val;
}

std::optional<int> ValueReader::read_whole(Node const& node, std::string_view name, int min,
                                           int max) {
    auto const* const val = std::get_if<double>(&node.val);
    if (val == nullptr || !(*val >= min && *val <= max) || *val != std::floor(*val)) {
        refuse(node, name, "a whole number " + print_range(min, max));
        return std::nullopt;
    }
    return static_cast<int>(*val);
}

std::optional<bool> ValueReader::read_flag(Node const& node, std::string_view name) {
    auto const* const val = std::get_if<bool>(&node.val);
    if (val == nullptr) {
        refuse(node, name, "true or false");
        return std::nullopt;
    }
    return *val;
}

std::optional<std::string> ValueReader::read_text(Node const& node, std::string_view name) {
    auto const* const val = std::get_if<std::string>(&node.val);
    if (val == nullptr || val->empty()) {
        refuse(node, name, "a text in quotes");
        return std::nullopt;
    }
    if (std::any_of(val->begin(), val->end(), &is_control)) {
        refuse(node, name, "a text without control characters");
        return std::nullopt;
    }
    return *val;
}

std::optional<TimeText> ValueReader::find_time(Node const& node) const {
    if (auto const* const val = std::get_if<double>(&node.val)) {
        return TimeText{TimeText::Unit::SECOND, *val, 0, 0};
    }
    auto const* const txt = std::get_if<std::string>(&node.val);
    return txt == nullptr ? std::nullopt : TimeText::parse(*txt);
}

std::optional<double> ValueReader::read_time(Node const& node, std::string_view name,
                                             TimeOrigin const& origin) {
    auto const written = find_time(node);
    if (!written) {
        refuse(node, name, "a time, such as 1.5, \"250 ms\", \"1:02.5\" or \"5|2\"");
        return std::nullopt;
    }
    auto const time = _scale.conv(*written, origin);
    if (!time) {
        std::string const nbr = std::to_string(_scale.tempo_map.get_nbr_beats(written->bar));
        refuse(node, name, "a bar, 1 or more, and a beat of it, here from 1 to " + nbr);
        return std::nullopt;
    }
    if (!(*time >= origin.min && *time <= max_time) || (origin.above_flag && *time == origin.min)) {
        refuse(node, name,
               std::string("a time ") + (origin.above_flag ? "above " : "from ") +
                   Node::print_number(origin.min) + " to " + Node::print_number(max_time) + " s");
        return std::nullopt;
    }
    return time;
}

std::optional<double> ValueReader::read_level(Node const& node, std::string_view name) {
    std::optional<double> level;
    if (auto const* const val = std::get_if<double>(&node.val)) {
        level = *val;
    } else if (auto const* const txt = std::get_if<std::string>(&node.val)) {
        std::string_view number = *txt;
        if (number.ends_with("dB")) {
            number.remove_suffix(number.ends_with(" dB") ? 3 : 2);
        }
        level = TimeText::parse_number(number);
    }
    if (!level || !(*level <= max_level)) {
        refuse(node, name, "a level, -inf to 24 dB, such as -6, \"-6 dB\" or \"-inf\"");
        return std::nullopt;
    }
    return level;
}

std::optional<double> ValueReader::read_pan(Node const& node, std::string_view name) {
    return read_number(node, name, -1, 1);
}

std::optional<Session::Curve> ValueReader::read_levels(Node const& node, std::string_view name,
                                                       TimeOrigin const& origin) {
    return read_curve(node, name, origin, &ValueReader::read_level);
}

std::optional<Session::Curve> ValueReader::read_pans(Node const& node, std::string_view name,
                                                     TimeOrigin const& origin) {
    return read_curve(node, name, origin, &ValueReader::read_pan);
}

std::optional<Session::Curve> ValueReader::read_curve(Node const& node, std::string_view name,
                                                      TimeOrigin const& origin,
                                                      ReadMember read_val) {
    if (!std::holds_alternative<Node::List>(node.val)) {
        auto const val = (this->*read_val)(node, name);
        return val ? std::optional(Session::Curve{{0, *val}}) : std::nullopt;
    }
    Session::Curve curve;
    bool const ok_flag = read_points(node, name, origin, [&](Node const& elt, double time) {
        auto const val = (this->*read_val)(elt, name);
        curve.push_back({time, val.value_or(0)});
        return val.has_value();
    });
    return ok_flag ? std::optional(std::move(curve)) : std::nullopt;
}

} // namespace ulk::host::session
