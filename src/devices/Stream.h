#pragma once

#include "devices/Found.h"
#include "host/live/Device.h"
#include "host/live/LateFlag.h"
#include "ulk/sys/ThreadMgr.h"

#include <atomic>
#include <memory>
#include <optional>
#include <string>

namespace ulk::devices {

// An open stream, and all that its callback uses.
class Stream : public std::enable_shared_from_this<Stream> {
public:
    Stream(Found const& found, host::live::Device::Settings const& settings);

    host::live::Device::Settings const& use_settings() const { return _settings; }
    void start(host::live::Device::Callback const& callback) {
        _callback = callback;
        _audio.startStream();
    }
    // Plays what is still on its way. JACK has nothing of that, and would wait for a dead server.
    void close();
    // Once. The callback is not called again, whatever the system does. The stream is left to the
    // system for good, which may still know of it.
    void cut() {
        _self = shared_from_this();
        while (_busy.test_and_set()) {
            ulk::sys::ThreadMgr::yield();
        }
    }
    bool is_running() const { return _audio.isStreamOpen() && _audio.isStreamRunning(); }
    long get_nbr_xruns() const { return _nbr_xruns; }
    long long get_nbr_frames() const { return _nbr_frames; }
    std::optional<bool> is_real_time() const { return _real_time.get(); }

private:
    enum Answer : int { Answer_GO_ON, Answer_STOP, Answer_STOP_AT_ONCE };

    bool has_jack() const { return _audio.getCurrentApi() == RtAudio::UNIX_JACK; }

    // In a callback's thread nobody catches. What fails there is gone with PulseAudio; for others
    // it may be an xrun, and the frames tell.
    static void note_error(RtAudioError::Type type, std::string const& txt);

    // real-time
    static int call(void* out, void* in, unsigned len, double time, RtAudioStreamStatus status,
                    void* self);
    Answer process(float* out, float const* in, std::size_t len, RtAudioStreamStatus status);
    // On the callback's thread, which has JACK's priority where it is JACK's. RtAudio would tell of
    // it on the terminal.
    void begin();

    static thread_local Stream* current; // whose callback the thread runs

    std::shared_ptr<Stream> _self; // behind cut()
    mutable RtAudio _audio;
    host::live::Device::Settings _settings;
    int _nbr_open; // outputs: one channel sounds on both sides
    host::live::Device::Callback _callback;
    std::atomic_flag _busy;  // with the callback; for good behind cut()
    bool _gone_flag = false; // the callback's thread's
    std::atomic<long> _nbr_xruns = 0;
    std::atomic<long long> _nbr_frames = 0;
    host::live::LateFlag _real_time; // whether the callback's thread is
};

} // namespace ulk::devices
