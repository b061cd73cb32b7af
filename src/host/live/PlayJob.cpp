#include "host/live/PlayJob.h"

#include "host/Error.h"
#include "host/LoadedSession.h"

#include <algorithm>
#include <chrono>
#include <thread>

namespace ulk::host::live {

namespace {

using session::Session;

constexpr double jump_time = 5;                           // s, of the keys for back and forth
constexpr auto fade_wait = std::chrono::milliseconds(50); // for the last fade to be heard

// The work of one run.
class Run {
public:
    Run(Bundle& bundle, PlayJob::Settings const& settings, PlayJob::Warn const& warn)
        : _bundle(bundle)
        , _settings(settings)
        , _loaded(LoadedSession::load(settings.session_path, session::Diagnostic::Severity::WARNING,
                                      warn)) {}

    void open(PlayJob::Open const& open_device);
    void play(PlayJob::Warn const& warn, PlayJob::Watch const& watch);
    PlayReport make_report();

private:
    void make_player();
    bool goes_on();
    void grant(PlayJob::Wish wish, Player::State const& state);
    void jump(double time);
    void warn_of_priority(PlayJob::Warn const& warn);

    Bundle& _bundle;
    PlayJob::Settings const& _settings;
    LoadedSession const _loaded;
    Session const& _session = _loaded.session;
    std::unique_ptr<Player> _player;
    std::unique_ptr<Device> _device; // its callback ends before the player
    bool _pause_flag = false;
    bool _stop_flag = false;
    double _target = 0; // s, of the last jump
    std::optional<Error> _failure;
    bool _real_time_flag = false;
};

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
    settings.from = _settings.from ? _loaded.read_time(*_settings.from, "--from") : 0;
    if (!_settings.loop.empty()) {
        settings.loop = {_loaded.read_time(_settings.loop[0], "--loop"),
                         _loaded.read_time(_settings.loop[1], "--loop")};
        if (settings.loop->end <= settings.loop->beg) {
            throw Error(Error::Kind_USE, "--loop " + _settings.loop[0] + " " + _settings.loop[1] +
                                             ": its end does not lie behind its beginning");
        }
        settings.from = _settings.from ? settings.from : settings.loop->beg;
    }
    _target = settings.from;
    _player = std::make_unique<Player>(_bundle, _session, _loaded.info_arr, settings);
}

// False when the device or the player has come to its end before its time, which is noted.
bool Run::goes_on() {
    if (!_device->is_alive()) {
        _failure = Error(Error::Kind_IO, "the sound device " + _device->get_name() +
                                             " is gone; is its server still running, and the "
                                             "device plugged in?");
    } else if (auto const failure = _player->get_failure(); !failure.empty()) {
        _failure = Error(Error::Kind_MATERIAL, failure);
    }
    return !_failure;
}

void Run::warn_of_priority(PlayJob::Warn const& warn) {
    if (!_real_time_flag) {
        warn(std::string("tessitone: ") + Device::priority_advice + "\n");
    }
}

void Run::play(PlayJob::Warn const& warn, PlayJob::Watch const& watch) {
    _player->start();
    _device->start([this](float const* const*, float* const* out_arr, long len) {
        _player->process(out_arr, len);
    });
    bool told_flag = false;
    for (auto state = _player->find_state(); goes_on() && !state.finished_flag && !_stop_flag;
         state = _player->find_state()) {
        if (!told_flag && state.playing_flag) {
            told_flag = true;
            _real_time_flag = _device->is_real_time();
            warn_of_priority(warn);
        }
        std::string const cue =
            state.cue < 0 ? "" : _player->use_cues()[static_cast<std::size_t>(state.cue)].name;
        grant(watch({state, cue, _device->get_nbr_xruns()}), state);
    }
    _player->set_pause(true);
    std::this_thread::sleep_for(fade_wait);
    _device->stop();
    _player->stop();
}

// Jumps count from where one is under way to.
void Run::grant(PlayJob::Wish wish, Player::State const& state) {
    double const time = state.loading_flag ? _target : state.time;
    switch (wish) {
    case PlayJob::Wish::NONE:
        break;
    case PlayJob::Wish::PAUSE:
        _pause_flag = !_pause_flag;
        _player->set_pause(_pause_flag);
        break;
    case PlayJob::Wish::BACK:
        jump(std::max(time - jump_time, 0.0));
        break;
    case PlayJob::Wish::FORTH:
        jump(time + jump_time);
        break;
    case PlayJob::Wish::NEXT:
        if (auto const cue = _player->find_next_cue(time)) {
            jump(*cue);
        }
        break;
    case PlayJob::Wish::STOP:
        _stop_flag = true;
        break;
    }
}

void Run::jump(double time) {
    _target = time;
    _player->locate(time);
}

PlayReport Run::make_report() {
    PlayReport report;
    report.time = _player->find_state().time;
    report.session = _settings.session_path;
    report.device = _device->get_name();
    report.sample_freq = _device->get_sample_freq();
    report.block_len = _device->get_block_len();
    report.nbr_chn = _session.nbr_chn;
    report.stat = _player->use_stat();
    report.nbr_xruns = _device->get_nbr_xruns();
    report.real_time_flag = _real_time_flag;
    report.failure = _failure;
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
    Run run(bundle, settings, warn);
    run.open(open);
    run.play(warn, watch);
    return run.make_report();
}

} // namespace ulk::host::live
