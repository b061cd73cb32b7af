#pragma once

namespace ulk::archi {

// How 128-bit vectors of four floats go to and from memory at 16-byte boundaries. The vector is a
// type of the compiler, with the arithmetic operators lane by lane; on x86 it is the same as
// __m128, and a processor without such registers gets equivalent code.
class Vect128MemOpAlign {
public:
    using Vect = float __attribute__((vector_size(16)));

    // real-time
    static Vect load(float const* ptr) { return *reinterpret_cast<VectMem const*>(ptr); }
    static void store(float* ptr, Vect val) { *reinterpret_cast<VectMem*>(ptr) = val; }

private:
    using VectMem = Vect __attribute__((may_alias));
};

} // namespace ulk::archi
