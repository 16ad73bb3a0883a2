#include "tarnu/frame/OrvaTrace.h"

#include <algorithm>
#include <cstdarg>
#include <cstddef>
#include <cstdio>
#include <cwchar>
#include <memory>
#include <new>

namespace {

constexpr std::size_t TraceLength = 2047;
constexpr std::size_t MessageLength = 1023;
constexpr std::size_t TagLength = 12;                          // "TID=%8.8X"
constexpr std::size_t HeadLength = 110;                        // dots and tag included
constexpr std::size_t LocationLength = HeadLength - TagLength; // what leaves room for the tag
constexpr std::size_t StackLineLength = 2048;

/// Formats into a zeroed buffer whose last element stays the terminator; a text that does not fit is cut.
template <std::size_t Size>
void FormatTo(wchar_t (&buffer)[Size], const wchar_t* format, std::va_list arguments) {
    if (format != nullptr) ::_vsnwprintf(buffer, Size - 1, format, arguments);
}

wchar_t* Copy(wchar_t* target, const wchar_t* text, std::size_t length) noexcept {
    return std::copy_n(text, length, target);
}

} // namespace

void OrvaTrace(const wchar_t* format, ...) {
    wchar_t text[TraceLength + 1] = {};
    std::va_list arguments;
    va_start(arguments, format);
    FormatTo(text, format, arguments);
    va_end(arguments);
    ::OutputDebugStringW(text);
}

void OrvaLog(const wchar_t* file, int line, const wchar_t* format, ...) {
    wchar_t message[MessageLength + 1] = {};
    std::va_list arguments;
    va_start(arguments, format);
    FormatTo(message, format, arguments);
    va_end(arguments);
    const std::size_t messageLength = std::wcslen(message);

    wchar_t number[32] = {};
    ::_snwprintf(number, std::size(number) - 1, L"(%d): LOG ", line);
    wchar_t tag[TagLength + 1] = {};
    ::_snwprintf(tag, TagLength, L"TID=%8.8X", static_cast<unsigned>(::GetCurrentThreadId()));

    if (file == nullptr) file = L"(null)";
    std::size_t fileLength = std::wcslen(file);
    const std::size_t numberLength = std::wcslen(number);

    // Any usual line fits the stack; a longer file name moves it to the heap, and is cut when there is none left.
    wchar_t stackLine[StackLineLength];
    wchar_t* text = stackLine;
    std::unique_ptr<wchar_t[]> heapLine;
    const std::size_t rest = std::max(numberLength + TagLength, HeadLength) + 1 + messageLength + 1 + 1;
    if (fileLength > StackLineLength - rest) {
        heapLine.reset(new (std::nothrow) wchar_t[fileLength + rest]);
        if (heapLine)
            text = heapLine.get();
        else
            fileLength = StackLineLength - rest;
    }

    wchar_t* end = Copy(text, file, fileLength);
    end = Copy(end, number, numberLength);
    if (const std::size_t locationLength = fileLength + numberLength; locationLength <= LocationLength)
        end = std::fill_n(end, LocationLength - locationLength, L'.');
    end = Copy(end, tag, TagLength);
    *end++ = L' ';
    end = Copy(end, message, messageLength);
    *end++ = L'\n';
    *end = 0;
    ::OutputDebugStringW(text);
}
