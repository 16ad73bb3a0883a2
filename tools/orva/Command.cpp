#include "orva/Command.h"

#include "orva/Console.h"

#include <algorithm>
#include <charconv>
#include <sstream>

namespace orva {
namespace {

std::vector<std::string> Split(const std::string& text) {
    std::vector<std::string> words;
    for (std::size_t at = 0; at <= text.size();) {
        const std::size_t comma = std::min(text.find(',', at), text.size());
        words.push_back(text.substr(at, comma - at));
        at = comma + 1;
    }
    return words;
}

template <class Value>
std::string Shown(Value value) {
    std::ostringstream text;
    text << value;
    return text.str();
}

} // namespace

std::string Joined(const std::vector<std::string>& words, std::string_view separator) {
    std::string text;
    for (const std::string& word : words) {
        if (!text.empty()) text += separator;
        text += word;
    }
    return text;
}

Command& Command::Add(std::string name, std::string description) {
    m_commands.push_back(std::make_unique<Command>(std::move(name), std::move(description), this));
    return *m_commands.back();
}

Option& Command::AddOption(const char* names, std::string metavariable, std::string description) {
    m_options.push_back(std::make_unique<Option>());
    Option& option = *m_options.back();
    option.names = Split(names);
    option.metavariable = std::move(metavariable);
    option.description = std::move(description);
    return option;
}

Option& Command::Flag(const char* names, bool& value, std::string description) {
    Option& option = AddOption(names, {}, std::move(description));
    option.take = [&value](const std::vector<std::wstring>&) {
        value = true;
        return std::string();
    };
    return option;
}

Option& Command::Text(const char* names, std::wstring& value, std::string metavariable, std::string description) {
    Option& option = AddOption(names, std::move(metavariable), std::move(description));
    option.defaultText = Utf8(value);
    option.take = [&value](const std::vector<std::wstring>& values) {
        value = values.front();
        return std::string();
    };
    return option;
}

Option& Command::Texts(const char* name, std::vector<std::wstring>& values, std::string description) {
    Option& option = AddOption(name, name, std::move(description));
    option.isMany = true;
    option.take = [&values](const std::vector<std::wstring>& given) {
        values = given;
        return std::string();
    };
    return option;
}

template <class Value>
Option& Command::AddNumber(const char* names, Value& value, Value least, Value most, std::string metavariable,
                           std::string description) {
    Option& option = AddOption(names, std::move(metavariable), std::move(description));
    if (value >= least) option.defaultText = Shown(value);
    option.take = [&value, least, most](const std::vector<std::wstring>& values) {
        const std::string text = Utf8(values.front());
        const char* const end = text.data() + text.size();
        Value number{};
        const auto [rest, error] = std::from_chars(text.data(), end, number);
        if (error != std::errc() || rest != end || !(number >= least && number <= most)) {
            return "\"" + text + "\" is no number from " + Shown(least) + " to " + Shown(most);
        }
        value = number;
        return std::string();
    };
    return option;
}

Option& Command::Number(const char* names, int& value, int least, int most, std::string metavariable,
                        std::string description) {
    return AddNumber(names, value, least, most, std::move(metavariable), std::move(description));
}

Option& Command::Number(const char* names, double& value, double least, double most, std::string metavariable,
                        std::string description) {
    return AddNumber(names, value, least, most, std::move(metavariable), std::move(description));
}

Option& Command::Choice(const char* names, std::string& value, std::vector<std::string> words,
                        std::string description) {
    Option& option = AddOption(names, Joined(words, "|"), std::move(description));
    option.defaultText = value;
    option.words = std::move(words);
    option.take = [&option, &value](const std::vector<std::wstring>& values) {
        value = Utf8(values.front());
        const bool isKnown = std::find(option.words.begin(), option.words.end(), value) != option.words.end();
        return isKnown ? std::string() : "\"" + value + "\" is none of " + Joined(option.words, ", ");
    };
    return option;
}

Option& Command::WordList(const char* names, std::vector<std::string>& values, std::vector<std::string> words,
                          const std::string& metavariable, const std::string& description) {
    Option& option = AddOption(names, metavariable + ",…", description + ": " + Joined(words, ", "));
    option.defaultText = Joined(values, ",");
    option.words = std::move(words);
    option.isList = true;
    option.take = [&values](const std::vector<std::wstring>& given) {
        values = Split(Utf8(given.front()));
        return std::string();
    };
    return option;
}

void Command::Example(std::string arguments, std::string purpose) {
    m_useCases.push_back({std::move(arguments), std::move(purpose)});
}

void Command::Statuses(std::string success, std::string failure) {
    m_hasOwnStatuses = true;
    m_successText = std::move(success);
    m_failureText = std::move(failure);
}

std::string Command::FullName() const {
    return (m_parent != nullptr ? m_parent->FullName() + " " : std::string()) + m_name;
}

} // namespace orva
