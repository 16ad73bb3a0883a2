#include "orva/Help.h"

#include <algorithm>
#include <string_view>
#include <vector>

namespace orva {
namespace {

constexpr std::size_t consoleWidth = 80;

/// A term and what it stands for.
struct Row {
    std::string term;
    std::string text;
};

/// Columns that a text takes on the console.
std::size_t Columns(std::string_view utf8) {
    return static_cast<std::size_t>(
        std::count_if(utf8.begin(), utf8.end(), [](char unit) { return (unit & 0xC0) != 0x80; }));
}

/// "FILE", "TEXT…", "--policy fail|skip"
std::string InSynopsis(const Option& option) {
    std::string text = option.IsPositional() ? option.metavariable : option.names.back();
    if (option.isMany) text += "…";
    if (!option.IsPositional() && !option.IsFlag()) text += " " + option.metavariable;
    return option.isRequired ? text : "[" + text + "]";
}

/// "-p, --policy fail|skip"
std::string InList(const Option& option) {
    if (option.IsPositional()) return option.metavariable;
    const bool isLongOnly = option.names.front().starts_with("--");
    return (isLongOnly ? "    " : "") + Joined(option.names, ", ") + (option.IsFlag() ? "" : " " + option.metavariable);
}

std::vector<Row> Rows(const Command& command, bool positional) {
    std::vector<Row> rows;
    for (const std::unique_ptr<Option>& option : command.Options()) {
        if (option->IsPositional() != positional) continue;
        std::string text = option->description;
        if (!option->defaultText.empty()) text += " (default: " + option->defaultText + ")";
        rows.push_back({InList(*option), text});
    }
    return rows;
}

/// The lines of a synopsis, each whole.
std::vector<std::string> Synopsis(const Command& command) {
    std::vector<std::string> lines;
    if (!command.SynopsisLines().empty()) {
        for (const std::string& line : command.SynopsisLines())
            lines.push_back(command.FullName() + " " + line);
    } else if (!command.Commands().empty()) {
        for (const std::unique_ptr<Command>& below : command.Commands())
            for (const std::string& line : Synopsis(*below))
                lines.push_back(line);
    } else {
        std::string line = command.FullName();
        for (const bool positional : {true, false})
            for (const std::unique_ptr<Option>& option : command.Options())
                if (option->IsPositional() == positional) line.append(1, ' ').append(InSynopsis(*option));
        lines.push_back(line);
    }
    return lines;
}

/// The first sentence of a description.
std::string Summary(const Command& command) {
    return command.Description().substr(0, command.Description().find("\n\n"));
}

std::vector<Row> Statuses(const Command& command) {
    return {{"0", command.SuccessText()},
            {"1", command.FailureText()},
            {"2", "the command line is wrong; nothing was done"}};
}

// Console

/// Appends a paragraph, broken at blanks. The first line continues what stands in the output's last one.
/// @param column where that one ends
/// @param indent of the other lines
void Wrap(std::string& output, std::string_view text, std::size_t column, std::size_t indent) {
    bool isFirst = true;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find(' '), text.size());
        const std::string_view word = text.substr(0, end);
        const std::size_t width = Columns(word);
        if (!isFirst && column + 1 + width > consoleWidth - 1) {
            output.append(1, '\n').append(indent, ' ');
            column = indent;
        } else if (!isFirst) {
            output += ' ';
            ++column;
        }
        output += word;
        column += width;
        isFirst = false;
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    output += '\n';
}

/// Words of a synopsis stay whole: "[--policy fail|skip]" is one.
void WrapSynopsis(std::string& output, const std::string& line, const std::string& name) {
    std::string glued;
    int depth = 0;
    for (const char unit : line) {
        depth += unit == '[' ? 1 : unit == ']' ? -1 : 0;
        glued += unit == ' ' && depth > 0 ? '\0' : unit;
    }
    std::string wrapped;
    Wrap(wrapped, glued, 7, 8 + name.size());
    std::replace(wrapped.begin(), wrapped.end(), '\0', ' ');
    output += wrapped;
}

void WriteRows(std::string& output, const char* title, const std::vector<Row>& rows) {
    if (rows.empty()) return;
    std::size_t widest = 0;
    for (const Row& row : rows)
        widest = std::max(widest, Columns(row.term));
    const std::size_t column = std::min<std::size_t>(widest, 24) + 4;
    output += std::string("\n") + title + ":\n";
    for (const Row& row : rows) {
        output += "  " + row.term;
        const std::size_t width = 2 + Columns(row.term);
        const bool isWide = width + 2 > column;
        if (isWide) output += '\n';
        output.append(isWide ? column : column - width, ' ');
        Wrap(output, row.text, column, column);
    }
}

std::string ExampleLine(const Command& command, const Command::UseCase& useCase) {
    return command.FullName() + (useCase.arguments.empty() ? "" : " " + useCase.arguments);
}

// Markdown

/// A text outside of code in which no character is taken for markup.
std::string Escaped(std::string_view text) {
    std::string escaped;
    for (const char unit : text) {
        if (std::string_view("\\*_<>|`#").find(unit) != std::string_view::npos) escaped += '\\';
        escaped += unit;
    }
    return escaped;
}

void WriteManualRows(std::string& output, const char* title, const std::vector<Row>& rows) {
    if (rows.empty()) return;
    output += std::string("\n") + title + "\n\n";
    for (const Row& row : rows)
        output += "- `" + row.term.substr(row.term.find_first_not_of(' ')) + "` — " + Escaped(row.text) + "\n";
}

void WriteManual(std::string& output, const Command& command, const std::string& heading) {
    output += "\n" + heading + " " + command.FullName() + "\n\n```text\n";
    for (const std::string& line : Synopsis(command))
        output += line + "\n";
    output += "```\n\n" + Escaped(command.Description()) + "\n";
    WriteManualRows(output, "Arguments", Rows(command, /*positional=*/true));
    WriteManualRows(output, "Options", Rows(command, /*positional=*/false));
    if (!command.UseCases().empty()) {
        output += "\nExamples\n\n```text\n";
        for (const Command::UseCase& useCase : command.UseCases())
            output += "# " + useCase.purpose + "\n" + ExampleLine(command, useCase) + "\n";
        output += "```\n";
    }
    if (command.HasOwnStatuses()) WriteManualRows(output, "Exit status", Statuses(command));
    for (const std::unique_ptr<Command>& below : command.Commands())
        WriteManual(output, *below, heading + "#");
}

} // namespace

