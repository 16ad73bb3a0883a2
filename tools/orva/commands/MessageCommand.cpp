#include "orva/Command.h"
#include "orva/Console.h"
#include "tarnu/TarnuWin32Utils.h"

#include <algorithm>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

namespace orva {
namespace {

struct Options {
    std::wstring text;
    std::wstring title = L"orva";
    std::string buttons = "ok";
    std::string icon = "information";
};

struct NamedFlag {
    const char* name;
    UINT flag;
};
constexpr NamedFlag buttonSets[] = {{"ok", MB_OK},
                                    {"ok-cancel", MB_OKCANCEL},
                                    {"yes-no", MB_YESNO},
                                    {"yes-no-cancel", MB_YESNOCANCEL},
                                    {"retry-cancel", MB_RETRYCANCEL}};
constexpr NamedFlag icons[] = {{"information", MB_ICONINFORMATION},
                               {"warning", MB_ICONWARNING},
                               {"error", MB_ICONERROR},
                               {"question", MB_ICONQUESTION}};
constexpr NamedFlag answers[] = {{"ok", IDOK}, {"cancel", IDCANCEL}, {"retry", IDRETRY}, {"yes", IDYES}, {"no", IDNO}};

template <std::size_t count>
UINT FlagOf(const NamedFlag (&flags)[count], const std::string& name) {
    return std::find_if(flags, flags + count, [&name](const NamedFlag& flag) { return flag.name == name; })->flag;
}

template <std::size_t count>
std::vector<std::string> NamesOf(const NamedFlag (&flags)[count]) {
    std::vector<std::string> names;
    for (const NamedFlag& flag : flags)
        names.emplace_back(flag.name);
    return names;
}

int Show(const Options& options) {
    const int result = DllMessageBox(/*owner=*/nullptr, options.text.c_str(), options.title.c_str(),
                                     FlagOf(buttonSets, options.buttons) | FlagOf(icons, options.icon));
    const auto* const answer = std::find_if(std::begin(answers), std::end(answers), [result](const NamedFlag& known) {
        return static_cast<int>(known.flag) == result;
    });
    if (answer == std::end(answers)) {
        PrintError(Format(L"orva: the message box ended with %d\n", result));
        return exitFailure;
    }
    Print(Wide(answer->name) + L"\n");
    return result == IDCANCEL || result == IDNO ? exitFailure : exitSuccess;
}

} // namespace

void AddMessageCommand(Command& program) {
    auto options = std::make_shared<Options>();
    Command& command = program.Add(
        "message", "Shows a message box and prints the answer.\n\nA module ORVA_MESSAGEBOX_PLX.plx beside the library "
                   "shows it in its own way, as in a host.");
    command.Text("TEXT", options->text, "the message").Required();
    command.Text("-t,--title", options->title, "TEXT", "the title");
    command.Choice("-b,--buttons", options->buttons, NamesOf(buttonSets), "the buttons");
    command.Choice("-i,--icon", options->icon, NamesOf(icons), "the icon");
    command.Example("\"Overwrite the survey?\" --buttons yes-no --icon question", "ask in a script");
    command.Statuses("the answer was ok, retry or yes", "it was cancel or no, or no box could be shown");
    command.Run([options] { return Show(*options); });
}

} // namespace orva
