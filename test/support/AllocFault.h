#pragma once

namespace test {

// While one lives, allocations by operator new on this thread are counted, and the one of index
// fail_at (from 0) throws std::bad_alloc; a negative index only counts. Not nested.
class AllocFault {
public:
    explicit AllocFault(long fail_at = -1);
    ~AllocFault();

    AllocFault(AllocFault const&) = delete;
    AllocFault& operator=(AllocFault const&) = delete;

    long get_count() const; // allocations seen so far, the failed one included
    bool has_failed() const;
    long get_nbr_bytes() const; // asked for so far, freed ones included
};

} // namespace test
