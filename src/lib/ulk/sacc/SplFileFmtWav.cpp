#include "ulk/sacc/SplFileFmtWav.h"

#include "ulk/dsp/BasicMixing.h"
#include "ulk/sacc/Err.h"
#include "ulk/sacc/SplFileBitFmtConv.h"
#include "ulk/sacc/SplFileExtData.h"
#include "ulk/sacc/SplFileFmtTools.h"
#include "ulk/sys/File.h"
#include "ulk/udbg/log.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>

namespace ulk::sacc {

namespace {

using archi::Int64;
using archi::UByte;
using archi::UInt32;

constexpr long riff_header_len = 12;
constexpr long chunk_header_len = 8;
constexpr long fmt_len = 16;       // content of the fmt chunk that has a meaning here
constexpr long max_fmt_len = 1000; // more of it is not even read, header counted
constexpr long new_data_pos = 36;  // data chunk of the header that is written
constexpr int category_int = 1;
constexpr int category_float = 3;
constexpr int max_nbr_chn = 255;
constexpr int max_align_ratio = 4;     // frame size to what its samples need
constexpr int max_block_align = 65535; // the header's field has 16 bits
constexpr double min_sample_freq = 100;
constexpr double max_sample_freq = 10000000;

UInt32 read_le(UByte const* data, int nbr_bytes) {
    UInt32 val = 0;
    for (int b = nbr_bytes - 1; b >= 0; --b) {
        val = val << 8 | data[b];
    }
    return val;
}

void write_le(UByte* data, UInt32 val, int nbr_bytes) {
    for (int b = 0; b < nbr_bytes; ++b) {
        data[b] = static_cast<UByte>(val >> (8 * b));
    }
}

int read_16(UByte const* data) {
    return static_cast<int>(read_le(data, 2));
}

int write_at(sys::File& file, Int64 pos, UByte const* data, long len) {
    int const ret_val = file.seek(pos);
    return ret_val == 0 ? file.write(data, len) : ret_val;
}

// Rewrites the id and the size in the header of a chunk, or of the file.
int write_chunk_header(sys::File& file, Int64 pos, char const* id, UInt32 size) {
    UByte header[chunk_header_len];
    SplFileFmtWav::copy_id(header, id);
    write_le(header + 4, size, 4);
    return write_at(file, pos, header, chunk_header_len);
}

// Length of a chunk with its header, in 32 bits.
UInt32 compute_total(unsigned long chunk_size) {
    return static_cast<UInt32>(chunk_size + chunk_header_len);
}

// Walks to the chunk. chunk_pos stays -1 if there is none; header is the last one read.
int walk_chunks(sys::File& file, Int64& chunk_pos, unsigned long& chunk_size, UByte* header,
                char const* id) {
    Int64 file_len = 0;
    int ret_val = file.get_length(file_len);
    Int64 pos = riff_header_len;
    while (ret_val == 0 && pos <= file_len - chunk_header_len) {
        ret_val = file.seek(pos);
        if (ret_val == 0) {
            ret_val = file.read(header, chunk_header_len);
        }
        if (ret_val != 0) {
            break;
        }
        chunk_size = read_le(header + 4, 4);
        auto const total = compute_total(chunk_size);
        // The highest size means that the true one is elsewhere; a total of 0 would walk for ever.
        if (chunk_size == 0xFFFFFFFF || total == 0) {
            ULK_LOG(ERROR, "find_chunk(): unexpected chunk size.");
            return Err_WAV_CHUNK_SIZE;
        }
        if (SplFileFmtWav::compare_id(header, id)) {
            chunk_pos = pos;
            return 0;
        }
        pos += total;
    }
    return ret_val;
}

int load_chunk(sys::File& file, std::vector<UByte>& buffer, UByte const* header, long len) {
    try {
        buffer.resize(static_cast<std::vector<UByte>::size_type>(len + chunk_header_len));
    } catch (...) {
        ULK_LOG(ERROR, "find_chunk(): Exception when trying to resize buffer.");
        return Err_EXCEPTION;
    }
    std::memcpy(buffer.data(), header, chunk_header_len);
    return file.read(buffer.data() + chunk_header_len, len);
}

} // namespace

// Who has a format object finds the mixing routines ready, for the floats that it gets or gives.
SplFileFmtWav::SplFileFmtWav() {
    dsp::BasicMixing::setup();
    clear();
}

void SplFileFmtWav::clear() {
    _len = -1;
    _data_pos = -1;
    _sample_freq = -1;
    _nominal_val = -1;
    _bit_fmt = SplFileBitFmt(-1);
    _nbr_chn = -1;
    _block_align = -1;
    _packed_flag = false;
    _creation_flag = false;
}

int SplFileFmtWav::setup_new(int nbr_chn, SplFileBitFmt bit_fmt, double sample_freq) {
    clear();
    auto const nbr_bytes = SplFileFmtTools::get_nbr_bytes_per_sample(bit_fmt);
    if (bit_fmt < 0 || bit_fmt >= SplFileBitFmt_NBR_ELT) {
        ULK_LOG(ERROR, "do_create_from_scratch(): Unknown sample format (%1%).", int{bit_fmt});
        return Err_WAV_BIT_DEPTH;
    }
    if (nbr_chn < 1 || nbr_chn > max_block_align / nbr_bytes) {
        ULK_LOG(ERROR,
                "do_create_from_scratch(): Number of channels out of reasonable range (%1%).",
                nbr_chn);
        return Err_WAV_OUT_OF_RANGE;
    }
    _len = 0;
    _data_pos = new_data_pos;
    _sample_freq = sample_freq;
    _nominal_val = static_cast<float>(SplFileFmtTools::get_std_nominal_val(bit_fmt));
    _bit_fmt = bit_fmt;
    _nbr_chn = nbr_chn;
    _block_align = nbr_chn * nbr_bytes;
    _packed_flag = true;
    return 0;
}

SplFileFmtWav::Header SplFileFmtWav::make_header(UInt32 riff_len, UInt32 data_len) const {
    Header header{};
    UByte* const dst = header.data();
    auto const nbr_bytes = SplFileFmtTools::get_nbr_bytes_per_sample(_bit_fmt);
    auto const rounded_freq = std::floor(_sample_freq + 0.5);
    // The inverted test sends NaN to 0 as well.
    auto const freq =
        rounded_freq > 0 ? static_cast<UInt32>(std::min(rounded_freq, 4294967295.0)) : 0;
    auto const block_align = static_cast<UInt32>(_block_align);
    copy_id(dst, _chunk_id_riff);
    write_le(dst + 4, riff_len, 4);
    copy_id(dst + 8, _chunk_id_wave);
    copy_id(dst + 12, _chunk_id_fmt);
    write_le(dst + 16, fmt_len, 4);
    write_le(dst + 20, _bit_fmt == SplFileBitFmt_F32 ? category_float : category_int, 2);
    write_le(dst + 22, static_cast<UInt32>(_nbr_chn), 2);
    write_le(dst + 24, freq, 4);
    write_le(dst + 28, freq * block_align, 4);
    write_le(dst + 32, block_align, 2);
    write_le(dst + 34, static_cast<UInt32>(nbr_bytes) * 8, 2);
    copy_id(dst + new_data_pos, _chunk_id_data);
    write_le(dst + new_data_pos + 4, data_len, 4);
    return header;
}

SplFileFmtWav::Header SplFileFmtWav::make_header(Int64 len) const {
    auto const data_len = static_cast<UInt32>(len * _block_align);
    return make_header(data_len + UInt32{new_data_pos}, data_len);
}

Int64 SplFileFmtWav::compute_data_pos(Int64 frame) const {
    return frame * _block_align + _data_pos + chunk_header_len;
}

void SplFileFmtWav::convert_block_read(float* dst, UByte* src, long nbr_frames) const {
    using Conv = SplFileBitFmtConv;
    constexpr int order = Conv::_byte_order_same;
    float const scale = 1 / _nominal_val;
    switch (_bit_fmt) {
    case SplFileBitFmt_U8:
        Conv::conv_u8_to_n_generic(dst, src, nbr_frames, _nbr_chn, _block_align, scale);
        break;
    case SplFileBitFmt_S16:
        Conv::conv_s16_to_n_generic(order, dst, src, nbr_frames, _nbr_chn, _block_align, scale);
        break;
    case SplFileBitFmt_S24:
        Conv::conv_s24_to_n_generic(order, dst, src, nbr_frames, _nbr_chn, _block_align, scale);
        break;
    case SplFileBitFmt_S32:
        Conv::conv_s32_to_n_generic(order, dst, src, nbr_frames, _nbr_chn, _block_align, scale);
        break;
    case SplFileBitFmt_F32:
        Conv::conv_f32_to_n_generic(order, dst, src, nbr_frames, _nbr_chn, _block_align, scale);
        break;
    default:
        break;
    }
}

void SplFileFmtWav::convert_block_write(UByte* dst, float const* src, long nbr_frames) const {
    using Conv = SplFileBitFmtConv;
    constexpr int order = Conv::_byte_order_same;
    float const scale = _nominal_val;
    switch (_bit_fmt) {
    case SplFileBitFmt_U8:
        Conv::conv_n_to_u8_generic(dst, src, nbr_frames, _nbr_chn, _block_align, scale);
        break;
    case SplFileBitFmt_S16:
        Conv::conv_n_to_s16_generic(order, dst, src, nbr_frames, _nbr_chn, _block_align, scale);
        break;
    case SplFileBitFmt_S24:
        Conv::conv_n_to_s24_generic(order, dst, src, nbr_frames, _nbr_chn, _block_align, scale);
        break;
    case SplFileBitFmt_S32:
        Conv::conv_n_to_s32_generic(order, dst, src, nbr_frames, _nbr_chn, _block_align, scale);
        break;
    case SplFileBitFmt_F32:
        Conv::conv_n_to_f32_generic(order, dst, src, nbr_frames, _nbr_chn, _block_align, scale);
        break;
    default:
        break;
    }
}

int SplFileFmtWav::find_chunk(sys::File& file, Int64& chunk_pos, unsigned long& chunk_size,
                              std::vector<UByte>* buffer, char const* id, long min_len,
                              long max_len) {
    chunk_pos = -1;
    UByte header[chunk_header_len] = {};
    int const ret_val = walk_chunks(file, chunk_pos, chunk_size, header, id);
    if (ret_val != 0 || chunk_pos < 0) {
        return ret_val;
    }
    if (min_len > static_cast<long>(compute_total(chunk_size))) {
        ULK_LOG(ERROR, "find_chunk(): Chunk too short.");
        return Err_WAV_CHUNK_SIZE;
    }
    auto const len = std::min(static_cast<long>(chunk_size), max_len - chunk_header_len);
    return buffer == nullptr ? 0 : load_chunk(file, *buffer, header, len);
}

bool SplFileFmtWav::compare_id(UByte const* data, char const* id) {
    return std::memcmp(data, id, sizeof(_chunk_id_riff)) == 0;
}

void SplFileFmtWav::copy_id(UByte* data, char const* id) {
    std::memcpy(data, id, sizeof(_chunk_id_riff));
}

int SplFileFmtWav::do_read_format_info(sys::File& file) {
    clear();
    Int64 chunk_pos = -1;
    unsigned long chunk_size = 0;
    std::vector<UByte> chunk;
    int ret_val = find_chunk(file, chunk_pos, chunk_size, &chunk, _chunk_id_fmt,
                             fmt_len + chunk_header_len, max_fmt_len);
    if (ret_val == 0 && chunk_pos < 0) {
        ULK_LOG(ERROR, "do_read_format_info(): Cannot find fmt chunk.");
        ret_val = Err_WAV_CHUNK_NOT_FOUND;
    }
    if (ret_val == 0) {
        ret_val = parse_fmt_chunk(chunk.data() + chunk_header_len);
    }
    if (ret_val == 0) {
        ret_val = locate_data(file);
    }
    if (ret_val != 0) {
        clear();
    }
    return ret_val;
}

int SplFileFmtWav::do_create_from_scratch(sys::File& file, int nbr_chn, SplFileBitFmt bit_fmt,
                                          double sample_freq, Int64 len) {
    int ret_val = setup_new(nbr_chn, bit_fmt, sample_freq);
    if (ret_val != 0) {
        return ret_val;
    }
    _creation_flag = true;
    auto const header = make_header(_header_len, 0);
    ret_val = write_at(file, 0, header.data(), _header_len);
    if (ret_val == 0 && len > 0) {
        ret_val = file.set_length(compute_data_pos(len));
        _len = len;
        if (ret_val == 0) {
            ret_val = do_validate_new_data(file);
        }
    }
    if (ret_val != 0) {
        clear();
    }
    return ret_val;
}

// Right for the layout of files that are made here.
int SplFileFmtWav::do_validate_new_data(sys::File& file) {
    auto const data_len = static_cast<UInt32>(_len * _block_align);
    int const ret_val = write_chunk_header(file, _data_pos, _chunk_id_data, data_len);
    return ret_val == 0
               ? write_chunk_header(file, 0, _chunk_id_riff, data_len + UInt32{new_data_pos})
               : ret_val;
}

void SplFileFmtWav::do_close() {
    clear();
}

int SplFileFmtWav::do_read_data(sys::File& file, float* dst, Int64 pos, long len) {
    try {
        int ret_val = file.seek(compute_data_pos(pos));
        if (ret_val == 0 && is_float_image()) {
            return file.read(reinterpret_cast<UByte*>(dst), len * _block_align);
        }
        auto const max_nbr_frames = std::min(len, _max_buf_len / _block_align);
        auto const buffer = make_buffer(max_nbr_frames);
        while (len > 0 && ret_val == 0) {
            auto const nbr_frames = std::min(len, max_nbr_frames);
            ret_val = file.read(buffer.get(), nbr_frames * _block_align);
            if (ret_val == 0) {
                convert_block_read(dst, buffer.get(), nbr_frames);
            }
            dst += nbr_frames * _nbr_chn;
            len -= nbr_frames;
        }
        return ret_val;
    } catch (...) {
        ULK_LOG(ERROR, "do_read_data(): Exception.");
        return Err_EXCEPTION;
    }
}

// Frames count as part of the file only once they are written, so that a full disk does not make a
// header that promises more than there is.
int SplFileFmtWav::do_write_data(sys::File& file, float const* src, Int64 pos, long len) {
    try {
        auto const max_nbr_frames = std::min(len, _max_buf_len / _block_align);
        auto const buffer = make_buffer(max_nbr_frames);
        int ret_val = 0;
        if (pos > _len) {
            ret_val = file.set_length(compute_data_pos(pos));
            _len = pos;
        }
        if (ret_val == 0) {
            ret_val = file.seek(compute_data_pos(pos));
        }
        while (len > 0 && ret_val == 0) {
            auto const nbr_frames = std::min(len, max_nbr_frames);
            convert_block_write(buffer.get(), src, nbr_frames);
            ret_val = file.write(buffer.get(), nbr_frames * _block_align);
            if (ret_val == 0) {
                pos += nbr_frames;
                _len = std::max(_len, pos);
            }
            src += nbr_frames * _nbr_chn;
            len -= nbr_frames;
        }
        return ret_val;
    } catch (...) {
        ULK_LOG(ERROR, "do_write_data(): Exception.");
        return Err_EXCEPTION;
    }
}

bool SplFileFmtWav::do_is_file_valid() const {
    return _len >= 0;
}

bool SplFileFmtWav::do_is_file_being_created() const {
    return _creation_flag;
}

Int64 SplFileFmtWav::do_get_length() const {
    return _len;
}

int SplFileFmtWav::do_get_nbr_chn() const {
    return _nbr_chn;
}

double SplFileFmtWav::do_get_sample_freq() const {
    return _sample_freq;
}

SplFileBitFmt SplFileFmtWav::do_get_sample_format() const {
    return _bit_fmt;
}

SplFileFmt SplFileFmtWav::do_get_file_format() const {
    return SplFileFmt_WAV;
}

int SplFileFmtWav::do_read_extra_data(sys::File& file, SplFileExtData& ext) {
    try {
        ext.clear();
        auto const header_end = compute_data_pos(0);
        auto const data_end = compute_data_pos(_len);
        Int64 file_len = 0;
        int ret_val = file.get_length(file_len);
        if (ret_val != 0) {
            return ret_val;
        }
        ext.set_file_length(file_len);
        if (header_end > 0) {
            ret_val = SplFileFmtTools::read_and_store_part(file, ext, 0, header_end);
        }
        if (ret_val == 0 && data_end < file_len) {
            ret_val =
                SplFileFmtTools::read_and_store_part(file, ext, data_end, file_len - data_end);
        }
        return ret_val;
    } catch (...) {
        ULK_LOG(ERROR, "do_read_extra_data(): Exception");
        return Err_EXCEPTION;
    }
}

int SplFileFmtWav::parse_fmt_chunk(UByte const* content) {
    int const category = read_16(content);
    if (category != category_int && category != category_float) {
        ULK_LOG(ERROR, "do_read_format_info(): Format category not supported (0x%1rm4w0X%).",
                category);
        return Err_WAV_CATEGORY;
    }
    _nbr_chn = read_16(content + 2);
    _sample_freq = read_le(content + 4, 4);
    _block_align = read_16(content + 12);
    int const nbr_bits = read_16(content + 14);
    int const ret_val = parse_bit_fmt(category, nbr_bits);
    return ret_val == 0 ? check_ranges(nbr_bits) : ret_val;
}

// The category only tells integers from floats where the number of bits leaves it open.
int SplFileFmtWav::parse_bit_fmt(int category, int nbr_bits) {
    switch (nbr_bits) {
    case 8:
        _bit_fmt = SplFileBitFmt_U8;
        break;
    case 16:
        _bit_fmt = SplFileBitFmt_S16;
        break;
    case 24:
        _bit_fmt = SplFileBitFmt_S24;
        break;
    case 32:
        _bit_fmt = category == category_float ? SplFileBitFmt_F32 : SplFileBitFmt_S32;
        break;
    default:
        ULK_LOG(ERROR, "do_read_format_info(): Bit depth not supported (%1% bits).", nbr_bits);
        return Err_WAV_BIT_DEPTH;
    }
    _nominal_val = static_cast<float>(SplFileFmtTools::get_std_nominal_val(_bit_fmt));
    return 0;
}

int SplFileFmtWav::check_ranges(int nbr_bits) {
    if (_sample_freq < min_sample_freq || _sample_freq > max_sample_freq) {
        ULK_LOG(ERROR, "do_read_format_info(): Sample rate out of reasonable range (%1%).",
                _sample_freq);
        return Err_WAV_OUT_OF_RANGE;
    }
    if (_nbr_chn < 1 || _nbr_chn > max_nbr_chn) {
        ULK_LOG(ERROR, "do_read_format_info(): Number of channels out of reasonable range (%1%).",
                _nbr_chn);
        return Err_WAV_OUT_OF_RANGE;
    }
    int const min_align = (nbr_bits + 7) / 8 * _nbr_chn;
    _packed_flag = min_align == _block_align;
    if (min_align > _block_align) {
        ULK_LOG(ERROR,
                "do_read_format_info(): Inconsistent bit depth (nBlockAlign = %1%, "
                "wBitsPerSample = %2%).",
                _block_align, nbr_bits);
        return Err_WAV_INCONSISTENT_BIT_DEPTH;
    }
    if (_block_align > min_align * max_align_ratio) {
        ULK_LOG(ERROR,
                "do_read_format_info(): Inconsistent block alignment (nBlockAlign = %1%, "
                "wBitsPerSample = %2%).",
                _block_align, nbr_bits);
        return Err_WAV_OUT_OF_RANGE;
    }
    return 0;
}

int SplFileFmtWav::locate_data(sys::File& file) {
    unsigned long data_len = 0;
    int ret_val = find_chunk(file, _data_pos, data_len, nullptr, _chunk_id_data, chunk_header_len,
                             chunk_header_len);
    if (ret_val != 0) {
        return ret_val;
    }
    if (_data_pos < 0) {
        ULK_LOG(ERROR, "do_read_format_info(): Cannot find data chunk.");
        return Err_WAV_CHUNK_NOT_FOUND;
    }
    _len = static_cast<Int64>(data_len) / _block_align;
    Int64 file_len = 0;
    ret_val = file.get_length(file_len);
    if (ret_val == 0 && file_len < compute_data_pos(_len)) {
        ULK_LOG(ERROR,
                "do_read_format_info(): File looks truncated (actual length: %1%, minimum "
                "expected: %2%).",
                file_len, compute_data_pos(_len));
        ret_val = Err_WAV_TRUNCATED;
    }
    return ret_val;
}

// True if the samples in the file are bit for bit the floats in memory, and need no way through a
// buffer.
bool SplFileFmtWav::is_float_image() const {
    return _bit_fmt == SplFileBitFmt_F32 && _packed_flag &&
           std::endian::native == std::endian::little;
}

// Padding is not written by the conversions, so it has to be zero from the start.
std::unique_ptr<UByte[]> SplFileFmtWav::make_buffer(long nbr_frames) const {
    auto const nbr_bytes = static_cast<std::size_t>(nbr_frames * _block_align);
    return _packed_flag ? std::make_unique_for_overwrite<UByte[]>(nbr_bytes)
                        : std::make_unique<UByte[]>(nbr_bytes);
}

} // namespace ulk::sacc
