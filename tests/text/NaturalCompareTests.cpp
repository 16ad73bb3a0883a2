#include "tarnu/text/OrvaStrings.h"

#include "text/Texts.h"

#include <algorithm>
#include <clocale>
#include <cwctype>
#include <gtest/gtest.h>
#include <vector>

using namespace tarnu::test;

namespace {

int Sign(int value) {
    return (value > 0) - (value < 0);
}

/// The documented order, piece by piece through the runtime library: what every short cut must agree with.
int SignByPieces(const wchar_t* a, const wchar_t* b, bool caseCounts) {
    const auto firstDigit = [](const wchar_t* text) {
        while (*text != 0 && !std::iswdigit(*text))
            ++text;
        return text;
    };
    for (;;) {
        const wchar_t* digitsA = firstDigit(a);
        const wchar_t* digitsB = firstDigit(b);
        if (*digitsA == 0 || *digitsB == 0 || digitsA - a != digitsB - b) {
            return Sign(caseCounts ? std::wcscoll(a, b) : ::_wcsicoll(a, b));
        }
        const auto length = static_cast<std::size_t>(digitsA - a);
        const int order = length == 0 ? 0 : caseCounts ? ::_wcsncoll(a, b, length) : ::_wcsnicoll(a, b, length);
        if (order != 0) return Sign(order);
        const auto difference = static_cast<unsigned>(::_wtoi(digitsA)) - static_cast<unsigned>(::_wtoi(digitsB));
        if (difference != 0) return Sign(static_cast<int>(difference));
        for (a = digitsA; std::iswdigit(*a);)
            ++a;
        for (b = digitsB; std::iswdigit(*b);)
            ++b;
        if (*a == 0 || *b == 0) return (*a != 0 ? 1 : 0) - (*b != 0 ? 1 : 0);
    }
}

/// Switches the runtime library's collation for a scope.
class Collation {
public:
    explicit Collation(const char* name) : m_old(std::setlocale(LC_COLLATE, nullptr)) {
        m_set = std::setlocale(LC_COLLATE, name) != nullptr;
    }
    ~Collation() { std::setlocale(LC_COLLATE, m_old.c_str()); }
    Collation(const Collation&) = delete;
    Collation& operator=(const Collation&) = delete;
    bool IsSet() const { return m_set; }

private:
    std::string m_old;
    bool m_set;
};

} // namespace

TEST(OrvaNaturalCompare, NumbersCompareByValue) {
    const struct {
        const wchar_t* a;
        const wchar_t* b;
        int sign;
    } cases[] = {
        {L"file2", L"file10", -1},
        {L"a01", L"a1", 0},
        {L"a1", L"a1b", -1},
        {L"a1b2", L"a1b10", -1},
        {L"a1b", L"a1c", -1},
        {L"1.2.10", L"1.2.9", 1},
        {L"1.10", L"1.9.1", 1},
        {L"10", L"9", 1},
        {L"007", L"7", 0},
        {L"7 ", L"7", 1},
        {L"0", L"00000", 0},
        {L"", L"", 0},
        {L"", L"a", -1},
        {L"", L"1", -1},
        {L"abc", L"abd", -1},
        {L"abc", L"ab1", 1},
        {L"a1b01c", L"a01b1d", -1},
        {L"v1-2", L"v1-10", -1},
    };
    for (const auto& test : cases) {
        for (const auto compare : {&OrvaNaturalCompare, &OrvaNaturalCompareNoCase}) {
            EXPECT_EQ(test.sign, Sign(compare(test.a, test.b))) << test.a << " " << test.b;
            EXPECT_EQ(-test.sign, Sign(compare(test.b, test.a))) << test.b << " " << test.a;
        }
    }
}

TEST(OrvaNaturalCompare, ResultIsTheDifferenceOfTheNumbers) {
    EXPECT_EQ(1, OrvaNaturalCompare(L"file10", L"file9"));
    EXPECT_EQ(-1998, OrvaNaturalCompare(L"x2", L"x2000"));
    EXPECT_EQ(0, OrvaNaturalCompare(L"a1", L"a1"));
    EXPECT_EQ(-1, OrvaNaturalCompare(L"a1", L"a1b"));
    EXPECT_EQ(1, OrvaNaturalCompare(L"a1b", L"a1"));
    EXPECT_EQ(2147483647, OrvaNaturalCompare(L"2147483647", L"0"));
}

// Where the text in front of the numbers differs in length, or one side has no number, the rest is compared as text.
TEST(OrvaNaturalCompare, FallsBackToCollationOfTheRest) {
    const Collation collation("C");
    EXPECT_GT(0, OrvaNaturalCompare(L"ab1", L"b1"));
    EXPECT_LT(0, OrvaNaturalCompare(L"x9", L"x-10")) << "text, so 9 stands behind the hyphen";
    EXPECT_LT(0, OrvaNaturalCompare(L"a1x9", L"a1x-10")) << "the same behind equal numbers";
    EXPECT_GT(0, OrvaNaturalCompare(L"ax10", L"bx9")) << "prefixes of one length decide before the numbers";
    EXPECT_LT(0, OrvaNaturalCompare(L"a9", L"a")) << "one without a number";
}

TEST(OrvaNaturalCompare, CaseCountsInOneOfTheTwo) {
    const Collation collation("C");
    EXPECT_NE(0, OrvaNaturalCompare(L"FILE2", L"file2"));
    EXPECT_EQ(0, OrvaNaturalCompareNoCase(L"FILE2", L"file02"));
    EXPECT_LT(0, OrvaNaturalCompareNoCase(L"FILE10", L"file9"));
    EXPECT_LT(0, OrvaNaturalCompareNoCase(L"a1B", L"A1a"));
    EXPECT_GT(0, OrvaNaturalCompare(L"B", L"a"));
    EXPECT_LT(0, OrvaNaturalCompareNoCase(L"B", L"a"));
}

