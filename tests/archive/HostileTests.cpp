#include "archive/RawArchive.h"
#include "support/TempFolder.h"
#include "tarnu/archive/OrvaZipReader.h"

#include <gtest/gtest.h>

namespace {

using namespace tarnu::test;

/// "abc", deflated into a block of its own.
std::string DeflatedAbc() {
    return {"\x4B\x4C\x4A\x06\x00", 5};
}

/// What becomes of the archive's first entry: the result of opening the archive, or of extracting.
OrvaZipResult Outcome(const std::string& bytes) {
    OrvaZipReader reader;
    const OrvaZipResult result = reader.OpenMemory(bytes.data(), bytes.size());
    if (result != OrvaZipSuccess) return result;
    char buffer[64];
    return reader.ExtractToMemory(0, buffer, sizeof buffer);
}

} // namespace

TEST(HostileZip, EntriesThatLieFail) {
    const RawEntry stored{.name = "a", .data = "abc"};
    const RawEntry deflated{.name = "a", .data = DeflatedAbc(), .method = 8, .crc = Crc32("abc"), .size = 3};
    const auto with = [](RawEntry entry, auto change) {
        change(entry);
        return RawArchive{.entries = {entry}}.Bytes();
    };
    EXPECT_EQ(OrvaZipSuccess, Outcome(with(stored, [](RawEntry&) {})));
    EXPECT_EQ(OrvaZipSuccess, Outcome(with(deflated, [](RawEntry&) {})));
    EXPECT_EQ(OrvaZipSuccess,
              Outcome(with({.name = "a", .data = "", .method = 8}, [](RawEntry&) {}))); // seen elsewhere

    const struct {
        const char* what;
        std::string bytes;
    } cases[] = {
        {"checksum", with(stored, [](RawEntry& e) { e.crc = 1; })},
        {"checksum of deflated data", with(deflated, [](RawEntry& e) { e.crc = 1; })},
        {"stored size too large", with(stored, [](RawEntry& e) { e.size = 4; })},
        {"stored size too small", with(stored, [](RawEntry& e) { e.size = 2; })},
        {"size too large", with(deflated, [](RawEntry& e) { e.size = 4; })},
        {"size too small", with(deflated, [](RawEntry& e) { e.size = 2, e.crc = Crc32("ab"); })},
        {"size of nothing", with(deflated, [](RawEntry& e) { e.size = 0, e.crc = 0; })},
        {"4 GiB", with(deflated, [](RawEntry& e) { e.size = 0xFFFFFFFE; })},
        {"4 GiB in the archive", with(stored, [](RawEntry& e) { e.size = 0xFFFFFFFE, e.compressedSize = 0xFFFFFFFE; })},
        {"compressed size too small", with(deflated, [](RawEntry& e) { e.compressedSize = 4; })},
        {"compressed size too large", with(deflated, [](RawEntry& e) { e.data += "x"; })},
        {"compressed size into the directory", with(deflated, [](RawEntry& e) { e.compressedSize = 6; })},
        {"64-bit size that is not there", with(stored, [](RawEntry& e) { e.size = 0xFFFFFFFF; })},
        {"64-bit size near the end of all numbers", with(deflated,
                                                         [](RawEntry& e) {
                                                             e.compressedSize = 0xFFFFFFFF;
                                                             e.extra = Extra(1, std::string(8, '\xFF'));
                                                         })},
        {"offset behind the end", with(stored, [](RawEntry& e) { e.offset = 0x7FFFFFFF; })},
        {"offset of no header", with(stored, [](RawEntry& e) { e.offset = 1; })},
        {"another name", with(stored, [](RawEntry& e) { e.localName = "b"; })},
        {"a longer name", with(stored, [](RawEntry& e) { e.localName = "ab"; })},
        {"encrypted in one place", with(stored, [](RawEntry& e) { e.localFlags = std::uint16_t{1}; })},
        {"BZip2", with(stored, [](RawEntry& e) { e.method = 12; })},
        {"AES", with(stored, [](RawEntry& e) { e.method = 99; })},
        {"no method", with(stored, [](RawEntry& e) { e.method = 0xFFFF; })},
        {"patch data", with(stored, [](RawEntry& e) { e.flags = 0x20; })},
        {"strong encryption", with(stored, [](RawEntry& e) { e.flags = 0x41; })},
        {"masked headers", with(stored, [](RawEntry& e) { e.flags = 0x2000; })},
        {"no end of the stream", with(deflated,
                                      [](RawEntry& e) {
                                          e.data = std::string("\x00\x03\x00\xFC\xFF", 5) +
                                                   "abc"; // a block that is not the last one
                                      })},
        {"no deflate at all", with(deflated, [](RawEntry& e) { e.data = "\xFF\xFF\xFF\xFF\xFF"; })},
    };
    for (const auto& test : cases)
        EXPECT_EQ(OrvaZipCorrupt, Outcome(test.bytes)) << test.what;
    // An encrypted entry is not even long enough for its header.
    EXPECT_EQ(OrvaZipBadArguments, Outcome(with(stored, [](RawEntry& e) { e.flags = 1; })));
    const std::string shortOne = with(stored, [](RawEntry& e) { e.flags = 1; });
    OrvaZipReader reader;
    ASSERT_EQ(OrvaZipSuccess, reader.OpenMemory(shortOne.data(), shortOne.size(), L"password"));
    EXPECT_EQ(OrvaZipCorrupt, reader.OpenEntry(0));
}

