#include "host/Bundle.h"
#include "host/FileProcessor.h"
#include "tessitone/Commands.h"
#include "tessitone/Progress.h"

#include <cstdio>
#include <memory>

namespace tessitone {

namespace {

void process(Context const& context, ulk::host::FileProcessor::Settings const& settings) {
    ulk::host::Bundle bundle(context.find_bundle());
    ulk::host::FileProcessor::Result result;
    {
        Progress progress(settings.plug_id);
        result = ulk::host::FileProcessor::run(
            bundle, settings,
            [&progress](long long done, long long total) { progress.show(done, total); });
    }
    std::printf("%s: %lld frames, %.3f s, %.0f times faster than real time\n",
                settings.out_path.c_str(), result.nbr_frames, result.get_duration(),
                result.get_speed());
}

} // namespace

void add_process_command(CLI::App& app, Context& context) {
    CLI::App* const command =
        app.add_subcommand("process", "Run a sound file through a plug-in, block by block");
    auto const settings = std::make_shared<ulk::host::FileProcessor::Settings>();
    add_bundle_option(*command, context);
    command->add_option("--plugin", settings->plug_id, "Identifier of the plug-in")
        ->type_name("ID")
        ->required();
    command->add_option("--block", settings->block_len, "Block length in frames")
        ->type_name("N")
        ->check(CLI::Range(1, 1 << 20))
        ->capture_default_str();
    command->add_option("in", settings->in_path, "Sound file to read")->type_name("IN")->required();
    command->add_option("out", settings->out_path, "Sound file to write, in the input's encoding")
        ->type_name("OUT")
        ->required();
    command->callback([&context, settings] { process(context, *settings); });
}

} // namespace tessitone
