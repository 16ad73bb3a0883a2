// The code of docs/guides/messaging.md, compiled. The documentation check compares the two.

// snippet
#include <tarnu/TarnuWin32Utils.h>

class NoClosing : public OrvaSubClassWnd {
public:
    LRESULT WindowProc(UINT message, WPARAM wParam, LPARAM lParam) override {
        if (message == WM_CLOSE) return 0;
        return OrvaSubClassWnd::WindowProc(message, wParam, lParam); // the next older one, at last the window
    }
};
// end of snippet

// snippet
#include <tarnu/TarnuWin32Utils.h>

class Progress : public OrvaWndMsgServer::Callback {
public:
    HRESULT OnMessage(OrvaWndMsgServer::MessageRecord& record) override {
        m_percent = static_cast<int>(record.wParam); // on the thread that created the server
        return S_OK;
    }

private:
    int m_percent = 0;
};

void Watch(Progress& progress, UINT& cookie) {
    OrvaGetWndMsgServer()->RegisterCallback(WM_APP + 1, cookie, &progress);
}
void Report(int percent) { // on any thread
    OrvaGetWndMsgServer()->PostMessage(WM_APP + 1, static_cast<WPARAM>(percent), 0);
}
// end of snippet
