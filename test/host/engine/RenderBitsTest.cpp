#include "host/engine/RenderRig.h"

#include "host/Error.h"
#include "support/FileFault.h"

#include <chrono>
#include <cmath>
#include <thread>

using namespace ulk::host::engine;
using test::RenderRig;

namespace {

// A disk that takes its time.
class SlowDisk : public ulk::sys::posix::SysCall::Filter {
public:
    SlowDisk()
        : _prev_ptr(ulk::sys::posix::SysCall::set_filter(this)) {}
    ~SlowDisk() override { ulk::sys::posix::SysCall::set_filter(_prev_ptr); }

protected:
    long do_check(ulk::sys::posix::SysCall::Op op, long) override {
        if (op == ulk::sys::posix::SysCall::Op_READ) {
            std::this_thread::sleep_for(std::chrono::microseconds(_nbr_calls++ % 7 * 100));
        }
        return 0;
    }

private:
    ulk::sys::posix::SysCall::Filter* _prev_ptr;
    int _nbr_calls = 0;
};

class RenderBitsTest : public ::testing::Test, public RenderRig {
protected:
    // Tracks that feed each other, with all that moves.
    void make_session() {
        session.file_arr = {"session"};
        int const nbr_samples = 6;
        double const freq_arr[] = {8000, 44100, 48000, 48000, 96000, 22050};
        for (int index = 0; index < nbr_samples; ++index) {
            add_noise(1 + index % 3, static_cast<long>(freq_arr[index] * 0.7), freq_arr[index]);
        }
        std::uniform_real_distribution<double> dist(0, 1);
        for (int track = 0; track < 6; ++track) {
            add_track("track " + std::to_string(track), 1 + track % 3);
            session.track_arr.back().output = track < 3 ? 4 + track % 2 : Session::master;
            session.track_arr.back().volume = {{0.1, -12}, {0.1 + dist(rng), 3}};
            for (int rest = 14; rest > 0; --rest) {
                auto& clip = add_clip(track, rest % nbr_samples, 1.2 * dist(rng));
                clip.pitch = rest % 3 == 0 ? 24 * dist(rng) - 12 : 0;
                clip.fade_in = rest % 4 == 0 ? 0.2 * dist(rng) : 0;
                clip.offset = rest % 5 == 0 ? 0.3 * dist(rng) : 0;
                clip.length = 0.05 + dist(rng);
                clip.pan = {{0, -1 + dist(rng)}, {0.5, dist(rng)}};
            }
        }
        Session::Insert insert;
        insert.plugin = "Brevanto#TessitoneDryWet";
        insert.params = {{0.2, "1", "30", 0.3, {}}};
        insert.dry = Session::Dry::TRACK;
        insert.dry_track = 0;
        session.track_arr[5].inserts.push_back(insert);
        session.volume = {{0, 0}, {1, -9}};
    }
};

} // namespace

TEST_F(RenderBitsTest, ThreadsRunsCacheAndDiskChangeNothing) {
    make_session();
    settings.block_len = 500;
    auto const mix = render();
    for (int const nbr_jobs : {1, 2, 3, 8}) {
        settings.nbr_jobs = nbr_jobs;
        EXPECT_EQ(mix, render()) << nbr_jobs;
    }
    settings.nbr_jobs = 1;
    for (long long const cache_len : {14LL << 20, 20LL << 20, 400LL << 20}) {
        settings.cache_len = cache_len;
        EXPECT_EQ(mix, render()) << cache_len;
    }
    SlowDisk const slow_disk;
    EXPECT_EQ(mix, render());
    EXPECT_TRUE(holes.empty());
}

TEST_F(RenderBitsTest, ACacheThatIsTooSmallNamesOneThatIsEnough) {
    session.file_arr = {"session"};
    add_track("one");
    int const sample = add_noise(2, 60000, 48000);
    settings.block_len = 256;
    for (int count = 0; count < 40; ++count) {
        add_clip(0, sample, 0).pitch = count % 5;
    }
    for (int count = 0; count < 80; ++count) {
        add_clip(0, sample, 2).pitch = count % 7; // denser further on
    }
    auto const mix = render();
    settings.cache_len = 1;
    std::string text;
    try {
        render();
    } catch (ulk::host::Error const& e) {
        EXPECT_EQ(ulk::host::Error::Kind_USE, e.get_kind());
        text = e.what();
    }
    auto const place = text.find("it needs ");
    ASSERT_NE(std::string::npos, place) << text;
    settings.cache_len = std::stoll(text.substr(place + 9)) * 1000000;
    EXPECT_EQ(mix, render()) << text;
    EXPECT_TRUE(holes.empty());
}

