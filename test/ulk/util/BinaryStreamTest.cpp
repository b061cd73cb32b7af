#include "ulk/util/BinaryStreamInput.h"
#include "ulk/util/BinaryStreamOutput.h"

#include <gtest/gtest.h>

#include <bit>
#include <climits>
#include <cstdint>
#include <limits>
#include <map>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

using ulk::archi::Int16;
using ulk::archi::SByte;
using ulk::archi::UByte;
using ulk::archi::UInt16;
using ulk::archi::UInt32;
using ulk::mem::SharedPtr;
using ulk::util::BinaryStreamInput;
using ulk::util::BinaryStreamOutput;
using ulk::util::BinaryStreamOutputBase;
using Bytes = std::vector<UByte>;

namespace {

template <class... Args>
Bytes bytes_of(Args const&... args) {
    Bytes data;
    BinaryStreamOutput out(data);
    out.write(args...);
    return data;
}

struct Point {
    int x = -1;
    int y = -1;
    void write(BinaryStreamOutputBase& out) const {
        out.write(x);
        out.write(y);
    }
    int read(BinaryStreamInput& in) {
        int const ret = in.read(x, nullptr);
        return ret != 0 ? ret : in.read(y, nullptr);
    }
    bool operator==(Point const&) const = default;
};

} // namespace

TEST(BinaryStreamOutputTest, EncodingToTheByte) {
    EXPECT_EQ((Bytes{1}), bytes_of(true));
    EXPECT_EQ((Bytes{0}), bytes_of(false));
    EXPECT_EQ((Bytes{0xFE}), bytes_of(UByte(0xFE)));
    EXPECT_EQ((Bytes{0x80}), bytes_of(SByte(-128)));
    EXPECT_EQ((Bytes{0x12, 0x34}), bytes_of(UInt16(0x1234)));
    EXPECT_EQ((Bytes{0xFF, 0xFE}), bytes_of(Int16(-2)));
    EXPECT_EQ((Bytes{0x89, 0xAB, 0xCD, 0xEF}), bytes_of(UInt32(0x89ABCDEF)));
    EXPECT_EQ((Bytes{0xFF, 0xFF, 0xFF, 0xFD}), bytes_of(-3));
    EXPECT_EQ((Bytes{1, 2, 3, 4, 5, 6, 7, 8}), bytes_of(0x0102030405060708ULL));
    EXPECT_EQ((Bytes{0x80, 0, 0, 0, 0, 0, 0, 1}), bytes_of(LLONG_MIN + 1));
    EXPECT_EQ((Bytes{0xBF, 0xC0, 0, 0}), bytes_of(-1.5F));
    EXPECT_EQ((Bytes{0x3F, 0xF0, 0, 0, 0, 0, 0, 0}), bytes_of(1.0));
    void* const ptr = reinterpret_cast<void*>(std::uintptr_t(0x7FFE12345678));
    EXPECT_EQ((Bytes{0x12, 0x34, 0x56, 0x78}), bytes_of(ptr));
    EXPECT_EQ((Bytes{0x12, 0x34, 0x56, 0x78}), bytes_of(static_cast<void const*>(ptr)));
    EXPECT_EQ((Bytes{0, 0, 0, 2, 0x61, 0x62}), bytes_of(std::string("ab")));
    EXPECT_EQ((Bytes{0, 0, 0, 2, 0x61, 0x62}), bytes_of("ab"));
    EXPECT_EQ((Bytes{0, 0, 0, 3, 0, 0x61, 0}), bytes_of(std::string("\0a\0", 3)));
    EXPECT_EQ((Bytes{0, 0, 0, 0}), bytes_of(std::string()));
}

