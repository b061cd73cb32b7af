// tessitone play and record on a terminal: keys, the line, signals, and how they leave the
// terminal.

#include "support/TempDir.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <sndfile.h>

#include <chrono>
#include <csignal>
#include <fstream>
#include <string>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <poll.h>
#include <pty.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

constexpr int width = 40;

// A shell's command on a terminal of its own.
class Pty {
public:
    explicit Pty(std::string const& line)
        : Pty({"/bin/sh", "-c", line}) {}
    // A program and its arguments.
    explicit Pty(std::vector<std::string> line) {
        winsize size = {24, width, 0, 0};
        _pid = ::forkpty(&_fd, nullptr, nullptr, &size);
        if (_pid == 0) {
            ::signal(SIGHUP, SIG_DFL); // whoever runs the tests may ignore it
            std::vector<char*> arg_arr;
            for (std::string& arg : line) {
                arg_arr.push_back(arg.data());
            }
            arg_arr.push_back(nullptr);
            ::execv(arg_arr[0], arg_arr.data());
            ::_exit(127);
        }
        _slave = ::open(::ptsname(_fd), O_RDWR | O_NOCTTY);
    }
    ~Pty() {
        if (!_ended_flag) {
            ::kill(-_pid, SIGKILL);
            ::waitpid(_pid, nullptr, 0);
        }
        ::close(_slave);
        ::close(_fd);
    }
    Pty(Pty const&) = delete;
    Pty& operator=(Pty const&) = delete;

    void type(std::string const& keys) const {
        EXPECT_EQ(static_cast<ssize_t>(keys.size()), ::write(_fd, keys.data(), keys.size()));
    }
    void send(int signal) const { ::kill(_pid, signal); }

    // Whether txt is shown from now on, in time.
    bool is_shown(std::string const& txt) {
        _out.clear();
        auto const end = Clock::now() + std::chrono::seconds(20);
        while (Clock::now() < end && _out.find(txt) == std::string::npos) {
            read_some();
        }
        return _out.find(txt) != std::string::npos;
    }
    template <class F>
    bool comes_to(F is_so) {
        auto const end = Clock::now() + std::chrono::seconds(20);
        while (Clock::now() < end && !is_so()) {
            read_some();
        }
        return is_so();
    }
    bool is_running() { return !_ended_flag && !reap(); }
    // The status of waitpid() once the command ended; -1 if it did not in time.
    int wait() {
        auto const end = Clock::now() + std::chrono::seconds(20);
        while (Clock::now() < end && is_running()) {
            read_some();
        }
        return _ended_flag ? _status : -1;
    }
    bool has_echo() const {
        termios mode = {};
        return ::tcgetattr(_slave, &mode) == 0 && (mode.c_lflag & ECHO) != 0;
    }
    std::string const& get_out() const { return _out; }

private:
    void read_some() {
        pollfd entry = {_fd, POLLIN, 0};
        char buf[4096];
        if (::poll(&entry, 1, 50) > 0) {
            auto const len = ::read(_fd, buf, sizeof(buf));
            _out.append(buf, len > 0 ? static_cast<std::size_t>(len) : 0);
        }
    }
    bool reap() {
        _ended_flag = ::waitpid(_pid, &_status, WNOHANG) == _pid;
        return _ended_flag;
    }

    pid_t _pid;
    int _fd = -1;
    int _slave;
    int _status = 0;
    bool _ended_flag = false;
    std::string _out;
};

