#pragma once

#include "devices/Patience.h"
#include "devices/Stream.h"
#include "host/live/FrameWatch.h"
#include "ulk/sys/ThreadMgr.h"

#include <memory>
#include <string>
#include <utility>

namespace ulk::devices {

// A device of RtAudio's. Opening and starting throw an RtAudioError.
class RtDevice : public host::live::Device {
public:
    RtDevice(Found const& found, std::shared_ptr<Stream> stream)
        : _name(found.info.name)
        , _stream(std::move(stream))
        , _watch(get_sample_freq(), found.api == RtAudio::UNIX_JACK) {}
    ~RtDevice() override { stop(); }

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

    void stop() override {
        if (std::exchange(_stopped_flag, true)) {
            return;
        }
        bool const hung_flag = !is_answering() && _stream->is_running();
        if (hung_flag || !has_closed()) {
            _stream->cut();
        }
    }

protected:
    void do_start(Callback const& callback) override {
        try {
            Patience::call([stream = _stream, callback] { stream->start(callback); });
        } catch (Patience::Exhausted const&) {
            _stopped_flag = true;
            _stream->cut();
            throw;
        }
    }

private:
    bool has_closed() {
        try {
            Patience::call([stream = _stream] { stream->close(); });
            return true;
        } catch (Patience::Exhausted const&) {
            return false;
        }
    }
    // Whether the system still asks for frames, as it turns out within a block, or some seconds.
    bool is_answering() {
        auto const seen = _stream->get_nbr_frames();
        while (is_alive() && _stream->get_nbr_frames() == seen) {
            ulk::sys::ThreadMgr::sleep(0.005);
        }
        return is_alive();
    }

    std::string _name;
    std::shared_ptr<Stream> _stream;
    host::live::FrameWatch _watch;
    bool _hung_flag = false; // or gone
    bool _stopped_flag = false;
};

} // namespace ulk::devices
