#include "support/DebugOutput.h"
#include "tarnu/frame/LimitedLog.h"
#include "tarnu/frame/OrvaProgressDisabler.h"
#include "tarnu/frame/ProgressScope.h"

#include <gtest/gtest.h>
#include <string>
#include <thread>
#include <vector>

namespace {

using tarnu::ProgressScope;

ULONGLONG g_now = 0;
std::string g_log; ///< one letter and the value for each call of the handler
bool g_isStopWanted = false;

ULONGLONG WINAPI Now() {
    return g_now;
}

int __cdecl Record(int operation, int value, const wchar_t*) {
    g_log += " PqBETMbpns"[operation] + std::to_string(value) + ' ';
    return operation == OrvaProgressOperationPoll && g_isStopWanted;
}

class ProgressScopes : public testing::Test {
protected:
    ProgressScopes() {
        g_now = 1000;
        g_isStopWanted = false;
        OrvaSetProgressCallback(&Record);
        g_log.clear();
    }
    ~ProgressScopes() override {
        OrvaProgressCallback = nullptr;
        OrvaProgressEnabled = false;
        OrvaProgressPosition = OrvaSecondaryProgressPosition = 0;
        OrvaProgressRange = 1;
    }
    static ProgressScope::Options Every(ULONGLONG interval) {
        ProgressScope::Options options;
        options.interval = interval;
        options.clock = &Now;
        return options;
    }
    static ProgressScope::Options Secondary(int value) {
        ProgressScope::Options options = Every(0);
        options.level = ProgressScope::Level::Secondary;
        options.value = value;
        return options;
    }
    static std::string Taken() { return std::exchange(g_log, std::string()); }
};

TEST_F(ProgressScopes, StepsAreThrottled) {
    {
        ProgressScope progress(L"Reading", 5, Every(100));
        EXPECT_EQ("B0 ", Taken());
        EXPECT_EQ(5, OrvaProgressRange);
        EXPECT_TRUE(progress.Step());
        g_now += 99;
        EXPECT_TRUE(progress.Step());
        EXPECT_EQ("", Taken()) << "too early";
        g_now += 1;
        EXPECT_TRUE(progress.Step());
        EXPECT_EQ("P3 q0 ", Taken());
        EXPECT_TRUE(progress.Step());
        EXPECT_EQ("", Taken()) << "the interval begins with the report";
        EXPECT_TRUE(progress.Step());
        EXPECT_EQ("P5 q0 ", Taken()) << "the last step is reported in any case";
    }
    EXPECT_EQ("E0 ", Taken());
    EXPECT_EQ(1, OrvaProgressRange);
    {
        ProgressScope progress(L"Reading", 5, Every(100));
        progress.Step(2);
        Taken();
    }
    EXPECT_EQ("P2 E0 ", Taken()) << "what was not reported yet comes before the end";
}

TEST_F(ProgressScopes, AStopIsRemembered) {
    ProgressScope progress(L"Reading", 10, Every(0));
    EXPECT_TRUE(progress.Step());
    EXPECT_FALSE(progress.IsStopped());
    g_isStopWanted = true;
    EXPECT_FALSE(progress.Step());
    g_isStopWanted = false;
    Taken();
    EXPECT_FALSE(progress.Step()) << "nobody is asked again";
    EXPECT_TRUE(progress.IsStopped());
    EXPECT_EQ("", Taken());
}

TEST_F(ProgressScopes, TheRestIsEstimated) {
    ProgressScope progress(L"Reading", 10, Every(100));
    EXPECT_EQ(std::nullopt, progress.GetRemaining());
    g_now += 300;
    progress.SetPosition(3);
    EXPECT_EQ(700U, progress.GetRemaining());
    g_now += 700;
    progress.SetPosition(10);
    EXPECT_EQ(0U, progress.GetRemaining());
    progress.SetPosition(12);
    EXPECT_EQ(0U, progress.GetRemaining()) << "more than was announced";
    EXPECT_EQ(12, progress.GetPosition());
}

TEST_F(ProgressScopes, SecondaryGivesTheRangeBack) {
    const ProgressScope outer(L"All", 7, Every(0));
    {
        ProgressScope inner(L"One", 3, Secondary(4));
        EXPECT_EQ(3, OrvaProgressRange);
        inner.Step();
    }
    EXPECT_EQ(7, OrvaProgressRange);
    EXPECT_EQ("B0 b4 p1 q0 ", Taken());
    {
        const ProgressScope inner(L"One", 3, Secondary(0));
        OrvaSetProgressEnabled(false);
    }
    EXPECT_EQ(7, OrvaProgressRange) << "also when the meter was switched off meanwhile";
    EXPECT_EQ("b0 ", Taken());
}

TEST_F(ProgressScopes, SilentWithoutMeter) {
    {
        const OrvaProgressDisabler silent;
        ProgressScope progress(L"Reading", 1, Every(0));
        EXPECT_TRUE(progress.Step());
        OrvaProgressRange = 5;
        ProgressScope inner(L"One", 3, Secondary(0));
        OrvaProgressRange = 6;
        ProgressScope plain(L"With the usual options", 2);
        EXPECT_TRUE(plain.Step());
    }
    EXPECT_EQ("", Taken());
    EXPECT_EQ(6, OrvaProgressRange) << "what was not shown gives nothing back";
    OrvaProgressCallback = nullptr; // enabled, but without a callback: nothing may be called
    OrvaProgressEnabled = false;
    ProgressScope progress(L"Reading", 1, Every(0));
    EXPECT_TRUE(progress.Step());
    EXPECT_EQ(1, progress.GetPosition());
}

std::vector<std::string> Messages(const tarnu::test::DebugOutput& output) {
    std::vector<std::string> messages;
    for (const std::string& text : output.Texts()) {
        const std::size_t tag = text.find("TID=");
        messages.push_back(text.substr(tag + 13, text.find_last_not_of("\r\n") - tag - 12));
    }
    return messages;
}

TEST(LimitedLog, SaysWhatItDropped) {
    const tarnu::test::DebugOutput output;
    g_now = 50;
    {
        tarnu::LogLimit limit(L"place.cpp", 1, 2, 1000, &Now);
        const auto log = [&limit](const wchar_t* text) {
            if (limit.Allow()) OrvaLog(L"place.cpp", 1, L"%s", text);
        };
        for (const wchar_t* text : {L"a", L"b", L"c", L"d"})
            log(text);
        g_now = 1049; // the span began at 50
        log(L"e");
        g_now = 1050;
        log(L"f");
        g_now = 5000;
        log(L"g");
        log(L"h");
        log(L"i");
        log(L"j");
    }
    EXPECT_EQ((std::vector<std::string>{"a", "b", "3 lines dropped here", "f", "g", "h", "2 lines dropped here"}),
              Messages(output));
}

TEST(LimitedLog, EachPlaceHasItsLimit) {
    const tarnu::test::DebugOutput output;
    int evaluated = 0;
    for (int round = 0; round < 4; ++round) {
        ORVA_LOG_ONCE(L"once %d", ++evaluated);
        ORVA_LOG_FIRST(2, L"twice %d", round);
        if (round > 0)
            ORVA_LOG_LIMITED(1, 3600000, L"hour");
        else
            ORVA_LOG_LIMITED(0, 3600000, L"never");
    }
    EXPECT_EQ((std::vector<std::string>{"once 1", "twice 0", "twice 1", "hour"}), Messages(output));
    EXPECT_EQ(1, evaluated) << "the arguments of a dropped line are not evaluated";
}

TEST(LimitedLog, CountsFromAllThreads) {
    const tarnu::test::DebugOutput output;
    {
        tarnu::LogLimit limit(L"place.cpp", 1, 10, tarnu::LogLimit::forever, &Now);
        std::vector<std::thread> threads;
        for (int number = 0; number < 4; ++number) {
            threads.emplace_back([&limit] {
                for (int line = 0; line < 100; ++line)
                    if (limit.Allow()) OrvaLog(L"place.cpp", 1, L"line");
            });
        }
        for (std::thread& thread : threads)
            thread.join();
    }
    const std::vector<std::string> messages = Messages(output);
    EXPECT_EQ(11U, messages.size());
    EXPECT_EQ("390 lines dropped here", messages.back());
}

} // namespace
