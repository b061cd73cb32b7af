#include "host/session/Collection.h"

#include "host/Error.h"
#include "host/session/NewFolder.h"
#include "host/session/SampleCheck.h"
#include "host/session/SessionReader.h"
#include "host/session/TextFile.h"

#include <algorithm>
#include <fstream>
#include <set>

namespace ulk::host::session {

namespace fs = std::filesystem;

namespace {

constexpr char const* sample_folder = "samples";

void write_file(fs::path const& path, std::string const& txt) {
    std::ofstream file(path, std::ios::binary);
    file << txt;
    file.close();
    if (!file) {
        throw Error(Error::Kind_IO, path.string() + ": cannot be written");
    }
}

bool is_equal(Session::Clip const& a, Session::Clip const& b) {
    return a.at == b.at && a.offset == b.offset && a.length == b.length && a.gain == b.gain &&
           a.pitch == b.pitch && a.fade_in == b.fade_in && a.fade_out == b.fade_out &&
           a.pan.size() == b.pan.size() && a.volume.size() == b.volume.size();
}

} // namespace

Collection::Result Collection::collect(std::string const& session_path, std::string const& folder,
                                       Progress const& progress) {
    Collection collection(session_path);
    collection.plan();
    NewFolder target(folder);
    collection.copy(folder, progress);
    collection.write_texts(folder);
    collection.verify(folder);
    target.keep();
    collection._result.session_path = (fs::path(folder) / collection._session_name).string();
    return collection._result;
}

Collection::Collection(std::string const& session_path)
    : _session_name(fs::path(session_path).filename().string()) {
    Diagnostics diagnostics;
    _session = SessionReader::load(session_path, diagnostics, &_use_arr);
    SampleCheck::report(_session, SampleCheck::look(_session), Diagnostic::Severity::ERROR,
                        diagnostics);
    diagnostics.check(_session.file_arr);
}

void Collection::plan() {
    _edit_arr.resize(_session.file_arr.size());
    _top_names.add(_session_name);
    _top_names.add(sample_folder);
    std::string const prefix = std::string(sample_folder) + "/";
    for (PathUse const& use : _use_arr) {
        if (use.name.starts_with(prefix)) {
            _sample_names.add(use.name.substr(prefix.size())); // it would mean something else
        }
    }
    for (PathUse const& use : _use_arr) {
        std::string const& target = find_target(use);
        if (!target.empty()) {
            _edit_arr[static_cast<std::size_t>(use.place.file)].push_back({use.place, target});
        }
    }
}

std::string const& Collection::find_target(PathUse const& use) {
    auto const [it, new_flag] = _target_map.try_emplace(use.path);
    if (new_flag) {
        it->second = make_target(use);
    }
    return it->second;
}

// Empty for the missing file of a short name that no clip plays.
std::string Collection::make_target(PathUse const& use) {
    std::error_code ignored;
    if (!fs::is_regular_file(use.path, ignored)) {
        return "";
    }
    std::string const name = fs::path(use.path).filename().string();
    bool const list_flag = use.kind == PathUse::Kind::CLIP_LIST;
    auto const [it, new_flag] =
        (list_flag ? _list_map : _sample_map).try_emplace(fs::canonical(use.path).string());
    if (new_flag) {
        it->second = list_flag ? _top_names.add(name)
                               : std::string(sample_folder) + "/" + _sample_names.add(name);
    }
    return it->second;
}

void Collection::copy(fs::path const& folder, Progress const& progress) {
    std::error_code error;
    fs::create_directory(folder / sample_folder, error);
    for (auto const& [path, target] : _sample_map) {
        progress(_result.nbr_samples, static_cast<long long>(_sample_map.size()));
        if (!error) {
            fs::copy_file(path, folder / target, error);
        }
        if (!error) {
            _result.nbr_bytes += fs::file_size(folder / target, error);
        }
        if (error) {
            throw Error(Error::Kind_IO, path + ": cannot be copied to " +
                                            (folder / target).string() + ": " + error.message());
        }
        ++_result.nbr_samples;
    }
    progress(_result.nbr_samples, _result.nbr_samples);
}

void Collection::write_texts(fs::path const& folder) const {
    std::set<std::string> written;
    for (std::size_t pos = _session.file_arr.size(); pos-- > 0;) { // the session last
        std::string const& path = _session.file_arr[pos];
        bool const list_flag = pos > 0;
        std::string const target = list_flag ? _target_map.at(path) : _session_name;
        if (written.insert(target).second) {
            auto const language = list_flag ? PathEdit::Language::CSV : PathEdit::Language::SESSION;
            write_file(folder / target,
                       PathEdit::apply(TextFile::read(path), language, _edit_arr[pos]));
        }
    }
}

void Collection::verify(fs::path const& folder) const {
    Session const copy = SessionReader::load((folder / _session_name).string());
    for (std::size_t track = 0; track < _session.track_arr.size(); ++track) {
        auto const& clip_arr = _session.track_arr[track].clips;
        auto const& copied_arr = copy.track_arr.at(track).clips;
        for (std::size_t pos = 0; pos < clip_arr.size(); ++pos) {
            verify(clip_arr[pos], copy, copied_arr.at(pos), folder);
        }
    }
}

void Collection::verify(Session::Clip const& clip, Session const& copy, Session::Clip const& copied,
                        fs::path const& folder) const {
    std::string const& path = _session.sample_arr[static_cast<std::size_t>(clip.sample)].path;
    std::string const& target = copy.sample_arr[static_cast<std::size_t>(copied.sample)].path;
    if (!is_equal(clip, copied) || target != (folder / _target_map.at(path)).string()) {
        throw Error(Error::Kind_IO, copy.file_arr[0] + ": the copy says something else in line " +
                                        std::to_string(copied.place.line) + " than its original");
    }
}

} // namespace ulk::host::session
