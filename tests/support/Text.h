/// @file
/// Texts in tests.
#ifndef TARNU_TESTS_SUPPORT_TEXT_H
#define TARNU_TESTS_SUPPORT_TEXT_H

#include <string>

namespace tarnu::test {

/// The narrow form of an ASCII text, as the names in tests are.
inline std::string Narrow(const std::wstring& text) {
    return std::string(text.begin(), text.end());
}

/// A text in quotes, as one argument of a command line.
inline std::wstring Quoted(const std::wstring& text) {
    return L'"' + text + L'"';
}

} // namespace tarnu::test

#endif // TARNU_TESTS_SUPPORT_TEXT_H
