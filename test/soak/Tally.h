#pragma once

#include "host/render/Percentiles.h"
#include "support/FaultyDisk.h"

namespace soak {

// What all shows and recordings came to.
struct Tally {
    using Percentiles = ulk::host::render::Percentiles;

    long long nbr_shows = 0;
    long long nbr_passes = 0;
    long long nbr_frames = 0;  // that the device asked for
    long long nbr_right = 0;   // frames of clips, a channel each, that were heard as they should
    long long nbr_notes = 0;   // whose beginning was passed
    long long nbr_lost = 0;    // frames of clips in holes, as heard
    long long nbr_told = 0;    // as the player told; what was faded out may add to them
    long long nbr_refused = 0; // clips whose files could not be opened
    long long nbr_jumps = 0;
    long long nbr_late = 0;      // frames without the next round of a loop
    long long nbr_contended = 0; // passes that waited for the cache's lock
    Percentiles waits;           // for that, ns
    Percentiles works;           // of a pass in all, ns
    long long nbr_takes = 0;     // recordings
    long long nbr_take_frames = 0;
    long long nbr_take_lost = 0; // frames for which the disk was too slow
    long long nbr_takes_failed = 0;
    test::FaultyDisk::Stat disk;

    void add(test::FaultyDisk::Stat const& stat) {
        disk.nbr_calls += stat.nbr_calls;
        disk.nbr_stalls += stat.nbr_stalls;
        disk.nbr_failures += stat.nbr_failures;
    }
};

} // namespace soak
