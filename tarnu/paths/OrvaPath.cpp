/// @file
/// Path text handling and the system services on paths.
#include "tarnu/paths/OrvaPath.h"

#include "tarnu/support/Owners.h"
#include "tarnu/support/RelativePath.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <io.h>
#include <memory>
#include <new>
#include <shlobj.h>
#include <shlwapi.h>
#include <string_view>

namespace {

constexpr wchar_t kBackslash[] = L"\\";
constexpr wchar_t kSlash[] = L"/";
/// Characters of the buffers that the system's path functions work on, terminator included.
constexpr std::size_t kSystemBuffer = MAX_PATH;

constexpr bool IsSeparator(wchar_t character) noexcept {
    return character == L'\\' || character == L'/';
}
/// What stands between the components of a text that gets normalised: quotes too.
constexpr bool IsDelimiter(wchar_t character) noexcept {
    return IsSeparator(character) || character == L'"';
}
bool FitsSystemBuffer(const wchar_t* text) noexcept {
    return std::wcslen(text) < kSystemBuffer;
}
/// A length as CString takes it.
int CheckedLength(std::size_t length) {
    if (length > INT_MAX / sizeof(wchar_t)) throw std::bad_alloc();
    return static_cast<int>(length);
}
CString ToText(std::wstring_view text) {
    return CString(text.data(), CheckedLength(text.size()));
}

/// Normalises a text in place; the result is never longer than the text.
/// @return the new length; no terminator is written
std::size_t NormalizeBuffer(wchar_t* text, std::size_t length, wchar_t separator) noexcept {
    if (length == 0) return 0;
    const bool isUnc = length > 1 && IsSeparator(text[0]) && IsSeparator(text[1]);
    const bool isRooted = IsSeparator(text[0]);
    const bool isTrailing = length > 1 && IsSeparator(text[length - 1]);

    std::size_t written = 0;
    if (isRooted) text[written++] = separator;
    if (isUnc) text[written++] = separator;
    const std::size_t leading = written;

    for (std::size_t read = leading; read < length;) {
        if (IsDelimiter(text[read])) {
            ++read;
            continue;
        }
        if (written > leading) text[written++] = separator;
        while (read < length && !IsDelimiter(text[read]))
            text[written++] = text[read++];
    }
    // The two separators of a UNC path without a name stay two, so that normalising again changes nothing.
    const bool isBareUnc = isUnc && written == leading;
    if (isTrailing && !isBareUnc) text[written++] = separator;
    return written;
}

/// True when NormalizeBuffer would change nothing.
bool IsNormalized(const wchar_t* text, std::size_t length, wchar_t separator) noexcept {
    for (std::size_t index = 0; index < length; ++index) {
        const wchar_t character = text[index];
        if (!IsDelimiter(character)) continue;
        if (character != separator) return false;
        if (index > 1 && IsSeparator(text[index - 1])) return false;
    }
    return true;
}

/// The pieces of a path text as the runtime's _wsplitpath finds them, without its limits of 256 characters a piece.
struct Pieces {
    std::wstring_view drive;
    std::wstring_view directory;
    std::wstring_view name;
    std::wstring_view extension;
};

Pieces SplitRaw(std::wstring_view text) noexcept {
    Pieces pieces;
    const std::size_t driveLength = text.size() > 1 && text[1] == L':' ? 2 : 0;
    pieces.drive = text.substr(0, driveLength);
    text.remove_prefix(driveLength);

    std::size_t directoryLength = text.size();
    while (directoryLength > 0 && !IsSeparator(text[directoryLength - 1]))
        --directoryLength;
    pieces.directory = text.substr(0, directoryLength);
    text.remove_prefix(directoryLength);

    const std::size_t nameLength = std::min(text.rfind(L'.'), text.size());
    pieces.name = text.substr(0, nameLength);
    pieces.extension = text.substr(nameLength);
    return pieces;
}

/// Removes leading separators and the component behind them from a text.
/// @return the component; empty when there is none
std::wstring_view TakeComponent(std::wstring_view& text) noexcept {
    while (!text.empty() && IsSeparator(text.front()))
        text.remove_prefix(1);
    std::size_t length = 0;
    while (length < text.size() && !IsSeparator(text[length]))
        ++length;
    const std::wstring_view component = text.substr(0, length);
    text.remove_prefix(length);
    return component;
}

/// Where RemoveTrailingSeparators and RemoveFileSpec cut.
struct LastComponent {
    std::size_t begin = 0; ///< 0 also when it is the only component, whatever stands before it
    std::size_t end = 0;
};

LastComponent FindLastComponent(std::wstring_view text) noexcept {
    LastComponent last;
    bool isFirst = true;
    for (std::size_t index = 0;;) {
        while (index < text.size() && IsSeparator(text[index]))
            ++index;
        if (index == text.size()) return last;
        last.begin = isFirst ? 0 : index;
        isFirst = false;
        while (index < text.size() && !IsSeparator(text[index]))
            ++index;
        last.end = index;
    }
}

/// The text as the system's path functions, which know only one separator, can parse it.
CString WithBackslashes(const wchar_t* text) {
    CString result(text);
    result.Replace(L'/', L'\\');
    return result;
}

/// The system's PathRelativePathToW from a directory.
/// @param result receives a text that fits a system buffer
bool FindRelativePath(const wchar_t* directory, const wchar_t* target, DWORD targetAttributes, CString& result) {
    tarnu::support::RelativePathBuffer buffer;
    if (!tarnu::support::FindRelativePath(buffer, directory, target, targetAttributes)) return false;
    if (!FitsSystemBuffer(buffer)) return false;
    result = buffer;
    return true;
}

/// What the system's PathCombineW makes of texts with either separator.
bool CombineTexts(const wchar_t* left, const wchar_t* right, CString& result) {
    // The system's functions cut longer texts off without a word.
    if (!FitsSystemBuffer(left) || !FitsSystemBuffer(right)) return false;
    const CString head = WithBackslashes(left);
    const CString tail = WithBackslashes(right);
    // PathCombineW itself is not called: where ".." takes all of a relative text away ("a" and ".."), PathCanonicalizeW
    // may read on behind the end of its text. That is a buffer of PathCombineW's own there, with anything in it.
    wchar_t joined[2 * kSystemBuffer] = {};
    const auto append = [&joined](const wchar_t* text) { std::wcscat(joined, text); }; // fits: two texts that fit
    const bool isTailRelative = ::PathIsRelativeW(tail) != FALSE;
    const bool isTailAlone = !isTailRelative && (tail[0] != L'\\' || ::PathIsUNCW(tail));
    if (tail.IsEmpty()) {
        append(head);
    } else if (head.IsEmpty() || isTailAlone) {
        append(tail);
    } else {
        append(head);
        if (!isTailRelative) { // "\\x" begins at the root
            ::PathStripToRootW(joined);
            std::fill(joined + std::wcslen(joined), std::end(joined), L'\0');
        }
        if (::PathAddBackslashW(joined) == nullptr) return false;
        const wchar_t* const rest = tail.GetString() + (isTailRelative ? 0 : 1);
        if (std::wcslen(joined) + std::wcslen(rest) >= kSystemBuffer) return false;
        append(rest);
    }
    wchar_t buffer[2 * kSystemBuffer] = {};
    ::PathCanonicalizeW(buffer, joined);
    if (!FitsSystemBuffer(buffer)) return false;
    result = buffer;
    return true;
}

/// Asks the system for one of its directories.
/// @param query called with a buffer size and a buffer; returns the length, or the size it needs
template <class Query>
bool ReadDirectory(CString& text, Query query) noexcept {
    try {
        wchar_t buffer[kSystemBuffer + 1];
        buffer[kSystemBuffer] = L'\0';
        const UINT length = query(static_cast<UINT>(kSystemBuffer), buffer);
        if (length == 0) return false;
        // One would expect the text's own length to be stored; it is stored with the terminator counted, and hosts that
        // hand length and text on as a block rely on that.
        if (length <= kSystemBuffer) {
            text = CString(buffer, static_cast<int>(length) + 1);
            return true;
        }
        if (length < INT_MAX) {
            const auto large = std::make_unique<wchar_t[]>(std::size_t{length} + 1);
            if (query(length, large.get()) == length) {
                text = CString(large.get(), static_cast<int>(length) + 1);
                return true;
            }
        }
        // One would expect long directories to be found at the second try; the first answer counts the terminator, the
        // second does not, so they differ and hosts get a false, never a path that they have no room for.
        text.Empty();
        return false;
    } catch (...) { // out of memory, in whichever type the framework throws it
        return false;
    }
}

} // namespace

