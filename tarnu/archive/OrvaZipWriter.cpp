#include "tarnu/archive/OrvaZipWriter.h"

#include "tarnu/archive/ZipCodecInternal.h"
#include "tarnu/archive/ZipFormatInternal.h"
#include "tarnu/archive/ZipOpenAheadInternal.h"
#include "tarnu/archive/ZipOutputInternal.h"
#include "tarnu/archive/ZipResultInternal.h"
#include "tarnu/archive/ZipWriterInternal.h"

#include <algorithm>
#include <optional>
#include <zlib.h>

using namespace tarnu::support;

namespace {

constexpr std::size_t inputBuffer = std::size_t{256} << 10;
constexpr DWORD storedAttributes = FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_SYSTEM |
                                   FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_ARCHIVE;
constexpr std::uint16_t madeBy = (10 << 8) | 45; // NTFS, format version 4.5
constexpr std::uint16_t needsPlain = 10;
constexpr std::uint16_t needsDeflate = 20; // also for directories and encryption
constexpr std::uint16_t needsZip64 = 45;

/// Data of this size may come out of the compression at 4 GiB or more (by 5 bytes for every 16 KiB, and some more):
/// room for 64-bit sizes is left from here on.
constexpr ULONGLONG zip64From = 0xFF800000;
constexpr ULONGLONG unknownSize = MAXULONGLONG;

/// What is known of an entry before its data is read.
struct NewEntry {
    ULONGLONG size = 0;
    DWORD attributes = 0;
    bool isDirectory = false;
    FILETIME lastWrite{};
    FILETIME lastAccess{};
    FILETIME creation{};
};

/// Hands out the data of an entry, piece by piece, each byte once.
class Input {
public:
    virtual ~Input() = default;
    /// The next piece; size 0 at the end.
    virtual OrvaZipResult Next(const std::uint8_t*& data, std::size_t& size) = 0;
};

class MemoryInput final : public Input {
public:
    MemoryInput(const void* data, std::size_t size) noexcept
        : m_at(static_cast<const std::uint8_t*>(data)), m_left(size) {}

    OrvaZipResult Next(const std::uint8_t*& data, std::size_t& size) override {
        data = m_at;
        size = std::min(m_left, maxPiece);
        m_at += size;
        m_left -= size;
        return OrvaZipSuccess;
    }

private:
    const std::uint8_t* m_at;
    std::size_t m_left;
};

class HandleInput final : public Input {
public:
    HandleInput(HANDLE handle, ULONGLONG size, std::uint8_t* buffer, std::size_t capacity) noexcept
        : m_handle(handle), m_left(size), m_buffer(buffer), m_capacity(capacity) {}

    OrvaZipResult Next(const std::uint8_t*& data, std::size_t& size) override {
        data = m_buffer;
        size = 0;
        // What a file has gained since it was opened is not asked for: that spares the read that finds its end.
        if (m_left == 0) return OrvaZipSuccess;
        DWORD read = 0;
        const auto count = static_cast<DWORD>(std::min<ULONGLONG>(m_left, m_capacity));
        if (!::ReadFile(m_handle, m_buffer, count, &read, nullptr)) {
            if (m_left == unknownSize && ::GetLastError() == ERROR_BROKEN_PIPE) return OrvaZipSuccess; // a pipe's end
            return OrvaZipReadFailed;
        }
        if (m_left != unknownSize) {
            if (read == 0) return OrvaZipWrongSize;
            m_left -= read;
        }
        size = read;
        return OrvaZipSuccess;
    }

private:
    HANDLE m_handle;
    ULONGLONG m_left;
    std::uint8_t* m_buffer;
    std::size_t m_capacity;
};

FILETIME Now() noexcept {
    FILETIME now;
    ::GetSystemTimeAsFileTime(&now);
    return now;
}

std::uint64_t ToField(const FILETIME& time) noexcept {
    return (std::uint64_t{time.dwHighDateTime} << 32) | time.dwLowDateTime;
}

FILETIME FromField(const LARGE_INTEGER& time) noexcept {
    return {time.LowPart, static_cast<DWORD>(time.HighPart)};
}

/// Size and times of what a handle stands for. One call could tell all of it, but would also ask for the volume.
bool Describe(HANDLE handle, NewEntry& entry) noexcept {
    FILE_BASIC_INFO information;
    if (!::GetFileInformationByHandleEx(handle, FileBasicInfo, &information, sizeof information)) return false;
    entry.attributes = information.FileAttributes;
    entry.isDirectory = (information.FileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
    entry.lastWrite = FromField(information.LastWriteTime);
    entry.lastAccess = FromField(information.LastAccessTime);
    entry.creation = FromField(information.CreationTime);
    if (entry.isDirectory) return true;
    LARGE_INTEGER size;
    if (!::GetFileSizeEx(handle, &size)) return false;
    entry.size = static_cast<ULONGLONG>(size.QuadPart);
    return true;
}

} // namespace

/// The archive while it is written.
class OrvaZipWriter::Core {
public:
    explicit Core(const wchar_t* password) {
        std::vector<std::string> forms = PasswordForms(password);
        if (!forms.empty()) m_password = std::move(forms.front());
    }
    ~Core() {
        if (m_deflateReady) ::deflateEnd(&m_deflate);
    }
    Core(const Core&) = delete;
    Core& operator=(const Core&) = delete;

