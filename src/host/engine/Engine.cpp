#include "host/engine/Engine.h"

#include "host/Error.h"
#include "ulk/ace/Constants.h"
#include "ulk/dsp/BasicMixing.h"

#include <algorithm>

namespace ulk::host::engine {

using ace::Constants;

namespace {

constexpr std::size_t nbr_spans = 32; // of a fader in a block, as a rule

} // namespace

Engine::Engine(Bundle& bundle, Session const& session, NotePlan const& plan,
               NotePlan::Settings const& settings, HostInterface& host)
    : _bundle(bundle)
    , _session(session)
    , _settings(settings) {
    int const nbr_tracks = static_cast<int>(session.track_arr.size());
    _track_arr.resize(session.track_arr.size());
    for (int track = 0; track < nbr_tracks; ++track) {
        add_track(track, plan, host);
    }
    add_output();
    connect_dry_sides();
    connect_outputs();
    _graph.prepare(settings.block_len);
    for (PlayerNode const& player : _player_node_arr) {
        _graph.use_plugin(player.node).clear_buffers(); // the master volume does not fade in
    }
    for (InsertNode& insert : _insert_arr) {
        start_insert(insert);
    }
    for (FaderLink const& fader : _fader_arr) {
        _graph.use_gain(fader.link).reserve(nbr_spans);
    }
    _run_arr.reserve(static_cast<std::size_t>(_graph.get_nbr_nodes()));
}

std::unique_ptr<Plugin> Engine::make_plugin(char const* id, HostInterface* host) {
    auto plugin = _bundle.instantiate(id, host);
    plugin->init();
    plugin->set_sample_freq(_settings.sample_freq);
    return plugin;
}

void Engine::add_track(int track, NotePlan const& plan, HostInterface& host) {
    Session::Track const& info = use_track(track);
    TrackNodes& nodes = use_nodes(track);
    nodes.input = _graph.add_bus(info.name, info.nbr_chn);
    nodes.out = {nodes.input, 0};
    if (!info.mute_flag) {
        add_players(track, plan, host);
    }
    add_inserts(track);
}

void Engine::add_players(int track, NotePlan const& plan, HostInterface& host) {
    Session::Track const& info = use_track(track);
    PinConf conf = {{}, {info.nbr_chn}};
    if (plan.has_stereo_pin(track)) {
        conf.out.push_back(2);
    }
    for (std::vector<Note> const& note_arr : plan.use_players(track)) {
        auto plugin = make_plugin(Constants::PLUGIN_ID_TAPE, &host);
        plugin->set_pin_conf(conf);
        _player_arr.push_back(
            std::make_unique<NotePlayer>(note_arr, info, *plugin, _settings.sample_freq));
        int const node = _graph.add_node(info.name + ", player", std::move(plugin), conf);
        _player_node_arr.push_back({node, _player_arr.back().get()});
        for (std::size_t pin = 0; pin < conf.out.size(); ++pin) {
            _graph.connect({node, static_cast<int>(pin)}, {use_nodes(track).input, 0});
        }
    }
}

PinConf Engine::find_insert_conf(Plugin& plugin, Session::Track const& track) {
    long const nbr_chn = track.nbr_chn;
    for (PinConf const& wish :
         {PinConf{{nbr_chn}, {nbr_chn}}, PinConf{{nbr_chn, nbr_chn}, {nbr_chn}}}) {
        PinConf conf = wish;
        if (plugin.negotiate_pin_conf(conf) == Dsp::CmdPlug::NegoResult_OK && conf == wish) {
            return conf;
        }
    }
    throw Error(Error::Kind_MATERIAL, "track " + track.name + ": " + plugin.get_id() +
                                          " cannot be an insert of " + std::to_string(nbr_chn) +
                                          " channels");
}

std::unique_ptr<Plugin> Engine::make_insert(Session::Insert const& insert) {
    try {
        return make_plugin(insert.plugin.c_str(), nullptr);
    } catch (Error const& e) {
        throw Error(Error::Kind_MATERIAL, _session.tell(insert.place) + ": " + e.what());
    }
}

void Engine::add_inserts(int track) {
    TrackNodes& nodes = use_nodes(track);
    for (Session::Insert const& insert : use_track(track).inserts) {
        auto plugin = make_insert(insert);
        PinConf const conf = find_insert_conf(*plugin, use_track(track));
        plugin->set_pin_conf(conf);
        std::vector<ParamChange> change_arr;
        for (Session::ParamPoint const& point : insert.params) {
            change_arr.push_back(
                {_session.tell(point.place), point.time, point.param, point.val, point.ramp});
        }
        auto automation =
            std::make_unique<Automation>(ParamTable(*plugin), change_arr, _settings.sample_freq);
        automation->start_at(_settings.first);
        int const node =
            _graph.add_node(use_track(track).name + ", " + insert.plugin, std::move(plugin), conf);
        _insert_arr.push_back({node, &insert, track, conf, std::move(automation)});
        _graph.connect(nodes.out, {node, 0});
        nodes.out = {node, 0};
    }
}

// One silent frame brings what jumps at the start to its place, without the smoothing of a change
// on the way.
void Engine::start_insert(InsertNode& insert) {
    PinBuffers in(insert.conf.in, 1);
    PinBuffers out(insert.conf.out, 1);
    in.set_all_states(Dsp::State_DIRTY);
    out.set_all_states(Dsp::State_CLEARED);
    Dsp::CmdPlug::Process block = {in.use_port(), out.use_port(), insert.automation->find_start(),
                                   1};
    _graph.process_plugin(insert.node, block);
    _graph.use_plugin(insert.node).clear_buffers();
}

void Engine::connect_dry_sides() {
    for (InsertNode const& insert : _insert_arr) {
        if (insert.conf.in.size() < 2) {
            continue;
        }
        Graph::Pin const dry = {insert.node, 1};
        if (insert.info->dry == Session::Dry::PRE) {
            _graph.connect({use_nodes(insert.track).input, 0}, dry);
        } else if (insert.info->dry == Session::Dry::TRACK) {
            connect_track(insert.info->dry_track, dry);
        }
    }
}

void Engine::connect_outputs() {
    for (std::size_t track = 0; track < _track_arr.size(); ++track) {
        int const index = static_cast<int>(track);
        int const output = use_track(index).output;
        bool const mix_flag = output == Session::master;
        int const link = connect_track(index, {mix_flag ? _mix : use_nodes(output).input, 0});
        _track_arr[track].mix_link = mix_flag ? link : -1;
    }
}

// A track's sound behind its volume; -1 when the track is mute.
int Engine::connect_track(int track, Graph::Pin dst) {
    Session::Track const& info = use_track(track);
    if (info.mute_flag) {
        return -1;
    }
    int const link = _graph.connect(use_nodes(track).out, dst);
    _fader_arr.push_back({Fader(info.volume, _settings.sample_freq), link});
    return link;
}

void Engine::add_output() {
    _mix = _graph.add_bus("mix", _session.nbr_chn);
    PinConf const conf = {{_session.nbr_chn}, {}};
    auto plugin = make_plugin(Constants::PLUGIN_ID_AUDIO_OUTPUT, nullptr);
    plugin->set_pin_conf(conf);
    _output = _graph.add_node("output", std::move(plugin), conf);
    _mix_link = _graph.connect({_mix, 0}, {_output, 0});
    _fader_arr.push_back({Fader(_session.volume, _settings.sample_freq), _mix_link});
}

void Engine::reserve_lists() {
    for (auto const& player : _player_arr) {
        player->reserve_lists(_settings.block_len);
    }
    for (FaderLink const& fader : _fader_arr) {
        _graph.use_gain(fader.link).reserve(static_cast<std::size_t>(_settings.block_len));
    }
}

void Engine::process(long len, WorkerPool& pool) {
    for (PlayerNode const& player : _player_node_arr) {
        _graph.set_events(player.node, player.player->find_events(len));
        _graph.set_idle(player.node, player.player->is_idle());
    }
    long long const session_pos = _settings.first + _pos - NotePlan::lead;
    for (InsertNode& insert : _insert_arr) {
        _graph.set_events(insert.node, insert.automation->find_block(session_pos, len));
    }
    for (FaderLink& fader : _fader_arr) {
        fader.fader.find_spans(session_pos, len, _graph.use_gain(fader.link));
    }
    for (std::vector<int> const& level : _graph.use_levels()) {
        process_level(level, len, pool);
    }
    _pos += len;
}

// Idle nodes cost nothing worth sharing, buses little.
void Engine::process_level(std::vector<int> const& level, long len, WorkerPool& pool) {
    _run_arr.clear();
    for (int const node : level) {
        if (_graph.is_idle(node) || _graph.is_bus(node)) {
            _graph.process_node(node, len);
        } else {
            _run_arr.push_back(node);
        }
    }
    pool.run(static_cast<int>(_run_arr.size()), [this, len](int step) {
        _graph.process_node(_run_arr[static_cast<std::size_t>(step)], len);
    });
}

bool Engine::render_stem(int track, float* const* chn_arr, long len) const {
    int const link = _track_arr[static_cast<std::size_t>(track)].mix_link;
    if (link < 0 || !_graph.render_link(link, chn_arr, _session.nbr_chn, false, len)) {
        return false;
    }
    for (Graph::GainSpan const& span : _graph.use_gain(_mix_link)) {
        for (int chn = 0; chn < _session.nbr_chn; ++chn) {
            dsp::BasicMixing::scale_1_vlrauto(chn_arr[chn] + span.pos, span.len, span.beg,
                                              span.end);
        }
    }
    return true;
}

int Engine::get_nbr_sounding() const {
    int sum = 0;
    for (PlayerNode const& player : _player_node_arr) {
        sum += player.player->get_nbr_sounding();
    }
    return sum;
}

} // namespace ulk::host::engine
