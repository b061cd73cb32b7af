#pragma once

#include "host/live/Device.h"

#include <RtAudio.h>

namespace ulk::devices {

// The devices of all sound systems that RtAudio reaches.
class RtSystem : public host::live::DeviceSystem {
public:
    std::vector<host::live::Device::Info> list_devices(std::string& failures) override;
    // Of those that have the channels: the first of this very name, or else the first with a part
    // of it.
    std::unique_ptr<host::live::Device> open(host::live::Device::Settings const& settings) override;
};

} // namespace ulk::devices
