/// @file
/// The host framework's types: the real MFC headers, or the built-in subset with the same names and semantics.
/// This is the only file that knows which of the two is there; everything else includes it and uses what both have.
#ifndef TARNU_FRAMEWORK_FRAMEWORK_H
#define TARNU_FRAMEWORK_FRAMEWORK_H

#include "tarnu/TarnuApi.h"

#if defined(TARNU_FRAMEWORK_MFC)

#include <afxwin.h> // first: MFC refuses a windows.h that was included before it

#include <afxcoll.h>
#include <afxpriv.h>
#include <afxtempl.h>

#else

#include "tarnu/framework/builtin/Application.h"
#include "tarnu/framework/builtin/CException.h"
#include "tarnu/framework/builtin/CFile.h"
#include "tarnu/framework/builtin/CList.h"
#include "tarnu/framework/builtin/CObject.h"
#include "tarnu/framework/builtin/CStdioFile.h"
#include "tarnu/framework/builtin/CString.h"
#include "tarnu/framework/builtin/CStringList.h"
#include "tarnu/framework/builtin/CTime.h"
#include "tarnu/framework/builtin/CWnd.h"

#endif

#endif // TARNU_FRAMEWORK_FRAMEWORK_H
