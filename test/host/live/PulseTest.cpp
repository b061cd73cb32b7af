// Sound through PulseAudio: what is played to a device without sound, heard at its monitor.

#include "host/live/PulseServer.h"
#include "host/live/SoundRig.h"
#include "support/CommandRun.h"

#include <nlohmann/json.hpp>

#include <optional>

using namespace ulk::host;
using test::CommandRun;
using test::PulseServer;
using test::SoundRig;

namespace {

constexpr long block_len = 256;

// What a device hears from its start on, up to so many frames.
class Listener {
public:
    Listener(std::unique_ptr<live::Device>&& device, std::size_t len)
        : heard(2, std::vector<float>(len))
        , _device(std::move(device)) {
        _device->start([this](float const* const* in_arr, float* const*, long part) {
            listen(in_arr, static_cast<std::size_t>(part));
        });
    }
    void close() { _device->stop(); }
    std::size_t get_nbr_heard() const { return _nbr_heard; }

    SoundRig::Channels heard;

private:
    void listen(float const* const* in_arr, std::size_t len) {
        std::size_t const part = std::min(len, heard[0].size() - _nbr_heard);
        for (std::size_t chn = 0; chn < 2; ++chn) {
            std::copy_n(in_arr[chn], part,
                        heard[chn].begin() + static_cast<std::ptrdiff_t>(_nbr_heard));
        }
        _nbr_heard += part;
    }

    std::atomic<std::size_t> _nbr_heard = 0;
    std::unique_ptr<live::Device> _device; // its callback ends before the rest
};

class PulseTest : public ::testing::Test, public SoundRig {
protected:
    void SetUp() override { ASSERT_TRUE(server.is_running()) << server.read_output(); }

    std::unique_ptr<live::Device> open(int nbr_out, int nbr_in, double sample_freq = 48000) {
        return devices.open({"PulseAudio:", sample_freq, block_len, nbr_out, nbr_in});
    }
    // Plays the session from its start to its end, and returns what the monitor heard of it.
    Channels play() {
        Listener listener(open(0, 2), 16 * 48000);
        // The server's own beginnings are over.
        EXPECT_TRUE(wait_for([&] { return listener.get_nbr_heard() >= 2 * 48000; }));
        auto const device = open(session.nbr_chn, 0);
        auto const player = make_player(*device);
        start(*device, *player);
        EXPECT_TRUE(wait_for([&] { return player->find_state().finished_flag; }));
        device->stop();
        auto const end = listener.get_nbr_heard() + 2 * 48000; // on its way to the monitor
        EXPECT_TRUE(wait_for([&] { return listener.get_nbr_heard() >= end; }));
        listener.close();
        player->stop();
        EXPECT_TRUE(player->list_losses().empty());
        return listener.heard;
    }
    // Seconds by which a device is ahead of the clock at the most within its first ones.
    double measure_lead(live::Device& device) {
        using Clock = std::chrono::steady_clock;
        std::atomic<double> lead = 0;
        device.start([&, beg = std::optional<Clock::time_point>(),
                      nbr_frames = 0L](float const* const*, float* const*, long len) mutable {
            beg = beg.value_or(Clock::now());
            nbr_frames += len;
            double const time = std::chrono::duration<double>(Clock::now() - *beg).count();
            lead = std::max(lead.load(), static_cast<double>(nbr_frames) / 48000 - time);
        });
        std::this_thread::sleep_for(std::chrono::seconds(3));
        device.stop();
        return lead;
    }
    // Plays a command whose server gets a signal meanwhile.
    CommandRun play_command(int signal) {
        write_long_song();
        std::filesystem::create_directory(dir.get_path() / "recorder");
        std::thread recorder([&] {
            recorded =
                CommandRun::run(dir.get_path() / "recorder", "record ../take.wav --format f32");
        });
        std::thread killer([&] {
            // The take hears what is played.
            wait_for([&] { return count_sounding("take.wav") > 2 * 2 * 48000; });
            server.send(signal);
            signal_time = std::chrono::steady_clock::now();
        });
        auto const played = CommandRun::run(dir.get_path(), "play song.toml --json");
        recorder.join();
        killer.join();
        return played;
    }
    void expect_gone(CommandRun const& played) {
        EXPECT_EQ(4, played.code) << played.err;
        EXPECT_TRUE(played.err.ends_with("tessitone: the sound device Null Output is gone; is its "
                                         "server still running, and the device plugged in?\n"))
            << played.err;
        auto const report = nlohmann::json::parse(played.out);
        EXPECT_EQ("Null Output", report["device"]);
        EXPECT_GT(report["frames"], 48000);
        EXPECT_TRUE(report["holes"].empty()) << played.out;
        // What came behind it is no part of what was played.
        EXPECT_LT(report["frames"], 20 * 48000);
        EXPECT_EQ(4, recorded.code) << recorded.err;
        EXPECT_NE(std::string::npos, recorded.err.find("the sound device Monitor of Null Output"))
            << recorded.err;
        EXPECT_GT(read(dir.make_name("take.wav"))[0].size(), 48000u);
        EXPECT_LT(read(dir.make_name("take.wav"))[0].size(), 20u * 48000);
    }

