#include "host/engine/GainCurve.h"
#include "host/engine/Fader.h"
#include "host/engine/GainLaw.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>

using namespace ulk::host::engine;
using Curve = GainCurve::Curve;
using Fades = GainCurve::Fades;
using Law = test::GainLaw;

namespace {

constexpr double silence = ulk::host::session::Session::silence;
constexpr double max_error = 0.1;    // dB
constexpr double inaudible = 3.2e-8; // -150 dB: below, it doesn't matter how a slope runs
constexpr double far_time = 1e9;     // s

bool is_near(double expected, double val) {
    if (expected <= inaudible && val <= inaudible * 1.02) {
        return true;
    }
    return std::fabs(20 * std::log10(val / expected)) <= max_error;
}

// Walks the pieces from beg on and compares each of their frames with the law. Gives their number.
long check_pieces(GainCurve const& curve, Law const& law, long long beg, long long end,
                  long max_len) {
    long nbr_pieces = 0;
    for (long long pos = beg; pos < end; ++nbr_pieces) {
        auto const piece = curve.find_piece(pos, max_len);
        EXPECT_GE(piece.len, 1);
        EXPECT_LE(piece.len, max_len);
        if (piece.len < 1 || ::testing::Test::HasFailure()) {
            return nbr_pieces;
        }
        long const step = std::max(1L, piece.len / 37);
        for (long frame = 0; frame < piece.len; frame += step) {
            double const val = piece.beg + (piece.end - piece.beg) * static_cast<double>(frame) /
                                               static_cast<double>(piece.len);
            double const expected = law.find(static_cast<double>(pos + frame));
            if (!is_near(expected, val)) {
                ADD_FAILURE() << "frame " << pos + frame << ": " << val << " for " << expected
                              << " in a piece of " << piece.len << " from " << pos;
                return nbr_pieces;
            }
        }
        EXPECT_TRUE(is_near(law.find_before(static_cast<double>(pos + piece.len)), piece.end))
            << pos << " " << piece.len << " " << piece.end;
        pos += piece.len;
    }
    return nbr_pieces;
}

class CurveMaker {
public:
    explicit CurveMaker(unsigned seed)
        : _rng(seed) {}

    double draw(double low, double high) {
        return std::uniform_real_distribution<double>(low, high)(_rng);
    }
    int pick(int nbr) { return std::uniform_int_distribution<int>(0, nbr - 1)(_rng); }

    double draw_level() {
        switch (pick(8)) {
        case 0:
            return silence;
        case 1:
            return draw(-300, -90);
        case 2:
            return 0;
        default:
            return draw(-60, 24);
        }
    }
    Curve make(double freq) {
        Curve points;
        double time = draw(-0.1, 0.2);
        for (int rest = pick(8); rest > 0; --rest) {
            points.push_back({time, draw_level()});
            switch (pick(6)) {
            case 0:
                break; // a jump
            case 1:
                time += draw(0, 3) / freq;
                break;
            case 2:
                time += draw(0.5, 4);
                break;
            default:
                time += draw(0, 0.1);
            }
        }
        return points;
    }
    Fades make_fades(double freq) {
        auto const make_len = [&] {
            return pick(3) == 0 ? 0LL : static_cast<long long>(std::pow(10, draw(0, 5)));
        };
        return {make_len(), make_len(), static_cast<long long>(draw(1, 1.5 * freq))};
    }

private:
    std::mt19937 _rng;
};

} // namespace

TEST(GainCurveTest, PiecesFollowTheLaw) {
    for (unsigned seed = 0; seed < 1000 && !::testing::Test::HasFailure(); ++seed) {
        SCOPED_TRACE(seed);
        CurveMaker maker(seed);
        double const freq = maker.pick(2) == 0 ? 48000 : maker.draw(8000, 192000);
        Curve const points = maker.make(freq);
        double const gain = maker.pick(3) == 0 ? maker.draw(-30, 24) : 0;
        Fades const fades = maker.make_fades(freq * 0.3);
        GainCurve const curve(points, gain, freq, fades);
        Law const law(points, gain, freq, fades);
        auto const end = static_cast<long long>(freq * 0.4);
        check_pieces(curve, law, -2000, end, 1L << maker.pick(18));
    }
}

TEST(GainCurveTest, FadesThatOverlapAreFollowed) {
    for (long long const len : {2LL, 3LL, 100LL, 480LL, 48000LL}) {
        Curve const points;
        Fades const fades = {len, len, len};
        GainCurve const curve(points, 0, 48000, fades);
        long const nbr_pieces = check_pieces(curve, Law(points, 0, 48000, fades), 0, len, 1L << 20);
        EXPECT_LE(nbr_pieces, 100) << len;
    }
}

TEST(GainCurveTest, AFadeOnASlopeIsFollowedFromItsFirstFrame) {
    Curve const points = {{0, -60}, {1, 24}};
    Fades const fades = {48000, 48000, 48000};
    GainCurve const curve(points, 0, 48000, fades);
    long const nbr_pieces = check_pieces(curve, Law(points, 0, 48000, fades), 0, 48000, 1L << 20);
    EXPECT_LE(nbr_pieces, 300);
}

TEST(GainCurveTest, AStraightFadeIsOnePiece) {
    Curve const points;
    GainCurve const curve(points, 0, 48000, {1000, 0, 0});
    auto const piece = curve.find_piece(0, 1 << 20);
    EXPECT_EQ(1000, piece.len);
    EXPECT_EQ(0, piece.beg);
    EXPECT_EQ(1, piece.end);
}

