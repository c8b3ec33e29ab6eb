// SPDX-License-Identifier: GPL-3.0-or-later
#include "store/exchange_time.h"

#include <cstdio>
#include <ctime>

namespace {

constexpr const char* kDays[] = {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
constexpr const char* kMonths[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                   "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
constexpr FileTime kTicksPerSecond = 10'000'000;

// The local wall-clock time as the C library's broken-down time, normalised by mktime (which
// fills the offset and the day of the week); *seconds is the instant.
bool ToLocalTm(FileTime time, std::tm* tm, std::time_t* seconds) {
    SystemTime st;
    if (!FileTimeToSystemTime(time, &st)) return false;
    *tm = std::tm{};
    tm->tm_year = st.year - 1900;
    tm->tm_mon = st.month - 1;
    tm->tm_mday = st.day;
    tm->tm_hour = st.hour;
    tm->tm_min = st.minute;
    tm->tm_sec = st.second;
    tm->tm_isdst = -1;
    // mktime answers -1 for an error and for the second before 1970 alike; only a success
    // sets the day of the week.
    tm->tm_wday = -1;
    *seconds = std::mktime(tm);
    return tm->tm_wday != -1;
}

bool Digits(std::string_view text, std::size_t at, std::size_t n, unsigned* value) {
    if (at + n > text.size()) return false;
    unsigned v = 0;
    for (std::size_t i = at; i < at + n; ++i) {
        if (text[i] < '0' || text[i] > '9') return false;
        v = v * 10 + static_cast<unsigned>(text[i] - '0');
    }
    *value = v;
    return true;
}

}  // namespace

bool LocalFileTimeToUnixMs(FileTime time, std::int64_t* ms) {
    std::tm tm;
    std::time_t seconds;
    if (!ToLocalTm(time, &tm, &seconds)) return false;
    const auto millis = static_cast<std::int64_t>((time % kTicksPerSecond) / 10'000);
    *ms = static_cast<std::int64_t>(seconds) * 1000 + millis;
    return true;
}

bool UnixMsToLocalFileTime(std::int64_t ms, FileTime* time) {
    std::int64_t seconds = ms / 1000;
    std::int64_t millis = ms % 1000;
    if (millis < 0) {
        millis += 1000;
        seconds -= 1;
    }
    const auto t = static_cast<std::time_t>(seconds);
    std::tm tm{};
    if (localtime_r(&t, &tm) == nullptr) return false;
    SystemTime st;
    st.year = static_cast<std::uint16_t>(tm.tm_year + 1900);
    st.month = static_cast<std::uint16_t>(tm.tm_mon + 1);
    st.day = static_cast<std::uint16_t>(tm.tm_mday);
    st.hour = static_cast<std::uint16_t>(tm.tm_hour);
    st.minute = static_cast<std::uint16_t>(tm.tm_min);
    st.second = static_cast<std::uint16_t>(tm.tm_sec > 59 ? 59 : tm.tm_sec);
    st.milliseconds = static_cast<std::uint16_t>(millis);
    if (tm.tm_year + 1900 < 1601 || tm.tm_year + 1900 > 30827) return false;
    return SystemTimeToFileTime(st, time);
}

std::string IsoLocalTime(FileTime time, char separator) {
    SystemTime st;
    if (!FileTimeToSystemTime(time, &st)) return {};
    char text[48];
    std::snprintf(text, sizeof text, "%04u-%02u-%02u%c%02u:%02u:%02u", unsigned{st.year},
                  unsigned{st.month}, unsigned{st.day}, separator, unsigned{st.hour},
                  unsigned{st.minute}, unsigned{st.second});
    std::string out = text;
    const FileTime fraction = time % kTicksPerSecond;
    if (fraction != 0) {
        char digits[16];
        std::snprintf(digits, sizeof digits, ".%07llu", static_cast<unsigned long long>(fraction));
        std::string f = digits;
        while (f.back() == '0') f.pop_back();
        out += f;
    }
    return out;
}

bool ParseIsoLocalTime(std::string_view text, FileTime* time, std::string* error) {
    auto fail = [&](const char* why) {
        *error = std::string("'") + std::string(text) + "' is not a time (" + why + ")";
        return false;
    };
    unsigned year, month, day, hour, minute, second = 0;
    if (!Digits(text, 0, 4, &year) || text.size() < 16 || text[4] != '-' ||
        !Digits(text, 5, 2, &month) || text[7] != '-' || !Digits(text, 8, 2, &day) ||
        (text[10] != ' ' && text[10] != 'T') || !Digits(text, 11, 2, &hour) || text[13] != ':' ||
        !Digits(text, 14, 2, &minute)) {
        return fail("YYYY-MM-DD HH:MM:SS is expected");
    }
    std::size_t at = 16;
    FileTime fraction = 0;
    if (at < text.size() && text[at] == ':') {
        if (!Digits(text, at + 1, 2, &second)) return fail("the seconds are two digits");
        at += 3;
        if (at < text.size() && text[at] == '.') {
            ++at;
            FileTime scale = kTicksPerSecond / 10;
            const std::size_t first = at;
            for (; at < text.size() && text[at] >= '0' && text[at] <= '9'; ++at) {
                if (scale == 0) return fail("more than seven digits of the second");
                fraction += static_cast<FileTime>(text[at] - '0') * scale;
                scale /= 10;
            }
            if (at == first) return fail("digits must follow the point");
        }
    }
    if (at != text.size()) {
        return fail("local times are written without an offset from UTC");
    }
    SystemTime st;
    st.year = static_cast<std::uint16_t>(year);
    st.month = static_cast<std::uint16_t>(month);
    st.day = static_cast<std::uint16_t>(day);
    st.hour = static_cast<std::uint16_t>(hour);
    st.minute = static_cast<std::uint16_t>(minute);
    st.second = static_cast<std::uint16_t>(second);
    FileTime whole = 0;
    if (!SystemTimeToFileTime(st, &whole)) return fail("no such date or time");
    *time = whole + fraction;
    return true;
}

std::string MailDate(FileTime time) {
    std::tm tm;
    std::time_t seconds;
    SystemTime st;
    if (!FileTimeToSystemTime(time, &st) || !ToLocalTm(time, &tm, &seconds)) return {};
    // The wall-clock time as the store holds it, with the offset the zone had then.
    const long offset = tm.tm_gmtoff / 60;
    const long magnitude = offset < 0 ? -offset : offset;
    char text[64];
    std::snprintf(text, sizeof text, "%s, %02u %s %04u %02u:%02u:%02u %c%02ld%02ld",
                  kDays[st.dayOfWeek % 7], unsigned{st.day}, kMonths[(st.month + 11) % 12],
                  unsigned{st.year}, unsigned{st.hour}, unsigned{st.minute}, unsigned{st.second},
                  offset < 0 ? '-' : '+', magnitude / 60, magnitude % 60);
    return text;
}

std::string MboxFromLineDate(FileTime time) {
    std::int64_t ms = 0;
    if (!LocalFileTimeToUnixMs(time, &ms)) return {};
    std::int64_t secs = ms / 1000;
    if (ms < 0 && ms % 1000 != 0) --secs;
    const auto t = static_cast<std::time_t>(secs);
    std::tm tm{};
    if (gmtime_r(&t, &tm) == nullptr) return {};
    char text[64];
    std::snprintf(text, sizeof text, "%s %s %2d %02d:%02d:%02d %04d", kDays[tm.tm_wday % 7],
                  kMonths[tm.tm_mon % 12], tm.tm_mday, tm.tm_hour, tm.tm_min, tm.tm_sec,
                  tm.tm_year + 1900);
    return text;
}
