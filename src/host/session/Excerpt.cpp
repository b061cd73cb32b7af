#include "host/session/Excerpt.h"

#include "host/session/TextPos.h"

#include <algorithm>
#include <fstream>
#include <string_view>
#include <tuple>

namespace ulk::host::session {

namespace {

constexpr std::size_t max_before = 60; // characters shown before the column
constexpr std::size_t max_len = 100;   // and all in all

// What the mark stands under: blanks, and tabs where the line has some.
std::string make_blank(std::string_view txt) {
    std::string blank;
    for (char const c : txt) {
        if (c == '\t') {
            blank += c;
        } else if (TextPos::is_start(c)) {
            blank += ' ';
        }
    }
    return blank;
}

} // namespace

Excerpt::Excerpt(std::vector<std::string> const& file_arr, std::vector<Session::Place> place_arr) {
    auto const key = [](Session::Place const& p) { return std::tie(p.file, p.line); };
    std::sort(place_arr.begin(), place_arr.end(),
              [&key](auto const& a, auto const& b) { return key(a) < key(b); });
    for (std::size_t beg = 0, end = 0; beg < place_arr.size(); beg = end) {
        while (end < place_arr.size() && place_arr[end].file == place_arr[beg].file) {
            ++end;
        }
        read(file_arr[static_cast<std::size_t>(place_arr[beg].file)], place_arr, beg, end);
    }
}

void Excerpt::read(std::string const& path, std::vector<Session::Place> const& place_arr,
                   std::size_t beg, std::size_t end) {
    std::ifstream file(path, std::ios::binary);
    int nbr_lines = 0;
    std::string line;
    for (std::size_t pos = beg; pos < end; ++pos) {
        while (nbr_lines < place_arr[pos].line && std::getline(file, line)) {
            ++nbr_lines;
        }
        if (nbr_lines == 0 || nbr_lines != place_arr[pos].line) {
            continue;
        }
        if (line.ends_with('\r')) {
            line.pop_back();
        }
        std::size_t const bom_len = nbr_lines == 1 ? TextPos::get_bom_len(line) : 0;
        _line_map.try_emplace({place_arr[pos].file, nbr_lines}, line.substr(bom_len));
    }
}

std::string Excerpt::print(Session::Place place) const {
    auto const it = _line_map.find({place.file, place.line});
    if (it == _line_map.end() || place.column < 1) {
        return "";
    }
    std::string_view const line = it->second;
    auto const column = static_cast<std::size_t>(place.column) - 1;
    std::size_t const first = column > max_before ? column - max_before : 0;
    std::size_t const beg = TextPos::find_character(line, first);
    std::size_t const mark = beg + TextPos::find_character(line.substr(beg), column - first);
    std::size_t const end = beg + TextPos::find_character(line.substr(beg), max_len);
    std::string const number = std::to_string(place.line);
    std::string const margin = "  " + std::string(number.size(), ' ') + " | ";
    return "  " + number + " | " + TextPos::make_printable(line.substr(beg, end - beg)) + "\n" +
           margin + make_blank(line.substr(beg, mark - beg)) + "^\n";
}

} // namespace ulk::host::session
