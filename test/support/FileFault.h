#pragma once

#include "ulk/sys/posix/SysCall.h"

#include <atomic>
#include <limits>

namespace test {

// Makes the file layer's system calls fail or fall short, in all threads, as long as it lives.
// Loop over the calls of a scenario:
//
//     bool hit_flag = true;
//     for (long n = 1; hit_flag; ++n) {
//         FileFault fault;
//         fault.fail_at(n, EIO);
//         ... what must survive; retry what failed ...
//         hit_flag = fault.was_hit();
//     }
//
// EINTR never reaches the callers of the layer: the call is made again.
class FileFault : public ulk::sys::posix::SysCall::Filter {
public:
    using SysCall = ulk::sys::posix::SysCall;

    static constexpr int ANY_OP = -1;
    static constexpr long FOR_EVER = std::numeric_limits<long>::max();

    FileFault()
        : _prev_ptr(SysCall::set_filter(this)) {}
    FileFault(FileFault const&) = delete;
    FileFault& operator=(FileFault const&) = delete;
    ~FileFault() override { SysCall::set_filter(_prev_ptr); }

    // From the `call`-th call on, counted from 1 over the calls of kind `op`, `nbr_calls` fail.
    void fail_at(long call, int err, int op = ANY_OP, long nbr_calls = 1) {
        _nbr_fail = nbr_calls;
        _err = err;
        _op = op;
        _fail_beg = call;
    }

    // No read and no write moves more than `len` bytes at a time; 0 lifts the limit.
    void limit_transfers(long len) { _max_len = len; }

    // Calls so far of the kind that was given to fail_at(), and whether one of them failed.
    long get_nbr_calls() const { return _nbr_calls; }
    bool was_hit() const { return _hit_flag; }

protected:
    long do_check(SysCall::Op op, long) override {
        if (_op == ANY_OP || _op == op) {
            long const call = ++_nbr_calls;
            if (call >= _fail_beg && call - _fail_beg < _nbr_fail) {
                _hit_flag = true;
                return -_err;
            }
        }
        return op == SysCall::Op_READ || op == SysCall::Op_WRITE ? _max_len.load() : 0;
    }

private:
    SysCall::Filter* _prev_ptr;
    std::atomic<long> _fail_beg{FOR_EVER};
    std::atomic<long> _nbr_fail{0};
    std::atomic<int> _err{0};
    std::atomic<int> _op{ANY_OP};
    std::atomic<long> _max_len{0};
    std::atomic<long> _nbr_calls{0};
    std::atomic<bool> _hit_flag{false};
};

} // namespace test
