#include "ulk/archi/CpuId.h"

#if defined(__x86_64__) || defined(__i386__)
#include "ulk/archi/x86/CpuIdx86.h"
#endif

namespace ulk::archi {

CpuId& CpuId::use_instance() {
    static CpuId instance;
    return instance;
}

CpuId::CpuId() {
    reset_features();
#if defined(__x86_64__) || defined(__i386__)
    x86::CpuIdx86 const x86;
    _cx16_flag = x86._cx16_flag;
    _mmx_flag = x86._mmx_flag;
    _3dnow_flag = x86._3dnow_flag;
    _sse_flag = x86._sse_flag;
    _sse2_flag = x86._sse2_flag;
    _sse3_flag = x86._sse3_flag;
#endif
    build_generic_flags();
}

void CpuId::reset_features() {
    _gen_3dnow_flag = false;
    _gen_vec_float_flag = false;
    _gen_sse2_flag = false;
    _cx16_flag = false;
    _altivec_flag = false;
    _mmx_flag = false;
    _3dnow_flag = false;
    _sse_flag = false;
    _sse2_flag = false;
    _sse3_flag = false;
}

void CpuId::build_generic_flags() {
    _gen_3dnow_flag = _3dnow_flag;
    _gen_vec_float_flag = _sse_flag || _altivec_flag;
    _gen_sse2_flag = _sse2_flag;
}

} // namespace ulk::archi
