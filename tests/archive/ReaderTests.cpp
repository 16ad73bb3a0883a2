#include "archive/RawArchive.h"
#include "support/TempFolder.h"
#include "tarnu/archive/OrvaZip.h"
#include "tarnu/archive/OrvaZipReader.h"
#include "tarnu/archive/OrvaZipWriter.h"

#include <gtest/gtest.h>

namespace {

using namespace tarnu::test;

std::wstring Data(const wchar_t* name) {
    return std::wstring(TARNU_TEST_DATA) + L"\\" + name;
}

std::string Extracted(OrvaZipReader& reader, ULONGLONG index) {
    OrvaZipEntry entry;
    EXPECT_EQ(OrvaZipSuccess, reader.GetEntry(index, entry));
    std::string data(static_cast<std::size_t>(entry.size), '?');
    EXPECT_EQ(OrvaZipSuccess, reader.ExtractToMemory(index, data.data(), data.size())) << index;
    return data;
}

/// Reads an entry in pieces of one size, by which it must end well.
std::string ReadInPieces(OrvaZipReader& reader, ULONGLONG index, std::size_t size) {
    std::string piece(size, '?');
    std::string whole;
    std::size_t read = 0;
    EXPECT_EQ(OrvaZipSuccess, reader.OpenEntry(index));
    EXPECT_EQ(OrvaZipMore, reader.ReadEntry(nullptr, 0, read));
    OrvaZipResult result;
    do {
        result = reader.ReadEntry(piece.data(), piece.size(), read);
        whole.append(piece, 0, read);
    } while (result == OrvaZipMore);
    EXPECT_EQ(OrvaZipSuccess, result) << size;
    EXPECT_EQ(OrvaZipBadArguments, reader.ReadEntry(piece.data(), piece.size(), read)) << "the entry has ended";
    EXPECT_EQ(0u, read);
    return whole;
}

std::uint64_t Ticks(const FILETIME& time) {
    return (std::uint64_t{time.dwHighDateTime} << 32) | time.dwLowDateTime;
}
FILETIME Time(std::uint64_t ticks) {
    return {static_cast<DWORD>(ticks), static_cast<DWORD>(ticks >> 32)};
}

/// An archive with one deflated entry, made by the writer.
std::string OneEntry(const std::string& data, const wchar_t* password = nullptr) {
    OrvaZipWriter writer;
    const void* bytes = nullptr;
    std::size_t size = 0;
    EXPECT_EQ(OrvaZipSuccess, writer.CreateInMemory(0, password));
    EXPECT_EQ(OrvaZipSuccess, writer.AddMemory(L"entry", data.data(), data.size()));
    EXPECT_EQ(OrvaZipSuccess, writer.GetMemory(bytes, size));
    return {static_cast<const char*>(bytes), size};
}

} // namespace

TEST(ZipReader, HandsOutEntriesInPieces) {
    const std::string data = Noise(700000) + std::string(300000, 'a');
    for (const wchar_t* password : {static_cast<const wchar_t*>(nullptr), L"secret"}) {
        const std::string bytes = OneEntry(data, password);
        OrvaZipReader reader;
        ASSERT_EQ(OrvaZipSuccess, reader.OpenMemory(bytes.data(), bytes.size(), password));
        for (const std::size_t size :
             {std::size_t{997}, std::size_t{65536}, data.size() - 1, data.size(), data.size() + 1})
            EXPECT_TRUE(ReadInPieces(reader, 0, size) == data) << size;
        // Begun anew in the middle; and too small a buffer.
        std::string buffer(data.size(), '?');
        std::size_t read = 0;
        ASSERT_EQ(OrvaZipSuccess, reader.OpenEntry(0));
        EXPECT_EQ(OrvaZipMore, reader.ReadEntry(buffer.data(), 10, read));
        ASSERT_EQ(OrvaZipSuccess, reader.OpenEntry(0));
        EXPECT_EQ(OrvaZipSuccess, reader.ReadEntry(buffer.data(), buffer.size(), read));
        EXPECT_TRUE(buffer == data);
        EXPECT_EQ(OrvaZipMore, reader.ExtractToMemory(0, buffer.data(), buffer.size() - 1));
        EXPECT_EQ(OrvaZipBadArguments, reader.ExtractToMemory(1, buffer.data(), buffer.size()));
        EXPECT_EQ(OrvaZipBadArguments, reader.ExtractToMemory(0, nullptr, 1));
    }
    const std::string empty = OneEntry("");
    OrvaZipReader reader;
    ASSERT_EQ(OrvaZipSuccess, reader.OpenMemory(empty.data(), empty.size()));
    EXPECT_EQ(OrvaZipSuccess, reader.ExtractToMemory(0, nullptr, 0));
}

