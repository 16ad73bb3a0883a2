#include "archive/RawArchive.h"
#include "support/TempFolder.h"
#include "tarnu/archive/OrvaZipReader.h"
#include "tarnu/archive/OrvaZipWriter.h"
#include "tarnu/support/Owners.h"

#include <gtest/gtest.h>

namespace {

using namespace tarnu::test;
using tarnu::support::UniqueFileHandle;
using tarnu::support::UniqueHandle;

std::string MemoryOf(OrvaZipWriter& writer) {
    const void* data = nullptr;
    std::size_t size = 0;
    EXPECT_EQ(OrvaZipSuccess, writer.GetMemory(data, size));
    return {static_cast<const char*>(data), size};
}

std::string Extracted(OrvaZipReader& reader, ULONGLONG index) {
    OrvaZipEntry entry;
    EXPECT_EQ(OrvaZipSuccess, reader.GetEntry(index, entry));
    std::string data(static_cast<std::size_t>(entry.size), '?');
    EXPECT_EQ(OrvaZipSuccess, reader.ExtractToMemory(index, data.data(), data.size())) << index;
    return data;
}

std::vector<std::wstring> NamesIn(const std::wstring& folder) {
    std::vector<std::wstring> names;
    WIN32_FIND_DATAW data;
    const tarnu::support::UniqueFindHandle find(::FindFirstFileW((folder + L"\\*").c_str(), &data));
    for (BOOL found = static_cast<bool>(find); found; found = ::FindNextFileW(find.Get(), &data)) {
        if (data.cFileName[0] != L'.') names.emplace_back(data.cFileName);
    }
    return names;
}

FILETIME Time(std::uint64_t ticks) {
    return {static_cast<DWORD>(ticks), static_cast<DWORD>(ticks >> 32)};
}
constexpr std::uint64_t in2024 = 133500000001234567; // 100 ns since 1601, no round number

UniqueFileHandle OpenToRead(const std::wstring& path) {
    return UniqueFileHandle(::CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                                          OPEN_EXISTING, 0, nullptr));
}

/// The end to read from of a pipe that holds a short text and nothing else.
UniqueHandle PipeWith(std::string_view text) {
    HANDLE readEnd = nullptr;
    HANDLE writeEnd = nullptr;
    EXPECT_TRUE(::CreatePipe(&readEnd, &writeEnd, nullptr, 4096));
    const UniqueHandle feed(writeEnd);
    DWORD written;
    EXPECT_TRUE(::WriteFile(feed.Get(), text.data(), static_cast<DWORD>(text.size()), &written, nullptr));
    return UniqueHandle(readEnd);
}

/// Sizes around every buffer on the way, compressible and not.
std::vector<std::string> Blocks() {
    std::vector<std::string> blocks = {"", "x", std::string(100000, 'a')};
    for (const std::size_t size : {std::size_t{256} << 10, std::size_t{512} << 10, std::size_t{1} << 20}) {
        for (const int off : {-1, 0, 1})
            blocks.push_back(Noise(size + static_cast<std::size_t>(off), static_cast<std::uint32_t>(size)));
    }
    return blocks;
}

} // namespace

TEST(ZipWriter, GivesBackWhatWasPut) {
    const TempFolder folder;
    const std::vector<std::string> blocks = Blocks();
    for (const wchar_t* password : {static_cast<const wchar_t*>(nullptr), L"", L"pässwörd \x4E16"}) {
        for (const bool inMemory : {true, false}) {
            OrvaZipWriter writer;
            const std::wstring path = folder / L"archive.zip";
            ASSERT_EQ(OrvaZipSuccess,
                      inMemory ? writer.CreateInMemory(0, password) : writer.Create(path.c_str(), password));
            for (std::size_t block = 0; block < blocks.size(); ++block) {
                const std::wstring name = L"block " + std::to_wstring(block) + (block % 2 == 0 ? L".txt" : L".gz");
                ASSERT_EQ(OrvaZipSuccess, writer.AddMemory(name.c_str(), blocks[block].data(), blocks[block].size()));
            }
            EXPECT_EQ(blocks.size(), writer.GetCount());
            OrvaZipReader reader;
            std::string bytes;
            if (inMemory) {
                bytes = MemoryOf(writer);
                ASSERT_EQ(OrvaZipSuccess, reader.OpenMemory(bytes.data(), bytes.size(), password));
            } else {
                ASSERT_EQ(OrvaZipSuccess, writer.Close());
                ASSERT_EQ(OrvaZipSuccess, reader.Open(path.c_str(), password));
            }
            ASSERT_EQ(blocks.size(), reader.GetCount());
            // Not in order: an entry must not depend on what was read before it.
            for (std::size_t block = blocks.size(); block-- > 0;) {
                OrvaZipEntry entry;
                ASSERT_EQ(OrvaZipSuccess, reader.GetEntry(block, entry));
                EXPECT_EQ(password != nullptr && *password != L'\0', entry.isEncrypted);
                EXPECT_EQ(Crc32(blocks[block]), entry.crc);
                EXPECT_EQ(blocks[block], Extracted(reader, block)) << block;
            }
        }
    }
}

