#pragma once

#include <sys/mman.h>
#include <unistd.h>

#include <cstddef>
#include <cstring>
#include <new>

// Floats between two pages that must not be touched.
class GuardedArea {
public:
    explicit GuardedArea(std::size_t min_len) {
        auto const page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
        _len = (min_len * sizeof(float) + page - 1) / page * page;
        _map_len = _len + 2 * page;
        void* const map = mmap(nullptr, _map_len, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        if (map == MAP_FAILED) {
            throw std::bad_alloc();
        }
        _map = static_cast<char*>(map);
        if (mprotect(_map + page, _len, PROT_READ | PROT_WRITE) != 0) {
            throw std::bad_alloc();
        }
        _data = reinterpret_cast<float*>(_map + page);
    }
    ~GuardedArea() { munmap(_map, _map_len); }
    GuardedArea(GuardedArea const&) = delete;
    GuardedArea& operator=(GuardedArea const&) = delete;

    float* use_beg() const { return _data; }
    float* use_end() const { return _data + _len / sizeof(float); }

private:
    std::size_t _len;
    std::size_t _map_len;
    char* _map;
    float* _data;
};
