#include "host/Graph.h"
#include "host/Bundle.h"
#include "host/Error.h"
#include "support/RealTimeGuard.h"

#include <gtest/gtest.h>

#include <random>
#include <set>

using namespace ulk::host;
using Dsp = kryn::PluginDsp;

namespace {

constexpr long max_len = 64;
constexpr char in_id[] = "Brevanto#TessitoneAudioInput";
constexpr char out_id[] = "Brevanto#TessitoneAudioOutput";
constexpr char bypass_id[] = "Brevanto#TessitoneBypass";

class GraphTest : public ::testing::Test {
protected:
    int add(std::string const& name, char const* id, PinConf const& conf) {
        auto plugin = _bundle.instantiate(id);
        plugin->init();
        plugin->set_sample_freq(48000);
        plugin->set_pin_conf(conf);
        return _graph.add_node(name, std::move(plugin), conf);
    }
    int add_bypass(std::string const& name) { return add(name, bypass_id, {{1}, {1}}); }

    // Fills all channels of an output with frames that tell it from others.
    void fill(int node, int pin, long nbr_chn, float base) {
        for (long chn = 0; chn < nbr_chn; ++chn) {
            for (long i = 0; i < max_len; ++i) {
                _graph.use_output(node, pin).chn_arr[chn][i] =
                    base + static_cast<float>(chn) * 0.3f + static_cast<float>(i) * 0.017f;
            }
        }
    }
    void process(long len = max_len) {
        test::RealTimeGuard guard;
        _graph.process(len);
    }
    template <class F>
    std::string refuse(F fnc) {
        try {
            fnc();
        } catch (Error const& e) {
            EXPECT_EQ(Error::Kind_USE, e.get_kind());
            return e.what();
        }
        ADD_FAILURE() << "nothing was refused";
        return "";
    }

    Bundle _bundle{BUILD_DIR "/baplug.so"};
    Graph _graph;
};

} // namespace

TEST_F(GraphTest, ChainPassesAllChannels) {
    // The order of adding is not that of running.
    int const out = add("out", out_id, {{2}, {}});
    int const mid = add("mid", bypass_id, {{2}, {2}});
    int const in = add("in", in_id, {{}, {2}});
    _graph.connect({mid, 0}, {out, 0});
    _graph.connect({in, 0}, {mid, 0});
    _graph.prepare(max_len);
    EXPECT_EQ((std::vector<std::vector<int>>{{in}, {mid}, {out}}), _graph.use_levels());
    for (float const base : {0.5f, -2.0f}) {
        fill(in, 0, 2, base);
        process();
        auto const& result = _graph.use_input(out, 0);
        ASSERT_EQ(Dsp::State_SIGNAL, result.state);
        for (long i = 0; i < max_len; ++i) {
            EXPECT_EQ(base + static_cast<float>(i) * 0.017f, result.chn_arr[0][i]);
            EXPECT_EQ(_graph.use_output(in, 0).chn_arr[1][i], result.chn_arr[1][i]);
        }
    }
}

TEST_F(GraphTest, SourcesAreSummedInTheirOrder) {
    int const in = add("in", in_id, {{}, {1, 1, 1}});
    int const out = add("out", out_id, {{1, 1}, {}});
    for (int const pin : {2, 0, 1}) {
        _graph.connect({in, pin}, {out, 0});
    }
    _graph.connect({in, 0}, {out, 1});
    _graph.connect({in, 0}, {out, 1}); // twice is double
    _graph.prepare(max_len);
    fill(in, 0, 1, 1e8f);
    fill(in, 1, 1, 0.125f);
    fill(in, 2, 1, -1e8f);
    process();
    for (long i = 0; i < max_len; ++i) {
        auto const x = [&](int pin) { return _graph.use_output(in, pin).chn_arr[0][i]; };
        EXPECT_EQ((x(2) + x(0)) + x(1), _graph.use_input(out, 0).chn_arr[0][i]);
        EXPECT_EQ(x(0) + x(0), _graph.use_input(out, 1).chn_arr[0][i]);
    }
}

