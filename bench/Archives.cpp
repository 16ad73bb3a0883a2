// Zip archives: mixed files and many small ones, packed and unpacked.

#include "bench/FileCorpus.h"
#include "bench/Harness.h"

#include "tarnu/archive/OrvaZip.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <minizip/unzip.h>
#include <minizip/zip.h>
#include <zlib.h>

namespace {

using namespace tarnu::bench;

/// Texts, points, records and data that is compressed already, of sizes from a few hundred bytes to six
/// megabytes.
Tree MixedTree() {
    Contents contents(7);
    Tree tree;
    for (std::size_t number = 0; number < 60; ++number) {
        const std::size_t size = (std::size_t{400} << contents.Below(15)) + contents.Below(500);
        const std::wstring name = L"mixed" + std::to_wstring(number);
        switch (number % 8) {
        case 0:
            tree.files.push_back({name + L".bin", contents.Records(size)});
            break;
        case 1:
            tree.files.push_back({name + L".jpg", contents.Noise(size / 4)});
            break;
        case 2:
        case 3:
        case 4:
            tree.files.push_back({name + L".xml", contents.Points(size)});
            break;
        default:
            tree.files.push_back({name + L".txt", contents.Text(size)});
        }
    }
    return tree;
}

/// Files of up to 3 000 bytes, 100 in a folder.
Tree SmallTree(std::size_t count) {
    Contents contents(11);
    Tree tree;
    for (std::size_t number = 0; number < count; ++number) {
        const std::wstring directory = L"folder" + std::to_wstring(number / 100);
        if (number % 100 == 0) tree.directories.push_back(directory);
        const std::size_t size = 1 + contents.Below(3000);
        tree.files.push_back({directory + L"\\small" + std::to_wstring(number) + L".txt",
                              number % 2 == 0 ? contents.Text(size) : contents.Points(size)});
    }
    return tree;
}

// --- zlib in memory ---

std::string Deflated(z_stream& stream, std::string& room, const std::string& data) {
    ::deflateReset(&stream);
    room.resize(::deflateBound(&stream, static_cast<uLong>(data.size())));
    stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(data.data()));
    stream.avail_in = static_cast<uInt>(data.size());
    stream.next_out = reinterpret_cast<Bytef*>(room.data());
    stream.avail_out = static_cast<uInt>(room.size());
    if (::deflate(&stream, Z_FINISH) != Z_STREAM_END) Give("deflate");
    return room.substr(0, room.size() - stream.avail_out);
}

/// The data of all files, compressed one by one, with their checksums.
struct Packed {
    std::vector<std::string> blocks;
    std::size_t bytes = 0;
    std::uint64_t files = 0;
    uLong checksums = 0;
};

Packed PackInMemory(const Tree& tree) {
    z_stream stream{};
    ::deflateInit2(&stream, 6, Z_DEFLATED, -MAX_WBITS, 8, Z_DEFAULT_STRATEGY);
    Packed packed;
    std::string room;
    for (const Tree::File& file : tree.files) {
        packed.checksums ^=
            ::crc32(0, reinterpret_cast<const Bytef*>(file.contents.data()), static_cast<uInt>(file.contents.size()));
        packed.blocks.push_back(Deflated(stream, room, file.contents));
        packed.bytes += packed.blocks.back().size();
        ++packed.files;
    }
    ::deflateEnd(&stream);
    return packed;
}

std::uint64_t UnpackInMemory(const Packed& packed, const Tree& tree) {
    z_stream stream{};
    ::inflateInit2(&stream, -MAX_WBITS);
    std::string room;
    uLong checksums = 0;
    for (std::size_t index = 0; index < packed.blocks.size(); ++index) {
        const std::string& block = packed.blocks[index];
        room.resize(tree.files[index].contents.size());
        ::inflateReset(&stream);
        stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(block.data()));
        stream.avail_in = static_cast<uInt>(block.size());
        stream.next_out = reinterpret_cast<Bytef*>(room.data());
        stream.avail_out = static_cast<uInt>(room.size());
        if (::inflate(&stream, Z_FINISH) != Z_STREAM_END) Give("inflate");
        checksums ^= ::crc32(0, reinterpret_cast<const Bytef*>(room.data()), static_cast<uInt>(room.size()));
    }
    ::inflateEnd(&stream);
    return checksums == packed.checksums ? packed.blocks.size() : 0;
}

// --- the library ---

void Fill(CStringList& list, const Tree& tree, const std::wstring& root) {
    for (const Tree::File& file : tree.files)
        list.AddTail((root + L'\\' + file.path).c_str());
}

