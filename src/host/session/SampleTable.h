#pragma once

#include "host/session/Diagnostics.h"
#include "host/session/PathUse.h"

#include <string>
#include <unordered_map>
#include <vector>

namespace ulk::host::session {

// Finds the samples of a session, each once, by their short names and paths.
class SampleTable {
public:
    static constexpr int none = -1;

    // Adds to the sample_arr of session, and knows its file_arr. Both outlive the table. Paths are
    // noted in use_arr_ptr if it is not null.
    SampleTable(Session& session, Diagnostics& diagnostics, std::vector<PathUse>* use_arr_ptr);

    void note(PathUse use);

    // The path that a text at a place of the session stands for.
    std::string resolve(Session::Place place, std::string const& txt) const;

    // A path that is empty is a mistake that was told before.
    void add_name(std::string const& name, Session::Place place, std::string const& path);

    // The index of the sample that is asked for in a file, or none after having told why not. A
    // text without a point and a slash is a short name, every other one may be.
    int find(std::string const& txt, Session::Place place);

    // Warns of short names that nobody asked for.
    void check_use() const;

private:
    struct Name {
        std::string path; // resolved
        Session::Place place;
        bool used_flag = false;
    };

    int find_path(std::string const& path, Session::Place place);

    Session& _session;
    Diagnostics& _diagnostics;
    std::vector<PathUse>* _use_arr_ptr;
    std::unordered_map<std::string, Name> _name_map;
    std::unordered_map<std::string, int> _path_map;
};

} // namespace ulk::host::session
