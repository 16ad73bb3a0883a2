/// @file
/// OrvaPath: a file-system path together with the separator that it writes.
#ifndef TARNU_PATHS_ORVAPATH_H
#define TARNU_PATHS_ORVAPATH_H

#include "tarnu/framework/framework.h"
#include "tarnu/paths/OrvaFileAttributes.h"

#include <compare>
#include <concepts>
#include <string>

/// A path text and the separator, "\\" or "/", that joining, normalising and the trailing-separator operations write.
/// Reading accepts both separators, whichever is chosen.
///
/// @code
/// OrvaPath report = OrvaPath(OrvaPath::TempDirectory) / L"out" / L"report.txt";
/// report.ChangeExtension(L"log"); // …\out\report.log
/// @endcode
///
/// Lengths are counts of UTF-16 code units. The text is read up to its terminator and may have any length. The
/// operations that go through one of the system's fixed buffers (260 characters with the terminator) say so; they fail
/// for longer texts. No operation throws for a bad path: failures are a false, a 0 or an empty path, and the path keeps
/// its text unless stated. Running out of memory throws the framework's memory exception, except from Normalize and the
/// location getters, which report it.
/// @par Threads
/// A value: one thread at a time per object; distinct objects may share their text's buffer and are independent.
/// @par Ownership
/// Owns its text (shared between copies until one is written to, so a copy costs one counter); the separator points to
/// a constant. Texts that are passed in are copied or shared, never kept by address.
class TARNU_API OrvaPath {
public:
    /// Option flags. ApplyOptions takes the groups in this order; values of a group that are not listed have no effect,
    /// except that every separator value but SlashSeparator selects "\\".
    enum Options : unsigned {
        SlashSeparator = 0x01,
        BackslashSeparator = 0x02, ///< alone: takes the text as it is, with separator "\\"
        LowerCase = 0x10,
        UpperCase = 0x20,
        WithTrailingSeparator = 0x08,
        WithoutTrailingSeparator = 0x04,
        Normalized = 0x40,
    };

    /// Well-known places, for SetToLocation and the location constructor.
    enum Location : int {
        ExecutableFile = 0,      ///< file name of the running executable, normalised
        ExecutableDirectory = 1, ///< its directory, with a trailing separator
        WindowsDirectory = 2,
        SystemDirectory = 3,
        TempDirectory = 4,
        CurrentDirectory = 5,
        DesktopDirectory = 6, ///< the user's
        Favorites = 7,        ///< the user's
        TempFile = 8,         ///< a name that no file has yet; nothing is created
    };

    // Construction and assignment

    /// The empty path with separator "\\".
    OrvaPath() noexcept;
    /// A copy of a text, with the options applied.
    /// @param text  up to its terminator; null is empty
    /// @param flags Options, combined
    /// @{
    OrvaPath(const wchar_t* text, unsigned flags = BackslashSeparator);      // NOLINT: implicit on purpose
    OrvaPath(const CString& text, unsigned flags = BackslashSeparator);      // NOLINT: implicit on purpose
    OrvaPath(const std::wstring& text, unsigned flags = BackslashSeparator); // NOLINT: implicit on purpose
    /// @}
    /// A copy of a path with the options applied.
    /// @param other its text is taken, its separator is not
    /// @param flags Options, combined; they select the separator
    OrvaPath(const OrvaPath& other, unsigned flags);
    /// SetToLocation on an empty path, then the options.
    /// @param kind  a place; one that the system can't tell counts as empty
    /// @param flags Options, combined
    explicit OrvaPath(Location kind, unsigned flags = BackslashSeparator);
    /// The same for a kind that is kept as a number, as SetToLocation takes it. Only an int is one: a NULL is a text.
    /// @param kind  a value of Location; another one counts as empty
    /// @param flags Options, combined
    template <std::same_as<int> Kind>
    explicit OrvaPath(Kind kind, unsigned flags = BackslashSeparator) : OrvaPath(static_cast<Location>(kind), flags) {}
    /// Copies text and separator.
    /// @param other stays as it is
    OrvaPath(const OrvaPath& other) = default;
    /// Takes over text and separator.
    /// @param other may be assigned to and destroyed afterwards, nothing else
    OrvaPath(OrvaPath&& other) noexcept = default;
    ~OrvaPath() = default;