std::string HelpText(const Command& command) {
    std::string output;
    const char* prefix = "usage: ";
    for (const std::string& line : Synopsis(command)) {
        output += prefix;
        WrapSynopsis(output, line, command.FullName());
        prefix = "       ";
    }
    const std::string& description = command.Description();
    for (std::size_t at = 0; at < description.size();) {
        const std::size_t end = std::min(description.find("\n\n", at), description.size());
        output += '\n';
        Wrap(output, std::string_view(description).substr(at, end - at), 0, 0);
        at = end + 2;
    }
    // Those of a group stand together.
    for (auto first = command.Commands().begin(); first != command.Commands().end();) {
        const std::string& group = (*first)->GroupTitle();
        std::vector<Row> rows;
        for (; first != command.Commands().end() && (*first)->GroupTitle() == group; ++first)
            rows.push_back({(*first)->Name(), Summary(**first)});
        WriteRows(output, group.empty() ? "Commands" : group.c_str(), rows);
    }
    WriteRows(output, "Arguments", Rows(command, /*positional=*/true));
    std::vector<Row> options = Rows(command, /*positional=*/false);
    options.push_back({"-h, --help", "print this help"});
    WriteRows(output, "Options", options);
    if (!command.UseCases().empty()) {
        output += "\nExamples:\n";
        for (const Command::UseCase& useCase : command.UseCases())
            output += "  " + ExampleLine(command, useCase) + "\n      " + useCase.purpose + "\n";
    }
    WriteRows(output, "Exit status", Statuses(command));
    return output;
}

std::string Manual(const Command& program) {
    std::string output = "# " + program.Name() +
                         "\n\n<!-- Made by `orva help --markdown`; a test compares them. -->\n\n" +
                         Escaped(program.Description()) + "\n";
    std::string group;
    for (const std::unique_ptr<Command>& command : program.Commands()) {
        if (command->GroupTitle() != group) {
            group = command->GroupTitle();
            output += "\n**" + group + "**\n\n";
        }
        output += "- [`" + command->Name() + "`](#orva-" + command->Name() + ") — " + Escaped(Summary(*command)) + "\n";
    }
    std::vector<Row> options = Rows(program, /*positional=*/false);
    options.push_back({"-h, --help", "print the help, of the program or of a command"});
    WriteManualRows(output, "Options", options);
    WriteManualRows(output, "Exit status, where a command does not say otherwise", Statuses(program));
    for (const std::unique_ptr<Command>& command : program.Commands())
        WriteManual(output, *command, "##");
    return output;
}

} // namespace orva