TEST(BinaryStreamOutputTest, Ranges) {
    std::vector<int> const list = {1, -1};
    EXPECT_EQ((Bytes{0, 0, 0, 2, 0, 0, 0, 1, 255, 255, 255, 255}),
              bytes_of(list.begin(), list.end()));
    EXPECT_EQ((Bytes{0, 0, 0, 0}), bytes_of(list.end(), list.end()));
    EXPECT_EQ(bytes_of(list.begin(), list.end()), bytes_of(list.data(), list.data() + 2));
    std::vector<std::string> const txt_list = {"a", ""};
    EXPECT_EQ((Bytes{0, 0, 0, 2, 0, 0, 0, 1, 'a', 0, 0, 0, 0}),
              bytes_of(txt_list.begin(), txt_list.end()));
    std::map<std::string, std::string> const map = {{"k", "v"}, {"b", ""}};
    EXPECT_EQ((Bytes{0, 0, 0, 2, 0, 0, 0, 1, 'b', 0, 0, 0, 0, 0, 0, 0, 1, 'k', 0, 0, 0, 1, 'v'}),
              bytes_of(map.begin(), map.end())); // in key order
    std::vector<Point> const pt_list = {{1, 2}};
    Bytes const expected = {0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0, 2};
    EXPECT_EQ(expected, bytes_of(pt_list.begin(), pt_list.end()));
    std::vector<SharedPtr<Point>> const ptr_list = {SharedPtr<Point>(new Point{1, 2})};
    EXPECT_EQ(expected, bytes_of(ptr_list.begin(), ptr_list.end()));
}

TEST(BinaryStreamOutputTest, WholeStream) {
    Bytes data;
    BinaryStreamOutput out(data);
    BinaryStreamOutputBase const& base = out;
    EXPECT_EQ(nullptr, base.data());
    EXPECT_TRUE(base.empty());
    EXPECT_EQ(0U, base.size());
    UByte const raw[] = {7, 8, 9};
    out.write(raw, 3);
    out.write_front(raw + 1, 2);
    EXPECT_EQ((Bytes{8, 9, 7, 8, 9}), data);
    out.write(raw, 0);
    out.write_front(nullptr, 0);
    EXPECT_EQ(5U, base.size());
    EXPECT_EQ(data.data(), base.data());
    EXPECT_FALSE(base.empty());
    out.clear();
    EXPECT_TRUE(data.empty());
    EXPECT_EQ(nullptr, base.data());
    data.reserve(10);
    EXPECT_EQ(nullptr, base.data()); // empty, though it has memory
}

TEST(BinaryStreamOutputTest, OverwriteGrowsWithZeros) {
    Bytes data = {1, 2, 3, 4};
    BinaryStreamOutput out(data);
    out.overwrite(UInt32(0xAABBCCDD), 8);
    EXPECT_EQ((Bytes{1, 2, 3, 4, 0, 0, 0, 0, 0xAA, 0xBB, 0xCC, 0xDD}), data);
    out.overwrite(UInt16(0x1122), 3); // within: nothing grows
    EXPECT_EQ((Bytes{1, 2, 3, 0x11, 0x22, 0, 0, 0, 0xAA, 0xBB, 0xCC, 0xDD}), data);
    out.overwrite(0x0102030405060708LL, 10); // partly beyond
    EXPECT_EQ(18U, data.size());
    EXPECT_EQ((Bytes{1, 2, 3, 4, 5, 6, 7, 8}), Bytes(data.begin() + 10, data.end()));
    UByte const raw[] = {7, 8, 9};
    out.overwrite(raw, 3, 20);
    EXPECT_EQ(23U, data.size());
    EXPECT_EQ(9, data[22]);
    EXPECT_EQ(0, data[19]);
}

TEST(BinaryStreamOutputTest, OverwriteHasAllTypes) {
    Bytes data;
    BinaryStreamOutput out(data);
    auto const check = [&](auto value) {
        data.assign(20, 0xEE);
        out.overwrite(value, 5);
        Bytes expected(20, 0xEE);
        Bytes const form = bytes_of(value);
        std::copy(form.begin(), form.end(), expected.begin() + 5);
        EXPECT_EQ(expected, data);
    };
    check(true);
    check(UByte(3));
    check(SByte(-3));
    check(UInt16(60000));
    check(Int16(-300));
    check(UInt32(4000000000));
    check(-70000);
    check(~0ULL - 5);
    check(-5LL);
    check(0.1F);
    check(-0.1);
    check(static_cast<void*>(&data));
    check(static_cast<void const*>(&data));
}

TEST(BinaryStreamOutputTest, PositionsBeyondAllMemoryThrow) {
    Bytes data = {1, 2};
    BinaryStreamOutput out(data);
    EXPECT_THROW(out.overwrite(1, ULONG_MAX - 2), std::length_error);
    EXPECT_THROW(out.overwrite(1, ULONG_MAX / 2), std::length_error);
    EXPECT_EQ((Bytes{1, 2}), data);
}

