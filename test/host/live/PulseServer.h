#pragma once

#include "host/live/ServerProcess.h"
#include "support/TempDir.h"

#include <chrono>
#include <cstdlib>
#include <string>
#include <thread>

namespace test {

// A PulseAudio server of the test's own as long as the object lives, with one device without sound,
// of two channels and 48 kHz, whose monitor can be recorded. Programs started meanwhile find it,
// and no other one.
class PulseServer {
public:
    // module: what plays, in the server's language; none for a server without devices.
    explicit PulseServer(std::string const& module = "module-null-sink format=float32le rate=48000 "
                                                     "channels=2 channel_map=stereo") {
        std::string const home = _dir.get_path().string();
        std::string const socket = _dir.make_name("socket");
        for (char const* const name :
             {"HOME", "XDG_RUNTIME_DIR", "PULSE_RUNTIME_PATH", "PULSE_STATE_PATH"}) {
            ::setenv(name, home.c_str(), 1);
        }
        ::setenv("PULSE_SERVER", ("unix:" + socket).c_str(), 1);
        ::unsetenv("PULSE_LATENCY_MSEC");
        std::vector<std::string> line = {"pulseaudio",        "-n",
                                         "--daemonize=no",    "--exit-idle-time=-1",
                                         "--use-pid-file=no", "--realtime=no"};
        if (!module.empty()) {
            line.insert(line.end(), {"-L", module});
        }
        line.insert(line.end(),
                    {"-L", "module-native-protocol-unix auth-anonymous=1 socket=" + socket});
        _process.launch(line);
        for (int trial = 0; trial < 200 && !_running_flag && !_process.has_ended(); ++trial) {
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
            _running_flag = std::filesystem::exists(socket);
        }
    }

    bool is_running() const { return _running_flag; }
    std::string read_output() const { return _process.read_output(); }
    void send(int signal) const { _process.send(signal); }
    void end(int signal) { _process.end(signal); }

private:
    TempDir _dir;
    ServerProcess _process; // ends before its folder
    bool _running_flag = false;
};

} // namespace test
