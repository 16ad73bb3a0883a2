#include "tarnu/text/OrvaStrings.h"

#include "text/Texts.h"

#include <algorithm>
#include <gtest/gtest.h>

using namespace tarnu::test;
using namespace std::string_literals;

namespace {

std::wstring Label(const wchar_t* text, bool leadingNewline) {
    CString label(text);
    OrvaMakeLabel(label, leadingNewline);
    return Wide(label);
}

std::wstring Quoted(const std::wstring& text) {
    CString quoted = ToCString(text);
    OrvaQuote(quoted);
    return Wide(quoted);
}

/// The quoting of a trimmed text, told by what stands at its ends and how many quotes stand between.
std::wstring QuoteByEnds(const std::wstring& text) {
    const bool starts = !text.empty() && text.front() == L'"';
    const bool ends = text.size() > 1 && text.back() == L'"';
    const auto inside = std::count(text.begin(), text.end(), L'"') - (starts ? 1 : 0) - (ends ? 1 : 0);
    if (inside % 2 == 0) return starts && ends ? text : L'"' + text + L'"';
    if (starts) return text;
    return ends ? L'"' + text : L'"' + text + L"\"\"";
}

/// Escaping step by step on a growing copy.
std::wstring EscapeByRule(const std::wstring& target, const std::wstring& escape, std::wstring text) {
    std::size_t start = 0;
    for (;;) {
        const std::size_t found = text.find(target, start);
        if (found == std::wstring::npos) return text;
        const std::size_t first = text.find(escape, start);
        start = found + 1;
        if (first != std::wstring::npos && first + escape.size() == found) continue;
        text.insert(found, escape);
        start += escape.size();
    }
}

std::wstring Escaped(const std::wstring& target, const std::wstring& escape, const std::wstring& text) {
    return Wide(OrvaEscapeEach(ToCString(target), ToCString(escape), ToCString(text)));
}

} // namespace

TEST(OrvaMakeLabel, EndsInColonAndBlank) {
    EXPECT_EQ(L"Name: ", Label(L"Name", false));
    EXPECT_EQ(L"Name: ", Label(L"Name:", false));
    EXPECT_EQ(L"Name: ", Label(L" \tName: \r\n", false));
    EXPECT_EQ(L"Name :: ", Label(L"Name ::", false));
    EXPECT_EQ(L": ", Label(L":", false));
    EXPECT_EQ(L"\nName: ", Label(L" Name ", true));
    EXPECT_EQ(L"\nName: ", Label(L"\nName", true)) << "one line break, not two";
    EXPECT_EQ(L"Name: ", Label(L"\nName", false));
    for (const bool leadingNewline : {false, true}) {
        EXPECT_EQ(L"", Label(L"", leadingNewline));
        EXPECT_EQ(L"", Label(L" \t\r\n", leadingNewline));
    }
}

TEST(OrvaQuote, QuotesOnce) {
    const struct {
        const wchar_t* text;
        const wchar_t* quoted;
    } cases[] = {
        {L"", L"\"\""},
        {L" \t ", L"\"\""},
        {L"abc", L"\"abc\""},
        {L"  a b ", L"\"a b\""},
        {L"\"abc\"", L"\"abc\""},
        {L"  \"abc\"  ", L"\"abc\""}, // unchanged but for the blanks around it
        {L"\"\"", L"\"\""},
        {L"\"", L"\"\"\""},       // a lone quote starts, and ends nothing
        {L"\"abc", L"\"\"abc\""}, // balanced, quoted at one end only
        {L"abc\"", L"\"abc\"\""},
        {L"say \"x\" now", L"\"say \"x\" now\""},
        {L"a\"b", L"\"a\"b\"\""}, // unbalanced
        {L"a\"b\"", L"\"a\"b\""}, // unbalanced, ends quoted: the front alone
        {L"\"a\"b", L"\"a\"b"},   // unbalanced, starts quoted: unchanged
        {L"\"a\"b\"", L"\"a\"b\""},
        {L"\"\"\"", L"\"\"\""},
        {L"\"\"\"\"", L"\"\"\"\""},
    };
    for (const auto& test : cases)
        EXPECT_EQ(test.quoted, Quoted(test.text)) << test.text;
}

