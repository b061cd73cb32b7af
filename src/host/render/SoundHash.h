#pragma once

#include "host/render/Interleaver.h"

#include <cstdint>
#include <memory>

namespace ulk::host::render {

// XXH3 (64 bits) of a sound: over its interleaved samples as little-endian floats, so that equal
// sounds have equal hashes on any machine, however they come in blocks.
class SoundHash {
public:
    explicit SoundHash(int nbr_chn);
    ~SoundHash();

    // At most max_len frames at a time. real-time
    void push(float const* const* chn_arr, long len);
    static constexpr long max_len = 256;

    std::uint64_t get_hash() const;

private:
    struct State;

    Interleaver _interleaver;
    std::unique_ptr<State> _state;
};

} // namespace ulk::host::render
