#include "soak/Takes.h"

#include "host/Error.h"
#include "host/live/RecordJob.h"
#include "soak/FastClock.h"
#include "soak/GuardedPass.h"

#include <sndfile.h>

#include <chrono>
#include <cmath>
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
    void start(Callback const& callback) override {
        FastClock::start([this, callback](float const* const*, float* const*, long len) {
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

long long Takes::Format::get_period() const {
    return nbr_chn == 1 ? get_range() : get_range() * get_range();
}

long long Takes::Format::find_frame(float const* chn_arr) const {
    auto const find = [&](int chn) {
        auto const range = static_cast<float>(get_range());
        return static_cast<long long>(std::lround(chn_arr[chn] * 2 * range - range / 2));
    };
    return find(0) + (nbr_chn > 1 ? find(1) * get_range() : 0);
}

bool Takes::Format::is_frame(float const* chn_arr) const {
    long long const frame = find_frame(chn_arr);
    return chn_arr[0] == make(0, frame) && (nbr_chn == 1 || chn_arr[1] == make(1, frame));
}

// What stands in for bytes that were never written.
bool Takes::Format::is_empty(float const* chn_arr) const {
    return chn_arr[0] == (bit_fmt == SplFileBitFmt_U8 ? -1.f : 0.f);
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
    long long const period = format.get_period();
    long long next = 0;
    for (long long pos = 0; pos < content.nbr_frames; ++pos, ++next) {
        float const* const chn_arr = frames.data() + pos * info.channels;
        if (format.is_frame(chn_arr)) {
            long long const gap = (format.find_frame(chn_arr) - next % period + period) % period;
            content.nbr_lost += gap;
            next += gap;
        } else {
            ++(format.is_empty(chn_arr) ? content.nbr_empty : content.nbr_wrong);
        }
    }
    return content;
}

// Frames come in their order, and what is left out of it is told as lost.
void Takes::check_whole(Format const& format, Result const& result, long long nbr_heard) {
    Content const content = read(format);
    if (content.nbr_frames != result.nbr_frames || content.nbr_lost > result.nbr_lost ||
        content.nbr_empty + content.nbr_wrong > 0 ||
        result.nbr_frames + result.nbr_lost != nbr_heard) {
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
    return std::to_string(nbr_frames) + " frames, " + std::to_string(nbr_lost) + " left out, " +
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