TEST_F(GraphTest, SilenceIsNotComputed) {
    int const in = add("in", in_id, {{}, {1}});
    int const mute = add_bypass("mute"); // nothing feeds it
    int const mute_too = add_bypass("mute too");
    int const out = add("out", out_id, {{1, 1, 1, 1}, {}});
    _graph.connect({mute, 0}, {out, 0});
    _graph.connect({mute, 0}, {out, 1});
    _graph.connect({in, 0}, {out, 1});
    _graph.connect({mute, 0}, {out, 2});
    _graph.connect({mute_too, 0}, {out, 2});
    _graph.prepare(max_len);
    fill(in, 0, 1, 0.5f);
    process();
    EXPECT_EQ(Dsp::State_DIRTY, _graph.use_input(out, 0).state);
    EXPECT_EQ(Dsp::State_SIGNAL, _graph.use_input(out, 1).state);
    // The one that sounds is read where it stands.
    EXPECT_EQ(_graph.use_output(in, 0).chn_arr, _graph.use_input(out, 1).chn_arr);
    EXPECT_EQ(Dsp::State_DIRTY, _graph.use_input(out, 2).state);
    EXPECT_EQ(Dsp::State_DIRTY, _graph.use_input(out, 3).state); // connected to nothing
    ASSERT_NE(nullptr, _graph.use_input(out, 3).chn_arr);
    EXPECT_NE(nullptr, _graph.use_input(out, 3).chn_arr[0]);
}

TEST_F(GraphTest, UnheardOutputsAreNotWanted) {
    int const in = add("in", in_id, {{}, {1}});
    int const mid = add("mid", bypass_id, {{1, 1}, {1, 1}});
    int const out = add("out", out_id, {{1}, {}});
    _graph.connect({in, 0}, {mid, 0});
    _graph.connect({in, 0}, {mid, 1});
    _graph.connect({mid, 1}, {out, 0});
    _graph.prepare(max_len);
    fill(in, 0, 1, 0.5f);
    process();
    EXPECT_EQ(Dsp::State_CLEARED, _graph.use_output(mid, 0).state);
    for (long i = 0; i < max_len; ++i) {
        EXPECT_NE(_graph.use_output(in, 0).chn_arr[0][i], _graph.use_output(mid, 0).chn_arr[0][i]);
    }
    EXPECT_EQ(Dsp::State_SIGNAL, _graph.use_output(mid, 1).state);
}

TEST_F(GraphTest, EventsReachTheirNode) {
    int const in = add("in", in_id, {{}, {1, 1}});
    int const mix = add("mix", "Brevanto#TessitoneDryWet", {{1, 1}, {1}});
    int const out = add("out", out_id, {{1}, {}});
    _graph.connect({in, 0}, {mix, 0});
    _graph.connect({in, 1}, {mix, 1});
    _graph.connect({mix, 0}, {out, 0});
    _graph.prepare(max_len);
    _graph.use_plugin(mix).clear_buffers();
    fill(in, 0, 1, 0.5f);
    fill(in, 1, 1, 5);
    Dsp::Event evt = {};
    evt.type = Dsp::EventType_PARAM;
    evt.param = {{kryn::ParamScope_GLOBAL, 0, 0}, 0, 0, 1}; // bypass on
    Dsp::Event const* const evt_arr[] = {&evt};
    _graph.set_events(mix, {evt_arr, 1});
    process(1);
    _graph.set_events(mix, {nullptr, 0});
    _graph.use_plugin(mix).clear_buffers();
    process();
    EXPECT_EQ(_graph.use_output(in, 1).chn_arr[0][9], _graph.use_input(out, 0).chn_arr[0][9]);
}

TEST_F(GraphTest, LongChainNeedsFewBuffers) {
    int const in = add("in", in_id, {{}, {1}});
    std::set<float*> used;
    int last = in;
    std::vector<int> node_arr{in};
    for (int i = 0; i < 20; ++i) {
        int const next = add_bypass(std::to_string(i));
        _graph.connect({last, 0}, {next, 0});
        node_arr.push_back(next);
        last = next;
    }
    int const out = add("out", out_id, {{1}, {}});
    _graph.connect({last, 0}, {out, 0});
    _graph.prepare(max_len);
    for (int const node : node_arr) {
        used.insert(_graph.use_output(node, 0).chn_arr[0]);
    }
    EXPECT_LE(used.size(), 3u);
    fill(in, 0, 1, 0.5f);
    process();
    for (long i = 0; i < max_len; ++i) {
        EXPECT_EQ(0.5f + static_cast<float>(i) * 0.017f, _graph.use_input(out, 0).chn_arr[0][i]);
    }
}

