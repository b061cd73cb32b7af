#include "host/AutomationFile.h"
#include "host/Bundle.h"
#include "host/Error.h"
#include "host/FileProcessor.h"
#include "tessitone/Commands.h"
#include "tessitone/Progress.h"

#include <cstdio>
#include <map>
#include <memory>
#include <utility>

namespace tessitone {

namespace {

using ulk::host::AutomationFile;
using ulk::host::Error;
using ulk::host::FileProcessor;
using ulk::host::ParamChange;

struct Arguments {
    FileProcessor::Settings settings;
    std::vector<std::string> path_arr; // IN OUT, or OUT behind --in
};

void process(Context const& context, FileProcessor::Settings const& settings) {
    ulk::host::Bundle bundle(context.find_bundle());
    FileProcessor::Result result;
    {
        Progress progress(settings.plug_id);
        result = FileProcessor::run(bundle, settings, [&progress](long long done, long long total) {
            progress.show(done, total);
        });
    }
    std::printf("%s: %lld frames, %.3f s, %.0f times faster than real time\n",
                settings.out_path.c_str(), result.nbr_frames, result.get_duration(),
                result.get_speed());
}

// "Name=value", the name without an equal sign.
ParamChange read_change(std::string const& txt, std::string const& origin) {
    auto const pos = txt.find('=');
    if (pos == std::string::npos || pos == 0) {
        throw Error(Error::Kind_USE, origin + ": \"" + txt + "\" is no NAME=VALUE");
    }
    return {origin, 0, txt.substr(0, pos), txt.substr(pos + 1), 0};
}

// The options that change parameters, in the order of the command line.
class ChangeOptions {
public:
    explicit ChangeOptions(CLI::App& command)
        : _command(command)
        , _set(*command.add_option("--set", "Parameter at the start; by name or index")
                    ->type_name("NAME=VALUE"))
        , _at(*command.add_option("--at", "Parameter from a time in seconds on")
                   ->type_name("TIME NAME=VALUE"))
        , _ramp(*command
                     .add_option("--ramp", "The change of the preceding --at takes so many seconds")
                     ->type_name("SECONDS"))
        , _automation(
              *command
                   .add_option("--automation", "Text file of changes: time,parameter,value,ramp")
                   ->type_name("FILE")) {
        for (CLI::Option* const option : {&_set, &_at, &_ramp, &_automation}) {
            option->type_size(option == &_at ? 2 : 1)
                ->expected(1)
                ->allow_extra_args(false)
                ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
        }
    }

    void read(FileProcessor::Settings& settings) const {
        std::map<CLI::Option const*, std::size_t> pos_map; // results used so far
        bool at_flag = false;                              // a --at waits for its ramp
        auto& change_arr = settings.change_arr;
        // An option stands there once for each of its values.
        for (CLI::Option const* const option : _command.parse_order()) {
            std::size_t const pos = pos_map[option]++;
            std::string const& txt = option->results()[pos];
            if (option == &_set) {
                settings.start_arr.push_back(read_change(txt, "--set"));
            } else if (option == &_at && pos % 2 == 1) {
                std::string const& time = option->results()[pos - 1];
                change_arr.push_back(read_change(txt, "--at " + time));
                change_arr.back().time = AutomationFile::read_time(time, "--at", "time");
                at_flag = true;
            } else if (option == &_ramp) {
                if (!std::exchange(at_flag, false)) {
                    throw Error(Error::Kind_USE, "--ramp " + txt + ": belongs behind an --at");
                }
                change_arr.back().ramp_time = AutomationFile::read_time(txt, "--ramp", "ramp");
            } else if (option == &_automation) {
                auto const file_arr = AutomationFile::read(txt);
                change_arr.insert(change_arr.end(), file_arr.begin(), file_arr.end());
                at_flag = false;
            }
        }
    }

private:
    CLI::App& _command;
    CLI::Option& _set;
    CLI::Option& _at;
    CLI::Option& _ramp;
    CLI::Option& _automation;
};

// Sorts out which of the files is which.
void settle_paths(Arguments& args) {
    auto& settings = args.settings;
    std::size_t const expected = settings.in_path_arr.empty() ? 2 : 1;
    if (args.path_arr.size() < expected) {
        throw Error(Error::Kind_USE, expected == 2
                                         ? "process: IN and OUT are required, or --in and OUT"
                                         : "process: behind --in, OUT is required");
    }
    if (args.path_arr.size() > expected) {
        throw Error(Error::Kind_USE,
                    "process: " + args.path_arr[expected] + " is one file too many");
    }
    settings.out_path = args.path_arr.back();
    if (expected == 2) {
        settings.in_path_arr = {args.path_arr.front()};
    }
}

} // namespace

void add_process_command(CLI::App& app, Context& context) {
    CLI::App* const command =
        app.add_subcommand("process", "Run sound files through a plug-in, block by block");
    auto const args = std::make_shared<Arguments>();
    auto& settings = args->settings;
    add_bundle_option(*command, context);
    command->add_option("--plugin", settings.plug_id, "Identifier of the plug-in")
        ->type_name("ID")
        ->required();
    command->add_option("--block", settings.block_len, "Block length in frames")
        ->type_name("N")
        ->check(CLI::Range(1, 1 << 20))
        ->capture_default_str();
    command->add_option("--in", settings.in_path_arr, "Sound file for the next input pin")
        ->type_name("FILE")
        ->expected(1)
        ->allow_extra_args(false)
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
    auto const changes = std::make_shared<ChangeOptions>(*command);
    command
        ->add_option("files", args->path_arr,
                     "Sound file to read, unless --in names some, and the one to write, in the "
                     "(first) input's encoding")
        ->type_name("[IN] OUT");
    command->callback([&context, args, changes] {
        settle_paths(*args);
        changes->read(args->settings);
        process(context, args->settings);
    });
}

} // namespace tessitone
