// MulDiv as the platform computes it: a wide product, rounding half away from zero, -1 when
// the result cannot be an int.
#include <climits>

#include <gtest/gtest.h>

#include "host/ui/mul_div.h"

namespace {

using host::ui::MulDiv;

TEST(MulDivTest, RoundsHalfAwayFromZero) {
    EXPECT_EQ(MulDiv(12, 600, 72), 100);
    EXPECT_EQ(MulDiv(10, 3300, 279), 118); // 118.28
    EXPECT_EQ(MulDiv(1, 3, 2), 2);         // 1.5
    EXPECT_EQ(MulDiv(-1, 3, 2), -2);
    EXPECT_EQ(MulDiv(1, -3, 2), -2);
    EXPECT_EQ(MulDiv(1, 3, -2), -2);
    EXPECT_EQ(MulDiv(-1, -3, -2), -2);
    EXPECT_EQ(MulDiv(5, 1, 4), 1); // 1.25
}

TEST(MulDivTest, KeepsTheWideProductAndRefusesWhatNoIntHolds) {
    EXPECT_EQ(MulDiv(INT_MAX, INT_MAX, INT_MAX), INT_MAX);
    EXPECT_EQ(MulDiv(INT_MIN, 1, 1), INT_MIN);
    EXPECT_EQ(MulDiv(INT_MAX, 2, 1), -1);
    EXPECT_EQ(MulDiv(INT_MIN, 2, 1), -1);
    EXPECT_EQ(MulDiv(7, 3, 0), -1);
}

} // namespace
