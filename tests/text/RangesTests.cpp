#include "tarnu/paths/OrvaPath.h"
#include "tarnu/text/NaturalLess.h"
#include "tarnu/text/Tokens.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <map>
#include <random>
#include <set>
#include <string>
#include <vector>

namespace {

using tarnu::natural_compare;
using tarnu::natural_less;

TEST(NaturalLess, OrdersNamesAsPeopleDo) {
    // Each stands before all that follow.
    const std::vector<std::wstring> ordered = {L"",
                                               L"-1",
                                               L"0",
                                               L"01",
                                               L"1",
                                               L"2",
                                               L"010",
                                               L"10",
                                               L"00000000000000000011",
                                               L"12345678",
                                               L"123456789012345678901234567890",
                                               L"123456789012345678901234567891",
                                               L"A",
                                               L"a",
                                               L"A0b",
                                               L"a00B",
                                               L"a01",
                                               L"a1",
                                               L"a1b",
                                               L"A2",
                                               L"a10",
                                               L"a10 2",
                                               L"a10 10",
                                               L"file",
                                               L"file9",
                                               L"file10",
                                               L"file10.txt",
                                               L"file10a",
                                               L"z9999999999",
                                               L"z10000000000",
                                               L"{",
                                               L"{a",
                                               L"\u00C4",
                                               L"\u00E4",
                                               L"\u0660",
                                               L"\u0661"};
    for (std::size_t i = 0; i < ordered.size(); ++i) {
        for (std::size_t j = 0; j < ordered.size(); ++j) {
            EXPECT_EQ(i <=> j, natural_compare(ordered[i], ordered[j])) << i << " and " << j;
        }
    }
}

TEST(NaturalLess, IsAStrictTotalOrder) {
    std::mt19937 random(7);
    const std::wstring_view alphabet = L"00129aAb-\u00E4\u00C4";
    std::vector<std::wstring> texts(120);
    for (std::wstring& text : texts) {
        for (std::size_t length = random() % 6; length > 0; --length)
            text += alphabet[random() % alphabet.size()];
    }
    const natural_less less;
    for (const std::wstring& a : texts) {
        for (const std::wstring& b : texts) {
            EXPECT_EQ(a != b, less(a, b) || less(b, a));
            EXPECT_FALSE(less(a, b) && less(b, a));
        }
    }
    std::sort(texts.begin(), texts.end(), less);
    for (std::size_t i = 0; i < texts.size(); ++i) { // transitive: sorted by neighbours means sorted throughout
        for (std::size_t j = i; j < texts.size(); ++j)
            EXPECT_FALSE(less(texts[j], texts[i]));
    }
}

TEST(NaturalLess, TakesTextsOfEveryKind) {
    const natural_less less;
    const wchar_t* const missing = nullptr;
    EXPECT_TRUE(less(CString(L"a2"), L"a10"));
    EXPECT_TRUE(less(std::wstring(L"a2"), OrvaPath(L"a10")));
    EXPECT_TRUE(less(OrvaPath(L"a2"), std::wstring_view(L"a10")));
    EXPECT_TRUE(less(missing, L"0"));
    EXPECT_FALSE(less(missing, L""));
    EXPECT_TRUE(less(CString(L"a\0b1", 4), CString(L"a\0b2", 4))) << "a CString counts at its full length";

    std::map<std::wstring, int, natural_less> sheets{{L"sheet 10", 10}, {L"sheet 9", 9}, {L"Sheet 9", 90}};
    EXPECT_EQ(90, sheets.begin()->second);
    EXPECT_EQ(10, sheets.find(CString(L"sheet 10"))->second);
    EXPECT_EQ(sheets.end(), sheets.find(L"sheet 010"));
}

TEST(Tokens, AreThoseOfOrvaNextToken) {
    struct Case {
        const wchar_t* text;
        const wchar_t* delimiters;
        std::vector<std::wstring> tokens;
    };
    const Case cases[] = {
        {L"  a,,b ", L" ,", {L"a", L"b"}},
        {L"one", L",", {L"one"}},
        {L",,,", L",", {}},
        {L"", L",", {}},
        {nullptr, L",", {}},
        {L"a b", nullptr, {L"a b"}},
        {L"a b", L"", {L"a b"}},
    };
    for (const Case& c : cases) {
        const tarnu::Tokens range(c.text, c.delimiters);
        for (int pass = 0; pass < 2; ++pass) { // each begin starts anew
            std::vector<std::wstring> tokens;
            for (const CString& token : range)
                tokens.emplace_back(token.GetString());
            EXPECT_EQ(c.tokens, tokens);
        }
    }
    static_assert(std::input_iterator<tarnu::Tokens::Iterator>);
    EXPECT_EQ(4, tarnu::Tokens(L" four ", L" ").begin()->GetLength());
}

} // namespace
