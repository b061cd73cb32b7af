#include "ulk/sys/Interrupt.h"

#include <csignal>
#include <initializer_list>

namespace ulk::sys {

namespace {

volatile std::sig_atomic_t asked_flag = 0;

void note_down(int) {
    asked_flag = 1;
}

} // namespace

void Interrupt::install() {
    struct sigaction action = {};
    action.sa_handler = &note_down;
    action.sa_flags = static_cast<int>(SA_RESETHAND | SA_RESTART);
    for (int const signal : {SIGINT, SIGTERM, SIGHUP}) {
        sigaction(signal, &action, nullptr);
    }
}

bool Interrupt::is_asked() {
    return asked_flag != 0;
}

} // namespace ulk::sys
