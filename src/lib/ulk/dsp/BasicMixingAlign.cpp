#include "ulk/dsp/BasicMixingAlign.h"

#include "ulk/archi/CpuId.h"
#include "ulk/dsp/BasicMixing.h"
#include "ulk/dsp/BasicMixingSse.h"
#include "ulk/udbg/log.h"

namespace ulk::dsp {

int BasicMixingAlign::_state = 0;
void (*BasicMixingAlign::copy_1_1)(float* dst, float const* src, long nbr_spl) = nullptr;

void BasicMixingAlign::setup() {
    use_instance();
}

bool BasicMixingAlign::is_ready() {
    use_instance();
    return _state == 1;
}

BasicMixingAlign& BasicMixingAlign::use_instance() {
    static BasicMixingAlign instance;
    return instance;
}

BasicMixingAlign::BasicMixingAlign() {
    setup_internal();
}

void BasicMixingAlign::setup_internal() {
    if (_state == 1) {
        return;
    }
    setup_unaligned();
    archi::CpuId const& cpu = archi::CpuId::use_instance();
    if (cpu.has_sse()) {
        ULK_LOG(INFO, "setup_internal(): Using SSE instruction set for aligned data.");
        setup_sse();
    } else if (cpu.has_altivec()) {
        ULK_LOG(INFO, "setup_internal(): Using Altivec instruction set for aligned data.");
        setup_altivec();
    } else {
        ULK_LOG(INFO, "setup_internal(): Using default instruction set for aligned data.");
    }
    _state = 1;
    ULK_LOG(INFO, "setup_internal(): Mixing routines ready to use for aligned data.");
}

void BasicMixingAlign::setup_unaligned() {
    BasicMixing::setup();
    copy_1_1 = BasicMixing::copy_1_1;
}

void BasicMixingAlign::setup_sse() {
    copy_1_1 = &BasicMixingSse::copy_1_1;
}

} // namespace ulk::dsp
