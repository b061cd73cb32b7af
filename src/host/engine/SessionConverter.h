#pragma once

#include "host/engine/ConversionStore.h"
#include "host/engine/WorkerPool.h"
#include "host/session/Session.h"

#include <functional>
#include <vector>

namespace ulk::host::engine {

// Makes a session play at the best quality: clips whose samples have another rate than the session,
// or another pitch than their own, get converted samples instead, which then play frame by frame.
class SessionConverter {
public:
    struct Stat {
        int nbr_converted = 0; // samples, each at each of its pitches
        int nbr_made = 0;      // of them, those that were not in the store
    };
    using Progress = std::function<bool(int done, int total)>; // false to stop

    // Changes the session and the facts of its samples (by sample; unusable ones are passed over).
    // Clips that do not begin on a frame of their sample are moved to the nearest. Throws an Error.
    static Stat convert(session::Session& session, std::vector<SampleFacts>& fact_arr,
                        double sample_freq, ConversionStore const& store, WorkerPool& pool,
                        Progress const& progress);
};

} // namespace ulk::host::engine
