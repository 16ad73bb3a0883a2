/// @file
/// The subcommands of orva: one function each, in commands/<Name>Command.cpp, listed in main.cpp.
///
/// A command declares its options on a subcommand of the program and gives its work as an action:
///
///     void AddTreeCommand(CLI::App& program, Action& action) {
///         auto options = std::make_shared<Options>();
///         CLI::App* command = program.add_subcommand("tree", "Lists a folder as a tree");
///         command->add_option("DIR", options->folder, "The folder")->required();
///         command->callback([options, &action] { action = [options] { return ListTree(*options); }; });
///     }
///
/// Option texts are UTF-8 (Wide() converts them without loss). The action returns one of the exit statuses below; it
/// may throw CLI::ValidationError for arguments that only it can judge.
#ifndef TARNU_TOOLS_ORVA_COMMAND_H
#define TARNU_TOOLS_ORVA_COMMAND_H

#include <CLI/CLI.hpp>
#include <functional>

namespace orva {

/// Exit statuses of the program.
enum ExitStatus : int {
    exitSuccess = 0,
    exitFailure = 1, ///< the work failed, wholly or in part
    exitUsage = 2    ///< the command line was wrong; nothing was done
};

/// The work of the chosen command; returns an exit status.
using Action = std::function<int()>;

} // namespace orva

#endif // TARNU_TOOLS_ORVA_COMMAND_H
