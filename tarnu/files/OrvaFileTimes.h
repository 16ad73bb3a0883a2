/// @file
/// Conversions between FILETIME, SYSTEMTIME, local time and __time64_t, exact from 1601 to 30827.
///
/// All conversions share one range, 1601-01-01 00:00:00 to 30827-12-31 23:59:59.9999999 UTC. A value outside it, a
/// SYSTEMTIME that names no real date or time of day, and a result outside the range of its type make the conversion
/// return false and leave the output as it was. The day of week is ignored on input and correct on output.
///
/// A coarser type takes the value rounded down: milliseconds for SYSTEMTIME, seconds for __time64_t (which is negative
/// before 1970). A finer one takes it exactly.
///
/// Local time is that of the system's current time zone with the daylight rule that holds at the date converted (not
/// the one that holds today). An hour that occurs twice means one of the two, as the system decides.
///
/// Thread rule: any thread. Ownership: plain values.
#ifndef TARNU_FILES_ORVAFILETIMES_H
#define TARNU_FILES_ORVAFILETIMES_H

#include "tarnu/framework/framework.h"

// FILETIME (100 ns since 1601, UTC) and __time64_t (seconds since 1970, UTC)

/// The seconds of an instant, rounded down.
/// @param fileTime  the instant
/// @param time      receives the seconds since 1970
/// @return false when out of range
TARNU_API bool OrvaFileTimeToTime(const FILETIME& fileTime, __time64_t& time) noexcept;
/// The instant of a count of seconds.
/// @param time      seconds since 1970
/// @param fileTime  receives the instant
/// @return false when out of range
TARNU_API bool OrvaTimeToFileTime(__time64_t time, FILETIME& fileTime) noexcept;

// UTC fields

/// The fields of an instant.
/// @param fileTime  the instant
/// @param utc       receives date and time of day in UTC
/// @return false when out of range
TARNU_API bool OrvaFileTimeToUtc(const FILETIME& fileTime, SYSTEMTIME& utc) noexcept;
/// The instant that fields name.
/// @param utc       date and time of day in UTC
/// @param fileTime  receives the instant
/// @return false when out of range
TARNU_API bool OrvaUtcToFileTime(const SYSTEMTIME& utc, FILETIME& fileTime) noexcept;
/// The fields of a count of seconds.
/// @param time  seconds since 1970
/// @param utc   receives date and time of day in UTC, with 0 milliseconds
/// @return false when out of range
TARNU_API bool OrvaTimeToUtc(__time64_t time, SYSTEMTIME& utc) noexcept;
/// The seconds that fields name, rounded down.
/// @param utc   date and time of day in UTC
/// @param time  receives the seconds since 1970
/// @return false when out of range
TARNU_API bool OrvaUtcToTime(const SYSTEMTIME& utc, __time64_t& time) noexcept;

// Local fields

/// The local fields of an instant.
/// @param fileTime  the instant
/// @param local     receives date and time of day in local time
/// @return false when out of range, or when the system does not tell the rule of that year
TARNU_API bool OrvaFileTimeToLocal(const FILETIME& fileTime, SYSTEMTIME& local) noexcept;
/// The instant that local fields name.
/// @param local     date and time of day in local time
/// @param fileTime  receives the instant
/// @return false when out of range, or when the system does not tell the rule of that year
TARNU_API bool OrvaLocalToFileTime(const SYSTEMTIME& local, FILETIME& fileTime) noexcept;
/// The local fields of a count of seconds.
/// @param time   seconds since 1970
/// @param local  receives date and time of day in local time, with 0 milliseconds
/// @return false when out of range, or when the system does not tell the rule of that year
TARNU_API bool OrvaTimeToLocal(__time64_t time, SYSTEMTIME& local) noexcept;
/// The seconds that local fields name, rounded down.
/// @param local  date and time of day in local time
/// @param time   receives the seconds since 1970
/// @return false when out of range, or when the system does not tell the rule of that year
TARNU_API bool OrvaLocalToTime(const SYSTEMTIME& local, __time64_t& time) noexcept;

#endif // TARNU_FILES_ORVAFILETIMES_H
