/// @file
/// CWnd: its run-time class information.
#include "tarnu/framework/builtin/CWnd.h"

IMPLEMENT_DYNAMIC(CWnd, CObject)

CWnd::~CWnd() = default;
