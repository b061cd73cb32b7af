#pragma once

#include "host/session/Session.h"
#include "soak/Material.h"

#include <random>
#include <vector>

namespace soak {

// A session at random in which at most one clip sounds on a channel at a time, so that each frame
// of it is known.
class Score {
public:
    // A clip as it is heard. Times are in frames of the session.
    struct Event {
        int track; // indices in the session
        int clip;
        Sample const* sample;
        long long at;
        long long len;      // at full level
        long long offset;   // in the sample
        double gain;        // factor
        bool released_flag; // fades out behind its length
        long long end() const { return at + len + (released_flag ? fade_len : 0); }
    };
    // A frame of a channel.
    struct Frame {
        Event const* event = nullptr; // none for silence
        double val = 0;               // at full level
        bool fade_flag = false;       // may be anything between silence and that
    };

    static constexpr long long fade_len = 240; // frames, where clips begin or end within a sample

    Score(Material const& material, unsigned seed);
    Score(Score const&) = delete;
    Score& operator=(Score const&) = delete;

    ulk::host::session::Session const& use_session() const { return _session; }
    std::vector<ulk::host::engine::SampleFacts> const& use_facts() const { return _fact_arr; }
    int get_nbr_chn() const { return _session.nbr_chn; }
    std::vector<Event> const& use_events(int chn) const { // ascending
        return _event_arr[static_cast<std::size_t>(chn)];
    }
    Frame find(int chn, long long pos) const;

private:
    using Session = ulk::host::session::Session;

    long long draw(long long least, long long most) {
        return std::uniform_int_distribution<long long>(least, most)(_rng);
    }
    std::vector<Sample const*> list_samples(int chn, Material const& material) const;
    int add_track(int chn);
    int add_sample(Sample const& sample);
    void fill_channel(int chn, Material const& material, long long len);
    Event make_event(Sample const& sample, long long at);
    void add_clip(int chn, Event& event);

    std::mt19937 _rng;
    Session _session;
    std::vector<ulk::host::engine::SampleFacts> _fact_arr;
    std::vector<std::vector<Event>> _event_arr; // by channel
};

} // namespace soak
