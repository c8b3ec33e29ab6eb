// SPDX-License-Identifier: GPL-3.0-or-later
// Message times in the conventions of the file formats the store exchanges messages in.
//
// The store holds local wall-clock times (FILETIME, common/file_time.h) and never converts
// them between time zones; the formats that need an instant (milliseconds since 1970 in UTC,
// a date with its offset from UTC) get it through the local time zone of the process (TZ):
// the wall-clock time is taken as local time at that date, with the offset in force then. A
// local time that does not exist (in the hour skipped when clocks go forward) is read as the
// time zone library reads it, one hour later.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "common/file_time.h"

// Local time to milliseconds since 1970-01-01 00:00 UTC (below a millisecond is dropped).
bool LocalFileTimeToUnixMs(FileTime time, std::int64_t* ms);
// Milliseconds since 1970-01-01 00:00 UTC to local time.
bool UnixMsToLocalFileTime(std::int64_t ms, FileTime* time);

// "YYYY-MM-DD HH:MM:SS" with `separator` between date and time (' ' or 'T'), followed by the
// fraction of the second when there is one (up to seven digits, no trailing zeros): the local
// time exactly as the store holds it, without an offset. Empty for an invalid time.
std::string IsoLocalTime(FileTime time, char separator);
// Reads that form back, with either separator; minutes without seconds are taken too. False
// (and *error saying why) for anything else, an offset or "Z" included.
bool ParseIsoLocalTime(std::string_view text, FileTime* time, std::string* error);

// The date of a mail header: "Tue, 05 Mar 2024 14:07:09 +0100", the offset being the local
// zone's at that time. Empty for an invalid time.
std::string MailDate(FileTime time);
// The date of an mbox "From " line: "Tue Mar  5 13:07:09 2024" in UTC.
std::string MboxFromLineDate(FileTime time);
