#pragma once

#include "host/session/Diagnostics.h"
#include "host/session/TextPos.h"

#include <string>
#include <string_view>
#include <vector>

namespace ulk::host::session {

// Cuts a text of comma-separated values into rows. A field with a comma, a quote or a line feed
// stands in double quotes, in which a doubled quote means one. Blanks around fields do not count,
// nor do empty lines and lines that start with #.
class CsvReader {
public:
    struct Cell {
        std::string txt;
        Session::Place place; // of its first character or quote
        bool quote_flag = false;
    };

    CsvReader(std::string_view txt, int file, Diagnostics& diagnostics);

    // The next row of at least one cell; false at the end. What is wrong with quotes is told, and
    // read as if it were right.
    bool read_row(std::vector<Cell>& row);

private:
    void read_cell(Cell& cell);
    void read_quoted(Cell& cell);
    void skip_blanks();
    void skip_line();
    bool is_at_end() const { return _offset >= _txt.size(); }
    bool is_at_line_end() const;

    std::string_view _txt;
    Diagnostics& _diagnostics;
    TextPos _pos;
    std::size_t _offset; // _pos lags behind
};

} // namespace ulk::host::session