// At the session's own rate and at rest nothing but the place within the sample is rounded on its
// way through seconds.
TEST_F(RenderBitsTest, APartEqualsThatOfTheWhole) {
    session.file_arr = {"session"};
    add_track("one");
    int const sample = add_noise(2, 90000, 48000);
    add_clip(0, sample, 0.1);
    add_clip(0, sample, 0.6004).gain = -7;
    add_clip(0, sample, 0.3).length = 0.5;
    auto const mix = render();
    for (double const from : {0.0, 0.001, 0.5, 0.7501, 1.9}) {
        settings.from = from;
        settings.to = from + 0.3;
        auto const part = render();
        auto const beg = std::llround(from * 48000);
        ASSERT_EQ(static_cast<std::size_t>(std::llround((from + 0.3) * 48000) - beg),
                  part[0].size());
        for (std::size_t pos = 0; pos < part[0].size(); ++pos) {
            auto const whole = static_cast<std::size_t>(beg) + pos;
            if (whole >= 38400 && whole < 38400 + 242) {
                continue; // a voice's own fade, whose line depends on the blocks
            }
            ASSERT_NEAR(mix[0][whole], part[0][pos], 3e-7) << from << " " << pos;
        }
    }
}

// At other rates a voice's position is a sum of rounded steps, three parts in ten million of what
// it has played at the most; ramps are cut at other places, within 0.1 dB.
TEST_F(RenderBitsTest, APartIsNearThatOfTheWhole) {
    make_session();
    auto const mix = render();
    settings.from = 0.4321;
    settings.to = 0.9;
    auto const part = render();
    double sum = 0;
    double diff_sum = 0;
    for (std::size_t pos = 0; pos < part[0].size(); ++pos) {
        auto const whole = static_cast<double>(mix[0][pos + 20741]);
        double const diff = whole - static_cast<double>(part[0][pos]);
        sum += whole * whole;
        diff_sum += diff * diff;
    }
    EXPECT_LT(10 * std::log10(diff_sum / sum), -45);
}

TEST_F(RenderBitsTest, TheTailIsSilentAndAsLongAsAsked) {
    session.file_arr = {"session"};
    add_track("one");
    add_clip(0, add_noise(1, 1000, 48000), 0.1);
    settings.tail = 0.25;
    auto const mix = render();
    ASSERT_EQ(4800u + 1000 + 12000, mix[0].size());
    for (std::size_t pos = 5800; pos < mix[0].size(); ++pos) {
        ASSERT_EQ(0, mix[0][pos]);
    }
    settings.to = 0.05;
    EXPECT_EQ(2400u, render()[0].size());
    settings.from = 0.06;
    EXPECT_EQ(0u, render()[0].size());
}

TEST_F(RenderBitsTest, EmptySessionsAreSilent) {
    settings.tail = 0.1;
    auto const none = render();
    EXPECT_EQ(std::vector<float>(4800, 0.0f), none[0]);
    add_track("empty");
    session.track_arr[0].mute_flag = true;
    EXPECT_EQ(none, render());
    settings.tail = 0;
    EXPECT_EQ(0u, render()[0].size());
}

TEST_F(RenderBitsTest, AnyNumberOfClipsSoundsAtOnce) {
    session.file_arr = {"session"};
    int const sample = add_sample({std::vector<float>(600, 0x1p-10f)}, 48000);
    for (int const count : {64, 65, 200, 1000}) {
        session.track_arr.clear();
        add_track("one");
        for (int rest = count; rest > 0; --rest) {
            add_clip(0, sample, rest % 3 == 0 ? 0 : 100.0 / 48000);
        }
        auto const mix = render();
        ASSERT_EQ(700u, mix[0].size());
        EXPECT_NEAR(count * 0x1p-10, mix[1][300], 1e-5);
        EXPECT_NEAR(count / 3 * 0x1p-10, mix[1][50], 1e-5);
        EXPECT_EQ(count, stat.max_sounding);
        EXPECT_EQ(count, stat.nbr_notes);
    }
}

TEST_F(RenderBitsTest, ThousandsOfOneFrameSounds) {
    session.file_arr = {"session"};
    int const sample = add_sample({{0.5f}}, 48000);
    add_track("one");
    for (int count = 0; count < 10000; ++count) {
        add_clip(0, sample, count * 3 / 48000.0);
    }
    auto const mix = render();
    for (std::size_t pos = 0; pos < mix[0].size(); ++pos) {
        ASSERT_NEAR(pos % 3 == 0 ? 0.5 : 0, mix[0][pos], 1e-6) << pos;
    }
}

TEST_F(RenderBitsTest, HundredsOfTracks) {
    session.file_arr = {"session"};
    int const sample = add_sample({std::vector<float>(3000, 0x1p-10f)}, 48000);
    for (int track = 0; track < 200; ++track) {
        add_track("track " + std::to_string(track));
        session.track_arr.back().output = track % 10 == 9 ? Session::master : track / 10 * 10 + 9;
        add_clip(track, sample, track * 0.001);
    }
    auto const mix = render();
    EXPECT_NEAR(63 * 0x1p-10, mix[0][5000], 2e-5);
}

TEST_F(RenderBitsTest, ARefusedLoopNamesItsTracks) {
    session.file_arr = {"session"};
    add_track("drums");
    add_track("bus");
    session.track_arr[0].output = 1;
    session.track_arr[1].output = 0;
    try {
        render();
        FAIL();
    } catch (ulk::host::Error const& e) {
        EXPECT_NE(std::string::npos, std::string(e.what()).find("drums")) << e.what();
        EXPECT_NE(std::string::npos, std::string(e.what()).find("bus")) << e.what();
    }
}

