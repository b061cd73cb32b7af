#pragma once

#include "host/session/Nearest.h"

#include <algorithm>
#include <iterator>
#include <string>

namespace ulk::host::session {

template <class FieldList>
std::vector<std::string_view> TableReader::get_names(FieldList const& list) {
    std::vector<std::string_view> name_arr;
    for (auto const& field : list) {
        name_arr.push_back(field.name);
    }
    return name_arr;
}

template <class FieldList>
void TableReader::check_name(FieldList const& list, std::string_view name, Session::Place place,
                             char const* what, Diagnostics& diagnostics) {
    auto const has_name = [name](auto const& field) { return field.name == name; };
    if (std::none_of(std::begin(list), std::end(list), has_name)) {
        std::string const hint = diagnostics.is_full() ? "" : Nearest::ask(name, get_names(list));
        diagnostics.error(place,
                          std::string(what) + " has no field \"" + std::string(name) + "\"" + hint);
    }
}

template <class FieldList, class Reader, class Target>
void TableReader::read(FieldList const& list, Node const& node, char const* what, Reader& reader,
                       Target& target, Diagnostics& diagnostics) {
    auto const* const table = std::get_if<Node::Table>(&node.val);
    if (table == nullptr) {
        diagnostics.error(node.place,
                          std::string(what) + " is a table of fields; this is " + node.describe());
        return;
    }
    for (Node::Field const& field : *table) {
        check_name(list, field.name, field.place, what, diagnostics);
    }
    for (auto const& def : list) {
        auto const it = std::find_if(table->begin(), table->end(),
                                     [&def](auto const& field) { return field.name == def.name; });
        if (it != table->end()) {
            (reader.*def.read)(it->node, target);
        } else if (def.required_flag) {
            diagnostics.error(node.place,
                              std::string(what) + " needs a field \"" + def.name + "\"");
        }
    }
}

} // namespace ulk::host::session
