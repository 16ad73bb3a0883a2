#include "tarnu/archive/OrvaZipReader.h"

#include "tarnu/archive/ZipCodecInternal.h"
#include "tarnu/archive/ZipExtractInternal.h"
#include "tarnu/archive/ZipFilesInternal.h"
#include "tarnu/archive/ZipFormatInternal.h"
#include "tarnu/archive/ZipPathInternal.h"
#include "tarnu/archive/ZipResultInternal.h"
#include "tarnu/archive/ZipSourceInternal.h"

#include <algorithm>
#include <iterator>
#include <map>
#include <minizip/unzip.h>
#include <optional>
#include <string>
#include <vector>
#include <zlib.h>

using namespace tarnu::support;

namespace {

/// Deflate can't do better than this: 258 bytes from two bits, and some bits for the block.
constexpr ULONGLONG maxRatio = 1032;
constexpr std::size_t pieceSize = std::size_t{256} << 10;

struct UnzipPolicy : NullPolicy<unzFile> {
    static void Close(unzFile file) noexcept { ::unzClose(file); }
};
using UniqueUnzip = Unique<UnzipPolicy>;

// minizip's view of a source

voidpf ZCALLBACK OpenSource(voidpf opaque, const void*, int) {
    return opaque;
}

uLong ZCALLBACK ReadSource(voidpf, voidpf stream, void* buffer, uLong size) {
    auto& source = *static_cast<ZipSource*>(stream);
    if (!source.Read(source.position, buffer, size)) return 0;
    source.lowest = std::min(source.lowest, source.position);
    source.position += size;
    return size;
}

uLong ZCALLBACK WriteSource(voidpf, voidpf, const void*, uLong) {
    return 0;
}

ZPOS64_T ZCALLBACK TellSource(voidpf, voidpf stream) {
    return static_cast<ZipSource*>(stream)->position;
}

long ZCALLBACK SeekSource(voidpf, voidpf stream, ZPOS64_T offset, int origin) {
    auto& source = *static_cast<ZipSource*>(stream);
    // Sums wrap as the directory's own arithmetic does; a place behind the end is found out when it is read.
    switch (origin) {
    case ZLIB_FILEFUNC_SEEK_SET:
        source.position = offset;
        return 0;
    case ZLIB_FILEFUNC_SEEK_CUR:
        source.position += offset;
        return 0;
    case ZLIB_FILEFUNC_SEEK_END:
        source.position = source.Size() + offset;
        return 0;
    default:
        return -1;
    }
}

int ZCALLBACK CloseSource(voidpf, voidpf) {
    return 0;
}

int ZCALLBACK HasSourceFailed(voidpf, voidpf stream) {
    return static_cast<ZipSource*>(stream)->HasFailed() ? 1 : 0;
}

FILETIME FromField(std::uint64_t value) noexcept {
    return {static_cast<DWORD>(value), static_cast<DWORD>(value >> 32)};
}

/// Seconds since 1970.
FILETIME FromUnixTime(std::int32_t seconds) noexcept {
    constexpr std::int64_t ticksTo1970 = 116444736000000000;
    return FromField(static_cast<std::uint64_t>(ticksTo1970 + std::int64_t{seconds} * 10000000));
}

/// The best times that the extra fields of an entry give.
void ReadTimes(const std::uint8_t* extra, std::size_t extraSize, OrvaZipEntry& entry) {
    bool isNtfs = false;
    ForEachExtra(extra, extraSize, [&](std::uint16_t id, const std::uint8_t* data, std::size_t size) {
        if (id == extraNtfs && size > 4) {
            ForEachExtra(data + 4, size - 4, [&](std::uint16_t tag, const std::uint8_t* times, std::size_t length) {
                if (tag != 1 || length < 24) return;
                isNtfs = true;
                entry.lastWrite = FromField(ReadField<std::uint64_t>(times));
                entry.lastAccess = FromField(ReadField<std::uint64_t>(times + 8));
                entry.creation = FromField(ReadField<std::uint64_t>(times + 16));
            });
        } else if (id == extraUnixTime && !isNtfs && size >= 5 && (data[0] & 1) != 0) {
            entry.lastWrite = FromUnixTime(ReadField<std::int32_t>(data + 1));
        }
    });
}

bool EndsInSeparator(const CString& name) noexcept {
    const int length = name.GetLength();
    return length > 0 && (name[length - 1] == L'/' || name[length - 1] == L'\\');
}

} // namespace

