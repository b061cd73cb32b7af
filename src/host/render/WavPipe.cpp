#include "host/render/WavPipe.h"

#include "host/Error.h"

#include <algorithm>
#include <cassert>

namespace ulk::host::render {

WavPipe::WavPipe(int fd, std::string const& name, OutputFormat const& format, long long nbr_frames)
    : _name(name)
    , _out(fd)
    , _interleaver(format.nbr_chn, _max_part_len)
    , _nbr_left(nbr_frames) {
    format.check_len(name, nbr_frames);
    if (_wav.setup_new(format.nbr_chn, format.bit_fmt, format.sample_freq) != 0) {
        throw Error(Error::Kind_USE, name + ": a WAV file can't have that many channels");
    }
    auto const header = _wav.make_header(nbr_frames);
    _pending.assign(header.begin(), header.end());
}

void WavPipe::write(float const* const* chn_arr, long len) {
    assert(len <= _nbr_left);
    std::vector<float const*> src(chn_arr, chn_arr + _interleaver.get_nbr_chn());
    auto const frame_len = _wav.compute_data_pos(1) - _wav.compute_data_pos(0);
    while (len > 0) {
        long const part_len = std::min(len, _max_part_len);
        std::size_t const pos = _pending.size();
        _pending.resize(pos + static_cast<std::size_t>(part_len * frame_len));
        _wav.convert_block_write(&_pending[pos], _interleaver.run(src.data(), part_len), part_len);
        if (_pending.size() >= _flush_len) {
            flush();
        }
        for (float const*& chn : src) {
            chn += part_len;
        }
        len -= part_len;
        _nbr_left -= part_len;
    }
}

void WavPipe::flush() {
    if (_out.write(_pending.data(), static_cast<long>(_pending.size())) != 0) {
        throw Error(Error::Kind_IO, _name + ": writing failed: " + _out.get_failure());
    }
    _pending.clear();
}

} // namespace ulk::host::render
