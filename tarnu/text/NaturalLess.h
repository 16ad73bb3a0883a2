/// @file
/// tarnu::natural_less: names in the order in which people sort them, as a strict total order.
#ifndef TARNU_TEXT_NATURALLESS_H
#define TARNU_TEXT_NATURALLESS_H

#include "tarnu/framework/framework.h"

#include <algorithm>
#include <compare>
#include <concepts>
#include <string_view>

namespace tarnu {

/// Any text as a view: a CString at its full length, a path or a terminated text up to its end; null is empty.
/// @param text  must outlive the view
/// @return the view
template <class Text>
std::wstring_view text_view(const Text& text) noexcept {
    if constexpr (std::same_as<Text, CString>) {
        return {text.GetString(), static_cast<std::size_t>(text.GetLength())};
    } else if constexpr (requires { text.GetText(); }) {
        return text.GetText().GetString();
    } else if constexpr (std::convertible_to<const Text&, const wchar_t*>) {
        const wchar_t* const terminated = text;
        return terminated != nullptr ? std::wstring_view(terminated) : std::wstring_view();
    } else {
        return text;
    }
}

/// Compares two texts with their runs of the digits 0 to 9 taken as numbers of any length, the rest without regard to
/// case. Texts that are equal so far are ordered by their code units, so that only identical texts are equal: `a1`,
/// `A1`, `a01` are three names. No locale, no allocation, any thread.
///
/// OrvaNaturalCompareNoCase, in contrast, follows the runtime's collation, takes numbers of up to 32 bits, and gives
/// texts as equal that are not; it is no order for a map.
/// @param left,right  any texts
/// @return less, equal or greater
inline std::strong_ordering natural_compare(std::wstring_view left, std::wstring_view right) noexcept {
    const auto isDigit = [](wchar_t unit) { return unit >= L'0' && unit <= L'9'; };
    const auto fold = [](wchar_t unit) -> wchar_t {
        if (unit < 0x80) return unit >= L'a' && unit <= L'z' ? static_cast<wchar_t>(unit - L'a' + L'A') : unit;
        return static_cast<wchar_t>(
            reinterpret_cast<ULONG_PTR>(::CharUpperW(reinterpret_cast<wchar_t*>(static_cast<ULONG_PTR>(unit)))));
    };
    /// The number at a position without its leading zeros; the position moves behind it.
    const auto number = [&isDigit](std::wstring_view text, std::size_t& position) {
        std::size_t first = position;
        while (position < text.size() && isDigit(text[position]))
            ++position;
        while (first < position && text[first] == L'0')
            ++first;
        return text.substr(first, position - first);
    };
    std::size_t l = 0;
    std::size_t r = 0;
    while (l < left.size() && r < right.size()) {
        if (isDigit(left[l]) && isDigit(right[r])) {
            const std::wstring_view a = number(left, l);
            const std::wstring_view b = number(right, r);
            if (a.size() != b.size()) return a.size() <=> b.size();
            if (const int order = a.compare(b); order != 0) return order <=> 0;
        } else {
            const wchar_t a = fold(left[l++]);
            const wchar_t b = fold(right[r++]);
            if (a != b) return a <=> b;
        }
    }
    if (l < left.size() || r < right.size()) return (left.size() - l) <=> (right.size() - r);
    return left.compare(right) <=> 0;
}

/// natural_compare as an order for sorting and for keys of maps and sets. Takes CString, std::wstring, OrvaPath and
/// plain texts, also two of different kinds. Threads: any.
///
///     std::set<std::wstring, tarnu::natural_less> names{L"sheet 10", L"sheet 9"}; // 9 comes first
struct natural_less {
    using is_transparent = void; ///< keys are found by any text

    /// @param left,right  any texts
    /// @return whether @p left stands before @p right
    template <class Left, class Right>
    bool operator()(const Left& left, const Right& right) const noexcept {
        return natural_compare(text_view(left), text_view(right)) < 0;
    }
};

} // namespace tarnu

#endif // TARNU_TEXT_NATURALLESS_H
