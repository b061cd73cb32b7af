#include "host/session/Diagnostics.h"

#include "host/Error.h"
#include "host/session/Excerpt.h"
#include "host/session/TextPos.h"

#include <algorithm>
#include <tuple>
#include <utility>

namespace ulk::host::session {

void Diagnostics::error(Session::Place place, std::string text) {
    add({place, Diagnostic::Severity::ERROR, std::move(text)});
}

void Diagnostics::warn(Session::Place place, std::string text) {
    add({place, Diagnostic::Severity::WARNING, std::move(text)});
}

void Diagnostics::add(Diagnostic diagnostic) {
    ++(diagnostic.severity == Diagnostic::Severity::ERROR ? _nbr_errors : _nbr_warnings);
    if (!is_full()) {
        diagnostic.text = TextPos::make_printable(diagnostic.text);
        _list.push_back(std::move(diagnostic));
    }
}

std::string Diagnostics::print_nbr_errors() const {
    return std::to_string(_nbr_errors) + (_nbr_errors == 1 ? " mistake" : " mistakes");
}

void Diagnostics::sort() {
    auto const key = [](Diagnostic const& d) {
        return std::tie(d.place.file, d.place.line, d.place.column);
    };
    std::stable_sort(_list.begin(), _list.end(),
                     [&key](auto const& a, auto const& b) { return key(a) < key(b); });
}

std::string Diagnostics::print(std::vector<std::string> const& file_arr) const {
    std::vector<Session::Place> place_arr;
    for (Diagnostic const& d : _list) {
        place_arr.push_back(d.place);
    }
    Excerpt const excerpt(file_arr, place_arr);
    std::string txt;
    for (Diagnostic const& d : _list) {
        txt += file_arr[static_cast<std::size_t>(d.place.file)];
        if (d.place.line > 0) {
            txt.append(":").append(std::to_string(d.place.line));
            txt.append(":").append(std::to_string(d.place.column));
        }
        txt.append(": ").append(Diagnostic::get_name(d.severity)).append(": ").append(d.text);
        txt.append("\n").append(excerpt.print(d.place));
    }
    long const rest = _nbr_errors + _nbr_warnings - static_cast<long>(_list.size());
    return rest == 0 ? txt : txt + "and " + std::to_string(rest) + " more\n";
}

void Diagnostics::check(std::vector<std::string> const& file_arr) const {
    if (has_error()) {
        std::string txt = file_arr[0] + ": " + print_nbr_errors() + "\n";
        txt += print(file_arr);
        txt.pop_back();
        throw Error(Error::Kind_MATERIAL, txt);
    }
}

} // namespace ulk::host::session
