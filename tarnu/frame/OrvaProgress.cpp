#include "tarnu/frame/OrvaProgress.h"

OrvaProgressHandler OrvaProgressCallback = nullptr;
bool OrvaProgressEnabled = false;
int OrvaProgressPosition = 0;
int OrvaSecondaryProgressPosition = 0;
int OrvaProgressRange = 1;
DWORD OrvaProgressReportTime = 0;
DWORD OrvaProgressPollTime = 0;
DWORD OrvaSecondaryProgressReportTime = 0;
DWORD OrvaSecondaryProgressPollTime = 0;

namespace {

/// One of the two levels: where its state lives and the codes it reports under.
struct Level {
    int& position;
    DWORD& reportTime;
    DWORD& pollTime;
    OrvaProgressOperation beginCode;
    OrvaProgressOperation positionCode;

    void Begin(const wchar_t* text, int value, int count) const {
        if (!OrvaProgressEnabled) return;
        position = 0;
        OrvaProgressRange = count == 0 ? 1 : count;
        OrvaProgressCallback(beginCode, value, text);
        reportTime = pollTime = ::GetTickCount();
    }

    void SetPosition(int newPosition) const {
        if (!OrvaProgressEnabled) return;
        position = newPosition;
        OrvaProgressCallback(positionCode, position, nullptr);
        reportTime = ::GetTickCount();
    }

    // One expects poll and update to be silent while the meter is disabled; they call the handler all the same. Hosts
    // rely on being asked during a disabled scope, so that their stop button keeps working.
    bool Poll() const {
        const bool stop = OrvaProgressCallback(OrvaProgressOperationPoll, /*value=*/0, nullptr) != 0;
        pollTime = ::GetTickCount();
        return stop;
    }

    bool Update() const {
        SetPosition(position);
        const bool stop = OrvaProgressCallback(OrvaProgressOperationPoll, /*value=*/0, nullptr) != 0;
        OrvaProgressCallback(positionCode, position, nullptr);
        reportTime = pollTime = ::GetTickCount();
        return stop;
    }
};

const Level g_primary{OrvaProgressPosition, OrvaProgressReportTime, OrvaProgressPollTime, OrvaProgressOperationBegin,
                      OrvaProgressOperationPosition};
const Level g_secondary{OrvaSecondaryProgressPosition, OrvaSecondaryProgressReportTime, OrvaSecondaryProgressPollTime,
                        OrvaProgressOperationBeginSecondary, OrvaProgressOperationSecondaryPosition};

void Forward(OrvaProgressOperation operation, int value, const wchar_t* text) {
    if (OrvaProgressEnabled) OrvaProgressCallback(operation, value, text);
}

} // namespace

void OrvaSetProgressCallback(OrvaProgressHandler callback) {
    OrvaProgressCallback = callback;
    // One expects null to disable the meter; it enables it. Hosts rely on the call alone switching the meter on, and
    // never install null.
    OrvaProgressEnabled = true;
}

void OrvaSetProgressEnabled(bool enabled) noexcept {
    if (OrvaProgressCallback != nullptr) OrvaProgressEnabled = enabled;
}

bool OrvaIsProgressEnabled() noexcept {
    return OrvaProgressEnabled;
}

void OrvaBeginProgress(const wchar_t* text, int value, int count) {
    g_primary.Begin(text, value, count);
}

void OrvaBeginProgress(const wchar_t* text, int value) {
    OrvaBeginProgress(text, value, /*count=*/1);
}

void OrvaSetProgressPosition(int position) {
    g_primary.SetPosition(position);
}

bool OrvaPollProgress() {
    return g_primary.Poll();
}

bool OrvaUpdateProgress() {
    return g_primary.Update();
}

void OrvaEndProgress() {
    if (!OrvaProgressEnabled) return;
    OrvaProgressRange = 1;
    OrvaProgressCallback(OrvaProgressOperationEnd, /*value=*/0, nullptr);
}

void OrvaProgressText(const wchar_t* text) {
    Forward(OrvaProgressOperationText, OrvaProgressPosition, text);
}

void OrvaProgressMessage(const wchar_t* text) {
    Forward(OrvaProgressOperationMessage, /*value=*/0, text);
}

void OrvaBeginSecondaryProgress(const wchar_t* text, int value, int count) {
    g_secondary.Begin(text, value, count);
}

void OrvaBeginSecondaryProgress(const wchar_t* text, int value) {
    OrvaBeginSecondaryProgress(text, value, /*count=*/1);
}

void OrvaSetSecondaryProgressPosition(int position) {
    g_secondary.SetPosition(position);
}

bool OrvaPollSecondaryProgress() {
    return g_secondary.Poll();
}

bool OrvaUpdateSecondaryProgress() {
    return g_secondary.Update();
}

void OrvaProgressNote(const wchar_t* text) {
    Forward(OrvaProgressOperationNote, /*value=*/0, text);
}

void OrvaProgressStatus(const wchar_t* text) {
    Forward(OrvaProgressOperationStatus, /*value=*/0, text);
}
