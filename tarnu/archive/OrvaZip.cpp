#include "tarnu/archive/OrvaZip.h"

#include "tarnu/archive/OrvaZipWriter.h"
#include "tarnu/archive/ZipFilesInternal.h"

#include <algorithm>
#include <climits>
#include <shlwapi.h>
#include <vector>

using namespace tarnu::support;

namespace {

bool IsFolder(const wchar_t* path) noexcept {
    const DWORD attributes = ::GetFileAttributesW(path);
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

UINT Clipped(ULONGLONG count) noexcept {
    return static_cast<UINT>(std::min<ULONGLONG>(count, UINT_MAX));
}

/// The path of a file relative to a directory; empty when there is none.
CString RelativeName(const CString& base, const CString& file) {
    // The function cuts texts of 260 characters off, and may write past as many before it finds its answer too long.
    if (base.GetLength() >= MAX_PATH || file.GetLength() >= MAX_PATH) return CString();
    wchar_t relative[4 * MAX_PATH] = {};
    if (!::PathRelativePathToW(relative, base, FILE_ATTRIBUTE_DIRECTORY, file, FILE_ATTRIBUTE_DIRECTORY)) {
        return CString();
    }
    return CString(relative);
}

CString NameInArchive(const CString& file, int mode, const CString& base) {
    if (mode == OrvaZipBareNames) return file.Mid(file.ReverseFind(L'\\') + 1);
    const CString relative = RelativeName(base, file);
    return relative.IsEmpty() ? file : relative;
}

} // namespace

bool OrvaUnzipAll(const CString& archive, const OrvaPath& destination, const OrvaZipProgress& progress,
                  const OrvaZipOverwrite& overwrite) {
    const std::wstring folder = AbsoluteSystemPath(destination);
    if (destination.IsEmpty() || folder.empty()) return false;
    FolderMaker maker;
    OrvaZipReader reader;
    if ((!IsFolder(folder.c_str()) && !maker.Make(folder)) || reader.Open(archive) != OrvaZipSuccess ||
        reader.GetCount() == 0) {
        maker.Undo();
        return false;
    }
    const UINT count = Clipped(reader.GetCount());
    OrvaZipEntry entry;
    std::vector<ULONGLONG> directories;
    for (ULONGLONG index = 0; index < reader.GetCount(); ++index) {
        if (reader.GetEntry(index, entry) == OrvaZipSuccess && progress) {
            progress(Clipped(index + 1), count, entry.name);
        }
        bool written = false;
        reader.ExtractBelow(index, destination, overwrite, &written);
        if (written && entry.isDirectory) directories.push_back(index);
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
    CString folder(base);
    folder.Replace(L'/', L'\\');
    const UINT count = Clipped(static_cast<ULONGLONG>(files.GetCount()));
    UINT number = 0;
    int added = 0;
    for (POSITION position = files.GetHeadPosition(); position != nullptr;) {
        CString file = files.GetNext(position);
        ++number;
        file.Replace(L'/', L'\\');
        const DWORD attributes = ::GetFileAttributesW(AbsoluteSystemPath(file).c_str());
        if (attributes == INVALID_FILE_ATTRIBUTES) continue;
        if (progress) progress(number, count, file);
        const bool isFile = (attributes & FILE_ATTRIBUTE_DIRECTORY) == 0;
        if (writer.AddFile(NameInArchive(file, mode, folder), file) == OrvaZipSuccess && isFile) ++added;
    }
    if (writer.GetCount() == 0) return 0; // without Close nothing is left behind
    return writer.Close() == OrvaZipSuccess ? added : 0;
}