/// The open archive.
class OrvaZipReader::Core {
public:
    explicit Core(const wchar_t* password) : m_passwords(PasswordForms(password)) {}
    ~Core() {
        if (m_inflateReady) ::inflateEnd(&m_inflate);
    }
    Core(const Core&) = delete;
    Core& operator=(const Core&) = delete;

    OrvaZipResult OpenFile(const wchar_t* path) {
        const std::wstring file = AbsoluteSystemPath(path);
        if (file.empty()) return OrvaZipNoFile;
        const OrvaZipResult result = m_source.OpenFile(file);
        return result == OrvaZipSuccess ? ReadDirectory() : result;
    }
    OrvaZipResult OpenMemory(const void* data, std::size_t size) {
        m_source.OpenMemory(data, size);
        return ReadDirectory();
    }

    std::size_t Count() const noexcept { return m_records.size(); }
    /// Null when there is no such entry.
    const OrvaZipEntry* At(ULONGLONG index) const noexcept {
        return index < m_records.size() ? &m_records[static_cast<std::size_t>(index)].entry : nullptr;
    }

    /// Begins an entry: everything about it is checked but its data.
    OrvaZipResult OpenEntry(std::size_t index);
    OrvaZipResult ReadEntry(void* buffer, std::size_t size, std::size_t& read);
    void CloseEntry() noexcept { m_open = nullptr; }

    /// Room for the data of entries that are extracted.
    BlockBuffer& Kept() noexcept { return m_kept; }

private:
    struct Record {
        OrvaZipEntry entry;
        unz64_file_pos place{};
        std::uint32_t nameCrc = 0; ///< of the name's bytes, to compare with the local header's
        std::uint16_t nameSize = 0;
        std::uint16_t flags = 0;
        std::uint16_t time = 0;
    };
    struct Range {
        std::uint64_t end;
        const Record* owner;
    };

    OrvaZipResult ReadDirectory();
    OrvaZipResult ReadRecord(std::vector<std::uint8_t>& name, std::vector<std::uint8_t>& extra);
    OrvaZipResult Damaged() const noexcept { return m_source.HasFailed() ? OrvaZipReadFailed : OrvaZipCorrupt; }

    /// Compares the local header with the directory; gives where the data begins.
    OrvaZipResult Locate(const Record& record, std::uint64_t& header, std::uint64_t& data);
    bool IsLocalHeaderOf(const Record& record, std::uint64_t header);
    /// False when another entry occupies some of the bytes.
    bool Claim(const Record& record, std::uint64_t begin, std::uint64_t end);
    OrvaZipResult BeginCipher(const Record& record);
    /// The next piece of compressed data, of which some is left, deciphered. Null when it can't be read.
    const std::uint8_t* NextInput(std::size_t& size);
    /// Decodes the whole entry at once, when its data stands in memory or fits there.
    /// @return false when that was not possible, or the data is damaged; nothing has been taken from the archive then
    bool InflateBlock(std::uint8_t* buffer, std::size_t size);
    OrvaZipResult BeginInflate() noexcept;
    OrvaZipResult Inflate(std::uint8_t* buffer, std::size_t size, std::size_t& written);
    /// One step of the stream.
    /// @param size  of the buffer; receives how much was written, also on failure
    OrvaZipResult InflateSome(std::uint8_t* buffer, std::size_t& size);
    OrvaZipResult CopyStored(std::uint8_t* buffer, std::size_t size, std::size_t& written);
    /// At the declared end of the data: nothing may be left on either side.
    OrvaZipResult Verify();

    ZipSource m_source; // used by m_unzip: outlives it
    UniqueUnzip m_unzip;
    std::vector<Record> m_records;
    std::map<std::uint64_t, Range> m_ranges; ///< by beginning: the bytes of the entries that were opened
    std::vector<std::string> m_passwords;

    // The open entry

    const Record* m_open = nullptr;
    std::uint64_t m_place = 0;     ///< of the next compressed byte in the archive
    std::uint64_t m_inputLeft = 0; ///< compressed bytes that have not been taken from the archive
    std::uint64_t m_left = 0;      ///< bytes of data that are still to come
    std::uint32_t m_crc = 0;
    std::optional<ZipCipher> m_cipher;
    std::unique_ptr<std::uint8_t[]> m_plain; ///< deciphered input
    BlockBuffer m_kept;
    BlockBuffer m_block; ///< compressed data of an entry that is decoded at once
    BlockInflater m_blockInflater;
    z_stream m_inflate{};
    bool m_inflateReady = false;
    bool m_inflateBegun = false; ///< for this entry
    bool m_inflateEnded = false;
};

