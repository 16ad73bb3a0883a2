#include "tarnu/archive/OrvaZipReader.h"

#include "tarnu/archive/ZipFilesInternal.h"
#include "tarnu/archive/ZipFormatInternal.h"
#include "tarnu/archive/ZipPathInternal.h"
#include "tarnu/archive/ZipResultInternal.h"
#include "tarnu/archive/ZipSourceInternal.h"

#include <algorithm>
#include <minizip/unzip.h>
#include <optional>
#include <string>
#include <vector>
#include <zlib.h>

using namespace tarnu::support;

namespace {

/// Entries up to this size are decoded in memory before their target is touched, larger ones into a temporary file.
constexpr ULONGLONG inMemoryLimit = ULONGLONG{256} << 20;
constexpr std::size_t pieceSize = std::size_t{256} << 10;

/// Deflate makes at most 258 bytes of two bits, and an archive's last block may be all that there is.
constexpr ULONGLONG highestRatio = 1032;

constexpr DWORD restoredAttributes =
    FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_SYSTEM | FILE_ATTRIBUTE_ARCHIVE;

// The functions through which the unzip interface reads; `opaque` and `stream` are the source.

ZipSource& SourceOf(voidpf stream) noexcept {
    return *static_cast<ZipSource*>(stream);
}
voidpf ZCALLBACK OpenSource(voidpf opaque, const void*, int) noexcept {
    return opaque;
}
uLong ZCALLBACK ReadSource(voidpf, voidpf stream, void* buffer, uLong size) noexcept {
    ZipSource& source = SourceOf(stream);
    if (source.position >= source.Size()) return 0;
    const auto count = static_cast<uLong>(std::min<std::uint64_t>(size, source.Size() - source.position));
    if (!source.Read(source.position, buffer, count)) return 0;
    source.position += count;
    return count;
}
uLong ZCALLBACK RefuseToWrite(voidpf, voidpf, const void*, uLong) noexcept {
    return 0;
}
ZPOS64_T ZCALLBACK TellSource(voidpf, voidpf stream) noexcept {
    return SourceOf(stream).position;
}
long ZCALLBACK SeekSource(voidpf, voidpf stream, ZPOS64_T offset, int origin) noexcept {
    ZipSource& source = SourceOf(stream);
    const std::uint64_t base = origin == ZLIB_FILEFUNC_SEEK_CUR   ? source.position
                               : origin == ZLIB_FILEFUNC_SEEK_END ? source.Size()
                                                                  : 0;
    const std::uint64_t target = base + offset; // a way back arrives as its two's complement
    if (target > source.Size()) return -1;
    source.position = target;
    return 0;
}
int ZCALLBACK CloseSource(voidpf, voidpf) noexcept {
    return 0;
}
int ZCALLBACK TestSource(voidpf, voidpf stream) noexcept {
    return SourceOf(stream).HasFailed() ? 1 : 0;
}

struct UnzipPolicy : NullPolicy<unzFile> {
    static void Close(unzFile file) noexcept { ::unzClose(file); }
};
using UniqueUnzip = Unique<UnzipPolicy>;

/// One entry as the directory describes it, and where it stands there.
struct Record {
    OrvaZipEntry entry;
    std::uint16_t flags = 0;
    std::uint8_t check = 0; ///< the last byte of the encryption header
    unz64_file_pos position{};
};

bool IsZero(const FILETIME& time) noexcept {
    return time.dwLowDateTime == 0 && time.dwHighDateTime == 0;
}

/// The times of an entry: from the NTFS field, else the last write from the Unix field, else from the DOS stamp.
void ReadTimes(OrvaZipEntry& entry, DosStamp stamp, const std::uint8_t* extra, std::size_t size) noexcept {
    ForEachExtra(extra, size, [&entry](std::uint16_t id, const std::uint8_t* data, std::size_t length) {
        constexpr std::size_t ntfsHead = 4 + 4; // reserved, then tag 1 of 24 bytes
        if (id == extraNtfs && length >= ntfsHead + 24 && ReadField<std::uint16_t>(data + 4) == 1 &&
            ReadField<std::uint16_t>(data + 6) >= 24) {
            entry.lastWrite = ReadField<FILETIME>(data + ntfsHead);
            entry.lastAccess = ReadField<FILETIME>(data + ntfsHead + 8);
            entry.creation = ReadField<FILETIME>(data + ntfsHead + 16);
        } else if (id == extraUnixTime && length >= 5 && (data[0] & 1) != 0 && IsZero(entry.lastWrite)) {
            constexpr std::int64_t unixEpoch = 11644473600; // seconds since 1601
            const std::int64_t seconds = ReadField<std::int32_t>(data + 1);
            const auto ticks = static_cast<std::uint64_t>((seconds + unixEpoch) * 10000000);
            entry.lastWrite = {static_cast<DWORD>(ticks), static_cast<DWORD>(ticks >> 32)};
        }
    });
    if (IsZero(entry.lastWrite)) entry.lastWrite = FromDosStamp(stamp);
}

/// A time for SetFileTime, which takes null for "leave it".
const FILETIME* TimeOrNull(const FILETIME& time) noexcept {
    return IsZero(time) ? nullptr : &time;
}

bool SetTimes(HANDLE file, const OrvaZipEntry& entry) noexcept {
    return ::SetFileTime(file, TimeOrNull(entry.creation), TimeOrNull(entry.lastAccess), TimeOrNull(entry.lastWrite)) !=
           FALSE;
}

} // namespace