TEST(BinaryStreamInputTest, EmptyStream) {
    for (auto const& in : {BinaryStreamInput(), BinaryStreamInput(Bytes()),
                           BinaryStreamInput(nullptr, 0), BinaryStreamInput(nullptr, 5)}) {
        EXPECT_EQ(0U, in.size());
        EXPECT_TRUE(in.empty());
        EXPECT_EQ(0U, in.tell());
        BinaryStreamInput copy(in);
        bool value = true;
        EXPECT_EQ(-3994, copy.read(value, nullptr));
        EXPECT_TRUE(value);
        EXPECT_EQ(0, copy.seek_beg(0, nullptr));
        EXPECT_EQ(-3994, copy.seek_beg(1, nullptr));
    }
    EXPECT_EQ(nullptr, BinaryStreamInput().data());
}

TEST(BinaryStreamInputTest, Positions) {
    Bytes const data = {0, 1, 2, 3, 4, 5, 6};
    BinaryStreamInput in(data);
    EXPECT_EQ(0, in.seek_beg(7, nullptr));
    EXPECT_EQ(7U, in.tell());
    EXPECT_TRUE(in.empty());
    EXPECT_EQ(0, in.seek_beg(2, nullptr));
    EXPECT_EQ(2, *in.data());
    EXPECT_EQ(5U, in.size());
    EXPECT_EQ(-3994, in.seek_beg(8, nullptr));
    EXPECT_EQ(7U, in.tell());
    EXPECT_EQ(0, in.seek_end(3, nullptr));
    EXPECT_EQ(4, *in.data());
    EXPECT_EQ(0, in.seek_end(0, nullptr));
    EXPECT_EQ(7U, in.tell());
    EXPECT_EQ(-3994, in.seek_end(8, nullptr));
    EXPECT_EQ(0U, in.tell());
    EXPECT_EQ(-3994, in.advance(-1, nullptr));
    EXPECT_EQ(0U, in.tell());
    EXPECT_EQ(0, in.advance(7, nullptr));
    EXPECT_EQ(0, in.advance(0, nullptr));
    EXPECT_EQ(0, in.advance(-3, nullptr));
    EXPECT_EQ(4U, in.tell());
    EXPECT_EQ(-3994, in.advance(4, nullptr));
    EXPECT_EQ(7U, in.tell());
    EXPECT_EQ(0, in.seek_beg(3, nullptr));
    EXPECT_EQ(-3994, in.advance(LONG_MAX, nullptr));
    EXPECT_EQ(7U, in.tell());
    EXPECT_EQ(-3994, in.advance(LONG_MIN, nullptr));
    EXPECT_EQ(0U, in.tell());
    EXPECT_EQ(-3994, in.seek_beg(ULONG_MAX, nullptr));
    EXPECT_EQ(-3994, in.seek_end(ULONG_MAX, nullptr));
}

TEST(BinaryStreamInputTest, CopiesStartAtTheBeginning) {
    Bytes const data = {0, 1, 2, 3, 4, 5, 6};
    BinaryStreamInput in(data);
    EXPECT_EQ(0, in.seek_beg(5, nullptr));
    BinaryStreamInput const copy(in);
    EXPECT_EQ(0U, copy.tell());
    EXPECT_EQ(7U, copy.size());
    BinaryStreamInput other(data.data(), 3);
    EXPECT_EQ(0, other.seek_beg(3, nullptr));
    other = in;
    EXPECT_EQ(0U, other.tell());
    EXPECT_EQ(7U, other.size());
    EXPECT_EQ(5U, in.tell());
}

