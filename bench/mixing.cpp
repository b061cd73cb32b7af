// The block routines of both tables beside what else would do the work: memcpy, VOLK, a Highway
// loop at the same 128 bits, loops that the compiler vectorises at 128 and at 256 bits, and the
// time memcpy takes to move the same number of bytes. Buffers stay in the first cache. There are
// many rows; --benchmark_min_time=0.02 is enough for each.

#include "ulk/dsp/BasicMixing.h"
#include "ulk/dsp/BasicMixingAlign.h"

#include <benchmark/benchmark.h>

#include <cstring>
#include <string>
#include <vector>

#if __has_include(<hwy/highway.h>)
#include <hwy/highway.h>
#define HAVE_HIGHWAY 1
#endif
#ifdef HAVE_VOLK
#include <volk/volk.h>
#endif

namespace {

using ulk::dsp::BasicMixing;
using ulk::dsp::BasicMixingAlign;
using ulk::dsp::StereoLevel;

constexpr long max_len = 4096;
constexpr float vol = 0.7f;
constexpr float vol_end = 0.71f;
constexpr StereoLevel mat = {0.9f, 0.1f, 0.2f, 0.8f};
constexpr StereoLevel mat_end = {0.8f, 0.2f, 0.3f, 0.7f};

// d2 and s2 have room for two interleaved channels. The gaps keep buffers from starting at the same
// place of a page, where loads would wait for stores that they have nothing to do with.
struct Bufs {
    alignas(64) float d0[max_len], gap_0[80];
    alignas(64) float d1[max_len], gap_1[80];
    alignas(64) float d2[2 * max_len], gap_2[80];
    alignas(64) float s0[max_len], gap_3[80];
    alignas(64) float s1[max_len], gap_4[80];
    alignas(64) float s2[2 * max_len];
    alignas(64) float moved[8 * max_len];
};
Bufs bufs{};

using Fnc = void (*)(Bufs& b, long n);

struct Contender {
    char const* name;
    Fnc fnc;
};
struct Operation {
    char const* name;
    long bytes; // read and written for a frame
    Fnc align;
    Fnc unalign;
    std::vector<Contender> rival_list;
};

// The loops that anyone would write, for the compiler to vectorise. It sees arrays of known place,
// which no routine behind pointers can count on.
#define PLAIN_LOOPS(suffix, attribute)                                                             \
    attribute void mix_##suffix(Bufs& b, long n) {                                                 \
        for (long i = 0; i < n; ++i) {                                                             \
            b.d0[i] += b.s0[i];                                                                    \
        }                                                                                          \
    }                                                                                              \
    attribute void copy_v_##suffix(Bufs& b, long n) {                                              \
        for (long i = 0; i < n; ++i) {                                                             \
            b.d0[i] = b.s0[i] * vol;                                                               \
        }                                                                                          \
    }                                                                                              \
    attribute void mix_v_##suffix(Bufs& b, long n) {                                               \
        for (long i = 0; i < n; ++i) {                                                             \
            b.d0[i] += b.s0[i] * vol;                                                              \
        }                                                                                          \
    }                                                                                              \
    attribute void mix_chain_##suffix(Bufs& b, long n) {                                           \
        float const step = (vol_end - vol) / static_cast<float>(n);                                \
        float level = vol;                                                                         \
        for (long i = 0; i < n; ++i) {                                                             \
            b.d0[i] += b.s0[i] * level;                                                            \
            level += step;                                                                         \
        }                                                                                          \
    }                                                                                              \
    attribute void mat_v_##suffix(Bufs& b, long n) {                                               \
        for (long i = 0; i < n; ++i) {                                                             \
            b.d0[i] = b.s0[i] * mat.ll + b.s1[i] * mat.rl;                                         \
            b.d1[i] = b.s0[i] * mat.lr + b.s1[i] * mat.rr;                                         \
        }                                                                                          \
    }                                                                                              \
    attribute void interleave_##suffix(Bufs& b, long n) {                                          \
        for (long i = 0; i < n; ++i) {                                                             \
            b.d2[2 * i] = b.s0[i];                                                                 \
            b.d2[2 * i + 1] = b.s1[i];                                                             \
        }                                                                                          \
    }                                                                                              \
    attribute void deinterleave_##suffix(Bufs& b, long n) {                                        \
        for (long i = 0; i < n; ++i) {                                                             \
            b.d0[i] = b.s2[2 * i];                                                                 \
            b.d1[i] = b.s2[2 * i + 1];                                                             \
        }                                                                                          \
    }
PLAIN_LOOPS(plain, )
#if defined(__x86_64__)
PLAIN_LOOPS(v3, __attribute__((target("arch=x86-64-v3"))))
#endif

void copy_memcpy(Bufs& b, long n) {
    std::memcpy(b.d0, b.s0, static_cast<std::size_t>(n) * sizeof(float));
}

