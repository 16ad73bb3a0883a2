/// @file
/// Replaces a system function for one module, to play the system in a test.
#ifndef TARNU_TESTS_SUPPORT_IMPORTPATCH_H
#define TARNU_TESTS_SUPPORT_IMPORTPATCH_H

#include "tarnu/framework/framework.h"

#include <cstring>
#include <gtest/gtest.h>
#include <utility>

namespace tarnu::test {

/// While it lives, calls that one module makes to an imported function arrive at a function of the test. Other modules,
/// and calls through GetProcAddress, are not touched. Fails the running test when the module does not import the
/// function by name.
class ImportPatch {
public:
    /// @param module      name of the importing module, such as L"TarnuWin32Utils.dll"
    /// @param name        the function's name
    /// @param replacement a function of the same signature
    template <class Function>
    ImportPatch(const wchar_t* module, const char* name, Function* replacement)
        : m_entry(Find(reinterpret_cast<BYTE*>(::GetModuleHandleW(module)), name)) {
        EXPECT_NE(m_entry, nullptr) << name;
        if (m_entry != nullptr) m_original = Exchange(reinterpret_cast<ULONGLONG>(replacement));
    }
    ~ImportPatch() {
        if (m_entry != nullptr) Exchange(m_original);
    }
    ImportPatch(const ImportPatch&) = delete;
    ImportPatch& operator=(const ImportPatch&) = delete;

private:
    static ULONGLONG* Find(BYTE* base, const char* name) {
        if (base == nullptr) return nullptr;
        const auto* const dos = reinterpret_cast<const IMAGE_DOS_HEADER*>(base);
        const auto* const headers = reinterpret_cast<const IMAGE_NT_HEADERS64*>(base + dos->e_lfanew);
        const DWORD table = headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT].VirtualAddress;
        if (table == 0) return nullptr;
        for (auto* library = reinterpret_cast<const IMAGE_IMPORT_DESCRIPTOR*>(base + table); library->Name != 0;
             ++library) {
            if (library->OriginalFirstThunk == 0) continue; // the names are gone once the module is loaded
            auto* names = reinterpret_cast<const IMAGE_THUNK_DATA64*>(base + library->OriginalFirstThunk);
            auto* entries = reinterpret_cast<IMAGE_THUNK_DATA64*>(base + library->FirstThunk);
            for (; names->u1.AddressOfData != 0; ++names, ++entries) {
                if (IMAGE_SNAP_BY_ORDINAL64(names->u1.Ordinal)) continue;
                const auto* const import =
                    reinterpret_cast<const IMAGE_IMPORT_BY_NAME*>(base + names->u1.AddressOfData);
                if (std::strcmp(reinterpret_cast<const char*>(import->Name), name) == 0) return &entries->u1.Function;
            }
        }
        return nullptr;
    }

    ULONGLONG Exchange(ULONGLONG function) {
        DWORD protection = 0;
        EXPECT_TRUE(::VirtualProtect(m_entry, sizeof *m_entry, PAGE_READWRITE, &protection));
        const ULONGLONG old = std::exchange(*m_entry, function);
        EXPECT_TRUE(::VirtualProtect(m_entry, sizeof *m_entry, protection, &protection));
        return old;
    }

    ULONGLONG* m_entry;
    ULONGLONG m_original = 0;
};

} // namespace tarnu::test

#endif // TARNU_TESTS_SUPPORT_IMPORTPATCH_H
