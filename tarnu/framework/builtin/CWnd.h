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
    /// @copydoc CObject::GetRuntimeClass
    CRuntimeClass* GetRuntimeClass() const override;

    /// @return the handle; null when none is attached
    HWND GetSafeHwnd() const noexcept { return m_hWnd; }
    /// The same.
    operator HWND() const noexcept { return m_hWnd; } // NOLINT: implicit as documented
    /// Takes a handle in place of the one before.
    /// @param window stays its owner's to destroy; null leaves the object without one
    /// @return FALSE when it is null
    BOOL Attach(HWND window) noexcept {
        m_hWnd = window;
        return window != nullptr;
    }
    /// Lets go of the handle.
    /// @return the handle; null when none was attached
    HWND Detach() noexcept {
        HWND window = m_hWnd;
        m_hWnd = nullptr;
        return window;
    }

    HWND m_hWnd = nullptr; ///< null when none is attached
};

#endif // TARNU_FRAMEWORK_BUILTIN_CWND_H
