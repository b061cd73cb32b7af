#include "host/live/RecordJob.h"

#include "host/Error.h"
#include "host/engine/Recorder.h"
#include "host/live/TimedPass.h"
#include "ulk/sys/MemoryLock.h"
#include "ulk/sys/posix/FileSync.h"

#include <algorithm>
#include <atomic>
#include <bit>
#include <chrono>
#include <cmath>
#include <system_error>
#include <thread>
#include <utility>

namespace ulk::host::live {

namespace {

using Clock = std::chrono::steady_clock;
using engine::CacheService;

constexpr double memory_time = 10; // s, for which the disk may rest
// s; what is in a cell that is not full yet is lost when the power goes
constexpr double max_cell_time = 0.1;
// Silence within a callback, far more than comes in meanwhile: some microseconds.
constexpr long max_silence_len = 65536; // floats
constexpr long min_silence_ratio = 4;   // to the length of the callback
constexpr auto validate_period = std::chrono::seconds(1);
constexpr auto slice_period = std::chrono::milliseconds(5);

// The work of one run.
class Run {
public:
    Run(RecordJob::Settings const& settings, std::unique_ptr<Device>&& device);
    ~Run() { stop(); }

    void record(RecordJob::Watch const& watch);
    RecordJob::Result close();

private:
    CacheService::Size find_cache_size() const;
    void push(float const* const* chn_arr, long len);
    void pay(long most);
    void pay_all();
    RecordJob::View find_view();
    bool is_full();
    void stop();
    template <class F>
    void guard(F fnc);
    void write();
    void validate(long long nbr_settled);
    void sync();