/// The archive while it is open.
class OrvaZipReader::Core {
public:
    explicit Core(const wchar_t* password) : m_passwords(PasswordForms(password)) {}
    ~Core() {
        if (m_inflateReady) ::inflateEnd(&m_inflate);
    }
    Core(const Core&) = delete;
    Core& operator=(const Core&) = delete;

    OrvaZipResult OpenFile(const wchar_t* path) {
        const std::wstring file = SystemPath(path);
        if (file.empty()) return OrvaZipNoFile;
        const OrvaZipResult result = m_source.OpenFile(file);
        return result == OrvaZipSuccess ? ReadDirectory() : result;
    }
    OrvaZipResult OpenMemory(const void* data, std::size_t size) {
        m_source.OpenMemory(data, size);
        return ReadDirectory();
    }

    ULONGLONG Count() const noexcept { return m_records.size(); }
    const Record* At(ULONGLONG index) const noexcept {
        return index < m_records.size() ? &m_records[static_cast<std::size_t>(index)] : nullptr;
    }

    OrvaZipResult OpenEntry(const Record& record);
    OrvaZipResult ReadEntry(void* buffer, std::size_t size, std::size_t& read);
    void CloseEntry() noexcept { m_open = nullptr; }

    OrvaZipResult ExtractToMemory(const Record& record, void* buffer, std::size_t size);
    /// @param target  in the form that the system takes at any length
    OrvaZipResult ExtractToFile(const Record& record, const std::wstring& target, const OrvaZipOverwrite& overwrite,
                                bool canReplace, bool& written);
    OrvaZipResult ExtractBelow(const Record& record, const wchar_t* folder, const OrvaZipOverwrite& overwrite,
                               bool& written);

private:
    /// A status of the unzip interface. It has one code for what can't be read and for what is not there.
    OrvaZipResult ResultOf(int status) const noexcept {
        if (status == UNZ_OK) return OrvaZipSuccess;
        if (status == UNZ_INTERNALERROR) return OrvaZipNoMemory;
        return m_source.HasFailed() ? OrvaZipReadFailed : OrvaZipCorrupt;
    }
    OrvaZipResult ReadDirectory();
    OrvaZipResult ReadRecord(std::vector<char>& name, std::vector<std::uint8_t>& extra);
    OrvaZipResult FindPassword(const Record& record, std::uint64_t start);
    OrvaZipResult NextInput(const std::uint8_t*& data, std::size_t& size);
    OrvaZipResult Decode(std::uint8_t* target, std::size_t size, std::size_t& decoded);
    OrvaZipResult EndEntry();

