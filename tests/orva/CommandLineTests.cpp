// Command lines of every kind: what is wrong is said first and in one style, and no argument is taken for another.
#include "support/Program.h"
#include "support/TempFolder.h"
#include "support/Text.h"

#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <vector>

namespace {

using tarnu::support::UniqueFileHandle;
using tarnu::test::Exists;
using tarnu::test::Narrow;
using tarnu::test::OrvaProcess;
using tarnu::test::Quoted;
using tarnu::test::ReadFile;
using tarnu::test::TempFolder;

} // namespace

TEST(CommandLine, WhatIsWrongIsSaidFirst) {
    const struct {
        const wchar_t* arguments;
        const char* complaint;
        const char* command; ///< whose help is recommended
    } cases[] = {
        {L"", "a command is missing", "orva"},
        {L"frob --x", "there is no command \"frob\"", "orva"},
        {L"\"\"", "there is no command \"\"", "orva"},
        {L"\xD83D\xDE00", "there is no command \"\xF0\x9F\x98\x80\"", "orva"},
        {L"--bogus tree", "there is no option --bogus", "orva"},
        // The missing DIR is not worth a word before what was not expected.
        {L"tree --bogus", "there is no option --bogus", "orva tree"},
        {L"copy --bogus a", "there is no option --bogus", "orva copy"},
        {L"tree", "DIR is required", "orva tree"},
        {L"tree a b", "unexpected argument \"b\"", "orva tree"},
        {L"tree a [b]", "unexpected argument \"[b]\"", "orva tree"},
        {L"path", "a command is missing", "orva path"},
        {L"path turn x", "there is no command \"turn\"", "orva path"},
        {L"copy a b --retries x", "--retries: \"x\" is no number from 0 to 1000", "orva copy"},
        {L"copy a b --retries 1001", "--retries: \"1001\" is no number from 0 to 1000", "orva copy"},
        {L"watch . --for nan", "--for: \"nan\" is no number from 0 to 1e+09", "orva watch"},
        {L"copy a b -p \"\"", "--policy: \"\" is none of fail, skip, overwrite, newer", "orva copy"},
        {L"tree . -p a -p b", "--pattern is given more than once", "orva tree"},
        {L"tree . --files=no", "--files takes no value", "orva tree"},
        {L"zip a.zip", "PATH or --list is required", "orva zip"},
        {L"zip --list x y", "PATH excludes --list", "orva zip"},
        {L"help nope", "there is no command \"nope\"", "orva help"},
        {L"completion fish", "SHELL: \"fish\" is none of bash, powershell", "orva completion"},
    };
    for (const auto& entry : cases) {
        OrvaProcess orva(entry.arguments);
        EXPECT_EQ(2u, orva.Wait());
        EXPECT_EQ("", orva.Output());
        EXPECT_EQ("orva: " + std::string(entry.complaint) + "\nTry \"" + entry.command + " --help\".\n", orva.Errors());
    }
}

TEST(CommandLine, EveryCommandHelpsInTheSameForm) {
    OrvaProcess program(L"--help");
    EXPECT_EQ(0u, program.Wait());
    std::vector<std::string> commands;
    const std::string help = program.Output();
    for (std::size_t at = help.find("\n  "); at != std::string::npos && at < help.find("\nOptions:");
         at = help.find("\n  ", at + 1)) {
        const std::size_t end = help.find(' ', at + 3);
        if (help[at + 3] != ' ') commands.push_back(help.substr(at + 3, end - at - 3));
    }
    EXPECT_GE(commands.size(), 17u) << help;
    for (const std::string& command : commands) {
        OrvaProcess asked(std::wstring(command.begin(), command.end()) + L" --help");
        EXPECT_EQ(0u, asked.Wait());
        const std::string text = asked.Output();
        EXPECT_TRUE(text.starts_with("usage: orva " + command)) << text;
        std::size_t at = 0;
        for (const char* part :
             {"\n\n", "\nOptions:\n", "  -h, --help", "\nExit status:\n  0  ", "\n  1  ", "\n  2  "}) {
            at = text.find(part, at);
            ASSERT_NE(std::string::npos, at) << part << " in\n" << text;
        }
        for (std::size_t line = 0; line < text.size();) {
            const std::size_t end = text.find('\n', line);
            // "…" takes three bytes; examples are never broken.
            const bool isExample = text.compare(line, 7, "  orva ") == 0;
            EXPECT_TRUE(end - line < 80 + 2 * 3 || isExample) << text.substr(line, end - line);
            line = end + 1;
        }
        OrvaProcess helped(L"help " + std::wstring(command.begin(), command.end()));
        EXPECT_EQ(0u, helped.Wait());
        EXPECT_EQ(text, helped.Output());
    }
}

