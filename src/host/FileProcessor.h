#pragma once

#include <functional>
#include <string>

namespace ulk::host {

class Bundle;

// Runs a sound file through one plug-in, block by block, into another file of the same encoding.
class FileProcessor {
public:
    struct Settings {
        std::string plug_id;
        std::string in_path;
        std::string out_path;
        long block_len = 512; // frames
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

    // Throws an Error; the output is then incomplete.
    static Result run(Bundle& bundle, Settings const& settings, Progress const& progress);
};

} // namespace ulk::host