    ZipSource m_source;
    UniqueUnzip m_unzip; ///< reads through the source, so it is closed first
    std::vector<Record> m_records;
    std::vector<std::string> m_passwords;

    // The open entry

    const Record* m_open = nullptr;
    ULONGLONG m_left = 0;           ///< of its data
    ULONGLONG m_compressedLeft = 0; ///< of what stands in the archive, from m_at on
    std::uint64_t m_at = 0;
    std::uint32_t m_crc = 0;
    std::optional<ZipCipher> m_cipher;
    std::unique_ptr<std::uint8_t[]> m_deciphered;
    z_stream m_inflate{}; ///< one for the archive, reset for each entry
    bool m_inflateReady = false;
    bool m_inflateEnded = false;
};

OrvaZipResult OrvaZipReader::Core::ReadDirectory() {
    zlib_filefunc64_def functions{};
    functions.zopen64_file = &OpenSource;
    functions.zread_file = &ReadSource;
    functions.zwrite_file = &RefuseToWrite;
    functions.ztell64_file = &TellSource;
    functions.zseek64_file = &SeekSource;
    functions.zclose_file = &CloseSource;
    functions.zerror_file = &TestSource;
    functions.opaque = &m_source;
    m_unzip.Reset(::unzOpen2_64("", &functions));
    if (!m_unzip) return m_source.HasFailed() ? OrvaZipReadFailed : OrvaZipCorrupt;

    unz_global_info64 info{};
    if (::unzGetGlobalInfo64(m_unzip.Get(), &info) != UNZ_OK) return OrvaZipCorrupt;
    if (info.number_entry > m_source.Size() / centralSize) return OrvaZipCorrupt; // more than fit
    if (info.number_entry == 0) return OrvaZipSuccess;
    m_records.reserve(static_cast<std::size_t>(info.number_entry));
    std::vector<char> name(MAXWORD + 1);
    std::vector<std::uint8_t> extra(MAXWORD + 1);
    int status = ::unzGoToFirstFile(m_unzip.Get());
    m_source.SetDirectory(::unzGetOffset64(m_unzip.Get()));
    for (; status == UNZ_OK; status = ::unzGoToNextFile(m_unzip.Get())) {
        const OrvaZipResult result = ReadRecord(name, extra);
        if (result != OrvaZipSuccess) return result;
    }
    if (status != UNZ_END_OF_LIST_OF_FILE) return ResultOf(status);
    return m_records.size() == info.number_entry ? OrvaZipSuccess : OrvaZipCorrupt;
}

