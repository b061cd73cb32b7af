#include "host/session/TrackReader.h"

#include "host/Error.h"
#include "host/session/ClipList.h"
#include "host/session/FieldDef.h"
#include "host/session/TableReader.h"
#include "host/session/TextFile.h"

#include <utility>

namespace ulk::host::session {

namespace {

constexpr std::string_view master_name = "master";

} // namespace

struct TrackReader::Fields {
    static constexpr FieldDef<TrackReader, Track> list[] = {
        {"name", &TrackReader::read_name},     {"channels", &TrackReader::read_channels},
        {"output", &TrackReader::read_output}, {"volume", &TrackReader::read_volume},
        {"mute", &TrackReader::read_mute},     {"inserts", &TrackReader::read_inserts},
        {"clips", &TrackReader::read_clips},
    };
};

TrackReader::TrackReader(Session& session, ValueReader& values, SampleTable& samples)
    : _session(session)
    , _values(values)
    , _samples(samples)
    , _clips(values, samples)
    , _inserts(values, _references) {}

void TrackReader::read(Node const& node) {
    auto const* const list = std::get_if<Node::List>(&node.val);
    if (list == nullptr || list->empty()) {
        _values.refuse(node, "track", "a list of one table or more");
        return;
    }
    for (Node const& elt : *list) {
        _track = static_cast<int>(_session.track_arr.size());
        Track track;
        track.place = elt.place;
        track.name = "Track " + std::to_string(_track + 1);
        track.nbr_chn = _session.nbr_chn;
        TableReader::read(Fields::list, elt, "a track", *this, track, _values.use_diagnostics());
        check_name(track);
        _session.track_arr.push_back(std::move(track));
    }
    _references.resolve(_session, _values.use_diagnostics());
}

std::vector<std::string_view> TrackReader::get_field_names() {
    return TableReader::get_names(Fields::list);
}

void TrackReader::check_name(Track const& track) {
    auto const [it, new_flag] = _line_map.try_emplace(track.name, track.place.line);
    if (!new_flag) {
        _values.use_diagnostics().error(track.place, "the name \"" + track.name +
                                                         "\" belongs to the track of line " +
                                                         std::to_string(it->second) + " already");
    }
}

void TrackReader::read_name(Node const& node, Track& track) {
    track.name = _values.read_text(node, "name").value_or(track.name);
    if (track.name == master_name) {
        _values.use_diagnostics().error(node.place,
                                        "\"master\" is the mix; call the track otherwise");
    }
}

void TrackReader::read_channels(Node const& node, Track& track) {
    track.nbr_chn =
        _values.read_whole(node, "channels", 1, Session::max_nbr_chn).value_or(track.nbr_chn);
}

void TrackReader::read_output(Node const& node, Track&) {
    auto const name = _values.read_text(node, "output");
    if (name && *name != master_name) {
        _references.add(*name, node.place, _track, TrackReferences::output);
    }
}

void TrackReader::read_volume(Node const& node, Track& track) {
    if (auto curve = _values.read_levels(node, "volume", TimeOrigin())) {
        track.volume = std::move(*curve);
    }
}

void TrackReader::read_mute(Node const& node, Track& track) {
    track.mute_flag = _values.read_flag(node, "mute").value_or(false);
}

void TrackReader::read_inserts(Node const& node, Track& track) {
    _inserts.read(node, track.inserts, _track);
}

void TrackReader::read_clips(Node const& node, Track& track) {
    if (auto const* const list = std::get_if<Node::List>(&node.val)) {
        track.clips.reserve(list->size());
        for (Node const& elt : *list) {
            _clips.read(elt, track.clips);
        }
    } else if (std::holds_alternative<std::string>(node.val)) {
        if (auto const txt = _values.read_text(node, "clips")) {
            read_clip_list(*txt, node.place, track);
        }
    } else {
        _values.refuse(node, "clips", "a list of tables, or the path of a CSV file");
    }
}

void TrackReader::read_clip_list(std::string const& txt, Session::Place place, Track& track) {
    std::string path = _samples.resolve(place, txt);
    _samples.note({PathUse::Kind::CLIP_LIST, place, path, ""});
    try {
        std::string const content = TextFile::read(path);
        int const file = static_cast<int>(_session.file_arr.size());
        _session.file_arr.push_back(std::move(path));
        ClipList::parse(content, file, _clips, track.clips, _values.use_diagnostics());
    } catch (Error const& e) {
        if (e.get_kind() != Error::Kind_MATERIAL) {
            throw;
        }
        _values.use_diagnostics().error(place, e.what());
    }
}

} // namespace ulk::host::session
