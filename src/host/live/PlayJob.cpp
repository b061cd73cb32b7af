#include "host/live/PlayJob.h"

#include "host/Error.h"
#include "host/session/SampleCheck.h"
#include "host/session/SessionReader.h"
#include "host/session/TimeScale.h"
#include "host/session/TimeText.h"

#include <algorithm>
#include <chrono>
#include <thread>

namespace ulk::host::live {

namespace {

using session::Session;

constexpr double jump_time = 5;    // s, of the keys for back and forth
constexpr double cue_slack = 0.05; // s, that a cue lies behind where it plays to be the next one
constexpr auto fade_wait = std::chrono::milliseconds(50); // for the last fade to be heard

// The work of one run.
class Run {
public:
    Run(Bundle& bundle, PlayJob::Settings const& settings)
        : _bundle(bundle)
        , _settings(settings) {}

    void load(PlayJob::Warn const& warn);
    void open(PlayJob::Open const& open_device);
    void play(PlayJob::Warn const& warn, PlayJob::Watch const& watch);
    PlayReport make_report();

private:
    double read_time(std::string const& txt, char const* option) const;
    void make_player();
    void grant(PlayJob::Wish wish, Player::State const& state);
    void check_alive() const;
    void warn_of_priority(PlayJob::Warn const& warn);

    Bundle& _bundle;
    PlayJob::Settings const& _settings;
    Session _session;
    std::vector<engine::SampleFacts> _fact_arr;
    std::unique_ptr<Player> _player;
    std::unique_ptr<Device> _device; // its callback ends before the player
    bool _pause_flag = false;
    bool _stop_flag = false;
    bool _real_time_flag = false;
};

void Run::load(PlayJob::Warn const& warn) {
    session::Diagnostics diagnostics;
    _session = session::SessionReader::load(_settings.session_path, diagnostics);
    diagnostics.check(_session.file_arr);
    _fact_arr = session::SampleCheck::look(_session);
    session::SampleCheck::report(_session, _fact_arr, session::Diagnostic::Severity::WARNING,
                                 diagnostics);
    diagnostics.sort();
    if (!diagnostics.use_list().empty()) {
        warn(diagnostics.print(_session.file_arr));
    }
    for (engine::SampleFacts& facts : _fact_arr) {
        facts.len = facts.reason.empty() ? facts.len : 0;
    }
}

double Run::read_time(std::string const& txt, char const* option) const {
    session::TimeScale const scale = {_session.sample_freq, _session.tempo_map};
    auto const written = session::TimeText::parse(txt);
    auto const time = written ? scale.conv(*written, {}) : std::nullopt;
    if (!time || !(*time >= 0)) {
        throw Error(Error::Kind_USE, std::string(option) + " " + txt +
                                         ": is no time of the session, such as 1.5, \"250 ms\", "
                                         "1:02.5 or \"5|2\"");
    }
    return *time;
}

// The device's rate is the player's.
void Run::open(PlayJob::Open const& open_device) {
    Device::Settings wish;
    wish.name = _settings.device;
    wish.sample_freq = _settings.sample_freq.value_or(_session.sample_freq);
    wish.block_len = _settings.block_len;
    wish.nbr_out = _session.nbr_chn;
    _device = open_device(wish);
    make_player();
}

void Run::make_player() {
    Player::Settings settings;
    settings.sample_freq = _device->get_sample_freq();
    settings.block_len = _device->get_block_len();
    settings.from = _settings.from ? read_time(*_settings.from, "--from") : 0;
    if (!_settings.loop.empty()) {
        settings.loop = {read_time(_settings.loop[0], "--loop"),
                         read_time(_settings.loop[1], "--loop")};
        if (settings.loop->end <= settings.loop->beg) {
            throw Error(Error::Kind_USE, "--loop " + _settings.loop[0] + " " + _settings.loop[1] +
                                             ": its end does not lie behind its beginning");
        }
        settings.from = _settings.from ? settings.from : settings.loop->beg;
    }
    _player = std::make_unique<Player>(_bundle, _session, _fact_arr, settings);
}

void Run::check_alive() const {
    if (!_device->is_alive()) {
        throw Error(Error::Kind_IO, "the sound device " + _device->get_name() +
                                        " is gone; is its server still running, and the device "
                                        "plugged in?");
    }
    if (auto const failure = _player->get_failure(); !failure.empty()) {
        throw Error(Error::Kind_IO, failure);
    }
}

void Run::warn_of_priority(PlayJob::Warn const& warn) {
    if (!_real_time_flag) {
        warn("tessitone: no real-time priority for the sound: other work may interrupt it. Grant "
             "rtprio to a group in /etc/security/limits.d, join it and log in again.\n");
    }
}

void Run::play(PlayJob::Warn const& warn, PlayJob::Watch const& watch) {
    _player->start();
    _device->start([this](float const* const*, float* const* out_arr, long len) {
        _player->process(out_arr, len);
    });
    bool told_flag = false;
    for (auto state = _player->find_state(); !state.finished_flag && !_stop_flag;
         state = _player->find_state()) {
        check_alive();
        if (!told_flag && state.playing_flag) {
            told_flag = true;
            _real_time_flag = _device->is_real_time();
            warn_of_priority(warn);
        }
        grant(watch(state, _device->get_nbr_xruns()), state);
    }
    _player->set_pause(true);
    std::this_thread::sleep_for(fade_wait);
    _device->stop();
    _player->stop();
}

void Run::grant(PlayJob::Wish wish, Player::State const& state) {
    auto const& cue_arr = _player->use_cues();
    switch (wish) {
    case PlayJob::Wish::NONE:
        break;
    case PlayJob::Wish::PAUSE:
        _pause_flag = !_pause_flag;
        _player->set_pause(_pause_flag);
        break;
    case PlayJob::Wish::BACK:
        _player->locate(state.time - jump_time);
        break;
    case PlayJob::Wish::FORTH:
        _player->locate(state.time + jump_time);
        break;
    case PlayJob::Wish::NEXT:
        if (auto const cue =
                std::upper_bound(cue_arr.begin(), cue_arr.end(), state.time + cue_slack);
            cue != cue_arr.end()) {
            _player->locate(*cue);
        }
        break;
    case PlayJob::Wish::STOP:
        _stop_flag = true;
        break;
    }
}

PlayReport Run::make_report() {
    PlayReport report;
    report.session = _settings.session_path;
    report.device = _device->get_name();
    report.sample_freq = _device->get_sample_freq();
    report.block_len = _device->get_block_len();
    report.stat = _player->use_stat();
    report.nbr_xruns = _device->get_nbr_xruns();
    report.real_time_flag = _real_time_flag;
    for (Deck::Loss const& loss : _player->list_losses()) {
        auto const& track = _session.track_arr[static_cast<std::size_t>(loss.track)];
        auto const& clip = track.clips[static_cast<std::size_t>(loss.clip)];
        report.losses.push_back(
            {_session.tell(clip.place), loss.time, loss.len, loss.refused_flag});
    }
    return report;
}

} // namespace

PlayReport PlayJob::run(Bundle& bundle, Settings const& settings, Open const& open,
                        Warn const& warn, Watch const& watch) {
    Run run(bundle, settings);
    run.load(warn);
    run.open(open);
    run.play(warn, watch);
    return run.make_report();
}

} // namespace ulk::host::live
