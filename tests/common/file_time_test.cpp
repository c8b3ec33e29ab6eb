// SPDX-License-Identifier: GPL-3.0-or-later
#include "common/file_time.h"

#include <gtest/gtest.h>

TEST(FileTime, EpochIs1601) {
    SystemTime t{1601, 1, 0, 1, 0, 0, 0, 0};
    FileTime ft = 123;
    ASSERT_TRUE(SystemTimeToFileTime(t, &ft));
    EXPECT_EQ(ft, 0u);
}

TEST(FileTime, KnownValueOf1970) {
    // The Unix epoch is 11644473600 seconds after 1601-01-01.
    SystemTime t{1970, 1, 0, 1, 0, 0, 0, 0};
    FileTime ft = 0;
    ASSERT_TRUE(SystemTimeToFileTime(t, &ft));
    EXPECT_EQ(ft, 116444736000000000ull);
}

TEST(FileTime, RoundTripKeepsEveryFieldAndComputesWeekday) {
    SystemTime t{2003, 11, 0, 15, 9, 30, 5, 250};
    FileTime ft = 0;
    ASSERT_TRUE(SystemTimeToFileTime(t, &ft));
    SystemTime back;
    ASSERT_TRUE(FileTimeToSystemTime(ft, &back));
    EXPECT_EQ(back.year, 2003);
    EXPECT_EQ(back.month, 11);
    EXPECT_EQ(back.day, 15);
    EXPECT_EQ(back.hour, 9);
    EXPECT_EQ(back.minute, 30);
    EXPECT_EQ(back.second, 5);
    EXPECT_EQ(back.milliseconds, 250);
    EXPECT_EQ(back.dayOfWeek, 6);  // a Saturday
}

TEST(FileTime, LeapDaysAreValidOnlyInLeapYears) {
    FileTime ft = 0;
    EXPECT_TRUE(SystemTimeToFileTime({2000, 2, 0, 29, 0, 0, 0, 0}, &ft));
    EXPECT_TRUE(SystemTimeToFileTime({2024, 2, 0, 29, 0, 0, 0, 0}, &ft));
    EXPECT_FALSE(SystemTimeToFileTime({1900, 2, 0, 29, 0, 0, 0, 0}, &ft));
    EXPECT_FALSE(SystemTimeToFileTime({2023, 2, 0, 29, 0, 0, 0, 0}, &ft));
}

TEST(FileTime, OutOfRangeFieldsAreRefusedAndLeaveTheOutputAlone) {
    FileTime ft = 77;
    EXPECT_FALSE(SystemTimeToFileTime({2003, 13, 0, 1, 0, 0, 0, 0}, &ft));
    EXPECT_FALSE(SystemTimeToFileTime({2003, 0, 0, 1, 0, 0, 0, 0}, &ft));
    EXPECT_FALSE(SystemTimeToFileTime({2003, 4, 0, 31, 0, 0, 0, 0}, &ft));
    EXPECT_FALSE(SystemTimeToFileTime({2003, 1, 0, 1, 24, 0, 0, 0}, &ft));
    EXPECT_FALSE(SystemTimeToFileTime({2003, 1, 0, 1, 0, 60, 0, 0}, &ft));
    EXPECT_FALSE(SystemTimeToFileTime({1600, 12, 0, 31, 0, 0, 0, 0}, &ft));
    EXPECT_EQ(ft, 77u);
}

TEST(FileTime, LaterTimesCompareGreater) {
    FileTime a = 0, b = 0;
    ASSERT_TRUE(SystemTimeToFileTime({2003, 12, 0, 31, 23, 59, 59, 0}, &a));
    ASSERT_TRUE(SystemTimeToFileTime({2004, 1, 0, 1, 0, 0, 0, 0}, &b));
    EXPECT_EQ(b - a, 10'000'000u);
}

namespace {
SystemTime FixedNow(void*) {
    return SystemTime{2026, 11, 0, 22, 8, 15, 0, 0};
}
}  // namespace

TEST(FileTime, LocalTimeSourceIsReplaceable) {
    SetLocalTimeSource(&FixedNow, nullptr);
    SystemTime now = GetLocalTime();
    FileTime expected = 0;
    ASSERT_TRUE(SystemTimeToFileTime(FixedNow(nullptr), &expected));
    EXPECT_EQ(CurrentLocalFileTime(), expected);
    EXPECT_EQ(now.hour, 8);
    SetLocalTimeSource(nullptr, nullptr);
    EXPECT_NE(CurrentLocalFileTime(), expected);
}
