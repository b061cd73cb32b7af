#include "soak/Takes.h"

#include "host/Error.h"
#include "host/live/RecordJob.h"
#include "soak/FastClock.h"
#include "soak/GuardedPass.h"

#include <sndfile.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <memory>
#include <thread>

namespace soak {

using ulk::host::live::Device;
using ulk::host::live::RecordJob;
using namespace ulk::sacc;

namespace {

// A clock that hears the signal.
template <class Make>
class SignalDevice : public FastClock {
public:
    SignalDevice(Settings const& settings, Make make, long long& pos, Verdict& verdict)
        : FastClock(settings)
        , _make(make)
        , _pos(pos)
        , _verdict(verdict)
        , _chn_arr(static_cast<std::size_t>(settings.nbr_in),
                   std::vector<float>(static_cast<std::size_t>(settings.block_len))) {
        for (auto const& channel : _chn_arr) {
            _ptr_arr.push_back(channel.data());
        }
    }
    ~SignalDevice() override { stop(); }

protected:
    void do_start(Callback const& callback) override {
        FastClock::do_start([this, callback](float const* const*, float* const*, long len) {
            for (std::size_t chn = 0; chn < _chn_arr.size(); ++chn) {
                for (long pos = 0; pos < len; ++pos) {
                    _chn_arr[chn][static_cast<std::size_t>(pos)] =
                        _make(static_cast<int>(chn), _pos + pos);
                }
            }
            _pos += len;
            run_guarded(_verdict, [&] { callback(_ptr_arr.data(), nullptr, len); });
        });
    }

private:
    Make _make;
    long long& _pos; // frames heard so far
    Verdict& _verdict;
    std::vector<std::vector<float>> _chn_arr;
    std::vector<float const*> _ptr_arr;
};

} // namespace

// Numbers are never 0.
float Takes::Format::make(int chn, long long frame) const {
    long long const range = get_range();
    for (int place = 0; place < chn; ++place) {
        frame /= range;
    }
    return static_cast<float>(range / 2 + frame % range) / static_cast<float>(2 * range);
}

bool Takes::Format::is_frame(float const* chn_arr, long long frame) const {
    for (int chn = 0; chn < nbr_chn; ++chn) {
        if (chn_arr[chn] != make(chn, frame)) {
            return false;
        }
    }
    return true;
}

// What stands in for bytes that were never written.
bool Takes::Format::is_empty(float const* chn_arr) const {
    return chn_arr[0] == (bit_fmt == SplFileBitFmt_U8 ? -1.f : 0.f);
}

// What stands in for frames that were lost.
bool Takes::Format::is_silent(float const* chn_arr) const {
    return std::all_of(chn_arr, chn_arr + nbr_chn, [](float val) { return val == 0; });
}

Takes::Takes(std::string const& path, test::FaultyDisk const& disk, unsigned seed, Verdict& verdict)
    : _path(path)
    , _disk(disk)
    , _rng(seed)
    , _verdict(verdict) {}

void Takes::run() {
    while (!_stop_flag && _verdict.is_good()) {
        record();
    }
}

void Takes::record() {
    constexpr SplFileBitFmt fmt_arr[] = {SplFileBitFmt_U8, SplFileBitFmt_S16, SplFileBitFmt_S24,
                                         SplFileBitFmt_S32, SplFileBitFmt_F32};
    Format const format = {fmt_arr[draw(0, 4)], draw(1, 4)};
    RecordJob::Settings settings;
    settings.path = _path;
    settings.nbr_chn = format.nbr_chn;
    settings.bit_fmt = format.bit_fmt;
    settings.block_len = 1L << draw(6, 11);
    auto const make = [format](int chn, long long frame) { return format.make(chn, frame); };
    long long nbr_heard = 0;
    auto const open = [&](Device::Settings const& wish) -> std::unique_ptr<Device> {
        return std::make_unique<SignalDevice<decltype(make)>>(wish, make, nbr_heard, _verdict);
    };
    auto const period = std::chrono::milliseconds(draw(1, 30));
    double const len = 0.05 * draw(1, 400);
    auto const watch = [&](RecordJob::View const& view) {
        std::this_thread::sleep_for(period);
        return !_stop_flag && view.time < len;
    };
    std::filesystem::remove(_path);
    auto const nbr_failures = _disk.get_stat().nbr_failures;
    ++_nbr_takes;
    try {
        auto const result = RecordJob::run(settings, open, watch);
        _nbr_frames += result.nbr_frames;
        _nbr_lost += result.nbr_lost;
        if (result.failure) {
            throw *result.failure;
        }
        check_whole(format, result, nbr_heard);
    } catch (ulk::host::Error const& e) {
        ++_nbr_failed;
        check_failed(format, _disk.get_stat().nbr_failures - nbr_failures, e.what());
    }
}

// A second opinion on the file.
Takes::Content Takes::read(Format const& format) const {
    Content content;
    SF_INFO info = {};
    SNDFILE* const file = sf_open(_path.c_str(), SFM_READ, &info);
    if (file == nullptr) {
        return content;
    }
    std::vector<float> frames(static_cast<std::size_t>(info.frames * info.channels));
    content.nbr_frames = sf_readf_float(file, frames.data(), info.frames);
    sf_close(file);
    for (long long pos = 0; pos < content.nbr_frames; ++pos) {
        float const* const chn_arr = frames.data() + pos * info.channels;
        if (format.is_silent(chn_arr)) {
            ++content.nbr_silent;
        } else if (format.is_empty(chn_arr)) {
            ++content.nbr_empty;
        } else if (!format.is_frame(chn_arr, pos)) {
            ++content.nbr_wrong;
        }
    }
    return content;
}

// All frames are in their places, and what is told as lost is silence.
void Takes::check_whole(Format const& format, Result const& result, long long nbr_heard) {
    Content const content = read(format);
    if (content.nbr_frames != nbr_heard || result.nbr_frames != nbr_heard ||
        content.nbr_silent != result.nbr_lost || content.nbr_empty + content.nbr_wrong > 0) {
        fail(format, std::to_string(nbr_heard) + " frames came; told are " +
                         std::to_string(result.nbr_frames) + " and " +
                         std::to_string(result.nbr_lost) + " lost, but there are " +
                         content.print());
    }
}

// Blocks that the disk refused are empty, and may begin and end within a frame.
void Takes::check_failed(Format const& format, long long nbr_failures, std::string const& text) {
    Content const content = read(format);
    if (nbr_failures == 0) {
        fail(format, "failed without a cause: " + text);
    } else if (content.nbr_wrong > 2 * nbr_failures) {
        fail(format, "failed with " + std::to_string(nbr_failures) +
                         " errors of the disk; there "
                         "are " +
                         content.print());
    }
}

std::string Takes::Content::print() const {
    return std::to_string(nbr_frames) + " frames, " + std::to_string(nbr_silent) + " silent, " +
           std::to_string(nbr_empty) + " empty, " + std::to_string(nbr_wrong) + " wrong";
}

void Takes::fail(Format const& format, std::string const& text) {
    _verdict.fail("recording of " + std::to_string(format.nbr_chn) + " channels, format " +
                  std::to_string(format.bit_fmt) + ": " + text);
}

void Takes::add_to(Tally& tally) const {
    tally.nbr_takes += _nbr_takes;
    tally.nbr_takes_failed += _nbr_failed;
    tally.nbr_take_frames += _nbr_frames;
    tally.nbr_take_lost += _nbr_lost;
}

} // namespace soak
