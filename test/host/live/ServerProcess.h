#pragma once

#include <csignal>
#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace test {

// A sound server as a process that ends with the object.
class ServerProcess {
public:
    // A file that is open; locked, when it has a name.
    class File {
    public:
        explicit File(std::string const& path)
            : _fd(::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0666)) {
            ::flock(_fd, LOCK_EX);
        }
        File()
            : _fd(::memfd_create("server", MFD_CLOEXEC)) {}
        ~File() { ::close(_fd); }
        File(File const&) = delete;
        File& operator=(File const&) = delete;
        int get() const { return _fd; }

    private:
        int _fd;
    };

    ServerProcess() = default;
    ~ServerProcess() { end(SIGTERM); }
    ServerProcess(ServerProcess const&) = delete;
    ServerProcess& operator=(ServerProcess const&) = delete;

    // Its program and arguments.
    void launch(std::vector<std::string> const& line) {
        std::vector<char*> arg_arr;
        for (std::string const& arg : line) {
            arg_arr.push_back(const_cast<char*>(arg.c_str()));
        }
        arg_arr.push_back(nullptr);
        _pid = ::fork();
        if (_pid == 0) {
            ::prctl(PR_SET_PDEATHSIG, SIGKILL); // a test that crashes leaves no server
            ::dup2(_output.get(), 1);
            ::dup2(_output.get(), 2);
            ::execvp(arg_arr[0], arg_arr.data());
            ::perror(arg_arr[0]);
            ::_exit(127);
        }
    }
    bool has_ended() {
        if (_pid > 0 && ::waitpid(_pid, nullptr, WNOHANG) == _pid) {
            _pid = -1;
        }
        return _pid < 0;
    }
    std::string read_output() const {
        std::string txt(10000, '\0');
        auto const len = ::pread(_output.get(), txt.data(), txt.size(), 0);
        return txt.substr(0, len > 0 ? static_cast<std::size_t>(len) : 0);
    }
    void send(int signal) const { ::kill(_pid, signal); }
    void end(int signal) {
        if (_pid > 0) {
            ::kill(_pid, signal);
            ::kill(_pid, SIGCONT);
            ::waitpid(_pid, nullptr, 0);
            _pid = -1;
        }
    }

private:
    File const _output;
    pid_t _pid = -1;
};

} // namespace test
