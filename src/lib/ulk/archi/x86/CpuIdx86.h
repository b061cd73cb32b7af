#pragma once

namespace ulk::archi::x86 {

// What the CPUID instruction tells. A record: built once, then read.
class CpuIdx86 {
public:
    CpuIdx86();

    bool _mmx_flag = false;
    bool _sse_flag = false;
    bool _sse2_flag = false;
    bool _sse3_flag = false;
    bool _cx16_flag = false;
    bool _3dnow_flag = false;
    bool _tsc_invariant_flag = true; // bit 8 of leaf 0x80000007; always true for families below 15
    int _family = 0;
    int _model = 0;

private:
    struct Regs {
        unsigned int eax, ebx, ecx, edx;
    };

    static bool has_cpuid();
    static Regs call_cpuid(unsigned int leaf);
    void read_basic_leaf();
    void read_extended_leaves();
};

} // namespace ulk::archi::x86
