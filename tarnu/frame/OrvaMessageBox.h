/// @file
/// Message boxes that a host may take over by placing a module of its own beside the library.
///
/// Every box of the library goes through these two functions, and so may every box of its users. They are the only
/// functions that the library exports by name. On each call they look for the file `ORVA_MESSAGEBOX_PLX.plx` in the
/// folder that holds the library, never on the search path. When it is there and exports `OrvaDllMessageBox`, that
/// function shows the box:
/// ~~~
/// extern "C" __declspec(dllexport) int OrvaDllMessageBox(HWND owner, const wchar_t* text, const wchar_t* caption,
///                                                        UINT flags);
/// ~~~
/// The module is loaded for the one box and released before the call returns, so it may be replaced between two boxes.
/// A module that is missing, does not load or lacks the entry is not reported: the box falls back to the plain one. So
/// does a library folder that is too long for the module's path to fit 260 characters.
///
/// No state is kept between calls; both functions may be called from any thread on which the fallback may be shown. All
/// pointers are borrowed for the call.
#ifndef TARNU_FRAME_ORVAMESSAGEBOX_H
#define TARNU_FRAME_ORVAMESSAGEBOX_H

#include "tarnu/framework/framework.h"

/// Shows a message box through the host's module, else by MessageBoxW.
///
/// @param owner owner window, or null
/// @param text the message
/// @param caption the title; null is handed on as null
/// @param flags MB_ style flags
/// @return the box's result (IDOK, IDCANCEL, …), unchanged; 0 when no box could be shown
TARNU_API int DllMessageBox(HWND owner, const wchar_t* text, const wchar_t* caption, UINT flags);

/// Shows a message box through the host's module, else as the framework's application message box.
///
/// The host's module gets a null owner and a null caption. The fallback is AfxMessageBox with help context 0, which
/// supplies the main window as owner and the application's title as caption; call it on a thread where the framework is
/// usable.
/// @param text the message
/// @param flags MB_ style flags
/// @return the box's result (IDOK, IDCANCEL, …), unchanged; 0 when no box could be shown
TARNU_API int DllMessageBox(const wchar_t* text, UINT flags);

#endif // TARNU_FRAME_ORVAMESSAGEBOX_H
