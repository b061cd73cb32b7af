#pragma once

namespace ulk::dsp {

// The same routines as BasicMixing, for buffers at 16-byte boundaries.
class BasicMixingAlign {
public:
    static void setup(); // any thread, any number of times
    static bool is_ready();
    static BasicMixingAlign& use_instance();

    static void (*copy_1_1)(float* dst, float const* src, long nbr_spl);

private:
    BasicMixingAlign();
    static void setup_internal();
    static void setup_unaligned();
    static void setup_sse();
    static void setup_altivec() {}

    static int _state; // 1 once the table is set
};

} // namespace ulk::dsp
