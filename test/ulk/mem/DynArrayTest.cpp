#include "ulk/mem/DynArray.h"
#include "ulk/mem/AllocAlign.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <limits>
#include <map>
#include <new>
#include <stdexcept>
#include <vector>

using ulk::mem::AllocAlign;
using ulk::mem::DynArray;

namespace {

struct Words {
    void* data;
    void* raw;
    long len;
    template <class T, std::size_t A>
    explicit Words(DynArray<T, A> const& arr) {
        static_assert(sizeof(arr) == sizeof(*this));
        std::memcpy(static_cast<void*>(this), static_cast<void const*>(&arr), sizeof(*this));
    }
    bool operator==(Words const&) const = default;
};

struct Counted {
    static inline int alive = 0;
    static inline int fail_at = -1; // number of the construction that throws
    Counted() {
        if (fail_at >= 0 && fail_at-- == 0) {
            throw std::runtime_error("construction");
        }
        ++alive;
    }
    Counted(Counted const&) = delete;
    Counted& operator=(Counted const&) = delete;
    ~Counted() { --alive; }
};

} // namespace

TEST(DynArrayTest, BelowOneEmpties) {
    for (long size : {0L, -5L, std::numeric_limits<long>::min()}) {
        DynArray<double, 1> arr;
        Words const empty(arr);
        EXPECT_EQ(nullptr, empty.data);
        EXPECT_EQ(nullptr, empty.raw);
        EXPECT_EQ(0, empty.len);
        arr.resize_loss(size); // already empty
        EXPECT_EQ(empty, Words(arr));
        arr.resize_loss(10);
        EXPECT_EQ(10, arr.size());
        EXPECT_EQ(Words(arr).data, Words(arr).raw);
        arr.resize_loss(size);
        EXPECT_EQ(empty, Words(arr));
        EXPECT_TRUE(arr.empty());
    }
}

TEST(DynArrayTest, TheCurrentSizeKeepsStorageAndContent) {
    DynArray<double, 1> arr(5);
    for (long i = 0; i < 5; ++i) {
        arr[i] = static_cast<double>(i) + 0.5;
    }
    Words const before(arr);
    arr.resize_loss(5);
    EXPECT_EQ(before, Words(arr));
    for (long i = 0; i < 5; ++i) {
        EXPECT_EQ(static_cast<double>(i) + 0.5, arr.data()[i]);
    }
    arr.resize_loss(6);
    EXPECT_NE(before.data, Words(arr).data); // made before the old one went
    EXPECT_EQ(6, arr.size());
}

TEST(DynArrayTest, ConstructsAndDestroys) {
    {
        DynArray<Counted, 1> arr(7);
        EXPECT_EQ(7, Counted::alive);
        arr.resize_loss(3);
        EXPECT_EQ(3, Counted::alive);
        arr.resize_loss(0);
        EXPECT_EQ(0, Counted::alive);
        arr.resize_loss(4);
    }
    EXPECT_EQ(0, Counted::alive);
}

TEST(DynArrayTest, FailureLeavesTheArrayAsItWas) {
    DynArray<Counted, 1> arr(7);
    Words const before(arr);
    Counted::fail_at = 4;
    EXPECT_THROW(arr.resize_loss(9), std::runtime_error);
    Counted::fail_at = -1;
    EXPECT_EQ(before, Words(arr));
    EXPECT_EQ(7, Counted::alive);

    DynArray<double, 1> big(3);
    Words const big_before(big);
    EXPECT_THROW(big.resize_loss(std::numeric_limits<long>::max()), std::bad_alloc);
    EXPECT_THROW(big.resize_loss(std::numeric_limits<long>::max() / 4), std::bad_alloc);
    EXPECT_EQ(big_before, Words(big));
}

TEST(DynArrayTest, OtherAlignments) {
    DynArray<float, 64> arr;
    for (long size = 1; size < 50; ++size) {
        arr.resize_loss(size);
        EXPECT_EQ(0U, reinterpret_cast<std::uintptr_t>(arr.data()) % 64);
        arr[0] = 1;
        arr[size - 1] = 2;
    }
}

TEST(AllocAlignTest, BlocksAreAligned) {
    AllocAlign<float, 16> alloc;
    for (std::size_t len = 0; len < 100; ++len) {
        float* const ptr = alloc.allocate(len);
        ASSERT_EQ(0U, reinterpret_cast<std::uintptr_t>(ptr) % 16);
        std::fill_n(ptr, len, 1.0F);
        char* raw; // the word below the block
        std::memcpy(&raw, reinterpret_cast<char*>(ptr) - sizeof(raw), sizeof(raw));
        auto const shift = reinterpret_cast<char*>(ptr) - raw;
        ASSERT_GE(shift, static_cast<std::ptrdiff_t>(sizeof(raw)));
        ASSERT_LE(shift, static_cast<std::ptrdiff_t>(15 + sizeof(raw)));
        alloc.deallocate(ptr, len);
    }
    alloc.deallocate(nullptr, 0);
    AllocAlign<double, 256> wide;
    double* const ptr = wide.allocate(3);
    EXPECT_EQ(0U, reinterpret_cast<std::uintptr_t>(ptr) % 256);
    wide.deallocate(ptr, 3);
    AllocAlign<char, 1> narrow; // its stored word lies anywhere
    narrow.deallocate(narrow.allocate(1), 1);
}

TEST(AllocAlignTest, SizesThatNoMemoryHolds) {
    AllocAlign<float, 16> alloc;
    std::size_t const max = std::numeric_limits<std::size_t>::max();
    for (std::size_t len : {max, max / 4, max / 4 + 1, max / 4 - 5, max / 8}) {
        EXPECT_THROW(alloc.deallocate(alloc.allocate(len), len), std::bad_alloc) << len;
    }
}

TEST(AllocAlignTest, ServesContainers) {
    std::vector<float, AllocAlign<float, 16>> buf;
    for (int i = 0; i < 1000; ++i) {
        buf.push_back(static_cast<float>(i));
        ASSERT_EQ(0U, reinterpret_cast<std::uintptr_t>(buf.data()) % 16);
    }
    auto const copy = buf;
    EXPECT_EQ(buf, copy);
    auto const moved = std::move(buf);
    EXPECT_EQ(copy, moved);
    std::map<int, int, std::less<>, AllocAlign<std::pair<int const, int>, 16>> map;
    map[3] = 4; // rebinds to its node
    EXPECT_EQ(4, map[3]);
    EXPECT_TRUE((AllocAlign<float, 16>() == AllocAlign<double, 16>()));
}
