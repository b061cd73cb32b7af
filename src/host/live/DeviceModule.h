#pragma once

#include "host/live/Device.h"

#include <string>

namespace ulk::host::live {

// The devices of the machine, through a module that is loaded when they are asked for, so that a
// machine without sound runs all else; and the device without sound, which is always there.
class DeviceModule {
public:
    // folder: where the module lies.
    explicit DeviceModule(std::string const& folder);

    // Without the module, or when the machine has no devices, the one without sound alone.
    std::vector<Device::Info> list_devices();
    // Throws an Error that tells what there is instead.
    std::unique_ptr<Device> open(Device::Settings const& settings);
    // Why there is no module, or not all was listed; empty when nothing failed.
    std::string const& get_failure() const { return _failure; }

private:
    std::unique_ptr<DeviceSystem> _system;
    std::string _failure;
};

} // namespace ulk::host::live