std::uint64_t SizeOf(const std::wstring& path) {
    WIN32_FILE_ATTRIBUTE_DATA data{};
    if (!::GetFileAttributesExW(path.c_str(), GetFileExInfoStandard, &data)) Give("looking at a file");
    return (std::uint64_t{data.nFileSizeHigh} << 32) | data.nFileSizeLow;
}

/// What an archive takes beyond the data: headers, names and times of its entries, and its end.
std::uint64_t RecordsOf(const Tree& tree) {
    std::uint64_t bytes = 22;
    for (const Tree::File& file : tree.files)
        bytes += 30 + 46 + 36 + 2 * file.path.size();
    return bytes;
}

/// Reads all files without doing anything with them.
std::uint64_t ReadAll(const Tree& tree, const std::wstring& root) {
    std::string buffer(std::size_t{8} << 20, '\0');
    std::uint64_t files = 0;
    for (const Tree::File& file : tree.files) {
        const HANDLE input = ::CreateFileW((root + L'\\' + file.path).c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr,
                                           OPEN_EXISTING, 0, nullptr);
        DWORD read = 0;
        if (!::ReadFile(input, buffer.data(), static_cast<DWORD>(buffer.size()), &read, nullptr))
            Give("reading a file");
        files += read == file.contents.size();
        ::CloseHandle(input);
    }
    return files;
}

// --- minizip's own writer and reader ---

std::string Narrow(const std::wstring& text) {
    std::string narrow;
    for (const wchar_t character : text)
        narrow += static_cast<char>(character);
    return narrow;
}

std::uint64_t MinizipPack(const Tree& tree, const std::wstring& root, const std::wstring& archive) {
    const zipFile zip = ::zipOpen64(Narrow(archive).c_str(), APPEND_STATUS_CREATE);
    std::uint64_t files = 0;
    std::string buffer(std::size_t{256} << 10, '\0');
    for (const Tree::File& file : tree.files) {
        zip_fileinfo information{};
        std::string name = Narrow(file.path);
        std::replace(name.begin(), name.end(), '\\', '/');
        if (::zipOpenNewFileInZip64(zip, name.c_str(), &information, nullptr, 0, nullptr, 0, nullptr, Z_DEFLATED, 6,
                                    /*zip64=*/0) != ZIP_OK) {
            Give("zipOpenNewFileInZip64");
        }
        const HANDLE input = ::CreateFileW((root + L'\\' + file.path).c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr,
                                           OPEN_EXISTING, 0, nullptr);
        DWORD read = 0;
        while (::ReadFile(input, buffer.data(), static_cast<DWORD>(buffer.size()), &read, nullptr) && read > 0)
            ::zipWriteInFileInZip(zip, buffer.data(), read);
        ::CloseHandle(input);
        files += ::zipCloseFileInZip(zip) == ZIP_OK;
    }
    return ::zipClose(zip, nullptr) == ZIP_OK ? files : 0;
}

std::uint64_t MinizipUnpack(const Tree& tree, const std::wstring& archive, const std::wstring& root) {
    CreateDirectories(tree, root);
    const unzFile unzip = ::unzOpen64(Narrow(archive).c_str());
    std::uint64_t files = 0;
    std::string buffer;
    for (int status = ::unzGoToFirstFile(unzip); status == UNZ_OK; status = ::unzGoToNextFile(unzip)) {
        unz_file_info64 information;
        char name[MAX_PATH];
        ::unzGetCurrentFileInfo64(unzip, &information, name, sizeof name, nullptr, 0, nullptr, 0);
        buffer.resize(information.uncompressed_size);
        ::unzOpenCurrentFile(unzip);
        const int read = ::unzReadCurrentFile(unzip, buffer.data(), static_cast<unsigned>(buffer.size()));
        if (::unzCloseCurrentFile(unzip) != UNZ_OK || read != static_cast<int>(buffer.size())) continue;
        WriteWhole(root + L'\\' + std::wstring(name, name + std::strlen(name)), buffer.data(), buffer.size());
        ++files;
    }
    ::unzClose(unzip);
    return files;
}