OrvaZipResult OrvaZipReader::Core::ReadDirectory() {
    // minizip does not find an end record that stands at offset 0: an archive without entries.
    std::uint8_t end[endSize];
    if (m_source.Size() == endSize && m_source.Read(0, end, endSize) && ReadField<std::uint32_t>(end) == endSignature &&
        std::all_of(end + 4, end + endSize, [](std::uint8_t field) { return field == 0; })) {
        return OrvaZipSuccess;
    }

    zlib_filefunc64_def functions{};
    functions.zopen64_file = OpenSource;
    functions.zread_file = ReadSource;
    functions.zwrite_file = WriteSource;
    functions.ztell64_file = TellSource;
    functions.zseek64_file = SeekSource;
    functions.zclose_file = CloseSource;
    functions.zerror_file = HasSourceFailed;
    functions.opaque = &m_source;
    m_unzip.Reset(::unzOpen2_64(&m_source, &functions));
    // Asked for right here: minizip answers a lack of memory as it answers damage, and these throw then.
    std::vector<std::uint8_t> name(MAXWORD);
    std::vector<std::uint8_t> extra(MAXWORD);
    unz_global_info64 global;
    if (!m_unzip || ::unzGetGlobalInfo64(m_unzip.Get(), &global) != UNZ_OK) return Damaged();
    if (global.number_entry > m_source.Size() / centralSize) return OrvaZipCorrupt;
    if (global.number_entry == 0) return OrvaZipSuccess;

    const auto count = static_cast<std::size_t>(global.number_entry);
    m_records.reserve(count);
    m_source.lowest = UINT64_MAX;
    if (::unzGoToFirstFile(m_unzip.Get()) != UNZ_OK) return Damaged();
    const std::uint64_t directory = m_source.lowest;
    for (std::size_t index = 0;; ++index) {
        const OrvaZipResult result = ReadRecord(name, extra);
        if (result != OrvaZipSuccess) return result;
        if (index + 1 == count) break;
        if (::unzGoToNextFile(m_unzip.Get()) != UNZ_OK) return Damaged();
    }
    // The directory holds another record behind its last one: the count lies.
    unz64_file_pos behind = m_records.back().place;
    unz_file_info64 last;
    if (::unzGetCurrentFileInfo64(m_unzip.Get(), &last, nullptr, 0, nullptr, 0, nullptr, 0) != UNZ_OK) return Damaged();
    behind.pos_in_zip_directory += centralSize + last.size_filename + last.size_file_extra + last.size_file_comment;
    ++behind.num_of_file;
    if (::unzGoToFilePos64(m_unzip.Get(), &behind) == UNZ_OK) return OrvaZipCorrupt;
    m_source.SetDirectory(directory);
    return OrvaZipSuccess;
}