OrvaZipResult OrvaZipReader::Core::ReadRecord(std::vector<char>& name, std::vector<std::uint8_t>& extra) {
    unz_file_info64 info{};
    const int status = ::unzGetCurrentFileInfo64(m_unzip.Get(), &info, name.data(), static_cast<uLong>(name.size() - 1),
                                                 extra.data(), static_cast<uLong>(extra.size() - 1), nullptr, 0);
    if (status != UNZ_OK) return ResultOf(status);

    Record record;
    OrvaZipEntry& entry = record.entry;
    record.flags = static_cast<std::uint16_t>(info.flag);
    entry.name = DecodeName({name.data(), info.size_filename}, record.flags, extra.data(), info.size_file_extra);
    entry.size = info.uncompressed_size;
    entry.compressedSize = info.compressed_size;
    entry.crc = static_cast<DWORD>(info.crc);
    entry.method = static_cast<WORD>(info.compression_method);
    entry.isEncrypted = (record.flags & flagEncrypted) != 0;
    entry.attributes = static_cast<DWORD>(info.external_fa) & (restoredAttributes | FILE_ATTRIBUTE_DIRECTORY);
    const wchar_t last = entry.name.IsEmpty() ? L'\0' : entry.name[entry.name.GetLength() - 1];
    entry.isDirectory = last == L'/' || last == L'\\' || (entry.attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
    if (entry.isDirectory) entry.attributes |= FILE_ATTRIBUTE_DIRECTORY;
    const DosStamp stamp{static_cast<std::uint16_t>(info.dosDate >> 16), static_cast<std::uint16_t>(info.dosDate)};
    ReadTimes(entry, stamp, extra.data(), info.size_file_extra);
    record.check = static_cast<std::uint8_t>((record.flags & flagDescriptor) != 0 ? stamp.time >> 8 : entry.crc >> 24);
    if (::unzGetFilePos64(m_unzip.Get(), &record.position) != UNZ_OK) return OrvaZipCorrupt;
    m_records.push_back(std::move(record));
    return OrvaZipSuccess;
}

/// Finds the form of the password that an entry was encrypted with, by the check byte of its header.
OrvaZipResult OrvaZipReader::Core::FindPassword(const Record& record, std::uint64_t start) {
    std::uint8_t header[ZipCipher::headerSize];
    if (!m_source.Read(start, header, sizeof header)) return OrvaZipCorrupt;
    for (const std::string& form : m_passwords) {
        std::uint8_t plain[ZipCipher::headerSize];
        std::copy(std::begin(header), std::end(header), plain);
        m_cipher.emplace(form);
        m_cipher->Decrypt(plain, sizeof plain);
        if (plain[ZipCipher::headerSize - 1] == record.check) return OrvaZipSuccess;
    }
    return OrvaZipBadArguments;
}

OrvaZipResult OrvaZipReader::Core::OpenEntry(const Record& record) {
    CloseEntry();
    const OrvaZipEntry& entry = record.entry;
    const bool isReadable = (entry.method == methodStored || entry.method == methodDeflate) &&
                            (record.flags & (flagStrongEncryption | flagPatch | flagMaskedHeaders)) == 0;
    if (!isReadable) return OrvaZipCorrupt;
    const ULONGLONG header = entry.isEncrypted ? ZipCipher::headerSize : 0;
    if (entry.compressedSize < header || entry.compressedSize > m_source.Size()) return OrvaZipCorrupt;
    const ULONGLONG data = entry.compressedSize - header;
    if (entry.method == methodStored ? entry.size != data : entry.size / highestRatio > data) return OrvaZipCorrupt;

    // The unzip interface finds the data, comparing the entry's own header with the directory; what stands there is
    // decoded from where it is. (The interface would copy it twice more, and is built without decryption.)
    unz64_file_pos position = record.position;
    int status = ::unzGoToFilePos64(m_unzip.Get(), &position);
    int method = 0;
    int level = 0;
    if (status == UNZ_OK) status = ::unzOpenCurrentFile2(m_unzip.Get(), &method, &level, /*raw=*/1);
    if (status != UNZ_OK) return ResultOf(status);
    const std::uint64_t start = ::unzGetCurrentFileZStreamPos64(m_unzip.Get());
    ::unzCloseCurrentFile(m_unzip.Get());
    if (start > m_source.Size() || m_source.Size() - start < entry.compressedSize) return OrvaZipCorrupt;

    m_cipher.reset();
    if (entry.isEncrypted) {
        const OrvaZipResult result = FindPassword(record, start);
        if (result != OrvaZipSuccess) return result;
        if (!m_deciphered) m_deciphered.reset(new std::uint8_t[pieceSize]);
    }
    if (entry.method == methodDeflate) {
        status = m_inflateReady ? ::inflateReset(&m_inflate) : ::inflateInit2(&m_inflate, -MAX_WBITS);
        if (status != Z_OK) return status == Z_MEM_ERROR ? OrvaZipNoMemory : OrvaZipFlateFailed;
        m_inflateReady = true;
        m_inflateEnded = data == 0; // some programs write nothing for nothing
    }
    m_inflate.avail_in = 0;
    m_at = start + header;
    m_compressedLeft = data;
    m_left = entry.size;
    m_crc = 0;
    m_open = &record;
    return OrvaZipSuccess;
}

/// The next piece of what stands in the archive, deciphered; size 0 at its end. Valid until the next call.
OrvaZipResult OrvaZipReader::Core::NextInput(const std::uint8_t*& data, std::size_t& size) {
    size = 0;
    if (m_compressedLeft == 0) return OrvaZipSuccess;
    std::size_t available = 0;
    data = m_source.View(m_at, available);
    if (data == nullptr) return m_source.HasFailed() ? OrvaZipReadFailed : OrvaZipCorrupt;
    size = static_cast<std::size_t>(std::min<ULONGLONG>({available, m_compressedLeft, maxPiece}));
    if (m_cipher) {
        size = std::min(size, pieceSize);
        std::copy_n(data, size, m_deciphered.get());
        m_cipher->Decrypt(m_deciphered.get(), size);
        data = m_deciphered.get();
    }
    m_at += size;
    m_compressedLeft -= size;
    return OrvaZipSuccess;
}

/// Decodes at most @p size bytes; fewer only at the end of the entry's data.
OrvaZipResult OrvaZipReader::Core::Decode(std::uint8_t* target, std::size_t size, std::size_t& decoded) {
    decoded = 0;
    // A piece of stored data is input that waits, like that of the compression.
    while (decoded < size && !(m_open->entry.method == methodDeflate && m_inflateEnded)) {
        if (m_inflate.avail_in == 0) {
            const std::uint8_t* data = nullptr;
            std::size_t count = 0;
            const OrvaZipResult result = NextInput(data, count);
            if (result != OrvaZipSuccess) return result;
            if (count == 0) return OrvaZipSuccess;
            m_inflate.next_in = const_cast<Bytef*>(data); // zlib declares it for writing but only reads
            m_inflate.avail_in = static_cast<uInt>(count);
        }
        const auto room = static_cast<uInt>(std::min(size - decoded, maxPiece));
        std::size_t made = 0;
        if (m_open->entry.method == methodStored) {
            made = std::min(room, m_inflate.avail_in);
            std::copy_n(m_inflate.next_in, made, target + decoded);
            m_inflate.next_in += made;
            m_inflate.avail_in -= static_cast<uInt>(made);
        } else {
            m_inflate.next_out = target + decoded;
            m_inflate.avail_out = room;
            const int status = ::inflate(&m_inflate, Z_NO_FLUSH);
            made = room - m_inflate.avail_out;
            if (status == Z_MEM_ERROR) return OrvaZipNoMemory;
            if (status != Z_OK && status != Z_STREAM_END && status != Z_BUF_ERROR) return OrvaZipCorrupt;
            m_inflateEnded = status == Z_STREAM_END;
        }
        m_crc = static_cast<std::uint32_t>(::crc32(m_crc, target + decoded, static_cast<uInt>(made)));
        decoded += made;
    }
    return OrvaZipSuccess;
}

OrvaZipResult OrvaZipReader::Core::ReadEntry(void* buffer, std::size_t size, std::size_t& read) {
    read = 0;
    if (m_open == nullptr) return OrvaZipBadArguments;
    const auto wanted = static_cast<std::size_t>(std::min<ULONGLONG>(size, m_left));
    OrvaZipResult result = Decode(static_cast<std::uint8_t*>(buffer), wanted, read);
    if (result == OrvaZipSuccess && read < wanted) result = OrvaZipCorrupt; // less than the directory says
    m_left -= read;
    if (result == OrvaZipSuccess) result = m_left > 0 ? OrvaZipMore : EndEntry();
    if (result != OrvaZipMore) CloseEntry();
    return result;
}

/// All of the data has been read: it must end here, with the right checksum.
OrvaZipResult OrvaZipReader::Core::EndEntry() {
    const std::uint32_t crc = m_crc;
    std::uint8_t more;
    std::size_t decoded = 0;
    const OrvaZipResult result = Decode(&more, sizeof more, decoded);
    if (result != OrvaZipSuccess) return result;
    const bool hasEnded = m_open->entry.method == methodStored || m_inflateEnded;
    const bool isUsedUp = m_compressedLeft == 0 && m_inflate.avail_in == 0;
    return decoded == 0 && hasEnded && isUsedUp && crc == m_open->entry.crc ? OrvaZipSuccess : OrvaZipCorrupt;
}

OrvaZipResult OrvaZipReader::Core::ExtractToMemory(const Record& record, void* buffer, std::size_t size) {
    OrvaZipResult result = OpenEntry(record);
    std::size_t read = 0;
    if (result == OrvaZipSuccess) result = ReadEntry(buffer, size, read);
    CloseEntry();
    return result;
}

OrvaZipResult OrvaZipReader::Core::ExtractToFile(const Record& record, const std::wstring& target,
                                                 const OrvaZipOverwrite& overwrite, bool canReplace, bool& written) {
    const OrvaZipEntry& entry = record.entry;
    WIN32_FIND_DATAW existing{};
    bool exists = false;
    {
        const UniqueFindHandle find(::FindFirstFileW(target.c_str(), &existing));
        exists = static_cast<bool>(find);
    }
    if (exists && (existing.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0) return OrvaZipNoFile;
    if (exists && !canReplace) return OrvaZipSuccess; // left alone

    // 1. Verify the entry; a large one on its way into a temporary file.
    OrvaZipResult result = OpenEntry(record);
    if (result != OrvaZipSuccess) return result;
    const DWORD attributes = entry.attributes & restoredAttributes;
    const std::size_t separator = target.find_last_of(L'\\');
    FolderMaker folders;
    PendingFile file;
    const auto create = [&](bool beside) {
        if (separator != std::wstring::npos && !folders.Make(target.substr(0, separator))) return false;
        return beside ? file.CreateBeside(target, attributes) : file.CreateNew(target, attributes);
    };
    const auto fail = [&](OrvaZipResult failure) {
        CloseEntry();
        file.Discard();
        folders.Undo();
        return failure;
    };
    std::size_t read = 0;
    const bool isLarge = entry.size > inMemoryLimit;
    std::vector<std::uint8_t> data(isLarge ? pieceSize : static_cast<std::size_t>(entry.size));
    if (isLarge) {
        if (!create(/*beside=*/true)) return fail(OrvaZipNoFile);
        do {
            result = ReadEntry(data.data(), data.size(), read);
            if (result != OrvaZipSuccess && result != OrvaZipMore) return fail(result);
            if (!file.Write(data.data(), read)) return fail(OrvaZipWriteFailed);
        } while (result == OrvaZipMore);
    } else {
        result = ReadEntry(data.data(), data.size(), read);
        if (result != OrvaZipSuccess) return fail(result);
    }

    // 2. Tell about the file that goes.
    if (exists && overwrite) overwrite(target.c_str(), existing);

    // 3. Write, and give the file its name.
    if (!isLarge) {
        if (!create(/*beside=*/exists)) return fail(OrvaZipNoFile);
        if (!file.Write(data.data(), data.size())) return fail(OrvaZipWriteFailed);
    }
    SetTimes(file.Handle(), entry);
    if (!file.Commit(/*replaceReadOnly=*/true)) return fail(OrvaZipWriteFailed);
    written = true;
    return OrvaZipSuccess;
}

OrvaZipResult OrvaZipReader::Core::ExtractBelow(const Record& record, const wchar_t* folder,
                                                const OrvaZipOverwrite& overwrite, bool& written) {
    const std::wstring relative = SafeRelativePath(record.entry.name.GetString());
    const bool isWholeName = std::wcslen(record.entry.name) == static_cast<std::size_t>(record.entry.name.GetLength());
    if (relative.empty() || !isWholeName) return OrvaZipBadArguments;
    std::wstring root(folder);
    if (!root.ends_with(L'\\') && !root.ends_with(L'/')) root += L'\\';
    const std::wstring target = SystemPath(root + relative);
    if (target.empty()) return OrvaZipNoFile;
    if (!record.entry.isDirectory) {
        return ExtractToFile(record, target, overwrite, static_cast<bool>(overwrite), written);
    }

    FolderMaker folders;
    if (!folders.Make(target)) {
        folders.Undo();
        return OrvaZipNoFile;
    }
    const UniqueFileHandle handle(::CreateFileW(target.c_str(), FILE_WRITE_ATTRIBUTES,
                                                FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                                OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr));
    if (handle) SetTimes(handle.Get(), record.entry);
    written = true;
    return OrvaZipSuccess;
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

namespace {

/// Runs an operation on one entry, when there is such an entry.
template <class Core, class Operation>
OrvaZipResult OnEntry(Core* core, ULONGLONG index, Operation operation) {
    OrvaZipResult result = OrvaZipNoMemory;
    try {
        const Record* record = core != nullptr ? core->At(index) : nullptr;
        result = record != nullptr ? operation(*core, *record) : OrvaZipBadArguments;
    } catch (const std::bad_alloc&) {
        core->CloseEntry();
    }
    return RecordZipResult(result);
}

} // namespace

OrvaZipResult OrvaZipReader::GetEntry(ULONGLONG index, OrvaZipEntry& entry) const {
    return OnEntry(m_core.get(), index, [&entry](const Core&, const Record& record) {
        entry = record.entry;
        return OrvaZipSuccess;
    });
}

OrvaZipResult OrvaZipReader::OpenEntry(ULONGLONG index) {
    return OnEntry(m_core.get(), index, [](Core& core, const Record& record) { return core.OpenEntry(record); });
}

OrvaZipResult OrvaZipReader::ReadEntry(void* buffer, std::size_t size, std::size_t& read) {
    read = 0;
    return RecordZip([&] {
        if (!m_core || (buffer == nullptr && size > 0)) return OrvaZipBadArguments;
        return m_core->ReadEntry(buffer, size, read);
    });
}

OrvaZipResult OrvaZipReader::ExtractToMemory(ULONGLONG index, void* buffer, std::size_t size) {
    return OnEntry(m_core.get(), index, [&](Core& core, const Record& record) {
        return buffer == nullptr && size > 0 ? OrvaZipBadArguments : core.ExtractToMemory(record, buffer, size);
    });
}

OrvaZipResult OrvaZipReader::ExtractToFile(ULONGLONG index, const wchar_t* path) {
    return OnEntry(m_core.get(), index, [path](Core& core, const Record& record) {
        if (path == nullptr || *path == L'\0' || record.entry.isDirectory) return OrvaZipBadArguments;
        const std::wstring target = SystemPath(path);
        bool written = false;
        return target.empty() ? OrvaZipNoFile
                              : core.ExtractToFile(record, target, nullptr, /*canReplace=*/true, written);
    });
}

OrvaZipResult OrvaZipReader::ExtractBelow(ULONGLONG index, const wchar_t* folder, const OrvaZipOverwrite& overwrite,
                                          bool* written) {
    bool isWritten = false;
    if (written == nullptr) written = &isWritten;
    *written = false;
    return OnEntry(m_core.get(), index, [&](Core& core, const Record& record) {
        if (folder == nullptr || *folder == L'\0') return OrvaZipBadArguments;
        return core.ExtractBelow(record, folder, overwrite, *written);
    });
}
