#include "tarnu/archive/ZipCodecInternal.h"

#include <algorithm>
#include <new>

#ifdef TARNU_LIBDEFLATE
#include <libdeflate.h>
#else
#include <climits>
#include <zlib.h>
#endif

namespace tarnu::support {

std::uint8_t* BlockBuffer::Get(std::size_t size) noexcept {
    if (!m_bytes || m_size < size) {
        // Some more than asked for, so that files which grow from one to the next do not each need a new buffer.
        const std::size_t roomy = std::max(size + size / 4, std::size_t{64} << 10);
        m_size = 0;
        m_bytes.reset(); // first: the old one may make room for the new one
        m_bytes.reset(new (std::nothrow) std::uint8_t[roomy]);
        if (m_bytes) m_size = roomy;
    }
    return m_bytes.get();
}

#ifdef TARNU_LIBDEFLATE

std::uint32_t Crc32(std::uint32_t crc, const void* data, std::size_t size) noexcept {
    return size > 0 ? ::libdeflate_crc32(crc, data, size) : crc; // of null it would give the first value
}

void CompressorPolicy::Close(libdeflate_compressor* compressor) noexcept {
    ::libdeflate_free_compressor(compressor);
}

void DecompressorPolicy::Close(libdeflate_decompressor* decompressor) noexcept {
    ::libdeflate_free_decompressor(decompressor);
}

bool BlockDeflater::IsAvailable() noexcept {
    return true;
}

std::size_t BlockDeflater::Bound(std::size_t size) noexcept {
    return ::libdeflate_deflate_compress_bound(nullptr, size);
}

std::size_t BlockDeflater::Compress(const void* data, std::size_t size, std::uint8_t* room,
                                    std::size_t available) noexcept {
    constexpr int level = 6; // smaller than zlib's default level, at three times its speed
    if (!m_compressor) m_compressor.Reset(::libdeflate_alloc_compressor(level));
    return m_compressor ? ::libdeflate_deflate_compress(m_compressor.Get(), data, size, room, available) : 0;
}

bool BlockInflater::Decompress(const std::uint8_t* input, std::size_t inputSize, std::uint8_t* buffer,
                               std::size_t size) noexcept {
    if (!m_decompressor) m_decompressor.Reset(::libdeflate_alloc_decompressor());
    if (!m_decompressor) return false;
    std::size_t taken = 0;
    std::size_t written = 0;
    return ::libdeflate_deflate_decompress_ex(m_decompressor.Get(), input, inputSize, buffer, size, &taken, &written) ==
               LIBDEFLATE_SUCCESS &&
           taken == inputSize && written == size;
}

#else

std::uint32_t Crc32(std::uint32_t crc, const void* data, std::size_t size) noexcept {
    const auto* bytes = static_cast<const Bytef*>(data);
    while (size > 0) {
        const auto count = static_cast<uInt>(std::min<std::size_t>(size, UINT_MAX));
        crc = static_cast<std::uint32_t>(::crc32(crc, bytes, count));
        bytes += count;
        size -= count;
    }
    return crc;
}

void CompressorPolicy::Close(libdeflate_compressor*) noexcept {}

void DecompressorPolicy::Close(libdeflate_decompressor*) noexcept {}

bool BlockDeflater::IsAvailable() noexcept {
    return false;
}

std::size_t BlockDeflater::Bound(std::size_t size) noexcept {
    return size;
}

std::size_t BlockDeflater::Compress(const void*, std::size_t, std::uint8_t*, std::size_t) noexcept {
    return 0;
}

bool BlockInflater::Decompress(const std::uint8_t*, std::size_t, std::uint8_t*, std::size_t) noexcept {
    return false;
}

#endif

} // namespace tarnu::support
