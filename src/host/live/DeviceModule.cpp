#include "host/live/DeviceModule.h"

#include "host/Error.h"
#include "host/live/ClockDevice.h"
#include "host/live/Levels.h"
#include "ulk/sys/SharedLibrary.h"

namespace ulk::host::live {

namespace {

// Sound systems keep threads and memory of their own beyond the calls to them: the module stays
// loaded to the end of the process.
sys::SharedLibrary& load_for_good(std::string const& path) {
    static auto* const library = new sys::SharedLibrary(path);
    return *library;
}

} // namespace

DeviceModule::DeviceModule(std::string const& folder) {
    try {
        auto* const make = load_for_good(folder + "/tessitone_devices.so")
                               .find<MakeDeviceSystem>("tessitone_make_device_system");
        _system.reset(make != nullptr ? make() : nullptr);
        _failure = _system == nullptr ? "the module of sound devices does not start" : "";
    } catch (std::runtime_error const& e) {
        _failure = e.what();
    }
}

std::vector<Device::Info> DeviceModule::list_devices() {
    std::vector<Device::Info> info_arr;
    if (_system != nullptr) {
        info_arr = _system->list_devices(_failure);
    }
    info_arr.push_back(
        {ClockDevice::name, ClockDevice::system, max_nbr_chn, max_nbr_chn, false, false, {}});
    return info_arr;
}

std::unique_ptr<Device> DeviceModule::open(Device::Settings const& settings) {
    if (settings.name == ClockDevice::name ||
        settings.name == std::string(ClockDevice::system) + ":" + ClockDevice::name) {
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