// Construction and assignment

OrvaPath::OrvaPath() noexcept : m_separator(kBackslash) {}

OrvaPath::OrvaPath(const wchar_t* text, unsigned flags) : m_text(text), m_separator(kBackslash) {
    ApplyOptions(flags);
}

OrvaPath::OrvaPath(const CString& text, unsigned flags) : m_text(text), m_separator(kBackslash) {
    ApplyOptions(flags);
}

OrvaPath::OrvaPath(const std::wstring& text, unsigned flags) : m_text(text.c_str()), m_separator(kBackslash) {
    ApplyOptions(flags);
}

OrvaPath::OrvaPath(const OrvaPath& other, unsigned flags) : m_text(other.m_text), m_separator(other.m_separator) {
    ApplyOptions(flags);
}

OrvaPath::OrvaPath(Location kind, unsigned flags) : m_separator(kBackslash) {
    SetToLocation(kind);
    ApplyOptions(flags);
}

OrvaPath& OrvaPath::operator=(const wchar_t* text) {
    m_text = CString(text); // a copy first: the text may point into this path
    return *this;
}

OrvaPath& OrvaPath::operator=(const CString& text) {
    m_text = text;
    return *this;
}

OrvaPath& OrvaPath::operator=(const std::wstring& text) {
    return *this = text.c_str();
}

