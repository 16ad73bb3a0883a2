/// @file
/// A host module that shows nothing: it notes its call in the environment, which outlives it, and answers as told.
#include <cstdlib>
#include <string>
#include <windows.h>

extern "C" __declspec(dllexport) int OrvaDllMessageBox(HWND owner, const wchar_t* text, const wchar_t* caption,
                                                       UINT flags) {
    const auto orNull = [](const wchar_t* value) { return value != nullptr ? std::wstring(value) : L"<null>"; };
    const std::wstring call = std::wstring(TARNU_MODULE_NAME) + L"|" +
                              std::to_wstring(reinterpret_cast<ULONG_PTR>(owner)) + L"|" + orNull(text) + L"|" +
                              orNull(caption) + L"|" + std::to_wstring(flags);
    ::SetEnvironmentVariableW(L"TARNU_TEST_BOX", call.c_str());
    wchar_t answer[16] = {};
    ::GetEnvironmentVariableW(L"TARNU_TEST_ANSWER", answer, 16);
    ::SetLastError(ERROR_INVALID_MONITOR_HANDLE);
    return static_cast<int>(std::wcstol(answer, nullptr, 10));
}
