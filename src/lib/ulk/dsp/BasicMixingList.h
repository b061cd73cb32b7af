#pragma once

#include "ulk/dsp/StereoLevel.h"

// clang-format off

// The one list of the block routines on float buffers. It declares the tables and fills them, and
// the tests walk it.
//
// A name is a verb, the shapes of source and destination, and a level. Arguments: destinations,
// sources, length in frames, then the levels or integers of the routine.
//
//   copy, mix     the result is assigned, or added to the destination; a sum is not halved
//   scale, mult   products with a level, or of buffers
//   add_sub       sum and difference, into the first and the second buffer
//   fill, clear   a constant, a ramp, or +0.0
//
//   1, 2, 4       as many separate buffers of one channel
//   2i, 4i        one buffer, interleaved by 2 or by 4
//   4i2           one buffer of 4 floats a frame, of which the first 2 are read or written
//   ni1           one channel of frames of "stride" floats: d, s, n, stride
//   nip_mip       "count" channels between frames of two strides: d, s, n, d_stride, s_stride, count
//   nim           "count" floats cleared, "skip" passed over: d, n, count, skip
//   ip            in place: the destinations are sources too
//
//   spread        one source with a level for each destination: ..., n, v0, v1 or a0, a1, b0, b1
//   xfade         s0 + (s1 - s0) * level
//   mat           the matrix of a StereoLevel
//   cst           constants: d + c, or a * s + b
//
//   _v            a constant level
//   _vlr          a ramp: the level at the first frame and the one behind the last, so that
//                 consecutive blocks join. The step is added frame by frame (a vector adds four
//                 steps at a time), and rounds as these additions do.
//   _vlrauto      _v if both levels are equal, else _vlr
//
// Buffers of a call don't overlap, except those that are both (ip, scale) and copy_1_1, which may
// move data toward lower addresses. A length is at least 1. Nothing behind the last frame is
// touched, and a strided buffer ends with its last live float.
//
// Rows VECT have a form for 128-bit vectors; rows FPU are scalar everywhere.

// clang-format on

namespace ulk::dsp {

using MixDst = float*;
using MixSrc = float const*;

} // namespace ulk::dsp

