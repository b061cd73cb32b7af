#include "host/session/CsvReader.h"

#include <algorithm>

namespace ulk::host::session {

CsvReader::CsvReader(std::string_view txt, int file, Diagnostics& diagnostics)
    : _txt(txt)
    , _diagnostics(diagnostics)
    , _pos(txt, file)
    , _offset(_pos.get_offset()) {}

bool CsvReader::read_row(std::vector<Cell>& row) {
    row.clear();
    for (skip_blanks(); !is_at_end() && (is_at_line_end() || _txt[_offset] == '#'); skip_blanks()) {
        skip_line();
    }
    if (is_at_end()) {
        return false;
    }
    for (bool more_flag = true; more_flag;) {
        skip_blanks();
        _pos.move(_offset);
        row.push_back({"", _pos.get_place(), false});
        read_cell(row.back());
        more_flag = !is_at_end() && _txt[_offset] == ',';
        _offset += more_flag ? 1 : 0;
    }
    skip_line();
    return true;
}

// Up to a comma or the end of the line.
void CsvReader::read_cell(Cell& cell) {
    if (!is_at_end() && _txt[_offset] == '"') {
        read_quoted(cell);
        return;
    }
    std::size_t const end = std::min(_txt.find_first_of(",\n", _offset), _txt.size());
    std::string_view const body = _txt.substr(_offset, end - _offset);
    cell.txt = body.substr(0, body.find_last_not_of(" \t\r") + 1);
    _offset = end;
}

void CsvReader::read_quoted(Cell& cell) {
    cell.quote_flag = true;
    for (++_offset;; ++_offset) {
        std::size_t const end = std::min(_txt.find('"', _offset), _txt.size());
        cell.txt += _txt.substr(_offset, end - _offset);
        _offset = end + 1;
        if (end == _txt.size()) {
            _diagnostics.error(cell.place, "this quote has no end");
            _offset = end;
            return;
        }
        if (_offset >= _txt.size() || _txt[_offset] != '"') {
            break;
        }
        cell.txt += '"';
    }
    skip_blanks();
    if (!is_at_end() && !is_at_line_end() && _txt[_offset] != ',') {
        _pos.move(_offset);
        _diagnostics.error(_pos.get_place(), "behind the end of a quote comes a comma; a quote "
                                             "within one is doubled");
        _offset = std::min(_txt.find_first_of(",\n", _offset), _txt.size());
    }
}

void CsvReader::skip_blanks() {
    _offset = std::min(_txt.find_first_not_of(" \t\r", _offset), _txt.size());
}

void CsvReader::skip_line() {
    std::size_t const end = _txt.find('\n', _offset);
    _offset = end == std::string_view::npos ? _txt.size() : end + 1;
}

bool CsvReader::is_at_line_end() const {
    return _txt[_offset] == '\n';
}

} // namespace ulk::host::session
