/// @file
/// Whole archives in one call: extract all of one, pack a list of files into one.
#ifndef TARNU_ARCHIVE_ORVAZIP_H
#define TARNU_ARCHIVE_ORVAZIP_H

#include "tarnu/archive/OrvaZipReader.h"
#include "tarnu/archive/OrvaZipResult.h"
#include "tarnu/framework/framework.h"
#include "tarnu/paths/OrvaPath.h"

#include <functional>

/// Told before each step of a long operation: its number counted from 1, the number of steps, and the name of the entry
/// or the path of the file. Runs on the calling thread. Any callable that takes these, or null.
using OrvaZipProgress = std::function<void(UINT number, UINT count, const wchar_t* name)>;

/// Extracts every entry of an archive, in archive order, with folders, times and attributes.
///
/// Existing files are left alone unless @p overwrite is given; it is told about each one, which is then replaced. An
/// entry that is damaged, encrypted, of an unknown method, or whose name leads out of the destination is skipped, and
/// nothing of it is written.
/// @param archive      path of the archive
/// @param destination  a folder, created when it is missing
/// @param progress     told about each entry before it is extracted; may be null
/// @param overwrite    see above; may be null
/// @return false when the destination is no folder and can't be made one, the archive can't be opened or it has no
///         entries; otherwise true, whatever happened to single entries
TARNU_API bool OrvaUnzipAll(const CString& archive, const OrvaPath& destination,
                            const OrvaZipProgress& progress = nullptr, const OrvaZipOverwrite& overwrite = nullptr);

/// How OrvaZipFiles names the files in the archive.
enum OrvaZipNaming : int {
    OrvaZipBareNames = 0,    ///< by the file name alone
    OrvaZipRelativeNames = 1 ///< by the path relative to the base directory when there is one, else by the full path
};

/// Packs files into a new archive, which takes an older one's place when it is complete.
///
/// A file that does not exist or can't be read is left out. When nothing at all could be added, or the archive could
/// not be written, an older one stays as it was. Directories are added as such, without what is in them, and not
/// counted.
///
/// The files of a longer list are opened a few places ahead by a thread that ends within the call, unless there is a
/// progress callback, which may change or make them, or the calling thread impersonates someone.
/// @param archive   path of the archive
/// @param files     paths of the files, with either separator
/// @param mode      an OrvaZipNaming
/// @param base      the base directory of mode 1
/// @param progress  told about each existing file, with its place in the list, before it is added; may be null
/// @return the number of files in the archive; 0 when it was not written
TARNU_API int OrvaZipFiles(const CString& archive, const CStringList& files, int mode, const CString& base,
                           const OrvaZipProgress& progress = nullptr);

#endif // TARNU_ARCHIVE_ORVAZIP_H
