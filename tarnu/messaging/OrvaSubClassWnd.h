/// @file
/// OrvaSubClassWnd: several independent objects subclass one window and unhook in any order.
#ifndef TARNU_MESSAGING_ORVASUBCLASSWND_H
#define TARNU_MESSAGING_ORVASUBCLASSWND_H

#include "tarnu/framework/framework.h"

#include <cstddef>

/// One subclasser of a window. Derive, override WindowProc, and call the base from it to continue the chain:
/// ~~~
/// class Logger : public OrvaSubClassWnd {
///     LRESULT WindowProc(UINT message, WPARAM wParam, LPARAM lParam) override {
///         Log(message);
///         return OrvaSubClassWnd::WindowProc(message, wParam, lParam);
///     }
/// };
/// ~~~
/// The subclassers of one window form a chain, the newest first; behind the oldest stands the procedure that the window
/// had before. Hooking, unhooking and destroying are allowed at any time, also while a message is being handled: that
/// message goes on to those that are still hooked.
///
/// Threads: an object is used on the thread that owns its window; different windows may belong to different threads.
/// Ownership: the window is borrowed. A hooked object that is destroyed unhooks itself; a window that is destroyed
/// unhooks its subclassers.
class TARNU_API OrvaSubClassWnd : public CObject {
    DECLARE_DYNAMIC(OrvaSubClassWnd)

public:
    OrvaSubClassWnd() noexcept = default;
    ~OrvaSubClassWnd() override;

    /// Hooks a window; an object that is hooked already leaves its old place first. Null unhooks.
    /// @param window borrowed
    /// @return TRUE when the object is hooked now; FALSE for null, for a handle that is no window, and for a window
    ///         whose procedure cannot be replaced (another process)
    BOOL SubClass(HWND window) noexcept;
    /// Hooks the window of a window object.
    /// @param window borrowed for the call; null, or an object without a window, unhooks
    /// @return as for a window handle
    BOOL SubClass(CWnd* window) noexcept;
    /// Unhooks. @return FALSE
    BOOL SubClass(std::nullptr_t) noexcept { return SubClass(static_cast<HWND>(nullptr)); }
    /// Unhooks. When the last subclasser of a window goes, the procedure from before the first one is restored. An
    /// object that is not hooked is left alone.
    void UnSubClass() noexcept;

    /// Receives a message of the window. The default passes it on: to the next older subclasser, or to the window's own
    /// procedure behind the oldest. WM_NCDESTROY never arrives here: it goes straight to the window's own procedure.
    /// @param message,wParam,lParam the message as the window procedure got it
    /// @return the message's result
    virtual LRESULT WindowProc(UINT message, WPARAM wParam, LPARAM lParam);

    /// Forwards the message that the thread is handling, as the framework has recorded it, to this object's WindowProc.
    /// Within a call of that WindowProc it goes to the rest of the chain instead, whatever override is active.
    /// @return the message's result
    LRESULT Default();

private:
    struct Delivery;
    struct Chain;

    HWND m_hWnd = nullptr;             ///< stored also when it was no window
    WNDPROC m_previous = nullptr;      ///< of the window, from before its first subclasser
    OrvaSubClassWnd* m_next = nullptr; ///< the one that hooked earlier
    Delivery* m_delivery = nullptr;    ///< the innermost call of WindowProc that is under way
};

#endif // TARNU_MESSAGING_ORVASUBCLASSWND_H
