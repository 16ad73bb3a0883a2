// Whole archives in one call, and the result texts.
#include "support/TempFolder.h"
#include "tarnu/archive/OrvaZip.h"
#include "tarnu/archive/OrvaZipWriter.h"
#include "tarnu/support/Owners.h"

#include <cstring>
#include <gtest/gtest.h>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

using tarnu::support::UniqueFileHandle;
using tarnu::test::Exists;
using tarnu::test::ReadFile;
using tarnu::test::TempFolder;
using tarnu::test::WriteFile;

namespace {

std::wstring Data(const wchar_t* name) {
    return std::wstring(TARNU_TEST_DATA) + L"\\" + name;
}

void Fill(CStringList& list, std::initializer_list<std::wstring> paths) {
    for (const std::wstring& path : paths)
        list.AddTail(path.c_str());
}

/// Packs files by their bare names into x.zip; returns its path.
std::wstring Pack(const TempFolder& folder, std::initializer_list<std::wstring> paths) {
    CStringList files;
    Fill(files, paths);
    const std::wstring archive = folder / L"x.zip";
    EXPECT_EQ(static_cast<int>(paths.size()), OrvaZipFiles(archive.c_str(), files, 0, L""));
    return archive;
}

std::vector<std::wstring> NamesIn(const std::wstring& archive) {
    std::vector<std::wstring> names;
    OrvaZipReader reader;
    EXPECT_EQ(OrvaZipSuccess, reader.Open(archive.c_str()));
    for (ULONGLONG index = 0; index < reader.GetCount(); ++index) {
        OrvaZipEntry entry;
        EXPECT_EQ(OrvaZipSuccess, reader.GetEntry(index, entry));
        names.emplace_back(entry.name.GetString());
    }
    return names;
}
using Names = std::vector<std::wstring>;

// OrvaFormatZipMessage

TEST(FormatZipMessage, KnowsEveryCode) {
    const std::pair<UINT, const char*> table[] = {
        {0x0, "Success"},
        {0x100, "Culdn't duplicate handle"},
        {0x200, "Couldn't create/open file"},
        {0x300, "Failed to allocate memory"},
        {0x400, "Error writing to file"},
        {0x500, "File not found in the zipfile"},
        {0x600, "Still more data to unzip"},
        {0x700, "Zipfile is corrupt or not a zipfile"},
        {0x800, "Error reading file"},
        {0x10000, "Caller: faulty arguments"},
        {0x20000, "Caller: can only get memory of a memory zipfile"},
        {0x30000, "Caller: not enough space allocated for memory zipfile"},
        {0x40000, "Caller: there was a previous error"},
        {0x50000, "Caller: additions to the zip have already been ended"},
        {0x60000, "Zip-bug: the anticipated size turned out wrong"},
        {0x70000, "Caller: the file had already been partially unzipped"},
        {0x80000, "Caller: mixing creation and opening of zip"},
        {0x1000000, "Zip-bug: internal initialisation not completed"},
        {0x2000000, "Zip-bug: trying to seek the unseekable"},
        {0x4000000, "Zip-bug: tried to change mind, but not allowed"},
        {0x5000000, "Zip-bug: an internal error during flation"},
        {0x12345, "unknown zip result code"},
        {0xFFFFFFFF, "unknown zip result code"},
    };
    for (const auto& [code, text] : table) {
        char buffer[100];
        std::memset(buffer, 'z', sizeof buffer);
        EXPECT_EQ(std::strlen(text), OrvaFormatZipMessage(code, buffer, sizeof buffer)) << code;
        EXPECT_STREQ(text, buffer);
    }
}

TEST(FormatZipMessage, CutsToTheBufferAndReturnsTheFullLength) {
    char buffer[8];
    std::memset(buffer, 'z', sizeof buffer);
    EXPECT_EQ(7u, OrvaFormatZipMessage(0, buffer, 4));
    EXPECT_EQ(0, std::memcmp(buffer, "Suc\0zzzz", 8));
    EXPECT_EQ(7u, OrvaFormatZipMessage(0, buffer, 8));
    EXPECT_STREQ("Success", buffer);
    EXPECT_EQ(7u, OrvaFormatZipMessage(0, buffer, 1));
    EXPECT_STREQ("", buffer);
    buffer[0] = 'z';
    EXPECT_EQ(7u, OrvaFormatZipMessage(0, buffer, 0));
    EXPECT_EQ('z', buffer[0]);
    EXPECT_EQ(7u, OrvaFormatZipMessage(0, nullptr, 100));
}

TEST(FormatZipMessage, OneStandsForTheLastResult) {
    char buffer[100];
    OrvaZipReader reader;
    EXPECT_EQ(OrvaZipNoFile, reader.Open(L"C:\\missing\\archive.zip"));
    OrvaFormatZipMessage(1, buffer, sizeof buffer);
    EXPECT_STREQ("Couldn't create/open file", buffer);
    OrvaZipWriter writer;
    EXPECT_EQ(OrvaZipSuccess, writer.CreateInMemory());
    OrvaFormatZipMessage(1, buffer, sizeof buffer);
    EXPECT_STREQ("Success", buffer);
}

// OrvaZipFiles and OrvaUnzipAll

TEST(ZipFiles, PacksByBareNamesAndAnnouncesAlsoWhatItCannotAdd) {
    const TempFolder folder;
    const std::wstring one = folder.MakeFile(L"a\\one.txt", "1");
    const std::wstring two = folder.MakeFile(L"b\\two.txt", "22");
    const std::wstring sub = folder.MakeFolder(L"sub");
    CStringList files;
    std::wstring slashes = two;
    for (wchar_t& character : slashes)
        character = character == L'\\' ? L'/' : character;
    const std::wstring locked = folder.MakeFile(L"locked.txt", "1");
    const UniqueFileHandle lock(::CreateFileW(locked.c_str(), GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr));
    ASSERT_TRUE(lock);
    Fill(files, {one, folder / L"missing", slashes, sub, locked, folder / L"", L""});
    std::vector<std::pair<UINT, std::wstring>> seen;
    const int added =
        OrvaZipFiles((folder / L"x.zip").c_str(), files, 0, L"", [&seen](UINT number, UINT count, const wchar_t* name) {
            EXPECT_EQ(7u, count);
            seen.emplace_back(number, name);
        });
    EXPECT_EQ(2, added); // of files that can be read
    EXPECT_EQ(
        (std::vector<std::pair<UINT, std::wstring>>{{1, one}, {3, two}, {4, sub}, {5, locked}, {6, folder / L""}}),
        seen);
    EXPECT_EQ((Names{L"one.txt", L"two.txt", L"sub/"}), NamesIn(folder / L"x.zip"));
}

TEST(ZipFiles, PacksByRelativeNames) {
    const TempFolder folder;
    const std::wstring inner = folder.MakeFile(L"base\\in\\Grüße 世.txt", "x");
    const std::wstring outer = folder.MakeFile(L"outer.txt", "y");
    CStringList files;
    Fill(files, {inner, outer});
    EXPECT_EQ(2, OrvaZipFiles((folder / L"x.zip").c_str(), files, 1, (folder / L"base").c_str()));
    EXPECT_EQ((Names{L"in/Grüße 世.txt", L"../outer.txt"}), NamesIn(folder / L"x.zip"));
    EXPECT_EQ(2, OrvaZipFiles((folder / L"x.zip").c_str(), files, 1, (folder / L"base\\").c_str(), nullptr));
    EXPECT_EQ((Names{L"in/Grüße 世.txt", L"../outer.txt"}), NamesIn(folder / L"x.zip"));
    // Another drive: the full path, without its drive, which the format does not have.
    EXPECT_EQ(2, OrvaZipFiles((folder / L"x.zip").c_str(), files, 1, L"Q:\\elsewhere"));
    std::wstring full = inner.substr(3);
    for (wchar_t& character : full)
        character = character == L'\\' ? L'/' : character;
    EXPECT_EQ(full, NamesIn(folder / L"x.zip").front());
}

TEST(ZipFiles, KeepsBothFilesOfOneName) {
    const TempFolder folder;
    const std::wstring archive =
        Pack(folder, {folder.MakeFile(L"a\\x.txt", "first"), folder.MakeFile(L"b\\x.txt", "second")});
    EXPECT_EQ((Names{L"x.txt", L"x.txt"}), NamesIn(archive));
    EXPECT_TRUE(OrvaUnzipAll(archive.c_str(), folder / L"out"));
    EXPECT_EQ("first", ReadFile(folder / L"out\\x.txt"));
}

TEST(ZipFiles, PacksALongListWithAndWithoutACallbackAlike) {
    const TempFolder folder;
    const std::wstring archive = folder / L"x.zip";
    const std::wstring locked = folder.MakeFile(L"locked.txt", "1");
    const UniqueFileHandle lock(::CreateFileW(locked.c_str(), GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr));
    CStringList files;
    Names expected;
    for (int number = 0; number < 300; ++number) {
        const std::wstring directory = L"in\\" + std::to_wstring(number % 50);
        const std::wstring name = L"file" + std::to_wstring(number) + L".txt";
        if (number % 7 == 0) {
            Fill(files, {folder / directory + L".missing", locked, L"", folder / L"in"});
            expected.push_back(L"in/");
        }
        folder.MakeFile(directory + L'\\' + name,
                        std::string(number % 11 == 0 ? 700'000 : static_cast<std::size_t>(number), 'x'));
        Fill(files, {folder / directory + (number % 3 == 0 ? L"/" : L"\\") + name});
        expected.push_back(name);
    }
    Fill(files, {folder.MakeFile(L"x.zip", "older"), archive}); // becomes a part of what takes its place
    expected.insert(expected.end(), {L"x.zip", L"x.zip"});
    for (const bool hasCallback : {false, true}) {
        WriteFile(archive, "older");
        UINT last = 0;
        const OrvaZipProgress progress = [&last](UINT number, UINT, const wchar_t*) { last = number; };
        EXPECT_EQ(302, OrvaZipFiles(archive.c_str(), files, 0, L"", hasCallback ? progress : nullptr));
        EXPECT_EQ(hasCallback ? static_cast<UINT>(files.GetCount()) : 0, last);
        EXPECT_EQ(expected, NamesIn(archive));
        OrvaZipReader reader;
        ASSERT_EQ(OrvaZipSuccess, reader.Open(archive.c_str()));
        EXPECT_EQ(OrvaZipSuccess, reader.ExtractToFile(1, (folder / L"first").c_str()));
        EXPECT_EQ(std::string(700'000, 'x'), ReadFile(folder / L"first"));
        EXPECT_EQ(OrvaZipSuccess, reader.ExtractToFile(reader.GetCount() - 1, (folder / L"last").c_str()));
        EXPECT_EQ("older", ReadFile(folder / L"last"));
    }
}

// The files of a long list are opened with the rights that the caller has, whoever that is at the moment.
TEST(ZipFiles, PacksALongListForAThreadThatActsForSomebody) {
    const TempFolder folder;
    CStringList files;
    for (int number = 0; number < 40; ++number)
        Fill(files, {folder.MakeFile(std::to_wstring(number), "x")});
    ASSERT_TRUE(::ImpersonateSelf(SecurityImpersonation));
    const int count = OrvaZipFiles((folder / L"x.zip").c_str(), files, 0, L"");
    ASSERT_TRUE(::RevertToSelf());
    EXPECT_EQ(40, count);
    EXPECT_EQ(40u, NamesIn(folder / L"x.zip").size());
}

TEST(ZipFiles, CallbackMayMakeTheFilesToCome) {
    const TempFolder folder;
    CStringList files;
    for (int number = 0; number < 100; ++number)
        Fill(files, {folder / std::to_wstring(number)});
    folder.MakeFile(L"0");
    EXPECT_EQ(100, OrvaZipFiles((folder / L"x.zip").c_str(), files, 0, L"", [&](UINT number, UINT, const wchar_t*) {
                  if (number < 100) folder.MakeFile(std::to_wstring(number));
              }));
}

TEST(ZipFiles, LeavesAnOlderArchiveWhenNothingIsPacked) {
    const TempFolder folder;
    const std::wstring archive = folder.MakeFile(L"x.zip", "old");
    CStringList files;
    EXPECT_EQ(0, OrvaZipFiles(archive.c_str(), files, 0, L""));
    Fill(files, {folder / L"missing"});
    EXPECT_EQ(0, OrvaZipFiles(archive.c_str(), files, 0, L""));
    EXPECT_EQ("old", ReadFile(archive));
    EXPECT_EQ(0, OrvaZipFiles((folder / L"no\\such\\x.zip").c_str(), files, 0, L""));
    EXPECT_EQ(0, OrvaZipFiles(L"", files, 0, L""));
}

TEST(UnzipAll, RestoresTreesAndAttributes) {
    const TempFolder folder;
    std::string mixed;
    for (std::uint32_t index = 0; index < 300000; ++index)
        mixed += static_cast<char>(index * index >> 7);
    const std::wstring one = folder.MakeFile(L"in\\deep\\one.bin", mixed);
    const std::wstring empty = folder.MakeFile(L"in\\empty.ZIP");
    ::SetFileAttributesW(empty.c_str(), FILE_ATTRIBUTE_READONLY);
    CStringList files;
    Fill(files, {one, empty, folder.MakeFolder(L"in\\hollow")});
    ASSERT_EQ(2, OrvaZipFiles((folder / L"x.zip").c_str(), files, 1, (folder / L"in").c_str()));

    std::vector<std::pair<UINT, std::wstring>> seen;
    const std::wstring out = folder / L"new\\out";
    EXPECT_TRUE(OrvaUnzipAll((folder / L"x.zip").c_str(), out, [&seen](UINT number, UINT count, const wchar_t* name) {
        EXPECT_EQ(3u, count);
        seen.emplace_back(number, name);
    }));
    EXPECT_EQ((std::vector<std::pair<UINT, std::wstring>>{{1, L"deep/one.bin"}, {2, L"empty.ZIP"}, {3, L"hollow/"}}),
              seen);
    EXPECT_EQ(mixed, ReadFile(out + L"\\deep\\one.bin"));
    EXPECT_EQ("", ReadFile(out + L"\\empty.ZIP"));
    EXPECT_NE(0u, ::GetFileAttributesW((out + L"\\empty.ZIP").c_str()) & FILE_ATTRIBUTE_READONLY);
    EXPECT_TRUE(Exists(out + L"\\hollow"));
}

TEST(UnzipAll, ReplacesFilesOnlyWithTheCallback) {
    const TempFolder folder;
    const std::wstring archive = Pack(folder, {folder.MakeFile(L"in\\file.txt", "packed")});
    const std::wstring target = folder.MakeFile(L"out\\file.txt", "existing one");
    ::SetFileAttributesW(target.c_str(), FILE_ATTRIBUTE_READONLY);

    EXPECT_TRUE(OrvaUnzipAll(archive.c_str(), folder / L"out", nullptr, nullptr));
    EXPECT_EQ("existing one", ReadFile(target));
    int told = 0;
    EXPECT_TRUE(OrvaUnzipAll(archive.c_str(), folder / L"out", nullptr,
                             [&](const wchar_t* path, const WIN32_FIND_DATAW& existing) {
                                 ++told;
                                 EXPECT_EQ(target, path);
                                 EXPECT_EQ(12u, existing.nFileSizeLow);
                                 EXPECT_EQ("existing one", ReadFile(target));
                             }));
    EXPECT_EQ(1, told);
    EXPECT_EQ("packed", ReadFile(target));
}

TEST(UnzipAll, LetsWhatACallbackThrowsPass) {
    const TempFolder folder;
    CStringList files;
    Fill(files, {folder.MakeFile(L"a.txt", "new")});
    const std::wstring archive = Pack(folder, {folder / L"a.txt"});
    const std::wstring existing = folder.MakeFile(L"out\\a.txt", "older");
    const auto throwing = [](const wchar_t*, const WIN32_FIND_DATAW&) { throw std::runtime_error("no"); };
    EXPECT_THROW(OrvaUnzipAll(archive.c_str(), folder / L"out", nullptr, throwing), std::runtime_error);
    EXPECT_EQ("older", ReadFile(existing));
    EXPECT_TRUE(::DeleteFileW(archive.c_str())) << "the archive is still open";
    WriteFile(archive, "older");
    EXPECT_THROW(OrvaZipFiles(archive.c_str(), files, 0, L"",
                              [](UINT, UINT, const wchar_t*) { throw std::runtime_error("no"); }),
                 std::runtime_error);
    EXPECT_EQ("older", ReadFile(archive));
}

TEST(UnzipAll, FailsWithoutArchiveEntriesOrDestination) {
    const TempFolder folder;
    const std::wstring file = folder.MakeFile(L"file.txt", "text");
    const std::wstring archive = Pack(folder, {file});
    EXPECT_FALSE(OrvaUnzipAll((folder / L"missing.zip").c_str(), folder / L"out"));
    EXPECT_FALSE(Exists(folder / L"out"));
    EXPECT_FALSE(OrvaUnzipAll(file.c_str(), folder / L"out")); // no archive
    EXPECT_FALSE(OrvaUnzipAll(archive.c_str(), file));         // the destination is a file
    EXPECT_FALSE(OrvaUnzipAll(archive.c_str(), file + L"\\below"));
    EXPECT_FALSE(OrvaUnzipAll(archive.c_str(), L""));
    std::wstring freeDrive = L"A:\\none";
    while ((::GetLogicalDrives() >> (freeDrive[0] - L'A') & 1) != 0)
        ++freeDrive[0];
    for (const std::wstring& nowhere :
         {std::wstring(LR"(\\?\UNC\localhost\no$such\a\b)"), std::wstring(LR"(\\localhost\no$such\a\b)"),
          std::wstring(LR"(\\localhost)"), std::wstring(LR"(\\)"), std::wstring(LR"(\\.\no such\x)"), freeDrive,
          freeDrive + L"\\at\\all", std::wstring(40000, L'x')}) {
        EXPECT_FALSE(OrvaUnzipAll(archive.c_str(), nowhere)) << OrvaPath(nowhere).GetText().GetLength();
    }
    EXPECT_TRUE(OrvaUnzipAll(archive.c_str(), (folder / L"new\\deep") + L"\\\\"));
    EXPECT_EQ("text", ReadFile(folder / L"new\\deep\\file.txt"));
    EXPECT_FALSE(OrvaUnzipAll(L"", folder / L"out"));
    OrvaZipWriter writer;
    ASSERT_EQ(OrvaZipSuccess, writer.Create((folder / L"empty.zip").c_str()));
    ASSERT_EQ(OrvaZipSuccess, writer.Close());
    EXPECT_FALSE(OrvaUnzipAll((folder / L"empty.zip").c_str(), folder / L"out"));
}

TEST(UnzipAll, SkipsEntriesThatItCannotDecode) {
    const TempFolder folder;
    EXPECT_TRUE(OrvaUnzipAll(Data(L"bzip2.zip").c_str(), folder / L"out"));
    EXPECT_FALSE(Exists(folder / L"out\\packed.txt"));
    EXPECT_EQ("good", ReadFile(folder / L"out\\good.txt"));
    EXPECT_TRUE(OrvaUnzipAll(Data(L"infozip-encrypted.zip").c_str(), folder / L"locked"));
    EXPECT_FALSE(Exists(folder / L"locked\\secret.txt"));

    // One damaged byte in the first entry's data: that entry alone is left out.
    std::string bytes = ReadFile(Data(L"python.zip"));
    const std::size_t at = bytes.find("stored text");
    ASSERT_NE(std::string::npos, at);
    bytes[at] ^= 1;
    WriteFile(folder / L"damaged.zip", bytes);
    folder.MakeFile(L"damaged\\stored.txt", "mine");
    int told = 0;
    EXPECT_TRUE(OrvaUnzipAll((folder / L"damaged.zip").c_str(), folder / L"damaged", nullptr,
                             [&told](const wchar_t*, const WIN32_FIND_DATAW&) { ++told; }));
    EXPECT_EQ(0, told);
    EXPECT_EQ("mine", ReadFile(folder / L"damaged\\stored.txt"));
    EXPECT_EQ("hi", ReadFile(folder / L"damaged\\folder\\Grüße 世.txt"));
}

TEST(UnzipAll, ReadsArchivesOfOtherPrograms) {
    const TempFolder folder;
    EXPECT_TRUE(OrvaUnzipAll(Data(L"python.zip").c_str(), folder / L"python"));
    EXPECT_EQ("stored text", ReadFile(folder / L"python\\stored.txt"));
    EXPECT_EQ(900u, ReadFile(folder / L"python\\folder\\deflated.txt").size());
    EXPECT_TRUE(Exists(folder / L"python\\empty"));
    EXPECT_TRUE(OrvaUnzipAll(Data(L"infozip-stream.zip").c_str(), folder / L"stream")); // sizes behind the data
    EXPECT_EQ("secret text", ReadFile(folder / L"stream\\-"));
}

} // namespace