    RecordJob::Settings const& _settings;
    double _sample_freq;
    long long _max_len;            // frames
    bool _wished_len_flag = false; // that is what was asked for, and not what a file can hold
    CacheService _cache;
    engine::Recorder _recorder;
    sys::posix::FileSync _sync;
    // The real-time side's: for others within a pass.
    long long _nbr_frames = 0; // that came in
    long long _nbr_owed = 0;   // of these, found no memory; silence goes in before what comes next
    GapList _gaps;             // silence that went in
    Peaks _peaks{};            // since the last look
    Peaks _max_peaks{};        // of all
    PassTimes _times;
    std::optional<bool> _real_time;
    std::unique_ptr<Device> _device; // its callback ends before the rest
    // The writing thread's.
    std::thread _writer;
    std::atomic<bool> _stop_flag = false;
    std::atomic<bool> _failed_flag = false; // _failure is set
    std::optional<Error> _failure;          // of the file; others' behind the thread's end
    long long _nbr_written = 0;             // frames that are on the disk
};

// Floats: a power of two, for any number of channels.
long find_cell_len(double sample_freq, int nbr_chn) {
    double const most = std::clamp(max_cell_time * sample_freq * nbr_chn, 64., 65536.);
    return static_cast<long>(std::bit_floor(static_cast<unsigned long>(most)));
}

Run::Run(RecordJob::Settings const& settings, std::unique_ptr<Device>&& device)
    : _settings(settings)
    , _sample_freq(device->get_sample_freq())
    , _max_len(std::llround(settings.len.value_or(0) * _sample_freq))
    , _cache(find_cache_size())
    , _recorder(_cache, settings.path, {settings.bit_fmt, _sample_freq, settings.nbr_chn})
    , _device(std::move(device)) {
    if (int const err = _sync.open(_recorder.get_path()); err != 0) {
        throw Error(Error::Kind_IO,
                    settings.path + ": cannot be opened: " + std::generic_category().message(err));
    }
    render::OutputFormat const format = {settings.bit_fmt, _sample_freq, settings.nbr_chn};
    constexpr long long header_room = 1024;
    long long const most = (settings.max_file_len - header_room) / format.get_frame_len();
    _wished_len_flag = settings.len && _max_len <= most;
    _max_len = _wished_len_flag ? _max_len : most;
}

CacheService::Size Run::find_cache_size() const {
    long const cell_len = find_cell_len(_sample_freq, _settings.nbr_chn);
    double const nbr_floats = memory_time * _sample_freq * _settings.nbr_chn;
    return {cell_len, (static_cast<long>(nbr_floats) / cell_len + 3) * cell_len, cell_len};
}

// real-time
void Run::push(float const* const* chn_arr, long len) {
    TimedPass const pass(_cache, _times, static_cast<double>(len) / _sample_freq);
    long const part = static_cast<long>(std::clamp<long long>(_max_len - _nbr_frames, 0, len));
    if (part > 0) {
        pay(std::max(max_silence_len / _settings.nbr_chn, min_silence_ratio * len));
        _nbr_owed += part - (_nbr_owed > 0 ? 0 : _recorder.push(chn_arr, part));
        _nbr_frames += part;
        Levels::add(_peaks, chn_arr, _settings.nbr_chn, part);
        Levels::add(_max_peaks, _peaks);
    }
}

// As far as there is room. real-time
void Run::pay(long most) {
    if (_nbr_owed > 0) {
        long long const pos = _recorder.get_nbr_pushed();
        long const len =
            _recorder.push_silence(static_cast<long>(std::min<long long>(_nbr_owed, most)));
        _gaps.add(pos, len);
        _nbr_owed -= len;
    }
}

// What is owed when all is over.
void Run::pay_all() {
    _cache.run_slices();
    while (_nbr_owed > 0) {
        {
            CacheService::Pass const pass(_cache);
            pay(max_silence_len / _settings.nbr_chn);
        }
        _cache.run_slices();
    }
}

RecordJob::View Run::find_view() {
    CacheService::Pass const pass(_cache);
    return {static_cast<double>(_nbr_frames) / _sample_freq, std::exchange(_peaks, {}),
            _gaps.get_nbr_frames() + _nbr_owed, _device->get_nbr_xruns()};
}

void Run::record(RecordJob::Watch const& watch) {
    _device->start(
        [this](float const* const* in_arr, float* const*, long len) { push(in_arr, len); });
    _writer = std::thread([this] { guard([this] { write(); }); });
    while (_device->is_alive() && !_failed_flag && !is_full() && watch(find_view())) {
        _real_time = _device->is_real_time();
    }
}

bool Run::is_full() {
    CacheService::Pass const pass(_cache);
    return _nbr_frames >= _max_len;
}

// What fails ends the take, and not the report on it.
template <class F>
void Run::guard(F fnc) {
    try {
        fnc();
    } catch (Error const& e) {
        _failure = e;
    } catch (std::exception const& e) {
        _failure = Error(Error::Kind_IO, _settings.path + ": " + e.what());
    }
    _failed_flag = _failure.has_value();
}

// On a thread of its own: whoever watches may take as long as he likes.
void Run::write() {
    long long nbr_settled = 0; // frames whose slices have run
    auto next_validation = Clock::now() + validate_period;
    while (!_stop_flag) {
        long long nbr_pushed = 0;
        {
            CacheService::Pass const pass(_cache);
            nbr_pushed = _recorder.get_nbr_pushed();
        }
        if (!_cache.use_cache().do_run_slice()) {
            nbr_settled = nbr_pushed;
            std::this_thread::sleep_for(slice_period);
        }
        if (auto const now = Clock::now(); now >= next_validation) {
            validate(nbr_settled);
            next_validation = now + validate_period;
        }
    }
}

void Run::validate(long long nbr_settled) {
    long long const nbr_frames = _recorder.validate(nbr_settled);
    sync();
    _nbr_written = nbr_frames;
}

void Run::sync() {
    if (int const err = _sync.sync(); err != 0) {
        throw Error(Error::Kind_IO, _settings.path + ": cannot be brought to the disk: " +
                                        std::generic_category().message(err));
    }
}

void Run::stop() {
    _device->stop();
    _stop_flag = true;
    if (_writer.joinable()) {
        _writer.join();
    }
}

RecordJob::Result Run::close() {
    bool const alive_flag = _device->is_alive();
    stop();
    if (!_failure) {
        guard([this] {
            pay_all();
            _recorder.close();
            sync();
            _nbr_written = _recorder.get_nbr_pushed();
        });
    }
    RecordJob::Result result;
    result.device = _device->get_name();
    result.sample_freq = _sample_freq;
    result.nbr_frames = _nbr_written;
    result.gaps = _gaps;
    result.gaps.cut(_nbr_written);
    result.nbr_lost = _nbr_frames - _nbr_written + result.gaps.get_nbr_frames();
    result.nbr_xruns = _device->get_nbr_xruns();
    result.peaks = _max_peaks;
    result.times = _times;
    result.real_time = _real_time;
    result.full_flag = !_wished_len_flag && _nbr_frames >= _max_len;
    result.failure = _failure;
    if (!_failure && !alive_flag) {
        result.failure = Error(Error::Kind_IO, "the sound device " + result.device +
                                                   " is gone; what was recorded until then is in " +
                                                   _settings.path);
    }
    return result;
}

} // namespace

RecordJob::Result RecordJob::run(Settings const& settings, Open const& open, Watch const& watch) {
    engine::Recorder::check_path(settings.path);
    sys::MemoryLock::lock_touched();
    Device::Settings wish;
    wish.name = settings.device;
    wish.sample_freq = settings.sample_freq;
    wish.block_len = settings.block_len;
    wish.nbr_in = settings.nbr_chn;
    Run run(settings, open(wish));
    run.record(watch);
    return run.close();
}

} // namespace ulk::host::live