class TerminalTest : public ::testing::Test {
protected:
    TerminalTest() {
        fs::copy(SOURCE_DIR "/examples", _dir.get_path(), fs::copy_options::recursive);
    }
    void write(std::string const& name, std::string const& txt) const {
        std::ofstream(_dir.get_path() / name) << txt;
    }
    // Goes round until it is told to stop.
    std::string make_play(std::string const& before,
                          std::string const& args = "--loop 0 1 03_rates_and_pitches.toml") const {
        return make_line(before, "play --device none " + args);
    }
    std::string make_record() const {
        return make_line("exec", "record take.wav --device none --json >report.json");
    }
    // Frames of the take, -1 for a file that does not open.
    long long count_frames() const {
        SF_INFO info = {};
        SNDFILE* const file = sf_open((_dir.get_path() / "take.wav").c_str(), SFM_READ, &info);
        sf_close(file);
        return file != nullptr ? info.frames : -1;
    }
    // What came out is a whole take that ended well, of more than two seconds.
    void expect_whole_take() const {
        std::ifstream stream(_dir.get_path() / "report.json");
        auto const report = nlohmann::json::parse(stream);
        EXPECT_GE(report["frames"], 2 * 48000);
        EXPECT_EQ(report["frames"], count_frames());
        EXPECT_EQ(0, report["lost_frames"]);
        EXPECT_TRUE(report["failure"].is_null());
        EXPECT_EQ(44 + 6 * count_frames(), fs::file_size(_dir.get_path() / "take.wav"));
    }

private:
    std::string make_line(std::string const& before, std::string const& args) const {
        return "ulimit -c 0; cd '" + _dir.get_path().string() + "' && " + before +
               " " BUILD_DIR "/tessitone " + args;
    }

    test::TempDir _dir;
};

} // namespace

TEST_F(TerminalTest, KeysAreReadAndTheTerminalIsAsItWas) {
    Pty pty(make_play("exec"));
    ASSERT_TRUE(pty.is_shown("playing")) << pty.get_out();
    EXPECT_FALSE(pty.has_echo());
    pty.type(" ");
    EXPECT_TRUE(pty.is_shown("paused")) << pty.get_out();
    pty.type(" ");
    EXPECT_TRUE(pty.is_shown("playing")) << pty.get_out();
    pty.type("q");
    EXPECT_TRUE(WIFEXITED(pty.wait()));
    EXPECT_TRUE(pty.has_echo());
}

TEST_F(TerminalTest, KeysJumpWhileItPauses) {
    write("song.toml", "[[track]]\nclips = [{ sample = \"samples/bell.wav\", at = 30 }]\n"
                       "[[cue]]\nat = 10\n[[cue]]\nname = \"Here\"\nat = 20\n");
    Pty pty(make_play("exec", "song.toml"));
    ASSERT_TRUE(pty.is_shown("playing 0:00")) << pty.get_out();
    pty.type(" ");
    EXPECT_TRUE(pty.is_shown("paused  0:0")) << pty.get_out();
    for (auto const& [key, shown] : {std::pair{"n", "0:10.0  Cue 1"},
                                     {"n", "0:20.0  Here"},
                                     {"\x1b[C", "0:25.0  Here"},
                                     {"\x1bOD", "0:20.0  Here"},
                                     {"\x1b[1;5D", "0:15.0  Cue 1"},
                                     {"p", "0:10.0  Cue 1"},
                                     {"\x1b[H", "0:00.0  "},
                                     {"n", "0:10.0  Cue 1"},
                                     {"\x1b[1~", "0:00.0  "},
                                     {"nn", "0:20.0  Here"},
                                     {"\x1b[D\x1b[D\x1b[D", "0:05.0  "},
                                     {"x\x1b[3~\x1b[15~\x1b[Bn", "0:10.0  Cue 1"}}) {
        pty.type(key);
        ASSERT_TRUE(pty.is_shown(std::string("paused  ") + shown)) << key << pty.get_out();
    }
    pty.type("  q"); // and not as one
    EXPECT_TRUE(WIFEXITED(pty.wait()));
}

TEST_F(TerminalTest, TheLineIsNotWiderThanTheTerminal) {
    Pty pty(make_play("exec"));
    ASSERT_TRUE(pty.is_shown("\x1b[K")) << pty.get_out();
    std::string const& out = pty.get_out();
    auto const end = out.find("\x1b[K");
    auto const beg = out.rfind('\r', end) + 1;
    EXPECT_EQ(width - 1u, end - beg) << out;
    pty.type("q");
    EXPECT_TRUE(WIFEXITED(pty.wait()));
}

