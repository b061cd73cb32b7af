#include "ulk/dsp/BasicMixingAlign.h"

#include "ulk/archi/CpuId.h"
#include "ulk/dsp/BasicMixing.h"
#include "ulk/dsp/BasicMixingSse.h"
#include "ulk/udbg/log.h"

namespace ulk::dsp {

int BasicMixingAlign::_state = 0;

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
#define ULK_SET(name, params) name = BasicMixing::name;
    ULK_BASIC_MIXING_LIST(ULK_SET, ULK_SET)
#undef ULK_SET
}

void BasicMixingAlign::setup_sse() {
    using archi::Vect128MemOpAlign;
    using Sse = BasicMixingSse<Vect128MemOpAlign, Vect128MemOpAlign>;
#define ULK_SET(name, params) name = &Sse::name;
#define ULK_KEEP(name, params)
    ULK_BASIC_MIXING_LIST(ULK_SET, ULK_KEEP)
#undef ULK_KEEP
#undef ULK_SET
}

} // namespace ulk::dsp
