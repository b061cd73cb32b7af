// The scripts for shells: complete by what --help says, and understood by the shell that is here.

#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <regex>
#include <set>
#include <sstream>
#include <string>

namespace {

std::string run(std::string const& command) {
    FILE* const pipe = ::popen(command.c_str(), "r");
    std::string out;
    std::array<char, 4096> buf;
    for (std::size_t n; (n = std::fread(buf.data(), 1, buf.size(), pipe)) > 0;) {
        out.append(buf.data(), n);
    }
    EXPECT_EQ(0, ::pclose(pipe)) << command;
    return out;
}

std::string tessitone(std::string const& args) {
    return run(BUILD_DIR "/tessitone " + args);
}

// The words at the start of the lines below a heading of --help.
std::set<std::string> list_subcommands() {
    std::istringstream help(tessitone("--help"));
    std::set<std::string> names;
    bool inside_flag = false;
    for (std::string line; std::getline(help, line);) {
        if (line.starts_with("Subcommands:")) {
            inside_flag = true;
        } else if (inside_flag && line.starts_with("  ") && line[2] != ' ') {
            names.insert(line.substr(2, line.find(' ', 2) - 2));
        }
    }
    return names;
}

std::set<std::string> list_options(std::string const& subcommand) {
    std::string const help = tessitone(subcommand + " --help");
    std::set<std::string> options;
    std::regex const option("(?:^|\\n)  (-[-a-zA-Z]+)(?:,(--[-a-z]+))?");
    for (std::sregex_iterator it(help.begin(), help.end(), option), end; it != end; ++it) {
        options.insert((*it)[1]);
        if ((*it)[2].matched) {
            options.insert((*it)[2]);
        }
    }
    return options;
}

// What bash offers for a line that ends in the word to be completed.
std::set<std::string> complete(std::string const& words) {
    std::string const script = "source " BUILD_DIR "/completions/tessitone.bash; PATH=" BUILD_DIR
                               ":$PATH; COMP_WORDS=(" +
                               words +
                               "); COMP_CWORD=$((${#COMP_WORDS[@]} - 1)); _tessitone; "
                               "printf \"%s\\n\" \"${COMPREPLY[@]}\"";
    std::istringstream lines(run("bash -c '" + script + "'"));
    std::set<std::string> offers;
    for (std::string line; std::getline(lines, line);) {
        offers.insert(line);
    }
    return offers;
}

} // namespace

TEST(CompletionTest, HasEverySubcommandAndOptionOfTheHelp) {
    std::string const zsh = tessitone("completion zsh");
    std::string const fish = tessitone("completion fish");
    auto const subcommands = list_subcommands();
    EXPECT_TRUE(subcommands.contains("process") && subcommands.contains("completion"));
    EXPECT_EQ(subcommands, complete("tessitone \"\""));
    for (auto const& subcommand : subcommands) {
        EXPECT_NE(std::string::npos, zsh.find("'" + subcommand + ":")) << subcommand;
        EXPECT_NE(std::string::npos, fish.find(" -a " + subcommand + " -d ")) << subcommand;
        auto const options = list_options(subcommand);
        EXPECT_TRUE(options.contains("--help")) << subcommand;
        EXPECT_EQ(options, complete("tessitone " + subcommand + " -")) << subcommand;
        for (auto const& option : options) {
            bool const long_flag = option.starts_with("--");
            EXPECT_NE(std::string::npos, zsh.find("'*" + option + "[")) << option;
            EXPECT_TRUE(std::regex_search(
                fish, std::regex("_from " + subcommand + "'.* " +
                                 (long_flag ? "-l " + option.substr(2) : "-s " + option.substr(1)) +
                                 " ")))
                << subcommand << " " << option;
        }
    }
    EXPECT_EQ(list_options(""), complete("tessitone -"));
}

TEST(CompletionTest, OffersValues) {
    EXPECT_EQ((std::set<std::string>{"text", "json", "xml", "bin"}),
              complete("tessitone describe --format \"\""));
    EXPECT_EQ((std::set<std::string>{"json"}), complete("tessitone process --progress j"));
    EXPECT_EQ((std::set<std::string>{"Brevanto#TessitoneDryWet"}),
              complete("tessitone process --plugin Brevanto#TessitoneD"));
    EXPECT_TRUE(complete("tessitone process /usr/share/sounds/alsa/Front_C")
                    .contains("/usr/share/sounds/alsa/Front_Center.wav"));
    EXPECT_TRUE(
        complete("tessitone process --bundle " BUILD_DIR "/bap").contains(BUILD_DIR "/baplug.so"));
}

// What is installed is what the program prints.
TEST(CompletionTest, InstalledScriptsAreUpToDate) {
    for (std::string const shell : {"bash", "zsh", "fish"}) {
        std::ifstream file(BUILD_DIR "/completions/tessitone." + shell);
        std::string const txt{std::istreambuf_iterator<char>(file), {}};
        EXPECT_EQ(tessitone("completion " + shell), txt) << shell;
    }
}