// Random routings of mono nodes: whatever buffers are shared, all that arrives is right.
TEST_F(GraphTest, RandomRoutingsSumWhatArrives) {
    for (unsigned int seed = 0; seed < 100 && !HasFailure(); ++seed) {
        SCOPED_TRACE(seed);
        std::mt19937 rng(seed);
        auto const roll = [&rng](int lo, int hi) {
            return std::uniform_int_distribution<int>(lo, hi)(rng);
        };
        _graph = Graph();
        int const nbr_in = roll(1, 3);
        int const nbr_mid = roll(1, 12);
        std::vector<std::vector<int>> src_arr; // by node
        for (int node = 0; node < nbr_in + nbr_mid + 1; ++node) {
            bool const in_flag = node < nbr_in;
            bool const out_flag = node == nbr_in + nbr_mid;
            in_flag    ? add("in", in_id, {{}, {1}})
            : out_flag ? add("out", out_id, {{1}, {}})
                       : add_bypass("mid");
            src_arr.emplace_back();
            for (int n = in_flag ? 0 : roll(0, 4); n > 0; --n) {
                src_arr.back().push_back(roll(0, node - 1));
                _graph.connect({src_arr.back().back(), 0}, {node, 0});
            }
        }
        _graph.prepare(max_len);
        std::vector<float> val_arr; // the first frame, by node
        std::vector<bool> sounding_arr;
        for (int node = 0; node < _graph.get_nbr_nodes(); ++node) {
            auto const& from = src_arr[static_cast<std::size_t>(node)];
            float sum = static_cast<float>(node) + 0.1f;
            bool sounding_flag = node < nbr_in;
            for (int const src : from) {
                std::size_t const index = static_cast<std::size_t>(src);
                if (sounding_arr[index]) {
                    sum = sounding_flag ? sum + val_arr[index] : val_arr[index];
                    sounding_flag = true;
                }
            }
            val_arr.push_back(sum);
            sounding_arr.push_back(sounding_flag);
        }
        for (int round = 0; round < 2; ++round) {
            for (int node = 0; node < nbr_in; ++node) {
                fill(node, 0, 1, val_arr[static_cast<std::size_t>(node)]);
            }
            process();
            auto const& result = _graph.use_input(nbr_in + nbr_mid, 0);
            ASSERT_EQ(sounding_arr.back(), result.state == Dsp::State_SIGNAL);
            if (sounding_arr.back()) {
                EXPECT_EQ(val_arr.back(), result.chn_arr[0][0]);
            }
        }
    }
}

TEST_F(GraphTest, LoopsAreRefusedByName) {
    int const a = add_bypass("anna");
    int const b = add_bypass("bert");
    int const c = add_bypass("carl");
    int const free = add_bypass("free");
    _graph.connect({a, 0}, {b, 0});
    _graph.connect({b, 0}, {c, 0});
    _graph.connect({free, 0}, {a, 0});
    _graph.connect({c, 0}, {a, 0});
    EXPECT_EQ("routing: a loop: anna <- carl <- bert <- anna",
              refuse([this] { _graph.prepare(max_len); }));
}

TEST_F(GraphTest, NodeThatFeedsItselfIsALoop) {
    int const a = add_bypass("anna");
    _graph.connect({a, 0}, {a, 0});
    EXPECT_EQ("routing: a loop: anna <- anna", refuse([this] { _graph.prepare(max_len); }));
}

TEST_F(GraphTest, WrongPinsAreRefused) {
    int const a = add_bypass("anna");
    int const b = add("bert", bypass_id, {{2, 1}, {2, 1}});
    EXPECT_EQ("routing: no node 2", refuse([&] { _graph.connect({2, 0}, {a, 0}); }));
    EXPECT_EQ("routing: no node -1", refuse([&] { _graph.connect({a, 0}, {-1, 0}); }));
    EXPECT_EQ("routing: no anna, output pin 1; it has 1", refuse([&] {
                  _graph.connect({a, 1}, {b, 1});
              }));
    EXPECT_EQ("routing: no bert, input pin -1; it has 2", refuse([&] {
                  _graph.connect({a, 0}, {b, -1});
              }));
}