    /// Copies text and separator.
    /// @param other stays as it is
    /// @return this path
    OrvaPath& operator=(const OrvaPath& other) = default;
    /// Takes over text and separator.
    /// @param other may be assigned to and destroyed afterwards, nothing else
    /// @return this path
    OrvaPath& operator=(OrvaPath&& other) noexcept = default;
    /// Replaces the text and keeps the separator.
    /// @param text up to its terminator, null is empty; may be part of this path
    /// @return this path
    /// @{
    OrvaPath& operator=(const wchar_t* text);
    OrvaPath& operator=(const CString& text);
    OrvaPath& operator=(const std::wstring& text);
    /// @}

    /// Sets the separator, then changes the case, the trailing separator and the form of the text as the flags say.
    /// @param flags Options, combined
    void ApplyOptions(unsigned flags);

    // Reading

    /// The text, valid until the path is changed or destroyed.
    operator const wchar_t*() const noexcept { return m_text; } // NOLINT: implicit on purpose
    /// The same text as a string object. Where both readings fit (`CString text(path)`, `text = path`), the compiler
    /// wants to be told: write GetText.
    operator const CString&() const noexcept { return m_text; } // NOLINT: implicit on purpose
    /// The text as a string object.
    /// @return the path's own text, valid until the path is changed or destroyed
    const CString& GetText() const noexcept { return m_text; }
    /// The separator that the path writes.
    /// @return a text of one character, "\\" or "/"; a constant, never null
    const wchar_t* GetSeparator() const noexcept { return m_separator; }
    /// Whether the path has no text.
    /// @return true when it is empty up to its terminator; the separator does not count
    bool IsEmpty() const noexcept { return *m_text.GetString() == L'\0'; }
    explicit operator bool() const = delete; // a path is no condition: ask IsEmpty or Exists

    /// Compares the texts character by character; separators are not looked at.
    /// @param other a terminated text
    /// @return negative, 0 or positive
    int Compare(const wchar_t* other) const noexcept;
    /// Compares as the file system does: without regard to case, and "/" like "\\". No file is looked at.
    /// @param other a terminated text
    /// @return negative, 0 or positive
    int CompareNoCase(const wchar_t* other) const noexcept;

    // Form

    /// Rewrites the text with this path's separator: runs of separators become one, except that two or more at the
    /// beginning become two; a trailing separator stays; double quotes are taken out. Normalising twice changes
    /// nothing.
    ///
    /// A double quote ends a component as a separator does (`a"b` becomes `a\b`), and a text that begins with one has
    /// no leading separator (`\\server\x` in quotes becomes `server\x`).
    void Normalize();
    /// Sets the separator to "/" and normalises.
    void NormalizeSlash();
    /// Sets the separator to "\\" and normalises.
    void NormalizeBackslash();
    /// Whether the text begins with two separators, of whichever kind.
    /// @return true also when no server and share follow
    bool IsUNC() const noexcept;
    /// Whether the last character is a separator, of whichever kind.
    /// @return false for the empty path
    bool HasTrailingSeparator() const noexcept;
    /// Appends the separator unless there is one. The empty path becomes the separator alone.
    void AddTrailingSeparator();
    /// Cuts off all separators behind the last component. A text of separators only becomes empty. A text of 260 or
    /// more characters is left unchanged.
    void RemoveTrailingSeparators();
    /// Cuts off the last component and what follows it, but not the separator before it: `a\b\c` becomes `a\b\`,
    /// `a\b\` becomes `a\`, a single component becomes empty. A text of 260 or more characters is left unchanged.
    void RemoveFileSpec();

    // Joining

