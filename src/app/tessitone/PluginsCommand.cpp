#include "host/Bundle.h"
#include "tessitone/Commands.h"

#include <iostream>

namespace tessitone {

void add_plugins_command(CLI::App& app, Context& context) {
    CLI::App* const command = app.add_subcommand("plugins", "List the plug-ins of a bundle");
    add_bundle_option(*command, context);
    command->callback([&context] {
        ulk::host::Bundle bundle(context.find_bundle());
        for (auto const& id : bundle.list_plugins()) {
            std::cout << id << '\n';
        }
    });
}

} // namespace tessitone
