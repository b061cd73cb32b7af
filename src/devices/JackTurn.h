#pragma once

#include <RtAudio.h>

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

namespace ulk::devices {

// As long as one lives, no other program of ours opens or closes a client of JACK's. Closing
// cancels the thread that hears of others that come and go, and waits for ever for a lock that the
// thread held just then. With other systems it does nothing.
class JackTurn {
public:
    explicit JackTurn(RtAudio::Api api) {
        static constexpr char in_module = 0;
        Dl_info module = {};
        if (api == RtAudio::UNIX_JACK && ::dladdr(&in_module, &module) != 0) {
            _fd = ::open(module.dli_fname, O_RDONLY | O_CLOEXEC);
            ::flock(_fd, LOCK_EX);
        }
    }
    ~JackTurn() {
        if (_fd >= 0) {
            ::close(_fd);
        }
    }
    JackTurn(JackTurn const&) = delete;
    JackTurn& operator=(JackTurn const&) = delete;

private:
    int _fd = -1;
};

} // namespace ulk::devices
