#include "tarnu/archive/ZipFormatInternal.h"

#include <algorithm>
#include <atomic>
#include <ctime>
#include <new>
#include <zlib.h>

namespace tarnu::support {
namespace {

/// The text in a code page. A conversion that the system refuses can only be for want of memory, and throws: a name or
/// a password must not be taken for an empty one.
std::string Narrow(std::wstring_view text, UINT codePage) {
    if (text.empty()) return {};
    const int length = static_cast<int>(text.size());
    const int size = ::WideCharToMultiByte(codePage, 0, text.data(), length, nullptr, 0, nullptr, nullptr);
    if (size <= 0) throw std::bad_alloc();
    std::string bytes(static_cast<std::size_t>(size), '\0');
    if (::WideCharToMultiByte(codePage, 0, text.data(), length, bytes.data(), size, nullptr, nullptr) != size) {
        throw std::bad_alloc();
    }
    return bytes;
}

/// False when the bytes are no text of the code page.
bool Widen(std::string_view bytes, UINT codePage, DWORD flags, CString& text) {
    const int size = static_cast<int>(bytes.size()); // at most 65535
    const int length = ::MultiByteToWideChar(codePage, flags, bytes.data(), size, nullptr, 0);
    if (length <= 0) return false;
    const int written =
        ::MultiByteToWideChar(codePage, flags, bytes.data(), size, text.GetBufferSetLength(length), length);
    text.ReleaseBuffer(std::max(written, 0));
    return written == length;
}

/// The next value of the process-wide generator, 15 bits. It is our own, so that a host's rand() sequence is left
/// alone; it is seeded from the time when it is first used.
unsigned NextRandom() noexcept {
    static std::atomic<std::uint32_t> state{static_cast<std::uint32_t>(std::time(nullptr))};
    std::uint32_t old = state.load(std::memory_order_relaxed);
    std::uint32_t next;
    do {
        next = old * 214013U + 2531011U;
    } while (!state.compare_exchange_weak(old, next, std::memory_order_relaxed));
    return (next >> 16) & 0x7FFF;
}

std::uint32_t CrcStep(std::uint32_t crc, std::uint8_t byte) noexcept {
    static const z_crc_t* const table = ::get_crc_table();
    return table[(crc ^ byte) & 0xFF] ^ (crc >> 8);
}

bool EqualsAsciiNoCase(std::wstring_view text, std::wstring_view lower) noexcept {
    return std::equal(text.begin(), text.end(), lower.begin(), lower.end(), [](wchar_t left, wchar_t right) {
        return (left >= L'A' && left <= L'Z' ? static_cast<wchar_t>(left + 32) : left) == right;
    });
}

} // namespace

// Names

std::string StoredName(std::wstring_view name, bool isDirectory) {
    std::string stored = Narrow(name, CP_UTF8);
    std::replace(stored.begin(), stored.end(), '\\', '/');
    std::size_t first = 0;
    const bool hasDrive = stored.size() > 1 && stored[1] == ':' &&
                          ((stored[0] >= 'A' && stored[0] <= 'Z') || (stored[0] >= 'a' && stored[0] <= 'z'));
    if (hasDrive) first = 2; // the format has neither drives nor roots
    for (;;) {
        if (stored.compare(first, 1, "/") == 0) {
            ++first;
        } else if (stored.compare(first, 2, "./") == 0) {
            first += 2;
        } else {
            break;
        }
    }
    stored.erase(0, first);
    if (isDirectory && !stored.empty() && stored.back() != '/') stored += '/';
    return stored;
}

bool IsAscii(std::string_view text) noexcept {
    return std::all_of(text.begin(), text.end(), [](char byte) { return static_cast<unsigned char>(byte) < 0x80; });
}

CString DecodeName(std::string_view bytes, std::uint16_t flags, const std::uint8_t* extra, std::size_t extraSize) {
    CString name;
    if (IsAscii(bytes)) {
        const int length = static_cast<int>(bytes.size());
        std::copy(bytes.begin(), bytes.end(), name.GetBufferSetLength(length));
        name.ReleaseBuffer(length);
        return name;
    }
    if ((flags & flagUtf8) != 0 && Widen(bytes, CP_UTF8, MB_ERR_INVALID_CHARS, name)) return name;
    bool found = false;
    ForEachExtra(extra, extraSize, [&](std::uint16_t id, const std::uint8_t* data, std::size_t size) {
        constexpr std::size_t head = 5; // version 1 and the checksum of the name that it stands for
        if (found || id != extraUnicodePath || size <= head || data[0] != 1) return;
        const uLong crc = ::crc32(0, reinterpret_cast<const Bytef*>(bytes.data()), static_cast<uInt>(bytes.size()));
        if (ReadField<std::uint32_t>(data + 1) != crc) return;
        const std::string_view utf8(reinterpret_cast<const char*>(data) + head, size - head);
        found = Widen(utf8, CP_UTF8, MB_ERR_INVALID_CHARS, name);
    });
    if (!found) Widen(bytes, CP_OEMCP, 0, name);
    return name;
}

std::uint16_t MethodFor(std::wstring_view name, bool isDirectory) noexcept {
    if (isDirectory) return methodStored;
    // Compressed already, all of them.
    static constexpr std::wstring_view packed[] = {L".z", L".zip", L".zoo", L".arc", L".lzh", L".arj", L".gz", L".tgz"};
    const std::size_t dot = name.rfind(L'.');
    if (dot == std::wstring_view::npos) return methodDeflate;
    const std::wstring_view extension = name.substr(dot);
    const bool isPacked = std::any_of(std::begin(packed), std::end(packed), [&](std::wstring_view candidate) {
        return EqualsAsciiNoCase(extension, candidate);
    });
    return isPacked ? methodStored : methodDeflate;
}

// Time stamps

DosStamp LocalClock::Stamp(const FILETIME& utc) noexcept {
    constexpr std::uint64_t ticksPerSecond = 10'000'000;
    constexpr DosStamp first{(1 << 5) | 1, 0};                                         // 1980-01-01 00:00:00
    constexpr DosStamp last{(127 << 9) | (12 << 5) | 31, (23 << 11) | (59 << 5) | 29}; // 2107-12-31 23:59:58
    const std::uint64_t seconds = ((std::uint64_t{utc.dwHighDateTime} << 32) | utc.dwLowDateTime) / ticksPerSecond;
    if (seconds / 60 != m_minute) {
        m_minute = seconds / 60;
        SYSTEMTIME universal;
        SYSTEMTIME local;
        m_isInside = false;
        if (!::FileTimeToSystemTime(&utc, &universal) ||
            !::SystemTimeToTzSpecificLocalTime(nullptr, &universal, &local) || local.wYear < 1980) {
            m_start = first;
        } else if (local.wYear > 2107) {
            m_start = last;
        } else {
            m_start = {static_cast<std::uint16_t>(((local.wYear - 1980) << 9) | (local.wMonth << 5) | local.wDay),
                       static_cast<std::uint16_t>((local.wHour << 11) | (local.wMinute << 5))};
            m_isInside = true;
        }
    }
    if (!m_isInside) return m_start;
    return {m_start.date, static_cast<std::uint16_t>(m_start.time | seconds % 60 / 2)};
}

FILETIME FromDosStamp(DosStamp stamp) noexcept {
    SYSTEMTIME local{};
    local.wYear = static_cast<WORD>(1980 + (stamp.date >> 9));
    local.wMonth = (stamp.date >> 5) & 0xF;
    local.wDay = stamp.date & 0x1F;
    local.wHour = stamp.time >> 11;
    local.wMinute = (stamp.time >> 5) & 0x3F;
    local.wSecond = static_cast<WORD>((stamp.time & 0x1F) * 2);
    SYSTEMTIME universal;
    FILETIME time;
    if (!::TzSpecificLocalTimeToSystemTime(nullptr, &local, &universal) || !::SystemTimeToFileTime(&universal, &time)) {
        return {};
    }
    return time;
}

// Encryption

ZipCipher::ZipCipher(std::string_view password) noexcept {
    for (const char byte : password)
        Update(static_cast<std::uint8_t>(byte));
}

void ZipCipher::Update(std::uint8_t plain) noexcept {
    m_keys[0] = CrcStep(m_keys[0], plain);
    m_keys[1] = (m_keys[1] + (m_keys[0] & 0xFF)) * 134775813U + 1;
    m_keys[2] = CrcStep(m_keys[2], static_cast<std::uint8_t>(m_keys[1] >> 24));
}

void ZipCipher::Encrypt(std::uint8_t* bytes, std::size_t count) noexcept {
    for (std::uint8_t* end = bytes + count; bytes != end; ++bytes) {
        const std::uint8_t plain = *bytes;
        *bytes = plain ^ KeyByte();
        Update(plain);
    }
}

void ZipCipher::Decrypt(std::uint8_t* bytes, std::size_t count) noexcept {
    for (std::uint8_t* end = bytes + count; bytes != end; ++bytes) {
        *bytes ^= KeyByte();
        Update(*bytes);
    }
}

void ZipCipher::MakeHeader(std::uint8_t (&header)[headerSize], std::uint8_t check) noexcept {
    for (std::uint8_t& byte : header)
        byte = static_cast<std::uint8_t>(NextRandom() >> 7);
    header[headerSize - 1] = check;
    Encrypt(header, headerSize);
}

std::vector<std::string> PasswordForms(const wchar_t* password) {
    std::vector<std::string> forms;
    if (password == nullptr || *password == L'\0') return forms;
    for (const UINT codePage : {static_cast<UINT>(CP_UTF8), static_cast<UINT>(CP_OEMCP), static_cast<UINT>(CP_ACP)}) {
        std::string form = Narrow(password, codePage);
        if (std::find(forms.begin(), forms.end(), form) == forms.end()) forms.push_back(std::move(form));
    }
    return forms;
}

} // namespace tarnu::support
