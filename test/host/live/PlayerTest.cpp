#include "host/live/Player.h"

#include "host/CommandTap.h"
#include "host/Error.h"
#include "host/engine/RenderRig.h"
#include "support/PlayerProbe.h"
#include "support/RealTimeGuard.h"
#include "ulk/ace/Err.h"
#include "ulk/kryn/PluginFactory.h"
#include "ulk/sys/posix/SysCall.h"

#include <atomic>
#include <filesystem>
#include <thread>

using namespace ulk::host;
using live::Player;
using test::RenderRig;

namespace {

constexpr double freq = 48000;
constexpr long block_len = 256;

// A factory that makes so many plug-ins and no more.
class ScarceFactory : public CommandTap {
public:
    int nbr_left = 1000000;

protected:
    int do_execute(ulk::pibase::BidirComPoint& com, int cmd, void* data) override {
        if (cmd == kryn::PluginFactory::CmdFact::INSTANTIATE && nbr_left-- <= 0) {
            return ulk::ace::Err_ENGINE_CREATE_PLUGIN;
        }
        return com.plugin_execute(&com, cmd, data);
    }
};

// A session that plays for about three seconds, and a player that the test drives by hand.
class LivePlayerTest : public ::testing::Test, public RenderRig {
public:
    void SetUp() override {
        settings.block_len = block_len;
        live.block_len = block_len;
        int const mono = add_noise(1, 60000, freq);
        int const stereo = add_noise(2, 90000, 44100);
        int const one = add_track("one");
        add_clip(one, mono, 0).fade_in = 0.1;
        auto& pitched = add_clip(one, stereo, 0.5);
        pitched.pitch = -3;
        pitched.pan = {{0, -1}, {1, 1}};
        int const two = add_track("two");
        add_clip(two, mono, 1.5).volume = {{0, -20}, {0.5, 0}, {1, -40}};
        session.track_arr[1].volume = {{0, 0}, {2, -12}};
    }
    long long find_cue_frame() const { return live::PlayerProbe::find_cue_frame(*player); }
    void make_player() {
        player = std::make_unique<Player>(bundle, session, fact_arr, live);
        settle();
    }
    // What the two threads do, until there is nothing more to be done.
    void settle() {
        for (int round = 0; round < 3; ++round) {
            player->serve();
            while (player->run_slices()) {
            }
        }
    }
    Channels play(long len) {
        Channels block(2, std::vector<float>(static_cast<std::size_t>(len), 99.f));
        float* const chn_arr[] = {block[0].data(), block[1].data()};
        {
            test::RealTimeGuard const guard(test::RealTimeGuard::Locks_UNCONTENDED);
            player->process(chn_arr, len);
        }
        return block;
    }
    // Blocks of the given lengths in turn, until len frames are there; serves in between.
    Channels play_on(std::size_t len, std::vector<long> const& len_arr) {
        Channels result(2);
        for (std::size_t index = 0; result[0].size() < len; ++index) {
            Channels const block = play(len_arr[index % len_arr.size()]);
            for (std::size_t chn = 0; chn < 2; ++chn) {
                result[chn].insert(result[chn].end(), block[chn].begin(), block[chn].end());
            }
            settle();
        }
        return result;
    }
    static void expect_same(Channels const& expected, std::size_t beg, Channels const& played,
                            std::size_t pos, std::size_t len) {
        for (std::size_t chn = 0; chn < 2; ++chn) {
            for (std::size_t k = 0; k < len; ++k) {
                std::size_t const place = beg + k;
                float const wish = place < expected[chn].size() ? expected[chn][place] : 0.f;
                ASSERT_EQ(wish, played[chn][pos + k]) << "frame " << k << ", channel " << chn;
            }
        }
    }