// clang-format off
#define ULK_BASIC_MIXING_LIST(VECT, FPU) \
    VECT(scale_1_v, (MixDst, long, float)) \
    VECT(scale_1_vlr, (MixDst, long, float, float)) \
    VECT(scale_1_vlrauto, (MixDst, long, float, float)) \
    VECT(scale_2_v, (MixDst, MixDst, long, float)) \
    VECT(scale_2_vlr, (MixDst, MixDst, long, float, float)) \
    VECT(scale_2_vlrauto, (MixDst, MixDst, long, float, float)) \
    VECT(copy_1_1, (MixDst, MixSrc, long)) \
    VECT(copy_1_1_v, (MixDst, MixSrc, long, float)) \
    VECT(copy_1_1_vlr, (MixDst, MixSrc, long, float, float)) \
    VECT(copy_1_1_vlrauto, (MixDst, MixSrc, long, float, float)) \
    VECT(copy_1_2, (MixDst, MixDst, MixSrc, long)) \
    VECT(copy_1_2_v, (MixDst, MixDst, MixSrc, long, float)) \
    VECT(copy_1_2_vlr, (MixDst, MixDst, MixSrc, long, float, float)) \
    VECT(copy_1_2_vlrauto, (MixDst, MixDst, MixSrc, long, float, float)) \
    VECT(copy_2_1, (MixDst, MixSrc, MixSrc, long)) \
    VECT(copy_2_1_v, (MixDst, MixSrc, MixSrc, long, float)) \
    VECT(copy_2_1_vlr, (MixDst, MixSrc, MixSrc, long, float, float)) \
    VECT(copy_2_1_vlrauto, (MixDst, MixSrc, MixSrc, long, float, float)) \
    VECT(copy_2_2, (MixDst, MixDst, MixSrc, MixSrc, long)) \
    VECT(copy_2_2_v, (MixDst, MixDst, MixSrc, MixSrc, long, float)) \
    VECT(copy_2_2_vlr, (MixDst, MixDst, MixSrc, MixSrc, long, float, float)) \
    VECT(copy_2_2_vlrauto, (MixDst, MixDst, MixSrc, MixSrc, long, float, float)) \
    VECT(copy_1_2i, (MixDst, MixSrc, long)) \
    VECT(copy_1_2i_v, (MixDst, MixSrc, long, float)) \
    VECT(copy_1_2i_vlr, (MixDst, MixSrc, long, float, float)) \
    VECT(copy_1_2i_vlrauto, (MixDst, MixSrc, long, float, float)) \
    VECT(copy_2_2i, (MixDst, MixSrc, MixSrc, long)) \
    VECT(copy_2_2i_v, (MixDst, MixSrc, MixSrc, long, float)) \
    VECT(copy_2_2i_vlr, (MixDst, MixSrc, MixSrc, long, float, float)) \
    VECT(copy_2_2i_vlrauto, (MixDst, MixSrc, MixSrc, long, float, float)) \
    VECT(copy_2i_1, (MixDst, MixSrc, long)) \
    VECT(copy_2i_1_v, (MixDst, MixSrc, long, float)) \
    VECT(copy_2i_1_vlr, (MixDst, MixSrc, long, float, float)) \
    VECT(copy_2i_1_vlrauto, (MixDst, MixSrc, long, float, float)) \
    VECT(copy_2i_2, (MixDst, MixDst, MixSrc, long)) \
    VECT(copy_2i_2_v, (MixDst, MixDst, MixSrc, long, float)) \
    VECT(copy_2i_2_vlr, (MixDst, MixDst, MixSrc, long, float, float)) \
    VECT(copy_2i_2_vlrauto, (MixDst, MixDst, MixSrc, long, float, float)) \
    VECT(mix_1_1, (MixDst, MixSrc, long)) \
    VECT(mix_1_1_v, (MixDst, MixSrc, long, float)) \
    VECT(mix_1_1_vlr, (MixDst, MixSrc, long, float, float)) \
    VECT(mix_1_1_vlrauto, (MixDst, MixSrc, long, float, float)) \
    VECT(mix_1_2, (MixDst, MixDst, MixSrc, long)) \
    VECT(mix_1_2_v, (MixDst, MixDst, MixSrc, long, float)) \
    VECT(mix_1_2_vlr, (MixDst, MixDst, MixSrc, long, float, float)) \
    VECT(mix_1_2_vlrauto, (MixDst, MixDst, MixSrc, long, float, float)) \
    VECT(mix_2_1, (MixDst, MixSrc, MixSrc, long)) \
    VECT(mix_2_1_v, (MixDst, MixSrc, MixSrc, long, float)) \
    VECT(mix_2_1_vlr, (MixDst, MixSrc, MixSrc, long, float, float)) \
    VECT(mix_2_1_vlrauto, (MixDst, MixSrc, MixSrc, long, float, float)) \
    VECT(mix_2_2, (MixDst, MixDst, MixSrc, MixSrc, long)) \
    VECT(mix_2_2_v, (MixDst, MixDst, MixSrc, MixSrc, long, float)) \
    VECT(mix_2_2_vlr, (MixDst, MixDst, MixSrc, MixSrc, long, float, float)) \
    VECT(mix_2_2_vlrauto, (MixDst, MixDst, MixSrc, MixSrc, long, float, float)) \
    VECT(mix_1_2i, (MixDst, MixSrc, long)) \
    VECT(mix_1_2i_v, (MixDst, MixSrc, long, float)) \
    VECT(mix_1_2i_vlr, (MixDst, MixSrc, long, float, float)) \
    VECT(mix_1_2i_vlrauto, (MixDst, MixSrc, long, float, float)) \
    VECT(mix_2_2i, (MixDst, MixSrc, MixSrc, long)) \
    VECT(mix_2_2i_v, (MixDst, MixSrc, MixSrc, long, float)) \
    VECT(mix_2_2i_vlr, (MixDst, MixSrc, MixSrc, long, float, float)) \
    VECT(mix_2_2i_vlrauto, (MixDst, MixSrc, MixSrc, long, float, float)) \
    VECT(mix_2i_1, (MixDst, MixSrc, long)) \
    VECT(mix_2i_1_v, (MixDst, MixSrc, long, float)) \
    VECT(mix_2i_1_vlr, (MixDst, MixSrc, long, float, float)) \
    VECT(mix_2i_1_vlrauto, (MixDst, MixSrc, long, float, float)) \
    VECT(mix_2i_2, (MixDst, MixDst, MixSrc, long)) \
    VECT(mix_2i_2_v, (MixDst, MixDst, MixSrc, long, float)) \
    VECT(mix_2i_2_vlr, (MixDst, MixDst, MixSrc, long, float, float)) \
    VECT(mix_2i_2_vlrauto, (MixDst, MixDst, MixSrc, long, float, float)) \
    VECT(copy_spread_1_2_v, (MixDst, MixDst, MixSrc, long, float, float)) \
    VECT(copy_spread_1_2_vlr, (MixDst, MixDst, MixSrc, long, float, float, float, float)) \
    VECT(copy_spread_1_2_vlrauto, (MixDst, MixDst, MixSrc, long, float, float, float, float)) \
    VECT(mix_spread_1_2_v, (MixDst, MixDst, MixSrc, long, float, float)) \
    VECT(mix_spread_1_2_vlr, (MixDst, MixDst, MixSrc, long, float, float, float, float)) \
    VECT(mix_spread_1_2_vlrauto, (MixDst, MixDst, MixSrc, long, float, float, float, float)) \
    VECT(copy_xfade_2_1_v, (MixDst, MixSrc, MixSrc, long, float)) \
    VECT(copy_xfade_2_1_vlr, (MixDst, MixSrc, MixSrc, long, float, float)) \
    VECT(copy_xfade_2_1_vlrauto, (MixDst, MixSrc, MixSrc, long, float, float)) \
    VECT(copy_mat_2_2_v, (MixDst, MixDst, MixSrc, MixSrc, long, StereoLevel const&)) \
    VECT(copy_mat_2_2_vlr, (MixDst, MixDst, MixSrc, MixSrc, long, StereoLevel const&, StereoLevel const&)) \
    VECT(copy_mat_2_2_vlrauto, (MixDst, MixDst, MixSrc, MixSrc, long, StereoLevel const&, StereoLevel const&)) \
    VECT(mix_mat_2_2_v, (MixDst, MixDst, MixSrc, MixSrc, long, StereoLevel const&)) \
    VECT(mix_mat_2_2_vlr, (MixDst, MixDst, MixSrc, MixSrc, long, StereoLevel const&, StereoLevel const&)) \
    VECT(mix_mat_2_2_vlrauto, (MixDst, MixDst, MixSrc, MixSrc, long, StereoLevel const&, StereoLevel const&)) \
    VECT(copy_4_4i, (MixDst, MixSrc, MixSrc, MixSrc, MixSrc, long)) \
    VECT(copy_2_4i2, (MixDst, MixSrc, MixSrc, long)) \
    VECT(copy_4i_1, (MixDst, MixSrc, long)) \
    VECT(copy_4i_4, (MixDst, MixDst, MixDst, MixDst, MixSrc, long)) \
    VECT(copy_4i2_2, (MixDst, MixDst, MixSrc, long)) \
    FPU(copy_1_ni1, (MixDst, MixSrc, long, int)) \
    FPU(copy_ni1_1, (MixDst, MixSrc, long, int)) \
    FPU(mix_ni1_1, (MixDst, MixSrc, long, int)) \
    FPU(copy_nip_mip, (MixDst, MixSrc, long, int, int, int)) \
    VECT(mult_1_1, (MixDst, MixSrc, MixSrc, long)) \
    VECT(mult_ip_1_1, (MixDst, MixSrc, long)) \
    VECT(mult_ip_1_2, (MixDst, MixDst, MixSrc, long)) \
    VECT(mult_ip_2_2, (MixDst, MixDst, MixSrc, MixSrc, long)) \
    VECT(clear, (MixDst, long)) \
    FPU(clear_nim, (MixDst, long, int, int)) \
    VECT(fill, (MixDst, long, float)) \
    VECT(fill_lr, (MixDst, long, float, float)) \
    VECT(fill_lrauto, (MixDst, long, float, float)) \
    VECT(add_cst_1_1, (MixDst, long, float)) \
    VECT(add_cst_1_2, (MixDst, MixDst, long, float)) \
    VECT(linop_cst_1_1, (MixDst, MixSrc, long, float, float)) \
    VECT(linop_cst_ip_1, (MixDst, long, float, float)) \
    VECT(add_sub_ip_2_2, (MixDst, MixDst, long))
// clang-format on
