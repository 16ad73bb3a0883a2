/// @file
/// Archives made by hand: field by field, so that every field can lie.
#ifndef TARNU_TESTS_ARCHIVE_RAWARCHIVE_H
#define TARNU_TESTS_ARCHIVE_RAWARCHIVE_H

#include <cstdint>
#include <cstring>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tarnu::test {

/// Bit by bit, from the definition; independent of what the library calls.
inline std::uint32_t Crc32(std::string_view bytes) {
    std::uint32_t crc = 0xFFFFFFFF;
    for (const char byte : bytes) {
        crc ^= static_cast<unsigned char>(byte);
        for (int bit = 0; bit < 8; ++bit)
            crc = (crc >> 1) ^ ((crc & 1) != 0 ? 0xEDB88320 : 0);
    }
    return ~crc;
}

template <class T>
void Put(std::string& bytes, T value) {
    bytes.append(reinterpret_cast<const char*>(&value), sizeof value);
}
template <class T>
T Get(std::string_view bytes, std::size_t at) {
    T value{};
    if (at + sizeof value <= bytes.size()) std::memcpy(&value, bytes.data() + at, sizeof value);
    return value;
}
inline void Set16(std::string& bytes, std::size_t at, std::uint16_t value) {
    std::memcpy(bytes.data() + at, &value, sizeof value);
}
inline void Set32(std::string& bytes, std::size_t at, std::uint32_t value) {
    std::memcpy(bytes.data() + at, &value, sizeof value);
}

/// One extra field.
inline std::string Extra(std::uint16_t id, std::string_view data) {
    std::string field;
    Put(field, id);
    Put(field, static_cast<std::uint16_t>(data.size()));
    field += data;
    return field;
}

/// An entry whose fields say the truth unless they are set.
struct RawEntry {
    std::string name;
    std::string data; ///< as it stands in the archive
    std::uint16_t method = 0;
    std::uint16_t flags = 0;
    std::uint32_t attributes = 0;
    std::uint16_t time = 0x6000; // 12:00:00
    std::uint16_t date = 0x5821; // 2024-01-01
    std::optional<std::uint32_t> crc{};
    std::optional<std::uint32_t> size{};
    std::optional<std::uint32_t> compressedSize{};
    std::optional<std::uint32_t> offset{};
    std::string extra{};
    std::string localExtra{};
    std::optional<std::string> localName{};
    std::optional<std::uint16_t> localFlags{};
    bool hasDescriptor = false; ///< the local header's sizes are 0 and follow the data
    bool isWideDescriptor = false;
    std::string comment{};
};

struct RawArchive {
    std::string prefix{};
    std::vector<RawEntry> entries;
    std::string comment{};
    bool isZip64 = false; ///< the 64-bit end records, to which the old one refers

    std::string Bytes() const {
        std::string bytes;
        std::string directory;
        for (const RawEntry& entry : entries) {
            const auto offset = static_cast<std::uint32_t>(bytes.size());
            const auto stored = static_cast<std::uint32_t>(entry.data.size());
            const std::uint32_t crc = entry.crc.value_or(Crc32(entry.data));
            const std::uint32_t size = entry.size.value_or(stored);
            const std::uint32_t compressed = entry.compressedSize.value_or(stored);
            const auto flags = static_cast<std::uint16_t>(entry.flags | (entry.hasDescriptor ? 8 : 0));
            const std::string& localName = entry.localName ? *entry.localName : entry.name;

            Put(bytes, std::uint32_t{0x04034B50});
            Put(bytes, std::uint16_t{20});
            Put(bytes, entry.localFlags.value_or(flags));
            Put(bytes, entry.method);
            Put(bytes, entry.time);
            Put(bytes, entry.date);
            for (const std::uint32_t value : {crc, compressed, size})
                Put(bytes, entry.hasDescriptor ? 0 : value);
            Put(bytes, static_cast<std::uint16_t>(localName.size()));
            Put(bytes, static_cast<std::uint16_t>(entry.localExtra.size()));
            bytes += localName + entry.localExtra + entry.data;
            if (entry.hasDescriptor) {
                for (const std::uint32_t value : {std::uint32_t{0x08074B50}, crc})
                    Put(bytes, value);
                for (const std::uint32_t value : {compressed, size}) {
                    entry.isWideDescriptor ? Put(bytes, std::uint64_t{value}) : Put(bytes, value);
                }
            }

            Put(directory, std::uint32_t{0x02014B50});
            Put(directory, std::uint16_t{20});
            Put(directory, std::uint16_t{20});
            Put(directory, flags);
            Put(directory, entry.method);
            Put(directory, entry.time);
            Put(directory, entry.date);
            for (const std::uint32_t value : {crc, compressed, size})
                Put(directory, value);
            Put(directory, static_cast<std::uint16_t>(entry.name.size()));
            Put(directory, static_cast<std::uint16_t>(entry.extra.size()));
            Put(directory, static_cast<std::uint16_t>(entry.comment.size()));
            for (int field = 0; field < 2; ++field)
                Put(directory, std::uint16_t{0});
            Put(directory, entry.attributes);
            Put(directory, entry.offset.value_or(offset));
            directory += entry.name + entry.extra + entry.comment;
        }
        const auto start = static_cast<std::uint32_t>(bytes.size());
        const auto size = static_cast<std::uint32_t>(directory.size());
        const auto count = static_cast<std::uint16_t>(isZip64 ? 0xFFFF : entries.size());
        bytes += directory;
        if (isZip64) {
            const std::uint64_t records = bytes.size();
            Put(bytes, std::uint32_t{0x06064B50});
            Put(bytes, std::uint64_t{44});
            for (const std::uint32_t value : {0x002D002Du, 0u, 0u})
                Put(bytes, value);
            for (const std::uint64_t value : {std::uint64_t{entries.size()}, std::uint64_t{entries.size()},
                                              std::uint64_t{size}, std::uint64_t{start}})
                Put(bytes, value);
            Put(bytes, std::uint32_t{0x07064B50});
            Put(bytes, std::uint32_t{0});
            Put(bytes, records);
            Put(bytes, std::uint32_t{1});
        }
        Put(bytes, std::uint32_t{0x06054B50});
        for (const std::uint16_t value : {std::uint16_t{0}, std::uint16_t{0}, count, count})
            Put(bytes, value);
        Put(bytes, isZip64 ? UINT32_MAX : size);
        Put(bytes, isZip64 ? UINT32_MAX : start);
        Put(bytes, static_cast<std::uint16_t>(comment.size()));
        return prefix + bytes + comment;
    }
};

/// Reproducible bytes that don't compress.
inline std::string Noise(std::size_t size, std::uint32_t seed = 1) {
    std::string bytes(size, '\0');
    for (char& byte : bytes) {
        seed = seed * 1664525 + 1013904223;
        byte = static_cast<char>(seed >> 24);
    }
    return bytes;
}

} // namespace tarnu::test

#endif // TARNU_TESTS_ARCHIVE_RAWARCHIVE_H