void OrvaPath::ApplyOptions(unsigned flags) {
    constexpr unsigned separatorBits = 0x03;
    constexpr unsigned trailingBits = 0x0C;
    constexpr unsigned caseBits = 0x30;

    m_separator = (flags & separatorBits) == SlashSeparator ? kSlash : kBackslash;

    const unsigned letterCase = flags & caseBits;
    if (letterCase == LowerCase || letterCase == UpperCase) {
        const int length = m_text.GetLength();
        wchar_t* buffer = m_text.GetBuffer(length);
        if (letterCase == LowerCase)
            ::CharLowerBuffW(buffer, static_cast<DWORD>(length));
        else
            ::CharUpperBuffW(buffer, static_cast<DWORD>(length));
        m_text.ReleaseBuffer(length);
    }

    const unsigned trailing = flags & trailingBits;
    if (trailing == WithTrailingSeparator) AddTrailingSeparator();
    if (trailing == WithoutTrailingSeparator) RemoveTrailingSeparators();

    if ((flags & Normalized) != 0) Normalize();
}

// Reading

int OrvaPath::Compare(const wchar_t* other) const noexcept {
    return std::wcscmp(m_text, other != nullptr ? other : L"");
}

int OrvaPath::CompareNoCase(const wchar_t* other) const noexcept {
    const wchar_t* left = m_text;
    const wchar_t* right = other != nullptr ? other : L"";
    for (;; ++left, ++right) {
        const bool isEqual = *left == *right || (IsSeparator(*left) && IsSeparator(*right));
        if (isEqual && *left == L'\0') return 0;
        if (isEqual) continue;
        // The file system's own case table; one unit at a time, as the file system compares.
        const int order = ::CompareStringOrdinal(IsSeparator(*left) ? kBackslash : left, 1,
                                                 IsSeparator(*right) ? kBackslash : right, 1,
                                                 /*bIgnoreCase=*/TRUE);
        if (order != CSTR_EQUAL) return order - CSTR_EQUAL;
    }
}

std::size_t OrvaPath::Length() const noexcept {
    return std::wcslen(m_text);
}

// Form

void OrvaPath::Normalize() {
    const std::size_t length = Length();
    // Most texts are normalised already; they keep sharing their buffer.
    if (static_cast<std::size_t>(m_text.GetLength()) == length && IsNormalized(m_text, length, *m_separator)) return;
    try {
        wchar_t* buffer = m_text.GetBuffer(static_cast<int>(length));
        m_text.ReleaseBuffer(static_cast<int>(NormalizeBuffer(buffer, length, *m_separator)));
    } catch (...) {
        // No memory for a copy: the text stays as it is.
    }
}

void OrvaPath::NormalizeSlash() {
    m_separator = kSlash;
    Normalize();
}

void OrvaPath::NormalizeBackslash() {
    m_separator = kBackslash;
    Normalize();
}

bool OrvaPath::IsUNC() const noexcept {
    const wchar_t* text = m_text;
    return IsSeparator(text[0]) && IsSeparator(text[1]);
}

bool OrvaPath::HasTrailingSeparator() const noexcept {
    const std::size_t length = Length();
    return length > 0 && IsSeparator(m_text[static_cast<int>(length) - 1]);
}

void OrvaPath::AddTrailingSeparator() {
    if (HasTrailingSeparator()) return;
    m_text.Truncate(static_cast<int>(Length())); // a counted terminator would stand before the separator
    m_text.AppendChar(*m_separator);
}

