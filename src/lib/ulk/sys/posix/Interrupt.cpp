#include "ulk/sys/Interrupt.h"

#include "ulk/sys/posix/TerminalMode.h"

#include <csignal>
#include <initializer_list>

namespace ulk::sys {

namespace {

volatile std::sig_atomic_t asked_flag = 0;

void handle(int signal, void (*handler)(int)) {
    struct sigaction action = {};
    action.sa_handler = handler;
    action.sa_flags = SA_RESTART;
    sigaction(signal, &action, nullptr);
}

void end_at_once(int signal) {
    TerminalMode::restore();
    handle(signal, SIG_DFL);
    ::raise(signal);
}

void note_down(int signal) {
    asked_flag = 1;
    if (signal == SIGINT) {
        handle(signal, &end_at_once);
    }
}

// As under nohup.
bool is_ignored(int signal) {
    struct sigaction former = {};
    return sigaction(signal, nullptr, &former) == 0 && former.sa_handler == SIG_IGN;
}

} // namespace

void Interrupt::install() {
    for (int const signal : {SIGINT, SIGTERM, SIGHUP, SIGQUIT}) {
        if (!is_ignored(signal)) {
            handle(signal, signal == SIGQUIT ? &end_at_once : &note_down);
        }
    }
}

bool Interrupt::is_asked() {
    return asked_flag != 0;
}

} // namespace ulk::sys
