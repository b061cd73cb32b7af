#include "host/session/TrackReferences.h"

#include "host/session/Nearest.h"
#include "host/session/QuotedText.h"

#include <cstddef>
#include <string_view>
#include <unordered_map>
#include <utility>

namespace ulk::host::session {

namespace {

// The way that sound takes to another track.
struct Edge {
    std::size_t track;
    Session::Place place;
};

// Walks through the graph of tracks, depth first.
class LoopSearch {
public:
    LoopSearch(Session const& session, std::vector<std::vector<Edge>> const& edge_arr,
               Diagnostics& diagnostics)
        : _session(session)
        , _edge_arr(edge_arr)
        , _diagnostics(diagnostics)
        , _state_arr(edge_arr.size(), State::NEW) {}

    void run() {
        for (std::size_t track = 0; track < _edge_arr.size(); ++track) {
            if (_state_arr[track] == State::NEW) {
                enter(track);
                walk();
            }
        }
    }

private:
    enum class State { NEW, ON_PATH, DONE };
    struct Step {
        std::size_t track;
        std::size_t nbr_edges; // gone so far
    };

    void enter(std::size_t track) {
        _state_arr[track] = State::ON_PATH;
        _path.push_back({track, 0});
    }

    void walk() {
        while (!_path.empty()) {
            Step& step = _path.back();
            if (step.nbr_edges == _edge_arr[step.track].size()) {
                _state_arr[step.track] = State::DONE;
                _path.pop_back();
                continue;
            }
            Edge const& edge = _edge_arr[step.track][step.nbr_edges++];
            if (_state_arr[edge.track] == State::NEW) {
                enter(edge.track);
            } else if (_state_arr[edge.track] == State::ON_PATH) {
                _diagnostics.error(edge.place, "a loop: the sound goes " + print_loop(edge.track));
            }
        }
    }

    // From a track on the path to its end and back.
    std::string print_loop(std::size_t track) const {
        constexpr std::size_t max_nbr = 8; // names
        if (_diagnostics.is_full()) {
            return "";
        }
        std::size_t beg = _path.size() - 1;
        while (_path[beg].track != track) {
            --beg;
        }
        std::string txt;
        for (std::size_t pos = beg; pos < _path.size(); ++pos) {
            if (pos - beg < max_nbr || pos + 1 == _path.size()) {
                txt += print_name(_path[pos].track) + " > ";
            } else if (pos - beg == max_nbr) {
                txt += "... > ";
            }
        }
        return txt + print_name(track);
    }

    std::string print_name(std::size_t track) const {
        return QuotedText::quote(_session.track_arr[track].name);
    }

    Session const& _session;
    std::vector<std::vector<Edge>> const& _edge_arr; // by track
    Diagnostics& _diagnostics;
    std::vector<State> _state_arr;
    std::vector<Step> _path;
};

} // namespace

void TrackReferences::add(std::string name, Session::Place place, int track, int insert) {
    _reference_arr.push_back({std::move(name), place, track, insert});
}

void TrackReferences::resolve(Session& session, Diagnostics& diagnostics) const {
    std::unordered_map<std::string_view, int> index_map;
    std::vector<std::string_view> name_arr;
    for (auto const& track : session.track_arr) {
        index_map.try_emplace(track.name, static_cast<int>(name_arr.size()));
        name_arr.push_back(track.name);
    }
    std::vector<std::vector<Edge>> edge_arr(name_arr.size());
    for (auto const& [name, place, from, insert] : _reference_arr) {
        auto const it = index_map.find(name);
        if (it == index_map.end()) {
            diagnostics.error(place,
                              "no track is called \"" + name + "\"" +
                                  (diagnostics.is_full() ? "" : Nearest::ask(name, name_arr)));
            continue;
        }
        int const to = it->second;
        auto& track = session.track_arr[static_cast<std::size_t>(from)];
        if (insert == output) {
            track.output = to;
            edge_arr[static_cast<std::size_t>(from)].push_back(
                {static_cast<std::size_t>(to), place});
        } else {
            track.inserts[static_cast<std::size_t>(insert)].dry_track = to;
            edge_arr[static_cast<std::size_t>(to)].push_back(
                {static_cast<std::size_t>(from), place});
        }
    }
    LoopSearch(session, edge_arr, diagnostics).run();
}

} // namespace ulk::host::session
