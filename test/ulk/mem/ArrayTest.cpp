#include "ulk/mem/Array.h"

#include <numeric>
#include <type_traits>

namespace {

using ulk::mem::Array;

static_assert(sizeof(Array<float, 2>) == 2 * sizeof(float));
static_assert(std::is_trivially_copyable_v<Array<double, 7>>);

TEST(ArrayTest, HoldsElementsByValue) {
    Array<float, 2> a;
    EXPECT_EQ(a[0], 0.0f);
    EXPECT_EQ(a[1], 0.0f);
    a[0] = 1.5f;
    a[1] = -2.0f;
    Array<float, 2> const b = a;
    a[0] = 3.0f;
    EXPECT_EQ(b[0], 1.5f);
    EXPECT_EQ(b[1], -2.0f);
    EXPECT_EQ(b.size(), 2);
}

TEST(ArrayTest, IsWrittenAsAList) {
    Array<int, 4> const a = {1, 2, 3, 4};
    EXPECT_EQ(std::accumulate(a.begin(), a.end(), 0), 10);
    EXPECT_EQ(&a[3] - &a[0], 3);
}

} // namespace
