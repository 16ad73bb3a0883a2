/// @file
/// Data that stands in memory as a whole: compression and decompression in one call, and checksums.
#ifndef TARNU_ARCHIVE_ZIPCODECINTERNAL_H
#define TARNU_ARCHIVE_ZIPCODECINTERNAL_H

#include "tarnu/support/Owners.h"

#include <cstddef>
#include <cstdint>
#include <memory>

struct libdeflate_compressor;
struct libdeflate_decompressor;

namespace tarnu::support {

/// The CRC-32 of more data.
/// @param crc of what came before; 0 at the beginning
std::uint32_t Crc32(std::uint32_t crc, const void* data, std::size_t size) noexcept;

/// Data of more than this is worked through in pieces, on zlib's streams.
inline constexpr std::size_t maxBlock = std::size_t{64} << 20;
/// Data of less than this is better compressed by a stream, too: a block of it would only be stored.
inline constexpr std::size_t minBlock = 32;

/// A buffer that grows to what is asked for and is kept for the next time.
class BlockBuffer {
public:
    /// At least @p size bytes, of any contents; null when there is no memory for them.
    std::uint8_t* Get(std::size_t size) noexcept;

private:
    std::unique_ptr<std::uint8_t[]> m_bytes;
    std::size_t m_size = 0;
};

struct CompressorPolicy : NullPolicy<libdeflate_compressor*> {
    static void Close(libdeflate_compressor* compressor) noexcept;
};
struct DecompressorPolicy : NullPolicy<libdeflate_decompressor*> {
    static void Close(libdeflate_decompressor* decompressor) noexcept;
};

/// Compresses blocks into raw deflate streams, each complete in itself.
class BlockDeflater {
public:
    /// False in a build without the library for blocks: the streams do all the work then.
    static bool IsAvailable() noexcept;
    /// The largest size that a block of @p size bytes can come to. Some 0.1 % more than the block.
    static std::size_t Bound(std::size_t size) noexcept;
    /// @return the stream's size; 0 when it can't be made or does not fit
    std::size_t Compress(const void* data, std::size_t size, std::uint8_t* room, std::size_t available) noexcept;

private:
    Unique<CompressorPolicy> m_compressor;
};

/// Decompresses raw deflate streams.
class BlockInflater {
public:
    static bool IsAvailable() noexcept { return BlockDeflater::IsAvailable(); }
    /// @return true when the input was one complete stream of exactly @p size bytes, and the buffer holds them. The
    ///         buffer's contents are of no use otherwise
    bool Decompress(const std::uint8_t* input, std::size_t inputSize, std::uint8_t* buffer, std::size_t size) noexcept;

private:
    Unique<DecompressorPolicy> m_decompressor;
};

} // namespace tarnu::support

#endif // TARNU_ARCHIVE_ZIPCODECINTERNAL_H