TEST(HostileZip, DirectoriesThatLieFail) {
    const std::string good = RawArchive{.entries = {{"a", "abc"}, {"b", "def"}}}.Bytes();
    const std::size_t end = good.size() - 22;
    EXPECT_EQ(OrvaZipSuccess, Outcome(good));
    const struct {
        const char* what;
        std::size_t at;
        std::uint32_t value;
        bool isWide;
    } cases[] = {
        {"this disk", 4, 1, false},           {"the directory's disk", 6, 1, false},
        {"the count here", 8, 1, false},      {"the count", 10, 1, false},
        {"a smaller size", 12, 40, true},     {"a larger size", 12, 1000, true},
        {"4 GiB", 12, 0xFFFFFFFF, true},      {"an offset behind the end", 16, 0xFFFFFF00, true},
        {"an offset too small", 16, 0, true},
    };
    for (const auto& test : cases) {
        std::string bytes = good;
        test.isWide ? Set32(bytes, end + test.at, test.value)
                    : Set16(bytes, end + test.at, static_cast<std::uint16_t>(test.value));
        EXPECT_EQ(OrvaZipCorrupt, Outcome(bytes)) << test.what;
    }
    // Both counts agree with each other, and with nothing else.
    for (const std::uint16_t count : {std::uint16_t{1}, std::uint16_t{3}, std::uint16_t{65534}, std::uint16_t{65535}}) {
        std::string bytes = good;
        Set16(bytes, end + 8, count);
        Set16(bytes, end + 10, count);
        EXPECT_EQ(OrvaZipCorrupt, Outcome(bytes)) << count;
    }
    // 64-bit records with counts and offsets that no archive can hold.
    for (const std::uint64_t value : {std::uint64_t{3}, std::uint64_t{1} << 33, UINT64_MAX}) {
        for (const std::size_t field : {24u, 40u, 48u}) {
            std::string records;
            Put(records, std::uint32_t{0x06064B50});
            Put(records, std::uint64_t{44});
            for (const std::uint32_t word : {0x002D002Du, 0u, 0u})
                Put(records, word);
            for (const std::uint64_t wide :
                 {std::uint64_t{2}, std::uint64_t{2}, std::uint64_t{2 * 47}, std::uint64_t{end - 2 * 47}})
                Put(records, wide);
            const auto place = static_cast<std::uint64_t>(end);
            std::memcpy(records.data() + field, &value, 8);
            if (field == 24) std::memcpy(records.data() + 32, &value, 8);
            Put(records, std::uint32_t{0x07064B50});
            Put(records, std::uint32_t{0});
            Put(records, place);
            Put(records, std::uint32_t{1});
            std::string bytes = good.substr(0, end) + records + good.substr(end);
            EXPECT_EQ(OrvaZipCorrupt, Outcome(bytes)) << field << " " << value;
        }
    }
}

TEST(HostileZip, NoTwoEntriesShareBytes) {
    // The second entry's local header stands in the first one's data.
    const std::string inner = RawArchive{.entries = {{"b", "bomb"}}}.Bytes().substr(0, 30 + 1 + 4);
    RawArchive archive{.entries = {{"a", inner}, {"b", "bomb"}}};
    archive.entries[1].offset = 30 + 1;
    const std::string bytes = archive.Bytes();
    OrvaZipReader reader;
    char buffer[64];
    for (const bool outerFirst : {true, false}) {
        ASSERT_EQ(OrvaZipSuccess, reader.OpenMemory(bytes.data(), bytes.size()));
        EXPECT_EQ(OrvaZipSuccess, reader.ExtractToMemory(outerFirst ? 0 : 1, buffer, sizeof buffer));
        EXPECT_EQ(OrvaZipCorrupt, reader.ExtractToMemory(outerFirst ? 1 : 0, buffer, sizeof buffer));
        EXPECT_EQ(OrvaZipSuccess, reader.ExtractToMemory(outerFirst ? 0 : 1, buffer, sizeof buffer)) << "again";
    }
    // One local header for two entries.
    archive = {.entries = {{"a", "abc"}, {"a", "abc"}}};
    archive.entries[1].offset = 0;
    const std::string twice = archive.Bytes();
    ASSERT_EQ(OrvaZipSuccess, reader.OpenMemory(twice.data(), twice.size()));
    EXPECT_EQ(OrvaZipSuccess, reader.ExtractToMemory(0, buffer, sizeof buffer));
    EXPECT_EQ(OrvaZipCorrupt, reader.ExtractToMemory(1, buffer, sizeof buffer));
}

