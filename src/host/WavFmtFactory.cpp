#include "host/WavFmtFactory.h"

#include "host/ChunkWalk.h"
#include "host/SoundFileFmt.h"
#include "ulk/sacc/SplFileFmtWav.h"

#include <vector>

namespace ulk::host {

namespace {

using sacc::SplFileFmtWav;

constexpr long fmt_len = 24; // of the chunk, with its header
constexpr int integers = 1;
constexpr int floats = 3;

bool is_found(sys::File& file, std::vector<archi::UByte>* content, char const* id, long len) {
    archi::Int64 pos = -1;
    unsigned long size = 0;
    return SplFileFmtWav::find_chunk(file, pos, size, content, id, len, len) == 0 && pos >= 0;
}

// Whether a walk without pad bytes finds both chunks, and samples in one of the five formats.
bool is_plain(sys::File& file) {
    std::vector<archi::UByte> fmt;
    if (!is_found(file, &fmt, SplFileFmtWav::_chunk_id_fmt, fmt_len)) {
        return false;
    }
    int const category = fmt[8] | fmt[9] << 8;
    int const nbr_bits = fmt[22] | fmt[23] << 8;
    return (category == integers || category == floats) && nbr_bits % 8 == 0 && nbr_bits <= 32 &&
           is_found(file, nullptr, SplFileFmtWav::_chunk_id_data, 8);
}

} // namespace

int WavFmtFactory::do_detect_format(sys::File& file, int& fmt, archi::UByte const* header) {
    int const ret_val = SplFileFmtFactoryWav::do_detect_format(file, fmt, header);
    // What is wrong with a file that libsndfile can't read either, the sample library tells best.
    if (fmt == sacc::SplFileFmt_WAV && !is_plain(file) &&
        ChunkWalk::is_bounded(file, ChunkWalk::Order::LITTLE) &&
        SoundFileFmt().read_format_info(file) == 0) {
        fmt = SoundFileFmt::number;
    }
    return ret_val;
}

} // namespace ulk::host
