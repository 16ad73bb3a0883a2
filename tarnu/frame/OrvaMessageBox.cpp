#include "tarnu/frame/OrvaMessageBox.h"

#include "tarnu/support/Owners.h"

#include <cwchar>
#include <iterator>
#include <shlwapi.h>

using tarnu::support::UniqueModule;

namespace {

constexpr wchar_t HostModuleName[] = L"ORVA_MESSAGEBOX_PLX";
constexpr wchar_t HostModuleExtension[] = L".plx";
constexpr char HostEntryName[] = "OrvaDllMessageBox";

using HostMessageBox = int (*)(HWND owner, const wchar_t* text, const wchar_t* caption, UINT flags);

/// Loads the host's module from the library's own folder; empty when there is none or its path does not fit MAX_PATH.
UniqueModule LoadHostModule() {
    // One would expect GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT here. Every call adds a reference to the library
    // that is never released: hosts rely on a library that has shown a box staying loaded until the process ends.
    HMODULE library = nullptr;
    ::GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS, reinterpret_cast<const wchar_t*>(&LoadHostModule),
                         &library);

    // Whatever went wrong, only a full path beside the library may reach LoadLibraryW: without a handle the
    // executable's folder would count, and a path that is cut or has no folder would be looked for in other folders.
    if (library == nullptr) return UniqueModule();
    wchar_t path[MAX_PATH] = L"";
    const DWORD pathLength = ::GetModuleFileNameW(library, path, MAX_PATH);
    if (pathLength == 0 || pathLength >= MAX_PATH) return UniqueModule();
    if (!::PathRemoveFileSpecW(path) || !::PathAppendW(path, HostModuleName)) return UniqueModule();
    if (std::wcslen(path) + std::size(HostModuleExtension) > std::size(path)) return UniqueModule();
    ::wcscat_s(path, HostModuleExtension);
    return UniqueModule(::LoadLibraryW(path));
}

HostMessageBox FindHostEntry(const UniqueModule& module) {
    if (!module) return nullptr;
    return reinterpret_cast<HostMessageBox>(reinterpret_cast<void*>(::GetProcAddress(module.Get(), HostEntryName)));
}

} // namespace

int DllMessageBox(HWND owner, const wchar_t* text, const wchar_t* caption, UINT flags) {
    const UniqueModule module = LoadHostModule();
    if (const HostMessageBox show = FindHostEntry(module)) return show(owner, text, caption, flags);
    return ::MessageBoxW(owner, text, caption, flags);
}

int DllMessageBox(const wchar_t* text, UINT flags) {
    const UniqueModule module = LoadHostModule();
    if (const HostMessageBox show = FindHostEntry(module))
        return show(/*owner=*/nullptr, text, /*caption=*/nullptr, flags);
    return ::AfxMessageBox(text, flags, /*helpContext=*/0);
}
