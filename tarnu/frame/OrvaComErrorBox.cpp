#include "tarnu/frame/OrvaComErrorBox.h"

#include "tarnu/frame/OrvaMessageBox.h"
#include "tarnu/text/OrvaStrings.h"

#include <comdef.h>
#include <set>
#include <string>

namespace {

/// The locations that were silenced, as "file#line"; from the first use until the process ends.
std::set<std::wstring>& SilencedLocations() {
    static std::set<std::wstring> locations;
    return locations;
}

std::wstring LocationKey(const wchar_t* file, int line) {
    return std::wstring(file != nullptr ? file : L"(null)") + L'#' + std::to_wstring(line);
}

// Without memory the box is still shown, once: no location is silenced, and in the worst case the box has no text.

bool IsSilenced(const wchar_t* file, int line) noexcept {
    try {
        return SilencedLocations().contains(LocationKey(file, line));
    } catch (...) {
        return false;
    }
}

void Silence(const wchar_t* file, int line) noexcept {
    try {
        SilencedLocations().insert(LocationKey(file, line));
    } catch (...) {
        return;
    }
}

CString ErrorText(const _com_error& error) noexcept {
    try {
        return OrvaGetComErrorText(error);
    } catch (...) {
        return CString();
    }
}

} // namespace

int OrvaShowComError(const _com_error& error, const wchar_t* file, int line) {
    if (IsSilenced(file, line)) return IDOK;
    const int answer = DllMessageBox(/*owner=*/nullptr, ErrorText(error), L"", MB_OKCANCEL);
    if (answer == IDOK && (::GetAsyncKeyState(VK_SHIFT) & 0x8000) != 0) Silence(file, line);
    return answer;
}
