#pragma once

#include <utility>

namespace ulk::util {

template <class T>
int BinaryStreamInput::read(T& value, char const* err) {
    int const ret = value.read(*this);
    if (ret != 0) {
        report(err, __PRETTY_FUNCTION__, __LINE__);
    }
    return ret;
}

template <class T>
int BinaryStreamInput::read(std::vector<T>& list, char const* err) {
    archi::UInt32 count = 0;
    if (int const ret = read(count, err); ret != 0) {
        return ret;
    }
    if (count > size()) { // no element takes less than a byte
        return report_outside(err, __PRETTY_FUNCTION__, __LINE__);
    }
    auto pos = list.size();
    list.resize(pos + count);
    for (; pos < list.size(); ++pos) {
        if (int const ret = read(list[pos], err); ret != 0) {
            return ret;
        }
    }
    return 0;
}

template <class K, class V>
int BinaryStreamInput::read(std::map<K, V>& map, char const* err) {
    archi::UInt32 count = 0;
    if (int const ret = read(count, err); ret != 0) {
        return ret;
    }
    if (count > size()) {
        return report_outside(err, __PRETTY_FUNCTION__, __LINE__);
    }
    for (; count > 0; --count) {
        std::pair<K, V> elt;
        if (int const ret = read(elt.first, err); ret != 0) {
            return ret;
        }
        if (int const ret = read(elt.second, err); ret != 0) {
            return ret;
        }
        map.insert(std::move(elt));
    }
    return 0;
}

} // namespace ulk::util
