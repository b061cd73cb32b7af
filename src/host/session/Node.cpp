#include "host/session/Node.h"

#include "host/session/QuotedText.h"
#include "host/session/TextPos.h"

#include <charconv>
#include <cmath>

namespace ulk::host::session {

std::string Node::describe() const {
    constexpr std::size_t max_len = 60; // characters of a text
    if (auto const* const flag = std::get_if<bool>(&val)) {
        return *flag ? "true" : "false";
    }
    if (auto const* const number = std::get_if<double>(&val)) {
        return print_number(*number);
    }
    if (auto const* const txt = std::get_if<std::string>(&val)) {
        std::size_t const end = TextPos::find_character(*txt, max_len);
        return QuotedText::quote(txt->substr(0, end) + (end < txt->size() ? "..." : ""));
    }
    if (std::holds_alternative<List>(val)) {
        return "a list";
    }
    return std::holds_alternative<Table>(val) ? "a table" : "something else";
}

std::string Node::print_limit() {
    return "more than " + std::to_string(max_nbr) + " values in one file; put clips into CSV files";
}

std::string Node::print_number(double val) {
    char buf[32];
    bool const plain_flag = std::abs(val) < 1e15 && val == std::floor(val);
    char* const end = plain_flag
                          ? std::to_chars(buf, buf + sizeof(buf), static_cast<long long>(val)).ptr
                          : std::to_chars(buf, buf + sizeof(buf), val).ptr;
    return {buf, end};
}

} // namespace ulk::host::session
