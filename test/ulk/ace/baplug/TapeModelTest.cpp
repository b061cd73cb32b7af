#include "TapeModel.h"
#include "support/BundleInstance.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <random>
#include <thread>

using test::Floats;
using test::SampleStore;
using test::TapeModel;
using test::TapeRig;
using test::TapeSample;
using Dsp = kryn::PluginDsp;

namespace {

constexpr long cell_len = 1024; // floats

class Session {
public:
    explicit Session(unsigned int seed)
        : _rng(seed) {
        int const chn_arr[] = {1, 1, 2, 2, 3, 4, 5, 6, 7, 8, 11, 16};
        double const freq_arr[] = {44100, 48000, 22050, 96000, 8000};
        for (int id = 1; id <= 12; ++id) {
            TapeSample spl{chn_arr[id - 1], freq_arr[pick(0, 4)], {}, 0};
            long const len = pick(0, 3) == 0 ? pick(1, 100) : pick(100, 6000);
            for (long i = 0; i < len * spl.nbr_chn; ++i) {
                spl.data.push_back(static_cast<float>(real(-1, 1)));
            }
            _store.add(id, spl);
            load_some(id);
        }
        _store.probe.prefetch_flag = false; // what is there is settled: holes stay
        configure();
    }

    void play_block() {
        change_settings();
        long const len = pick(1, _rig.block_len);
        _rig.evt_list.clear();
        add_events(len);
        std::vector<long> states;
        _rig.state_in.clear();
        for (std::size_t p = 0; p < _rig.chn_arr.size(); ++p) {
            states.push_back(pick(0, 9) == 0 ? pick(1, 2) : 0);
            _rig.state_in.push_back(pick(0, 2));
        }
        _rig.state = states;
        fill(_rig.in, len);
        fill(_rig.out, len);
        auto const before = _rig.out;
        auto const events = _rig.evt_list;
        _model.call_list.clear();
        _store.probe.call_list.clear();
        _model.process(len, events, _in_flag ? &_rig.in : nullptr, _rig.state_in, states);
        ASSERT_EQ(0, _rig.process(len));
        ASSERT_EQ(states, _rig.state);
        ASSERT_EQ(_model.call_list, _store.probe.call_list);
        for (std::size_t p = 0; p < states.size(); ++p) {
            for (std::size_t c = 0; c < before[p].size(); ++c) {
                compare(_model.pins[p], c, states[p], before[p][c], p);
                if (::testing::Test::HasFailure()) {
                    return;
                }
            }
        }
    }

private:
    long pick(long lo, long hi) { return std::uniform_int_distribution<long>(lo, hi)(_rng); }
    double real(double lo, double hi) {
        return std::uniform_real_distribution<double>(lo, hi)(_rng);
    }

    void load_some(long id) {
        TapeSample const& spl = _store.map[id];
        long const block = cell_len / spl.nbr_chn;
        for (long b = 0; b * block < spl.get_len(); ++b) {
            if (pick(0, 5) != 0) {
                _store.load_range(id, b * block, 1);
                _model.loaded[id].set(b);
            }
        }
    }
    void change_settings() {
        switch (pick(0, 150)) {
        case 0:
        case 1:
            configure();
            break;
        case 2:
            set_freq();
            break;
        case 3:
            EXPECT_EQ(0, _rig.send(TapeRig::Cmd::CLEAR_BUFFERS));
            _model.vol.settle();
            break;
        case 4:
            EXPECT_EQ(0, _rig.send(TapeRig::Cmd::DEACTIVATE));
            stop_voices();
            break;
        default:
            break;
        }
        _model.info_flag = pick(0, 30) != 0;
        _rig.info_ret = _model.info_flag ? 0 : -14498;
    }
    void stop_voices() {
        for (auto& voice : _model.voices) {
            voice.active = false;
        }
    }
    void set_freq() {
        double const freq_arr[] = {44100, 48000, 96000, 192000, 8000, 22050};
        double const freq = freq_arr[pick(0, 5)];
        EXPECT_EQ(0, _rig.set_freq(freq));
        _model.set_freq(freq);
    }
    void configure() {
        set_freq();
        std::vector<long> chn_list(static_cast<std::size_t>(pick(1, 4)));
        for (long& chn : chn_list) {
            chn = pick(0, 1) == 0 ? 2 : pick(0, 3) == 0 ? pick(0, 16) : pick(1, 2);
        }
        _in_flag = pick(0, 1) == 0;
        EXPECT_EQ(0, _rig.set_conf(chn_list, _in_flag));
        EXPECT_EQ(0, _rig.set_block_len(pick(0, 15) == 0 ? 8192 : pick(1, 600)));
        EXPECT_EQ(0, _rig.send(kryn::Plugin::CmdPlug::INIT));
        _model.vol.jump(TapeModel::default_norm);
        _model.pins.assign(chn_list.size(), {});
        for (std::size_t p = 0; p < chn_list.size(); ++p) {
            _model.pins[p].nbr_chn = chn_list[p];
        }
        stop_voices();
    }