OrvaZipResult OrvaZipReader::Core::ReadRecord(std::vector<std::uint8_t>& name, std::vector<std::uint8_t>& extra) {
    unz_file_info64 info;
    Record record;
    if (::unzGetFilePos64(m_unzip.Get(), &record.place) != UNZ_OK ||
        ::unzGetCurrentFileInfo64(m_unzip.Get(), &info, reinterpret_cast<char*>(name.data()),
                                  static_cast<uLong>(name.size()), extra.data(), static_cast<uLong>(extra.size()),
                                  nullptr, 0) != UNZ_OK) {
        return Damaged();
    }
    const std::string_view bytes(reinterpret_cast<const char*>(name.data()), info.size_filename);
    record.flags = static_cast<std::uint16_t>(info.flag);
    record.time = static_cast<std::uint16_t>(info.dosDate);
    record.nameSize = static_cast<std::uint16_t>(info.size_filename);
    record.nameCrc = Crc32(0, name.data(), info.size_filename);

    OrvaZipEntry& entry = record.entry;
    entry.name = DecodeName(bytes, record.flags, extra.data(), info.size_file_extra);
    entry.size = info.uncompressed_size;
    entry.compressedSize = info.compressed_size;
    entry.crc = static_cast<DWORD>(info.crc);
    entry.method = static_cast<WORD>(info.compression_method);
    entry.isEncrypted = (record.flags & flagEncrypted) != 0;
    // The low byte holds the attributes of DOS, whatever system made the archive.
    constexpr DWORD kept = FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_SYSTEM |
                           FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_ARCHIVE;
    entry.attributes = static_cast<DWORD>(info.external_fa) & kept;
    if (EndsInSeparator(entry.name)) entry.attributes |= FILE_ATTRIBUTE_DIRECTORY;
    entry.isDirectory = (entry.attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
    entry.lastWrite = FromDosStamp({static_cast<std::uint16_t>(info.dosDate >> 16), record.time});
    ReadTimes(extra.data(), info.size_file_extra, entry);
    m_records.push_back(std::move(record));
    return OrvaZipSuccess;
}

OrvaZipResult OrvaZipReader::Core::OpenEntry(std::size_t index) {
    const Record& record = m_records[index];
    const OrvaZipEntry& entry = record.entry;
    CloseEntry();
    if (entry.method != methodStored && entry.method != methodDeflate) return OrvaZipCorrupt;
    if ((record.flags & (flagPatch | flagStrongEncryption | flagMaskedHeaders)) != 0) return OrvaZipCorrupt;

    std::uint64_t header;
    OrvaZipResult result = Locate(record, header, m_place);
    if (result != OrvaZipSuccess) return result;
    m_inputLeft = entry.compressedSize;
    if (m_place > m_source.Directory() || m_inputLeft > m_source.Directory() - m_place) return OrvaZipCorrupt;
    if (!Claim(record, header, m_place + m_inputLeft)) return OrvaZipCorrupt;

    m_cipher.reset();
    if (entry.isEncrypted) {
        result = BeginCipher(record);
        if (result != OrvaZipSuccess) return result;
    }
    if (entry.method == methodStored) {
        if (entry.size != m_inputLeft) return OrvaZipCorrupt;
    } else {
        if (entry.size / maxRatio > m_inputLeft) return OrvaZipCorrupt;
    }
    m_inflateBegun = false;
    m_inflateEnded = entry.size == 0 && m_inputLeft == 0; // some programs write nothing for nothing
    m_left = entry.size;
    m_crc = 0;
    m_open = &record;
    return OrvaZipSuccess;
}

OrvaZipResult OrvaZipReader::Core::Locate(const Record& record, std::uint64_t& header, std::uint64_t& data) {
    // Raw: minizip checks the local header and finds the data. Reading and inflating are done here, from larger pieces
    // and with the decryption that minizip is built without.
    int method = 0;
    if (::unzGoToFilePos64(m_unzip.Get(), &record.place) != UNZ_OK) return Damaged();
    const int opened = ::unzOpenCurrentFile2(m_unzip.Get(), &method, nullptr, /*raw=*/1);
    if (opened == UNZ_INTERNALERROR) return OrvaZipNoMemory; // for nothing else
    if (opened != UNZ_OK) return Damaged();
    data = ::unzGetCurrentFileZStreamPos64(m_unzip.Get());
    const int extraSize = ::unzGetLocalExtrafield(m_unzip.Get(), nullptr, 0);
    ::unzCloseCurrentFile(m_unzip.Get());
    if (extraSize < 0) return Damaged();
    const std::uint64_t headSize = localSize + record.nameSize + static_cast<std::uint64_t>(extraSize);
    if (data < headSize) return OrvaZipCorrupt;
    header = data - headSize;
    return IsLocalHeaderOf(record, header) ? OrvaZipSuccess : Damaged();
}

bool OrvaZipReader::Core::IsLocalHeaderOf(const Record& record, std::uint64_t header) {
    // What minizip does not compare: the name itself, and whether the data is enciphered.
    std::uint8_t flags[2];
    if (!m_source.Read(header + 6, flags, sizeof flags)) return false;
    if (((ReadField<std::uint16_t>(flags) ^ record.flags) & flagEncrypted) != 0) return false;
    std::uint32_t crc = 0;
    std::uint64_t place = header + localSize;
    for (std::size_t left = record.nameSize; left > 0;) {
        std::size_t available;
        const std::uint8_t* bytes = m_source.View(place, available);
        if (bytes == nullptr) return false;
        const std::size_t count = std::min(left, available);
        crc = Crc32(crc, bytes, count);
        place += count;
        left -= count;
    }
    return crc == record.nameCrc;
}

bool OrvaZipReader::Core::Claim(const Record& record, std::uint64_t begin, std::uint64_t end) {
    const auto next = m_ranges.lower_bound(begin);
    if (next != m_ranges.end() && next->first == begin) return next->second.owner == &record;
    if (next != m_ranges.end() && next->first < end) return false;
    if (next != m_ranges.begin() && std::prev(next)->second.end > begin) return false;
    m_ranges.emplace_hint(next, begin, Range{end, &record});
    return true;
}

OrvaZipResult OrvaZipReader::Core::BeginCipher(const Record& record) {
    if (m_passwords.empty()) return OrvaZipBadArguments;
    std::uint8_t header[ZipCipher::headerSize];
    if (m_inputLeft < sizeof header) return OrvaZipCorrupt;
    if (!m_source.Read(m_place, header, sizeof header)) return Damaged();
    m_place += sizeof header;
    m_inputLeft -= sizeof header;
    const auto check =
        static_cast<std::uint8_t>((record.flags & flagDescriptor) != 0 ? record.time >> 8 : record.entry.crc >> 24);
    for (const std::string& password : m_passwords) {
        ZipCipher cipher(password);
        std::uint8_t plain[ZipCipher::headerSize];
        std::copy(std::begin(header), std::end(header), plain);
        cipher.Decrypt(plain, sizeof plain);
        if (plain[sizeof plain - 1] != check) continue;
        if (!m_plain) m_plain.reset(new std::uint8_t[pieceSize]);
        m_cipher = cipher;
        return OrvaZipSuccess;
    }
    return OrvaZipBadArguments;
}

const std::uint8_t* OrvaZipReader::Core::NextInput(std::size_t& size) {
    std::size_t available;
    const std::uint8_t* bytes = m_source.View(m_place, available);
    if (bytes == nullptr) return nullptr;
    size = static_cast<std::size_t>(std::min<std::uint64_t>({available, m_inputLeft, maxPiece}));
    if (m_cipher) {
        size = std::min(size, pieceSize);
        std::copy_n(bytes, size, m_plain.get());
        m_cipher->Decrypt(m_plain.get(), size);
        bytes = m_plain.get();
    }
    m_place += size;
    m_inputLeft -= size;
    return bytes;
}

bool OrvaZipReader::Core::InflateBlock(std::uint8_t* buffer, std::size_t size) {
    if (m_inputLeft > maxBlock || !BlockInflater::IsAvailable()) return false;
    const auto inputSize = static_cast<std::size_t>(m_inputLeft); // the archive has as many bytes there
    std::size_t available = 0;
    const std::uint8_t* input = m_source.View(m_place, available, inputSize);
    if (m_cipher || available < inputSize) {
        std::uint8_t* const block = m_block.Get(inputSize);
        if (block == nullptr || !m_source.Read(m_place, block, inputSize)) return false;
        if (m_cipher) ZipCipher(*m_cipher).Decrypt(block, inputSize);
        input = block;
    }
    if (input == nullptr || !m_blockInflater.Decompress(input, inputSize, buffer, size)) return false;
    m_place += inputSize;
    m_inputLeft = 0;
    m_inflateEnded = true;
    return true;
}

OrvaZipResult OrvaZipReader::Core::BeginInflate() noexcept {
    m_inflate.next_in = nullptr;
    m_inflate.avail_in = 0;
    const int status = m_inflateReady ? ::inflateReset(&m_inflate) : ::inflateInit2(&m_inflate, -MAX_WBITS);
    if (status != Z_OK) return status == Z_MEM_ERROR ? OrvaZipNoMemory : OrvaZipFlateFailed;
    m_inflateReady = m_inflateBegun = true;
    return OrvaZipSuccess;
}

OrvaZipResult OrvaZipReader::Core::Inflate(std::uint8_t* buffer, std::size_t size, std::size_t& written) {
    if (size == 0) return OrvaZipSuccess;
    if (!m_inflateBegun) {
        // A damaged entry comes here, too: the stream gives what is good of it, and says what is wrong with it.
        if (size == m_open->entry.size && InflateBlock(buffer, size)) {
            written = size;
            return OrvaZipSuccess;
        }
        const OrvaZipResult result = BeginInflate();
        if (result != OrvaZipSuccess) return result;
    }
    while (written < size) {
        if (m_inflateEnded) return OrvaZipCorrupt; // less data than declared
        std::size_t count = std::min(size - written, maxPiece);
        const OrvaZipResult result = InflateSome(buffer + written, count);
        written += count;
        if (result != OrvaZipSuccess) return result;
    }
    return OrvaZipSuccess;
}

OrvaZipResult OrvaZipReader::Core::InflateSome(std::uint8_t* buffer, std::size_t& size) {
    bool hasInput = m_inflate.avail_in > 0;
    if (!hasInput && m_inputLeft > 0) {
        std::size_t count = 0;
        const std::uint8_t* bytes = NextInput(count);
        if (bytes == nullptr) {
            size = 0;
            return Damaged();
        }
        m_inflate.next_in = const_cast<Bytef*>(bytes); // zlib declares it for writing but only reads
        m_inflate.avail_in = static_cast<uInt>(count);
        hasInput = true;
    }
    // Also without input: the last of it may stand for more than there was room for so far.
    m_inflate.next_out = buffer;
    m_inflate.avail_out = static_cast<uInt>(size);
    const int status = ::inflate(&m_inflate, Z_SYNC_FLUSH);
    const bool isStuck = !hasInput && m_inflate.avail_out == size;
    size -= m_inflate.avail_out;
    m_inflateEnded = status == Z_STREAM_END;
    if (m_inflateEnded) return OrvaZipSuccess;
    if (status == Z_MEM_ERROR) return OrvaZipNoMemory;
    return (status == Z_OK || status == Z_BUF_ERROR) && !isStuck ? OrvaZipSuccess : OrvaZipCorrupt;
}

OrvaZipResult OrvaZipReader::Core::CopyStored(std::uint8_t* buffer, std::size_t size, std::size_t& written) {
    while (written < size) {
        // The input is taken in the pieces that fit: a deciphered one must not be left over.
        std::size_t available;
        const std::uint8_t* bytes = m_source.View(m_place, available);
        if (bytes == nullptr) return Damaged();
        const std::size_t count = std::min(size - written, available);
        std::copy_n(bytes, count, buffer + written);
        if (m_cipher) m_cipher->Decrypt(buffer + written, count);
        written += count;
        m_place += count;
        m_inputLeft -= count;
    }
    return OrvaZipSuccess;
}

OrvaZipResult OrvaZipReader::Core::Verify() {
    const OrvaZipEntry& entry = m_open->entry;
    if (entry.method == methodDeflate) {
        // The end of the stream may not have been seen yet. It must come without any further byte of data.
        while (!m_inflateEnded) {
            std::uint8_t surplus;
            std::size_t count = 1;
            OrvaZipResult result = m_inflateBegun ? OrvaZipSuccess : BeginInflate();
            if (result == OrvaZipSuccess) result = InflateSome(&surplus, count);
            if (result != OrvaZipSuccess) return result;
            if (count > 0) return OrvaZipCorrupt;
        }
        if ((m_inflateBegun && m_inflate.avail_in > 0) || m_inputLeft > 0) return OrvaZipCorrupt;
    }
    return m_crc == entry.crc ? OrvaZipSuccess : OrvaZipCorrupt;
}

OrvaZipResult OrvaZipReader::Core::ReadEntry(void* buffer, std::size_t size, std::size_t& read) {
    read = 0;
    if (m_open == nullptr) return OrvaZipBadArguments;
    const auto wanted = static_cast<std::size_t>(std::min<std::uint64_t>(size, m_left));
    auto* bytes = static_cast<std::uint8_t*>(buffer);
    OrvaZipResult result =
        m_open->entry.method == methodDeflate ? Inflate(bytes, wanted, read) : CopyStored(bytes, wanted, read);
    m_crc = Crc32(m_crc, bytes, read);
    m_left -= read;
    if (result == OrvaZipSuccess) result = m_left > 0 ? OrvaZipMore : Verify();
    if (result != OrvaZipMore) CloseEntry();
    return result;
}

OrvaZipReader::OrvaZipReader() noexcept = default;
OrvaZipReader::~OrvaZipReader() = default;

OrvaZipResult OrvaZipReader::Open(const wchar_t* path, const wchar_t* password) {
    return RecordZip([&] {
        m_core.reset();
        if (path == nullptr || *path == L'\0') return OrvaZipBadArguments;
        auto core = std::make_unique<Core>(password);
        const OrvaZipResult result = core->OpenFile(path);
        if (result == OrvaZipSuccess) m_core = std::move(core);
        return result;
    });
}

OrvaZipResult OrvaZipReader::OpenMemory(const void* data, std::size_t size, const wchar_t* password) {
    return RecordZip([&] {
        m_core.reset();
        if (data == nullptr) return OrvaZipBadArguments;
        auto core = std::make_unique<Core>(password);
        const OrvaZipResult result = core->OpenMemory(data, size);
        if (result == OrvaZipSuccess) m_core = std::move(core);
        return result;
    });
}

void OrvaZipReader::Close() noexcept {
    m_core.reset();
}

ULONGLONG OrvaZipReader::GetCount() const noexcept {
    return m_core ? m_core->Count() : 0;
}

OrvaZipResult OrvaZipReader::GetEntry(ULONGLONG index, OrvaZipEntry& entry) const {
    return RecordZip([&] {
        const OrvaZipEntry* found = m_core ? m_core->At(index) : nullptr;
        if (found == nullptr) return OrvaZipBadArguments;
        entry = *found;
        return OrvaZipSuccess;
    });
}

OrvaZipResult OrvaZipReader::OpenEntry(ULONGLONG index) {
    return RecordZip([&] {
        if (!m_core || m_core->At(index) == nullptr) return OrvaZipBadArguments;
        return m_core->OpenEntry(static_cast<std::size_t>(index));
    });
}

OrvaZipResult OrvaZipReader::ReadEntry(void* buffer, std::size_t size, std::size_t& read) {
    read = 0;
    return RecordZip([&] {
        if (!m_core || (buffer == nullptr && size > 0)) return OrvaZipBadArguments;
        return m_core->ReadEntry(buffer, size, read);
    });
}

OrvaZipResult OrvaZipReader::ExtractToMemory(ULONGLONG index, void* buffer, std::size_t size) {
    return RecordZip([&] {
        if (!m_core || m_core->At(index) == nullptr || (buffer == nullptr && size > 0)) return OrvaZipBadArguments;
        OrvaZipResult result = m_core->OpenEntry(static_cast<std::size_t>(index));
        std::size_t read = 0;
        if (result == OrvaZipSuccess) result = m_core->ReadEntry(buffer, size, read);
        m_core->CloseEntry();
        return result;
    });
}

OrvaZipResult OrvaZipReader::ExtractToFile(ULONGLONG index, const wchar_t* path) {
    return RecordZip([&] {
        const OrvaZipEntry* entry = m_core ? m_core->At(index) : nullptr;
        if (entry == nullptr || path == nullptr || *path == L'\0' || entry->isDirectory) return OrvaZipBadArguments;
        const std::wstring target = AbsoluteSystemPath(path);
        if (target.empty()) return OrvaZipNoFile;
        return ExtractFile(
            *this, index, *entry, target, [](const wchar_t*, const WIN32_FIND_DATAW&) {}, m_core->Kept());
    });
}

OrvaZipResult OrvaZipReader::ExtractBelow(ULONGLONG index, const wchar_t* folder, const OrvaZipOverwrite& overwrite,
                                          bool* written) {
    bool isWritten = false;
    const OrvaZipResult result = RecordZip([&] {
        const OrvaZipEntry* entry = m_core ? m_core->At(index) : nullptr;
        if (entry == nullptr || folder == nullptr || *folder == L'\0') return OrvaZipBadArguments;
        const std::wstring_view name(entry->name.GetString(), static_cast<std::size_t>(entry->name.GetLength()));
        const std::wstring relative = SafeRelativePath(name);
        if (relative.empty()) return OrvaZipBadArguments;
        std::wstring path(folder);
        if (path.back() != L'\\' && path.back() != L'/') path += L'\\';
        const std::wstring target = AbsoluteSystemPath((path + relative).c_str());
        if (target.empty()) return OrvaZipNoFile;
        const OrvaZipResult outcome = entry->isDirectory
                                          ? ExtractDirectory(*entry, target)
                                          : ExtractFile(*this, index, *entry, target, overwrite, m_core->Kept());
        isWritten = outcome == OrvaZipSuccess;
        return outcome == leftAlone ? OrvaZipSuccess : outcome;
    });
    if (written != nullptr) *written = isWritten;
    return result;
}
