#include "ulk/sys/KeyReader.h"

#include "ulk/sys/ThreadMgr.h"
#include "ulk/sys/posix/TerminalMode.h"

#include <poll.h>
#include <unistd.h>

namespace ulk::sys {

namespace {

constexpr unsigned char escape = 27;
constexpr int sequence_ms = 20; // within which the rest of a sequence comes

// By the first sign of its sequence and the letter that ends it, as terminals send them.
int find_key(unsigned char first, unsigned char letter) {
    switch (letter) {
    case 'C':
        return KeyReader::Key_RIGHT;
    case 'D':
        return KeyReader::Key_LEFT;
    case 'H':
        return KeyReader::Key_HOME;
    case '~':
        return first == '1' || first == '7' ? KeyReader::Key_HOME : KeyReader::Key_NONE;
    default:
        return KeyReader::Key_NONE;
    }
}

} // namespace

KeyReader::KeyReader() {
    TerminalMode::make_raw();
}

KeyReader::~KeyReader() {
    TerminalMode::restore();
}

int KeyReader::read(double timeout) {
    if (!TerminalMode::make_raw()) {
        ThreadMgr::sleep(timeout);
        return Key_NONE;
    }
    return fill(static_cast<int>(timeout * 1000)) ? take() : Key_NONE;
}

// Whether there is something to take.
bool KeyReader::fill(int timeout_ms) {
    if (_pos < _end) {
        return true;
    }
    pollfd entry = {STDIN_FILENO, POLLIN, 0};
    if (::poll(&entry, 1, timeout_ms) <= 0 || (entry.revents & POLLIN) == 0) {
        return false;
    }
    auto const len = ::read(STDIN_FILENO, _buf.data(), _buf.size());
    _pos = 0;
    _end = len > 0 ? static_cast<std::size_t>(len) : 0;
    return _pos < _end;
}

// A character, or a whole sequence: an escape, '[' or 'O', digits and signs, a letter.
int KeyReader::take() {
    unsigned char const first = _buf[_pos++];
    if (first != escape || !fill(sequence_ms) || (_buf[_pos] != '[' && _buf[_pos] != 'O')) {
        return first;
    }
    ++_pos;
    unsigned char sign = 0;
    while (fill(sequence_ms)) {
        unsigned char const letter = _buf[_pos++];
        sign = sign == 0 ? letter : sign;
        if (letter >= '@') {
            return find_key(sign, letter);
        }
    }
    return Key_NONE;
}

} // namespace ulk::sys
