#include "host/FileProcessor.h"

#include "host/Automation.h"
#include "host/Bundle.h"
#include "host/Error.h"
#include "host/PinBuffers.h"
#include "host/SoundFileReader.h"
#include "host/SoundFileWriter.h"

#include <algorithm>
#include <chrono>
#include <filesystem>

namespace ulk::host {

namespace {

using Dsp = kryn::PluginDsp;
using Clock = std::chrono::steady_clock;

// The input files, side by side.
class Inputs {
public:
    explicit Inputs(FileProcessor::Settings const& settings) {
        for (std::string const& path : settings.in_path_arr) {
            auto& reader = *_reader_arr.emplace_back(std::make_unique<SoundFileReader>(path));
            std::error_code ec;
            if (std::filesystem::equivalent(path, settings.out_path, ec)) {
                throw Error(Error::Kind_USE, path + ": input and output are the same file");
            }
            if (reader.get_format().sample_freq != get_format().sample_freq) {
                throw Error(Error::Kind_USE,
                            path + ": its sample frequency is not that of the first input");
            }
            _chn_arr.push_back(reader.get_format().nbr_chn);
            _len = std::max(_len, reader.get_len());
        }
    }

    SoundFileFormat const& get_format() const { return _reader_arr.front()->get_format(); }
    std::vector<long> const& use_chn_arr() const { return _chn_arr; } // by file
    long long get_len() const { return _len; }                        // frames of the longest

    // Fills the pins; returns the frames of the longest, 0 at the end.
    long read(PinBuffers& pins) {
        long max_read = 0;
        for (long pin = 0; pin < pins.get_nbr_pins(); ++pin) {
            auto& reader = *_reader_arr[static_cast<std::size_t>(pin)];
            long const nbr_read = reader.read(pins.use_pin(pin).chn_arr, pins.get_max_len());
            for (long chn = 0; chn < pins.get_nbr_chn(pin); ++chn) {
                std::fill(pins.use_chn(pin, chn) + nbr_read,
                          pins.use_chn(pin, chn) + pins.get_max_len(), 0.0f);
            }
            pins.use_pin(pin).state = nbr_read > 0 ? Dsp::State_SIGNAL : Dsp::State_CLEARED;
            max_read = std::max(max_read, nbr_read);
        }
        return max_read;
    }

private:
    std::vector<std::unique_ptr<SoundFileReader>> _reader_arr;
    std::vector<long> _chn_arr;
    long long _len = 0;
};

std::unique_ptr<Plugin> prepare(Bundle& bundle, FileProcessor::Settings const& settings,
                                Inputs const& inputs) {
    auto plugin = bundle.instantiate(settings.plug_id);
    plugin->init();
    plugin->set_sample_freq(inputs.get_format().sample_freq);
    plugin->set_process_block_len(settings.block_len);
    PinConf const wish{inputs.use_chn_arr(), {inputs.get_format().nbr_chn}};
    PinConf conf = wish;
    if (plugin->negotiate_pin_conf(conf) != Dsp::CmdPlug::NegoResult_OK || conf != wish) {
        std::string text = settings.plug_id + ": does not take ";
        for (std::size_t pin = 0; pin < wish.in.size(); ++pin) {
            text += (pin > 0 ? " and " : "") + std::string("one input of ") +
                    std::to_string(wish.in[pin]) + " channels";
        }
        throw Error(Error::Kind_USE,
                    text + " to one output of " + std::to_string(wish.out[0]) + " channels");
    }
    plugin->set_pin_conf(conf);
    plugin->activate();
    return plugin;
}

// Brings the parameters to where they start. They are told with a silent frame that nobody hears,
// and what fades in is brought to its end, so that the first frame of the file is whole.
void start(Plugin& plugin, Automation&& setting, PinBuffers& in, PinBuffers& out) {
    in.set_all_states(Dsp::State_DIRTY);
    out.set_all_states(Dsp::State_CLEARED);
    Dsp::CmdPlug::Process block = {in.use_port(), out.use_port(), setting.find_block(0, 1), 1};
    plugin.process(block);
    plugin.clear_buffers();
}

} // namespace

double FileProcessor::Result::get_speed() const {
    return get_duration() / std::max(elapsed, 1e-9);
}

FileProcessor::Result FileProcessor::run(Bundle& bundle, Settings const& settings,
                                         Progress const& progress) {
    Inputs inputs(settings);
    SoundFileFormat const& format = inputs.get_format();
    auto const plugin = prepare(bundle, settings, inputs);
    ParamTable const params(*plugin);
    PinBuffers in(inputs.use_chn_arr(), settings.block_len);
    PinBuffers out({format.nbr_chn}, settings.block_len);
    start(*plugin, Automation(params, settings.start_arr, format.sample_freq), in, out);
    Automation automation(params, settings.change_arr, format.sample_freq);
    SoundFileWriter writer(settings.out_path, format);

    Result result{0, format.sample_freq, 0};
    auto const start_time = Clock::now();
    while (long const len = inputs.read(in)) {
        out.set_all_states(Dsp::State_SIGNAL);
        Dsp::CmdPlug::Process block = {in.use_port(), out.use_port(),
                                       automation.find_block(result.nbr_frames, len), len};
        plugin->process(block);
        if (out.use_pin(0).state == Dsp::State_DIRTY) {
            out.clear_pin(0, len);
        }
        writer.write(out.use_pin(0).chn_arr, len);
        result.nbr_frames += len;
        progress(result.nbr_frames, inputs.get_len());
    }
    writer.close();
    plugin->deactivate();
    result.elapsed = std::chrono::duration<double>(Clock::now() - start_time).count();
    return result;
}

} // namespace ulk::host
