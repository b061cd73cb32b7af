#include "tessitone/Options.h"

#include "host/render/OutputFormat.h"

namespace tessitone {

void add_session_argument(CLI::App& command, std::string& path, char const* text) {
    command.add_option("session", path, text)->type_name("SESSION")->required();
}

void add_device_option(CLI::App& command, std::string& device) {
    command.add_option("--device", device, "A device's name, or a part of it")->type_name("NAME");
}

void add_from_option(CLI::App& command, std::optional<std::string>& from) {
    command.add_option("--from", from, "Begin there: 1.5, \"250 ms\", 1:02.5 or \"5|2\"")
        ->type_name("T");
}

void add_format_option(CLI::App& command, std::string& format, char const* text) {
    command.add_option("--format", format, text)
        ->type_name("u8|s16|s24|s32|f32")
        ->check(CLI::IsMember(ulk::host::render::OutputFormat::list_names()))
        ->capture_default_str();
}

CLI::Option* check_rate_option(CLI::Option* option) {
    return option->type_name("N")->check(CLI::Range(8000, 384000));
}

} // namespace tessitone
