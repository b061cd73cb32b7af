#pragma once

#include "host/render/Interleaver.h"
#include "host/render/OutputFormat.h"
#include "ulk/sacc/SplFileFmtWav.h"
#include "ulk/sys/DescriptorOut.h"

#include <string>
#include <vector>

namespace ulk::host::render {

// A WAV of known length into a descriptor that can't be wound back, such as standard output. The
// bytes are those of the file that sacc::SplFileHnd would make of the same frames, as long as all
// frames come: what a pipe was promised in the header can't be taken back.
class WavPipe {
public:
    // name is for texts. Throws an Error when so many frames don't fit.
    WavPipe(int fd, std::string const& name, OutputFormat const& format, long long nbr_frames);

    // len frames from one buffer a channel, with the others no more than were announced. Throws an
    // Error, of the kind for input and output, when the pipe is closed or writing fails.
    void write(float const* const* chn_arr, long len);

    // Hands on what is still kept back. Throws as write() does.
    void flush();

    long long get_nbr_left() const { return _nbr_left; } // frames announced and not written

private:
    static constexpr long _max_part_len = 1024; // frames converted at a time
    static constexpr std::size_t _flush_len = 65536;

    std::string _name;
    sys::DescriptorOut _out;
    sacc::SplFileFmtWav _wav;
    Interleaver _interleaver;
    long long _nbr_left;
    std::vector<archi::UByte> _pending; // grows no more after the first blocks
};

} // namespace ulk::host::render