TEST(OrvaQuote, FollowsTheEndsForRandomTexts) {
    RandomTexts random(11);
    for (int round = 0; round < 20000; ++round) {
        const std::wstring text = random.Text(L"ab\"", 0, 9);
        ASSERT_EQ(QuoteByEnds(text), Quoted(text)) << text;
        ASSERT_EQ(QuoteByEnds(text), Quoted(L"\t" + text + L" \n")) << text;
    }
}

TEST(OrvaEscapeEach, EscapesWhatIsNotYet) {
    const struct {
        const wchar_t* target;
        const wchar_t* escape;
        const wchar_t* text;
        const wchar_t* escaped;
    } cases[] = {
        {L"\"", L"\\", L"say \"x\"", L"say \\\"x\\\""},
        {L"\"", L"\\", L"say \\\"x\"", L"say \\\"x\\\""},
        {L"\"", L"\\", L"", L""},
        {L"\"", L"\\", L"nothing", L"nothing"},
        {L"a", L"a", L"banana", L"baanaanaa"}, // doubled
        {L"ab", L"ab", L"abab", L"abababab"},
        {L"aa", L"\\", L"aaa", L"\\a\\aa"}, // overlapping
        {L"x", L"<<", L"<<x<x", L"<<x<<<x"},
        {L"x", L"<<", L"<<<x", L"<<<<<x"}, // the first escape ends one too early
        {L"A", L"!", L"aA", L"a!A"},       // by case
    };
    for (const auto& test : cases)
        EXPECT_EQ(test.escaped, Escaped(test.target, test.escape, test.text)) << test.text;
}

TEST(OrvaEscapeEach, OnlyTheFirstEscapeOfAStretchCounts) {
    EXPECT_EQ(L"\\x\\\\\"", Escaped(L"\"", L"\\", L"\\x\\\""));
    EXPECT_EQ(L"\\\\\\\"", Escaped(L"\"", L"\\", L"\\\\\""));
    EXPECT_EQ(L"\\\"y\\\"", Escaped(L"\"", L"\\", L"\\\"y\\\"")) << "a new stretch behind each target";
}

TEST(OrvaEscapeEach, EmptyTargetOrEscapeChangesNothing) {
    EXPECT_EQ(L"abc", Escaped(L"", L"\\", L"abc"));
    EXPECT_EQ(L"abc", Escaped(L"b", L"", L"abc"));
    EXPECT_EQ(L"", Escaped(L"", L"", L""));
}

TEST(OrvaEscapeEach, ReachesBeyondEmbeddedNul) {
    EXPECT_EQ(L"a\0\\b"s, Escaped(L"b", L"\\", L"a\0b"s));
    EXPECT_EQ(L"a\\\0b"s, Escaped(L"\0"s, L"\\", L"a\0b"s));
}

TEST(OrvaEscapeEach, FollowsTheRuleForRandomTexts) {
    RandomTexts random(5);
    for (int round = 0; round < 20000; ++round) {
        const std::wstring target = random.Text(L"ab", 1, 3);
        const std::wstring escape = random.Text(L"ab\\", 1, 3);
        const std::wstring text = random.Text(L"ab\\", 0, 16);
        ASSERT_EQ(EscapeByRule(target, escape, text), Escaped(target, escape, text))
            << "text " << text << " target " << target << " escape " << escape;
    }
}

// Searching for the escape anew behind every target, or inserting in place, would need hours for these sizes.
TEST(OrvaEscapeEach, LongTextsEndQuickly) {
    constexpr std::size_t size = 1'000'000;
    const std::wstring targets(size, L'x');
    std::wstring escaped;
    for (std::size_t index = 0; index < size; ++index)
        escaped += L"\\x";
    EXPECT_TRUE(escaped == Escaped(L"x", L"\\", targets));
    EXPECT_TRUE(escaped + L'\\' == Escaped(L"x", L"\\", targets + L'\\')) << "one escape, far behind";
    EXPECT_TRUE(escaped == Escaped(L"x", L"\\", escaped));

    // Almost the target and almost the escape, everywhere.
    const std::wstring almost = std::wstring(size / 4, L'a') + L'b';
    const std::wstring text(size, L'a');
    EXPECT_TRUE(text == Escaped(almost, L"!", text));
    EXPECT_TRUE(text + L"!b" == Escaped(L"b", L"!", text + L'b'));
    EXPECT_TRUE(text + almost + L'c' == Escaped(L"c", almost, text + L'c'));
}
