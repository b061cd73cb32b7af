#pragma once

#include "ulk/dsp/BasicMixingList.h"

namespace ulk::dsp {

// The same routines as BasicMixing, for buffers that all start at a 16-byte boundary; a length is
// free. Strided routines have no vector form, and are those of BasicMixing.
class BasicMixingAlign {
public:
    static void setup(); // any thread, any number of times
    static bool is_ready();
    static BasicMixingAlign& use_instance();

#define ULK_DECLARE(name, params) static inline void(*name) params = nullptr;
    ULK_BASIC_MIXING_LIST(ULK_DECLARE, ULK_DECLARE)
#undef ULK_DECLARE

private:
    BasicMixingAlign();
    static void setup_internal();
    static void setup_unaligned();
    static void setup_sse();
    static void setup_altivec() {}

    static int _state; // 1 once the table is set
};

} // namespace ulk::dsp
