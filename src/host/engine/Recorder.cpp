#include "host/engine/Recorder.h"

#include "host/Error.h"
#include "ulk/dsp/BasicMixing.h"
#include "ulk/sacc/SplCacheIteratorWrite.h"
#include "ulk/sacc/SplFileFmtDesc.h"
#include "ulk/sys/UserPermissions.h"
#include "ulk/sys/posix/NewFile.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <fstream>
#include <string_view>
#include <system_error>

namespace ulk::host::engine {

namespace {

constexpr long long header_len = 44; // bytes, of the WAV files that are made here

// What is there may be lost: a WAV file of any kind, one whose header was never written, or
// nothing at all.
bool is_replaceable(std::string const& path) {
    std::array<char, 4> id{};
    std::ifstream file(path, std::ios::binary);
    file.read(id.data(), id.size());
    std::string_view const txt(id.data(), static_cast<std::size_t>(file.gcount()));
    return txt.empty() || txt[0] == '\0' || txt == "RIFF" || txt == "RF64" || txt == "riff";
}

[[noreturn]] void refuse(std::string const& path, std::string const& reason) {
    throw Error(Error::Kind_IO, path + ": cannot be made" + reason);
}

} // namespace

Recorder::Recorder(CacheService& cache, std::string const& path, render::OutputFormat const& format)
    : _cache(cache)
    , _path(path)
    , _format(format) {
    dsp::BasicMixing::setup();
    prepare_file();
    sacc::SplFileFmtDesc desc;
    desc.set_data(sacc::SplFileFmt_WAV, format.bit_fmt, format.sample_freq, format.nbr_chn);
    if (_cache.use_cache().create_file_new(_file_id, _path.c_str(), desc) != 0) {
        refuse(path, "; does another program write it?");
    }
}

// A pipe would be waited for, and a device can do anything.
void Recorder::check_path(std::string const& path) {
    std::error_code ec;
    auto const status = std::filesystem::status(path, ec);
    if (std::filesystem::is_directory(status)) {
        refuse(path, ", since a folder has that name");
    }
    if (std::filesystem::exists(status) && !std::filesystem::is_regular_file(status)) {
        refuse(path, ", since a pipe or a device has that name; give that of a WAV file");
    }
    if (path == "-") {
        refuse(path, ", since standard output takes no headers later on; give the name of a file");
    }
    // Such as a session, which was meant to be played.
    if (!is_replaceable(path)) {
        throw Error(Error::Kind_USE, path + ": is there and no WAV file; give another name");
    }
}

// The file layer follows no links, and makes files that are their owner's alone: a sound file is
// there for all whom the user lets read files.
void Recorder::prepare_file() {
    check_path(_path);
    std::error_code ec;
    bool const there_flag = std::filesystem::exists(_path, ec);
    sys::UserPermissions const permissions;
    if (int const err = sys::posix::NewFile::make(_path.c_str()); err == ENOENT) {
        refuse(_path, ", since its folder is not there");
    } else if (err != 0) {
        refuse(_path, (there_flag ? " anew, since what is there may not be written: " : ": ") +
                          std::generic_category().message(err));
    }
    if (auto const target = std::filesystem::canonical(_path, ec); !ec) {
        _path = target;
    }
}

Recorder::~Recorder() {
    if (_open_flag) {
        _cache.use_cache().close_file(_file_id);
    }
}

long Recorder::push(float const* const* chn_arr, long len) {
    int const nbr_chn = _format.nbr_chn;
    return fill(len, [=](float* dst, long done, long part_len) {
        if (nbr_chn == 2) {
            dsp::BasicMixing::copy_2_2i(dst, chn_arr[0] + done, chn_arr[1] + done, part_len);
        } else {
            for (int chn = 0; chn < nbr_chn; ++chn) {
                dsp::BasicMixing::copy_1_ni1(dst + chn, chn_arr[chn] + done, part_len, nbr_chn);
            }
        }
    });
}

long Recorder::push_silence(long len) {
    return fill(len, [this](float* dst, long, long part_len) {
        std::fill_n(dst, part_len * _format.nbr_chn, 0.f);
    });
}

// fnc fills a part of a cell: where, the frames before it, and its own.
template <class F>
long Recorder::fill(long len, F fnc) {
    sacc::SplCacheIteratorWrite it;
    _cache.use_cache().push_data(_file_id, len, it);
    long done = 0;
    for (; it.is_rem_elt(); it.iterate()) {
        float* const dst = it.use_cell().use_data() + it.get_data_pos_cell() * _format.nbr_chn;
        long const part_len = it.get_data_len();
        fnc(dst, done, part_len);
        done += part_len;
    }
    _nbr_pushed += done;
    return done;
}

long long Recorder::validate(long long nbr_frames) {
    check_blocks();
    if (_cache.use_cache().validate_new_data(_file_id) != 0) {
        throw Error(Error::Kind_IO, _path + ": writing failed");
    }
    long const cell_len = _cache.get_size().cell_len / _format.nbr_chn;
    long long const nbr_written = nbr_frames / cell_len * cell_len;
    check_size(nbr_written);
    return nbr_written;
}

// The last, partly filled cell is written on closing: the file's size tells whether it was.
void Recorder::close() {
    check_blocks();
    _open_flag = false;
    if (_cache.use_cache().close_file(_file_id) != 0) {
        throw Error(Error::Kind_IO, _path + ": writing failed");
    }
    check_size(_nbr_pushed);
}

// In the midst of the file, where its size tells nothing.
void Recorder::check_blocks() const {
    long nbr_blocks = 0;
    if (_cache.use_cache().get_nbr_lost_blocks(_file_id, nbr_blocks) != 0 || nbr_blocks > 0) {
        throw Error(Error::Kind_IO, _path + ": cannot be written; is the disk full?");
    }
}

void Recorder::check_size(long long nbr_frames) const {
    std::error_code ec;
    auto const size = std::filesystem::file_size(_path, ec);
    if (ec == std::errc::no_such_file_or_directory) {
        throw Error(Error::Kind_IO, _path + ": is not there any more: it was renamed or deleted "
                                            "while it was written");
    }
    if (ec) {
        throw Error(Error::Kind_IO, _path + ": " + ec.message());
    }
    if (static_cast<long long>(size) < header_len + nbr_frames * _format.get_frame_len()) {
        throw Error(Error::Kind_IO, _path + ": cannot be written; is the disk full?");
    }
}

} // namespace ulk::host::engine
