#include <ctime>

#include <gtest/gtest.h>

#include "pf_clock.h"

namespace {
double fixed_clock() { return 1234.5; }
}  // namespace

TEST(PlatformClock, FollowsSystemTimeUnlessPinned) {
    EXPECT_NEAR(std_now(), static_cast<double>(time(nullptr)), 5.0);
    pf_set_clock_for_testing(fixed_clock);
    EXPECT_EQ(std_now(), 1234.5);
    pf_set_clock_for_testing(nullptr);
    EXPECT_NEAR(std_now(), static_cast<double>(time(nullptr)), 5.0);
}
