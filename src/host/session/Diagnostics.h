#pragma once

#include "host/session/Diagnostic.h"

#include <cstddef>
#include <string>
#include <vector>

namespace ulk::host::session {

// All that is to be told about a session. Of a file full of mistakes the first ones are kept and
// the others counted.
class Diagnostics {
public:
    static constexpr std::size_t max_nbr = 200; // kept

    void add(Diagnostic diagnostic);
    void error(Session::Place place, std::string text);
    void warn(Session::Place place, std::string text);

    bool has_error() const { return _nbr_errors > 0; }
    long get_nbr_errors() const { return _nbr_errors; }
    long get_nbr_warnings() const { return _nbr_warnings; }
    std::string print_nbr_errors() const; // "1 mistake", "2 mistakes"
    bool is_full() const { return _list.size() >= max_nbr; }
    std::vector<Diagnostic> const& use_list() const { return _list; }

    // Into the order of the files and of their lines.
    void sort();

    // "file:line:column: error: text", each with its line of the file, as long as that can be read.
    // Ends in a line feed unless empty. file_arr: Session::file_arr.
    std::string print(std::vector<std::string> const& file_arr) const;

    // Throws an Error of Kind_MATERIAL that names the session and tells all, if there are errors.
    void check(std::vector<std::string> const& file_arr) const;

private:
    std::vector<Diagnostic> _list;
    long _nbr_errors = 0;
    long _nbr_warnings = 0;
};

} // namespace ulk::host::session
