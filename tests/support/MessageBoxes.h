/// @file
/// Answers the message boxes that a test causes, and remembers what they said.
#ifndef TARNU_TESTS_SUPPORT_MESSAGEBOXES_H
#define TARNU_TESTS_SUPPORT_MESSAGEBOXES_H

#include "tarnu/framework/framework.h"

#include <deque>
#include <string>
#include <vector>

namespace tarnu::test {

/// One message box as it was shown.
struct ShownBox {
    std::wstring caption;
    std::wstring text;
    HWND owner = nullptr;
    HICON icon = nullptr;     ///< null for a box without one
    std::vector<int> buttons; ///< identifiers of its buttons (IDOK …), ascending
};

/// While it lives, answers every message box of the constructing thread: with the scripted answers in order, then with
/// IDOK. The boxes need no display and no user.
class MessageBoxes {
public:
    explicit MessageBoxes(std::deque<int> answers = {});
    ~MessageBoxes();
    MessageBoxes(const MessageBoxes&) = delete;
    MessageBoxes& operator=(const MessageBoxes&) = delete;

    /// The boxes shown so far.
    const std::vector<ShownBox>& Shown() const { return m_shown; }

private:
    static LRESULT CALLBACK OnHook(int code, WPARAM wParam, LPARAM lParam);
    void Answer(HWND box);

    HHOOK m_hook;
    std::deque<int> m_answers;
    std::vector<ShownBox> m_shown;
};

} // namespace tarnu::test

#endif // TARNU_TESTS_SUPPORT_MESSAGEBOXES_H
