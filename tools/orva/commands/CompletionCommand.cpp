// orva completion: scripts that complete orva's command lines in bash and PowerShell, made of what the commands
// declare.

#include "orva/Command.h"
#include "orva/Console.h"

#include <algorithm>
#include <iterator>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace orva {
namespace {

/// What can follow.
enum class Kind { Nothing, Folders, Files, Words, WordList };

struct Value {
    Kind kind = Kind::Nothing;
    std::vector<std::string> words;
};

/// An option with a value.
struct ValueOption {
    std::vector<std::string> names;
    Value value;
};

/// What can be typed behind a command.
struct Context {
    std::string path;               ///< "/path/split"; empty for the program
    std::vector<std::string> names; ///< of all its options
    std::vector<ValueOption> options;
    Value argument;
};

bool IsOneOf(std::string_view name, std::initializer_list<std::string_view> names) {
    return std::find(names.begin(), names.end(), name) != names.end();
}

std::vector<std::string> Names(const Command& command) {
    std::vector<std::string> names;
    for (const std::unique_ptr<Command>& below : command.Commands())
        names.push_back(below->Name());
    return names;
}

Value ValueOf(const Command& command, const Option& option) {
    if (!option.words.empty()) return {option.isList ? Kind::WordList : Kind::Words, option.words};
    const std::string& name = option.metavariable;
    if (name == "COMMAND") return {Kind::Words, Names(*command.Parent())};
    if (IsOneOf(name, {"DIR", "FOLDER", "DESTINATION"})) return {Kind::Folders, {}};
    if (IsOneOf(name, {"FILE", "PATH", "ARCHIVE", "POINTS", "OUT", "PROGRAM"})) return {Kind::Files, {}};
    return {};
}

/// Collects the contexts of a command and of those below it.
void Collect(const Command& command, const std::string& path, std::vector<Context>& contexts) {
    Context context{path, {"-h", "--help"}, {}, {}};
    for (const std::unique_ptr<Option>& option : command.Options()) {
        const Value value = ValueOf(command, *option);
        if (!option->IsPositional()) {
            context.names.insert(context.names.end(), option->names.begin(), option->names.end());
            if (!option->IsFlag()) context.options.push_back({option->names, value});
        } else if (context.argument.kind == Kind::Nothing || value.kind == Kind::Files) {
            // One answer for all positions will do: folders only where nothing but folders is taken.
            context.argument = value;
        }
    }
    if (!command.Commands().empty()) context.argument = {Kind::Words, Names(command)};
    contexts.push_back(std::move(context));
    for (const std::unique_ptr<Command>& next : command.Commands())
        Collect(*next, path + "/" + next->Name(), contexts);
}

// bash

std::string BashValue(const Value& value) {
    switch (value.kind) {
    case Kind::Folders:
        return "kind=folders";
    case Kind::Files:
        return "kind=files";
    case Kind::Words:
        return "kind=words words='" + Joined(value.words, " ") + "'";
    case Kind::WordList:
        return "kind=list words='" + Joined(value.words, " ") + "'";
    default:
        return "kind=nothing";
    }
}

std::string BashScript(const std::vector<Context>& contexts) {
    std::string script = R"(# bash completion of orva; load it with: source <(orva completion bash)

_orva() {
    local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD-1]}
    local command= kind=files words= options= head= index

