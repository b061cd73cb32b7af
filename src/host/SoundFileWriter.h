#pragma once

#include "host/SoundFileFormat.h"

#include <memory>
#include <string>
#include <vector>

namespace ulk::host {

// Writes a sound file; the container comes from the name's ending (wav, aiff, flac, ogg ...).
class SoundFileWriter {
public:
    // Replaces an existing file. Throws an Error that names the file.
    SoundFileWriter(std::string const& path, SoundFileFormat const& format);
    ~SoundFileWriter();

    // Appends len frames from one buffer per channel; full scale is 1.0, integers clip there.
    void write(float const* const* chn_arr, long len);
    // Completes the file. To be called before destruction: only here can a full disk be told.
    void close();

private:
    struct Handle;

    std::string _path;
    SoundFileFormat _format;
    std::unique_ptr<Handle> _handle;
    std::vector<float> _interleaved;
};

} // namespace ulk::host
