#pragma once

#include "host/SoundFileFormat.h"

#include <memory>
#include <string>
#include <vector>

namespace ulk::host {

// Reads a sound file of any format that libsndfile knows, from its start to its end.
class SoundFileReader {
public:
    // Throws an Error that names the file.
    explicit SoundFileReader(std::string const& path);
    ~SoundFileReader();

    SoundFileFormat const& get_format() const { return _format; }
    long long get_len() const { return _len; } // in frames

    // Reads up to len frames into one buffer per channel; full scale is 1.0. Returns the number of
    // frames read, less than len at the end of the file alone.
    long read(float* const* chn_arr, long len);

private:
    struct Handle;

    std::string _path;
    std::unique_ptr<Handle> _handle;
    SoundFileFormat _format;
    long long _len = 0;
    std::vector<float> _interleaved;
};

} // namespace ulk::host
