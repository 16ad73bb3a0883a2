#include "files/Entries.h"
#include "support/Text.h"
#include "tarnu/files/OrvaStdioFile.h"

#include <ctime>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace {

using tarnu::test::Exists;
using tarnu::test::Hold;
using tarnu::test::NamesIn;
using tarnu::test::Narrow;
using tarnu::test::ReadFile;
using tarnu::test::TempFolder;

/// What a header may say for a file opened between two readings of the clock.
std::vector<std::string> Headers(const std::wstring& path, __time64_t before, __time64_t after) {
    std::vector<std::string> headers;
    for (__time64_t time = before; time <= after; ++time) {
        char text[64] = {0};
        EXPECT_EQ(::_ctime64_s(text, sizeof(text), &time), 0);
        text[24] = '\0'; // the line break becomes CR LF in the file
        headers.push_back("File Report - " + Narrow(path) + "\r\nOpened:  " + text + "\r\n\r\n");
    }
    return headers;
}

CFileException* OpenAndCatch(const std::wstring& path) {
    try {
        const OrvaStdioFile file(OrvaPath(path), false, true, 1);
    } catch (CFileException* error) {
        return error;
    }
    return nullptr;
}

TEST(StdioFile, AnEmptyPathOpensNothing) {
    for (const bool stamp : {false, true}) {
        OrvaStdioFile file(OrvaPath(), stamp, true, 1);
        EXPECT_FALSE(file.IsOpened());
        EXPECT_EQ(file.m_pStream, nullptr);
    }
}

TEST(StdioFile, CreatesTheDirectoriesAndWritesText) {
    const TempFolder folder;
    const std::wstring path = folder / L"a.b\\c\\report.txt";
    {
        OrvaStdioFile file(OrvaPath(path), false, false, 0);
        EXPECT_TRUE(file.IsOpened());
        EXPECT_TRUE(file.IsKindOf(RUNTIME_CLASS(CStdioFile)));
        file.WriteString(L"one\ntwo\n");
        // Nobody else gets in while it is open.
        EXPECT_FALSE(Hold(path, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE));
        EXPECT_EQ(::GetLastError(), static_cast<DWORD>(ERROR_SHARING_VIOLATION));
    }
    EXPECT_EQ(ReadFile(path), "one\r\ntwo\r\n");
}

TEST(StdioFile, OverwritesOrAppends) {
    const TempFolder folder;
    const std::wstring path = folder.MakeFile(L"report.txt", "old\r\n");
    {
        OrvaStdioFile file(OrvaPath(path), false, false, 0);
        file.WriteString(L"new\n");
        // It was opened for reading as well, and wherever that leads, writing goes on at the end.
        file.SeekToBegin();
        CString line;
        EXPECT_TRUE(file.ReadString(line));
        EXPECT_STREQ(line, L"old");
        file.SeekToBegin();
        file.WriteString(L"last\n");
    }
    EXPECT_EQ(ReadFile(path), "old\r\nnew\r\nlast\r\n");
    { const OrvaStdioFile file(OrvaPath(path), false, true, 0); }
    EXPECT_EQ(ReadFile(path), "");
}

TEST(StdioFile, TheHeaderNamesTheFileAndTheTime) {
    const TempFolder folder;
    const std::wstring path = folder.MakeFile(L"report.txt", "old\r\n");
    for (const bool overwrite : {true, false}) {
        const std::string kept = overwrite ? "" : ReadFile(path);
        const __time64_t before = ::_time64(nullptr);
        {
            OrvaStdioFile file(OrvaPath(path), false, overwrite, 2);
            file.WriteString(L"text");
        }
        const std::string contents = ReadFile(path);
        bool matches = false;
        for (const std::string& header : Headers(path, before, ::_time64(nullptr)))
            matches = matches || contents == kept + header + "text";
        EXPECT_TRUE(matches) << contents;
    }
}

TEST(StdioFile, TheTimeStampStandsBetweenNameAndExtension) {
    const TempFolder folder;
    struct Sample {
        const wchar_t* name;
        const wchar_t* prefix;
        const wchar_t* extension;
    };
    const Sample samples[] = {
        {L"run.txt", L"run - ", L".txt"},
        {L"no extension", L"no extension - ", L""},
        {L"a.b.log", L"a.b - ", L".log"},
        {L"d.d\\50% %d.txt", L"50% %d - ", L".txt"},
    };
    for (const Sample& sample : samples) {
        const std::wstring path = folder / sample.name;
        const std::wstring directory = path.substr(0, path.find_last_of(L'\\') + 1);
        const __time64_t before = ::_time64(nullptr);
        { const OrvaStdioFile file(OrvaPath(path), true, true, 1); }
        const __time64_t after = ::_time64(nullptr);
        EXPECT_FALSE(Exists(path));
        std::wstring found;
        for (__time64_t time = before; time <= after; ++time) {
            const std::wstring name =
                directory + sample.prefix + std::to_wstring(static_cast<int>(time)) + sample.extension;
            if (Exists(name)) found = name;
        }
        ASSERT_FALSE(found.empty()) << Narrow(sample.name);
        // The header gives the stamped name.
        EXPECT_EQ(ReadFile(found).find("File Report - " + Narrow(found) + "\r\n"), 0u);
    }
    EXPECT_EQ(NamesIn(folder.Path()).size(), std::size(samples) + 1) << "the files and one directory";
}

TEST(StdioFile, APathBelowTheCurrentDirectoryOfADriveStaysThere) {
    const TempFolder folder;
    ASSERT_TRUE(::SetCurrentDirectoryW(folder.Path().c_str()));
    const std::wstring drive = folder.Path().substr(0, 2);
    for (const bool stamp : {false, true}) {
        { const OrvaStdioFile file(OrvaPath(drive + L"run.txt"), stamp, true, 0); }
        { const OrvaStdioFile file(OrvaPath(drive + L"new\\dir\\run.txt"), stamp, true, 0); }
        EXPECT_EQ(NamesIn(folder.Path()).size(), stamp ? 6u : 4u);
        EXPECT_TRUE(Exists(folder / L"run.txt") && Exists(folder / L"new\\dir\\run.txt"));
    }
}

TEST(StdioFile, AFileThatCannotBeOpenedThrowsTheCause) {
    const TempFolder folder;
    const std::wstring held = folder.MakeFile(L"held.txt", "held");
    const auto holder = Hold(held);
    ASSERT_TRUE(holder);

    CFileException* error = OpenAndCatch(held);
    ASSERT_NE(error, nullptr);
    EXPECT_EQ(error->m_cause, CFileException::sharingViolation);
    EXPECT_EQ(error->m_lOsError, ERROR_SHARING_VIOLATION);
    EXPECT_STREQ(error->m_strFileName, held.c_str());
    error->Delete();

    // A folder in the place of the file, and a file in the place of the folder.
    for (const std::wstring& path : {folder.MakeFolder(L"folder"), held + L"\\report.txt"}) {
        error = OpenAndCatch(path);
        ASSERT_NE(error, nullptr);
        EXPECT_NE(error->m_cause, CFileException::none);
        EXPECT_TRUE(error->m_cause == CFileException::accessDenied || !Exists(path));
        error->Delete();
    }
    EXPECT_TRUE(Exists(held));
}

} // namespace