    ScarceFactory factory;
    Bundle scarce{BUILD_DIR "/baplug.so", &factory};
    Player::Settings live;
    std::unique_ptr<Player> player;
};

// Every read takes its time, or all of it.
class SlowDisk : public ulk::sys::posix::SysCall::Filter {
public:
    using SysCall = ulk::sys::posix::SysCall;
    explicit SlowDisk(int ms)
        : _ms(ms)
        , _prev_ptr(SysCall::set_filter(this)) {}
    ~SlowDisk() override { SysCall::set_filter(_prev_ptr); }

    // From now on no read comes to its end, while true.
    void stall(bool flag) { _stalled_flag = flag; }

protected:
    long do_check(SysCall::Op op, long) override {
        if (op == SysCall::Op_READ) {
            do {
                std::this_thread::sleep_for(std::chrono::milliseconds(_ms));
            } while (_stalled_flag);
        }
        return 0;
    }

private:
    int _ms;
    std::atomic<bool> _stalled_flag = false;
    Filter* _prev_ptr;
};

} // namespace

TEST_F(LivePlayerTest, PlaysWhatIsRenderedFrameForFrame) {
    Channels const mix = render();
    make_player();
    EXPECT_FALSE(player->find_state().loading_flag);
    play(block_len); // makes what lies before the first frame
    Channels const played = play_on(mix[0].size() + 1000, {block_len});
    expect_same(mix, 0, played, 0, mix[0].size() + 1000);
    auto const state = player->find_state();
    EXPECT_TRUE(state.finished_flag);
    EXPECT_EQ(0, state.nbr_lost);
    EXPECT_TRUE(player->list_losses().empty());
    EXPECT_GE(player->use_stat().max_voices, 2);
}

TEST_F(LivePlayerTest, PlaysTheSameInBlocksOfAnyLength) {
    Channels const mix = render();
    make_player();
    play(1);
    Channels const played = play_on(mix[0].size(), {1, 255, 256, 257, 1000, 64, 3});
    expect_same(mix, 0, played, 0, mix[0].size());
    EXPECT_EQ(0, player->find_state().nbr_lost);
}

TEST_F(LivePlayerTest, StartsAnywhereAsTheRenderDoes) {
    settings.from = live.from = 0.77;
    Channels const mix = render();
    make_player();
    for (int block = 0; block < 3; ++block) { // 577 frames
        play(block_len);
    }
    Channels const played = play_on(mix[0].size(), {block_len});
    expect_same(mix, 0, played, 0, mix[0].size());
}

TEST_F(LivePlayerTest, JumpsToATimeAndPlaysOnFromThereAsRendered) {
    settings.from = 2.25;
    Channels const mix = render();
    make_player();
    play_on(20000, {block_len});
    player->locate(2.25);
    EXPECT_TRUE(player->find_state().loading_flag);
    settle();
    EXPECT_FALSE(player->find_state().loading_flag);
    for (int block = 0; player->use_stat().nbr_jumps == 0; ++block) {
        ASSERT_LT(block, 10);
        play(block_len);
    }
    // The block in which the jump came is the first of the new sound.
    EXPECT_NEAR(2.25 + block_len / freq, player->find_state().time, 1e-9);
    Channels const played = play_on(mix[0].size() - block_len, {block_len});
    expect_same(mix, block_len, played, 0, mix[0].size() - block_len);
}

// From the frame on that the jump leads to, without any more help from the disk.
TEST_F(LivePlayerTest, TheNextCueSoundsAtOnce) {
    session.cue_arr = {{"verse", 0}, {"chorus", 2.25}, {"coda", 2.7}};
    settings.from = 2.25;
    Channels const mix = render();
    make_player();
    play_on(20000, {block_len});
    EXPECT_EQ(0, player->find_state().cue);
    EXPECT_EQ(2.25, player->find_next_cue(player->find_state().time));
    player->locate(2.25);
    player->serve(); // and no slice
    EXPECT_FALSE(player->find_state().loading_flag);
    for (int block = 0; player->use_stat().nbr_jumps == 0; ++block) {
        ASSERT_LT(block, 10);
        play(block_len);
    }
    Channels played(2);
    while (played[0].size() < mix[0].size()) {
        Channels const block = play(block_len);
        for (std::size_t chn = 0; chn < 2; ++chn) {
            played[chn].insert(played[chn].end(), block[chn].begin(), block[chn].end());
        }
    }
    expect_same(mix, block_len, played, 0, mix[0].size() - block_len);
    EXPECT_EQ(0, player->find_state().nbr_lost);
    EXPECT_EQ(2, player->find_state().cue);
    EXPECT_FALSE(player->find_next_cue(2.7));
}

