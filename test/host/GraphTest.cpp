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

// Random routings of mono nodes and buses: whatever buffers are shared, all that arrives is right.
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
            in_flag           ? add("in", in_id, {{}, {1}})
            : out_flag        ? add("out", out_id, {{1}, {}})
            : roll(0, 1) == 0 ? add_bypass("mid")
                              : _graph.add_bus("bus", 1);
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

// Two sources into a bus, and that one into two end points.
TEST_F(GraphTest, ABusHandsOnTheSumOfItsSources) {
    int const in = add("in", in_id, {{}, {2, 2, 2}});
    int const bus = _graph.add_bus("bus", 2);
    int const next = _graph.add_bus("next", 2);
    int const out = add("out", out_id, {{2, 2}, {}});
    _graph.connect({in, 0}, {bus, 0});
    _graph.connect({in, 1}, {bus, 0});
    _graph.connect({bus, 0}, {next, 0});
    _graph.connect({next, 0}, {out, 0});
    _graph.connect({bus, 0}, {out, 1});
    _graph.prepare(max_len);
    EXPECT_TRUE(_graph.is_bus(bus));
    EXPECT_FALSE(_graph.is_bus(in));
    EXPECT_EQ((std::vector<std::vector<int>>{{in}, {bus}, {next}, {out}}), _graph.use_levels());
    fill(in, 0, 2, 0.25f);
    fill(in, 1, 2, 7);
    process();
    // What is nothing but handed on is not copied.
    EXPECT_EQ(_graph.use_output(bus, 0).chn_arr, _graph.use_input(out, 0).chn_arr);
    EXPECT_EQ(_graph.use_output(bus, 0).chn_arr, _graph.use_input(out, 1).chn_arr);
    auto const& result = _graph.use_input(out, 0);
    EXPECT_EQ(Dsp::State_SIGNAL, result.state);
    for (long chn = 0; chn < 2; ++chn) {
        for (long i = 0; i < max_len; ++i) {
            EXPECT_EQ(_graph.use_output(in, 0).chn_arr[chn][i] +
                          _graph.use_output(in, 1).chn_arr[chn][i],
                      result.chn_arr[chn][i]);
        }
    }
}

// The buffers of what a bus hands on stay as long as the last that reads them needs them.
TEST_F(GraphTest, ABusKeepsTheBuffersThatItHandsOn) {
    int const in = add("in", in_id, {{}, {1, 1}});
    int const bus = _graph.add_bus("bus", 1);
    int const out = add("out", out_id, {{1}, {}});
    _graph.connect({in, 0}, {bus, 0});
    int last = in;
    for (int i = 0; i < 6; ++i) { // a longer way, which takes buffers
        int const next = add_bypass(std::to_string(i));
        int const sum = _graph.add_bus("sum", 1);
        _graph.connect({last, last == in ? 1 : 0}, {next, 0});
        _graph.connect({next, 0}, {sum, 0});
        _graph.connect({next, 0}, {sum, 0});
        last = sum;
    }
    _graph.connect({bus, 0}, {out, 0});
    _graph.connect({last, 0}, {out, 0});
    _graph.prepare(max_len);
    fill(in, 0, 1, 0.25f);
    fill(in, 1, 1, 1024);
    auto const a = std::vector<float>(_graph.use_output(in, 0).chn_arr[0],
                                      _graph.use_output(in, 0).chn_arr[0] + max_len);
    auto const b = std::vector<float>(_graph.use_output(in, 1).chn_arr[0],
                                      _graph.use_output(in, 1).chn_arr[0] + max_len);
    process();
    for (std::size_t i = 0; i < a.size(); ++i) {
        EXPECT_EQ(a[i] + 64 * b[i], _graph.use_input(out, 0).chn_arr[0][i]);
    }
}

TEST_F(GraphTest, ASilentBusIsSilent) {
    int const mute = add_bypass("mute");
    int const bus = _graph.add_bus("bus", 1);
    int const out = add("out", out_id, {{1}, {}});
    _graph.connect({mute, 0}, {bus, 0});
    _graph.connect({bus, 0}, {out, 0});
    _graph.prepare(max_len);
    process();
    EXPECT_EQ(Dsp::State_DIRTY, _graph.use_input(out, 0).state);
    ASSERT_NE(nullptr, _graph.use_input(out, 0).chn_arr);
    EXPECT_NE(nullptr, _graph.use_input(out, 0).chn_arr[0]);
}

TEST_F(GraphTest, GainsRunAlongTheirSpans) {
    int const in = add("in", in_id, {{}, {2}});
    int const out = add("out", out_id, {{2, 1}, {}});
    int const wide = _graph.connect({in, 0}, {out, 0});
    int const mean = _graph.connect({in, 0}, {out, 1});
    _graph.prepare(max_len);
    fill(in, 0, 2, 3);
    Graph::GainSpans const spans = {{0, 16, 0.5f, 0.5f}, {16, 32, 0.5f, 2}, {48, 16, 0, 0}};
    _graph.use_gain(wide) = spans;
    _graph.use_gain(mean) = spans;
    process();
    for (long i = 0; i < max_len; ++i) {
        SCOPED_TRACE(i);
        double const gain = i < 16   ? 0.5
                            : i < 48 ? 0.5 + 1.5 * static_cast<double>(i - 16) / 32
                                     : 0;
        double const left = static_cast<double>(_graph.use_output(in, 0).chn_arr[0][i]);
        double const right = static_cast<double>(_graph.use_output(in, 0).chn_arr[1][i]);
        EXPECT_NEAR(left * gain, static_cast<double>(_graph.use_input(out, 0).chn_arr[0][i]), 1e-5);
        EXPECT_NEAR(right * gain, static_cast<double>(_graph.use_input(out, 0).chn_arr[1][i]),
                    1e-5);
        EXPECT_NEAR((left + right) / 2 * gain,
                    static_cast<double>(_graph.use_input(out, 1).chn_arr[0][i]), 1e-5);
    }
}

