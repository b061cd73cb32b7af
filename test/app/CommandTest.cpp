// The command line as a user meets it: what it prints, where, and how it exits.

#include "host/SoundFileReader.h"
#include "support/CommandRun.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <array>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <regex>
#include <sstream>
#include <string>
#include <sys/wait.h>
#include <vector>

namespace {

using Outcome = test::CommandRun;

std::string read_file(std::string const& path) {
    return Outcome::read_file(path);
}

class CommandTest : public ::testing::Test {
protected:
    void SetUp() override {
        _folder = ::testing::TempDir() + "tessitone_" +
                  ::testing::UnitTest::GetInstance()->current_test_info()->name();
        std::filesystem::create_directories(_folder);
    }
    void TearDown() override { std::filesystem::remove_all(_folder); }

    // args go through the shell, so that redirections can stand in them.
    Outcome run(std::string const& args) { return Outcome::run(_folder, args); }

    std::string _folder;
};

constexpr char wav[] = "/usr/share/sounds/alsa/Front_Center.wav";

} // namespace

TEST_F(CommandTest, BypassIsBitExactForAnyBlock) {
    for (char const* block : {"", "--block 1", "--block 64", "--block 4096", "--block 1048576"}) {
        auto const outcome = run(std::string("process --plugin Brevanto#TessitoneBypass ") + wav +
                                 " out.wav " + block);
        EXPECT_EQ(0, outcome.code) << outcome.err;
        EXPECT_EQ("", outcome.err);
        EXPECT_EQ(0u, outcome.out.find("out.wav: 68545 frames, 1.428 s, ")) << outcome.out;
        EXPECT_TRUE(read_file(wav) == read_file(_folder + "/out.wav"));
    }
}

TEST_F(CommandTest, ListsPlugins) {
    auto const outcome = run("plugins");
    EXPECT_EQ(0, outcome.code);
    EXPECT_NE(std::string::npos, outcome.out.find("Brevanto#TessitoneBypass\n"));
    EXPECT_EQ("", outcome.err);
}

TEST_F(CommandTest, PluginsAreThoseOfTheDocument) {
    EXPECT_EQ("Brevanto#TessitoneAudioInput\nBrevanto#TessitoneAudioOutput\n"
              "Brevanto#TessitoneAudioTape\nBrevanto#TessitoneBypass\nBrevanto#TessitoneDryWet\n",
              run("plugins").out);
}

TEST_F(CommandTest, DescribesThePlugInList) {
    auto const outcome = run("describe");
    EXPECT_EQ(0, outcome.code) << outcome.err;
    EXPECT_NE(std::string::npos, outcome.out.find("  dsp   Brevanto#TessitoneBypass\n"));
    EXPECT_EQ(228u, run("describe --format bin").out.size());
}

TEST_F(CommandTest, DescribesAPlugInInEachForm) {
    std::string const describe = "describe Brevanto#TessitoneBypass ";
    EXPECT_EQ("Brevanto#TessitoneBypass\n\nProperties\n  ignore_transport_events  1\n\n"
              "Pin configurations\n  #  Name  Input pins  Output pins\n"
              "  0        mono        mono\n  1        stereo      stereo\n",
              run(describe).out);
    EXPECT_NE(
        std::string::npos,
        run(describe + "--format json").out.find("\"unique_id\": \"Brevanto#TessitoneBypass\""));
    std::string const bin = run(describe + "--format bin").out;
    std::string const xml = run(describe + "--format xml").out;
    EXPECT_EQ(196u, bin.size());
    EXPECT_EQ(0u, xml.find("<?xml"));

    // Saved documents of either form come back whole.
    EXPECT_EQ("", run(describe + "--format xml -o doc.xml").out);
    EXPECT_EQ("", run(describe + "--format bin -o doc.bin").out);
    EXPECT_EQ(xml, read_file(_folder + "/doc.xml"));
    EXPECT_EQ(bin, read_file(_folder + "/doc.bin"));
    for (char const* file : {"doc.xml", "doc.bin"}) {
        std::string const from = std::string("describe --from ") + file;
        EXPECT_EQ(run(describe).out, run(from).out);
        EXPECT_EQ(bin, run(from + " --format bin").out);
        EXPECT_EQ(xml, run(from + " --format xml").out);
        EXPECT_EQ(run(describe + "--format json").out, run(from + " --format json").out);
    }
}

