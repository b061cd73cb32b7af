#include "ulk/sys/KeyReader.h"

#include "ulk/sys/ThreadMgr.h"

#include <cstring>
#include <new>

#include <poll.h>
#include <termios.h>
#include <unistd.h>

namespace ulk::sys {

namespace {

bool wait_for_input(int timeout_ms) {
    pollfd entry = {STDIN_FILENO, POLLIN, 0};
    return ::poll(&entry, 1, timeout_ms) > 0 && (entry.revents & POLLIN) != 0;
}

int find_arrow(unsigned char letter) {
    return letter == 'D'   ? KeyReader::Key_LEFT
           : letter == 'C' ? KeyReader::Key_RIGHT
                           : KeyReader::Key_NONE;
}

} // namespace

KeyReader::KeyReader() {
    static_assert(sizeof(termios) <= sizeof(_storage));
    auto* const former = new (_storage) termios();
    if (::isatty(STDIN_FILENO) != 1 || ::tcgetattr(STDIN_FILENO, former) != 0) {
        return;
    }
    termios raw = *former;
    raw.c_lflag &= ~static_cast<tcflag_t>(ICANON | ECHO);
    _active_flag = ::tcsetattr(STDIN_FILENO, TCSANOW, &raw) == 0;
}

KeyReader::~KeyReader() {
    if (_active_flag) {
        ::tcsetattr(STDIN_FILENO, TCSANOW, std::launder(reinterpret_cast<termios*>(_storage)));
    }
}

int KeyReader::read(double timeout) {
    if (!_active_flag) {
        ThreadMgr::sleep(timeout);
        return Key_NONE;
    }
    if (!wait_for_input(static_cast<int>(timeout * 1000))) {
        return Key_NONE;
    }
    unsigned char txt[8];
    auto const len = ::read(STDIN_FILENO, txt, sizeof(txt));
    if (len >= 3 && txt[0] == 27 && (txt[1] == '[' || txt[1] == 'O')) {
        return find_arrow(txt[2]);
    }
    return len > 0 ? static_cast<int>(txt[0]) : static_cast<int>(Key_NONE);
}

} // namespace ulk::sys
