#include "orva/Command.h"
#include "orva/Console.h"
#include "tarnu/TarnuWin32Utils.h"

#include <algorithm>
#include <cwchar>
#include <iterator>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace orva {
namespace {

struct Options {
    std::wstring text;
    std::wstring title = L"orva";
    std::string buttons = "ok";
    std::string icon = "information";
    double seconds = -1; ///< negative: until somebody answers
};

struct NamedFlag {
    const char* name;
    UINT flag;
};
constexpr NamedFlag buttonSets[] = {{"ok", MB_OK},
                                    {"ok-cancel", MB_OKCANCEL},
                                    {"yes-no", MB_YESNO},
                                    {"yes-no-cancel", MB_YESNOCANCEL},
                                    {"retry-cancel", MB_RETRYCANCEL}};
constexpr NamedFlag icons[] = {{"information", MB_ICONINFORMATION},
                               {"warning", MB_ICONWARNING},
                               {"error", MB_ICONERROR},
                               {"question", MB_ICONQUESTION}};
constexpr NamedFlag answers[] = {{"ok", IDOK}, {"cancel", IDCANCEL}, {"retry", IDRETRY}, {"yes", IDYES}, {"no", IDNO}};

template <std::size_t count>
UINT FlagOf(const NamedFlag (&flags)[count], const std::string& name) {
    return std::find_if(flags, flags + count, [&name](const NamedFlag& flag) { return flag.name == name; })->flag;
}

template <std::size_t count>
std::vector<std::string> NamesOf(const NamedFlag (&flags)[count]) {
    std::vector<std::string> names;
    for (const NamedFlag& flag : flags)
        names.emplace_back(flag.name);
    return names;
}

/// While it lives, closes the box that this thread shows when its time is over, and counts down in the box's title.
class TimeLimit : public OrvaSubClassWnd {
public:
    /// @param seconds from when the box is shown
    explicit TimeLimit(double seconds)
        : m_time(static_cast<ULONGLONG>(seconds * 1000))
        , m_hook(::SetWindowsHookExW(WH_CBT, &OnWindow, nullptr, ::GetCurrentThreadId())) {
        if (m_hook == nullptr) throw std::runtime_error("the box cannot be given a time");
        current = this;
    }
    ~TimeLimit() override {
        ::UnhookWindowsHookEx(m_hook);
        current = nullptr;
    }

    /// Whether it has closed the box.
    bool IsOver() const { return m_isOver; }

    LRESULT WindowProc(UINT message, WPARAM wParam, LPARAM lParam) override {
        if (message != WM_TIMER || wParam != timerId) return OrvaSubClassWnd::WindowProc(message, wParam, lParam);
        const ULONGLONG now = ::GetTickCount64();
        if (now >= m_end) {
            m_isOver = true;
            ::EndDialog(m_box, IDCANCEL);
        } else {
            const ULONGLONG left = (m_end - now + 999) / 1000;
            ::SetWindowTextW(m_box, Format(L"%s (%I64u s)", m_title.c_str(), left).c_str());
        }
        return 0;
    }

private:
    static constexpr UINT_PTR timerId = 0x4F52; ///< the box has none of its own

    /// Finds the box: the first dialog that becomes active.
    static LRESULT CALLBACK OnWindow(int code, WPARAM wParam, LPARAM lParam) {
        wchar_t className[8] = {};
        const auto window = reinterpret_cast<HWND>(wParam);
        if (code == HCBT_ACTIVATE && current->m_box == nullptr &&
            ::GetClassNameW(window, className, static_cast<int>(std::size(className))) != 0 &&
            std::wcscmp(className, L"#32770") == 0) {
            current->Begin(window);
        }
        return ::CallNextHookEx(nullptr, code, wParam, lParam);
    }

    void Begin(HWND box) {
        m_box = box;
        m_title.resize(static_cast<std::size_t>(::GetWindowTextLengthW(box)) + 1);
        m_title.resize(
            static_cast<std::size_t>(::GetWindowTextW(box, m_title.data(), static_cast<int>(m_title.size()))));
        m_end = ::GetTickCount64() + m_time;
        SubClass(box);
        ::SetTimer(box, timerId, static_cast<UINT>(std::min<ULONGLONG>(m_time, 200)), nullptr);
    }

    static inline TimeLimit* current = nullptr;
    const ULONGLONG m_time; ///< in milliseconds
    ULONGLONG m_end = 0;
    HHOOK m_hook;
    HWND m_box = nullptr;
    std::wstring m_title;
    bool m_isOver = false;
};

int Show(const Options& options) {
    std::optional<TimeLimit> limit;
    if (options.seconds >= 0) limit.emplace(options.seconds);
    const int result = DllMessageBox(/*owner=*/nullptr, options.text.c_str(), options.title.c_str(),
                                     FlagOf(buttonSets, options.buttons) | FlagOf(icons, options.icon));
    if (limit && limit->IsOver()) {
        Print(L"none\n");
        return exitFailure;
    }
    const auto* const answer = std::find_if(std::begin(answers), std::end(answers), [result](const NamedFlag& known) {
        return static_cast<int>(known.flag) == result;
    });
    if (answer == std::end(answers)) {
        PrintError(Format(L"orva: the message box ended with %d\n", result));
        return exitFailure;
    }
    Print(Wide(answer->name) + L"\n");
    return result == IDCANCEL || result == IDNO ? exitFailure : exitSuccess;
}

} // namespace

void AddMessageCommand(Command& program) {
    auto options = std::make_shared<Options>();
    Command& command = program.Add(
        "message", "Shows a message box and prints the answer.\n\nA module ORVA_MESSAGEBOX_PLX.plx beside the library "
                   "shows it in its own way, as in a host.");
    command.Text("TEXT", options->text, "the message").Required();
    command.Text("-t,--title", options->title, "TEXT", "the title");
    command.Choice("-b,--buttons", options->buttons, NamesOf(buttonSets), "the buttons");
    command.Choice("-i,--icon", options->icon, NamesOf(icons), "the icon");
    command.Number("-f,--for", options->seconds, 0.0, 1e9, "SECONDS",
                   "the answer is none after so many seconds; the title counts down (else: wait)");
    command.Example("\"Overwrite the survey?\" --buttons yes-no --icon question", "ask in a script");
    command.Example("\"Shutting down\" --buttons ok-cancel --for 30", "somebody may be there, or not");
    command.Statuses("the answer was ok, retry or yes", "it was cancel, no or none, or no box could be shown");
    command.Run([options] { return Show(*options); });
}

} // namespace orva
