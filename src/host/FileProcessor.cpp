#include "host/FileProcessor.h"

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

// A plug-in on its way from a file to a file of the same channel count.
std::unique_ptr<Plugin> prepare(Bundle& bundle, FileProcessor::Settings const& settings,
                                SoundFileFormat const& format) {
    auto plugin = bundle.instantiate(settings.plug_id);
    plugin->init();
    plugin->set_sample_freq(format.sample_freq);
    plugin->set_process_block_len(settings.block_len);
    PinConf const wish{{format.nbr_chn}, {format.nbr_chn}};
    PinConf conf = wish;
    if (plugin->negotiate_pin_conf(conf) != Dsp::CmdPlug::NegoResult_OK || conf != wish) {
        throw Error(Error::Kind_USE, settings.plug_id + ": does not take one input of " +
                                         std::to_string(format.nbr_chn) +
                                         " channels to one output of as many");
    }
    plugin->set_pin_conf(conf);
    plugin->activate();
    return plugin;
}

void check_files(FileProcessor::Settings const& settings) {
    std::error_code ec;
    if (std::filesystem::equivalent(settings.in_path, settings.out_path, ec)) {
        throw Error(Error::Kind_USE, settings.out_path + ": input and output are the same file");
    }
}

} // namespace

double FileProcessor::Result::get_speed() const {
    return get_duration() / std::max(elapsed, 1e-9);
}

FileProcessor::Result FileProcessor::run(Bundle& bundle, Settings const& settings,
                                         Progress const& progress) {
    SoundFileReader reader(settings.in_path);
    check_files(settings);
    SoundFileFormat const& format = reader.get_format();
    auto const plugin = prepare(bundle, settings, format);
    PinBuffers in({format.nbr_chn}, settings.block_len);
    PinBuffers out({format.nbr_chn}, settings.block_len);
    SoundFileWriter writer(settings.out_path, format);

    Result result{0, format.sample_freq, 0};
    auto const start = Clock::now();
    for (;;) {
        long const len = reader.read(in.use_pin(0).chn_arr, settings.block_len);
        if (len == 0) {
            break;
        }
        in.set_all_states(Dsp::State_SIGNAL);
        out.set_all_states(Dsp::State_SIGNAL);
        Dsp::CmdPlug::Process block = {in.use_port(), out.use_port(), {nullptr, 0}, len};
        plugin->process(block);
        if (out.use_pin(0).state == Dsp::State_DIRTY) {
            out.clear_pin(0, len);
        }
        writer.write(out.use_pin(0).chn_arr, len);
        result.nbr_frames += len;
        progress(result.nbr_frames, reader.get_len());
    }
    writer.close();
    plugin->deactivate();
    result.elapsed = std::chrono::duration<double>(Clock::now() - start).count();
    return result;
}

} // namespace ulk::host
