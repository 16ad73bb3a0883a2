/// @file
/// Checks the thread rules of classes in builds with assertions: a call on a thread that the rule excludes ends the
/// process there. Such calls mostly go well, and sometimes corrupt what another thread is at.
#ifndef TARNU_SUPPORT_THREADRULE_H
#define TARNU_SUPPORT_THREADRULE_H

#include "tarnu/framework/framework.h"

#include <cassert>

namespace tarnu::support {

/// Only the thread @p id may come here.
inline void RequireThread([[maybe_unused]] DWORD id) noexcept {
    assert(id == ::GetCurrentThreadId() && "called on its own thread");
}

/// No thread of this process but the one that owns @p window may come here.
inline void RequireThreadOf([[maybe_unused]] HWND window) noexcept {
#ifndef NDEBUG
    DWORD process = 0;
    const DWORD owner = ::GetWindowThreadProcessId(window, &process);
    const bool isForeign = owner == 0 || process != ::GetCurrentProcessId();
    assert((isForeign || owner == ::GetCurrentThreadId()) && "called on the window's thread");
#endif
}

} // namespace tarnu::support

#endif // TARNU_SUPPORT_THREADRULE_H
