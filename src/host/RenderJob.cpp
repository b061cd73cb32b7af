#include "host/RenderJob.h"

#include "host/Error.h"
#include "host/LoadedSession.h"
#include "host/engine/Renderer.h"
#include "host/engine/SessionConverter.h"
#include "host/render/WavPipe.h"
#include "host/render/WaveformPlot.h"
#include "ulk/sys/UserPermissions.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <set>

namespace ulk::host {

namespace {

namespace fs = std::filesystem;

using engine::Renderer;
using render::RenderReport;
using session::SampleCheck;
using session::Session;

constexpr char standard_output[] = "-";

// The work of one run.
class Run {
public:
    Run(Bundle& bundle, RenderJob::Settings const& settings, RenderJob::Progress const& progress)
        : _bundle(bundle)
        , _settings(settings)
        , _progress(progress) {}

    void load(RenderJob::Warn const& warn);
    void convert();
    void set_up();
    void render();
    void plot() const;
    RenderReport make_report() const;
    std::optional<render::Envelope> const& use_envelope() const { return _envelope; }

private:
    struct StemOutput {
        int track;
        std::string path;
        double peak = 0; // of the samples
    };

    double read_time(std::optional<std::string> const& txt, char const* option, double def) const;
    void claim(std::string const& path);
    void add_mix();
    void add_stems();
    void fill_losses(RenderReport& report) const;
    void fill_stems(RenderReport& report) const;
    Session::Clip const& use_clip(engine::Feeder::Loss const& loss) const {
        return use_track(loss).clips[static_cast<std::size_t>(loss.clip)];
    }
    Session::Track const& use_track(engine::Feeder::Loss const& loss) const {
        return _session.track_arr[static_cast<std::size_t>(loss.track)];
    }

    Bundle& _bundle;
    RenderJob::Settings const& _settings;
    RenderJob::Progress const& _progress;
    std::chrono::steady_clock::time_point const _start = std::chrono::steady_clock::now();
    std::clock_t const _start_cpu = std::clock();