TEST(ZipWriter, TakesEntriesOfAnySize) {
    // Around the size up to which an entry is compressed in one piece; from memory, a file and a file's end.
    constexpr std::size_t limit = std::size_t{64} << 20;
    const TempFolder folder;
    std::string data(limit + 1, 'a');
    for (std::size_t at = 0; at < data.size(); at += 1000)
        data[at] = static_cast<char>(at / 1000);
    const std::wstring file = folder.MakeFile(L"large", data);
    OrvaZipWriter writer;
    ASSERT_EQ(OrvaZipSuccess, writer.CreateInMemory());
    ASSERT_EQ(OrvaZipSuccess, writer.AddMemory(L"block", data.data(), limit));
    ASSERT_EQ(OrvaZipSuccess, writer.AddFile(L"stream", file.c_str()));
    const UniqueFileHandle handle = OpenToRead(file);
    LARGE_INTEGER one;
    one.QuadPart = 1;
    ASSERT_TRUE(::SetFilePointerEx(handle.Get(), one, nullptr, FILE_BEGIN));
    ASSERT_EQ(OrvaZipSuccess, writer.AddHandle(L"rest", handle.Get()));
    const std::string bytes = MemoryOf(writer);
    OrvaZipReader reader;
    ASSERT_EQ(OrvaZipSuccess, reader.OpenMemory(bytes.data(), bytes.size()));
    EXPECT_TRUE(Extracted(reader, 0) == std::string_view(data).substr(0, limit));
    EXPECT_TRUE(Extracted(reader, 1) == data);
    EXPECT_TRUE(Extracted(reader, 2) == std::string_view(data).substr(1));
}

