#include "host/session/InsertReader.h"

#include "host/session/FieldDef.h"
#include "host/session/TableReader.h"

#include <set>
#include <utility>

namespace ulk::host::session {

struct InsertReader::Fields {
    static constexpr FieldDef<InsertReader, Insert> insert_list[] = {
        {"plugin", &InsertReader::read_plugin, true},
        {"params", &InsertReader::read_params},
        {"automation", &InsertReader::read_automation},
        {"dry", &InsertReader::read_dry},
    };
    static constexpr FieldDef<InsertReader, Automation> automation_list[] = {
        {"param", &InsertReader::read_param, true},
        {"points", &InsertReader::read_points, true},
    };
};

void InsertReader::read(Node const& node, std::vector<Insert>& insert_arr, int track) {
    auto const* const list = std::get_if<Node::List>(&node.val);
    if (list == nullptr) {
        _values.refuse(node, "inserts", "a list of tables");
        return;
    }
    _track = track;
    for (Node const& elt : *list) {
        _insert = static_cast<int>(insert_arr.size());
        Insert& insert = insert_arr.emplace_back();
        insert.place = elt.place;
        TableReader::read(Fields::insert_list, elt, "an insert", *this, insert,
                          _values.use_diagnostics());
    }
}

std::vector<std::string_view> InsertReader::get_field_names() {
    return TableReader::get_names(Fields::insert_list);
}

std::vector<std::string_view> InsertReader::get_automation_field_names() {
    return TableReader::get_names(Fields::automation_list);
}

void InsertReader::read_plugin(Node const& node, Insert& insert) {
    insert.plugin = _values.read_text(node, "plugin").value_or("");
}

void InsertReader::read_params(Node const& node, Insert& insert) {
    auto const* const table = std::get_if<Node::Table>(&node.val);
    if (table == nullptr) {
        _values.refuse(node, "params", "a table of parameters and their values");
        return;
    }
    for (Node::Field const& field : *table) {
        insert.params.push_back({0, field.name, read_val(field.node), 0, field.place});
    }
}

void InsertReader::read_automation(Node const& node, Insert& insert) {
    auto const* const list = std::get_if<Node::List>(&node.val);
    if (list == nullptr) {
        _values.refuse(node, "automation", "a list of tables");
        return;
    }
    for (Node const& elt : *list) {
        Automation automation;
        TableReader::read(Fields::automation_list, elt, "an automation", *this, automation,
                          _values.use_diagnostics());
        add_automation(automation, insert);
    }
}

void InsertReader::add_automation(Automation& automation, Insert& insert) {
    for (Session::ParamPoint const& point : insert.params) {
        if (point.param == automation.param && !automation.point_arr.empty()) {
            _values.use_diagnostics().error(
                automation.place, "\"" + automation.param + "\" has its values from line " +
                                      std::to_string(point.place.line) + " already");
            return;
        }
    }
    for (Session::ParamPoint& point : automation.point_arr) {
        point.param = automation.param;
        insert.params.push_back(std::move(point));
    }
}

void InsertReader::read_param(Node const& node, Automation& automation) {
    automation.param = _values.read_text(node, "param").value_or("");
    automation.place = node.place;
}

// The first value holds from the start; each of the others ends a ramp from the last point.
void InsertReader::read_points(Node const& node, Automation& automation) {
    double last = 0;
    _values.read_points(node, "points", TimeOrigin(), [&](Node const& val, double time) {
        bool const first_flag = automation.point_arr.empty();
        automation.point_arr.push_back(
            {first_flag ? 0 : last, "", read_val(val), first_flag ? 0 : time - last, val.place});
        last = time;
        return true;
    });
}

void InsertReader::read_dry(Node const& node, Insert& insert) {
    constexpr std::string_view prefix = "track:";
    auto const* const txt = std::get_if<std::string>(&node.val);
    if (txt != nullptr && *txt == "pre") {
        insert.dry = Session::Dry::PRE;
    } else if (txt != nullptr && *txt == "none") {
        insert.dry = Session::Dry::NONE;
    } else if (txt != nullptr && txt->starts_with(prefix)) {
        insert.dry = Session::Dry::TRACK;
        _references.add(txt->substr(prefix.size()), node.place, _track, _insert);
    } else {
        _values.refuse(node, "dry", "\"pre\", \"none\" or \"track:NAME\"");
    }
}

std::string InsertReader::read_val(Node const& node) {
    if (auto const* const val = std::get_if<double>(&node.val)) {
        return Node::print_number(*val);
    }
    if (auto const* const txt = std::get_if<std::string>(&node.val)) {
        return *txt;
    }
    _values.use_diagnostics().error(node.place,
                                    "a parameter takes a number or a text, as one would type it; "
                                    "this is " +
                                        node.describe());
    return "";
}

} // namespace ulk::host::session
