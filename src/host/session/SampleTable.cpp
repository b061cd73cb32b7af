#include "host/session/SampleTable.h"

#include "host/session/Nearest.h"

#include <algorithm>
#include <filesystem>
#include <string_view>
#include <utility>

namespace ulk::host::session {

SampleTable::SampleTable(Session& session, Diagnostics& diagnostics,
                         std::vector<PathUse>* use_arr_ptr)
    : _session(session)
    , _diagnostics(diagnostics)
    , _use_arr_ptr(use_arr_ptr) {}

void SampleTable::note(PathUse use) {
    if (_use_arr_ptr != nullptr) {
        _use_arr_ptr->push_back(std::move(use));
    }
}

std::string SampleTable::resolve(Session::Place place, std::string const& txt) const {
    std::filesystem::path const file = _session.file_arr[static_cast<std::size_t>(place.file)];
    return (file.parent_path() / txt).string();
}

void SampleTable::add_name(std::string const& name, Session::Place place, std::string const& path) {
    std::string const resolved = resolve(place, path);
    note({PathUse::Kind::SAMPLE, place, resolved, name});
    _name_map.try_emplace(name, Name{resolved, place, path.empty()});
}

int SampleTable::find(std::string const& txt, Session::Place place) {
    auto const it = _name_map.find(txt);
    if (it != _name_map.end()) {
        it->second.used_flag = true;
        return find_path(it->second.path, place);
    }
    if (txt.find_first_of("./") != std::string::npos) {
        std::string const path = resolve(place, txt);
        note({PathUse::Kind::SAMPLE, place, path, ""});
        return find_path(path, place);
    }
    std::vector<std::string_view> name_arr;
    if (!_diagnostics.is_full()) {
        for (auto const& [name, ignored] : _name_map) {
            name_arr.push_back(name);
        }
        std::sort(name_arr.begin(), name_arr.end());
    }
    std::string const hint = Nearest::ask(txt, name_arr);
    _diagnostics.error(place, "\"samples\" has no short name \"" + txt + "\"" +
                                  (hint.empty() ? "; a path has a point or a slash" : hint));
    return none;
}

int SampleTable::find_path(std::string const& path, Session::Place place) {
    auto const [it, new_flag] =
        _path_map.try_emplace(path, static_cast<int>(_session.sample_arr.size()));
    if (new_flag) {
        _session.sample_arr.push_back({path, place});
    }
    return it->second;
}

void SampleTable::check_use() const {
    for (auto const& [name, entry] : _name_map) {
        if (!entry.used_flag) {
            _diagnostics.warn(entry.place, "no clip plays \"" + name + "\"");
        }
    }
}

} // namespace ulk::host::session