    PulseServer server;
    live::DeviceModule devices{BUILD_DIR};
    CommandRun recorded{};
    std::chrono::steady_clock::time_point signal_time;
};

} // namespace

TEST_F(PulseTest, ListsWhatPlaysAndWhatRecords) {
    auto const list = devices.list_devices();
    auto const has = [&](auto is_so) { return std::any_of(list.begin(), list.end(), is_so); };
    EXPECT_TRUE(has([](auto const& info) {
        return info.system == "PulseAudio" && info.name == "Null Output" && info.nbr_out == 2 &&
               info.default_out_flag && !info.default_in_flag;
    }));
    EXPECT_TRUE(has([](auto const& info) {
        return info.system == "PulseAudio" && info.name == "Monitor of Null Output" &&
               info.nbr_in == 2 && !info.default_out_flag && info.default_in_flag;
    }));
}

// From the first frame to the last, though the device stops as soon as the end was handed over. A
// latency that a busy machine keeps.
TEST_F(PulseTest, ASessionIsHeardAsItRenders) {
    ::setenv("PULSE_LATENCY_MSEC", "1000", 1);
    settings.block_len = block_len;
    int const track = add_track("one");
    add_clip(track, add_noise(2, 90000, 44100), 0.5);
    add_clip(track, add_noise(1, 60000, 48000), 1.2).fade_in = 0.3;
    expect_heard(render(), play());
}

TEST_F(PulseTest, OneChannelIsHeardOnBothSides) {
    ::setenv("PULSE_LATENCY_MSEC", "1000", 1);
    settings.block_len = block_len;
    session.nbr_chn = 1;
    add_clip(add_track("one", 1), add_noise(1, 30000, 48000), 0.5);
    Channels const mix = render();
    expect_heard({mix[0], mix[0]}, play());
}

TEST_F(PulseTest, ARateIsWhatTheDeviceRunsAt) {
    EXPECT_EQ(88200, open(2, 0, 88200)->get_sample_freq());
    EXPECT_EQ(44100, open(2, 0, 44100.7)->get_sample_freq());
}

TEST_F(PulseTest, TheLatencyIsSomeBlocks) {
    double const lead = measure_lead(*open(2, 0));
    EXPECT_GT(lead, 0);
    EXPECT_LT(lead, 0.05);
}

TEST_F(PulseTest, TheLatencyIsWhatTheEnvironmentTells) {
    ::setenv("PULSE_LATENCY_MSEC", "700", 1);
    double const lead = measure_lead(*open(2, 0));
    EXPECT_GT(lead, 0.25); // some of it lies with the server
    EXPECT_LT(lead, 0.75);
}

TEST_F(PulseTest, AServerThatIsKilledEndsTheCommandsWithAMessage) {
    expect_gone(play_command(SIGKILL));
}

TEST_F(PulseTest, AServerThatHangsEndsTheCommandsWithAMessage) {
    auto const played = play_command(SIGSTOP);
    EXPECT_LT(std::chrono::steady_clock::now() - signal_time, std::chrono::seconds(20));
    expect_gone(played);
}

TEST_F(PulseTest, AServerThatHangsAlreadyIsLeftAlone) {
    auto const beg = std::chrono::steady_clock::now();
    server.send(SIGSTOP);
    try {
        open(2, 0);
        FAIL();
    } catch (Error const& e) {
        EXPECT_EQ(0u, std::string(e.what()).find("there is no sound device PulseAudio:"))
            << e.what();
    }
    EXPECT_LT(std::chrono::steady_clock::now() - beg, std::chrono::seconds(15));
}

// Be it before the device asks for frames no more, or in the middle of its last ones.
TEST_F(PulseTest, AServerThatHangsAtTheEndIsLeftAlone) {
    for (int time = 0; time < 3; ++time) {
        auto const device = open(2, 0);
        std::atomic<long> nbr_calls = 0;
        device->start([&](float const* const*, float* const*, long) { ++nbr_calls; });
        EXPECT_TRUE(wait_for([&] { return nbr_calls > 100 + time; }));
        auto const beg = std::chrono::steady_clock::now();
        server.send(SIGSTOP);
        device->stop();
        EXPECT_LT(std::chrono::steady_clock::now() - beg, std::chrono::seconds(15));
        auto const seen = nbr_calls.load();
        server.send(SIGCONT);
        std::this_thread::sleep_for(std::chrono::milliseconds(300));
        EXPECT_EQ(seen, nbr_calls);
    }
}

TEST(PulseServerTest, AServerWithoutDevicesHasNone) {
    PulseServer const server("");
    ASSERT_TRUE(server.is_running()) << server.read_output();
    live::DeviceModule devices(BUILD_DIR);
    auto const list = devices.list_devices();
    EXPECT_TRUE(std::none_of(list.begin(), list.end(),
                             [](auto const& info) { return info.system == "PulseAudio"; }));
    EXPECT_EQ("none", list.back().name);
}
