#pragma once

namespace ulk::dsp {

// Process-wide table of block routines on float buffers of any alignment. Empty at load; written
// once by the first setup(), read-only after that.
class BasicMixing {
public:
    static void setup(); // any thread, any number of times
    static bool is_ready();
    static BasicMixing& use_instance();

    static void (*copy_1_1)(float* dst, float const* src, long nbr_spl);

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
