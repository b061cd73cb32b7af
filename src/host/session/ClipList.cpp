#include "host/session/ClipList.h"

#include "host/session/CsvReader.h"
#include "host/session/TimeText.h"

#include <algorithm>
#include <string>
#include <utility>

namespace ulk::host::session {

namespace {

using Row = std::vector<CsvReader::Cell>;

// The titles, of which those stay that a list may have.
class Header {
public:
    Header(Row const& row, ClipReader& reader, Diagnostics& diagnostics) {
        for (auto const& cell : row) {
            _name_arr.push_back(cell.txt);
            if (std::count(_name_arr.begin(), _name_arr.end(), cell.txt) > 1) {
                diagnostics.error(cell.place, "the column \"" + cell.txt + "\" stands here twice");
            } else {
                reader.check_name(cell.txt, cell.place);
            }
        }
        for (char const* const name : {"sample", "at"}) {
            if (std::find(_name_arr.begin(), _name_arr.end(), name) == _name_arr.end()) {
                diagnostics.error(row[0].place,
                                  std::string("a list of clips needs a column \"") + name + "\"");
            }
        }
    }

    std::vector<std::string> const& use_names() const { return _name_arr; }

private:
    std::vector<std::string> _name_arr;
};

// What a cell would be if it stood in a session: a number or a text.
Node make_node(CsvReader::Cell& cell, std::string const& name) {
    auto const number = name == "sample" ? std::nullopt : TimeText::parse_number(cell.txt);
    return number ? Node{cell.place, *number} : Node{cell.place, std::move(cell.txt)};
}

} // namespace

void ClipList::parse(std::string_view txt, int file, ClipReader& reader,
                     std::vector<Session::Clip>& clip_arr, Diagnostics& diagnostics) {
    CsvReader csv(txt, file, diagnostics);
    Row row;
    if (!csv.read_row(row)) {
        diagnostics.error({file, 1, 1},
                          "a list of clips starts with the names of its columns, such "
                          "as sample,at");
        return;
    }
    long const nbr_errors = diagnostics.get_nbr_errors();
    Header const header(row, reader, diagnostics);
    if (diagnostics.get_nbr_errors() > nbr_errors) {
        return; // each line would tell it again
    }
    auto const& name_arr = header.use_names();
    while (csv.read_row(row)) {
        if (row.size() > name_arr.size()) {
            diagnostics.error(row[name_arr.size()].place,
                              "a line of " + std::to_string(row.size()) + " fields below " +
                                  std::to_string(name_arr.size()) + " names");
            continue;
        }
        Node::Table table;
        for (std::size_t pos = 0; pos < row.size(); ++pos) {
            if (!row[pos].txt.empty()) {
                table.push_back(
                    {name_arr[pos], row[pos].place, make_node(row[pos], name_arr[pos])});
            }
        }
        reader.read({row[0].place, std::move(table)}, clip_arr);
    }
}

} // namespace ulk::host::session
