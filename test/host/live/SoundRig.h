#pragma once

#include "host/engine/RenderRig.h"
#include "host/live/DeviceModule.h"
#include "host/live/Player.h"

#include <chrono>
#include <fstream>
#include <thread>

namespace test {

// Sessions that sound through a server, and what is heard of them.
class SoundRig : public RenderRig {
public:
    using Device = ulk::host::live::Device;
    using Player = ulk::host::live::Player;

    // Whether fnc becomes true in time.
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
    // Floats that are not 0 in a file of such that may still be written.
    long count_sounding(std::string const& name) const {
        std::ifstream file(dir.get_path() / name, std::ios::binary);
        file.ignore(44);
        long sum = 0;
        for (float val = 0; file.read(reinterpret_cast<char*>(&val), sizeof(val));) {
            sum += val != 0;
        }
        return sum;
    }
    // song.toml: a minute of noise.
    void write_long_song() {
        std::ofstream(dir.get_path() / "song.toml")
            << "[[track]]\nclips = [{ sample = \"long.wav\" }]\n";
        int const sample = add_noise(2, 60 * 48000, 48000);
        std::filesystem::rename(session.sample_arr[static_cast<std::size_t>(sample)].path,
                                dir.get_path() / "long.wav");
    }
    std::unique_ptr<Player> make_player(Device const& device) {
        Player::Settings live;
        live.sample_freq = device.get_sample_freq();
        live.block_len = device.get_block_len();
        return std::make_unique<Player>(bundle, session, fact_arr, live);
    }
    static void start(Device& device, Player& player) {
        player.start();
        device.start([&](float const* const*, float* const* out_arr, long len) {
            player.process(out_arr, len);
        });
    }
    // The whole of mix is heard somewhere, from its first sound on.
    static void expect_heard(Channels const& mix, Channels const& heard) {
        auto const is_sound = [](float val) { return val != 0; };
        auto const find_sound = [&](std::vector<float> const& chn) {
            return std::find_if(chn.begin(), chn.end(), is_sound) - chn.begin();
        };
        auto const beg = find_sound(mix[0]);
        auto const place = find_sound(heard[0]);
        auto const len = static_cast<std::ptrdiff_t>(mix[0].size()) - beg;
        ASSERT_LE(place + len, static_cast<std::ptrdiff_t>(heard[0].size()));
        for (std::size_t chn = 0; chn < mix.size(); ++chn) {
            auto const [wish, is] =
                std::mismatch(mix[chn].begin() + beg, mix[chn].end(), heard[chn].begin() + place);
            EXPECT_EQ(mix[chn].end(), wish)
                << "frame " << wish - mix[chn].begin() << ": " << *is << " for " << *wish;
        }
    }
};

} // namespace test
