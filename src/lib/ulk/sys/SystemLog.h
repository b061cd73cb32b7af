#pragma once

namespace ulk::sys {

// The system's log daemon. Any thread.
class SystemLog {
public:
    // ident stands in front of each line, cut at 255 characters. All priorities pass.
    static void open(char const* ident);
    // "name text source function line"; none of the texts is a format.
    static void write(int priority, char const* name, char const* text, char const* source,
                      char const* function, long line);
};

} // namespace ulk::sys
