#include "tarnu/files/OrvaFileTimes.h"

#include <cstdint>
#include <cstring>
#include <gtest/gtest.h>
#include <limits>

namespace {

constexpr ULONGLONG lastTicks = 9223149888000000000ull - 1; ///< 30827-12-31 23:59:59.9999999
constexpr __time64_t firstTime = -11644473600;
constexpr __time64_t lastTime = 910670515199;

FILETIME FromTicks(ULONGLONG ticks) {
    return {static_cast<DWORD>(ticks), static_cast<DWORD>(ticks >> 32)};
}
ULONGLONG ToTicks(const FILETIME& fileTime) {
    return static_cast<ULONGLONG>(fileTime.dwHighDateTime) << 32 | fileTime.dwLowDateTime;
}

/// A SYSTEMTIME of the fields that count; the day of week is nonsense on purpose.
SYSTEMTIME Fields(int year, int month, int day, int hour = 0, int minute = 0, int second = 0, int millisecond = 0) {
    SYSTEMTIME fields{};
    fields.wYear = static_cast<WORD>(year);
    fields.wMonth = static_cast<WORD>(month);
    fields.wDay = static_cast<WORD>(day);
    fields.wHour = static_cast<WORD>(hour);
    fields.wMinute = static_cast<WORD>(minute);
    fields.wSecond = static_cast<WORD>(second);
    fields.wMilliseconds = static_cast<WORD>(millisecond);
    fields.wDayOfWeek = 77;
    return fields;
}

bool SameFields(SYSTEMTIME left, SYSTEMTIME right) {
    left.wDayOfWeek = right.wDayOfWeek = 0;
    return std::memcmp(&left, &right, sizeof(left)) == 0;
}

struct Case {
    ULONGLONG ticks;
    SYSTEMTIME utc;
    WORD dayOfWeek;
    __time64_t time;
};

const Case cases[] = {
    {0, Fields(1601, 1, 1), 1, firstTime},
    {9999999, Fields(1601, 1, 1, 0, 0, 0, 999), 1, firstTime},
    {116444736000000000 - 1, Fields(1969, 12, 31, 23, 59, 59, 999), 3, -1}, // rounded down, not towards zero
    {116444736000000000, Fields(1970, 1, 1), 4, 0},
    {125962560000000000, Fields(2000, 2, 29), 2, 951782400},
    {116444736000000000 + 21474836480000000, Fields(2038, 1, 19, 3, 14, 8), 2, 2147483648},
    {157520160000000000, Fields(2100, 3, 1), 1, 4107542400},
    {441796896000000000, Fields(3001, 1, 1), 4, 32535216000}, // where the runtime's own functions end
    {lastTicks, Fields(30827, 12, 31, 23, 59, 59, 999), 5, lastTime},
};

TEST(FileTimes, KnownTimesAgreeInAllForms) {
    for (const Case& sample : cases) {
        SCOPED_TRACE(sample.ticks);
        FILETIME fileTime = FromTicks(sample.ticks);
        SYSTEMTIME utc{};
        __time64_t time = 0;
        ASSERT_TRUE(OrvaFileTimeToUtc(fileTime, utc));
        EXPECT_TRUE(SameFields(utc, sample.utc));
        EXPECT_EQ(utc.wDayOfWeek, sample.dayOfWeek);
        ASSERT_TRUE(OrvaFileTimeToTime(fileTime, time));
        EXPECT_EQ(time, sample.time);

        // Back: exact as far as the coarser form goes.
        ASSERT_TRUE(OrvaUtcToFileTime(sample.utc, fileTime));
        EXPECT_EQ(ToTicks(fileTime), sample.ticks / 10000 * 10000);
        ASSERT_TRUE(OrvaTimeToFileTime(sample.time, fileTime));
        EXPECT_EQ(ToTicks(fileTime), sample.ticks / 10000000 * 10000000);
        ASSERT_TRUE(OrvaUtcToTime(sample.utc, time));
        EXPECT_EQ(time, sample.time);
        ASSERT_TRUE(OrvaTimeToUtc(sample.time, utc));
        SYSTEMTIME whole = sample.utc;
        whole.wMilliseconds = 0;
        EXPECT_TRUE(SameFields(utc, whole));
    }
}

TEST(FileTimes, WhatIsOutOfRangeIsRefusedAndChangesNothing) {
    const SYSTEMTIME fieldsBefore = Fields(1, 2, 3, 4, 5, 6, 7);
    SYSTEMTIME fields = fieldsBefore;
    FILETIME fileTime = FromTicks(12345);
    __time64_t time = 67890;

    for (const ULONGLONG ticks : {lastTicks + 1, 0x7fffffffffffffffull, 0x8000000000000000ull, ~0ull}) {
        EXPECT_FALSE(OrvaFileTimeToUtc(FromTicks(ticks), fields)) << ticks;
        EXPECT_FALSE(OrvaFileTimeToLocal(FromTicks(ticks), fields)) << ticks;
        EXPECT_FALSE(OrvaFileTimeToTime(FromTicks(ticks), time)) << ticks;
    }
    for (const __time64_t value : {firstTime - 1, lastTime + 1, std::numeric_limits<__time64_t>::min(),
                                   std::numeric_limits<__time64_t>::max()}) {
        EXPECT_FALSE(OrvaTimeToFileTime(value, fileTime)) << value;
        EXPECT_FALSE(OrvaTimeToUtc(value, fields)) << value;
        EXPECT_FALSE(OrvaTimeToLocal(value, fields)) << value;
    }
    const SYSTEMTIME wrong[] = {
        Fields(1600, 12, 31),         Fields(30828, 1, 1),
        Fields(65535, 1, 1),          Fields(0, 1, 1),
        Fields(2020, 0, 1),           Fields(2020, 13, 1),
        Fields(2020, 1, 0),           Fields(2020, 1, 32),
        Fields(2020, 4, 31),          Fields(2100, 2, 29),
        Fields(2020, 1, 1, 24),       Fields(2020, 1, 1, 0, 60),
        Fields(2020, 1, 1, 0, 0, 60), Fields(2020, 1, 1, 0, 0, 0, 1000),
    };
    for (const SYSTEMTIME& value : wrong) {
        SCOPED_TRACE(testing::Message() << value.wYear << "-" << value.wMonth << "-" << value.wDay << " " << value.wHour
                                        << ":" << value.wMinute << ":" << value.wSecond << "." << value.wMilliseconds);
        EXPECT_FALSE(OrvaUtcToFileTime(value, fileTime));
        EXPECT_FALSE(OrvaUtcToTime(value, time));
        EXPECT_FALSE(OrvaLocalToFileTime(value, fileTime));
        EXPECT_FALSE(OrvaLocalToTime(value, time));
    }
    EXPECT_EQ(std::memcmp(&fields, &fieldsBefore, sizeof(fields)), 0);
    EXPECT_EQ(ToTicks(fileTime), 12345u);
    EXPECT_EQ(time, 67890);
}

TEST(FileTimes, LocalTimeGoesThereAndBackAtEveryDistance) {
    // Noon is never skipped or repeated by a change of the clocks.
    for (int year = 1602; year <= 30826; year += 173) {
        for (const int month : {1, 4, 7, 10}) {
            const SYSTEMTIME local = Fields(year, month, 15, 12, 34, 56, 789);
            FILETIME fileTime{};
            SYSTEMTIME back{};
            ASSERT_TRUE(OrvaLocalToFileTime(local, fileTime)) << year << "-" << month;
            ASSERT_TRUE(OrvaFileTimeToLocal(fileTime, back)) << year << "-" << month;
            ASSERT_TRUE(SameFields(local, back)) << year << "-" << month;
            __time64_t time = 0;
            ASSERT_TRUE(OrvaLocalToTime(local, time));
            ASSERT_EQ(time, static_cast<__time64_t>(ToTicks(fileTime) / 10000000) + firstTime);
            ASSERT_TRUE(OrvaTimeToLocal(time, back));
            ASSERT_TRUE(SameFields(Fields(year, month, 15, 12, 34, 56), back)) << year << "-" << month;
        }
    }
}

TEST(FileTimes, LocalTimeNeverWrapsAtTheEnds) {
    // At each end the local time is either right next to the UTC one or, where the zone leads out of the range,
    // refused.
    for (const ULONGLONG ticks : {0ull, lastTicks}) {
        SYSTEMTIME local{};
        FILETIME asUtc{};
        if (!OrvaFileTimeToLocal(FromTicks(ticks), local)) continue;
        ASSERT_TRUE(OrvaUtcToFileTime(local, asUtc)) << ticks;
        const ULONGLONG other = ToTicks(asUtc);
        EXPECT_LE(ticks > other ? ticks - other : other - ticks, 864000000000ull) << ticks;
    }
    // In every zone one of the two directions leads out at one of the ends, unless the zone is UTC.
    const auto refused = [](const SYSTEMTIME& local) {
        FILETIME fileTime{};
        return !OrvaLocalToFileTime(local, fileTime);
    };
    TIME_ZONE_INFORMATION zone{};
    ::GetTimeZoneInformation(&zone);
    if (zone.Bias != 0) {
        EXPECT_TRUE(refused(zone.Bias > 0 ? Fields(30827, 12, 31, 23, 59, 59) : Fields(1601, 1, 1)));
    }
}

TEST(FileTimes, TheDaylightRuleIsThatOfTheDateConverted) {
    TIME_ZONE_INFORMATION zone{};
    ::GetTimeZoneInformation(&zone);
    if (zone.Bias != 300 || zone.DaylightDate.wMonth != 3) {
        GTEST_SKIP() << "needs the time zone of New York, in which files_new_york runs it";
    }
    SYSTEMTIME local{};
    ASSERT_TRUE(OrvaTimeToLocal(1577880000, local)); // 2020-01-01 12:00 UTC
    EXPECT_TRUE(SameFields(local, Fields(2020, 1, 1, 7)));
    EXPECT_EQ(local.wDayOfWeek, 3);
    ASSERT_TRUE(OrvaTimeToLocal(1593604800, local)); // 2020-07-01 12:00 UTC
    EXPECT_TRUE(SameFields(local, Fields(2020, 7, 1, 8)));
    __time64_t time = 0;
    ASSERT_TRUE(OrvaLocalToTime(Fields(2020, 1, 1, 7), time));
    EXPECT_EQ(time, 1577880000);
    ASSERT_TRUE(OrvaLocalToTime(Fields(2020, 7, 1, 8), time));
    EXPECT_EQ(time, 1593604800);
    EXPECT_FALSE(OrvaTimeToLocal(firstTime, local)) << "the evening before is in 1600";
    ASSERT_TRUE(OrvaTimeToLocal(lastTime, local));
    EXPECT_TRUE(SameFields(local, Fields(30827, 12, 31, 18, 59, 59)));
}

} // namespace
