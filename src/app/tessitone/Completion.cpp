#include "tessitone/Completion.h"

#include <algorithm>
#include <sstream>

namespace tessitone {

namespace {

constexpr char const* plugin_call = "$(tessitone plugins 2>/dev/null)";

std::string join(std::vector<std::string> const& words, std::string const& separator) {
    std::string txt;
    for (auto const& word : words) {
        txt += (txt.empty() ? "" : separator) + word;
    }
    return txt;
}

// With a backslash before each of the characters.
std::string escape(std::string const& txt, std::string const& chars) {
    std::string escaped;
    for (char const c : txt) {
        if (chars.find(c) != std::string::npos) {
            escaped += '\\';
        }
        escaped += c;
    }
    return escaped;
}

// Between single quotes, as shells read them.
std::string quote(std::string const& txt) {
    std::string quoted = "'";
    for (char const c : txt) {
        quoted += c == '\'' ? "'\\''" : std::string(1, c);
    }
    return quoted + "'";
}

// The words of "TEXT:{a,b,c}"; none where there is no such list.
std::vector<std::string> read_choices(std::string const& type_name) {
    std::vector<std::string> choices;
    auto const beg = type_name.find('{');
    auto const end = type_name.find('}');
    if (beg != std::string::npos && end != std::string::npos) {
        std::istringstream list(type_name.substr(beg + 1, end - beg - 1));
        for (std::string choice; std::getline(list, choice, ',');) {
            choices.push_back(choice);
        }
    }
    return choices;
}

bool has(std::string const& txt, char const* part) {
    return txt.find(part) != std::string::npos;
}

} // namespace

Completion::Completion(CLI::App const& app)
    : _program(make_command(app)) {
    _program.name.clear();
    for (CLI::App const* const command :
         app.get_subcommands([](CLI::App const*) { return true; })) {
        _commands.push_back(make_command(*command));
    }
}

std::string Completion::make_bash() const {
    std::ostringstream out;
    out << "# bash completion for tessitone, made by: tessitone completion bash\n"
           "_tessitone() {\n"
           "    local cur=${COMP_WORDS[COMP_CWORD]} prev=${COMP_WORDS[COMP_CWORD-1]}\n"
           "    local command= words= i\n"
           "    for ((i = 1; i < COMP_CWORD; ++i)); do\n"
           "        case ${COMP_WORDS[i]} in\n"
        << "            " << join({list_command_names()}, "")
        << ") command=${COMP_WORDS[i]}; break ;;\n"
           "        esac\n"
           "    done\n"
           "    case \"$command $prev\" in\n";
    auto const add_values = [&](Command const& command) {
        for (Option const& option : command.options) {
            for (auto const& name : option.names) {
                std::string const pattern = command.name.empty()
                                                ? "*\" " + name + "\""
                                                : "\"" + command.name + " " + name + "\"";
                if (option.value == Value::PATH) {
                    out << "        " << pattern
                        << ") COMPREPLY=($(compgen -f -- \"$cur\")); return ;;\n";
                } else if (option.value != Value::NONE) {
                    out << "        " << pattern << ") COMPREPLY=($(compgen -W \""
                        << list_words(option) << "\" -- \"$cur\")); return ;;\n";
                }
            }
        }
    };
    std::for_each(_commands.begin(), _commands.end(), add_values);
    add_values(_program);
    out << "    esac\n"
           "    case $command in\n";
    auto const add_words = [&](Command const& command) {
        std::vector<std::string> words;
        for (Option const& option : command.options) {
            words.insert(words.end(), option.names.begin(), option.names.end());
        }
        out << "        " << (command.name.empty() ? "''" : command.name) << ") words='"
            << join(words, " ") << "' ;;\n";
    };
    std::for_each(_commands.begin(), _commands.end(), add_words);
    add_words(_program);
    std::string names = list_command_names();
    std::replace(names.begin(), names.end(), '|', ' ');
    out << "    esac\n"
           "    if [[ -z $command && $cur != -* ]]; then\n"
           "        COMPREPLY=($(compgen -W '"
        << names
        << "' -- \"$cur\"))\n"
           "    elif [[ $cur == -* ]]; then\n"
           "        COMPREPLY=($(compgen -W \"$words\" -- \"$cur\"))\n"
           "    else\n"
           "        COMPREPLY=($(compgen -f -- \"$cur\"))\n"
           "    fi\n"
           "}\n"
           "complete -o filenames -F _tessitone tessitone\n";
    return out.str();
}

std::string Completion::make_zsh() const {
    std::ostringstream out;
    out << "#compdef tessitone\n"
           "# zsh completion for tessitone, made by: tessitone completion zsh\n"
           "_tessitone() {\n"
           "    local context state line\n"
           "    typeset -A opt_args\n"
           "    local -a commands=(\n";
    for (Command const& command : _commands) {
        out << "        " << quote(command.name + ":" + escape(command.description, ":\\")) << "\n";
    }
    out << "    )\n"
           "    _arguments -C \\\n"
        << make_zsh_options(_program)
        << "        '1:subcommand:->command' '*::argument:->argument'\n"
           "    case $state in\n"
           "    command) _describe subcommand commands ;;\n"
           "    argument)\n"
           "        case $words[1] in\n";
    for (Command const& command : _commands) {
        out << "        " << command.name << ") _arguments \\\n"
            << make_zsh_options(command) << "            '*:file:_files' ;;\n";
    }
    out << "        esac ;;\n"
           "    esac\n"
           "}\n"
           "_tessitone \"$@\"\n";
    return out.str();
}

std::string Completion::make_fish() const {
    std::ostringstream out;
    out << "# fish completion for tessitone, made by: tessitone completion fish\n";
    for (Option const& option : _program.options) {
        out << make_fish_option(option, "");
    }
    for (Command const& command : _commands) {
        out << "complete -c tessitone -f -n __fish_use_subcommand -a " << command.name << " -d "
            << quote(command.description) << "\n";
        for (Option const& option : command.options) {
            out << make_fish_option(option,
                                    " -n '__fish_seen_subcommand_from " + command.name + "'");
        }
    }
    return out.str();
}

Completion::Command Completion::make_command(CLI::App const& app) {
    Command command{app.get_name(), app.get_description(), {}};
    for (CLI::Option const* const option : app.get_options()) {
        if (option->nonpositional()) {
            command.options.push_back(make_option(*option));
        }
    }
    return command;
}

Completion::Option Completion::make_option(CLI::Option const& option) {
    Option made;
    for (auto const& name : option.get_snames()) {
        made.names.push_back("-" + name);
    }
    for (auto const& name : option.get_lnames()) {
        made.names.push_back("--" + name);
    }
    made.description = option.get_description();
    made.value_name = option.get_type_name();
    made.choices = read_choices(made.value_name);
    made.value =
        option.get_type_size_max() == 0 ? Value::NONE
        : !made.choices.empty()         ? Value::CHOICE
        : made.value_name == "ID"       ? Value::PLUGIN
        : has(made.value_name, "FILE") || has(made.value_name, "DIR") || has(made.value_name, "OUT")
            ? Value::PATH
            : Value::ANY;
    return made;
}

std::string Completion::list_words(Option const& option) {
    return option.value == Value::PLUGIN ? plugin_call : join(option.choices, " ");
}

// "(-o --out)'{-o,--out}'[text]:FILE:_files'", a line each.
std::string Completion::make_zsh_options(Command const& command) {
    std::string txt;
    for (Option const& option : command.options) {
        std::string action;
        if (option.value != Value::NONE) {
            std::string const values =
                option.value == Value::PATH     ? "_files"
                : option.value == Value::CHOICE ? "(" + join(option.choices, " ") + ")"
                : option.value == Value::PLUGIN ? std::string("($(tessitone plugins 2>/dev/null))")
                                                : " ";
            action = ":" + escape(option.value_name.substr(0, option.value_name.find(':')), ":\\") +
                     ":" + values;
        }
        std::string const spec = "[" + escape(option.description, "[]:\\") + "]" + action;
        for (auto const& name : option.names) {
            txt += "        " + quote("*" + name + spec) + " \\\n";
        }
    }
    return txt;
}

std::string Completion::make_fish_option(Option const& option, std::string const& condition) {
    std::string txt = "complete -c tessitone" + condition;
    for (auto const& name : option.names) {
        txt += name.starts_with("--") ? " -l " + name.substr(2) : " -s " + name.substr(1);
    }
    switch (option.value) {
    case Value::NONE:
        break;
    case Value::PATH:
        txt += " -r -F";
        break;
    case Value::PLUGIN:
        txt += " -x -a '(tessitone plugins 2>/dev/null)'";
        break;
    default:
        txt += " -x -a " + quote(join(option.choices, " "));
    }
    return txt + " -d " + quote(option.description) + "\n";
}

// Between bars, as patterns of shells have them.
std::string Completion::list_command_names() const {
    std::vector<std::string> names;
    for (Command const& command : _commands) {
        names.push_back(command.name);
    }
    return join(names, "|");
}

} // namespace tessitone
