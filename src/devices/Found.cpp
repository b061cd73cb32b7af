#include "devices/Found.h"

namespace ulk::devices {

std::string get_system_name(RtAudio::Api api) {
    switch (api) {
    case RtAudio::UNIX_JACK:
        return "JACK";
    case RtAudio::LINUX_PULSE:
        return "PulseAudio";
    default:
        return RtAudio::getApiDisplayName(api);
    }
}

std::vector<RtAudio::Api> list_systems() {
    std::vector<RtAudio::Api> result;
    RtAudio::getCompiledApi(result);
    return result;
}

} // namespace ulk::devices
