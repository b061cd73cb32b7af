#include "host/Error.h"
#include "host/live/DeviceModule.h"
#include "host/live/RecordJob.h"
#include "host/render/OutputFormat.h"
#include "host/render/TimeText.h"
#include "tessitone/Commands.h"
#include "tessitone/JsonText.h"
#include "tessitone/Options.h"
#include "tessitone/StatusLine.h"
#include "ulk/sys/Interrupt.h"
#include "ulk/sys/KeyReader.h"
#include "ulk/sys/Terminal.h"

#include <cstdio>
#include <memory>

namespace tessitone {

namespace {

using ulk::host::Error;
using ulk::host::live::Device;
using ulk::host::live::DeviceModule;
using ulk::host::live::Levels;
using ulk::host::live::RecordJob;
using ulk::host::render::OutputFormat;
using ulk::host::render::TimeText;

constexpr double watch_period = 0.05; // s

struct Arguments {
    RecordJob::Settings settings;
    std::string format = "s24";
    bool json_flag = false;
};

void show(RecordJob::View const& view, int nbr_chn) {
    StatusLine::show("recording " + TimeText::print(view.time, 1) + " " +
                     Levels::print(view.peaks, nbr_chn) + "  lost " +
                     std::to_string(view.nbr_lost) + "  xruns " + std::to_string(view.nbr_xruns) +
                     " (q stops)");
}

void print(RecordJob::Settings const& settings, RecordJob::Result const& result) {
    std::printf(
        "%s: %s from %s, %lld frames lost, %ld xruns\n  peaks    %s\n%s%s", settings.path.c_str(),
        TimeText::print(static_cast<double>(result.nbr_frames) / result.sample_freq, 3).c_str(),
        result.device.c_str(), result.nbr_lost, result.nbr_xruns,
        Levels::print(result.peaks, settings.nbr_chn).c_str(), result.times.print().c_str(),
        result.gaps.print(result.sample_freq).c_str());
}

nlohmann::json make_json(RecordJob::Settings const& settings, RecordJob::Result const& result) {
    nlohmann::json json = {
        {"file", settings.path},
        {"device", result.device},
        {"rate", result.sample_freq},
        {"channels", settings.nbr_chn},
        {"frames", result.nbr_frames},
        {"lost_frames", result.nbr_lost},
        {"gaps", result.gaps.make_json(result.sample_freq)},
        {"gap_count", result.gaps.get_nbr_gaps()},
        {"xruns", result.nbr_xruns},
        {"peaks_db", Levels::make_json(result.peaks, settings.nbr_chn)},
        {"real_time", result.real_time ? nlohmann::json(*result.real_time) : nlohmann::json()},
        {"full", result.full_flag},
        {"failure", result.failure ? nlohmann::json(result.failure->what()) : nlohmann::json()}};
    result.times.write(json);
    return json;
}

// What went wrong becomes the exit code.
void judge(RecordJob::Settings const& settings, RecordJob::Result const& result) {
    if (result.real_time == false) {
        std::fprintf(stderr, "tessitone: %s\n", Device::priority_advice);
    }
    if (result.failure) {
        throw *result.failure;
    }
    if (result.full_flag) {
        throw Error(Error::Kind_LOST, settings.path + ": ended, since a WAV file can hold no more");
    }
    if (result.nbr_lost > 0 || result.nbr_xruns > 0) {
        throw Error(Error::Kind_LOST, settings.path + ": recorded, but something was lost");
    }
}

void record(Context const& context, Arguments& args) {
    args.settings.bit_fmt = OutputFormat::find_bit_fmt(args.format);
    ulk::sys::Interrupt::install();
    DeviceModule devices(context.find_folder());
    ulk::sys::KeyReader keys;
    bool const show_flag = ulk::sys::Terminal::is_stderr_terminal();
    auto const result = RecordJob::run(
        args.settings, [&](Device::Settings const& wish) { return devices.open(wish); },
        [&](RecordJob::View const& view) {
            if (show_flag) {
                show(view, args.settings.nbr_chn);
            }
            return keys.read(watch_period) != 'q' && !ulk::sys::Interrupt::is_asked();
        });
    if (show_flag) {
        std::fputc('\n', stderr);
    }
    if (args.json_flag) {
        std::fputs(print_json(make_json(args.settings, result)).c_str(), stdout);
    } else {
        print(args.settings, result);
    }
    judge(args.settings, result);
}

} // namespace

void add_record_command(CLI::App& app, Context& context) {
    CLI::App* const command =
        app.add_subcommand("record", "Record from a sound device until q or Ctrl-C");
    auto const args = std::make_shared<Arguments>();
    auto& settings = args->settings;
    add_bundle_option(*command, context);
    command->add_option("output", settings.path, "WAV file to write")
        ->type_name("OUT.wav")
        ->required();
    add_device_option(*command, settings.device);
    command->add_option("--channels", settings.nbr_chn, "Channels")
        ->type_name("N")
        ->check(CLI::Range(1, ulk::host::live::max_nbr_chn))
        ->capture_default_str();
    add_format_option(*command, args->format, "Samples of the file");
    check_rate_option(command->add_option("--rate", settings.sample_freq, "Sample rate in Hz"))
        ->capture_default_str();
    command->add_option("--length", settings.len, "Stop after so many seconds")
        ->type_name("S")
        ->check(CLI::Range(0.001, 1e6));
    command->add_flag("--json", args->json_flag, "Print the report as JSON");
    command->callback([&context, args] { record(context, *args); });
}

} // namespace tessitone
