#include "../TapeModel.h"

#include "ulk/ace/baplug/rspl/ResamplerCst.h"
#include "ulk/dsp/BasicMixing.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <random>

#include <sys/stat.h>

using test::CacheProbe;
using test::Floats;
using test::LoadedBlocks;
using test::SampleStore;
using test::TapeSample;
using ulk::ace::baplug::rspl::ResamplerCst;

namespace {

constexpr long cell_len = 1024; // floats

float mix(float a, float b, unsigned long pos) {
    float const hi = static_cast<float>((pos >> 16) & 0xFFFF);
    float const lo = static_cast<float>(pos & 0xFFFF);
    return a + (hi * 65536.0f + lo) * 2.3283064e-10f * (b - a);
}

// The reader by the book: frames go through a window, of which only the unread tail is kept when it
// is full. Ratios that a window cannot serve are read frame by frame.
class PlainReader {
public:
    PlainReader(TapeSample const& spl, LoadedBlocks const& loaded, float rate, double pos)
        : play_pos(pos)
        , _spl(spl)
        , _loaded(loaded)
        , _rate(rate)
        , _step(static_cast<unsigned long>(
              std::floor(static_cast<double>(rate) * 4294967296.0 + 0.5))) {
        int const nbr_chn_round = spl.nbr_chn > 1 ? (spl.nbr_chn + 3) / 4 * 4 : 1;
        _line_len = 2048 / nbr_chn_round;
        _max_out_len = static_cast<long>(
            std::floor(static_cast<float>(_line_len - 2) / std::max(rate, 1e-9f)));
    }

    // Output by channel. False at the end.
    bool resample(std::vector<Floats>& dest, long start, long end) {
        double const p = play_pos - 1;
        _first = static_cast<long>(std::floor(p));
        long const last = static_cast<long>(
            std::floor(p + static_cast<double>(static_cast<float>(end - start - 1) * _rate)));
        _len = last - _first + 2;
        _from = std::max(_first, 0L);
        _get_len = std::min(_len, _spl.get_len() - _from);
        _pos = static_cast<unsigned long>(
            std::floor((p - static_cast<double>(_first)) * 4294967296.0));
        if (_max_out_len < 1) {
            for (long o = start; o < end; ++o, _pos += _step) {
                for (int c = 0; c < _spl.nbr_chn; ++c) {
                    long const f = static_cast<long>(_pos >> 32);
                    put(dest, c, o) = mix(get(f, c), get(f + 1, c), _pos);
                }
            }
        } else {
            walk(dest, start, end);
        }
        play_pos += static_cast<double>(static_cast<float>(end - start) * _rate);
        return play_pos < static_cast<double>(_spl.get_len() + 1);
    }

    // What the cache is asked for; none when len is below 1.
    CacheProbe::Call get_call() const { return {'g', _spl.cache_id, _from, _get_len}; }

    double play_pos;

private:
    static float& put(std::vector<Floats>& dest, int chn, long pos) {
        return dest[static_cast<std::size_t>(chn)][static_cast<std::size_t>(pos)];
    }
    // Of the range that was asked for; what is not there is silent.
    float get(long frame, int chn) const {
        long const f = _first + frame;
        bool const there = f >= _from && f < _from + _get_len && frame < _len &&
                           _loaded.is_set(f / (cell_len / _spl.nbr_chn));
        return there ? _spl.get(f, chn) : 0;
    }
    void core(std::vector<Floats>& dest, long o, long n) {
        for (long i = 0; i < n; ++i, _pos += _step) {
            auto const at = static_cast<std::size_t>(_pos >> 32);
            for (int c = 0; c < _spl.nbr_chn; ++c) {
                Floats const& line = _window[static_cast<std::size_t>(c)];
                put(dest, c, o + i) = mix(line.at(at), line.at(at + 1), _pos);
            }
        }
    }
    void walk(std::vector<Floats>& dest, long start, long end) {
        _window.assign(static_cast<std::size_t>(_spl.nbr_chn),
                       Floats(static_cast<std::size_t>(_line_len) + 2, 0));
        long w = 0;
        long o = start;
        for (long frame = 0; frame < _len && o < end; ++frame) {
            for (int c = 0; c < _spl.nbr_chn; ++c) {
                _window[static_cast<std::size_t>(c)][static_cast<std::size_t>(w)] = get(frame, c);
            }
            ++w;
            if (w < _line_len) {
                continue;
            }
            long const m = std::min(end - o, _max_out_len);
            core(dest, o, m);
            o += m;
            long const k = static_cast<long>(_pos >> 32);
            long const rest = std::max(w - k, 0L);
            for (Floats& line : _window) {
                std::copy(line.begin() + w - rest, line.begin() + w, line.begin());
            }
            _pos = (_pos & 0xFFFFFFFF) | static_cast<unsigned long>(std::max(k - w, 0L)) << 32;
            w = rest;
        }
        for (Floats& line : _window) { // products of floats may fall a frame short
            line[static_cast<std::size_t>(w)] = 0;
        }
        core(dest, o, end - o);
    }

