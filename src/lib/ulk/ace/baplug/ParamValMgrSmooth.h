#pragma once

#include "ulk/conc/Relaxed.h"
#include "ulk/prout/ParamValMgr.h"

namespace ulk::ace::baplug {

// A parameter value with its linear ramp, and a second, slower value that chases the real one
// after a jump, so that the jump does not click. Belongs to the thread that processes; get_val()
// and get_val_end() may be read beside it, as snapshots.
class ParamValMgrSmooth {
public:
    virtual ~ParamValMgrSmooth() = default;

    void set_sample_freq(double sample_freq) { _sample_freq = sample_freq; } // Hz
    void set_smooth_time(double smooth_time) { _smooth_time = smooth_time; } // seconds

    // Effective value: that of the smoothing run, otherwise the real one.
    double get_val() const; // real-time
    double get_val_end() const { return _mgr.get_val_end(); }
    bool is_smoothing() const { return _smooth_flag; }
    prout::ParamValMgr& use_mgr() { return _mgr; }

    void set_val(double val);                                     // real-time; a jump
    void set_ramp(long ramp_len, double val_beg, double val_end); // real-time; 0 frames: a jump
    void tick(long len);                                          // real-time; in frames
    void clear_buffers();                          // real-time; ends all at the target
    void end_smoothing() { _smooth_flag = false; } // real-time; the ramp goes on

    // real-time. Lowers len so that no change of slope of the effective value lies inside.
    void bound_len(long& len) const;

private:
    void start_smoothing(double old);
    bool bound_by_crossing(long& len, long bound) const;

    double _sample_freq = 44100;
    double _smooth_time = 0.01;
    prout::ParamValMgr _mgr;
    conc::Relaxed<double> _smooth_val = 0.0;
    double _smooth_step = 0; // per frame
    conc::Relaxed<bool> _smooth_flag = false;
};

} // namespace ulk::ace::baplug
