#pragma once

namespace ulk::sys {

// Services for the calling thread and the count of processors.
class ThreadMgr {
public:
    // Importance of a thread; the system's scale runs the other way (nice values).
    enum Priority : int {
        Priority_LOWEST = -10,
        Priority_LOW = -5,
        Priority_NORMAL = 0,
        Priority_HIGH = 5,
        Priority_HIGHEST = 10
    };

    static void yield(); // lets any other thread run
    // Sleeps for seconds, cut to whole microseconds in 0 to 4294967295.
    static void sleep(double seconds);
    // Unique among the running threads and never get_invalid_thread_id().
    static unsigned long get_current_thread_id();
    static unsigned long get_invalid_thread_id();
    // Lets the calling thread go before all that are not so; among those that are, priority counts,
    // 1 to 99. False when the system refuses it.
    static bool make_real_time(int priority);
    static bool is_real_time(); // whether the calling thread is so
    // JACK cancels its thread at any instruction, which ends the program where the thread is in
    // C++. Between the two nothing of that happens; allow_cancel() may not return then, but unwinds
    // the stack, so that nobody calls it from a destructor or what is noexcept. real-time
    static void hold_cancel();
    static void allow_cancel();
    static int count_nbr_logical_proc();           // 1 if the system doesn't tell
    static void set_thread_name(char const* name); // does nothing on this platform
    static int set_priority(Priority prio);        // of the calling thread. 0, or -2946
};

} // namespace ulk::sys