    OrvaZipResult Begin(const wchar_t* path) {
        const std::wstring target = AbsoluteSystemPath(path);
        if (target.empty()) return OrvaZipNoFile;
        return m_output.CreateFile(target);
    }
    OrvaZipResult Begin(std::size_t maximum) { return m_output.CreateMemory(maximum); }

    /// Adds the file or directory that OpenToRead opened.
    OrvaZipResult AddOpened(const wchar_t* name, const UniqueFileHandle& file, bool& isDirectory) {
        NewEntry entry;
        if (!file || !Describe(file.Get(), entry)) return OrvaZipNoFile;
        isDirectory = entry.isDirectory;
        return isDirectory ? AddDirectory(name, entry) : AddFromHandle(name, entry, file.Get());
    }

    OrvaZipResult AddHandle(const wchar_t* name, HANDLE handle) {
        NewEntry entry;
        if (::GetFileType(handle) == FILE_TYPE_DISK) {
            LARGE_INTEGER position{};
            if (!Describe(handle, entry) || entry.isDirectory ||
                !::SetFilePointerEx(handle, LARGE_INTEGER{}, &position, FILE_CURRENT)) {
                return OrvaZipReadFailed;
            }
            entry.size -= std::min(entry.size, static_cast<ULONGLONG>(position.QuadPart));
        } else {
            entry.size = unknownSize;
            entry.lastWrite = entry.lastAccess = entry.creation = Now();
        }
        return AddFromHandle(name, entry, handle);
    }

    OrvaZipResult AddFromHandle(const wchar_t* name, const NewEntry& entry, HANDLE handle) {
        // Data that is to be compressed comes in one piece when there is memory for it, so that it can be one block.
        const bool isBlock = entry.size > inputBuffer && entry.size <= maxBlock && BlockDeflater::IsAvailable() &&
                             MethodFor(name, /*isDirectory=*/false) == methodDeflate;
        std::size_t capacity = isBlock ? static_cast<std::size_t>(entry.size) : inputBuffer;
        std::uint8_t* buffer = m_input.Get(capacity);
        if (buffer == nullptr) buffer = m_input.Get(capacity = inputBuffer);
        if (buffer == nullptr) return OrvaZipNoMemory;
        HandleInput input(handle, entry.size, buffer, capacity);
        return Add(name, entry, input);
    }

    OrvaZipResult AddDirectory(const wchar_t* name, NewEntry entry) {
        entry.size = 0;
        entry.isDirectory = true;
        entry.attributes |= FILE_ATTRIBUTE_DIRECTORY;
        MemoryInput nothing(nullptr, 0);
        return Add(name, entry, nothing);
    }

    OrvaZipResult Add(const wchar_t* name, const NewEntry& entry, Input& input);
    OrvaZipResult Close();

