#include "tarnu/archive/ZipSourceInternal.h"

#include <algorithm>
#include <cstring>

namespace tarnu::support {
namespace {

constexpr std::size_t entryWindow = std::size_t{512} << 10;
constexpr std::size_t directoryWindow = std::size_t{128} << 10; // more than the longest comment
constexpr std::uint64_t alignment = 4096;

} // namespace

OrvaZipResult ZipSource::OpenFile(const std::wstring& path) {
    m_file.Reset(::CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_DELETE, nullptr, OPEN_EXISTING,
                               FILE_ATTRIBUTE_NORMAL, nullptr));
    LARGE_INTEGER size;
    if (!m_file || !::GetFileSizeEx(m_file.Get(), &size)) return OrvaZipNoFile;
    m_size = static_cast<std::uint64_t>(size.QuadPart);
    // A small archive does not need the windows' full size.
    const auto capacity = [&](std::size_t wanted) {
        return static_cast<std::size_t>(std::min<std::uint64_t>(wanted, m_size + 1));
    };
    m_windows[0].capacity = capacity(entryWindow);
    m_windows[1].capacity = capacity(directoryWindow);
    for (Window& window : m_windows)
        window.bytes.reset(new std::uint8_t[window.capacity]);
    return OrvaZipSuccess;
}

void ZipSource::OpenMemory(const void* data, std::size_t size) noexcept {
    m_memory = static_cast<const std::uint8_t*>(data);
    m_size = size;
}

const std::uint8_t* ZipSource::View(std::uint64_t offset, std::size_t& available, std::size_t wanted) noexcept {
    if (offset >= m_size) return nullptr;
    if (m_memory != nullptr) {
        available = static_cast<std::size_t>(m_size - offset);
        return m_memory + offset;
    }
    Window& window = m_windows[offset >= m_directory ? 1 : 0];
    const bool isShown = offset >= window.start && offset - window.start < window.used;
    const bool isWhole = isShown && window.used - (offset - window.start) >= wanted;
    // What a new window could not show either is not worth reading it for.
    const bool couldBe = wanted <= window.capacity - alignment && wanted <= m_size - offset;
    if (!isShown || (!isWhole && window.capacity > alignment && couldBe)) {
        if (!Fill(window, offset)) return nullptr;
    }
    const auto at = static_cast<std::size_t>(offset - window.start);
    available = window.used - at;
    return window.bytes.get() + at;
}

bool ZipSource::Read(std::uint64_t offset, void* buffer, std::size_t size) noexcept {
    auto* target = static_cast<std::uint8_t*>(buffer);
    while (size > 0) {
        std::size_t available;
        const std::uint8_t* bytes = View(offset, available);
        if (bytes == nullptr) return false;
        const std::size_t count = std::min(size, available);
        std::memcpy(target, bytes, count);
        target += count;
        offset += count;
        size -= count;
    }
    return true;
}

bool ZipSource::Fill(Window& window, std::uint64_t offset) noexcept {
    // Within the window wherever it starts: one is larger than the alignment, or shows the whole archive.
    std::uint64_t start = offset - offset % alignment;
    if (&window == &m_windows[1]) {
        // The directory's end is searched backwards: near the archive's end the window shows as much as it can of it.
        const std::uint64_t last = m_size > window.capacity ? m_size - window.capacity : 0;
        if (start > last) start = last;
    }
    OVERLAPPED place{};
    place.Offset = static_cast<DWORD>(start);
    place.OffsetHigh = static_cast<DWORD>(start >> 32);
    DWORD read = 0;
    window.used = 0;
    if (!::ReadFile(m_file.Get(), window.bytes.get(), static_cast<DWORD>(window.capacity), &read, &place) ||
        read <= offset - start) {
        m_failed = true;
        return false;
    }
    window.start = start;
    window.used = read;
    return true;
}

} // namespace tarnu::support
