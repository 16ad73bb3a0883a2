/// @file
/// Natural order: digit runs compare as numbers, the text between them by collation.
#include "tarnu/text/OrvaStrings.h"

#include <clocale>
#include <cstddef>
#include <cstdlib>
#include <cwchar>
#include <cwctype>

// What the runtime library exports of its current locale without declaring it: the collation, null or 0 for the "C"
// one.
#ifdef _UCRT
extern "C" __declspec(dllimport) wchar_t** __cdecl ___lc_locale_name_func();
#else
extern "C" __declspec(dllimport) LCID* __cdecl ___lc_handle_func();
#endif

namespace {

/// True when the calling thread's collation is that of the "C" locale, which goes by character codes.
bool IsCollationByCode() noexcept {
#ifdef _UCRT
    return ::___lc_locale_name_func()[LC_COLLATE] == nullptr;
#else
    return ::___lc_handle_func()[LC_COLLATE] == 0;
#endif
}

/// The collation between digit runs.
struct ByCase {
    static int Compare(const wchar_t* a, const wchar_t* b) noexcept { return std::wcscoll(a, b); }
    static int Compare(const wchar_t* a, const wchar_t* b, std::size_t count) noexcept {
        return ::_wcsncoll(a, b, count);
    }
    /// The character code by which the "C" locale compares, for the characters that IsPlain names.
    static wchar_t CodeOf(wchar_t character) noexcept { return character; }
    static bool IsPlain(wchar_t) noexcept { return true; }
};
struct ByLetter {
    static int Compare(const wchar_t* a, const wchar_t* b) noexcept { return ::_wcsicoll(a, b); }
    static int Compare(const wchar_t* a, const wchar_t* b, std::size_t count) noexcept {
        return ::_wcsnicoll(a, b, count);
    }
    static wchar_t CodeOf(wchar_t character) noexcept {
        return character >= L'A' && character <= L'Z' ? static_cast<wchar_t>(character + (L'a' - L'A')) : character;
    }
    static bool IsPlain(wchar_t character) noexcept { return character < 0x80; }
};

bool IsAsciiDigit(wchar_t character) noexcept {
    return character >= L'0' && character <= L'9';
}

/// ASCII behind the digits: letters, most of all.
bool IsBehindDigits(wchar_t character) noexcept {
    return character > L'9' && character < 0x80;
}

/// std::iswdigit, without a call for ASCII.
bool IsDigit(wchar_t character) noexcept {
    return character < 0x80 ? IsAsciiDigit(character) : std::iswdigit(static_cast<wint_t>(character)) != 0;
}

const wchar_t* FirstDigit(const wchar_t* text) noexcept {
    while (*text != 0 && !IsDigit(*text))
        ++text;
    return text;
}

/// First minus second as 32 bits, whatever the runtime makes of a run beyond them.
int Difference(int first, int second) noexcept {
    return static_cast<int>(static_cast<unsigned>(first) - static_cast<unsigned>(second));
}

/// Reads a run of digits as ::_wtoi does and moves behind it.
/// @return false when the run is one for the runtime library: its number may not fit, or characters beyond ASCII may
///         belong to it
bool ReadShortNumber(const wchar_t*& text, int& number) noexcept {
    const wchar_t* cursor = text;
    unsigned value = 0;
    for (; IsAsciiDigit(*cursor); ++cursor)
        value = value * 10 + static_cast<unsigned>(*cursor - L'0');
    number = static_cast<int>(value);
    const std::ptrdiff_t length = cursor - text;
    text = cursor;
    return length <= 9 && *cursor < 0x80;
}

int ReadNumber(const wchar_t*& text) noexcept {
    const wchar_t* const start = text;
    if (int number = 0; ReadShortNumber(text, number)) return number;
    while (IsDigit(*text))
        ++text;
    return ::_wtoi(start);
}

/// The whole comparison, from the beginning of two pieces that are equal up to @p digitsA and @p digitsB.
template <class Collation>
int ComparePieces(const wchar_t* a, const wchar_t* b, const wchar_t* digitsA, const wchar_t* digitsB) noexcept {
    const bool isByCode = IsCollationByCode();
    for (;;) {
        for (;; ++digitsA, ++digitsB) {
            if (*digitsA == *digitsB) {
                if (IsDigit(*digitsA)) break;
                if (*digitsA == 0) return 0;
                continue;
            }
            if (IsDigit(*digitsA) && IsDigit(*digitsB)) break;
            if (isByCode && Collation::IsPlain(*digitsA) && Collation::IsPlain(*digitsB)) {
                const int order = Collation::CodeOf(*digitsA) - Collation::CodeOf(*digitsB);
                if (order != 0) return order;
                continue;
            }
            digitsA = FirstDigit(digitsA);
            digitsB = FirstDigit(digitsB);
            if (*digitsA == 0 || *digitsB == 0 || digitsA - a != digitsB - b) return Collation::Compare(a, b);
            const int order = Collation::Compare(a, b, static_cast<std::size_t>(digitsA - a));
            if (order != 0) return order;
            break;
        }
        const int numberA = ReadNumber(digitsA);
        const int numberB = ReadNumber(digitsB);
        if (numberA != numberB) return Difference(numberA, numberB);
        if (*digitsA == 0 || *digitsB == 0) return (*digitsA != 0 ? 1 : 0) - (*digitsB != 0 ? 1 : 0);
        a = digitsA;
        b = digitsB;
    }
}

/// Texts that are equal are so under every collation, so names that are equal up to a number are compared right here,
/// without a call. The runtime library is asked where they differ before one, and then, in the "C" locale, only for the
/// locale.
template <class Collation>
int NaturalCompare(const wchar_t* a, const wchar_t* b) noexcept {
    if (a == nullptr) a = L"";
    if (b == nullptr) b = L"";
    const wchar_t* cursorA = a;
    const wchar_t* cursorB = b;
    for (;;) {
        while (*cursorA == *cursorB && IsBehindDigits(*cursorA)) { // most characters of most texts
            ++cursorA;
            ++cursorB;
        }
        if (IsAsciiDigit(*cursorA) && IsAsciiDigit(*cursorB)) {
            const wchar_t* const digitsA = cursorA;
            const wchar_t* const digitsB = cursorB;
            int numberA = 0, numberB = 0;
            if (!ReadShortNumber(cursorA, numberA) || !ReadShortNumber(cursorB, numberB)) {
                return ComparePieces<Collation>(a, b, digitsA, digitsB);
            }
            if (numberA != numberB) return numberA - numberB;
            if (*cursorA == 0 || *cursorB == 0) return (*cursorA != 0 ? 1 : 0) - (*cursorB != 0 ? 1 : 0);
            a = cursorA;
            b = cursorB;
            continue;
        }
        if (*cursorA != *cursorB || *cursorA >= 0x80) {
            // The common end, without the call of what knows all cases.
            const int order = Collation::CodeOf(*cursorA) - Collation::CodeOf(*cursorB);
            if (order != 0 && *cursorA < 0x80 && *cursorB < 0x80 && IsCollationByCode()) return order;
            return ComparePieces<Collation>(a, b, cursorA, cursorB);
        }
        if (*cursorA == 0) return 0;
        ++cursorA;
        ++cursorB;
    }
}

} // namespace

int OrvaNaturalCompare(const wchar_t* a, const wchar_t* b) {
    return NaturalCompare<ByCase>(a, b);
}

int OrvaNaturalCompareNoCase(const wchar_t* a, const wchar_t* b) {
    return NaturalCompare<ByLetter>(a, b);
}
