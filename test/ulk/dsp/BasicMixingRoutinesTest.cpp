// Every routine of both tables against the reference, bit for bit, at all lengths and alignments
// that a table allows, between pages that must not be touched.

#include "GuardedArea.h"
#include "MixModel.h"
#include "MixRoutine.h"

#include "ulk/archi/CpuId.h"
#include "ulk/archi/Vect128MemOpAlign.h"
#include "ulk/dsp/BasicMixing.h"
#include "ulk/dsp/BasicMixingAlign.h"
#include "ulk/dsp/BasicMixingFpu.h"
#include "ulk/dsp/BasicMixingSse.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstdint>
#include <memory>
#include <random>

#include <sanitizer/asan_interface.h>

namespace {

using ulk::archi::Vect128MemOpAlign;
using ulk::dsp::BasicMixing;
using ulk::dsp::BasicMixingAlign;
using ulk::dsp::MixDst;
using ulk::dsp::MixSrc;
using ulk::dsp::StereoLevel;
using Buffers = MixModel::Buffers;
using Fpu = ulk::dsp::BasicMixingFpu;
using Sse = ulk::dsp::BasicMixingSse<Vect128MemOpAlign, Vect128MemOpAlign>;

// The implementations, called by name whatever the tables chose.
enum class Path { SCALAR, VECTOR };

std::vector<MixRoutine> list_routines(Path path) {
    std::vector<MixRoutine> list;
#define ADD_VECT(name, params)                                                                     \
    list.push_back(make_mix_routine(#name, true, path == Path::VECTOR ? &Sse::name : &Fpu::name));
#define ADD_FPU(name, params) list.push_back(make_mix_routine(#name, false, &Fpu::name));
    ULK_BASIC_MIXING_LIST(ADD_VECT, ADD_FPU)
#undef ADD_FPU
#undef ADD_VECT
    return list;
}

// Whether the table that users of the path call holds its routines, and no other.
bool is_taken(Path path) {
    bool taken_flag = true;
#define CHECK_VECT(name, params)                                                                   \
    taken_flag &= path == Path::VECTOR ? BasicMixingAlign::name == &Sse::name                      \
                                       : BasicMixing::name == &Fpu::name;
#define CHECK_FPU(name, params)                                                                    \
    taken_flag &= (path == Path::VECTOR ? BasicMixingAlign::name : BasicMixing::name) == &Fpu::name;
    ULK_BASIC_MIXING_LIST(CHECK_VECT, CHECK_FPU)
#undef CHECK_FPU
#undef CHECK_VECT
    return taken_flag;
}

std::vector<Path> list_paths() {
    if (ulk::archi::CpuId::use_instance().has_sse()) {
        return {Path::SCALAR, Path::VECTOR};
    }
    return {Path::SCALAR};
}

constexpr std::size_t MARGIN = 8; // floats looked at around a buffer
constexpr float CANARY = -12345.0f;

bool is_same(float const* l, float const* r, std::size_t len) {
    return std::memcmp(l, r, len * sizeof(float)) == 0;
}

class BasicMixingRoutinesTest : public testing::TestWithParam<Path> {
protected:
    void SetUp() override {
        BasicMixing::setup();
        BasicMixingAlign::setup();
        ASSERT_TRUE(is_taken(GetParam()));
    }

    bool is_vect(MixRoutine const& routine) const {
        return GetParam() == Path::VECTOR && routine.vect_flag;
    }

    float draw_sample() {
        switch (_rng() % 16) {
        case 0:
            return 0.0f;
        case 1:
            return -0.0f;
        case 2:
            return std::bit_cast<float>(static_cast<std::uint32_t>(_rng() % 0x800000u)); // denormal
        case 3:
            return 1e20f;
        default:
            return std::uniform_real_distribution<float>(-1.0f, 1.0f)(_rng);
        }
    }
    float draw_level() { return std::uniform_real_distribution<float>(-2.0f, 2.0f)(_rng); }

    Buffers draw_buffers(std::size_t nbr, std::size_t len) {
        Buffers list(nbr, std::vector<float>(len));
        for (auto& buf : list) {
            std::generate(buf.begin(), buf.end(), [this] { return draw_sample(); });
        }
        return list;
    }

    MixArgs draw_args(MixRoutine const& routine, long nbr_spl, int variant) {
        MixArgs args;
        args.nbr_spl = nbr_spl;
        for (std::size_t k = 0; k < routine.nbr_level; ++k) {
            args.level.push_back(draw_level());
        }
        for (std::size_t k = 0; k < routine.nbr_matrix; ++k) {
            args.matrix.push_back({draw_level(), draw_level(), draw_level(), draw_level()});
        }
        draw_numbers(routine, args);
        vary_levels(args, variant);
        return args;
    }
    void draw_numbers(MixRoutine const& routine, MixArgs& args) {
        int const count = 1 + static_cast<int>(_rng() % 4);
        int const more_1 = static_cast<int>(_rng() % 4);
        int const more_2 = static_cast<int>(_rng() % 4);
        if (routine.name == "copy_nip_mip") {
            args.number = {count + more_1, count + more_2, count};
        } else if (routine.name == "clear_nim") {
            args.number = {count, more_1};
        } else if (routine.nbr_number == 1) {
            args.number = {count + more_1};
        }
    }
    // 0: all differ; 1: end is start; 2: all are 1; 3: only the last level differs; 4: signed
    // zeros.
    static void vary_levels(MixArgs& args, int variant) {
        std::vector<float*> list;
        for (float& level : args.level) {
            list.push_back(&level);
        }
        for (StereoLevel& m : args.matrix) {
            list.insert(list.end(), {&m.ll, &m.lr, &m.rl, &m.rr});
        }
        std::size_t const half = list.size() / 2;
        for (std::size_t k = 0; k < list.size(); ++k) {
            if ((variant == 1 || variant == 3) && k >= half && k + (variant == 3) < list.size()) {
                *list[k] = *list[k - half];
            } else if (variant == 2) {
                *list[k] = 1.0f;
            } else if (variant == 4) {
                *list[k] = k < half ? -0.0f : 0.0f;
            }
        }
    }

    std::mt19937 _rng{1234};
};
constexpr int NBR_VARIANTS = 5;

// A routine with its data and what has to come out, to be run at several places.
class MixCase {
public:
    MixCase(MixRoutine const& routine, MixArgs args, bool vect_flag, Buffers dst, Buffers src)
        : _routine(routine)
        , _args(std::move(args))
        , _dst(std::move(dst))
        , _src(std::move(src))
        , _ref(_dst) {
        MixModel(routine, _args, vect_flag).process(_ref, _src);
    }

    std::size_t get_nbr_bufs() const { return _dst.size() + _src.size(); }
    std::size_t get_len(std::size_t buf) const { return use_data(buf).size(); }

    // Buffers in the order of the arguments. Returns false if a byte differs from what it should.
    bool run(std::vector<float*> const& place_list, std::vector<GuardedArea*> const& area_list) {
        _args.dst.clear();
        _args.src.clear();
        for (std::size_t k = 0; k < place_list.size(); ++k) {
            auto const [beg, end] = find_margins(k, place_list[k], *area_list[k]);
            std::fill(beg, end, CANARY);
            std::copy(use_data(k).begin(), use_data(k).end(), place_list[k]);
            (k < _dst.size() ? _args.dst : _args.src).push_back(place_list[k]);
        }
        forbid(place_list, area_list);
        _routine.call(_args);
        bool ok_flag = true;
        for (std::size_t k = 0; k < place_list.size(); ++k) {
            auto const& ref = k < _dst.size() ? _ref[k] : _src[k - _dst.size()];
            auto const [beg, end] = find_margins(k, place_list[k], *area_list[k]);
            ASAN_UNPOISON_MEMORY_REGION(beg, static_cast<std::size_t>(end - beg) * sizeof(float));
            float* const behind = place_list[k] + ref.size();
            auto const is_canary = [](float val) { return val == CANARY; };
            ok_flag &= is_same(place_list[k], ref.data(), ref.size()) &&
                       std::all_of(beg, place_list[k], is_canary) &&
                       std::all_of(behind, end, is_canary);
        }
        return ok_flag;
    }

private:
    // With the address sanitizer, a read around a buffer fails too, where no page guards it.
    void forbid(std::vector<float*> const& place_list,
                std::vector<GuardedArea*> const& area_list) const {
        for (std::size_t k = 0; k < place_list.size(); ++k) {
            auto const [beg, end] = find_margins(k, place_list[k], *area_list[k]);
            float* const behind = place_list[k] + get_len(k);
            ASAN_POISON_MEMORY_REGION(beg, static_cast<std::size_t>(place_list[k] - beg) * 4);
            ASAN_POISON_MEMORY_REGION(behind, static_cast<std::size_t>(end - behind) * 4);
        }
    }
    std::vector<float> const& use_data(std::size_t buf) const {
        return buf < _dst.size() ? _dst[buf] : _src[buf - _dst.size()];
    }
    std::pair<float*, float*> find_margins(std::size_t buf, float* place,
                                           GuardedArea const& area) const {
        auto const before = std::min<std::ptrdiff_t>(MARGIN, place - area.use_beg());
        float* const behind = place + get_len(buf);
        auto const after = std::min<std::ptrdiff_t>(MARGIN, area.use_end() - behind);
        return {place - before, behind + after};
    }

    MixRoutine const& _routine;
    MixArgs _args;
    Buffers _dst;
    Buffers _src;
    Buffers _ref;
};

// Runs a case with each buffer against the page behind it, and against the page before it at the
// offsets from a 16-byte boundary that the path allows.
class MixPlacer {
public:
    explicit MixPlacer(std::size_t max_len) {
        for (auto& area : _area_arr) {
            area = std::make_unique<GuardedArea>(max_len);
        }
    }

    testing::AssertionResult run(MixCase& mix_case, bool align_flag, unsigned nbr_combi_max) {
        std::size_t const nbr_bufs = mix_case.get_nbr_bufs();
        _area_list.clear();
        for (std::size_t k = 0; k < nbr_bufs; ++k) {
            _area_list.push_back(_area_arr[k].get());
        }
        std::vector<float*> place_list(nbr_bufs);
        for (std::size_t k = 0; k < nbr_bufs; ++k) {
            std::size_t const len = mix_case.get_len(k);
            place_list[k] = _area_arr[k]->use_end() - (align_flag ? (len + 3) / 4 * 4 : len);
        }
        if (!mix_case.run(place_list, _area_list)) {
            return testing::AssertionFailure() << "against the page behind";
        }
        unsigned const nbr_combi = align_flag ? 1u : 1u << (2 * nbr_bufs);
        unsigned const jump =
            std::max(1u, nbr_combi / nbr_combi_max) | 1u; // odd: meets all offsets
        for (unsigned combi = 0; combi < nbr_combi; combi += jump) {
            for (std::size_t k = 0; k < nbr_bufs; ++k) {
                place_list[k] = _area_arr[k]->use_beg() + ((combi >> (2 * k)) & 3);
            }
            if (!mix_case.run(place_list, _area_list)) {
                return testing::AssertionFailure() << "at offsets " << combi;
            }
        }
        return testing::AssertionSuccess();
    }

private:
    std::array<std::unique_ptr<GuardedArea>, 5> _area_arr;
    std::vector<GuardedArea*> _area_list;
};

TEST_P(BasicMixingRoutinesTest, every_length_and_place) {
    MixPlacer placer(4096 * 8);
    std::vector<long> len_list = {127, 128, 129, 255, 1000, 1023, 4096};
    for (long len = 1; len <= 70; ++len) {
        len_list.push_back(len);
    }
    for (MixRoutine const& routine : list_routines(GetParam())) {
        for (long const len : len_list) {
            unsigned const nbr_combi_max = len <= 9 ? 64 : 16;
            for (int variant = 0; variant < NBR_VARIANTS; ++variant) {
                MixArgs const args = draw_args(routine, len, variant);
                MixModel const model(routine, args, is_vect(routine));
                MixCase mix_case(routine, args, is_vect(routine),
                                 draw_buffers(routine.nbr_dst, model.get_dst_len()),
                                 draw_buffers(routine.nbr_src, model.get_src_len()));
                bool const align_flag = is_vect(routine);
                ASSERT_TRUE(placer.run(mix_case, align_flag, nbr_combi_max))
                    << routine.name << ", length " << len << ", variant " << variant;
            }
        }
    }
}

// In place by the same pointer, where source and destination have the same frames.
TEST_P(BasicMixingRoutinesTest, destination_may_be_the_source_itself) {
    for (MixRoutine const& routine : list_routines(GetParam())) {
        bool const shape_flag = routine.name.find("_1_1") != std::string::npos;
        if (!shape_flag || routine.nbr_dst != 1 || routine.nbr_src != 1) {
            continue;
        }
        for (long len = 1; len <= 70; ++len) {
            MixArgs args = draw_args(routine, len, static_cast<int>(len) % NBR_VARIANTS);
            Buffers ref = draw_buffers(1, static_cast<std::size_t>(len));
            alignas(16) std::array<float, 70> buf;
            std::copy(ref[0].begin(), ref[0].end(), buf.begin());
            Buffers const src = ref;
            MixModel(routine, args, is_vect(routine)).process(ref, src);
            args.dst = {buf.data()};
            args.src = {buf.data()};
            routine.call(args);
            ASSERT_TRUE(is_same(buf.data(), ref[0].data(), ref[0].size())) << routine.name;
        }
    }
}

TEST_P(BasicMixingRoutinesTest, copy_moves_data_toward_the_head) {
    auto* const copy =
        GetParam() == Path::VECTOR ? BasicMixingAlign::copy_1_1 : BasicMixing::copy_1_1;
    long const unit = GetParam() == Path::VECTOR ? 4 : 1; // aligned pointers only
    for (long len = 1; len <= 300; len += len < 70 ? 1 : 23) {
        for (long dist = 0; dist <= 80; dist += unit) {
            alignas(16) std::array<float, 400> buf;
            for (std::size_t i = 0; i < buf.size(); ++i) {
                buf[i] = static_cast<float>(i);
            }
            copy(&buf[4], &buf[4 + static_cast<std::size_t>(dist)], len);
            for (long i = 0; i < len; ++i) {
                ASSERT_EQ(buf[4 + static_cast<std::size_t>(i)], static_cast<float>(4 + dist + i));
            }
            ASSERT_EQ(buf[3], 3.0f);
        }
    }
}

TEST_P(BasicMixingRoutinesTest, long_ramps_round_like_the_chain_of_additions) {
    for (MixRoutine const& routine : list_routines(GetParam())) {
        if (routine.name != "mix_1_1_vlr" && routine.name != "copy_mat_2_2_vlr" &&
            routine.name != "fill_lr") {
            continue;
        }
        MixPlacer placer(100003);
        MixArgs args = draw_args(routine, 100003, 0);
        MixCase mix_case(routine, args, is_vect(routine), draw_buffers(routine.nbr_dst, 100003),
                         draw_buffers(routine.nbr_src, 100003));
        ASSERT_TRUE(placer.run(mix_case, is_vect(routine), 1)) << routine.name;
    }
}

INSTANTIATE_TEST_SUITE_P(Paths, BasicMixingRoutinesTest, testing::ValuesIn(list_paths()),
                         [](auto const& param_info) {
                             return param_info.param == Path::VECTOR ? "vector" : "scalar";
                         });

} // namespace
