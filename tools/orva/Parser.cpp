#include "orva/Parser.h"

#include "orva/Console.h"

#include <algorithm>
#include <CLI/CLI.hpp>
#include <iterator>
#include <map>

namespace orva {
namespace {

/// CLI11 gives some texts a meaning of its own: "[a]" is a list of "a", "{}" and "" are no value, "++" ends a command.
/// Here they are file names like any other, so they pass it behind a mark.
constexpr char mark = '\x01';

std::string Marked(std::wstring_view argument) {
    std::string text = Utf8(argument);
    if (text.empty() || std::string_view("[{%+\x01").find(text[0]) != std::string_view::npos) return mark + text;
    // "--title=" is an empty title; the next argument would be taken for it.
    if (text.starts_with("--") && text.find('=') == text.size() - 1) text += mark;
    return text;
}

std::wstring Unmarked(std::string_view text) {
    if (text.starts_with(mark)) text.remove_prefix(1);
    return Wide(text);
}

std::string WithoutMarks(std::string text) {
    std::erase(text, mark);
    return text;
}

/// A program of CLI11 for the declared one.
class Parser {
public:
    explicit Parser(const Command& program) : m_app("", program.Name()), m_program(program) {
        m_app.allow_windows_style_options(false); // a path may begin with a slash
        m_app.set_help_flag("-h,--help", "");
        Declare(m_app, program);
    }

    Parsed Run(const std::vector<std::wstring>& arguments) {
        Parsed parsed{&m_program, false, {}};
        try {
            // It takes the arguments from the back.
            std::vector<std::string> reversed;
            std::transform(arguments.rbegin(), arguments.rend(), std::back_inserter(reversed), &Marked);
            m_app.parse(std::move(reversed));
            parsed.command = m_commands.at(Deepest());
            parsed.complaint = TakeValues(*parsed.command);
        } catch (const CLI::CallForHelp&) {
            parsed.command = m_commands.at(Deepest());
            parsed.isHelp = true;
        } catch (const CLI::ParseError& error) {
            // What nobody expected goes first: it is why something else seems to be missing.
            const CLI::App* const app = FirstWithRest();
            parsed.command = m_commands.at(app);
            parsed.complaint = Unexpected(*app);
            if (parsed.complaint.empty()) parsed.complaint = error.what();
        }
        parsed.complaint = WithoutMarks(parsed.complaint);
        return parsed;
    }

private:
    void Declare(CLI::App& app, const Command& command) {
        m_commands[&app] = &command;
        for (const std::unique_ptr<Option>& option : command.Options()) {
            const std::string names = Joined(option->names, ",");
            CLI::Option* const declared =
                option->IsFlag() ? app.add_flag(names) : app.add_option(names)->type_name(option->metavariable);
            declared->required(option->isRequired);
            declared->multi_option_policy(CLI::MultiOptionPolicy::TakeAll); // TakeValues tells what is too much
            if (option->isMany) declared->expected(CLI::detail::expected_max_vector_size);
            m_options[option.get()] = declared;
        }
        for (const std::unique_ptr<Option>& option : command.Options()) {
            for (const Option* other : option->excluded)
                m_options.at(option.get())->excludes(m_options.at(other));
        }
        for (const std::unique_ptr<Command>& below : command.Commands()) {
            CLI::App* const declared = app.add_subcommand(below->Name());
            if (!below->AliasName().empty()) declared->alias(below->AliasName());
            Declare(*declared, *below);
        }
        if (!command.Commands().empty()) app.require_subcommand(0, 1);
    }

    /// What the line says to an app that has a command, down to the last one.
    const CLI::App* Deepest() const {
        const CLI::App* app = &m_app;
        while (!app->get_subcommands().empty())
            app = app->get_subcommands().front();
        return app;
    }

    const CLI::App* FirstWithRest() const {
        const CLI::App* app = &m_app;
        while (app->remaining().empty() && !app->get_subcommands().empty())
            app = app->get_subcommands().front();
        return app;
    }

    std::string Unexpected(const CLI::App& app) const {
        const std::vector<std::string> rest = app.remaining();
        if (rest.empty()) return {};
        const std::string& first = rest.front();
        if (first.size() > 1 && first[0] == '-') return "there is no option " + first;
        const bool isCommand = !m_commands.at(&app)->Commands().empty();
        return (isCommand ? "there is no command \"" : "unexpected argument \"") + first + "\"";
    }

    std::string TakeValues(const Command& command) const {
        bool isAnyGiven = false;
        for (const std::unique_ptr<Option>& option : command.Options()) {
            const CLI::Option& given = *m_options.at(option.get());
            option->isGiven = given.count() > 0;
            if (!option->isGiven) continue;
            isAnyGiven = true;
            const std::string& name = option->names.back();
            if (option->IsFlag() && given.results().front() != "true") return name + " takes no value";
            if (!option->IsFlag() && !option->isMany && given.count() > 1) return name + " is given more than once";
            std::vector<std::wstring> values;
            for (const std::string& value : given.results())
                values.push_back(Unmarked(value));
            const std::string complaint = option->take(values);
            if (!complaint.empty()) return name + ": " + complaint;
        }
        return command.Commands().empty() || isAnyGiven ? std::string() : "a command is missing";
    }

    CLI::App m_app;
    const Command& m_program;
    std::map<const CLI::App*, const Command*> m_commands;
    std::map<const Option*, CLI::Option*> m_options;
};

} // namespace

Parsed Parse(const Command& program, const std::vector<std::wstring>& arguments) {
    return Parser(program).Run(arguments);
}

} // namespace orva
