#include "orva/Command.h"
#include "orva/Console.h"
#include "orva/TreeProgress.h"
#include "tarnu/TarnuWin32Utils.h"

#include <algorithm>
#include <climits>
#include <memory>
#include <string>
#include <vector>

namespace orva {
namespace {

struct ZipOptions {
    std::wstring archive;
    std::vector<std::wstring> paths;
    std::wstring password;
    bool isListing = false;
    bool isQuiet = false;
};

struct UnzipOptions {
    std::wstring archive;
    std::wstring folder;
    std::wstring password;
    bool canOverwrite = false;
    bool isQuiet = false;
};

/// The text of a result code.
std::wstring ResultText(OrvaZipResult result) {
    char text[100];
    OrvaFormatZipMessage(result, text, sizeof text);
    return Wide(text);
}

int Fail(const std::wstring& path, OrvaZipResult result) {
    PrintError(L"orva: " + Named(path) + L": " + ResultText(result) + L"\n");
    return exitFailure;
}

/// So many steps, each of which is shown.
tarnu::ProgressScope::Options EachOf(int count) {
    return {.value = count, .interval = 0};
}

/// A file or folder to be packed.
struct Item {
    OrvaPath path;
    OrvaPath name; ///< in the archive
};

/// What a path of the command line stands for: itself, and for a folder all that is in it, below the folder's name.
/// @return false when nothing is there
bool Collect(const std::wstring& argument, std::vector<Item>& items) {
    OrvaPath path(argument.c_str(), OrvaPath::Normalized);
    OrvaFileAttributeData data;
    OrvaGetFileAttributeData(path, /*infoLevel=*/0, &data); // false for a folder, with its attributes
    if (data.dwFileAttributes == INVALID_FILE_ATTRIBUTES) return false;
    // "." and ".." have a name all the same.
    OrvaPath current;
    current.GetCurrentDirectory();
    OrvaPath absolute(path);
    if (absolute.MakeAbsolute(current, /*baseIsFile=*/false, /*tryNameOnly=*/false, /*mustExist=*/true)) {
        absolute.RemoveTrailingSeparators();
    } else {
        absolute = path;
    }
    const OrvaPath name = absolute.GetNameAndExtension(); // empty for a drive
    if ((data.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) == 0) {
        items.push_back({path, name});
        return true;
    }
    OrvaBFSDirectoryTree folders;
    folders.Open(path, L"*", 0);
    for (const OrvaFileEntry& entry : OrvaWalk(folders)) {
        const OrvaPath inArchive = name / entry.name;
        if (!inArchive.IsEmpty()) items.push_back({entry.path, inArchive});
    }
    OrvaBFSFileTree files;
    files.Open(path, L"*", 0x20);
    for (const OrvaFileEntry& entry : OrvaWalk(files))
        items.push_back({entry.path, name / entry.name});
    return true;
}

int RunZip(const ZipOptions& options) {
    std::vector<Item> items;
    for (const std::wstring& argument : options.paths) {
        if (!Collect(argument, items)) {
            PrintError(L"orva: " + Named(argument) + L": nothing is there; nothing was packed\n");
            return exitFailure;
        }
    }
    const std::wstring& archive = options.archive;
    OrvaZipWriter writer;
    OrvaZipResult result = writer.Create(archive.c_str(), options.password.c_str());
    if (result != OrvaZipSuccess) return Fail(archive, result);

    TreeProgress console(options.isQuiet);
    const int count = static_cast<int>(std::min<std::size_t>(items.size(), INT_MAX));
    tarnu::ProgressScope progress(archive.c_str(), count, EachOf(count));
    std::uint64_t failures = 0;
    for (const Item& item : items) {
        OrvaProgressText(item.name);
        if (!progress.Step()) {
            console.Finish();
            PrintError(L"orva: stopped; " + archive + L" was left as it was\n");
            return exitFailure;
        }
        result = writer.AddFile(item.name, item.path);
        if (result == OrvaZipSuccess) continue;
        console.Finish();
        Fail(std::wstring(item.path), result);
        ++failures;
    }
    console.Finish();
    const std::uint64_t packed = writer.GetCount();
    result = writer.Close();
    if (result != OrvaZipSuccess) return Fail(archive, result);
    OrvaFileAttributeData data{};
    OrvaGetFileAttributeData(archive.c_str(), /*infoLevel=*/0, &data);
    const std::uint64_t size = (std::uint64_t{data.nFileSizeHigh} << 32) | data.nFileSizeLow;
    Print(L"packed " + Counted(packed, L"entry", L"entries") + L" into " + FormatSize(size) +
          (failures == 0 ? L"\n" : L"; left out " + std::to_wstring(failures) + L"\n"));
    return failures == 0 ? exitSuccess : exitFailure;
}

int RunList(const ZipOptions& options) {
    const std::wstring& archive = options.archive;
    OrvaZipReader reader;
    const OrvaZipResult result = reader.Open(archive.c_str());
    if (result != OrvaZipSuccess) return Fail(archive, result);
    std::uint64_t total = 0;
    std::uint64_t packed = 0;
    Print(L"            size        packed  method   time              name\n");
    for (ULONGLONG index = 0; index < reader.GetCount(); ++index) {
        OrvaZipEntry entry;
        if (reader.GetEntry(index, entry) != OrvaZipSuccess) continue;
        SYSTEMTIME utc{};
        SYSTEMTIME local{};
        if (::FileTimeToSystemTime(&entry.lastWrite, &utc)) {
            ::SystemTimeToTzSpecificLocalTime(nullptr, &utc, &local);
        }
        const std::wstring method = entry.method == 0   ? L"stored"
                                    : entry.method == 8 ? L"deflate"
                                                        : Format(L"%u", static_cast<unsigned>(entry.method));
        Print(Format(L"%16I64u  %12I64u  %-7s%c %04u-%02u-%02u %02u:%02u  ", entry.size, entry.compressedSize,
                     method.c_str(), entry.isEncrypted ? L'*' : L' ', static_cast<unsigned>(local.wYear),
                     static_cast<unsigned>(local.wMonth), static_cast<unsigned>(local.wDay),
                     static_cast<unsigned>(local.wHour), static_cast<unsigned>(local.wMinute)) +
              OnOneLine(entry.name.GetString()) + L"\n");
        total += entry.size;
        packed += entry.compressedSize;
    }
    Print(Counted(reader.GetCount(), L"entry", L"entries") + L", " + FormatSize(total) + L" in " + FormatSize(packed) +
          L"\n");
    return exitSuccess;
}

int RunUnzip(const UnzipOptions& options) {
    const std::wstring& archive = options.archive;
    const std::wstring& folder = options.folder;
    OrvaZipReader reader;
    OrvaZipResult result = reader.Open(archive.c_str(), options.password.c_str());
    if (result != OrvaZipSuccess) return Fail(archive, result);
    if (OrvaCreateDirectoryPath(folder.c_str()) != 0) {
        PrintError(L"orva: " + folder + L": the folder cannot be made\n");
        return exitFailure;
    }

    TreeProgress console(options.isQuiet);
    const OrvaZipOverwrite overwrite = [&](const wchar_t* target, const WIN32_FIND_DATAW&) {
        if (options.isQuiet) return;
        console.Finish();
        Print(L"replacing " + std::wstring(target) + L"\n");
    };
    std::uint64_t extracted = 0;
    std::uint64_t kept = 0;
    std::uint64_t failures = 0;
    const int count = static_cast<int>(std::min<ULONGLONG>(reader.GetCount(), INT_MAX));
    tarnu::ProgressScope progress(archive.c_str(), count, EachOf(count));
    for (ULONGLONG index = 0; index < reader.GetCount(); ++index) {
        OrvaZipEntry entry;
        reader.GetEntry(index, entry);
        OrvaProgressText(OnOneLine(entry.name.GetString()).c_str());
        if (!progress.Step()) break;
        bool written = false;
        result = reader.ExtractBelow(index, folder.c_str(), options.canOverwrite ? overwrite : nullptr, &written);
        if (result != OrvaZipSuccess) {
            console.Finish();
            const bool needsPassword = result == OrvaZipBadArguments && entry.isEncrypted;
            const std::wstring reason =
                needsPassword ? std::wstring(L"it is encrypted, and not with this password") : ResultText(result);
            PrintError(L"orva: " + OnOneLine(entry.name.GetString()) + L": " + reason + L"\n");
            ++failures;
        } else {
            ++(written ? extracted : kept);
        }
    }
    console.Finish();
    std::wstring text = L"unpacked " + Counted(extracted, L"entry", L"entries");
    if (kept != 0) {
        text += L"; left " + Counted(kept, L"file", L"files") + L" that existed already as " +
                (kept == 1 ? L"it was" : L"they were") + L" (--overwrite replaces them)";
    }
    if (failures != 0) text += L"; " + Counted(failures, L"failure", L"failures");
    if (progress.IsStopped()) text += L"; stopped";
    Print(text + L"\n");
    return failures == 0 && !progress.IsStopped() ? exitSuccess : exitFailure;
}

} // namespace

void AddZipCommand(Command& program) {
    auto options = std::make_shared<ZipOptions>();
    Command& command = program.Add(
        "zip", "Packs files and folders into an archive, or lists what one holds.\n\nA file that cannot be read is "
               "reported and left out. An archive of that name is replaced when the new one is complete, not before. "
               "Ctrl+C stops between two files, and leaves it as it was.");
    command.Synopsis({"ARCHIVE PATH… [--password TEXT] [--quiet]", "--list ARCHIVE"});
    command.Text("ARCHIVE", options->archive, "the archive").Required();
    Option& paths = command.Texts("PATH", options->paths, "files, and folders with all that is in them");
    const Option& list =
        command.Flag("-l,--list", options->isListing,
                     "list the entries: size and packed size in bytes, method (* encrypted), time, name");
    Option& password = command.Text("-p,--password", options->password, "TEXT",
                                    "encrypt with this password (the format's own, weak encryption)");
    command.Flag("-q,--quiet", options->isQuiet, "show no progress");
    paths.Excludes(list);
    password.Excludes(list);
    command.Example("jobs.zip C:\\jobs plan.xml", "a folder and a file");
    command.Example("--list jobs.zip", "what is in it");
    command.Run([options] {
        if (!options->isListing && options->paths.empty()) throw UsageError("PATH or --list is required");
        return options->isListing ? RunList(*options) : RunZip(*options);
    });
}

void AddUnzipCommand(Command& program) {
    auto options = std::make_shared<UnzipOptions>();
    Command& command = program.Add(
        "unzip", "Unpacks an archive into a folder.\n\nFiles that exist are left as they are, unless --overwrite is "
                 "given. Entries that are damaged, or that would land outside of the folder, are reported and left "
                 "out. Ctrl+C stops between two entries.");
    command.Text("ARCHIVE", options->archive, "the archive").Required();
    command.Text("DIR", options->folder, "the folder to unpack into; created when it is missing").Required();
    command.Text("-p,--password", options->password, "TEXT", "the password of encrypted entries");
    command.Flag("-o,--overwrite", options->canOverwrite, "replace files that exist");
    command.Flag("-q,--quiet", options->isQuiet, "show no progress");
    command.Example("jobs.zip D:\\restored", "all of it, into a new folder");
    command.Run([options] { return RunUnzip(*options); });
}

} // namespace orva
