#pragma once

#include "host/ParamChange.h"

#include <functional>
#include <string>
#include <vector>

namespace ulk::host {

class Bundle;

// Runs sound files through one plug-in, block by block, into another file with the encoding of the
// first. Each file feeds one input pin; files that end early go on as silence.
class FileProcessor {
public:
    struct Settings {
        std::string plug_id;
        std::vector<std::string> in_path_arr; // by input pin; one or more, of one sample frequency
        std::string out_path;
        long block_len = 512;                // frames
        std::vector<ParamChange> start_arr;  // in force from the first frame, without any fade
        std::vector<ParamChange> change_arr; // on the way; what comes behind the end is left out
    };

    struct Result {
        long long nbr_frames = 0;
        double sample_freq = 0; // Hz
        double elapsed = 0;     // seconds of work

        double get_duration() const { return static_cast<double>(nbr_frames) / sample_freq; }
        double get_speed() const; // times faster than real time
    };

    // Frames done, frames in all.
    using Progress = std::function<void(long long done, long long total)>;

    // Throws an Error; the output is then incomplete, or untouched if the settings are wrong.
    static Result run(Bundle& bundle, Settings const& settings, Progress const& progress);
};

} // namespace ulk::host