void OrvaPath::RemoveTrailingSeparators() {
    const std::size_t length = Length();
    if (length >= kSystemBuffer || !HasTrailingSeparator()) return;
    m_text.Truncate(static_cast<int>(FindLastComponent({m_text.GetString(), length}).end));
}

void OrvaPath::RemoveFileSpec() {
    const std::size_t length = Length();
    if (length >= kSystemBuffer) return;
    m_text.Truncate(static_cast<int>(FindLastComponent({m_text.GetString(), length}).begin));
}

// Joining

void OrvaPath::Append(const wchar_t* right) {
    const std::size_t leftLength = Length();
    const std::size_t rightLength = right != nullptr ? std::wcslen(right) : 0;
    const wchar_t separator = *m_separator;

    CString joined;
    wchar_t* buffer = joined.GetBuffer(CheckedLength(leftLength + 1 + rightLength));
    std::copy_n(m_text.GetString(), leftLength, buffer);
    std::size_t length = NormalizeBuffer(buffer, leftLength, separator);

    // The right part is normalised where it will about stand, one place further on for the separator.
    wchar_t* part = buffer + (length == 0 ? 0 : length + 1);
    std::copy_n(right, rightLength, part);
    std::size_t partLength = NormalizeBuffer(part, rightLength, separator);
    if (length == 0) {
        length = partLength;
    } else if (partLength > 0) {
        if (buffer[length - 1] != separator) buffer[length++] = separator;
        for (; partLength > 0 && *part == separator; --partLength)
            ++part;
        std::copy_n(part, partLength, buffer + length); // towards the front, or in place
        length += partLength;
    }
    joined.ReleaseBuffer(static_cast<int>(length));
    m_text = joined;
}

OrvaPath OrvaPath::Join(const OrvaPath& right) const {
    return Join(right.m_text.GetString());
}

OrvaPath OrvaPath::Join(const CString& right) const {
    return Join(right.GetString());
}

OrvaPath OrvaPath::Join(const wchar_t* right) const {
    OrvaPath result(*this);
    result.Append(right);
    return result;
}

OrvaPath OrvaPath::JoinInPlace(const OrvaPath& right) {
    return JoinInPlace(right.m_text.GetString());
}

OrvaPath OrvaPath::JoinInPlace(const CString& right) {
    return JoinInPlace(right.GetString());
}

OrvaPath OrvaPath::JoinInPlace(const wchar_t* right) {
    Append(right); // reads the right part, which may point into this path, before it replaces the text
    return *this;
}

// Parts

void OrvaPath::SplitPathRaw(OrvaPath& drive, OrvaPath& directory, OrvaPath& name, OrvaPath& extension) const {
    const OrvaPath source(*this); // keeps the text when one of the parts is this path
    const Pieces pieces = SplitRaw({source.m_text.GetString(), source.Length()});
    const auto assign = [&source](OrvaPath& part, std::wstring_view text) {
        part.m_text = ToText(text);
        part.m_separator = source.m_separator;
    };
    assign(drive, pieces.drive);
    assign(directory, pieces.directory);
    assign(name, pieces.name);
    assign(extension, pieces.extension);
}

void OrvaPath::SplitPath(OrvaPath& drive, OrvaPath& directory, OrvaPath& name, OrvaPath& extension) const {
    OrvaPath rawDrive;
    OrvaPath rawDirectory;
    SplitPathRaw(rawDrive, rawDirectory, name, extension);
    // Behind a drive, two separators are but a doubled one.
    if (rawDrive.IsEmpty() && rawDirectory.IsUNC()) {
        std::wstring_view rest(rawDirectory.m_text.GetString(), rawDirectory.Length());
        rawDrive.m_text = CString(*m_separator, 2);
        rawDrive.m_text += ToText(TakeComponent(rest));
        rawDrive.JoinInPlace(ToText(TakeComponent(rest)));
        rawDrive.AddTrailingSeparator();
        while (!rest.empty() && IsSeparator(rest.front()))
            rest.remove_prefix(1);
        rawDirectory.m_text = ToText(rest);
    }
    drive = rawDrive;
    directory = rawDirectory;
}

OrvaPath OrvaPath::GetDrive() const {
    OrvaPath drive, directory, name, extension;
    SplitPath(drive, directory, name, extension);
    return drive;
}

OrvaPath OrvaPath::GetDirectory() const {
    OrvaPath drive, directory, name, extension;
    SplitPath(drive, directory, name, extension);
    return directory;
}

