#include "tarnu/text/OrvaStrings.h"

#include "text/Texts.h"

#include <gtest/gtest.h>
#include <vector>

using namespace tarnu::test;

namespace {

std::vector<std::wstring> Tokens(const wchar_t* text, const wchar_t* delimiters) {
    std::vector<std::wstring> tokens;
    const wchar_t* cursor = text;
    CString token(L"left over");
    while (OrvaNextToken(cursor, delimiters, token))
        tokens.push_back(Wide(token));
    EXPECT_TRUE(token.IsEmpty()) << "the failing call clears the token";
    EXPECT_EQ(L'\0', *cursor);
    return tokens;
}

std::vector<std::wstring> Items(const CStringList& list) {
    std::vector<std::wstring> items;
    for (POSITION position = list.GetHeadPosition(); position != nullptr;)
        items.push_back(Wide(list.GetNext(position)));
    return items;
}

/// The rules for placing a token, step by step on a shrinking copy.
std::wstring PlaceByRule(const std::wstring& value, const std::wstring& separator, int index, std::wstring rest) {
    std::wstring result;
    bool placed = false;
    int n = 0;
    while (!rest.empty()) {
        const std::size_t end = rest.find(separator);
        if (end == std::wstring::npos) {
            result += (n > 0 ? separator : L"") + rest;
            break;
        }
        if (n == index) {
            result += n > 0 ? separator + value : value + separator;
            placed = true;
        }
        const std::wstring item = rest.substr(0, end);
        if (item != value) result += (n > 0 ? separator : L"") + item;
        rest.erase(0, end + separator.size());
        ++n;
    }
    if (!placed) result += (n > 0 ? separator : L"") + value;
    return result;
}

std::wstring Place(const std::wstring& value, const std::wstring& separator, int index, const std::wstring& list) {
    CString result = ToCString(list);
    OrvaPlaceToken(ToCString(value), ToCString(separator), index, result);
    return Wide(result);
}

} // namespace

TEST(OrvaNextToken, TakesRunsBetweenDelimiters) {
    const struct {
        const wchar_t* text;
        const wchar_t* delimiters;
        std::vector<std::wstring> tokens;
    } cases[] = {
        {L"  ,a,,b", L" ,", {L"a", L"b"}},
        {L"", L",", {}},
        {L",,,", L",", {}},
        {L"abc", L",", {L"abc"}},
        {L"a,", L",", {L"a"}},
        {L"a;b,c", L",;", {L"a", L"b", L"c"}},
        {L"a b", L"", {L"a b"}},
        {L"a b", nullptr, {L"a b"}},
        {L"x\u20ACy", L"\u20AC", {L"x", L"y"}},
    };
    for (const auto& test : cases)
        EXPECT_EQ(test.tokens, Tokens(test.text, test.delimiters)) << test.text;
}

TEST(OrvaNextToken, StepsOverOneDelimiterOnly) {
    const wchar_t text[] = L"a,,b";
    const wchar_t* cursor = text;
    CString token;
    ASSERT_TRUE(OrvaNextToken(cursor, L",", token));
    EXPECT_EQ(text + 2, cursor);
    ASSERT_TRUE(OrvaNextToken(cursor, L",", token));
    EXPECT_EQ(L"b", Wide(token));
    EXPECT_EQ(text + 4, cursor) << "never steps over the end";
    EXPECT_FALSE(OrvaNextToken(cursor, L",", token));
    EXPECT_EQ(text + 4, cursor);
}

TEST(OrvaNextToken, NullCursorStaysNull) {
    const wchar_t* cursor = nullptr;
    CString token(L"left over");
    EXPECT_FALSE(OrvaNextToken(cursor, L",", token));
    EXPECT_EQ(nullptr, cursor);
    EXPECT_TRUE(token.IsEmpty());
}

