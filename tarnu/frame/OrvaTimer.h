/// @file
/// OrvaTimer: measures time spans and writes them into a report file.
#ifndef TARNU_FRAME_ORVATIMER_H
#define TARNU_FRAME_ORVATIMER_H

#include "tarnu/files/OrvaStdioFile.h"

/// A stop watch over the processor clock (1000 ticks a second) that is a report file at the same time.
///
/// @code
/// OrvaTimer timer(L"C:\\logs\\timing.txt", /*addTimeStamp=*/0, /*overwrite=*/1);
/// timer.Start();
/// Load();
/// timer.Stop().WriteReport(L"loading", /*reset=*/true); // "\nTimer in loading: 1.250 sec\n"
/// @endcode
/// Thread rule: one thread at a time. Ownership: it owns its file; with an empty path it has none and only measures.
class TARNU_API OrvaTimer : public OrvaStdioFile {
public:
    /// Opens the report file, without a header; see OrvaStdioFile.
    /// @param path the report file; empty for none
    /// @param addTimeStamp,overwrite as for OrvaStdioFile
    /// @throw CFileException* when the file can't be opened
    OrvaTimer(const CString& path, int addTimeStamp, int overwrite);
    ~OrvaTimer() override;

    /// Reads the clock.
    /// @return the timer
    OrvaTimer& Start() noexcept;
    /// Adds the span since the latest start. The clock goes on: a second stop adds the whole span since the same start
    /// again.
    /// @return the timer
    OrvaTimer& Stop() noexcept;

    /// The accumulated time, as "1.250 sec". When nothing has been accumulated, the span since the latest start is
    /// taken, and kept as the accumulated time.
    /// @param reset sets the accumulated time back to 0
    /// @return the text
    CString GetElapsedText(bool reset);
    /// GetElapsedText in a line of its own.
    /// @param label what was timed
    /// @param reset sets the accumulated time back to 0
    /// @return "\nTimer in LABEL: 1.250 sec\n"
    CString GetReport(const CString& label, bool reset);

    /// Writes GetElapsedText to the report file. A timer that was made without a file does nothing, @p reset included.
    /// @param reset sets the accumulated time back to 0, even when writing fails then
    /// @throw CFileException* when writing fails, and after Close
    void WriteElapsed(bool reset);
    /// Writes GetReport to the report file. A timer that was made without a file does nothing, @p reset included.
    /// @param label what was timed
    /// @param reset sets the accumulated time back to 0, even when writing fails then
    /// @throw CFileException* when writing fails, and after Close
    void WriteReport(const CString& label, bool reset);

private:
    double SecondsSinceStart() const noexcept;

    LONG m_start;     ///< clock() at the latest start
    double m_elapsed; ///< accumulated seconds
};

#endif // TARNU_FRAME_ORVATIMER_H
