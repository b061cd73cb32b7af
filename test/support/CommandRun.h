#pragma once

#include <array>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

#include <sys/wait.h>

namespace test {

// What a run of the command gave.
struct CommandRun {
    int code; // -1 if it did not end by itself
    std::string out;
    std::string err;

    // Runs the command in a folder, in which a file .err is left. args goes through the shell, so
    // that redirections can stand in it, and so does setting, which stands before the command.
    static CommandRun run(std::filesystem::path const& folder, std::string const& args,
                          std::string const& setting = "") {
        std::string const err_path = (folder / ".err").string();
        std::string const line = "cd '" + folder.string() + "' && " + setting +
                                 " " BUILD_DIR "/tessitone " + args + " 2>'" + err_path + "'";
        std::FILE* const pipe = ::popen(line.c_str(), "r");
        std::string out;
        std::array<char, 4096> buf;
        for (std::size_t n; (n = std::fread(buf.data(), 1, buf.size(), pipe)) > 0;) {
            out.append(buf.data(), n);
        }
        int const status = ::pclose(pipe);
        return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, out, read_file(err_path)};
    }

    // The whole file; an empty text if it is not there.
    static std::string read_file(std::filesystem::path const& path) {
        std::ifstream file(path, std::ios::binary);
        std::ostringstream text;
        text << file.rdbuf();
        return text.str();
    }
};

} // namespace test
