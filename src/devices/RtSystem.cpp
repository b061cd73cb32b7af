#include "devices/RtSystem.h"

#include "devices/Found.h"
#include "devices/JackTurn.h"
#include "devices/Patience.h"
#include "devices/PulseServer.h"
#include "devices/RtDevice.h"
#include "devices/Wish.h"

#include <cmath>
#include <cstdlib>
#include <optional>
#include <sstream>
#include <stdexcept>

namespace ulk::devices {

using host::live::Device;

namespace {

constexpr int pulse_blocks = 4; // of latency

// One that went away meanwhile is not known either.
RtAudio::DeviceInfo look(RtAudio& audio, unsigned id) {
    try {
        return audio.getDeviceInfo(id);
    } catch (RtAudioError const&) {
        return {};
    }
}

// What there is, and what cannot be known of the rest.
struct View {
    std::vector<Found> found_arr;
    int nbr_unknown = 0;  // devices that could not be looked into
    std::string failures; // of systems, for users
};

View look_into(RtAudio::Api api) {
    View view;
    if (api == RtAudio::LINUX_PULSE && !PulseServer::is_usable()) {
        return view;
    }
    JackTurn const turn(api);
    RtAudio audio(api);
    audio.showWarnings(false);
    unsigned const nbr_devices = audio.getDeviceCount();
    bool alsa_out_flag = api == RtAudio::LINUX_ALSA; // whose first output is to come
    for (unsigned id = 0; id < nbr_devices; ++id) {
        Found found = {api, id, look(audio, id)};
        RtAudio::DeviceInfo& info = found.info;
        if (!info.probed) {
            ++view.nbr_unknown;
            continue;
        }
        // RtAudio forgets to tell it of a device that cannot record.
        info.isDefaultOutput |= alsa_out_flag && info.outputChannels > 0;
        alsa_out_flag = alsa_out_flag && info.outputChannels == 0;
        view.found_arr.push_back(found);
    }
    return view;
}

// Until fnc(found) is true.
template <class F>
View walk(std::vector<RtAudio::Api> const& api_arr, F fnc) {
    View sum;
    for (RtAudio::Api const api : api_arr) {
        View view;
        try {
            view = Patience::call([api] { return look_into(api); });
        } catch (Patience::Exhausted const& e) {
            sum.failures +=
                (sum.failures.empty() ? "" : "; ") + get_system_name(api) + ": " + e.what();
        }
        sum.nbr_unknown += view.nbr_unknown;
        for (Found const& found : view.found_arr) {
            sum.found_arr.push_back(found);
            if (fnc(found)) {
                return sum;
            }
        }
    }
    return sum;
}

[[noreturn]] void refuse(std::string const& name, std::string const& misfit, View const& view) {
    std::string txt = misfit;
    if (misfit.empty()) {
        txt = "there is no sound device" + (name.empty() ? "" : " " + name);
    }
    if (view.nbr_unknown > 0) {
        txt += "; devices that could not be looked into, maybe for another program that holds "
               "them: " +
               std::to_string(view.nbr_unknown);
    }
    if (!view.failures.empty()) {
        txt += "; " + view.failures;
    }
    throw std::runtime_error(txt);
}

void check_rate(RtAudio::DeviceInfo const& info, double wanted) {
    std::ostringstream txt;
    txt << "sound device " << info.name << ": runs at";
    for (unsigned const freq : info.sampleRates) {
        if (freq == wanted) {
            return;
        }
        txt << (freq == info.sampleRates.front() ? " " : ", ") << freq;
    }
    txt << " Hz, and not at " << wanted << "; --rate asks for another rate";
    throw std::runtime_error(txt.str());
}

// It takes seconds ahead of their time unless its environment says otherwise.
void set_pulse_latency(Device::Settings const& settings) {
    double const time =
        pulse_blocks * static_cast<double>(settings.block_len) / settings.sample_freq;
    ::setenv("PULSE_LATENCY_MSEC", std::to_string(std::lround(time * 1e3) + 1).c_str(), 0);
}

std::unique_ptr<Device> make_device(Found const& found, Device::Settings const& settings) {
    bool const pulse_flag = found.api == RtAudio::LINUX_PULSE;
    if (pulse_flag) {
        set_pulse_latency(settings);
    } else {
        check_rate(found.info, settings.sample_freq);
    }
    try {
        return std::make_unique<RtDevice>(found, Patience::call([found, settings] {
                                              return std::make_shared<Stream>(found, settings);
                                          }));
    } catch (std::runtime_error const& e) {
        throw std::runtime_error("sound device " + found.info.name +
                                 ": does not open: " + e.what());
    }
}

} // namespace

std::vector<Device::Info> RtSystem::list_devices(std::string& failures) {
    std::vector<Device::Info> result;
    bool out_flag = true; // no default came yet
    bool in_flag = true;
    View const view = walk(list_systems(), [](Found const&) { return false; });
    failures = view.failures;
    for (Found const& found : view.found_arr) {
        RtAudio::DeviceInfo const& info = found.info;
        result.push_back({info.name,
                          get_system_name(found.api),
                          static_cast<int>(info.outputChannels),
                          static_cast<int>(info.inputChannels),
                          out_flag && info.isDefaultOutput,
                          in_flag && info.isDefaultInput,
                          {info.sampleRates.begin(), info.sampleRates.end()}});
        out_flag = out_flag && !info.isDefaultOutput;
        in_flag = in_flag && !info.isDefaultInput;
    }
    return result;
}

std::unique_ptr<Device> RtSystem::open(Device::Settings const& settings) {
    Wish const wish(settings);
    std::optional<Found> best;
    std::string misfit; // the first one
    View const view = walk(wish.use_systems(), [&](Found const& found) {
        auto const match = wish.find_match(found.info);
        if (match == Wish::Match_NONE) {
            return false;
        }
        if (std::string const lack = wish.find_misfit(found.info); !lack.empty()) {
            misfit = misfit.empty() ? lack : misfit;
            return false;
        }
        if (!best || match == Wish::Match_EXACT) {
            best = found;
        }
        return match == Wish::Match_EXACT;
    });
    if (!best) {
        refuse(settings.name, misfit, view);
    }
    return make_device(*best, settings);
}

} // namespace ulk::devices
