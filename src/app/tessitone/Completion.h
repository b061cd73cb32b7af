#pragma once

#include <CLI/CLI.hpp>

#include <string>
#include <vector>

namespace tessitone {

// Makes the scripts by which shells complete the command line, from what the program knows of its
// own subcommands and options.
class Completion {
public:
    explicit Completion(CLI::App const& app);

    std::string make_bash() const;
    std::string make_zsh() const;
    std::string make_fish() const;

private:
    // What stands behind an option.
    enum class Value { NONE, ANY, PATH, PLUGIN, CHOICE };

    struct Option {
        std::vector<std::string> names; // with their hyphens
        std::string description;
        Value value;
        std::string value_name;
        std::vector<std::string> choices;
    };

    struct Command {
        std::string name; // empty for the program itself
        std::string description;
        std::vector<Option> options;
    };

    static Command make_command(CLI::App const& app);
    static Option make_option(CLI::Option const& option);
    static std::string list_words(Option const& option);
    static std::string make_zsh_options(Command const& command);
    static std::string make_fish_option(Option const& option, std::string const& condition);
    std::string list_command_names() const;

    Command _program;
    std::vector<Command> _commands;
};

} // namespace tessitone
