#include "host/SoundFileWriter.h"

#include "host/Error.h"

#include <sndfile.h>

#include <algorithm>
#include <filesystem>
#include <string_view>
#include <utility>

namespace ulk::host {

namespace {

struct Container {
    std::string_view ending;
    int format;
};

constexpr Container container_arr[] = {{".wav", SF_FORMAT_WAV},   {".aif", SF_FORMAT_AIFF},
                                       {".aiff", SF_FORMAT_AIFF}, {".flac", SF_FORMAT_FLAC},
                                       {".ogg", SF_FORMAT_OGG},   {".w64", SF_FORMAT_W64},
                                       {".rf64", SF_FORMAT_RF64}, {".au", SF_FORMAT_AU}};

int find_container(std::string const& path) {
    std::string const ending = std::filesystem::path(path).extension().string();
    auto const pos = std::find_if(std::begin(container_arr), std::end(container_arr),
                                  [&](Container const& c) { return c.ending == ending; });
    if (pos == std::end(container_arr)) {
        throw Error(Error::Kind_USE, path + ": give the output a name that ends in .wav, .aiff, "
                                            ".flac, .ogg, .w64, .rf64 or .au");
    }
    return pos->format;
}

} // namespace

struct SoundFileWriter::Handle {
    SNDFILE* file = nullptr;

    ~Handle() {
        if (file != nullptr) {
            sf_close(file);
        }
    }
};

SoundFileWriter::SoundFileWriter(std::string const& path, SoundFileFormat const& format)
    : _path(path)
    , _format(format)
    , _handle(std::make_unique<Handle>()) {
    SF_INFO info = {};
    info.samplerate = static_cast<int>(format.sample_freq);
    info.channels = format.nbr_chn;
    info.format = find_container(path) | format.encoding;
    if (!sf_format_check(&info)) {
        throw Error(Error::Kind_USE,
                    path + ": this kind of file cannot hold the sound; take another ending");
    }
    _handle->file = sf_open(path.c_str(), SFM_WRITE, &info);
    if (_handle->file == nullptr) {
        throw Error(Error::Kind_IO, path + ": cannot be written: " + sf_strerror(nullptr));
    }
    sf_command(_handle->file, SFC_SET_CLIPPING, nullptr, SF_TRUE);
    if (format.get_int_scale() != 0) {
        sf_command(_handle->file, SFC_SET_NORM_FLOAT, nullptr, SF_FALSE);
    }
}

SoundFileWriter::~SoundFileWriter() = default;

void SoundFileWriter::write(float const* const* chn_arr, long len) {
    std::size_t const nbr_chn = static_cast<std::size_t>(_format.nbr_chn);
    _interleaved.resize(static_cast<std::size_t>(len) * nbr_chn);
    float const int_scale = _format.get_int_scale();
    float const scale = int_scale != 0 ? 1.0f / int_scale : 1.0f;
    for (std::size_t chn = 0; chn < nbr_chn; ++chn) {
        float* dst = _interleaved.data() + chn;
        for (long i = 0; i < len; ++i, dst += nbr_chn) {
            *dst = chn_arr[chn][i] * scale;
        }
    }
    if (sf_writef_float(_handle->file, _interleaved.data(), len) != len) {
        throw Error(Error::Kind_IO, _path + ": writing failed (disk full?): " +
                                        std::string(sf_strerror(_handle->file)));
    }
}

void SoundFileWriter::close() {
    if (sf_close(std::exchange(_handle->file, nullptr)) != SF_ERR_NO_ERROR) {
        throw Error(Error::Kind_IO, _path + ": writing failed (disk full?)");
    }
}

} // namespace ulk::host
