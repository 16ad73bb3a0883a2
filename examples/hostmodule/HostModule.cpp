/// @file
/// A sample host module: takes over every message box of the library, for runs that nobody watches.
///
/// Put the built ORVA_MESSAGEBOX_PLX.plx into the folder that holds TarnuWin32Utils.dll. While the environment variable
/// ORVA_MESSAGEBOX_LOG names a file, each box becomes one line of that file (UTF-8) and is answered with its default
/// button; without the variable the box is shown as usual, under a caption of the host's own when it has none.
#include <iterator>
#include <string>
#include <string_view>
#include <windows.h>

namespace {

constexpr wchar_t LogVariable[] = L"ORVA_MESSAGEBOX_LOG";
constexpr wchar_t HostCaption[] = L"Sample host";

/// The answer of the button that Enter would press.
int DefaultAnswer(UINT flags) {
    static constexpr struct {
        UINT type;
        int answers[3];
    } Boxes[] = {
        {MB_OK, {IDOK, 0, 0}},
        {MB_OKCANCEL, {IDOK, IDCANCEL, 0}},
        {MB_ABORTRETRYIGNORE, {IDABORT, IDRETRY, IDIGNORE}},
        {MB_YESNOCANCEL, {IDYES, IDNO, IDCANCEL}},
        {MB_YESNO, {IDYES, IDNO, 0}},
        {MB_RETRYCANCEL, {IDRETRY, IDCANCEL, 0}},
        {MB_CANCELTRYCONTINUE, {IDCANCEL, IDTRYAGAIN, IDCONTINUE}},
    };
    const UINT button = (flags & MB_DEFMASK) / MB_DEFBUTTON2;
    for (const auto& box : Boxes) {
        if (box.type != (flags & MB_TYPEMASK)) continue;
        return button < std::size(box.answers) && box.answers[button] != 0 ? box.answers[button] : box.answers[0];
    }
    return IDOK;
}

std::wstring LogPath() {
    std::wstring path(::GetEnvironmentVariableW(LogVariable, nullptr, 0), L'\0');
    path.resize(::GetEnvironmentVariableW(LogVariable, path.data(), static_cast<DWORD>(path.size())));
    return path;
}

std::string ToUtf8(std::wstring_view text) {
    const auto length = static_cast<int>(text.size());
    std::string utf8(
        static_cast<std::size_t>(::WideCharToMultiByte(CP_UTF8, 0, text.data(), length, nullptr, 0, nullptr, nullptr)),
        '\0');
    ::WideCharToMultiByte(CP_UTF8, 0, text.data(), length, utf8.data(), static_cast<int>(utf8.size()), nullptr,
                          nullptr);
    return utf8;
}

/// Appends one line; line breaks inside the message become blanks.
bool AppendLine(const std::wstring& path, std::wstring line) {
    for (wchar_t& character : line) {
        if (character == L'\r' || character == L'\n') character = L' ';
    }
    const std::string bytes = ToUtf8(line) + "\r\n";
    const HANDLE file = ::CreateFileW(path.c_str(), FILE_APPEND_DATA, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                                      OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE) return false;
    DWORD written = 0;
    const BOOL done = ::WriteFile(file, bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr);
    ::CloseHandle(file);
    return done && written == bytes.size();
}

} // namespace

/// The entry that the library looks for. Owner and caption may be null.
extern "C" __declspec(dllexport) int OrvaDllMessageBox(HWND owner, const wchar_t* text, const wchar_t* caption,
                                                       UINT flags) {
    const std::wstring_view title = caption != nullptr ? caption : HostCaption;
    const std::wstring_view message = text != nullptr ? text : L"";
    if (const std::wstring path = LogPath(); !path.empty()) {
        if (AppendLine(path, std::wstring(title) + L": " + std::wstring(message))) return DefaultAnswer(flags);
    }
    return ::MessageBoxW(owner, text, title.data(), flags);
}
