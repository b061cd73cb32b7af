#include "host/render/SoundHash.h"

#include <xxhash.h>

#include <algorithm>
#include <array>
#include <bit>
#include <new>

namespace ulk::host::render {

struct SoundHash::State {
    XXH3_state_t* xxh = XXH3_createState();

    State() {
        if (xxh == nullptr) {
            throw std::bad_alloc();
        }
        XXH3_64bits_reset(xxh);
    }
    ~State() { XXH3_freeState(xxh); }

    void push_reversed(float val) {
        auto bytes = std::bit_cast<std::array<unsigned char, sizeof(float)>>(val);
        std::reverse(bytes.begin(), bytes.end());
        XXH3_64bits_update(xxh, bytes.data(), bytes.size());
    }
};

SoundHash::SoundHash(int nbr_chn)
    : _interleaver(nbr_chn, max_len)
    , _state(std::make_unique<State>()) {}

SoundHash::~SoundHash() = default;

void SoundHash::push(float const* const* chn_arr, long len) {
    float const* const frames = _interleaver.run(chn_arr, len);
    auto const nbr_spl = static_cast<std::size_t>(len * _interleaver.get_nbr_chn());
    if constexpr (std::endian::native == std::endian::little) {
        XXH3_64bits_update(_state->xxh, frames, nbr_spl * sizeof(float));
    } else {
        std::for_each_n(frames, nbr_spl, [this](float val) { _state->push_reversed(val); });
    }
}

std::uint64_t SoundHash::get_hash() const {
    return XXH3_64bits_digest(_state->xxh);
}

} // namespace ulk::host::render
