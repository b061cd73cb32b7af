#pragma once

namespace ulk::sys {

// Reads single keys of the terminal on standard input, without their echo, as long as the object
// lives. Without a terminal, and in its background, there are none. One at a time.
class KeyReader {
public:
    enum Key : int { Key_NONE = -1, Key_LEFT = 256, Key_RIGHT };

    KeyReader();
    ~KeyReader(); // the terminal is as it was

    KeyReader(KeyReader const&) = delete;
    KeyReader& operator=(KeyReader const&) = delete;

    // A character or a Key; Key_NONE when none came within timeout seconds.
    int read(double timeout);

private:
    bool _active_flag;
};

} // namespace ulk::sys
