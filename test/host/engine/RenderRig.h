#pragma once

#include "host/Bundle.h"
#include "host/engine/Renderer.h"
#include "support/TempDir.h"
#include "ulk/sacc/SplFileFmtDesc.h"
#include "ulk/sacc/SplFileHnd.h"

#include <gtest/gtest.h>

#include <random>

namespace test {

// Sample files of known content, a session that plays them, and what comes of it.
class RenderRig {
public:
    using Session = ulk::host::session::Session;
    using Renderer = ulk::host::engine::Renderer;
    using Channels = std::vector<std::vector<float>>; // by channel

    // Adds a file, and returns its index as a sample.
    int add_sample(Channels const& channels, double sample_freq) {
        using namespace ulk::sacc;
        int const index = static_cast<int>(session.sample_arr.size());
        std::string const path = dir.make_name("sample " + std::to_string(index) + ".wav");
        std::size_t const len = channels[0].size();
        std::vector<float> frames;
        for (std::size_t pos = 0; pos < len; ++pos) {
            for (auto const& channel : channels) {
                frames.push_back(channel[pos]);
            }
        }
        SplFileFmtDesc desc;
        desc.set_data(SplFileFmt_WAV, SplFileBitFmt_F32, sample_freq,
                      static_cast<int>(channels.size()));
        SplFileHnd file;
        EXPECT_EQ(0, file.create_new(file_mgr, path.c_str(), desc, 0));
        EXPECT_EQ(0, file.write_block(frames.data(), 0, static_cast<long>(len)));
        EXPECT_EQ(0, file.close());
        session.sample_arr.push_back({path, {}});
        fact_arr.push_back(
            {static_cast<long long>(len), sample_freq, static_cast<int>(channels.size()), ""});
        return index;
    }
    int add_noise(int nbr_chn, long len, double sample_freq) {
        Channels channels(static_cast<std::size_t>(nbr_chn));
        std::uniform_real_distribution<float> dist(-0.5f, 0.5f);
        for (auto& channel : channels) {
            for (long pos = 0; pos < len; ++pos) {
                channel.push_back(dist(rng));
            }
        }
        noise_arr.resize(session.sample_arr.size() + 1);
        noise_arr.back() = channels;
        return add_sample(channels, sample_freq);
    }
    int add_track(std::string const& name, int nbr_chn = 2) {
        Session::Track track;
        track.name = name;
        track.nbr_chn = nbr_chn;
        session.track_arr.push_back(track);
        return static_cast<int>(session.track_arr.size()) - 1;
    }
    Session::Clip& add_clip(int track, int sample, double at) {
        auto& clips = session.track_arr[static_cast<std::size_t>(track)].clips;
        Session::Clip clip;
        clip.sample = sample;
        clip.at = at;
        clips.push_back(clip);
        return clips.back();
    }

    Channels render() {
        Renderer renderer(bundle, session, fact_arr, settings);
        Channels result(static_cast<std::size_t>(session.nbr_chn));
        renderer.add_mix_output(
            "", ulk::sacc::SplFileBitFmt_F32, [&](float const* const* chn_arr, long len) {
                for (std::size_t chn = 0; chn < result.size(); ++chn) {
                    result[chn].insert(result[chn].end(), chn_arr[chn], chn_arr[chn] + len);
                }
            });
        renderer.run([](long long) { return true; });
        EXPECT_EQ(renderer.get_len(), static_cast<long long>(result[0].size()));
        stat = renderer.use_stat();
        holes = renderer.use_holes();
        dropped = renderer.use_dropped();
        return result;
    }

    TempDir dir;
    ulk::sys::Mutex mutex;
    ulk::sacc::SplFileMgr file_mgr{mutex};
    ulk::host::Bundle bundle{BUILD_DIR "/baplug.so"};
    std::mt19937 rng{1};
    Session session;
    std::vector<ulk::host::engine::SampleFacts> fact_arr;
    std::vector<Channels> noise_arr; // content of the samples made of noise
    Renderer::Settings settings;
    Renderer::Stat stat;
    std::vector<ulk::host::engine::Feeder::Loss> holes;
    std::vector<ulk::host::engine::Feeder::Loss> dropped;
};

} // namespace test
