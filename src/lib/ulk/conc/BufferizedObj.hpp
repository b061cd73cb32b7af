#pragma once

#include "ulk/sys/Interlocked.h"

#include <utility>

namespace ulk::conc {

template <class T>
BufferizedObj<T>::BufferizedObj()
    : _cur_ptr(new T) {}

template <class T>
BufferizedObj<T>::~BufferizedObj() {
    delete static_cast<T*>(_cur_ptr);
    delete _work_ptr;
    delete _old_ptr;
}

template <class T>
void BufferizedObj<T>::start_transaction() {
    if (_work_ptr == nullptr) {
        do_clean();
        _work_ptr = new T(use_cur());
    }
}

template <class T>
void BufferizedObj<T>::do_commit_fast() {
    if (_work_ptr != nullptr) {
        _old_ptr = static_cast<T*>(sys::Interlocked::exchange_ptr(_cur_ptr, _work_ptr));
        _work_ptr = nullptr;
    }
}

template <class T>
void BufferizedObj<T>::do_rollback() {
    delete std::exchange(_work_ptr, nullptr);
}

template <class T>
void BufferizedObj<T>::do_clean() {
    delete std::exchange(_old_ptr, nullptr);
}

} // namespace ulk::conc
