#include "tarnu/text/OrvaStrings.h"

#include "text/Texts.h"

#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <new>

using namespace tarnu::test;
using namespace std::string_literals;

TEST(OrvaFormatDouble, FixedNotation) {
    const struct {
        double value;
        int decimals;
        const wchar_t* text;
    } cases[] = {
        {2.5, 3, L"2.500"},           {-0.0004, 2, L"-0.00"},         {0.0, 0, L"0"},
        {1234567.0, 1, L"1234567.0"}, {1e15, 0, L"1000000000000000"}, {-1.75, 1, L"-1.8"},
        {0.125, 6, L"0.125000"},      {2.5, -1, L"2.500000"},
    };
    for (const auto& test : cases)
        EXPECT_EQ(test.text, Wide(OrvaFormatDouble(test.value, test.decimals))) << test.value;
}

TEST(OrvaFormatDouble, LongResults) {
    const std::wstring largest = Wide(OrvaFormatDouble(std::numeric_limits<double>::max(), 2));
    EXPECT_EQ(312U, largest.size());
    EXPECT_EQ(L"17976931348623157", largest.substr(0, 17));
    EXPECT_EQ(L".00", largest.substr(309));
    const std::wstring precise = Wide(OrvaFormatDouble(0.5, 1000));
    EXPECT_EQ(1002U, precise.size());
    EXPECT_EQ(L"0.5000", precise.substr(0, 6));
}

TEST(OrvaFormatDouble, DecimalsOutOfRange) {
    EXPECT_EQ(L"2.500000", Wide(OrvaFormatDouble(2.5, std::numeric_limits<int>::min())));
    EXPECT_THROW(OrvaFormatDouble(2.5, std::numeric_limits<int>::max()), std::bad_alloc) << "longer than a text can be";
}

TEST(OrvaParseDouble, WholeTextOnly) {
    const struct {
        std::wstring text;
        bool accepted;
        double value;
    } cases[] = {
        {L"12.5", true, 12.5},
        {L" \t\n12.5", true, 12.5},
        {L"", true, 0.0}, // a cleared field
        {L"-1e-3", true, -0.001},
        {L"+.5", true, 0.5},
        {L"5.", true, 5.0},
        {L"1e308", true, 1e308},
        {L"12.5 ", false, 12.5},
        {L"12,5", false, 12.0},
        {L"1 2", false, 1.0},
        {L" ", false, 0.0},
        {L".", false, 0.0},
        {L"-", false, 0.0},
        {L"abc", false, 0.0},
        {L"1e", false, 1.0},
        {L"1e999", false, HUGE_VAL},
        {L"-1e999", true, -HUGE_VAL}, // unlike the positive one
        {L"12\0"s, false, 12.0},
        {L"12\0"
         L"5"s,
         false, 12.0},
    };
    for (const auto& test : cases) {
        double value = 77.0;
        EXPECT_EQ(test.accepted, OrvaParseDouble(ToCString(test.text), value)) << test.text;
        EXPECT_EQ(test.value, value) << test.text << ": stored in every case";
    }
}

TEST(OrvaParseDouble, ReadsBackWhatWasFormatted) {
    RandomTexts random(7);
    for (int round = 0; round < 2000; ++round) {
        const double value = (static_cast<double>(random.Number(0, 2'000'000)) - 1e6) / 1000.0;
        double parsed = 0.0;
        ASSERT_TRUE(OrvaParseDouble(OrvaFormatDouble(value, 3), parsed));
        ASSERT_EQ(value, parsed);
    }
}

TEST(OrvaIsZeroText, ZerosAndPointsOnly) {
    for (const wchar_t* text : {L"0", L".", L"0.000", L"...", L"00"})
        EXPECT_TRUE(OrvaIsZeroText(text)) << text;
    for (const wchar_t* text : {L"", L" 0", L"-0", L"0.01", L"0,0", L"o", L"\uFF10"})
        EXPECT_FALSE(OrvaIsZeroText(text)) << text;
    EXPECT_FALSE(OrvaIsZeroText(ToCString(L"0\0"
                                          L"1"s)));
}

TEST(OrvaIsNumber, CharactersOnly) {
    for (const wchar_t* text : {L"", L"0123456789", L"-1.5", L"-.-", L"--.", L"1-2"})
        EXPECT_TRUE(OrvaIsNumber(text)) << text;
    for (const wchar_t* text : {L" ", L"+1", L"1e5", L"1,5", L"12a", L"\u0661", L"\u00B2", L"/", L":"})
        EXPECT_FALSE(OrvaIsNumber(text)) << text;
    EXPECT_FALSE(OrvaIsNumber(nullptr));
}