/// Packs a tree and unpacks the archive.
void AddCases(Subject& subject, const char* what, const Tree& tree, const std::wstring& place, double packGoal,
              double unpackGoal, bool unpackAgainstWriting, int unpackRounds) {
    const std::wstring source = place + L"-source";
    const std::wstring archive = place + L".zip";
    const std::wstring other = place + L"-minizip.zip";
    Create(tree, source);
    const auto files = std::make_shared<CStringList>();
    Fill(*files, tree, source);
    const auto packed = std::make_shared<Packed>(PackInMemory(tree));
    const std::uint64_t count = tree.files.size();
    const auto pack = [=] {
        return static_cast<std::uint64_t>(
            OrvaZipFiles(archive.c_str(), *files, OrvaZipRelativeNames, source.c_str(), nullptr));
    };
    // Faster at the price of size would be no comparison.
    if (pack() != count) Give("packing");
    const std::uint64_t bytes = SizeOf(archive) - RecordsOf(tree);
    std::fprintf(stderr, "%s: %zu bytes, %zu compressed with zlib, %llu in the archive\n", what, tree.Bytes(),
                 packed->bytes, static_cast<unsigned long long>(bytes));
    if (bytes > packed->bytes + (unpackAgainstWriting ? packed->bytes / 100 : 0)) Give("packing as small as zlib");

    subject.AddCase(std::string("pack ") + what, "file", count)
        .Limit("zlib in memory, level 6", [&tree] { return PackInMemory(tree).files; })
        .Library("OrvaZipFiles", pack)
        .Peer("CreateFileW and ReadFile loop alone", [=, &tree] { return ReadAll(tree, source); })
        .Peer("minizip's writer", [=, &tree] { return MinizipPack(tree, source, other); })
        .Goal(packGoal)
        .Rounds(3, /*isWarm=*/!unpackAgainstWriting);

    // Many files stay until the end: where a file system keeps the places of deleted ones free for a while, making
    // files after that would cost many times as much. Large ones go at once, to leave room.
    const auto targets = std::make_shared<Numbered>(place + L"-target-");
    const auto target = std::make_shared<std::wstring>(targets->Next());
    const auto nextTarget = [=] {
        if (unpackAgainstWriting)
            *target = targets->Next();
        else
            Remove(*target);
    };
    const auto write = [=, &tree] {
        CreateDirectories(tree, *target);
        WriteFiles(tree, *target);
        return count;
    };
    Case& unpack = subject.AddCase(std::string("unpack ") + what, "file", count);
    if (unpackAgainstWriting) {
        unpack.Limit("CreateFileW and WriteFile loop", write, nextTarget);
    } else {
        unpack.Limit("zlib in memory", [packed, &tree] { return UnpackInMemory(*packed, tree); });
        unpack.Peer("CreateFileW and WriteFile loop alone", write, nextTarget);
    }
    unpack
        .Library(
            "OrvaUnzipAll", [=] { return OrvaUnzipAll(archive.c_str(), *target) ? count : 0; }, nextTarget)
        .Peer(
            "minizip's reader", [=, &tree] { return MinizipUnpack(tree, archive, *target); }, nextTarget)
        .Goal(unpackGoal)
        .Rounds(unpackRounds, /*isWarm=*/!unpackAgainstWriting);
}

} // namespace

/// With `--corpus FOLDER` makes the files that are packed, for the native archivers.
int wmain(int argumentCount, wchar_t** arguments) {
    const Tree mixed = MixedTree();
    const Tree small = SmallTree(10'000);
    if (argumentCount == 3 && std::wstring(arguments[1]) == L"--corpus") {
        const std::wstring folder = arguments[2];
        if (!::CreateDirectoryW(folder.c_str(), nullptr)) Give("creating a folder");
        Create(mixed, folder + L"\\mixed");
        Create(small, folder + L"\\small");
        return 0;
    }
    const Workplace workplace;
    Subject subject("Zip archives");
    AddCases(subject, "mixed files", mixed, workplace / L"mixed", 0.35, 0.8, /*unpackAgainstWriting=*/false, 4);
    AddCases(subject, "10 000 small files", small, workplace / L"small", 2.2, 1.15, /*unpackAgainstWriting=*/true, 2);

    const std::wstring smallSource = workplace / L"small-source";
    const auto packFirst = [&](std::uint64_t count) {
        const auto files = std::make_shared<CStringList>();
        for (std::size_t index = 0; index < count; ++index)
            files->AddTail((smallSource + L'\\' + small.files[index].path).c_str());
        const std::wstring archive = workplace / (std::to_wstring(count) + L".zip");
        return [files, archive, &smallSource] {
            return static_cast<std::uint64_t>(
                OrvaZipFiles(archive.c_str(), *files, OrvaZipRelativeNames, smallSource.c_str()));
        };
    };
    subject.AddGrowth("OrvaZipFiles", "file", 100, packFirst);
    subject.AddGrowth("OrvaUnzipAll", "file", 20, [&](std::uint64_t count) {
        packFirst(count)();
        return [archive = workplace / (std::to_wstring(count) + L".zip"),
                target = Numbered(workplace / (std::to_wstring(count) + L"-"))]() mutable {
            return std::uint64_t{OrvaUnzipAll(archive.c_str(), target.Next())};
        };
    });
    return subject.Run();
}
