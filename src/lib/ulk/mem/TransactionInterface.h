#pragma once

namespace ulk::mem {

// A change that is prepared aside, published at one instant, and cleaned up after.
class TransactionInterface {
public:
    virtual ~TransactionInterface() = default;

    bool has_transaction_started() const { return do_has_transaction_started(); }
    void commit_fast() { do_commit_fast(); } // frees nothing: fit to stand under a short lock
    bool has_been_committed() const { return do_has_been_committed(); } // and not cleaned yet
    void rollback() { do_rollback(); }
    void clean() { do_clean(); } // frees what a commit replaced

protected:
    virtual bool do_has_transaction_started() const = 0;
    virtual void do_commit_fast() = 0;
    virtual bool do_has_been_committed() const = 0;
    virtual void do_rollback() = 0;
    virtual void do_clean() = 0;
};

} // namespace ulk::mem