TEST(ZipReader, GivesOutWhatTheLastInputStandsFor) {
    // A run that is far longer than its input: the input has long been taken when the last of it is read.
    const std::string data(1000, 'a');
    const RawEntry run{.name = "run",
                       .data = {"\x4B\x4C\x1C\x05\xA3\x60\x14\x0C\x77\x00\x00", 11},
                       .method = 8,
                       .crc = Crc32(data),
                       .size = 1000};
    const std::string bytes = RawArchive{.entries = {run}}.Bytes();
    OrvaZipReader reader;
    ASSERT_EQ(OrvaZipSuccess, reader.OpenMemory(bytes.data(), bytes.size()));
    for (const std::size_t size : {1u, 7u, 257u, 500u, 999u, 1000u})
        EXPECT_TRUE(ReadInPieces(reader, 0, size) == data) << size;
}

TEST(ZipReader, GivesOutWhatIsGoodOfADamagedEntry) {
    const std::string data = Noise(50000) + std::string(50000, 'a');
    for (const wchar_t* password : {static_cast<const wchar_t*>(nullptr), L"secret"}) {
        std::string bytes = OneEntry(data, password);
        bytes[30000] ^= 0x55;
        OrvaZipReader reader;
        ASSERT_EQ(OrvaZipSuccess, reader.OpenMemory(bytes.data(), bytes.size(), password));
        std::string buffer(data.size(), '?');
        std::size_t read = 0;
        ASSERT_EQ(OrvaZipSuccess, reader.OpenEntry(0));
        EXPECT_EQ(OrvaZipCorrupt, reader.ReadEntry(buffer.data(), buffer.size(), read));
        ASSERT_GT(read, 29000u);
        EXPECT_EQ(0, data.compare(0, 29000, buffer, 0, 29000));
        EXPECT_EQ(OrvaZipBadArguments, reader.ReadEntry(buffer.data(), buffer.size(), read)) << "the entry has ended";
    }
}

TEST(ZipReader, FindsEntriesWhereverTheWindowEnds) {
    // Entries of all sizes up to several windows, in both directions; the archive is seen through pieces of it.
    const TempFolder folder;
    std::vector<std::string> blocks;
    OrvaZipWriter writer;
    for (const wchar_t* password : {static_cast<const wchar_t*>(nullptr), L"secret"}) {
        ASSERT_EQ(OrvaZipSuccess, writer.Create((folder / L"x.zip").c_str(), password));
        blocks.clear();
        for (std::uint32_t size = 1; size < 3000000; size += size / 3 + 1) {
            blocks.push_back(Noise(size, size));
            const std::wstring name = std::to_wstring(size) + (blocks.size() % 5 == 0 ? L".gz" : L"");
            ASSERT_EQ(OrvaZipSuccess, writer.AddMemory(name.c_str(), blocks.back().data(), size));
        }
        ASSERT_EQ(OrvaZipSuccess, writer.Close());
        OrvaZipReader reader;
        ASSERT_EQ(OrvaZipSuccess, reader.Open((folder / L"x.zip").c_str(), password));
        for (std::size_t index = 0; index < blocks.size(); ++index)
            EXPECT_TRUE(blocks[index] == Extracted(reader, index)) << index;
        for (std::size_t index = blocks.size(); index-- > 0;)
            EXPECT_TRUE(blocks[index] == Extracted(reader, index)) << index;
    }
}

