// The two tables: what they hold before and after set-up.

#include "support/LogCatcher.h"

#include "ulk/archi/CpuId.h"
#include "ulk/archi/Vect128MemOpAlign.h"
#include "ulk/dsp/BasicMixing.h"
#include "ulk/dsp/BasicMixingAlign.h"
#include "ulk/dsp/BasicMixingFpu.h"
#include "ulk/dsp/BasicMixingSse.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <set>
#include <thread>

namespace {

using ulk::archi::Vect128MemOpAlign;
using ulk::dsp::BasicMixing;
using ulk::dsp::BasicMixingAlign;
using ulk::dsp::BasicMixingFpu;
using ulk::dsp::MixDst;
using ulk::dsp::MixSrc;
using ulk::dsp::StereoLevel;
using Sse = ulk::dsp::BasicMixingSse<Vect128MemOpAlign, Vect128MemOpAlign>;

// Static initialisation runs before any set-up, and has to see empty tables.
int count_set() {
    int nbr_set = 0;
#define COUNT(name, params)                                                                        \
    nbr_set += (BasicMixing::name != nullptr) + (BasicMixingAlign::name != nullptr);
    ULK_BASIC_MIXING_LIST(COUNT, COUNT)
#undef COUNT
    return nbr_set;
}
int const nbr_set_at_load = count_set();

#define TYPE_IS_TOLD(name, params)                                                                 \
    static_assert(std::is_same_v<decltype(BasicMixing::name), void(*) params>);                    \
    static_assert(std::is_same_v<decltype(BasicMixingAlign::name), void(*) params>);
ULK_BASIC_MIXING_LIST(TYPE_IS_TOLD, TYPE_IS_TOLD)
#undef TYPE_IS_TOLD

TEST(BasicMixingTableTest, holds_108_routines_of_which_103_have_a_vector_form) {
    int nbr_vect = 0;
    int nbr_fpu = 0;
    std::set<std::string> name_list;
#define COUNT_VECT(name, params) ++nbr_vect, name_list.insert(#name);
#define COUNT_FPU(name, params) ++nbr_fpu, name_list.insert(#name);
    ULK_BASIC_MIXING_LIST(COUNT_VECT, COUNT_FPU)
#undef COUNT_FPU
#undef COUNT_VECT
    EXPECT_EQ(nbr_vect, 103);
    EXPECT_EQ(nbr_fpu, 5);
    EXPECT_EQ(name_list.size(), 108u);
}

TEST(BasicMixingTableTest, is_empty_at_load) {
    EXPECT_EQ(nbr_set_at_load, 0);
}

TEST(BasicMixingTableTest, unaligned_table_is_scalar) {
    BasicMixing::setup();
    EXPECT_TRUE(BasicMixing::is_ready());
#define IS_FPU(name, params) EXPECT_EQ(BasicMixing::name, &BasicMixingFpu::name) << #name;
    ULK_BASIC_MIXING_LIST(IS_FPU, IS_FPU)
#undef IS_FPU
}

TEST(BasicMixingTableTest, aligned_table_has_vector_forms_where_the_processor_has_them) {
    EXPECT_TRUE(BasicMixingAlign::is_ready()); // builds the table
    std::set<void*> pointer_list;
    bool const vect_flag = ulk::archi::CpuId::use_instance().has_sse();
#define IS_VECT(name, params)                                                                      \
    EXPECT_EQ(BasicMixingAlign::name, vect_flag ? &Sse::name : &BasicMixingFpu::name) << #name;    \
    EXPECT_EQ(BasicMixingAlign::name != BasicMixing::name, vect_flag) << #name;                    \
    pointer_list.insert(reinterpret_cast<void*>(BasicMixingAlign::name));
#define IS_FPU(name, params)                                                                       \
    EXPECT_EQ(BasicMixingAlign::name, BasicMixing::name) << #name;                                 \
    pointer_list.insert(reinterpret_cast<void*>(BasicMixingAlign::name));
    ULK_BASIC_MIXING_LIST(IS_VECT, IS_FPU)
#undef IS_FPU
#undef IS_VECT
    EXPECT_EQ(pointer_list.size(), 108u);
}

using Lines = std::vector<std::string>;

// For a fresh process, whose tables are empty. Lines that differ go to standard error.
void expect_lines_of_setups(void (*first)(), Lines const& first_list, void (*second)(),
                            Lines const& second_list) {
    test::LogCatcher log;
    bool ok_flag = true;
    auto const check = [&](void (*setup)(), Lines const& expected) {
        setup();
        Lines const line_list = log.take();
        ok_flag = ok_flag && line_list == expected;
        for (std::string const& line : line_list) {
            std::cerr << line << '\n';
        }
    };
    check(first, first_list);
    check(second, second_list);
    check(&BasicMixing::setup, {});
    check(&BasicMixingAlign::setup, {});
    std::exit(ok_flag && BasicMixing::is_ready() && BasicMixingAlign::is_ready() ? 0 : 1);
}

class BasicMixingLogTest : public testing::Test {
protected:
    void SetUp() override { GTEST_FLAG_SET(death_test_style, "threadsafe"); }

    static Lines list_unaligned() {
        bool const flag = ulk::archi::CpuId::use_instance().has_3dnow();
        return {flag ? "I setup_internal(): Using 3dNow! instruction set."
                     : "I setup_internal(): Using classic FPU instruction set.",
                "I setup_internal(): Mixing routines ready to use."};
    }
    static Lines list_aligned() {
        bool const flag = ulk::archi::CpuId::use_instance().has_sse();
        return {flag ? "I setup_internal(): Using SSE instruction set for aligned data."
                     : "I setup_internal(): Using default instruction set for aligned data.",
                "I setup_internal(): Mixing routines ready to use for aligned data."};
    }
};

TEST_F(BasicMixingLogTest, each_table_tells_its_choice_once) {
    EXPECT_EXIT(expect_lines_of_setups(&BasicMixing::setup, list_unaligned(),
                                       &BasicMixingAlign::setup, list_aligned()),
                testing::ExitedWithCode(0), "");
}

TEST_F(BasicMixingLogTest, aligned_table_sets_up_the_other_one_first) {
    Lines line_list = list_unaligned();
    for (std::string const& line : list_aligned()) {
        line_list.push_back(line);
    }
    EXPECT_EXIT(
        expect_lines_of_setups(&BasicMixingAlign::setup, line_list, &BasicMixing::setup, {}),
        testing::ExitedWithCode(0), "");
}

TEST(BasicMixingTableTest, setup_may_be_called_again_and_by_several_threads) {
    std::vector<std::thread> thread_list;
    for (int i = 0; i < 4; ++i) {
        thread_list.emplace_back([] {
            BasicMixingAlign::setup();
            BasicMixing::setup();
            EXPECT_NE(BasicMixingAlign::clear, nullptr);
        });
    }
    for (std::thread& t : thread_list) {
        t.join();
    }
    EXPECT_EQ(&BasicMixing::use_instance(), &BasicMixing::use_instance());
    EXPECT_EQ(&BasicMixingAlign::use_instance(), &BasicMixingAlign::use_instance());
}

} // namespace