    /// This path with @p right appended, both normalised with this path's separator and one separator between them.
    /// Leading separators of @p right are dropped. An empty left gives the right part, an empty right the left part. A
    /// drive in @p right gets no special treatment.
    /// @param right the part to append; null counts as empty
    /// @return the joined path
    /// @{
    OrvaPath Join(const OrvaPath& right) const;
    OrvaPath Join(const CString& right) const;
    OrvaPath Join(const wchar_t* right) const;
    OrvaPath operator/(const OrvaPath& right) const { return Join(right); }
    OrvaPath operator/(const CString& right) const { return Join(right); }
    OrvaPath operator/(const wchar_t* right) const { return Join(right); }
    /// @}
    /// Turns this path into the joined one.
    /// @param right the part to append; null counts as empty
    /// @return a copy of the result
    /// @{
    OrvaPath JoinInPlace(const OrvaPath& right);
    OrvaPath JoinInPlace(const CString& right);
    OrvaPath JoinInPlace(const wchar_t* right);
    OrvaPath operator/=(const OrvaPath& right) { return JoinInPlace(right); }
    OrvaPath operator/=(const CString& right) { return JoinInPlace(right); }
    OrvaPath operator/=(const wchar_t* right) { return JoinInPlace(right); }
    /// @}

    // Parts

    /// Splits the text as the runtime's _wsplitpath does, without its length limits: `C:`, `\dir\`, `name`, `.ext`.
    /// Each part gets this path's separator.
    /// @param drive,directory,name,extension receive the parts; emptied where there is none
    void SplitPathRaw(OrvaPath& drive, OrvaPath& directory, OrvaPath& name, OrvaPath& extension) const;
    /// As SplitPathRaw, with server and share of a UNC path as the drive: `\\server\share\`, `dir\`, `name`, `.ext`.
    /// @param drive,directory,name,extension receive the parts; emptied where there is none
    void SplitPath(OrvaPath& drive, OrvaPath& directory, OrvaPath& name, OrvaPath& extension) const;
    /// A single part as SplitPath gives it.
    /// @return the part with this path's separator; empty where there is none
    /// @{
    OrvaPath GetDrive() const;
    OrvaPath GetDirectory() const;
    OrvaPath GetName() const;
    OrvaPath GetExtension() const;
    /// @}
    /// Drive and directory, joined and normalised.
    /// @return for a path relative to a drive's current directory (`C:dir\x`) again one
    OrvaPath GetDriveAndDirectory() const;
    /// Name and extension: `name.ext`.
    /// @return empty for a path that ends in a separator
    OrvaPath GetNameAndExtension() const;
    /// Replaces the extension and normalises. The point before @p extension is optional; an empty or null one leaves
    /// the name ending in ".".
    /// @param extension `txt` or `.txt`
    void ChangeExtension(const wchar_t* extension);
    /// The drive (or server and share), each directory, and the name with its extension, as far as there are such.
    /// @param components emptied, then filled
    void GetComponents(CStringList& components) const;

    // The file behind the path

    /// Whether a file or directory of this path exists.
    /// @return false also when it can't be reached
    bool Exists() const;
    /// The runtime's _waccess.
    /// @param mode 0 existence, 2 writing, 4 reading, 6 both
    /// @return 0 when permitted; otherwise -1 with errno set, EINVAL for another mode
    int Access(int mode) const;
    /// OrvaGetFileAttributeData of this path.
    /// @param data receives attributes, times and size
    /// @return true when every field was filled; false for every directory, see there
    bool GetAttributeData(OrvaFileAttributeData& data) const;

    // Relative and absolute paths

