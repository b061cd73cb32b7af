#pragma once

#include "host/live/Player.h"
#include "soak/Score.h"
#include "soak/Tally.h"
#include "soak/Verdict.h"
#include "support/PlayerProbe.h"

#include <map>
#include <string>
#include <utility>
#include <vector>

namespace soak {

// Compares what a player gives with its score, frame by frame, and counts what it left out. For the
// thread that calls the player, then for others.
class SoundChecker {
public:
    using Player = ulk::host::live::Player;
    using View = ulk::host::live::PlayerProbe::View;

    SoundChecker(Score const& score, Player::Settings const& settings, Verdict& verdict);

    // What came of a call: where the player stood before and behind it.
    void check(View const& before, View const& after, float const* const* chn_arr, long len);
    // When all is over: what the player tells of its losses against what was heard.
    void compare(std::vector<ulk::host::live::Deck::Loss> const& loss_arr);
    void add_to(Tally& tally) const;

private:
    using Event = Score::Event;

    // Frames that were played in one go: from one of the session on, to a place in the block.
    struct Part {
        long long frame;
        long len;
        long pos;
        float gain;    // of the fade, before its first frame
        int direction; // of the fade
    };
    struct Count {
        long long lost = 0;  // frames that were heard as silence
        long long faded = 0; // that were faded out: nobody sees whether they were there
    };

    void check_same_deck(View const& before, View const& after, long len);
    void check_new_deck(View const& before, View const& after, long len);
    float fade(float gain, int direction, long len) const;
    void check_part(Part const& part, float const* const* chn_arr);
    void check_frame(int chn, long long frame, float gain, float val);
    bool is_silent(float const* const* chn_arr, long beg, long end) const;
    void fail(std::string const& text, View const& before, View const& after, long len);

    Score const& _score;
    Verdict& _verdict;
    long long _loop_beg = -1; // frame; -1 for none
    float _fade_step;
    std::vector<Part> _part_arr;                     // of a block
    std::map<std::pair<int, int>, Count> _count_map; // by track and clip
    long long _nbr_right = 0;
    long long _nbr_notes = 0;
    long long _nbr_told = 0;
    long long _nbr_refused = 0;
};

} // namespace soak
