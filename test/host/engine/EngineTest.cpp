#include "host/engine/RenderRig.h"

#include "support/RealTimeGuard.h"

using namespace ulk::host::engine;
using test::RenderRig;

namespace {

class EngineTest : public ::testing::Test, public RenderRig {};

} // namespace

// The engine as it would run live: from the first block on it allocates nothing and waits for
// nothing. The sample cache has locks of its own, which nobody holds here.
TEST_F(EngineTest, BlocksAreRealTime) {
    session.file_arr = {"session"};
    int const mono = add_noise(1, 20000, 44100);
    int const stereo = add_noise(2, 20000, 48000);
    for (int track = 0; track < 4; ++track) {
        add_track("track " + std::to_string(track), 1 + track % 2);
        session.track_arr.back().volume = {{0, -20}, {0.5, 0}, {0.8, Session::silence}};
        session.track_arr.back().output = track == 0 ? 1 : Session::master;
        for (int count = 0; count < 70; ++count) {
            auto& clip = add_clip(track, count % 2 == 0 ? mono : stereo, count / 7 * 0.1);
            clip.fade_in = 0.01 * (count % 5);
            clip.fade_out = 0.01 * (count % 3);
            clip.length = 0.05 + 0.01 * (count % 7);
            clip.pan = {{0, -1}, {0.1, 1}};
            clip.volume = {{0.02, 0}, {0.05, -30}};
        }
    }
    Session::Insert insert;
    insert.plugin = "Brevanto#TessitoneDryWet";
    insert.params = {{0.2, "1", "30", 0.3, {}}};
    session.track_arr[1].inserts.push_back(insert);

    NotePlan::Settings const plan_settings = {48000, 256, 0};
    NotePlan const plan(session, fact_arr, plan_settings);
    CacheService cache({plan.find_nbr_cells(8192, 48000) * 8192, 0, 8192});
    SampleStore store(cache, 16);
    std::vector<SampleStore::Id> id_arr;
    for (std::size_t sample = 0; sample < fact_arr.size(); ++sample) {
        id_arr.push_back(store.add(session.sample_arr[sample].path, fact_arr[sample]));
    }
    Engine engine(bundle, session, plan, plan_settings, store);
    Feeder feeder(engine, cache, store, id_arr);
    WorkerPool pool(1);
    double energy = 0;
    int nbr_idle = 0;
    for (int block = 0; block < 250; ++block) {
        feeder.open_files(256);
        {
            CacheService::Pass const pass(cache);
            feeder.request(256);
        }
        cache.run_slices();
        CacheService::Pass const pass(cache);
        {
            test::RealTimeGuard const guard(test::RealTimeGuard::Locks_UNCONTENDED);
            engine.process(256, pool);
        }
        auto const& mix = engine.use_mix();
        for (long pos = 0; mix.state == Engine::Dsp::State_SIGNAL && pos < 256; ++pos) {
            energy += std::fabs(static_cast<double>(mix.chn_arr[0][pos]));
        }
        for (auto const& player : engine.use_players()) {
            nbr_idle += player->is_idle() ? 1 : 0;
        }
    }
    EXPECT_GT(energy, 100);
    EXPECT_GT(nbr_idle, 100); // behind the last clip, and of second players in between
    EXPECT_EQ(0, engine.get_nbr_sounding());
}