TEST(ZipWriter, StoresNamesInTheFormatsNotation) {
    const struct {
        const wchar_t* name;
        const char* stored;
        bool isUtf8;
    } cases[] = {
        {L"a.txt", "a.txt", false},
        {L"a\\b/c.txt", "a/b/c.txt", false},
        {L".\\a.txt", "a.txt", false},
        {L"././\\a.txt", "a.txt", false},
        {L"\\\\server\\share\\x", "server/share/x", false},
        {L"..\\up.txt", "../up.txt", false},
        {L".hidden", ".hidden", false},
        {L"..name", "..name", false},
        {L"C:\\a.txt", "a.txt", false}, // the format has no drives
        {L"z:a.txt", "a.txt", false},
        {L"@:a", "@:a", false}, // and these are none
        {L"[:a", "[:a", false},
        {L"`:a", "`:a", false},
        {L"{:a", "{:a", false},
        {L"Grüße 世.txt",
         "Gr\xC3\xBC\xC3\x9F"
         "e \xE4\xB8\x96.txt",
         true},
        {L"\xD83D\xDE00", "\xF0\x9F\x98\x80", true},
        {L"half \xD83D", "half \xEF\xBF\xBD", true},
    };
    for (const auto& test : cases) {
        OrvaZipWriter writer;
        ASSERT_EQ(OrvaZipSuccess, writer.CreateInMemory());
        ASSERT_EQ(OrvaZipSuccess, writer.AddMemory(test.name, "1", 1)) << test.stored;
        ASSERT_EQ(OrvaZipSuccess, writer.AddDirectory(test.name)) << test.stored;
        const std::string bytes = MemoryOf(writer);
        EXPECT_EQ(test.isUtf8 ? 0x0800 : 0, Get<std::uint16_t>(bytes, 6)) << test.stored;
        EXPECT_EQ(test.stored, bytes.substr(30, Get<std::uint16_t>(bytes, 26)));
        EXPECT_NE(std::string::npos, bytes.find(std::string(test.stored) + '/')) << test.stored;
    }

    OrvaZipWriter writer;
    ASSERT_EQ(OrvaZipSuccess, writer.CreateInMemory());
    const std::wstring longest(65535, L'n');
    for (const std::wstring& name : {std::wstring(), std::wstring(L"/"), std::wstring(L".\\"),
                                     std::wstring(L"folder\\"), longest + L'n', std::wstring(22000, L'世')}) {
        EXPECT_EQ(OrvaZipBadArguments, writer.AddMemory(name.c_str(), "1", 1)) << name.size();
    }
    EXPECT_EQ(OrvaZipBadArguments, writer.AddDirectory(longest.c_str())); // no room for the "/"
    EXPECT_EQ(OrvaZipBadArguments, writer.AddDirectory(L"C:\\"));
    EXPECT_EQ(OrvaZipSuccess, writer.AddMemory(longest.c_str(), "1", 1));
    EXPECT_EQ(OrvaZipSuccess, writer.AddDirectory(L"folder\\"));
    const std::string bytes = MemoryOf(writer);
    OrvaZipReader reader;
    ASSERT_EQ(OrvaZipSuccess, reader.OpenMemory(bytes.data(), bytes.size()));
    OrvaZipEntry entry;
    ASSERT_EQ(OrvaZipSuccess, reader.GetEntry(0, entry));
    EXPECT_EQ(longest, entry.name.GetString());
    ASSERT_EQ(OrvaZipSuccess, reader.GetEntry(1, entry));
    EXPECT_EQ(entry.name, L"folder/");
}

TEST(ZipWriter, ChoosesTheMethodByTheLastExtension) {
    const struct {
        const wchar_t* name;
        int method;
    } cases[] = {
        {L"a.Z", 0},      {L"a.z", 0},      {L"data.ZIP", 0},  {L"a.zoo", 0},    {L"a.arc", 0}, {L"a.lzh", 0},
        {L"a.ArJ", 0},    {L"a.gz", 0},     {L"a.tgz", 0},     {L"a.tar.gz", 0}, {L".zip", 0},  {L"data.zipx", 8},
        {L"README", 8},   {L"a.zip.", 8},   {L"a.7z", 8},      {L"azip", 8},     {L"zip", 8},   {L"a.gz.txt", 8},
        {L"x.zip\\y", 8}, {L"a.\x017F", 8}, {L"a.g\x017A", 8},
    };
    for (const auto& test : cases) {
        OrvaZipWriter writer;
        ASSERT_EQ(OrvaZipSuccess, writer.CreateInMemory());
        ASSERT_EQ(OrvaZipSuccess, writer.AddMemory(test.name, "text text text text", 19));
        EXPECT_EQ(test.method, Get<std::uint16_t>(MemoryOf(writer), 8)) << CString(test.name).GetLength();
    }
    OrvaZipWriter writer;
    ASSERT_EQ(OrvaZipSuccess, writer.CreateInMemory());
    ASSERT_EQ(OrvaZipSuccess, writer.AddMemory(L"empty.txt", nullptr, 0));
    std::string bytes = MemoryOf(writer);
    EXPECT_EQ(8, Get<std::uint16_t>(bytes, 8)) << "no data is compressed like any other";
    EXPECT_EQ(2u, Get<std::uint32_t>(bytes, 18));
    ASSERT_EQ(OrvaZipSuccess, writer.CreateInMemory(0, L"secret"));
    ASSERT_EQ(OrvaZipSuccess, writer.AddDirectory(L"folder.txt"));
    bytes = MemoryOf(writer);
    EXPECT_EQ(0, Get<std::uint16_t>(bytes, 6)) << "a directory is not encrypted and has no encryption header";
    EXPECT_EQ(0, Get<std::uint16_t>(bytes, 8));
    EXPECT_EQ(0u, Get<std::uint32_t>(bytes, 18));
}

