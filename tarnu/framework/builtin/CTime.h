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
    /// Seconds.
    CTimeSpan(__time64_t seconds) noexcept : m_seconds(seconds) {} // NOLINT: implicit as documented
    /// The sum of all four.
    CTimeSpan(LONG days, int hours, int minutes, int seconds) noexcept
        : m_seconds(((static_cast<__time64_t>(days) * 24 + hours) * 60 + minutes) * 60 + seconds) {}

    /// @{
    /// The whole span in one unit, rounded towards zero.
    LONGLONG GetDays() const noexcept { return m_seconds / 86400; }
    LONGLONG GetTotalHours() const noexcept { return m_seconds / 3600; }
    LONGLONG GetTotalMinutes() const noexcept { return m_seconds / 60; }
    LONGLONG GetTotalSeconds() const noexcept { return m_seconds; }
    /// @}
    /// @{
    /// What is left of the next larger unit, with the sign of the span.
    LONG GetHours() const noexcept { return static_cast<LONG>(m_seconds / 3600 % 24); }
    LONG GetMinutes() const noexcept { return static_cast<LONG>(m_seconds / 60 % 60); }
    LONG GetSeconds() const noexcept { return static_cast<LONG>(m_seconds % 60); }
    /// @}
    /// The seconds.
    __time64_t GetTimeSpan() const noexcept { return m_seconds; }

    /// Compares the seconds.
    auto operator<=>(const CTimeSpan&) const noexcept = default;

private:
    __time64_t m_seconds = 0;
};

/// A point in time: seconds since 1970-01-01 00:00 UTC (64-bit). Fields are given and returned in local time.
class CTime {
public:
    CTime() noexcept = default;
    /// Seconds since 1970, UTC.
    CTime(__time64_t seconds) noexcept : m_seconds(seconds) {} // NOLINT: implicit as documented
    /// Local time; @p daylightSaving is 1, 0, or -1 to let the system decide. A time the runtime cannot represent gives
    /// 0.
    TARNU_API CTime(int year, int month, int day, int hour, int minute, int second, int daylightSaving = -1) noexcept;
    /// Local time, without its milliseconds.
    TARNU_API explicit CTime(const SYSTEMTIME& local, int daylightSaving = -1) noexcept;
    /// An instant, without its fraction of a second.
    TARNU_API explicit CTime(const FILETIME& utc, int daylightSaving = -1) noexcept;

    /// The current time.
    TARNU_API static CTime GetCurrentTime() noexcept;

    /// Seconds since 1970, UTC.
    __time64_t GetTime() const noexcept { return m_seconds; }
    TARNU_API int GetYear() const noexcept;      ///< in full
    TARNU_API int GetMonth() const noexcept;     ///< 1 to 12
    TARNU_API int GetDay() const noexcept;       ///< 1 to 31
    TARNU_API int GetHour() const noexcept;      ///< 0 to 23
    TARNU_API int GetMinute() const noexcept;    ///< 0 to 59
    TARNU_API int GetSecond() const noexcept;    ///< 0 to 59
    TARNU_API int GetDayOfWeek() const noexcept; ///< 1 is Sunday
    /// @{
    /// Broken-down time, written to @p fields; null when the runtime cannot represent it.
    TARNU_API struct tm* GetLocalTm(struct tm* fields) const noexcept;
    TARNU_API struct tm* GetGmtTm(struct tm* fields) const noexcept;
    /// @}
    /// False when the time is out of SYSTEMTIME's range.
    TARNU_API bool GetAsSystemTime(SYSTEMTIME& local) const noexcept;
    /// wcsftime over the local or UTC fields; an empty text when they cannot be represented.
    /// @{
    TARNU_API CString Format(const wchar_t* format) const;
    TARNU_API CString FormatGmt(const wchar_t* format) const;
    /// @}

    /// @{
    /// Moves the time.
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
    CTime operator+(CTimeSpan span) const noexcept { return CTime(m_seconds + span.GetTimeSpan()); }
    CTime operator-(CTimeSpan span) const noexcept { return CTime(m_seconds - span.GetTimeSpan()); }
    /// @}
    /// The span from @p other to this time.
    CTimeSpan operator-(CTime other) const noexcept { return CTimeSpan(m_seconds - other.m_seconds); }

    /// Compares the seconds.
    auto operator<=>(const CTime&) const noexcept = default;

private:
    __time64_t m_seconds = 0;
};

#endif // TARNU_FRAMEWORK_BUILTIN_CTIME_H