TEST(ZipReader, WantsTheRightPassword) {
    const std::string bytes = OneEntry("data that is to be kept", L"pässwörd");
    OrvaZipReader reader;
    char buffer[64];
    for (const wchar_t* password : {static_cast<const wchar_t*>(nullptr), L""}) {
        ASSERT_EQ(OrvaZipSuccess, reader.OpenMemory(bytes.data(), bytes.size(), password)) << "the directory is open";
        EXPECT_EQ(OrvaZipBadArguments, reader.OpenEntry(0));
    }
    // One wrong password in 256 passes the check byte; the checksum or the compression then finds it out.
    for (int attempt = 0; attempt < 1000; ++attempt) {
        const std::wstring wrong = L"wrong" + std::to_wstring(attempt);
        ASSERT_EQ(OrvaZipSuccess, reader.OpenMemory(bytes.data(), bytes.size(), wrong.c_str()));
        const OrvaZipResult result = reader.ExtractToMemory(0, buffer, sizeof buffer);
        EXPECT_TRUE(result == OrvaZipBadArguments || result == OrvaZipCorrupt) << attempt;
    }
    ASSERT_EQ(OrvaZipSuccess, reader.OpenMemory(bytes.data(), bytes.size(), L"pässwörd"));
    EXPECT_EQ("data that is to be kept", Extracted(reader, 0));

    // What another program encrypted, stored and with the sizes behind the data.
    ASSERT_EQ(OrvaZipSuccess, reader.Open(Data(L"infozip-encrypted.zip").c_str(), L"pass"));
    EXPECT_EQ("secret text", Extracted(reader, 0));
    EXPECT_EQ("plain", Extracted(reader, 1));
}

TEST(ZipReader, DecodesNames) {
    const std::string oem = "Gr\x81\xE1"; // "Grüß" in code pages 437 and 850
    const std::string utf8 = "Gr\xC3\xBC\xC3\x9F";
    const auto unicodePath = [](std::uint32_t crc, const std::string& name) {
        std::string field(1, '\1');
        Put(field, crc);
        return Extra(0x7075, field + name);
    };
    const struct {
        const char* what;
        RawEntry entry;
        const wchar_t* name;
    } cases[] = {
        {"ASCII", {"plain/name.txt", ""}, L"plain/name.txt"},
        {"UTF-8, flagged", {utf8, "", 0, 0x0800}, L"Grüß"},
        {"UTF-8, not flagged", {"\xC3\xBC", ""}, L"\x251C\x255D"},
        {"OEM", {oem, ""}, L"Grüß"},
        {"flagged, but no UTF-8", {oem, "", 0, 0x0800}, L"Grüß"},
        {"Unicode path", {.name = oem, .data = "", .extra = unicodePath(Crc32(oem), "\xE4\xB8\x96")}, L"世"},
        {"of another name", {.name = oem, .data = "", .extra = unicodePath(1, "\xE4\xB8\x96")}, L"Grüß"},
        {"not UTF-8", {.name = oem, .data = "", .extra = unicodePath(Crc32(oem), "\xFF")}, L"Grüß"},
        {"behind others",
         {.name = oem, .data = "", .extra = Extra(0x9999, "xyz") + unicodePath(Crc32(oem), "\xE4\xB8\x96")},
         L"世"},
        {"the first of two",
         {.name = oem, .data = "", .extra = unicodePath(Crc32(oem), "\xE4\xB8\x96") + unicodePath(Crc32(oem), "x")},
         L"世"},
        {"cut short", {.name = oem, .data = "", .extra = Extra(0x7075, "\x01\x02")}, L"Grüß"},
        {"empty", {"", ""}, L""},
    };
    if (::GetOEMCP() != 437 && ::GetOEMCP() != 850) GTEST_SKIP() << "the names are made for code pages 437 and 850";
    for (const auto& test : cases) {
        const std::string bytes = RawArchive{.entries = {test.entry}}.Bytes();
        OrvaZipReader reader;
        OrvaZipEntry entry;
        ASSERT_EQ(OrvaZipSuccess, reader.OpenMemory(bytes.data(), bytes.size())) << test.what;
        ASSERT_EQ(OrvaZipSuccess, reader.GetEntry(0, entry)) << test.what;
        const bool isOther850 = ::GetOEMCP() == 850 && std::string_view(test.what) == "UTF-8, not flagged";
        EXPECT_TRUE(isOther850 || entry.name == test.name) << test.what;
    }
}

