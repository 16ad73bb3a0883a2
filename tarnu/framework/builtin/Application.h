/// @file
/// The framework's application-wide functions: message box, main window, application name, thread state.
#ifndef TARNU_FRAMEWORK_BUILTIN_APPLICATION_H
#define TARNU_FRAMEWORK_BUILTIN_APPLICATION_H

#include "tarnu/framework/builtin/CWnd.h"

/// Per-thread state of the framework.
struct _AFX_THREAD_STATE {
    MSG m_lastSentMsg{}; ///< the message that the thread's innermost framework window procedure is handling
};

/// The calling thread's state.
/// @return never null; lives until the thread ends
TARNU_API _AFX_THREAD_STATE* AfxGetThreadState();

/// The process's main window: its first visible top-level window without an owner.
/// @return null when there is none; the object belongs to the calling thread and is valid until the thread's next call
TARNU_API CWnd* AfxGetMainWnd();

/// The executable's file name without folder and extension.
/// @return a terminated text, valid for the life of the process
TARNU_API const wchar_t* AfxGetAppName();

/// Shows a message box owned by the main window, with the application's name as caption.
/// @param text        the message
/// @param style       MB_ style flags; one that names no icon gets MB_ICONEXCLAMATION
/// @param helpContext kept for compatibility and not looked at; this subset has no help system
/// @return the box's result, 0 on failure
TARNU_API int AfxMessageBox(const wchar_t* text, UINT style = MB_OK, UINT helpContext = 0);

#endif // TARNU_FRAMEWORK_BUILTIN_APPLICATION_H
