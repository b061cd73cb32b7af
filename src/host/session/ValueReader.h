#pragma once

#include "host/session/Diagnostics.h"
#include "host/session/Node.h"
#include "host/session/TimeScale.h"

#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace ulk::host::session {

// Reads the values of fields. What is no such value, or out of its range, is told to diagnostics
// and gives nothing. name: of the field, for the message.
class ValueReader {
public:
    static constexpr double max_time = 1e7; // s, of all times and lengths
    static constexpr double max_level = 24; // dB

    explicit ValueReader(Diagnostics& diagnostics)
        : _diagnostics(diagnostics) {}

    // Settle what times mean from now on.
    void set_sample_freq(double sample_freq) { _scale.sample_freq = sample_freq; }
    void set_tempo_map(TempoMap map) { _scale.tempo_map = std::move(map); }
    TempoMap const& use_tempo_map() const { return _scale.tempo_map; }

    Diagnostics& use_diagnostics() { return _diagnostics; }

    // Tells what was expected, and what is there.
    void refuse(Node const& node, std::string_view name, std::string const& expected);

    std::optional<double> read_number(Node const& node, std::string_view name, double min,
                                      double max);
    std::optional<int> read_whole(Node const& node, std::string_view name, int min, int max);
    std::optional<bool> read_flag(Node const& node, std::string_view name);
    // Not empty and without control characters.
    std::optional<std::string> read_text(Node const& node, std::string_view name);
    std::optional<double> read_time(Node const& node, std::string_view name,
                                    TimeOrigin const& origin);
    // dB, from Session::silence on
    std::optional<double> read_level(Node const& node, std::string_view name);
    std::optional<double> read_pan(Node const& node, std::string_view name);

    // A value that stands, or points that give times by the origin.
    std::optional<Session::Curve> read_levels(Node const& node, std::string_view name,
                                              TimeOrigin const& origin);
    std::optional<Session::Curve> read_pans(Node const& node, std::string_view name,
                                            TimeOrigin const& origin);

    // Calls read_val (node, time) for each point of a list, [time, value] with ascending times.
    template <class ReadVal>
    bool read_points(Node const& node, std::string_view name, TimeOrigin const& origin,
                     ReadVal read_val);

private:
    using ReadMember = std::optional<double> (ValueReader::*)(Node const&, std::string_view);

    std::optional<TimeText> find_time(Node const& node) const;
    std::optional<Session::Curve> read_curve(Node const& node, std::string_view name,
                                             TimeOrigin const& origin, ReadMember read_val);

    Diagnostics& _diagnostics;
    TimeScale _scale;
};

} // namespace ulk::host::session

#include "host/session/ValueReader.hpp"
