// Sound through a server, against what is rendered and what was sent.

#include "host/Error.h"
#include "host/live/JackServer.h"
#include "host/live/RecordJob.h"
#include "host/live/SoundRig.h"
#include "support/CommandRun.h"

#include <nlohmann/json.hpp>

using namespace ulk::host;
using test::JackClient;
using test::JackServer;
using test::SoundRig;

namespace {

constexpr long block_len = 256;

class JackTest : public ::testing::Test, public SoundRig {
public:
    void SetUp() override {
        ASSERT_TRUE(server.is_running())
            << "jackd does not start; tools/setup installs it. It says:\n"
            << server.read_output();
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

    // Until both commands have been at work for some seconds of the server's time.
    void wait_for_commands() const {
        JackClient const client(Channels(1, {0.f}), 1);
        EXPECT_TRUE(wait_for([&] {
            return client.has_port("tessitone.*:outport 0") &&
                   client.has_port("tessitone.*:inport 0") &&
                   std::filesystem::exists(dir.get_path() / "take.wav");
        }));
        auto const end = client.get_nbr_heard() + 4 * 48000;
        EXPECT_TRUE(wait_for([&] { return client.get_nbr_heard() > end; }));
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

TEST_F(JackTest, TheFirstSystemHasTheDevicesByDefault) {
    JackClient client(Channels(2, {0.f}), 1);
    auto const list = devices.list_devices();
    auto const count = [&](auto is_so) { return std::count_if(list.begin(), list.end(), is_so); };
    EXPECT_EQ(1, count([](auto const& info) { return info.default_out_flag; }));
    EXPECT_EQ(1, count([](auto const& info) { return info.default_in_flag; }));
    EXPECT_EQ(1, count([](auto const& info) {
                  return info.system == "JACK" && info.name == "system" && info.default_out_flag &&
                         info.default_in_flag;
              }));
    EXPECT_EQ(1, count([](auto const& info) { return info.name == "test"; }));
}

TEST_F(JackTest, DevicesThatComeAndGoDoNotDisturbTheList) {
    std::atomic<bool> stop_flag = false;
    std::thread others([&] {
        while (!stop_flag) {
            JackClient const client(Channels(2, {0.f}), 1);
        }
    });
    for (int time = 0; time < 30; ++time) {
        auto const list = devices.list_devices();
        ASSERT_LE(2u, list.size());
        EXPECT_EQ("system", list.front().name);
        EXPECT_EQ("none", list.back().name);
    }
    stop_flag = true;
    others.join();
}

// Of the clients the first ones have the name in part, or no input, or one channel.
TEST_F(JackTest, ADeviceIsFoundByItsName) {
    auto const port = [](jack_client_t* client, char const* name, unsigned long flags) {
        jack_port_register(client, name, JACK_DEFAULT_AUDIO_TYPE, flags, 0);
    };
    std::vector<jack_client_t*> clients;
    for (auto const& [name, nbr_in] :
         {std::pair{"mixer 2", 2}, {"mixer 1", 1}, {"mixer", 2}, {"source", 0}, {"mono", 1}}) {
        jack_client_t* const client = jack_client_open(name, JackNoStartServer, nullptr);
        ASSERT_NE(nullptr, client);
        for (int chn = 0; chn < nbr_in; ++chn) {
            port(client, ("in" + std::to_string(chn)).c_str(), JackPortIsInput);
        }
        port(client, "out", JackPortIsOutput);
        jack_activate(client);
        clients.push_back(client);
    }
    auto const open = [&](std::string const& name) {
        try {
            return devices.open({name, 48000, block_len, 2, 0})->get_name();
        } catch (Error const& e) {
            return std::string(e.what());
        }
    };
    std::string const end = "; \"tessitone devices\" lists what there is";
    EXPECT_EQ("system", open(""));
    EXPECT_EQ("system", open("JACK:"));
    EXPECT_EQ("system", open("JACK:system"));
    EXPECT_EQ("mixer", open("mixer"));
    EXPECT_EQ("mixer", open("JACK:mixer"));
    EXPECT_EQ("mixer 2", open("JACK:mix"));
    EXPECT_EQ("mixer 2", open("ixer "));
    EXPECT_EQ("none", open("none"));
    EXPECT_EQ("none", open("silent:none"));
    EXPECT_EQ("sound device source: has 0 output channels, and not 2" + end, open("source"));
    EXPECT_EQ("sound device source: has 0 output channels, and not 2" + end, open("o"));
    EXPECT_EQ("there is no sound device ALSA:mixer" + end, open("ALSA:mixer"));
    EXPECT_EQ("there is no sound device nobody" + end, open("nobody"));
    for (jack_client_t* const client : clients) {
        jack_client_close(client);
    }
}

TEST_F(JackTest, ADeviceThatDoesNotStartIsTold) {
    auto const device = devices.open({"", 48000, block_len, 2, 0});
    server.end(SIGKILL);
    try {
        device->start([](float const* const*, float* const*, long) {});
        FAIL();
    } catch (Error const& e) {
        EXPECT_EQ(Error::Kind_IO, e.get_kind());
        EXPECT_EQ(0u, std::string(e.what()).find("the sound device system does not start: "))
            << e.what();
    }
}

TEST_F(JackTest, AServerThatHangsAtTheStartIsLeftAlone) {
    auto const beg = std::chrono::steady_clock::now();
    {
        auto const device = devices.open({"", 48000, block_len, 2, 0});
        server.send(SIGSTOP);
        try {
            device->start([](float const* const*, float* const*, long) {});
            FAIL();
        } catch (Error const& e) {
            EXPECT_STREQ("the sound device system does not start: it does not answer for 10 s; is "
                         "its server well?",
                         e.what());
        }
    }
    EXPECT_LT(std::chrono::steady_clock::now() - beg, std::chrono::seconds(30));
    server.end(SIGKILL);
}

TEST_F(JackTest, OneChannelSoundsOnBothSides) {
    settings.block_len = block_len;
    session.nbr_chn = 1;
    add_clip(add_track("one", 1), add_noise(1, 30000, 48000), 1);
    Channels const mix = render();
    auto const device = devices.open({"", 48000, block_len, 1, 0});
    auto const player = make_player(*device);
    JackClient client(Channels(2, {0.f}), 4 * 48000);
    start(*device, *player);
    ASSERT_TRUE(wait_for([&] { return client.connect("tessitone:outport 0", "test:in0"); }));
    ASSERT_TRUE(wait_for([&] { return client.connect("tessitone:outport 1", "test:in1"); }));
    ASSERT_TRUE(wait_for([&] { return player->find_state().finished_flag; }));
    device->stop();
    client.close();
    player->stop();
    expect_heard({mix[0], mix[0]}, client.heard);
}

TEST_F(JackTest, ASessionComesOutOfItsPortsAsItRenders) {
    settings.block_len = block_len;
    int const track = add_track("one");
    add_clip(track, add_noise(2, 90000, 44100), 1);
    add_clip(track, add_noise(1, 60000, 48000), 1.2).fade_in = 0.3;
    Channels const mix = render();
    auto const device = devices.open({"", 48000, block_len, 2, 0});
    ASSERT_EQ(block_len, device->get_block_len());
    auto const player = make_player(*device);
    JackClient client(Channels(2, {0.f}), 6 * 48000);
    start(*device, *player);
    // The first second is silence: time to connect.
    ASSERT_TRUE(wait_for([&] { return client.connect("tessitone:outport 0", "test:in0"); }));
    ASSERT_TRUE(wait_for([&] { return client.connect("tessitone:outport 1", "test:in1"); }));
    ASSERT_TRUE(wait_for([&] { return player->find_state().finished_flag; }));
    EXPECT_TRUE(device->is_alive());
    device->stop();
    client.close();
    player->stop();
    EXPECT_EQ(0u, player->list_losses().size());
    expect_heard(mix, client.heard);
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

// JACK cancels the thread that runs it.
TEST_F(JackTest, ACallbackIsEndedThoughTheServerIsKilledMeanwhile) {
    auto const device = devices.open({"", 48000, block_len, 2, 0});
    std::atomic<bool> done_flag = false;
    device->start([&](float const* const*, float* const*, long) {
        server.end(SIGKILL);
        std::vector<std::string> names;
        auto const end = std::chrono::steady_clock::now() + std::chrono::milliseconds(300);
        while (std::chrono::steady_clock::now() < end) {
            names.assign(1, "a name that is kept outside the object");
        }
        done_flag = true;
    });
    EXPECT_TRUE(wait_for([&] { return !device->is_alive(); }));
    device->stop();
    EXPECT_TRUE(done_flag);
}

// As users meet it: the commands, in a shell that kills the server meanwhile.
TEST_F(JackTest, AServerThatIsKilledEndsTheCommandsWithAMessage) {
    write_long_song();
    std::thread killer([this] {
        wait_for_commands();
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
    write_long_song();
    test::CommandRun played;
    std::thread player(
        [&] { played = test::CommandRun::run(dir.get_path(), "play song.toml --json"); });
    std::filesystem::create_directory(dir.get_path() / "recorder");
    test::CommandRun recorded;
    std::thread recorder([&] {
        recorded =
            test::CommandRun::run(dir.get_path() / "recorder", "record ../take.wav --format f32");
    });
    wait_for_commands();
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

TEST_F(JackTest, AServerThatHangsAlreadyIsLeftAlone) {
    server.send(SIGSTOP);
    auto const list = devices.list_devices();
    EXPECT_TRUE(std::none_of(list.begin(), list.end(),
                             [](auto const& info) { return info.system == "JACK"; }));
    EXPECT_EQ("JACK: it does not answer for 10 s; is its server well?", devices.get_failure());
    try {
        devices.open({"JACK:", 48000, block_len, 2, 0});
        FAIL();
    } catch (Error const& e) {
        EXPECT_EQ("there is no sound device JACK:; JACK: it does not answer for 10 s; is its "
                  "server well?; \"tessitone devices\" lists what there is",
                  std::string(e.what()));
    }
    server.end(SIGKILL);
    devices.list_devices();
    EXPECT_EQ("", devices.get_failure()); // nobody waits any more
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
    auto const player = make_player(*device);
    start(*device, *player);
    ASSERT_TRUE(wait_for([&] { return client.connect("tessitone:outport 0", "test:in0"); }));
    ASSERT_TRUE(wait_for([&] { return client.connect("tessitone:outport 1", "test:in1"); }));
    ASSERT_TRUE(wait_for([&] { return player->find_state().time > 2; }));
    player->locate(*player->find_next_cue(2));
    ASSERT_TRUE(wait_for([&] { return player->find_state().finished_flag; }));
    device->stop();
    client.close();
    player->stop();
    EXPECT_TRUE(player->list_losses().empty());
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
