#pragma once

#include <string>

namespace ulk::sys {

// Watches the calling thread, from construction to destruction, for what real-time code must not
// do: allocate or free memory, take a lock, make a system call (and so sleep, wait or do I/O).
//     { RealTimeGuard guard; plugin.process(block); }
// Whatever was seen and not asked for by stop() ends the process on destruction, with a stack.
//
// System calls are trapped in the kernel (x86-64; they run all the same). Memory and locks are seen
// by functions that stand in for those of the C library: the object library realtime_hooks, which a
// program links to have them. Under a sanitizer, whose own runtime gets in the way, memory alone is
// watched. Off, the guard costs one test of a thread's flag for each memory call. One at a time in
// a thread.
class RealTimeGuard {
public:
    // Uncontended: locks may be taken, but a system call, as a wait makes it, may not.
    enum Locks { Locks_FORBIDDEN, Locks_ALLOWED, Locks_UNCONTENDED };

    explicit RealTimeGuard(Locks locks = Locks_FORBIDDEN);
    ~RealTimeGuard();

    RealTimeGuard(RealTimeGuard const&) = delete;
    RealTimeGuard& operator=(RealTimeGuard const&) = delete;

    // Ends the watch early and tells what was seen, empty when nothing was.
    std::string stop();
    // Where the first of it happened: a line a function, innermost first. After stop().
    static std::string get_stack();

    // Whether locks and system calls are watched too in this program.
    static bool is_complete();

    // While one lives, the watch of the calling thread rests: for what a host does when the code
    // under watch calls it back.
    class Pause {
    public:
        Pause();
        ~Pause();

        Pause(Pause const&) = delete;
        Pause& operator=(Pause const&) = delete;

    private:
        bool _active_flag;
        char _selector;
    };

    // For the functions that stand in.
    static void note_memory() {
        if (_active_flag) {
            note_memory_watched();
        }
    }
    static void note_lock();
    static bool announce_hooks(bool complete_flag); // at the start of the program; returns true

private:
    static void note_memory_watched();

    // Constant-initialised, so that reading it from malloc never allocates.
    inline static constinit thread_local bool _active_flag = false;

    bool _running_flag = true;
};

} // namespace ulk::sys
