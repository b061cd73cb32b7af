#include "ulk/sys/KeyReader.h"

#include "ulk/sys/ThreadMgr.h"
#include "ulk/sys/posix/TerminalMode.h"

#include <poll.h>
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

KeyReader::KeyReader()
    : _active_flag(TerminalMode::make_raw()) {}

KeyReader::~KeyReader() {
    TerminalMode::restore();
}

int KeyReader::read(double timeout) {
    if (!_active_flag || !TerminalMode::is_in_foreground()) {
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
