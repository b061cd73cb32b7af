#pragma once

namespace ulk::sacc {
class SplCacheRtInterface;
}

namespace ulk::ace::baplug {

struct TapePinInfo;

// What a voice of Tape sees of its plug-in. All real-time.
class TapeSplCbInterface {
public:
    // Working buffers, shared by all voices, which run one after the other.
    enum BufType : int {
        BufType_RSPL_SCRATCH = 0, // of the reader
        BufType_RSPL_OUT,         // resampled block of the voice, one line a sample channel
        BufType_MIX,              // mix channels of the pins

        BufType_NBR_ELT
    };

    struct BufInfo {
        float* ptr = nullptr;
        long len = 0; // in floats
    };

    virtual ~TapeSplCbInterface() = default;

    int get_nbr_pins() const { return do_get_nbr_pins(); }
    TapePinInfo& use_pin_mix_buffers(int pin_index) { return do_use_pin_mix_buffers(pin_index); }
    BufInfo const& use_tmp_buf(BufType type) const { return do_use_tmp_buf(type); }
    // Between two channels of the resampled block and of the mix buffers, in floats.
    long get_tmp_buf_chn_stride() const { return do_get_tmp_buf_chn_stride(); }
    // 0 or the host's code, with the results left alone. len: frames; sample_freq: Hz.
    int get_sample_info(long long sample_id, long& cache_id, long long& len, double& sample_freq,
                        int& nbr_chn) {
        return do_get_sample_info(sample_id, cache_id, len, sample_freq, nbr_chn);
    }
    // Throws std::runtime_error when the host has none.
    sacc::SplCacheRtInterface& use_cache() { return do_use_cache(); }

protected:
    virtual int do_get_nbr_pins() const = 0;
    virtual TapePinInfo& do_use_pin_mix_buffers(int pin_index) = 0;
    virtual BufInfo const& do_use_tmp_buf(BufType type) const = 0;
    virtual long do_get_tmp_buf_chn_stride() const = 0;
    virtual int do_get_sample_info(long long sample_id, long& cache_id, long long& len,
                                   double& sample_freq, int& nbr_chn) = 0;
    virtual sacc::SplCacheRtInterface& do_use_cache() = 0;
};

} // namespace ulk::ace::baplug