TEST(ZipWriter, KeepsTimesAndAttributes) {
    const TempFolder folder;
    const std::wstring file = folder.MakeFile(L"file.txt", "text");
    const FILETIME lastWrite = Time(in2024);
    {
        const UniqueFileHandle handle(
            ::CreateFileW(file.c_str(), GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr));
        ASSERT_TRUE(::SetFileTime(handle.Get(), nullptr, nullptr, &lastWrite));
    }
    ::SetFileAttributesW(file.c_str(), FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_ARCHIVE | FILE_ATTRIBUTE_HIDDEN);
    const DWORD attributes = ::GetFileAttributesW(file.c_str());
    const FILETIME early = Time(1000000000);            // 1601: before DOS time begins
    const FILETIME late = Time(std::uint64_t{1} << 62); // far behind its end
    OrvaZipWriter writer;
    ASSERT_EQ(OrvaZipSuccess, writer.CreateInMemory());
    ASSERT_EQ(OrvaZipSuccess, writer.AddFile(L"file.txt", file.c_str()));
    ASSERT_EQ(OrvaZipSuccess, writer.AddFile(L"folder", folder.Path().c_str()));
    ASSERT_EQ(OrvaZipSuccess, writer.AddMemory(L"early", "", 0, &early));
    ASSERT_EQ(OrvaZipSuccess,
              writer.AddMemory(L"late", "", 0, &late, FILE_ATTRIBUTE_SYSTEM | FILE_ATTRIBUTE_DIRECTORY));
    const std::string bytes = MemoryOf(writer);
    OrvaZipReader reader;
    ASSERT_EQ(OrvaZipSuccess, reader.OpenMemory(bytes.data(), bytes.size()));
    OrvaZipEntry entry;
    ASSERT_EQ(OrvaZipSuccess, reader.GetEntry(0, entry));
    EXPECT_EQ(0, ::CompareFileTime(&lastWrite, &entry.lastWrite));
    EXPECT_EQ(attributes, entry.attributes);
    ASSERT_EQ(OrvaZipSuccess, reader.GetEntry(1, entry));
    EXPECT_TRUE(entry.isDirectory);
    EXPECT_STREQ(L"folder/", entry.name);
    ASSERT_EQ(OrvaZipSuccess, reader.GetEntry(2, entry));
    EXPECT_EQ(0, ::CompareFileTime(&early, &entry.lastWrite)); // from the NTFS field
    ASSERT_EQ(OrvaZipSuccess, reader.GetEntry(3, entry));
    EXPECT_EQ(DWORD{FILE_ATTRIBUTE_SYSTEM}, entry.attributes); // a block of memory is no directory
    EXPECT_FALSE(entry.isDirectory);
    EXPECT_EQ(0x0021, Get<std::uint16_t>(bytes, bytes.find("early") - 30 + 12)); // 1980-01-01
    EXPECT_EQ(0xFF9F, Get<std::uint16_t>(bytes, bytes.find("late") - 30 + 12));  // 2107-12-31
}

TEST(ZipWriter, StampsEntriesWithLocalTime) {
    // Entry by entry as the system converts it, in the order of the times and against it: within a minute, from one to
    // the next, in summer and winter, and at both ends of the format's years.
    constexpr std::uint64_t second = 10000000;
    const std::uint64_t minute = in2024 / (60 * second) * (60 * second);
    std::vector<std::uint64_t> times;
    for (const std::uint64_t start : {minute, minute + 180 * 86400 * second, std::uint64_t{119600064000000000},
                                      std::uint64_t{159993792000000000}}) { // 1980 and 2108 begin
        for (const std::uint64_t offset : {0u, 1u, 2u, 58u, 59u, 60u, 61u, 3599u, 3600u})
            times.push_back(start + offset * second + 9999999);
    }
    times.insert(times.end(), times.rbegin(), times.rend());
    OrvaZipWriter writer;
    ASSERT_EQ(OrvaZipSuccess, writer.CreateInMemory());
    for (const std::uint64_t time : times) {
        const FILETIME lastWrite = Time(time);
        ASSERT_EQ(OrvaZipSuccess, writer.AddMemory(L"entry", "", 0, &lastWrite));
    }
    const std::string bytes = MemoryOf(writer);
    std::size_t header = 0;
    for (const std::uint64_t time : times) {
        header = bytes.find("PK\x03\x04", header);
        ASSERT_NE(std::string::npos, header);
        const FILETIME utc = Time(time);
        SYSTEMTIME universal, local;
        ASSERT_TRUE(::FileTimeToSystemTime(&utc, &universal));
        ASSERT_TRUE(::SystemTimeToTzSpecificLocalTime(nullptr, &universal, &local));
        const unsigned fields[] = {local.wYear - 1980u, local.wMonth,  local.wDay,
                                   local.wHour,         local.wMinute, local.wSecond / 2u};
        unsigned stamp =
            fields[0] << 25 | fields[1] << 21 | fields[2] << 16 | fields[3] << 11 | fields[4] << 5 | fields[5];
        if (local.wYear < 1980) stamp = 0x00210000;
        if (local.wYear > 2107) stamp = 0xFF9FBF7D;
        EXPECT_EQ(stamp, Get<std::uint32_t>(bytes, header + 10)) << time;
        ++header;
    }
}

