#include "ulk/ace/baplug/rspl/InterpLin.h"

#include "ulk/ace/baplug/rspl/InterpLinKernel.hpp"

namespace ulk::ace::baplug::rspl {

// Not on first use: no block is to wait for it.
InterpLin::Fnc const InterpLin::_fnc = use_fnc(256) != nullptr ? use_fnc(256) : use_fnc(128);

InterpLin::Fnc InterpLin::use_fnc(int nbr_bits) {
    if (nbr_bits == 128) {
        return &process_all<4>; // what any processor has, or the compiler writes out
    }
#if defined(__x86_64__)
    __builtin_cpu_init();
    if (nbr_bits == 256 && __builtin_cpu_supports("avx2")) {
        return &process_256;
    }
#endif
    return nullptr;
}

} // namespace ulk::ace::baplug::rspl
