#pragma once

#include "host/session/ValueReader.h"

#include <string_view>
#include <vector>

namespace ulk::host::session {

// Reads the cues of a session.
class CueReader {
public:
    explicit CueReader(ValueReader& values)
        : _values(values) {}

    // Reads the list of cues, in any order of times, and puts them in that of their times. Tells
    // all mistakes.
    void read(Node const& node, std::vector<Session::Cue>& cue_arr);

    static std::vector<std::string_view> get_field_names();

private:
    using Cue = Session::Cue;

    struct Fields; // their list

    void read_name(Node const& node, Cue& cue);
    void read_at(Node const& node, Cue& cue);

    ValueReader& _values;
};

} // namespace ulk::host::session
