#pragma once

#include <cstddef>

namespace ulk::sacc {
class SplCacheRtInterface;
}

namespace ulk::ace::baplug {

// Commands of the vendor range, which Tape sends to its host. The host gets them on the real-time
// thread, and neither waits nor allocates.
enum : int {
    CMD_VENDOR_GET_SAMPLE_INFO = 0x10000000, // SampleInfo
    CMD_VENDOR_USE_CACHE = 0x10000001        // UseCache
};

// Facts of a sample: sample_id is the question, the rest the host's answer.
struct SampleInfo {
    long long sample_id; // value of the note's sample parameter
    long long len;       // in frames
    long cache_id;       // sacc::SplCacheFileId
    long unused;
    double sample_freq; // in Hz
    int nbr_chn;
};

static_assert(offsetof(SampleInfo, sample_id) < offsetof(SampleInfo, len));
static_assert(offsetof(SampleInfo, len) < offsetof(SampleInfo, cache_id));
static_assert(offsetof(SampleInfo, cache_id) < offsetof(SampleInfo, unused));
static_assert(offsetof(SampleInfo, unused) < offsetof(SampleInfo, sample_freq));
static_assert(offsetof(SampleInfo, sample_freq) < offsetof(SampleInfo, nbr_chn));

// The cache in which the host keeps its samples; stored by the host.
struct UseCache {
    sacc::SplCacheRtInterface* cache_ptr;
};

} // namespace ulk::ace::baplug
