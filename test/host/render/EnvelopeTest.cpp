#include "host/render/Envelope.h"

#include "host/render/SoundMaker.h"
#include "support/RealTimeGuard.h"

#include <gtest/gtest.h>

using test::SoundMaker;
using ulk::host::render::Envelope;

namespace {

void push_all(SoundMaker& maker, Envelope& envelope, SoundMaker::Sound const& sound,
              long max_len = 1000) {
    maker.push_blocks(sound, max_len, [&](float const* const* chn_arr, long len) {
        test::RealTimeGuard guard;
        envelope.push(chn_arr, len);
    });
}

// Each frame in the column that its place in the sound falls to.
void check(Envelope const& envelope, SoundMaker::Sound const& sound) {
    auto const nbr_frames = sound[0].size();
    auto const nbr_columns = static_cast<std::size_t>(envelope.get_nbr_columns());
    for (std::size_t chn = 0; chn < sound.size(); ++chn) {
        std::vector<Envelope::Column> expected(nbr_columns);
        for (std::size_t pos = 0; pos < nbr_frames; ++pos) {
            // the last column whose beginning, rounded down, is not behind the frame
            auto& column = expected[((pos + 1) * nbr_columns - 1) / nbr_frames];
            float const spl = sound[chn][pos];
            column.min = std::min(column.min, spl);
            column.max = std::max(column.max, spl);
            column.square_sum += static_cast<double>(spl) * static_cast<double>(spl);
            ++column.nbr_spl;
        }
        auto const& columns = envelope.use_columns(static_cast<int>(chn));
        for (std::size_t pos = 0; pos < nbr_columns; ++pos) {
            ASSERT_EQ(expected[pos].nbr_spl, columns[pos].nbr_spl) << pos;
            ASSERT_EQ(expected[pos].min, columns[pos].min) << pos;
            ASSERT_EQ(expected[pos].max, columns[pos].max) << pos;
            ASSERT_NEAR(expected[pos].square_sum, columns[pos].square_sum, 1e-6) << pos;
        }
    }
}

} // namespace

TEST(EnvelopeTest, EachFrameIsInItsColumn) {
    SoundMaker maker(31);
    for (long const len : {1L, 7L, 100L, 101L, 4999L}) {
        for (int const nbr_columns : {1, 3, 100, 1472}) {
            auto const sound = maker.draw_sound(2, len);
            Envelope envelope(2, 48000, len, nbr_columns);
            EXPECT_EQ(std::min<long>(len, nbr_columns), envelope.get_nbr_columns());
            push_all(maker, envelope, sound, 1 + len / 3);
            check(envelope, sound);
        }
    }
}

TEST(EnvelopeTest, LevelsOfAColumn) {
    SoundMaker maker(32);
    Envelope envelope(1, 4, 4, 1);
    push_all(maker, envelope, {{0.5f, -1, 0.5f, 0}});
    auto const& column = envelope.use_columns(0)[0];
    EXPECT_EQ(1, column.get_peak());
    EXPECT_NEAR(std::sqrt(1.5 / 4), column.get_rms(), 1e-9);
    EXPECT_EQ(1, envelope.find_peak());
    EXPECT_EQ(1, envelope.get_duration());
    EXPECT_EQ(0, Envelope::Column().get_rms());
}

TEST(EnvelopeTest, JoinedColumnsHoldAllFrames) {
    SoundMaker maker(33);
    Envelope envelope(1, 48000, 10000, 1000);
    push_all(maker, envelope, maker.draw_sound(1, 10000));
    for (int const count : {1, 7, 72, 1000, 5000}) {
        auto const joined = envelope.join_columns(0, count);
        EXPECT_EQ(std::min<std::size_t>(static_cast<std::size_t>(count), 1000), joined.size());
        long long nbr_spl = 0;
        float peak = 0;
        for (auto const& column : joined) {
            nbr_spl += column.nbr_spl;
            peak = std::max(peak, column.get_peak());
        }
        EXPECT_EQ(10000, nbr_spl);
        EXPECT_EQ(envelope.find_peak(), peak);
    }
}

TEST(EnvelopeTest, FramesThatWereNotAnnouncedAndWhatIsNotFinite) {
    SoundMaker maker(34);
    Envelope envelope(1, 48000, 3, 10);
    push_all(maker, envelope,
             {{0.5f, std::numeric_limits<float>::quiet_NaN(),
               -std::numeric_limits<float>::infinity(), 9, 9, 9}});
    EXPECT_EQ(0.5f, envelope.find_peak());
    EXPECT_EQ(0, envelope.use_columns(0)[2].get_peak());
    Envelope nothing(2, 48000, 0, 10);
    push_all(maker, nothing, {{1}, {1}});
    EXPECT_EQ(0, nothing.find_peak());
    EXPECT_EQ(0, nothing.get_duration());
}
