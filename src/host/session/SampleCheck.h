#pragma once

#include "host/session/Diagnostics.h"
#include "ulk/archi/types.h"

#include <string>
#include <vector>

namespace ulk::host::session {

// Looks into the headers of a session's samples.
class SampleCheck {
public:
    // What is known of a sample.
    struct Info {
        archi::Int64 len = 0;   // frames
        double sample_freq = 0; // Hz
        int nbr_chn = 0;
        std::string reason; // why it cannot be used, in the user's words; empty if it can
    };

    // Of all samples of a session, in their order. Each file is closed again before the next one is
    // opened.
    static std::vector<Info> look(Session const& session);

    // Whether a clip's offset lies behind the end of its sample, which can be used.
    static bool is_behind_end(Session::Clip const& clip, Info const& info);

    // How long a clip sounds, in s of the session's time; 0 if its sample cannot be used.
    static double find_duration(Session::Clip const& clip, Info const& info);

    // Tells of the samples that cannot be used, each at the place that asks for it first, and of
    // the clips that begin behind the end of theirs. info_arr: from look ().
    static void report(Session const& session, std::vector<Info> const& info_arr,
                       Diagnostic::Severity severity, Diagnostics& diagnostics);
};

} // namespace ulk::host::session