    # The command is made of the words in front that name one.
    for ((index = 1; index < COMP_CWORD; ++index)); do
        case $command/${COMP_WORDS[index]} in
            )";
    std::vector<std::string> paths;
    for (const Context& context : contexts) {
        if (!context.path.empty()) paths.push_back(context.path);
    }
    script += Joined(paths, " | ") + R"() command+=/${COMP_WORDS[index]} ;;
        esac
    done

    case $command in
)";
    for (const Context& context : contexts) {
        script += "        '" + context.path + "') " + BashValue(context.argument) + " options='" +
                  Joined(context.names, " ") + "' ;;\n";
    }
    script += R"(    esac
    if [[ $current == -* ]]; then
        kind=words words=$options
    fi
    case $command:$previous in
)";
    for (const Context& context : contexts) {
        for (const ValueOption& option : context.options) {
            std::vector<std::string> patterns;
            for (const std::string& name : option.names)
                patterns.push_back(context.path + ":" + name);
            script += "        " + Joined(patterns, " | ") + ") " + BashValue(option.value) + " ;;\n";
        }
    }
    script += R"(    esac

    case $kind in
        folders) mapfile -t COMPREPLY < <(compgen -d -- "$current"); compopt -o filenames 2>/dev/null ;;
        files) mapfile -t COMPREPLY < <(compgen -f -- "$current"); compopt -o filenames 2>/dev/null ;;
        words) mapfile -t COMPREPLY < <(compgen -W "$words" -- "$current") ;;
        list)
            [[ $current == *,* ]] && head=${current%,*},
            mapfile -t COMPREPLY < <(compgen -P "$head" -W "$words" -- "${current##*,}")
            ;;
        *) COMPREPLY=() ;;
    esac
}
complete -F _orva orva orva.exe
)";
    return script;
}

// PowerShell

std::string PowerShellWords(const std::vector<std::string>& words) {
    return words.empty() ? "@()" : "@('" + Joined(words, "', '") + "')";
}

std::string PowerShellScript(const std::vector<Context>& contexts) {
    std::string script =
        R"(# PowerShell completion of orva; load it with: orva completion powershell | Out-String | Invoke-Expression

Register-ArgumentCompleter -Native -CommandName orva, orva.exe -ScriptBlock {
    param($wordToComplete, $commandAst, $cursorPosition)
    # For each command: the words that may follow, its options, and the words behind an option (none: a free text).
    $contexts = @{
)";
    for (const Context& context : contexts) {
        script +=
            "        '" + context.path + "' = @{\n            Words = " + PowerShellWords(context.argument.words) +
            "\n            Options = " + PowerShellWords(context.names) +
            "\n            Values = [System.Collections.Hashtable]::new([System.StringComparer]::Ordinal)\n        }\n";
    }
    script += "    }\n";
    for (const Context& context : contexts) {
        for (const ValueOption& option : context.options) {
            for (const std::string& name : option.names) {
                script += "    $contexts['" + context.path + "'].Values['" + name +
                          "'] = " + PowerShellWords(option.value.words) + "\n";
            }
        }
    }
    script += R"(
    $before = @($commandAst.CommandElements | Select-Object -Skip 1 |
        Where-Object { $_.Extent.EndOffset -lt $cursorPosition } | ForEach-Object { $_.ToString() })
    $command = ''
    foreach ($word in $before) {
        if ($contexts.ContainsKey("$command/$word")) { $command = "$command/$word" }
    }
    $context = $contexts[$command]
    $candidates = $context.Words
    if ($wordToComplete.StartsWith('-')) { $candidates = $context.Options }
    if ($before.Count -gt 0 -and $context.Values.ContainsKey($before[-1])) {
        $candidates = $context.Values[$before[-1]]
    }
    # In a comma list the last word is completed. Without candidates PowerShell offers files.
    $head = if ($wordToComplete -match '^(.*,)') { $Matches[1] } else { '' }
    $last = $wordToComplete.Substring($head.Length)
    $candidates | Where-Object { $_.StartsWith($last) } | ForEach-Object {
        [System.Management.Automation.CompletionResult]::new("$head$_", $_, 'ParameterValue', $_)
    }
}
)";
    return script;
}

} // namespace

void AddCompletionCommand(Command& program) {
    auto shell = std::make_shared<std::string>();
    Command& command = program.Add("completion", "Prints a script that completes orva's command lines in a shell.");
    command.Choice("SHELL", *shell, {"bash", "powershell"}, "the shell: bash or powershell").Required();
    command.Example("bash >~/.orva-completion", "for bash; then in ~/.bashrc: source ~/.orva-completion");
    command.Example("powershell | Out-String | Invoke-Expression", "for PowerShell; the line belongs into $PROFILE");
    command.Run([shell, &program] {
        std::vector<Context> contexts;
        Collect(program, {}, contexts);
        Print(Wide(*shell == "bash" ? BashScript(contexts) : PowerShellScript(contexts)));
        return exitSuccess;
    });
}

} // namespace orva