TEST_F(LivePlayerTest, TheCuePreparedIsTheOneAheadOfWhatPlays) {
    session.cue_arr = {{"one", 0.4}, {"two", 1.5}};
    make_player();
    EXPECT_EQ(19200, find_cue_frame());
    play_on(24000, {block_len});
    std::this_thread::sleep_for(std::chrono::milliseconds(1100)); // one cue a second
    settle();
    EXPECT_EQ(72000, find_cue_frame());
    play_on(72000, {block_len});
    std::this_thread::sleep_for(std::chrono::milliseconds(1100));
    settle();
    EXPECT_EQ(-1, find_cue_frame());
}

TEST_F(LivePlayerTest, TheCueBeforeIsOverASecondBack) {
    session.cue_arr = {{"one", 0.4}, {"two", 1.5}};
    make_player();
    EXPECT_EQ(0, player->find_prev_cue(0));
    EXPECT_EQ(0, player->find_prev_cue(1.3));
    EXPECT_EQ(0.4, player->find_prev_cue(1.45));
    EXPECT_EQ(0.4, player->find_prev_cue(2.4));
    EXPECT_EQ(1.5, player->find_prev_cue(2.5));
    EXPECT_EQ(1.5, player->find_prev_cue(1000));
}

// Keys that count from there come at any time.
TEST_F(LivePlayerTest, TheGoalOfAJumpIsKnownUntilItIsReached) {
    make_player();
    play_on(20000, {block_len});
    EXPECT_EQ(player->find_state().time, player->find_state().goal);
    player->locate(2);
    EXPECT_EQ(2, player->find_state().goal);
    player->serve();
    EXPECT_EQ(2, player->find_state().goal);
    settle(); // hands it over
    ASSERT_FALSE(player->find_state().loading_flag);
    while (player->use_stat().nbr_jumps == 0) {
        EXPECT_LT(player->find_state().time, 1);
        EXPECT_EQ(2, player->find_state().goal);
        play(block_len);
    }
    EXPECT_GT(player->find_state().time, 2);
    EXPECT_EQ(player->find_state().time, player->find_state().goal);
    player->locate(-5);
    EXPECT_EQ(0, player->find_state().goal);
}

TEST_F(LivePlayerTest, IsStillWhenTheFadeHasBeenHeard) {
    session.track_arr.clear();
    add_clip(add_track("steady"), add_sample({std::vector<float>(200000, 0.5f)}, freq), 0);
    make_player();
    EXPECT_FALSE(player->find_state().still_flag);
    play(block_len); // unheard
    EXPECT_TRUE(player->find_state().still_flag);
    play_on(20000, {block_len});
    EXPECT_FALSE(player->find_state().still_flag);
    player->set_pause(true);
    EXPECT_NE(0, play(64)[0][63]);
    EXPECT_FALSE(player->find_state().still_flag);
    EXPECT_EQ(0, play(block_len)[0][block_len - 1]); // 5 ms are over within
    EXPECT_FALSE(player->find_state().still_flag);
    play(1);
    EXPECT_TRUE(player->find_state().still_flag);
    player->set_pause(false);
    play(1);
    EXPECT_FALSE(player->find_state().still_flag);
}

