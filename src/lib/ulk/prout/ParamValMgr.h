#pragma once

#include "ulk/conc/Relaxed.h"
#include "ulk/util/ObservableInterface.h"
#include "ulk/util/ObservableSingleMixin.h"

#include <limits>

namespace ulk::prout {

// Run-time value of one parameter, with a linear ramp towards a target. Belongs to the thread that
// processes: no lock. get_val() and get_val_end() may be called beside it, and give a snapshot. The
// observer is called inside the operation that changes the value.
class ParamValMgr : public virtual util::ObservableInterface,
                    public virtual util::ObservableSingleMixin {
public:
    double get_val() const { return _val; }         // real-time
    double get_val_end() const { return _val_end; } // real-time; target of the ramp, or the value
    double get_step() const { return _step; } // real-time; per sample, of use while a ramp runs
    double get_val_min() const { return _val_min; }
    double get_val_max() const { return _val_max; }
    long get_ramp_rem() const { return _ramp_rem; } // real-time; samples left in the ramp
    long get_obs_id() const { return _obs_id; }

    void set_range(double val_min, double val_max);
    void set_obs_id(long obs_id) { _obs_id = obs_id; }

    // real-time. A jump; notifies.
    void set_val(double val);
    // real-time. Ramp of ramp_len samples from val_beg to val_end, or a jump to val_end when
    // ramp_len is 0; notifies.
    void set_ramp(long ramp_len, double val_beg, double val_end);
    // real-time. Moves len samples forward; notifies when the ramp is not over.
    void tick(long len);
    // real-time. Ends the ramp at its target; notifies nobody.
    void end_ramp();

private:
    conc::Relaxed<double> _val = 0.0;
    conc::Relaxed<double> _val_end = 0.0;
    double _step = 0;
    double _val_min = std::numeric_limits<double>::lowest();
    double _val_max = std::numeric_limits<double>::max();
    long _ramp_rem = 0;
    long _obs_id = -1;
};

} // namespace ulk::prout
