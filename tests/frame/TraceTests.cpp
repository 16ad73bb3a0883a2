#include "tarnu/frame/OrvaTrace.h"

#include "support/DebugOutput.h"

#include <cstdio>
#include <gtest/gtest.h>
#include <initializer_list>
#include <string>
#include <string_view>
#include <thread>

using namespace tarnu::test;

namespace {

std::string ThreadTag(DWORD thread = ::GetCurrentThreadId()) {
    char tag[32] = {};
    std::snprintf(tag, sizeof tag, "TID=%08lX", thread);
    return tag;
}

/// The parts in one text. (GCC 12 warns of overlapping copies in `"text" + std::string(…)`, falsely.)
std::string Join(std::initializer_list<std::string_view> parts) {
    std::string text;
    for (const std::string_view part : parts)
        text += part;
    return text;
}

std::string OnlyText(const DebugOutput& output) {
    const auto texts = output.Texts();
    EXPECT_EQ(1U, texts.size()) << "one call, one text";
    return texts.empty() ? std::string() : texts.front();
}

std::string Log(const std::wstring& file, int line, const std::wstring& message) {
    const DebugOutput output;
    OrvaLog(file.c_str(), line, L"%s", message.c_str());
    return OnlyText(output);
}

} // namespace

TEST(OrvaTrace, FormatsByTheWideRules) {
    const DebugOutput output;
    OrvaTrace(L"%s|%S|%d|%5.2f|%I64d|%c\n", L"wide", "narrow", -7, 2.5, 1LL << 40, L'x');
    OrvaTrace(L"no line end");
    OrvaTrace(L"");
    OrvaTrace(nullptr);
    EXPECT_EQ((std::vector<std::string>{"wide|narrow|-7| 2.50|1099511627776|x\n", "no line end", "", ""}),
              output.Texts());
}

TEST(OrvaTrace, CutsAt2047Characters) {
    for (const std::size_t length : {2046U, 2047U, 2048U, 2049U, 100000U}) {
        const DebugOutput output;
        OrvaTrace(L"%s", std::wstring(length, L'm').c_str());
        EXPECT_EQ(std::string(length < 2047 ? length : 2047, 'm'), OnlyText(output)) << length;
    }
}

// Up to 98 characters of location there are dots and a fixed width; from 99 on neither.
TEST(OrvaLog, EveryLengthAroundTheSwitch) {
    for (std::size_t locationLength = 80; locationLength <= 230; ++locationLength) {
        for (const int number : {1, -20, 2147483647}) {
            const std::string location = Join({"(", std::to_string(number), "): LOG "});
            const std::string file(locationLength - location.size(), 'f');
            const std::string dots(locationLength <= 98 ? 98 - locationLength : 0, '.');
            const std::string line = Log(std::wstring(file.begin(), file.end()), number, L"message");
            ASSERT_EQ(file + location + dots + ThreadTag() + " message\n", line) << locationLength;
        }
    }
}

TEST(OrvaLog, FileNamesOfAnyLength) {
    EXPECT_EQ("(1): LOG " + std::string(89, '.') + ThreadTag() + " \n", Log(L"", 1, L""));
    const std::string message = Join({" ", std::string(1023, 'm'), "\n"});
    for (const std::size_t length : {900U, 901U, 1000U, 2000U, 2047U, 2048U, 2049U, 30000U}) {
        const std::string expected = std::string(length, 'f') + "(7): LOG " + ThreadTag() + message;
        EXPECT_TRUE(expected == Log(std::wstring(length, L'f'), 7, std::wstring(1023, L'm'))) << length;
    }
    // Longer than the system hands to a debugger: what arrives is the system's affair, the call must end well.
    const DebugOutput output;
    OrvaLog(std::wstring(100000, L'f').c_str(), 7, L"%s", L"message");
}

TEST(OrvaLog, FileNamesAreNoFormatsAndMayBeNull) {
    EXPECT_EQ("%n%s%d.cpp(1): LOG " + std::string(79, '.') + ThreadTag() + " %s\n", Log(L"%n%s%d.cpp", 1, L"%s"));
    const DebugOutput output;
    OrvaLog(nullptr, 1, nullptr);
    EXPECT_EQ("(null)(1): LOG " + std::string(83, '.') + ThreadTag() + " \n", OnlyText(output));
}

TEST(OrvaLog, CutsMessagesAt1023Characters) {
    for (const std::size_t length : {1022U, 1023U, 1024U, 5000U}) {
        const std::string line = Log(L"a", 1, std::wstring(length, L'm'));
        EXPECT_EQ(Join({" ", std::string(length < 1023 ? length : 1023, 'm'), "\n"}), line.substr(110)) << length;
    }
}

TEST(OrvaLog, TagNamesTheCallingThread) {
    const DebugOutput output;
    DWORD other = 0;
    std::thread([&] {
        other = ::GetCurrentThreadId();
        OrvaLog(L"worker.cpp", 1, L"from a worker");
    }).join();
    OrvaLog(L"main.cpp", 1, L"from the main thread");
    const auto texts = output.Texts();
    ASSERT_EQ(2U, texts.size());
    EXPECT_EQ(ThreadTag(other), texts[0].substr(98, 12));
    EXPECT_EQ(ThreadTag(), texts[1].substr(98, 12));
    EXPECT_NE(ThreadTag(other), ThreadTag());
}

TEST(OrvaLog, MacroNamesThisPlace) {
    const DebugOutput output;
    ORVA_LOG(L"%d of %d", 1, 2);
    const int line = __LINE__ - 1;
    ORVA_LOG(L"plain");
    const auto texts = output.Texts();
    ASSERT_EQ(2U, texts.size());
    EXPECT_EQ(0U, texts[0].find(std::string(__FILE__) + "(" + std::to_string(line) + "): LOG ")) << texts[0];
    EXPECT_NE(std::string::npos, texts[0].find(ThreadTag() + " 1 of 2\n"));
    EXPECT_NE(std::string::npos, texts[1].find(Join({"(", std::to_string(line + 2), "): LOG "})));
}