TEST(CommandLine, EveryTextIsAName) {
    // To the parser that orva uses these are lists, empty values and ends of commands.
    OrvaProcess joined(L"path join x [a] {} %% ++ \"[b,c]\" --slashes");
    EXPECT_EQ(0u, joined.Wait()) << joined.Errors();
    EXPECT_EQ("x/[a]/{}/%%/++/[b,c]\n", joined.Output());
    OrvaProcess behindDashes(L"path join x -- --slashes -h");
    EXPECT_EQ(0u, behindDashes.Wait()) << behindDashes.Errors();
    EXPECT_EQ("x\\--slashes\\-h\n", behindDashes.Output());
    OrvaProcess commandNames(L"path join tree path split");
    EXPECT_EQ(0u, commandNames.Wait()) << commandNames.Errors();
    EXPECT_EQ("tree\\path\\split\n", commandNames.Output());

    const TempFolder temp;
    temp.MakeFile(L"a\\kept");
    temp.MakeFile(L"[a]\\gone");
    OrvaProcess deleting(L"delete [a] {}", temp.Path());
    EXPECT_EQ(0u, deleting.Wait()) << deleting.Errors();
    EXPECT_TRUE(Exists(temp / L"a\\kept"));
    EXPECT_FALSE(Exists(temp / L"[a]"));

    // An empty value is no reason to take the next argument for it.
    OrvaProcess empty(L"browse --title= --start none");
    EXPECT_EQ(1u, empty.Wait());
    EXPECT_EQ("orva: none: there is no such folder\n", empty.Errors());
}

TEST(CommandLine, NoNameIsTooOdd) {
    const TempFolder temp;
    temp.MakeFile(L"kept", "x");
    const std::wstring names[] = {
        L"\"\"",
        L"\xD800",         // half of a surrogate pair
        L"x\xDC00\xD800y", // two halves in the wrong order
        std::wstring(20000, L'l'),
        L"Q:\\" + std::wstring(300, L'l'),
        L"\"\x01\x1B[31m\"",
        L"nul\\x",
        L"\"a|b<c>?*\"",
    };
    const struct {
        const wchar_t* before;
        const wchar_t* behind;
        bool canSucceed;
    } commands[] = {
        {L"tree ", L"", false},
        {L"copy -r 0 ", L" target", false},
        {L"delete -r 0 ", L"", true}, // what does not exist counts as deleted
        {L"zip a.zip ", L"", false},
        {L"unzip ", L" target", false},
        {L"path split ", L"", true},
        {L"path join ", L" x", true},
        {L"path absolute ", L"", true},
        {L"points 1 --subtract ", L"", true},
        {L"landxml ", L" out.xml", false},
        {L"xml ", L"", false},
        {L"tour ", L"", false},
        {L"help ", L"", false},
    };
    for (const std::wstring& name : names) {
        std::vector<std::unique_ptr<OrvaProcess>> running; // all at once: each by itself is mostly start-up
        for (const auto& command : commands)
            running.push_back(std::make_unique<OrvaProcess>(command.before + name + command.behind, temp.Path()));
        for (std::size_t index = 0; index < running.size(); ++index) {
            const auto& command = commands[index];
            OrvaProcess& orva = *running[index];
            const DWORD status = orva.Wait();
            EXPECT_TRUE(status == 1 || status == 2 || (status == 0 && command.canSucceed))
                << status << " from " << Narrow(command.before + name.substr(0, 300));
            EXPECT_EQ(status == 0, orva.Errors().empty()) << Narrow(command.before + name.substr(0, 300));
        }
    }
    EXPECT_EQ("x", ReadFile(temp / L"kept"));
    EXPECT_FALSE(Exists(temp / L"out.xml"));
}

TEST(CommandLine, FilesThatCannotBeReadAreFailures) {
    const TempFolder temp;
    const std::wstring locked = temp.MakeFile(L"in\\locked", "PK");
    temp.MakeFile(L"in\\free", "x");
    const UniqueFileHandle lock(::CreateFileW(locked.c_str(), GENERIC_READ | GENERIC_WRITE, /*dwShareMode=*/0, nullptr,
                                              OPEN_EXISTING, 0, nullptr));
    ASSERT_TRUE(lock);
    const std::wstring out = Quoted(temp / L"out");
    for (const std::wstring& arguments :
         {L"zip --list " + Quoted(locked), L"unzip " + Quoted(locked) + L" " + out, L"xml " + Quoted(locked),
          L"landxml --read " + Quoted(locked), L"landxml " + Quoted(locked) + L" " + out,
          L"copy --retries 0 " + Quoted(temp / L"in") + L" " + Quoted(temp / L"copy"),
          L"zip --list " + Quoted(temp / L"in"), L"xml " + Quoted(temp / L"in"),
          L"landxml " + Quoted(temp / L"in") + L" " + out, L"report " + Quoted(temp / L"in") + L" text",
          L"tour " + Quoted(temp / L"in"), L"time -r " + Quoted(temp / L"in") + L" -- orva.exe",
          std::wstring(L"report \"\" text"), std::wstring(L"modified \"\""),
          L"browse --start " + std::wstring(20000, L'l'),
          L"zip " + Quoted(temp / L"none\\a.zip") + L" " + Quoted(temp / L"in"),
          L"zip -q " + Quoted(locked) + L" " + Quoted(temp / L"in\\free")}) {
        OrvaProcess orva(arguments);
        EXPECT_EQ(1u, orva.Wait()) << arguments.c_str();
        EXPECT_TRUE(orva.Errors().starts_with("orva: ")) << orva.Errors();
        EXPECT_FALSE(Exists(temp / L"out")) << Narrow(arguments);
    }
    // What can be packed is packed.
    OrvaProcess zip(L"zip -q " + Quoted(temp / L"part.zip") + L" " + Quoted(temp / L"in"));
    EXPECT_EQ(1u, zip.Wait());
    EXPECT_NE(std::string::npos, zip.Errors().find("locked")) << zip.Errors();
    OrvaProcess list(L"zip --list " + Quoted(temp / L"part.zip"));
    EXPECT_EQ(0u, list.Wait()) << list.Errors();
    EXPECT_NE(std::string::npos, list.Output().find("in/free")) << list.Output();
}
