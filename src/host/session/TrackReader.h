#pragma once

#include "host/session/ClipReader.h"
#include "host/session/InsertReader.h"
#include "host/session/TrackReferences.h"

#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace ulk::host::session {

// Reads the tracks of a session.
class TrackReader {
public:
    // Adds to session, which outlives the reader.
    TrackReader(Session& session, ValueReader& values, SampleTable& samples);

    // Reads the list of tracks and connects them. Tells all mistakes.
    void read(Node const& node);

    static std::vector<std::string_view> get_field_names();

private:
    using Track = Session::Track;

    struct Fields; // their list

    void read_name(Node const& node, Track& track);
    void read_channels(Node const& node, Track& track);
    void read_output(Node const& node, Track& track);
    void read_volume(Node const& node, Track& track);
    void read_mute(Node const& node, Track& track);
    void read_inserts(Node const& node, Track& track);
    void read_clips(Node const& node, Track& track);
    void read_clip_list(std::string const& txt, Session::Place place, Track& track);

    void check_name(Track const& track);

    Session& _session;
    ValueReader& _values;
    SampleTable& _samples;
    ClipReader _clips;
    TrackReferences _references;
    InsertReader _inserts;
    std::unordered_map<std::string, int> _line_map; // of the tracks, by name
    int _track = 0;                                 // that is being read
};

} // namespace ulk::host::session