    void add_note(long stamp) {
        int const id = static_cast<int>(pick(-3, 40));
        auto const nbr_pins = static_cast<long>(_rig.chn_arr.size());
        std::size_t const first = _rig.evt_list.size();
        _rig.note(stamp, 6, id);
        if (pick(0, 9) != 0) {
            _rig.param(stamp, id, 0, static_cast<double>(pick(0, 20) == 0 ? 99 : pick(1, 12)));
        }
        if (pick(0, 2) == 0) {
            _rig.param(stamp, id, 1, pick(0, 5) == 0 ? real(-0.01, 1) : real(0, 0.05));
        }
        if (pick(0, 1) == 0) {
            _rig.param(
                stamp, id, 2,
                static_cast<double>(pick(pick(0, 9) == 0 ? -1 : 0, nbr_pins - (pick(0, 9) != 0))));
        }
        if (pick(0, 1) == 0) {
            _rig.param(stamp, id, 3, pick(0, 9) == 0 ? 0 : real(0, 0.6), pick(0, 9), 0.5);
        }
        if (pick(0, 1) == 0) {
            double const reach = pick(0, 15) == 0 ? 130 : 24;
            _rig.param(stamp, id, 4,
                       pick(0, 1) == 0 ? static_cast<double>(pick(-24, 24)) : real(-reach, reach));
        }
        if (pick(0, 3) == 0) {
            _rig.param(stamp, id, 5, 1.5);
        }
        if (pick(0, 1) == 0) {
            _rig.param(stamp, id, 6, static_cast<double>(pick(-4, 4)) / 4);
        }
        std::shuffle(_rig.evt_list.begin() + static_cast<long>(first), _rig.evt_list.end(), _rng);
    }
    void add_change(long stamp) {
        int const id = static_cast<int>(pick(-3, 40));
        switch (pick(0, 9)) {
        case 0:
        case 1:
            _rig.note(stamp, 7, id);
            break;
        case 2:
            _rig.note(stamp, 8, id);
            break;
        case 3:
            _rig.note(stamp, pick(0, 9) == 0 ? 9 : 3, id);
            break;
        case 4:
            _rig.master(stamp, static_cast<int>(pick(0, 2)), real(0.3, 0.6),
                        pick(0, 1) * pick(0, 900), real(0.3, 0.6));
            break;
        default:
            _rig.param(stamp, id, static_cast<int>(pick(-1, 8)), real(0, 0.6),
                       pick(0, 1) * pick(0, 900), real(0, 0.6));
            break;
        }
    }
    void add_events(long len) {
        std::vector<long> stamp_list(static_cast<std::size_t>(pick(0, 1) * pick(0, 6)));
        for (long& stamp : stamp_list) {
            stamp = pick(0, 2) == 0 ? 0 : pick(0, len - 1);
        }
        std::sort(stamp_list.begin(), stamp_list.end());
        for (long const stamp : stamp_list) {
            if (pick(0, 1) == 0) {
                add_note(stamp);
            } else {
                add_change(stamp);
            }
        }
        if (pick(0, 200) == 0) {
            for (int n = 0; n < 70; ++n) {
                add_note(stamp_list.empty() ? 0 : stamp_list.back());
            }
        }
    }
    void fill(std::vector<std::vector<Floats>>& port, long len) {
        port.resize(_rig.chn_arr.size());
        for (std::size_t p = 0; p < port.size(); ++p) {
            port[p].resize(static_cast<std::size_t>(_rig.chn_arr[p]));
            for (Floats& chn : port[p]) {
                chn.resize(static_cast<std::size_t>(len) + 8);
                for (float& val : chn) {
                    val = static_cast<float>(static_cast<int>(_rng() >> 8)) * 0x1p-23f - 1;
                }
            }
        }
    }
    // Ramps are chains of additions, of a voice and of the master.
    static double compute_tolerance(std::size_t len) {
        return 1e-5 + 1.2e-7 * static_cast<double>(len);
    }
    void compare(TapeModel::Pin const& pin, std::size_t c, long state, Floats const& before,
                 std::size_t p) const {
        Floats const& out = _rig.out[p][c];
        for (std::size_t i = 0; i < out.size(); ++i) {
            bool const inside = i < pin.out[c].size();
            double expected = static_cast<double>(before[i]);
            double tolerance = 0;
            if (inside && pin.through) {
                expected =
                    static_cast<double>(_rig.in[p][c][i]) + (pin.activity == 0 ? pin.out[c][i] : 0);
            } else if (inside && state != 2) {
                expected = pin.out[c][i];
            }
            if (inside && pin.activity == 0) {
                // Sums of a ramp may meet 0 where the model keeps a trace.
                tolerance = pin.mag[c][i] * compute_tolerance(pin.out[c].size()) +
                            (pin.through ? 1e-6 : 1e-12);
            }
            double const diff = std::fabs(expected - static_cast<double>(out[i]));
            if (!(diff <= tolerance)) {
                FAIL() << "pin " << p << ", channel " << c << ", frame " << i << " of "
                       << pin.out[c].size() << ": " << out[i] << " instead of " << expected;
            }
        }
    }

