// The command that a reporter of a bug runs: what it tells, and that it leaves nothing behind.

#include "support/TempDir.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <array>
#include <cstdio>
#include <sstream>
#include <string>

#include <sys/wait.h>

namespace {

using Json = nlohmann::json;

class InfoCommandTest : public ::testing::Test {
protected:
    // Through the shell, with standard error beside the output.
    std::string run(std::string const& args, std::string const& setting = "", int code = 0) const {
        std::string const command = "cd '" + _dir.get_path().string() + "' && " + setting +
                                    " " BUILD_DIR "/tessitone info " + args + " 2>&1";
        FILE* const pipe = ::popen(command.c_str(), "r");
        std::string out;
        std::array<char, 4096> buf;
        for (size_t n; (n = std::fread(buf.data(), 1, buf.size(), pipe)) > 0;) {
            out.append(buf.data(), n);
        }
        int const status = ::pclose(pipe);
        EXPECT_TRUE(WIFEXITED(status));
        EXPECT_EQ(code, WEXITSTATUS(status)) << out;
        return out;
    }

    test::TempDir _dir;
};

} // namespace

TEST_F(InfoCommandTest, JsonTellsEverySection) {
    Json const report = Json::parse(run("--json"));
    EXPECT_EQ(TESSITONE_VERSION, report["tessitone"]["version"]);
    EXPECT_NE("", report["tessitone"]["compiler"].get<std::string>());
    EXPECT_EQ(BUILD_DIR "/baplug.so", report["bundle"]["path"]);
    EXPECT_TRUE(report["bundle"]["plugins"].is_array());
    EXPECT_FALSE(report["bundle"].contains("failure"));
    EXPECT_TRUE(report["system"]["kernel"].get<std::string>().starts_with("Linux "));
    EXPECT_GE(report["processor"]["logical_processors"].get<int>(), 1);
    bool sse_flag = false;
    for (auto const& feature : report["processor"]["features"]) {
        sse_flag = sse_flag || feature == "SSE";
    }
    EXPECT_EQ("default", report["routines"]["mixing"]);
    EXPECT_EQ(sse_flag ? "SSE" : "default", report["routines"]["mixing_aligned"]);
    EXPECT_EQ(128, report["limits"]["pins"]);
    EXPECT_EQ(16, report["limits"]["user_audio_pins"]);
}

TEST_F(InfoCommandTest, PlainTextTellsTheSameInLines) {
    Json const report = Json::parse(run("--json"));
    std::istringstream lines(run(""));
    std::string section;
    int nbr_values = 0;
    for (std::string line; std::getline(lines, line);) {
        if (line[0] != ' ') {
            section = line;
            ASSERT_TRUE(report.contains(section)) << line;
            continue;
        }
        std::string name = line.substr(2, 20);
        name.erase(name.find_last_not_of(' ') + 1);
        std::replace(name.begin(), name.end(), ' ', '_');
        ASSERT_TRUE(report[section].contains(name)) << line;
        Json const& val = report[section][name];
        if (val.is_string()) {
            EXPECT_EQ(val.get<std::string>(), line.substr(22));
        } else if (val.is_number()) {
            EXPECT_EQ(val.dump(), line.substr(22));
        }
        ++nbr_values;
    }
    size_t expected = 0;
    for (auto const& s : report) {
        expected += s.size();
    }
    EXPECT_EQ(expected, static_cast<size_t>(nbr_values));
}

TEST_F(InfoCommandTest, FoldersAreToldAndNotMade) {
    std::string const home = _dir.get_path().string();
    Json const report =
        Json::parse(run("--json", "env -u XDG_CACHE_HOME XDG_CONFIG_HOME=/conf TMPDIR=tmp "
                                  "XDG_STATE_HOME= HOME='" +
                                      home + "'"));
    Json const& folders = report["folders"];
    EXPECT_EQ(home, folders["working"]);
    EXPECT_EQ(home + "/Documents", folders["documents"]);
    EXPECT_EQ(home + "/Desktop", folders["desktop"]);
    EXPECT_EQ(home + "/.local/state", folders["log"]);
    EXPECT_EQ("/conf", folders["preferences"]);
    EXPECT_EQ(home + "/.cache", folders["cache"]);
    EXPECT_EQ("/tmp", folders["temporary"]);
    EXPECT_TRUE(std::filesystem::is_empty(_dir.get_path()));
}

TEST_F(InfoCommandTest, NamesThatAreNoUtf8DoNotBreakTheJson) {
    Json const report = Json::parse(run("--json", "HOME=\"$(printf '/a\\377b')\""));
    EXPECT_TRUE(report["folders"]["desktop"].get<std::string>().ends_with("b/Desktop"));
}

TEST_F(InfoCommandTest, ABundleThatDoesNotLoadIsTold) {
    Json const report = Json::parse(run("--json --bundle none.so"));
    EXPECT_EQ("none.so", report["bundle"]["path"]);
    EXPECT_NE(std::string::npos, report["bundle"]["failure"].get<std::string>().find("none.so"));
    EXPECT_FALSE(report["bundle"].contains("plugins"));
    EXPECT_NE(std::string::npos, run("--bundle none.so").find("none.so: no such bundle"));
}

TEST_F(InfoCommandTest, SillyCallsAreRefused) {
    run("--nonsense", "", 1);
    run(">/dev/full", "", 4);
}

TEST_F(InfoCommandTest, ReadsFiles) {
    std::string const wav = "/usr/share/sounds/alsa/Front_Center.wav";
    std::string const txt = run(wav);
    EXPECT_TRUE(txt.starts_with(wav + ", 137134 bytes\n        12  fmt   16 bytes\n")) << txt;
    EXPECT_TRUE(txt.ends_with("              frames: 68545\n              duration_s: 1.428021\n"
                              "  can be used: 68545 frames, 1 channel, 48000 Hz\n"))
        << txt;
    Json const files = Json::parse(run(wav + " " + wav + " --json"))["files"];
    EXPECT_EQ(2U, files.size());
    EXPECT_TRUE(files[1]["usable"].get<bool>());
}

TEST_F(InfoCommandTest, FilesThatCannotBeUsedAreToldAndEndWithTwo) {
    std::string const txt = run("none.wav /usr/share/sounds/alsa/Noise.wav .", "", 2);
    EXPECT_TRUE(txt.starts_with("none.wav\n  cannot be used: it does not exist\n")) << txt;
    EXPECT_NE(std::string::npos, txt.find(" Hz\n.\n  cannot be used: it is a folder\n"));
    EXPECT_TRUE(txt.ends_with("tessitone: info: 2 of 3 files cannot be used\n")) << txt;
}
