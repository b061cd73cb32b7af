#include "tessitone/Commands.h"
#include "tessitone/Completion.h"

#include <cstdio>
#include <memory>

namespace tessitone {

void add_completion_command(CLI::App& app) {
    CLI::App* const command = app.add_subcommand(
        "completion", "Print the script by which a shell completes the command line");
    auto const shell = std::make_shared<std::string>();
    command->add_option("shell", *shell, "Which shell")
        ->required()
        ->check(CLI::IsMember({"bash", "zsh", "fish"}));
    command->callback([&app, shell] {
        Completion const completion(app);
        std::string const txt = *shell == "bash"  ? completion.make_bash()
                                : *shell == "zsh" ? completion.make_zsh()
                                                  : completion.make_fish();
        std::fputs(txt.c_str(), stdout);
    });
}

} // namespace tessitone