    std::mt19937 _rng;
    SampleStore _store{cell_len, 2048};
    TapeModel _model{_store, cell_len};
    TapeRig _rig{_store};
    bool _in_flag = false;
};

} // namespace

class TapeModelTest : public ::testing::TestWithParam<unsigned int> {};

// The number of blocks a session grows with the environment variable TAPE_MODEL_BLOCKS.
TEST_P(TapeModelTest, BlocksAreAsTheModelSays) {
    char const* const count_txt = std::getenv("TAPE_MODEL_BLOCKS");
    int const nbr_blocks = count_txt != nullptr ? std::atoi(count_txt) : 1000;
    Session session(GetParam());
    for (int block = 0; block < nbr_blocks && !HasFailure(); ++block) {
        SCOPED_TRACE(block);
        session.play_block();
    }
}

INSTANTIATE_TEST_SUITE_P(Seeds, TapeModelTest, ::testing::Range(1u, 26u));

namespace {

TapeSample make_noise(unsigned int seed, int nbr_chn, double freq, long len) {
    TapeSample spl{nbr_chn, freq, {}, 0};
    std::mt19937 rng(seed);
    for (long i = 0; i < len * nbr_chn; ++i) {
        spl.data.push_back(static_cast<float>(static_cast<int>(rng() >> 8)) * 0x1p-23f - 1);
    }
    return spl;
}

// The cache's background side, as a host runs it.
class Background {
public:
    explicit Background(ulk::sacc::SplCache& cache)
        : _thread([this, &cache](std::stop_token const& stop) {
            while (!stop.stop_requested()) {
                if (!cache.do_run_slice()) {
                    ++_nbr_idle;
                    std::this_thread::yield();
                }
            }
        }) {}

