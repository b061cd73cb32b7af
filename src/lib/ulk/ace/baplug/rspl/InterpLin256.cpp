// Compiled for AVX2 on x86-64, see CMakeLists.txt; empty elsewhere.

#if defined(__AVX2__)

#include "ulk/ace/baplug/rspl/InterpLin.h"
#include "ulk/ace/baplug/rspl/InterpLinKernel.hpp"

namespace ulk::ace::baplug::rspl {

void InterpLin::process_256(float* dest, long dest_stride, float const* src, int nbr_chn,
                            long nbr_spl, archi::UInt64 pos, archi::UInt64 step) {
    process_all<8>(dest, dest_stride, src, nbr_chn, nbr_spl, pos, step);
}

} // namespace ulk::ace::baplug::rspl

#endif
