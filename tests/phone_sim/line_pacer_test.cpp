// SPDX-License-Identifier: GPL-3.0-or-later
// The simulated serial line's pacing, on a clock the tests move by hand.
#include "line_pacer.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>

namespace phone_sim {
namespace {

using namespace std::chrono_literals;
using Clock = LinePacer::Clock;

const Clock::time_point t0 = Clock::time_point(1000s);

// 1000 bytes a second: one byte every millisecond.
TEST(LinePacer, AByteQueuedOnAnIdleLineArrivesOneByteTimeLater) {
    LinePacer line(1000);
    line.Queued(t0);
    EXPECT_EQ(line.Due(t0), 0u);
    EXPECT_EQ(line.Wait(t0), 1ms);
    EXPECT_EQ(line.Due(t0 + 999us), 0u);
    EXPECT_EQ(line.Due(t0 + 1ms), 1u);
    EXPECT_EQ(line.Wait(t0 + 1ms), Clock::duration::zero());
}

TEST(LinePacer, BytesFollowBackToBack) {
    LinePacer line(1000);
    line.Queued(t0);
    EXPECT_EQ(line.Due(t0 + 10ms), 10u);
    line.Spend(4);
    EXPECT_EQ(line.Due(t0 + 10ms), 6u);
    line.Spend(6);
    EXPECT_EQ(line.Due(t0 + 10ms), 0u);
    EXPECT_EQ(line.Wait(t0 + 10ms), 1ms);
    EXPECT_EQ(line.Wait(t0 + 10500us), 500us);
}

// A program that wakes late gets everything that is due at once: the line does not lose the
// time the program was late by.
TEST(LinePacer, ALateWakeUpCatchesUpOnTheSchedule) {
    LinePacer line(1000);
    line.Queued(t0);
    line.Spend(line.Due(t0 + 1ms));
    EXPECT_EQ(line.Due(t0 + 7500us), 6u);
    line.Spend(6);
    EXPECT_EQ(line.Wait(t0 + 7500us), 500us);
}

// An idle line saves nothing up: after a pause the next byte again takes a whole byte-time.
TEST(LinePacer, AnIdleLineSavesNothingUp) {
    LinePacer line(1000);
    line.Queued(t0);
    line.Spend(line.Due(t0 + 3ms));
    const Clock::time_point later = t0 + 1s;
    line.Queued(later);
    EXPECT_EQ(line.Due(later), 0u);
    EXPECT_EQ(line.Due(later + 2ms), 2u);
}

// Over a long transfer the rate is kept exactly: no drift from rounding each byte-time.
TEST(LinePacer, KeepsItsRateOverALongTransfer) {
    LinePacer line(1920);  // 19200 baud
    line.Queued(t0);
    Clock::time_point now = t0;
    std::uint64_t passed = 0;
    while (passed < 192000) {
        now += line.Wait(now);
        const std::size_t due = line.Due(now);
        ASSERT_GT(due, 0u) << "Wait() named a time at which nothing was due";
        line.Spend(due);
        passed += due;
    }
    // 192,000 bytes at 1920 a second: 100 s, to within a nanosecond per byte.
    EXPECT_EQ(passed, 192000u);
    EXPECT_LE(now - t0, 100s + 192000ns);
    EXPECT_GE(now - t0, 100s);
}

TEST(LinePacer, NoRateMeansNoLimit) {
    LinePacer line(0);
    EXPECT_FALSE(line.limited());
    line.Queued(t0);
    EXPECT_EQ(line.Due(t0), SIZE_MAX);
    EXPECT_EQ(line.Wait(t0), Clock::duration::zero());
}

}  // namespace
}  // namespace phone_sim
