// The examples of doc/formatting.md give the texts that stand beside them.

#include "ulk/txt/out/Print.h"

#include <gtest/gtest.h>

#include <fstream>
#include <string>
#include <vector>

using ulk::txt::out::Print;

namespace {

// What stands between backticks in the cells of a row; empty cells are empty texts.
std::vector<std::string> split_row(std::string const& line) {
    std::vector<std::string> cells;
    for (auto beg = line.find('|'); beg + 1 < line.size();) {
        auto const end = line.find('|', beg + 1);
        auto const cell = line.substr(beg + 1, end - beg - 1);
        auto const first = cell.find('`');
        cells.push_back(
            first == std::string::npos ? "" : cell.substr(first + 1, cell.rfind('`') - first - 1));
        beg = end;
    }
    return cells;
}

// One argument: "text", an integer or a float, and perhaps a parameter in parentheses.
void pass_arg(Print& print, std::string const& txt) {
    auto const open = txt.find('(');
    long const param = open == std::string::npos ? 0 : std::stol(txt.substr(open + 1));
    if (txt[0] == '"') {
        static std::string val; // outlives the chain
        val = txt.substr(1, txt.rfind('"') - 1);
        print.arg(val.c_str(), param);
    } else if (txt.find_first_of(".e") != std::string::npos) {
        print.arg(std::stod(txt), param);
    } else {
        print.arg(std::stoi(txt), param);
    }
}

} // namespace

TEST(FormattingDocTest, ExamplesGiveTheirTexts) {
    std::ifstream file(SOURCE_DIR "/doc/formatting.md");
    ASSERT_TRUE(file.is_open());
    std::string line;
    while (std::getline(file, line) && line != "| format | arguments | text |") {
    }
    std::getline(file, line);
    int nbr_rows = 0;
    for (; std::getline(file, line) && !line.empty(); ++nbr_rows) {
        auto const cells = split_row(line);
        ASSERT_EQ(3u, cells.size()) << line;
        Print print;
        print.print(cells[0].c_str());
        std::string rest = cells[1];
        while (!rest.empty()) {
            auto const len = std::min(rest.find(", "), rest.size());
            pass_arg(print, rest.substr(0, len));
            rest.erase(0, len + 2);
        }
        EXPECT_EQ(cells[2], static_cast<std::string const&>(print)) << line;
    }
    EXPECT_LE(25, nbr_rows);
}
