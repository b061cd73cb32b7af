#pragma once

#include <nlohmann/json_fwd.hpp>

#include <string>

namespace ulk::host {

// What there is to read in a WAV file, chunk by chunk, and whether it can be used. Of files of
// other kinds it tells no chunks.
class WavInfo {
public:
    // "path", "bytes", "kind" (a text, unless it is a WAV file), "chunks" (each with "offset",
    // "id", "bytes" and "fields" where it is known), "problems" (texts), "usable", and "sound"
    // ("frames", "channels", "sample_rate_hz") where it is, "reason" where it is not. A file that
    // can't be read has a reason alone. Never throws for what a file holds; time and memory are
    // bounded.
    static nlohmann::ordered_json make(std::string const& path);

    // For people.
    static std::string print(nlohmann::ordered_json const& info);
};

} // namespace ulk::host
