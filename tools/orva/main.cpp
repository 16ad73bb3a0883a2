// orva: the library at work from a command line, on its public headers alone.

#include "orva/Command.h"
#include "orva/Console.h"
#include "orva/Help.h"
#include "orva/Parser.h"

#include <algorithm>
#include <exception>
#include <string>
#include <vector>

namespace orva {

void AddTourCommand(Command& program);
void AddTreeCommand(Command& program);
void AddCopyCommand(Command& program);
void AddMoveCommand(Command& program);
void AddDeleteCommand(Command& program);
void AddZipCommand(Command& program);
void AddUnzipCommand(Command& program);
void AddPathCommand(Command& program);
void AddBrowseCommand(Command& program);
void AddWatchCommand(Command& program);
void AddModifiedCommand(Command& program);
void AddReportCommand(Command& program);
void AddPointsCommand(Command& program);
void AddLandXmlCommand(Command& program);
void AddXmlCommand(Command& program);
void AddTimeCommand(Command& program);
void AddMessageCommand(Command& program);
void AddErrorCommand(Command& program);
void AddRegistryCommand(Command& program);
void AddMemoryCommand(Command& program);
void AddHelpCommand(Command& program);
void AddCompletionCommand(Command& program);

namespace {

/// A family of commands in the help, and a command of it.
struct Entry {
    const char* group;
    void (*add)(Command& program);
};

/// In the order of the help.
constexpr Entry commands[] = {
    {"To begin with", &AddTourCommand},
    {"Folders and archives", &AddTreeCommand},
    {"Folders and archives", &AddCopyCommand},
    {"Folders and archives", &AddMoveCommand},
    {"Folders and archives", &AddDeleteCommand},
    {"Folders and archives", &AddZipCommand},
    {"Folders and archives", &AddUnzipCommand},
    {"Paths and files", &AddPathCommand},
    {"Paths and files", &AddBrowseCommand},
    {"Paths and files", &AddWatchCommand},
    {"Paths and files", &AddModifiedCommand},
    {"Paths and files", &AddReportCommand},
    {"Survey data and XML", &AddPointsCommand},
    {"Survey data and XML", &AddLandXmlCommand},
    {"Survey data and XML", &AddXmlCommand},
    {"The system", &AddTimeCommand},
    {"The system", &AddMessageCommand},
    {"The system", &AddErrorCommand},
    {"The system", &AddRegistryCommand},
    {"The system", &AddMemoryCommand},
    {"About orva", &AddHelpCommand},
    {"About orva", &AddCompletionCommand},
};

void Declare(Command& program) {
    program.Synopsis({"COMMAND [ARGUMENT…]"});
    for (const Entry& entry : commands) {
        entry.add(program);
        program.Commands().back()->Group(entry.group);
    }
}

int Complain(const Command& command, const std::string& complaint) {
    PrintError(L"orva: " + Wide(complaint) + L"\nTry \"" + Wide(command.FullName()) + L" --help\".\n");
    return exitUsage;
}

} // namespace

int RunProgram(const std::vector<std::wstring>& arguments) {
    Command program("orva", "Works with folders, archives, paths and survey data from the command line.");
    bool isVersion = false;
    program.Flag("--version", isVersion, "print the version");
    program.Run([] {
        Print(L"orva " ORVA_VERSION L"\n");
        return exitSuccess;
    });
    Declare(program);
    const Parsed parsed = Parse(program, arguments);
    if (!parsed.complaint.empty()) return Complain(*parsed.command, parsed.complaint);
    if (parsed.isHelp) {
        Print(Wide(HelpText(*parsed.command)));
        return exitSuccess;
    }
    try {
        return parsed.command->Work();
    } catch (const UsageError& error) {
        return Complain(*parsed.command, error.what());
    } catch (const std::exception& error) {
        PrintError(L"orva: " + Wide(error.what()) + L"\n");
        return exitFailure;
    }
}

} // namespace orva

int wmain(int count, wchar_t** values) {
    return orva::RunProgram(std::vector<std::wstring>(values + std::min(count, 1), values + count));
}
