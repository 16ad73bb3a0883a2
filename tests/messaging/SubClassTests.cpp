#include "tarnu/messaging/OrvaSubClassWnd.h"

#include "messaging/TestWindow.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <memory>
#include <vector>

namespace tarnu::test {
namespace {

/// Appends its name to the log for every message that TestWindow logs, and then continues the chain.
class Recorder : public OrvaSubClassWnd {
public:
    Recorder(std::string& log, char name) : m_log(log), m_name(name) {}

    LRESULT WindowProc(UINT message, WPARAM wParam, LPARAM lParam) override {
        if (message < WM_APP && message != WM_NCDESTROY) return OrvaSubClassWnd::WindowProc(message, wParam, lParam);
        m_log += m_name;
        m_log += ' ';
        // The handlers stay on the stack: they may delete this object.
        const auto before = std::exchange(onceBefore, nullptr);
        const auto after = std::exchange(onceAfter, nullptr);
        if (before) before();
        if (useDefault) return Default();
        const LRESULT result = isBaseSkipped ? 0 : OrvaSubClassWnd::WindowProc(message, wParam, lParam);
        if (after) after();
        return result;
    }

    std::function<void()> onceBefore; ///< called once, before the base
    std::function<void()> onceAfter;  ///< called once, after it
    bool useDefault = false;
    bool isBaseSkipped = false;

private:
    std::string& m_log;
    char m_name;
};

class SubClass : public ::testing::Test {
protected:
    /// What one message leaves in the log.
    std::string Sent(const TestWindow& window) {
        m_log.clear();
        EXPECT_EQ(7, window.Send(WM_APP, 3, 4));
        return m_log;
    }
    std::string Sent() { return Sent(m_window); }

