#include "orva/Console.h"

#include "tarnu/text/OrvaStrings.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cwchar>
#include <windows.h>

namespace orva {
namespace {

constexpr char32_t replacement = 0xFFFD;

bool IsSurrogate(char32_t unit, char32_t first) {
    return (unit & 0xFC00) == first;
}

void AppendUtf8(std::string& text, char32_t point) {
    const auto tail = [&](int shift) { text += static_cast<char>(0x80 | ((point >> shift) & 0x3F)); };
    if (point < 0x80) {
        text += static_cast<char>(point);
    } else if (point < 0x800) {
        text += static_cast<char>(0xC0 | (point >> 6));
        tail(0);
    } else if (point < 0x10000) {
        text += static_cast<char>(0xE0 | (point >> 12));
        tail(6);
        tail(0);
    } else {
        text += static_cast<char>(0xF0 | (point >> 18));
        tail(12);
        tail(6);
        tail(0);
    }
}

CapturedOutput* g_captured = nullptr;

/// Characters that steer a terminal, end a line, or turn the direction of what follows.
bool IsControl(wchar_t unit) {
    return unit < 0x20 || (unit >= 0x7F && unit < 0xA0) || (unit >= 0x2028 && unit <= 0x202E) ||
           (unit >= 0x2066 && unit <= 0x2069);
}

/// These, and others that do not show.
bool IsInvisible(wchar_t unit) {
    return IsControl(unit) || unit == 0xA0 || unit == 0xAD || unit == 0x61C || (unit >= 0x200B && unit <= 0x200F) ||
           (unit >= 0x2060 && unit <= 0x206F) || unit == 0xFEFF;
}

void Write(DWORD stream, std::wstring_view text) {
    const HANDLE handle = ::GetStdHandle(stream);
    DWORD mode = 0;
    DWORD written = 0;
    if (::GetConsoleMode(handle, &mode)) {
        while (!text.empty()) {
            const auto count = static_cast<DWORD>(std::min<std::size_t>(text.size(), 8192));
            if (!::WriteConsoleW(handle, text.data(), count, &written, nullptr) || written == 0) return;
            text.remove_prefix(written);
        }
        return;
    }
    const std::string utf8 = Utf8(text);
    for (std::size_t done = 0; done < utf8.size(); done += written) {
        const auto count = static_cast<DWORD>(std::min<std::size_t>(utf8.size() - done, 1 << 20));
        if (!::WriteFile(handle, utf8.data() + done, count, &written, nullptr) || written == 0) return;
    }
}

std::size_t TerminalWidth() {
    CONSOLE_SCREEN_BUFFER_INFO info;
    if (!::GetConsoleScreenBufferInfo(::GetStdHandle(STD_OUTPUT_HANDLE), &info)) return 80;
    return static_cast<std::size_t>(std::max<int>(info.dwSize.X, 20));
}

} // namespace

std::wstring Wide(std::string_view utf8) {
    std::wstring text;
    text.reserve(utf8.size());
    for (std::size_t at = 0; at < utf8.size();) {
        const auto lead = static_cast<unsigned char>(utf8[at++]);
        int tails = lead < 0x80 ? 0 : lead < 0xC2 ? -1 : lead < 0xE0 ? 1 : lead < 0xF0 ? 2 : lead < 0xF5 ? 3 : -1;
        char32_t point = tails <= 0 ? lead : lead & (0x3F >> tails);
        std::size_t next = at;
        for (int tail = 0; tail < tails; ++tail, ++next) {
            if (next >= utf8.size() || (static_cast<unsigned char>(utf8[next]) & 0xC0) != 0x80) {
                tails = -1;
                break;
            }
            point = (point << 6) | (static_cast<unsigned char>(utf8[next]) & 0x3F);
        }
        // Overlong forms and points beyond Unicode are malformed; lone surrogates are let through on purpose.
        if ((tails == 2 && point < 0x800) || (tails == 3 && (point < 0x10000 || point > 0x10FFFF))) tails = -1;
        if (tails < 0) {
            text += static_cast<wchar_t>(replacement);
            continue;
        }
        at = next;
        if (point >= 0x10000) {
            text += static_cast<wchar_t>(0xD800 + ((point - 0x10000) >> 10));
            text += static_cast<wchar_t>(0xDC00 + ((point - 0x10000) & 0x3FF));
        } else {
            text += static_cast<wchar_t>(point);
        }
    }
    return text;
}

std::string Utf8(std::wstring_view text) {
    std::string utf8;
    utf8.reserve(text.size());
    for (std::size_t at = 0; at < text.size(); ++at) {
        char32_t point = text[at];
        if (IsSurrogate(point, 0xD800) && at + 1 < text.size() && IsSurrogate(text[at + 1], 0xDC00)) {
            point = 0x10000 + ((point & 0x3FF) << 10) + (text[++at] & 0x3FF);
        }
        AppendUtf8(utf8, point);
    }
    return utf8;
}

void Print(std::wstring_view text) {
    if (g_captured != nullptr) {
        g_captured->m_text += text;
        return;
    }
    Write(STD_OUTPUT_HANDLE, text);
}
void PrintError(std::wstring_view text) {
    Write(STD_ERROR_HANDLE, text);
}

std::wstring Format(const wchar_t* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    va_list again;
    va_copy(again, arguments);
    const int length = ::_vscwprintf(format, arguments);
    std::wstring text(length > 0 ? static_cast<std::size_t>(length) : 0, L'\0');
    if (length > 0) ::_vsnwprintf(text.data(), text.size() + 1, format, again);
    va_end(again);
    va_end(arguments);
    return text;
}

std::wstring FormatSize(std::uint64_t bytes) {
    if (bytes == 1) return L"1 byte";
    if (bytes < 1024) return Format(L"%I64u bytes", bytes);
    const wchar_t* const units[] = {L"KiB", L"MiB", L"GiB", L"TiB", L"PiB", L"EiB"};
    double value = static_cast<double>(bytes) / 1024;
    std::size_t unit = 0;
    while (value >= 1023.95 && unit + 1 < std::size(units)) {
        value /= 1024;
        ++unit;
    }
    return Format(L"%.1f %s", value, units[unit]);
}

std::wstring ErrorText(unsigned long error) {
    std::wstring text(OrvaGetSystemErrorText(error));
    while (!text.empty() && (text.back() == L'\n' || text.back() == L'\r' || text.back() == L' '))
        text.pop_back();
    return text.empty() ? Format(L"error %lu", error) : text;
}

std::wstring Counted(std::uint64_t count, const wchar_t* one, const wchar_t* many) {
    return Format(L"%I64u %s", count, count == 1 ? one : many);
}

std::wstring Quoted(std::wstring_view text) {
    std::wstring quoted = L"\"";
    for (std::size_t at = 0; at < text.size(); ++at) {
        const wchar_t unit = text[at];
        const bool isPair = IsSurrogate(unit, 0xD800) && at + 1 < text.size() && IsSurrogate(text[at + 1], 0xDC00);
        if (unit == L'"' || unit == L'\\') {
            quoted += L'\\';
            quoted += unit;
        } else if (unit == L'\n' || unit == L'\r' || unit == L'\t') {
            quoted += unit == L'\n' ? L"\\n" : unit == L'\r' ? L"\\r" : L"\\t";
        } else if (isPair) {
            quoted += text.substr(at++, 2);
        } else if (IsInvisible(unit) || (unit & 0xF800) == 0xD800) {
            quoted += Format(L"\\u%04X", static_cast<unsigned>(unit));
        } else {
            quoted += unit;
        }
    }
    return quoted + L'"';
}

std::wstring OnOneLine(std::wstring_view name) {
    std::wstring text(name);
    std::replace_if(text.begin(), text.end(), &IsControl, static_cast<wchar_t>(replacement));
    return text;
}

CapturedOutput::CapturedOutput() : m_outer(g_captured) {
    g_captured = this;
}

CapturedOutput::~CapturedOutput() {
    g_captured = m_outer;
}

bool IsTerminal() {
    DWORD mode = 0;
    return ::GetConsoleMode(::GetStdHandle(STD_OUTPUT_HANDLE), &mode) != 0;
}

void ProgressLine::Item(std::uint64_t number, std::uint64_t count, std::wstring_view name) {
    const std::wstring head = count == 0 ? Format(L"[%I64u] ", number) : Format(L"[%I64u/%I64u] ", number, count);
    std::wstring line = head + std::wstring(name);
    if (!IsTerminal()) {
        if (g_captured == nullptr) Print(line + L"\n");
        return;
    }
    const std::uint64_t now = ::GetTickCount64();
    if (m_shownAt != 0 && number != count && now - m_shownAt < 80) return;
    m_shownAt = now;
    const std::size_t width = TerminalWidth() - 1;
    if (line.size() > width) {
        // The end of a path tells more than its beginning.
        const std::size_t room = width > head.size() + 1 ? width - head.size() - 1 : 0;
        line = head + L"\x2026" + std::wstring(name.substr(name.size() - std::min(room, name.size())));
    }
    const std::size_t shown = line.size();
    if (shown < m_width) line.append(m_width - shown, L' ');
    m_width = shown;
    Write(STD_OUTPUT_HANDLE, L"\r" + line);
}

void ProgressLine::Clear() {
    if (m_width == 0) return;
    Write(STD_OUTPUT_HANDLE, L"\r" + std::wstring(m_width, L' ') + L"\r");
    m_width = 0;
}

} // namespace orva
