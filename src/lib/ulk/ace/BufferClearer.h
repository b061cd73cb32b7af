#pragma once

namespace ulk::ace {

// Clears a buffer for recursive processing: what it then holds is far below audibility, and keeps
// the feedback away from denormal numbers. dsp::BasicMixing must be set up; any thread.
class BufferClearer {
public:
    // real-time. Zeros, but for one sample in the middle and the last one. len is at least 1.
    static void clear_buf_antidenormal_fast(float* buf, long len);

    // real-time, slower: positive noise, the same in each call; no sample is zero.
    static void clear_buf_antidenormal(float* buf, long len);
};

} // namespace ulk::ace