// The voices of a player that rested are none of those that sounded before.
TEST_F(RenderBitsTest, NothingSoundsAfterARest) {
    session.file_arr = {"session"};
    add_track("one");
    int const high = add_noise(1, 4000, 44100);
    int const low = add_noise(1, 700, 8000);
    for (int count = 0; count < 30; ++count) {
        add_clip(0, high, count * 0.4).pitch = count - 15.3;
        add_clip(0, low, count * 0.4).length = 0.07;
    }
    settings.block_len = 64;
    auto const mix = render();
    for (int count = 0; count < 30; ++count) {
        double const len = std::max(4000 / 44100.0 / std::exp2((count - 15.3) / 12), 0.08);
        for (double time = count * 0.4 + len + 0.001; time < count * 0.4 + 0.399; time += 0.0001) {
            auto const pos = static_cast<std::size_t>(time * 48000);
            ASSERT_TRUE(pos >= mix[0].size() || mix[0][pos] == 0) << time;
        }
    }
}

TEST_F(RenderBitsTest, StemsSumToTheMix) {
    make_session();
    session.track_arr[4].mute_flag = true;
    Renderer renderer(bundle, session, fact_arr, settings);
    std::vector<Channels> stem_arr;
    auto const stems = renderer.list_stems();
    EXPECT_EQ((std::vector<int>{3, 4, 5}), stems);
    auto const listen = [](Channels& channels) {
        return [&channels](float const* const* chn_arr, long len) {
            for (std::size_t chn = 0; chn < channels.size(); ++chn) {
                channels[chn].insert(channels[chn].end(), chn_arr[chn], chn_arr[chn] + len);
            }
        };
    };
    stem_arr.resize(stems.size(), Channels(2));
    Channels mix(2);
    std::string const path = dir.make_name("stem.wav");
    renderer.add_mix_output("", ulk::sacc::SplFileBitFmt_F32, listen(mix));
    for (std::size_t stem = 0; stem < stems.size(); ++stem) {
        renderer.add_stem_output(stems[stem], stem == 0 ? path : "", ulk::sacc::SplFileBitFmt_F32,
                                 listen(stem_arr[stem]));
    }
    renderer.run([](long long) { return true; });
    for (std::size_t chn = 0; chn < 2; ++chn) {
        for (std::size_t pos = 0; pos < mix[chn].size(); ++pos) {
            double sum = 0;
            for (auto const& stem : stem_arr) {
                ASSERT_EQ(mix[chn].size(), stem[chn].size());
                sum += static_cast<double>(stem[chn][pos]);
            }
            ASSERT_NEAR(sum, mix[chn][pos], 2e-6) << pos;
        }
    }
    EXPECT_EQ(std::vector<float>(mix[0].size(), 0.0f), stem_arr[1][0]);
    EXPECT_GT(renderer.use_stat().stem_deviation, 0);
    EXPECT_LT(renderer.use_stat().stem_deviation, 2e-6);
    ulk::sacc::SplFileHnd file;
    ASSERT_EQ(0, file.open(file_mgr, path.c_str(), false));
    EXPECT_EQ(static_cast<long long>(mix[0].size()), file.get_length());
    file.close();
}

TEST_F(RenderBitsTest, StoppedEarlyTheFileHoldsWhatWasMade) {
    make_session();
    Renderer renderer(bundle, session, fact_arr, settings);
    std::string const path = dir.make_name("mix.wav");
    renderer.add_mix_output(path, ulk::sacc::SplFileBitFmt_F32, {});
    renderer.run([](long long done) { return done < 20000; });
    EXPECT_FALSE(renderer.use_stat().complete_flag);
    EXPECT_GE(renderer.use_stat().nbr_frames, 20000);
    EXPECT_LT(renderer.use_stat().nbr_frames, renderer.get_len());
    ulk::sacc::SplFileHnd file;
    ASSERT_EQ(0, file.open(file_mgr, path.c_str(), false));
    EXPECT_EQ(renderer.use_stat().nbr_frames, file.get_length());
    file.close();
}

// Headers are brought up to date every second of work, however much waits to be written.
TEST_F(RenderBitsTest, ALongRenderIsValidatedOnItsWay) {
    session.file_arr = {"session"};
    add_track("one");
    add_clip(0, add_noise(2, 48000, 48000), 0);
    settings.to = 2;
    Renderer renderer(bundle, session, fact_arr, settings);
    std::string const path = dir.make_name("mix.wav");
    renderer.add_mix_output(path, ulk::sacc::SplFileBitFmt_F32, {});
    long long on_disk = 0;
    renderer.run([&](long long) {
        std::this_thread::sleep_for(std::chrono::milliseconds(260));
        on_disk =
            std::max<long long>(on_disk, static_cast<long long>(std::filesystem::file_size(path)));
        return true;
    });
    EXPECT_TRUE(renderer.use_stat().complete_flag);
    EXPECT_GT(on_disk, 48000 * 8);
}
