#include "ulk/ace/baplug/rspl/ResamplerCst.h"

#include "ulk/ace/baplug/rspl/InterpLin.h"
#include "ulk/ace/baplug/rspl/SplFileIteratorCont.h"
#include "ulk/archi/Fixed3232.h"
#include "ulk/dsp/BasicMixing.h"
#include "ulk/sacc/SplCacheIteratorRead.h"
#include "ulk/sacc/SplCacheRtInterface.h"
#include "ulk/udbg/log.h"

#include <algorithm>

namespace ulk::ace::baplug::rspl {

namespace {

constexpr double one = 4294967296.0;           // fixed-point steps in a frame
constexpr archi::Int64 run_len_max = 1L << 29; // frames; keeps fixed-point positions in range

// Without the care of std::floor for signed zeros and for what no integer holds.
archi::Int64 floor_int(double val) {
    auto const cut = static_cast<archi::Int64>(val);
    return cut - (static_cast<double>(cut) > val ? 1 : 0);
}

// Output frames before a position reaches the end of a run, up to nbr_spl. dist: from the position
// to the end, above 0.
long count_outputs(archi::Int64 dist, archi::Int64 step, long nbr_spl) {
    // The most common case spares a division.
    bool const small_flag = step < (archi::Int64(1) << 40) && nbr_spl < (1L << 20);
    if (step == 0 || (small_flag && (nbr_spl - 1) * step < dist)) {
        return nbr_spl;
    }
    return std::min(nbr_spl, static_cast<long>((dist + step - 1) / step));
}

void skip_to_frame(SplFileIteratorCont& range, archi::Int64 frame) {
    while (range.is_rem_elt() && range.get_block_pos() + range.get_block_len() <= frame) {
        range.iterate();
    }
}

} // namespace

void ResamplerCst::configure(sacc::SplCacheRtInterface& cache, int nbr_chn, float rate,
                             long cache_id, archi::Int64 spl_len, double pos, float* dest,
                             long dest_stride, float* scratch) {
    _cache_ptr = &cache;
    _nbr_chn = nbr_chn;
    _rate = rate >= 0 ? std::min(rate, max_rate) : 0; // 0 for what is no ratio
    _step = floor_int(static_cast<double>(_rate) * one + 0.5);
    _cache_id = cache_id;
    _spl_len = spl_len;
    _play_pos = pos;
    _dest_ptr = dest;
    _dest_stride = dest_stride;
    _win_ptr = nullptr;
    if (_hifi_flag) {
        configure_hifi(scratch);
    } else {
        configure_quick(scratch);
    }
}

bool ResamplerCst::resample(long start, long end, bool gen_flag) {
    _end_pos = end;
    return _hifi_flag ? resample_hifi(start, gen_flag) : resample_quick(start, gen_flag);
}

void ResamplerCst::configure_quick(float* scratch) {
    _win_ptr = scratch;
}

bool ResamplerCst::resample_quick(long start, bool gen_flag) {
    if (gen_flag && start < _end_pos) {
        resample_quick_gen(start);
    }
    _play_pos += static_cast<float>(_end_pos - start) * _rate;
    return _play_pos < static_cast<double>(_spl_len) + 1;
}

// Asks the cache for all frames that the block can touch, in one range.
void ResamplerCst::resample_quick_gen(long start) {
    double const pos = _play_pos - 1;
    archi::Int64 const first = floor_int(pos);
    archi::Int64 const last = floor_int(pos + static_cast<float>(_end_pos - start - 1) * _rate);
    long const len = static_cast<long>(last - first) + 2;

    archi::Int64 const from = std::max(first, archi::Int64(0));
    archi::Int64 const avail = _spl_len - from;
    sacc::SplCacheIteratorRead it;
    if (avail > 0) {
        long const get_len = static_cast<long>(std::min(archi::Int64(len), avail));
        if (_cache_ptr->get_data(_cache_id, from, get_len, it) != 0) {
            ULK_LOG_CACHE(ERROR,
                          "resample_quick(): Cannot retrieve sample data (cache id %1%), "
                          "start = %2%, len = %3%",
                          _cache_id, from, get_len);
        }
    }
    SplFileIteratorCont range(it, first, len);
    walk_range(range, start, static_cast<archi::UInt32>((pos - static_cast<double>(first)) * one));
}

// Interpolates straight from the cells, as far as a frame and the next one lie in one block. Only
// the pair at the edge between two blocks goes through the window. frac: of the read position,
// which starts at the range's first frame.
void ResamplerCst::walk_range(SplFileIteratorCont& range, long start, archi::UInt32 frac) {
    archi::Int64 frame = 0; // integer part of the read position, in the range
    for (long dest = start; dest < _end_pos;) {
        skip_to_frame(range, frame);
        // A range reckoned in floats can fall a frame short of the last output: silence.
        bool const silent_flag = !range.is_rem_elt();
        archi::Int64 const rem =
            silent_flag ? run_len_max : range.get_block_pos() + range.get_block_len() - 1 - frame;
        archi::Fixed3232 pos(0, frac);

        archi::Int64 const run_end = std::clamp<archi::Int64>(rem, 1, run_len_max) << 32;
        long const nbr_spl = count_outputs(run_end - pos.get_raw(), _step, _end_pos - dest);

        if (rem == 0) {
            fill_window(range, frame);
        }
        float const* const src = silent_flag ? nullptr
                                 : rem == 0  ? _win_ptr
                                             : use_frame(range, frame);
        if (src == nullptr) {
            clear_dest(dest, nbr_spl);
            pos += archi::Fixed3232::from_raw(_step) * nbr_spl;
        } else {
            InterpLin::process(_dest_ptr + dest, _dest_stride, src, _nbr_chn, nbr_spl, pos, _step);
        }
        dest += nbr_spl;
        frame += pos.get_int_part();
        frac = pos.get_frac();
    }
}

// Null for a hole.
float const* ResamplerCst::use_frame(SplFileIteratorCont const& range, archi::Int64 frame) const {
    if (!range.is_block_cached()) {
        return nullptr;
    }
    archi::Int64 const pos = range.get_block_pos_in_cell() + frame - range.get_block_pos();
    return range.use_cell().use_data() + pos * _nbr_chn;
}

// Takes the last frame of a block, and moves on to the next block for its first one.
void ResamplerCst::fill_window(SplFileIteratorCont& range, archi::Int64 frame) {
    for (int pos = 0; pos < 2; ++pos) {
        skip_to_frame(range, frame + pos);
        float const* const src = range.is_rem_elt() ? use_frame(range, frame + pos) : nullptr;
        float* const line = _win_ptr + pos * _nbr_chn;
        if (src != nullptr) {
            dsp::BasicMixing::copy_1_1(line, src, _nbr_chn);
        } else {
            dsp::BasicMixing::clear(line, _nbr_chn);
        }
    }
}

void ResamplerCst::clear_dest(long start, long len) {
    for (int chn = 0; chn < _nbr_chn; ++chn) {
        dsp::BasicMixing::clear(_dest_ptr + chn * _dest_stride + start, len);
    }
}

} // namespace ulk::ace::baplug::rspl
