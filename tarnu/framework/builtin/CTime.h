/// @file
/// CTime and CTimeSpan: absolute and relative times in whole seconds.
#ifndef TARNU_FRAMEWORK_BUILTIN_CTIME_H
#define TARNU_FRAMEWORK_BUILTIN_CTIME_H

#include "tarnu/framework/builtin/CString.h"

#include <ctime>

/// A difference of two times, in seconds (64-bit).
class CTimeSpan {
public:
    CTimeSpan() noexcept = default;
    /// A span of seconds.
    /// @param seconds negative for one that goes back
    CTimeSpan(__time64_t seconds) noexcept : m_seconds(seconds) {} // NOLINT: implicit as documented
    /// The sum of all four.
    /// @param days,hours,minutes,seconds each of any size and sign
    CTimeSpan(LONG days, int hours, int minutes, int seconds) noexcept
        : m_seconds(((static_cast<__time64_t>(days) * 24 + hours) * 60 + minutes) * 60 + seconds) {}

    /// @{
    /// The whole span in one unit. @return rounded towards zero, with the sign of the span
    LONGLONG GetDays() const noexcept { return m_seconds / 86400; }
    LONGLONG GetTotalHours() const noexcept { return m_seconds / 3600; }
    LONGLONG GetTotalMinutes() const noexcept { return m_seconds / 60; }
    LONGLONG GetTotalSeconds() const noexcept { return m_seconds; }
    /// @}
    /// @{
    /// What is left of the next larger unit. @return rounded towards zero, with the sign of the span
    LONG GetHours() const noexcept { return static_cast<LONG>(m_seconds / 3600 % 24); }
    LONG GetMinutes() const noexcept { return static_cast<LONG>(m_seconds / 60 % 60); }
    LONG GetSeconds() const noexcept { return static_cast<LONG>(m_seconds % 60); }
    /// @}
    /// @return the whole span in seconds
    __time64_t GetTimeSpan() const noexcept { return m_seconds; }

    /// Compares the seconds. @return less, equal or greater
    auto operator<=>(const CTimeSpan&) const noexcept = default;

private:
    __time64_t m_seconds = 0;
};

/// A point in time: seconds since 1970-01-01 00:00 UTC (64-bit). Fields are given and returned in local time.
class CTime {
public:
    CTime() noexcept = default;
    /// An instant.
    /// @param seconds since 1970-01-01 00:00 UTC
    CTime(__time64_t seconds) noexcept : m_seconds(seconds) {} // NOLINT: implicit as documented
    /// Local time. One that the runtime cannot represent gives the time 0.
    /// @param year 1970 to 3000
    /// @param month,day counted from 1
    /// @param hour,minute,second counted from 0
    /// @param daylightSaving 1 for daylight time, 0 for standard time, -1 to let the system decide
    TARNU_API CTime(int year, int month, int day, int hour, int minute, int second, int daylightSaving = -1) noexcept;
    /// Local time. One that the runtime cannot represent gives the time 0.
    /// @param local          its milliseconds and day of week are not looked at
    /// @param daylightSaving 1 for daylight time, 0 for standard time, -1 to let the system decide
    TARNU_API explicit CTime(const SYSTEMTIME& local, int daylightSaving = -1) noexcept;
    /// An instant. One before 1970, or behind 3000, gives the time 0.
    /// @param utc            its fraction of a second is not looked at
    /// @param daylightSaving -1 for the instant itself; 1 or 0 reads its local fields as daylight or standard time
    TARNU_API explicit CTime(const FILETIME& utc, int daylightSaving = -1) noexcept;

    /// @return the current time
    TARNU_API static CTime GetCurrentTime() noexcept;

    /// @return seconds since 1970-01-01 00:00 UTC
    __time64_t GetTime() const noexcept { return m_seconds; }

    // Local fields, as far as the runtime can represent the time: up to 3000

    /// @return the year in full; 0 when the time can't be represented
    TARNU_API int GetYear() const noexcept;
    /// @return 1 to 12; 0 when the time can't be represented
    TARNU_API int GetMonth() const noexcept;
    /// @return 1 to 31; 0 when the time can't be represented
    TARNU_API int GetDay() const noexcept;
    /// @return 0 to 23; -1 when the time can't be represented
    TARNU_API int GetHour() const noexcept;
    /// @return 0 to 59; -1 when the time can't be represented
    TARNU_API int GetMinute() const noexcept;
    /// @return 0 to 59; -1 when the time can't be represented
    TARNU_API int GetSecond() const noexcept;
    /// @return 1 (Sunday) to 7; 0 when the time can't be represented
    TARNU_API int GetDayOfWeek() const noexcept;
    /// @{
    /// The time broken down into fields, local or UTC.
    /// @param fields receives them; may be null
    /// @return @p fields; null when it is null or the time can't be represented
    TARNU_API struct tm* GetLocalTm(struct tm* fields) const noexcept;
    TARNU_API struct tm* GetGmtTm(struct tm* fields) const noexcept;
    /// @}
    /// The local fields.
    /// @param local receives them, with 0 milliseconds; untouched on failure
    /// @return false when the time can't be represented
    TARNU_API bool GetAsSystemTime(SYSTEMTIME& local) const noexcept;
    /// wcsftime over the local or UTC fields.
    /// @param format as wcsftime takes it; null is empty
    /// @return the text; empty when the time can't be represented
    /// @{
    TARNU_API CString Format(const wchar_t* format) const;
    TARNU_API CString FormatGmt(const wchar_t* format) const;
    /// @}

    /// @{
    /// Moves the time.
    /// @param span how far
    /// @return this time
    CTime& operator+=(CTimeSpan span) noexcept {
        m_seconds += span.GetTimeSpan();
        return *this;
    }
    CTime& operator-=(CTimeSpan span) noexcept {
        m_seconds -= span.GetTimeSpan();
        return *this;
    }
    /// @}
    /// @{
    /// The time moved.
    /// @param span how far
    /// @return another time
    CTime operator+(CTimeSpan span) const noexcept { return CTime(m_seconds + span.GetTimeSpan()); }
    CTime operator-(CTimeSpan span) const noexcept { return CTime(m_seconds - span.GetTimeSpan()); }
    /// @}
    /// The span between two times.
    /// @param other where it starts
    /// @return the span from there to this time; negative when that is later
    CTimeSpan operator-(CTime other) const noexcept { return CTimeSpan(m_seconds - other.m_seconds); }

    /// Compares the seconds. @return less, equal or greater
    auto operator<=>(const CTime&) const noexcept = default;

private:
    __time64_t m_seconds = 0;
};

#endif // TARNU_FRAMEWORK_BUILTIN_CTIME_H