TEST(OrvaPopToken, TakesTheHead) {
    using namespace std::string_literals;
    const struct {
        std::wstring separator, list, head, rest;
    } cases[] = {
        {L"::", L"x::y::z", L"x", L"y::z"},
        {L"::", L"xyz", L"xyz", L""},
        {L"::", L"x:y", L"x:y", L""},
        {L"::", L":::y", L"", L":y"},
        {L",", L"", L"", L""},
        {L",", L",,a", L"", L",a"},
        {L",", L"a,", L"a", L""},
        {L"And", L"1and2And3", L"1and2", L"3"}, // by case
        {L"", L"a,b", L"a,b", L""},
        {L",", L"a\0b,c"s, L"a\0b"s, L"c"},
    };
    for (const auto& test : cases) {
        CString list = ToCString(test.list);
        EXPECT_EQ(test.head, Wide(OrvaPopToken(ToCString(test.separator), list))) << test.list;
        EXPECT_EQ(test.rest, Wide(list)) << test.list;
    }
    CString both(L"a b,c d");
    EXPECT_EQ(L"a b", Wide(OrvaPopCommaToken(both)));
    EXPECT_EQ(L"c", Wide(OrvaPopSpaceToken(both)));
    EXPECT_EQ(L"d", Wide(both));
}

TEST(OrvaPopToken, EndsForEverySeparator) {
    for (const wchar_t* separator : {L"", L",", L"a", L"aa", L"b,"}) {
        CString list(L"aa,aab,,a");
        int calls = 0;
        for (; !list.IsEmpty() && calls < 100; ++calls)
            OrvaPopToken(separator, list);
        EXPECT_LT(calls, 100) << separator;
    }
}

TEST(OrvaPopToken, SeparatorMayBeTheList) {
    CString list(L"self");
    EXPECT_EQ(L"", Wide(OrvaPopToken(list, list)));
    EXPECT_EQ(L"", Wide(list));
}

TEST(OrvaSplitCommaList, AppendsTrimmedItems) {
    const struct {
        const wchar_t* list;
        std::vector<std::wstring> items;
    } cases[] = {
        {L" a , ,b,", {L"a", L"b"}},
        {L"", {}},
        {L" \t\r\n", {}},
        {L",,,", {}},
        {L"one", {L"one"}},
        {L",x", {L"x"}},
        {L"a b,\tc d\r\n", {L"a b", L"c d"}},
        {L"a;b", {L"a;b"}},
    };
    for (const auto& test : cases) {
        CStringList out;
        EXPECT_TRUE(OrvaSplitCommaList(test.list, out)) << "true in every case";
        EXPECT_EQ(test.items, Items(out)) << test.list;
    }
}

TEST(OrvaSplitCommaList, KeepsWhatTheListHeld) {
    CStringList out;
    out.AddTail(L"kept,whole");
    EXPECT_TRUE(OrvaSplitCommaList(out.GetHead(), out)); // also from an element of the list itself
    EXPECT_EQ((std::vector<std::wstring>{L"kept,whole", L"kept", L"whole"}), Items(out));
}

TEST(OrvaPlaceToken, PlacesAndDropsDuplicates) {
    const struct {
        const wchar_t* value;
        int index;
        const wchar_t* list;
        const wchar_t* result;
    } cases[] = {
        {L"b", 0, L"a;b;c", L"b;a;c"},
        {L"v", 0, L"a;b;c", L"v;a;b;c"},
        {L"v", 1, L"a;b;c", L"a;v;b;c"},
        {L"v", 2, L"a;b;c", L"a;b;c;v"}, // nothing is placed in front of the last item
        {L"v", 9, L"a;b;c", L"a;b;c;v"},
        {L"v", -1, L"a;b;c", L"a;b;c;v"},
        {L"b", 9, L"a;b;b;c", L"a;c;b"},
        {L"B", 0, L"a;b;c", L"B;a;b;c"}, // by case
        {L"v", 0, L"", L"v"},
        {L"v", 0, L"a;", L"v;a"},
        {L"v", 1, L"a;", L"a;v"},
        {L"v", 1, L"a;;b", L"a;v;;b"},
        {L"", 0, L"a;;b;c", L";a;b;c"},
    };
    for (const auto& test : cases)
        EXPECT_EQ(test.result, Place(test.value, L";", test.index, test.list)) << test.list << " " << test.index;
    EXPECT_EQ(L"b--a--c-", Place(L"b", L"--", 0, L"a--b--c-"));
}

