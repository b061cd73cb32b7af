#pragma once

#include "ulk/archi/types.h"

#include <memory>

namespace ulk::mem {

// Ring of elements that are all built at once by the constructor, for one writing and one reading
// thread. It holds size - 1 elements. The writer fills the slot it is given and then publishes it
// by advance_write(); the reader uses the oldest slot and then frees it by advance_read(). Lock-
// free; nothing but the constructor allocates.
template <class T>
class LockFreeRingFifo {
public:
    explicit LockFreeRingFifo(long size); // at least 1, or std::invalid_argument
    LockFreeRingFifo(LockFreeRingFifo const&) = delete;
    LockFreeRingFifo& operator=(LockFreeRingFifo const&) = delete;
    virtual ~LockFreeRingFifo() = default;

    // Writer, real-time. The next free slot, and in len how many slots may be written from there on
    // without a wrap, 0 when the ring is full.
    T* use_data_block_write(long& len);
    void advance_write(); // by one slot; nothing when the ring is full

    // Reader, real-time. The oldest slot, and in len how many may be read from there on.
    T* use_data_block_read(long& len) const;
    void advance_read(); // by one slot; nothing when the ring is empty

    // Any thread, real-time. The other side may have gone on meanwhile.
    bool is_full() const { return compute_free(load(_pos_write), load(_pos_read)) == 0; }
    bool is_empty() const { return load(_pos_write) == load(_pos_read); }

private:
    long compute_free(long pos_write, long pos_read) const;
    long compute_fill(long pos_write, long pos_read) const;
    void advance(archi::Int32& pos);
    static long load(archi::Int32& pos);

    std::unique_ptr<T[]> _data;
    mutable archi::Int32 _pos_write = 0; // 0 to _size - 1, as is the next
    mutable archi::Int32 _pos_read = 0;  // where the writer stands when the ring is empty
    long _size;
};

} // namespace ulk::mem

#include "ulk/mem/LockFreeRingFifo.hpp"