TEST(BinaryStreamInputTest, ReadsWhatWasWritten) {
    Bytes data;
    BinaryStreamOutput out(data);
    out.write(true);
    out.write(UByte(200));
    out.write(SByte(-100));
    out.write(UInt16(60000));
    out.write(Int16(-30000));
    out.write(UInt32(4000000000));
    out.write(INT_MIN);
    out.write(ULLONG_MAX - 1);
    out.write(LLONG_MIN);
    out.write(0.1F);
    out.write(std::numeric_limits<double>::denorm_min());
    out.write(std::string("text"));
    out.write(reinterpret_cast<void*>(std::uintptr_t(0xFFFFFFFF)));
    BinaryStreamInput in(data);
    auto const check = [&](auto value) {
        decltype(value) got{};
        EXPECT_EQ(0, in.read(got, "err"));
        EXPECT_EQ(value, got);
    };
    check(true);
    check(UByte(200));
    check(SByte(-100));
    check(UInt16(60000));
    check(Int16(-30000));
    check(UInt32(4000000000));
    check(INT_MIN);
    check(ULLONG_MAX - 1);
    check(LLONG_MIN);
    check(0.1F);
    check(std::numeric_limits<double>::denorm_min());
    check(std::string("text"));
    check(reinterpret_cast<void*>(std::uintptr_t(0xFFFFFFFF)));
    EXPECT_TRUE(in.empty());
    Bytes const odd = {0x40};
    bool flag = false;
    EXPECT_EQ(0, BinaryStreamInput(odd).read(flag, nullptr));
    EXPECT_TRUE(flag);
}

TEST(BinaryStreamInputTest, FloatsKeepTheirBits) {
    for (UInt32 bits : {0x7F800001U, 0xFFC12345U, 0x80000000U, 1U, 0x7F800000U}) {
        float value = 0;
        Bytes const data = bytes_of(bits);
        EXPECT_EQ(0, BinaryStreamInput(data).read(value, nullptr));
        EXPECT_EQ(bits, std::bit_cast<UInt32>(value));
        EXPECT_EQ(data, bytes_of(value));
    }
}

TEST(BinaryStreamInputTest, AShortStreamKeepsPositionAndValue) {
    Bytes const data = {1, 2, 3, 4, 5, 6, 7};
    auto const check = [&](auto value, unsigned long left, unsigned long consumed) {
        auto const before = value;
        BinaryStreamInput in(data);
        EXPECT_EQ(0, in.seek_end(left, nullptr));
        EXPECT_EQ(-3994, in.read(value, nullptr));
        EXPECT_EQ(7 - left + consumed, in.tell());
        EXPECT_EQ(before, value);
    };
    check(true, 0, 0);
    check(UByte(9), 0, 0);
    check(SByte(9), 0, 0);
    check(UInt16(9), 1, 0);
    check(Int16(9), 1, 0);
    check(UInt32(9), 3, 0);
    check(9, 3, 0);
    check(9.5F, 3, 0);
    check(static_cast<void*>(nullptr), 3, 0);
    check(9.5, 7, 4); // the first word is consumed
    check(9.5, 3, 0);
    check(9ULL, 7, 4);
    check(9LL, 5, 4);
    check(std::string("kept"), 3, 0);
    check(std::string("kept"), 7, 4); // a length of 0x01020304 is consumed
}

TEST(BinaryStreamInputTest, BlocksAreReadInPlace) {
    Bytes const data = {1, 2, 3, 4, 5};
    BinaryStreamInput in(data);
    UByte const* ptr = nullptr;
    EXPECT_EQ(0, in.read(ptr, 2, nullptr));
    EXPECT_EQ(data.data(), ptr);
    EXPECT_EQ(-3994, in.read(ptr, 4, nullptr));
    EXPECT_EQ(nullptr, ptr);
    EXPECT_EQ(2U, in.tell());
    EXPECT_EQ(-3994, in.read(ptr, ULONG_MAX, nullptr)); // no sum wraps round
    EXPECT_EQ(-3994, in.read(ptr, ULONG_MAX - 1, nullptr));
    EXPECT_EQ(0, in.read(ptr, 3, nullptr));
    EXPECT_EQ(0, in.read(ptr, 0, nullptr));
    EXPECT_TRUE(in.empty());
}

