/// @file
/// CTime: conversions between seconds since 1970, local fields, SYSTEMTIME and FILETIME.
#include "tarnu/framework/builtin/CTime.h"

#include <algorithm>
#include <climits>
#include <new>
#include <string_view>

namespace {

constexpr __time64_t LastSecond = 32535215999;           ///< 3000-12-31 23:59:59 UTC, the runtime's last second
constexpr LONGLONG TicksPerSecond = 10000000;            ///< FILETIME counts 100 ns
constexpr LONGLONG TicksBefore1970 = 116444736000000000; ///< from 1601-01-01

__time64_t FromFields(int year, int month, int day, int hour, int minute, int second, int daylightSaving) noexcept {
    const bool valid = year >= 1970 && year <= 3000 && month >= 1 && month <= 12 && day >= 1 && day <= 31 &&
                       hour >= 0 && hour <= 23 && minute >= 0 && minute <= 59 && second >= 0 && second <= 59;
    if (!valid) return 0;
    struct tm fields {};
    fields.tm_year = year - 1900;
    fields.tm_mon = month - 1;
    fields.tm_mday = day;
    fields.tm_hour = hour;
    fields.tm_min = minute;
    fields.tm_sec = second;
    fields.tm_isdst = daylightSaving;
    return std::max<__time64_t>(::_mktime64(&fields), 0);
}

__time64_t FromFields(const SYSTEMTIME& local, int daylightSaving) noexcept {
    return FromFields(local.wYear, local.wMonth, local.wDay, local.wHour, local.wMinute, local.wSecond, daylightSaving);
}

__time64_t FromFileTime(const FILETIME& utc) noexcept {
    const ULONGLONG ticks = static_cast<ULONGLONG>(utc.dwHighDateTime) << 32 | utc.dwLowDateTime;
    if (ticks < static_cast<ULONGLONG>(TicksBefore1970)) return 0;
    const ULONGLONG seconds = (ticks - static_cast<ULONGLONG>(TicksBefore1970)) / TicksPerSecond;
    return seconds > static_cast<ULONGLONG>(LastSecond) ? 0 : static_cast<__time64_t>(seconds);
}

/// wcsftime without a fixed limit; an empty text for fields that are null.
CString FormatFields(const wchar_t* format, const struct tm* fields) {
    const std::wstring_view view(format == nullptr ? L"" : format);
    if (fields == nullptr || view.empty()) return CString();
    constexpr std::size_t longestField = 128; // more than any locale's long date and time
    const auto codes = static_cast<std::size_t>(std::count(view.begin(), view.end(), L'%'));
    const std::size_t room = view.size() + codes * longestField;
    if (room >= INT_MAX) throw std::bad_alloc();
    CString text;
    wchar_t* buffer = text.GetBuffer(static_cast<int>(room));
    text.ReleaseBuffer(static_cast<int>(std::wcsftime(buffer, room + 1, format, fields)));
    return text;
}

} // namespace

CTime::CTime(int year, int month, int day, int hour, int minute, int second, int daylightSaving) noexcept
    : m_seconds(FromFields(year, month, day, hour, minute, second, daylightSaving)) {}

CTime::CTime(const SYSTEMTIME& local, int daylightSaving) noexcept : m_seconds(FromFields(local, daylightSaving)) {}

CTime::CTime(const FILETIME& utc, int daylightSaving) noexcept : m_seconds(FromFileTime(utc)) {
    if (daylightSaving < 0) return;
    // An explicit daylight flag reads the local fields as standard or daylight time.
    struct tm fields {};
    if (GetLocalTm(&fields) == nullptr) return;
    fields.tm_isdst = daylightSaving;
    m_seconds = std::max<__time64_t>(::_mktime64(&fields), 0);
}

CTime CTime::GetCurrentTime() noexcept {
    return CTime(::_time64(nullptr));
}

struct tm* CTime::GetLocalTm(struct tm* fields) const noexcept {
    const bool valid = fields != nullptr && m_seconds >= 0 && m_seconds <= LastSecond;
    return valid && ::_localtime64_s(fields, &m_seconds) == 0 ? fields : nullptr;
}

struct tm* CTime::GetGmtTm(struct tm* fields) const noexcept {
    const bool valid = fields != nullptr && m_seconds >= 0 && m_seconds <= LastSecond;
    return valid && ::_gmtime64_s(fields, &m_seconds) == 0 ? fields : nullptr;
}

int CTime::GetYear() const noexcept {
    struct tm fields {};
    return GetLocalTm(&fields) != nullptr ? fields.tm_year + 1900 : 0;
}

int CTime::GetMonth() const noexcept {
    struct tm fields {};
    return GetLocalTm(&fields) != nullptr ? fields.tm_mon + 1 : 0;
}

int CTime::GetDay() const noexcept {
    struct tm fields {};
    return GetLocalTm(&fields) != nullptr ? fields.tm_mday : 0;
}

int CTime::GetHour() const noexcept {
    struct tm fields {};
    return GetLocalTm(&fields) != nullptr ? fields.tm_hour : -1;
}

int CTime::GetMinute() const noexcept {
    struct tm fields {};
    return GetLocalTm(&fields) != nullptr ? fields.tm_min : -1;
}

int CTime::GetSecond() const noexcept {
    struct tm fields {};
    return GetLocalTm(&fields) != nullptr ? fields.tm_sec : -1;
}

int CTime::GetDayOfWeek() const noexcept {
    struct tm fields {};
    return GetLocalTm(&fields) != nullptr ? fields.tm_wday + 1 : 0;
}

bool CTime::GetAsSystemTime(SYSTEMTIME& local) const noexcept {
    struct tm fields {};
    if (GetLocalTm(&fields) == nullptr) return false;
    local.wYear = static_cast<WORD>(fields.tm_year + 1900);
    local.wMonth = static_cast<WORD>(fields.tm_mon + 1);
    local.wDayOfWeek = static_cast<WORD>(fields.tm_wday);
    local.wDay = static_cast<WORD>(fields.tm_mday);
    local.wHour = static_cast<WORD>(fields.tm_hour);
    local.wMinute = static_cast<WORD>(fields.tm_min);
    local.wSecond = static_cast<WORD>(fields.tm_sec);
    local.wMilliseconds = 0;
    return true;
}

CString CTime::Format(const wchar_t* format) const {
    struct tm fields {};
    return FormatFields(format, GetLocalTm(&fields));
}

CString CTime::FormatGmt(const wchar_t* format) const {
    struct tm fields {};
    return FormatFields(format, GetGmtTm(&fields));
}
