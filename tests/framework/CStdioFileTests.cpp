// CStdioFile: text and binary mode, appending, lines, failures.

#include "tarnu/framework/framework.h"

#include "framework/Catch.h"
#include "support/HandleCount.h"
#include "support/TempFolder.h"

#include <climits>
#include <cstdio>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <io.h>
#include <string>
#include <vector>

namespace {

using tarnu::test::Catch;
using tarnu::test::CountHandles;
using tarnu::test::ReadFile;
using tarnu::test::TempFolder;

constexpr UINT createText = CFile::modeCreate | CFile::modeReadWrite | CFile::shareExclusive | CFile::typeText;

std::vector<std::wstring> Lines(CStdioFile& file) {
    std::vector<std::wstring> lines;
    CString line(L"left over");
    while (file.ReadString(line))
        lines.emplace_back(line.GetString(), static_cast<std::size_t>(line.GetLength()));
    EXPECT_STREQ(L"", line) << "nothing is left of the line before";
    return lines;
}

// Opening

TEST(CStdioFileOpen, AppendModeWritesAtTheEndWhereverItStands) {
    const TempFolder folder;
    const std::wstring path = folder.MakeFile(L"log.txt", "old\r\n");
    CStdioFile file(path.c_str(), createText | CFile::modeNoTruncate);
    file.SeekToBegin();
    file.WriteString(L"one\n");
    file.Flush();
    file.SeekToBegin();
    EXPECT_EQ((std::vector<std::wstring>{L"old", L"one"}), Lines(file)) << "and reads from anywhere";
    file.SeekToBegin();
    file.Write("two", 3);
    file.Close();
    EXPECT_EQ("old\r\none\r\ntwo", ReadFile(path));
}

TEST(CStdioFileOpen, EveryModeWritesWhereItShould) {
    const TempFolder folder;
    constexpr UINT append = CFile::modeCreate | CFile::modeNoTruncate;
    constexpr UINT binary = CFile::typeBinary | CFile::modeNoInherit;
    const struct {
        const char* name;
        UINT flags;
        const char* contents;
    } cases[] = {
        {"create", CFile::modeCreate | CFile::modeWrite, "new\r\n"},
        {"create for both", CFile::modeCreate | CFile::modeReadWrite, "new\r\n"},
        {"create in binary", CFile::modeCreate | CFile::modeWrite | binary, "new\n"},
        {"create for both in binary", CFile::modeCreate | CFile::modeReadWrite | binary, "new\n"},
        {"overwrite", CFile::modeWrite, "new\r\nng"},
        {"overwrite for both", CFile::modeReadWrite, "new\r\nng"},
        {"append", append | CFile::modeWrite, "oldlongnew\r\n"},
        {"append for both", append | CFile::modeReadWrite, "oldlongnew\r\n"},
        {"append in binary", append | CFile::modeWrite | binary, "oldlongnew\n"},
        {"append for both in binary", append | CFile::modeReadWrite | binary, "oldlongnew\n"},
    };
    for (const auto& test : cases) {
        const std::wstring path = folder.MakeFile(L"file.txt", "oldlong");
        CStdioFile file(path.c_str(), test.flags);
        file.Write("new\n", 4);
        file.Close();
        EXPECT_EQ(test.contents, ReadFile(path)) << test.name;
    }
}

TEST(CStdioFileOpen, FailsLikeCFile) {
    const TempFolder folder;
    const unsigned handles = CountHandles();
    CStdioFile file;
    CFileException error;
    EXPECT_FALSE(file.Open((folder / L"missing").c_str(), CFile::modeRead | CFile::typeText, &error));
    EXPECT_EQ(CFileException::fileNotFound, error.m_cause);
    EXPECT_EQ(ERROR_FILE_NOT_FOUND, error.m_lOsError);
    EXPECT_STREQ((folder / L"missing").c_str(), error.m_strFileName);
    EXPECT_EQ(nullptr, file.m_pStream);
    EXPECT_FALSE(file.Open((folder / L"missing").c_str(), CFile::modeRead)) << "without a receiver for the error";
    const auto thrown = Catch([&] { CStdioFile((folder / L"no\\file").c_str(), createText); });
    ASSERT_NE(nullptr, thrown);
    EXPECT_EQ(CFileException::badPath, thrown->m_cause);
    EXPECT_EQ(handles, CountHandles());
}

TEST(CStdioFileOpen, LifeTimeOfStreamAndHandle) {
    const TempFolder folder;
    const std::wstring path = folder / L"file.txt";
    const unsigned handles = CountHandles();
    {
        CStdioFile file(path.c_str(), createText);
        EXPECT_NE(nullptr, file.m_pStream);
        EXPECT_NE(CFile::hFileNull, file.m_hFile);
        CStdioFile second;
        CFileException error;
        EXPECT_FALSE(second.Open(path.c_str(), CFile::modeRead, &error));
        EXPECT_EQ(CFileException::sharingViolation, error.m_cause);
        file.WriteString(L"written when it ends");
    }
    EXPECT_EQ("written when it ends", ReadFile(path));
    EXPECT_EQ(handles, CountHandles());
    {
        CStdioFile file(path.c_str(), createText);
        ASSERT_TRUE(file.Open((folder / L"other.txt").c_str(), createText)) << "closes the first";
        EXPECT_EQ(handles + 1, CountHandles());
        file.Abort();
        file.Abort();
        file.Close();
        EXPECT_EQ(handles, CountHandles());
    }
    FILE* stream = ::_wfopen(path.c_str(), L"w+");
    ASSERT_NE(nullptr, stream);
    {
        CStdioFile attached(stream);
        attached.WriteString(L"attached");
        EXPECT_EQ(8U, attached.GetLength());
    }
    EXPECT_EQ(0, std::fclose(stream)) << "an attached stream stays open";
    EXPECT_EQ("attached", ReadFile(path));
}

// Lines

TEST(CStdioFileLines, ReadsWithAndWithoutLastLineEnd) {
    const TempFolder folder;
    const struct {
        std::string contents;
        std::vector<std::wstring> lines;
    } cases[] = {
        {"", {}},
        {"one\r\ntwo", {L"one", L"two"}},
        {"\r\n\r\ntwo\r\n", {L"", L"", L"two"}},
        {"one\ntwo\n", {L"one", L"two"}},
        {std::string(255, 'x') + "\r\n" + std::string(256, 'y') + "\r\n" + std::string(1000, 'z'),
         {std::wstring(255, L'x'), std::wstring(256, L'y'), std::wstring(1000, L'z')}},
        {std::string("a\0b\r\nc", 6), {std::wstring(L"a\0b", 3), L"c"}},
    };
    for (const auto& test : cases) {
        const std::wstring path = folder.MakeFile(L"lines.txt", test.contents);
        CStdioFile file(path.c_str(), CFile::modeRead | CFile::typeText);
        EXPECT_EQ(test.lines, Lines(file)) << test.contents.substr(0, 40);
        CString line;
        EXPECT_FALSE(file.ReadString(line)) << "the end stays the end";
    }
}

TEST(CStdioFileLines, ReadsIntoABufferWithTheLineFeed) {
    const TempFolder folder;
    const std::wstring path = folder.MakeFile(L"lines.txt", "abcdef\r\ngh");
    CStdioFile file(path.c_str(), CFile::modeRead | CFile::typeText);
    wchar_t text[5];
    EXPECT_EQ(text, file.ReadString(text, 5));
    EXPECT_STREQ(L"abcd", text);
    EXPECT_EQ(text, file.ReadString(text, 5));
    EXPECT_STREQ(L"ef\n", text);
    EXPECT_EQ(text, file.ReadString(text, 5));
    EXPECT_STREQ(L"gh", text);
    EXPECT_EQ(nullptr, file.ReadString(text, 5));
}

TEST(CStdioFileLines, TextModeTranslatesLineEndsBinaryDoesNot) {
    const TempFolder folder;
    const std::wstring path = folder / L"file.txt";
    {
        CStdioFile file(path.c_str(), createText);
        file.WriteString(L"a\nb\n");
        file.WriteString(L"");
    }
    EXPECT_EQ("a\r\nb\r\n", ReadFile(path));
    {
        CStdioFile file(path.c_str(), CFile::modeRead | CFile::typeText);
        char text[10] = {};
        EXPECT_EQ(4U, file.Read(text, 10));
        EXPECT_STREQ("a\nb\n", text);
        EXPECT_EQ(0U, file.Read(text, 10));
        EXPECT_EQ(6U, file.GetLength()) << "bytes in the file";
    }
    {
        CStdioFile file(path.c_str(), CFile::modeCreate | CFile::modeReadWrite | CFile::typeBinary);
        file.WriteString(L"\u00E4\u4E2D\n");
        file.SeekToBegin();
        EXPECT_EQ((std::vector<std::wstring>{L"\u00E4\u4E2D"}), Lines(file)) << "binary streams hold UTF-16";
    }
    EXPECT_EQ(std::string("\xE4\x00\x2D\x4E\n\x00", 6), ReadFile(path));
}

TEST(CStdioFileLines, ACharacterThatTheRuntimeCannotStoreIsReported) {
    const TempFolder folder;
    const std::wstring path = folder / L"file.txt";
    CStdioFile file(path.c_str(), createText);
    const auto refused = Catch([&] { file.WriteString(L"\u4E2D"); });
    ASSERT_NE(nullptr, refused);
    EXPECT_EQ(CFileException::diskFull, refused->m_cause) << "every failed write of text has this cause";
    file.WriteString(L"after\n");
    file.Close();
    EXPECT_EQ("after\r\n", ReadFile(path));
}

TEST(CStdioFileLines, PositionsSeekAndLength) {
    const TempFolder folder;
    const std::wstring path = folder / L"file.txt";
    CStdioFile file(path.c_str(), CFile::modeCreate | CFile::modeReadWrite | CFile::typeBinary);
    file.Write("0123456789", 10);
    EXPECT_EQ(10U, file.GetLength()) << "what is still buffered counts";
    EXPECT_EQ(10U, file.GetPosition());
    EXPECT_EQ(4U, file.Seek(4, CFile::begin));
    EXPECT_EQ(10U, file.GetLength());
    EXPECT_EQ(4U, file.GetPosition()) << "asking for the length moves nothing";
    char text[3] = {};
    EXPECT_EQ(2U, file.Read(text, 2));
    EXPECT_STREQ("45", text);
    file.SetLength(5);
    EXPECT_EQ(5U, file.GetLength());
    EXPECT_EQ(5U, file.GetPosition());
    file.Write("x", 1);
    EXPECT_NE(nullptr, Catch([&] { file.Seek(-100, CFile::begin); }));
    file.Close();
    EXPECT_EQ("01234x", ReadFile(path));
}

TEST(CStdioFileLines, FailuresAreThrown) {
    const TempFolder folder;
    const std::wstring path = folder.MakeFile(L"file.txt", "text");
    CString line;
    wchar_t buffer[4] = {};
    CStdioFile file;
    for (const auto& error : {Catch([&] { file.WriteString(L"x"); }), Catch([&] { file.Write("x", 1); }),
                              Catch([&] { file.Read(buffer, 1); }), Catch([&] { file.ReadString(line); }),
                              Catch([&] { file.ReadString(buffer, 4); }), Catch([&] { file.GetLength(); }),
                              Catch([&] { file.Seek(0, CFile::begin); })}) {
        ASSERT_NE(nullptr, error) << "no stream is open";
        EXPECT_EQ(CFileException::invalidFile, error->m_cause);
    }
    ASSERT_TRUE(file.Open(path.c_str(), CFile::modeRead | CFile::typeText));
    EXPECT_NE(nullptr, Catch([&] { file.WriteString(L"x"); })) << "opened for reading";
    EXPECT_TRUE(file.ReadString(line));
    EXPECT_STREQ(L"text", line);
    ASSERT_TRUE(file.Open(path.c_str(), CFile::modeCreate | CFile::modeWrite | CFile::typeText));
    EXPECT_NE(nullptr, Catch([&] { file.ReadString(line); })) << "opened for writing";
    EXPECT_STREQ(L"text", line) << "a failed read leaves the text alone";
    EXPECT_NE(nullptr, Catch([&] { file.Read(buffer, 1); }));
    EXPECT_EQ(CFileException::badSeek, Catch([&] { file.SetLength(~0ull); })->m_cause);

    ASSERT_TRUE(file.Open(folder.MakeFile(L"read.bin", "text").c_str(), CFile::modeRead | CFile::typeBinary));
    EXPECT_NE(nullptr, Catch([&] {
                  file.Write("x", 1);
                  file.Flush();
              }));
    EXPECT_NE(nullptr, Catch([&] { file.SetLength(1); }));
    EXPECT_EQ(4u, file.GetLength());
    wchar_t whole[8] = {};
    ASSERT_TRUE(file.Open((folder / L"read.bin").c_str(), CFile::modeRead | CFile::typeText));
    EXPECT_NE(nullptr, file.ReadString(whole, UINT_MAX)) << "the room is the caller's word";
    EXPECT_STREQ(L"text", whole);
    file.Close();
    file.Flush();
    EXPECT_EQ(0u, file.Read(buffer, 0)); // neither needs a stream
    file.Write(buffer, 0);
    EXPECT_EQ(CStdioFile(nullptr).m_hFile, CFile::hFileNull);
}

TEST(CStdioFileLines, PipesHaveNoPosition) {
    int ends[2] = {-1, -1};
    ASSERT_EQ(0, ::_pipe(ends, 256, _O_BINARY));
    std::FILE* const stream = ::_wfdopen(ends[0], L"rb");
    ASSERT_NE(nullptr, stream);
    CStdioFile file(stream);
    EXPECT_NE(nullptr, Catch([&] { file.GetPosition(); }));
    EXPECT_NE(nullptr, Catch([&] { file.GetLength(); }));
    std::fclose(stream);
    ::_close(ends[1]);
}

} // namespace
