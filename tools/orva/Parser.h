/// @file
/// From a command line to the command that it names, with its options set.
#ifndef TARNU_TOOLS_ORVA_PARSER_H
#define TARNU_TOOLS_ORVA_PARSER_H

#include "orva/Command.h"

#include <string>
#include <vector>

namespace orva {

struct Parsed {
    const Command* command; ///< that the line names, as far as it got
    bool isHelp = false;    ///< the line asks for its help
    std::string complaint;  ///< what is wrong with the line; empty when nothing is
};

/// Parses a command line and lets the options of the command take their values.
Parsed Parse(const Command& program, const std::vector<std::wstring>& arguments);

} // namespace orva

#endif // TARNU_TOOLS_ORVA_PARSER_H
