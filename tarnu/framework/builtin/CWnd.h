/// @file
/// CWnd: a window handle as an object.
#ifndef TARNU_FRAMEWORK_BUILTIN_CWND_H
#define TARNU_FRAMEWORK_BUILTIN_CWND_H

#include "tarnu/framework/builtin/CObject.h"

/// Holds a window handle. Destroying the object leaves the window alone.
class TARNU_API CWnd : public CObject {
public:
    static const CRuntimeClass classCWnd; ///< the run-time class

    CWnd() noexcept = default;
    ~CWnd() override;
    /// The run-time class of the object.
    CRuntimeClass* GetRuntimeClass() const override;

    /// The handle; null when none is attached.
    HWND GetSafeHwnd() const noexcept { return m_hWnd; }
    /// The same.
    operator HWND() const noexcept { return m_hWnd; } // NOLINT: implicit as documented
    /// False when @p window is null.
    BOOL Attach(HWND window) noexcept {
        m_hWnd = window;
        return window != nullptr;
    }
    /// Lets go of the handle and returns it.
    HWND Detach() noexcept {
        HWND window = m_hWnd;
        m_hWnd = nullptr;
        return window;
    }

    HWND m_hWnd = nullptr; ///< null when none is attached
};

#endif // TARNU_FRAMEWORK_BUILTIN_CWND_H
