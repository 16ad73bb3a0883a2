#include "tarnu/archive/ZipOutputInternal.h"

#include <algorithm>
#include <cstring>

namespace tarnu::support {
namespace {

constexpr std::size_t fileBuffer = std::size_t{512} << 10;
constexpr std::size_t firstMemory = std::size_t{64} << 10;

} // namespace

OrvaZipResult ZipOutput::CreateFile(const std::wstring& target) {
    Discard();
    m_isMemory = false;
    m_buffer.Reset(static_cast<std::uint8_t*>(std::malloc(fileBuffer)));
    if (!m_buffer) return OrvaZipNoMemory;
    m_capacity = fileBuffer;
    const DWORD attributes = ::GetFileAttributesW(target.c_str());
    if (attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0) return OrvaZipNoFile;
    return m_file.CreateBeside(target, 0) ? OrvaZipSuccess : OrvaZipNoFile;
}

OrvaZipResult ZipOutput::CreateMemory(std::size_t maximum) {
    Discard();
    m_isMemory = true;
    m_maximum = maximum;
    const std::size_t capacity = maximum == 0 ? firstMemory : std::min(maximum, firstMemory);
    m_buffer.Reset(static_cast<std::uint8_t*>(std::malloc(capacity)));
    if (!m_buffer) return OrvaZipNoMemory;
    m_capacity = capacity;
    return OrvaZipSuccess;
}

std::uint8_t* ZipOutput::AnyRoom(std::size_t& available, OrvaZipResult& result) noexcept {
    result = OrvaZipSuccess;
    if (m_used == m_capacity) {
        if (!IsMemory()) {
            result = Flush();
        } else if (m_maximum != 0 && m_capacity >= m_maximum) {
            result = OrvaZipMemoryFull;
        } else {
            std::size_t capacity = m_capacity > SIZE_MAX / 2 ? SIZE_MAX : m_capacity * 2;
            if (m_maximum != 0) capacity = std::min(capacity, m_maximum);
            auto* grown = static_cast<std::uint8_t*>(std::realloc(m_buffer.Get(), capacity));
            if (grown == nullptr) {
                result = OrvaZipNoMemory;
            } else {
                (void)m_buffer.Release(); // realloc has freed the old block
                m_buffer.Reset(grown);
                m_capacity = capacity;
            }
        }
    }
    available = m_capacity - m_used;
    return result == OrvaZipSuccess ? m_buffer.Get() + m_used : nullptr;
}

std::uint8_t* ZipOutput::RoomFor(std::size_t size, OrvaZipResult& result) noexcept {
    result = OrvaZipSuccess;
    if (m_capacity - m_used < size) {
        // A memory archive grows by what is written, not by what might have been.
        if (IsMemory() || m_capacity < size) return nullptr;
        result = Flush();
    }
    return result == OrvaZipSuccess ? m_buffer.Get() + m_used : nullptr;
}

OrvaZipResult ZipOutput::Write(const void* data, std::size_t size) noexcept {
    const auto* bytes = static_cast<const std::uint8_t*>(data);
    while (size > 0) {
        std::size_t available;
        OrvaZipResult result;
        std::uint8_t* room = AnyRoom(available, result);
        if (room == nullptr) return result;
        if (m_used == 0 && size >= m_capacity && !IsMemory()) {
            // Large blocks need not pass through the buffer.
            const std::size_t count = std::min(size, maxPiece);
            if (!WriteAt(m_base, bytes, count)) return OrvaZipWriteFailed;
            m_base += count;
            m_fileSize = std::max(m_fileSize, m_base);
            bytes += count;
            size -= count;
            continue;
        }
        const std::size_t count = std::min(size, available);
        std::memcpy(room, bytes, count);
        m_used += count;
        bytes += count;
        size -= count;
    }
    return OrvaZipSuccess;
}

OrvaZipResult ZipOutput::Patch(std::uint64_t offset, const void* data, std::size_t size) noexcept {
    const auto* bytes = static_cast<const std::uint8_t*>(data);
    if (offset < m_base) {
        const auto count = static_cast<std::size_t>(std::min<std::uint64_t>(size, m_base - offset));
        if (!WriteAt(offset, bytes, count)) return OrvaZipWriteFailed;
        offset += count;
        bytes += count;
        size -= count;
    }
    if (size > 0) std::memcpy(m_buffer.Get() + (offset - m_base), bytes, size);
    return OrvaZipSuccess;
}

void ZipOutput::Rewind(std::uint64_t offset) noexcept {
    if (offset >= m_base) {
        m_used = static_cast<std::size_t>(offset - m_base);
    } else {
        m_base = offset;
        m_used = 0;
    }
}

OrvaZipResult ZipOutput::Finish() noexcept {
    if (IsMemory()) return OrvaZipSuccess;
    OrvaZipResult result = Flush();
    if (result == OrvaZipSuccess && m_fileSize > m_base) {
        // Entries that were taken back reached further than the archive does.
        LARGE_INTEGER end;
        end.QuadPart = static_cast<LONGLONG>(m_base);
        if (!::SetFilePointerEx(m_file.Handle(), end, nullptr, FILE_BEGIN) || !::SetEndOfFile(m_file.Handle())) {
            result = OrvaZipWriteFailed;
        }
    }
    if (result == OrvaZipSuccess && !m_file.Commit()) result = OrvaZipNoFile;
    Discard();
    return result;
}

void ZipOutput::Discard() noexcept {
    m_file.Discard();
    m_buffer.Reset();
    m_capacity = m_used = m_maximum = 0;
    m_base = m_fileSize = 0;
}

OrvaZipResult ZipOutput::Flush() noexcept {
    if (m_used > 0 && !WriteAt(m_base, m_buffer.Get(), m_used)) return OrvaZipWriteFailed;
    m_base += m_used;
    m_fileSize = std::max(m_fileSize, m_base);
    m_used = 0;
    return OrvaZipSuccess;
}

bool ZipOutput::WriteAt(std::uint64_t offset, const void* data, std::size_t size) noexcept {
    OVERLAPPED position{};
    position.Offset = static_cast<DWORD>(offset);
    position.OffsetHigh = static_cast<DWORD>(offset >> 32);
    DWORD written = 0;
    return ::WriteFile(m_file.Handle(), data, static_cast<DWORD>(size), &written, &position) && written == size;
}

} // namespace tarnu::support
