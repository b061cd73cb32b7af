#include "host/session/TempoReader.h"

#include "host/session/FieldDef.h"
#include "host/session/TableReader.h"

namespace ulk::host::session {

namespace {

constexpr double min_bpm = 1;
constexpr double max_bpm = 1000;
constexpr int max_nbr_beats = 64;
constexpr double min_distance = 1e-3; // beats, between two changes

} // namespace

struct TempoReader::Fields {
    static constexpr FieldDef<TempoReader, Change> list[] = {
        {"at", &TempoReader::read_at},
        {"bpm", &TempoReader::read_bpm},
        {"beats", &TempoReader::read_beats},
    };
};

void TempoReader::read(Node const& node, ValueReader& values) {
    auto const* const list = std::get_if<Node::List>(&node.val);
    if (list != nullptr && !list->empty()) {
        TempoReader(values).read_list(*list);
    } else if (std::holds_alternative<double>(node.val)) {
        if (auto const bpm = values.read_number(node, "tempo", min_bpm, max_bpm)) {
            values.set_tempo_map(TempoMap(*bpm));
        }
    } else {
        values.refuse(node, "tempo", "a number of beats per minute, or a list of changes");
    }
}

std::vector<std::string_view> TempoReader::get_field_names() {
    return TableReader::get_names(Fields::list);
}

void TempoReader::read_list(Node::List const& list) {
    for (std::size_t pos = 0; pos < list.size(); ++pos) {
        Change change;
        change.place = list[pos].place;
        TableReader::read(Fields::list, list[pos], "a change of tempo", *this, change,
                          _values.use_diagnostics());
        if (pos > 0) {
            add_change(change);
            continue;
        }
        if (change.time.value_or(0) != 0) {
            _values.use_diagnostics().error(
                change.place, "the first tempo holds from the start; \"at\" is 0 here");
        }
        TempoMap const map;
        _values.set_tempo_map(TempoMap(change.bpm.value_or(map.get_last_bpm()),
                                       change.nbr_beats.value_or(map.get_last_nbr_beats())));
    }
}

void TempoReader::add_change(Change const& change) {
    TempoMap map = _values.use_tempo_map();
    if (!change.time) {
        _values.use_diagnostics().error(change.place,
                                        "a change of tempo behind the first needs a field \"at\"");
        return;
    }
    double const beat = map.conv_time_to_beat(*change.time);
    if (beat < _last_beat + min_distance) {
        _values.use_diagnostics().error(
            change.place, "a change of tempo lies before the one that precedes it, or upon it");
        return;
    }
    int const nbr_beats = change.nbr_beats.value_or(map.get_last_nbr_beats());
    if (nbr_beats != map.get_last_nbr_beats() && !map.is_bar_start(beat)) {
        std::string const bar = std::to_string(map.find_bar_of(beat) + 1);
        _values.use_diagnostics().error(change.place, "the beats of a bar change where a bar "
                                                      "begins, such as \"" +
                                                          bar + "|1\"");
        return;
    }
    map.add_change(beat, change.bpm.value_or(map.get_last_bpm()), nbr_beats);
    _values.set_tempo_map(std::move(map));
    _last_beat = beat;
}

void TempoReader::read_at(Node const& node, Change& change) {
    change.time = _values.read_time(node, "at", TimeOrigin());
    change.place = node.place;
}

void TempoReader::read_bpm(Node const& node, Change& change) {
    change.bpm = _values.read_number(node, "bpm", min_bpm, max_bpm);
}

void TempoReader::read_beats(Node const& node, Change& change) {
    change.nbr_beats = _values.read_whole(node, "beats", 1, max_nbr_beats);
}

} // namespace ulk::host::session
