#include "support/Program.h"

#include <gtest/gtest.h>
#include <string>
#include <utility>

namespace {

using tarnu::test::OrvaProcess;

TEST(PointsCommand, RewritesCountsAndExpands) {
    const std::pair<const wchar_t*, const char*> cases[] = {
        {L"5,3,4,5,1-2", "5,3,4,5,1-2\n"},
        {L"5,3,4,5,1-2 --normalize", "1-5\n"},
        {L"5,3,4,5,1-2 --unsorted", "5,3-4,1-2\n"},
        {L"1-10 --subtract 2,7", "1,3-6,8-10\n"},
        {L"10-1 --subtract 2,7 --unsorted", "10-8,6-3,1\n"},
        {L"10-7 4 --count", "5\n"}, // a downward range has its numbers, too
        {L"12-10 7 --expand", "12\n11\n10\n7\n"},
        {L"\" \" --expand", ""},
    };
    for (const auto& [arguments, expected] : cases) {
        SCOPED_TRACE(testing::Message() << arguments);
        OrvaProcess orva(std::wstring(L"points ") + arguments);
        EXPECT_EQ(0u, orva.Wait());
        EXPECT_EQ(expected, orva.Output());
        EXPECT_EQ("", orva.Errors());
    }
}

TEST(PointsCommand, ExpandsRangesOfAnyLength) {
    std::string expected;
    for (int number = 1; number <= 20000; ++number)
        expected += std::to_string(number) + '\n';
    OrvaProcess orva(L"points 1-20000 --expand");
    EXPECT_EQ(0u, orva.Wait()) << orva.Errors();
    EXPECT_EQ(expected, orva.Output());
    OrvaProcess count(L"points 1-20000 --count");
    EXPECT_EQ(0u, count.Wait()) << count.Errors();
    EXPECT_EQ("20000\n", count.Output());
}

TEST(PointsCommand, ABadTokenHasCaretsUnderIt) {
    struct Case {
        const wchar_t* arguments;
        const char* errors;
    };
    const Case cases[] = {
        {L"\"1-3, 5-x ,9\"", "orva: \"5-x\" is no point number and no range\n"
                             "  1-3, 5-x ,9\n"
                             "       ^^^\n"},
        {L"0", "orva: \"0\" is no point number and no range\n"
               "  0\n"
               "  ^\n"},
        {L"1,2 7,,4-0 y", "orva: \"4-0\" is no point number and no range\n"
                          "  1,2,7,,4-0,y\n"
                          "         ^^^\n"},
        {L"1-9 --subtract 4,5a", "orva: \"5a\" is no point number and no range\n"
                                 "  4,5a\n"
                                 "    ^^\n"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::Message() << c.arguments);
        OrvaProcess orva(std::wstring(L"points ") + c.arguments);
        EXPECT_EQ(1u, orva.Wait());
        EXPECT_EQ("", orva.Output());
        EXPECT_EQ(c.errors, orva.Errors());
    }
}

} // namespace