TEST(OrvaPlaceToken, LastItemIsNeverCompared) {
    EXPECT_EQ(L"c;a;b;c", Place(L"c", L";", 0, L"a;b;c"));
    EXPECT_EQ(L"c;a;b", Place(L"c", L";", 0, L"a;b;c;")) << "behind a closing separator it is not the last";
    EXPECT_EQ(L"aa", Place(L"a", L";", 5, L"a"));
}

TEST(OrvaPlaceToken, SeparatorsFollowTheCountOfOldItems) {
    EXPECT_EQ(L"ab", Place(L"b", L";", 0, L"a")) << "a list of one item: nothing counted yet";
    EXPECT_EQ(L"b;;c", Place(L"b", L";", 0, L"b;c")) << "the dropped first item leaves its separator";
    EXPECT_EQ(L";b;a;c;d", Place(L"a", L";", 2, L"a;b;c;d"));
}

TEST(OrvaPlaceToken, EmptySeparatorLeavesTheList) {
    EXPECT_EQ(L"a;b", Place(L"v", L"", 0, L"a;b"));
    EXPECT_EQ(L"", Place(L"v", L"", 0, L""));
}

TEST(OrvaPlaceToken, ArgumentsMayBeTheList) {
    CString list(L"a;b");
    OrvaPlaceToken(list, L";", 0, list);
    EXPECT_EQ(L"a;b;a;b", Wide(list));
    list = L"x";
    OrvaPlaceToken(L"v", list, 0, list);
    EXPECT_EQ(L"vx", Wide(list));
}

TEST(OrvaPlaceToken, FollowsTheRuleForRandomLists) {
    RandomTexts random(31);
    for (int round = 0; round < 20000; ++round) {
        const std::wstring separator = random.Text(L"ab;", 1, 3);
        const std::wstring list = random.Text(L"ab;", 0, 14);
        const std::wstring value = random.Text(L"ab;", 0, 2);
        const int index = static_cast<int>(random.Number(0, 6)) - 1;
        ASSERT_EQ(PlaceByRule(value, separator, index, list), Place(value, separator, index, list))
            << "list " << list << " separator " << separator << " value " << value << " index " << index;
    }
}

// A quadratic search or a list that is cut at its head would need hours for these sizes.
TEST(OrvaPlaceToken, LongListsEndQuickly) {
    constexpr std::size_t size = 1'000'000;
    std::wstring list;
    for (std::size_t index = 0; index < size; ++index)
        list += index % 2 == 0 ? L'x' : L';';
    list += L'y';
    EXPECT_EQ(L"v;" + list, Place(L"v", L";", 0, list));

    // Almost the separator, everywhere.
    const std::wstring separator = std::wstring(size / 4, L'a') + L'b';
    const std::wstring item(size, L'a');
    EXPECT_EQ(item + L'v', Place(L"v", separator, 0, item));
    EXPECT_EQ(L"v" + separator + L"c" + separator + item, Place(L"v", separator, 0, L"c" + separator + item));
}

TEST(OrvaSplitCommaList, LongListsEndQuickly) {
    std::wstring list;
    for (int index = 0; index < 500'000; ++index)
        list += L"x,";
    CStringList out(1000);
    EXPECT_TRUE(OrvaSplitCommaList(ToCString(list), out));
    EXPECT_EQ(500'000, out.GetCount());
}