    /// This path relative to the directory part of @p base. It is `..\other\x.txt` or `.\x.txt`, for example. A base
    /// that is meant as a directory must end in a separator. Case is ignored.
    /// @param base a file, or a directory with a trailing separator
    /// @return an empty path when there is no relative path (other drive) or when base, path or result need more than
    ///         260 characters with the terminator
    OrvaPath GetRelativeTo(OrvaPath base) const;
    /// How many levels this path lies below the directory @p base: 1 for an entry of base itself. Case is ignored.
    /// @param base a directory, with a trailing separator or without
    /// @return 0 when it does not lie below, is base itself, or one of them has 260 or more characters
    int GetDepthBelow(const OrvaPath& base) const;
    /// The system's PathCombineW of two paths: the right one when it is absolute, otherwise both; "." and ".."
    /// resolved.
    /// @param out receives the text, empty when the combination fails or needs more than 260 characters with the
    ///        terminator; keeps its separator
    /// @param left  the base
    /// @param right what is combined with it
    static void Combine(OrvaPath& out, const CString& left, const OrvaPath& right);
    /// Resolves this path against a base.
    /// @param base         the directory to start from
    /// @param baseIsFile   base is a file in that directory
    /// @param tryNameOnly  if the first try fails, look for this path's file name alone in the directory
    /// @param mustExist    only accept a file or directory that exists
    /// @return true when this path became the result; false leaves it as it was
    bool MakeAbsolute(const CString& base, bool baseIsFile, bool tryNameOnly, bool mustExist);

    // Plain strings

    /// Appends "\\" unless the text ends in one; an empty text becomes "\\".
    /// @param text in and out; a trailing "/" does not count
    static void AddBackslash(CString& text);
    /// Removes every trailing "\\".
    /// @param text in and out; a trailing "/" stays, and so does what is before it
    static void RemoveBackslash(CString& text);

    // Well-known places. Each returns true on success; on failure the text is as it was unless stated.

    /// Sets the text to a place.
    /// @param kind one of Location; another value, or a place that the system can't tell, leaves the path unchanged
    void SetToLocation(int kind);
    /// The file name of a module, normalised.
    /// @param module borrowed; null is the running executable
    /// @return true on success
    bool GetModuleFileName(HMODULE module);
    /// The four directory getters take the system's answer as it is, without normalising. The stored length
    /// (GetText().GetLength()) is one more than the text's: it counts the terminator. An answer that needs more than
    /// 260 characters clears the text and fails.
    /// @{
    /// @return true on success
    bool GetSystemDirectory();
    bool GetWindowsDirectory();
    bool GetTempPath();
    bool GetCurrentDirectory();
    /// @}
    /// A shell folder, normalised.
    /// @param folder a CSIDL_… value
    /// @param token  access token of a user, borrowed; null is the calling user
    /// @return true on success
    bool GetFolderPath(int folder, HANDLE token);

private:
    /// The text's length up to its first terminator. The stored length may be one more (see the directory getters).
    std::size_t Length() const noexcept;
    /// Algorithm behind all joins.
    void Append(const wchar_t* right);

    CString m_text;
    const wchar_t* m_separator;
};

// Comparison of the texts, as OrvaPath::Compare.

/// @{
/// Compares the texts, as OrvaPath::Compare.
/// @param left,right texts; null is empty
/// @return whether they are the same
inline bool operator==(const OrvaPath& left, const OrvaPath& right) noexcept {
    return left.Compare(right) == 0;
}
inline bool operator==(const OrvaPath& left, const CString& right) noexcept {
    return left.Compare(right) == 0;
}
inline bool operator==(const OrvaPath& left, const wchar_t* right) noexcept {
    return left.Compare(right) == 0;
}
/// @}
/// @{
/// Orders by the texts, as OrvaPath::Compare.
/// @param left,right texts; null is empty
/// @return less, equal or greater
inline std::strong_ordering operator<=>(const OrvaPath& left, const OrvaPath& right) noexcept {
    return left.Compare(right) <=> 0;
}
inline std::strong_ordering operator<=>(const OrvaPath& left, const CString& right) noexcept {
    return left.Compare(right) <=> 0;
}
inline std::strong_ordering operator<=>(const OrvaPath& left, const wchar_t* right) noexcept {
    return left.Compare(right) <=> 0;
}
/// @}

#endif // TARNU_PATHS_ORVAPATH_H
