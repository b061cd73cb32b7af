#pragma once

#include "host/session/Diagnostics.h"
#include "host/session/Node.h"

#include <string_view>
#include <vector>

namespace ulk::host::session {

// Reads tables by lists of their fields (arrays of FieldDef). what: the table, such as "a clip".
class TableReader {
public:
    template <class FieldList>
    static std::vector<std::string_view> get_names(FieldList const& list);

    // Tells of a field that is not in the list.
    template <class FieldList>
    static void check_name(FieldList const& list, std::string_view name, Session::Place place,
                           char const* what, Diagnostics& diagnostics);

    // Has reader put all fields of a table into target. Tells of fields that are unknown or
    // missing.
    template <class FieldList, class Reader, class Target>
    static void read(FieldList const& list, Node const& node, char const* what, Reader& reader,
                     Target& target, Diagnostics& diagnostics);
};

} // namespace ulk::host::session

#include "host/session/TableReader.hpp"
