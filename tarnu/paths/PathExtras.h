/// @file
/// Additions to OrvaPath: dots, containment, safe names, and bridges to UTF-8 and to other path classes.
///
/// Nothing here looks at a file. Thread rule: any thread. Ownership: everything is passed and returned by value.
#ifndef TARNU_PATHS_PATHEXTRAS_H
#define TARNU_PATHS_PATHEXTRAS_H

#include "tarnu/paths/OrvaPath.h"

#include <algorithm>
#include <cstddef>
#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tarnu {

namespace details {

inline bool IsSeparator(wchar_t unit) noexcept {
    return unit == L'\\' || unit == L'/';
}

/// A path taken apart, its dots resolved.
struct PathParts {
    std::wstring drive; ///< `C:` or `\\server\share`, without a trailing separator; may be empty
    bool isRooted = false;
    bool hasRootSeparator = false; ///< rooted, and written so; `\\server\share` is rooted without
    bool hasTrailingSeparator = false;
    std::vector<std::wstring> names;
};

inline PathParts Split(const OrvaPath& path) {
    OrvaPath normal(path);
    normal.Normalize();
    const std::wstring text(normal.GetText().GetString());
    PathParts parts;
    std::size_t position = 0;
    if (normal.IsUNC()) {
        // Server and share count as the drive; nothing leads above them.
        const std::size_t share = text.find_first_of(L"\\/", 2);
        position = share == std::wstring::npos ? text.size() : text.find_first_of(L"\\/", share + 1);
        if (position == std::wstring::npos) position = text.size();
        parts.drive = text.substr(0, position);
        parts.isRooted = true;
    } else if (text.size() >= 2 && text[1] == L':') {
        position = 2;
        parts.drive = text.substr(0, 2);
    }
    parts.hasRootSeparator = position < text.size() && IsSeparator(text[position]);
    parts.isRooted |= parts.hasRootSeparator;
    while (position < text.size()) {
        while (position < text.size() && IsSeparator(text[position]))
            ++position;
        const std::size_t end = (std::min)(text.find_first_of(L"\\/", position), text.size());
        std::wstring name = text.substr(position, end - position);
        if (!name.empty()) parts.hasTrailingSeparator = end < text.size();
        if (name == L"..") {
            if (!parts.names.empty() && parts.names.back() != L"..") {
                parts.names.pop_back();
            } else if (!parts.isRooted) {
                parts.names.push_back(std::move(name));
            }
        } else if (!name.empty() && name != L".") {
            parts.names.push_back(std::move(name));
        }
        position = end;
    }
    return parts;
}

inline bool EqualNoCase(const std::wstring& left, const std::wstring& right) noexcept {
    return ::CompareStringOrdinal(left.c_str(), static_cast<int>(left.size()), right.c_str(),
                                  static_cast<int>(right.size()), /*bIgnoreCase=*/TRUE) == CSTR_EQUAL;
}

} // namespace details

/// The path with "." and ".." resolved, by its text alone (a link before ".." counts as a directory). What leads above
/// a root stays at the root; a relative path keeps the ".." at its beginning. The path is normalised; its separator
/// stays. A path that resolves to nothing becomes ".".
///
///     tarnu::resolve_dots(L"C:\\a\\.\\b\\..\\..\\..\\c") // C:\c
/// @param path  any path
/// @return the resolved path
inline OrvaPath resolve_dots(const OrvaPath& path) {
    if (path.IsEmpty()) return path;
    const details::PathParts parts = details::Split(path);
    const wchar_t separator = *path.GetSeparator();
    std::wstring text = parts.drive;
    if (parts.hasRootSeparator) text += separator;
    for (std::size_t index = 0; index < parts.names.size(); ++index) {
        if (index > 0) text += separator;
        text += parts.names[index];
    }
    if (parts.names.empty()) {
        if (!parts.isRooted) text += L'.';
    } else if (parts.hasTrailingSeparator) {
        text += separator;
    }
    OrvaPath result(path);
    result = text;
    return result;
}

/// True when a path is a folder or lies below it: compared component by component, without regard to case, with "."
/// and ".." resolved by their text. `C:\job2` is not within `C:\job`. Two relative paths are taken from the same place;
/// a relative and an absolute one have nothing in common.
/// @param path    the path in question
/// @param folder  a folder, with a trailing separator or without
/// @return whether it lies there
inline bool is_within(const OrvaPath& path, const OrvaPath& folder) {
    const details::PathParts inner = details::Split(path);
    const details::PathParts outer = details::Split(folder);
    OrvaPath innerDrive(inner.drive.c_str());
    if (inner.isRooted != outer.isRooted || innerDrive.CompareNoCase(outer.drive.c_str()) != 0) return false;
    if (inner.names.size() < outer.names.size()) return false;
    const auto rest = inner.names.begin() + static_cast<std::ptrdiff_t>(outer.names.size());
    return std::equal(outer.names.begin(), outer.names.end(), inner.names.begin(), details::EqualNoCase) &&
           (rest == inner.names.end() || *rest != L"..");
}