TEST(ZipWriter, LeavesOutWhatCannotBeRead) {
    const TempFolder folder;
    const std::wstring good = folder.MakeFile(L"good.txt", "good");
    const std::wstring locked = folder.MakeFile(L"locked.txt", "locked");
    const UniqueFileHandle lock(::CreateFileW(locked.c_str(), GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr));
    ASSERT_TRUE(lock);
    const UniqueFileHandle directory(::CreateFileW(folder.Path().c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr,
                                                   OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr));
    HANDLE readEnd;
    HANDLE writeEnd;
    ASSERT_TRUE(::CreatePipe(&readEnd, &writeEnd, nullptr, 4096));
    const UniqueHandle pipe(readEnd);
    const UniqueHandle wrongEnd(writeEnd);
    const FILETIME time = Time(in2024);
    const auto pack = [&](bool withFailures) {
        OrvaZipWriter writer;
        EXPECT_EQ(OrvaZipSuccess, writer.CreateInMemory());
        EXPECT_EQ(OrvaZipSuccess, writer.AddMemory(L"1", "first", 5, &time));
        if (withFailures) {
            EXPECT_EQ(OrvaZipNoFile, writer.AddFile(L"x", (folder / L"missing").c_str()));
            EXPECT_EQ(OrvaZipNoFile, writer.AddFile(L"x", locked.c_str()));
            EXPECT_EQ(OrvaZipReadFailed, writer.AddHandle(L"x", lock.Get())) << "open for writing alone";
            EXPECT_EQ(OrvaZipReadFailed, writer.AddHandle(L"x", wrongEnd.Get())) << "the end to write to";
            EXPECT_EQ(OrvaZipReadFailed, writer.AddHandle(L"x", directory.Get()));
            EXPECT_EQ(OrvaZipBadArguments, writer.AddHandle(L"x", INVALID_HANDLE_VALUE));
            EXPECT_EQ(OrvaZipBadArguments, writer.AddHandle(L"x", nullptr));
            EXPECT_EQ(OrvaZipBadArguments, writer.AddFile(L"x", L""));
            EXPECT_EQ(OrvaZipBadArguments, writer.AddFile(L"x", nullptr));
            EXPECT_EQ(OrvaZipBadArguments, writer.AddFile(nullptr, good.c_str()));
            EXPECT_EQ(OrvaZipBadArguments, writer.AddMemory(L"x", nullptr, 1));
        }
        EXPECT_EQ(OrvaZipSuccess, writer.AddMemory(L"2", "second", 6, &time));
        EXPECT_EQ(2u, writer.GetCount());
        return MemoryOf(writer);
    };
    EXPECT_EQ(pack(false), pack(true)); // not a byte is left of them
}

