#pragma once

#include "ulk/sacc/SplFileBitFmt.h"

#include <string>
#include <string_view>
#include <vector>

namespace ulk::host::render {

// What a rendered file or stream is like: a WAV of one of the sample formats.
struct OutputFormat {
    sacc::SplFileBitFmt bit_fmt = sacc::SplFileBitFmt_S16;
    double sample_freq = 48000; // Hz
    int nbr_chn = 2;

    // "u8", "s16", "s24", "s32", "f32".
    static std::vector<std::string> list_names();
    // Throws an Error for another name.
    static sacc::SplFileBitFmt find_bit_fmt(std::string_view name);
    std::string get_name() const;

    // The highest level that the format holds; what is above clips, as does what is below -1.
    // Floats hold any level, and 1 is where others will clip.
    float get_clip_level() const;

    int get_frame_len() const; // bytes

    // Throws an Error, with what to do about it, when a WAV file of that many frames would be too
    // long. name is that of the file, for the text.
    void check_len(std::string const& name, long long nbr_frames) const;
};

} // namespace ulk::host::render
