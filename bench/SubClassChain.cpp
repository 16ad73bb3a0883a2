// Window subclassing: a message sent through a chain of subclassers.

#include "bench/Harness.h"

#include "tarnu/messaging/OrvaSubClassWnd.h"

#include <array>
#include <commctrl.h>
#include <cstdlib>
#include <deque>
#include <memory>
#include <utility>

namespace {

using tarnu::bench::Subject;
using tarnu::bench::Work;

constexpr UINT message = WM_APP + 5;
constexpr std::size_t longest = 16;

std::uint64_t visits = 0;

/// A window whose own procedure does nothing.
class Window {
public:
    Window() {
        static const ATOM atom = [] {
            WNDCLASSW windowClass{};
            windowClass.lpfnWndProc = &::DefWindowProcW;
            windowClass.lpszClassName = L"OrvaBenchWindow";
            return ::RegisterClassW(&windowClass);
        }();
        m_window = ::CreateWindowExW(0, reinterpret_cast<LPCWSTR>(static_cast<ULONG_PTR>(atom)), L"", 0, 0, 0, 1, 1,
                                     nullptr, nullptr, nullptr, nullptr);
        if (m_window == nullptr) std::abort();
    }
    ~Window() { ::DestroyWindow(m_window); }
    Window(const Window&) = delete;
    Window& operator=(const Window&) = delete;
    HWND Get() const { return m_window; }

    /// The visits of all subclassers while a number of messages goes through them.
    std::uint64_t Send(std::uint64_t count) const {
        visits = 0;
        for (std::uint64_t number = 0; number < count; ++number)
            ::SendMessageW(m_window, message, number, 0);
        return visits;
    }

private:
    HWND m_window;
};

/// The limit: procedures of which each has replaced the one before.
class Replaced {
public:
    explicit Replaced(std::size_t length) { Hook(length, std::make_index_sequence<longest>()); }
    const Window window;

private:
    template <std::size_t level>
    static LRESULT CALLBACK Procedure(HWND window, UINT code, WPARAM wParam, LPARAM lParam) {
        ++visits;
        return ::CallWindowProcW(s_previous[level], window, code, wParam, lParam);
    }
    template <std::size_t... levels>
    void Hook(std::size_t length, std::index_sequence<levels...>) {
        const WNDPROC procedures[] = {&Procedure<levels>...};
        for (std::size_t level = 0; level < length; ++level) {
            s_previous[level] = reinterpret_cast<WNDPROC>(
                ::SetWindowLongPtrW(window.Get(), GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(procedures[level])));
        }
    }
    // Every chain replaces the same first procedure, so that all of them may share the places.
    static inline std::array<WNDPROC, longest> s_previous{};
};

class Counter : public OrvaSubClassWnd {
public:
    LRESULT WindowProc(UINT code, WPARAM wParam, LPARAM lParam) override {
        ++visits;
        return OrvaSubClassWnd::WindowProc(code, wParam, lParam);
    }
};

class Library {
public:
    explicit Library(std::size_t length) {
        for (std::size_t level = 0; level < length; ++level) {
            if (!m_counters.emplace_back().SubClass(window.Get())) std::abort();
        }
    }
    const Window window;

private:
    std::deque<Counter> m_counters;
};

class CommonControls {
public:
    explicit CommonControls(std::size_t length) {
        for (std::size_t level = 0; level < length; ++level) {
            if (!::SetWindowSubclass(window.Get(), &Procedure, level, 0)) std::abort();
        }
    }
    const Window window;

private:
    static LRESULT CALLBACK Procedure(HWND window, UINT code, WPARAM wParam, LPARAM lParam, UINT_PTR, DWORD_PTR) {
        ++visits;
        return ::DefSubclassProc(window, code, wParam, lParam);
    }
};

void AddCase(Subject& subject, std::size_t length, std::uint64_t count, double goal) {
    const auto replaced = std::make_shared<Replaced>(length);
    const auto library = std::make_shared<Library>(length);
    const auto commonControls = std::make_shared<CommonControls>(length);
    subject.AddCase("chain of " + std::to_string(length), "message", count)
        .Limit("replaced procedures", [=] { return replaced->window.Send(count); })
        .Library("OrvaSubClassWnd", [=] { return library->window.Send(count); })
        .Peer("SetWindowSubclass", [=] { return commonControls->window.Send(count); })
        .Goal(goal)
        .Rounds(5);
}

} // namespace

int main() {
    Subject subject("Subclass chain: messages sent through all subclassers");
    AddCase(subject, 1, 5'000, 1.15);
    AddCase(subject, 4, 2'000, 0.7);
    AddCase(subject, longest, 1'000, 0.3);
    subject.AddGrowth("100 messages through a chain", "subclasser", 10, [](std::uint64_t length) -> Work {
        const auto library = std::make_shared<Library>(length);
        return [library] { return library->window.Send(100); };
    });
    return subject.Run();
}
