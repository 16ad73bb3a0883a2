#include "tarnu/frame/OrvaProgress.h"

#include "support/Text.h"

#include <gtest/gtest.h>
#include <string>
#include <utility>

namespace {

std::string g_calls; ///< "operation value text; " for each call; no text for null
int g_result = 0;
void (*g_duringCall)() = nullptr;

int __cdecl Record(int operation, int value, const wchar_t* text) {
    g_calls += std::to_string(operation) + ' ' + std::to_string(value);
    if (text != nullptr) g_calls += ' ' + tarnu::test::Narrow(text);
    g_calls += "; ";
    if (g_duringCall != nullptr) g_duringCall();
    return g_result;
}

/// Puts the whole meter into its initial state before and after each test, and records what reaches the handler.
class Progress : public testing::Test {
protected:
    Progress() { Reset(); }
    ~Progress() override { Reset(); }

    static void Reset() {
        OrvaProgressCallback = nullptr;
        OrvaProgressEnabled = false;
        OrvaProgressPosition = OrvaSecondaryProgressPosition = 0;
        OrvaProgressRange = 1;
        ClearTimes();
        g_calls.clear();
        g_result = 0;
        g_duringCall = nullptr;
    }
    static void ClearTimes() {
        OrvaProgressReportTime = OrvaProgressPollTime = 0;
        OrvaSecondaryProgressReportTime = OrvaSecondaryProgressPollTime = 0;
    }
    /// Which of primary report, primary poll, secondary report and secondary poll time have been stamped: "rprp".
    static std::string Stamped() {
        std::string stamped;
        stamped += OrvaProgressReportTime != 0 ? 'r' : '-';
        stamped += OrvaProgressPollTime != 0 ? 'p' : '-';
        stamped += OrvaSecondaryProgressReportTime != 0 ? 'r' : '-';
        stamped += OrvaSecondaryProgressPollTime != 0 ? 'p' : '-';
        ClearTimes();
        return stamped;
    }
    static std::string TakeCalls() { return std::exchange(g_calls, {}); }
};

TEST_F(Progress, EnablingNeedsACallback) {
    OrvaSetProgressEnabled(true);
    EXPECT_FALSE(OrvaIsProgressEnabled());

    OrvaSetProgressCallback(&Record);
    EXPECT_EQ(OrvaProgressCallback, &Record);
    EXPECT_TRUE(OrvaIsProgressEnabled());
    OrvaSetProgressEnabled(false);
    EXPECT_FALSE(OrvaProgressEnabled);
    OrvaSetProgressEnabled(true);
    EXPECT_TRUE(OrvaProgressEnabled);
    EXPECT_TRUE(g_calls.empty());
}

TEST_F(Progress, InstallingNullEnables) {
    OrvaSetProgressCallback(nullptr);
    EXPECT_TRUE(OrvaIsProgressEnabled());
    EXPECT_EQ(OrvaProgressCallback, nullptr);
    // Without a callback the flag can no longer be changed.
    OrvaSetProgressEnabled(false);
    EXPECT_TRUE(OrvaIsProgressEnabled());
}

TEST_F(Progress, BeginResetsPositionAndSetsTheSharedRange) {
    OrvaSetProgressCallback(&Record);
    OrvaProgressPosition = 7;
    OrvaSecondaryProgressPosition = 8;

    OrvaBeginProgress(L"Reading", 42, 10);
    EXPECT_EQ(OrvaProgressPosition, 0);
    EXPECT_EQ(OrvaSecondaryProgressPosition, 8);
    EXPECT_EQ(OrvaProgressRange, 10);
    EXPECT_EQ(Stamped(), "rp--");

    OrvaBeginSecondaryProgress(nullptr, -1, 20);
    EXPECT_EQ(OrvaSecondaryProgressPosition, 0);
    EXPECT_EQ(OrvaProgressRange, 20);
    EXPECT_EQ(Stamped(), "--rp");
    EXPECT_EQ(TakeCalls(), "3 42 Reading; 7 -1; ");

    OrvaBeginProgress(L"a", 1, 0);
    EXPECT_EQ(OrvaProgressRange, 1) << "a count of 0 stands for 1";
    OrvaBeginProgress(L"b", 2, -5);
    EXPECT_EQ(OrvaProgressRange, -5);
    OrvaBeginProgress(L"c", 3);
    EXPECT_EQ(OrvaProgressRange, 1);
    OrvaBeginProgress(L"d", 4, 9);
    OrvaBeginSecondaryProgress(L"e", 5);
    EXPECT_EQ(OrvaProgressRange, 1);
    EXPECT_EQ(TakeCalls(), "3 1 a; 3 2 b; 3 3 c; 3 4 d; 7 5 e; ");
}

TEST_F(Progress, TheHandlerSeesTheNewStateAndTheOldTimes) {
    OrvaSetProgressCallback(&Record);
    OrvaProgressPosition = 5;
    g_duringCall = [] {
        EXPECT_EQ(OrvaProgressPosition, 0);
        EXPECT_EQ(OrvaProgressRange, 3);
        EXPECT_EQ(Stamped(), "----") << "times are stamped after the call";
    };
    OrvaBeginProgress(L"x", 0, 3);
    EXPECT_EQ(Stamped(), "rp--");
    g_duringCall = [] { EXPECT_EQ(OrvaProgressRange, 1); };
    OrvaEndProgress();
    EXPECT_EQ(TakeCalls(), "3 0 x; 4 0; ");
}

TEST_F(Progress, PositionsAreKeptPerLevel) {
    OrvaSetProgressCallback(&Record);
    OrvaSetProgressPosition(3);
    EXPECT_EQ(Stamped(), "r---");
    OrvaSetSecondaryProgressPosition(-4);
    EXPECT_EQ(Stamped(), "--r-");
    EXPECT_EQ(OrvaProgressPosition, 3);
    EXPECT_EQ(OrvaSecondaryProgressPosition, -4);
    OrvaEndProgress();
    EXPECT_EQ(Stamped(), "----");
    EXPECT_EQ(OrvaProgressPosition, 3) << "ending leaves the position";
    EXPECT_EQ(TakeCalls(), "1 3; 8 -4; 4 0; ");
}

TEST_F(Progress, PollAndUpdateAnswerWhatTheHandlerWants) {
    OrvaSetProgressCallback(&Record);
    OrvaProgressPosition = 6;
    OrvaSecondaryProgressPosition = 9;
    for (const int result : {0, 1, -1}) {
        g_result = result;
        EXPECT_EQ(OrvaPollProgress(), result != 0);
        EXPECT_EQ(Stamped(), "-p--");
        EXPECT_EQ(OrvaPollSecondaryProgress(), result != 0);
        EXPECT_EQ(Stamped(), "---p");
        EXPECT_EQ(TakeCalls(), "2 0; 2 0; ");
        EXPECT_EQ(OrvaUpdateProgress(), result != 0);
        EXPECT_EQ(Stamped(), "rp--");
        EXPECT_EQ(OrvaUpdateSecondaryProgress(), result != 0);
        EXPECT_EQ(Stamped(), "--rp");
        EXPECT_EQ(TakeCalls(), "1 6; 2 0; 1 6; 8 9; 2 0; 8 9; ");
    }
}

TEST_F(Progress, UpdateReportsTheStoredPositionAfterThePoll) {
    OrvaSetProgressCallback(&Record);
    g_duringCall = [] { ++OrvaProgressPosition; };
    OrvaUpdateProgress();
    EXPECT_EQ(TakeCalls(), "1 0; 2 0; 1 2; ");
}

TEST_F(Progress, WhileDisabledOnlyPollAndUpdateReachTheHandler) {
    OrvaSetProgressCallback(&Record);
    OrvaProgressPosition = 5;
    OrvaSecondaryProgressPosition = 6;
    OrvaProgressRange = 7;
    OrvaSetProgressEnabled(false);

    OrvaBeginProgress(L"a", 1, 2);
    OrvaBeginSecondaryProgress(L"b", 3, 4);
    OrvaSetProgressPosition(8);
    OrvaSetSecondaryProgressPosition(9);
    OrvaProgressText(L"c");
    OrvaProgressMessage(L"d");
    OrvaProgressNote(L"e");
    OrvaProgressStatus(L"f");
    OrvaEndProgress();
    EXPECT_EQ(TakeCalls(), "");
    EXPECT_EQ(OrvaProgressPosition, 5);
    EXPECT_EQ(OrvaSecondaryProgressPosition, 6);
    EXPECT_EQ(OrvaProgressRange, 7);
    EXPECT_EQ(Stamped(), "----");

    // The guarded first report of an update is missing.
    g_result = 1;
    EXPECT_TRUE(OrvaPollProgress());
    EXPECT_TRUE(OrvaPollSecondaryProgress());
    EXPECT_TRUE(OrvaUpdateProgress());
    EXPECT_TRUE(OrvaUpdateSecondaryProgress());
    EXPECT_EQ(TakeCalls(), "2 0; 2 0; 2 0; 1 5; 2 0; 8 6; ");
}

TEST_F(Progress, TextsAreForwarded) {
    OrvaSetProgressCallback(&Record);
    OrvaProgressPosition = 11;
    OrvaSecondaryProgressPosition = 12;
    g_result = 1; // ignored for everything but the poll
    OrvaProgressText(L"text");
    OrvaProgressMessage(L"message");
    OrvaProgressNote(L"note");
    OrvaProgressStatus(nullptr);
    EXPECT_EQ(TakeCalls(), "5 11 text; 6 0 message; 9 0 note; 10 0; ");
    EXPECT_EQ(Stamped(), "----");
}

} // namespace
