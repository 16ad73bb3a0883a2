/// @file
/// Texts of the string tests: readable in failures, random ones for properties.
#ifndef TARNU_TESTS_TEXT_TEXTS_H
#define TARNU_TESTS_TEXT_TEXTS_H

#include "tarnu/framework/framework.h"

#include <random>
#include <string>
#include <string_view>

namespace tarnu::test {

/// A CString as a type whose value GoogleTest prints; embedded NUL characters included.
inline std::wstring Wide(const CString& text) {
    return std::wstring(text.GetString(), static_cast<std::size_t>(text.GetLength()));
}

inline CString ToCString(std::wstring_view text) {
    return CString(text.data(), static_cast<int>(text.size()));
}

/// Texts over a small alphabet, the same in every run.
class RandomTexts {
public:
    explicit RandomTexts(unsigned seed) : m_engine(seed) {}

    std::size_t Number(std::size_t lowest, std::size_t highest) {
        return std::uniform_int_distribution<std::size_t>(lowest, highest)(m_engine);
    }
    std::wstring Text(std::wstring_view alphabet, std::size_t shortest, std::size_t longest) {
        std::wstring text(Number(shortest, longest), L' ');
        for (wchar_t& character : text)
            character = alphabet[Number(0, alphabet.size() - 1)];
        return text;
    }

private:
    std::mt19937 m_engine;
};

} // namespace tarnu::test

#endif // TARNU_TESTS_TEXT_TEXTS_H