TEST(ZipReader, PrefersTheFinestTime) {
    constexpr std::uint64_t exact = 133500000001234567;
    std::string ntfs(4, '\0');
    std::string times;
    for (const std::uint64_t value : {exact, exact + 1, exact + 2})
        Put(times, value);
    ntfs += Extra(1, times);
    std::string unixTime(1, '\1');
    Put(unixTime, std::uint32_t{1700000000});
    std::string accessTime = unixTime;
    accessTime[0] = '\2';
    const std::uint64_t unixTicks = (1700000000ull + 11644473600ull) * 10000000;
    const struct {
        std::string extra;
        std::uint64_t lastWrite; ///< 0 for the DOS stamp
        std::uint64_t creation;
    } cases[] = {
        {"", 0, 0},
        {Extra(0x5455, unixTime), unixTicks, 0},
        {Extra(0x000A, ntfs), exact, exact + 2},
        {Extra(0x5455, unixTime) + Extra(0x000A, ntfs), exact, exact + 2},
        {Extra(0x000A, ntfs) + Extra(0x5455, unixTime), exact, exact + 2},
        {Extra(0x000A, ntfs.substr(0, 20)), 0, 0},
        {Extra(0x5455, std::string_view(unixTime).substr(0, 3)), 0, 0},
        {Extra(0x5455, accessTime), 0, 0},
        {Extra(0x000A, ntfs).substr(0, 30), 0, 0}, // reaches out of the field
    };
    FILETIME dos{};
    const SYSTEMTIME local{2024, 1, 0, 1, 12, 0, 0, 0};
    SYSTEMTIME universal;
    ASSERT_TRUE(::TzSpecificLocalTimeToSystemTime(nullptr, &local, &universal));
    ASSERT_TRUE(::SystemTimeToFileTime(&universal, &dos));
    for (const auto& test : cases) {
        const std::string bytes = RawArchive{.entries = {{.name = "a", .data = "", .extra = test.extra}}}.Bytes();
        OrvaZipReader reader;
        OrvaZipEntry entry;
        ASSERT_EQ(OrvaZipSuccess, reader.OpenMemory(bytes.data(), bytes.size()));
        ASSERT_EQ(OrvaZipSuccess, reader.GetEntry(0, entry));
        EXPECT_EQ(test.lastWrite == 0 ? Ticks(dos) : test.lastWrite, Ticks(entry.lastWrite));
        EXPECT_EQ(test.creation, Ticks(entry.creation));
    }
}

TEST(ZipReader, FindsTheDirectoryWhereverItIs) {
    std::string zip64;
    Put(zip64, std::uint64_t{5});
    Put(zip64, std::uint64_t{5});
    Put(zip64, std::uint64_t{0});
    const struct {
        const char* what;
        RawArchive archive;
    } cases[] = {
        {"plain", {.entries = {{"a", "12345"}}}},
        {"behind a program", {.prefix = Noise(70000), .entries = {{"a", "12345"}}}},
        {"before the longest comment", {.entries = {{"a", "12345"}}, .comment = std::string(65000, 'c')}},
        {"sizes behind the data", {.entries = {{.name = "a", .data = "12345", .hasDescriptor = true}}}},
        {"64-bit sizes and offset",
         {.entries = {{.name = "a",
                       .data = "12345",
                       .size = 0xFFFFFFFF,
                       .compressedSize = 0xFFFFFFFF,
                       .offset = 0xFFFFFFFF,
                       .extra = Extra(1, zip64),
                       .localExtra = Extra(1, std::string_view(zip64).substr(0, 16))}}}},
    };
    const TempFolder folder;
    for (const auto& test : cases) {
        const std::string bytes = test.archive.Bytes();
        const std::wstring path = folder.MakeFile(L"a.zip", bytes);
        for (const bool inMemory : {true, false}) {
            OrvaZipReader reader;
            ASSERT_EQ(OrvaZipSuccess,
                      inMemory ? reader.OpenMemory(bytes.data(), bytes.size()) : reader.Open(path.c_str()))
                << test.what;
            ASSERT_EQ(1u, reader.GetCount()) << test.what;
            EXPECT_EQ("12345", Extracted(reader, 0)) << test.what;
        }
    }
}