TEST_F(TerminalTest, ASignalThatEndsItAtOnceLeavesTheTerminalAsItWas) {
    Pty pty(make_play("exec"));
    ASSERT_TRUE(pty.is_shown("playing")) << pty.get_out();
    pty.type("\x1c");
    int const status = pty.wait();
    EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGQUIT) << status;
    EXPECT_TRUE(pty.has_echo());
}

TEST_F(TerminalTest, CtrlCTwiceLeavesTheTerminalAsItWas) {
    Pty pty(make_play("exec"));
    ASSERT_TRUE(pty.is_shown("playing")) << pty.get_out();
    pty.type("\x03");
    pty.type("\x03");
    EXPECT_NE(-1, pty.wait());
    EXPECT_TRUE(pty.has_echo());
}

TEST_F(TerminalTest, PlaysInTheBackgroundWithoutKeys) {
    Pty pty(make_play("set -m;") + " & sleep 2; kill -INT $!; wait $!; echo END=$?.");
    ASSERT_TRUE(pty.is_shown("playing")) << pty.get_out();
    EXPECT_TRUE(pty.has_echo());
    ASSERT_TRUE(pty.is_shown("END=")) << pty.get_out();
    EXPECT_NE(-1, pty.wait());
    // Nothing was lost, or a machine that had much to do was late.
    std::string const& out = pty.get_out();
    EXPECT_TRUE(out.find("END=0.") != out.npos || out.find("END=3.") != out.npos) << out;
}

// In between the terminal is the shell's, in a mode of its own.
TEST_F(TerminalTest, KeysWorkAgainAfterAStop) {
    Pty pty({"/bin/bash", "--norc", "--noprofile", "-i"});
    pty.type(make_play("PS1=READY;") + "\n");
    for (int time = 0; time < 2; ++time) {
        ASSERT_TRUE(pty.is_shown("playing 0:")) << pty.get_out();
        EXPECT_TRUE(pty.comes_to([&] { return !pty.has_echo(); }));
        pty.type(" ");
        ASSERT_TRUE(pty.is_shown("paused  0:")) << pty.get_out();
        pty.type("\x1a");
        ASSERT_TRUE(pty.is_shown("Stopped")) << pty.get_out();
        pty.type("fg\n");
        ASSERT_TRUE(pty.is_shown("paused  0:")) << pty.get_out();
        pty.type(" ");
    }
    ASSERT_TRUE(pty.is_shown("playing 0:")) << pty.get_out();
    pty.type("q");
    ASSERT_TRUE(pty.is_shown("READY")) << pty.get_out();
    pty.type("exit\n");
    EXPECT_TRUE(WIFEXITED(pty.wait()));
}

TEST_F(TerminalTest, AStopLeavesTheTerminalAsItWas) {
    Pty pty("set -m; " + make_play("") + "; echo STOPPED; sleep 100");
    ASSERT_TRUE(pty.is_shown("playing")) << pty.get_out();
    EXPECT_FALSE(pty.has_echo());
    pty.type("\x1a");
    ASSERT_TRUE(pty.is_shown("STOPPED")) << pty.get_out();
    EXPECT_TRUE(pty.has_echo());
}

TEST_F(TerminalTest, KeysWorkOnceItIsBroughtToTheForeground) {
    Pty pty({"/bin/bash", "--norc", "--noprofile", "-i"});
    pty.type(make_play("PS1=READY;") + " &\n");
    ASSERT_TRUE(pty.is_shown("playing 0:")) << pty.get_out();
    pty.type("fg\n");
    EXPECT_TRUE(pty.comes_to([&] { return !pty.has_echo(); }));
    pty.type(" ");
    EXPECT_TRUE(pty.is_shown("paused  0:")) << pty.get_out();
    pty.type("q");
    ASSERT_TRUE(pty.is_shown("READY")) << pty.get_out();
    pty.type("exit\n");
    EXPECT_TRUE(WIFEXITED(pty.wait()));
}

