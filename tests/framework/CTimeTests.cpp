// CTime and CTimeSpan: fields, ranges, conversions, formatting. Nothing here depends on the machine's time zone.

#include "tarnu/framework/framework.h"

#include <gtest/gtest.h>
#include <string>
#include <utility>

namespace {

FILETIME ToFileTime(ULONGLONG ticks) {
    return {static_cast<DWORD>(ticks & 0xFFFFFFFFU), static_cast<DWORD>(ticks >> 32)};
}

FILETIME ToFileTime(WORD year, WORD month, WORD day, WORD hour, WORD minute, WORD second) {
    const SYSTEMTIME utc{year, month, 0, day, hour, minute, second, 0};
    FILETIME time{};
    EXPECT_TRUE(::SystemTimeToFileTime(&utc, &time));
    return time;
}

constexpr ULONGLONG epoch = 116444736000000000;

TEST(CTimeFields, LocalFieldsSurviveTheWayThroughSeconds) {
    for (const int month : {1, 7, 12}) { // in and out of daylight saving time
        const CTime time(2021, month, 28, 13, 59, 58);
        EXPECT_EQ(2021, time.GetYear());
        EXPECT_EQ(month, time.GetMonth());
        EXPECT_EQ(28, time.GetDay());
        EXPECT_EQ(13, time.GetHour());
        EXPECT_EQ(59, time.GetMinute());
        EXPECT_EQ(58, time.GetSecond());
        SYSTEMTIME fields{};
        ASSERT_TRUE(time.GetAsSystemTime(fields));
        EXPECT_EQ(0, fields.wMilliseconds);
        EXPECT_EQ(time.GetDayOfWeek(), fields.wDayOfWeek + 1);
        EXPECT_EQ(time, CTime(fields));
    }
    EXPECT_EQ(1, CTime(2023, 1, 1, 12, 0, 0).GetDayOfWeek()) << "Sunday";
    EXPECT_EQ(7, CTime(2022, 12, 31, 12, 0, 0).GetDayOfWeek()) << "Saturday";
}

TEST(CTimeFields, WhatTheRuntimeCannotRepresentIsZero) {
    const struct {
        int year, month, day, hour, minute, second;
    } cases[] = {{1969, 6, 1, 0, 0, 0},  {3001, 6, 1, 0, 0, 0},  {2020, 0, 1, 0, 0, 0},  {2020, 13, 1, 0, 0, 0},
                 {2020, 1, 0, 0, 0, 0},  {2020, 1, 32, 0, 0, 0}, {2020, 1, 1, 24, 0, 0}, {2020, 1, 1, -1, 0, 0},
                 {2020, 1, 1, 0, 60, 0}, {2020, 1, 1, 0, -1, 0}, {2020, 1, 1, 0, 0, 60}, {2020, 1, 1, 0, 0, -1}};
    for (const auto& test : cases) {
        EXPECT_EQ(0, CTime(test.year, test.month, test.day, test.hour, test.minute, test.second).GetTime())
            << test.year << '-' << test.month << '-' << test.day << ' ' << test.hour << ':' << test.minute << ':'
            << test.second;
    }
    EXPECT_EQ(0, CTime(SYSTEMTIME{}).GetTime());
    EXPECT_EQ(CTime(2021, 3, 1, 0, 0, 0), CTime(2021, 2, 29, 0, 0, 0)) << "days run over into the next month";
}

TEST(CTimeFields, SecondsOutOfRangeHaveNoFields) {
    for (const __time64_t seconds : {__time64_t{-1}, __time64_t{1} << 60, -(__time64_t{1} << 60)}) {
        const CTime time(seconds);
        struct tm fields {};
        SYSTEMTIME system{};
        EXPECT_EQ(nullptr, time.GetLocalTm(&fields));
        EXPECT_EQ(nullptr, time.GetGmtTm(&fields));
        EXPECT_FALSE(time.GetAsSystemTime(system));
        EXPECT_EQ(0, time.GetYear());
        EXPECT_EQ(0, time.GetMonth());
        EXPECT_EQ(0, time.GetDay());
        EXPECT_EQ(-1, time.GetHour());
        EXPECT_EQ(-1, time.GetMinute());
        EXPECT_EQ(-1, time.GetSecond());
        EXPECT_EQ(0, time.GetDayOfWeek());
        EXPECT_STREQ(L"", time.Format(L"%Y"));
        EXPECT_STREQ(L"", time.FormatGmt(L"%Y"));
    }
    EXPECT_EQ(nullptr, CTime(0).GetGmtTm(nullptr));
    EXPECT_EQ(nullptr, CTime(0).GetLocalTm(nullptr));
}

TEST(CTimeFileTime, CountsWholeSecondsSince1970) {
    const struct {
        FILETIME time;
        __time64_t seconds;
    } cases[] = {
        {ToFileTime(epoch + 9999999), 0},
        {ToFileTime(epoch + 10000000), 1},
        {ToFileTime(epoch - 1), 0},
        {ToFileTime(2021, 7, 15, 12, 30, 45), 1626352245},
        {ToFileTime(2038, 1, 19, 3, 14, 8), 2147483648LL},
        {ToFileTime(3000, 12, 31, 23, 59, 59), 32535215999},
        {ToFileTime(3001, 1, 1, 0, 0, 0), 0},
        {ToFileTime(~0ULL), 0},
    };
    for (const auto& test : cases)
        EXPECT_EQ(test.seconds, CTime(test.time).GetTime());
    // The flag says what the local fields are taken for: they stay, and in a zone without such a time the hour moves.
    for (const int daylight : {0, 1}) {
        const CTime time(ToFileTime(2021, 1, 15, 12, 30, 45), daylight);
        EXPECT_EQ(1610713845 - time.GetTime(), (1610713845 - time.GetTime()) / 3600 * 3600);
        EXPECT_EQ(0, CTime(ToFileTime(0), daylight).GetTime() / 86400);
        EXPECT_EQ(0, CTime(ToFileTime(3001, 1, 1, 0, 0, 0), daylight).GetTime() / 86400);
    }
}

TEST(CTimeFormat, FollowsTheRuntime) {
    const CTime time(1610713845);
    EXPECT_STREQ(L"2021-01-15 12:30:45", time.FormatGmt(L"%Y-%m-%d %H:%M:%S"));
    EXPECT_STREQ(L"100%", time.FormatGmt(L"100%%"));
    EXPECT_STREQ(L"", time.FormatGmt(L""));
    EXPECT_STREQ(L"", time.FormatGmt(nullptr));
    EXPECT_STREQ(L"2021", CTime(2021, 6, 15, 12, 0, 0).Format(L"%Y"));
    std::wstring years;
    std::wstring expected;
    for (int count = 0; count < 100; ++count) {
        years += L"%Y-%j ";
        expected += L"2021-015 ";
    }
    EXPECT_EQ(expected, std::wstring(time.FormatGmt(years.c_str())));
}

TEST(CTimeArithmetic, SpansCountSeconds) {
    const CTimeSpan span(1, 2, 3, 4);
    EXPECT_EQ(93784, span.GetTotalSeconds());
    EXPECT_EQ(1, span.GetDays());
    EXPECT_EQ(2, span.GetHours());
    EXPECT_EQ(3, span.GetMinutes());
    EXPECT_EQ(4, span.GetSeconds());
    EXPECT_EQ(26, span.GetTotalHours());
    EXPECT_EQ(1563, span.GetTotalMinutes());
    EXPECT_EQ(-2, CTimeSpan(-93784).GetHours());
    EXPECT_EQ(LONGLONG{100000} * 86400, CTimeSpan(100000, 0, 0, 0).GetTotalSeconds()) << "no 32-bit wrap";
    CTime time(1000);
    EXPECT_EQ(94784, (time + span).GetTime());
    EXPECT_EQ(-92784, (time - span).GetTime());
    EXPECT_EQ(1000, (CTime(2000) - time).GetTotalSeconds());
    time += CTimeSpan(5);
    time -= CTimeSpan(10);
    EXPECT_EQ(CTime(995), time);
    EXPECT_LT(time, CTime(996));
    EXPECT_GT(CTimeSpan(2), CTimeSpan(1));
}

TEST(CTimeNow, IsTheRuntimesClock) {
    const __time64_t before = ::_time64(nullptr);
    const CTime now = CTime::GetCurrentTime();
    EXPECT_GE(now.GetTime(), before);
    EXPECT_LE(now.GetTime(), ::_time64(nullptr));
}

} // namespace
