#pragma once

#include "ulk/mem/TransactionInterface.h"

namespace ulk::conc {

// An object of type T that one side reads while the other changes a private copy and swaps it in.
// Writers are put in a row by their owner. A reader's reference is good until the next clean(),
// which the owner keeps away from readers together with commit_fast().
template <class T>
class BufferizedObj : public mem::TransactionInterface {
public:
    BufferizedObj();
    ~BufferizedObj() override;

    BufferizedObj(BufferizedObj const&) = delete;
    BufferizedObj& operator=(BufferizedObj const&) = delete;

    T const& use_cur() const { return *static_cast<T const*>(_cur_ptr); } // real-time
    T& use_work() { return *_work_ptr; }                                  // within a transaction

    // Copies the published object, unless a transaction is open.
    void start_transaction();

protected:
    bool do_has_transaction_started() const override { return _work_ptr != nullptr; }
    void do_commit_fast() override;
    bool do_has_been_committed() const override { return _old_ptr != nullptr; }
    void do_rollback() override;
    void do_clean() override;

private:
    void* volatile _cur_ptr; // a T, never null; written by atomic exchange
    T* _work_ptr = nullptr;
    T* _old_ptr = nullptr;
};

} // namespace ulk::conc

#include "ulk/conc/BufferizedObj.hpp"
