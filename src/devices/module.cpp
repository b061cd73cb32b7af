// Sound devices through RtAudio, as a module that a program loads when it needs them.

#include "devices/RtSystem.h"

#include <alsa/asoundlib.h>
#include <jack/jack.h>

#include <cstdlib>
#include <exception>
#include <iostream>

using ulk::host::live::DeviceSystem;

namespace {

void ignore(char const*, int, char const*, int, char const*, ...) {}

// RtAudio tells by this stream of a JACK server that went away, on a thread that JACK cancels at
// any instruction meanwhile: in the middle of printing that ends the program. We print elsewhere.
void silence_stream() {
    std::cerr.rdbuf(nullptr);
    std::cerr.unsetf(std::ios_base::unitbuf);
}

// What the libraries of the systems would print; failures come as messages of the command's own.
void silence_libraries() {
    snd_lib_error_set_handler(&ignore);
    jack_set_error_function([](char const*) {});
    jack_set_info_function([](char const*) {});
    ::setenv("PULSE_LOG_SYSLOG", "1", 0);
    silence_stream();
}

} // namespace

extern "C" __attribute__((visibility("default"))) DeviceSystem* tessitone_make_device_system() {
    try {
        silence_libraries();
        return new ulk::devices::RtSystem;
    } catch (std::exception const&) {
        return nullptr;
    }
}
