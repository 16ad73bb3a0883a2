#include "orva/TreeProgress.h"

#include <atomic>

namespace orva {
namespace {

std::atomic<bool> g_stop{false};
TreeProgress* g_current = nullptr;

BOOL WINAPI OnConsoleSignal(DWORD signal) {
    // The second Ctrl+C ends the program as usual.
    return (signal == CTRL_C_EVENT || signal == CTRL_BREAK_EVENT) && !g_stop.exchange(true);
}

} // namespace

TreeProgress::TreeProgress(bool isQuiet) : m_isQuiet(isQuiet) {
    g_current = this;
    ::SetConsoleCtrlHandler(&OnConsoleSignal, TRUE);
    OrvaSetProgressCallback(&OnProgress);
}

TreeProgress::~TreeProgress() {
    OrvaSetProgressEnabled(false);
    ::SetConsoleCtrlHandler(&OnConsoleSignal, FALSE);
    g_current = nullptr;
}

void TreeProgress::Report(const wchar_t* path, DWORD error) {
    m_line.Clear();
    PrintError(Format(L"orva: %s: %s\n", path, ErrorText(error).c_str()));
}

int __cdecl TreeProgress::OnProgress(int operation, int value, const wchar_t* text) {
    return g_current != nullptr ? g_current->Show(operation, value, text) : 0;
}

int TreeProgress::Show(int operation, int value, const wchar_t* text) {
    switch (operation) {
    case OrvaProgressOperationBegin:
        m_count = value;
        break;
    case OrvaProgressOperationText:
        m_entry = text;
        break;
    case OrvaProgressOperationPosition:
        if (!m_isQuiet) m_line.Item(static_cast<unsigned>(value), static_cast<unsigned>(m_count), m_entry);
        break;
    case OrvaProgressOperationPoll:
        return g_stop ? 1 : 0;
    case OrvaProgressOperationEnd:
        m_line.Clear();
        break;
    default:
        break;
    }
    return 0;
}

} // namespace orva