TEST(HostileZip, NamesStayBelowTheFolder) {
    const std::string names[] = {
        "../a",
        "..\\a",
        "a/../../b",
        "a/..",
        "..",
        ". ./a",
        ".. /a",
        "/a",
        "\\a",
        "//server/share/a",
        "\\\\?\\C:\\a",
        "C:/a",
        "C:a",
        "a:stream",
        "dir/a:stream:$DATA",
        "con",
        "CON.txt",
        "NUL .txt",
        "aux.",
        "prn/a",
        "com1",
        "COM9.log",
        "lpt0",
        "com\xC2\xB9",
        "CONIN$",
        "conout$",
        "clock$",
        "a.",
        "a ",
        "dir./a",
        "dir /a",
        "a*",
        "a?",
        "a<b",
        "a>b",
        "a|b",
        "a\"b",
        "a\tb",
        "a\x01",
        "",
        ".",
        "./",
        "./.",
        "/",
        "...",
        " ",
        std::string("a\0b", 3),
        std::string("good\0../x", 9),
    };
    const TempFolder folder;
    folder.MakeFolder(L"out");
    for (const std::string& name : names) {
        for (const bool isDirectory : {false, true}) {
            const std::string stored = isDirectory ? name + "/" : name;
            const std::string bytes =
                RawArchive{.entries = {{.name = stored, .data = "evil", .flags = 0x0800}}}.Bytes();
            OrvaZipReader reader;
            ASSERT_EQ(OrvaZipSuccess, reader.OpenMemory(bytes.data(), bytes.size())) << name;
            bool written = true;
            EXPECT_EQ(OrvaZipBadArguments, reader.ExtractBelow(0, (folder / L"out").c_str(), nullptr, &written))
                << name;
            EXPECT_FALSE(written) << name;
        }
    }
    EXPECT_TRUE(::RemoveDirectoryW((folder / L"out").c_str())) << "something was written";

    const struct {
        const char* name;
        const wchar_t* path;
    } harmless[] = {
        {"./a", L"a"},           {"b//c", L"b\\c"},         {"d/./e", L"d\\e"},  {"f\\g/h", L"f\\g\\h"},
        {"console", L"console"}, {"com", L"com"},           {"com10", L"com10"}, {"nulls.txt", L"nulls.txt"},
        {"..i", L"..i"},         {".profile", L".profile"}, {"a.b.c", L"a.b.c"}, {"lpt", L"lpt"},
    };
    for (const auto& test : harmless) {
        const std::string bytes = RawArchive{.entries = {{test.name, "fine"}}}.Bytes();
        OrvaZipReader reader;
        ASSERT_EQ(OrvaZipSuccess, reader.OpenMemory(bytes.data(), bytes.size()));
        EXPECT_EQ(OrvaZipSuccess, reader.ExtractBelow(0, folder.Path().c_str())) << test.name;
        EXPECT_EQ("fine", ReadFile(folder / test.path)) << test.name;
    }
}

TEST(HostileZip, OverlongNamesFailCleanly) {
    const TempFolder folder;
    const std::string names[] = {std::string(256, 'a'), std::string(65535, 'a'), [] {
                                     std::string path;
                                     for (int part = 0; part < 20000; ++part)
                                         path += "a/";
                                     return path + "x";
                                 }()};
    for (const std::string& name : names) {
        const std::string bytes = RawArchive{.entries = {{name, "x"}}}.Bytes();
        OrvaZipReader reader;
        bool written = true;
        ASSERT_EQ(OrvaZipSuccess, reader.OpenMemory(bytes.data(), bytes.size())) << name.size();
        EXPECT_EQ(OrvaZipNoFile, reader.ExtractBelow(0, folder.Path().c_str(), nullptr, &written)) << name.size();
        EXPECT_FALSE(written);
    }
    EXPECT_TRUE(::RemoveDirectoryW(folder.Path().c_str())) << "folders were left behind";
}
