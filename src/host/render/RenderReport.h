#pragma once

#include "host/LostClip.h"
#include "host/render/Meter.h"
#include "host/render/OutputFormat.h"
#include "host/render/Percentiles.h"

#include <nlohmann/json_fwd.hpp>

#include <optional>
#include <string>
#include <vector>

namespace ulk::host::render {

// What there is to tell of a render: plain data, filled by who renders. What is empty does not
// apply and is left out. Places are texts, "file:line:column". doc/render.md has the fields.
struct RenderReport {
    struct MissingSample {
        std::string path;
        std::string place; // where it is asked for
        std::string reason;
    };

    struct Hole {
        std::string place; // of the clip
        double time = 0;   // s
        long long nbr_frames = 0;
    };

    struct Cache {
        long nbr_cells = 0;
        long long memory_len = 0; // bytes
        long max_nbr_cells = 0;   // in use at once
        long long nbr_cells_read = 0;
        long long nbr_slices = 0;
        long long nbr_prefetches = 0;
        long long nbr_waits = 0; // of a block for the disk
    };

    struct Stem {
        std::string name;
        std::string path;
        double peak = 0; // dBFS
    };

    std::string session;            // path
    std::vector<std::string> paths; // of the mix; "-" for standard output
    OutputFormat format;
    long long nbr_frames = 0;
    long block_len = 0;        // frames
    std::string quality;       // "fast" or "best"
    bool stopped_flag = false; // before its end

    std::optional<Meter::Figures> sound; // of the mix
    long long nbr_notes = 0;             // played
    std::vector<LostClip> lost_clips;
    std::vector<MissingSample> missing_samples;
    std::vector<Hole> holes;
    long max_nbr_voices = 0; // at once
    std::optional<Cache> cache;
    std::optional<Percentiles> block_times;
    double elapsed = 0;  // s
    double cpu_time = 0; // s
    int nbr_jobs = 1;
    std::vector<Stem> stems;
    std::optional<double> stem_deviation; // dBFS: highest of the stems' sum less the mix

    // Whether the sound is not all of what was asked for. strict_flag counts clipping too.
    bool is_lossy(bool strict_flag) const;

    double compute_duration() const; // s of the sound
    double compute_speed() const;    // times faster than real time; 0 when no time has passed

    nlohmann::ordered_json make_json() const;
    // For people: aligned lines, long lists cut.
    std::string print() const;
};

} // namespace ulk::host::render