TEST(ZipReader, TakesTheLargestCountWithoutZip64) {
    RawArchive archive;
    archive.entries.resize(65535);
    for (std::size_t index = 0; index < archive.entries.size(); ++index)
        archive.entries[index].name = std::to_string(index);
    const std::string bytes = archive.Bytes();
    OrvaZipReader reader;
    ASSERT_EQ(OrvaZipSuccess, reader.OpenMemory(bytes.data(), bytes.size()));
    EXPECT_EQ(65535u, reader.GetCount());
}

TEST(ZipReader, SaysWhatCannotBeOpened) {
    const TempFolder folder;
    OrvaZipReader reader;
    EXPECT_EQ(OrvaZipNoFile, reader.Open((folder / L"missing.zip").c_str()));
    EXPECT_EQ(OrvaZipNoFile, reader.Open(folder.Path().c_str()));
    EXPECT_EQ(OrvaZipBadArguments, reader.Open(nullptr));
    EXPECT_EQ(OrvaZipBadArguments, reader.Open(L""));
    EXPECT_EQ(OrvaZipBadArguments, reader.OpenMemory(nullptr, 0));
    const std::wstring tooLong(40000, L'x');
    for (const std::wstring& name : {tooLong, L"C:\\" + tooLong, std::wstring(L"\\no such"), std::wstring(L"C:no such"),
                                     std::wstring(L"\\\\?no such"), std::wstring(L"/\\no such")}) {
        EXPECT_EQ(OrvaZipNoFile, reader.Open(name.c_str())) << name.size();
    }
    for (const std::string& contents :
         {std::string(), std::string("PK"), std::string(100, 'x'), std::string(22, '\0')}) {
        EXPECT_EQ(OrvaZipCorrupt, reader.Open(folder.MakeFile(L"bad.zip", contents).c_str())) << contents.size();
        EXPECT_EQ(OrvaZipCorrupt, reader.OpenMemory(contents.data(), contents.size())) << contents.size();
    }
    OrvaZipEntry entry;
    std::size_t read = 1;
    EXPECT_EQ(0u, reader.GetCount());
    EXPECT_EQ(OrvaZipBadArguments, reader.GetEntry(0, entry));
    EXPECT_EQ(OrvaZipBadArguments, reader.OpenEntry(0));
    EXPECT_EQ(OrvaZipBadArguments, reader.ReadEntry(&entry, 0, read));
    EXPECT_EQ(OrvaZipBadArguments, reader.ExtractToFile(0, (folder / L"x").c_str()));
    EXPECT_EQ(OrvaZipBadArguments, reader.ExtractBelow(0, folder.Path().c_str()));

    EXPECT_EQ(OrvaZipBadArguments, reader.ExtractToMemory(0, &entry, 1));

    const std::string bytes = OneEntry("1");
    ASSERT_EQ(OrvaZipSuccess, reader.OpenMemory(bytes.data(), bytes.size()));
    ASSERT_EQ(OrvaZipSuccess, reader.OpenEntry(0));
    EXPECT_EQ(OrvaZipBadArguments, reader.ReadEntry(nullptr, 1, read));
    EXPECT_EQ(OrvaZipBadArguments, reader.ExtractToMemory(0, nullptr, 1));
    for (const wchar_t* path : {static_cast<const wchar_t*>(nullptr), L""}) {
        EXPECT_EQ(OrvaZipBadArguments, reader.ExtractToFile(0, path));
        EXPECT_EQ(OrvaZipBadArguments, reader.ExtractBelow(0, path));
    }
    EXPECT_EQ(OrvaZipNoFile, reader.ExtractToFile(0, tooLong.c_str()));
    EXPECT_EQ(OrvaZipNoFile, reader.ExtractBelow(0, tooLong.c_str()));
    for (const wchar_t* end : {L"", L"\\", L"/"}) {
        EXPECT_EQ(OrvaZipSuccess, reader.ExtractBelow(0, ((folder / L"below") + end).c_str()));
        EXPECT_TRUE(::DeleteFileW((folder / L"below\\entry").c_str()));
    }

    // A failed opening closes what was open.
    EXPECT_EQ(OrvaZipNoFile, reader.Open((folder / L"missing.zip").c_str()));
    EXPECT_EQ(0u, reader.GetCount());
}

