#pragma once

#include "host/live/ServerProcess.h"
#include "ulk/sys/ThreadMgr.h"

#include <gtest/gtest.h>

#include <jack/jack.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

namespace test {

// A sound server without sound for as long as the object lives. It waits for its clients, so that a
// busy machine loses nothing, though it may tell of xruns. Programs started meanwhile find it. One
// at a time on the machine, all of one name: the place of a server that was killed is taken up
// again by that name alone, and there are eight.
class JackServer {
public:
    // Blocks until no other one is left.
    JackServer()
        : _lock((std::filesystem::temp_directory_path() / "tessitone_test_jack.lock").string()) {
        ::setenv("JACK_DEFAULT_SERVER", name, 1);
        ::setenv("JACK_NO_AUDIO_RESERVATION", "1", 1);
        jack_set_error_function([](char const*) {});
        constexpr int nbr_trials = 3;
        for (int trial = 0; trial < nbr_trials && !_running_flag; ++trial) {
            end(SIGKILL);
            _process.launch({"jackd", "--no-realtime", "-S", "-t", "10000", "-n", name, "-d",
                             "dummy", "-r", "48000", "-p", "256"});
            wait_for_start();
        }
    }
    JackServer(JackServer const&) = delete;
    JackServer& operator=(JackServer const&) = delete;

    bool is_running() const { return _running_flag; }
    // What it printed, when it does not run.
    std::string read_output() const { return _process.read_output(); }
    void send(int signal) const { _process.send(signal); }
    void end(int signal) { _process.end(signal); }

private:
    static constexpr char name[] = "tessitone_test";

    void wait_for_start() {
        for (int trial = 0; trial < 100 && !_running_flag; ++trial) {
            std::this_thread::sleep_for(std::chrono::milliseconds(100));
            if (_process.has_ended()) {
                return;
            }
            jack_client_t* const client = jack_client_open("probe", JackNoStartServer, nullptr);
            _running_flag = client != nullptr;
            if (client != nullptr) {
                jack_client_close(client);
            }
        }
    }

    ServerProcess::File const _lock;
    ServerProcess _process;
    bool _running_flag = false;
};

// A client with as many inputs and outputs: it keeps what it hears, and sends what it is given.
class JackClient {
public:
    using Channels = std::vector<std::vector<float>>;

    // sent: by channel, over and over; len: frames that are kept.
    JackClient(Channels const& signal, std::size_t len)
        : sent(signal)
        , heard(signal.size(), std::vector<float>(len)) {
        _client = jack_client_open("test", JackNoStartServer, nullptr);
        for (std::size_t chn = 0; chn < sent.size(); ++chn) {
            std::string const number = std::to_string(chn);
            _in_arr.push_back(jack_port_register(_client, ("in" + number).c_str(),
                                                 JACK_DEFAULT_AUDIO_TYPE, JackPortIsInput, 0));
            _out_arr.push_back(jack_port_register(_client, ("out" + number).c_str(),
                                                  JACK_DEFAULT_AUDIO_TYPE, JackPortIsOutput, 0));
        }
        jack_set_process_callback(_client, &process_static, this);
        jack_activate(_client);
    }
    ~JackClient() { close(); }
    JackClient(JackClient const&) = delete;
    JackClient& operator=(JackClient const&) = delete;

    void close() {
        if (_client != nullptr) {
            jack_client_close(_client);
            _client = nullptr;
        }
    }
    // False as long as one of them is not there.
    bool connect(std::string const& src, std::string const& dst) {
        int const ret = jack_connect(_client, src.c_str(), dst.c_str());
        return ret == 0 || ret == EEXIST;
    }
    std::size_t get_nbr_heard() const { return _nbr_heard; }
    bool has_port(char const* pattern) const {
        char const** const names = jack_get_ports(_client, pattern, nullptr, 0);
        jack_free(static_cast<void*>(names));
        return names != nullptr;
    }

    Channels const sent;
    Channels heard;

private:
    static int process_static(jack_nframes_t len, void* self) {
        ulk::sys::ThreadMgr::hold_cancel();
        static_cast<JackClient*>(self)->process(len);
        ulk::sys::ThreadMgr::allow_cancel();
        return 0;
    }
    void process(jack_nframes_t len) {
        for (std::size_t chn = 0; chn < sent.size(); ++chn) {
            auto const* const in =
                static_cast<float const*>(jack_port_get_buffer(_in_arr[chn], len));
            auto* const out = static_cast<float*>(jack_port_get_buffer(_out_arr[chn], len));
            for (std::size_t k = 0; k < len; ++k) {
                out[k] = sent[chn][(_nbr_sent + k) % sent[chn].size()];
                if (_nbr_heard + k < heard[chn].size()) {
                    heard[chn][_nbr_heard + k] = in[k];
                }
            }
        }
        _nbr_sent += len;
        _nbr_heard = _nbr_heard + len;
    }

    jack_client_t* _client;
    std::vector<jack_port_t*> _in_arr;
    std::vector<jack_port_t*> _out_arr;
    std::size_t _nbr_sent = 0;
    std::atomic<std::size_t> _nbr_heard = 0;
};

} // namespace test
