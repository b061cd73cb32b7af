// The mixer's blocks beside a model of their own, to the bit.

#include "MixerModel.h"
#include "MixerRig.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <random>

namespace {

using Dsp = kryn::PluginDsp;
using test::MixerBuffers;

constexpr long max_len = 8192;

// Seeded chance.
class Dice {
public:
    explicit Dice(unsigned int seed)
        : _gen(seed) {}
    long roll(long lo, long hi) { return std::uniform_int_distribution<long>(lo, hi)(_gen); }
    bool is_one_in(long n) { return roll(1, n) == 1; }
    double unit() { return std::uniform_real_distribution<double>(0, 1)(_gen); }
    template <class T>
    T pick(std::initializer_list<T> list) {
        return list.begin()[roll(0, static_cast<long>(list.size()) - 1)];
    }
    std::mt19937& gen() { return _gen; }

private:
    std::mt19937 _gen;
};

// One instance and its model, driven through the same life.
class Duel {
public:
    explicit Duel(unsigned int seed)
        : _dice(seed)
        , _noise(3 * max_len) {
        for (float& x : _noise) {
            x = static_cast<float>(_dice.unit() * 2 - 1);
        }
        reconfigure();
        if (!_dice.is_one_in(4)) { // else the gain stays at 0 until an event comes
            _mixer.init();
            _model.init();
        }
    }

    long get_nbr_silent() const { return _nbr_silent; } // outputs
    long get_nbr_sounding() const { return _nbr_sounding; }

    void run(int nbr_blocks) {
        for (int block = 0; block < nbr_blocks && !::testing::Test::HasFailure(); ++block) {
            disturb();
            run_block();
            for (int index = 0; index < 3; ++index) {
                EXPECT_EQ(_model.param_arr[index].target, _mixer.get_val(index));
            }
        }
    }

private:
    void reconfigure() {
        std::vector<long> pin_arr;
        for (long n = _dice.pick({0L, 1L, 1L, 1L, 1L, 2L, 4L}); n > 0; --n) {
            pin_arr.push_back(_dice.pick({1L, 1L, 2L, 2L, 2L, 3L, _dice.roll(1, 16)}));
        }
        ASSERT_EQ(0, _mixer.set_pins(pin_arr));
        _model.pin_arr = pin_arr;
        _in = std::make_unique<MixerBuffers>(test::Mixer::make_in_arr(pin_arr), max_len);
        _in_copy = std::make_unique<MixerBuffers>(test::Mixer::make_in_arr(pin_arr), max_len);
        _out = std::make_unique<MixerBuffers>(pin_arr, max_len);
        _expected = std::make_unique<MixerBuffers>(pin_arr, max_len);
    }

    // What may come between two blocks.
    void disturb() {
        switch (_dice.roll(0, 60)) {
        case 0:
            _mixer.clear_buffers();
            _model.clear_buffers();
            break;
        case 1:
            _mixer.init();
            _model.init();
            break;
        case 2:
        case 3: {
            double const freq =
                _dice.pick({8000.0, 11025.0, 22050.0, 32000.0, 44100.0, 48000.0, 88200.0, 96000.0,
                            192000.0, 8000 + 184000 * _dice.unit()});
            _mixer.set_sample_freq(freq);
            _model.sample_freq = freq;
            break;
        }
        case 4:
            reconfigure();
            break;
        default:
            break;
        }
    }

    double make_val(int index) {
        test::MixerModel::Param const& p = _model.param_arr[index >= 0 && index < 3 ? index : 0];
        switch (_dice.roll(0, 13)) {
        case 0:
        case 1:
            return 0;
        case 2:
        case 3:
            return 1;
        case 4:
            return 0.5;
        case 5:
            return 0.7521010637283325;
        case 6: // too near to be smoothed, or just not
            return p.heard() * (1 + 0.002 * (_dice.unit() - 0.5));
        case 7:
            return _dice.pick({-p.heard(), p.heard(), p.val, p.target});
        case 8:
            return _dice.unit() * 4 - 2;
        case 9: // a ramp back to where it stands: a run of smoothing with next to no slope
            return p.heard() * (1 + 1e-12 * (_dice.unit() - 0.5));
        default:
            return _dice.unit();
        }
    }

    Dsp::Event make_event(long timestamp) {
        int const index =
            _dice.is_one_in(12) ? _dice.pick({-1, 3, 77}) : static_cast<int>(_dice.roll(0, 2));
        long const ramp_len =
            _dice.is_one_in(3) ? 0 : _dice.pick({1L, 2L, _dice.roll(1, 300), _dice.roll(1, 40000)});
        auto evt = test::make_event(timestamp, index, make_val(index), ramp_len,
                                    _dice.is_one_in(2) ? _model.param_arr[0].val : make_val(index));
        if (_dice.is_one_in(3) && index >= 0 && index < 3) {
            evt.param.val_beg = _model.param_arr[index].heard();
        }
        if (_dice.is_one_in(15)) {
            evt.type = _dice.pick({0, 1, 4, 6, 7, 8, 9, 10, -1});
        } else if (_dice.is_one_in(15)) {
            evt.param.location.scope = _dice.pick({kryn::ParamScope_NOTE, kryn::ParamScope(1)});
        }
        return evt;
    }