TEST(BinaryStreamInputTest, SequencesAreAppended) {
    std::vector<int> const src = {10, 20, 30};
    Bytes data = bytes_of(src.begin(), src.end());
    std::vector<int> list = {1, 2};
    EXPECT_EQ(0, BinaryStreamInput(data).read(list, nullptr));
    EXPECT_EQ((std::vector<int>{1, 2, 10, 20, 30}), list);

    data.resize(data.size() - 1); // the last element is cut
    list = {1};
    EXPECT_EQ(-3994, BinaryStreamInput(data).read(list, nullptr));
    EXPECT_EQ((std::vector<int>{1, 10, 20, 0}), list);

    std::vector<Point> pt_list;
    std::vector<Point> const pt_src = {{1, 2}, {3, 4}};
    EXPECT_EQ(0, BinaryStreamInput(bytes_of(pt_src.begin(), pt_src.end())).read(pt_list, nullptr));
    EXPECT_EQ(pt_src, pt_list);
}

TEST(BinaryStreamInputTest, CountsAreCheckedBeforeAnythingGrows) {
    Bytes const data = {0xFF, 0xFF, 0xFF, 0xFF, 0, 0, 0, 1};
    std::vector<std::string> list;
    BinaryStreamInput in(data);
    EXPECT_EQ(-3994, in.read(list, nullptr));
    EXPECT_TRUE(list.empty());
    EXPECT_EQ(4U, in.tell());
    std::map<std::string, std::string> map;
    EXPECT_EQ(-3994, BinaryStreamInput(data).read(map, nullptr));
    EXPECT_TRUE(map.empty());
}

TEST(BinaryStreamInputTest, MapsKeepTheirKeys) {
    std::map<std::string, std::string> const src = {{"a", "new"}, {"b", "2"}};
    std::map<std::string, std::string> map = {{"a", "old"}, {"z", "26"}};
    EXPECT_EQ(0, BinaryStreamInput(bytes_of(src.begin(), src.end())).read(map, nullptr));
    EXPECT_EQ((std::map<std::string, std::string>{{"a", "old"}, {"b", "2"}, {"z", "26"}}), map);
}

TEST(BinaryStreamInputTest, RandomSequencesComeBack) {
    std::mt19937_64 rnd(72);
    for (int round = 0; round < 2000; ++round) {
        Bytes data;
        BinaryStreamOutput out(data);
        std::vector<std::pair<int, std::uint64_t>> model;
        for (auto len = rnd() % 20; len > 0; --len) {
            auto const& [kind, bits] = model.emplace_back(static_cast<int>(rnd() % 5), rnd());
            switch (kind) {
            case 0:
                out.write(static_cast<UByte>(bits));
                break;
            case 1:
                out.write(static_cast<Int16>(bits));
                break;
            case 2:
                out.write(static_cast<UInt32>(bits));
                break;
            case 3:
                out.write(std::bit_cast<double>(bits));
                break;
            default:
                out.write(std::string(bits % 50, static_cast<char>(bits)));
                break;
            }
        }
        data.resize(rnd() % 4 == 0 ? rnd() % (data.size() + 1) : data.size());
        BinaryStreamInput in(data);
        unsigned long pos = 0; // of the model
        for (auto const& [kind, bits] : model) {
            unsigned long const str_len = bits % 50;
            unsigned long const len_arr[] = {1, 2, 4, 8, 4 + str_len};
            unsigned long const len = len_arr[kind];
            int const expected = data.size() - pos >= len ? 0 : -3994;
            if (kind == 0) {
                UByte val = 0;
                ASSERT_EQ(expected, in.read(val, nullptr));
                ASSERT_TRUE(expected != 0 || val == static_cast<UByte>(bits));
            } else if (kind == 1) {
                Int16 val = 0;
                ASSERT_EQ(expected, in.read(val, nullptr));
                ASSERT_TRUE(expected != 0 || val == static_cast<Int16>(bits));
            } else if (kind == 2) {
                UInt32 val = 0;
                ASSERT_EQ(expected, in.read(val, nullptr));
                ASSERT_TRUE(expected != 0 || val == static_cast<UInt32>(bits));
            } else if (kind == 3) {
                double val = 0;
                ASSERT_EQ(expected, in.read(val, nullptr));
                ASSERT_TRUE(expected != 0 || std::bit_cast<std::uint64_t>(val) == bits);
            } else {
                std::string val;
                ASSERT_EQ(expected, in.read(val, nullptr));
                ASSERT_TRUE(expected != 0 || val == std::string(str_len, static_cast<char>(bits)));
            }
            if (expected != 0) {
                break;
            }
            pos += len;
            ASSERT_EQ(pos, in.tell());
        }
    }
}
