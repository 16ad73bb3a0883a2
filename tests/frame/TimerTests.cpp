#include "support/TempFolder.h"
#include "tarnu/frame/OrvaProgress.h"
#include "tarnu/frame/OrvaProgressDisabler.h"
#include "tarnu/frame/OrvaTimer.h"

#include <ctime>
#include <gtest/gtest.h>
#include <string>
#include <type_traits>

namespace {

using tarnu::test::ReadFile;
using tarnu::test::TempFolder;

/// Waits until the processor clock has moved on by that many ticks; returns the reading.
std::clock_t WaitTicks(std::clock_t ticks) {
    const std::clock_t start = std::clock();
    std::clock_t now = start;
    while (now - start < ticks) {
        ::Sleep(1);
        now = std::clock();
    }
    return now;
}

/// The milliseconds of a text such as "1.250 sec"; -1 for any other text.
int Milliseconds(const CString& text) {
    int seconds = 0;
    int milliseconds = 0;
    wchar_t again[64];
    if (::swscanf(text, L"%d.%3d sec", &seconds, &milliseconds) != 2) return -1;
    ::_snwprintf(again, 64, L"%d.%03d sec", seconds, milliseconds);
    return text == again ? seconds * 1000 + milliseconds : -1;
}

TEST(Timer, MeasuresBetweenStartAndStop) {
    OrvaTimer timer(L"", 0, 0);
    const std::clock_t before = std::clock();
    EXPECT_EQ(&timer.Start(), &timer);
    const std::clock_t started = std::clock();
    const std::clock_t waited = WaitTicks(30);
    EXPECT_EQ(&timer.Stop(), &timer);
    const std::clock_t after = std::clock();

    const int measured = Milliseconds(timer.GetElapsedText(false));
    EXPECT_GE(measured, waited - started);
    EXPECT_LE(measured, after - before);
    EXPECT_EQ(Milliseconds(timer.GetElapsedText(false)), measured) << "the accumulated time stands";
}

TEST(Timer, AccumulatesSpansAndCountsFromTheSameStartTwice) {
    OrvaTimer timer(L"", 0, 0);
    timer.Start();
    WaitTicks(20);
    timer.Stop();
    const int first = Milliseconds(timer.GetElapsedText(false));
    WaitTicks(20); // not measured
    timer.Start();
    WaitTicks(10);
    timer.Stop();
    const int both = Milliseconds(timer.GetElapsedText(false));
    EXPECT_GE(both, first + 10);

    // A second stop adds the whole span since the same start.
    WaitTicks(10);
    timer.Stop();
    EXPECT_GE(Milliseconds(timer.GetElapsedText(false)), both + 20);
}

TEST(Timer, ARunningSpanIsTakenAndKept) {
    OrvaTimer timer(L"", 0, 0);
    timer.Start();
    WaitTicks(10);
    const int running = Milliseconds(timer.GetElapsedText(false));
    EXPECT_GE(running, 10);
    WaitTicks(10);
    EXPECT_EQ(Milliseconds(timer.GetElapsedText(true)), running) << "kept, then reset";
    EXPECT_GE(Milliseconds(timer.GetElapsedText(true)), 20) << "after the reset the span runs on";
}

TEST(Timer, BeforeAnyStartTheSpanIsTheProcessorClock) {
    OrvaTimer timer(L"", 0, 0);
    const std::clock_t before = WaitTicks(2);
    const int measured = Milliseconds(timer.GetElapsedText(false));
    EXPECT_GE(measured, before);
    EXPECT_LE(measured, std::clock());
}

TEST(Timer, ReportsIntoItsFile) {
    const TempFolder folder;
    const std::wstring path = folder / L"new\\timing.txt";
    CString text;
    CString report;
    {
        OrvaTimer timer(path.c_str(), 0, 1);
        EXPECT_TRUE(timer.IsOpened());
        timer.Start();
        WaitTicks(3);
        timer.Stop();
        text = timer.GetElapsedText(false);
        report = timer.GetReport(L"50% %s", false);
        EXPECT_EQ(report, L"\nTimer in 50% %s: " + text + L"\n");
        timer.WriteElapsed(false);
        timer.WriteReport(L"50% %s", true);
        timer.WriteReport(L"", false); // the running span: the accumulated one was reset
    }
    const std::string contents = ReadFile(path);
    const std::wstring expected =
        std::wstring(text) + L"\r\nTimer in 50% %s: " + text.GetString() + L"\r\n\r\nTimer in : ";
    EXPECT_EQ(contents.substr(0, expected.size()), std::string(expected.begin(), expected.end()));
    EXPECT_EQ(contents.substr(contents.size() - 6), " sec\r\n");
    EXPECT_EQ(contents.find("File Report"), std::string::npos) << "a timer's file has no header";
}

TEST(Timer, WithoutAFileWritingDoesNothingAtAll) {
    OrvaTimer timer(L"", 1, 1);
    EXPECT_FALSE(timer.IsOpened());
    timer.Start();
    WaitTicks(5);
    timer.Stop();
    const CString text = timer.GetElapsedText(false);
    timer.WriteElapsed(true);
    timer.WriteReport(L"x", true);
    EXPECT_EQ(timer.GetElapsedText(false), text) << "not reset";
}

TEST(Timer, PassesItsSettingsToTheFile) {
    const TempFolder folder;
    const std::wstring path = folder.MakeFile(L"timing.txt", "old\r\n");
    {
        OrvaTimer timer(path.c_str(), 0, 0);
        timer.WriteString(L"new");
    }
    EXPECT_EQ(ReadFile(path), "old\r\nnew");
    { const OrvaTimer timer(path.c_str(), 0, 1); }
    EXPECT_EQ(ReadFile(path), "");
    { const OrvaTimer timer((folder / L"stamped.txt").c_str(), 1, 1); }
    EXPECT_FALSE(tarnu::test::Exists(folder / L"stamped.txt"));
}

/// Restores the meter's initial state.
class ProgressDisabler : public testing::Test {
protected:
    ~ProgressDisabler() override {
        OrvaProgressCallback = nullptr;
        OrvaProgressEnabled = false;
    }
    static int __cdecl Ignore(int, int, const wchar_t*) { return 0; }
};

TEST_F(ProgressDisabler, NestsAndRestoresWhatItFound) {
    static_assert(std::has_virtual_destructor_v<OrvaProgressDisabler>);
    OrvaSetProgressCallback(&Ignore);
    {
        const OrvaProgressDisabler outer;
        EXPECT_FALSE(OrvaIsProgressEnabled());
        {
            const OrvaProgressDisabler inner;
            EXPECT_FALSE(OrvaIsProgressEnabled());
        }
        EXPECT_FALSE(OrvaIsProgressEnabled()) << "the inner one found it disabled";
        OrvaSetProgressEnabled(true);
        {
            const OrvaProgressDisabler inner;
            EXPECT_FALSE(OrvaIsProgressEnabled());
        }
        EXPECT_TRUE(OrvaIsProgressEnabled());
        OrvaSetProgressEnabled(false);
    }
    EXPECT_TRUE(OrvaIsProgressEnabled());
}

TEST_F(ProgressDisabler, ChangesNothingWithoutACallback) {
    {
        const OrvaProgressDisabler disabler;
        EXPECT_FALSE(OrvaIsProgressEnabled());
    }
    EXPECT_FALSE(OrvaIsProgressEnabled());
    OrvaProgressEnabled = true; // as installing null leaves it
    {
        const OrvaProgressDisabler disabler;
        EXPECT_TRUE(OrvaIsProgressEnabled());
    }
    EXPECT_TRUE(OrvaIsProgressEnabled());

    // A callback installed meanwhile enables the meter; the end of the scope puts back what was found before.
    OrvaProgressEnabled = false;
    {
        const OrvaProgressDisabler disabler;
        OrvaSetProgressCallback(&Ignore);
        EXPECT_TRUE(OrvaIsProgressEnabled());
    }
    EXPECT_FALSE(OrvaIsProgressEnabled());
}

} // namespace
