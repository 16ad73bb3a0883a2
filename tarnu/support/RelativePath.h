/// @file
/// The system's relative paths, with room for what its function reads and writes beyond the texts.
#ifndef TARNU_SUPPORT_RELATIVEPATH_H
#define TARNU_SUPPORT_RELATIVEPATH_H

#include "tarnu/framework/framework.h"

#include <cwchar>
#include <shlwapi.h>

namespace tarnu::support {

/// Receives the answer: beyond the 260 characters that the function promises it may write one "..\" for each of up to
/// 130 directories, and then the target, before it finds that too long.
using RelativePathBuffer = wchar_t[4 * MAX_PATH];

/// PathRelativePathToW.
/// @param directory   where to start; null or longer than 259 characters fails, as it does for @p target
/// @param attributes  FILE_ATTRIBUTE_DIRECTORY when the target is one
/// @return false when there is no relative path; @p answer is empty then
inline bool FindRelativePath(RelativePathBuffer& answer, const wchar_t* directory, const wchar_t* target,
                             DWORD attributes) noexcept {
    answer[0] = L'\0';
    // The function cuts longer texts off without a word. A directory of two characters it takes for three, as "C:" for
    // "C:\\", and reads on behind its end.
    wchar_t from[MAX_PATH + 1] = {};
    wchar_t to[MAX_PATH + 1] = {};
    const auto copy = [](wchar_t* text, const wchar_t* original) {
        const std::size_t length = original == nullptr ? MAX_PATH : ::wcsnlen(original, MAX_PATH);
        if (length >= MAX_PATH) return false;
        std::wmemcpy(text, original, length);
        if (length == 2 && text[1] == L':') text[2] = L'\\';
        return true;
    };
    if (!copy(from, directory) || !copy(to, target) || std::wcscmp(from, L"\\\\") == 0) return false;
    if (::PathRelativePathToW(answer, from, FILE_ATTRIBUTE_DIRECTORY, to, attributes)) return true;
    answer[0] = L'\0';
    return false;
}

} // namespace tarnu::support

#endif // TARNU_SUPPORT_RELATIVEPATH_H