    LoadedSession _loaded;
    Session& _session = _loaded.session;
    std::vector<SampleCheck::Info>& _info_arr = _loaded.info_arr;
    std::vector<RenderReport::MissingSample> _missing_arr;
    render::OutputFormat _format;
    std::unique_ptr<Renderer> _renderer;
    std::optional<render::Meter> _meter;
    std::optional<render::Envelope> _envelope;
    std::unique_ptr<render::WavPipe> _pipe;
    std::vector<StemOutput> _stem_arr;
    std::set<fs::path> _claimed_set; // of what is written
    render::Percentiles _block_times;
};

void Run::load(RenderJob::Warn const& warn) {
    using Severity = session::Diagnostic::Severity;
    _loaded = LoadedSession::load(
        _settings.session_path, _settings.strict_flag ? Severity::ERROR : Severity::WARNING, warn);
    for (std::size_t sample = 0; sample < _info_arr.size(); ++sample) {
        auto const& info = _session.sample_arr[sample];
        if (!_info_arr[sample].reason.empty()) {
            _missing_arr.push_back(
                {info.path, _session.tell(info.place), _info_arr[sample].reason});
        }
    }
    _format = {_settings.bit_fmt, _settings.sample_freq.value_or(_session.sample_freq),
               _session.nbr_chn};
}

void Run::convert() {
    if (!_settings.best_flag) {
        return;
    }
    engine::ConversionStore const store(_settings.conversion_folder.empty()
                                            ? engine::ConversionStore::find_default_folder()
                                            : _settings.conversion_folder);
    engine::WorkerPool pool(_settings.nbr_jobs);
    engine::SessionConverter::convert(
        _session, _info_arr, _format.sample_freq, store, pool,
        [this](int done, int total) { return _progress("Converting samples", done, total); });
}

double Run::read_time(std::optional<std::string> const& txt, char const* option, double def) const {
    return txt ? _loaded.read_time(*txt, option) : def;
}

// What is about to be written is none of what is read, and nothing else that is written.
void Run::claim(std::string const& path) {
    std::error_code ec;
    fs::path const whole = fs::absolute(path, ec);
    fs::path const place = fs::weakly_canonical(whole, ec);
    if (!_claimed_set.insert(ec ? whole : place).second) {
        throw Error(Error::Kind_USE, path + ": would be written twice; give each output a name of "
                                            "its own");
    }
    if (!fs::exists(path, ec)) {
        return;
    }
    auto const check = [&](std::string const& read_path) {
        if (fs::equivalent(path, read_path, ec)) {
            throw Error(Error::Kind_USE, path + ": is read by the session; write to another file");
        }
    };
    for (std::string const& file : _session.file_arr) {
        check(file);
    }
    for (Session::Sample const& sample : _session.sample_arr) {
        check(sample.path);
    }
}

void Run::set_up() {
    Renderer::Settings settings;
    settings.sample_freq = _format.sample_freq;
    settings.from = read_time(_settings.from, "--from", 0);
    settings.to = read_time(_settings.to, "--to", -1);
    settings.tail = read_time(_settings.tail, "--tail", _session.tail);
    settings.block_len = _settings.block_len;
    settings.nbr_jobs = _settings.nbr_jobs;
    settings.cache_len = _settings.cache_len;
    if (_settings.to && settings.to <= settings.from) {
        throw Error(Error::Kind_USE, "--to " + *_settings.to + ": does not lie behind --from");
    }
    _renderer = std::make_unique<Renderer>(_bundle, _session, _info_arr, settings);
    if (_settings.from && _renderer->get_len() == 0) {
        throw Error(Error::Kind_USE,
                    "--from " + *_settings.from + ": lies behind the end of the session");
    }
    for (std::string const& path : {_settings.plot_path, _settings.report_path}) {
        if (!path.empty()) {
            claim(path);
        }
    }
    add_mix();
    if (!_settings.stem_folder.empty()) {
        add_stems();
    }
    _renderer->set_time_listener(
        [this](double time) { _block_times.add(std::llround(time * 1e9)); });
}

void Run::add_mix() {
    if (_settings.measure_flag) {
        _meter.emplace(_format.nbr_chn, _format.sample_freq, _format.get_clip_level());
    }
    if (!_settings.plot_path.empty() || _settings.envelope_flag) {
        _envelope.emplace(_format.nbr_chn, _format.sample_freq, _renderer->get_len(),
                          render::WaveformPlot::nbr_columns);
    }
    bool const pipe_flag = _settings.out_path == standard_output;
    if (pipe_flag) {
        _pipe = std::make_unique<render::WavPipe>(sys::DescriptorOut::STANDARD_OUTPUT,
                                                  "standard output", _format, _renderer->get_len());
    } else {
        _format.check_len(_settings.out_path, _renderer->get_len());
        claim(_settings.out_path);
    }
    _renderer->add_mix_output(pipe_flag ? "" : _settings.out_path, _format.bit_fmt,
                              [this](float const* const* chn_arr, long len) {
                                  if (_meter) {
                                      _meter->push(chn_arr, len);
                                  }
                                  if (_envelope) {
                                      _envelope->push(chn_arr, len);
                                  }
                                  if (_pipe) {
                                      _pipe->write(chn_arr, len);
                                  }
                              });
}

// A name that any file system takes.
std::string make_stem_name(std::size_t number, std::string name) {
    for (char& c : name) {
        if (static_cast<unsigned char>(c) < 32 || std::strchr("/\\:*?\"<>|", c) != nullptr) {
            c = '_';
        }
    }
    std::string const digits = std::to_string(number);
    return std::string(digits.size() < 2 ? "0" : "") + digits + " " + name + ".wav";
}

void Run::add_stems() {
    {
        sys::UserPermissions const permissions;
        std::error_code ec;
        fs::create_directories(_settings.stem_folder, ec);
    }
    for (int const track : _renderer->list_stems()) {
        auto const& name = _session.track_arr[static_cast<std::size_t>(track)].name;
        auto const path =
            fs::path(_settings.stem_folder) / make_stem_name(_stem_arr.size() + 1, name);
        claim(path);
        _stem_arr.push_back({track, path});
    }
    for (StemOutput& stem : _stem_arr) {
        _renderer->add_stem_output(
            stem.track, stem.path, _format.bit_fmt,
            [this, &stem](float const* const* chn_arr, long len) {
                for (int chn = 0; chn < _format.nbr_chn; ++chn) {
                    for (long pos = 0; pos < len; ++pos) {
                        stem.peak =
                            std::max(stem.peak, std::fabs(static_cast<double>(chn_arr[chn][pos])));
                    }
                }
            });
    }
}

void Run::render() {
    long long const len = _renderer->get_len();
    _renderer->run([this, len](long long done) { return _progress("Rendering", done, len); });
    if (_pipe) {
        _pipe->flush();
    }
}

void Run::plot() const {
    if (!_settings.plot_path.empty()) {
        char note[80];
        std::snprintf(note, sizeof(note), "%.0f Hz, %s", _format.sample_freq,
                      _format.get_name().c_str());
        render::WaveformPlot::save(_settings.plot_path, *_envelope, _session.name, note);
    }
}

double conv_to_db(double val) {
    return 20 * std::log10(val);
}

RenderReport Run::make_report() const {
    Renderer::Stat const& stat = _renderer->use_stat();
    RenderReport report;
    report.session = _settings.session_path;
    report.paths = {_settings.out_path};
    report.format = _format;
    report.nbr_frames = stat.nbr_frames;
    report.block_len = _settings.block_len;
    report.quality = _settings.best_flag ? "best" : "fast";
    report.stopped_flag = !stat.complete_flag;
    if (_meter) {
        report.sound = _meter->compute_figures();
    }
    report.nbr_notes = stat.nbr_notes - static_cast<long long>(_renderer->use_dropped().size());
    report.missing_samples = _missing_arr;
    report.max_nbr_voices = stat.max_sounding;
    report.cache = RenderReport::Cache();
    report.cache->nbr_cells = stat.cache.get_nbr_cells();
    report.cache->memory_len = (stat.cache.normal_len + stat.cache.rec_len) * 4LL;
    report.cache->max_nbr_cells = stat.max_cells;
    report.cache->nbr_slices = stat.nbr_slices;
    report.cache->nbr_prefetches = stat.nbr_prefetches;
    report.cache->nbr_cells_read = stat.nbr_cells_read;
    report.cache->nbr_waits = stat.nbr_waits;
    report.block_times = _block_times;
    report.nbr_jobs = _settings.nbr_jobs;
    fill_losses(report);
    fill_stems(report);
    report.elapsed =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - _start).count();
    report.cpu_time = static_cast<double>(std::clock() - _start_cpu) / CLOCKS_PER_SEC;
    return report;
}

void Run::fill_losses(RenderReport& report) const {
    for (engine::Feeder::Loss const& loss : _renderer->use_dropped()) {
        auto const& clip = use_clip(loss);
        report.lost_clips.push_back({use_track(loss).name, _session.tell(clip.place), clip.at,
                                     "its sample could not be used any more"});
    }
    for (engine::Feeder::Loss const& loss : _renderer->use_holes()) {
        report.holes.push_back(
            {_session.tell(use_clip(loss).place), _renderer->conv_to_time(loss.beg), loss.len});
    }
    auto const lost_arr = _loaded.list_lost_clips();
    report.lost_clips.insert(report.lost_clips.end(), lost_arr.begin(), lost_arr.end());
}

void Run::fill_stems(RenderReport& report) const {
    for (StemOutput const& stem : _stem_arr) {
        report.stems.push_back({_session.track_arr[static_cast<std::size_t>(stem.track)].name,
                                stem.path, conv_to_db(stem.peak)});
    }
    if (!_stem_arr.empty()) {
        report.stem_deviation = conv_to_db(_renderer->use_stat().stem_deviation);
    }
}

} // namespace

RenderJob::Result RenderJob::run(Bundle& bundle, Settings const& settings, Warn const& warn,
                                 Progress const& progress) {
    if (!settings.plot_path.empty()) {
        render::WaveformPlot::check_path(settings.plot_path);
    }
    Run run(bundle, settings, progress);
    run.load(warn);
    run.convert();
    run.set_up();
    run.render();
    run.plot();
    return {run.make_report(), run.use_envelope()};
}

} // namespace ulk::host
