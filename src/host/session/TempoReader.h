#pragma once

#include "host/session/ValueReader.h"

#include <optional>
#include <string_view>
#include <vector>

namespace ulk::host::session {

// Reads a tempo map.
class TempoReader {
public:
    // The map goes to values. Tells all mistakes.
    static void read(Node const& node, ValueReader& values);

    static std::vector<std::string_view> get_field_names();

private:
    // A change of the map, as it is written.
    struct Change {
        std::optional<double> time; // s
        Session::Place place;       // of the time
        std::optional<double> bpm;
        std::optional<int> nbr_beats;
    };
    struct Fields; // their list

    explicit TempoReader(ValueReader& values)
        : _values(values) {}

    void read_list(Node::List const& list);
    void read_at(Node const& node, Change& change);
    void read_bpm(Node const& node, Change& change);
    void read_beats(Node const& node, Change& change);
    void add_change(Change const& change);

    ValueReader& _values;
    double _last_beat = 0; // of the map so far
};

} // namespace ulk::host::session
