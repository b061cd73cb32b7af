#include "ulk/sys/posix/TerminalMode.h"

#include <csignal>

#include <termios.h>
#include <unistd.h>

namespace ulk::sys {

namespace {

constexpr int crash_arr[] = {SIGSEGV, SIGBUS, SIGFPE, SIGABRT, SIGILL};

termios former;
volatile std::sig_atomic_t raw_flag = 0;
struct sigaction former_action_arr[NSIG]; // of crashes

bool is_in_foreground() {
    return ::tcgetpgrp(STDIN_FILENO) == ::getpgrp();
}

// Goes on to whatever handled it before: what a fault is raised by runs again, and what was sent is
// sent again.
void handle_crash(int signal, siginfo_t* info, void*) {
    TerminalMode::restore();
    sigaction(signal, &former_action_arr[signal], nullptr);
    if (info->si_code <= 0) {
        ::raise(signal);
    }
}

void handle_stop(int signal);

// As under a shell without job control, nothing is done where the signal was ignored.
void install_stop() {
    struct sigaction action = {};
    if (sigaction(SIGTSTP, nullptr, &action) == 0 && action.sa_handler != SIG_IGN) {
        action = {};
        action.sa_handler = &handle_stop;
        action.sa_flags = SA_RESTART | SA_NODEFER;
        sigaction(SIGTSTP, &action, nullptr);
    }
}

// Stops in between, and is there again for the next time.
void handle_stop(int signal) {
    TerminalMode::restore();
    std::signal(signal, SIG_DFL);
    ::raise(signal);
    install_stop();
}

void install_handlers() {
    static bool installed_flag = false;
    if (installed_flag) {
        return;
    }
    installed_flag = true;
    install_stop();
    for (int const signal : crash_arr) {
        struct sigaction action = {};
        action.sa_sigaction = &handle_crash;
        action.sa_flags = SA_SIGINFO | SA_ONSTACK;
        sigaction(signal, &action, &former_action_arr[signal]);
    }
}

} // namespace

bool TerminalMode::make_raw() {
    termios mode;
    if (!is_in_foreground() || ::tcgetattr(STDIN_FILENO, &mode) != 0) {
        return false;
    }
    constexpr tcflag_t lively = ICANON | ECHO;
    if ((mode.c_lflag & lively) == 0) {
        return true;
    }
    install_handlers();
    former = mode;
    raw_flag = 1;
    mode.c_lflag &= ~lively;
    return ::tcsetattr(STDIN_FILENO, TCSANOW, &mode) == 0;
}

void TerminalMode::restore() {
    if (raw_flag == 0) {
        return;
    }
    // What stops a process of the background that changes its terminal.
    sigset_t stop;
    sigset_t mask;
    sigemptyset(&stop);
    sigaddset(&stop, SIGTTOU);
    pthread_sigmask(SIG_BLOCK, &stop, &mask);
    ::tcsetattr(STDIN_FILENO, TCSANOW, &former);
    pthread_sigmask(SIG_SETMASK, &mask, nullptr);
    raw_flag = 0;
}

} // namespace ulk::sys
