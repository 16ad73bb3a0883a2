/// @file
/// The archive format: signatures, flags, little-endian fields, names, time stamps and the traditional encryption.
#ifndef TARNU_ARCHIVE_ZIPFORMATINTERNAL_H
#define TARNU_ARCHIVE_ZIPFORMATINTERNAL_H

#include "tarnu/framework/framework.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

namespace tarnu::support {

// Records

inline constexpr std::uint32_t localSignature = 0x04034B50;
inline constexpr std::uint32_t descriptorSignature = 0x08074B50;
inline constexpr std::uint32_t centralSignature = 0x02014B50;
inline constexpr std::uint32_t endSignature = 0x06054B50;
inline constexpr std::uint32_t end64Signature = 0x06064B50;
inline constexpr std::uint32_t locator64Signature = 0x07064B50;

inline constexpr std::size_t localSize = 30;   ///< without name and extra fields
inline constexpr std::size_t centralSize = 46; ///< without name, extra fields and comment
inline constexpr std::size_t endSize = 22;     ///< without comment

inline constexpr std::uint32_t sizeIn64 = 0xFFFFFFFF; ///< a size or offset that stands in the zip64 extra field
inline constexpr std::uint16_t countIn64 = 0xFFFF;    ///< a count that stands in the zip64 end record

// General purpose flags

inline constexpr std::uint16_t flagEncrypted = 0x0001;
inline constexpr std::uint16_t flagDescriptor = 0x0008;
inline constexpr std::uint16_t flagPatch = 0x0020;
inline constexpr std::uint16_t flagStrongEncryption = 0x0040;
inline constexpr std::uint16_t flagUtf8 = 0x0800;
inline constexpr std::uint16_t flagMaskedHeaders = 0x2000;

// Methods

inline constexpr std::uint16_t methodStored = 0;
inline constexpr std::uint16_t methodDeflate = 8;

// Extra fields

inline constexpr std::uint16_t extraZip64 = 0x0001;
inline constexpr std::uint16_t extraNtfs = 0x000A;
inline constexpr std::uint16_t extraUnixTime = 0x5455;
inline constexpr std::uint16_t extraUnicodePath = 0x7075;

// Fields are little-endian and unaligned; so is the only machine that this library runs on.

template <class T>
T ReadField(const void* at) noexcept {
    T value;
    std::memcpy(&value, at, sizeof value);
    return value;
}

/// Writes the fields of one record into a fixed buffer, in order.
template <std::size_t Capacity>
class RecordBuilder {
public:
    template <class T>
    RecordBuilder& Add(T value) noexcept {
        static_assert(std::is_unsigned_v<T>, "fields are unsigned; name the width");
        std::memcpy(m_bytes + m_size, &value, sizeof value);
        m_size += sizeof value;
        return *this;
    }
    const std::uint8_t* Data() const noexcept { return m_bytes; }
    std::size_t Size() const noexcept { return m_size; }

private:
    std::uint8_t m_bytes[Capacity];
    std::size_t m_size = 0;
};

/// Calls @p visit(id, data, size) for every complete extra field.
template <class Visit>
void ForEachExtra(const std::uint8_t* extra, std::size_t size, Visit visit) {
    for (std::size_t at = 0; size - at >= 4;) {
        const auto id = ReadField<std::uint16_t>(extra + at);
        const std::size_t length = ReadField<std::uint16_t>(extra + at + 2);
        at += 4;
        if (length > size - at) return;
        visit(id, extra + at, length);
        at += length;
    }
}

// Names

/// A name as it is stored: UTF-8, forward slashes, no drive, no leading "./" or "/"; a directory ends in "/". Lone
/// surrogates become U+FFFD.
std::string StoredName(std::wstring_view name, bool isDirectory);
bool IsAscii(std::string_view text) noexcept;
/// The name of an entry from its bytes: UTF-8 when flagged, else the Unicode path field when it belongs to these bytes,
/// else the OEM code page.
CString DecodeName(std::string_view bytes, std::uint16_t flags, const std::uint8_t* extra, std::size_t extraSize);
/// The compression method for an entry of that name.
std::uint16_t MethodFor(std::wstring_view name, bool isDirectory) noexcept;

// Time stamps

struct DosStamp {
    std::uint16_t date;
    std::uint16_t time;
};
/// Makes time stamps. The system is asked for the local time once for a minute; clocks are put forward or back at whole
/// minutes, and time zones differ by whole minutes.
class LocalClock {
public:
    /// Local time with a resolution of two seconds, clipped to the years 1980 to 2107.
    DosStamp Stamp(const FILETIME& utc) noexcept;

private:
    std::uint64_t m_minute = UINT64_MAX; ///< since 1601, UTC, that the following are for
    DosStamp m_start{};                  ///< of the minute, seconds left out; or the format's first or last time
    bool m_isInside = false;             ///< the minute lies within the format's years
};
/// Zero for a stamp that is no time.
FILETIME FromDosStamp(DosStamp stamp) noexcept;

/// The traditional encryption: a key stream that depends on the password and on all bytes so far.
class ZipCipher {
public:
    static constexpr std::size_t headerSize = 12;

    explicit ZipCipher(std::string_view password) noexcept;

    void Encrypt(std::uint8_t* bytes, std::size_t count) noexcept;
    void Decrypt(std::uint8_t* bytes, std::size_t count) noexcept;
    /// Fills an entry's header with random bytes and the check byte, enciphered with the keys as they are.
    void MakeHeader(std::uint8_t (&header)[headerSize], std::uint8_t check) noexcept;

private:
    std::uint8_t KeyByte() const noexcept {
        const std::uint32_t seed = (m_keys[2] & 0xFFFF) | 2;
        return static_cast<std::uint8_t>((seed * (seed ^ 1)) >> 8);
    }
    void Update(std::uint8_t plain) noexcept;

    std::uint32_t m_keys[3] = {0x12345678, 0x23456789, 0x34567890};
};

/// The byte forms in which a password may have been given to the program that wrote an archive, the likeliest first:
/// UTF-8 (what this library writes), the OEM and the ANSI code page.
std::vector<std::string> PasswordForms(const wchar_t* password);

} // namespace tarnu::support

#endif // TARNU_ARCHIVE_ZIPFORMATINTERNAL_H
