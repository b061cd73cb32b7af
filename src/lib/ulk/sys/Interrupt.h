#pragma once

namespace ulk::sys {

// The user's wish that the program ends, by Ctrl-C or as the system tells it. It is noted down, for
// a program that asks and ends in good order; a second Ctrl-C ends it at once, as Ctrl-\ does, with
// the terminal as KeyReader found it. A terminal that is closed may tell so twice, which changes
// nothing. Signals that were ignored stay so.
class Interrupt {
public:
    static void install(); // at the start of work that asks
    static bool is_asked();
};

} // namespace ulk::sys