TEST(ZipWriter, ReadsHandlesFromTheirPosition) {
    const TempFolder folder;
    const std::wstring path = folder.MakeFile(L"file.txt", "0123456789");
    const UniqueFileHandle file = OpenToRead(path);
    const UniqueHandle pipe = PipeWith("from a pipe");

    OrvaZipWriter writer;
    ASSERT_EQ(OrvaZipSuccess, writer.CreateInMemory());
    ASSERT_EQ(4u, ::SetFilePointer(file.Get(), 4, nullptr, FILE_BEGIN));
    EXPECT_EQ(OrvaZipSuccess, writer.AddHandle(L"rest", file.Get()));
    EXPECT_EQ(OrvaZipSuccess, writer.AddHandle(L"nothing", file.Get())); // the position is at the end now
    EXPECT_EQ(OrvaZipSuccess, writer.AddHandle(L"pipe", pipe.Get()));
    const std::string bytes = MemoryOf(writer);
    OrvaZipReader reader;
    ASSERT_EQ(OrvaZipSuccess, reader.OpenMemory(bytes.data(), bytes.size()));
    EXPECT_EQ("456789", Extracted(reader, 0));
    EXPECT_EQ("", Extracted(reader, 1));
    EXPECT_EQ("from a pipe", Extracted(reader, 2));
    // A pipe's length is not known before: its local header has room for 64 bits, and the directory needs none.
    const std::size_t local = bytes.find("pipe") - 30;
    EXPECT_EQ(45, Get<std::uint16_t>(bytes, local + 4));
    EXPECT_EQ(0xFFFFFFFFu, Get<std::uint32_t>(bytes, local + 22));
    EXPECT_EQ(11u, Get<std::uint64_t>(bytes, local + 30 + 4 + 4));
}

TEST(ZipWriter, ReplacesAnArchiveOnlyWhenComplete) {
    const TempFolder folder;
    const std::wstring path = folder.MakeFile(L"archive.zip", "older");
    {
        OrvaZipWriter writer;
        ASSERT_EQ(OrvaZipSuccess, writer.Create(path.c_str()));
        const std::string noise = Noise(2 << 20); // more than the buffer: some of it is in the file already
        ASSERT_EQ(OrvaZipSuccess, writer.AddMemory(L"noise", noise.data(), noise.size()));
        EXPECT_EQ("older", ReadFile(path));
    }
    EXPECT_EQ("older", ReadFile(path));
    EXPECT_EQ(std::vector<std::wstring>{L"archive.zip"}, NamesIn(folder.Path())); // nothing is left behind

    OrvaZipWriter first;
    OrvaZipWriter second;
    ASSERT_EQ(OrvaZipSuccess, first.Create(path.c_str()));
    ASSERT_EQ(OrvaZipSuccess, second.Create(path.c_str()));
    EXPECT_EQ(OrvaZipSuccess, first.AddMemory(L"first", "1", 1));
    EXPECT_EQ(OrvaZipSuccess, second.AddMemory(L"second", "2", 1));
    EXPECT_EQ(OrvaZipSuccess, second.Close());
    EXPECT_EQ(OrvaZipSuccess, first.Close()); // the last one wins
    OrvaZipReader reader;
    ASSERT_EQ(OrvaZipSuccess, reader.Open(path.c_str()));
    EXPECT_EQ("1", Extracted(reader, 0));
    reader.Close();
    EXPECT_EQ(std::vector<std::wstring>{L"archive.zip"}, NamesIn(folder.Path()));

    // The rename fails: what stands there stays, and nothing else is left.
    OrvaZipWriter blocked;
    ASSERT_EQ(OrvaZipSuccess, blocked.Create((folder / L"blocked.zip").c_str()));
    folder.MakeFolder(L"blocked.zip");
    EXPECT_EQ(OrvaZipNoFile, blocked.Close());
    EXPECT_EQ(OrvaZipPreviousError, blocked.AddMemory(L"late", "", 0));
    EXPECT_EQ(2u, NamesIn(folder.Path()).size());

    OrvaZipWriter writer;
    EXPECT_EQ(OrvaZipNoFile, writer.Create(folder.MakeFolder(L"folder").c_str()));
    EXPECT_EQ(OrvaZipNoFile, writer.Create((folder / L"no\\such\\folder.zip").c_str()));
    EXPECT_EQ(OrvaZipBadArguments, writer.Create(L""));
    EXPECT_EQ(OrvaZipBadArguments, writer.Create(nullptr));
}

