/// @file
/// Replaces a system function for one module, to play the system in a test.
#ifndef TARNU_TESTS_SUPPORT_IMPORTPATCH_H
#define TARNU_TESTS_SUPPORT_IMPORTPATCH_H

#include "support/ModuleImports.h"

#include <cstring>

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
    ImportPatch(const wchar_t* module, const char* name, Function* replacement) {
        for (const ModuleImport& import : ImportsOf(::GetModuleHandleW(module))) {
            if (std::strcmp(import.name, name) == 0) m_entry = import.entry;
        }
        EXPECT_NE(m_entry, nullptr) << name;
        if (m_entry != nullptr) m_original = ExchangeImport(m_entry, reinterpret_cast<ULONGLONG>(replacement));
    }
    ~ImportPatch() {
        if (m_entry != nullptr) ExchangeImport(m_entry, m_original);
    }
    ImportPatch(const ImportPatch&) = delete;
    ImportPatch& operator=(const ImportPatch&) = delete;

private:
    ULONGLONG* m_entry = nullptr;
    ULONGLONG m_original = 0;
};

} // namespace tarnu::test

#endif // TARNU_TESTS_SUPPORT_IMPORTPATCH_H