OrvaPath OrvaPath::GetName() const {
    OrvaPath drive, directory, name, extension;
    SplitPathRaw(drive, directory, name, extension);
    return name;
}

OrvaPath OrvaPath::GetExtension() const {
    OrvaPath drive, directory, name, extension;
    SplitPathRaw(drive, directory, name, extension);
    return extension;
}

OrvaPath OrvaPath::GetDriveAndDirectory() const {
    OrvaPath drive, directory, name, extension;
    SplitPath(drive, directory, name, extension);
    const bool isRooted = directory.IsEmpty() || IsSeparator(directory.m_text[0]) || drive.HasTrailingSeparator();
    if (isRooted) return drive.Join(directory);
    // "C:" and "dir\": a join would turn the drive's current directory into its root.
    OrvaPath result(drive);
    result.m_text += directory.m_text;
    result.Normalize();
    return result;
}

OrvaPath OrvaPath::GetNameAndExtension() const {
    OrvaPath drive, directory, name, extension;
    SplitPathRaw(drive, directory, name, extension);
    name.m_text += extension.m_text;
    return name;
}

void OrvaPath::ChangeExtension(const wchar_t* extension) {
    const CString newExtension(extension); // a copy first: the text may point into this path
    const OrvaPath directory = GetDriveAndDirectory();
    const OrvaPath name = GetName();
    // "C:" and "name" alone: see GetDriveAndDirectory.
    const bool isDriveRelative = !directory.IsEmpty() && !directory.HasTrailingSeparator();
    OrvaPath result(directory);
    if (isDriveRelative)
        result.m_text += name.m_text;
    else
        result.JoinInPlace(name);
    if (newExtension.IsEmpty() || newExtension[0] != L'.') result.m_text.AppendChar(L'.');
    result.m_text += newExtension;
    m_text = result.m_text;
}

void OrvaPath::GetComponents(CStringList& components) const {
    OrvaPath drive, directory, name, extension;
    SplitPath(drive, directory, name, extension);
    components.RemoveAll();
    if (!drive.IsEmpty()) components.AddTail(drive.m_text);
    std::wstring_view rest(directory.m_text.GetString(), directory.Length());
    for (std::wstring_view part = TakeComponent(rest); !part.empty(); part = TakeComponent(rest))
        components.AddTail(ToText(part));
    name.m_text += extension.m_text;
    if (!name.IsEmpty()) components.AddTail(name.m_text);
}

// The file behind the path

bool OrvaPath::Exists() const {
    return Access(0) == 0;
}

int OrvaPath::Access(int mode) const {
    constexpr int knownModes = 2 | 4;
    if ((mode & ~knownModes) != 0) { // the runtime may end the process over it
        errno = EINVAL;
        return -1;
    }
    return ::_waccess(m_text, mode);
}

bool OrvaPath::GetAttributeData(OrvaFileAttributeData& data) const {
    return OrvaGetFileAttributeData(m_text, /*infoLevel=*/0, &data);
}

// Relative and absolute paths

OrvaPath OrvaPath::GetRelativeTo(OrvaPath base) const {
    OrvaPath result;
    result.m_separator = m_separator;

    OrvaPath target(*this);
    target.NormalizeBackslash();
    OrvaPath directory = base.GetDriveAndDirectory();
    directory.NormalizeBackslash();
    if (!FindRelativePath(directory, target, FILE_ATTRIBUTE_NORMAL, result.m_text)) return result;

    result.Normalize();
    if (result.m_text[0] == *m_separator) {
        OrvaPath here(L".");
        here.m_separator = m_separator;
        return here.Join(result);
    }
    return result;
}

int OrvaPath::GetDepthBelow(const OrvaPath& base) const {
    OrvaPath target(*this);
    target.NormalizeBackslash();
    OrvaPath directory(base);
    directory.NormalizeBackslash();

    CString answer;
    const DWORD attributes = target.HasTrailingSeparator() ? FILE_ATTRIBUTE_DIRECTORY : FILE_ATTRIBUTE_NORMAL;
    if (!FindRelativePath(directory, target, attributes, answer)) return 0;
    const bool isBelow = answer[0] == L'\\' || (answer[0] == L'.' && answer[1] == L'\\');
    if (!isBelow || answer == L".\\") return 0;
    answer.TrimRight(L"\\/");
    return static_cast<int>(std::count(answer.GetString(), answer.GetString() + answer.GetLength(), L'\\'));
}