    TapeSample const& _spl;
    LoadedBlocks const& _loaded;
    float _rate;
    unsigned long _step;
    long _line_len = 0;
    long _max_out_len = 0;
    long _first = 0;
    long _len = 0;
    long _from = 0;
    long _get_len = 0;
    unsigned long _pos = 0; // in the range, or in the window
    std::vector<Floats> _window;
};

class ResamplerCstTest : public ::testing::TestWithParam<int> {
protected:
    void SetUp() override { ulk::dsp::BasicMixing::setup(); }

    long pick(long lo, long hi) { return std::uniform_int_distribution<long>(lo, hi)(_rng); }
    double real(double lo, double hi) {
        return std::uniform_real_distribution<double>(lo, hi)(_rng);
    }

    void add_sample(int nbr_chn) {
        TapeSample spl{nbr_chn, 44100, {}, 0};
        long const block = cell_len / nbr_chn;
        for (long i = 0; i < pick(1, 12 * block) * nbr_chn; ++i) {
            spl.data.push_back(static_cast<float>(real(-1, 1)));
        }
        spl.data.resize(spl.data.size() / static_cast<std::size_t>(nbr_chn) *
                            static_cast<std::size_t>(nbr_chn) +
                        static_cast<std::size_t>(nbr_chn));
        store.add(1, spl);
        for (long b = 0; b * block < spl.get_len(); ++b) {
            if (pick(0, 4) != 0) {
                store.load_range(1, b * block, 1);
                loaded.set(b);
            }
        }
    }
    float make_rate(bool high_flag) {
        if (high_flag) {
            return static_cast<float>(std::exp(real(std::log(100.0), std::log(20000.0))));
        }
        float const exact_arr[] = {1, 2, 0.5f, 0.25f, 4, 44100.0f / 48000};
        return pick(0, 2) == 0 ? exact_arr[pick(0, 5)]
                               : static_cast<float>(std::exp(real(std::log(0.01), std::log(60.0))));
    }
    double make_pos() {
        switch (pick(0, 3)) {
        case 0:
            return 0;
        case 1:
            return real(-300, 2);
        default:
            return real(0, static_cast<double>(store.map[1].get_len()));
        }
    }

