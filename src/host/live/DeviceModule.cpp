#include "host/live/DeviceModule.h"

#include "host/Error.h"
#include "host/live/ClockDevice.h"

namespace ulk::host::live {

DeviceModule::DeviceModule(std::string const& folder) {
    try {
        _library = std::make_unique<sys::SharedLibrary>(folder + "/tessitone_devices.so");
        auto* const make = _library->find<MakeDeviceSystem>("tessitone_make_device_system");
        _system.reset(make != nullptr ? make() : nullptr);
        _failure = _system == nullptr ? "the module of sound devices does not start" : "";
    } catch (std::runtime_error const& e) {
        _failure = e.what();
    }
}

std::vector<Device::Info> DeviceModule::list_devices() {
    std::vector<Device::Info> info_arr;
    if (_system != nullptr) {
        info_arr = _system->list_devices();
    }
    constexpr int max_nbr_chn = 16;
    info_arr.push_back({ClockDevice::name, "silent", max_nbr_chn, max_nbr_chn, false, {}});
    return info_arr;
}

std::unique_ptr<Device> DeviceModule::open(Device::Settings const& settings) {
    if (settings.name == ClockDevice::name) {
        return std::make_unique<ClockDevice>(settings);
    }
    if (_system == nullptr) {
        throw Error(Error::Kind_MATERIAL,
                    "no sound devices: " + _failure + "; \"--device none\" plays without sound");
    }
    try {
        return _system->open(settings);
    } catch (std::runtime_error const& e) {
        throw Error(Error::Kind_MATERIAL,
                    std::string(e.what()) + "; \"tessitone devices\" lists what there is");
    }
}

} // namespace ulk::host::live
