/// @file
/// Text in and out of the program: UTF-8 on pipes and files, Unicode on the console, and a progress line.
#ifndef TARNU_TOOLS_ORVA_CONSOLE_H
#define TARNU_TOOLS_ORVA_CONSOLE_H

#include <cstdint>
#include <string>
#include <string_view>

namespace orva {

/// UTF-8 to UTF-16 and back. Lone surrogates survive the way there and back (as three-byte sequences), so that every
/// file name can be given and printed; other malformed bytes become U+FFFD.
std::wstring Wide(std::string_view utf8);
std::string Utf8(std::wstring_view text);

/// Writes a text to standard output, or to standard error. Line ends are "\n". Flushed at once.
void Print(std::wstring_view text);
void PrintError(std::wstring_view text);

/// Formats by the wide printf rules of the Windows runtime (%s is wide), without a limit of length.
std::wstring Format(const wchar_t* format, ...);

/// A number of bytes as people read it: "0 bytes", "1 byte", "812 bytes", "1.5 KiB", "23.0 MiB".
std::wstring FormatSize(std::uint64_t bytes);

/// "3 files", "1 file".
std::wstring Counted(std::uint64_t count, const wchar_t* one, const wchar_t* many);

/// The system's text for an error code, on one line.
std::wstring ErrorText(unsigned long error);

/// A text between quotes, in which nothing is hidden and nothing ambiguous: \" \\ \n \r \t, and \u200E for other
/// characters that cannot be seen.
std::wstring Quoted(std::wstring_view text);

/// A name in a message; an empty one is seen, too.
inline std::wstring Named(const std::wstring& name) {
    return name.empty() ? std::wstring(L"\"\"") : name;
}

/// A name that came from outside, fit for one line: control characters are replaced.
std::wstring OnOneLine(std::wstring_view name);

/// True when standard output is a terminal.
bool IsTerminal();

/// While it lives, what is printed to standard output comes here instead, and progress shows on a terminal alone.
class CapturedOutput {
public:
    CapturedOutput();
    ~CapturedOutput();
    CapturedOutput(const CapturedOutput&) = delete;
    CapturedOutput& operator=(const CapturedOutput&) = delete;

    const std::wstring& Text() const { return m_text; }

private:
    friend void Print(std::wstring_view text);
    std::wstring m_text;
    CapturedOutput* const m_outer;
};

/// Progress of a long operation. On a terminal one line is rewritten, at most some ten times a second; elsewhere each
/// finished item is a plain line of its own. The destructor takes the terminal's line away.
class ProgressLine {
public:
    ProgressLine() = default;
    ~ProgressLine() { Clear(); }
    ProgressLine(const ProgressLine&) = delete;
    ProgressLine& operator=(const ProgressLine&) = delete;

    /// Item @p number (counted from 1) of @p count has begun. A count of 0 stands for an unknown number.
    void Item(std::uint64_t number, std::uint64_t count, std::wstring_view name);
    /// Takes the line away, so that other output starts on an empty one.
    void Clear();

private:
    std::uint64_t m_shownAt = 0;
    std::size_t m_width = 0;
};

} // namespace orva

#endif // TARNU_TOOLS_ORVA_CONSOLE_H
