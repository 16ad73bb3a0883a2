/// @file
/// Readers of machine-wide registry values.
#ifndef TARNU_FRAME_ORVAREGISTRY_H
#define TARNU_FRAME_ORVAREGISTRY_H

#include "tarnu/framework/framework.h"

/// Reads a value below HKEY_LOCAL_MACHINE. May be called from any thread.
///
/// Each call whose key exists leaves that key open until the process ends.
/// @param keyPath path of the key below HKEY_LOCAL_MACHINE
/// @param valueName name of the value; empty for the key's unnamed value
/// @param type out: the value's type (REG_…); null when not wanted
/// @param data out: the value's bytes, in the caller's buffer; null asks for the size alone
/// @param size in: bytes that the buffer holds; out: bytes of the value. Null only together with @p data.
/// @return 1 when the value was read; 0 when the key or value is missing, may not be read or is larger than the buffer
TARNU_API BOOL OrvaReadRegistryValue(const CString& keyPath, CString valueName, DWORD* type, BYTE* data, DWORD* size);

/// Reads a value of four bytes below HKEY_LOCAL_MACHINE; its type does not matter. May be called from any thread.
///
/// @param keyPath,valueName as for OrvaReadRegistryValue
/// @param value out: the number; untouched when the key or value is missing
/// @return as for OrvaReadRegistryValue
TARNU_API BOOL OrvaReadRegistryDword(const CString& keyPath, CString valueName, DWORD* value);

#endif // TARNU_FRAME_ORVAREGISTRY_H