TEST(GainCurveTest, SlopesOutOfSilenceStartAtTheFloor) {
    Curve const points = {{0, silence}, {1, 0}, {2, silence}, {3, silence}};
    GainCurve const curve(points, 0, 1000, {});
    EXPECT_EQ(0, curve.find_piece(-1, 1).beg);
    EXPECT_NEAR(std::pow(10, Law::floor_db / 20), curve.find_piece(0, 1).beg, 1e-12);
    EXPECT_NEAR(1, curve.find_piece(1000, 1).beg, 1e-12);
    EXPECT_NEAR(std::pow(10, Law::floor_db / 40), curve.find_piece(1500, 1).beg, 1e-9);
    EXPECT_EQ(0, curve.find_piece(2000, 1).beg);
    EXPECT_TRUE(curve.is_constant_from(3000));
    EXPECT_FALSE(curve.is_constant_from(2999));
}

TEST(GainCurveTest, SilenceBesideALevelBelowTheFloorStaysThere) {
    Curve const points = {{0, -120}, {1, silence}};
    GainCurve const curve(points, 0, 1000, {});
    EXPECT_NEAR(1e-6, curve.find_piece(500, 1).beg, 1e-12);
}

TEST(GainCurveTest, AJumpIsMetOnItsFrame) {
    Curve const points = {{1, -6}, {1, -12}, {1, 3}};
    GainCurve const curve(points, 0, 48000, {});
    auto const before = curve.find_piece(47000, 1 << 20);
    EXPECT_EQ(1000, before.len);
    EXPECT_NEAR(std::pow(10, -0.3), before.end, 1e-12);
    EXPECT_NEAR(std::pow(10, 0.15), curve.find_piece(48000, 1).beg, 1e-12);
}

// What a file may say, however silly, costs a few pieces a second.
TEST(GainCurveTest, SteepSlopesCostLittle) {
    for (double const level : {-1e3, -1e6, -1e300}) {
        Curve const points = {{0, level}, {1, 24}, {2, level}, {100, level}, {101, silence}};
        GainCurve const curve(points, 0, 48000, {});
        long nbr_pieces = 0;
        for (long long pos = -100; pos < 48000 * 102; ++nbr_pieces) {
            auto const piece = curve.find_piece(pos, 1 << 20);
            ASSERT_GE(piece.len, 1);
            ASSERT_TRUE(std::isfinite(piece.beg) && std::isfinite(piece.end));
            pos += piece.len;
        }
        EXPECT_LE(nbr_pieces, 250) << level;
    }
}

TEST(GainCurveTest, FarTimesAreNoTrouble) {
    Curve const points = {{-1e300, -20}, {-far_time, -10}, {far_time, 10}, {1e300, 20}};
    GainCurve const curve(points, 0, 384000, {});
    EXPECT_NEAR(1, curve.find_piece(0, 1).beg, 1e-9);
    EXPECT_GE(curve.find_piece(0, 1 << 20).len, 1 << 20);
    EXPECT_FALSE(curve.is_constant_from(0));
    Fader fader(points, 384000);
    ulk::host::Graph::GainSpans span_arr;
    fader.find_spans(0, 4096, span_arr);
    EXPECT_EQ(1u, span_arr.size());
}

TEST(FaderTest, SpansCoverTheBlockAndFollowTheLaw) {
    for (unsigned seed = 0; seed < 300 && !HasFailure(); ++seed) {
        SCOPED_TRACE(seed);
        CurveMaker maker(seed);
        Curve points = maker.make(48000);
        points.push_back({points.empty() ? 0 : points.back().time, maker.draw_level()});
        Law const law(points, 0, 48000, {});
        Fader fader(points, 48000);
        ulk::host::Graph::GainSpans span_arr;
        long const len = 1 + maker.pick(3000);
        for (long long pos = -1; pos < 60000; pos += len) {
            fader.find_spans(pos, len, span_arr);
            long done = span_arr.empty() ? len : 0;
            if (span_arr.empty()) {
                ASSERT_TRUE(is_near(law.find(static_cast<double>(pos)), 1));
                ASSERT_TRUE(is_near(law.find(static_cast<double>(pos + len)), 1));
            }
            for (auto const& span : span_arr) {
                ASSERT_EQ(done, span.pos);
                ASSERT_GE(span.len, 1);
                double const beg = static_cast<double>(pos + span.pos);
                ASSERT_TRUE(is_near(law.find(beg), static_cast<double>(span.beg))) << beg;
                double const mid = static_cast<double>(span.len / 2);
                double const part = mid / static_cast<double>(span.len);
                double const val =
                    static_cast<double>(span.beg) + static_cast<double>(span.end - span.beg) * part;
                ASSERT_TRUE(is_near(law.find(beg + mid), val)) << beg + mid;
                done += span.len;
            }
            ASSERT_EQ(len, done);
        }
    }
}

TEST(FaderTest, UnityIsLeftAlone) {
    Curve const points = {{0, -6}, {1, 0}};
    Fader fader(points, 1000);
    ulk::host::Graph::GainSpans span_arr;
    fader.find_spans(0, 1000, span_arr);
    EXPECT_FALSE(span_arr.empty());
    fader.find_spans(1000, 1000, span_arr);
    EXPECT_TRUE(span_arr.empty());
}
