/// @file
/// Natural order: digit runs compare as numbers, the text between them by collation.
#include "tarnu/text/OrvaStrings.h"

#include <cstddef>
#include <cstdlib>
#include <cwchar>
#include <cwctype>

namespace {

/// The collation between digit runs.
struct ByCase {
    static int Compare(const wchar_t* a, const wchar_t* b) noexcept { return std::wcscoll(a, b); }
    static int Compare(const wchar_t* a, const wchar_t* b, std::size_t count) noexcept {
        return ::_wcsncoll(a, b, count);
    }
};
struct ByLetter {
    static int Compare(const wchar_t* a, const wchar_t* b) noexcept { return ::_wcsicoll(a, b); }
    static int Compare(const wchar_t* a, const wchar_t* b, std::size_t count) noexcept {
        return ::_wcsnicoll(a, b, count);
    }
};

bool IsDigit(wchar_t character) noexcept {
    return std::iswdigit(static_cast<wint_t>(character)) != 0;
}

const wchar_t* FirstDigit(const wchar_t* text) noexcept {
    while (*text != 0 && !IsDigit(*text))
        ++text;
    return text;
}

const wchar_t* BehindDigits(const wchar_t* text) noexcept {
    while (IsDigit(*text))
        ++text;
    return text;
}

/// First minus second as 32 bits, whatever the runtime makes of a run beyond them.
int Difference(int first, int second) noexcept {
    return static_cast<int>(static_cast<unsigned>(first) - static_cast<unsigned>(second));
}

template <class Collation>
int NaturalCompare(const wchar_t* a, const wchar_t* b) noexcept {
    if (a == nullptr) a = L"";
    if (b == nullptr) b = L"";
    for (;;) {
        const wchar_t* digitsA = FirstDigit(a);
        const wchar_t* digitsB = FirstDigit(b);
        if (*digitsA == 0 || *digitsB == 0 || digitsA - a != digitsB - b) return Collation::Compare(a, b);
        if (const auto prefix = static_cast<std::size_t>(digitsA - a); prefix > 0) {
            if (const int order = Collation::Compare(a, b, prefix); order != 0) return order;
        }
        if (const int order = Difference(::_wtoi(digitsA), ::_wtoi(digitsB)); order != 0) return order;
        a = BehindDigits(digitsA);
        b = BehindDigits(digitsB);
        if (*a == 0 || *b == 0) return (*a != 0 ? 1 : 0) - (*b != 0 ? 1 : 0);
    }
}

} // namespace

int OrvaNaturalCompare(const wchar_t* a, const wchar_t* b) {
    return NaturalCompare<ByCase>(a, b);
}

int OrvaNaturalCompareNoCase(const wchar_t* a, const wchar_t* b) {
    return NaturalCompare<ByLetter>(a, b);
}