TEST_F(LivePlayerTest, WithoutCuesTheBeginningsOfClipsServe) {
    make_player();
    auto const& cue_arr = player->use_cues();
    ASSERT_EQ(3u, cue_arr.size());
    EXPECT_EQ(0, cue_arr[0].time);
    EXPECT_EQ(0.5, cue_arr[1].time);
    EXPECT_EQ(1.5, cue_arr[2].time);
    EXPECT_EQ(1.5, player->find_next_cue(0.5));
}

TEST_F(LivePlayerTest, ACueWhoseDeckCannotBeMadeIsDoneWithout) {
    session.cue_arr = {{"chorus", 2.25}};
    player = std::make_unique<Player>(scarce, session, fact_arr, live);
    player->serve();
    factory.nbr_left = 0;
    settle();
    EXPECT_EQ(-1, find_cue_frame());
    Channels const mix = render();
    play(block_len);
    expect_same(mix, 0, play_on(50000, {block_len}), 0, 50000);
    EXPECT_EQ("", player->take_notice());
}

TEST_F(LivePlayerTest, AJumpThatFailsIsToldAndTheSoundGoesOn) {
    player = std::make_unique<Player>(scarce, session, fact_arr, live);
    settle();
    play(block_len);
    factory.nbr_left = 0;
    player->locate(2);
    settle();
    EXPECT_FALSE(player->find_state().loading_flag);
    EXPECT_EQ(player->find_state().time, player->find_state().goal);
    std::string const notice = player->take_notice();
    EXPECT_EQ(0u, notice.find("the jump fails: ")) << notice;
    EXPECT_EQ("", player->take_notice());
    Channels const mix = render();
    expect_same(mix, 0, play_on(50000, {block_len}), 0, 50000);
    factory.nbr_left = 1000;
    player->locate(0);
    settle();
    play_on(10 * block_len, {block_len});
    EXPECT_EQ(1, player->use_stat().nbr_jumps);
}

TEST_F(LivePlayerTest, AStartThatFailsIsTheEnd) {
    factory.nbr_left = 0;
    player = std::make_unique<Player>(scarce, session, fact_arr, live);
    EXPECT_THROW(player->serve(), Error);
}

// Voices that ask for data at different times, so that something is on its way all the while.
TEST_F(LivePlayerTest, ACueIsPrefetchedBesideManyVoices) {
    session.track_arr.clear();
    for (int voice = 0; voice < 14; ++voice) {
        auto& clip = add_clip(add_track(std::to_string(voice)), add_noise(2, 400000, freq), 0);
        clip.offset = 0.0137 * voice;
        clip.pitch = 12;
    }
    add_clip(add_track("late"), add_noise(2, 60000, freq), 30);
    session.cue_arr = {{"late", 30}};
    player = std::make_unique<Player>(bundle, session, fact_arr, live);
    player->start();
    std::vector<std::vector<float>> block(2, std::vector<float>(block_len));
    float* const chn_arr[] = {block[0].data(), block[1].data()};
    while (player->find_state().time < 2) {
        player->process(chn_arr, block_len);
        std::this_thread::sleep_for(std::chrono::microseconds(block_len * 1000000 / 48000));
    }
    player->stop();
    EXPECT_TRUE(live::PlayerProbe::is_cue_loaded(*player, 48000));
}

// Until then it would be silence that nobody counts.
TEST_F(LivePlayerTest, ARoundIsHandedOverWithItsData) {
    live.loop = Player::Loop{2.6, 2.9}; // not where it starts
    live.from = 0.2;
    settings.from = 2.6;
    Channels const round = render();
    player = std::make_unique<Player>(bundle, session, fact_arr, live);
    settle();
    // Nobody reads for the first second.
    for (long pos = 0; pos < 48000; pos += block_len) {
        player->serve();
        play(block_len);
    }
    while (player->use_stat().nbr_jumps == 0) {
        play(1);
        settle();
    }
    Channels const played = play_on(14000, {block_len});
    expect_same(round, 1, played, 0, 14000);
}

