#include "ulk/sys/ChildProcess.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <stdexcept>

#include <poll.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace ulk::sys {

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::size_t note_len = 256;
constexpr std::size_t output_len = 4096;

char* note_ptr = nullptr; // shared with the child

[[noreturn]] void fail(char const* what) {
    throw std::runtime_error(std::string(what) + ": " + std::strerror(errno));
}

// Memory that the child's copy of this process shares.
class SharedNote {
public:
    SharedNote() {
        void* const area =
            ::mmap(nullptr, note_len, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
        if (area == MAP_FAILED) {
            fail("no memory to share with a child");
        }
        note_ptr = static_cast<char*>(area);
    }
    ~SharedNote() {
        ::munmap(note_ptr, note_len);
        note_ptr = nullptr;
    }
    SharedNote(SharedNote const&) = delete;
    SharedNote& operator=(SharedNote const&) = delete;
};

class Pipe {
public:
    Pipe() {
        if (::pipe(_fd_arr) != 0) {
            fail("no pipe to a child");
        }
    }
    ~Pipe() {
        close_end(0);
        close_end(1);
    }
    Pipe(Pipe const&) = delete;
    Pipe& operator=(Pipe const&) = delete;

    int get_read() const { return _fd_arr[0]; }
    int get_write() const { return _fd_arr[1]; }
    void close_end(int end) {
        if (_fd_arr[end] >= 0) {
            ::close(_fd_arr[end]);
            _fd_arr[end] = -1;
        }
    }
    // Takes what is there; closes at its end.
    void read_some(std::string& txt) {
        char buf[4096];
        auto const len = ::read(get_read(), buf, sizeof(buf));
        if (len > 0) {
            txt.append(buf, static_cast<std::size_t>(len));
        } else if (len == 0 || errno != EINTR) {
            close_end(0);
        }
    }

private:
    int _fd_arr[2] = {-1, -1};
};

void write_all(int fd, std::string const& txt) {
    for (std::size_t pos = 0; pos < txt.size();) {
        auto const len = ::write(fd, txt.data() + pos, txt.size() - pos);
        if (len < 0 && errno != EINTR) {
            return;
        }
        pos += static_cast<std::size_t>(std::max<decltype(len)>(len, 0));
    }
}

[[noreturn]] void run_child(std::function<std::string()> const& work, Pipe& result, Pipe& output) {
    ::setpgid(0, 0);
    rlimit const no_core = {0, 0};
    ::setrlimit(RLIMIT_CORE, &no_core);
    ::dup2(output.get_write(), STDOUT_FILENO);
    ::dup2(output.get_write(), STDERR_FILENO);
    write_all(result.get_write(), work());
    std::fflush(nullptr);
    ::_exit(0);
}

// Reads both pipes to their ends; false when the time was over before.
bool read_all(Pipe& result, Pipe& output, ChildProcess::Outcome& outcome, Clock::time_point end) {
    for (;;) {
        pollfd poll_arr[] = {{result.get_read(), POLLIN, 0}, {output.get_read(), POLLIN, 0}};
        if (poll_arr[0].fd < 0 && poll_arr[1].fd < 0) {
            return true;
        }
        auto const left =
            std::chrono::duration_cast<std::chrono::milliseconds>(end - Clock::now()).count();
        if (left <= 0) {
            return false;
        }
        ::poll(poll_arr, 2, static_cast<int>(left));
        if (poll_arr[0].revents != 0) {
            result.read_some(outcome.result);
        }
        if (poll_arr[1].revents != 0) {
            output.read_some(outcome.output);
            outcome.output.erase(0, std::max(outcome.output.size(), output_len) - output_len);
        }
    }
}

int wait_for(pid_t pid) {
    int status = 0;
    while (::waitpid(pid, &status, 0) < 0 && errno == EINTR) {
    }
    return status;
}

void set_end(ChildProcess::Outcome& outcome, int status, bool in_time_flag) {
    if (!in_time_flag) {
        outcome.end = ChildProcess::End_TIMEOUT;
    } else if (WIFSIGNALED(status)) {
        outcome.end = ChildProcess::End_SIGNAL;
        outcome.code = WTERMSIG(status);
    } else {
        outcome.code = WEXITSTATUS(status);
        bool const done_flag = outcome.code == 0 && !outcome.result.empty();
        outcome.end = done_flag ? ChildProcess::End_DONE : ChildProcess::End_EXIT;
    }
}

} // namespace

ChildProcess::Outcome ChildProcess::run(std::function<std::string()> const& work, double time_max) {
    SharedNote const note;
    Pipe result;
    Pipe output;
    auto const end = Clock::now() + std::chrono::duration_cast<Clock::duration>(
                                        std::chrono::duration<double>(time_max));
    std::fflush(nullptr); // or the child would print it once more
    pid_t const pid = ::fork();
    if (pid < 0) {
        fail("no process for a child");
    }
    if (pid == 0) {
        run_child(work, result, output);
    }
    ::setpgid(pid, pid); // whoever comes first
    result.close_end(1);
    output.close_end(1);
    Outcome outcome = {};
    bool const in_time_flag = read_all(result, output, outcome, end);
    ::kill(-pid, SIGKILL); // what it left behind, too
    set_end(outcome, wait_for(pid), in_time_flag);
    outcome.note = note_ptr;
    return outcome;
}

std::string ChildProcess::Outcome::describe_end() const {
    switch (end) {
    case End_DONE:
        return "done";
    case End_EXIT:
        return "ended by exit code " + std::to_string(code);
    case End_SIGNAL:
        return "killed by signal " + std::to_string(code) + " (" + ::strsignal(code) + ")";
    case End_TIMEOUT:
        return "still not done when its time was over";
    }
    return {};
}

void ChildProcess::set_note(char const* txt) {
    if (note_ptr != nullptr) {
        std::strncpy(note_ptr, txt, note_len - 1);
    }
}

} // namespace ulk::sys
