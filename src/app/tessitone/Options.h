#pragma once

#include <CLI/CLI.hpp>

#include <optional>
#include <string>

namespace tessitone {

// Arguments that several subcommands take. Where they put them outlives the parsing. text: for the
// help.
void add_session_argument(CLI::App& command, std::string& path, char const* text);
void add_device_option(CLI::App& command, std::string& device);
void add_from_option(CLI::App& command, std::optional<std::string>& from);
void add_format_option(CLI::App& command, std::string& format, char const* text);
CLI::Option* check_rate_option(CLI::Option* option); // of a rate

} // namespace tessitone
