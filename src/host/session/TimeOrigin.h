#pragma once

namespace ulk::host::session {

// From where a time in a file counts, and which ones may be.
struct TimeOrigin {
    double beg = 0;           // s from the start of the session
    bool length_flag = false; // bars and beats are a length that begins at beg
    double min = 0;           // s
    bool above_flag = false;  // min itself is too little

    // Of lengths from a position on.
    static constexpr TimeOrigin make_length(double beg) { return {beg, true, 0, false}; }
};

} // namespace ulk::host::session