    bool HasEnded() const noexcept { return m_ended; }
    bool HasFailed() const noexcept { return m_failed; }
    ULONGLONG Count() const noexcept { return m_count; }
    ZipOutput& Output() noexcept { return m_output; }

private:
    /// What is known of an entry when its data has been written.
    struct Sizes {
        std::uint64_t plain = 0;
        std::uint64_t stored = 0;
        std::uint32_t crc = 0;
    };

    OrvaZipResult WriteData(Input& input, ULONGLONG declared, std::uint16_t method, ZipCipher* cipher, Sizes& sizes);
    /// Compresses an entry that is there as a whole.
    /// @return false when that is not possible here; nothing has been written then
    bool WriteBlock(const std::uint8_t* data, std::size_t size, ZipCipher* cipher, OrvaZipResult& result);
    OrvaZipResult BeginDeflate() noexcept;
    OrvaZipResult WriteDeflated(const std::uint8_t* data, std::size_t size, bool last, ZipCipher* cipher);
    OrvaZipResult WriteStored(const std::uint8_t* data, std::size_t size, ZipCipher* cipher);
    /// A failure to write the archive, as opposed to one in reading an entry.
    OrvaZipResult Fail(OrvaZipResult result) noexcept {
        if (result != OrvaZipSuccess) m_failed = true;
        return result;
    }

