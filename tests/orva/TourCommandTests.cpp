// orva tour, zip and unzip.
#include "support/Program.h"
#include "support/TempFolder.h"
#include "support/Text.h"

#include <gtest/gtest.h>
#include <string>
#include <string_view>

namespace {

using tarnu::test::Exists;
using tarnu::test::OrvaProcess;
using tarnu::test::Quoted;
using tarnu::test::ReadFile;
using tarnu::test::TempFolder;

bool Contains(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

} // namespace

TEST(TourCommand, WorksThroughAFolderAndASurvey) {
    const TempFolder temp;
    temp.MakeFile(L"my jobs\\plan.xml", std::string(100000, 'x'));
    temp.MakeFile(L"my jobs\\sub\\\x00E4", "y");
    temp.MakeFolder(L"my jobs\\empty");
    const std::wstring kept = temp / L"kept";
    OrvaProcess orva(L"tour " + Quoted(temp / L"my jobs") + L" --keep " + Quoted(kept));
    ASSERT_EQ(0u, orva.Wait()) << orva.Errors();
    const std::string output = orva.Output();
    std::size_t at = 0;
    for (const char* part :
         {"\n1. Walk my jobs\n   $ orva tree \"", "├── empty\\\n", "2 folders, 2 files, 97.7 KiB", "\n2. ",
          "packed 5 entries", "\n3. ", "unpacked 5 entries", "\n4. ", "2 files, 97.7 KiB: all equal",
          "97.7 KiB became ", "\n5. ", "51 of 151 points", "\n6. ", "1,5000,1000,100,\"Station 1, nail in kerb\"\n",
          "51 points: all equal", "All of it held."}) {
        at = output.find(part, at);
        ASSERT_NE(std::string::npos, at) << part << " in\n" << output;
    }
    EXPECT_EQ("y", ReadFile(kept + L"\\unpacked\\my jobs\\sub\\\x00E4"));
    EXPECT_TRUE(Exists(kept + L"\\demo.zip") && Exists(kept + L"\\survey.csv") && Exists(kept + L"\\survey.xml"));
    EXPECT_TRUE(Contains(ReadFile(kept + L"\\times.txt"), "Timer in packing: "));
}

TEST(TourCommand, LeavesNothingBehindAndNothingInTheFolder) {
    const TempFolder temp;
    temp.MakeFile(L"in\\file", "x");
    const std::wstring folder = temp / L"in";
    const struct {
        std::wstring arguments;
        const char* error;
    } failures[] = {
        {Quoted(folder) + L" --keep " + Quoted(folder + L"\\sub\\work"), "the tour's own work folder, is in "},
        {Quoted(folder) + L" --keep " + Quoted(temp.MakeFolder(L"there")), "there exists already"},
        {Quoted(temp.MakeFolder(L"empty")), "holds no files"},
        {Quoted(folder + L"\\file"), "there is no such folder"},
    };
    const auto workFolder = [](const OrvaProcess& orva) {
        wchar_t temporary[MAX_PATH] = {};
        ::GetTempPathW(MAX_PATH, temporary);
        return temporary + (L"orva-tour-" + std::to_wstring(orva.Id()));
    };
    for (const auto& failure : failures) {
        OrvaProcess orva(L"tour " + failure.arguments);
        EXPECT_EQ(1u, orva.Wait()) << orva.Output();
        EXPECT_TRUE(Contains(orva.Errors(), failure.error)) << orva.Errors();
        EXPECT_FALSE(Exists(workFolder(orva)));
    }
    for (const wchar_t letter : std::wstring_view(L"abcdefghijk"))
        temp.MakeFile(L"in\\" + std::wstring(1, letter), "x");
    OrvaProcess orva(L"tour " + Quoted(folder));
    EXPECT_EQ(0u, orva.Wait()) << orva.Errors();
    const std::string listed = orva.Output().substr(0, orva.Output().find("\n2. "));
    EXPECT_TRUE(Contains(listed, " a ") && Contains(listed, " file ")) << "14 lines are not cut\n" << listed;
    EXPECT_TRUE(Contains(orva.Output(), "orva-tour-" + std::to_string(orva.Id()))) << orva.Output();
    EXPECT_FALSE(Exists(workFolder(orva)));
    EXPECT_FALSE(Exists(folder + L"\\sub"));
    EXPECT_EQ("x", ReadFile(folder + L"\\file"));
}

TEST(UnzipCommand, SaysWhatItLeftAsItWas) {
    const TempFolder temp;
    temp.MakeFile(L"in\\a", "new");
    temp.MakeFile(L"in\\b", "new");
    const std::wstring archive = Quoted(temp / L"a.zip");
    const std::wstring target = Quoted(temp / L"out");
    OrvaProcess zip(L"zip -q " + archive + L" " + Quoted(temp / L"in"));
    ASSERT_EQ(0u, zip.Wait()) << zip.Errors();
    temp.MakeFile(L"out\\in\\a", "old");

    OrvaProcess kept(L"unzip -q " + archive + L" " + target);
    EXPECT_EQ(0u, kept.Wait()) << kept.Errors();
    EXPECT_TRUE(Contains(kept.Output(), "; left 1 file that existed already as it was (--overwrite replaces them)\n"))
        << kept.Output();
    EXPECT_EQ("old", ReadFile(temp / L"out\\in\\a"));
    EXPECT_EQ("new", ReadFile(temp / L"out\\in\\b"));

    OrvaProcess both(L"unzip -q " + archive + L" " + target);
    EXPECT_EQ(0u, both.Wait()) << both.Errors();
    EXPECT_TRUE(Contains(both.Output(), "; left 2 files that existed already as they were")) << both.Output();

    OrvaProcess replaced(L"unzip --overwrite " + archive + L" " + target);
    EXPECT_EQ(0u, replaced.Wait()) << replaced.Errors();
    EXPECT_FALSE(Contains(replaced.Output(), "existed"));
    EXPECT_TRUE(Contains(replaced.Output(), "replacing ")) << replaced.Output();
    EXPECT_EQ("new", ReadFile(temp / L"out\\in\\a"));
    OrvaProcess quietly(L"unzip -q --overwrite " + archive + L" " + target);
    EXPECT_EQ(0u, quietly.Wait()) << quietly.Errors();
    EXPECT_EQ("unpacked 3 entries\n", quietly.Output());
}

TEST(UnzipCommand, SaysWhatItCouldNotUnpack) {
    const TempFolder temp;
    const std::wstring archive = Quoted(temp / L"a.zip");
    const std::wstring in = Quoted(temp.MakeFile(L"in", "some text"));
    const std::wstring out = Quoted(temp / L"out");
    OrvaProcess zip(L"zip -q -p secret " + archive + L" " + in);
    ASSERT_EQ(0u, zip.Wait()) << zip.Errors();
    OrvaProcess marked(L"zip --list " + archive);
    EXPECT_EQ(0u, marked.Wait()) << marked.Errors();
    EXPECT_TRUE(Contains(marked.Output(), "stored *") || Contains(marked.Output(), "deflate*")) << marked.Output();
    OrvaProcess locked(L"unzip -q " + archive + L" " + out);
    EXPECT_EQ(1u, locked.Wait());
    EXPECT_EQ("orva: in: it is encrypted, and not with this password\n", locked.Errors());
    EXPECT_EQ("unpacked 0 entries; 1 failure\n", locked.Output());
    OrvaProcess nowhere(L"unzip -q -p secret " + archive + L" " + Quoted(temp / L"in\\below"));
    EXPECT_EQ(1u, nowhere.Wait());
    EXPECT_TRUE(Contains(nowhere.Errors(), "the folder cannot be made")) << nowhere.Errors();

    // A method that nobody here knows.
    OrvaProcess plain(L"zip -q " + archive + L" " + in);
    ASSERT_EQ(0u, plain.Wait()) << plain.Errors();
    std::string bytes = ReadFile(temp / L"a.zip");
    bytes[8] = bytes[bytes.find("PK\x01\x02") + 10] = 97;
    tarnu::test::WriteFile(temp / L"a.zip", bytes);
    OrvaProcess list(L"zip --list " + archive);
    EXPECT_EQ(0u, list.Wait()) << list.Errors();
    EXPECT_TRUE(Contains(list.Output(), "  97      ")) << list.Output();
    OrvaProcess unknown(L"unzip -q " + archive + L" " + out);
    EXPECT_EQ(1u, unknown.Wait());
    EXPECT_TRUE(unknown.Errors().starts_with("orva: in: ")) << unknown.Errors();
    EXPECT_FALSE(Exists(temp / L"out\\in"));

    // A name that would steer the terminal.
    bytes[31] = bytes[bytes.find("PK\x01\x02") + 47] = '\x1B';
    tarnu::test::WriteFile(temp / L"a.zip", bytes);
    OrvaProcess steering(L"zip --list " + archive);
    EXPECT_EQ(0u, steering.Wait()) << steering.Errors();
    EXPECT_TRUE(Contains(steering.Output(), "  i\xEF\xBF\xBD\n")) << steering.Output();
}
