#pragma once

namespace ulk::archi {

// Features of the processor that the routine tables choose by. Immutable once built; use_instance()
// and the accessors may be called from any thread.
class CpuId {
public:
    static CpuId& use_instance();

    // Features by meaning, whatever the processor's family.
    bool has_gen_3dnow() const { return _gen_3dnow_flag; }
    bool has_gen_vec_float() const { return _gen_vec_float_flag; } // 128-bit float vectors
    bool has_gen_sse2() const { return _gen_sse2_flag; }

    bool has_cx16() const { return _cx16_flag; } // 16-byte compare and exchange
    bool has_altivec() const { return _altivec_flag; }
    bool has_mmx() const { return _mmx_flag; }
    bool has_3dnow() const { return _3dnow_flag; }
    bool has_sse() const { return _sse_flag; }
    bool has_sse2() const { return _sse2_flag; }
    bool has_sse3() const { return _sse3_flag; }

private:
    CpuId();
    void reset_features();
    void build_generic_flags();

    bool _gen_3dnow_flag;
    bool _gen_vec_float_flag;
    bool _gen_sse2_flag;
    bool _cx16_flag;
    bool _altivec_flag;
    bool _mmx_flag;
    bool _3dnow_flag;
    bool _sse_flag;
    bool _sse2_flag;
    bool _sse3_flag;
};

} // namespace ulk::archi
