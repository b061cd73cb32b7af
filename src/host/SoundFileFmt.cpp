#include "host/SoundFileFmt.h"

#include "ulk/sacc/Err.h"
#include "ulk/sacc/SplFileExtData.h"
#include "ulk/sys/Err.h"
#include "ulk/sys/File.h"
#include "ulk/udbg/log.h"

#include <sndfile.h>

#include <algorithm>
#include <cstdio>
#include <iterator>
#include <vector>

namespace ulk::host {

namespace {

using archi::Int64;

// The limits of the sample library
constexpr int max_nbr_chn = 255;
constexpr int min_sample_freq = 100;
constexpr int max_sample_freq = 10000000;

constexpr Int64 max_len = Int64{1} << 40; // frames; more is what is told of files without a length

constexpr Int64 max_overlap = 8192; // frames, the longest block of Vorbis

// Those in which any frame is found again exactly, however one comes there
constexpr int container_arr[] = {SF_FORMAT_WAV, SF_FORMAT_WAVEX, SF_FORMAT_RF64,
                                 SF_FORMAT_W64, SF_FORMAT_AIFF,  SF_FORMAT_FLAC,
                                 SF_FORMAT_OGG, SF_FORMAT_AU,    SF_FORMAT_CAF};

// Encodings in which it is not
constexpr int inexact_arr[] = {SF_FORMAT_MPEG_LAYER_I, SF_FORMAT_MPEG_LAYER_II,
                               SF_FORMAT_MPEG_LAYER_III};

template <std::size_t N>
bool contains(int const (&list)[N], int val) {
    return std::find(std::begin(list), std::end(list), val) != std::end(list);
}

sacc::SplFileBitFmt find_bit_fmt(int encoding) {
    switch (encoding) {
    case SF_FORMAT_PCM_U8:
    case SF_FORMAT_PCM_S8:
        return sacc::SplFileBitFmt_U8;
    case SF_FORMAT_PCM_16:
        return sacc::SplFileBitFmt_S16;
    case SF_FORMAT_PCM_24:
        return sacc::SplFileBitFmt_S24;
    case SF_FORMAT_PCM_32:
        return sacc::SplFileBitFmt_S32;
    default:
        return sacc::SplFileBitFmt_F32;
    }
}

sys::File& use_file(void* user) {
    return *static_cast<sys::File*>(user);
}

sf_count_t find_file_len(void* user) {
    Int64 len = 0;
    use_file(user).get_length(len);
    return len;
}

sf_count_t find_pos(void* user) {
    Int64 pos = 0;
    use_file(user).get_pos(pos);
    return pos;
}

sf_count_t seek(sf_count_t offset, int whence, void* user) {
    Int64 const base = whence == SEEK_CUR   ? find_pos(user)
                       : whence == SEEK_END ? find_file_len(user)
                                            : 0;
    Int64 pos = 0;
    bool const ok_flag = !__builtin_add_overflow(base, Int64{offset}, &pos) && pos >= 0 &&
                         use_file(user).seek(pos) == 0;
    return ok_flag ? pos : -1;
}

sf_count_t read_bytes(void* dst, sf_count_t len, void* user) {
    Int64 const room = std::max<Int64>(find_file_len(user) - find_pos(user), 0);
    long const nbr_bytes = static_cast<long>(std::min<Int64>(len, room));
    return use_file(user).read(static_cast<archi::UByte*>(dst), nbr_bytes) == 0 ? nbr_bytes : 0;
}

sf_count_t write_bytes(void const*, sf_count_t, void*) {
    return 0;
}

} // namespace

// A decoder at work on a file that stays the same for as long as it lives.
class SoundFileFmt::Stream {
public:
    explicit Stream(sys::File& file) {
        SF_VIRTUAL_IO io = {&find_file_len, &seek, &read_bytes, &write_bytes, &find_pos};
        file.seek(0);
        _sound = sf_open_virtual(&io, SFM_READ, &_info, &file);
    }
    ~Stream() { sf_close(_sound); }
    Stream(Stream const&) = delete;
    Stream& operator=(Stream const&) = delete;

