#include "orva/Command.h"
#include "orva/Console.h"
#include "orva/Help.h"

#include <algorithm>
#include <memory>

namespace orva {
namespace {

struct Options {
    std::vector<std::wstring> names;
    bool isManual = false;
};

int Run(const Command& program, const Options& options) {
    const Command* command = &program;
    for (const std::wstring& name : options.names) {
        const auto& below = command->Commands();
        const auto found = std::find_if(below.begin(), below.end(), [&name](const std::unique_ptr<Command>& candidate) {
            return candidate->Name() == Utf8(name);
        });
        if (found == below.end()) throw UsageError("there is no command \"" + Utf8(name) + "\"");
        command = found->get();
    }
    Print(Wide(options.isManual ? Manual(program) : HelpText(*command)));
    return exitSuccess;
}

} // namespace

void AddHelpCommand(Command& program) {
    auto options = std::make_shared<Options>();
    Command& command = program.Add("help", "Prints the help of the program or of a command.");
    const Option& names = command.Texts("COMMAND", options->names, "the command; the program when left out");
    command.Flag("--markdown", options->isManual, "print the manual of all commands in Markdown").Excludes(names);
    command.Example("path join", "the same as: orva path join --help");
    command.Run([options, &program] { return Run(program, *options); });
}

} // namespace orva