// Data that lies behind the cue alone, on a disk that does not answer any more when the key is hit.
TEST_F(LivePlayerTest, ACueIsPrefetchedFromASlowDisk) {
    session.track_arr.clear();
    add_clip(add_track("one"), add_noise(2, 4 * 48000, freq), 0);
    int const late = add_noise(2, 60000, freq);
    add_clip(add_track("two"), late, 30);
    session.cue_arr = {{"late", 30}};
    settings.from = 30;
    Channels const mix = render();
    SlowDisk disk(20);
    player = std::make_unique<Player>(bundle, session, fact_arr, live);
    player->start();
    auto const play_block = [this] {
        Channels block(2, std::vector<float>(block_len));
        float* const chn_arr[] = {block[0].data(), block[1].data()};
        player->process(chn_arr, block_len);
        std::this_thread::sleep_for(std::chrono::microseconds(block_len * 1000000 / 48000));
        return block;
    };
    while (player->find_state().time < 1.5) {
        play_block();
    }
    disk.stall(true);
    player->locate(30);
    int nbr_blocks = 0;
    while (player->use_stat().nbr_jumps == 0 && ++nbr_blocks < 1000) {
        play_block();
    }
    EXPECT_LT(nbr_blocks, 1000); // five seconds: the player's patience is longer
    Channels played(2);
    while (played[0].size() < 48000) {
        Channels const block = play_block();
        for (std::size_t chn = 0; chn < 2; ++chn) {
            played[chn].insert(played[chn].end(), block[chn].begin(), block[chn].end());
        }
    }
    disk.stall(false);
    player->stop();
    EXPECT_TRUE(player->list_losses().empty());
    expect_same(mix, block_len, played, 0, 48000);
}

TEST_F(LivePlayerTest, FadesOutBeforeAJump) {
    int const sample = add_sample({std::vector<float>(200000, 0.5f)}, freq);
    session.track_arr.clear();
    add_clip(add_track("steady"), sample, 0);
    make_player();
    play_on(20000, {block_len});
    player->locate(2);
    settle();
    Channels const played = play_on(20 * block_len, {block_len});
    float step = 0;
    long nbr_rising = 0;
    for (std::size_t pos = 1; pos < played[0].size(); ++pos) {
        float const change = played[0][pos] - played[0][pos - 1];
        step = std::max(step, -change);
        nbr_rising += change > 0 ? 1 : 0;
    }
    EXPECT_LT(step, 0.5f / 200);
    EXPECT_EQ(1, nbr_rising); // the new sound begins at once
}

TEST_F(LivePlayerTest, GoesRoundALoopWithoutAGap) {
    live.loop = Player::Loop{0.6, 1.7};
    Channels const first = render();
    settings.from = 0.6;
    Channels const round = render();
    make_player();
    play(block_len);
    auto const end = static_cast<std::size_t>(1.7 * freq);
    auto const round_len = static_cast<std::size_t>(1.1 * freq + 0.5);
    Channels const played = play_on(end + 3 * round_len, {block_len});
    expect_same(first, 0, played, 0, end);
    for (std::size_t k = 0; k < 3; ++k) {
        expect_same(round, 0, played, end + k * round_len, round_len);
    }
    EXPECT_EQ(0, player->use_stat().nbr_late);
}

// The disk is asked for the place of the jump all the while, and does not answer.
TEST_F(LivePlayerTest, ALoopGoesRoundWhileAJumpLoads) {
    live.loop = Player::Loop{0.2, 0.6};
    settings.from = 0.2;
    Channels const round = render();
    make_player();
    play(block_len);
    play_on(14 * 2400, {2400}); // the loop's data, in memory since, and a round begun
    std::filesystem::remove(session.sample_arr[0].path);
    player->locate(1.9); // data that nobody reads
    Channels played(2);
    while (played[0].size() < 3 * 19200) {
        player->serve();
        Channels const block = play(block_len);
        for (std::size_t chn = 0; chn < 2; ++chn) {
            played[chn].insert(played[chn].end(), block[chn].begin(), block[chn].end());
        }
    }
    EXPECT_TRUE(player->find_state().loading_flag);
    EXPECT_EQ(0, player->use_stat().nbr_late);
    EXPECT_EQ(0, player->find_state().nbr_lost);
    // 14 x 2400 frames from 0 on: 4800 of a round have been heard.
    expect_same(round, 4800, played, 0, 14400);
    expect_same(round, 0, played, 14400, 19200);
    expect_same(round, 0, played, 14400 + 19200, 19200);
}