    std::string m_log;
    TestWindow m_window{m_log};
    Recorder m_a{m_log, 'a'};
    Recorder m_b{m_log, 'b'};
    Recorder m_c{m_log, 'c'};
};

TEST_F(SubClass, UnhooksInEveryOrderAndRestoresTheProcedureAtTheEnd) {
    std::vector<Recorder*> order{&m_a, &m_b, &m_c};
    std::sort(order.begin(), order.end());
    do {
        for (Recorder* object : {&m_a, &m_b, &m_c})
            EXPECT_TRUE(object->SubClass(m_window.Handle()));
        WNDPROC shared = m_window.Procedure();
        EXPECT_NE(TestWindow::OwnProcedure(), shared);
        std::vector<std::pair<Recorder*, std::string>> chain{{&m_c, "c "}, {&m_b, "b "}, {&m_a, "a "}};
        for (Recorder* object : order) {
            EXPECT_EQ(shared, m_window.Procedure());
            object->UnSubClass();
            std::erase_if(chain, [&](const auto& element) { return element.first == object; });
            std::string expected;
            for (const auto& element : chain)
                expected += element.second;
            EXPECT_EQ(expected + "window ", Sent());
        }
        EXPECT_EQ(TestWindow::OwnProcedure(), m_window.Procedure());
    } while (std::next_permutation(order.begin(), order.end()));
}

TEST_F(SubClass, HandlesThatAreNoWindowsAreStoredAndHarmless) {
    TestWindow other(m_log);
    HWND dead = other.Handle();
    other.Destroy();
    for (HWND handle : {dead, reinterpret_cast<HWND>(0x7FFE), HWND_BROADCAST}) {
        EXPECT_FALSE(m_a.SubClass(handle));
        EXPECT_FALSE(m_b.SubClass(handle));
        m_a.UnSubClass();
        EXPECT_TRUE(m_b.SubClass(m_window.Handle())); // leaves the stored handle for a window
        EXPECT_EQ("b window ", Sent());
        EXPECT_FALSE(m_b.SubClass(nullptr));
        EXPECT_EQ(TestWindow::OwnProcedure(), m_window.Procedure());
    }
    m_a.UnSubClass(); // never hooked, twice
    m_a.UnSubClass();
}

TEST_F(SubClass, TakesTheHandleOfAFrameworkWindow) {
    EXPECT_STREQ("OrvaSubClassWnd", m_a.GetRuntimeClass()->m_lpszClassName);
    EXPECT_FALSE(m_a.IsKindOf(RUNTIME_CLASS(CWnd))) << "it is no window itself";
    CWnd window;
    EXPECT_FALSE(m_a.SubClass(&window));
    window.Attach(m_window.Handle());
    EXPECT_TRUE(m_a.SubClass(&window));
    EXPECT_EQ("a window ", Sent());
    EXPECT_FALSE(m_a.SubClass(static_cast<CWnd*>(nullptr)));
    EXPECT_EQ("window ", Sent());
    window.Detach();
}

TEST_F(SubClass, HookingAgainMovesTheObject) {
    m_a.SubClass(m_window.Handle());
    m_b.SubClass(m_window.Handle());
    EXPECT_TRUE(m_b.SubClass(m_window.Handle())); // newest already
    EXPECT_EQ("b a window ", Sent());
    EXPECT_TRUE(m_a.SubClass(m_window.Handle()));
    EXPECT_EQ("a b window ", Sent());
    TestWindow other(m_log);
    EXPECT_TRUE(m_a.SubClass(other.Handle()));
    EXPECT_EQ("b window ", Sent());
    EXPECT_EQ("a window ", Sent(other));
    m_b.UnSubClass();
    EXPECT_EQ(TestWindow::OwnProcedure(), m_window.Procedure());
    m_a.UnSubClass();
    EXPECT_EQ(TestWindow::OwnProcedure(), other.Procedure());
}

// What a handler changes while a message passes: those still hooked see it once, the window too.
TEST_F(SubClass, TheChainMayChangeWhileAMessagePasses) {
    struct Case {
        const char* what;
        bool isBefore; ///< before b calls its base
        std::function<void()> change;
        const char* sees;
        const char* seesNext;
    };
    std::unique_ptr<Recorder> b;
    const Case cases[] = {
        {"unhooks itself", true, [&] { b->UnSubClass(); }, "c b a window ", "c a window "},
        {"unhooks itself", false, [&] { b->UnSubClass(); }, "c b a window ", "c a window "},
        {"unhooks the older", true, [&] { m_a.UnSubClass(); }, "c b window ", "c b window "},
        {"unhooks the newer", true, [&] { m_c.UnSubClass(); }, "c b a window ", "b a window "},
        {"unhooks all", true,
         [&] {
             m_c.UnSubClass();
             b->UnSubClass();
             m_a.UnSubClass();
         },
         "c b window ", "window "},
        {"unhooks itself, then the older", true,
         [&] {
             b->UnSubClass();
             m_a.UnSubClass();
         },
         "c b window ", "c window "},
        {"is destroyed", false, [&] { b.reset(); }, "c b a window ", "c a window "},
        {"becomes the newest", true, [&] { b->SubClass(m_window.Handle()); }, "c b a window ", "b c a window "},
        {"the older becomes the newest", true, [&] { m_a.SubClass(m_window.Handle()); }, "c b window ",
         "a c b window "},
    };
    for (const Case& test : cases) {
        SCOPED_TRACE(std::string(test.what) + (test.isBefore ? " before" : " after") + " its base");
        b = std::make_unique<Recorder>(m_log, 'b');
        m_a.SubClass(m_window.Handle());
        b->SubClass(m_window.Handle());
        m_c.SubClass(m_window.Handle());
        (test.isBefore ? b->onceBefore : b->onceAfter) = test.change;
        EXPECT_EQ(test.sees, Sent());
        EXPECT_EQ(test.seesNext, Sent());
        m_a.UnSubClass();
        m_c.UnSubClass();
        b.reset();
        EXPECT_EQ(TestWindow::OwnProcedure(), m_window.Procedure());
    }
}

TEST_F(SubClass, AMessageStaysWithItsWindowWhenItsReceiverMovesToAnother) {
    TestWindow other(m_log);
    m_a.SubClass(m_window.Handle());
    m_b.SubClass(m_window.Handle());
    m_c.SubClass(other.Handle());
    m_b.onceBefore = [&] { EXPECT_TRUE(m_b.SubClass(other.Handle())); };
    EXPECT_EQ("b a window ", Sent());
    EXPECT_EQ("b c window ", Sent(other));
    EXPECT_EQ("a window ", Sent());
}

TEST_F(SubClass, NestedMessagesKeepTheirOwnWay) {
    m_a.SubClass(m_window.Handle());
    m_b.SubClass(m_window.Handle());
    m_b.onceBefore = [&] {
        m_window.Send();
        m_a.onceBefore = [&] { m_b.UnSubClass(); };
        m_window.Send();
    };
    EXPECT_EQ("b b a window b a window a window ", Sent());
    EXPECT_EQ("a window ", Sent());
}

TEST_F(SubClass, DestroyingTheWindowFreesAllItsSubclassers) {
    for (Recorder* object : {&m_a, &m_b, &m_c})
        object->SubClass(m_window.Handle());
    m_log.clear();
    m_window.Destroy();
    EXPECT_EQ("window ", m_log); // the subclassers do not see WM_NCDESTROY
    TestWindow next(m_log);
    m_b.SubClass(next.Handle());
    m_a.UnSubClass();
    EXPECT_EQ("b window ", Sent(next));
}

TEST_F(SubClass, WindowsMayDieWhileAMessagePasses) {
    TestWindow other(m_log);
    m_a.SubClass(m_window.Handle());
    m_b.SubClass(m_window.Handle());
    m_c.SubClass(other.Handle());
    m_b.onceBefore = [&] { other.Destroy(); };
    EXPECT_EQ("b window a window ", Sent());
    m_b.onceBefore = [&] { m_window.Destroy(); };
    m_log.clear();
    m_window.Send();
    EXPECT_EQ("b window ", m_log); // WM_NCDESTROY reached the window, the message nobody any more
}

TEST_F(SubClass, TheBaseMayBeCalledFromOutside) {
    m_a.SubClass(m_window.Handle());
    m_b.SubClass(m_window.Handle());
    EXPECT_EQ(7, m_b.OrvaSubClassWnd::WindowProc(WM_APP, 3, 4));
    EXPECT_EQ(7, m_a.OrvaSubClassWnd::WindowProc(WM_APP, 3, 4));
    EXPECT_EQ("a window window ", m_log);
}

TEST_F(SubClass, HookingAndUnhookingWithinTheLastMessage) {
    Recorder late(m_log, 'l');
    m_a.SubClass(m_window.Handle());
    m_b.SubClass(m_window.Handle());
    m_window.onMessage = [&](HWND window, UINT message) {
        if (message != WM_NCDESTROY) return;
        EXPECT_TRUE(::IsWindow(window));
        m_a.UnSubClass();
        late.SubClass(window);
        m_c.SubClass(window);
        m_c.UnSubClass();
    };
    m_log.clear();
    m_window.Destroy();
    EXPECT_EQ("window ", m_log);
    TestWindow next(m_log);
    EXPECT_TRUE(late.SubClass(next.Handle()));
    EXPECT_EQ("l window ", Sent(next));
}

TEST_F(SubClass, DefaultForwardsTheMessageThatIsHandled) {
    m_a.SubClass(m_window.Handle());
    m_b.SubClass(m_window.Handle());
    m_b.useDefault = true;
    m_b.onceBefore = [&] { m_window.Send(WM_APP + 1, 100, 200); }; // nested: another message in between
    EXPECT_EQ("b b a window a window ", Sent());
}

// Another object's handler hands the message over: the override sees it, and what it calls in turn.
TEST_F(SubClass, DefaultOfAnObjectThatIsNotHandlingCallsItsOverride) {
    m_a.SubClass(m_window.Handle());
    m_b.isBaseSkipped = true;
    m_b.onceBefore = [&] {
        EXPECT_EQ(7, m_a.Default());
        m_log += "| ";
    };
    m_b.SubClass(m_window.Handle());
    m_log.clear();
    m_window.Send(WM_APP, 3, 4);
    EXPECT_EQ("b a window | ", m_log);
}

TEST_F(SubClass, TheThreadStateHoldsTheMessageWhileItIsHandled) {
    MSG& state = AfxGetThreadState()->m_lastSentMsg;
    const MSG before = state;
    state.message = 0x1234;
    state.lParam = 5;
    m_a.SubClass(m_window.Handle());
    bool isCalled = false;
    m_a.onceBefore = [&] {
        isCalled = true;
        EXPECT_EQ(m_window.Handle(), state.hwnd);
        EXPECT_EQ(static_cast<UINT>(WM_APP), state.message);
        EXPECT_EQ(3u, state.wParam);
        EXPECT_EQ(4, state.lParam);
    };
    Sent();
    EXPECT_TRUE(isCalled);
    EXPECT_EQ(0x1234u, state.message);
    EXPECT_EQ(5, state.lParam);
    state = before;
}

WNDPROC foreignPrevious = nullptr;
int foreignCalls = 0;
LRESULT CALLBACK ForeignProcedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    if (message == WM_APP) ++foreignCalls;
    return ::CallWindowProcW(foreignPrevious, window, message, wParam, lParam);
}
WNDPROC Exchange(HWND window, WNDPROC procedure) {
    return reinterpret_cast<WNDPROC>(::SetWindowLongPtrW(window, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(procedure)));
}

TEST_F(SubClass, TheLastOneOutRestoresTheProcedureUnderAForeignSubclasser) {
    m_a.SubClass(m_window.Handle());
    foreignPrevious = Exchange(m_window.Handle(), &ForeignProcedure);
    WNDPROC shared = foreignPrevious;
    foreignCalls = 0;
    EXPECT_EQ("a window ", Sent());
    m_b.SubClass(m_window.Handle()); // joins the chain, under the foreign one
    EXPECT_EQ("b a window ", Sent());
    EXPECT_EQ(2, foreignCalls);
    EXPECT_EQ(&ForeignProcedure, m_window.Procedure());

    m_a.UnSubClass();
    EXPECT_EQ(&ForeignProcedure, m_window.Procedure());
    m_b.UnSubClass();
    EXPECT_EQ(TestWindow::OwnProcedure(), m_window.Procedure());
    EXPECT_EQ("window ", Sent());
    EXPECT_EQ(2, foreignCalls);

    Exchange(m_window.Handle(), shared); // the foreign one puts back what it found
    EXPECT_EQ("window ", Sent());
    EXPECT_TRUE(m_a.SubClass(m_window.Handle()));
    EXPECT_EQ("a window ", Sent());
    m_a.UnSubClass();
    EXPECT_EQ("window ", Sent());
    EXPECT_EQ(TestWindow::OwnProcedure(), m_window.Procedure());
    Exchange(m_window.Handle(), shared);
    m_log.clear();
    m_window.Destroy();
    EXPECT_EQ("window ", m_log);
}

TEST_F(SubClass, ForeignSubclassersMayLeaveTheSharedProcedureAnywhere) {
    // The last one out under a foreign subclasser.
    const auto leave = [&](const TestWindow& window) {
        EXPECT_TRUE(m_a.SubClass(window.Handle()));
        const WNDPROC shared = Exchange(window.Handle(), &::DefWindowProcW);
        m_a.UnSubClass();
        return shared;
    };
    TestWindow other(m_log);
    const WNDPROC shared = leave(m_window);
    leave(other);
    Exchange(m_window.Handle(), shared);
    EXPECT_EQ("window ", Sent()) << "another window's procedure has taken the place of its own";
    {
        const TestWindow unseen(m_log);
        leave(unseen); // its end passes by
    }
    leave(other);

    // A window whose procedure nobody knows has the default one.
    const TestWindow stranger(m_log);
    Exchange(stranger.Handle(), shared);
    EXPECT_EQ(0, stranger.Send());
    m_log.clear();
    EXPECT_TRUE(m_b.SubClass(stranger.Handle()));
    EXPECT_EQ(0, stranger.Send());
    m_b.UnSubClass();
    EXPECT_EQ(0, stranger.Send());
    EXPECT_EQ("b ", m_log);

    // One whose end a foreign subclasser keeps to itself.
    EXPECT_TRUE(m_c.SubClass(other.Handle()));
    Exchange(other.Handle(), &::DefWindowProcW);
    other.Destroy();
    m_c.UnSubClass();
    EXPECT_TRUE(m_c.SubClass(m_window.Handle()));
    EXPECT_EQ("c window ", Sent());
}

std::string ansiText;
LRESULT CALLBACK AnsiProcedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    if (message == WM_SETTEXT) ansiText = reinterpret_cast<const char*>(lParam);
    return ::DefWindowProcA(window, message, wParam, lParam);
}

// The procedure of an ANSI window is a token, and its texts are converted on the way.
TEST_F(SubClass, AnAnsiWindowReceivesAnsiTexts) {
    WNDCLASSA windowClass{};
    windowClass.lpfnWndProc = &AnsiProcedure;
    windowClass.lpszClassName = "TarnuAnsiTestWindow";
    ::RegisterClassA(&windowClass);
    HWND window = ::CreateWindowExA(0, "TarnuAnsiTestWindow", "one", 0, 0, 0, 1, 1, nullptr, nullptr, nullptr, nullptr);
    ASSERT_NE(nullptr, window);
    EXPECT_FALSE(::IsWindowUnicode(window));
    m_a.SubClass(window);
    EXPECT_TRUE(::SetWindowTextW(window, L"two \u00E4"));
    EXPECT_EQ("two \xE4", ansiText);
    m_a.UnSubClass();
    EXPECT_FALSE(::IsWindowUnicode(window));
    EXPECT_TRUE(::SetWindowTextA(window, "three"));
    EXPECT_EQ("three", ansiText);
    ::DestroyWindow(window);
}

} // namespace
} // namespace tarnu::test