TEST_F(CommandTest, DescribesParametersWithTheirDefaults) {
    std::string const out = run("describe Brevanto#TessitoneDryWet").out;
    for (char const* row : {"  0  Bypass             0 to 1  Off        discrete    natural ",
                            "  1  Wet/Dry Mix  %     0 to 1  100 /   0  continuous  normalised ",
                            "  2  Gain         dB    0 to 4  +0         continuous  normalised "}) {
        EXPECT_NE(std::string::npos, out.find(row)) << out;
    }
    std::string const json = run("describe Brevanto#TessitoneDryWet --format json").out;
    EXPECT_NE(std::string::npos, json.find("\"default_txt\": \"Off\"")) << json;
}

TEST_F(CommandTest, DamagedDescriptionsAreRefused) {
    for (char const* form : {"bin", "xml"}) {
        run(std::string("describe --format ") + form + " -o doc");
        std::string const doc = read_file(_folder + "/doc");
        std::ofstream(_folder + "/cut", std::ios::binary) << doc.substr(0, doc.size() / 2);
        auto const outcome = run("describe --from cut");
        EXPECT_EQ(2, outcome.code);
        EXPECT_EQ("", outcome.out);
        EXPECT_NE(std::string::npos, outcome.err.find("cut: reading the description failed"))
            << outcome.err;
    }
}

TEST_F(CommandTest, HelpAndVersion) {
    for (char const* args : {"--help", "process --help", "plugins --help", "--version"}) {
        auto const outcome = run(args);
        EXPECT_EQ(0, outcome.code) << args;
        EXPECT_FALSE(outcome.out.empty()) << args;
        EXPECT_EQ("", outcome.err) << args;
    }
}

#define DRYWET                                                                                     \
    "process --plugin Brevanto#TessitoneDryWet --in /usr/share/sounds/alsa/Front_Center.wav --in " \
    "/usr/share/sounds/alsa/Front_Left.wav "

namespace {

// A mono file as samples.
std::vector<float> read_sound(std::string const& path) {
    ulk::host::SoundFileReader reader(path);
    std::vector<float> samples(static_cast<std::size_t>(reader.get_len()));
    float* chn_arr[] = {samples.data()};
    EXPECT_EQ(reader.get_len(), reader.read(chn_arr, static_cast<long>(reader.get_len())));
    return samples;
}

} // namespace

TEST_F(CommandTest, MixesFilesByNamedParameters) {
    auto const wet = read_sound(wav);
    auto const dry = read_sound("/usr/share/sounds/alsa/Front_Left.wav");
    ASSERT_LT(wet.size(), dry.size());
    struct Case {
        char const* args;
        float wet;
        float dry;
    };
    for (Case const& c :
         {Case{"", 1, 0}, Case{"--set Byp=On", 0, 1}, Case{"--set bypass=1", 0, 1},
          Case{"--set 0=on --set 0=off", 1, 0}, Case{"--set 'Wet/Dry Mix=30'", 0.3f, 0.7f},
          Case{"--set 1=50 --set 'Gain=-6.0206 dB' --block 64", 0.25f, 0.5f},
          Case{"--set gain=-oo", 0, 0}}) {
        auto const outcome = run(std::string(DRYWET "out.wav ") + c.args);
        EXPECT_EQ(0, outcome.code) << outcome.err;
        auto const out = read_sound(_folder + "/out.wav");
        ASSERT_EQ(dry.size(), out.size()); // the longer of both
        for (std::size_t i = 0; i < out.size(); ++i) {
            float const wet_val = i < wet.size() ? wet[i] : 0;
            ASSERT_NEAR(wet_val * c.wet + dry[i] * c.dry, out[i], 1.01 / 32768) << c.args << i;
        }
    }
}

