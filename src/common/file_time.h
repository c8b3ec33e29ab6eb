// SPDX-License-Identifier: GPL-3.0-or-later
// FILETIME values and calendar times.
//
// Message times are FILETIME values: 100 ns intervals since 1601-01-01, made from the local
// wall-clock time and never converted between time zones. A received message keeps the service
// centre's stamp as it was; a message written here keeps the local time of its first storing.
#pragma once

#include <cstdint>

using FileTime = std::uint64_t;

struct SystemTime {
    std::uint16_t year = 0;
    std::uint16_t month = 0;      // 1-12
    std::uint16_t dayOfWeek = 0;  // 0 = Sunday; ignored by SystemTimeToFileTime
    std::uint16_t day = 0;        // 1-31
    std::uint16_t hour = 0;
    std::uint16_t minute = 0;
    std::uint16_t second = 0;
    std::uint16_t milliseconds = 0;
};

// False (and *out untouched) for a date or time out of range, or a year before 1601 or after 30827.
bool SystemTimeToFileTime(const SystemTime& time, FileTime* out);

// Fills every field, the day of the week included. False for values beyond year 30827.
bool FileTimeToSystemTime(FileTime value, SystemTime* out);

// The current local wall-clock time. Tests can replace the source.
SystemTime GetLocalTime();
FileTime CurrentLocalFileTime();

using LocalTimeSource = SystemTime (*)(void* context);
// A null source restores the real clock.
void SetLocalTimeSource(LocalTimeSource source, void* context);
