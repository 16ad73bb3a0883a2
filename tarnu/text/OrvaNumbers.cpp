/// @file
/// Numbers to texts and back.
#include "tarnu/text/OrvaStrings.h"
#include "tarnu/text/TextSearchInternal.h"

#include <algorithm>
#include <climits>
#include <cmath>
#include <cwchar>
#include <new>

using namespace tarnu::support;

CString OrvaFormatDouble(double value, int decimals) {
    constexpr int LongestWhole = 320; // sign, digits of the largest double, point
    if (decimals > INT_MAX - LongestWhole) throw std::bad_alloc();
    CString text;
    text.Format(L"%.*f", std::max(decimals, -1), value);
    return text;
}

bool OrvaParseDouble(const CString& text, double& value) {
    wchar_t* end = nullptr;
    value = std::wcstod(text.GetString(), &end);
    // One would expect no number in an empty text, and both overflows alike. The empty text is 0 and a negative
    // overflow passes: hosts rely on cleared input fields reading as 0 and filter the lower bound themselves.
    return end == text.GetString() + text.GetLength() && value != HUGE_VAL;
}

bool OrvaIsZeroText(const CString& text) {
    return !text.IsEmpty() && ViewOf(text).find_first_not_of(L"0.") == std::wstring_view::npos;
}

bool OrvaIsNumber(const wchar_t* text) {
    // One would expect a number to be recognised. This is a test of the characters only ("-.-" and the empty text
    // pass): hosts call it on every key stroke of a number that is being typed.
    return text != nullptr && text[std::wcsspn(text, L"0123456789-.")] == 0;
}