TEST(ZipExtraction, WritesWholeVerifiedFiles) {
    const TempFolder folder;
    const std::string data = Noise(100000);
    const FILETIME stamp = Time(133500000001234567);
    OrvaZipWriter writer;
    const void* bytes = nullptr;
    std::size_t size = 0;
    ASSERT_EQ(OrvaZipSuccess, writer.CreateInMemory());
    ASSERT_EQ(OrvaZipSuccess,
              writer.AddMemory(L"deep/file.gz", data.data(), data.size(), &stamp, FILE_ATTRIBUTE_READONLY));
    ASSERT_EQ(OrvaZipSuccess, writer.AddDirectory(L"folder", &stamp));
    ASSERT_EQ(OrvaZipSuccess, writer.GetMemory(bytes, size));
    OrvaZipReader reader;
    ASSERT_EQ(OrvaZipSuccess, reader.OpenMemory(bytes, size));

    const std::wstring target = folder / L"new\\folders\\file.bin";
    for (int round = 0; round < 2; ++round) { // the second one replaces a read-only file
        ASSERT_EQ(OrvaZipSuccess, reader.ExtractToFile(0, target.c_str())) << round;
        EXPECT_TRUE(data == ReadFile(target));
        WIN32_FILE_ATTRIBUTE_DATA facts;
        ASSERT_TRUE(::GetFileAttributesExW(target.c_str(), GetFileExInfoStandard, &facts));
        EXPECT_NE(0u, facts.dwFileAttributes & FILE_ATTRIBUTE_READONLY);
        EXPECT_EQ(Ticks(stamp), Ticks(facts.ftLastWriteTime));
    }
    EXPECT_EQ(OrvaZipBadArguments, reader.ExtractToFile(1, (folder / L"x").c_str())) << "a directory";

    // A damaged entry touches nothing: not the file that is there, not even folders on the way.
    std::string damaged(static_cast<const char*>(bytes), size);
    damaged[30 + 12 + 50000] = static_cast<char>(damaged[30 + 12 + 50000] ^ 0x10);
    ASSERT_EQ(OrvaZipSuccess, reader.OpenMemory(damaged.data(), damaged.size()));
    const std::wstring kept = folder.MakeFile(L"kept.txt", "mine");
    EXPECT_EQ(OrvaZipCorrupt, reader.ExtractToFile(0, kept.c_str()));
    EXPECT_EQ("mine", ReadFile(kept));
    EXPECT_EQ(OrvaZipCorrupt, reader.ExtractToFile(0, (folder / L"other\\file").c_str()));
    EXPECT_FALSE(Exists(folder / L"other"));
    EXPECT_EQ(OrvaZipNoFile, (reader.OpenMemory(bytes, size), reader.ExtractToFile(0, folder.Path().c_str())));
    EXPECT_EQ(OrvaZipNoFile, reader.ExtractToFile(0, (kept + L"\\below a file").c_str()));
    EXPECT_EQ("mine", ReadFile(kept));
}

