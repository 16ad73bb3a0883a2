/// @file
/// Private: texts as views, and the search for all occurrences of a pattern in linear time.
#ifndef TARNU_TEXT_TEXTSEARCHINTERNAL_H
#define TARNU_TEXT_TEXTSEARCHINTERNAL_H

#include "tarnu/framework/framework.h"

#include <climits>
#include <cstddef>
#include <cwctype>
#include <new>
#include <string_view>
#include <vector>

namespace tarnu::support {

/// The whole text, embedded NUL characters included. The view borrows the string's buffer.
inline std::wstring_view ViewOf(const CString& text) noexcept {
    return {text.GetString(), static_cast<std::size_t>(text.GetLength())};
}

/// Throws when the length is more than a CString holds.
inline int LengthOf(std::wstring_view text) {
    if (text.size() > INT_MAX) throw std::bad_alloc();
    return static_cast<int>(text.size());
}

inline CString ToString(std::wstring_view text) {
    return CString(text.data(), LengthOf(text));
}

inline void AppendTo(CString& target, std::wstring_view text) {
    target.Append(text.data(), LengthOf(text));
}

/// The text without the white space at both ends.
inline std::wstring_view Trimmed(std::wstring_view text) noexcept {
    const auto isSpace = [](wchar_t character) { return std::iswspace(static_cast<wint_t>(character)) != 0; };
    while (!text.empty() && isSpace(text.front()))
        text.remove_prefix(1);
    while (!text.empty() && isSpace(text.back()))
        text.remove_suffix(1);
    return text;
}

/// Walks over the occurrences of a pattern in a text, overlapping ones included, in time linear in both lengths
/// together (the border method of Knuth, Morris and Pratt). Borrows both texts; the pattern must not be empty.
class OccurrenceScanner {
public:
    static constexpr std::size_t None = std::wstring_view::npos;

    OccurrenceScanner(std::wstring_view pattern, std::wstring_view text)
        : m_pattern(pattern), m_text(text), m_borders(pattern.size(), 0) {
        for (std::size_t end = 1, border = 0; end < pattern.size(); ++end) {
            while (border > 0 && pattern[border] != pattern[end])
                border = m_borders[border - 1];
            if (pattern[border] == pattern[end]) ++border;
            m_borders[end] = border;
        }
        Advance();
    }

    /// The first occurrence that begins at or behind @p start, or None. From call to call @p start never decreases.
    std::size_t FindFrom(std::size_t start) noexcept {
        while (m_found < start)
            Advance();
        return m_found;
    }

private:
    void Advance() noexcept {
        while (m_next < m_text.size()) {
            if (m_matched == 0) {
                m_next = m_text.find(m_pattern.front(), m_next);
                if (m_next == None) break;
            }
            const wchar_t character = m_text[m_next++];
            while (m_matched > 0 && m_pattern[m_matched] != character)
                m_matched = m_borders[m_matched - 1];
            if (m_pattern[m_matched] == character) ++m_matched;
            if (m_matched == m_pattern.size()) {
                m_matched = m_borders[m_matched - 1];
                m_found = m_next - m_pattern.size();
                return;
            }
        }
        m_next = m_text.size();
        m_found = None;
    }

    std::wstring_view m_pattern;
    std::wstring_view m_text;
    std::vector<std::size_t> m_borders; ///< of each prefix of the pattern: the longest proper prefix that ends it too
    std::size_t m_matched = 0;          ///< characters of the pattern that end at m_next
    std::size_t m_next = 0;
    std::size_t m_found = None;
};

} // namespace tarnu::support

#endif // TARNU_TEXT_TEXTSEARCHINTERNAL_H