#ifdef HAVE_VOLK
void mix_volk(Bufs& b, long n) {
    volk_32f_x2_add_32f(b.d0, b.d0, b.s0, static_cast<unsigned>(n));
}
void copy_v_volk(Bufs& b, long n) {
    volk_32f_s32f_multiply_32f(b.d0, b.s0, vol, static_cast<unsigned>(n));
}
void interleave_volk(Bufs& b, long n) {
    volk_32f_x2_interleave_32fc(reinterpret_cast<lv_32fc_t*>(b.d2), b.s0, b.s1,
                                static_cast<unsigned>(n));
}
void deinterleave_volk(Bufs& b, long n) {
    volk_32fc_deinterleave_32f_x2(b.d0, b.d1, reinterpret_cast<lv_32fc_t const*>(b.s2),
                                  static_cast<unsigned>(n));
}
#endif

#ifdef HAVE_HIGHWAY
namespace hn = hwy::HWY_NAMESPACE;
hn::FixedTag<float, 4> const tag;

template <class Op>
void loop_highway(Bufs& b, long n, Op op) {
    long i = 0;
    for (; i + 4 <= n; i += 4) {
        hn::Store(op(tag, hn::Load(tag, b.d0 + i), hn::Load(tag, b.s0 + i)), tag, b.d0 + i);
    }
    hn::FixedTag<float, 1> const one;
    for (; i < n; ++i) {
        hn::StoreU(op(one, hn::Set(one, b.d0[i]), hn::Set(one, b.s0[i])), one, b.d0 + i);
    }
}
void mix_highway(Bufs& b, long n) {
    loop_highway(b, n, [](auto, auto d, auto s) { return hn::Add(d, s); });
}
void copy_v_highway(Bufs& b, long n) {
    loop_highway(b, n, [](auto t, auto, auto s) { return hn::Mul(s, hn::Set(t, vol)); });
}
void mix_v_highway(Bufs& b, long n) {
    loop_highway(b, n,
                 [](auto t, auto d, auto s) { return hn::Add(d, hn::Mul(s, hn::Set(t, vol))); });
}
void copy_highway(Bufs& b, long n) {
    loop_highway(b, n, [](auto, auto, auto s) { return s; });
}
void mix_vlr_highway(Bufs& b, long n) {
    float const step = (vol_end - vol) / static_cast<float>(n);
    auto level = hn::Add(hn::Set(tag, vol), hn::Mul(hn::Iota(tag, 0), hn::Set(tag, step)));
    auto const step_4 = hn::Set(tag, 4 * step);
    long i = 0;
    for (; i + 4 <= n; i += 4) {
        auto const prod = hn::Mul(hn::Load(tag, b.s0 + i), level);
        hn::Store(hn::Add(hn::Load(tag, b.d0 + i), prod), tag, b.d0 + i);
        level = hn::Add(level, step_4);
    }
    for (float rest = hn::GetLane(level); i < n; ++i) {
        b.d0[i] += b.s0[i] * rest;
        rest += step;
    }
}
void mat_v_highway(Bufs& b, long n) {
    auto const ll = hn::Set(tag, mat.ll);
    auto const lr = hn::Set(tag, mat.lr);
    auto const rl = hn::Set(tag, mat.rl);
    auto const rr = hn::Set(tag, mat.rr);
    long i = 0;
    for (; i + 4 <= n; i += 4) {
        auto const l = hn::Load(tag, b.s0 + i);
        auto const r = hn::Load(tag, b.s1 + i);
        hn::Store(hn::Add(hn::Mul(l, ll), hn::Mul(r, rl)), tag, b.d0 + i);
        hn::Store(hn::Add(hn::Mul(l, lr), hn::Mul(r, rr)), tag, b.d1 + i);
    }
    for (; i < n; ++i) {
        b.d0[i] = b.s0[i] * mat.ll + b.s1[i] * mat.rl;
        b.d1[i] = b.s0[i] * mat.lr + b.s1[i] * mat.rr;
    }
}
void interleave_highway(Bufs& b, long n) {
    long i = 0;
    for (; i + 4 <= n; i += 4) {
        hn::StoreInterleaved2(hn::Load(tag, b.s0 + i), hn::Load(tag, b.s1 + i), tag, b.d2 + 2 * i);
    }
    for (; i < n; ++i) {
        b.d2[2 * i] = b.s0[i];
        b.d2[2 * i + 1] = b.s1[i];
    }
}
void deinterleave_highway(Bufs& b, long n) {
    long i = 0;
    for (; i + 4 <= n; i += 4) {
        hn::Vec<decltype(tag)> l;
        hn::Vec<decltype(tag)> r;
        hn::LoadInterleaved2(tag, b.s2 + 2 * i, l, r);
        hn::Store(l, tag, b.d0 + i);
        hn::Store(r, tag, b.d1 + i);
    }
    for (; i < n; ++i) {
        b.d0[i] = b.s2[2 * i];
        b.d1[i] = b.s2[2 * i + 1];
    }
}
#define HIGHWAY(name) {"Highway 128", &name##_highway},
#else
#define HIGHWAY(name)
#endif
#ifdef HAVE_VOLK
#define VOLK(name) {"VOLK", &name##_volk},
#else
#define VOLK(name)
#endif
#if defined(__x86_64__)
#define PLAIN(name) {"plain 128", &name##_plain}, {"plain 256", &name##_v3},
#else
#define PLAIN(name) {"plain", &name##_plain},
#endif
#define BOTH(call)                                                                                 \
    [](Bufs& b, long n) { BasicMixingAlign::call; }, [](Bufs& b, long n) { BasicMixing::call; }

