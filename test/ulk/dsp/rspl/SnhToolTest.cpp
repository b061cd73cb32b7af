#include "ulk/dsp/rspl/SnhTool.h"

#include <cmath>

namespace {

using ulk::dsp::rspl::SnhTool;
using ulk::math::FixedPoint;

std::vector<float> make_noise(std::size_t len, unsigned seed) {
    std::mt19937 rnd(seed);
    std::uniform_real_distribution<float> dist(-1.0f, 1.0f);
    std::vector<float> noise(len);
    std::generate(noise.begin(), noise.end(), [&] { return dist(rnd); });
    return noise;
}

// One channel, one frame at a time, told by absolute time instead of counters.
class Model {
public:
    explicit Model(int ovrspl_l2)
        : _ovrspl_l2(ovrspl_l2) {}

    static int compute_hold(double rate, int ovrspl_l2) {
        int hold = 1;
        for (int l2 = 0; l2 < ovrspl_l2 && rate < 0.5; ++l2) {
            hold *= 2;
            rate *= 2;
        }
        return hold;
    }
    float process(float x, double rate) {
        int const wanted = compute_hold(rate, _ovrspl_l2);
        if (_fade_age < 0 && wanted != _hold && _age % _hold == 0) {
            _from = _hold;
            _to = wanted;
            _fade_age = 0;
            _age = 0;
        }
        if (_fade_age < 0) {
            _held = _age % _hold == 0 ? x : _held;
            ++_age;
            return _held;
        }
        _val_from = _fade_age % _from == 0 ? x : _val_from;
        _val_to = _fade_age % _to == 0 ? x : _val_to;
        float const t = static_cast<float>(_fade_age) / 256;
        // Written from the short hold to the long one, as the rounding depends on it.
        float const out = _from > _to ? _val_to + (1 - t) * (_val_from - _val_to)
                                      : _val_from + t * (_val_to - _val_from);
        if (++_fade_age == 256) {
            _hold = _to;
            _held = _val_to;
            _age = 256;
            _fade_age = -1;
        }
        return out;
    }

private:
    int _ovrspl_l2;
    int _hold = 1;
    long _age = 0; // frames since a period began
    float _held = 0;
    int _from = 1, _to = 1;
    int _fade_age = -1;
    float _val_from = 0, _val_to = 0;
};

TEST(SnhToolTest, HoldFollowsTheRate) {
    struct Case {
        FixedPoint rate;
        int hold;
    };
    for (Case const& c :
         {Case{FixedPoint(0, 0x80000000U), 1}, Case{FixedPoint(0, 0x7FFFFFFFU), 2},
          Case{FixedPoint(0, 0x40000000U), 2}, Case{FixedPoint(0, 0x3FFFFFFFU), 4},
          Case{FixedPoint(0, 0x20000000U), 4}, Case{FixedPoint(0, 0x1FFFFFFFU), 8},
          Case{FixedPoint(0, 1U), 8}, Case{FixedPoint(), 8}, Case{FixedPoint(3), 1}}) {
        SnhTool tool;
        tool.set_nbr_chn(1);
        tool.set_ovrspl(3);
        std::vector<float> buf = make_noise(800, 1);
        std::vector<float> const src = buf;
        float* data = buf.data();
        tool.process_data(&data, 800, c.rate, 0);
        for (std::size_t i = 512; i < 800; ++i) {
            ASSERT_EQ(buf[i], src[i - i % static_cast<std::size_t>(c.hold)]) << c.hold;
        }
    }
}

TEST(SnhToolTest, WithoutOversamplingItDoesNothing) {
    SnhTool tool;
    tool.set_nbr_chn(1);
    tool.set_ovrspl(0);
    std::vector<float> buf = make_noise(700, 1);
    std::vector<float> const src = buf;
    float* data = buf.data();
    tool.process_data(&data, 700, FixedPoint(0, 1), 0);
    EXPECT_EQ(buf, src);
}

TEST(SnhToolTest, FollowsTheModelForAnyBlocksAndRates) {
    std::mt19937 rnd(3);
    for (unsigned trial = 0; trial < 300; ++trial) {
        int const ovrspl_l2 = static_cast<int>(rnd() % 11);
        std::vector<float> buf[2] = {make_noise(6000, trial), make_noise(6000, trial + 1000)};
        Model model[2] = {Model(ovrspl_l2), Model(ovrspl_l2)};
        SnhTool tool;
        tool.set_nbr_chn(2);
        tool.set_ovrspl(ovrspl_l2);
        unsigned const max_len = rnd() % 2 != 0 ? 9 : 900;
        double rate = 1;
        for (long pos = 0; pos < 6000;) {
            long const len = std::min<long>(6000 - pos, 1 + rnd() % max_len);
            if (rnd() % (max_len == 9 ? 40 : 2) == 0) {
                rate = std::ldexp(1.0 + (rnd() % 2 ? 0 : -0.01), -static_cast<int>(rnd() % 11));
            }
            float* data[2] = {buf[0].data() + pos, buf[1].data() + pos};
            std::vector<float> expected[2];
            for (int chn = 0; chn < 2; ++chn) {
                for (long i = 0; i < len; ++i) {
                    expected[chn].push_back(model[chn].process(data[chn][i], rate));
                }
            }
            tool.process_data(data, len, FixedPoint::from_double(rate), 0);
            for (int chn = 0; chn < 2; ++chn) {
                for (long i = 0; i < len; ++i) {
                    ASSERT_EQ(data[chn][i], expected[chn][static_cast<std::size_t>(i)])
                        << trial << ' ' << pos + i;
                }
            }
            pos += len;
        }
    }
}

// Blocks of one frame never hold a whole period: the plain form does it all.
TEST(SnhToolTest, BothFormsGiveTheSameData) {
    for (int ovrspl_l2 = 1; ovrspl_l2 < 10; ++ovrspl_l2) {
        std::vector<float> a = make_noise(5000, 4);
        std::vector<float> b = a;
        SnhTool whole, frames;
        whole.set_ovrspl(ovrspl_l2);
        frames.set_ovrspl(ovrspl_l2);
        FixedPoint const rate_arr[] = {FixedPoint(0, 5), FixedPoint(0, 0x70000000U), FixedPoint(1),
                                       FixedPoint(0, 0x30000000U), FixedPoint(0, 5)};
        for (int part = 0; part < 5; ++part) {
            float* data = a.data() + part * 1000;
            whole.process_data(&data, 1000, rate_arr[part], 0);
            for (int i = 0; i < 1000; ++i) {
                data = b.data() + part * 1000 + i;
                frames.process_data(&data, 1, rate_arr[part], 0);
            }
        }
        ASSERT_EQ(a, b) << ovrspl_l2;
    }
}

TEST(SnhToolTest, ChangeWaitsForTheEndOfThePeriod) {
    SnhTool tool;
    tool.set_ovrspl(2);
    std::vector<float> buf = make_noise(2000, 5);
    std::vector<float> const src = buf;
    float* data = buf.data();
    tool.process_data(&data, 1001, FixedPoint(), 0); // hold of 4, one frame into a period
    data += 1001;
    tool.process_data(&data, 3, FixedPoint(1), 0);
    for (std::size_t i = 1000; i < 1004; ++i) {
        EXPECT_EQ(buf[i], src[1000]);
    }
    data += 3;
    tool.process_data(&data, 2, FixedPoint(1), 0); // the fade runs now
    EXPECT_EQ(buf[1004], src[1004]);
    EXPECT_NE(buf[1005], src[1004]);
    EXPECT_NEAR(buf[1005], src[1004] + (src[1005] - src[1004]) / 256, 1e-6);
}

TEST(SnhToolTest, RateAtTheBlocksEndDecides) {
    SnhTool a, b;
    a.set_ovrspl(2);
    b.set_ovrspl(2);
    std::vector<float> x = make_noise(600, 6);
    std::vector<float> y = x;
    float* px = x.data();
    float* py = y.data();
    a.process_data(&px, 600, FixedPoint(1), FixedPoint::from_double(-0.7 / 600));
    b.process_data(&py, 600, FixedPoint::from_double(0.3), 0);
    EXPECT_EQ(x, y);
}

TEST(SnhToolTest, TellsTheHoldAheadOfTime) {
    SnhTool tool;
    tool.set_ovrspl(3);
    std::vector<float> buf = make_noise(600, 7);
    float* data = buf.data();
    int hold_time = 0;
    int hold_pos = -1;
    tool.compute_snh_data(hold_time, hold_pos, 64, FixedPoint(), 0);
    EXPECT_EQ(hold_time, 1); // not above the current one
    EXPECT_EQ(hold_pos, 0);
    tool.process_data(&data, 517, FixedPoint(), 0); // hold of 8, at 5
    tool.compute_snh_data(hold_time, hold_pos, 64, FixedPoint(), 0);
    EXPECT_EQ(hold_time, 8);
    EXPECT_EQ(hold_pos, 5);
    tool.compute_snh_data(hold_time, hold_pos, 64, FixedPoint::from_double(0.2), 0);
    EXPECT_EQ(hold_time, 4);
    EXPECT_EQ(hold_pos, 1);
    FixedPoint const step = FixedPoint::from_double(0.01);
    tool.compute_snh_data(hold_time, hold_pos, 20, FixedPoint::from_double(0.2), step);
    EXPECT_EQ(hold_time, 2); // 0.4 at the end
    tool.compute_snh_data(hold_time, hold_pos, 20, FixedPoint::from_double(0.4),
                          FixedPoint() - step);
    EXPECT_EQ(hold_time, 2); // 0.4 at the start
    EXPECT_EQ(hold_pos, 1);
}

TEST(SnhToolTest, ResetsDropAChangeAndKeepTheHold) {
    for (int turn = 0; turn < 2; ++turn) {
        SnhTool tool;
        tool.set_ovrspl(2);
        std::vector<float> buf = make_noise(2000, 8);
        std::vector<float> const src = buf;
        float* data = buf.data();
        tool.process_data(&data, 602, FixedPoint(), 0);
        int hold_time, hold_pos;
        if (turn == 0) {
            tool.clear_buffers();
        } else {
            tool.set_nbr_chn(1);
        }
        tool.compute_snh_data(hold_time, hold_pos, 1, FixedPoint(), 0);
        EXPECT_EQ(hold_time, 4);
        EXPECT_EQ(hold_pos, 0);
        data += 602;
        tool.process_data(&data, 8, FixedPoint(), 0);
        EXPECT_EQ(buf[602], src[602]); // a new period, and no fade
        EXPECT_EQ(buf[605], src[602]);
        EXPECT_EQ(buf[606], src[606]);
        tool.set_ovrspl(2);
        tool.compute_snh_data(hold_time, hold_pos, 1, FixedPoint(), 0);
        EXPECT_EQ(hold_time, 1);
    }
}

TEST(SnhToolTest, ParametersOfPeriodsEqualThoseOfFrames) {
    std::mt19937 rnd(9);
    for (int trial = 0; trial < 2000; ++trial) {
        int const hold = 1 << rnd() % 6;
        int const hold_pos = static_cast<int>(rnd() % static_cast<unsigned>(hold));
        FixedPoint const src_beg(static_cast<int>(rnd() % 1000), static_cast<unsigned>(rnd()));
        FixedPoint const rate_beg(0, static_cast<unsigned>(rnd()));
        FixedPoint const step_beg = FixedPoint::from_raw(static_cast<int>(rnd()) / 4096);
        long pos = 100;
        FixedPoint src = src_beg, rate = rate_beg, step = step_beg;
        SnhTool::adjust_rate_param(pos, src, rate, step, hold, hold_pos);

        FixedPoint p = src_beg, r = rate_beg; // frame by frame
        long frame = 100;
        auto const walk = [&](long len) {
            for (long i = 0; i < len; ++i, ++frame) {
                p += r;
                r += step_beg;
            }
        };
        walk((hold - hold_pos) % hold);
        ASSERT_EQ(pos, frame);
        ASSERT_EQ((pos - 100 + hold_pos) % hold, 0);
        for (int period = 0; period < 5; ++period) {
            ASSERT_EQ(src, p);
            walk(hold);
            src += rate;
            rate += step;
        }
    }
}

} // namespace
