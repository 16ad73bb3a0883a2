/// @file
/// A message box for COM errors that can be silenced for one source location.
#ifndef TARNU_FRAME_ORVACOMERRORBOX_H
#define TARNU_FRAME_ORVACOMERRORBOX_H

#include "tarnu/frame/OrvaTrace.h"
#include "tarnu/framework/framework.h"

class _com_error; // <comdef.h>

/// Shows the text of a COM error in a box with OK and Cancel (DllMessageBox, no owner, empty caption).
///
/// Pressing OK with the Shift key held silences the location: further calls with the same file and line, whatever their
/// error, answer IDOK at once and show no box until the process ends. Belongs on the user-interface thread: the set of
/// silenced locations has no lock.
/// @param error the error; its text is its description, or else the system's text for its HRESULT
/// @param file,line source location of the call (ORVA_SHOW_COM_ERROR fills them in); case counts in the file name
/// @return the box's result: IDOK or IDCANCEL, or 0 when no box could be shown. What Cancel means is up to the caller.
TARNU_API int OrvaShowComError(const _com_error& error, const wchar_t* file, int line);

/// OrvaShowComError at the place where it stands: `catch (const _com_error& error) { ORVA_SHOW_COM_ERROR(error); }`
#define ORVA_SHOW_COM_ERROR(error) ::OrvaShowComError((error), ORVA_WIDE_FILE, __LINE__)

#endif // TARNU_FRAME_ORVACOMERRORBOX_H
