#pragma once

namespace ulk::dsp {

// Up to 64 channels of a block of audio: pointers to buffers that belong to somebody else, and what
// the buffers hold. Channel numbers and counts are not checked. For one thread at a time; every
// operation is real-time.
class AudioDataMultiChn {
public:
    static constexpr int MAX_NBR_CHN = 64;

    // Same values as the state of a pin in the host protocol.
    enum Activity {
        Activity_NORMAL = 0, // the buffers hold signal
        Activity_CLEARED,    // silent, the buffers hold cleared data
        Activity_DIRTY,      // silent, the contents of the buffers are undefined
        Activity_NBR_ELT
    };

    AudioDataMultiChn() = default; // no channel
    explicit AudioDataMultiChn(int nbr_chn);
    // Pointers above the count are null in a copy, and stay as they were in an assignment.
    AudioDataMultiChn(AudioDataMultiChn const& other);
    AudioDataMultiChn& operator=(AudioDataMultiChn const& other);
    virtual ~AudioDataMultiChn() = default;

    // Takes as many pointers as the other has channels; count and activity stay.
    void copy_chn_data(AudioDataMultiChn const& other);

    // New channels have null pointers.
    void set_nbr_chn(int nbr_chn);
    int get_nbr_chn() const { return _nbr_chn; }

    // Channel i becomes chn_arr[i] + offset, offset in frames.
    void set_all(int nbr_chn, float* const* chn_arr, long offset);
    void set_chn(int chn, float* ptr) { _chn_arr[chn] = ptr; }
    // The channel is then for use_chn_ro() and use_chn_list_ro() alone.
    void set_chn_ro(int chn, float const* ptr) { _chn_arr[chn] = const_cast<float*>(ptr); }
    float* use_chn(int chn) { return _chn_arr[chn]; }
    float const* use_chn_ro(int chn) const { return _chn_arr[chn]; }
    float** use_chn_list() { return _chn_arr; }
    float const* const* use_chn_list_ro() const { return _chn_arr; }

    Activity get_activity() const { return _activity; }
    // Const, since a pin's activity also changes through a read-only view of its channels.
    void set_activity(Activity activity) const { _activity = activity; }

    // True when no channel has a null pointer.
    bool is_valid() const;

private:
    float* _chn_arr[MAX_NBR_CHN] = {};
    int _nbr_chn = 0;
    mutable Activity _activity = Activity_NORMAL;
};

} // namespace ulk::dsp
