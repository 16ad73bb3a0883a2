/// @file
/// tarnu::Tokens: the tokens of a text for range-for.
#ifndef TARNU_TEXT_TOKENS_H
#define TARNU_TEXT_TOKENS_H

#include "tarnu/framework/framework.h"
#include "tarnu/text/OrvaStrings.h"

#include <cstddef>
#include <iterator>

namespace tarnu {

/// The tokens of a terminated text, as OrvaNextToken finds them: what stands between runs of delimiters, never empty.
/// Text and delimiters are borrowed and must outlive the range; each begin() starts anew. Threads: one at a time.
///
///     for (const CString& token : tarnu::Tokens(L"line  0,0", L" ,")) Use(token); // line, 0, 0
class Tokens {
public:
    /// Stands on a token.
    class Iterator {
    public:
        /// @{
        /// What the standard asks of an input iterator.
        using iterator_concept = std::input_iterator_tag;
        using value_type = CString;
        using difference_type = std::ptrdiff_t;
        /// @}

        /// Stands on the first token.
        /// @param cursor      where the text goes on; borrowed, null has no tokens
        /// @param delimiters  borrowed
        Iterator(const wchar_t* cursor, const wchar_t* delimiters) : m_cursor(cursor), m_delimiters(delimiters) {
            ++*this;
        }
        /// @return the token, until the iterator moves; empty at the end
        const CString& operator*() const noexcept { return m_token; }
        /// @return the token, until the iterator moves; empty at the end
        const CString* operator->() const noexcept { return &m_token; }
        /// Goes on to the next token. @return this iterator
        Iterator& operator++() {
            m_isFound = OrvaNextToken(m_cursor, m_delimiters, m_token);
            return *this;
        }
        /// Goes on to the next token.
        void operator++(int) { ++*this; }
        /// @return whether the text has no more tokens
        bool operator==(std::default_sentinel_t) const noexcept { return !m_isFound; }

    private:
        const wchar_t* m_cursor;
        const wchar_t* m_delimiters;
        CString m_token;
        bool m_isFound = false;
    };

    /// @param text        null has no tokens
    /// @param delimiters  the set of characters that stand between tokens; null or empty takes the whole text
    Tokens(const wchar_t* text, const wchar_t* delimiters) noexcept : m_text(text), m_delimiters(delimiters) {}

    /// @return an iterator on the first token
    Iterator begin() const { return {m_text, m_delimiters}; }
    /// @return what an iterator equals once there are no more tokens
    std::default_sentinel_t end() const noexcept { return {}; }

private:
    const wchar_t* m_text;
    const wchar_t* m_delimiters;
};

} // namespace tarnu

#endif // TARNU_TEXT_TOKENS_H
