// Faults in message boxes, trace, registry, timer and progress.

#include "faults/FaultDriver.h"
#include "support/DebugOutput.h"
#include "support/MessageBoxes.h"

#include "tarnu/files/OrvaTreeOperations.h"
#include "tarnu/frame/OrvaComErrorBox.h"
#include "tarnu/frame/OrvaMessageBox.h"
#include "tarnu/frame/OrvaProgress.h"
#include "tarnu/frame/OrvaRegistry.h"
#include "tarnu/frame/OrvaTimer.h"
#include "tarnu/frame/OrvaTrace.h"
#include "tarnu/text/OrvaStrings.h"

#include <comdef.h>
#include <gtest/gtest.h>

namespace tarnu::test::faults {
namespace {

TEST(FrameFaults, MessageBoxes) {
    Inject([](Trial& trial) {
        const MessageBoxes boxes({IDCANCEL, IDOK});
        int answers[2] = {-1, -1};
        trial.Operate([&] {
            answers[0] = DllMessageBox(nullptr, L"text", L"caption", MB_OKCANCEL);
            answers[1] = DllMessageBox(L"text", MB_OK);
        });
        trial.ExpectSuccessUnlessFault(answers[0] == IDCANCEL && answers[1] == IDOK);
        // A box that could not be shown says 0; whatever else goes wrong falls back to the plain box.
        if (trial.IsFault("MessageBoxW")) {
            EXPECT_TRUE(answers[0] == 0 || answers[1] == 0);
        } else {
            EXPECT_EQ(boxes.Shown().size(), 2u);
        }
    });
}

TEST(FrameFaults, ErrorBoxes) {
    Inject([](Trial& trial) {
        const MessageBoxes boxes;
        int answers[2] = {-1, -1};
        const _com_error error(E_ACCESSDENIED);
        const bool noMemory = trial.Throws([&] {
            answers[0] = OrvaShowComError(error, L"file.cpp", 1);
            answers[1] = OrvaShowSystemError(ERROR_ACCESS_DENIED);
        });
        trial.ExpectSuccessUnlessFault(!noMemory && answers[0] == IDOK && answers[1] == IDOK);
    });
}

TEST(FrameFaults, TraceAndLog) {
    Inject([](Trial& trial) {
        const DebugOutput output;
        const std::wstring longName(3000, L'n');
        trial.Operate([&] {
            OrvaTrace(L"trace %d", 1);
            OrvaLog(L"file.cpp", 1, L"log %d", 2);
            OrvaLog(longName.c_str(), 1, L"end of a long line");
        });
        const std::vector<std::string> texts = output.Texts();
        ASSERT_EQ(texts.size(), 3u);
        EXPECT_TRUE(texts[2].ends_with("end of a long line\n"));
    });
}

TEST(FrameFaults, Registry) {
    // Every successful call leaves its key open, on purpose: handles are not counted here, the values are.
    const FaultSeam seam;
    const CString key(L"SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion");
    const CString name(L"CurrentVersion");
    for (const char* failing : {"", "RegOpenKeyExW", "RegQueryValueExW"}) {
        Plan plan{nullptr, false, 1, 1, true};
        for (const SystemCall* call : CoveredCalls())
            if (std::string_view(call->name) == failing) plan.call = call;
        FaultSeam::Prepare(plan);
        wchar_t text[64] = L"untouched";
        DWORD size = sizeof text;
        DWORD type = 77;
        DWORD number = 99;
        FaultSeam::Arm();
        const BOOL isRead = OrvaReadRegistryValue(key, name, &type, reinterpret_cast<BYTE*>(text), &size);
        FaultSeam::Disarm();
        EXPECT_EQ(isRead, *failing == 0 ? TRUE : FALSE) << failing;
        EXPECT_EQ(type, isRead ? DWORD{REG_SZ} : 77u);
        FaultSeam::Prepare(plan);
        FaultSeam::Arm();
        EXPECT_FALSE(OrvaReadRegistryDword(key, L"no such value", &number));
        FaultSeam::Disarm();
        EXPECT_EQ(number, 99u);
    }
}

TEST(FrameFaults, Timer) {
    Inject([](Trial& trial) {
        const CString path((trial / L"logs\\timing.txt").c_str());
        bool hasThrown = false;
        trial.Operate([&] {
            try {
                OrvaTimer timer(path, 0, 1);
                timer.Start();
                timer.Stop().WriteReport(L"work", /*reset=*/true);
                timer.WriteElapsed(false);
                timer.Close();
            } catch (CException* error) {
                hasThrown = true;
                error->Delete();
            } catch (const std::bad_alloc&) {
                hasThrown = true;
            }
        });
        trial.ExpectSuccessUnlessFault(!hasThrown);
        EXPECT_TRUE(hasThrown || ReadFile(std::wstring(path)).find("Timer in work: ") != std::string::npos);
    });
}

int ended = 0;
int __cdecl OnProgress(int operation, int, const wchar_t*) {
    if (operation == OrvaProgressOperationBegin) --ended;
    if (operation == OrvaProgressOperationEnd) ++ended;
    return 0;
}

TEST(FrameFaults, ProgressOfATree) {
    ended = 0;
    OrvaSetProgressCallback(OnProgress);
    Inject(
        [](Trial& trial) {
            trial.MakeFile(L"tree\\a.txt", "a");
            const std::wstring source = trial / L"tree";
            const std::wstring target = trial / L"copy";
            const int flag = trial.Operate([&] { return OrvaCopyTree(source.c_str(), target.c_str()); });
            trial.ExpectSuccessUnlessFault(flag == 0);
            EXPECT_EQ(ended, 0) << "a progress that has begun ends, whatever happens";
        },
        {.calls = 2, .allocations = 12});
    OrvaSetProgressEnabled(false);
    OrvaProgressCallback = nullptr;
}

} // namespace
} // namespace tarnu::test::faults