    // Until all that was asked for is there: what renders can wait for its disk.
    void wait() const {
        long const end = _nbr_idle + 2; // the first may have begun before
        while (_nbr_idle < end) {
            std::this_thread::yield();
        }
    }

private:
    std::atomic<long> _nbr_idle = 0;
    std::jthread _thread;
};

} // namespace

// The whole chain: files, the cache, its background thread, a thread that opens and closes files,
// and the bundle as a host loads it. The cache holds what two seconds play, not the files.
TEST(TapeChainTest, FilesPlayFromDisk) {
    constexpr long chain_cell_len = 4096; // floats
    SampleStore store(chain_cell_len, 76);
    store.add(1, make_noise(5, 2, 48000, 150000));
    store.add(2, make_noise(6, 1, 22050, 80000));
    std::string const other_name = store.write_file(3, make_noise(7, 2, 48000, 20000));
    TapeModel model(store, chain_cell_len);
    for (long b = 0; b < 100; ++b) {
        model.loaded[1].set(b);
        model.loaded[2].set(b);
    }
    test::BundleInstance bundle;
    TapeRig rig(store, [&bundle](ulk::pibase::BidirComPoint& com) {
        kryn::PluginFactory::CmdFact::Instantiate rec = {"Brevanto#TessitoneAudioTape", &com};
        ASSERT_EQ(0, bundle.factory.send(kryn::PluginFactory::CmdFact::INSTANTIATE, &rec));
    });
    ASSERT_EQ(0, rig.set_freq(44100));
    model.set_freq(44100);
    ASSERT_EQ(0, rig.set_block_len(512));
    rig.init_settled();
    model.vol.jump(TapeModel::default_norm);
    model.vol.settle();
    model.pins.assign(1, {});

    Background const bkg(store.cache);
    std::jthread const control([&store, &other_name](std::stop_token const& stop) {
        while (!stop.stop_requested()) {
            long id = 0;
            EXPECT_EQ(0, store.cache.open_file(id, other_name.c_str(), false));
            EXPECT_EQ(0, store.cache.close_file(id));
            std::this_thread::yield();
        }
    });
    // What a note plays in its first block it has not asked for before.
    for (auto const& [id, spl] : store.map) {
        ulk::sys::CritSec pass(store.mutex_rt);
        EXPECT_EQ(0, store.cache.prefetch_data(spl.cache_id, 0, 1000));
    }
    bkg.wait();
    for (int block = 0; block < 290 && !::testing::Test::HasFailure(); ++block) {
        SCOPED_TRACE(block);
        if (block == 0) {
            rig.note(100, 6, 1);
            rig.param(100, 1, 0, 1);
            rig.param(100, 1, 6, -0.5);
            rig.note(200, 6, 2);
            rig.param(200, 2, 0, 2);
            rig.param(200, 2, 4, 9);
        } else if (block % 10 == 0) {
            rig.param(block, 1, 3, 0.3 + 0.001 * block, 300, 0.4);
        }
        auto const events = rig.evt_list;
        rig.state = {0};
        std::vector<long> states = {0};
        model.process(512, events, nullptr, {}, states);
        ASSERT_EQ(0, rig.process(512));
        ASSERT_EQ(states, rig.state);
        for (std::size_t c = 0; c < 2 && states[0] == 0; ++c) {
            for (std::size_t i = 0; i < 512; ++i) {
                ASSERT_NEAR(model.pins[0].out[c][i], static_cast<double>(rig.out[0][c][i]),
                            model.pins[0].mag[c][i] * 1e-4)
                    << i;
            }
        }
        bkg.wait();
    }
    EXPECT_EQ(2, rig.state[0]); // both are over
}
