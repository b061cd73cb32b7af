#pragma once

#include "host/Automation.h"
#include "host/Bundle.h"
#include "host/Graph.h"
#include "host/HostInterface.h"
#include "host/PinBuffers.h"
#include "host/engine/Fader.h"
#include "host/engine/NotePlan.h"
#include "host/engine/NotePlayer.h"
#include "host/engine/WorkerPool.h"

#include <algorithm>
#include <memory>
#include <vector>

namespace ulk::host::engine {

// A session as a graph of plug-ins, run block by block. For each track its sample players, summed
// with the tracks that feed it, then its inserts, its volume, and the way to its output; behind the
// mix the master volume and the end point of the graph. The same sound comes for any number of
// threads.
class Engine {
public:
    using Dsp = kryn::PluginDsp;
    using Session = session::Session;

    // All outlive the object. host: answers the sample players. Throws an Error that names the
    // track of an insert that cannot be.
    Engine(Bundle& bundle, Session const& session, NotePlan const& plan,
           NotePlan::Settings const& settings, HostInterface& host);

    // The pins of a plug-in between two steps of a track: one pin in, or a second one for a dry
    // side. Throws an Error that names the track if it takes neither.
    static PinConf find_insert_conf(Plugin& plugin, Session::Track const& track);

    std::vector<std::unique_ptr<NotePlayer>> const& use_players() const { return _player_arr; }
    long long get_pos() const { return _pos; } // of the next block
    // Calls fnc(place of the player, place of its note, source range) for what sounds within the
    // next len frames. real-time, within a pass.
    template <class F>
    void walk_ranges(long len, F fnc) const;

    // Makes room for whatever a block may bring, so that process() is real-time with one thread.
    // Before the first block; for block lengths of live sound.
    void reserve_lists();
    // The next block, len frames of block_len at most. Within a pass of the cache. real-time with
    // one thread, but for lists of events and gains, which grow to their largest size once.
    void process(long len, WorkerPool& pool);

    // Below: of the last block.

    // The mix; its buffers are good until the next block.
    Dsp::PinData const& use_mix() const { return _graph.use_input(_output, 0); }
    // What a track whose output is the mix brought to it, the master volume included, with as many
    // channels as the mix has. False, and nothing written, when it was silent.
    bool render_stem(int track, float* const* chn_arr, long len) const;
    int get_nbr_sounding() const; // notes

private:
    // A track's way to where it is heard.
    struct TrackNodes {
        int input = -1; // bus in front of the inserts
        Graph::Pin out = {-1, 0};
        int mix_link = -1; // when the output is the mix
    };
    struct FaderLink {
        Fader fader;
        int link;
    };
    struct PlayerNode {
        int node;
        NotePlayer* player;
    };
    struct InsertNode {
        int node;
        Session::Insert const* info;
        int track;
        PinConf conf;
        std::unique_ptr<Automation> automation;
    };

    void add_track(int track, NotePlan const& plan, HostInterface& host);
    void add_players(int track, NotePlan const& plan, HostInterface& host);
    void add_inserts(int track);
    std::unique_ptr<Plugin> make_insert(Session::Insert const& insert);
    void connect_dry_sides();
    void connect_outputs();
    void add_output();
    void start_insert(InsertNode& insert);
    std::unique_ptr<Plugin> make_plugin(char const* id, HostInterface* host);
    int connect_track(int track, Graph::Pin dst);
    void process_level(std::vector<int> const& level, long len, WorkerPool& pool);
    Session::Track const& use_track(int track) const {
        return _session.track_arr[static_cast<std::size_t>(track)];
    }
    TrackNodes& use_nodes(int track) { return _track_arr[static_cast<std::size_t>(track)]; }

    Bundle& _bundle;
    Session const& _session;
    NotePlan::Settings _settings;
    Graph _graph;
    std::vector<TrackNodes> _track_arr;
    std::vector<std::unique_ptr<NotePlayer>> _player_arr;
    std::vector<PlayerNode> _player_node_arr; // by player
    std::vector<InsertNode> _insert_arr;
    std::vector<FaderLink> _fader_arr;
    int _mix = -1;             // bus
    int _output = -1;          // end point
    int _mix_link = -1;        // between the two
    std::vector<int> _run_arr; // nodes of a level that are not idle
    long long _pos = 0;
};

template <class F>
void Engine::walk_ranges(long len, F fnc) const {
    for (std::size_t index = 0; index < _player_arr.size(); ++index) {
        NotePlayer const& player = *_player_arr[index];
        player.walk_sounding(_pos + len, [&](std::size_t place) {
            Note const& note = player.use_note(place);
            long long const a = std::max(_pos, note.beg);
            long long const b = std::min(_pos + len, note.end);
            if (a < b) {
                fnc(index, place, note.find_range(a, b));
            }
        });
    }
}

} // namespace ulk::host::engine