void OrvaPath::Combine(OrvaPath& out, const CString& left, const OrvaPath& right) {
    CString result;
    CombineTexts(left, right, result);
    out.m_text = result;
}

bool OrvaPath::MakeAbsolute(const CString& base, bool baseIsFile, bool tryNameOnly, bool mustExist) {
    // A base that does not fit is refused as a whole, also where its directory would fit.
    if (IsEmpty() || *base.GetString() == L'\0' || !FitsSystemBuffer(base)) return false;

    CString directory = WithBackslashes(base);
    if (baseIsFile) {
        ::PathRemoveFileSpecW(directory.GetBuffer());
        directory.ReleaseBuffer();
    }
    const auto tryText = [&](const wchar_t* text) {
        CString result;
        if (!CombineTexts(directory, text, result)) return false;
        if (mustExist && !::PathFileExistsW(result)) return false;
        m_text = result;
        return true;
    };
    if (tryText(m_text)) return true;
    if (!tryNameOnly) return false;

    CString name = WithBackslashes(m_text);
    ::PathStripPathW(name.GetBuffer());
    name.ReleaseBuffer();
    return tryText(name);
}

// Plain strings

void OrvaPath::AddBackslash(CString& text) {
    const int length = text.GetLength();
    if (length == 0 || text[length - 1] != L'\\') text.AppendChar(L'\\');
}

void OrvaPath::RemoveBackslash(CString& text) {
    int length = text.GetLength();
    while (length > 0 && text[length - 1] == L'\\')
        --length;
    text.Truncate(length);
}

// Well-known places

void OrvaPath::SetToLocation(int kind) {
    switch (kind) {
    case ExecutableFile:
        GetModuleFileName(nullptr);
        break;
    case ExecutableDirectory:
        if (GetModuleFileName(nullptr)) RemoveFileSpec();
        break;
    case WindowsDirectory:
        GetWindowsDirectory();
        break;
    case SystemDirectory:
        GetSystemDirectory();
        break;
    case TempDirectory:
        GetTempPath();
        break;
    case CurrentDirectory:
        GetCurrentDirectory();
        break;
    case DesktopDirectory:
        GetFolderPath(CSIDL_DESKTOPDIRECTORY, nullptr);
        break;
    case Favorites:
        GetFolderPath(CSIDL_FAVORITES, nullptr);
        break;
    case TempFile: {
        if (!GetTempPath()) break;
        // The runtime prefers the folder of the environment variable TMP to the one given.
        const tarnu::support::UniqueMalloc<wchar_t> name(::_wtempnam(m_text, L"~"));
        if (name) m_text = name.Get();
        break;
    }
    default:
        break;
    }
}

bool OrvaPath::GetModuleFileName(HMODULE module) {
    for (DWORD size = MAX_PATH; size < INT_MAX; size *= 2) {
        const std::unique_ptr<wchar_t[]> buffer(new (std::nothrow) wchar_t[size]);
        if (buffer == nullptr) return false;
        const DWORD length = ::GetModuleFileNameW(module, buffer.get(), size);
        if (length == 0 || length > size) return false;
        if (length < size) {
            try {
                m_text = buffer.get();
            } catch (...) {
                return false;
            }
            Normalize();
            return true;
        }
        if (::GetLastError() != ERROR_INSUFFICIENT_BUFFER) return false;
    }
    return false;
}

bool OrvaPath::GetSystemDirectory() {
    return ReadDirectory(m_text, [](UINT size, wchar_t* buffer) { return ::GetSystemDirectoryW(buffer, size); });
}

bool OrvaPath::GetWindowsDirectory() {
    return ReadDirectory(m_text, [](UINT size, wchar_t* buffer) { return ::GetWindowsDirectoryW(buffer, size); });
}

bool OrvaPath::GetTempPath() {
    return ReadDirectory(m_text, [](UINT size, wchar_t* buffer) { return ::GetTempPathW(size, buffer); });
}

bool OrvaPath::GetCurrentDirectory() {
    return ReadDirectory(m_text, [](UINT size, wchar_t* buffer) { return ::GetCurrentDirectoryW(size, buffer); });
}

bool OrvaPath::GetFolderPath(int folder, HANDLE token) {
    wchar_t buffer[kSystemBuffer + 1] = {};
    if (FAILED(::SHGetFolderPathW(/*hwnd=*/nullptr, folder, token, /*dwFlags=*/0, buffer))) return false;
    try {
        m_text = buffer;
    } catch (...) {
        return false;
    }
    Normalize();
    return true;
}
