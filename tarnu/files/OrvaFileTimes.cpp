#include "tarnu/files/OrvaFileTimes.h"

#include <chrono>

namespace {

using Ticks = ULONGLONG; ///< 100 ns since 1601-01-01

constexpr Ticks ticksPerMillisecond = 10'000;
constexpr Ticks ticksPerSecond = 1000 * ticksPerMillisecond;
constexpr WORD firstYear = 1601;
constexpr WORD lastYear = 30827;

constexpr LONGLONG DaysBetween(int fromYear, int toYear) noexcept {
    using namespace std::chrono;
    return (sys_days(year(toYear) / January / 1) - sys_days(year(fromYear) / January / 1)).count();
}

/// 1970-01-01 in seconds since 1601.
constexpr LONGLONG epochSeconds = DaysBetween(firstYear, 1970) * 86400;
constexpr Ticks lastTicks = static_cast<Ticks>(DaysBetween(firstYear, lastYear + 1)) * 86400 * ticksPerSecond - 1;
static_assert(epochSeconds == 11644473600);
static_assert(lastTicks < 0x8000000000000000, "FileTimeToSystemTime refuses the sign bit");

Ticks ToTicks(const FILETIME& fileTime) noexcept {
    return static_cast<Ticks>(fileTime.dwHighDateTime) << 32 | fileTime.dwLowDateTime;
}

FILETIME FromTicks(Ticks ticks) noexcept {
    return {static_cast<DWORD>(ticks), static_cast<DWORD>(ticks >> 32)};
}

bool IsInRange(const FILETIME& fileTime) noexcept {
    return ToTicks(fileTime) <= lastTicks;
}

/// Guards a conversion between UTC and local fields. Near the ends of the range the offset can lead out of it, where
/// the system's arithmetic may wrap; no zone is further than a day from UTC, so a larger step is such a wrap.
bool IsWithinADay(const SYSTEMTIME& left, const SYSTEMTIME& right) noexcept {
    FILETIME leftTime;
    FILETIME rightTime;
    if (!OrvaUtcToFileTime(left, leftTime) || !OrvaUtcToFileTime(right, rightTime)) return false;
    const Ticks first = ToTicks(leftTime);
    const Ticks second = ToTicks(rightTime);
    constexpr Ticks day = 86400 * ticksPerSecond;
    return (first > second ? first - second : second - first) <= day;
}

using ZoneConversion = BOOL(WINAPI*)(const TIME_ZONE_INFORMATION*, const SYSTEMTIME*, SYSTEMTIME*);

/// Converts with the rule that the current zone has in the year of @p from.
bool ConvertInZone(ZoneConversion convert, const SYSTEMTIME& from, SYSTEMTIME& to) noexcept {
    TIME_ZONE_INFORMATION zone;
    SYSTEMTIME result;
    if (!::GetTimeZoneInformationForYear(from.wYear, nullptr, &zone) || !convert(&zone, &from, &result) ||
        !IsWithinADay(from, result)) {
        return false;
    }
    to = result;
    return true;
}

} // namespace

bool OrvaFileTimeToTime(const FILETIME& fileTime, __time64_t& time) noexcept {
    if (!IsInRange(fileTime)) return false;
    time = static_cast<__time64_t>(ToTicks(fileTime) / ticksPerSecond) - epochSeconds;
    return true;
}

bool OrvaTimeToFileTime(__time64_t time, FILETIME& fileTime) noexcept {
    if (time < -epochSeconds || time > static_cast<LONGLONG>(lastTicks / ticksPerSecond) - epochSeconds) return false;
    fileTime = FromTicks(static_cast<Ticks>(time + epochSeconds) * ticksPerSecond);
    return true;
}

bool OrvaFileTimeToUtc(const FILETIME& fileTime, SYSTEMTIME& utc) noexcept {
    SYSTEMTIME result;
    if (!IsInRange(fileTime) || !::FileTimeToSystemTime(&fileTime, &result)) return false;
    utc = result;
    return true;
}

bool OrvaUtcToFileTime(const SYSTEMTIME& utc, FILETIME& fileTime) noexcept {
    // Not by SystemTimeToFileTime: Wine's takes 29 February of years such as 2100, and years beyond the range.
    using namespace std::chrono;
    if (utc.wYear < firstYear || utc.wYear > lastYear || utc.wMonth > 12 || utc.wDay > 31 || utc.wHour > 23 ||
        utc.wMinute > 59 || utc.wSecond > 59 || utc.wMilliseconds > 999) {
        return false;
    }
    const year_month_day date(year(utc.wYear), month(utc.wMonth), day(utc.wDay));
    if (!date.ok()) return false;
    const LONGLONG days = (sys_days(date) - sys_days(year(firstYear) / January / 1)).count();
    const LONGLONG seconds = ((days * 24 + utc.wHour) * 60 + utc.wMinute) * 60 + utc.wSecond;
    fileTime = FromTicks(static_cast<Ticks>(seconds) * ticksPerSecond + utc.wMilliseconds * ticksPerMillisecond);
    return true;
}

bool OrvaTimeToUtc(__time64_t time, SYSTEMTIME& utc) noexcept {
    FILETIME fileTime;
    return OrvaTimeToFileTime(time, fileTime) && OrvaFileTimeToUtc(fileTime, utc);
}

bool OrvaUtcToTime(const SYSTEMTIME& utc, __time64_t& time) noexcept {
    FILETIME fileTime;
    return OrvaUtcToFileTime(utc, fileTime) && OrvaFileTimeToTime(fileTime, time);
}

bool OrvaFileTimeToLocal(const FILETIME& fileTime, SYSTEMTIME& local) noexcept {
    SYSTEMTIME utc;
    return OrvaFileTimeToUtc(fileTime, utc) && ConvertInZone(&::SystemTimeToTzSpecificLocalTime, utc, local);
}

bool OrvaLocalToFileTime(const SYSTEMTIME& local, FILETIME& fileTime) noexcept {
    FILETIME valid;
    SYSTEMTIME utc;
    return OrvaUtcToFileTime(local, valid) && ConvertInZone(&::TzSpecificLocalTimeToSystemTime, local, utc) &&
           OrvaUtcToFileTime(utc, fileTime);
}

bool OrvaTimeToLocal(__time64_t time, SYSTEMTIME& local) noexcept {
    FILETIME fileTime;
    return OrvaTimeToFileTime(time, fileTime) && OrvaFileTimeToLocal(fileTime, local);
}

bool OrvaLocalToTime(const SYSTEMTIME& local, __time64_t& time) noexcept {
    FILETIME fileTime;
    return OrvaLocalToFileTime(local, fileTime) && OrvaFileTimeToTime(fileTime, time);
}