TEST(ZipWriter, AnswersByItsState) {
    const void* data = "";
    std::size_t size = 1;
    OrvaZipWriter writer;
    const TempFolder folder;
    const std::wstring file = folder.MakeFile(L"file", "1");
    const UniqueFileHandle handle = OpenToRead(file);
    const auto expectAdditions = [&](OrvaZipResult result) {
        EXPECT_EQ(result, writer.AddFile(L"a", file.c_str()));
        EXPECT_EQ(result, writer.AddMemory(L"a", "1", 1));
        EXPECT_EQ(result, writer.AddHandle(L"a", handle.Get()));
        EXPECT_EQ(result, writer.AddDirectory(L"a"));
        EXPECT_EQ(0u, writer.GetCount());
    };
    expectAdditions(OrvaZipBadArguments);
    EXPECT_EQ(OrvaZipNoFile, writer.Create(std::wstring(40000, L'x').c_str()));
    EXPECT_EQ(OrvaZipBadArguments, writer.Close());
    EXPECT_EQ(OrvaZipBadArguments, writer.GetMemory(data, size));
    EXPECT_EQ(nullptr, data);
    EXPECT_EQ(0u, size);

    ASSERT_EQ(OrvaZipSuccess, writer.CreateInMemory());
    EXPECT_EQ(OrvaZipSuccess, writer.Close());
    EXPECT_EQ(OrvaZipEnded, writer.Close());
    expectAdditions(OrvaZipEnded);
    EXPECT_EQ(OrvaZipSuccess, writer.GetMemory(data, size));
    EXPECT_EQ(22u, size); // an end record alone
    OrvaZipReader reader;
    EXPECT_EQ(OrvaZipSuccess, reader.OpenMemory(data, size));
    EXPECT_EQ(0u, reader.GetCount());

    ASSERT_EQ(OrvaZipSuccess, writer.Create((folder / L"a.zip").c_str()));
    EXPECT_EQ(OrvaZipNotMemory, writer.GetMemory(data, size));
    EXPECT_EQ(OrvaZipSuccess, writer.AddMemory(L"a", "1", 1)); // the question changed nothing

    ASSERT_EQ(OrvaZipSuccess, writer.CreateInMemory(40));
    ASSERT_EQ(OrvaZipMemoryFull, writer.AddMemory(L"noise", Noise(40).data(), 40));
    expectAdditions(OrvaZipPreviousError);
    EXPECT_EQ(OrvaZipPreviousError, writer.GetMemory(data, size));
    EXPECT_EQ(OrvaZipPreviousError, writer.Close());
}

TEST(ZipWriter, HitsEveryLimitCleanly) {
    const std::string noise = Noise(40);
    const std::string text(100, 'a');
    const std::string much = Noise(66000);
    for (const wchar_t* password : {L"", L"secret"}) {
        // The first result that is none of success, and the archive's size.
        const auto pack = [&](std::size_t limit, std::size_t& size) {
            OrvaZipWriter writer;
            const void* data = nullptr;
            EXPECT_EQ(OrvaZipSuccess, writer.CreateInMemory(limit, password));
            const UniqueHandle pipe = PipeWith(text);
            OrvaZipResult result = writer.AddMemory(L"stored.gz", noise.data(), noise.size());
            if (result == OrvaZipSuccess) result = writer.AddMemory(L"short", "hello", 5);
            if (result == OrvaZipSuccess) result = writer.AddHandle(L"pipe", pipe.Get());
            if (result == OrvaZipSuccess) result = writer.AddMemory(L"block", text.data(), text.size());
            if (result == OrvaZipSuccess && limit > 10000) {
                result = writer.AddMemory(L"much", much.data(), much.size());
            }
            const OrvaZipResult closed = writer.GetMemory(data, size);
            EXPECT_EQ(result == OrvaZipSuccess ? closed : OrvaZipPreviousError, closed);
            EXPECT_EQ(closed == OrvaZipSuccess, data != nullptr);
            return result == OrvaZipSuccess ? closed : result;
        };
        std::size_t whole = 0;
        std::size_t size = 0;
        ASSERT_EQ(OrvaZipSuccess, pack(0, whole));
        for (std::size_t limit = 1; limit < whole; ++limit)
            ASSERT_EQ(OrvaZipMemoryFull, pack(limit, size)) << limit << " of " << whole;
        EXPECT_EQ(OrvaZipSuccess, pack(whole, size));
        EXPECT_EQ(whole, size);
        EXPECT_EQ(OrvaZipMemoryFull, pack(66000, size)) << "beyond the first block of memory";
    }
}

