// SPDX-License-Identifier: GPL-3.0-or-later
#include "common/file_time.h"

#include <atomic>
#include <chrono>
#include <ctime>

namespace {

constexpr std::int64_t kTicksPerSecond = 10'000'000;
constexpr std::int64_t kTicksPerMs = 10'000;
constexpr std::int64_t kSecondsPerDay = 86'400;
// Days from 1601-01-01 to 1970-01-01.
constexpr std::int64_t kDays1601To1970 = 134'774;

// Days since 1970-01-01 of a proleptic Gregorian date.
std::int64_t DaysFromCivil(std::int64_t y, unsigned m, unsigned d) {
    y -= m <= 2;
    const std::int64_t era = (y >= 0 ? y : y - 399) / 400;
    const unsigned yoe = static_cast<unsigned>(y - era * 400);
    const unsigned doy = (153 * (m + (m > 2 ? -3 : 9)) + 2) / 5 + d - 1;
    const unsigned doe = yoe * 365 + yoe / 4 - yoe / 100 + doy;
    return era * 146097 + static_cast<std::int64_t>(doe) - 719468;
}

void CivilFromDays(std::int64_t z, std::int64_t* y, unsigned* m, unsigned* d) {
    z += 719468;
    const std::int64_t era = (z >= 0 ? z : z - 146096) / 146097;
    const unsigned doe = static_cast<unsigned>(z - era * 146097);
    const unsigned yoe = (doe - doe / 1460 + doe / 36524 - doe / 146096) / 365;
    const unsigned doy = doe - (365 * yoe + yoe / 4 - yoe / 100);
    const unsigned mp = (5 * doy + 2) / 153;
    *d = doy - (153 * mp + 2) / 5 + 1;
    *m = mp < 10 ? mp + 3 : mp - 9;
    *y = static_cast<std::int64_t>(yoe) + era * 400 + (*m <= 2);
}

bool IsLeap(unsigned y) {
    return (y % 4 == 0 && y % 100 != 0) || y % 400 == 0;
}

unsigned DaysInMonth(unsigned y, unsigned m) {
    static const unsigned kDays[12] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    return m == 2 && IsLeap(y) ? 29 : kDays[m - 1];
}

std::atomic<LocalTimeSource> g_source{nullptr};
std::atomic<void*> g_context{nullptr};

SystemTime RealLocalTime() {
    using namespace std::chrono;
    const auto now = system_clock::now();
    const std::time_t secs = system_clock::to_time_t(now);
    std::tm local{};
    localtime_r(&secs, &local);
    SystemTime t;
    t.year = static_cast<std::uint16_t>(local.tm_year + 1900);
    t.month = static_cast<std::uint16_t>(local.tm_mon + 1);
    t.dayOfWeek = static_cast<std::uint16_t>(local.tm_wday);
    t.day = static_cast<std::uint16_t>(local.tm_mday);
    t.hour = static_cast<std::uint16_t>(local.tm_hour);
    t.minute = static_cast<std::uint16_t>(local.tm_min);
    t.second = static_cast<std::uint16_t>(local.tm_sec > 59 ? 59 : local.tm_sec);
    t.milliseconds = static_cast<std::uint16_t>(
        duration_cast<milliseconds>(now.time_since_epoch()).count() % 1000);
    return t;
}

}  // namespace

bool SystemTimeToFileTime(const SystemTime& t, FileTime* out) {
    if (t.year < 1601 || t.year > 30827 || t.month < 1 || t.month > 12 || t.day < 1 ||
        t.day > DaysInMonth(t.year, t.month) || t.hour > 23 || t.minute > 59 || t.second > 59 ||
        t.milliseconds > 999) {
        return false;
    }
    const std::int64_t days = DaysFromCivil(t.year, t.month, t.day) + kDays1601To1970;
    const std::int64_t secs = days * kSecondsPerDay + t.hour * 3600 + t.minute * 60 + t.second;
    *out = static_cast<FileTime>(secs * kTicksPerSecond + t.milliseconds * kTicksPerMs);
    return true;
}

bool FileTimeToSystemTime(FileTime value, SystemTime* out) {
    if (value >= 0x8000000000000000ull) return false;
    const std::int64_t ticks = static_cast<std::int64_t>(value);
    const std::int64_t secs = ticks / kTicksPerSecond;
    const std::int64_t days = secs / kSecondsPerDay;
    const std::int64_t rem = secs % kSecondsPerDay;
    std::int64_t y;
    unsigned m, d;
    CivilFromDays(days - kDays1601To1970, &y, &m, &d);
    if (y > 30827) return false;
    out->year = static_cast<std::uint16_t>(y);
    out->month = static_cast<std::uint16_t>(m);
    out->day = static_cast<std::uint16_t>(d);
    // 1601-01-01 was a Monday.
    out->dayOfWeek = static_cast<std::uint16_t>((days + 1) % 7);
    out->hour = static_cast<std::uint16_t>(rem / 3600);
    out->minute = static_cast<std::uint16_t>(rem / 60 % 60);
    out->second = static_cast<std::uint16_t>(rem % 60);
    out->milliseconds = static_cast<std::uint16_t>(ticks % kTicksPerSecond / kTicksPerMs);
    return true;
}

SystemTime GetLocalTime() {
    LocalTimeSource fn = g_source.load(std::memory_order_acquire);
    if (fn == nullptr) return RealLocalTime();
    return fn(g_context.load(std::memory_order_acquire));
}

FileTime CurrentLocalFileTime() {
    FileTime ft = 0;
    SystemTimeToFileTime(GetLocalTime(), &ft);
    return ft;
}

void SetLocalTimeSource(LocalTimeSource source, void* context) {
    g_context.store(context, std::memory_order_release);
    g_source.store(source, std::memory_order_release);
}
