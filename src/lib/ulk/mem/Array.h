#pragma once

namespace ulk::mem {

// N elements by value: no heap, no virtual table, zero when no initialiser is given. The index is
// not checked. An aggregate, so that it is written as Array<float, 2>{beg, end}.
template <class T, long N>
class Array {
public:
    static_assert(N > 0);

    constexpr T& operator[](long pos) { return _data_arr[pos]; }
    constexpr T const& operator[](long pos) const { return _data_arr[pos]; }
    static constexpr long size() { return N; }

    constexpr T* begin() { return _data_arr; }
    constexpr T* end() { return _data_arr + N; }
    constexpr T const* begin() const { return _data_arr; }
    constexpr T const* end() const { return _data_arr + N; }

    T _data_arr[N]{}; // public for aggregate initialisation alone
};

} // namespace ulk::mem