TEST_F(CommandTest, ChangesParametersOnTheWay) {
    std::ofstream(_folder + "/changes.csv") << "time,parameter,value,ramp\n1,gain,0\n"
                                            << "0.5,Gain,\"-6 dB\",0.25\n";
    auto const outcome = run(DRYWET "out.wav --at 0.5 'Gain=-6 dB' --ramp 0.25 --at 1 2=0");
    ASSERT_EQ(0, outcome.code) << outcome.err;
    ASSERT_EQ(0, run(DRYWET "csv.wav --automation changes.csv").code);
    EXPECT_TRUE(read_file(_folder + "/out.wav") == read_file(_folder + "/csv.wav"));
    auto const wet = read_sound(wav);
    auto const out = read_sound(_folder + "/out.wav");
    constexpr double step = 1.01 / 32768;
    for (std::size_t i = 0; i < wet.size(); ++i) {
        if (i <= 24000 || i > 48000 + 241) {
            ASSERT_NEAR(wet[i], out[i], step) << i;
        } else if (i >= 36000 && i < 48000) {
            ASSERT_NEAR(wet[i] * 0.501187f, out[i], step) << i;
        } else {
            ASSERT_LE(std::abs(out[i]), std::abs(wet[i]) + step) << i;
        }
    }
}

struct SillyCase {
    char const* args;
    int code;
    char const* message; // a part of what standard error says
};

class SillyCommandTest : public CommandTest, public ::testing::WithParamInterface<SillyCase> {};

TEST_P(SillyCommandTest, EndsPlainly) {
    std::ofstream(_folder + "/text.wav") << "no sound at all";
    std::filesystem::create_directory(_folder + "/folder");
    std::ofstream(_folder + "/short.csv") << "0,Gain,1\n\n1,Gain\n";
    std::ofstream(_folder + "/whom.csv") << "# nobody\n0.1,Nobody,1\n";
    std::ofstream(_folder + "/what.csv") << "0.1,Gain,loud\n";
    auto const outcome = run(GetParam().args);
    EXPECT_EQ(GetParam().code, outcome.code);
    EXPECT_NE(std::string::npos, outcome.err.find(GetParam().message)) << outcome.err;
    EXPECT_EQ("", outcome.out);
}

#define WAV "/usr/share/sounds/alsa/Front_Center.wav"
#define BYPASS "process --plugin Brevanto#TessitoneBypass "