TEST_F(LivePlayerTest, ALateRoundIsToldAndAJumpIsNone) {
    live.loop = Player::Loop{0.2, 0.6};
    make_player();
    play(block_len);
    play_on(24000, {2400});
    // The round is at its end, and there is no other one: nobody serves.
    for (long pos = 0; pos < 30000; pos += 2400) {
        play(2400);
    }
    auto const nbr_late = player->use_stat().nbr_late;
    EXPECT_GT(nbr_late, 0);
    EXPECT_LT(nbr_late, 30000);
    player->locate(1);
    settle(); // brings another round, too, which the jump replaces
    auto const before = player->use_stat().nbr_late;
    play(300); // makes what lies before the jump
    EXPECT_EQ(before, player->use_stat().nbr_late);
    play(300);
    play(300);
    EXPECT_GT(player->find_state().time, 1);
    EXPECT_EQ(before, player->use_stat().nbr_late);
}

TEST_F(LivePlayerTest, FadesOnBehindTheRoundOfALoop) {
    session.track_arr.clear();
    add_clip(add_track("steady"), add_sample({std::vector<float>(200000, 0.5f)}, freq), 0);
    live.loop = Player::Loop{0.6, 1.7}; // ends in the 319th block
    make_player();
    play(block_len);
    Channels played = play_on(318 * block_len, {block_len});
    player->set_pause(true);
    Channels const faded = play_on(2 * block_len, {block_len});
    played[0].insert(played[0].end(), faded[0].begin(), faded[0].end());
    EXPECT_EQ(1, player->use_stat().nbr_jumps);
    EXPECT_EQ(0, played[0].back());
    for (std::size_t pos = 300; pos < played[0].size(); ++pos) {
        ASSERT_LT(std::fabs(played[0][pos] - played[0][pos - 1]), 0.5f / 200) << pos;
    }
}

TEST_F(LivePlayerTest, PausesAndGoesOnWhereItStopped) {
    make_player();
    play(block_len);
    play_on(30000, {block_len});
    player->set_pause(true);
    play_on(10 * block_len, {block_len});
    double const time = player->find_state().time;
    Channels const silence = play_on(10 * block_len, {block_len});
    for (auto const& channel : silence) {
        EXPECT_EQ(10 * block_len, std::count(channel.begin(), channel.end(), 0.f));
    }
    EXPECT_EQ(time, player->find_state().time);
    EXPECT_FALSE(player->find_state().playing_flag);
    Channels const mix = render();
    player->set_pause(false);
    Channels const played = play_on(20000, {block_len});
    expect_same(mix, static_cast<std::size_t>(std::lround(time * freq)) + 300, played, 300, 19000);
}

