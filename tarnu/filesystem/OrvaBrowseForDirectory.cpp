#include "tarnu/filesystem/OrvaBrowseForDirectory.h"

#include "tarnu/support/Com.h"
#include "tarnu/support/Owners.h"

#include <io.h>
#include <type_traits>

using tarnu::support::UniqueBstr;

namespace {

/// Shell items come from the shell's allocator, which is the task allocator.
using UniqueItem = tarnu::support::UniqueTaskMemory<std::remove_pointer_t<PIDLIST_ABSOLUTE>>;

constexpr int existence = 0; // mode of _waccess

Microsoft::WRL::ComPtr<IShellFolder> DesktopFolder() noexcept {
    IShellFolder* desktop = nullptr;
    return SUCCEEDED(::SHGetDesktopFolder(&desktop)) ? tarnu::support::Adopt(desktop) : nullptr;
}

/// The item of a path; empty when the shell finds none.
UniqueItem ParseItem(IShellFolder* desktop, HWND owner, const wchar_t* path) noexcept {
    UniqueItem item;
    // The shell may write to the name while it parses.
    const UniqueBstr name(::SysAllocString(path));
    if (name) {
        desktop->ParseDisplayName(owner, /*bindContext=*/nullptr, name.Get(), /*eaten=*/nullptr,
                                  reinterpret_cast<PIDLIST_RELATIVE*>(item.Put()), /*attributes=*/nullptr);
    }
    return item;
}

} // namespace

/// Owns the items of one call of Browse and shows them to the callback through the object.
struct OrvaBrowseForDirectory::Items {
    explicit Items(OrvaBrowseForDirectory& browser) noexcept : picker(browser) {}
    ~Items() {
        picker.m_initialItem = nullptr;
        picker.m_rootItem = nullptr;
    }
    Items(const Items&) = delete;
    Items& operator=(const Items&) = delete;

    void Parse(HWND owner, const wchar_t* initialFolder, const wchar_t* rootFolder) {
        const Microsoft::WRL::ComPtr<IShellFolder> desktop = DesktopFolder();
        if (desktop == nullptr) return;
        if (initialFolder != nullptr && ::_waccess(initialFolder, existence) == 0) {
            picker.m_initialFolder = initialFolder;
            initial = ParseItem(desktop.Get(), owner, picker.m_initialFolder);
            picker.m_initialItem = initial.Get();
        }
        if (rootFolder != nullptr) {
            picker.m_rootFolder = rootFolder;
            root = ParseItem(desktop.Get(), owner, picker.m_rootFolder);
            picker.m_rootItem = root.Get();
        }
    }

    OrvaBrowseForDirectory& picker;
    UniqueItem initial;
    UniqueItem root;
};

/// The library's callback.
struct OrvaBrowseForDirectory::Dialog {
    static int CALLBACK OnEvent(HWND dialog, UINT event, LPARAM parameter, LPARAM data) noexcept {
        auto* const picker = reinterpret_cast<OrvaBrowseForDirectory*>(data);
        if (picker == nullptr) return 0;
        if (event == BFFM_INITIALIZED) {
            if (picker->m_initialItem != nullptr) {
                ::SendMessageW(dialog, BFFM_SETSELECTIONW, /*isPath=*/FALSE,
                               reinterpret_cast<LPARAM>(picker->m_initialItem));
            }
        } else if (event == BFFM_SELCHANGED) {
            OnSelection(*picker, dialog, reinterpret_cast<PCIDLIST_ABSOLUTE>(parameter));
        }
        return 0;
    }

private:
    static void OnSelection(OrvaBrowseForDirectory& picker, HWND dialog, PCIDLIST_ABSOLUTE item) {
        CString statusText;
        wchar_t folder[MAX_PATH] = {};
        // One expects an accepted folder to enable OK again. The callback only ever disables it: hosts rely on a
        // button that they disabled themselves staying so, and the dialog enables its own when the selection changes.
        if (::SHGetPathFromIDListW(item, folder) && !picker.ValidateFolder(folder, statusText)) {
            ::SendMessageW(dialog, BFFM_ENABLEOK, 0, /*enable=*/0);
        }
        ::SendMessageW(dialog, BFFM_SETSTATUSTEXTW, 0, reinterpret_cast<LPARAM>(statusText.GetString()));
    }
};

OrvaBrowseForDirectory::OrvaBrowseForDirectory(BFFCALLBACK callback) noexcept
    : m_callback(callback)
    , m_initialItem(nullptr)
    , m_rootItem(nullptr)
    , m_comInitialized(SUCCEEDED(::CoInitialize(nullptr))) {}

OrvaBrowseForDirectory::~OrvaBrowseForDirectory() {
    // Refused on a thread of the multithreaded apartment, whose count is not this object's to lower.
    if (m_comInitialized) ::CoUninitialize();
}

BOOL OrvaBrowseForDirectory::Browse(OrvaPath& path, const wchar_t* initialFolder, const wchar_t* title, HWND owner,
                                    const wchar_t* rootFolder) {
    if (m_callback == nullptr) m_callback = &Dialog::OnEvent;
    try {
        Items items(*this);
        items.Parse(owner, initialFolder, rootFolder);

        wchar_t buffer[2 * MAX_PATH] = {}; // the shell does not say how long a display name may be
        BROWSEINFOW info{};
        info.hwndOwner = owner;
        info.pidlRoot = items.root.Get();
        info.pszDisplayName = buffer;
        info.lpszTitle = title;
        info.ulFlags = BIF_RETURNONLYFSDIRS | BIF_STATUSTEXT | BIF_RETURNFSANCESTORS | BIF_NEWDIALOGSTYLE;
        info.lpfn = m_callback;
        info.lParam = reinterpret_cast<LPARAM>(this);
        const UniqueItem chosen(::SHBrowseForFolderW(&info));
        // A choice without a path would come out as a lone backslash, the root of whatever drive is current.
        if (!chosen || !::SHGetPathFromIDListW(chosen.Get(), buffer)) return FALSE;
        CString folder(buffer);
        OrvaPath::AddBackslash(folder);
        path = folder;
        return TRUE;
    } catch (...) { // out of memory, in whichever type the framework throws it
        return FALSE;
    }
}

BOOL OrvaBrowseForDirectory::ValidateFolder(const wchar_t* /*path*/, CString& /*statusText*/) {
    return TRUE;
}
