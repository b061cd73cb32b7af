#pragma once

#include "host/Bundle.h"
#include "host/render/Envelope.h"
#include "host/render/RenderReport.h"
#include "host/session/Diagnostics.h"

#include <functional>
#include <optional>
#include <string>

namespace ulk::host {

// A session file rendered into sound files: reads and checks it, renders, measures and reports.
class RenderJob {
public:
    struct Settings {
        std::string session_path;
        std::string out_path; // "-" for standard output
        sacc::SplFileBitFmt bit_fmt = sacc::SplFileBitFmt_S24;
        std::optional<double> sample_freq; // Hz, instead of the session's
        long block_len = 1024;             // frames
        std::optional<std::string> from;   // times as in a session
        std::optional<std::string> to;
        std::optional<std::string> tail; // instead of the session's
        std::string stem_folder;         // empty for no stems
        int nbr_jobs = 1;                // threads
        long long cache_len = 0;         // bytes; 0 for what the session asks for
        bool best_flag = false;          // converts samples instead of interpolating
        std::string conversion_folder;   // where converted samples are kept
        bool strict_flag = false;        // nothing may be missing
        std::string plot_path;           // picture of the mix, .png or .svg; empty for none
        std::string report_path;         // where the caller writes the report; empty for none
        bool envelope_flag = false;      // the mix's outline is wanted
        bool measure_flag = true;        // the mix: levels, loudness and hash
    };

    // Phase of the work, what is done and what there is; false ends it early.
    using Progress = std::function<bool(char const* phase, long long done, long long total)>;
    // What is to be told of the session before the work begins.
    using Warn = std::function<void(std::string const& txt)>;

    struct Result {
        render::RenderReport report;
        std::optional<render::Envelope> envelope; // if asked for
    };
    // Throws an Error; what was rendered until then is in the files.
    static Result run(Bundle& bundle, Settings const& settings, Warn const& warn,
                      Progress const& progress);
};

} // namespace ulk::host
