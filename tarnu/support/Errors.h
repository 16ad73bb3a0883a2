/// @file
/// The one translation of Win32 errors into the library's result kinds.
#ifndef TARNU_SUPPORT_ERRORS_H
#define TARNU_SUPPORT_ERRORS_H

#include "tarnu/framework/framework.h"

namespace tarnu::support {

/// The HRESULT of a Win32 error code; E_FAIL for 0, so that a failure never reads as success.
inline HRESULT HresultFromError(DWORD error) noexcept {
    return error == 0 ? E_FAIL : HRESULT_FROM_WIN32(error);
}

/// The HRESULT of the calling thread's last error; E_FAIL when that is 0.
inline HRESULT HresultFromLastError() noexcept {
    return HresultFromError(::GetLastError());
}

} // namespace tarnu::support

#endif // TARNU_SUPPORT_ERRORS_H
