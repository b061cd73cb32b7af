#pragma once

#include <iterator>

namespace ulk::util {

template <class IT>
void BinaryStreamOutputBase::write(IT first, IT last) {
    write(static_cast<archi::UInt32>(std::distance(first, last)));
    for (; first != last; ++first) {
        write_elt(*first);
    }
}

template <class T>
void BinaryStreamOutputBase::write_elt(T const& elt) {
    if constexpr (requires { elt.write(*this); }) {
        elt.write(*this);
    } else {
        write(elt);
    }
}

template <class T>
void BinaryStreamOutputBase::write_elt(mem::SharedPtr<T> const& elt) {
    elt->write(*this);
}

template <class K, class V>
void BinaryStreamOutputBase::write_elt(std::pair<K, V> const& elt) {
    write_elt(elt.first);
    write_elt(elt.second);
}

} // namespace ulk::util