TEST_F(LivePlayerTest, WhatIsNotThereInTimeIsSilenceThatIsCountedAndTimeGoesOn) {
    session.track_arr.clear();
    add_clip(add_track("steady"), add_sample({std::vector<float>(200000, 0.5f)}, freq), 0);
    Channels const mix = render();
    make_player();
    play(block_len);
    long long nbr_silent = 0;
    std::size_t pos = 0;
    bool back_flag = false;
    for (; pos + block_len < 199000; pos += block_len) {
        // Nobody reads from the disk from the start to the fourth second's beginning.
        if (pos > 170000) {
            settle();
        }
        Channels const block = play(block_len);
        auto const state = player->find_state();
        ASSERT_NEAR(static_cast<double>(pos + block_len) / freq, state.time, 1e-9);
        for (std::size_t k = pos == 0 ? 64 : 0; k < block_len; ++k) {
            nbr_silent += block[0][k] == 0 ? 1 : 0;
            back_flag = block[0][k] == mix[0][pos + k];
        }
    }
    EXPECT_TRUE(back_flag);
    auto const losses = player->list_losses();
    ASSERT_EQ(1u, losses.size());
    EXPECT_EQ(0, losses[0].track);
    EXPECT_EQ(0, losses[0].clip);
    EXPECT_FALSE(losses[0].refused_flag);
    EXPECT_GT(nbr_silent, 10000);
    EXPECT_EQ(nbr_silent, losses[0].len);
    EXPECT_GT(losses[0].time, 1);
}

TEST_F(LivePlayerTest, WhatIsMadeAndNotHeardIsNoHole) {
    session.track_arr.clear();
    add_clip(add_track("steady"), add_sample({std::vector<float>(200000, 0.5f)}, freq), 0);
    live.patience = 0;
    live.from = 1;
    player = std::make_unique<Player>(bundle, session, fact_arr, live);
    player->serve(); // nobody reads
    for (int block = 0; block < 4; ++block) {
        play(block_len);
    }
    EXPECT_GT(player->find_state().time, 1);
    auto const lost = std::lround((player->find_state().time - 1) * freq);
    EXPECT_EQ(lost, player->find_state().nbr_lost);
    EXPECT_EQ(lost, player->list_losses().at(0).len);
}

TEST_F(LivePlayerTest, AClipWhoseFileOpensTooLateIsOneHole) {
    live.ahead = 1;
    make_player();
    for (long pos = 0; pos < 200000; pos += block_len) {
        play(block_len); // nobody serves
    }
    auto const losses = player->list_losses();
    auto const loss = std::find_if(losses.begin(), losses.end(),
                                   [](auto const& entry) { return entry.track == 1; });
    ASSERT_NE(losses.end(), loss);
    EXPECT_NEAR(1.5, loss->time, 1e-9);
    EXPECT_EQ(60000, loss->len);
    EXPECT_FALSE(loss->refused_flag);
}

TEST_F(LivePlayerTest, AClipWhoseFileIsGoneIsTold) {
    std::filesystem::remove(session.sample_arr[1].path);
    make_player();
    play(block_len);
    play_on(4 * 48000, {block_len});
    auto const losses = player->list_losses();
    ASSERT_EQ(1u, losses.size());
    EXPECT_TRUE(losses[0].refused_flag);
    EXPECT_EQ(0, losses[0].track);
    EXPECT_EQ(1, losses[0].clip);
}

TEST_F(LivePlayerTest, TimeStartsWhenTheFirstSecondOfEachTrackIsInMemory) {
    session.track_arr[1].clips[0].at = 0.9; // a cell of it and more
    Channels const mix = render();
    player = std::make_unique<Player>(bundle, session, fact_arr, live);
    player->serve();
    bool loaded_flag = false;
    for (int nbr_slices = 0; !loaded_flag; ++nbr_slices) {
        ASSERT_LT(nbr_slices, 1000);
        for (int block = 0; block < 5; ++block) {
            Channels const silence = play(block_len);
            EXPECT_EQ(block_len, std::count(silence[0].begin(), silence[0].end(), 0.f));
            EXPECT_EQ(0, player->find_state().time);
        }
        EXPECT_FALSE(player->find_state().playing_flag);
        player->run_slices();
        player->serve();
        loaded_flag = !player->find_state().loading_flag;
    }
    play(block_len);
    Channels played(2);
    while (played[0].size() < 48000) { // the barrier's second, from memory
        Channels const block = play(block_len);
        for (std::size_t chn = 0; chn < 2; ++chn) {
            played[chn].insert(played[chn].end(), block[chn].begin(), block[chn].end());
        }
    }
    expect_same(mix, 0, played, 0, 48000);
    EXPECT_EQ(0, player->find_state().nbr_lost);
}

