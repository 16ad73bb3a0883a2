/// @file
/// tarnu::ProgressScope: one operation on the progress meter, with a throttle and an estimate.
#ifndef TARNU_FRAME_PROGRESSSCOPE_H
#define TARNU_FRAME_PROGRESSSCOPE_H

#include "tarnu/frame/OrvaProgress.h"

#include <algorithm>
#include <optional>

namespace tarnu {

/// Begins an operation of the progress meter, and ends it when it goes. Steps are reported, and the host is asked
/// whether to go on, at most once in an interval, so that a loop over a million things may say every one. While the
/// meter is disabled or has no callback nothing is called, and nothing asks for a stop.
///
///     tarnu::ProgressScope progress(L"Reading", count);
///     for (int i = 0; i < count && progress.Step(); ++i) Read(i);
///
/// A secondary operation within the primary one gives the range that both share back when it ends. For a nested
/// operation that shall not be seen at all there is OrvaProgressDisabler.
///
/// Threads: the progress meter's. Ownership: the text is borrowed for the constructor.
class ProgressScope {
public:
    /// Which of the meter's two operations.
    enum class Level { Primary, Secondary };
    /// Milliseconds since some moment, as GetTickCount64 has them.
    using Clock = ULONGLONG(WINAPI*)();

    /// How to report.
    struct Options {
        Level level = Level::Primary;    ///< which operation
        int value = 0;                   ///< handed to the host with the beginning
        ULONGLONG interval = 100;        ///< milliseconds between reports; 0 reports every step
        Clock clock = &::GetTickCount64; ///< what tells the time
    };

    /// Begins the operation.
    /// @param text   what is being done
    /// @param count  number of steps
    ProgressScope(const wchar_t* text, int count) : ProgressScope(text, count, Options()) {}
    /// Begins the operation.
    /// @param text     what is being done
    /// @param count    number of steps
    /// @param options  how to report
    ProgressScope(const wchar_t* text, int count, const Options& options)
        : m_options(options)
        , m_count(count)
        , m_outerRange(OrvaProgressRange)
        , m_started(options.clock())
        , m_reported(m_started) {
        if (options.level == Level::Primary) {
            OrvaBeginProgress(text, options.value, count);
        } else {
            OrvaBeginSecondaryProgress(text, options.value, count);
        }
    }
    /// Ends the operation; a position that was not reported yet is reported first.
    ~ProgressScope() {
        if (IsShown()) {
            if (m_isBehind) Report();
            if (m_options.level == Level::Primary) OrvaEndProgress();
        }
        if (m_options.level == Level::Secondary && m_hasBegun) OrvaProgressRange = m_outerRange;
    }
    ProgressScope(const ProgressScope&) = delete;
    ProgressScope& operator=(const ProgressScope&) = delete;

    /// Some steps are done.
    /// @param steps  how many
    /// @return true to go on, false once the host has asked to stop
    bool Step(int steps = 1) { return SetPosition(m_position + steps); }
    /// So many steps are done.
    /// @param position  counted from the beginning
    /// @return as Step
    bool SetPosition(int position) {
        m_position = position;
        m_isBehind = true;
        const ULONGLONG now = m_options.clock();
        if (!m_isStopped && IsShown() && (now - m_reported >= m_options.interval || position == m_count)) {
            m_reported = now;
            Report();
            m_isStopped = m_options.level == Level::Primary ? OrvaPollProgress() : OrvaPollSecondaryProgress();
        }
        return !m_isStopped;
    }

    /// The steps that are done.
    /// @return what the latest Step or SetPosition made of it, reported or not
    int GetPosition() const noexcept { return m_position; }
    /// Whether the host has asked to stop.
    /// @return true from then on; a host that changes its mind is not asked again
    bool IsStopped() const noexcept { return m_isStopped; }
    /// How long the rest takes if it goes on as it did so far.
    /// @return milliseconds; nothing before the first step
    std::optional<ULONGLONG> GetRemaining() const {
        if (m_position <= 0) return std::nullopt;
        const ULONGLONG elapsed = m_options.clock() - m_started;
        const int rest = (std::max)(m_count - m_position, 0);
        return static_cast<ULONGLONG>(static_cast<double>(elapsed) / m_position * rest);
    }

private:
    static bool IsShown() noexcept { return OrvaProgressCallback != nullptr && OrvaProgressEnabled; }

    void Report() {
        m_isBehind = false;
        if (m_options.level == Level::Primary) {
            OrvaSetProgressPosition(m_position);
        } else {
            OrvaSetSecondaryProgressPosition(m_position);
        }
    }

    Options m_options;
    int m_count;
    bool m_hasBegun = IsShown(); ///< the meter took the beginning
    int m_outerRange;
    ULONGLONG m_started;
    ULONGLONG m_reported;
    int m_position = 0;
    bool m_isBehind = false; ///< the position has changed since it was reported
    bool m_isStopped = false;
};

} // namespace tarnu

#endif // TARNU_FRAME_PROGRESSSCOPE_H