TEST(ZipExtraction, LeavesFilesAloneUnlessToldOtherwise) {
    const TempFolder folder;
    const std::string bytes = RawArchive{.entries = {{"sub/a.txt", "new"}, {"sub\\b.txt", "b"}, {"sub", "x"}}}.Bytes();
    OrvaZipReader reader;
    ASSERT_EQ(OrvaZipSuccess, reader.OpenMemory(bytes.data(), bytes.size()));
    const std::wstring existing = folder.MakeFile(L"sub\\a.txt", "older");
    bool written = true;
    EXPECT_EQ(OrvaZipSuccess, reader.ExtractBelow(0, folder.Path().c_str(), nullptr, &written));
    EXPECT_FALSE(written);
    EXPECT_EQ("older", ReadFile(existing));

    std::wstring toldPath;
    DWORD toldSize = 0;
    const auto told = [&](const wchar_t* target, const WIN32_FIND_DATAW& data) {
        toldPath = target;
        toldSize = data.nFileSizeLow;
        EXPECT_EQ("older", ReadFile(target)) << "told before it is replaced";
    };
    EXPECT_EQ(OrvaZipSuccess, reader.ExtractBelow(0, folder.Path().c_str(), told, &written));
    EXPECT_TRUE(written);
    EXPECT_EQ(existing, toldPath);
    EXPECT_EQ(5u, toldSize);
    EXPECT_EQ("new", ReadFile(existing));

    toldPath.clear();
    EXPECT_EQ(OrvaZipSuccess, reader.ExtractBelow(1, folder.Path().c_str(), told, &written)); // the other separator
    EXPECT_EQ("b", ReadFile(folder / L"sub\\b.txt"));
    EXPECT_EQ(OrvaZipNoFile, reader.ExtractBelow(2, folder.Path().c_str(), told, &written)) << "a folder is in the way";
    EXPECT_FALSE(written);
    EXPECT_EQ(L"", toldPath) << "nothing was replaced";
}

TEST(ZipExtraction, GoesBeyondTheClassicPathLength) {
    const TempFolder folder;
    std::string name;
    for (int level = 0; level < 40; ++level)
        name += "a folder of the tree/";
    const std::string bytes = RawArchive{.entries = {{name + "file.txt", "deep"}, {name + "empty/", ""}}}.Bytes();
    OrvaZipReader reader;
    ASSERT_EQ(OrvaZipSuccess, reader.OpenMemory(bytes.data(), bytes.size()));
    EXPECT_EQ(OrvaZipSuccess, reader.ExtractBelow(0, folder.Path().c_str()));
    EXPECT_EQ(OrvaZipSuccess, reader.ExtractBelow(1, folder.Path().c_str()));
    std::wstring deep = LR"(\\?\)" + folder.Path() + L"\\";
    for (const char character : name)
        deep += character == '/' ? L'\\' : static_cast<wchar_t>(character);
    EXPECT_EQ("deep", ReadFile(deep + L"file.txt"));
    EXPECT_TRUE(Exists(deep + L"empty"));

    // And the way back: the same file goes into an archive.
    OrvaZipWriter writer;
    const void* data = nullptr;
    std::size_t size = 0;
    ASSERT_EQ(OrvaZipSuccess, writer.CreateInMemory());
    EXPECT_EQ(OrvaZipSuccess, writer.AddFile(L"file.txt", (deep + L"file.txt").substr(4).c_str()));
    ASSERT_EQ(OrvaZipSuccess, writer.GetMemory(data, size));
    ASSERT_EQ(OrvaZipSuccess, reader.OpenMemory(data, size));
    EXPECT_EQ("deep", Extracted(reader, 0));
    RemoveTree(LR"(\\?\)" + folder.Path() + L"\\a folder of the tree");
}

