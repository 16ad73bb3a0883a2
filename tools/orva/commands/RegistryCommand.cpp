#include "orva/Command.h"
#include "orva/Console.h"
#include "tarnu/TarnuWin32Utils.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

namespace orva {
namespace {

struct Options {
    std::wstring key;
    std::wstring name;
};

/// The texts in the bytes of a value, which may lack their ends.
std::vector<std::wstring> TextsIn(const std::vector<BYTE>& data, bool isOne) {
    std::wstring all(data.size() / sizeof(wchar_t), L'\0');
    std::memcpy(all.data(), data.data(), all.size() * sizeof(wchar_t));
    std::vector<std::wstring> texts;
    for (std::size_t at = 0; at < all.size();) {
        const std::size_t end = std::min(all.find(L'\0', at), all.size());
        texts.push_back(all.substr(at, end - at));
        if (isOne || end == at) break;
        at = end + 1;
    }
    if (!isOne && !texts.empty() && texts.back().empty()) texts.pop_back(); // the end of the list
    return texts;
}

template <class Number>
Number NumberIn(const std::vector<BYTE>& data) {
    Number number = 0;
    std::memcpy(&number, data.data(), std::min(sizeof number, data.size()));
    return number;
}

void PrintValue(DWORD type, const std::vector<BYTE>& data) {
    switch (type) {
    case REG_SZ:
    case REG_EXPAND_SZ:
    case REG_MULTI_SZ:
        for (const std::wstring& text : TextsIn(data, /*isOne=*/type != REG_MULTI_SZ))
            Print(text + L"\n");
        break;
    case REG_DWORD:
        Print(Format(L"%lu (0x%08lX)\n", NumberIn<DWORD>(data), NumberIn<DWORD>(data)));
        break;
    case REG_QWORD:
        Print(Format(L"%I64u (0x%016I64X)\n", NumberIn<std::uint64_t>(data), NumberIn<std::uint64_t>(data)));
        break;
    default:
        for (std::size_t at = 0; at < data.size(); ++at)
            Print(
                Format(at % 16 == 15 || at + 1 == data.size() ? L"%02X\n" : L"%02X ", static_cast<unsigned>(data[at])));
    }
}

int Read(const Options& options) {
    const CString key = options.key.c_str();
    const CString name = options.name.c_str();
    DWORD type = REG_NONE;
    std::vector<BYTE> data;
    // The value may grow between the two questions.
    for (int attempt = 0; attempt < 10; ++attempt) {
        DWORD size = 0;
        if (!OrvaReadRegistryValue(key, name, &type, nullptr, &size)) break;
        data.resize(std::max<DWORD>(size, 1));
        size = static_cast<DWORD>(data.size());
        if (!OrvaReadRegistryValue(key, name, &type, data.data(), &size)) continue;
        data.resize(size);
        PrintValue(type, data);
        return exitSuccess;
    }
    PrintError(L"orva: HKEY_LOCAL_MACHINE\\" + options.key + L": there is no value " + Named(options.name) +
               L" that may be read\n");
    return exitFailure;
}

} // namespace

void AddRegistryCommand(Command& program) {
    auto options = std::make_shared<Options>();
    Command& command = program.Add(
        "registry", "Prints a registry value below HKEY_LOCAL_MACHINE.\n\nTexts are printed as they are, one a line; "
                    "numbers decimal and hexadecimal; other values as bytes.");
    command.Text("KEY", options->key, "the key's path below HKEY_LOCAL_MACHINE").Required();
    command.Text("NAME", options->name, "the value's name (default: the key's unnamed value)");
    command.Example("\"SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion\" ProductName", "the system's name");
    command.Run([options] { return Read(*options); });
}

} // namespace orva
