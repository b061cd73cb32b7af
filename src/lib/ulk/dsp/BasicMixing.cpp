#include "ulk/dsp/BasicMixing.h"

#include "ulk/archi/CpuId.h"
#include "ulk/dsp/BasicMixingFpu.h"
#include "ulk/udbg/log.h"

namespace ulk::dsp {

int BasicMixing::_state = 0;

void BasicMixing::setup() {
    use_instance();
}

bool BasicMixing::is_ready() {
    use_instance();
    return _state == 1;
}

BasicMixing& BasicMixing::use_instance() {
    static BasicMixing instance;
    return instance;
}

BasicMixing::BasicMixing() {
    setup_internal();
}

void BasicMixing::setup_internal() {
    if (_state == 1) {
        return;
    }
    setup_fpu();
    if (archi::CpuId::use_instance().has_3dnow()) {
        ULK_LOG(INFO, "setup_internal(): Using 3dNow! instruction set.");
        setup_3dnow();
    } else {
        ULK_LOG(INFO, "setup_internal(): Using classic FPU instruction set.");
    }
    _state = 1;
    ULK_LOG(INFO, "setup_internal(): Mixing routines ready to use.");
}

void BasicMixing::setup_fpu() {
#define ULK_SET(name, params) name = &BasicMixingFpu::name;
    ULK_BASIC_MIXING_LIST(ULK_SET, ULK_SET)
#undef ULK_SET
}

} // namespace ulk::dsp
