/// @file
/// Numbers in the form that XML Schema gives them: independent of every locale, exact to the last bit.
#ifndef TARNU_XML_XMLNUMBERS_H
#define TARNU_XML_XMLNUMBERS_H

#include "tarnu/framework/framework.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cwchar>
#include <limits>
#include <string>
#include <system_error>

namespace tarnu {

/// The shortest text that reads back as exactly the same double.
/// @param value  any double
/// @return the text: "1.5", "-0", "1e+22", "INF", "-INF", "NaN"
inline CString FormatXmlDouble(double value) {
    if (std::isnan(value)) return L"NaN";
    if (std::isinf(value)) return value > 0 ? L"INF" : L"-INF";
    char text[32];
    const std::to_chars_result result = std::to_chars(text, text + sizeof(text), value);
    return CString(text, static_cast<int>(result.ptr - text));
}

/// Reads the XML Schema form of a double: an optional sign, digits with or without a decimal point, an optional
/// exponent, or "INF", "+INF", "-INF" and "NaN". White space around it is allowed.
/// @param text   null counts as empty
/// @param value  receives the nearest double; untouched on failure
/// @return false for anything else and for a magnitude that no double has
inline bool ParseXmlDouble(const wchar_t* text, double& value) {
    if (text == nullptr) return false;
    constexpr const wchar_t* blanks = L" \t\r\n";
    const wchar_t* first = text + std::wcsspn(text, blanks);
    const wchar_t* last = first + std::wcslen(first);
    while (last != first && std::wcschr(blanks, last[-1]) != nullptr)
        --last;

    const std::wstring_view body(first, static_cast<std::size_t>(last - first));
    constexpr double infinity = std::numeric_limits<double>::infinity();
    if (body == L"INF" || body == L"+INF" || body == L"-INF") {
        value = body[0] == L'-' ? -infinity : infinity;
        return true;
    }
    if (body == L"NaN") {
        value = std::numeric_limits<double>::quiet_NaN();
        return true;
    }
    // The conversion knows further names of infinity; only these characters stand in a number.
    constexpr std::wstring_view allowed = L"0123456789+-.eE";
    if (body.find_first_not_of(allowed) != std::wstring_view::npos) return false;
    std::string narrow(body.size(), '\0');
    std::transform(body.begin(), body.end(), narrow.begin(), [](wchar_t unit) { return static_cast<char>(unit); });
    const char* start = narrow.data();
    const char* const end = start + narrow.size();
    if (start != end && *start == '+') {
        ++start;
        if (start != end && *start == '-') return false;
    }
    double number = 0;
    const std::from_chars_result result = std::from_chars(start, end, number);
    if (result.ec != std::errc() || result.ptr != end) return false;
    value = number;
    return true;
}

} // namespace tarnu

#endif // TARNU_XML_XMLNUMBERS_H
