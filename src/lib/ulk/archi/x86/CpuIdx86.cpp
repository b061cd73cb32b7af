#include "ulk/archi/x86/CpuIdx86.h"

#if defined(__x86_64__) || defined(__i386__)

#include <cpuid.h>
#include <x86intrin.h>

namespace ulk::archi::x86 {

namespace {

bool test_bit(unsigned int reg, int pos) {
    return ((reg >> pos) & 1) != 0;
}

} // namespace

CpuIdx86::CpuIdx86() {
    if (has_cpuid()) {
        read_basic_leaf();
        read_extended_leaves();
    }
}

// The instruction exists where bit 21 of the flags register can be toggled.
bool CpuIdx86::has_cpuid() {
    constexpr unsigned int id_bit = 1u << 21;
    auto const old_flags = __readeflags();
    __writeeflags(old_flags ^ id_bit);
    auto const new_flags = __readeflags();
    __writeeflags(old_flags);
    return ((old_flags ^ new_flags) & id_bit) != 0;
}

CpuIdx86::Regs CpuIdx86::call_cpuid(unsigned int leaf) {
    Regs r{};
    __cpuid(leaf, r.eax, r.ebx, r.ecx, r.edx);
    return r;
}

void CpuIdx86::read_basic_leaf() {
    Regs const r = call_cpuid(1);
    _mmx_flag = test_bit(r.edx, 23);
    _sse_flag = test_bit(r.edx, 25);
    _sse2_flag = test_bit(r.edx, 26);
    _sse3_flag = test_bit(r.ecx, 0);
    _cx16_flag = test_bit(r.ecx, 13);

    unsigned int const base_family = (r.eax >> 8) & 0x0F;
    unsigned int const ext_family = (r.eax >> 20) & 0xFF;
    unsigned int const base_model = (r.eax >> 4) & 0x0F;
    unsigned int const ext_model = (r.eax >> 16) & 0x0F;
    _family = static_cast<int>(base_family == 15 ? base_family + ext_family : base_family);
    _model = static_cast<int>(base_family == 15 || base_family == 6 ? base_model + (ext_model << 4)
                                                                    : base_model);
}

void CpuIdx86::read_extended_leaves() {
    unsigned int const last_leaf = call_cpuid(0x80000000u).eax;
    if (last_leaf >= 0x80000001u) {
        _3dnow_flag = test_bit(call_cpuid(0x80000001u).edx, 31);
    }
    if (_family >= 15) {
        _tsc_invariant_flag = last_leaf >= 0x80000007u && test_bit(call_cpuid(0x80000007u).edx, 8);
    }
}

} // namespace ulk::archi::x86

#endif
