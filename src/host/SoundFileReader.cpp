#include "host/SoundFileReader.h"

#include "host/Error.h"

#include <sndfile.hh>

#include <filesystem>

namespace ulk::host {

struct SoundFileReader::Handle {
    SndfileHandle file;
};

SoundFileReader::SoundFileReader(std::string const& path)
    : _path(path)
    , _handle(std::make_unique<Handle>()) {
    if (!std::filesystem::exists(path)) {
        throw Error(Error::Kind_MATERIAL, path + ": no such file");
    }
    if (std::filesystem::is_directory(path)) {
        throw Error(Error::Kind_MATERIAL, path + ": a directory, not a sound file");
    }
    SndfileHandle& file = _handle->file;
    file = SndfileHandle(path);
    if (file.error() != SF_ERR_NO_ERROR) {
        throw Error(Error::Kind_MATERIAL, path + ": not a sound file: " + file.strError());
    }
    _format = {static_cast<double>(file.samplerate()), file.channels(),
               file.format() & SF_FORMAT_SUBMASK};
    _len = file.frames();
    if (_format.get_int_scale() != 0) {
        file.command(SFC_SET_NORM_FLOAT, nullptr, SF_FALSE);
    }
}

SoundFileReader::~SoundFileReader() = default;

long SoundFileReader::read(float* const* chn_arr, long len) {
    std::size_t const nbr_chn = static_cast<std::size_t>(_format.nbr_chn);
    _interleaved.resize(static_cast<std::size_t>(len) * nbr_chn);
    long const nbr_read = static_cast<long>(_handle->file.readf(_interleaved.data(), len));
    if (_handle->file.error() != SF_ERR_NO_ERROR) {
        throw Error(Error::Kind_IO, _path + ": reading failed: " + _handle->file.strError());
    }
    float const int_scale = _format.get_int_scale();
    float const scale = int_scale != 0 ? int_scale : 1.0f;
    for (std::size_t chn = 0; chn < nbr_chn; ++chn) {
        float const* src = _interleaved.data() + chn;
        for (long i = 0; i < nbr_read; ++i, src += nbr_chn) {
            chn_arr[chn][i] = *src * scale;
        }
    }
    return nbr_read;
}

} // namespace ulk::host
