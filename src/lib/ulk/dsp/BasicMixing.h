#pragma once

#include "ulk/dsp/BasicMixingList.h"

namespace ulk::dsp {

// Process-wide table of block routines on float buffers of any alignment. BasicMixingList.h tells
// the names, and what they do. Empty at load; written once by the first setup(), read-only after
// that. The routines are pure functions of their arguments, for any thread, and real-time.
class BasicMixing {
public:
    static void setup(); // any thread, any number of times
    static bool is_ready();
    static BasicMixing& use_instance();

#define ULK_DECLARE(name, params) static inline void(*name) params = nullptr;
    ULK_BASIC_MIXING_LIST(ULK_DECLARE, ULK_DECLARE)
#undef ULK_DECLARE

private:
    BasicMixing();
    static void setup_internal();
    static void setup_fpu();
    static void setup_3dnow() {}
    static void setup_sse() {}
    static void setup_altivec() {}

    static int _state; // 1 once the table is set
};

} // namespace ulk::dsp
