#include "ulk/dsp/Downsampler2xWrapper.h"

#include "halfband/Downsampler2xFpu.h"

#include <string>
#include <type_traits>

namespace {

using ulk::dsp::Downsampler2xInterface;
using Core = halfband::Downsampler2xFpu<8>;

static_assert(std::is_abstract_v<Downsampler2xInterface>);
static_assert(std::has_virtual_destructor_v<Downsampler2xInterface>);
static_assert(sizeof(Downsampler2xInterface) == sizeof(void*)); // no state
static_assert(sizeof(ulk::dsp::Downsampler2xWrapper<Core>) == sizeof(void*) + sizeof(Core));

TEST(Downsampler2xWrapperTest, ForwardsToTheCore) {
    double const coefs[8] = {0.1, 0.2, 0.3, 0.4, 0.5, 0.6, 0.7, 0.8};
    std::mt19937 rnd(1);
    std::uniform_real_distribution<float> dist(-1, 1);
    std::vector<float> src(200);
    std::generate(src.begin(), src.end(), [&] { return dist(rnd); });

    std::unique_ptr<Downsampler2xInterface> dspl =
        std::make_unique<ulk::dsp::Downsampler2xWrapper<Core>>();
    Core core;
    for (int turn = 0; turn < 2; ++turn) {
        std::vector<float> a(100), b(100), c(100), d(100);
        dspl->process_block(a.data(), src.data(), 100);
        core.process_block(b.data(), src.data(), 100);
        EXPECT_EQ(a, b);
        dspl->process_block_split(a.data(), c.data(), src.data(), 100);
        core.process_block_split(b.data(), d.data(), src.data(), 100);
        EXPECT_EQ(a, b);
        EXPECT_EQ(c, d);
        EXPECT_EQ(dspl->process_sample(src.data()), core.process_sample(src.data()));
        dspl->process_sample_split(a[0], c[0], src.data());
        core.process_sample_split(b[0], d[0], src.data());
        EXPECT_EQ(a[0], b[0]);
        EXPECT_EQ(c[0], d[0]);
        dspl->clear_buffers();
        core.clear_buffers();
        dspl->set_coefs(coefs);
        core.set_coefs(coefs);
    }
}

// Tells which operation was called last.
class Probe : public Downsampler2xInterface {
public:
    std::string _called;

protected:
    void do_set_coefs(double const*) override { _called = "set_coefs"; }
    float do_process_sample(float const*) override {
        _called = "process_sample";
        return 0;
    }
    void do_process_block(float*, float const*, long) override { _called = "process_block"; }
    void do_process_sample_split(float&, float&, float const*) override {
        _called = "process_sample_split";
    }
    void do_process_block_split(float*, float*, float const*, long) override {
        _called = "process_block_split";
    }
    void do_clear_buffers() override { _called = "clear_buffers"; }
};

TEST(Downsampler2xWrapperTest, EachFrontCallsItsOperation) {
    Probe probe;
    Downsampler2xInterface& dspl = probe;
    float x = 0;
    dspl.set_coefs(nullptr);
    EXPECT_EQ(probe._called, "set_coefs");
    dspl.process_sample(nullptr);
    EXPECT_EQ(probe._called, "process_sample");
    dspl.process_block(nullptr, nullptr, 0);
    EXPECT_EQ(probe._called, "process_block");
    dspl.process_sample_split(x, x, nullptr);
    EXPECT_EQ(probe._called, "process_sample_split");
    dspl.process_block_split(nullptr, nullptr, nullptr, 0);
    EXPECT_EQ(probe._called, "process_block_split");
    dspl.clear_buffers();
    EXPECT_EQ(probe._called, "clear_buffers");
}

} // namespace
