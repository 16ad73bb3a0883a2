#include "orva/Command.h"
#include "orva/Console.h"

#include "tarnu/text/OrvaStrings.h"

#include <charconv>
#include <limits>
#include <memory>
#include <string>
#include <vector>

namespace orva {
namespace {

/// A code as it stands in logs: 5, 0x80070005, 80070005h and -2147024891 alike.
DWORD CodeOf(const std::wstring& text) {
    std::string digits = Utf8(text);
    int base = 10;
    if (digits.starts_with("0x") || digits.starts_with("0X")) {
        base = 16;
        digits.erase(0, 2);
    } else if (digits.ends_with('h') || digits.ends_with('H')) {
        base = 16;
        digits.pop_back();
    }
    long long code = 0;
    const char* const end = digits.data() + digits.size();
    const auto [rest, error] = std::from_chars(digits.data(), end, code, base);
    if (error != std::errc() || rest != end || code < std::numeric_limits<LONG>::min() ||
        code > std::numeric_limits<DWORD>::max()) {
        throw UsageError("\"" + Utf8(text) + "\" is no error code");
    }
    return static_cast<DWORD>(code);
}

int Explain(const std::vector<std::wstring>& texts) {
    std::vector<DWORD> codes;
    codes.reserve(texts.size());
    for (const std::wstring& text : texts)
        codes.push_back(CodeOf(text));
    int status = exitSuccess;
    for (const DWORD code : codes) {
        CString text = OrvaGetSystemErrorText(code);
        text.TrimRight();
        if (text.IsEmpty()) {
            PrintError(Format(L"orva: %lu (0x%08lX): the system has no text for it\n", code, code));
            status = exitFailure;
        } else {
            Print(Format(L"%lu (0x%08lX): %s\n", code, code, text.GetString()));
        }
    }
    return status;
}

} // namespace

void AddErrorCommand(Command& program) {
    auto codes = std::make_shared<std::vector<std::wstring>>();
    Command& command = program.Add("error", "Prints the system's texts for error codes and HRESULTs.");
    command.Texts("CODE", *codes, "the codes: decimal, also negative, or hexadecimal as in 0x80070005 or 80070005h")
        .Required();
    command.Example("5 0x80070020", "access denied, and a sharing violation");
    command.Statuses("each code has a text", "some code has none");
    command.Run([codes] { return Explain(*codes); });
}

} // namespace orva
