#pragma once

namespace ulk::devices {

// The PulseAudio server, or what stands in its place, before RtAudio asks it.
class PulseServer {
public:
    // Whether there is one that answers within some seconds and has devices to play to and to
    // record from: RtAudio would wait for one that hangs, and crash for want of devices.
    static bool is_usable();
};

} // namespace ulk::devices