// And not the silent 12 ms before: whatever the barrier, a frame more or less is not a hole.
TEST_F(LivePlayerTest, TheBarrierCountsFromTheFirstFrameThatIsHeard) {
    session.track_arr.clear();
    add_clip(add_track("steady"), add_noise(1, 200000, freq), 0);
    live.from = 1;
    live.ahead = 0; // no more than the barrier
    for (long len = 9000; len < 9000 + 8192; len += 331) {
        live.barrier = static_cast<double>(len) / freq;
        player = std::make_unique<Player>(bundle, session, fact_arr, live);
        while (player->find_state().loading_flag) {
            player->serve();
            player->run_slices();
        }
        while (player->find_state().time <= 1) {
            play(1);
        }
        play(len - 1);
        EXPECT_NEAR(1 + live.barrier, player->find_state().time, 1e-9);
        EXPECT_EQ(0, player->find_state().nbr_lost) << len;
    }
}

// Its sample is not there after ten seconds: a start without it is better than none.
TEST_F(LivePlayerTest, PatienceWithTheDiskHasAnEnd) {
    live.patience = 0.01;
    player = std::make_unique<Player>(bundle, session, fact_arr, live);
    player->serve();
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    player->serve();
    play(block_len);
    play(block_len);
    EXPECT_GT(player->find_state().time, 0);
    EXPECT_GT(player->find_state().nbr_lost, 0);
}

TEST_F(LivePlayerTest, PeaksThatAreAskedForWithinABlockAreThoseOfTheBlock) {
    make_player();
    play_on(48000, {block_len});
    auto const peaks = player->find_state().peaks;
    EXPECT_GT(peaks[0], 0.1f);
    EXPECT_EQ(peaks, player->find_state().peaks);
    player->set_pause(true);
    play_on(2400, {block_len}); // the fade
    EXPECT_GT(player->find_state().peaks[0], 0);
    play_on(block_len, {block_len});
    EXPECT_EQ(0, player->find_state().peaks[0]);
}

TEST_F(LivePlayerTest, TheTimesOfAllPassesAreKept) {
    make_player();
    play_on(48000, {block_len});
    std::this_thread::sleep_for(std::chrono::milliseconds(250)); // for a look at the cells
    settle();
    auto const& times = player->use_stat();
    EXPECT_EQ(times.nbr_blocks, times.waits.get_count());
    EXPECT_EQ(times.nbr_blocks, times.works.get_count());
    EXPECT_GT(times.peaks[0], 0.1f);
    EXPECT_GT(times.max_cells_full, 0);
    EXPECT_LE(times.max_cells_full, times.nbr_cells);
    std::string const txt = times.print();
    EXPECT_NE(std::string::npos, txt.find("waits below")) << txt;
}

TEST_F(LivePlayerTest, TheSoundWaitsForASlowDiskAndThenMatches) {
    Channels const mix = render();
    SlowDisk const disk(5);
    player = std::make_unique<Player>(bundle, session, fact_arr, live);
    player->start();
    Channels played(2);
    while (played[0].size() < mix[0].size()) {
        Channels block(2, std::vector<float>(block_len));
        float* const chn_arr[] = {block[0].data(), block[1].data()};
        player->process(chn_arr, block_len);
        bool const begun_flag = player->find_state().time > 0;
        for (std::size_t chn = 0; chn < 2 && begun_flag; ++chn) {
            played[chn].insert(played[chn].end(), block[chn].begin(), block[chn].end());
        }
        std::this_thread::sleep_for(std::chrono::microseconds(block_len * 1000000 / 48000));
        ASSERT_EQ("", player->get_failure());
    }
    player->stop();
    EXPECT_EQ(0u, player->list_losses().size());
    expect_same(mix, 0, played, 0, mix[0].size());
}
