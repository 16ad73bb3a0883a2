/// @file
/// The import address table of a loaded module: what it calls in other modules, and through which pointers.
#ifndef TARNU_TESTS_SUPPORT_MODULEIMPORTS_H
#define TARNU_TESTS_SUPPORT_MODULEIMPORTS_H

#include "tarnu/framework/framework.h"

#include <gtest/gtest.h>
#include <utility>
#include <vector>

namespace tarnu::test {

/// One import by name. The texts lie in the module.
struct ModuleImport {
    const char* library;
    const char* name;
    ULONGLONG* entry; ///< the pointer that the module calls through; read-only memory
};

/// The imports by name of a module, in the order of its tables; none for null. Imports by ordinal are left out.
inline std::vector<ModuleImport> ImportsOf(HMODULE module) {
    std::vector<ModuleImport> imports;
    auto* const base = reinterpret_cast<BYTE*>(module);
    if (base == nullptr) return imports;
    const auto* const dos = reinterpret_cast<const IMAGE_DOS_HEADER*>(base);
    const auto* const headers = reinterpret_cast<const IMAGE_NT_HEADERS64*>(base + dos->e_lfanew);
    const DWORD table = headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT].VirtualAddress;
    if (table == 0) return imports;
    for (auto* library = reinterpret_cast<const IMAGE_IMPORT_DESCRIPTOR*>(base + table); library->Name != 0;
         ++library) {
        if (library->OriginalFirstThunk == 0) continue; // the names are gone once the module is loaded
        auto* names = reinterpret_cast<const IMAGE_THUNK_DATA64*>(base + library->OriginalFirstThunk);
        auto* entries = reinterpret_cast<IMAGE_THUNK_DATA64*>(base + library->FirstThunk);
        for (; names->u1.AddressOfData != 0; ++names, ++entries) {
            if (IMAGE_SNAP_BY_ORDINAL64(names->u1.Ordinal)) continue;
            const auto* const import = reinterpret_cast<const IMAGE_IMPORT_BY_NAME*>(base + names->u1.AddressOfData);
            imports.push_back({reinterpret_cast<const char*>(base + library->Name),
                               reinterpret_cast<const char*>(import->Name), &entries->u1.Function});
        }
    }
    return imports;
}

/// Makes a module call @p function through an entry of its table.
/// @return the function that was called before
inline ULONGLONG ExchangeImport(ULONGLONG* entry, ULONGLONG function) {
    DWORD protection = 0;
    EXPECT_TRUE(::VirtualProtect(entry, sizeof *entry, PAGE_READWRITE, &protection));
    const ULONGLONG old = std::exchange(*entry, function);
    EXPECT_TRUE(::VirtualProtect(entry, sizeof *entry, protection, &protection));
    return old;
}

} // namespace tarnu::test

#endif // TARNU_TESTS_SUPPORT_MODULEIMPORTS_H