INSTANTIATE_TEST_SUITE_P(
    CommandLines, SillyCommandTest,
    ::testing::Values(
        SillyCase{"", 1, "A subcommand is required"}, //
        SillyCase{"nonsense", 1, "nonsense"},         //
        SillyCase{"process", 1, "required"},          //
        SillyCase{"process --plugin", 1, "--plugin"}, //
        SillyCase{"plugins --nonsense", 1, "--nonsense"},
        SillyCase{BYPASS WAV " out.wav --block 0", 1, "--block"},
        SillyCase{BYPASS WAV " out.wav --block many", 1, "--block"},
        SillyCase{BYPASS WAV " out.wav more.wav", 1, "more.wav is one file"},
        SillyCase{BYPASS WAV, 1, "IN and OUT are required"},
        SillyCase{BYPASS WAV " --in " WAV " out.wav", 1, "out.wav is one file too many"},
        SillyCase{BYPASS "--in " WAV " --in " WAV " out.wav", 1, "does not take one input of"},
        SillyCase{BYPASS WAV " out.wav --set Gain=1", 1, "Bypass has none"},
        SillyCase{DRYWET, 1, "behind --in, OUT is required"},
        SillyCase{DRYWET "--in none.wav out.wav", 2, "none.wav: no such file"},
        SillyCase{DRYWET WAV, 1, "input and output are the same file"},
        SillyCase{DRYWET "out.wav --set", 1, "--set"},
        SillyCase{DRYWET "out.wav --set nonsense", 1, "\"nonsense\" is no NAME=VALUE"},
        SillyCase{DRYWET "out.wav --set =1", 1, "is no NAME=VALUE"},
        SillyCase{DRYWET "out.wav --set Drive=1", 1, "has 0 \"Bypass\", 1 \"Wet/Dry Mix\", 2 "},
        SillyCase{DRYWET "out.wav --set 3=1", 1, "no such parameter"},
        SillyCase{DRYWET "out.wav --set Gain=", 1, "Cannot convert parameter value"},
        SillyCase{DRYWET "out.wav --set Gain=loud", 1, "Cannot convert parameter value"},
        SillyCase{DRYWET "out.wav --set 1=150", 1, "Out of range"},
        SillyCase{DRYWET "out.wav --at 1", 1, "--at"},
        SillyCase{DRYWET "out.wav --at soon Gain=1", 1, "\"soon\" is no time in seconds"},
        SillyCase{DRYWET "out.wav --at 1e99 Gain=1", 1, "is no time in seconds"},
        SillyCase{DRYWET "out.wav --at 1 Drive=1", 1, "--at 1: \"Drive\": no such parameter"},
        SillyCase{DRYWET "out.wav --ramp 1", 1, "--ramp 1: belongs behind an --at"},
        SillyCase{DRYWET "out.wav --at 1 2=1 --ramp 1 --ramp 2", 1, "--ramp 2: belongs"},
        SillyCase{DRYWET "out.wav --at 1 2=1 --ramp long", 1, "\"long\" is no ramp in seconds"},
        SillyCase{DRYWET "out.wav --automation none.csv", 2, "none.csv: cannot be read"},
        SillyCase{DRYWET "out.wav --automation folder", 2, "folder: cannot be read"},
        SillyCase{DRYWET "out.wav --automation short.csv", 2, "short.csv:3: 2 fields"},
        SillyCase{DRYWET "out.wav --automation whom.csv", 1, "whom.csv:2: \"Nobody\": no such"},
        SillyCase{DRYWET "out.wav --automation what.csv", 1, "what.csv:1: Gain: \"loud\""},
        SillyCase{BYPASS "none.wav out.wav", 2, "tessitone: none.wav: no such file"},
        SillyCase{BYPASS "text.wav out.wav", 2, "text.wav: not a sound file"},
        SillyCase{BYPASS "folder out.wav", 2, "folder: a directory"},
        SillyCase{BYPASS WAV " out.xyz", 1, "out.xyz: give the output a name that ends in"},
        SillyCase{BYPASS WAV " none/out.wav", 4, "none/out.wav: cannot be written"},
        SillyCase{BYPASS WAV " folder", 1, "folder: give the output a name"},
        SillyCase{BYPASS WAV " " WAV, 1, "input and output are the same file"},
        SillyCase{"process --plugin Nothing#AtAll " WAV " out.wav", 1,
                  "Nothing#AtAll: no such plug-in"},
        SillyCase{"plugins --bundle none.so", 2, "none.so: no such bundle"},
        SillyCase{"plugins --bundle text.wav", 2, "text.wav: the bundle does not load"},
        SillyCase{"plugins --bundle folder", 2, "folder: no such bundle"},
        SillyCase{"describe Nothing#AtAll", 1, "Nothing#AtAll: no such plug-in"},
        SillyCase{"describe --format pdf", 1, "--format"},
        SillyCase{"describe id --from text.wav", 1, "--from"},
        SillyCase{"describe --from none.xml", 2, "none.xml: cannot be read"},
        SillyCase{"describe --from folder", 2, "folder: cannot be read"},
        SillyCase{"describe --from text.wav", 2, "text.wav: reading the description failed"},
        SillyCase{"describe -o none/out", 4, "none/out: cannot be written"},
        SillyCase{"describe -o /dev/full", 4, "/dev/full: cannot be written"},
        SillyCase{"describe >/dev/full", 4, "writing to standard output failed"},
        SillyCase{"--progress", 1, "--progress"},
        SillyCase{"plugins --progress often", 1, "--progress"},
        SillyCase{"plugins >/dev/full", 4, "writing to standard output failed"}));

