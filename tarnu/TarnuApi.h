/// @file
/// Export macro and the build requirements that every public header relies on.
#ifndef TARNU_TARNUAPI_H
#define TARNU_TARNUAPI_H

// Several public methods carry names that windows.h defines as macros (GetTempPath, PostMessage and others). The
// library and its users must see the same spelling, so both are compiled for the wide API.
#if !defined(UNICODE) || !defined(_UNICODE)
#error "TarnuWin32Utils requires UNICODE and _UNICODE (link the CMake target Tarnu::Win32Utils, which defines both)"
#endif

/// Marks what the DLL exports. TARNU_BUILDING_LIBRARY is set while the library itself is compiled.
#if defined(TARNU_BUILDING_LIBRARY)
#define TARNU_API __declspec(dllexport)
#else
#define TARNU_API __declspec(dllimport)
#endif

#endif // TARNU_TARNUAPI_H
