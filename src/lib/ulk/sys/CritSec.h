#pragma once

#include "ulk/sys/Mutex.h"

namespace ulk::sys {

// Scope guard of a mutex. enter() and leave() do nothing in the state they lead to, and serve to
// open a hole in the guarded scope. Belongs to one thread. Throws what the mutex throws, also from
// the destructor.
class CritSec {
public:
    explicit CritSec(Mutex const& mutex, bool enter_now = true)
        : _mutex(mutex) {
        if (enter_now) {
            enter();
        }
    }
    CritSec(CritSec const&) = delete;
    CritSec& operator=(CritSec const&) = delete;
    virtual ~CritSec() noexcept(false) { leave(); }

    void enter() {
        if (!_entered_flag) {
            _mutex.lock();
            _entered_flag = true;
        }
    }

    void leave() {
        if (_entered_flag) {
            _entered_flag = false; // first, or a failure would be met again by the destructor
            _mutex.unlock();
        }
    }

private:
    Mutex const& _mutex;
    bool _entered_flag = false;
};

} // namespace ulk::sys
