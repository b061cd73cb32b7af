#pragma once

#include "devices/Found.h"
#include "host/live/Device.h"

#include <algorithm>
#include <string>
#include <vector>

namespace ulk::devices {

// Which device a wish means: a name of one or a part of it, or the default, each with its system
// before it where that matters ("JACK:system", "JACK:").
class Wish {
public:
    enum Match { Match_NONE, Match_PART, Match_EXACT };

    explicit Wish(host::live::Device::Settings const& settings)
        : _settings(settings)
        , _systems(list_systems())
        , _name(settings.name) {
        for (RtAudio::Api const api : list_systems()) {
            if (std::string const prefix = get_system_name(api) + ":"; _name.starts_with(prefix)) {
                _systems = {api};
                _name.erase(0, prefix.size());
                break;
            }
        }
    }

    std::vector<RtAudio::Api> const& use_systems() const { return _systems; }
    Match find_match(RtAudio::DeviceInfo const& info) const {
        if (_name.empty() ? is_default(info) : info.name == _name) {
            return Match_EXACT;
        }
        bool const part_flag = !_name.empty() && info.name.find(_name) != std::string::npos;
        return part_flag ? Match_PART : Match_NONE;
    }
    // Why it has not the channels; empty when it has.
    std::string find_misfit(RtAudio::DeviceInfo const& info) const {
        auto const find_lack = [&](unsigned there, int wanted, char const* kind) {
            return wanted <= static_cast<int>(std::min(there, max_nbr_chn))
                       ? ""
                       : "sound device " + info.name + ": has " + std::to_string(there) + " " +
                             kind + " channels, and not " + std::to_string(wanted);
        };
        std::string const lack = find_lack(info.outputChannels, _settings.nbr_out, "output");
        return lack.empty() ? find_lack(info.inputChannels, _settings.nbr_in, "input") : lack;
    }

private:
    bool is_default(RtAudio::DeviceInfo const& info) const {
        return _settings.nbr_out > 0 ? info.isDefaultOutput : info.isDefaultInput;
    }

    host::live::Device::Settings const& _settings;
    std::vector<RtAudio::Api> _systems; // where to look
    std::string _name;                  // without that of the system
};

} // namespace ulk::devices
