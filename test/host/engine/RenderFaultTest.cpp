#include "host/engine/RenderRig.h"

#include "host/Error.h"
#include "support/FileFault.h"

#include <cerrno>
#include <cmath>
#include <filesystem>

using namespace ulk::host::engine;
using test::RenderRig;

namespace {

class RenderFaultTest : public ::testing::Test, public RenderRig {
protected:
    // Clip 0 is what goes wrong, from the start on; clip 1 sounds alone from frame 40000 on.
    void SetUp() override {
        session.file_arr = {"session"};
        add_track("one");
        add_noise(2, 30000, 48000);
        add_noise(2, 30000, 48000);
        add_clip(0, 0, 0);
        add_clip(0, 1, 40000 / 48000.0);
        _expected = render();
    }
    std::string const& use_path() const { return session.sample_arr[0].path; }
    void expect_rest(Channels const& mix) const {
        ASSERT_EQ(_expected[0].size(), mix[0].size());
        for (std::size_t pos = 40000; pos < mix[0].size(); ++pos) {
            ASSERT_EQ(_expected[0][pos], mix[0][pos]) << pos;
        }
    }
    void expect_dropped(Channels const& mix) {
        ASSERT_EQ(1u, dropped.size());
        EXPECT_EQ(0, dropped[0].track);
        EXPECT_EQ(0, dropped[0].clip);
        EXPECT_EQ(0, dropped[0].len);
        EXPECT_TRUE(holes.empty());
        EXPECT_EQ(2, stat.nbr_notes);
        for (std::size_t pos = 0; pos < 40000; ++pos) {
            ASSERT_EQ(0, mix[0][pos]);
        }
        expect_rest(mix);
    }

    Channels _expected;
};

} // namespace

TEST_F(RenderFaultTest, AFileThatVanishedIsDropped) {
    std::filesystem::remove(use_path());
    expect_dropped(render());
}

TEST_F(RenderFaultTest, AFileThatIsAnotherNowIsDropped) {
    std::filesystem::copy_file(session.sample_arr[1].path, use_path(),
                               std::filesystem::copy_options::overwrite_existing);
    fact_arr[0].len = 29999;
    expect_dropped(render());
    fact_arr[0] = fact_arr[1];
    fact_arr[0].sample_freq = 44100;
    _expected[0].resize(_expected[0].size());
    render();
    EXPECT_EQ(1u, dropped.size());
}

TEST_F(RenderFaultTest, AFolderInItsPlaceIsDropped) {
    std::filesystem::remove(use_path());
    std::filesystem::create_directory(use_path());
    expect_dropped(render());
}

TEST_F(RenderFaultTest, ACutFileIsToldInAnyCase) {
    for (std::uintmax_t const size : {100u, 44u, 10u, 0u, 120000u}) {
        std::filesystem::resize_file(use_path(), size);
        auto const mix = render();
        EXPECT_EQ(1u, dropped.size() + holes.size()) << size;
        expect_rest(mix);
    }
}

// One clip after the other misses its data; what is missing is told with its clip and its time.
TEST_F(RenderFaultTest, AReadThatFailsIsAHoleOrADroppedNote) {
    bool hit_flag = true;
    int nbr_holes = 0;
    for (long n = 1; hit_flag; ++n) {
        SCOPED_TRACE(n);
        test::FileFault fault;
        fault.fail_at(n, EIO, test::FileFault::SysCall::Op_READ);
        auto const mix = render();
        hit_flag = fault.was_hit();
        ASSERT_LT(n, 200);
        EXPECT_LE(holes.size() + dropped.size(), 1u);
        nbr_holes += static_cast<int>(holes.size());
        for (auto const& loss : holes) {
            long long const beg = loss.clip == 0 ? 0 : 40000;
            EXPECT_GE(loss.beg, beg);
            EXPECT_LT(loss.beg, beg + 30002);
            EXPECT_GE(loss.len, 1000);
            EXPECT_LE(loss.len, 8192 + 100);
        }
        for (std::size_t pos = 0; pos < mix[0].size(); ++pos) {
            if (mix[0][pos] == _expected[0][pos]) {
                continue;
            }
            ASSERT_EQ(1u, holes.size() + dropped.size()) << pos;
            auto const& loss = holes.empty() ? dropped[0] : holes[0];
            ASSERT_EQ(pos < 35000 ? 0 : 1, loss.clip) << pos;
            if (!holes.empty()) {
                ASSERT_GE(static_cast<long long>(pos) + 3, loss.beg);
                ASSERT_LE(static_cast<long long>(pos), loss.beg + 12000 + loss.len + 3);
            }
        }
    }
    EXPECT_GE(nbr_holes, 10);
}

TEST_F(RenderFaultTest, ReadsThatFailForEverEndTheRenderAsWell) {
    test::FileFault fault;
    fault.fail_at(1, EIO, test::FileFault::SysCall::Op_READ, test::FileFault::FOR_EVER);
    auto const mix = render();
    EXPECT_EQ(2u, dropped.size());
    EXPECT_EQ(std::vector<float>(mix[0].size(), 0.0f), mix[0]);
}

TEST_F(RenderFaultTest, ADiskThatIsFullEndsTheRender) {
    std::string const path = dir.make_name("mix.wav");
    for (long const call : {1L, 3L, 6L}) {
        Renderer renderer(bundle, session, fact_arr, settings);
        renderer.add_mix_output(path, ulk::sacc::SplFileBitFmt_S16, {});
        test::FileFault fault;
        fault.fail_at(call, ENOSPC, test::FileFault::SysCall::Op_WRITE, test::FileFault::FOR_EVER);
        try {
            renderer.run([](long long) { return true; });
            ADD_FAILURE() << call;
        } catch (ulk::host::Error const& e) {
            EXPECT_EQ(ulk::host::Error::Kind_IO, e.get_kind());
            EXPECT_NE(std::string::npos, std::string(e.what()).find(path)) << e.what();
        }
    }
}

TEST_F(RenderFaultTest, AFileTooLongForAWavIsRefusedBeforehand) {
    Renderer::Settings more = settings;
    more.to = 48 * 3600;
    Renderer renderer(bundle, session, fact_arr, more);
    renderer.add_mix_output(dir.make_name("mix.wav"), ulk::sacc::SplFileBitFmt_S16, {});
    EXPECT_THROW(renderer.run([](long long) { return false; }), ulk::host::Error);
    EXPECT_FALSE(std::filesystem::exists(dir.make_name("mix.wav")));
}
