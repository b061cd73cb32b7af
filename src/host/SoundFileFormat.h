#pragma once

namespace ulk::host {

// What a sound file holds.
struct SoundFileFormat {
    double sample_freq = 0; // Hz
    int nbr_chn = 0;
    int encoding = 0; // libsndfile's subtype

    // Factor from the file's integers to a full scale of 1.0, a power of two, so that integers of
    // up to 24 bits come back as they were; 0 for encodings that are no linear integers.
    float get_int_scale() const;
};

} // namespace ulk::host
