#include <climits>
#include <vector>

#include <gtest/gtest.h>

#include "pf_tbl.h"

namespace {

std::vector<long> released;
void record_release(void *element) { released.push_back(reinterpret_cast<long>(element)); }

void *item(long n) { return reinterpret_cast<void *>(n); }

}  // namespace

TEST(PlatformTbl, IndexPastEndGrowsWithNullSlotsAndNegativeIndexAppends) {
    Tbl *list = newtbl(0);
    ASSERT_NE(list, nullptr);
    EXPECT_EQ(settbl(list, 5, item(6)), 5);
    EXPECT_EQ(cnttbl(list), 6);
    for (long i = 0; i < 5; ++i) EXPECT_EQ(gettbl(list, i), nullptr);
    EXPECT_EQ(settbl(list, -1, item(7)), 6);
    EXPECT_EQ(settbl(list, 0, item(1)), 0);
    for (long n = 8; n <= 10000; ++n) ASSERT_EQ(settbl(list, -7, item(n)), n - 1);
    EXPECT_EQ(cnttbl(list), 10000);
    EXPECT_EQ(list->active_right, cnttbl(list));
    EXPECT_EQ(gettbl(list, 0), item(1));
    EXPECT_EQ(gettbl(list, 5), item(6));
    EXPECT_EQ(gettbl(list, 9999), item(10000));
    EXPECT_EQ(gettbl(list, 10000), nullptr);
    EXPECT_EQ(gettbl(list, -1), nullptr);
    freetbl(list, nullptr);
}

TEST(PlatformTbl, ReleaseHookSeesElementsInIndexOrderSkippingHoles) {
    Tbl *list = newtbl(1);
    settbl(list, 3, item(3));
    settbl(list, 0, item(9));
    settbl(list, -1, item(4));
    released.clear();
    freetbl(list, record_release);
    EXPECT_EQ(released, (std::vector<long>{9, 3, 4}));
}

TEST(PlatformTbl, ImpossibleSizesFailInsteadOfOverflowing) {
    EXPECT_EQ(newtbl(LONG_MAX), nullptr);
    Tbl *list = newtbl(1);
    EXPECT_EQ(settbl(list, LONG_MAX, item(1)), -1);
    EXPECT_EQ(settbl(list, LONG_MAX / 2, item(1)), -1);
    EXPECT_EQ(cnttbl(list), 0);
    freetbl(list, nullptr);
}

TEST(PlatformTbl, NullListIsEmpty) {
    EXPECT_EQ(cnttbl(nullptr), 0);
    EXPECT_EQ(gettbl(nullptr, 0), nullptr);
    EXPECT_EQ(settbl(nullptr, 0, item(1)), -1);
    freetbl(nullptr, record_release);
}
