#include "host/Error.h"
#include "host/RenderJob.h"
#include "host/render/WaveText.h"
#include "tessitone/Commands.h"
#include "tessitone/JsonText.h"
#include "tessitone/Options.h"
#include "tessitone/Progress.h"
#include "ulk/sys/DescriptorOut.h"
#include "ulk/sys/Interrupt.h"
#include "ulk/sys/ThreadMgr.h"

#include <nlohmann/json.hpp>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>

namespace tessitone {

namespace {

using ulk::host::Error;
using ulk::host::RenderJob;
using ulk::host::render::OutputFormat;
using ulk::host::render::RenderReport;
using ulk::host::render::WaveText;

constexpr int picture_width = 100; // characters

struct Arguments {
    RenderJob::Settings settings;
    std::string format = "s24";
    std::string quality = "fast";
    long cache_mb = 0;
    bool json_flag = false;
    bool quiet_flag = false;
    bool picture_flag = false;
};

bool is_locale_utf8() {
    for (char const* const name : {"LC_ALL", "LC_CTYPE", "LANG"}) {
        char const* const val = std::getenv(name);
        if (val != nullptr && val[0] != '\0') {
            std::string const txt = val;
            return txt.find("UTF-8") != std::string::npos || txt.find("utf8") != std::string::npos;
        }
    }
    return false;
}

void write_report(std::string const& path, RenderReport const& report) {
    std::ofstream out(path);
    out << print_json(report.make_json());
    out.close();
    if (!out) {
        throw Error(Error::Kind_IO, path + ": the report cannot be written");
    }
}

// Standard output belongs to the sound when that goes there.
void print_report(Arguments const& args, RenderJob::Result const& result) {
    RenderReport const& report = result.report;
    if (!args.settings.report_path.empty()) {
        write_report(args.settings.report_path, report);
    }
    std::FILE* const out = args.settings.out_path == "-" ? stderr : stdout;
    if (args.json_flag) {
        std::fputs(print_json(report.make_json()).c_str(), out);
    } else if (!args.quiet_flag) {
        std::fputs(report.print().c_str(), out);
        if (result.envelope) {
            std::fputs(WaveText::print(*result.envelope, picture_width, is_locale_utf8()).c_str(),
                       out);
        }
    }
}

void render(Context const& context, Arguments& args) {
    auto& settings = args.settings;
    settings.bit_fmt = OutputFormat::find_bit_fmt(args.format);
    settings.best_flag = args.quality == "best";
    settings.cache_len = static_cast<long long>(args.cache_mb) * 1000000;
    settings.measure_flag = !args.quiet_flag || args.json_flag || !settings.report_path.empty();
    if (settings.out_path.empty()) {
        settings.out_path =
            std::filesystem::path(settings.session_path).filename().replace_extension(".wav");
    }
    settings.envelope_flag = args.picture_flag;
    ulk::sys::DescriptorOut::ignore_gone_readers();
    ulk::sys::Interrupt::install();
    ulk::host::Bundle bundle(context.find_bundle());
    std::unique_ptr<Progress> progress;
    std::string label;
    RenderJob::Result const result = RenderJob::run(
        bundle, settings,
        [&](std::string const& txt) {
            if (!args.quiet_flag) {
                std::fputs(txt.c_str(), stderr);
            }
        },
        [&](char const* phase, long long done, long long total) {
            if (!args.quiet_flag && label != phase) {
                label = phase;
                progress.reset();
                progress = std::make_unique<Progress>(label);
            }
            if (progress != nullptr) {
                progress->show(done, total);
            }
            return !ulk::sys::Interrupt::is_asked();
        });
    progress.reset();
    print_report(args, result);
    RenderReport const& report = result.report;
    if (report.is_lossy(settings.strict_flag)) {
        throw Error(Error::Kind_LOST, report.stopped_flag
                                          ? "stopped; what was rendered is in the file"
                                          : "rendered, but something was lost; see the report");
    }
}

void add_span_options(CLI::App& command, RenderJob::Settings& settings) {
    add_from_option(command, settings.from);
    command.add_option("--to", settings.to, "End there; by default behind the last clip")
        ->type_name("T");
    command.add_option("--tail", settings.tail, "Go on so long behind the last clip")
        ->type_name("T");
}

void add_engine_options(CLI::App& command, Arguments& args) {
    auto& settings = args.settings;
    check_rate_option(command.add_option("--rate", settings.sample_freq,
                                         "Sample rate in Hz; the session's by default"));
    command.add_option("--block", settings.block_len, "Block length in frames")
        ->type_name("N")
        ->check(CLI::Range(16, 65536))
        ->capture_default_str();
    command
        .add_option("--jobs", settings.nbr_jobs, "Threads; the sound is the same for any number")
        ->type_name("N")
        ->check(CLI::Range(1, 256))
        ->capture_default_str();
    command
        .add_option("--quality", args.quality,
                    "fast interpolates; best converts samples once, and keeps them in a cache")
        ->type_name("fast|best")
        ->check(CLI::IsMember({"fast", "best"}))
        ->capture_default_str();
    command
        .add_option("--cache", args.cache_mb,
                    "Memory for samples in MB; by default what the session asks for")
        ->type_name("N")
        ->check(CLI::Range(1, 1000000));
}

void add_output_options(CLI::App& command, Arguments& args) {
    auto& settings = args.settings;
    command
        .add_option("-o,--output", settings.out_path,
                    "WAV file to write, - for standard output; by default the session's name")
        ->type_name("FILE");
    add_format_option(command, args.format, "Samples of the output");
    command
        .add_option("--stems", settings.stem_folder,
                    "Write a file for each track that feeds the mix, too; they sum to it")
        ->type_name("DIR");
    command.add_flag("--strict", settings.strict_flag,
                     "Refuse a session with missing samples; let clipping count as a loss");
    command.add_flag("--json", args.json_flag, "Print the report as JSON");
    command.add_option("--report", settings.report_path, "Write the report to a JSON file")
        ->type_name("FILE");
    command.add_option("--plot", settings.plot_path, "Draw the mix into a .png or .svg file")
        ->type_name("FILE");
    command.add_flag("--picture", args.picture_flag, "Draw the mix behind the report, too");
    command.add_flag("-q,--quiet", args.quiet_flag, "Print errors alone, and measure nothing");
}

} // namespace

void add_render_command(CLI::App& app, Context& context) {
    CLI::App* const command = app.add_subcommand("render", "Render a session into a WAV file");
    auto const args = std::make_shared<Arguments>();
    add_bundle_option(*command, context);
    add_session_argument(*command, args->settings.session_path, "Session to render, TOML or JSON");
    add_output_options(*command, *args);
    add_span_options(*command, args->settings);
    add_engine_options(*command, *args);
    command->callback([&context, args] { render(context, *args); });
}

} // namespace tessitone
