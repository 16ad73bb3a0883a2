#include "tarnu/frame/OrvaRegistry.h"

BOOL OrvaReadRegistryValue(const CString& keyPath, CString valueName, DWORD* type, BYTE* data, DWORD* size) {
    // One would expect the key to be closed. It stays open, one handle for each call: the hosts' handle accounting
    // expects these handles.
    HKEY key = nullptr;
    if (::RegOpenKeyExW(HKEY_LOCAL_MACHINE, keyPath, /*ulOptions=*/0, KEY_QUERY_VALUE, &key) != ERROR_SUCCESS)
        return FALSE;
    return ::RegQueryValueExW(key, valueName, /*lpReserved=*/nullptr, type, data, size) == ERROR_SUCCESS;
}

BOOL OrvaReadRegistryDword(const CString& keyPath, CString valueName, DWORD* value) {
    // One would expect a value of another type to be refused. Four bytes are four bytes: hosts rely on reading binary
    // values that older installers wrote.
    if (value == nullptr) return FALSE;
    DWORD type = REG_DWORD;
    DWORD size = sizeof *value;
    return OrvaReadRegistryValue(keyPath, valueName, &type, reinterpret_cast<BYTE*>(value), &size);
}