TEST(ZipWriter, CountsBeyondSixteenBits) {
    for (const std::uint32_t count : {65534u, 65535u, 65536u}) {
        OrvaZipWriter writer;
        ASSERT_EQ(OrvaZipSuccess, writer.CreateInMemory());
        for (std::uint32_t index = 0; index < count; ++index) {
            wchar_t name[16];
            ::swprintf(name, std::size(name), L"%u.gz", index);
            ASSERT_EQ(OrvaZipSuccess, writer.AddMemory(name, nullptr, 0));
        }
        const std::string bytes = MemoryOf(writer);
        const std::string_view end = std::string_view(bytes).substr(bytes.size() - 22);
        EXPECT_EQ(count >= 65535 ? 65535 : 65534, Get<std::uint16_t>(end, 10));
        EXPECT_EQ(count >= 65535, bytes.compare(bytes.size() - 42, 4, "PK\x06\x07") == 0) << count;
        OrvaZipReader reader;
        ASSERT_EQ(OrvaZipSuccess, reader.OpenMemory(bytes.data(), bytes.size()));
        ASSERT_EQ(count, reader.GetCount());
        OrvaZipEntry entry;
        ASSERT_EQ(OrvaZipSuccess, reader.GetEntry(count - 1, entry));
        EXPECT_EQ(std::to_wstring(count - 1) + L".gz", entry.name.GetString());
        EXPECT_EQ(OrvaZipBadArguments, reader.GetEntry(count, entry));
    }
}

TEST(ZipWriter, EncryptsEachEntryWithAHeaderOfItsOwn) {
    OrvaZipWriter writer;
    ASSERT_EQ(OrvaZipSuccess, writer.CreateInMemory(0, L"password"));
    const std::string text = "the same text, stored";
    for (const wchar_t* name : {L"1.gz", L"2.gz"})
        ASSERT_EQ(OrvaZipSuccess, writer.AddMemory(name, text.data(), text.size()));
    const std::string bytes = MemoryOf(writer);
    EXPECT_EQ(std::string::npos, bytes.find("same"));
    const std::size_t first = 30 + 4;
    const std::size_t second = bytes.find("2.gz") + 4;
    EXPECT_NE(bytes.substr(first, 12), bytes.substr(second, 12));
    EXPECT_NE(bytes.substr(first + 12, text.size()), bytes.substr(second + 12, text.size()));
    // Encrypted, with sizes and checksum behind the data; the sizes count the header.
    EXPECT_EQ(0x0009, Get<std::uint16_t>(bytes, 6));
    const std::size_t descriptor = first + 12 + text.size();
    EXPECT_EQ(0x08074B50u, Get<std::uint32_t>(bytes, descriptor));
    EXPECT_EQ(Crc32(text), Get<std::uint32_t>(bytes, descriptor + 4));
    EXPECT_EQ(12 + text.size(), Get<std::uint32_t>(bytes, descriptor + 8));
    EXPECT_EQ(text.size(), Get<std::uint32_t>(bytes, descriptor + 12));
}

TEST(ZipWriter, EncryptsDataOfUnknownSize) {
    OrvaZipWriter writer;
    ASSERT_EQ(OrvaZipSuccess, writer.CreateInMemory(0, L"password"));
    const UniqueHandle pipe = PipeWith("from a pipe");
    ASSERT_EQ(OrvaZipSuccess, writer.AddHandle(L"a.gz", pipe.Get()));
    const std::string bytes = MemoryOf(writer);
    const std::size_t descriptor = 30 + 4 + 20 + 12 + 11; // the sizes behind the data have 64 bits, too
    EXPECT_EQ(0x08074B50u, Get<std::uint32_t>(bytes, descriptor));
    EXPECT_EQ(12u + 11u, Get<std::uint64_t>(bytes, descriptor + 8));
    EXPECT_EQ(11u, Get<std::uint64_t>(bytes, descriptor + 16));
    EXPECT_EQ(0x02014B50u, Get<std::uint32_t>(bytes, descriptor + 24));
    OrvaZipReader reader;
    ASSERT_EQ(OrvaZipSuccess, reader.OpenMemory(bytes.data(), bytes.size(), L"password"));
    EXPECT_EQ("from a pipe", Extracted(reader, 0));
}
