#pragma once

#include <nlohmann/json_fwd.hpp>

#include <string>
#include <string_view>

namespace ulk::host {

// What the chunks of a WAV file say: fmt, fact, smpl, inst, cue, bext, and lists of kind INFO and
// adtl (Microsoft, "Multimedia Programming Interface and Data Specifications 1.0" with its later
// additions; EBU Tech 3285 for bext).
class WavChunk {
public:
    static constexpr std::size_t max_content_len = 65536; // what is looked at of a chunk

    // The fields of a chunk, by name; null for one that is not known. content is up to
    // max_content_len bytes of it. problem gets a text when it is shorter than it must be: the
    // fields are those before the end.
    static nlohmann::ordered_json decode(std::string_view id, std::string_view content,
                                         std::string& problem);
};

} // namespace ulk::host
