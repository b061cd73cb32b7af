#include "host/render/OutputFormat.h"

#include "host/Error.h"
#include "host/render/TimeText.h"
#include "ulk/sacc/SplFileFmtTools.h"
#include "ulk/sacc/SplFileFmtWav.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <iterator>

namespace ulk::host::render {

namespace {

constexpr std::string_view name_arr[] = {"u8", "s16", "s24", "s32", "f32"}; // by SplFileBitFmt
static_assert(std::size(name_arr) == sacc::SplFileBitFmt_NBR_ELT);

// The header states the file's length less 8 in 32 bits.
constexpr long long max_data_len = 0xFFFFFFFFLL - (sacc::SplFileFmtWav::_header_len - 8);

std::string print_gib(double nbr_bytes) {
    char txt[32];
    std::snprintf(txt, sizeof(txt), "%.1f GiB", nbr_bytes / (1 << 30));
    return txt;
}

} // namespace

std::vector<std::string> OutputFormat::list_names() {
    return {std::begin(name_arr), std::end(name_arr)};
}

sacc::SplFileBitFmt OutputFormat::find_bit_fmt(std::string_view name) {
    auto const pos = std::find(std::begin(name_arr), std::end(name_arr), name);
    if (pos == std::end(name_arr)) {
        throw Error(Error::Kind_USE, "\"" + std::string(name) +
                                         "\" is no sample format; there are u8, s16, s24, s32 "
                                         "and f32");
    }
    return static_cast<sacc::SplFileBitFmt>(pos - std::begin(name_arr));
}

std::string OutputFormat::get_name() const {
    return std::string(name_arr[bit_fmt]);
}

float OutputFormat::get_clip_level() const {
    if (bit_fmt == sacc::SplFileBitFmt_F32) {
        return 1;
    }
    double const nominal = sacc::SplFileFmtTools::get_std_nominal_val(bit_fmt);
    // A float next to 1 may round up to it.
    return std::min(static_cast<float>((nominal - 1) / nominal), std::nextafter(1.f, 0.f));
}

int OutputFormat::get_frame_len() const {
    return nbr_chn * sacc::SplFileFmtTools::get_nbr_bytes_per_sample(bit_fmt);
}

void OutputFormat::check_len(std::string const& name, long long nbr_frames) const {
    long long const max_nbr_frames = max_data_len / get_frame_len();
    if (nbr_frames <= max_nbr_frames) {
        return;
    }
    double const len = static_cast<double>(nbr_frames) * get_frame_len();
    std::string advice =
        "render it in parts of up to " +
        TimeText::print(std::floor(static_cast<double>(max_nbr_frames) / sample_freq), 0) +
        " (--from, --to)";
    OutputFormat const smaller = {sacc::SplFileBitFmt_S16, sample_freq, nbr_chn};
    if (nbr_frames <= max_data_len / smaller.get_frame_len()) {
        advice += ", or take --format s16";
    }
    throw Error(Error::Kind_USE, name + ": " + print_gib(len) + " of sound, and a WAV file holds " +
                                     "less than 4 GiB; " + advice);
}

} // namespace ulk::host::render
