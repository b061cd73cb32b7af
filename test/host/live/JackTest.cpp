// Sound through a server, against what is rendered and what was sent.

#include "host/Error.h"
#include "host/engine/RenderRig.h"
#include "host/live/DeviceModule.h"
#include "host/live/JackServer.h"
#include "host/live/Player.h"
#include "host/live/RecordJob.h"
#include "support/CommandRun.h"

#include <nlohmann/json.hpp>

#include <filesystem>
#include <fstream>

using namespace ulk::host;
using test::JackClient;
using test::JackServer;
using test::RenderRig;

namespace {

constexpr long block_len = 256;

class JackTest : public ::testing::Test, public RenderRig {
public:
    void SetUp() override {
        ASSERT_TRUE(server.is_running())
            << "jackd does not start; tools/setup installs it. It says:\n"
            << server.read_output();
    }
    template <class F>
    static bool wait_for(F fnc) {
        for (int trial = 0; trial < 2000; ++trial) {
            if (fnc()) {
                return true;
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
        return false;
    }
    Channels make_noise(std::size_t len) {
        std::uniform_real_distribution<float> dist(-0.5f, 0.5f);
        Channels result(2, std::vector<float>(len));
        for (auto& channel : result) {
            for (float& val : channel) {
                val = dist(rng);
            }
        }
        return result;
    }
    Channels read(std::string const& path) {
        ulk::sacc::SplFileHnd file;
        EXPECT_EQ(0, file.open(file_mgr, path.c_str(), false));
        auto const len = file.get_length();
        std::vector<float> frames(2 * static_cast<std::size_t>(len));
        EXPECT_EQ(0, file.read_block(frames.data(), 0, static_cast<long>(len)));
        Channels result(2);
        for (std::size_t k = 0; k < frames.size(); ++k) {
            result[k % 2].push_back(frames[k]);
        }
        return result;
    }
    // From where on a take has a signal that repeats from its beginning, all ports connected; its
    // length if nowhere.
    static std::size_t find_beginning(Channels const& take, Channels const& signal) {
        constexpr std::ptrdiff_t nbr_compared = 32;
        std::size_t beg = 0;
        for (std::size_t chn = 0; chn < take.size(); ++chn) {
            auto const place = std::search(take[chn].begin(), take[chn].end(), signal[chn].begin(),
                                           signal[chn].begin() + nbr_compared);
            beg = std::max(beg, static_cast<std::size_t>(place - take[chn].begin()));
        }
        return beg;
    }
    // All channels of a take have the signal to the end, and begin it at the same time.
    static void expect_signal(Channels const& take, Channels const& signal) {
        std::size_t const beg = find_beginning(take, signal);
        ASSERT_LT(beg + signal[0].size(), take[0].size());
        for (std::size_t chn = 0; chn < take.size(); ++chn) {
            for (std::size_t k = 0; beg + k < take[chn].size(); ++k) {
                ASSERT_EQ(signal[chn][k % signal[chn].size()], take[chn][beg + k])
                    << chn << " " << k;
            }
        }
    }

    JackServer server;
    live::DeviceModule devices{BUILD_DIR};
};

} // namespace

TEST_F(JackTest, ListsTheServersDevice) {
    auto const list = devices.list_devices();
    EXPECT_EQ("", devices.get_failure());
    EXPECT_TRUE(std::any_of(list.begin(), list.end(), [](auto const& info) {
        return info.name == "system" && info.nbr_out == 2 && info.nbr_in == 2;
    }));
}

TEST_F(JackTest, ASessionComesOutOfItsPortsAsItRenders) {
    settings.block_len = block_len;
    int const track = add_track("one");
    add_clip(track, add_noise(2, 90000, 44100), 1);
    add_clip(track, add_noise(1, 60000, 48000), 1.2).fade_in = 0.3;
    Channels const mix = render();
    auto const device = devices.open({"", 48000, block_len, 2, 0});
    live::Player::Settings live;
    live.block_len = device->get_block_len();
    ASSERT_EQ(block_len, live.block_len);
    live::Player player(bundle, session, fact_arr, live);
    JackClient client(Channels(2, {0.f}), 6 * 48000);
    player.start();
    // The first second is silence: time to connect.
    device->start([&](float const* const*, float* const* out_arr, long len) {
        player.process(out_arr, len);
    });
    ASSERT_TRUE(wait_for([&] { return client.connect("tessitone:outport 0", "test:in0"); }));
    ASSERT_TRUE(wait_for([&] { return client.connect("tessitone:outport 1", "test:in1"); }));
    ASSERT_TRUE(wait_for([&] { return player.find_state().finished_flag; }));
    EXPECT_TRUE(device->is_alive());
    device->stop();
    client.close();
    player.stop();
    EXPECT_EQ(0u, player.list_losses().size());
    auto const is_sound = [](float val) { return val != 0; };
    auto const wish = std::find_if(mix[0].begin(), mix[0].end(), is_sound) - mix[0].begin();
    auto const& heard = client.heard;
    auto const place = std::find_if(heard[0].begin(), heard[0].end(), is_sound) - heard[0].begin();
    auto const len = static_cast<std::ptrdiff_t>(mix[0].size()) - wish;
    ASSERT_LE(place + len, static_cast<std::ptrdiff_t>(heard[0].size()));
    for (std::size_t chn = 0; chn < 2; ++chn) {
        EXPECT_TRUE(
            std::equal(mix[chn].begin() + wish, mix[chn].end(), heard[chn].begin() + place));
    }
}

TEST_F(JackTest, ARecordingIsWhatWasSent) {
    Channels const signal = make_noise(30000);
    JackClient client(signal, 1);
    live::RecordJob::Settings record;
    record.path = dir.make_name("take.wav");
    record.bit_fmt = ulk::sacc::SplFileBitFmt_F32;
    record.len = 3;
    bool connected_flag = false;
    auto const result = live::RecordJob::run(
        record, [&](live::Device::Settings const& wish) { return devices.open(wish); },
        [&](live::RecordJob::View const&) {
            connected_flag = client.connect("test:out0", "tessitone:inport 0") &&
                             client.connect("test:out1", "tessitone:inport 1");
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
            return true;
        });
    EXPECT_TRUE(connected_flag);
    EXPECT_EQ(0, result.nbr_lost);
    EXPECT_EQ(3 * 48000, result.nbr_frames);
    EXPECT_FALSE(result.failure);
    EXPECT_NEAR(0.5, result.peaks[1], 0.01);
    EXPECT_GE(result.times.waits.get_count(), 3 * 48000 / block_len);
    Channels const take = read(record.path);
    ASSERT_EQ(3u * 48000, take[0].size());
    expect_signal(take, signal);
}

TEST_F(JackTest, AServerThatIsKilledEndsARecordingWithAMessageAndACompleteFile) {
    Channels const signal = make_noise(30000);
    JackClient client(signal, 1);
    live::RecordJob::Settings record;
    record.path = dir.make_name("take.wav");
    record.bit_fmt = ulk::sacc::SplFileBitFmt_F32;
    double last = 0;
    auto const result = live::RecordJob::run(
        record, [&](live::Device::Settings const& wish) { return devices.open(wish); },
        [&](live::RecordJob::View const& view) {
            last = view.time;
            client.connect("test:out0", "tessitone:inport 0");
            client.connect("test:out1", "tessitone:inport 1");
            if (view.time > 2) {
                server.end(SIGKILL);
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
            return true;
        });
    ASSERT_TRUE(result.failure);
    EXPECT_EQ(Error::Kind_IO, result.failure->get_kind());
    EXPECT_EQ("the sound device system is gone; what was recorded until then is in " + record.path,
              std::string(result.failure->what()));
    Channels const take = read(record.path);
    EXPECT_EQ(result.nbr_frames, static_cast<long long>(take[0].size()));
    EXPECT_GE(static_cast<double>(take[0].size()), last * 48000 - 1);
    expect_signal(take, signal);
}

// As users meet it: the commands, in a shell that kills the server meanwhile.
TEST_F(JackTest, AServerThatIsKilledEndsTheCommandsWithAMessage) {
    std::ofstream(dir.get_path() / "song.toml")
        << "[[track]]\nclips = [{ sample = \"long.wav\" }]\n";
    std::filesystem::rename(
        session.sample_arr[static_cast<std::size_t>(add_noise(2, 60 * 48000, 48000))].path,
        dir.get_path() / "long.wav");
    std::thread killer([this] {
        wait_for([this] { return std::filesystem::exists(dir.get_path() / "take.wav"); });
        std::this_thread::sleep_for(std::chrono::seconds(3));
        server.end(SIGKILL);
    });
    test::CommandRun recorded;
    std::thread recorder([&] {
        std::filesystem::create_directory(dir.get_path() / "recorder");
        recorded =
            test::CommandRun::run(dir.get_path() / "recorder", "record ../take.wav --format f32");
    });
    auto const played = test::CommandRun::run(dir.get_path(), "play song.toml --json");
    killer.join();
    recorder.join();
    EXPECT_EQ(4, played.code) << played.err;
    EXPECT_NE(std::string::npos, played.err.find("the sound device system is gone"));
    EXPECT_NE(std::string::npos, played.out.find("the sound device system is gone"));
    EXPECT_NE(std::string::npos, played.out.find("\"histogram\""));
    EXPECT_EQ(4, recorded.code) << recorded.err;
    EXPECT_NE(std::string::npos, recorded.err.find("the sound device system is gone"));
    EXPECT_GT(read(dir.make_name("take.wav"))[0].size(), 2u * 48000);
}

// It holds its clients, which must not wait for it for ever.
TEST_F(JackTest, AServerThatHangsEndsTheCommandsWithAMessage) {
    std::ofstream(dir.get_path() / "song.toml")
        << "[[track]]\nclips = [{ sample = \"long.wav\" }]\n";
    std::filesystem::rename(
        session.sample_arr[static_cast<std::size_t>(add_noise(2, 60 * 48000, 48000))].path,
        dir.get_path() / "long.wav");
    test::CommandRun played;
    std::thread player(
        [&] { played = test::CommandRun::run(dir.get_path(), "play song.toml --json"); });
    std::filesystem::create_directory(dir.get_path() / "recorder");
    test::CommandRun recorded;
    std::thread recorder([&] {
        recorded =
            test::CommandRun::run(dir.get_path() / "recorder", "record ../take.wav --format f32");
    });
    wait_for([this] { return std::filesystem::exists(dir.get_path() / "take.wav"); });
    std::this_thread::sleep_for(std::chrono::seconds(3));
    server.send(SIGSTOP);
    player.join();
    recorder.join();
    server.end(SIGKILL);
    EXPECT_EQ(4, played.code) << played.err;
    EXPECT_NE(std::string::npos, played.err.find("the sound device system is gone")) << played.err;
    EXPECT_GT(nlohmann::json::parse(played.out)["frames"], 48000);
    EXPECT_EQ(4, recorded.code) << recorded.err;
    EXPECT_NE(std::string::npos, recorded.err.find("the sound device system is gone"));
    EXPECT_GT(read(dir.make_name("take.wav"))[0].size(), 2u * 48000);
}

TEST_F(JackTest, ARateThatTheServerDoesNotHaveIsToldWithWhatToDo) {
    std::ofstream(dir.get_path() / "song.toml") << "rate = 44100\n[[track]]\n";
    auto const played = test::CommandRun::run(dir.get_path(), "play song.toml");
    EXPECT_EQ(2, played.code);
    EXPECT_NE(std::string::npos, played.err.find("sound device system: runs at 48000 Hz, and not "
                                                 "at 44100; --rate asks for another rate"))
        << played.err;
}

// A jump through the server: what comes behind it is what is rendered from there.
TEST_F(JackTest, AJumpToTheNextCueComesOutAsItRenders) {
    settings.block_len = block_len;
    settings.from = 40;
    add_clip(add_track("early"), add_noise(2, 96000, 48000), 1).fade_out = 0.5;
    add_clip(add_track("late"), add_noise(2, 60000, 48000), 40.1);
    session.cue_arr = {{"late", 40}};
    Channels const mix = render();
    JackClient client(Channels(2, {0.f}), 8 * 48000);
    auto const device = devices.open({"", 48000, block_len, 2, 0});
    live::Player::Settings live;
    live.block_len = device->get_block_len();
    live::Player player(bundle, session, fact_arr, live);
    player.start();
    device->start([&](float const* const*, float* const* out_arr, long len) {
        player.process(out_arr, len);
    });
    ASSERT_TRUE(wait_for([&] { return client.connect("tessitone:outport 0", "test:in0"); }));
    ASSERT_TRUE(wait_for([&] { return client.connect("tessitone:outport 1", "test:in1"); }));
    ASSERT_TRUE(wait_for([&] { return player.find_state().time > 2; }));
    player.locate(*player.find_next_cue(2));
    ASSERT_TRUE(wait_for([&] { return player.find_state().finished_flag; }));
    device->stop();
    client.close();
    player.stop();
    EXPECT_TRUE(player.list_losses().empty());
    auto const is_sound = [](float val) { return val != 0; };
    auto const first = std::find_if(mix[0].begin(), mix[0].end(), is_sound);
    auto const place =
        std::search(client.heard[0].begin(), client.heard[0].end(), first, mix[0].end());
    ASSERT_NE(client.heard[0].end(), place);
    // Between the cue and the clip lies silence.
    auto const lead = first - mix[0].begin();
    EXPECT_TRUE(std::none_of(place - lead, place, is_sound));
    auto const pos = place - client.heard[0].begin();
    EXPECT_TRUE(std::equal(mix[1].begin() + (first - mix[0].begin()), mix[1].end(),
                           client.heard[1].begin() + pos));
}
