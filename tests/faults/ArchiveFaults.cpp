// Faults in reading and writing archives.

#include "faults/FaultDriver.h"

#include "tarnu/archive/OrvaZip.h"
#include "tarnu/archive/OrvaZipReader.h"
#include "tarnu/archive/OrvaZipWriter.h"

#include <algorithm>
#include <functional>
#include <gtest/gtest.h>
#include <iterator>
#include <string>

namespace tarnu::test::faults {
namespace {

/// Compresses badly, so that an archive of it has several blocks.
const std::string& Noise() {
    static const std::string noise = [] {
        std::string text(150'000, '\0');
        unsigned state = 1;
        for (char& character : text) {
            state = state * 1'103'515'245u + 12'345u;
            character = static_cast<char>(state >> 24);
        }
        return text;
    }();
    return noise;
}

std::wstring MakeArchive(const Trial& trial) {
    const std::wstring path = trial / L"archive.zip";
    OrvaZipWriter writer;
    EXPECT_EQ(writer.Create(path.c_str()), OrvaZipSuccess);
    EXPECT_EQ(writer.AddMemory(L"noise.bin", Noise().data(), Noise().size()), OrvaZipSuccess);
    EXPECT_EQ(writer.AddMemory(L"folder/text.txt", "text", 4, nullptr, FILE_ATTRIBUTE_READONLY), OrvaZipSuccess);
    EXPECT_EQ(writer.AddDirectory(L"empty"), OrvaZipSuccess);
    EXPECT_EQ(writer.Close(), OrvaZipSuccess);
    return path;
}

/// Fills more than the buffers for files hold.
const std::string& MuchNoise() {
    static const std::string noise = Noise() + Noise() + Noise() + Noise();
    return noise;
}

/// The archive holds one entry of this content.
bool HoldsOne(const std::wstring& path, const std::string& contents) {
    OrvaZipReader reader;
    if (reader.Open(path.c_str()) != OrvaZipSuccess || reader.GetCount() != 1) return false;
    std::string bytes(contents.size(), '\0');
    return reader.ExtractToMemory(0, bytes.data(), bytes.size()) == OrvaZipSuccess && bytes == contents;
}

TEST(ArchiveFaults, WritingAnArchive) {
    Inject([](Trial& trial) {
        const std::wstring path = trial.MakeFile(L"target.zip", "old");
        const std::wstring source = trial.MakeFile(L"source.bin", Noise());
        bool isWritten = false;
        trial.Operate([&] {
            OrvaZipWriter writer;
            if (writer.Create(path.c_str()) != OrvaZipSuccess) return;
            const bool isAdded = writer.AddFile(L"source.bin", source.c_str()) == OrvaZipSuccess;
            const OrvaZipResult closed = writer.Close();
            isWritten = isAdded && closed == OrvaZipSuccess;
            // What could not be read is left out of an archive that is good all the same.
            EXPECT_TRUE(isAdded || closed != OrvaZipSuccess || writer.GetCount() == 0);
        });
        trial.ExpectSuccessUnlessFault(isWritten);
        if (isWritten) {
            EXPECT_TRUE(HoldsOne(path, Noise()));
        } else {
            OrvaZipReader reader;
            EXPECT_TRUE(ReadFile(path) == "old" ||
                        (reader.Open(path.c_str()) == OrvaZipSuccess && reader.GetCount() == 0));
        }
    });
}

TEST(ArchiveFaults, WritingAnArchiveInMemory) {
    Inject([](Trial& trial) {
        OrvaZipWriter writer;
        const void* data = nullptr;
        std::size_t size = 0;
        const bool isWritten = trial.Operate([&] {
            return writer.CreateInMemory(0, L"secret") == OrvaZipSuccess &&
                   writer.AddDirectory(L"folder") == OrvaZipSuccess &&
                   writer.AddMemory(L"folder\\\u00e4.bin", Noise().data(), Noise().size()) == OrvaZipSuccess &&
                   writer.GetMemory(data, size) == OrvaZipSuccess;
        });
        trial.ExpectSuccessUnlessFault(isWritten);
        EXPECT_EQ(data != nullptr, isWritten);
        if (!isWritten) return;
        OrvaZipReader reader;
        EXPECT_EQ(reader.OpenMemory(data, size, L"secret"), OrvaZipSuccess);
        std::string bytes(Noise().size(), '\0');
        EXPECT_EQ(reader.ExtractToMemory(1, bytes.data(), bytes.size()), OrvaZipSuccess);
        EXPECT_TRUE(bytes == Noise());
        EXPECT_EQ(reader.OpenMemory(data, size), OrvaZipSuccess);
        EXPECT_NE(reader.ExtractToMemory(1, bytes.data(), bytes.size()), OrvaZipSuccess) << "it is not encrypted";
    });
}

// What is taken back may have reached the file already.
TEST(ArchiveFaults, WritingMoreThanTheBufferHolds) {
    Inject(
        [](Trial& trial) {
            const std::wstring path = trial / L"target.zip";
            static const std::string mostNoise = MuchNoise() + MuchNoise(); // bypasses the buffer, too
            const std::wstring source = trial.MakeFile(L"source", MuchNoise() + Noise());
            bool isAdded[6] = {};
            OrvaZipResult closed = OrvaZipSuccess;
            trial.Operate([&] {
                OrvaZipWriter writer;
                if (writer.Create(path.c_str()) != OrvaZipSuccess) return;
                isAdded[0] = writer.AddMemory(L"0", Noise().data(), Noise().size()) == OrvaZipSuccess;
                isAdded[1] = writer.AddFile(L"1.gz", source.c_str()) == OrvaZipSuccess;
                isAdded[2] = writer.AddMemory(L"2.gz", mostNoise.data(), mostNoise.size()) == OrvaZipSuccess;
                isAdded[3] = writer.AddMemory(L"3", MuchNoise().data(), Noise().size() * 3) == OrvaZipSuccess;
                isAdded[4] = writer.AddMemory(L"4", MuchNoise().data(), Noise().size() * 3) == OrvaZipSuccess;
                isAdded[5] = writer.AddFile(L"5.gz", source.c_str()) == OrvaZipSuccess;
                closed = writer.Close();
            });
            const bool isWhole = std::ranges::all_of(isAdded, std::identity());
            trial.ExpectSuccessUnlessFault(isWhole && closed == OrvaZipSuccess && Exists(path));
            if (!Exists(path)) return;
            OrvaZipReader reader;
            ASSERT_EQ(reader.Open(path.c_str()), OrvaZipSuccess);
            ULONGLONG size = 0;
            ULONGLONG index = 0;
            for (unsigned number = 0; number < std::size(isAdded); ++number) {
                if (!isAdded[number]) continue;
                OrvaZipEntry entry;
                EXPECT_EQ(reader.GetEntry(index, entry), OrvaZipSuccess);
                EXPECT_EQ(::_wtoi(entry.name), static_cast<int>(number));
                std::string bytes(static_cast<std::size_t>(entry.size), '\0');
                EXPECT_EQ(reader.ExtractToMemory(index++, bytes.data(), bytes.size()), OrvaZipSuccess);
                EXPECT_TRUE(bytes == mostNoise.substr(0, bytes.size()));
                size += entry.compressedSize + 200;
            }
            EXPECT_EQ(reader.GetCount(), index);
            WIN32_FILE_ATTRIBUTE_DATA facts{};
            EXPECT_TRUE(::GetFileAttributesExW(path.c_str(), GetFileExInfoStandard, &facts));
            EXPECT_LE(facts.nFileSizeLow, size + 100) << "nothing is left of what was taken back";
        },
        {.calls = 6, .allocations = 4});
}

TEST(ArchiveFaults, AddingAHandleAndAFolder) {
    Inject([](Trial& trial) {
        const std::wstring path = trial / L"target.zip";
        const std::wstring source = trial.MakeFile(L"source.txt", "contents");
        const HANDLE handle = ::CreateFileW(source.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                                            FILE_ATTRIBUTE_NORMAL, nullptr);
        ASSERT_NE(handle, INVALID_HANDLE_VALUE);
        bool isWritten = false;
        trial.Operate([&] {
            OrvaZipWriter writer;
            isWritten = writer.Create(path.c_str()) == OrvaZipSuccess &&
                        writer.AddHandle(L"source.txt", handle) == OrvaZipSuccess &&
                        writer.AddFile(L"here", trial.Folder().c_str()) == OrvaZipSuccess &&
                        writer.Close() == OrvaZipSuccess;
        });
        ::CloseHandle(handle);
        trial.ExpectSuccessUnlessFault(isWritten);
        EXPECT_EQ(Exists(path), isWritten);
        OrvaZipReader reader;
        EXPECT_TRUE(!isWritten || (reader.Open(path.c_str()) == OrvaZipSuccess && reader.GetCount() == 2));
    });
}

TEST(ArchiveFaults, ReadingAnArchive) {
    Inject([](Trial& trial) {
        const std::wstring path = MakeArchive(trial);
        std::string bytes(Noise().size(), 'x');
        bool isRead = false;
        trial.Operate([&] {
            OrvaZipReader reader;
            OrvaZipEntry entry;
            isRead = reader.Open(path.c_str()) == OrvaZipSuccess && reader.GetCount() == 3 &&
                     reader.GetEntry(1, entry) == OrvaZipSuccess && entry.name == L"folder/text.txt" &&
                     reader.ExtractToMemory(0, bytes.data(), bytes.size()) == OrvaZipSuccess;
        });
        trial.ExpectSuccessUnlessFault(isRead);
        EXPECT_TRUE(!isRead || bytes == Noise());
    });
}

TEST(ArchiveFaults, ReadingMoreThanTheWindowShows) {
    // Deflated, stored, both enciphered, and nothing, deflated: each behind the window of the last one.
    const auto pack = [](const std::wstring& path, const wchar_t* password) {
        OrvaZipWriter writer;
        EXPECT_EQ(writer.Create(path.c_str(), password), OrvaZipSuccess);
        for (const wchar_t* name : {L"1", L"2.gz"})
            EXPECT_EQ(writer.AddMemory(name, MuchNoise().data(), MuchNoise().size()), OrvaZipSuccess);
        EXPECT_EQ(writer.AddMemory(L"3", nullptr, 0), OrvaZipSuccess);
        EXPECT_EQ(writer.Close(), OrvaZipSuccess);
    };
    const TempFolder folder;
    pack(folder / L"plain.zip", nullptr);
    pack(folder / L"secret.zip", L"secret");
    { // no entries
        OrvaZipWriter writer;
        ASSERT_EQ(writer.Create((folder / L"empty.zip").c_str()), OrvaZipSuccess);
        ASSERT_EQ(writer.Close(), OrvaZipSuccess);
    }
    for (const wchar_t* name : {L"plain.zip", L"secret.zip"}) {
        Inject(
            [&](Trial& trial) {
                std::string bytes(MuchNoise().size(), '\0');
                std::string pieces;
                OrvaZipResult results[6] = {};
                trial.Operate([&] {
                    OrvaZipReader reader;
                    results[0] = reader.Open((folder / L"empty.zip").c_str());
                    results[1] = reader.Open((folder / name).c_str(), L"secret");
                    // A lone failure within minizip looks like damage; a lack of memory that lasts is told as such.
                    if (trial.IsFault("memory") && results[1] == OrvaZipCorrupt) {
                        results[1] = reader.Open((folder / name).c_str(), L"secret");
                    }
                    if (results[1] != OrvaZipSuccess) return;
                    for (ULONGLONG index = 0; index < 2; ++index) {
                        results[2 + index] = reader.ExtractToMemory(index, bytes.data(), bytes.size());
                        EXPECT_TRUE(results[2 + index] != OrvaZipSuccess || bytes == MuchNoise());
                    }
                    results[4] = reader.ExtractToMemory(2, nullptr, 0);
                    results[5] = reader.OpenEntry(0);
                    for (std::size_t read = 0; results[5] == OrvaZipSuccess || results[5] == OrvaZipMore;) {
                        char piece[100'000];
                        results[5] = reader.ReadEntry(piece, sizeof piece, read);
                        pieces.append(piece, read);
                        if (results[5] == OrvaZipSuccess) break;
                    }
                });
                EXPECT_TRUE(results[5] != OrvaZipSuccess || pieces == MuchNoise() || trial.HasFault());
                for (const OrvaZipResult result : results) {
                    trial.ExpectSuccessUnlessFault(result == OrvaZipSuccess);
                    EXPECT_TRUE(result != OrvaZipCorrupt) << "nothing is wrong with the archive";
                }
            },
            {.calls = 8, .allocations = 16});
    }
}

TEST(ArchiveFaults, ExtractingToAFile) {
    Inject([](Trial& trial) {
        const std::wstring archive = MakeArchive(trial);
        const std::wstring target = trial.MakeFile(L"out\\target.bin", "old");
        OrvaZipReader reader;
        ASSERT_EQ(reader.Open(archive.c_str()), OrvaZipSuccess);
        const auto extract = [&] { return reader.ExtractToFile(0, target.c_str()); };
        const OrvaZipResult result = trial.Operate(extract);
        trial.ExpectSuccessUnlessFault(result == OrvaZipSuccess);
        EXPECT_TRUE(ReadFile(target) == (result == OrvaZipSuccess ? Noise() : "old"));
        EXPECT_EQ(extract(), OrvaZipSuccess);
        EXPECT_TRUE(ReadFile(target) == Noise());
    });
}

TEST(ArchiveFaults, ExtractingBelowAFolder) {
    Inject([](Trial& trial) {
        const std::wstring archive = MakeArchive(trial);
        const std::wstring target = trial.MakeFile(L"out\\folder\\text.txt", "old");
        ::SetFileAttributesW(target.c_str(), FILE_ATTRIBUTE_READONLY);
        OrvaZipReader reader;
        ASSERT_EQ(reader.Open(archive.c_str()), OrvaZipSuccess);
        unsigned told = 0;
        bool isWritten = false;
        const auto extract = [&] {
            return reader.ExtractBelow(
                1, (trial / L"out").c_str(), [&told](const wchar_t*, const WIN32_FIND_DATAW&) { ++told; }, &isWritten);
        };
        const OrvaZipResult result = trial.Operate(extract);
        trial.ExpectSuccessUnlessFault(result == OrvaZipSuccess && isWritten);
        EXPECT_EQ(ReadFile(target), isWritten ? "text" : "old");
        EXPECT_EQ(extract(), OrvaZipSuccess);
        EXPECT_EQ(ReadFile(target), "text");
    });
}

TEST(ArchiveFaults, UnzippingAll) {
    Inject([](Trial& trial) {
        const std::wstring archive = MakeArchive(trial);
        const std::wstring target = trial / L"out\\deep";
        const CString archivePath(archive.c_str());
        const OrvaPath folder(target);
        const bool isDone = trial.Operate([&] { return OrvaUnzipAll(archivePath, folder); });
        trial.ExpectSuccessUnlessFault(isDone);
        // Single entries may be missing, but none is there by half.
        for (const auto& [name, contents] : {std::pair(L"\\noise.bin", Noise()), {L"\\folder\\text.txt", "text"}}) {
            const std::wstring path = target + name;
            EXPECT_TRUE(Exists(path) || trial.HasFault());
            EXPECT_TRUE(!Exists(path) || ReadFile(path) == contents);
        }
        EXPECT_TRUE(OrvaUnzipAll(archivePath, folder));
        EXPECT_TRUE(ReadFile(target + L"\\noise.bin") == Noise());
    });
}

TEST(ArchiveFaults, ZippingFiles) {
    Inject([](Trial& trial) {
        const std::wstring archive = trial.MakeFile(L"target.zip", "old");
        CStringList files;
        files.AddTail(trial.MakeFile(L"source.bin", Noise()).c_str());
        const CString path(archive.c_str());
        CString base(trial.Folder().c_str());
        base.Replace(L'\\', L'/');
        const int count = trial.Operate([&] { return OrvaZipFiles(path, files, OrvaZipRelativeNames, base); });
        trial.ExpectSuccessUnlessFault(count == 1);
        EXPECT_TRUE(count == 1 ? HoldsOne(archive, Noise()) : ReadFile(archive) == "old");
        EXPECT_EQ(OrvaZipFiles(path, files, OrvaZipRelativeNames, base), 1);
        EXPECT_TRUE(HoldsOne(archive, Noise()));
    });
}

TEST(ArchiveFaults, ZippingFilesThatAreOpenedAhead) {
    Inject([](Trial& trial) {
        constexpr int fileCount = 40;
        const std::wstring archive = trial.MakeFile(L"target.zip", "old");
        CStringList files;
        for (int number = 0; number < fileCount; ++number)
            files.AddTail(trial.MakeFile(std::to_wstring(number), std::to_string(number)).c_str());
        const CString path(archive.c_str());
        const CString none;
        const int count = trial.Operate([&] { return OrvaZipFiles(path, files, OrvaZipBareNames, none); });
        trial.ExpectSuccessUnlessFault(count == fileCount);
        OrvaZipReader reader;
        if (count == 0) {
            EXPECT_EQ(ReadFile(archive), "old");
        } else {
            ASSERT_EQ(reader.Open(archive.c_str()), OrvaZipSuccess);
            ASSERT_EQ(reader.GetCount(), static_cast<ULONGLONG>(count));
        }
        // What could not be opened ahead is opened at its turn, and each file is behind its own name.
        OrvaZipEntry entry;
        for (ULONGLONG index = 0; index < reader.GetCount(); ++index) {
            char data[8] = {};
            EXPECT_EQ(reader.GetEntry(index, entry), OrvaZipSuccess);
            EXPECT_EQ(reader.ExtractToMemory(index, data, sizeof data - 1), OrvaZipSuccess);
            EXPECT_EQ(std::to_string(::_wtoi(entry.name)), data);
        }
        reader.Close();
        EXPECT_EQ(OrvaZipFiles(path, files, OrvaZipBareNames, none), fileCount);
    });
}

} // namespace
} // namespace tarnu::test::faults