TEST_F(CommandTest, ProgressAsJson) {
    auto const outcome = run(std::string("--progress json " BYPASS) + wav + " out.wav --block 64");
    ASSERT_EQ(0, outcome.code) << outcome.err;
    std::istringstream lines(outcome.err);
    nlohmann::json last = nlohmann::json::object();
    for (std::string line; std::getline(lines, line);) {
        nlohmann::json const json = nlohmann::json::parse(line);
        EXPECT_GT(json["done"].get<long long>(), last.value("done", 0LL));
        EXPECT_GE(json["elapsed"].get<double>(), last.value("elapsed", 0.0));
        EXPECT_EQ(68545, json["total"]);
        last = json;
    }
    EXPECT_EQ(68545, last["done"]);
    EXPECT_EQ(0, last["eta"]);
    EXPECT_EQ("Brevanto#TessitoneBypass", last["task"]);
}

// With the program's error output on a terminal of its own.
TEST_F(CommandTest, ProgressOnATerminalAlone) {
    std::string const process = std::string("process --plugin Brevanto#TessitoneBypass ") + wav;
    auto const on_terminal = [&](std::string const& option) {
        std::string const call = BUILD_DIR "/tessitone " + process + " out.wav " + option;
        std::string const command =
            "cd " + _folder + " && script -qec '" + call + "' typescript >/dev/null";
        EXPECT_EQ(0, std::system(command.c_str())) << command;
        return read_file(_folder + "/typescript");
    };
    EXPECT_NE(std::string::npos, on_terminal("").find(" %"));
    EXPECT_NE(std::string::npos, on_terminal("").find(" left"));
    EXPECT_EQ(std::string::npos, on_terminal("--progress none").find(" left"));
    EXPECT_EQ("", run(process + " out.wav").err);
}

TEST_F(CommandTest, AReaderThatGoesEndsItPlainly) {
    std::string const call = "(sleep 0.2; " BUILD_DIR "/tessitone plugins; echo $? >" + _folder +
                             "/code) 2>" + _folder + "/err | true";
    std::system(("bash -c '" + call + "'; sleep 0.5").c_str());
    EXPECT_EQ("4\n", read_file(_folder + "/code"));
    EXPECT_EQ("tessitone: writing to standard output failed\n", read_file(_folder + "/err"));
}

TEST_F(CommandTest, LogFileKeepsEveryLine) {
    for (char const* args : {"--log log.txt plugins", "plugins --log log.txt"}) {
        auto const outcome = run(args);
        EXPECT_EQ(0, outcome.code) << args;
        EXPECT_EQ("", outcome.err); // lines of information are for the file alone
        std::istringstream log(read_file(_folder + "/log.txt"));
        std::string line;
        EXPECT_TRUE(std::getline(log, line));
        EXPECT_TRUE(std::regex_match(line, std::regex("0\t\\d+\t\\d+\\.\\d{3}\tLog started\t")))
            << line;
        EXPECT_TRUE(std::getline(log, line));
        EXPECT_TRUE(std::regex_match(
            line, std::regex("1\t\\d+\t\\d+\\.\\d{3}\tbaplug\tINFO\tcreate_factory\\(\\): Creating "
                             "factory\\.\\.\\.\tlib/ulk/ace/baplug/entry_point, [A-Z][a-z]{2} "
                             "[ \\d]\\d \\d{4}\tint ulk::ace::baplug::create_factory\\(void ?\\*\\)"
                             "\t\\d+\t\t")))
            << line;
        long nbr_lines = 2;
        while (std::getline(log, line)) {
            EXPECT_EQ(0U, line.find(std::to_string(nbr_lines) + "\t")) << line;
            ++nbr_lines;
        }
        EXPECT_GT(nbr_lines, 2);
    }
}

TEST_F(CommandTest, LogFilesThatCannotBeWritten) {
    std::filesystem::create_directory(_folder + "/folder");
    for (std::string const path : {"/dev/null/none", "none/log.txt", "folder", "''"}) {
        auto const outcome = run("--log " + path + " plugins");
        EXPECT_EQ(4, outcome.code) << path;
        EXPECT_EQ("", outcome.out);
        EXPECT_EQ("tessitone: " + (path == "''" ? std::string() : path) +
                      ": the log file cannot be written\n",
                  outcome.err);
    }
    EXPECT_EQ(1, run("plugins --log").code);
    // A full device is no reason to give up: the work is worth more than its log.
    EXPECT_EQ(0, run("plugins --log /dev/full").code);
}
