#pragma once

#include <array>
#include <cstddef>

namespace ulk::sys {

// Reads single keys of the terminal on standard input, without their echo, as long as the object
// lives. Without a terminal, and in its background, there are none. What stops or crashes the
// process leaves the terminal as it was. One at a time.
class KeyReader {
public:
    enum Key : int { Key_NONE = -1, Key_LEFT = 256, Key_RIGHT, Key_HOME };

    KeyReader();
    ~KeyReader(); // the terminal is as it was

    KeyReader(KeyReader const&) = delete;
    KeyReader& operator=(KeyReader const&) = delete;

    // A character or a Key; Key_NONE when none came within timeout seconds, or one without a name
    // here. Keys that come together are read one after the other.
    int read(double timeout);

private:
    bool fill(int timeout_ms);
    int take();

    std::array<unsigned char, 64> _buf{}; // what the terminal sent
    std::size_t _pos = 0;                 // of what is not yet taken
    std::size_t _end = 0;
};

} // namespace ulk::sys