TEST_F(GraphTest, AGainOfZeroIsSilence) {
    int const in = add("in", in_id, {{}, {1, 1}});
    int const out = add("out", out_id, {{1, 1}, {}});
    int const only = _graph.connect({in, 0}, {out, 0});
    int const first = _graph.connect({in, 0}, {out, 1});
    _graph.connect({in, 1}, {out, 1});
    _graph.prepare(max_len);
    fill(in, 0, 1, 3);
    fill(in, 1, 1, 5);
    Graph::GainSpans const mute = {{0, 10, 0, 0}, {10, max_len - 10, 0, 0}};
    _graph.use_gain(only) = mute;
    _graph.use_gain(first) = mute;
    process();
    EXPECT_EQ(Dsp::State_DIRTY, _graph.use_input(out, 0).state);
    // The other source alone is left, and read where it stands.
    EXPECT_EQ(_graph.use_output(in, 1).chn_arr, _graph.use_input(out, 1).chn_arr);
    float buf[max_len] = {1};
    float* const chn_arr[] = {buf};
    EXPECT_FALSE(_graph.render_link(only, chn_arr, 1, false, max_len));
    EXPECT_EQ(1, buf[0]);
    // A span that begins or ends above zero sounds.
    _graph.use_gain(only) = {{0, 10, 0, 0}, {10, max_len - 10, 0, 1}};
    _graph.use_gain(first) = {{0, 10, 1, 0}, {10, max_len - 10, 0, 0}};
    process();
    EXPECT_EQ(Dsp::State_SIGNAL, _graph.use_input(out, 0).state);
    EXPECT_NE(_graph.use_output(in, 1).chn_arr, _graph.use_input(out, 1).chn_arr);
    // Without spans the gain is one again.
    _graph.use_gain(only).clear();
    process();
    EXPECT_EQ(_graph.use_output(in, 0).chn_arr, _graph.use_input(out, 0).chn_arr);
}

TEST_F(GraphTest, LinksAreRenderedApart) {
    int const in = add("in", in_id, {{}, {2, 1}});
    int const out = add("out", out_id, {{2}, {}});
    int const wide = _graph.connect({in, 0}, {out, 0});
    int const mono = _graph.connect({in, 1}, {out, 0});
    _graph.prepare(max_len);
    fill(in, 0, 2, 3);
    fill(in, 1, 1, 50);
    process();
    auto const src = [this, in](int pin, long chn, long i) {
        return _graph.use_output(in, pin).chn_arr[chn][i];
    };
    std::vector<std::vector<float>> buf_arr(3, std::vector<float>(max_len, 1000.0f));
    float* const chn_arr[] = {buf_arr[0].data(), buf_arr[1].data(), buf_arr[2].data()};
    EXPECT_TRUE(_graph.render_link(wide, chn_arr, 3, false, max_len - 1));
    for (long i = 0; i < max_len - 1; ++i) {
        EXPECT_EQ(src(0, 0, i), chn_arr[0][i]);
        EXPECT_EQ(src(0, 1, i), chn_arr[1][i]);
        EXPECT_EQ(0, chn_arr[2][i]); // without a partner
        EXPECT_EQ(src(0, 0, i) + src(1, 0, i), _graph.use_input(out, 0).chn_arr[0][i]);
        EXPECT_EQ(src(0, 1, i) + src(1, 0, i), _graph.use_input(out, 0).chn_arr[1][i]);
    }
    EXPECT_TRUE(_graph.render_link(mono, chn_arr, 3, true, max_len - 1));
    for (long i = 0; i < max_len - 1; ++i) {
        EXPECT_EQ(src(0, 1, i) + src(1, 0, i), chn_arr[1][i]);
        EXPECT_EQ(src(1, 0, i), chn_arr[2][i]);
    }
    EXPECT_TRUE(
        _graph.render_link(wide, chn_arr, 3, true, max_len - 1)); // adds nothing to the third
    EXPECT_EQ(src(1, 0, 5), chn_arr[2][5]);
    for (auto const& buf : buf_arr) {
        EXPECT_EQ(1000, buf.back());
    }
}

TEST_F(GraphTest, AnIdleNodeIsLeftAlone) {
    int const in = add("in", in_id, {{}, {1}});
    int const mid = add_bypass("mid");
    int const out = add("out", out_id, {{1}, {}});
    _graph.connect({in, 0}, {mid, 0});
    _graph.connect({mid, 0}, {out, 0});
    _graph.prepare(max_len);
    fill(in, 0, 1, 0.5f);
    _graph.set_idle(mid, true);
    process();
    EXPECT_TRUE(_graph.is_idle(mid));
    EXPECT_EQ(Dsp::State_DIRTY, _graph.use_input(out, 0).state);
    _graph.set_idle(mid, false);
    process();
    EXPECT_EQ(Dsp::State_SIGNAL, _graph.use_input(out, 0).state);
    EXPECT_EQ(0.5f, _graph.use_input(out, 0).chn_arr[0][0]);
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