    ZipOutput m_output;
    std::string m_password;
    std::vector<std::uint8_t> m_directory; ///< the central directory's records so far
    LocalClock m_clock;
    BlockBuffer m_input;
    BlockBuffer m_block; ///< what a large entry is compressed into
    BlockDeflater m_blockDeflater;
    z_stream m_deflate{};
    bool m_deflateReady = false;
    bool m_failed = false;
    bool m_ended = false;
    ULONGLONG m_count = 0;
};

OrvaZipResult OrvaZipWriter::Core::Add(const wchar_t* name, const NewEntry& entry, Input& input) {
    const std::string stored = StoredName(name, entry.isDirectory);
    if (stored.empty() || stored.size() > MAXWORD || (!entry.isDirectory && stored.back() == '/')) {
        return OrvaZipBadArguments;
    }

    const std::uint16_t method = MethodFor(name, entry.isDirectory);
    const bool isEncrypted = !m_password.empty() && !entry.isDirectory;
    const bool has64 = entry.size >= zip64From;
    const DosStamp stamp = m_clock.Stamp(entry.lastWrite);
    const auto needs = has64                                                         ? needsZip64
                       : method == methodDeflate || isEncrypted || entry.isDirectory ? needsDeflate
                                                                                     : needsPlain;
    // The check byte of the encryption stands before the data, when the checksum is not known yet: such an entry is
    // marked as one with a descriptor behind its data, and the time takes the checksum's part.
    const auto flags = static_cast<std::uint16_t>((isEncrypted ? flagEncrypted | flagDescriptor : 0) |
                                                  (IsAscii(stored) ? 0 : flagUtf8));

    // Room for the directory's record first: with the data written, nothing may fail but the output.
    constexpr std::size_t zip64Extra = 4 + 3 * 8;
    constexpr std::size_t ntfsExtra = 4 + 32;
    const std::size_t recordSize = centralSize + stored.size() + zip64Extra + ntfsExtra;
    if (m_directory.capacity() - m_directory.size() < recordSize) {
        m_directory.reserve(std::max(m_directory.capacity() * 2, m_directory.size() + recordSize));
    }

    const std::uint64_t start = m_output.Position();
    const std::uint32_t laterSize = has64 ? sizeIn64 : 0;
    RecordBuilder<localSize> local;
    local.Add(localSignature).Add(needs).Add(flags).Add(method).Add(stamp.time).Add(stamp.date);
    local.Add(std::uint32_t{0}).Add(laterSize).Add(laterSize);
    local.Add(static_cast<std::uint16_t>(stored.size())).Add(static_cast<std::uint16_t>(has64 ? 20 : 0));
    RecordBuilder<20> local64;
    local64.Add(extraZip64).Add(std::uint16_t{16}).Add(std::uint64_t{0}).Add(std::uint64_t{0});
    OrvaZipResult result = m_output.Write(local.Data(), local.Size());
    if (result == OrvaZipSuccess) result = m_output.Write(stored.data(), stored.size());
    if (result == OrvaZipSuccess && has64) result = m_output.Write(local64.Data(), local64.Size());
    if (result != OrvaZipSuccess) return Fail(result);

    Sizes sizes;
    std::optional<ZipCipher> cipher;
    if (isEncrypted) {
        cipher.emplace(m_password);
        std::uint8_t header[ZipCipher::headerSize];
        cipher->MakeHeader(header, static_cast<std::uint8_t>(stamp.time >> 8));
        result = m_output.Write(header, sizeof header);
        if (result != OrvaZipSuccess) return Fail(result);
    }
    const std::uint64_t data = m_output.Position() - (isEncrypted ? ZipCipher::headerSize : 0);
    result = WriteData(input, entry.size, method, cipher ? &*cipher : nullptr, sizes);
    sizes.stored = m_output.Position() - data;
    if (result == OrvaZipSuccess && !has64 && (sizes.plain >= sizeIn64 || sizes.stored >= sizeIn64)) {
        result = OrvaZipWrongSize;
    }
    if (result != OrvaZipSuccess) {
        if (!m_failed) m_output.Rewind(start);
        return result;
    }

    if (isEncrypted) {
        RecordBuilder<24> descriptor;
        descriptor.Add(descriptorSignature).Add(sizes.crc);
        if (has64) {
            descriptor.Add(sizes.stored).Add(sizes.plain);
        } else {
            descriptor.Add(static_cast<std::uint32_t>(sizes.stored)).Add(static_cast<std::uint32_t>(sizes.plain));
        }
        result = m_output.Write(descriptor.Data(), descriptor.Size());
    } else {
        RecordBuilder<12> fields;
        fields.Add(sizes.crc);
        if (!has64) {
            fields.Add(static_cast<std::uint32_t>(sizes.stored)).Add(static_cast<std::uint32_t>(sizes.plain));
        }
        result = m_output.Patch(start + 14, fields.Data(), fields.Size());
        if (result == OrvaZipSuccess && has64) {
            RecordBuilder<16> fields64;
            fields64.Add(sizes.plain).Add(sizes.stored);
            result = m_output.Patch(start + localSize + stored.size() + 4, fields64.Data(), fields64.Size());
        }
    }
    if (result != OrvaZipSuccess) return Fail(result);

    const auto low = [](std::uint64_t value) {
        return value >= sizeIn64 ? sizeIn64 : static_cast<std::uint32_t>(value);
    };
    RecordBuilder<zip64Extra> central64;
    const int count64 = (sizes.plain >= sizeIn64) + (sizes.stored >= sizeIn64) + (start >= sizeIn64);
    if (count64 > 0) {
        central64.Add(extraZip64).Add(static_cast<std::uint16_t>(count64 * 8));
        for (const std::uint64_t value : {sizes.plain, sizes.stored, start}) {
            if (value >= sizeIn64) central64.Add(value);
        }
    }
    RecordBuilder<ntfsExtra> ntfs;
    ntfs.Add(extraNtfs).Add(std::uint16_t{32}).Add(std::uint32_t{0}).Add(std::uint16_t{1}).Add(std::uint16_t{24});
    ntfs.Add(ToField(entry.lastWrite)).Add(ToField(entry.lastAccess)).Add(ToField(entry.creation));

    RecordBuilder<centralSize> central;
    central.Add(centralSignature).Add(madeBy).Add(count64 > 0 ? needsZip64 : needs).Add(flags).Add(method);
    central.Add(stamp.time).Add(stamp.date).Add(sizes.crc).Add(low(sizes.stored)).Add(low(sizes.plain));
    central.Add(static_cast<std::uint16_t>(stored.size()));
    central.Add(static_cast<std::uint16_t>(central64.Size() + ntfs.Size()));
    central.Add(std::uint16_t{0}).Add(std::uint16_t{0}).Add(std::uint16_t{0}); // comment, disk, internal attributes
    central.Add(static_cast<std::uint32_t>(entry.attributes & storedAttributes)).Add(low(start));
    m_directory.insert(m_directory.end(), central.Data(), central.Data() + central.Size());
    m_directory.insert(m_directory.end(), stored.begin(), stored.end());
    m_directory.insert(m_directory.end(), central64.Data(), central64.Data() + central64.Size());
    m_directory.insert(m_directory.end(), ntfs.Data(), ntfs.Data() + ntfs.Size());
    ++m_count;
    return OrvaZipSuccess;
}

OrvaZipResult OrvaZipWriter::Core::WriteData(Input& input, ULONGLONG declared, std::uint16_t method, ZipCipher* cipher,
                                             Sizes& sizes) {
    for (bool isFirst = true;; isFirst = false) {
        const std::uint8_t* data;
        std::size_t size;
        OrvaZipResult result = input.Next(data, size);
        if (result != OrvaZipSuccess) return result;
        sizes.crc = Crc32(sizes.crc, data, size);
        sizes.plain += size;
        if (method == methodStored) {
            result = WriteStored(data, size, cipher);
        } else {
            if (isFirst) {
                if (size == declared && WriteBlock(data, size, cipher, result)) return Fail(result);
                result = BeginDeflate();
                if (result != OrvaZipSuccess) return result;
            }
            result = WriteDeflated(data, size, size == 0, cipher);
        }
        if (result != OrvaZipSuccess || size == 0) return Fail(result);
    }
}

bool OrvaZipWriter::Core::WriteBlock(const std::uint8_t* data, std::size_t size, ZipCipher* cipher,
                                     OrvaZipResult& result) {
    if (size < minBlock || size > maxBlock || !BlockDeflater::IsAvailable()) return false;
    const std::size_t bound = BlockDeflater::Bound(size);
    std::uint8_t* const room = m_output.RoomFor(bound, result);
    if (result != OrvaZipSuccess) return true;
    std::uint8_t* const block = room != nullptr ? room : m_block.Get(bound);
    const std::size_t written = block != nullptr ? m_blockDeflater.Compress(data, size, block, bound) : 0;
    if (written == 0) return false;
    if (cipher != nullptr) cipher->Encrypt(block, written);
    if (room != nullptr) {
        m_output.Advance(written);
    } else {
        result = m_output.Write(block, written);
    }
    return true;
}

OrvaZipResult OrvaZipWriter::Core::BeginDeflate() noexcept {
    const int status = m_deflateReady ? ::deflateReset(&m_deflate)
                                      : ::deflateInit2(&m_deflate, Z_DEFAULT_COMPRESSION, Z_DEFLATED, -MAX_WBITS,
                                                       MAX_MEM_LEVEL - 1, Z_DEFAULT_STRATEGY);
    if (status != Z_OK) return status == Z_MEM_ERROR ? OrvaZipNoMemory : OrvaZipFlateFailed;
    m_deflateReady = true;
    return OrvaZipSuccess;
}

OrvaZipResult OrvaZipWriter::Core::WriteDeflated(const std::uint8_t* data, std::size_t size, bool last,
                                                 ZipCipher* cipher) {
    m_deflate.next_in = const_cast<Bytef*>(data); // zlib declares it for writing but only reads
    m_deflate.avail_in = static_cast<uInt>(size);
    for (;;) {
        std::size_t available;
        OrvaZipResult result;
        std::uint8_t* room = m_output.AnyRoom(available, result);
        if (room == nullptr) return result;
        const std::size_t offered = std::min(available, maxPiece);
        m_deflate.next_out = room;
        m_deflate.avail_out = static_cast<uInt>(offered);
        const int status = ::deflate(&m_deflate, last ? Z_FINISH : Z_NO_FLUSH);
        // Z_BUF_ERROR: nothing was left to do, the buffer having been filled exactly.
        if (status != Z_OK && status != Z_STREAM_END && status != Z_BUF_ERROR) return OrvaZipFlateFailed;
        const std::size_t written = offered - m_deflate.avail_out;
        if (cipher != nullptr) cipher->Encrypt(room, written);
        m_output.Advance(written);
        if (status == Z_STREAM_END || (!last && m_deflate.avail_out > 0)) return OrvaZipSuccess;
    }
}

OrvaZipResult OrvaZipWriter::Core::WriteStored(const std::uint8_t* data, std::size_t size, ZipCipher* cipher) {
    if (cipher == nullptr) return m_output.Write(data, size);
    while (size > 0) {
        std::size_t available;
        OrvaZipResult result;
        std::uint8_t* room = m_output.AnyRoom(available, result);
        if (room == nullptr) return result;
        const std::size_t count = std::min(size, available);
        std::memcpy(room, data, count);
        cipher->Encrypt(room, count);
        m_output.Advance(count);
        data += count;
        size -= count;
    }
    return OrvaZipSuccess;
}

OrvaZipResult OrvaZipWriter::Core::Close() {
    m_ended = true;
    const std::uint64_t start = m_output.Position();
    OrvaZipResult result = m_output.Write(m_directory.data(), m_directory.size());
    const std::uint64_t size = m_directory.size();
    if (result == OrvaZipSuccess && (m_count >= countIn64 || size >= sizeIn64 || start >= sizeIn64)) {
        RecordBuilder<56 + 20> records;
        const std::uint64_t end64 = m_output.Position();
        records.Add(end64Signature).Add(std::uint64_t{44}).Add(madeBy).Add(needsZip64);
        records.Add(std::uint32_t{0}).Add(std::uint32_t{0}); // this disk, the directory's disk
        records.Add(std::uint64_t{m_count}).Add(std::uint64_t{m_count}).Add(size).Add(start);
        records.Add(locator64Signature).Add(std::uint32_t{0}).Add(end64).Add(std::uint32_t{1});
        result = m_output.Write(records.Data(), records.Size());
    }
    if (result == OrvaZipSuccess) {
        const auto count = static_cast<std::uint16_t>(std::min<ULONGLONG>(m_count, countIn64));
        RecordBuilder<endSize> end;
        end.Add(endSignature).Add(std::uint16_t{0}).Add(std::uint16_t{0}).Add(count).Add(count);
        end.Add(static_cast<std::uint32_t>(std::min<std::uint64_t>(size, sizeIn64)));
        end.Add(static_cast<std::uint32_t>(std::min<std::uint64_t>(start, sizeIn64))).Add(std::uint16_t{0});
        result = m_output.Write(end.Data(), end.Size());
    }
    if (result == OrvaZipSuccess) result = m_output.Finish();
    if (result != OrvaZipSuccess) m_output.Discard();
    return Fail(result);
}

OrvaZipWriter::OrvaZipWriter() noexcept = default;
OrvaZipWriter::~OrvaZipWriter() = default;

OrvaZipResult OrvaZipWriter::Create(const wchar_t* path, const wchar_t* password) {
    return RecordZip([&] {
        m_core.reset();
        if (path == nullptr || *path == L'\0') return OrvaZipBadArguments;
        auto core = std::make_unique<Core>(password);
        const OrvaZipResult result = core->Begin(path);
        if (result == OrvaZipSuccess) m_core = std::move(core);
        return result;
    });
}

OrvaZipResult OrvaZipWriter::CreateInMemory(std::size_t maximum, const wchar_t* password) {
    return RecordZip([&] {
        m_core.reset();
        auto core = std::make_unique<Core>(password);
        const OrvaZipResult result = core->Begin(maximum);
        if (result == OrvaZipSuccess) m_core = std::move(core);
        return result;
    });
}

namespace {

/// Runs an addition when the archive's state allows one.
template <class Core, class Addition>
OrvaZipResult AddTo(Core* core, const wchar_t* name, Addition addition) noexcept {
    return RecordZip([&] {
        if (core == nullptr || name == nullptr) return OrvaZipBadArguments;
        if (core->HasFailed()) return OrvaZipPreviousError;
        if (core->HasEnded()) return OrvaZipEnded;
        return addition(*core);
    });
}

} // namespace

OrvaZipResult OrvaZipWriter::AddFile(const wchar_t* name, const wchar_t* path) {
    return AddTo(m_core.get(), name, [&](Core& core) {
        if (path == nullptr || *path == L'\0') return OrvaZipBadArguments;
        bool isDirectory;
        return core.AddOpened(name, OpenToRead(AbsoluteSystemPath(path)), isDirectory);
    });
}

OrvaZipResult ZipWriterAccess::AddOpened(OrvaZipWriter& writer, const wchar_t* name, const UniqueFileHandle& file,
                                         bool& isDirectory) {
    return AddTo(writer.m_core.get(), name,
                 [&](OrvaZipWriter::Core& core) { return core.AddOpened(name, file, isDirectory); });
}

OrvaZipResult ZipWriterAccess::AddExisting(OrvaZipWriter& writer, const wchar_t* name, const wchar_t* path,
                                           const OrvaZipProgress& progress, UINT number, UINT count,
                                           bool& isDirectory) {
    std::wstring source;
    try {
        source = AbsoluteSystemPath(path);
    } catch (const std::bad_alloc&) {
        return RecordZipResult(OrvaZipNoMemory);
    }
    const UniqueFileHandle file = OpenToRead(source);
    // Most files can be opened. Only for another one the system is asked whether it is there at all.
    const bool exists = file || ::GetFileAttributesW(source.c_str()) != INVALID_FILE_ATTRIBUTES;
    if (exists && progress) progress(number, count, path);
    return AddOpened(writer, name, file, isDirectory);
}

OrvaZipResult OrvaZipWriter::AddMemory(const wchar_t* name, const void* data, std::size_t size,
                                       const FILETIME* lastWrite, DWORD attributes) {
    return AddTo(m_core.get(), name, [&](Core& core) {
        if (data == nullptr && size > 0) return OrvaZipBadArguments;
        NewEntry entry;
        entry.size = size;
        entry.attributes = attributes & ~DWORD{FILE_ATTRIBUTE_DIRECTORY};
        entry.lastWrite = entry.lastAccess = entry.creation = lastWrite != nullptr ? *lastWrite : Now();
        MemoryInput input(data, size);
        return core.Add(name, entry, input);
    });
}

OrvaZipResult OrvaZipWriter::AddHandle(const wchar_t* name, HANDLE handle) {
    return AddTo(m_core.get(), name, [&](Core& core) {
        return handle == nullptr || handle == INVALID_HANDLE_VALUE ? OrvaZipBadArguments : core.AddHandle(name, handle);
    });
}

OrvaZipResult OrvaZipWriter::AddDirectory(const wchar_t* name, const FILETIME* lastWrite, DWORD attributes) {
    return AddTo(m_core.get(), name, [&](Core& core) {
        NewEntry entry;
        entry.attributes = attributes;
        entry.lastWrite = entry.lastAccess = entry.creation = lastWrite != nullptr ? *lastWrite : Now();
        return core.AddDirectory(name, entry);
    });
}

ULONGLONG OrvaZipWriter::GetCount() const noexcept {
    return m_core ? m_core->Count() : 0;
}

OrvaZipResult OrvaZipWriter::Close() {
    return RecordZip([&] {
        if (!m_core) return OrvaZipBadArguments;
        if (m_core->HasFailed()) {
            m_core->Output().Discard();
            return OrvaZipPreviousError;
        }
        return m_core->HasEnded() ? OrvaZipEnded : m_core->Close();
    });
}

OrvaZipResult OrvaZipWriter::GetMemory(const void*& data, std::size_t& size) {
    data = nullptr;
    size = 0;
    return RecordZip([&] {
        if (!m_core) return OrvaZipBadArguments;
        if (!m_core->Output().IsMemory()) return OrvaZipNotMemory;
        if (m_core->HasFailed()) return OrvaZipPreviousError;
        if (!m_core->HasEnded()) {
            const OrvaZipResult result = m_core->Close();
            if (result != OrvaZipSuccess) return result;
        }
        data = m_core->Output().Memory();
        size = static_cast<std::size_t>(m_core->Output().Position());
        return OrvaZipSuccess;
    });
}
