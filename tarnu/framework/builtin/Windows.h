/// @file
/// windows.h as the built-in framework needs it: complete (COM and shell parts too), without the macros that collide
/// with documented framework members.
#ifndef TARNU_FRAMEWORK_BUILTIN_WINDOWS_H
#define TARNU_FRAMEWORK_BUILTIN_WINDOWS_H

#include "tarnu/TarnuApi.h"

#include <windows.h>

// windows.h leaves these out for those who define WIN32_LEAN_AND_MEAN.
#include <ole2.h>
#include <shellapi.h>

// windows.h maps GetCurrentTime() to GetTickCount(); the framework's CTime::GetCurrentTime needs the name.
#ifdef GetCurrentTime
#undef GetCurrentTime
#endif

#endif // TARNU_FRAMEWORK_BUILTIN_WINDOWS_H