    int check() {
        if (_sound == nullptr || _info.seekable == 0 ||
            !contains(container_arr, _info.format & SF_FORMAT_TYPEMASK) ||
            contains(inexact_arr, get_encoding())) {
            return sacc::Err_FORMAT_UNKNOWN;
        }
        if (_info.channels < 1 || _info.channels > max_nbr_chn ||
            _info.samplerate < min_sample_freq || _info.samplerate > max_sample_freq) {
            return sacc::Err_WAV_OUT_OF_RANGE;
        }
        if (_info.frames < 0 || _info.frames > max_len) {
            return sacc::Err_LEN_NOT_FIXED;
        }
        std::vector<float> last(static_cast<std::size_t>(_info.channels));
        bool const whole_flag = _info.frames == 0 || read(last.data(), _info.frames - 1, 1);
        return whole_flag ? 0 : sacc::Err_WAV_TRUNCATED;
    }

    char const* get_error() const { return sf_strerror(_sound); }
    Int64 get_len() const { return _info.frames; }
    int get_nbr_chn() const { return _info.channels; }
    double get_sample_freq() const { return _info.samplerate; }
    int get_encoding() const { return _info.format & SF_FORMAT_SUBMASK; }

    // Decoders keep their place, so that reading on costs no seeking.
    bool read(float* dst, Int64 pos, long len) {
        bool const ok_flag = (pos == _pos || go_to(pos)) && decode(dst, len);
        _pos = ok_flag ? pos + len : -1;
        return ok_flag;
    }

private:
    // Frames of Vorbis overlap those before them: right behind a jump they are others.
    bool go_to(Int64 pos) {
        bool const overlap_flag = get_encoding() == SF_FORMAT_VORBIS;
        long const ahead = overlap_flag ? static_cast<long>(std::min(pos, max_overlap)) : 0;
        std::vector<float> passed(static_cast<std::size_t>(ahead * _info.channels));
        return sf_seek(_sound, pos - ahead, SEEK_SET) == pos - ahead &&
               decode(passed.data(), ahead);
    }

    bool decode(float* dst, long len) { return sf_readf_float(_sound, dst, len) == len; }

    SF_INFO _info = {};
    SNDFILE* _sound = nullptr;
    Int64 _pos = 0; // of the decoder, -1 when unknown
};

SoundFileFmt::SoundFileFmt() = default;

SoundFileFmt::~SoundFileFmt() = default;

int SoundFileFmt::do_read_format_info(sys::File& file) {
    _stream.reset();
    auto stream = std::make_unique<Stream>(file);
    int const ret_val = stream->check();
    if (ret_val == 0) {
        _stream = std::move(stream);
    } else {
        ULK_LOG(ERROR, "read_format_info(): cannot decode the file: %1%", stream->get_error());
    }
    return ret_val;
}

int SoundFileFmt::do_create_from_scratch(sys::File&, int, sacc::SplFileBitFmt, double, Int64) {
    return sys::Err_FILE_WRITE;
}

int SoundFileFmt::do_validate_new_data(sys::File&) {
    return sys::Err_FILE_WRITE;
}

void SoundFileFmt::do_close() {
    _stream.reset();
}

int SoundFileFmt::do_read_data(sys::File&, float* dst, Int64 pos, long len) {
    if (_stream->read(dst, pos, len)) {
        return 0;
    }
    ULK_LOG(ERROR, "read_data(): cannot decode %1% frames from %2% on: %3%", len, pos,
            _stream->get_error());
    return sys::Err_FILE_READ;
}

int SoundFileFmt::do_write_data(sys::File&, float const*, Int64, long) {
    return sys::Err_FILE_WRITE;
}

bool SoundFileFmt::do_is_file_valid() const {
    return _stream != nullptr;
}

bool SoundFileFmt::do_is_file_being_created() const {
    return false;
}

Int64 SoundFileFmt::do_get_length() const {
    return _stream == nullptr ? -1 : _stream->get_len();
}

int SoundFileFmt::do_get_nbr_chn() const {
    return _stream->get_nbr_chn();
}

double SoundFileFmt::do_get_sample_freq() const {
    return _stream->get_sample_freq();
}

sacc::SplFileBitFmt SoundFileFmt::do_get_sample_format() const {
    return find_bit_fmt(_stream->get_encoding());
}

sacc::SplFileFmt SoundFileFmt::do_get_file_format() const {
    return number;
}

int SoundFileFmt::do_read_extra_data(sys::File&, sacc::SplFileExtData& ext) {
    ext.clear();
    return sacc::Err_FORMAT_UNKNOWN;
}

} // namespace ulk::host
