#include "host/session/ClipReader.h"

#include "host/session/FieldDef.h"
#include "host/session/TableReader.h"

#include <utility>

namespace ulk::host::session {

namespace {

constexpr char const* what = "a clip";

} // namespace

struct ClipReader::Fields {
    // What is measured from the clip's beginning comes behind it.
    static constexpr FieldDef<ClipReader, Clip> list[] = {
        {"sample", &ClipReader::read_sample, true}, {"at", &ClipReader::read_at},
        {"offset", &ClipReader::read_offset},       {"length", &ClipReader::read_length},
        {"gain", &ClipReader::read_gain},           {"pan", &ClipReader::read_pan},
        {"pitch", &ClipReader::read_pitch},         {"fade_in", &ClipReader::read_fade_in},
        {"fade_out", &ClipReader::read_fade_out},   {"volume", &ClipReader::read_volume},
    };
};

void ClipReader::read(Node const& node, std::vector<Clip>& clip_arr) {
    Clip clip;
    clip.sample = SampleTable::none;
    clip.place = node.place;
    TableReader::read(Fields::list, node, what, *this, clip, _values.use_diagnostics());
    if (clip.sample != SampleTable::none) {
        clip_arr.push_back(std::move(clip));
    }
}

void ClipReader::check_name(std::string_view name, Session::Place place) {
    TableReader::check_name(Fields::list, name, place, what, _values.use_diagnostics());
}

std::vector<std::string_view> ClipReader::get_field_names() {
    return TableReader::get_names(Fields::list);
}

void ClipReader::read_sample(Node const& node, Clip& clip) {
    if (auto const txt = _values.read_text(node, "sample")) {
        clip.sample = _samples.find(*txt, node.place);
    }
}

void ClipReader::read_at(Node const& node, Clip& clip) {
    TimeOrigin origin;
    origin.min = -ValueReader::max_time;
    clip.at = _values.read_time(node, "at", origin).value_or(clip.at);
}

void ClipReader::read_offset(Node const& node, Clip& clip) {
    auto const origin = TimeOrigin::make_length(clip.at);
    clip.offset = _values.read_time(node, "offset", origin).value_or(clip.offset);
}

void ClipReader::read_length(Node const& node, Clip& clip) {
    auto origin = TimeOrigin::make_length(clip.at);
    origin.above_flag = true;
    clip.length = _values.read_time(node, "length", origin).value_or(clip.length);
}

void ClipReader::read_gain(Node const& node, Clip& clip) {
    clip.gain = _values.read_level(node, "gain").value_or(clip.gain);
}

void ClipReader::read_pan(Node const& node, Clip& clip) {
    if (auto curve = _values.read_pans(node, "pan", TimeOrigin::make_length(clip.at))) {
        clip.pan = std::move(*curve);
    }
}

void ClipReader::read_pitch(Node const& node, Clip& clip) {
    clip.pitch = _values.read_number(node, "pitch", -24, 24).value_or(clip.pitch);
}

void ClipReader::read_fade_in(Node const& node, Clip& clip) {
    auto const origin = TimeOrigin::make_length(clip.at);
    clip.fade_in = _values.read_time(node, "fade_in", origin).value_or(clip.fade_in);
}

void ClipReader::read_fade_out(Node const& node, Clip& clip) {
    auto const origin = TimeOrigin::make_length(clip.at);
    clip.fade_out = _values.read_time(node, "fade_out", origin).value_or(clip.fade_out);
}

void ClipReader::read_volume(Node const& node, Clip& clip) {
    if (auto curve = _values.read_levels(node, "volume", TimeOrigin::make_length(clip.at))) {
        clip.volume = std::move(*curve);
    }
}

} // namespace ulk::host::session
