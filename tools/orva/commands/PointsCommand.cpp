#include "orva/Command.h"
#include "orva/Console.h"

#include "tarnu/geometry/OrvaPointNumbers.h"
#include "tarnu/geometry/OrvaPointString.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace orva {
namespace {

struct Options {
    std::vector<std::wstring> texts;
    std::wstring subtract;
    bool isSubtracting = false;
    bool isNormalizing = false;
    bool isUnsorted = false;
    bool isCounting = false;
    bool isExpanding = false;
};

constexpr std::wstring_view blanks = L" \t\r\n\v\f";

struct Span {
    std::size_t start;
    std::size_t length;
};

/// The first token that ends a walk. Tokens stand on their own, so each is asked for by itself.
std::optional<Span> FindBadToken(const std::wstring& text) {
    for (std::size_t start = 0; start <= text.size();) {
        const std::size_t end = std::min(text.find(L',', start), text.size());
        const std::wstring token = text.substr(start, end - start);
        if (!OrvaPointString(CString(token.c_str(), static_cast<int>(token.size()))).IsValid()) {
            const std::size_t first = token.find_first_not_of(blanks);
            const std::size_t last = token.find_last_not_of(blanks);
            return Span{start + first, last - first + 1};
        }
        start = end + 1;
    }
    return std::nullopt;
}

/// Prints what is wrong with a text, with a caret under each character of the bad token.
bool Check(const std::wstring& text) {
    const std::optional<Span> bad = FindBadToken(text);
    if (!bad) return true;
    std::wstring shown = text;
    for (wchar_t& character : shown) {
        if (character < L' ') character = L' '; // one column each
    }
    PrintError(L"orva: \"" + text.substr(bad->start, bad->length) + L"\" is no point number and no range\n  " + shown +
               L"\n  " + std::wstring(bad->start, L' ') + std::wstring(bad->length, L'^') + L"\n");
    return false;
}

/// The numbers that a text names. A downward range counts as many as it has, unlike in GetCount.
std::uint64_t CountNumbers(OrvaPointString& points) {
    std::uint64_t count = 0;
    UINT start = 0;
    UINT end = 0;
    for (points.GetFirstRange(&start, &end); !points.IsDone(); points.GetNextRange(&start, &end))
        count += std::uint64_t{start < end ? end - start : start - end} + 1;
    return count;
}

void Expand(OrvaPointString& points) {
    std::wstring lines;
    for (const UINT number : tarnu::OrvaPointNumbers(points)) {
        lines += std::to_wstring(number) + L'\n';
        if (lines.size() > 0x10000) {
            Print(lines);
            lines.clear();
        }
    }
    Print(lines);
}

int Run(const Options& options) {
    std::wstring text;
    for (const std::wstring& piece : options.texts)
        text += (text.empty() ? L"" : L",") + piece;
    if (!Check(text) || !Check(options.subtract)) return exitFailure;

    OrvaPointString points(text.c_str());
    const BOOL sorted = !options.isUnsorted;
    if (options.isSubtracting) points.Subtract(options.subtract.c_str(), sorted);
    if (options.isNormalizing || options.isUnsorted) points.Normalize(sorted);
    if (options.isCounting) {
        Print(std::to_wstring(CountNumbers(points)) + L"\n");
    } else if (options.isExpanding) {
        Expand(points);
    } else {
        Print(std::wstring(points.GetText().GetString()) + L"\n");
    }
    return exitSuccess;
}

} // namespace

void AddPointsCommand(Command& program) {
    auto options = std::make_shared<Options>();
    Command& command = program.Add(
        "points", "Checks a list of point numbers, and prints it rewritten, counted or number by number.\n\nA list is "
                  "made of numbers from 1 to 4294967294 and ranges, between commas: 1-5,7,12-10. A downward range "
                  "names its numbers in that order. What is no number is shown with carets under it.");
    command.Texts("TEXT", options->texts, "the list; several texts count as one").Required();
    const Option& normalize =
        command.Flag("-n,--normalize", options->isNormalizing, "name each number once, in ascending ranges");
    command
        .Flag("-u,--unsorted", options->isUnsorted, "name each number once, in ranges, in the order in which they come")
        .Excludes(normalize);
    const Option& subtract = command.Text("-s,--subtract", options->subtract, "TEXT",
                                          "take the numbers of this list out; what is left is normalized");
    const Option& count = command.Flag("-c,--count", options->isCounting, "print how many numbers the list names");
    command.Flag("-e,--expand", options->isExpanding, "print the numbers themselves, one a line").Excludes(count);
    command.Example("5,3,4,5,1-2 --normalize", "prints 1-5");
    command.Example("1-10 --subtract 2,7", "prints 1,3-6,8-10");
    command.Example("12-10,7 --expand", "prints 12, 11, 10 and 7");
    command.Statuses("the list is right", "something in it is no point number and no range");
    command.Run([options, &subtract] {
        options->isSubtracting = subtract.isGiven;
        return Run(*options);
    });
}

} // namespace orva
