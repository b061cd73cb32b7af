#include "host/render/WaveformPlot.h"

#include "host/Error.h"
#include "host/render/SoundMaker.h"
#include "host/render/TimeAxis.h"
#include "host/render/WaveText.h"
#include "support/TempDir.h"

#include <cairo.h>
#include <gtest/gtest.h>

#include <fstream>
#include <iterator>

using test::SoundMaker;
using ulk::host::Error;
using ulk::host::render::Envelope;
using ulk::host::render::TimeAxis;
using ulk::host::render::WaveformPlot;
using ulk::host::render::WaveText;

namespace {

// The pixels of a picture, as 0xRRGGBB.
class Picture {
public:
    explicit Picture(std::string const& path)
        : _surface(cairo_image_surface_create_from_png(path.c_str())) {
        EXPECT_EQ(CAIRO_STATUS_SUCCESS, cairo_surface_status(_surface));
    }
    Picture(Picture const&) = delete;
    Picture& operator=(Picture const&) = delete;
    ~Picture() { cairo_surface_destroy(_surface); }

    int get_width() const { return cairo_image_surface_get_width(_surface); }
    int get_height() const { return cairo_image_surface_get_height(_surface); }

    unsigned get_pixel(int x, int y) const {
        unsigned pixel = 0;
        std::memcpy(&pixel,
                    cairo_image_surface_get_data(_surface) +
                        y * cairo_image_surface_get_stride(_surface) + x * 4,
                    sizeof(pixel));
        return pixel & 0xFFFFFF;
    }

    // Pixels of that colour in a rectangle.
    int count(unsigned colour, int x, int y, int w, int h) const {
        int sum = 0;
        for (int row = y; row < y + h; ++row) {
            for (int column = x; column < x + w; ++column) {
                sum += get_pixel(column, row) == colour;
            }
        }
        return sum;
    }

private:
    cairo_surface_t* _surface;
};

constexpr unsigned peak_blue = 0x73A8EE;
constexpr unsigned rms_blue = 0x215EBD;
constexpr unsigned clip_red = 0xDC2626;

// Silence, then a square whose mean is half its peak's.
SoundMaker::Sound make_half(float level) {
    SoundMaker::Sound sound(2, std::vector<float>(48000));
    for (std::size_t pos = 24000; pos < 48000; pos += 4) {
        sound[0][pos] = level;
        sound[0][pos + 2] = -level;
    }
    return sound;
}

Envelope make_envelope(SoundMaker::Sound const& sound) {
    SoundMaker maker(41);
    Envelope envelope(static_cast<int>(sound.size()), 48000,
                      static_cast<long long>(sound[0].size()), WaveformPlot::nbr_columns);
    maker.push_blocks(sound, 5000,
                      [&](float const* const* chn_arr, long len) { envelope.push(chn_arr, len); });
    return envelope;
}

std::string get_failure(std::string const& path, Error::Kind kind) {
    try {
        WaveformPlot::save(path, make_envelope({{0, 1}}), "title", "note");
    } catch (Error const& e) {
        EXPECT_EQ(kind, e.get_kind());
        return e.what();
    }
    return "";
}

class WaveformPlotTest : public ::testing::Test {
protected:
    Picture draw(SoundMaker::Sound const& sound) {
        std::string const path = _dir.make_name("wave.png");
        WaveformPlot::save(path, make_envelope(sound), "Title", "note");
        return Picture(path);
    }

    test::TempDir _dir;
};

} // namespace

// The left channel fills the right half of its panel up to the ceiling, and the rest is empty.
TEST_F(WaveformPlotTest, ShowsSoundWhereItIs) {
    Picture const picture = draw(make_half(0.99f));
    EXPECT_EQ(1600, picture.get_width());
    EXPECT_EQ(526, picture.get_height());
    int const half = WaveformPlot::nbr_columns / 2;
    EXPECT_EQ(0, picture.count(peak_blue, 72, 64, half - 1, 200));
    EXPECT_EQ(0, picture.count(rms_blue, 72, 64, half - 1, 200));
    int const nbr_peak = picture.count(peak_blue, 72 + half, 64, half, 200);
    int const nbr_rms = picture.count(rms_blue, 72 + half, 64, half, 200);
    EXPECT_NEAR(half * 200, nbr_peak + nbr_rms, half * 10);
    EXPECT_NEAR(std::sqrt(0.5), static_cast<double>(nbr_rms) / (nbr_peak + nbr_rms), 0.05);
    EXPECT_EQ(0, picture.count(peak_blue, 72, 278, 2 * half, 200));
    EXPECT_EQ(0, picture.count(clip_red, 0, 0, 1600, 526));
}

TEST_F(WaveformPlotTest, MarksWhereItClips) {
    Picture const picture = draw(make_half(1.5f));
    int const half = WaveformPlot::nbr_columns / 2;
    EXPECT_EQ(half * 6, picture.count(clip_red, 72 + half, 64, half, 200));
    EXPECT_EQ(half * 6, picture.count(clip_red, 0, 0, 1600, 526));
}

TEST_F(WaveformPlotTest, QuietSoundsAreDrawnLarger) {
    int const half = WaveformPlot::nbr_columns / 2;
    Picture const picture = draw(make_half(0.01f));
    EXPECT_GT(picture.count(rms_blue, 72 + half, 64, half, 200), half * 40);
}

