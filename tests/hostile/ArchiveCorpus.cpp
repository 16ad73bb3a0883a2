#include "hostile/ArchiveCorpus.h"

#include "archive/RawArchive.h"
#include "tarnu/archive/OrvaZipWriter.h"

#include <gtest/gtest.h>

namespace tarnu::test::hostile {
namespace {

constexpr std::uint16_t isEncrypted = 1;
constexpr std::uint16_t isUtf8 = 0x0800;
constexpr std::uint16_t deflate = 8;

std::string Text(std::size_t size) {
    std::string text;
    while (text.size() < size)
        text += "station " + std::to_string(text.size() * 7919 % 1000) + " level 12.5\r\n";
    text.resize(size);
    return text;
}

/// The compressed form of some data, cut out of an archive that the library wrote.
std::string Deflated(const std::string& data) {
    OrvaZipWriter writer;
    const void* archive = nullptr;
    std::size_t size = 0;
    EXPECT_EQ(OrvaZipSuccess, writer.CreateInMemory());
    EXPECT_EQ(OrvaZipSuccess, writer.AddMemory(L"a", data.data(), data.size()));
    EXPECT_EQ(OrvaZipSuccess, writer.GetMemory(archive, size));
    const std::string_view bytes(static_cast<const char*>(archive), size);
    const std::size_t end = bytes.size() - 22;
    const std::size_t directory = Get<std::uint32_t>(bytes, end + 16);
    const std::size_t begin = 30u + Get<std::uint16_t>(bytes, 26) + Get<std::uint16_t>(bytes, 28);
    EXPECT_EQ(deflate, Get<std::uint16_t>(bytes, 8));
    return std::string(bytes.substr(begin, Get<std::uint32_t>(bytes, directory + 20)));
}

/// The traditional encryption, from its definition.
std::string Enciphered(const std::string& plain, std::string_view password, std::uint8_t check) {
    std::uint32_t keys[] = {0x12345678, 0x23456789, 0x34567890};
    const auto crc = [](std::uint32_t value, std::uint8_t byte) {
        value ^= byte;
        for (int bit = 0; bit < 8; ++bit)
            value = (value >> 1) ^ ((value & 1) != 0 ? 0xEDB88320 : 0);
        return value;
    };
    const auto update = [&](char byte) {
        keys[0] = crc(keys[0], static_cast<std::uint8_t>(byte));
        keys[1] = (keys[1] + (keys[0] & 0xFF)) * 134775813 + 1;
        keys[2] = crc(keys[2], static_cast<std::uint8_t>(keys[1] >> 24));
    };
    for (const char byte : password)
        update(byte);
    std::string bytes = Noise(11) + static_cast<char>(check) + plain;
    for (char& byte : bytes) {
        const std::uint32_t seed = (keys[2] | 2) & 0xFFFF;
        const auto key = static_cast<std::uint8_t>(seed * (seed ^ 1) >> 8);
        const char open = byte;
        byte = static_cast<char>(static_cast<std::uint8_t>(byte) ^ key);
        update(open);
    }
    return bytes;
}

RawEntry Stored(const std::string& name, const std::string& data, std::uint16_t flags = 0) {
    return {.name = name, .data = data, .flags = flags};
}

RawEntry Compressed(const std::string& name, const std::string& data) {
    return {.name = name,
            .data = Deflated(data),
            .method = deflate,
            .crc = Crc32(data),
            .size = static_cast<std::uint32_t>(data.size())};
}

RawEntry Secret(const std::string& name, const std::string& data, bool isDeflated) {
    RawEntry entry = isDeflated ? Compressed(name, data) : Stored(name, data);
    const std::uint32_t crc = Crc32(data);
    entry.data = Enciphered(entry.data, "pass", static_cast<std::uint8_t>(crc >> 24));
    entry.flags = isEncrypted;
    entry.crc = crc;
    entry.size = static_cast<std::uint32_t>(data.size());
    return entry;
}

/// Sizes and the offset stand in the 64-bit extra field.
RawEntry Wide(const std::string& name, const std::string& data, std::uint64_t offset) {
    std::string sizes;
    Put(sizes, std::uint64_t{data.size()});
    Put(sizes, std::uint64_t{data.size()});
    std::string all = sizes;
    Put(all, offset);
    RawEntry entry = Stored(name, data);
    entry.crc = Crc32(data);
    entry.size = entry.compressedSize = entry.offset = UINT32_MAX;
    entry.extra = Extra(1, all);
    entry.localExtra = Extra(1, sizes);
    return entry;
}

std::string UnicodePath(const std::string& oem, const std::string& utf8) {
    std::string data(1, '\x01');
    Put(data, Crc32(oem));
    return Extra(0x7075, data + utf8);
}

std::string NtfsTimes() {
    std::string data(4, '\0');
    Put(data, std::uint16_t{1});
    Put(data, std::uint16_t{24});
    for (const std::uint64_t time : {133500000000000000u, 133500000010000000u, 133500000020000000u})
        Put(data, time);
    return Extra(0x000A, data);
}

RawArchive Overlapping() {
    // The second entry's local header stands in the first one's data, the third one shares the first one's.
    const std::string bomb = Text(1000);
    const std::string inner = RawArchive{.entries = {Stored("b", bomb)}}.Bytes().substr(0, 30 + 1 + bomb.size());
    RawArchive archive{.entries = {Stored("a", inner), Stored("b", ""), Stored("a", "")}};
    for (RawEntry& entry : archive.entries) {
        const std::string& data = entry.name == "a" ? inner : bomb;
        entry.crc = Crc32(data);
        entry.size = entry.compressedSize = static_cast<std::uint32_t>(data.size());
    }
    archive.entries[1].offset = 30 + 1;
    archive.entries[2].offset = 0;
    return archive;
}

RawArchive Giants() {
    RawEntry stored = Stored("stored", Text(300));
    stored.size = stored.compressedSize = 0xFFFFFFFE;
    RawEntry deflated = Compressed("deflated", Text(2000));
    deflated.size = 0xFFFFFFFE;
    RawEntry wide = Wide("wide", "abc", 0);
    std::string sizes;
    Put(sizes, std::uint64_t{1} << 40);
    Put(sizes, std::uint64_t{1} << 33);
    wide.extra = Extra(1, sizes);
    wide.offset = std::nullopt;
    return {.entries = {stored, deflated, wide}};
}

RawArchive Names(std::initializer_list<std::string> names) {
    RawArchive archive;
    for (const std::string& name : names)
        archive.entries.push_back(Stored(name, name.ends_with('/') ? "" : "evil", isUtf8));
    return archive;
}

std::string ManyComponents(int count) {
    std::string name;
    while (--count > 0)
        name += "a/";
    return name + "deep";
}

RawArchive ManyEntries() {
    RawArchive archive;
    for (int number = 0; number < 100; ++number)
        archive.entries.push_back(Stored("list/" + std::to_string(number), std::to_string(number * number)));
    return archive;
}

// Where the fields of a good archive stand

class Surveyor {
public:
    explicit Surveyor(Specimen& specimen) : m_specimen(specimen), m_bytes(specimen.bytes) {}