TEST_F(TerminalTest, ATerminalThatIsClosedMayTellSoTwice) {
    for (int const signal : {SIGHUP, SIGTERM}) {
        Pty pty(make_play("exec"));
        ASSERT_TRUE(pty.is_shown("playing")) << pty.get_out();
        for (int time = 0; time < 20; ++time) { // one that waits to be taken is as good as two
            pty.send(signal);
            ::usleep(500);
        }
        EXPECT_TRUE(WIFEXITED(pty.wait())) << pty.get_out();
        EXPECT_TRUE(pty.has_echo());
    }
}

TEST_F(TerminalTest, ACrashLeavesTheTerminalAsItWas) {
    for (int const signal : {SIGSEGV, SIGBUS, SIGFPE, SIGABRT, SIGILL}) {
        Pty pty(make_play("exec"));
        ASSERT_TRUE(pty.is_shown("playing")) << pty.get_out();
        EXPECT_FALSE(pty.has_echo());
        pty.send(signal);
        int const status = pty.wait();
        // A sanitizer reports it, and ends the process by itself.
        EXPECT_TRUE(WIFSIGNALED(status) ? WTERMSIG(status) == signal : WEXITSTATUS(status) != 0)
            << signal << ": " << status;
        EXPECT_TRUE(pty.has_echo());
    }
}

TEST_F(TerminalTest, APlugInThatCrashesLeavesTheTerminalAsItWas) {
    Pty pty(make_play("sleep 0.2; exec", "--bundle " FAULTY_DIR "/sample_crash.so "
                                         "03_rates_and_pitches.toml"));
    int const status = pty.wait();
    EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGABRT) << status << pty.get_out();
    EXPECT_TRUE(pty.has_echo());
}

TEST_F(TerminalTest, ASignalThatWasIgnoredStaysSo) {
    Pty pty(make_play("trap '' HUP; exec"));
    ASSERT_TRUE(pty.is_shown("playing")) << pty.get_out();
    pty.send(SIGHUP);
    EXPECT_TRUE(pty.is_shown("playing")) << pty.get_out();
    ::usleep(500000);
    EXPECT_TRUE(pty.is_running());
    pty.type("q");
    EXPECT_TRUE(WIFEXITED(pty.wait()));
}

TEST_F(TerminalTest, KeysEndATakeThatIsWhole) {
    for (std::string const key : {"q", "\x03"}) {
        Pty pty(make_record());
        ASSERT_TRUE(pty.is_shown("recording 0:03.")) << pty.get_out();
        EXPECT_FALSE(pty.has_echo());
        pty.type(key);
        EXPECT_TRUE(WIFEXITED(pty.wait())) << pty.get_out();
        EXPECT_TRUE(pty.has_echo());
        expect_whole_take();
    }
}

TEST_F(TerminalTest, SignalsEndATakeThatIsWhole) {
    for (int const signal : {SIGINT, SIGTERM, SIGHUP}) {
        Pty pty(make_record());
        ASSERT_TRUE(pty.is_shown("recording 0:03.")) << pty.get_out();
        pty.send(signal);
        EXPECT_TRUE(WIFEXITED(pty.wait())) << pty.get_out();
        EXPECT_TRUE(pty.has_echo());
        expect_whole_take();
    }
}

TEST_F(TerminalTest, AKilledTakeHasAllButTheLastSeconds) {
    Pty pty(make_record());
    ASSERT_TRUE(pty.is_shown("recording 0:05.")) << pty.get_out();
    pty.send(SIGKILL);
    int const status = pty.wait();
    EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL) << status;
    EXPECT_GE(count_frames(), static_cast<long long>((5 - 2) * 48000));
}
