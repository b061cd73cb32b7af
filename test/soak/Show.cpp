#include "soak/Show.h"

#include "soak/GuardedPass.h"

#include <chrono>
#include <thread>

namespace soak {

using ulk::host::live::PlayerProbe;

namespace {

constexpr double min_loop = 0.25; // s

} // namespace

Show::Show(ulk::host::Bundle& bundle, Material const& material, test::FaultyDisk& disk,
           unsigned seed, Verdict& verdict)
    : _disk(disk)
    , _rng(seed)
    , _verdict(verdict)
    , _score(material, seed)
    , _settings(make_settings())
    , _player(bundle, _score.use_session(), _score.use_facts(), _settings)
    , _checker(_score, _settings, verdict) {}

Show::Player::Settings Show::make_settings() {
    Player::Settings settings;
    settings.sample_freq = Material::freq;
    settings.block_len = 1L << draw_int(6, 11);
    settings.patience = 0.5;
    if (draw_int(0, 2) == 0) {
        double const beg = draw(0, 1.5);
        settings.loop = Player::Loop{beg, beg + draw(min_loop, 2)};
    }
    return settings;
}

void Show::change_weather() {
    using Duration = test::FaultyDisk::Duration;
    test::FaultyDisk::Weather weather;
    weather.latency = Duration(draw_int(0, 1) == 0 ? 20 : draw_int(100, 2000));
    if (draw_int(0, 2) == 0) {
        weather.stall_ratio = draw(0, 0.02);
        weather.stall = std::chrono::milliseconds(draw_int(10, draw_int(0, 3) == 0 ? 3000 : 600));
    }
    if (draw_int(0, 2) == 0) {
        weather.fail_ratio = draw(0, 0.02);
    }
    if (draw_int(0, 2) == 0) {
        weather.odd_ratio = draw(0, 0.2);
    }
    _disk.set_weather(weather);
}

void Show::run() {
    change_weather();
    _player.start();
    FastClock clock({"", Material::freq, _settings.block_len, _score.get_nbr_chn(), 0});
    clock.start(
        [this](float const* const*, float* const* out_arr, long len) { play(out_arr, len); });
    auto const end =
        std::chrono::steady_clock::now() + std::chrono::milliseconds(draw_int(500, 5000));
    while (_verdict.is_good() && std::chrono::steady_clock::now() < end) {
        std::this_thread::sleep_for(std::chrono::milliseconds(draw_int(1, 150)));
        act();
    }
    clock.stop();
    finish();
}

void Show::act() {
    switch (draw_int(0, 7)) {
    case 0:
    case 1:
    case 2:
        _player.locate(find_target());
        break;
    case 3:
        _player.set_pause(true);
        break;
    case 4:
    case 5:
        _player.set_pause(false);
        break;
    case 6:
        change_weather();
        break;
    default:
        look();
        break;
    }
}

// Some blocks before the end and before that of a loop, so that a block tells where it began.
double Show::find_target() {
    double const margin = 4 * static_cast<double>(_settings.block_len) / Material::freq;
    double const time = draw(0, std::max(_player.get_len() - margin, 0.1));
    bool const cut_flag = _settings.loop && time < _settings.loop->end;
    return cut_flag ? std::min(time, std::max(_settings.loop->end - margin, 0.0)) : time;
}

void Show::play(float* const* out_arr, long len) {
    auto const before = PlayerProbe::look(_player);
    _nbr_contended += run_guarded(_verdict, [&] { _player.process(out_arr, len); });
    _checker.check(before, PlayerProbe::look(_player), out_arr, len);
}

void Show::look() {
    auto const state = _player.find_state();
    if (state.nbr_voices < 0 || state.nbr_cells_full > state.nbr_cells) {
        _verdict.fail("the player tells nonsense of itself");
    }
    if (auto const failure = _player.get_failure(); !failure.empty()) {
        _verdict.fail("the player gave up: " + failure);
    }
}

void Show::finish() {
    _player.stop();
    look();
    long long const told = _player.find_state().nbr_lost;
    auto const loss_arr = _player.list_losses();
    long long sum = 0;
    for (auto const& loss : loss_arr) {
        sum += loss.len;
    }
    if (told != sum) {
        _verdict.fail("the player tells " + std::to_string(told) + " lost frames, its clips " +
                      std::to_string(sum));
    }
    _checker.compare(loss_arr);
    if (!PlayerProbe::clear(_player)) {
        _verdict.fail("something is left in the cache");
    }
}

void Show::add_to(Tally& tally) {
    _checker.add_to(tally);
    auto const& stat = _player.use_stat();
    ++tally.nbr_shows;
    tally.nbr_passes += stat.nbr_blocks;
    tally.nbr_frames += stat.nbr_frames;
    tally.nbr_jumps += stat.nbr_jumps;
    tally.nbr_late += stat.nbr_late;
    tally.nbr_contended += _nbr_contended;
    tally.waits.add(stat.waits);
    tally.works.add(stat.works);
}

} // namespace soak