    void Survey() {
        const std::size_t end = m_bytes.rfind("PK\5\6");
        ASSERT_NE(std::string::npos, end) << m_specimen.what;
        Add(end, {{4, 2, FieldKind::Other},
                  {6, 2, FieldKind::Other},
                  {8, 2, FieldKind::Count},
                  {10, 2, FieldKind::Count},
                  {12, 4, FieldKind::Size},
                  {16, 4, FieldKind::Offset},
                  {20, 2, FieldKind::Length}});
        if (const std::size_t wide = m_bytes.rfind("PK\6\6", end); wide != std::string::npos) {
            Add(wide, {{4, 8, FieldKind::Size},
                       {24, 8, FieldKind::Count},
                       {32, 8, FieldKind::Count},
                       {40, 8, FieldKind::Size},
                       {48, 8, FieldKind::Offset}});
            Add(wide + 56, {{4, 4, FieldKind::Other}, {8, 8, FieldKind::Offset}, {16, 4, FieldKind::Other}});
        }
        for (std::size_t at = m_bytes.find("PK\1\2"); at < end && at != std::string::npos;) {
            at = SurveyEntry(at);
            if (m_bytes.compare(at, 4, "PK\1\2") != 0) break;
        }
    }

private:
    std::size_t SurveyEntry(std::size_t at) {
        const std::size_t nameSize = Get<std::uint16_t>(m_bytes, at + 28);
        const std::size_t extraSize = Get<std::uint16_t>(m_bytes, at + 30);
        const std::size_t commentSize = Get<std::uint16_t>(m_bytes, at + 32);
        std::size_t local = m_bytes.find("PK\3\4");
        if (const std::size_t offset = Get<std::uint32_t>(m_bytes, at + 42); offset < at) local += offset;
        const auto add = [&](std::size_t offset, std::size_t width, FieldKind kind, std::size_t inLocal) {
            m_specimen.fields.push_back({at + offset, width, kind, inLocal == 0 ? Field::noTwin : local + inLocal});
        };
        add(6, 2, FieldKind::Other, 4);
        add(8, 2, FieldKind::Flags, 6);
        add(10, 2, FieldKind::Method, 8);
        add(12, 4, FieldKind::Other, 10);
        add(16, 4, FieldKind::Checksum, 14);
        add(20, 4, FieldKind::Size, 18);
        add(24, 4, FieldKind::Size, 22);
        add(28, 2, FieldKind::Length, 26);
        add(30, 2, FieldKind::Length, 28);
        add(32, 2, FieldKind::Length, 0);
        add(34, 2, FieldKind::Other, 0);
        add(38, 4, FieldKind::Other, 0);
        add(42, 4, FieldKind::Offset, 0);
        m_specimen.names.push_back({at + 46, local + 30, nameSize});
        SurveyExtra(at + 46 + nameSize, extraSize);
        SurveyExtra(local + 30 + nameSize, Get<std::uint16_t>(m_bytes, local + 28));
        return at + 46 + nameSize + extraSize + commentSize;
    }
    void SurveyExtra(std::size_t at, std::size_t size) {
        for (const std::size_t end = at + size; at + 4 <= end;) {
            Add(at, {{0, 2, FieldKind::Other}, {2, 2, FieldKind::Length}});
            const std::size_t length = Get<std::uint16_t>(m_bytes, at + 2);
            for (std::size_t value = 4; value + 8 <= 4 + length; value += 8)
                Add(at, {{value, 8, FieldKind::Size}});
            at += 4 + length;
        }
    }
    void Add(std::size_t at, std::initializer_list<Field> fields) {
        for (Field field : fields) {
            field.at += at;
            m_specimen.fields.push_back(field);
        }
    }