std::vector<Operation> const operation_list = {
    {"copy_1_1", 8, BOTH(copy_1_1(b.d0, b.s0, n)), {{"memcpy", &copy_memcpy}, HIGHWAY(copy)}},
    {"mix_1_1", 12, BOTH(mix_1_1(b.d0, b.s0, n)), {VOLK(mix) HIGHWAY(mix) PLAIN(mix)}},
    {"copy_1_1_v",
     8,
     BOTH(copy_1_1_v(b.d0, b.s0, n, vol)),
     {VOLK(copy_v) HIGHWAY(copy_v) PLAIN(copy_v)}},
    {"mix_1_1_v", 12, BOTH(mix_1_1_v(b.d0, b.s0, n, vol)), {HIGHWAY(mix_v) PLAIN(mix_v)}},
    {"mix_1_1_vlr",
     12,
     BOTH(mix_1_1_vlr(b.d0, b.s0, n, vol, vol_end)),
     {HIGHWAY(mix_vlr) PLAIN(mix_chain)}},
    {"mix_1_1_vlrauto",
     12,
     BOTH(mix_1_1_vlrauto(b.d0, b.s0, n, vol, vol_end)),
     {HIGHWAY(mix_vlr) PLAIN(mix_chain)}},
    {"copy_mat_2_2_v",
     16,
     BOTH(copy_mat_2_2_v(b.d0, b.d1, b.s0, b.s1, n, mat)),
     {HIGHWAY(mat_v) PLAIN(mat_v)}},
    {"copy_mat_2_2_vlr", 16, BOTH(copy_mat_2_2_vlr(b.d0, b.d1, b.s0, b.s1, n, mat, mat_end)), {}},
    {"copy_2_2i",
     16,
     BOTH(copy_2_2i(b.d2, b.s0, b.s1, n)),
     {VOLK(interleave) HIGHWAY(interleave) PLAIN(interleave)}},
    {"copy_2i_2",
     16,
     BOTH(copy_2i_2(b.d0, b.d1, b.s2, n)),
     {VOLK(deinterleave) HIGHWAY(deinterleave) PLAIN(deinterleave)}},
    {"copy_2_2", 16, BOTH(copy_2_2(b.d0, b.d1, b.s0, b.s1, n)), {}},
    {"copy_1_2", 12, BOTH(copy_1_2(b.d0, b.d1, b.s0, n)), {}},
    {"clear", 4, BOTH(clear(b.d0, n)), {}},
};

// Denormal results would make some contenders slower than others.
void reset() {
    for (long i = 0; i < 2 * max_len; ++i) {
        bufs.s2[i] = bufs.s0[i / 2] = bufs.s1[i / 2] = 1e-6f * static_cast<float>(i % 97);
    }
    std::memset(bufs.d0, 0, sizeof bufs.d0);
}

void add(std::string const& name, Fnc fnc, long n) {
    benchmark::RegisterBenchmark((name + "/" + std::to_string(n)).c_str(),
                                 [fnc, n](benchmark::State& state) {
                                     reset();
                                     for (auto _ : state) {
                                         fnc(bufs, n);
                                         benchmark::ClobberMemory();
                                     }
                                 });
}

void add_bandwidth(std::string const& name, long bytes, long n) {
    auto const half = static_cast<std::size_t>(bytes * n / 2);
    benchmark::RegisterBenchmark((name + "/memcpy of the bytes/" + std::to_string(n)).c_str(),
                                 [half](benchmark::State& state) {
                                     auto* const beg = reinterpret_cast<char*>(bufs.moved);
                                     for (auto _ : state) {
                                         std::memcpy(beg, beg + half, half);
                                         benchmark::ClobberMemory();
                                     }
                                 });
}

int const registered = [] {
    BasicMixingAlign::setup();
    for (Operation const& op : operation_list) {
        for (bool const align_flag : {true, false}) {
            std::string const name =
                std::string(op.name) + (align_flag ? " aligned" : " unaligned");
            for (long const n : {1, 3, 8, 17, 32, 64, 256, 1024, 4096}) {
                add(name + "/tessitone", align_flag ? op.align : op.unalign, n);
                for (Contender const& rival : op.rival_list) {
                    add(name + "/" + rival.name, rival.fnc, n);
                }
                add_bandwidth(name, op.bytes, n);
            }
        }
    }
    return 0;
}();

} // namespace
