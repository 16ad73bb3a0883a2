#include "tarnu/text/OrvaStrings.h"

#include "text/Texts.h"

#include <gtest/gtest.h>

using namespace tarnu::test;
using namespace std::string_literals;

TEST(OrvaToUpper, WholeText) {
    EXPECT_EQ(L"", Wide(OrvaToUpper(L"")));
    EXPECT_EQ(L"ABC 1\u00C4\u00DF\u0416", Wide(OrvaToUpper(L"aBc 1\u00E4\u00DF\u0436")));
    EXPECT_EQ(L"A\0B"s, Wide(OrvaToUpper(ToCString(L"a\0b"s)))) << "beyond an embedded NUL";
}

TEST(OrvaToLower, WholeText) {
    EXPECT_EQ(L"", Wide(OrvaToLower(L"")));
    EXPECT_EQ(L"abc 1\u00E4\u00DF\u0436", Wide(OrvaToLower(L"aBc 1\u00C4\u00DF\u0416")));
    EXPECT_EQ(L"a\0b"s, Wide(OrvaToLower(ToCString(L"A\0B"s))));
}

TEST(OrvaToUpper, LeavesTheArgumentAlone) {
    const CString text(L"shared");
    const CString copy(text);
    OrvaToUpper(text);
    OrvaToTitleCase(copy);
    EXPECT_EQ(L"shared", Wide(text));
    EXPECT_EQ(L"shared", Wide(copy));
}

TEST(OrvaToTitleCase, CapitalsBehindSpacesAndDigits) {
    const struct {
        std::wstring text, title;
    } cases[] = {
        {L"", L""},
        {L"a", L"A"},
        {L"ab", L"Ab"},
        {L"aB", L"AB"}, // the last character stays
        {L"abc def", L"Abc Def"},
        {L"ABC DEF", L"Abc DeF"},
        {L"hELLO", L"HellO"},
        {L"x 9lives", L"X 9Lives"},
        {L"a\tb\u00A0c\u3000de", L"A\tB\u00A0C\u3000De"},
        {L"a-b_c.d e", L"A-b_c.d e"},
        {L"\u00E4\u00C4\u00C4 \u00E4\u00C4.", L"\u00C4\u00E4\u00E4 \u00C4\u00E4."},
        {L"1\u0661ab", L"1\u0661Ab"}, // every decimal digit counts
        {L"\xD801\xDC28 ab", L"\xD801\xDC28 Ab"},
        {L"AB\0CD E"s, L"Ab\0cd E"s},
    };
    for (const auto& test : cases)
        EXPECT_EQ(test.title, Wide(OrvaToTitleCase(ToCString(test.text)))) << test.text;
}
