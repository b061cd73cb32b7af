#pragma once

#include "ulk/txt/unicode/Char.h"

#include <fstream>
#include <functional>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace ulk::txt::unicode::test {

// The text files of the Unicode Character Database, of Debian's package unicode-data.
constexpr char const* database_dir = "/usr/share/unicode/";
constexpr Char nbr_code_points = 0x110000;

inline std::ifstream open_database(std::string const& name) {
    std::ifstream file(database_dir + name);
    if (!file) {
        throw std::runtime_error("no file " + name + ": install unicode-data");
    }
    return file;
}

inline std::string trim(std::string const& text) {
    std::size_t const beg = text.find_first_not_of(" \t");
    return beg == std::string::npos ? "" : text.substr(beg, text.find_last_not_of(" \t") + 1 - beg);
}

// The fields of each line that has some, up to the comment.
using LineFnc = std::function<void(std::vector<std::string> const&)>;
inline void for_each_line(std::string const& name, LineFnc const& fnc) {
    std::ifstream file = open_database(name);
    for (std::string line; std::getline(file, line);) {
        line = line.substr(0, line.find('#'));
        if (trim(line).empty()) {
            continue;
        }
        std::vector<std::string> fields;
        std::istringstream stream(line);
        for (std::string field; std::getline(stream, field, ';');) {
            fields.push_back(trim(field));
        }
        fnc(fields);
    }
}

// The values that a file of ranges gives to code points; the rest keeps def.
inline std::vector<std::string> load_property(std::string const& name, std::string const& def) {
    std::vector<std::string> values(nbr_code_points, def);
    for_each_line(name, [&](std::vector<std::string> const& fields) {
        std::size_t const dots = fields[0].find("..");
        unsigned long const beg = std::stoul(fields[0], nullptr, 16);
        unsigned long const end =
            dots == std::string::npos ? beg : std::stoul(fields[0].substr(dots + 2), nullptr, 16);
        for (unsigned long c = beg; c <= end; ++c) {
            values[c] = fields[1];
        }
    });
    return values;
}

// A line of a break test: characters, and whether a break is allowed behind each of them.
struct BreakCase {
    std::vector<Char> chars;
    std::vector<bool> breaks;
    std::string text;
};

inline std::vector<BreakCase> load_break_cases(std::string const& name) {
    std::vector<BreakCase> cases;
    for_each_line("auxiliary/" + name, [&](std::vector<std::string> const& fields) {
        BreakCase one{{}, {}, fields[0]};
        std::istringstream stream(fields[0]);
        std::string word;
        stream >> word; // the mark before the first character
        while (stream >> word) {
            one.chars.push_back(static_cast<Char>(std::stol(word, nullptr, 16)));
            stream >> word;
            one.breaks.push_back(word == "\xC3\xB7");
        }
        cases.push_back(one);
    });
    return cases;
}

} // namespace ulk::txt::unicode::test
