#pragma once

#include "host/session/Diagnostics.h"
#include "host/session/SampleTable.h"
#include "host/session/Session.h"
#include "host/session/ValueReader.h"

#include <string>
#include <string_view>
#include <vector>

namespace ulk::host::session {

// Reads session files.
class SessionReader {
public:
    enum class Format { TOML, JSON };

    // Reads a file, and the lists of clips that it names. Throws an Error of Kind_MATERIAL that
    // tells all mistakes, or one about a file that cannot be read.
    static Session load(std::string const& path);

    // The same, with all that is to be told in diagnostics, sorted. The session is whole if they
    // have no error; its file_arr is in any case. use_arr_ptr: takes all paths, if not null.
    static Session load(std::string const& path, Diagnostics& diagnostics,
                        std::vector<PathUse>* use_arr_ptr = nullptr);

    // The same from a text. path: where it would stand.
    static Session parse(std::string_view txt, Format format, std::string const& path,
                         Diagnostics& diagnostics, std::vector<PathUse>* use_arr_ptr = nullptr);

    // By the ending of a path, .toml or .json. Throws an Error for all others.
    static Format find_format(std::string const& path);

    static std::vector<std::string_view> get_field_names();

private:
    struct Fields; // their list

    SessionReader(Session& session, Diagnostics& diagnostics, std::vector<PathUse>* use_arr_ptr);

    void read(Node const& root);
    void read_name(Node const& node, Session& session);
    void read_rate(Node const& node, Session& session);
    void read_channels(Node const& node, Session& session);
    void read_tempo(Node const& node, Session& session);
    void read_tail(Node const& node, Session& session);
    void read_volume(Node const& node, Session& session);
    void read_samples(Node const& node, Session& session);
    void read_tracks(Node const& node, Session& session);
    void read_cues(Node const& node, Session& session);
    void skip(Node const& node, Session& session);

    Session& _session;
    ValueReader _values;
    SampleTable _samples;
};

} // namespace ulk::host::session
