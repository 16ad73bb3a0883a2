#include "tarnu/archive/OrvaZip.h"

#include "tarnu/archive/ZipFilesInternal.h"
#include "tarnu/archive/ZipOpenAheadInternal.h"
#include "tarnu/archive/ZipWriterInternal.h"
#include "tarnu/support/RelativePath.h"

#include <algorithm>
#include <climits>
#include <new>
#include <optional>
#include <vector>

using namespace tarnu::support;

namespace {

bool IsFolder(const wchar_t* path) noexcept {
    const DWORD attributes = ::GetFileAttributesW(path);
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

/// A list of so many files is worth the thread that opens them ahead.
constexpr UINT openAheadFrom = 32;

UINT Clipped(ULONGLONG count) noexcept {
    return static_cast<UINT>(std::min<ULONGLONG>(count, UINT_MAX));
}

/// The path of a file relative to a directory; empty when there is none.
CString RelativeName(const CString& base, const CString& file) {
    RelativePathBuffer relative;
    FindRelativePath(relative, base, file, FILE_ATTRIBUTE_DIRECTORY);
    return CString(relative);
}

CString NameInArchive(const CString& file, int mode, const CString& base) {
    if (mode == OrvaZipBareNames) return file.Mid(file.ReverseFind(L'\\') + 1);
    const CString relative = RelativeName(base, file);
    return relative.IsEmpty() ? file : relative;
}

/// Opens what OrvaUnzipAll extracts, and makes its destination; what was made for nothing is removed again.
bool Prepare(OrvaZipReader& reader, const CString& archive, const OrvaPath& destination) noexcept {
    FolderMaker maker;
    try {
        const std::wstring folder = AbsoluteSystemPath(destination);
        if (destination.IsEmpty() || folder.empty()) return false;
        const bool isReady = (IsFolder(folder.c_str()) || maker.Make(folder)) &&
                             reader.Open(archive) == OrvaZipSuccess && reader.GetCount() > 0;
        if (isReady) return true;
    } catch (const std::bad_alloc&) {
        maker.Undo();
        return false;
    }
    maker.Undo();
    return false;
}

/// Replaces slashes and names the file in the archive; false when there is no memory for it.
bool Name(CString& file, int mode, const CString& base, CString& name) noexcept {
    try {
        file.Replace(L'/', L'\\');
        name = NameInArchive(file, mode, base);
        return true;
    } catch (const std::bad_alloc&) {
        return false;
    }
}

} // namespace

bool OrvaUnzipAll(const CString& archive, const OrvaPath& destination, const OrvaZipProgress& progress,
                  const OrvaZipOverwrite& overwrite) {
    OrvaZipReader reader;
    if (!Prepare(reader, archive, destination)) return false;
    const UINT count = Clipped(reader.GetCount());
    OrvaZipEntry entry;
    std::vector<ULONGLONG> directories;
    for (ULONGLONG index = 0; index < reader.GetCount(); ++index) {
        if (reader.GetEntry(index, entry) == OrvaZipSuccess && progress) {
            progress(Clipped(index + 1), count, entry.name);
        }
        bool written = false;
        reader.ExtractBelow(index, destination, overwrite, &written);
        if (!written || !entry.isDirectory) continue;
        try {
            directories.push_back(index);
        } catch (const std::bad_alloc&) { // this directory then keeps the time at which it was filled
            continue;
        }
    }
    // Once more, innermost first: what was extracted into a directory has changed its times.
    for (; !directories.empty(); directories.pop_back())
        reader.ExtractBelow(directories.back(), destination);
    return true;
}

int OrvaZipFiles(const CString& archive, const CStringList& files, int mode, const CString& base,
                 const OrvaZipProgress& progress) {
    OrvaZipWriter writer;
    if (writer.Create(archive) != OrvaZipSuccess) return 0;
    CString folder;
    try {
        folder = base;
        folder.Replace(L'/', L'\\');
    } catch (const std::bad_alloc&) {
        return 0;
    }
    const UINT count = Clipped(static_cast<ULONGLONG>(files.GetCount()));
    // A progress callback may change or make the files to come: with one, each is opened at its turn.
    std::optional<OpenAhead> openAhead;
    if (count >= openAheadFrom && !progress) openAhead.emplace(files);
    UINT number = 0;
    int added = 0;
    for (POSITION position = files.GetHeadPosition(); position != nullptr;) {
        CString file = files.GetNext(position);
        CString name;
        ++number;
        const UniqueFileHandle* const opened = openAhead ? &openAhead->Next() : nullptr;
        if (!Name(file, mode, folder, name)) continue;
        bool isDirectory = false;
        const OrvaZipResult result =
            opened != nullptr && *opened
                ? ZipWriterAccess::AddOpened(writer, name, *opened, isDirectory)
                : ZipWriterAccess::AddExisting(writer, name, file, progress, number, count, isDirectory);
        if (result == OrvaZipSuccess && !isDirectory) ++added;
    }
    openAhead.reset();                    // the last files may be where the archive goes
    if (writer.GetCount() == 0) return 0; // without Close nothing is left behind
    return writer.Close() == OrvaZipSuccess ? added : 0;
}
