/// @file
/// The help of a command and the manual of the program, made of what the commands declare.
#ifndef TARNU_TOOLS_ORVA_HELP_H
#define TARNU_TOOLS_ORVA_HELP_H

#include "orva/Command.h"

#include <string>

namespace orva {

/// The help of one command, for a console of 80 columns.
std::string HelpText(const Command& command);

/// The manual: every command below @p program, in Markdown.
std::string Manual(const Command& program);

} // namespace orva

#endif // TARNU_TOOLS_ORVA_HELP_H
