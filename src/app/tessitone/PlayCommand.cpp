#include "host/Error.h"
#include "host/live/DeviceModule.h"
#include "host/live/PlayJob.h"
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
using ulk::host::live::Player;
using ulk::host::live::PlayJob;
using ulk::host::live::PlayReport;

constexpr double watch_period = 0.1; // s

struct Arguments {
    PlayJob::Settings settings;
    bool json_flag = false;
};

PlayJob::Wish read_wish(ulk::sys::KeyReader& keys) {
    using ulk::sys::KeyReader;
    if (ulk::sys::Interrupt::is_asked()) {
        return PlayJob::Wish::STOP;
    }
    switch (keys.read(watch_period)) {
    case ' ':
        return PlayJob::Wish::PAUSE;
    case 'n':
        return PlayJob::Wish::NEXT;
    case 'p':
        return PlayJob::Wish::PREVIOUS;
    case 'q':
        return PlayJob::Wish::STOP;
    case KeyReader::Key_HOME:
        return PlayJob::Wish::BEGINNING;
    case KeyReader::Key_LEFT:
        return PlayJob::Wish::BACK;
    case KeyReader::Key_RIGHT:
        return PlayJob::Wish::FORTH;
    default:
        return PlayJob::Wish::NONE;
    }
}

void show(PlayJob::View const& view, int nbr_chn) {
    Player::State const& state = view.state;
    std::string const mode = state.loading_flag ? "loading "
                             : state.pause_flag ? "paused  "
                                                : "playing ";
    StatusLine::show(
        mode + ulk::host::render::TimeText::print(state.time, 1) +
        (view.cue.empty() ? "" : "  " + view.cue) + "  " + std::to_string(state.nbr_voices) +
        (state.nbr_voices == 1 ? " voice " : " voices ") + Levels::print(state.peaks, nbr_chn) +
        "  cache " + std::to_string(state.nbr_cells_full) + "/" + std::to_string(state.nbr_cells) +
        "  holes " + std::to_string(state.nbr_lost) + "  xruns " + std::to_string(view.nbr_xruns));
}

std::string print_rates(Device::Info const& info) {
    std::string txt;
    for (auto const freq : info.freq_arr) {
        txt += (txt.empty() ? ", " : " ") + std::to_string(freq);
    }
    return txt.empty() ? txt : txt + " Hz";
}

PlayReport run_job(Context const& context, PlayJob::Settings const& settings) {
    ulk::host::Bundle bundle(context.find_bundle());
    DeviceModule devices(context.find_folder());
    ulk::sys::KeyReader keys;
    bool const show_flag = ulk::sys::Terminal::is_stderr_terminal();
    int nbr_chn = 0;
    PlayReport const report = PlayJob::run(
        bundle, settings,
        [&](Device::Settings const& wish) {
            nbr_chn = wish.nbr_out;
            return devices.open(wish);
        },
        [](std::string const& txt) { std::fputs(txt.c_str(), stderr); },
        [&](PlayJob::View const& view) {
            if (show_flag) {
                show(view, nbr_chn);
            }
            return read_wish(keys);
        });
    if (show_flag) {
        std::fputc('\n', stderr);
    }
    return report;
}

void play(Context const& context, Arguments const& args) {
    ulk::sys::Interrupt::install();
    PlayReport const report = run_job(context, args.settings);
    std::string const txt = args.json_flag ? print_json(report.make_json()) : report.print();
    std::fputs(txt.c_str(), stdout);
    if (report.failure) {
        throw *report.failure;
    }
    if (report.is_lossy()) {
        throw Error(Error::Kind_LOST, "played, but not all was heard as it should be; see the "
                                      "report");
    }
}

void list_devices(Context const& context, bool json_flag) {
    DeviceModule devices(context.find_folder());
    auto json = nlohmann::json::array();
    for (Device::Info const& info : devices.list_devices()) {
        json.push_back({{"name", info.name},
                        {"system", info.system},
                        {"outputs", info.nbr_out},
                        {"inputs", info.nbr_in},
                        {"plays_by_default", info.default_out_flag},
                        {"records_by_default", info.default_in_flag},
                        {"rates", info.freq_arr}});
        if (!json_flag) {
            std::printf("%s:%s: %d out, %d in%s%s%s\n", info.system.c_str(), info.name.c_str(),
                        info.nbr_out, info.nbr_in, print_rates(info).c_str(),
                        info.default_out_flag ? "; plays by default" : "",
                        info.default_in_flag ? "; records by default" : "");
        }
    }
    if (json_flag) {
        std::fputs(print_json(json).c_str(), stdout);
    }
    if (!devices.get_failure().empty()) {
        std::fprintf(stderr, "tessitone: there may be more sound devices: %s\n",
                     devices.get_failure().c_str());
    }
}

} // namespace

void add_play_command(CLI::App& app, Context& context) {
    CLI::App* const command = app.add_subcommand(
        "play",
        "Play a session. Keys: space pauses, the left and right arrows jump by 5 s, Home to "
        "the beginning, n and p to the next cue and the one before, q stops");
    auto const args = std::make_shared<Arguments>();
    auto& settings = args->settings;
    add_bundle_option(*command, context);
    add_session_argument(*command, settings.session_path, "Session to play, TOML or JSON");
    add_device_option(*command, settings.device);
    add_from_option(*command, settings.from);
    command->add_option("--loop", settings.loop, "Go round from A to B")
        ->type_name("A B")
        ->expected(2);
    check_rate_option(command->add_option("--rate", settings.sample_freq,
                                          "Sample rate in Hz; the session's by default"));
    command->add_option("--block", settings.block_len, "Block length in frames, as a wish")
        ->type_name("N")
        ->check(CLI::Range(16, 4096))
        ->capture_default_str();
    command->add_flag("--json", args->json_flag, "Print the report as JSON");
    command->callback([&context, args] { play(context, *args); });
}

void add_devices_command(CLI::App& app, Context& context) {
    CLI::App* const command = app.add_subcommand("devices", "List the sound devices");
    auto const json_flag = std::make_shared<bool>(false);
    add_bundle_option(*command, context);
    command->add_flag("--json", *json_flag, "As JSON");
    command->callback([&context, json_flag] { list_devices(context, *json_flag); });
}

} // namespace tessitone
