#include "host/session/SessionReader.h"

#include "host/Error.h"
#include "host/session/CueReader.h"
#include "host/session/FieldDef.h"
#include "host/session/JsonTree.h"
#include "host/session/TableReader.h"
#include "host/session/TempoReader.h"
#include "host/session/TextFile.h"
#include "host/session/TomlTree.h"
#include "host/session/TrackReader.h"

#include <filesystem>
#include <utility>

namespace ulk::host::session {

struct SessionReader::Fields {
    // What settles the meaning of times, channels and names comes before its users.
    static constexpr FieldDef<SessionReader, Session> list[] = {
        {"name", &SessionReader::read_name},         {"rate", &SessionReader::read_rate},
        {"channels", &SessionReader::read_channels}, {"tempo", &SessionReader::read_tempo},
        {"tail", &SessionReader::read_tail},         {"volume", &SessionReader::read_volume},
        {"samples", &SessionReader::read_samples},   {"track", &SessionReader::read_tracks, true},
        {"cue", &SessionReader::read_cues},          {"$schema", &SessionReader::skip},
    };
};

Session SessionReader::load(std::string const& path) {
    Diagnostics diagnostics;
    Session session = load(path, diagnostics);
    diagnostics.check(session.file_arr);
    return session;
}

Session SessionReader::load(std::string const& path, Diagnostics& diagnostics,
                            std::vector<PathUse>* use_arr_ptr) {
    Format const format = find_format(path);
    return parse(TextFile::read(path), format, path, diagnostics, use_arr_ptr);
}

Session SessionReader::parse(std::string_view txt, Format format, std::string const& path,
                             Diagnostics& diagnostics, std::vector<PathUse>* use_arr_ptr) {
    Session session;
    session.file_arr = {path};
    session.name = std::filesystem::path(path).stem().string();
    auto const root = format == Format::TOML ? TomlTree::parse(txt, 0, diagnostics)
                                             : JsonTree::parse(txt, 0, diagnostics);
    if (root) {
        SessionReader(session, diagnostics, use_arr_ptr).read(*root);
    }
    diagnostics.sort();
    return session;
}

SessionReader::Format SessionReader::find_format(std::string const& path) {
    std::string ending = std::filesystem::path(path).extension().string();
    for (char& c : ending) {
        c = c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    }
    if (ending != ".toml" && ending != ".json") {
        throw Error(Error::Kind_MATERIAL,
                    path + ": the name of a session ends in .toml or .json, as its language is");
    }
    return ending == ".toml" ? Format::TOML : Format::JSON;
}

std::vector<std::string_view> SessionReader::get_field_names() {
    return TableReader::get_names(Fields::list);
}

SessionReader::SessionReader(Session& session, Diagnostics& diagnostics,
                             std::vector<PathUse>* use_arr_ptr)
    : _session(session)
    , _values(diagnostics)
    , _samples(session, diagnostics, use_arr_ptr) {}

void SessionReader::read(Node const& root) {
    TableReader::read(Fields::list, root, "a session", *this, _session, _values.use_diagnostics());
    _samples.check_use();
}

void SessionReader::read_name(Node const& node, Session& session) {
    session.name = _values.read_text(node, "name").value_or(session.name);
}

void SessionReader::read_rate(Node const& node, Session& session) {
    if (auto const rate = _values.read_whole(node, "rate", 8000, 384000)) {
        session.sample_freq = *rate;
        _values.set_sample_freq(*rate);
    }
}

void SessionReader::read_channels(Node const& node, Session& session) {
    session.nbr_chn =
        _values.read_whole(node, "channels", 1, Session::max_nbr_chn).value_or(session.nbr_chn);
}

void SessionReader::read_tempo(Node const& node, Session& session) {
    TempoReader::read(node, _values);
    session.tempo_map = _values.use_tempo_map();
}

void SessionReader::read_tail(Node const& node, Session& session) {
    auto const origin = TimeOrigin::make_length(_values.use_tempo_map().get_last_time());
    session.tail = _values.read_time(node, "tail", origin).value_or(session.tail);
}

void SessionReader::read_volume(Node const& node, Session& session) {
    if (auto curve = _values.read_levels(node, "volume", TimeOrigin())) {
        session.volume = std::move(*curve);
    }
}

void SessionReader::read_samples(Node const& node, Session&) {
    auto const* const table = std::get_if<Node::Table>(&node.val);
    if (table == nullptr) {
        _values.refuse(node, "samples", "a table of short names and paths");
        return;
    }
    for (Node::Field const& field : *table) {
        // A name whose path is wrong is known all the same.
        auto const path = _values.read_text(field.node, field.name);
        _samples.add_name(field.name, field.node.place, path.value_or(""));
    }
}

void SessionReader::skip(Node const&, Session&) {}

void SessionReader::read_tracks(Node const& node, Session& session) {
    TrackReader(session, _values, _samples).read(node);
}

void SessionReader::read_cues(Node const& node, Session& session) {
    CueReader(_values).read(node, session.cue_arr);
}

} // namespace ulk::host::session
