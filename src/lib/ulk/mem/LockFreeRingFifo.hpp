#pragma once

#include "ulk/conc/AioAddMod.h"
#include "ulk/conc/RetryLoop.h"

#include <algorithm>
#include <atomic>
#include <limits>
#include <stdexcept>

namespace ulk::mem {

template <class T>
LockFreeRingFifo<T>::LockFreeRingFifo(long size)
    : _size(size) {
    if (size < 1 || size > std::numeric_limits<archi::Int32>::max()) {
        throw std::invalid_argument("ulk::mem::LockFreeRingFifo: Size out of range.");
    }
    _data.reset(new T[static_cast<std::size_t>(size)]);
}

template <class T>
T* LockFreeRingFifo<T>::use_data_block_write(long& len) {
    long const pos_write = load(_pos_write);
    len = std::min(compute_free(pos_write, load(_pos_read)), _size - pos_write);
    return &_data[static_cast<std::size_t>(pos_write)];
}

template <class T>
void LockFreeRingFifo<T>::advance_write() {
    if (!is_full()) {
        advance(_pos_write);
    }
}

template <class T>
T* LockFreeRingFifo<T>::use_data_block_read(long& len) const {
    long const pos_read = load(_pos_read);
    len = std::min(compute_fill(load(_pos_write), pos_read), _size - pos_read);
    return &_data[static_cast<std::size_t>(pos_read)];
}

template <class T>
void LockFreeRingFifo<T>::advance_read() {
    if (!is_empty()) {
        advance(_pos_read);
    }
}

// One slot stays unused, to tell a full ring from an empty one.
template <class T>
long LockFreeRingFifo<T>::compute_free(long pos_write, long pos_read) const {
    return _size - 1 - compute_fill(pos_write, pos_read);
}

template <class T>
long LockFreeRingFifo<T>::compute_fill(long pos_write, long pos_read) const {
    return (pos_write - pos_read + _size) % _size;
}

template <class T>
void LockFreeRingFifo<T>::advance(archi::Int32& pos) {
    conc::RetryLoop::update(pos, conc::AioAddMod<long>(1, _size));
}

// Pairs with the swap of the other side: its slot is seen as it left it.
template <class T>
long LockFreeRingFifo<T>::load(archi::Int32& pos) {
    return std::atomic_ref<archi::Int32>(pos).load(std::memory_order_acquire);
}

} // namespace ulk::mem
