// Faults in reading and writing archives.

#include "faults/FaultDriver.h"

#include "tarnu/archive/OrvaZip.h"
#include "tarnu/archive/OrvaZipReader.h"
#include "tarnu/archive/OrvaZipWriter.h"

#include <gtest/gtest.h>
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
    EXPECT_EQ(writer.Close(), OrvaZipSuccess);
    return path;
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
            isRead = reader.Open(path.c_str()) == OrvaZipSuccess && reader.GetCount() == 2 &&
                     reader.GetEntry(1, entry) == OrvaZipSuccess && entry.name == L"folder/text.txt" &&
                     reader.ExtractToMemory(0, bytes.data(), bytes.size()) == OrvaZipSuccess;
        });
        trial.ExpectSuccessUnlessFault(isRead);
        EXPECT_TRUE(!isRead || bytes == Noise());
    });
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
        const CString base(trial.Folder().c_str());
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
