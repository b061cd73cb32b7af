#include "host/engine/Renderer.h"

#include "host/Error.h"
#include "ulk/dsp/BasicMixing.h"
#include "ulk/sacc/SplFileFmtTools.h"

#include <algorithm>
#include <chrono>
#include <cmath>

namespace ulk::host::engine {

namespace {

using Clock = std::chrono::steady_clock;

constexpr double span_time = 0.25; // s: data is asked for and read by such spans
constexpr long cell_len = 8192;    // floats
constexpr long min_nbr_cells = 64;
constexpr long long max_cache_len = 256LL << 20; // bytes, unless the user says otherwise
constexpr int max_open_files = 256;              // beyond those that sound
constexpr auto validate_period = std::chrono::seconds(1);

enum : long { Pin_SILENCE = 0, Pin_STEM, Pin_SUM };

} // namespace

Renderer::Renderer(Bundle& bundle, Session const& session, std::vector<SampleFacts> const& fact_arr,
                   Settings const& settings)
    : _bundle(bundle)
    , _session(session)
    , _fact_arr(fact_arr)
    , _settings(settings)
    , _pool(settings.nbr_jobs)
    , _buf({session.nbr_chn, session.nbr_chn, session.nbr_chn}, settings.block_len) {
    double const freq = settings.sample_freq;
    long long const from = std::llround(settings.from * freq);
    long long const first = std::max(from - std::llround(NotePlan::pre_roll_time * freq), 0LL);
    _skip = from - first + NotePlan::lead;
    _plan_settings = {freq, settings.block_len, first};
    _plan = std::make_unique<NotePlan>(session, fact_arr, _plan_settings);
    long long const end = settings.to >= 0 ? std::llround(settings.to * freq)
                                           : _plan->get_end() + std::llround(settings.tail * freq);
    _len = std::max(end - from, 0LL);
}

Renderer::~Renderer() = default;

std::vector<int> Renderer::list_stems() const {
    std::vector<int> track_arr;
    for (std::size_t track = 0; track < _session.track_arr.size(); ++track) {
        if (_session.track_arr[track].output == Session::master) {
            track_arr.push_back(static_cast<int>(track));
        }
    }
    return track_arr;
}

void Renderer::add_mix_output(std::string const& path, sacc::SplFileBitFmt bit_fmt,
                              Listener const& listener) {
    add_stem_output(Session::master, path, bit_fmt, listener);
}

void Renderer::add_stem_output(int track, std::string const& path, sacc::SplFileBitFmt bit_fmt,
                               Listener const& listener) {
    _stem_flag = _stem_flag || track != Session::master;
    _output_arr.push_back({track, path, bit_fmt, listener, nullptr});
}

// Whole blocks; short enough that what voices ask for themselves is there in time.
long Renderer::find_max_span() const {
    double const span = span_time * _settings.sample_freq;
    long const nbr_blocks = static_cast<long>(span) / _settings.block_len;
    return std::max(nbr_blocks, 1L) * _settings.block_len;
}

CacheService::Size Renderer::find_cache_size() const {
    long nbr_cells = static_cast<long>(_settings.cache_len / 4 / cell_len);
    if (_settings.cache_len == 0) {
        long const most = static_cast<long>(max_cache_len / 4 / cell_len);
        nbr_cells = std::min(_plan->find_nbr_cells(cell_len, find_max_span()), most);
    }
    long const nbr_files = std::count_if(_output_arr.begin(), _output_arr.end(),
                                         [](Output const& output) { return !output.path.empty(); });
    long const rec_cells = find_max_span() / (cell_len / _session.nbr_chn) + 3;
    return {std::max(nbr_cells, min_nbr_cells) * cell_len, nbr_files * rec_cells * cell_len,
            cell_len};
}

// The sizes in a WAV have 32 bits.
void Renderer::check_file_len(Output const& output) const {
    auto const frame_len =
        sacc::SplFileFmtTools::get_nbr_bytes_per_sample(output.bit_fmt) * _session.nbr_chn;
    long long const max_len = (0xFFFFFFFFLL - 64) / frame_len; // frames
    if (!output.path.empty() && _len > max_len) {
        throw Error(Error::Kind_USE,
                    output.path + ": would be longer than the 4 GiB that a WAV file can hold, " +
                        std::to_string(static_cast<long long>(static_cast<double>(max_len) /
                                                              _settings.sample_freq)) +
                        " s; render it in parts");
    }
}

void Renderer::set_up() {
    for (Output const& output : _output_arr) {
        check_file_len(output);
    }
    _cache = std::make_unique<CacheService>(find_cache_size());
    _store = std::make_unique<SampleStore>(*_cache, max_open_files);
    for (std::size_t sample = 0; sample < _fact_arr.size(); ++sample) {
        _id_arr.push_back(_store->add(_session.sample_arr[sample].path, _fact_arr[sample]));
    }
    _engine = std::make_unique<Engine>(_bundle, _session, *_plan, _plan_settings, *_store);
    _feeder = std::make_unique<Feeder>(*_engine, *_cache, *_store, _id_arr);
    for (Output& output : _output_arr) {
        if (!output.path.empty()) {
            output.recorder = std::make_unique<Recorder>(
                *_cache, output.path,
                render::OutputFormat{output.bit_fmt, _settings.sample_freq, _session.nbr_chn});
        }
    }
    _stat.cache = _cache->get_size();
}

void Renderer::run(Progress const& progress) {
    set_up();
    auto next_validation = Clock::now() + validate_period;
    long const max_span = find_max_span();
    bool go_flag = true;
    while (_stat.nbr_frames < _len && go_flag) {
        long long const rest = _len - _stat.nbr_frames + std::max(_skip - _engine->get_pos(), 0LL);
        long const span = _feeder->find_span(max_span, _settings.block_len);
        if (span == 0) {
            refuse_cache();
        }
        make_span(static_cast<long>(std::min<long long>(span, rest)));
        go_flag = progress(_stat.nbr_frames);
        if (Clock::now() >= next_validation) {
            validate_files();
            next_validation = Clock::now() + validate_period;
        }
    }
    close_files();
    _stat.complete_flag = _stat.nbr_frames >= _len;
}

// The size told is enough for all that is still to come.
void Renderer::refuse_cache() const {
    long const nbr_cells = _plan->find_nbr_cells(cell_len, _settings.block_len);
    double const size = static_cast<double>(nbr_cells * cell_len) * 4 / 1e6;
    throw Error(Error::Kind_USE, "the sample cache is too small for the voices at once: it needs " +
                                     std::to_string(std::lround(std::ceil(size))) + " MB");
}

// Data first, then the blocks that need it, then what they gave to the disk.
void Renderer::make_span(long len) {
    _feeder->open_files(len);
    {
        CacheService::Pass const pass(*_cache);
        _feeder->request(len);
    }
    long const nbr_cells = _cache->count_requested_cells();
    _stat.nbr_cells_read += nbr_cells;
    _stat.nbr_waits += nbr_cells > 0 ? 1 : 0;
    _cache->run_slices();
    {
        CacheService::Pass const pass(*_cache);
        _feeder->check(len);
    }
    for (long done = 0; done < len;) {
        long const part = std::min(len - done, _settings.block_len);
        auto const start = Clock::now();
        make_block(part);
        if (_time_listener) {
            _time_listener(std::chrono::duration<double>(Clock::now() - start).count());
        }
        done += part;
    }
    _stat.max_cells = _feeder->get_max_cells();
    _stat.nbr_slices = _cache->get_nbr_slices();
    _stat.nbr_prefetches = _feeder->get_nbr_prefetches();
    _stat.nbr_notes = _feeder->get_nbr_notes();
}

void Renderer::make_block(long len) {
    CacheService::Pass const pass(*_cache);
    long long const pos = _engine->get_pos();
    _engine->process(len, _pool);
    _stat.max_sounding = std::max(_stat.max_sounding, _engine->get_nbr_sounding());
    long const skip = static_cast<long>(std::clamp<long long>(_skip - pos, 0, len));
    if (skip < len) {
        deliver(skip, len);
        _stat.nbr_frames += len - skip;
    }
}

void Renderer::deliver(long skip, long len) {
    auto const& mix = _engine->use_mix();
    bool const silent_flag = mix.state != Engine::Dsp::State_SIGNAL;
    float* const* const mix_arr = silent_flag ? _buf.use_pin(Pin_SILENCE).chn_arr : mix.chn_arr;
    if (_stem_flag) {
        _buf.clear_pin(Pin_SUM, len);
    }
    for (Output& output : _output_arr) {
        if (output.track == Session::master) {
            deliver_to(output, mix_arr, skip, len);
            continue;
        }
        float* const* const stem_arr = _buf.use_pin(Pin_STEM).chn_arr;
        if (!_engine->render_stem(output.track, stem_arr, len)) {
            deliver_to(output, _buf.use_pin(Pin_SILENCE).chn_arr, skip, len);
            continue;
        }
        deliver_to(output, stem_arr, skip, len);
        for (int chn = 0; chn < _session.nbr_chn; ++chn) {
            dsp::BasicMixing::mix_1_1(_buf.use_chn(Pin_SUM, chn), stem_arr[chn], len);
        }
    }
    for (int chn = 0; chn < _session.nbr_chn && _stem_flag; ++chn) {
        for (long pos = skip; pos < len; ++pos) {
            double const diff = static_cast<double>(_buf.use_chn(Pin_SUM, chn)[pos]) -
                                static_cast<double>(mix_arr[chn][pos]);
            _stat.stem_deviation = std::max(_stat.stem_deviation, std::fabs(diff));
        }
    }
}

void Renderer::deliver_to(Output& output, float* const* chn_arr, long skip, long len) {
    float const* part_arr[Session::max_nbr_chn];
    for (int chn = 0; chn < _session.nbr_chn; ++chn) {
        part_arr[chn] = chn_arr[chn] + skip;
    }
    if (output.recorder != nullptr && output.recorder->push(part_arr, len - skip) < len - skip) {
        throw Error(Error::Kind_IO, output.path + ": no memory left for what is to be written");
    }
    if (output.listener) {
        output.listener(part_arr, len - skip);
    }
}

void Renderer::validate_files() {
    _cache->run_slices();
    for (Output& output : _output_arr) {
        if (output.recorder != nullptr) {
            output.recorder->validate(output.recorder->get_nbr_pushed());
        }
    }
}

void Renderer::close_files() {
    _cache->run_slices();
    for (Output& output : _output_arr) {
        if (output.recorder != nullptr) {
            output.recorder->close();
        }
    }
}

double Renderer::conv_to_time(long long engine_frame) const {
    return static_cast<double>(engine_frame + _plan_settings.first) / _settings.sample_freq;
}

} // namespace ulk::host::engine
