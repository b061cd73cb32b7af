#pragma once

namespace ulk::dsp {

// Where an rspl::Voice takes its sample from.
class SplDataRetrievalInterface {
public:
    virtual ~SplDataRetrievalInterface() = default;

    // Writes nbr_spl frames, at least 1 and all inside the sample, to one buffer a channel. pos is
    // the lowest frame of the range; with backward_flag the range is written from its last frame
    // down to pos. Real-time, as far as the voice is. A source overrides this or do_get_data().
    virtual void get_data(float** chn_arr, long long pos, long nbr_spl, bool backward_flag) {
        do_get_data(chn_arr, pos, nbr_spl, backward_flag);
    }

protected:
    virtual void do_get_data(float** /*chn_arr*/, long long /*pos*/, long /*nbr_spl*/,
                             bool /*backward_flag*/) {}
};

} // namespace ulk::dsp
