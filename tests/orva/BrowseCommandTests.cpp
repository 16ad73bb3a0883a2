#include "orva/Dialogs.h"
#include "support/Program.h"
#include "support/TempFolder.h"
#include "support/Text.h"

#include <gtest/gtest.h>
#include <string>

namespace {

using tarnu::test::Answer;
using tarnu::test::Narrow;
using tarnu::test::OrvaProcess;
using tarnu::test::TempFolder;

} // namespace

TEST(BrowseCommand, PrintsTheFolderThatWasChosen) {
    const TempFolder temp;
    const std::string start = Narrow(temp.MakeFolder(L"start")) + "\\";
    ASSERT_TRUE(::SetCurrentDirectoryW(temp.Path().c_str()));
    OrvaProcess orva(L"browse --start ./start --title \"Pick one\"");
    Answer(orva, IDOK);
    EXPECT_EQ(0u, orva.Wait());
    EXPECT_EQ("", orva.Errors());
    std::string output = orva.Output();
    ASSERT_FALSE(output.empty());
    EXPECT_EQ('\n', output.back());
    output.pop_back();
    // Wine's tree sometimes selects only a parent of the wanted folder.
    EXPECT_EQ(0, ::_strnicmp(start.c_str(), output.c_str(), output.size())) << output << " against " << start;
    EXPECT_EQ('\\', output.back());
}

TEST(BrowseCommand, ACancelledDialogAndAMissingStartAreFailures) {
    OrvaProcess cancelled(L"browse");
    Answer(cancelled, IDCANCEL);
    EXPECT_EQ(1u, cancelled.Wait());
    EXPECT_EQ("", cancelled.Output());
    EXPECT_EQ("orva: no folder was chosen\n", cancelled.Errors());

    const TempFolder temp;
    for (const std::wstring& start : {temp / L"missing", temp.MakeFile(L"file")}) {
        OrvaProcess orva(L"browse --start \"" + start + L"\"");
        EXPECT_EQ(1u, orva.Wait());
        EXPECT_EQ("", orva.Output());
        EXPECT_EQ("orva: " + Narrow(start) + ": there is no such folder\n", orva.Errors());
    }
}
