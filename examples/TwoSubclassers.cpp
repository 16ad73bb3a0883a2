/// @file
/// Two objects subclass one window: one counts clicks, the other swallows every second one. They unhook in any order.
#include <cstdio>
#include <tarnu/TarnuWin32Utils.h>

class ClickCounter : public OrvaSubClassWnd {
public:
    LRESULT WindowProc(UINT message, WPARAM wParam, LPARAM lParam) override {
        if (message == WM_LBUTTONDOWN) ++clicks;
        return OrvaSubClassWnd::WindowProc(message, wParam, lParam);
    }
    int clicks = 0;
};

class EverySecondClick : public OrvaSubClassWnd {
public:
    LRESULT WindowProc(UINT message, WPARAM wParam, LPARAM lParam) override {
        if (message == WM_LBUTTONDOWN && ++m_clicks % 2 == 0) return 0; // the chain ends here
        return OrvaSubClassWnd::WindowProc(message, wParam, lParam);
    }

private:
    int m_clicks = 0;
};

int main() {
    HWND window = ::CreateWindowExW(0, L"STATIC", L"", 0, 0, 0, 10, 10, nullptr, nullptr, nullptr, nullptr);
    ClickCounter below;
    EverySecondClick filter;
    ClickCounter above;
    below.SubClass(window);
    filter.SubClass(window);
    above.SubClass(window); // the newest sees a message first

    for (int click = 0; click < 6; ++click)
        ::SendMessageW(window, WM_LBUTTONDOWN, 0, 0);
    filter.UnSubClass(); // from the middle of the chain
    ::SendMessageW(window, WM_LBUTTONDOWN, 0, 0);

    std::printf("above the filter: %d clicks, below it: %d\n", above.clicks, below.clicks);
    ::DestroyWindow(window); // unhooks the rest
    return above.clicks == 7 && below.clicks == 4 ? 0 : 1;
}
