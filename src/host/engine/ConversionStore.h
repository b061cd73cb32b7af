#pragma once

#include "host/engine/NotePlan.h"

#include <string>

namespace ulk::host::engine {

// A folder of samples at other sample rates, made by soxr at its highest quality, as WAV files of
// floats. They are named after what they are made from: the content of the source and the ratio, so
// that nothing that is there is ever out of date, and may be deleted at any time. Programs may use
// one folder at the same time. Any thread, also several at a time.
class ConversionStore {
public:
    // The folder is made when the first file is.
    explicit ConversionStore(std::string const& folder);

    // The user's folder for such things.
    static std::string find_default_folder();

    struct Result {
        std::string path;
        SampleFacts facts;
        bool made_flag; // it was not there
    };
    // The source as it is when played so fast at sample_freq (Hz): speed 1 is its own pitch, 2 an
    // octave more in half the time. Throws an Error that names the file.
    Result find_or_make(std::string const& path, SampleFacts const& facts, double speed,
                        double sample_freq) const;

private:
    std::string find_path(std::string const& source, double ratio) const;
    static bool read_facts(std::string const& path, SampleFacts& facts);

    std::string _folder;
};

} // namespace ulk::host::engine