/// A text made fit to be a file's name: characters that no name has are replaced, so are unpaired surrogates; blanks
/// and points at the end go; a name that means a device (`con.txt`) gets a replacement in front; what is longer than
/// 255 characters is cut in front of its extension. A text that is fit already comes back as it is.
/// @param text         any text
/// @param replacement  a character that names may have
/// @return the name; never empty
inline OrvaPath safe_name(std::wstring_view text, wchar_t replacement = L'_') {
    constexpr std::size_t longest = 255;
    constexpr std::size_t longestExtension = 16;
    const auto isHigh = [](wchar_t unit) { return unit >= 0xD800 && unit <= 0xDBFF; };
    const auto isLow = [](wchar_t unit) { return unit >= 0xDC00 && unit <= 0xDFFF; };

    std::wstring name(text);
    for (std::size_t index = 0; index < name.size(); ++index) {
        const wchar_t unit = name[index];
        if (isHigh(unit) && index + 1 < name.size() && isLow(name[index + 1])) {
            ++index;
        } else if (unit < 0x20 || unit == 0x7F || isHigh(unit) || isLow(unit) ||
                   std::wstring_view(L"<>:\"/\\|?*").find(unit) != std::wstring_view::npos) {
            name[index] = replacement;
        }
    }
    const auto trim = [](std::wstring& end) {
        while (!end.empty() && (end.back() == L' ' || end.back() == L'.'))
            end.pop_back();
    };
    trim(name);

    std::wstring stem = name.substr(0, name.find(L'.'));
    while (!stem.empty() && stem.back() == L' ')
        stem.pop_back();
    static constexpr std::wstring_view devices[] = {L"CON", L"PRN", L"AUX", L"NUL", L"CONIN$", L"CONOUT$"};
    bool isDevice = std::any_of(std::begin(devices), std::end(devices), [&stem](std::wstring_view device) {
        return details::EqualNoCase(stem, std::wstring(device));
    });
    if (stem.size() == 4) {
        const std::wstring port = stem.substr(0, 3);
        const bool isPort = details::EqualNoCase(port, L"COM") || details::EqualNoCase(port, L"LPT");
        isDevice |=
            isPort && std::wstring_view(L"0123456789\u00B9\u00B2\u00B3").find(stem[3]) != std::wstring_view::npos;
    }
    if (isDevice || name.empty()) name.insert(name.begin(), replacement);

    if (name.size() > longest) {
        const std::size_t point = name.rfind(L'.');
        const bool keeps = point != std::wstring::npos && name.size() - point <= longestExtension;
        const std::wstring extension = keeps ? name.substr(point) : std::wstring();
        name.resize(longest - extension.size());
        if (isHigh(name.back())) name.pop_back();
        trim(name);
        name += extension;
    }
    return OrvaPath(name);
}

/// A path in UTF-8.
/// @param path  any path
/// @return its text; nothing when that has unpaired surrogates, which UTF-8 has no form for
inline std::optional<std::string> to_utf8(const OrvaPath& path) {
    const wchar_t* const text = path;
    const std::size_t length = std::wcslen(text);
    if (length == 0) return std::string();
    if (length > static_cast<std::size_t>((std::numeric_limits<int>::max)())) return std::nullopt;
    const auto convert = [text, length](char* to, int size) {
        return ::WideCharToMultiByte(CP_UTF8, WC_ERR_INVALID_CHARS, text, static_cast<int>(length), to, size, nullptr,
                                     nullptr);
    };
    const int size = convert(nullptr, 0);
    if (size <= 0) return std::nullopt;
    std::string result(static_cast<std::size_t>(size), '\0');
    if (convert(result.data(), size) != size) return std::nullopt;
    return result;
}

/// The path of a text in UTF-8.
/// @param text  without a terminator in it
/// @return the path; nothing for bytes that are no UTF-8 and for a text with a terminator in it
inline std::optional<OrvaPath> from_utf8(std::string_view text) {
    if (text.find('\0') != std::string_view::npos) return std::nullopt;
    if (text.empty()) return OrvaPath();
    if (text.size() > static_cast<std::size_t>((std::numeric_limits<int>::max)())) return std::nullopt;
    const auto convert = [text](wchar_t* to, int size) {
        return ::MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, text.data(), static_cast<int>(text.size()), to,
                                     size);
    };
    const int size = convert(nullptr, 0);
    if (size <= 0) return std::nullopt;
    std::wstring result(static_cast<std::size_t>(size), L'\0');
    if (convert(result.data(), size) != size) return std::nullopt;
    return OrvaPath(result);
}

/// The same path as an object of another class: `tarnu::to_path<std::filesystem::path>(path)`.
/// @param path  any path
/// @return an object made from the path's text
template <class Path>
Path to_path(const OrvaPath& path) {
    return Path(path.GetText().GetString());
}

/// The same path as an OrvaPath, from any class with native() in UTF-16, such as std::filesystem::path.
/// @param path  any path
/// @return an OrvaPath with the same text and separator "\\"
template <class Path>
requires requires(const Path& path) {
    std::wstring_view(path.native());
}
OrvaPath from_path(const Path& path) {
    return OrvaPath(std::wstring(std::wstring_view(path.native())));
}

} // namespace tarnu

#endif // TARNU_PATHS_PATHEXTRAS_H