    // A note from its start to its end, in blocks.
    void play_note(float rate, double pos) {
        TapeSample const& spl = store.map[1];
        PlainReader plain(spl, loaded, rate, pos);
        ResamplerCst reader;
        long const stride = 8192 + 3;
        Floats buf(static_cast<std::size_t>(stride * spl.nbr_chn));
        Floats scratch(static_cast<std::size_t>(ResamplerCst::get_tmp_buf_len()));
        reader.configure(store.probe, spl.nbr_chn, rate, spl.cache_id, spl.get_len(), pos,
                         buf.data(), stride, scratch.data());
        bool rem_flag = true;
        for (int block = 0; rem_flag && block < 40; ++block) {
            long const end = pick(0, 9) == 0 ? pick(1, 8192) : pick(1, 700);
            long const start = pick(0, 3) == 0 ? pick(0, end - 1) : 0;
            std::fill(buf.begin(), buf.end(), 77.0f);
            std::fill(scratch.begin(), scratch.end(), std::nanf(""));
            std::vector<Floats> expected(static_cast<std::size_t>(spl.nbr_chn),
                                         Floats(static_cast<std::size_t>(stride), 77));
            store.probe.call_list.clear();
            bool const plain_rem_flag = plain.resample(expected, start, end);
            rem_flag = reader.resample(start, end, true);
            ASSERT_EQ(plain_rem_flag, rem_flag);
            ASSERT_EQ(plain.play_pos, reader.get_cur_play_pos());
            std::vector<CacheProbe::Call> call_list;
            if (plain.get_call().len > 0) {
                call_list.push_back(plain.get_call());
            }
            ASSERT_EQ(call_list, store.probe.call_list);
            for (int c = 0; c < spl.nbr_chn; ++c) {
                ASSERT_EQ(0, std::memcmp(expected[static_cast<std::size_t>(c)].data(),
                                         buf.data() + c * stride,
                                         sizeof(float) * static_cast<std::size_t>(stride)))
                    << "channel " << c << " of " << spl.nbr_chn << ", rate " << rate << ", from "
                    << pos << ", block " << block << ": " << start << " to " << end;
            }
        }
    }

    std::mt19937_64 _rng{static_cast<unsigned long>(GetParam())};
    SampleStore store{cell_len, 64};
    LoadedBlocks loaded;
};

} // namespace

TEST(ResamplerCst, TheOtherModeDoesNothing) {
    ResamplerCst reader;
    reader.configure_hifi(nullptr);
    EXPECT_FALSE(reader.resample_hifi(0, true));
    EXPECT_EQ(-1.0, reader.get_cur_play_pos());
    EXPECT_EQ(1, reader.get_oversampling_rate());
}

TEST_P(ResamplerCstTest, ReadsAsThroughTheWindow) {
    add_sample(GetParam());
    for (int note = 0; note < 60 && !HasFailure(); ++note) {
        play_note(make_rate(false), make_pos());
    }
}

TEST_P(ResamplerCstTest, RatesAboveTheWindowSkipFrames) {
    add_sample(GetParam());
    for (int note = 0; note < 100 && !HasFailure(); ++note) {
        play_note(make_rate(true), make_pos());
    }
}

INSTANTIATE_TEST_SUITE_P(Channels, ResamplerCstTest, ::testing::Range(1, 17));

class ResamplerCstFarTest : public ::testing::Test {
protected:
    void SetUp() override {
        ulk::dsp::BasicMixing::setup();
        store.add(1, {1, 44100, Floats(100, 0.5f), 0});
        store.load_range(1, 0, 100);
    }
    void configure(double pos, float rate, long long spl_len) {
        store.probe.call_list.clear();
        reader.configure(store.probe, 1, rate, store.map[1].cache_id, spl_len, pos, dest.data(),
                         512, scratch.data());
        std::fill(dest.begin(), dest.end(), 77.0f);
    }
    CacheProbe::Call make_call(long long pos, long len) {
        return {'g', store.map[1].cache_id, pos, len};
    }

    SampleStore store{cell_len, 64};
    ResamplerCst reader;
    Floats dest = Floats(512);
    Floats scratch = Floats(static_cast<std::size_t>(ResamplerCst::get_tmp_buf_len()));
};

TEST_F(ResamplerCstFarTest, PositionsFarBehindTheFileAreSilent) {
    double const pos = 0x1p41 + 0.5;
    configure(pos, 1.5f, 1LL << 42); // the host tells more than the file has
    EXPECT_TRUE(reader.resample(0, 512, true));
    EXPECT_EQ(Floats(512, 0.0f), dest);
    EXPECT_EQ(std::vector{make_call((1LL << 41) - 1, 769)}, store.probe.call_list);
    EXPECT_EQ(pos + 768, reader.get_cur_play_pos());
}

TEST_F(ResamplerCstFarTest, TheLongestSampleGoesOn) {
    configure(0, 1, std::numeric_limits<long long>::max());
    EXPECT_TRUE(reader.resample(0, 100, true));
    EXPECT_EQ(0, dest[0]);
    EXPECT_EQ(0.5f, dest[99]);
}

