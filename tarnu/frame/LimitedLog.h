/// @file
/// Log lines with a limit for each place in the source, which say how many they dropped.
///
/// ORVA_LOG_LIMITED(count, milliseconds, format, …) writes at most so many lines in so many milliseconds from the place
/// where it stands; ORVA_LOG_FIRST(count, format, …) the first ones of the process; ORVA_LOG_ONCE(format, …) one. What
/// was dropped is said, in a line of its own from the same place, before the next line that is written, and at the end
/// of the module that logs. Any thread.
#ifndef TARNU_FRAME_LIMITEDLOG_H
#define TARNU_FRAME_LIMITEDLOG_H

#include "tarnu/frame/OrvaTrace.h"

#include <limits>

namespace tarnu {

/// The limit of one place in the source.
///
/// Threads: any. Ownership: the file name is borrowed, for good.
class LogLimit {
public:
    /// Milliseconds since some moment, as GetTickCount64 has them.
    using Clock = ULONGLONG(WINAPI*)();
    /// A span that never ends.
    static constexpr ULONGLONG forever = (std::numeric_limits<ULONGLONG>::max)();

    /// @param file   names the place with the line
    /// @param line   names the place with the file
    /// @param count  lines that may be written in a span; 0 for none
    /// @param span   milliseconds from the first line of a span to its end, or forever
    /// @param clock  what tells the time
    LogLimit(const wchar_t* file, int line, UINT count, ULONGLONG span, Clock clock = &::GetTickCount64) noexcept
        : m_file(file), m_line(line), m_count(count), m_span(span), m_clock(clock) {}
    /// Says what was dropped and not said yet.
    ~LogLimit() { SayDropped(m_dropped); }
    LogLimit(const LogLimit&) = delete;
    LogLimit& operator=(const LogLimit&) = delete;

    /// Asks for a line, and says what was dropped before it when it may be written.
    /// @return whether it may; a line that may not counts as dropped
    bool Allow() {
        ULONGLONG dropped = 0;
        {
            const Lock lock(m_lock);
            const ULONGLONG now = m_clock();
            if (!m_isBegun || (m_span != forever && now - m_begin >= m_span)) {
                m_isBegun = true;
                m_begin = now;
                m_written = 0;
            }
            if (m_written >= m_count) {
                ++m_dropped;
                return false;
            }
            ++m_written;
            dropped = m_dropped;
            m_dropped = 0;
        }
        SayDropped(dropped);
        return true;
    }

private:
    class Lock {
    public:
        explicit Lock(SRWLOCK& lock) noexcept : m_lock(lock) { ::AcquireSRWLockExclusive(&m_lock); }
        ~Lock() { ::ReleaseSRWLockExclusive(&m_lock); }
        Lock(const Lock&) = delete;
        Lock& operator=(const Lock&) = delete;

    private:
        SRWLOCK& m_lock;
    };

    void SayDropped(ULONGLONG dropped) const {
        if (dropped > 0) OrvaLog(m_file, m_line, L"%I64u lines dropped here", dropped);
    }

    const wchar_t* m_file;
    int m_line;
    UINT m_count;
    ULONGLONG m_span;
    Clock m_clock;
    SRWLOCK m_lock = SRWLOCK_INIT;
    bool m_isBegun = false;
    ULONGLONG m_begin = 0; ///< of the span under way
    UINT m_written = 0;    ///< in that span
    ULONGLONG m_dropped = 0;
};

} // namespace tarnu

/// ORVA_LOG, but at most @p count lines in @p milliseconds from this place.
#define ORVA_LOG_LIMITED(count, milliseconds, ...)                                                                     \
    do {                                                                                                               \
        static ::tarnu::LogLimit tarnuLogLimit(ORVA_WIDE_FILE, __LINE__, (count), (milliseconds));                     \
        if (tarnuLogLimit.Allow()) ORVA_LOG(__VA_ARGS__);                                                              \
    } while (false)
/// ORVA_LOG, but only the first @p count lines from this place.
#define ORVA_LOG_FIRST(count, ...) ORVA_LOG_LIMITED(count, ::tarnu::LogLimit::forever, __VA_ARGS__)
/// ORVA_LOG, but only the first line from this place.
#define ORVA_LOG_ONCE(...) ORVA_LOG_FIRST(1, __VA_ARGS__)

#endif // TARNU_FRAME_LIMITEDLOG_H
