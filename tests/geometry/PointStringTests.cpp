#include "tarnu/geometry/OrvaPointNumbers.h"
#include "tarnu/geometry/OrvaPointRanges.h"
#include "tarnu/geometry/OrvaPointString.h"
#include "tarnu/geometry/OrvaSortedPointString.h"
#include "tarnu/geometry/OrvaUnsortedPointString.h"

#include "PointStringModel.h"

#include <gtest/gtest.h>
#include <random>
#include <utility>

namespace {

using tarnu::test::PointStringModel;
using Numbers = std::vector<UINT>;

Numbers Walk(OrvaPointString& points) {
    Numbers numbers;
    for (UINT number : tarnu::OrvaPointNumbers(points))
        numbers.push_back(number);
    return numbers;
}

std::wstring Normalized(const wchar_t* text, BOOL sorted) {
    OrvaPointString points(text);
    points.Normalize(sorted);
    return points.GetText().GetString();
}

std::wstring Without(const wchar_t* text, const wchar_t* points, BOOL sorted) {
    OrvaPointString string(text);
    string.Subtract(points, sorted);
    return string.GetText().GetString();
}

TEST(PointString, ParsesNumbers) {
    const std::pair<const wchar_t*, UINT> cases[] = {
        {L"7", 7},
        {L"  \t7", 7},
        {L"0012x9", 12},
        {L"", 0},
        {L"x1", 0},
        {L"-5", 0},
        {L"+5", 0},
        {L"  -5", 0},
        {L"  +5", 0},
        {L"0x10", 0},
        {L"4294967293", 4294967293},
        {L"4294967294", 4294967294},
        {L"4294967295", 0},
        {L"4294967296", 0},
        {L"99999999999999999999999999", 0},
        {nullptr, 0},
    };
    for (const auto& [text, number] : cases)
        EXPECT_EQ(number, OrvaPointStringParseNumber(text)) << (text == nullptr ? L"null" : text);
}

TEST(PointString, WalksValidTexts) {
    struct Case {
        const wchar_t* text;
        Numbers numbers;
        UINT count;
    };
    const Case cases[] = {
        {L"", {}, 0},
        {L" \t\r\n", {}, 0},
        {L",", {}, 0},
        {L" , ,\t,", {}, 0},
        {L",,3,,", {3}, 1},
        {L" 7 ", {7}, 1},
        {L"\t7\t,\n8\r\n", {7, 8}, 2},
        {L"1-3,7,12-10", {1, 2, 3, 7, 12, 11, 10}, 3},
        {L"10-7", {10, 9, 8, 7}, 4294967294},
        {L"12  -  13 ,", {12, 13}, 2},
        {L"12 -11", {12, 11}, 0},
        {L"5-5", {5}, 1},
        {L"3-1,7,8", {3, 2, 1, 7, 8}, 1},
        {L"<5", {0}, 1},
        {L">=10,4", {0, 4}, 2},
        {L"<", {0}, 1},
        {L"<>><= 5 ", {0}, 1},
        {L"000000000000000000000000000017", {17}, 1},
        {L"4294967293-4294967294", {4294967293, 4294967294}, 2},
        {L"1\x00A0,2", {1, 2}, 2}, // white space beyond ASCII is trimmed, too
    };
    for (const Case& c : cases) {
        OrvaPointString points(c.text);
        EXPECT_EQ(c.numbers, Walk(points)) << c.text;
        EXPECT_EQ(c.count, points.GetCount()) << c.text;
        EXPECT_TRUE(points.IsValid()) << c.text;
        EXPECT_TRUE(points.IsDone()) << c.text;
    }
}

TEST(PointString, NumbersNeedNotBeTaken) {
    OrvaPointString points(L"1-2,5-6,8");
    UINT start = 0;
    UINT end = 0;
    points.GetFirst(nullptr);
    points.GetNext(nullptr);
    points.GetNext(&start);
    EXPECT_EQ(5u, start);
    points.GetFirstRange(nullptr, nullptr);
    points.GetNextRange(&start, nullptr);
    EXPECT_EQ(5u, start);
    points.GetNextRange(nullptr, &end);
    EXPECT_EQ(8u, end);
}

TEST(PointString, BadTokensEndTheWalkBehindTheNumbersBeforeThem) {
    for (const wchar_t* bad : {L"0",
                               L"0-4",
                               L"4-0",
                               L"99999999999",
                               L"4294967295",
                               L"1-4294967295",
                               L"1 2",
                               L"-5",
                               L"5-",
                               L"-",
                               L"1-2-3",
                               L"1--2",
                               L"a",
                               L"1a",
                               L"+5",
                               L"5 -",
                               L"1-2 3",
                               L"=5",
                               L"5<",
                               L"<5-6",
                               L"<5 6",
                               L"<5<",
                               L"<-5",
                               L"5-<6",
                               L"1\t2",
                               L"1;2",
                               L"\x0661",
                               L"1.5",
                               L"18446744073709551617",
                               L"1-18446744073709551617"}) {
        OrvaPointString points(CString(L"1-2,") + bad + L",9");
        EXPECT_EQ((Numbers{1, 2}), Walk(points)) << bad;
        EXPECT_TRUE(points.IsDone());
        // The bad token is remembered once; the check itself forgets it.
        points.SetText(points.GetText());
        EXPECT_FALSE(points.IsValid()) << bad;
        EXPECT_EQ(2u, points.GetCount()) << bad;
        EXPECT_FALSE(points.IsValid()) << bad;
        EXPECT_FALSE(points.IsValid()) << bad;
    }
    const CString withNul(L"1,2\0,3", 6);
    OrvaPointString points(withNul);
    EXPECT_EQ((Numbers{1}), Walk(points));
}

TEST(PointString, AWalkThatMetABadTokenMakesTheNextCheckFail) {
    OrvaUnsortedPointString points;
    points.SetText(L"x");
    UINT number = 0;
    points.GetFirst(&number);
    points.Clear(); // the text changes, what the walk met stays
    EXPECT_FALSE(points.IsValid());
    EXPECT_TRUE(points.IsValid());
}

TEST(PointString, AWalkGoesOverTheTextItBeganWith) {
    OrvaUnsortedPointString points;
    points.SetText(L"1,2");
    UINT number = 0;
    points.GetFirst(&number);
    points.Add(9);
    points.BuildText();
    EXPECT_STREQ(L"1,2,9", points.GetText());
    OrvaPointString copy(points); // with the walk
    for (OrvaPointString* each : {static_cast<OrvaPointString*>(&points), &copy}) {
        each->GetNext(&number);
        EXPECT_EQ(2u, number);
        EXPECT_FALSE(each->IsDone());
        each->GetNext(&number);
        EXPECT_TRUE(each->IsDone());
    }
    // A walk never begun ends at once; a blank text writes nothing.
    OrvaPointString blank(L" ");
    number = 77;
    blank.GetFirst(&number);
    UINT end = 78;
    blank.GetFirstRange(&number, &end);
    EXPECT_TRUE(blank.IsDone());
    EXPECT_EQ(77u, number);
    EXPECT_EQ(78u, end);
    blank.GetFirst(nullptr);
    blank.GetFirstRange(nullptr, nullptr);
    OrvaPointString fresh(L"5");
    EXPECT_FALSE(fresh.IsDone());
    fresh.GetNextRange(&number, &end);
    EXPECT_TRUE(fresh.IsDone());
}

TEST(PointString, DerivedClassesSeeTokenAndRest) {
    struct OpenPointString : OrvaPointString {
        using OrvaPointString::GetRemaining;
        using OrvaPointString::GetToken;
        using OrvaPointString::OrvaPointString;
    } points(L" 1 - 3 ,, 7\t,x y, 9 ");
    EXPECT_STREQ(L"", points.GetToken());
    EXPECT_STREQ(L"", points.GetRemaining());
    UINT number = 0;
    points.GetFirst(&number);
    const std::pair<const wchar_t*, const wchar_t*> states[] = {
        {L"1 - 3", L", 7\t,x y, 9"}, // one token for three numbers
        {L"1 - 3", L", 7\t,x y, 9"}, {L"1 - 3", L", 7\t,x y, 9"}, {L"7", L"x y, 9"}, {L"x y", L"9"}, // a bad one
    };
    for (const auto& [token, remaining] : states) {
        EXPECT_STREQ(token, points.GetToken());
        EXPECT_STREQ(remaining, points.GetRemaining());
        if (!points.IsDone()) points.GetNext(&number);
    }
    const OpenPointString copy(points);
    EXPECT_STREQ(L"x y", copy.GetToken());
    EXPECT_STREQ(L"9", copy.GetRemaining());
    points.Assign(OrvaPointString(L"5"));
    EXPECT_STREQ(L"", points.GetToken());
    EXPECT_STREQ(L"", points.GetRemaining());
}

TEST(PointString, AssignTakesTheTextAlone) {
    OrvaPointString source(L"1-3");
    source.SetLabel(L"theirs");
    OrvaPointString points(L"7,x");
    points.SetLabel(L"mine");
    UINT number = 0;
    points.GetFirst(&number);
    points.SetModified(FALSE);
    points.Assign(points);
    EXPECT_TRUE(points.HasLabel());
    EXPECT_FALSE(points.IsModified());
    points.Assign(source);
    EXPECT_STREQ(L"1-3", points.GetText());
    EXPECT_FALSE(points.HasLabel());
    EXPECT_TRUE(points.IsModified());
    EXPECT_FALSE(points.IsDone());
    EXPECT_EQ((Numbers{1, 2, 3}), Walk(points));

    // Copies keep the label; every constructor marks its object as modified.
    source.SetModified(FALSE);
    const OrvaPointString copy(source);
    EXPECT_STREQ(L"theirs", copy.GetLabel());
    EXPECT_TRUE(copy.IsModified());
    const CString text = copy;
    EXPECT_STREQ(L"1-3", text);
    const OrvaPointString back = text;
    EXPECT_STREQ(L"1-3", back.GetText());
    points.SetLabel(L"kept");
    points.SetModified(FALSE);
    points.SetText(L"5");
    EXPECT_STREQ(L"kept", points.GetLabel());
    EXPECT_TRUE(points.IsModified());
    points = source;
    EXPECT_STREQ(L"1-3", points.GetText());
}

TEST(PointString, RangesForRangeFor) {
    OrvaPointString points(L"1-5,7,12-10,0,3");
    std::vector<std::pair<UINT, UINT>> ranges;
    for (const auto [start, end] : tarnu::OrvaPointRanges(points))
        ranges.emplace_back(start, end);
    EXPECT_EQ((std::vector<std::pair<UINT, UINT>>{{1, 5}, {7, 7}, {12, 10}}), ranges);
    OrvaPointString all(L"1-4294967294");
    for (const auto [start, end] : tarnu::OrvaPointRanges(all))
        EXPECT_EQ(4294967293u, end - start);
    EXPECT_EQ(4294967294u, all.GetCount());
    OrvaPointString none;
    for (UINT number : tarnu::OrvaPointNumbers(none))
        ADD_FAILURE() << number;
}

TEST(PointString, BuildsSortedTexts) {
    struct Case {
        Numbers numbers;
        const wchar_t* text;
    };
    for (const Case& c : {Case{{}, L""}, Case{{1}, L"1"}, Case{{2, 1}, L"1-2"}, Case{{1, 3}, L"1,3"},
                          Case{{9, 8, 7, 7, 5, 0}, L"5,7-9"}, Case{{64, 63, 65, 1}, L"1,63-65"},
                          Case{{1024, 1025, 1023}, L"1023-1025"}, Case{{4294966271, 4294966272, 3}, L"3,-1025"}}) {
        OrvaSortedPointString points;
        for (UINT number : c.numbers)
            points.Add(number);
        points.BuildText();
        EXPECT_STREQ(c.text, points.GetText());
    }
    OrvaSortedPointString points;
    for (UINT number = 1; number <= 200; ++number)
        points.Add(number);
    points.Remove(100);
    points.Remove(5000); // grows, as adding does
    points.AddString(L" 300");
    points.AddString(L"-7");
    points.SetModified(FALSE);
    points.BuildText();
    EXPECT_TRUE(points.IsModified());
    EXPECT_STREQ(L"1-99,101-200,300", points.GetText());
    // The set and the text are apart.
    points.Subtract(L"1-250", TRUE);
    EXPECT_STREQ(L"300", points.GetText());
    points.BuildText();
    EXPECT_STREQ(L"1-99,101-200,300", points.GetText());
    points.Clear();
    EXPECT_STREQ(L"", points.GetText());
    points.BuildText();
    EXPECT_STREQ(L"", points.GetText());
}

TEST(PointString, BuildsUnsortedTexts) {
    struct Case {
        const wchar_t* before;
        Numbers numbers;
        const wchar_t* text;
    };
    for (const Case& c :
         {Case{L"", {3, 4, 5, 9, 8, 7, 2}, L"3-5,9-7,2"}, Case{L"", {4, 4}, L"4,4"}, Case{L"7", {1, 2}, L"7,1-2"},
          Case{L"7 \t", {}, L"7"}, Case{L" 7", {8}, L" 7,8"}, Case{L"", {1, 2, 1, 2}, L"1-2,1-2"},
          Case{L"", {1, 2, 3, 2, 1}, L"1-3,2-1"}, Case{L"", {1, 0, 4294967295}, L"1--1"},
          Case{L"", {2147483647, 2147483648}, L"2147483647--2147483648"}, Case{L"", {5, 3, 4, 1}, L"5,3-4,1"}}) {
        OrvaUnsortedPointString points;
        points.SetText(c.before);
        for (UINT number : c.numbers)
            points.Add(number);
        points.BuildText();
        EXPECT_STREQ(c.text, points.GetText());
        points.BuildText(); // nothing waits any more
        EXPECT_STREQ(c.text, points.GetText());
        points.AddString(L"77x");
        points.Clear();
        points.BuildText();
        EXPECT_STREQ(L"", points.GetText());
    }
}

TEST(PointString, NormalizesAndSubtracts) {
    EXPECT_EQ(L"1-5", Normalized(L"5,3,4,5,1-2", TRUE));
    EXPECT_EQ(L"5,3-4,1-2", Normalized(L"5,3,4,5,1-2", FALSE));
    EXPECT_EQ(L"10-8,3,7-5", Normalized(L"10-8,3,9-5", FALSE));
    EXPECT_EQ(L"1-2", Normalized(L"2,1,x,7", TRUE)); // up to the bad token
    EXPECT_EQ(L"", Normalized(L"<5", TRUE));         // 0 is never marked ...
    EXPECT_EQ(L"0,0", Normalized(L"<5,>3", FALSE));  // ... so never seen before
    EXPECT_EQ(L"1,3-6,8-10", Without(L"1-10", L"2,7", TRUE));
    EXPECT_EQ(L"10-8,6-3,1", Without(L"10-1", L"2,7", FALSE));
    EXPECT_EQ(L"2,2", Without(L"2,1,2", L"1", FALSE));
    EXPECT_EQ(L" 2,1", Without(L" 2,1", L"1,x", TRUE)); // not valid: unchanged
    EXPECT_EQ(L"1-2", Without(L" 2,1", nullptr, TRUE));
    OrvaPointString points(L" 2,1");
    points.SetLabel(L"label");
    points.SetModified(FALSE);
    points.Subtract(L"x", TRUE);
    EXPECT_FALSE(points.IsModified());
    EXPECT_TRUE(points.HasLabel());
    points.Subtract(L"9", TRUE);
    EXPECT_TRUE(points.IsModified());
    EXPECT_FALSE(points.HasLabel()); // goes with the assignment of the new text
}

TEST(PointString, TakesWholeRangesAtTheLimits) {
    // Numbers above 4294966271 (0xFFFFFBFF) are never marked: sorted texts lose them, unsorted ones keep them all.
    EXPECT_EQ(L"1--1025", Normalized(L"1-4294967294", TRUE));
    EXPECT_EQ(L"1--2", Normalized(L"1-4294967294", FALSE));
    EXPECT_EQ(L"-2-1", Normalized(L"4294967294-1", FALSE));
    EXPECT_EQ(L"1--2,-1024--2", Normalized(L"1-4294967294,1-4294967294", FALSE));
    EXPECT_EQ(L"-2-1,-2--1024", Normalized(L"4294967294-1,4294967294-1", FALSE));
    EXPECT_EQ(L"1-999999,1000001--1025", Without(L"1-4294967294", L"1000000", TRUE));
    EXPECT_EQ(L"1-999999,1000001--2", Without(L"1-4294967294", L"1000000", FALSE));
    EXPECT_EQ(L"-2-1000001,999999-1", Without(L"4294967294-1", L"1000000", FALSE));
    EXPECT_EQ(L"", Without(L"1-4294967294", L"1-4294967294", TRUE));
    EXPECT_EQ(L"-1024--2", Without(L"1-4294967294", L"4294967294-1", FALSE));
    EXPECT_EQ(L"", Without(L"4294966271", L"4294966271", FALSE));
    EXPECT_EQ(L"-1024", Without(L"4294966272", L"4294966272", FALSE));
    EXPECT_EQ(L"65535,65538", Without(L"65535-65538", L"65536-65537", TRUE));
    EXPECT_EQ(L"1,196609", Without(L"196609-1", L"196608-2", TRUE));
    EXPECT_EQ(L"196609,1", Without(L"196609-1", L"2-196608", FALSE));
    EXPECT_EQ(L"1-3,65536-4,196608-65537", Normalized(L"1-3,65536-1,196608-4", FALSE));
}

/// A random text of tokens, separators and noise.
std::wstring RandomText(std::mt19937& random) {
    static constexpr wchar_t alphabet[] = L"0123456789,,-- <>=\t\nax\x00A0";
    const auto number = [&random] {
        switch (random() % 12) {
        case 0:
            return std::to_wstring(65500 + random() % 80);
        case 1:
            return std::to_wstring(4294967290 + random() % 8);
        case 2:
            return std::to_wstring(4294966260 + random() % 24);
        default:
            return std::to_wstring(random() % 40);
        }
    };
    std::wstring text;
    for (unsigned pieces = random() % 9; pieces > 0; --pieces) {
        const auto small = [&random] { return std::to_wstring(1 + random() % 60); };
        switch (random() % 8) {
        case 0:
            for (unsigned length = 1 + random() % 6; length > 0; --length)
                text += alphabet[random() % (std::size(alphabet) - 1)];
            break;
        case 1:
            text += number();
            break;
        case 2: {
            const unsigned base = random() % 3 == 0 ? 65520u : random() % 5 == 0 ? 4294966260u : 1u;
            text += std::to_wstring(base + random() % 30) + L"-" + std::to_wstring(base + random() % 30);
            break;
        }
        case 3:
            text += small() + L" - " + small();
            break;
        default:
            text += small();
        }
        if (random() % 20 != 0) text += L",";
        if (random() % 8 == 0) text += L" ";
    }
    return text;
}

TEST(PointString, AgreesWithTheModelOnRandomTexts) {
    std::mt19937 random(4294967291u);
    std::wstring other;
    for (int round = 0; round < 1000000; ++round) {
        PointStringModel model;
        model.text = RandomText(random);
        OrvaPointString points(model.text.c_str());

        // The walk, number by number, and two calls beyond its end; long ranges by their first numbers only.
        UINT number = 77, expected = 77;
        points.GetFirst(&number);
        model.First(expected);
        for (int step = 0, beyond = 0; step < (round % 8 == 0 ? 100 : 4) && beyond < 2; ++step) {
            ASSERT_EQ(expected, number) << model.text;
            ASSERT_EQ(model.done, points.IsDone() != FALSE) << model.text;
            beyond += model.done;
            points.GetNext(&number);
            model.Next(expected);
        }
        UINT end = 0;
        points.GetFirstRange(&number, &end);
        for (model.Start(); !model.done; model.Cut()) {
            ASSERT_EQ(model.rangeStart, number) << model.text;
            ASSERT_EQ(model.rangeEnd, end) << model.text;
            ASSERT_FALSE(points.IsDone()) << model.text;
            points.GetNextRange(&number, &end);
        }
        ASSERT_TRUE(points.IsDone()) << model.text;
        ASSERT_EQ(model.IsValid(), points.IsValid() != FALSE) << model.text;
        ASSERT_EQ(model.GetCount(), points.GetCount()) << model.text;

        // The number-by-number rules are affordable for short texts only.
        unsigned long long length = 0;
        for (model.Start(); !model.done; model.Cut())
            length += model.descending ? model.rangeStart - model.rangeEnd : model.rangeEnd - model.rangeStart;
        if (round % 16 != 0 || length > 3000) continue;
        for (BOOL sorted : {TRUE, FALSE}) {
            ASSERT_EQ(model.Normalized(sorted), Normalized(model.text.c_str(), sorted)) << model.text;
            ASSERT_EQ(model.Without(other, sorted), Without(model.text.c_str(), other.c_str(), sorted))
                << model.text << " without " << other;
        }
        other = model.text;
    }
}

TEST(PointString, LongTextsTakeLinearTime) {
    // A cost that grows with the square of the length would not end within the run's time limit.
    constexpr UINT count = 10000000;
    CString text;
    wchar_t* const begin = text.GetBuffer(static_cast<int>(count * 4));
    wchar_t* out = begin;
    UINT expected = 0;
    for (UINT index = 0; index < count; ++index) {
        const UINT number = 11 + index % 89; // of two digits
        *out++ = static_cast<wchar_t>(L'0' + number / 10);
        *out++ = static_cast<wchar_t>(L'0' + number % 10);
        *out++ = L',';
        if (index % 4 == 0) *out++ = L' ';
        expected += number;
    }
    text.ReleaseBuffer(static_cast<int>(out - begin));
    OrvaPointString points(text);
    EXPECT_TRUE(points.IsValid());
    EXPECT_EQ(count, points.GetCount());
    UINT sum = 0;
    for (UINT number : tarnu::OrvaPointNumbers(points))
        sum += number;
    EXPECT_EQ(expected, sum);
    points.Subtract(L"12-99", FALSE);
    const int elevens = (count + 88) / 89;
    EXPECT_EQ(3 * elevens - 1, points.GetText().GetLength());
    EXPECT_EQ(static_cast<UINT>(elevens), points.GetCount());
    for (BOOL sorted : {TRUE, FALSE}) {
        points.SetText(text);
        points.Normalize(sorted);
        EXPECT_STREQ(L"11-99", points.GetText());
        points.Subtract(text, sorted);
        EXPECT_STREQ(L"", points.GetText());
    }
}

TEST(PointString, LongTextsOfDistinctNumbersAndOfLongRangesTakeLinearTime) {
    constexpr UINT count = 500000;
    OrvaUnsortedPointString odd;
    OrvaSortedPointString same;
    for (UINT number = 2 * count - 1; number < 2 * count; number -= 2) { // downward, until it wraps
        odd.Add(number);
        same.Add(number);
    }
    odd.BuildText();
    same.BuildText();
    EXPECT_EQ(odd.GetText().GetLength(), same.GetText().GetLength());
    EXPECT_EQ(count, odd.GetCount());
    OrvaPointString points(odd);
    points.Normalize(FALSE);
    EXPECT_TRUE(odd.GetText() == points.GetText());
    points.Normalize(TRUE);
    EXPECT_TRUE(same.GetText() == points.GetText());
    points.Subtract(L"1-999998", TRUE);
    EXPECT_STREQ(L"999999", points.GetText());
    // The same long range over and over costs no more than any other token.
    CString ranges;
    for (int repeat = 0; repeat < 2000; ++repeat)
        ranges += L"1-4294966271,";
    points.SetText(ranges);
    points.Normalize(FALSE);
    EXPECT_STREQ(L"1--1025", points.GetText());
    points.SetText(ranges);
    points.Subtract(L"2-4294966271", FALSE);
    EXPECT_EQ(2 * 2000 - 1, points.GetText().GetLength());
}

} // namespace
