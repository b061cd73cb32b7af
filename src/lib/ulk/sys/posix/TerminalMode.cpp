#include "ulk/sys/posix/TerminalMode.h"

#include <csignal>

#include <termios.h>
#include <unistd.h>

namespace ulk::sys {

namespace {

termios former;
volatile std::sig_atomic_t raw_flag = 0;

} // namespace

bool TerminalMode::make_raw() {
    if (!is_in_foreground() || ::tcgetattr(STDIN_FILENO, &former) != 0) {
        return false;
    }
    raw_flag = 1;
    termios raw = former;
    raw.c_lflag &= ~static_cast<tcflag_t>(ICANON | ECHO);
    return ::tcsetattr(STDIN_FILENO, TCSANOW, &raw) == 0;
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

bool TerminalMode::is_in_foreground() {
    return ::tcgetpgrp(STDIN_FILENO) == ::getpgrp();
}

} // namespace ulk::sys
