#pragma once

#include "host/engine/NotePlan.h"
#include "support/TempDir.h"
#include "ulk/sacc/SplFileBitFmt.h"

#include <string>
#include <vector>

namespace soak {

// A sample file of which each frame is known: one channel has numbers that no format rounds and
// that are never 0, the others are silent.
struct Sample {
    std::string path;
    ulk::host::engine::SampleFacts facts;
    int chn;       // that has the sound
    int nbr_bits;  // of its numbers
    unsigned seed; // of its numbers

    // Between 0.25 and 0.75.
    float get(long long frame) const {
        auto const range = 1LL << (nbr_bits - 1);
        auto const number = range / 2 + (frame * 7919 + seed) % range;
        return static_cast<float>(number) / static_cast<float>(2 * range);
    }
};

// Sample files in all formats, in a folder of their own.
class Material {
public:
    static constexpr double freq = 48000; // Hz, of all
    static constexpr int max_chn = 8;

    // len: floats of a file, about. Throws a std::runtime_error.
    explicit Material(long len);

    // Those with the sound in a channel that have least to most channels.
    std::vector<Sample const*> list(int chn, int least, int most) const;
    test::TempDir const& use_dir() const { return _dir; }

private:
    void add(int nbr_chn, int chn, ulk::sacc::SplFileBitFmt bit_fmt, long len);

    test::TempDir _dir;
    std::vector<Sample> _sample_arr;
};

} // namespace soak
