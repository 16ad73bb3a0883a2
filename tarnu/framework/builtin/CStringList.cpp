/// @file
/// CStringList: its run-time class information.
#include "tarnu/framework/builtin/CStringList.h"

IMPLEMENT_DYNAMIC(CStringList, CObject)
