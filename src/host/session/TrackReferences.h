#pragma once

#include "host/session/Diagnostics.h"

#include <string>
#include <vector>

namespace ulk::host::session {

// The places where a track names another one, which may come later in the file.
class TrackReferences {
public:
    static constexpr int output = -1; // in place of an insert

    // The track with this index, or the dry side of its insert, is to be connected to the one with
    // this name.
    void add(std::string name, Session::Place place, int track, int insert);

    // Connects, and tells of unknown names and of loops.
    void resolve(Session& session, Diagnostics& diagnostics) const;

private:
    struct Reference {
        std::string name;
        Session::Place place;
        int track;
        int insert;
    };

    void find_loops(Session const& session, Diagnostics& diagnostics) const;

    std::vector<Reference> _reference_arr;
};

} // namespace ulk::host::session
