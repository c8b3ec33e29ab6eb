// SPDX-License-Identifier: GPL-3.0-or-later
#include "common/tick_clock.h"

#include <gtest/gtest.h>

#include "fake_clock.h"

TEST(TickClock, PassedSurvivesTheWrapOfTheCounter) {
    EXPECT_TRUE(TickPassed(5, 0xFFFFFFF0u));   // the counter wrapped past the deadline
    EXPECT_FALSE(TickPassed(0xFFFFFFF0u, 5));  // deadline just after the wrap, not reached
    EXPECT_FALSE(TickPassed(100, 100));        // equal is not yet passed
    EXPECT_TRUE(TickPassed(101, 100));
    EXPECT_EQ(TickElapsed(3, 0xFFFFFFFEu), 5u);
}

TEST(TickClock, FakeClockReplacesAndRestoresTheRealOne) {
    {
        FakeClock clock(0xFFFFFFF0u, 10);
        EXPECT_EQ(GetTickCount(), 0xFFFFFFF0u);
        EXPECT_EQ(GetTickCount(), 0xFFFFFFFAu);
        EXPECT_EQ(GetTickCount(), 4u);  // wrapped
        EXPECT_EQ(clock.Reads(), 3u);
    }
    // The real clock is monotonic: two readings never go backwards.
    std::uint32_t a = GetTickCount();
    std::uint32_t b = GetTickCount();
    EXPECT_FALSE(TickPassed(a, b));
}
