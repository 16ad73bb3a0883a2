#include "tarnu/frame/OrvaComErrorBox.h"
#include "tarnu/text/OrvaStrings.h"

#include "support/MessageBoxes.h"

#include <comdef.h>
#include <gtest/gtest.h>
#include <utility>

using namespace tarnu::test;

namespace {

/// Holds the Shift key down for a scope.
class ShiftKey {
public:
    ShiftKey() {
        ::keybd_event(VK_SHIFT, 0, 0, 0);
        EXPECT_TRUE(::GetAsyncKeyState(VK_SHIFT) & 0x8000) << "the key is not seen as held";
    }
    ~ShiftKey() { ::keybd_event(VK_SHIFT, 0, KEYEVENTF_KEYUP, 0); }
    ShiftKey(const ShiftKey&) = delete;
    ShiftKey& operator=(const ShiftKey&) = delete;
};

using Outcome = std::pair<int, std::size_t>; ///< the answer of one call, and how many boxes it showed

Outcome Show(const wchar_t* file, int line, int answer = IDOK, HRESULT error = E_ACCESSDENIED) {
    MessageBoxes boxes({answer});
    const int result = OrvaShowComError(_com_error(error), file, line);
    return {result, boxes.Shown().size()};
}

} // namespace

TEST(OrvaShowComError, BoxWithTheErrorsText) {
    MessageBoxes boxes({IDCANCEL});
    const _com_error error(E_ACCESSDENIED);
    EXPECT_EQ(IDCANCEL, OrvaShowComError(error, L"box.cpp", 1));
    ASSERT_EQ(1U, boxes.Shown().size());
    EXPECT_EQ(std::wstring(OrvaGetComErrorText(error)), boxes.Shown()[0].text);
    EXPECT_EQ(L"", boxes.Shown()[0].caption);
    EXPECT_EQ(nullptr, boxes.Shown()[0].owner);
    EXPECT_EQ((std::vector<int>{IDOK, IDCANCEL}), boxes.Shown()[0].buttons);
}

TEST(OrvaShowComError, OnlyOkWithShiftSilences) {
    EXPECT_EQ((Outcome{IDOK, 1}), Show(L"plain.cpp", 1));
    EXPECT_EQ((Outcome{IDOK, 1}), Show(L"plain.cpp", 1)) << "OK alone";
    {
        const ShiftKey shift;
        EXPECT_EQ((Outcome{IDCANCEL, 1}), Show(L"plain.cpp", 1, IDCANCEL));
    }
    EXPECT_EQ((Outcome{IDCANCEL, 1}), Show(L"plain.cpp", 1, IDCANCEL)) << "Cancel with Shift";
    {
        const ShiftKey shift;
        EXPECT_EQ((Outcome{IDOK, 1}), Show(L"plain.cpp", 1));
    }
    EXPECT_EQ((Outcome{IDOK, 0}), Show(L"plain.cpp", 1, IDCANCEL)) << "answers IDOK without asking";
}

TEST(OrvaShowComError, SilenceIsForOneFileAndLine) {
    {
        const ShiftKey shift;
        EXPECT_EQ((Outcome{IDOK, 1}), Show(L"one.cpp", 12));
        EXPECT_EQ((Outcome{IDOK, 1}), Show(nullptr, 1));
    }
    EXPECT_EQ((Outcome{IDOK, 0}), Show(L"one.cpp", 12, IDCANCEL, E_OUTOFMEMORY)) << "also for another error";
    EXPECT_EQ((Outcome{IDOK, 0}), Show(std::wstring(L"one.cpp").c_str(), 12, IDCANCEL)) << "by text, not by address";
    EXPECT_EQ((Outcome{IDOK, 0}), Show(nullptr, 1, IDCANCEL));
    for (const int line : {1, 2, 11, 13, 120})
        EXPECT_EQ((Outcome{IDCANCEL, 1}), Show(L"one.cpp", line, IDCANCEL)) << line;
    for (const wchar_t* file : {L"One.cpp", L"two.cpp", L"", L"one.cpp#1"})
        EXPECT_EQ((Outcome{IDCANCEL, 1}), Show(file, 12, IDCANCEL)) << file;
}

TEST(OrvaShowComError, MacroNamesThisPlace) {
    for (int round = 0; round < 2; ++round) {
        MessageBoxes boxes;
        {
            const ShiftKey shift;
            EXPECT_EQ(IDOK, ORVA_SHOW_COM_ERROR(_com_error(E_FAIL)));
        }
        EXPECT_EQ(IDOK, ORVA_SHOW_COM_ERROR(_com_error(E_FAIL)));
        EXPECT_EQ(round == 0 ? 2U : 1U, boxes.Shown().size()) << "the first place is silenced, the second is not";
    }
}