TEST(OrvaNaturalCompare, FollowsTheCurrentLocale) {
    {
        const Collation collation("C");
        EXPECT_LT(0, OrvaNaturalCompare(L"a", L"B"));
        EXPECT_LT(0, OrvaNaturalCompare(L"a1", L"B1"));
    }
    const Collation collation("English");
    if (!collation.IsSet()) GTEST_SKIP() << "no English collation on this machine";
    EXPECT_GT(0, OrvaNaturalCompare(L"a", L"B"));
    EXPECT_GT(0, OrvaNaturalCompare(L"a1", L"B1"));
}

TEST(OrvaNaturalCompare, DigitsOfOtherScripts) {
    // Whatever the runtime takes for a digit ends the prefix; its number is what _wtoi makes of it.
    EXPECT_EQ(_wtoi(L"\u0661") - 2, OrvaNaturalCompare(L"a\u0661", L"a2"));
    EXPECT_EQ(_wtoi(L"\u00B2") - 1, OrvaNaturalCompare(L"a\u00B2", L"a1"));
}

TEST(OrvaNaturalCompare, NumbersBeyond32Bits) {
    const std::wstring nines(100, L'9');
    const std::wstring eights(100, L'8');
    const auto difference =
        static_cast<int>(static_cast<unsigned>(_wtoi(nines.c_str())) - static_cast<unsigned>(_wtoi(eights.c_str())));
    EXPECT_EQ(Sign(difference), Sign(OrvaNaturalCompare(nines.c_str(), eights.c_str())));
    EXPECT_EQ(0, OrvaNaturalCompare(nines.c_str(), nines.c_str()));
}

TEST(OrvaNaturalCompare, NullIsTheEmptyText) {
    EXPECT_EQ(0, OrvaNaturalCompare(nullptr, nullptr));
    EXPECT_EQ(0, OrvaNaturalCompareNoCase(nullptr, L""));
    EXPECT_GT(0, OrvaNaturalCompare(nullptr, L"1"));
    EXPECT_LT(0, OrvaNaturalCompare(L"a", nullptr));
}

TEST(OrvaNaturalCompare, OppositeSignsWhenSwapped) {
    RandomTexts random(13);
    for (int round = 0; round < 20000; ++round) {
        const std::wstring a = random.Text(L"aB01", 0, 6);
        const std::wstring b = random.Text(L"aB01", 0, 6);
        ASSERT_EQ(Sign(OrvaNaturalCompare(a.c_str(), b.c_str())), -Sign(OrvaNaturalCompare(b.c_str(), a.c_str())))
            << a << " " << b;
        ASSERT_EQ(0, OrvaNaturalCompareNoCase(a.c_str(), Wide(OrvaToLower(ToCString(a))).c_str())) << a;
    }
}

TEST(OrvaNaturalCompare, ShortCutsAgreeWithTheRuntimeLibraryInEveryLocale) {
    const std::wstring alphabets[] = {
        L"aB01",                                 // ASCII alone
        L"aAzZ_-. 019",                          // characters between and around the letters
        L"iI\u0130\u0131\u00C4\u00E4\u00DFs1",   // letters whose case depends on the language
        L"a1\u00B2\u0661\uFF11\u0967",           // digits of other scripts
        L"\u0301\u00E9e\u4E00\uFFFD\U0001D49C1", // combining marks, surrogates
    };
    for (const char* const locale : {"C", "English", "Turkish", "Swedish", "Hungarian"}) {
        const Collation collation(locale);
        if (!collation.IsSet()) continue;
        RandomTexts random(17);
        for (int round = 0; round < 20000; ++round) {
            const std::wstring& alphabet = alphabets[random.Number(0, std::size(alphabets) - 1)];
            // A common beginning, or most pairs would differ in their first character.
            const std::wstring beginning = random.Text(alphabet, 0, 5);
            const std::wstring a = beginning + random.Text(alphabet, 0, 6);
            const std::wstring b = beginning + random.Text(alphabet, 0, 6);
            ASSERT_EQ(SignByPieces(a.c_str(), b.c_str(), true), Sign(OrvaNaturalCompare(a.c_str(), b.c_str())))
                << locale << ": " << a << " " << b;
            ASSERT_EQ(SignByPieces(a.c_str(), b.c_str(), false), Sign(OrvaNaturalCompareNoCase(a.c_str(), b.c_str())))
                << locale << ": " << a << " " << b;
        }
        for (std::size_t length = 7; length < 14; ++length) { // around the digits that 32 bits hold
            const std::wstring a = L"x" + random.Text(L"0123456789", length, length);
            const std::wstring b = L"x" + random.Text(L"0123456789", length, length) + L"y";
            ASSERT_EQ(SignByPieces(a.c_str(), b.c_str(), true), Sign(OrvaNaturalCompare(a.c_str(), b.c_str())))
                << locale << ": " << a << " " << b;
        }
    }
}

TEST(OrvaNaturalCompare, SortsNames) {
    const std::vector<std::wstring> sorted = {L"sheet 1.dwg",      L"sheet 2 (1).dwg", L"sheet 2 (2).dwg",
                                              L"sheet 2 (11).dwg", L"sheet 10.dwg",    L"sheet 100.dwg",
                                              L"sheet 0200.dwg"};
    std::vector<std::wstring> names(sorted.rbegin(), sorted.rend());
    std::sort(names.begin(), names.end(), [](const std::wstring& a, const std::wstring& b) {
        return OrvaNaturalCompare(a.c_str(), b.c_str()) < 0;
    });
    EXPECT_EQ(sorted, names);
}
