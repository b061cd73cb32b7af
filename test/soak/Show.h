#pragma once

#include "host/live/Player.h"
#include "soak/FastClock.h"
#include "soak/Score.h"
#include "soak/SoundChecker.h"
#include "soak/Tally.h"
#include "soak/Verdict.h"
#include "support/FaultyDisk.h"

#include <random>

namespace soak {

// One session played live for some seconds, with jumps, loops and pauses at random, while the disk
// does what it likes.
class Show {
public:
    Show(ulk::host::Bundle& bundle, Material const& material, test::FaultyDisk& disk, unsigned seed,
         Verdict& verdict);

    void run();
    void add_to(Tally& tally); // behind run()

private:
    using Player = ulk::host::live::Player;

    double draw(double least, double most) {
        return std::uniform_real_distribution<double>(least, most)(_rng);
    }
    int draw_int(int least, int most) {
        return std::uniform_int_distribution<int>(least, most)(_rng);
    }
    Player::Settings make_settings();
    void change_weather();
    void act();
    double find_target();
    void play(float* const* out_arr, long len);
    void look();
    void finish();

    test::FaultyDisk& _disk;
    std::mt19937 _rng;
    Verdict& _verdict;
    Score _score;
    Player::Settings _settings;
    Player _player;
    SoundChecker _checker;
    long long _nbr_contended = 0; // the clock's
};

} // namespace soak
