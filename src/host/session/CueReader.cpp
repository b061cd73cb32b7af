#include "host/session/CueReader.h"

#include "host/session/FieldDef.h"
#include "host/session/TableReader.h"

#include <algorithm>
#include <utility>

namespace ulk::host::session {

struct CueReader::Fields {
    static constexpr FieldDef<CueReader, Cue> list[] = {
        {"name", &CueReader::read_name},
        {"at", &CueReader::read_at, true},
    };
};

void CueReader::read(Node const& node, std::vector<Cue>& cue_arr) {
    auto const* const list = std::get_if<Node::List>(&node.val);
    if (list == nullptr) {
        _values.refuse(node, "cue", "a list of tables");
        return;
    }
    for (Node const& elt : *list) {
        Cue cue;
        cue.name = "Cue " + std::to_string(cue_arr.size() + 1);
        TableReader::read(Fields::list, elt, "a cue", *this, cue, _values.use_diagnostics());
        cue_arr.push_back(std::move(cue));
    }
    std::stable_sort(cue_arr.begin(), cue_arr.end(),
                     [](Cue const& a, Cue const& b) { return a.time < b.time; });
}

std::vector<std::string_view> CueReader::get_field_names() {
    return TableReader::get_names(Fields::list);
}

void CueReader::read_name(Node const& node, Cue& cue) {
    cue.name = _values.read_text(node, "name").value_or(cue.name);
}

void CueReader::read_at(Node const& node, Cue& cue) {
    cue.time = _values.read_time(node, "at", TimeOrigin()).value_or(cue.time);
}

} // namespace ulk::host::session
