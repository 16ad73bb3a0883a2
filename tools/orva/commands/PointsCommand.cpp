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
    std::vector<std::string> texts;
    std::string subtract;
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
    for (const std::string& piece : options.texts)
        text += (text.empty() ? L"" : L",") + Wide(piece);
    const std::wstring subtract = Wide(options.subtract);
    if (!Check(text) || !Check(subtract)) return exitFailure;

    OrvaPointString points(text.c_str());
    const BOOL sorted = !options.isUnsorted;
    if (options.isSubtracting) points.Subtract(subtract.c_str(), sorted);
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

void AddPointsCommand(CLI::App& program, Action& action) {
    auto options = std::make_shared<Options>();
    CLI::App* command = program.add_subcommand(
        "points", "Checks, rewrites, counts and expands lists of point numbers such as 1-5,7,12-10");
    command->add_option("TEXT", options->texts, "Point numbers and ranges; several texts are joined")->required();
    auto* normalize =
        command->add_flag("--normalize", options->isNormalizing, "Write each number once, ascending, as ranges");
    command->add_flag("--unsorted", options->isUnsorted, "Write each number once, in the order of its first occurrence")
        ->excludes(normalize);
    auto* subtract = command->add_option("--subtract", options->subtract, "Point numbers to take out first");
    auto* count = command->add_flag("--count", options->isCounting, "Print how many numbers are named");
    command->add_flag("--expand", options->isExpanding, "Print the numbers one by one, a line each")->excludes(count);
    command->callback([options, subtract, &action] {
        options->isSubtracting = subtract->count() > 0;
        action = [options] { return Run(*options); };
    });
}

} // namespace orva
