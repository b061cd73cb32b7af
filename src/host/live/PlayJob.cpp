#include "host/live/PlayJob.h"

#include "host/Error.h"
#include "host/LoadedSession.h"
#include "host/engine/Frames.h"
#include "ulk/sys/MemoryLock.h"

#include <algorithm>
#include <chrono>
#include <thread>

namespace ulk::host::live {

namespace {

using session::Session;
using Clock = std::chrono::steady_clock;

constexpr double jump_time = 5; // s, of the keys for back and forth
constexpr auto fade_patience = std::chrono::seconds(3);
constexpr auto fade_period = std::chrono::milliseconds(2);

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
    void check_times(Player::Settings const& settings) const;
    bool goes_on();
    void fade_out();
    void grant(PlayJob::Wish wish, Player::State const& state);
    void tell(PlayJob::Warn const& warn);

    Bundle& _bundle;
    PlayJob::Settings const& _settings;
    LoadedSession const _loaded;
    Session const& _session = _loaded.session;
    std::unique_ptr<Player> _player;
    std::unique_ptr<Device> _device; // its callback ends before the player
    bool _pause_flag = false;
    bool _stop_flag = false;
    std::optional<Error> _failure;
    std::optional<bool> _real_time; // the callback has such a priority
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
        settings.from = _settings.from ? settings.from : settings.loop->beg;
    }
    _player = std::make_unique<Player>(_bundle, _session, _loaded.info_arr, settings);
    check_times(settings);
}

// A loop may end behind the session, in silence.
void Run::check_times(Player::Settings const& settings) const {
    auto const refuse = [](std::string const& option, char const* reason) {
        throw Error(Error::Kind_USE, option + reason);
    };
    constexpr char behind_end[] = ": lies behind the end of the session";
    if (_settings.from && settings.from >= _player->get_len()) {
        refuse("--from " + *_settings.from, behind_end);
    }
    if (settings.loop) {
        std::string const option = "--loop " + _settings.loop[0] + " " + _settings.loop[1];
        auto const [beg, end] = *settings.loop;
        if (_settings.from && settings.from >= end) {
            refuse("--from " + *_settings.from, ": lies behind the end of the loop");
        }
        if (engine::conv_to_frames(end, settings.sample_freq) <=
            engine::conv_to_frames(beg, settings.sample_freq)) {
            refuse(option, ": its end does not lie behind its beginning");
        }
        if (beg >= _player->get_len()) {
            refuse(option, behind_end);
        }
    }
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

// What turns out while it plays.
void Run::tell(PlayJob::Warn const& warn) {
    if (!_real_time) {
        _real_time = _device->is_real_time();
        if (_real_time == false) {
            warn(std::string("tessitone: ") + Device::priority_advice + "\n");
        }
    }
    if (auto const notice = _player->take_notice(); !notice.empty()) {
        warn("tessitone: " + notice + "\n");
    }
}

void Run::play(PlayJob::Warn const& warn, PlayJob::Watch const& watch) {
    _player->start();
    _device->start([this](float const* const*, float* const* out_arr, long len) {
        _player->process(out_arr, len);
    });
    for (auto state = _player->find_state(); goes_on() && !state.finished_flag && !_stop_flag;
         state = _player->find_state()) {
        tell(warn);
        std::string const cue =
            state.cue < 0 ? "" : _player->use_cues()[static_cast<std::size_t>(state.cue)].name;
        grant(watch({state, cue, _device->get_nbr_xruns()}), state);
    }
    fade_out();
    tell(warn);
    _device->stop();
    _player->stop();
}

// To the end, unless the device has come to its own.
void Run::fade_out() {
    _player->set_pause(true);
    auto const deadline = Clock::now() + fade_patience;
    while (goes_on() && !_player->find_state().still_flag && Clock::now() < deadline) {
        std::this_thread::sleep_for(fade_period);
    }
}

// Jumps count from where one that is under way leads.
void Run::grant(PlayJob::Wish wish, Player::State const& state) {
    switch (wish) {
    case PlayJob::Wish::NONE:
        break;
    case PlayJob::Wish::PAUSE:
        _pause_flag = !_pause_flag;
        _player->set_pause(_pause_flag);
        break;
    case PlayJob::Wish::BEGINNING:
        _player->locate(0);
        break;
    case PlayJob::Wish::BACK:
        _player->locate(state.goal - jump_time);
        break;
    case PlayJob::Wish::FORTH:
        _player->locate(state.goal + jump_time);
        break;
    case PlayJob::Wish::PREVIOUS:
        _player->locate(_player->find_prev_cue(state.goal));
        break;
    case PlayJob::Wish::NEXT:
        if (auto const cue = _player->find_next_cue(state.goal)) {
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
    report.time = _player->find_state().time;
    report.session = _settings.session_path;
    report.device = _device->get_name();
    report.sample_freq = _device->get_sample_freq();
    report.block_len = _device->get_block_len();
    report.nbr_chn = _session.nbr_chn;
    report.stat = _player->use_stat();
    report.nbr_xruns = _device->get_nbr_xruns();
    report.real_time = _real_time;
    report.failure = _failure;
    report.lost_clips = _loaded.list_lost_clips();
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
    sys::MemoryLock::lock_touched();
    Run run(bundle, settings, warn);
    run.open(open);
    run.play(warn, watch);
    return run.make_report();
}

} // namespace ulk::host::live
