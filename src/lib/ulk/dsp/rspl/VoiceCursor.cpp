// The part of Voice that knows directions and loops: where a cursor goes, and the frames on its
// way.

#include "ulk/dsp/rspl/Voice.h"

#include <algorithm>

namespace ulk::dsp::rspl {

// The loop as far as it lies in the sample.
Voice::Loop Voice::get_active_loop() const {
    long long const beg = std::max(_loop_beg, 0LL);
    long long const end = std::min(_loop_end, _spl_len);
    return {beg < end ? _loop_mode : LoopMode_NONE, beg, end};
}

// Fills the window with the frames from the cursor on, in playing order. The cursor stays.
void Voice::linearise_sample(float* const* tmp_arr, long len) const {
    Loop const loop = get_active_loop();
    long long pos = _pos;
    int dir = _dir;
    long done = 0;
    while (done < len) {
        long const rest = len - done;
        long long const outside = dir > 0 ? -pos : pos - (_spl_len - 1); // before the first frame
        if (outside > 0) {
            long const nbr_spl = static_cast<long>(std::min<long long>(rest, outside));
            clear_chn(tmp_arr, done, nbr_spl);
            pos += dir * nbr_spl;
            done += nbr_spl;
            continue;
        }
        bool const loop_flag = is_loop_ahead(loop, pos, dir);
        long long const stop = compute_next_stop(loop, loop_flag, dir);
        if (pos * dir >= stop * dir) { // behind the last frame
            clear_chn(tmp_arr, done, rest);
            return;
        }
        done += collect_source_spl(tmp_arr, done, pos, dir, stop, rest);
        if (loop_flag && pos == stop) {
            wrap(loop, pos, dir);
        }
    }
}

bool Voice::is_loop_ahead(Loop const& loop, long long pos, int dir) {
    return loop.mode != LoopMode_NONE && (dir > 0 ? pos < loop.end : pos >= loop.beg);
}

// First position at which reading can't go straight on.
long long Voice::compute_next_stop(Loop const& loop, bool loop_flag, int dir) const {
    if (dir > 0) {
        return loop_flag ? loop.end : _spl_len;
    }
    return loop_flag ? loop.beg - 1 : -1;
}

// Moves pos on by up to len frames, not beyond stop. Result: the frames read.
long Voice::collect_source_spl(float* const* tmp_arr, long tmp_pos, long long& pos, int dir,
                               long long stop, long len) const {
    long const nbr_spl = static_cast<long>(std::min<long long>(len, (stop - pos) * dir));
    float* chn_arr[MAX_NBR_CHN];
    for (int chn = 0; chn < _nbr_chn; ++chn) {
        chn_arr[chn] = tmp_arr[chn] + tmp_pos;
    }
    long long const lowest = dir > 0 ? pos : pos - nbr_spl + 1;
    _data_ptr->get_data(chn_arr, lowest, nbr_spl, dir < 0);
    pos += dir * nbr_spl;
    return nbr_spl;
}

// len frames on, at least 0.
void Voice::advance_cursor_pos(long long& pos, int& dir, long long len) const {
    Loop const loop = get_active_loop();
    bool const loop_flag = is_loop_ahead(loop, pos, dir);
    pos += len * dir;
    if (loop_flag && !is_loop_ahead(loop, pos, dir)) {
        wrap(loop, pos, dir);
    }
}

// Brings a position that passed the edge of the loop back into it. Behind the edge lies, forward,
// the loop again; back and forth, the loop in the other direction and then in the same one.
void Voice::wrap(Loop const& loop, long long& pos, int& dir) {
    long long const len = loop.end - loop.beg;
    long long excess = dir > 0 ? pos - loop.end : loop.beg - 1 - pos;
    if (loop.mode == LoopMode_BACK_AND_FORTH) {
        excess %= 2 * len;
        if (excess < len) {
            dir = -dir;
        } else {
            excess -= len;
        }
    } else {
        excess %= len;
    }
    pos = dir > 0 ? loop.beg + excess : loop.end - 1 - excess;
}

} // namespace ulk::dsp::rspl
