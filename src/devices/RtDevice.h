#pragma once

#include "devices/Stream.h"
#include "host/live/FrameWatch.h"
#include "ulk/sys/ThreadMgr.h"

#include <memory>
#include <string>

namespace ulk::devices {

// A device of RtAudio's. Opening and starting throw an RtAudioError.
class RtDevice : public host::live::Device {
public:
    RtDevice(Found const& found, Settings const& settings)
        : _name(found.info.name)
        , _stream(std::make_unique<Stream>(found, settings))
        , _watch(get_sample_freq(), found.api == RtAudio::UNIX_JACK) {}
    ~RtDevice() override {
        stop();
        if (_cut_flag) {
            static_cast<void>(_stream.release()); // the system may still know of it
        }
    }

    std::string get_name() const override { return _name; }
    double get_sample_freq() const final { return _stream->use_settings().sample_freq; }
    long get_block_len() const override { return _stream->use_settings().block_len; }
    bool is_alive() override {
        _hung_flag = _hung_flag || !_watch.is_steady(_stream->get_nbr_frames(),
                                                     host::live::FrameWatch::Clock::now());
        return !_hung_flag && _stream->is_running();
    }
    long get_nbr_xruns() const override { return _stream->get_nbr_xruns(); }
    std::optional<bool> is_real_time() override { return _stream->is_real_time(); }

    // A system that hangs would not answer to this either: its stream is left alone, for good.
    void stop() override {
        if (_cut_flag) {
            return;
        }
        _cut_flag = !is_answering() && _stream->is_running();
        if (_cut_flag) {
            _stream->cut();
        } else {
            _stream->close();
        }
    }

protected:
    void do_start(Callback const& callback) override { _stream->start(callback); }

private:
    // Whether the system still asks for frames, as it turns out within a block, or some seconds.
    bool is_answering() {
        auto const seen = _stream->get_nbr_frames();
        while (is_alive() && _stream->get_nbr_frames() == seen) {
            ulk::sys::ThreadMgr::sleep(0.005);
        }
        return is_alive();
    }

    std::string _name;
    std::unique_ptr<Stream> _stream;
    host::live::FrameWatch _watch;
    bool _hung_flag = false; // or gone
    bool _cut_flag = false;
};

} // namespace ulk::devices
