#pragma once

#include "host/live/Device.h"
#include "host/live/PlayReport.h"

#include <functional>
#include <optional>
#include <string>

namespace ulk::host::live {

// A session file played to a device: reads and checks it, plays and reports. Control side.
class PlayJob {
public:
    struct Settings {
        std::string session_path;
        std::string device;                // empty for the default one
        std::optional<double> sample_freq; // Hz, instead of the session's
        long block_len = 256;              // frames
        std::optional<std::string> from;   // times as in a session
        std::vector<std::string> loop;     // none, or beginning and end
    };
    // What can be asked for while it plays.
    enum class Wish { NONE, PAUSE, BEGINNING, BACK, FORTH, PREVIOUS, NEXT, STOP };

    // How it stands.
    struct View {
        Player::State const& state;
        std::string cue; // name of the last cue, empty for none
        long nbr_xruns;
    };

    using Open = std::function<std::unique_ptr<Device>(Device::Settings const&)>;
    // Called some times a second, and may take as long: what is wanted next.
    using Watch = std::function<Wish(View const& view)>;
    // What is to be told before it begins, and in between.
    using Warn = std::function<void(std::string const& txt)>;

    // Throws an Error when it cannot begin; what ends it before its time stands in the report.
    static PlayReport run(Bundle& bundle, Settings const& settings, Open const& open,
                          Warn const& warn, Watch const& watch);
};

} // namespace ulk::host::live
