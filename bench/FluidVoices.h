#pragma once

#include <fluidsynth.h>

#include <cmath>
#include <vector>

namespace bench {

// FluidSynth playing one mono sample of 16 bits, looped as a whole, on many voices at once: linear
// interpolation, no reverb and no chorus. Its voices also have envelopes, modulators and a filter,
// which stand still at their defaults.
class FluidVoices {
public:
    // rate: source frames per output frame. pan: -1 to 1, of each voice in turn.
    FluidVoices(std::vector<short> data, int nbr_voices, double rate, std::vector<double> pan)
        : _data(std::move(data)) {
        fluid_settings_setnum(_settings, "synth.sample-rate", freq);
        fluid_settings_setint(_settings, "synth.polyphony", nbr_voices);
        fluid_settings_setint(_settings, "synth.reverb.active", 0);
        fluid_settings_setint(_settings, "synth.chorus.active", 0);
        _synth = new_fluid_synth(_settings);
        fluid_synth_set_interp_method(_synth, -1, FLUID_INTERP_LINEAR);

        auto const len = static_cast<unsigned int>(_data.size());
        fluid_sample_set_sound_data(_sample, _data.data(), nullptr, len, freq, 0);
        fluid_sample_set_loop(_sample, 0, len - 1);
        fluid_sample_set_pitch(_sample, key, 0);
        for (int n = 0; n < nbr_voices; ++n) {
            start(rate, pan[static_cast<std::size_t>(n) % pan.size()]);
        }
    }
    ~FluidVoices() {
        delete_fluid_synth(_synth);
        delete_fluid_sample(_sample);
        delete_fluid_settings(_settings);
    }
    FluidVoices(FluidVoices const&) = delete;
    FluidVoices& operator=(FluidVoices const&) = delete;

    int get_nbr_voices() const { return fluid_synth_get_active_voice_count(_synth); }
    void process(float* left, float* right, long len) {
        fluid_synth_write_float(_synth, static_cast<int>(len), left, 0, 1, right, 0, 1);
    }

private:
    static constexpr int freq = 48000;
    static constexpr int key = 60;

    void start(double rate, double pan) {
        fluid_voice_t* const voice = fluid_synth_alloc_voice(_synth, _sample, 0, key, 127);
        fluid_voice_gen_set(voice, GEN_SAMPLEMODE, 1); // loops
        fluid_voice_gen_set(voice, GEN_FINETUNE, static_cast<float>(1200 * std::log2(rate)));
        fluid_voice_gen_set(voice, GEN_PAN, static_cast<float>(pan * 500));
        fluid_synth_start_voice(_synth, voice);
    }

    std::vector<short> _data;
    fluid_settings_t* _settings = new_fluid_settings();
    fluid_sample_t* _sample = new_fluid_sample();
    fluid_synth_t* _synth = nullptr;
};

} // namespace bench