TEST_F(WaveformPlotTest, AnyNumberOfChannelsAndAnyLength) {
    for (std::size_t const nbr_chn : {1u, 6u, 16u}) {
        Picture const picture = draw(SoundMaker::Sound(nbr_chn, {0.5f, -0.5f, 0.25f}));
        EXPECT_LT(picture.get_height(), 1200);
        EXPECT_GT(picture.count(peak_blue, 0, 0, 1600, picture.get_height()) +
                      picture.count(rms_blue, 0, 0, 1600, picture.get_height()),
                  1000);
    }
    draw({{}});
    draw({std::vector<float>(100)});
}

TEST_F(WaveformPlotTest, WritesSvg) {
    std::string const path = _dir.make_name("wave.svg");
    WaveformPlot::save(path, make_envelope(make_half(0.5f)), "Title", "note");
    std::ifstream file(path);
    std::string const txt{std::istreambuf_iterator<char>(file), {}};
    EXPECT_TRUE(txt.starts_with("<?xml"));
    EXPECT_NE(std::string::npos, txt.find("<svg"));
    EXPECT_TRUE(txt.ends_with("</svg>\n"));
}

TEST_F(WaveformPlotTest, TitlesThatAreNoUtf8) {
    std::string const path = _dir.make_name("wave.png");
    WaveformPlot::save(path, make_envelope(make_half(0.99f)), "bad \xFF name\n",
                       "\xC3 \xED\xA0\x80");
    Picture const picture(path);
    EXPECT_GT(picture.count(rms_blue, 0, 0, 1600, 526), 1000);
}

TEST_F(WaveformPlotTest, FailuresNameTheFile) {
    EXPECT_EQ("wave.jpg: give the picture a name that ends in .png or .svg",
              get_failure("wave.jpg", Error::Kind_USE));
    for (char const* name : {"none/wave.png", "none/wave.svg"}) {
        std::string const failure = get_failure(_dir.make_name(name), Error::Kind_IO);
        EXPECT_NE(std::string::npos, failure.find(std::string(name) + ": the picture cannot be"));
    }
    for (char const* ending : {".png", ".svg"}) {
        std::string const link = _dir.make_name("full") + ending;
        std::filesystem::create_symlink("/dev/full", link);
        EXPECT_NE("", get_failure(link, Error::Kind_IO)) << ending;
    }
    EXPECT_THROW(WaveformPlot::check_path("wave"), Error);
    EXPECT_NO_THROW(WaveformPlot::check_path("wave.png"));
}

TEST(WaveTextTest, Prints) {
    SoundMaker::Sound sound(2, std::vector<float>(96000 * 30));
    for (std::size_t pos = 0; pos < sound[0].size(); ++pos) {
        double const ratio = static_cast<double>(pos) / static_cast<double>(sound[0].size());
        sound[0][pos] = static_cast<float>(std::pow(10, -2.4 * (1 - ratio)) * (pos % 2 ? 1 : -1));
        sound[1][pos] = ratio > 0.5 ? 0.3f : 0;
    }
    Envelope const envelope = make_envelope(sound);
    // A ramp of 48 dB in 40 columns rises by 0.8 of a step each.
    EXPECT_EQ("   0 dB                               ▁▂▃▄▄▅▆▇██\n"
              " -12 dB                     ▁▂▃▄▄▅▆▇████████████\n"
              " -24 dB           ▁▂▃▄▄▅▆▇██████████████████████\n"
              " -36 dB ▁▂▃▄▄▅▆▇████████████████████████████████\n"
              "   0 dB                     ▂▂▂▂▂▂▂▂▂▂▂▂▂▂▂▂▂▂▂▂\n"
              " -12 dB                     ████████████████████\n"
              " -24 dB                     ████████████████████\n"
              " -36 dB                     ████████████████████\n"
              "        0:00               0:30                1:00\n",
              WaveText::print(envelope, 48, true));
    std::string const plain = WaveText::print(envelope, 5, false); // 20 at least
    EXPECT_EQ("   0 dB          .##\n", plain.substr(0, 21));
}

TEST(TimeAxisTest, MarksAreRoundAndFit) {
    auto const print = [](double duration, int max_nbr) {
        std::string txt;
        for (auto const& mark : TimeAxis::make_marks(duration, max_nbr)) {
            txt += (txt.empty() ? "" : " ") + mark.label;
        }
        return txt;
    };
    EXPECT_EQ("0:00", print(0, 5).substr(0, 4));
    EXPECT_EQ("0:00.00 0:00.05 0:00.10", print(0.1, 4));
    EXPECT_EQ("0:00 0:01 0:02 0:03", print(3.5, 5));
    EXPECT_EQ("0:00 0:15 0:30 0:45 1:00", print(60, 5));
    EXPECT_EQ("0:00 0:30 1:00", print(60, 4));
    EXPECT_EQ("0:00 5:00 10:00", print(600, 4));
    EXPECT_EQ("0:00 6:00:00 12:00:00 18:00:00 24:00:00", print(86400, 6));
    SoundMaker maker(42);
    for (int round = 0; round < 1000; ++round) {
        double const duration = std::pow(10, maker.draw(-5, 6));
        auto const max_nbr = static_cast<int>(maker.draw_int(2, 20));
        auto const marks = TimeAxis::make_marks(duration, max_nbr);
        ASSERT_GE(marks.size(), 1u);
        ASSERT_LE(marks.size(), static_cast<std::size_t>(max_nbr)) << duration;
        ASSERT_LE(marks.back().time, duration * 1.0001);
    }
}
