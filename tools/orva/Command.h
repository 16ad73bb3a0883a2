/// @file
/// Command and Option: what a command of orva declares, its help and its work; each command is made in
/// commands/<Name>Command.cpp and listed in main.cpp.
///
///     void AddTreeCommand(Command& program) {
///         auto options = std::make_shared<Options>();
///         Command& command = program.Add("tree", "Lists a folder as a tree.");
///         command.Text("DIR", options->folder, "the folder").Required();
///         command.Example("C:\\jobs --files", "with all files and their sizes");
///         command.Run([options] { return ListTree(*options); });
///     }
///
/// Parser, help, manual and completion are made of these declarations.
#ifndef TARNU_TOOLS_ORVA_COMMAND_H
#define TARNU_TOOLS_ORVA_COMMAND_H

#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace orva {

/// Exit statuses of the program.
enum ExitStatus : int {
    exitSuccess = 0,
    exitFailure = 1, ///< the work failed, wholly or in part
    exitUsage = 2    ///< the command line was wrong; nothing was done
};

/// A wrong command line. Parsing throws it, and a command's work may, before it has done anything.
class UsageError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// A flag, an option with a value, or a positional argument.
struct Option {
    Option& Required() {
        isRequired = true;
        return *this;
    }
    /// The two cannot be given together.
    Option& Excludes(const Option& other) {
        excluded.push_back(&other);
        return *this;
    }
    bool IsPositional() const { return names.front().front() != '-'; }
    bool IsFlag() const { return metavariable.empty(); }

    std::vector<std::string> names; ///< "-p" and "--policy"; one without dashes for an argument
    std::string metavariable;       ///< what its value is: DIR, SECONDS, "fail|skip"; empty for a flag
    std::string description;        ///< in lower case, without full stop, with unit
    std::string defaultText;
    std::vector<std::string> words; ///< what a person may type for the value, if only few words
    bool isList = false;            ///< any number of these words, between commas
    bool isMany = false;            ///< takes all arguments that follow
    bool isRequired = false;
    bool isGiven = false; ///< on the command line that was parsed
    std::vector<const Option*> excluded;
    /// Takes the values over; returns what is wrong with them, or nothing.
    std::function<std::string(const std::vector<std::wstring>& values)> take;
};

/// A command, or the program itself. Narrow texts are UTF-8; descriptions are whole sentences.
class Command {
public:
    /// A command line behind the command's name, and what it is good for.
    struct UseCase {
        std::string arguments;
        std::string purpose;
    };

    Command(std::string name, std::string description, const Command* parent = nullptr)
        : m_name(std::move(name)), m_description(std::move(description)), m_parent(parent) {}
    Command(const Command&) = delete;
    Command& operator=(const Command&) = delete;

    /// Adds a command below this one.
    /// @param description a sentence; further paragraphs may follow, each after an empty line
    Command& Add(std::string name, std::string description);

    // Options. The names of arguments and the metavariables of options say what they take, to completion too: DIR,
    // FOLDER and DESTINATION folders; FILE, PATH and ARCHIVE files.
    Option& Flag(const char* names, bool& value, std::string description);
    Option& Text(const char* names, std::wstring& value, std::string metavariable, std::string description);
    /// An argument.
    Option& Text(const char* name, std::wstring& value, std::string description) {
        return Text(name, value, name, std::move(description));
    }
    /// One or more arguments.
    Option& Texts(const char* name, std::vector<std::wstring>& values, std::string description);
    /// A number within bounds; the value that it has now is the default.
    Option& Number(const char* names, int& value, int least, int most, std::string metavariable,
                   std::string description);
    Option& Number(const char* names, double& value, double least, double most, std::string metavariable,
                   std::string description);
    /// One of a few words.
    Option& Choice(const char* names, std::string& value, std::vector<std::string> words, std::string description);
    /// A comma list; the command judges its words.
    Option& WordList(const char* names, std::vector<std::string>& values, std::vector<std::string> words,
                     const std::string& metavariable, const std::string& description);

    // Help
    void Group(std::string title) { m_group = std::move(title); }
    void Alias(std::string name) { m_alias = std::move(name); }
    /// Replaces the synopsis that is made of the options, for commands that take different sets of them.
    /// @param lines each without "orva" and the command's name
    void Synopsis(std::vector<std::string> lines) { m_synopsis = std::move(lines); }
    void Example(std::string arguments, std::string purpose);
    /// What the exit statuses 0 and 1 say, if not that the work was done or failed.
    void Statuses(std::string success, std::string failure);

    /// The work; returns an exit status.
    void Run(std::function<int()> work) { m_work = std::move(work); }
    int Work() const { return m_work(); }

    // What has been declared.
    const std::string& Name() const { return m_name; }
    /// "orva path split"
    std::string FullName() const;
    const std::string& Description() const { return m_description; }
    const Command* Parent() const { return m_parent; }
    const std::string& GroupTitle() const { return m_group; }
    const std::string& AliasName() const { return m_alias; }
    const std::vector<std::unique_ptr<Option>>& Options() const { return m_options; }
    const std::vector<std::unique_ptr<Command>>& Commands() const { return m_commands; }
    const std::vector<std::string>& SynopsisLines() const { return m_synopsis; }
    const std::vector<UseCase>& UseCases() const { return m_useCases; }
    bool HasOwnStatuses() const { return m_hasOwnStatuses; }
    const std::string& SuccessText() const { return m_successText; }
    const std::string& FailureText() const { return m_failureText; }

private:
    Option& AddOption(const char* names, std::string metavariable, std::string description);
    template <class Value>
    Option& AddNumber(const char* names, Value& value, Value least, Value most, std::string metavariable,
                      std::string description);

    const std::string m_name;
    const std::string m_description;
    const Command* const m_parent;
    std::string m_group;
    std::string m_alias;
    std::vector<std::unique_ptr<Option>> m_options;
    std::vector<std::unique_ptr<Command>> m_commands;
    std::vector<std::string> m_synopsis;
    std::vector<UseCase> m_useCases;
    bool m_hasOwnStatuses = false;
    std::string m_successText = "the work is done";
    std::string m_failureText = "it failed, wholly or in part, and a message says why";
    std::function<int()> m_work;
};

/// "a, b, c"
std::string Joined(const std::vector<std::string>& words, std::string_view separator);

/// Runs orva with these arguments, in this process; what main does. Failures are printed.
/// @return the exit status
int RunProgram(const std::vector<std::wstring>& arguments);

} // namespace orva

#endif // TARNU_TOOLS_ORVA_COMMAND_H
