#pragma once

#include "host/session/PathEdit.h"
#include "host/session/PathUse.h"
#include "host/session/Session.h"
#include "host/session/UniqueNames.h"

#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <string>
#include <unordered_map>
#include <vector>

namespace ulk::host::session {

// Gathers a session with all its material in one folder: the session and its lists of clips, with
// nothing but their paths changed, and the samples in a folder "samples" beside them.
class Collection {
public:
    struct Result {
        std::string session_path; // of the copy
        long nbr_samples = 0;
        std::uintmax_t nbr_bytes = 0; // of the samples
    };
    // Samples copied so far, and all of them.
    using Progress = std::function<void(long long done, long long total)>;

    // Reads the session, copies into a new or empty folder, and reads the copy. Throws an Error and
    // leaves nothing behind: of Kind_MATERIAL for a session with mistakes or missing material, of
    // Kind_USE for a folder that is not empty, of Kind_IO for what fails on the way.
    static Result collect(std::string const& session_path, std::string const& folder,
                          Progress const& progress);

private:
    explicit Collection(std::string const& session_path);

    void plan();
    std::string const& find_target(PathUse const& use);
    std::string make_target(PathUse const& use);
    void copy(std::filesystem::path const& folder, Progress const& progress);
    void write_texts(std::filesystem::path const& folder) const;
    void verify(std::filesystem::path const& folder) const;
    void verify(Session::Clip const& clip, Session const& copy, Session::Clip const& copied,
                std::filesystem::path const& folder) const;

    Session _session;
    std::vector<PathUse> _use_arr;
    std::string _session_name; // of the copy's file
    UniqueNames _top_names;
    UniqueNames _sample_names;
    // To paths in the copy.
    std::unordered_map<std::string, std::string> _target_map; // from paths as they are opened
    std::map<std::string, std::string> _sample_map;           // from the one path of each file
    std::map<std::string, std::string> _list_map;
    std::vector<std::vector<PathEdit::Edit>> _edit_arr; // by file of the session
    Result _result;
};

} // namespace ulk::host::session
