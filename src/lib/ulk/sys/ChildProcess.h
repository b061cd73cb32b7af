#pragma once

#include <functional>
#include <string>

namespace ulk::sys {

// Work done in a process of its own, a copy of this one, so that a crash or a hang stays there.
class ChildProcess {
public:
    enum End {
        End_DONE,   // the work came back with its result
        End_EXIT,   // the process ended itself on the way
        End_SIGNAL, // a signal ended it
        End_TIMEOUT // it was ended, with all that it had started, when its time was over
    };

    struct Outcome {
        End end;
        int code;           // of the exit, or the signal
        std::string result; // what the work returned, when done
        std::string output; // the last 4096 bytes it wrote to its standard output and error
        std::string note;   // the last one left by set_note()

        std::string describe_end() const; // "killed by signal 11 (Segmentation fault)"
    };

    // Waits for the end. time_max: seconds. To be called while this process has one thread. Throws
    // std::runtime_error when the system gives no process.
    static Outcome run(std::function<std::string()> const& work, double time_max);

    // For the work: where it is, for whom finds it dead there. Real-time; cut to 255 bytes; nothing
    // outside of a child.
    static void set_note(char const* txt);
};

} // namespace ulk::sys
