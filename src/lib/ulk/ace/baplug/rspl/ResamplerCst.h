#pragma once

#include "ulk/archi/types.h"

namespace ulk::sacc {
class SplCacheRtInterface;
}

namespace ulk::ace::baplug::rspl {

class SplFileIteratorCont;

// Turns a stretch of a cached sample into a block of audio, at a constant ratio of source frames to
// output frames, by linear interpolation.
//
// What is missing (not loaded yet, before the sample's start, behind its end) is silence. It never
// fails and never stops the position, so that a note with missing data stays in time.
//
// Positions have one frame of lead: the output at position p lies on the line between the frames
// floor(p - 1) and floor(p - 1) + 1. A sample thus rises from silence at its start, sinks back into
// it at its end, and is over at its length plus 1.
//
// Belongs to the thread that processes. All real-time; the cache takes its own short locks.
class ResamplerCst {
public:
    // Beyond that a sample is over with the first output frame; larger ratios are cut to it.
    static constexpr float max_rate = 0x1p29f;

    virtual ~ResamplerCst() = default;

    // Floats of scratch that a reader needs; nothing in it survives a call, so that several readers
    // may share it.
    static constexpr long get_tmp_buf_len() { return 6144; }

    // Starts a note. nbr_chn: 1 to 16. rate: source frames per output frame. spl_len: frames.
    // pos: source position of the first output frame. dest: one line of floats a channel,
    // dest_stride floats apart. None of the pointers is owned.
    void configure(sacc::SplCacheRtInterface& cache, int nbr_chn, float rate, long cache_id,
                   archi::Int64 spl_len, double pos, float* dest, long dest_stride, float* scratch);
    // Fills offsets start to end - 1 of the lines, or without gen_flag moves the position alone.
    // Returns false once the sample is over.
    bool resample(long start, long end, bool gen_flag);

    double get_cur_play_pos() const { return _play_pos; } // of the next output frame
    int get_oversampling_rate() const { return _hifi_flag ? 2 : 1; }

    // The two modes behind these operations, up to the end that resample() was given last. Hi-fi
    // has no interpolator: it does nothing, and nothing sets its flag.
    void configure_quick(float* scratch);
    void configure_hifi(float* /*scratch*/) {}
    bool resample_quick(long start, bool gen_flag);
    bool resample_hifi(long /*start*/, bool /*gen_flag*/) { return false; }

private:
    void resample_quick_gen(long start);
    void walk_range(SplFileIteratorCont& range, long start, archi::UInt32 frac);
    float const* use_frame(SplFileIteratorCont const& range, archi::Int64 frame) const;
    void fill_window(SplFileIteratorCont& range, archi::Int64 frame);
    void clear_dest(long start, long len);

    sacc::SplCacheRtInterface* _cache_ptr = nullptr;
    bool _hifi_flag = false;
    long _dest_stride = 0;
    long _end_pos = 0; // offset at which the current call ends
    int _nbr_chn = 1;
    float _rate = 1;
    archi::Int64 _step = archi::Int64(1) << 32; // the rate in 1/2^32 frames
    long _cache_id = 0;
    archi::Int64 _spl_len = 0;
    double _play_pos = -1;
    float* _dest_ptr = nullptr;
    float* _win_ptr = nullptr; // two frames, around the edge between two blocks
};

} // namespace ulk::ace::baplug::rspl
