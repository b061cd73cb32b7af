#include "host/session/PathEdit.h"

#include "host/session/QuotedText.h"
#include "host/session/TextPos.h"

#include <algorithm>
#include <cstddef>
#include <tuple>

namespace ulk::host::session {

namespace {

std::size_t find_csv_end(std::string_view txt, std::size_t pos) {
    if (txt[pos] != '"') {
        std::size_t const end = std::min(txt.find_first_of(",\n", pos), txt.size());
        return pos + txt.substr(pos, end - pos).find_last_not_of(" \t\r") + 1;
    }
    // A doubled quote looks like an end followed by a beginning.
    do {
        pos = std::min(txt.find('"', pos + 1), txt.size() - 1) + 1;
    } while (pos < txt.size() && txt[pos] == '"');
    return pos;
}

std::string print_csv(std::string const& path) {
    bool const plain_flag =
        path.find_first_of(",\"") == std::string::npos && path.front() != ' ' && path.back() != ' ';
    if (plain_flag) {
        return path;
    }
    std::string txt = "\"";
    for (char const c : path) {
        txt.append(c == '"' ? 2 : 1, c);
    }
    return txt += '"';
}

} // namespace

std::string PathEdit::apply(std::string_view txt, Language language, std::vector<Edit> edit_arr) {
    auto const key = [](Session::Place const& p) { return std::tie(p.line, p.column); };
    std::sort(edit_arr.begin(), edit_arr.end(),
              [&key](Edit const& a, Edit const& b) { return key(a.place) < key(b.place); });
    std::string edited;
    std::size_t end = 0; // of what is taken over
    TextPos pos(txt, 0);
    for (auto const& [place, path] : edit_arr) {
        while (pos.get_offset() < txt.size() && key(pos.get_place()) < key(place)) {
            pos.move(pos.get_offset() + 1);
        }
        std::size_t const beg = pos.get_offset();
        edited += txt.substr(end, beg - end);
        bool const csv_flag = language == Language::CSV;
        edited += csv_flag ? print_csv(path) : QuotedText::quote(path);
        end = csv_flag ? find_csv_end(txt, beg) : QuotedText::find_end(txt, beg);
    }
    return edited += txt.substr(end);
}

} // namespace ulk::host::session
