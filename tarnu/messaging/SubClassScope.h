/// @file
/// tarnu::SubClassScope: a lambda in a window's message chain for a scope.
#ifndef TARNU_MESSAGING_SUBCLASSSCOPE_H
#define TARNU_MESSAGING_SUBCLASSSCOPE_H

#include "tarnu/messaging/OrvaSubClassWnd.h"

#include <type_traits>
#include <utility>

namespace tarnu {

/// Passes a message on to the rest of a window's chain.
class NextWindowProc {
public:
    /// The rest of the chain behind a subclasser.
    /// @param owner  the subclasser, which must live as long as this is used
    explicit NextWindowProc(OrvaSubClassWnd& owner) noexcept : m_owner(&owner) {}
    /// @param message,wParam,lParam  the message as it came, or another one
    /// @return the message's result
    LRESULT operator()(UINT message, WPARAM wParam, LPARAM lParam) const {
        return m_owner->OrvaSubClassWnd::WindowProc(message, wParam, lParam);
    }

private:
    OrvaSubClassWnd* m_owner;
};

/// Hooks a window with a function, and unhooks it when it goes; a window that dies first is let go of.
///
///     const tarnu::SubClassScope guard(window, [](tarnu::NextWindowProc next, UINT message, WPARAM w, LPARAM l) {
///         return message == WM_CLOSE ? 0 : next(message, w, l);
///     });
///
/// Threads: the window's. Ownership: holds the function; the window is borrowed.
template <class Function>
requires std::is_invocable_r_v<LRESULT, Function&, NextWindowProc, UINT, WPARAM, LPARAM>
class SubClassScope final : public OrvaSubClassWnd {
public:
    /// @param window    see IsHooked
    /// @param function  receives what passes a message on, and the message; its result is the message's
    SubClassScope(HWND window, Function function) : m_function(std::move(function)) { m_isHooked = SubClass(window); }
    ~SubClassScope() override { UnSubClass(); } // before the function goes

    /// @return whether the constructor has hooked the window
    bool IsHooked() const noexcept { return m_isHooked != FALSE; }
    /// Calls the function.
    /// @param message,wParam,lParam  the message as the window procedure got it
    /// @return what the function returns
    LRESULT WindowProc(UINT message, WPARAM wParam, LPARAM lParam) override {
        return m_function(NextWindowProc(*this), message, wParam, lParam);
    }

private:
    Function m_function;
    BOOL m_isHooked = FALSE;
};

} // namespace tarnu

#endif // TARNU_MESSAGING_SUBCLASSSCOPE_H