TEST(ZipExtraction, GivesDirectoriesTheirTimesLast) {
    const TempFolder folder;
    const FILETIME stamp = Time(133500000001234567);
    {
        OrvaZipWriter writer;
        ASSERT_EQ(OrvaZipSuccess, writer.Create((folder / L"a.zip").c_str()));
        ASSERT_EQ(OrvaZipSuccess, writer.AddDirectory(L"outer", &stamp));
        ASSERT_EQ(OrvaZipSuccess, writer.AddDirectory(L"outer/inner", &stamp));
        ASSERT_EQ(OrvaZipSuccess, writer.AddMemory(L"outer/inner/file", "1", 1));
        ASSERT_EQ(OrvaZipSuccess,
                  writer.AddDirectory(L"marked", &stamp, FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_READONLY));
        ASSERT_EQ(OrvaZipSuccess, writer.Close());
    }
    ASSERT_TRUE(OrvaUnzipAll((folder / L"a.zip").c_str(), folder / L"out"));
    for (const wchar_t* name : {L"out\\outer", L"out\\outer\\inner"}) {
        WIN32_FILE_ATTRIBUTE_DATA facts;
        ASSERT_TRUE(::GetFileAttributesExW((folder / name).c_str(), GetFileExInfoStandard, &facts));
        EXPECT_EQ(Ticks(stamp), Ticks(facts.ftLastWriteTime)) << OrvaPath(name).GetText().GetLength();
    }
    // A directory is hidden where the system can hide one, and never read-only.
    ASSERT_TRUE(::SetFileAttributesW(folder.MakeFolder(L"probe").c_str(), FILE_ATTRIBUTE_HIDDEN));
    EXPECT_EQ(::GetFileAttributesW((folder / L"probe").c_str()),
              ::GetFileAttributesW((folder / L"out\\marked").c_str()));
}

/// An archive whose one entry is a zero, and then so many times 258 of them: 13 bits each.
std::string Zeros(std::uint32_t runs, std::uint32_t crc) {
    std::string stream;
    int bit = 0;
    const auto put = [&](std::string_view bits) {
        for (const char value : bits) {
            if (bit == 0) stream += '\0';
            stream.back() = static_cast<char>(stream.back() | (value - '0') << bit);
            bit = (bit + 1) % 8;
        }
    };
    put("11000110000"); // the last block, with the fixed codes; a zero
    for (std::uint32_t run = 0; run < runs; ++run)
        put("1100010100000"); // 258 bytes from one byte before
    put("0000000");
    return RawArchive{.entries = {{.name = "zeros", .data = stream, .method = 8, .crc = crc, .size = 1 + 258 * runs}}}
        .Bytes();
}

TEST(ZipExtraction, WritesLargeEntriesAsTheyCome) {
    const TempFolder folder;
    const struct {
        std::uint32_t runs;
        std::uint32_t crc;
    } cases[] = {{262144, 0x3455D026},   // more than what is kept from one entry to the next
                 {1040448, 0x10E227B5}}; // more than what is held in memory
    for (const auto& [runs, crc] : cases) {
        const std::string bytes = Zeros(runs, crc);
        std::string damaged = bytes;
        damaged[20'000] = static_cast<char>(damaged[20'000] ^ 0x3C);
        OrvaZipReader reader;
        ASSERT_EQ(OrvaZipSuccess, reader.OpenMemory(damaged.data(), damaged.size()));
        EXPECT_EQ(OrvaZipCorrupt, reader.ExtractToFile(0, (folder / L"new\\target").c_str()));
        EXPECT_FALSE(Exists(folder / L"new"));

        ASSERT_EQ(OrvaZipSuccess, reader.OpenMemory(bytes.data(), bytes.size()));
        const std::wstring target = folder.MakeFile(L"zeros", "mine");
        EXPECT_EQ(OrvaZipSuccess, reader.ExtractBelow(0, folder.Path().c_str()));
        EXPECT_EQ("mine", ReadFile(target));
        unsigned told = 0;
        const auto overwrite = [&told](const wchar_t*, const WIN32_FIND_DATAW&) { ++told; };
        EXPECT_EQ(OrvaZipSuccess, reader.ExtractBelow(0, folder.Path().c_str(), overwrite));
        EXPECT_EQ(1u, told);
        WIN32_FILE_ATTRIBUTE_DATA facts{};
        EXPECT_TRUE(::GetFileAttributesExW(target.c_str(), GetFileExInfoStandard, &facts));
        EXPECT_EQ(1 + 258 * runs, facts.nFileSizeLow);
    }
}
