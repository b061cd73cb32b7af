#pragma once

#include "host/session/TrackReferences.h"
#include "host/session/ValueReader.h"

#include <string>
#include <string_view>
#include <vector>

namespace ulk::host::session {

// Reads the plug-ins of a track.
class InsertReader {
public:
    // The tracks that dry sides name are left to references.
    InsertReader(ValueReader& values, TrackReferences& references)
        : _values(values)
        , _references(references) {}

    // Adds the inserts of a list to the track with this index. Tells all mistakes.
    void read(Node const& node, std::vector<Session::Insert>& insert_arr, int track);

    static std::vector<std::string_view> get_field_names();
    static std::vector<std::string_view> get_automation_field_names();

private:
    using Insert = Session::Insert;

    struct Fields; // their lists

    // A parameter's course.
    struct Automation {
        std::string param;
        Session::Place place; // of the name
        std::vector<Session::ParamPoint> point_arr;
    };

    void read_plugin(Node const& node, Insert& insert);
    void read_params(Node const& node, Insert& insert);
    void read_automation(Node const& node, Insert& insert);
    void read_dry(Node const& node, Insert& insert);
    void read_param(Node const& node, Automation& automation);
    void read_points(Node const& node, Automation& automation);

    void add_automation(Automation& automation, Insert& insert);
    std::string read_val(Node const& node);

    ValueReader& _values;
    TrackReferences& _references;
    int _track = 0;
    int _insert = 0; // that is being read
};

} // namespace ulk::host::session
