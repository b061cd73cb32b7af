#pragma once

#include "host/session/SampleTable.h"
#include "host/session/ValueReader.h"

#include <optional>
#include <string_view>
#include <vector>

namespace ulk::host::session {

// Reads clips.
class ClipReader {
public:
    ClipReader(ValueReader& values, SampleTable& samples)
        : _values(values)
        , _samples(samples) {}

    // Reads a table of fields, and adds a clip unless its sample is not known. Tells all mistakes.
    void read(Node const& node, std::vector<Session::Clip>& clip_arr);

    // Tells of a name that is no field of a clip.
    void check_name(std::string_view name, Session::Place place);

    // The names of the fields.
    static std::vector<std::string_view> get_field_names();

private:
    using Clip = Session::Clip;

    struct Fields; // their list

    void read_sample(Node const& node, Clip& clip);
    void read_at(Node const& node, Clip& clip);
    void read_offset(Node const& node, Clip& clip);
    void read_length(Node const& node, Clip& clip);
    void read_gain(Node const& node, Clip& clip);
    void read_pan(Node const& node, Clip& clip);
    void read_pitch(Node const& node, Clip& clip);
    void read_fade_in(Node const& node, Clip& clip);
    void read_fade_out(Node const& node, Clip& clip);
    void read_volume(Node const& node, Clip& clip);

    ValueReader& _values;
    SampleTable& _samples;
};

} // namespace ulk::host::session