    Specimen& m_specimen;
    const std::string& m_bytes;
};

} // namespace

std::vector<Specimen> ArchiveCorpus(const std::string& outside, int components) {
    const std::string text = Text(3000);
    std::vector<Specimen> corpus;
    const auto add = [&corpus](const char* what, const RawArchive& archive, const wchar_t* password = nullptr) {
        Specimen& specimen = corpus.emplace_back(Specimen{what, archive.Bytes(), password});
        Surveyor(specimen).Survey();
    };
    add("stored", {.entries = {Stored("a.txt", text.substr(0, 500)), Stored("b/", ""), Stored("b/c.bin", Noise(700))}});
    add("deflated", {.entries = {Compressed("a.txt", text), Compressed("zeros", std::string(20'000, '\0')),
                                 Compressed("noise", Noise(900)), Stored("empty", "")}});
    add("encrypted", {.entries = {Secret("stored", "secret text", false), Secret("deflated", text, true)}}, L"pass");
    add("encrypted, another password", {.entries = {Secret("stored", "secret text", false)}}, L"word");
    add("encrypted, no password", {.entries = {Secret("stored", "secret text", false), Stored("open", "text")}});
    add("zip64", {.entries = {Wide("first", "abc", 0), Compressed("second", text)}, .isZip64 = true});
    RawEntry described = Compressed("described", text);
    described.hasDescriptor = true;
    RawEntry wideDescribed = Compressed("wide", text);
    wideDescribed.hasDescriptor = wideDescribed.isWideDescriptor = true;
    add("descriptors", {.entries = {described, wideDescribed, Stored("behind", "abc")}});
    RawEntry remarked = Stored("remarked", "abc");
    remarked.comment = std::string(300, 'c');
    add("comments", {.prefix = "MZ program", .entries = {remarked}, .comment = "remark " + std::string(80, 'x')});
    RawEntry extra = Stored("extra", "abc");
    extra.extra = NtfsTimes() + Extra(0x5455, std::string("\x01\x00\x10\x20\x30", 5)) + Extra(0xCAFE, Noise(40));
    extra.localExtra = Extra(0x5455, std::string("\x01\x00\x10\x20\x30", 5)) + Extra(0xCAFE, Noise(20));
    add("extra fields", {.entries = {extra}});
    RawEntry oem = Stored("gr\x81n.txt", "abc");
    oem.extra = oem.localExtra = UnicodePath(oem.name, "gr\xC3\xBCn.txt");
    add("names", {.entries = {Stored("gr\xC3\xBC\xC3\x9F"
                                     "e/\xF0\x9F\x98\x80.txt",
                                     "abc", isUtf8),
                              oem, Stored("\x80\xFF", "x"), Stored("bad\xC3(\xED\xA0\x80", "x", isUtf8)}});
    add("overlapping", Overlapping());
    add("giants", Giants());
    add("upwards", Names({"../evil", "a/../../evil", "..\\..\\evil", "a/b/..", "../../../../../../evil", ".. /evil"}));
    add("absolute", Names({outside + "/evil", "/evil", "\\evil", "C:/evil", "C:evil", "\\\\?\\" + outside + "\\evil",
                           "//localhost/evil", "\\\\.\\C:\\evil", "\\??\\C:\\evil"}));
    add("devices", Names({"con", "NUL.txt", "a/aux", "com1.log", "LPT9", "CONOUT$", "PhysicalDrive0", "a/prn /b"}));
    add("streams", Names({"a:evil", "a.txt::$DATA", "b/:evil", "C:a:evil", "a:$I30:$INDEX_ALLOCATION"}));
    add("oddities", Names({"a.", "a ", "a./b", "...", "a*b", "a?b", "a|b", std::string("a\0b", 3), "dir/", "dir",
                           "dir/", "file", "file/below", "AA", "aa"}));
    add("many components", Names({ManyComponents(components), "x/"}));
    add("many entries", ManyEntries());
    add("none", {});
    return corpus;
}

} // namespace tarnu::test::hostile
