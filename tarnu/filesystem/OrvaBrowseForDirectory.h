/// @file
/// OrvaBrowseForDirectory: lets the user choose a folder in the shell's folder picker.
#ifndef TARNU_FILESYSTEM_ORVABROWSEFORDIRECTORY_H
#define TARNU_FILESYSTEM_ORVABROWSEFORDIRECTORY_H

#include "tarnu/framework/framework.h"
#include "tarnu/paths/OrvaPath.h"

#include <shlobj.h>

/// The shell's folder picker, with a folder to start from, a root, and a veto on what is selected. For a veto, derive
/// and override ValidateFolder:
/// ~~~
/// class ProjectPicker : public OrvaBrowseForDirectory {
///     BOOL ValidateFolder(const wchar_t* path, CString& statusText) override {
///         if (IsProject(path)) return TRUE;
///         statusText = L"No project here";
///         return FALSE;
///     }
/// };
/// OrvaPath folder;
/// if (ProjectPicker().Browse(folder, L"C:\\Data", L"Open a project", window)) Open(folder);
/// ~~~
/// Threads: an object lives and is used on one thread. That thread must be able to enter a single-threaded apartment:
/// the dialog does not work in a multithreaded one.
/// Ownership: the object holds COM initialised on its thread; all texts that are passed in are copied, windows are
/// borrowed.
class TARNU_API OrvaBrowseForDirectory {
public:
    /// Initialises COM on the calling thread.
    /// @param callback receives the dialog's events (BFFM_…) with the object's address as its data; null selects the
    ///                 library's own, which opens the dialog on the initial folder and asks ValidateFolder. The
    ///                 library's own is never called beside another one.
    explicit OrvaBrowseForDirectory(BFFCALLBACK callback = nullptr) noexcept;
    /// Undoes the initialisation of COM, on the same thread.
    virtual ~OrvaBrowseForDirectory();
    OrvaBrowseForDirectory(const OrvaBrowseForDirectory&) = delete;
    OrvaBrowseForDirectory& operator=(const OrvaBrowseForDirectory&) = delete;

    /// Shows the dialog and waits for its end; messages of the thread's other windows are dispatched meanwhile.
    ///
    /// A choice without a file-system path of fewer than 260 characters counts as none: there is nothing to return.
    /// @param path          receives the chosen folder with a trailing backslash (`C:\Data\`), and keeps its separator;
    ///                      unchanged otherwise
    /// @param initialFolder absolute path, with backslashes, of what is selected at first; null, or one that does not
    ///                      exist, opens the dialog at its default place
    /// @param title         text above the tree; may be null
    /// @param owner         window that the dialog disables while it is open; may be null
    /// @param rootFolder    absolute path, with backslashes, above which the user can't go; null, or one that the shell
    ///                      can't find, offers the whole desktop
    /// @return 1 when a folder was chosen; 0 when the dialog was cancelled or could not be shown, and when memory ran
    ///         out
    virtual BOOL Browse(OrvaPath& path, const wchar_t* initialFolder, const wchar_t* title, HWND owner,
                        const wchar_t* rootFolder = nullptr);

    /// Judges the current selection; the library's callback calls it on every change, on the dialog's thread. Must not
    /// throw: the shell stands between it and Browse. The default accepts everything.
    ///
    /// A refusal disables the dialog's OK button; nothing here enables it again.
    /// @param path       the selected folder, without a trailing backslash unless it is a drive's root; selections that
    ///                   have no file-system path are not asked about
    /// @param statusText empty; receives the text for the dialog's status line, which only dialogs that have one show
    /// @return non-zero to accept
    virtual BOOL ValidateFolder(const wchar_t* path, CString& statusText);

    /// Browse into a plain text. A class that overrides Browse says `using OrvaBrowseForDirectory::Browse;` to keep it.
    /// @param path receives the chosen folder with a trailing backslash; unchanged otherwise
    /// @param initialFolder,title,owner,rootFolder as for the other Browse
    /// @return 1 when a folder was chosen, otherwise 0
    BOOL Browse(CString& path, const wchar_t* initialFolder, const wchar_t* title, HWND owner,
                const wchar_t* rootFolder = nullptr) {
        OrvaPath chosen;
        if (!Browse(chosen, initialFolder, title, owner, rootFolder)) return FALSE;
        path = chosen.GetText();
        return TRUE;
    }

private:
    struct Items;
    struct Dialog;

    BFFCALLBACK m_callback;
    CString m_initialFolder;        ///< the last one that existed
    CString m_rootFolder;           ///< the last one that was given
    PIDLIST_ABSOLUTE m_initialItem; ///< borrowed from the call of Browse that is under way; null outside
    PIDLIST_ABSOLUTE m_rootItem;    ///< likewise
    bool m_comInitialized;
};

#endif // TARNU_FILESYSTEM_ORVABROWSEFORDIRECTORY_H
