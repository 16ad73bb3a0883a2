// orva: the library at work from a command line, on its public headers alone.

#include "orva/Command.h"
#include "orva/Console.h"

#include <exception>
#include <iterator>
#include <sstream>
#include <string>
#include <vector>
#include <windows.h>

namespace orva {

// One declaration and one entry of the table per command, in the order in which the help lists them.

void AddTreeCommand(CLI::App& program, Action& action);
void AddPathCommand(CLI::App& program, Action& action);
void AddZipCommand(CLI::App& program, Action& action);
void AddUnzipCommand(CLI::App& program, Action& action);
void AddCopyCommand(CLI::App& program, Action& action);
void AddMoveCommand(CLI::App& program, Action& action);
void AddDeleteCommand(CLI::App& program, Action& action);
void AddReportCommand(CLI::App& program, Action& action);
void AddModifiedCommand(CLI::App& program, Action& action);
void AddWatchCommand(CLI::App& program, Action& action);
void AddBrowseCommand(CLI::App& program, Action& action);
void AddPointsCommand(CLI::App& program, Action& action);
void AddLandXmlCommand(CLI::App& program, Action& action);
void AddXmlCommand(CLI::App& program, Action& action);

namespace {

using AddCommand = void (*)(CLI::App& program, Action& action);

constexpr AddCommand commands[] = {
    &AddTreeCommand,   &AddPathCommand,   &AddZipCommand,     &AddUnzipCommand,    &AddCopyCommand,
    &AddMoveCommand,   &AddDeleteCommand, &AddReportCommand,  &AddModifiedCommand, &AddWatchCommand,
    &AddBrowseCommand, &AddPointsCommand, &AddLandXmlCommand, &AddXmlCommand,
};

int Run(const std::vector<std::string>& arguments) {
    CLI::App program("orva: folders, paths, archives and survey data from the command line", "orva");
    program.allow_windows_style_options(false); // a path may begin with a slash
    program.set_help_flag("-h,--help", "Print this help and exit");
    program.get_formatter()->column_width(36);
    program.require_subcommand(1);
    Action action;
    for (const AddCommand add : commands)
        add(program, action);
    try {
        // CLI11 takes the arguments from the back.
        program.parse(std::vector<std::string>(arguments.rbegin(), arguments.rend()));
        return action ? action() : exitUsage;
    } catch (const CLI::ParseError& error) {
        std::ostringstream output;
        std::ostringstream errors;
        const int status = program.exit(error, output, errors);
        Print(Wide(output.str()));
        PrintError(Wide(errors.str()));
        return status == 0 ? exitSuccess : exitUsage;
    } catch (const std::exception& error) {
        PrintError(L"orva: " + Wide(error.what()) + L"\n");
        return exitFailure;
    }
}

} // namespace
} // namespace orva

int wmain(int count, wchar_t** values) {
    std::vector<std::string> arguments;
    for (int index = 1; index < count; ++index)
        arguments.push_back(orva::Utf8(values[index]));
    return orva::Run(arguments);
}
