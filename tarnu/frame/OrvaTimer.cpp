#include "tarnu/frame/OrvaTimer.h"

#include <ctime>

static_assert(CLOCKS_PER_SEC == 1000);

OrvaTimer::OrvaTimer(const CString& path, int addTimeStamp, int overwrite)
    : OrvaStdioFile(OrvaPath(path), addTimeStamp != 0, overwrite != 0, /*writeHeader=*/0), m_start(0), m_elapsed(0.0) {}

OrvaTimer::~OrvaTimer() = default;

OrvaTimer& OrvaTimer::Start() noexcept {
    m_start = static_cast<LONG>(std::clock());
    return *this;
}

OrvaTimer& OrvaTimer::Stop() noexcept {
    // One expects the clock to be restarted; it is not, and a second stop adds the same span again. Hosts rely on
    // taking intermediate stops that all count from one start.
    m_elapsed += SecondsSinceStart();
    return *this;
}

CString OrvaTimer::GetElapsedText(bool reset) {
    if (m_elapsed == 0.0) m_elapsed = SecondsSinceStart();
    CString text;
    text.Format(L"%.3f sec", m_elapsed);
    if (reset) m_elapsed = 0.0;
    return text;
}

CString OrvaTimer::GetReport(const CString& label, bool reset) {
    return L"\nTimer in " + label + L": " + GetElapsedText(reset) + L"\n";
}

void OrvaTimer::WriteElapsed(bool reset) {
    if (!IsOpened()) return;
    WriteString(GetElapsedText(reset));
}

void OrvaTimer::WriteReport(const CString& label, bool reset) {
    if (!IsOpened()) return;
    WriteString(GetReport(label, reset));
}

double OrvaTimer::SecondsSinceStart() const noexcept {
    // The clock wraps after 24.8 days: the difference of 32 bits is right across the wrap.
    const auto now = static_cast<ULONG>(std::clock());
    return static_cast<LONG>(now - static_cast<ULONG>(m_start)) / 1000.0;
}