TEST_F(ResamplerCstFarTest, PositionsFarBeforeTheStartAreSilent) {
    double const pos = -0x1p41;
    configure(pos, 1, 100);
    EXPECT_TRUE(reader.resample(0, 512, true));
    EXPECT_EQ(Floats(512, 0.0f), dest);
    EXPECT_EQ(std::vector{make_call(0, 100)}, store.probe.call_list);
    EXPECT_EQ(pos + 512, reader.get_cur_play_pos());
}

// From far before the start to behind the end within a block.
TEST_F(ResamplerCstFarTest, JumpsOverTheWholeSample) {
    double const pos = 51 - 300 * 3000.0;
    configure(pos, 3000, 100);
    EXPECT_FALSE(reader.resample(0, 512, true));
    Floats expected(512, 0.0f);
    expected[300] = 0.5f;
    EXPECT_EQ(expected, dest);
    EXPECT_EQ(pos + 512 * 3000.0, reader.get_cur_play_pos());
}

TEST_F(ResamplerCstFarTest, AnyRatioComesToAnEnd) {
    for (float const rate : {0x1p29f, 0x1p40f, 1e38f, std::numeric_limits<float>::infinity()}) {
        configure(0, rate, 100);
        EXPECT_FALSE(reader.resample(0, 512, true));
        EXPECT_EQ(Floats(512, 0.0f), dest) << rate;
    }
    for (float const rate : {-1.0f, std::nanf(""), 0.0f}) {
        configure(5, rate, 100);
        EXPECT_TRUE(reader.resample(0, 512, true));
        EXPECT_EQ(Floats(512, 0.5f), dest) << rate;
        EXPECT_EQ(5, reader.get_cur_play_pos());
    }
}

TEST_F(ResamplerCstFarTest, WithoutOutputThePositionAloneMoves) {
    configure(99, 0.5f, 100);
    EXPECT_TRUE(reader.resample(3, 6, false)); // at 100.5, a hair before the end
    EXPECT_FALSE(reader.resample(0, 1, false));
    EXPECT_EQ(101, reader.get_cur_play_pos());
    EXPECT_FALSE(reader.resample(0, 512, false));
    EXPECT_EQ(Floats(512, 77.0f), dest);
    EXPECT_TRUE(store.probe.call_list.empty());
    // Behind the end the cache is not asked, and silence goes on.
    EXPECT_FALSE(reader.resample(0, 512, true));
    EXPECT_EQ(Floats(512, 0.0f), dest);
    EXPECT_TRUE(store.probe.call_list.empty());
}

// A file of more frames than 32 bits count, nearly all of it a hole in the file system.
TEST_F(ResamplerCstFarTest, FilesOfMoreThan31BitsPlayToTheFrame) {
    test::TempDir dir;
    std::string const name = dir.make_name("long.wav");
    long const len = 3000000000;
    {
        std::ofstream file(name, std::ios::binary);
        std::uint32_t const head[] = {0x46464952,
                                      static_cast<std::uint32_t>(len) + 36,
                                      0x45564157,
                                      0x20746D66,
                                      16,
                                      1 | 1 << 16,
                                      44100,
                                      44100,
                                      1 | 8 << 16,
                                      0x61746164,
                                      static_cast<std::uint32_t>(len)};
        file.write(reinterpret_cast<char const*>(head), sizeof(head));
        file.seekp(44 + len - 100);
        for (int i = 0; i < 100; ++i) {
            file.put(static_cast<char>(128 + i));
        }
    }
    long id = 0;
    {
        SampleStore big(16384, 4);
        ASSERT_EQ(0, big.cache.open_file(id, name.c_str(), false));
        EXPECT_EQ(0, big.cache.prefetch_data(id, len - 100, 100));
        big.load();
        reader.configure(big.cache, 1, 1, id, len, static_cast<double>(len - 100), dest.data(), 512,
                         scratch.data());
        EXPECT_FALSE(reader.resample(0, 512, true));
        for (int i = 1; i < 101; ++i) {
            EXPECT_EQ(static_cast<float>(i - 1) / 128, dest[static_cast<std::size_t>(i)]) << i;
        }
        EXPECT_EQ(0, dest[101]);
        EXPECT_EQ(0, big.cache.close_file(id));
    }
}
