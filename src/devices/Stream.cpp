#include "devices/Stream.h"

#include "devices/JackTurn.h"
#include "ulk/sys/ThreadMgr.h"

#include <algorithm>
#include <array>

namespace ulk::devices {

using host::live::Device;

thread_local Stream* Stream::current = nullptr;

Stream::Stream(Found const& found, Device::Settings const& settings)
    : _audio(found.api)
    , _settings(settings)
    , _nbr_open(settings.nbr_out == 1 && found.info.outputChannels > 1 ? 2 : settings.nbr_out) {
    JackTurn const turn(found.api);
    _audio.showWarnings(false);
    RtAudio::StreamParameters out = {found.id, static_cast<unsigned>(_nbr_open), 0};
    RtAudio::StreamParameters in = {found.id, static_cast<unsigned>(settings.nbr_in), 0};
    RtAudio::StreamOptions options;
    options.flags = RTAUDIO_NONINTERLEAVED;
    options.streamName = "tessitone";
    auto block_len = static_cast<unsigned>(settings.block_len);
    _audio.openStream(settings.nbr_out > 0 ? &out : nullptr, settings.nbr_in > 0 ? &in : nullptr,
                      RTAUDIO_FLOAT32, static_cast<unsigned>(settings.sample_freq), &block_len,
                      &call, this, &options, &note_error);
    _settings.block_len = static_cast<long>(block_len);
    _settings.sample_freq = _audio.getStreamSampleRate();
}

void Stream::close() {
    JackTurn const turn(_audio.getCurrentApi());
    if (_audio.isStreamRunning() && !has_jack()) {
        try {
            _audio.stopStream();
        } catch (RtAudioError const&) {
            // It went away just now, and is closed all the same.
        }
    }
    if (_audio.isStreamOpen()) {
        _audio.closeStream();
    }
}

void Stream::note_error(RtAudioError::Type type, std::string const& txt) {
    if (current != nullptr) {
        current->_gone_flag = current->_audio.getCurrentApi() == RtAudio::LINUX_PULSE;
    } else if (type != RtAudioError::WARNING) {
        throw RtAudioError(txt, type);
    }
}

int Stream::call(void* out, void* in, unsigned len, double, RtAudioStreamStatus status,
                 void* self) {
    ulk::sys::ThreadMgr::hold_cancel();
    auto const answer = static_cast<Stream*>(self)->process(static_cast<float*>(out),
                                                            static_cast<float*>(in), len, status);
    ulk::sys::ThreadMgr::allow_cancel();
    return answer;
}

Stream::Answer Stream::process(float* out, float const* in, std::size_t len,
                               RtAudioStreamStatus status) {
    if (_gone_flag || _busy.test_and_set()) {
        std::fill_n(out, static_cast<std::size_t>(_nbr_open) * len, 0.f);
        return Answer_STOP_AT_ONCE;
    }
    if (current == nullptr) {
        begin();
    }
    _nbr_xruns += status != 0 ? 1 : 0;
    std::array<float*, max_nbr_chn> out_arr{};
    std::array<float const*, max_nbr_chn> in_arr{};
    for (std::size_t chn = 0; chn < static_cast<std::size_t>(_settings.nbr_out); ++chn) {
        out_arr[chn] = out + chn * len;
    }
    for (std::size_t chn = 0; chn < static_cast<std::size_t>(_settings.nbr_in); ++chn) {
        in_arr[chn] = in + chn * len;
    }
    _callback(in_arr.data(), out_arr.data(), static_cast<long>(len));
    if (_nbr_open > _settings.nbr_out) {
        std::copy_n(out, len, out + len);
    }
    _nbr_frames += static_cast<long long>(len);
    _busy.clear();
    return Answer_GO_ON;
}

void Stream::begin() {
    current = this;
    if (!has_jack()) {
        ulk::sys::ThreadMgr::make_real_time(Device::real_time_priority);
    }
    _real_time.set(ulk::sys::ThreadMgr::is_real_time());
}

} // namespace ulk::devices