    void make_events(long nbr_spl) {
        long const nbr_evt =
            _dice.is_one_in(3) ? 0 : _dice.pick({1L, 1L, 2L, 3L, _dice.roll(1, 20)});
        std::vector<long> time_arr;
        for (long i = 0; i < nbr_evt; ++i) {
            long const last = std::max(nbr_spl - 1, 0L);
            time_arr.push_back(
                _dice.pick({0L, last, nbr_spl, _dice.roll(0, last), _dice.roll(0, last),
                            _dice.roll(0, last), time_arr.empty() ? 0L : time_arr.back()}));
        }
        std::sort(time_arr.begin(), time_arr.end());
        _evt_arr.clear();
        for (long const time : time_arr) {
            _evt_arr.push_back(make_event(time));
        }
        _evt_ptr_arr.clear();
        for (auto const& evt : _evt_arr) {
            _evt_ptr_arr.push_back(&evt);
        }
    }

    void make_pins(long nbr_spl) {
        for (std::size_t pin = 0; pin < _in->pins.size(); ++pin) {
            _in->pins[pin].state = _dice.is_one_in(4) ? _dice.roll(1, 2) : 0;
            for (std::size_t chn = 0; chn < _in->get_nbr_chn(pin); ++chn) {
                long const offset = _dice.roll(0, 2 * max_len);
                std::memcpy(_in->chn(pin, chn), _noise.data() + offset,
                            static_cast<std::size_t>(nbr_spl) * sizeof(float));
            }
        }
        _in_copy->copy_mem(*_in);
        _out->reset();
        _expected->reset();
        for (std::size_t pin = 0; pin < _out->pins.size(); ++pin) {
            _out->pins[pin].state = _expected->pins[pin].state =
                _dice.is_one_in(6) ? _dice.roll(1, 2) : 0;
        }
    }

    void run_block() {
        long const nbr_spl = _dice.pick({0L, 1L, 2L, _dice.roll(1, 64), _dice.roll(1, 64),
                                         _dice.roll(1, 600), _dice.roll(1, 600), 64L, 512L,
                                         _dice.is_one_in(6) ? _dice.roll(1, max_len) : 256L,
                                         _dice.is_one_in(10) ? max_len : 128L});
        make_events(nbr_spl);
        make_pins(nbr_spl);
        Dsp::EventList const list = {_evt_ptr_arr.empty() ? nullptr : _evt_ptr_arr.data(),
                                     static_cast<long>(_evt_ptr_arr.size())};
        auto const in_pins = _in->pins;
        Dsp::CmdPlug::Process block = {{_in->pins.data()}, {_out->pins.data()}, list, nbr_spl};
        _mixer.process(block);
        for (std::size_t pin = 0; pin < in_pins.size(); ++pin) {
            EXPECT_EQ(in_pins[pin].state, _in->pins[pin].state);
        }
        EXPECT_TRUE(*_in == *_in_copy) << "an input was written";

        block = {{_in->pins.data()}, {_expected->pins.data()}, list, nbr_spl};
        _model.process(block);
        for (std::size_t pin = 0; pin < _out->pins.size(); ++pin) {
            EXPECT_EQ(_expected->pins[pin].state, _out->pins[pin].state);
            _nbr_silent += _out->pins[pin].state == Dsp::State_DIRTY;
            _nbr_sounding += _out->pins[pin].state == Dsp::State_SIGNAL;
        }
        EXPECT_TRUE(*_expected == *_out) << nbr_spl << " frames, " << list.nbr_evt << " events";
    }

    Dice _dice;
    std::vector<float> _noise;
    test::Mixer _mixer;
    test::MixerModel _model;
    std::unique_ptr<MixerBuffers> _in;
    std::unique_ptr<MixerBuffers> _in_copy;
    std::unique_ptr<MixerBuffers> _out;
    std::unique_ptr<MixerBuffers> _expected;
    std::vector<Dsp::Event> _evt_arr;
    std::vector<Dsp::Event const*> _evt_ptr_arr;
    long _nbr_silent = 0;
    long _nbr_sounding = 0;
};

// TESSITONE_SWEEP multiplies the number of lives.
unsigned int get_nbr_lives() {
    char const* const sweep = std::getenv("TESSITONE_SWEEP");
    return 100 * (sweep != nullptr ? static_cast<unsigned int>(std::atoi(sweep)) : 1);
}

} // namespace

TEST(DryWetModelTest, BlocksAreThoseOfTheModelToTheBit) {
    long nbr_silent = 0;
    long nbr_sounding = 0;
    for (unsigned int seed = 0; seed < get_nbr_lives() && !HasFailure(); ++seed) {
        SCOPED_TRACE(seed);
        Duel duel(seed);
        duel.run(300);
        nbr_silent += duel.get_nbr_silent();
        nbr_sounding += duel.get_nbr_sounding();
    }
    // The sweep went where it should.
    EXPECT_GT(nbr_silent, 1000);
    EXPECT_GT(nbr_sounding, 1000);
}
