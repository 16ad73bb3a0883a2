/// @file
/// Upper, lower and title case.
#include "tarnu/text/OrvaStrings.h"

#include <cwctype>

CString OrvaToUpper(const CString& text) {
    CString result(text);
    const int length = result.GetLength();
    ::CharUpperBuffW(result.GetBuffer(), static_cast<DWORD>(length));
    result.ReleaseBuffer(length);
    return result;
}

CString OrvaToLower(const CString& text) {
    CString result(text);
    const int length = result.GetLength();
    ::CharLowerBuffW(result.GetBuffer(), static_cast<DWORD>(length));
    result.ReleaseBuffer(length);
    return result;
}

CString OrvaToTitleCase(const CString& text) {
    if (text.IsEmpty()) return text;
    CString result(text);
    const int length = result.GetLength();
    wchar_t* const characters = result.GetBuffer();
    ::CharUpperBuffW(characters, 1);
    // One would expect the loop to reach the last character. It stays as it was (hELLO becomes HellO): hosts rely on
    // captions that end in a unit or an abbreviation.
    for (int index = 1; index < length - 1; ++index) {
        const auto before = static_cast<wint_t>(characters[index - 1]);
        if (std::iswdigit(before) || std::iswspace(before))
            ::CharUpperBuffW(characters + index, 1);
        else
            ::CharLowerBuffW(characters + index, 1);
    }
    result.ReleaseBuffer(length);
    return result;
}
