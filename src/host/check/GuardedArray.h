#pragma once

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <memory>
#include <new>

namespace ulk::host::check {

// An array of a trivial type, aligned to cache lines, with an area on both sides that nobody may
// write to.
template <class T>
class GuardedArray {
public:
    explicit GuardedArray(long len)
        : _len(static_cast<std::size_t>(std::max(len, 0L)))
        , _area(static_cast<std::byte*>(::operator new[](get_nbr_bytes(), align))) {
        std::memset(_area.get(), pattern, get_nbr_bytes());
    }

    T* data() { return reinterpret_cast<T*>(_area.get() + margin); }
    T const* data() const { return reinterpret_cast<T const*>(_area.get() + margin); }
    long get_len() const { return static_cast<long>(_len); }

    bool is_intact() const {
        std::byte const* const beg = _area.get();
        std::size_t const end = margin + _len * sizeof(T);
        return has_pattern(beg, beg + margin) && has_pattern(beg + end, beg + get_nbr_bytes());
    }
    // Nobody has written to the array itself either.
    bool is_untouched() const { return has_pattern(_area.get(), _area.get() + get_nbr_bytes()); }

private:
    static constexpr std::align_val_t align{64};
    static constexpr std::size_t margin = 256; // bytes on each side, more than a vector's width
    static constexpr int pattern = 0xA7;

    struct Deleter {
        void operator()(std::byte* ptr) const { ::operator delete[](ptr, align); }
    };

    static bool has_pattern(std::byte const* beg, std::byte const* end) {
        return std::all_of(beg, end, [](std::byte b) { return b == std::byte{pattern}; });
    }
    std::size_t get_nbr_bytes() const { return _len * sizeof(T) + 2 * margin; }

    std::size_t _len;
    std::unique_ptr<std::byte[], Deleter> _area;
};

} // namespace ulk::host::check
