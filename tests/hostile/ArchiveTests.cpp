// Mutated archives: a hundred thousand of them from memory, and some hundreds extracted into a folder.

#include "archive/RawArchive.h"
#include "hostile/ArchiveMutator.h"
#include "hostile/GuardedBytes.h"
#include "hostile/MemoryMeter.h"
#include "support/CrashName.h"
#include "support/HandleCount.h"
#include "support/ImportPatch.h"
#include "support/TempFolder.h"
#include "support/Text.h"
#include "tarnu/archive/OrvaZip.h"
#include "tarnu/archive/OrvaZipReader.h"
#include "tarnu/support/Owners.h"

#include <algorithm>
#include <cstdio>
#include <map>
#include <memory>

namespace tarnu::test::hostile {
namespace {

constexpr std::uint64_t mutations = 100'000;
/// Every so many of them are also extracted into a folder.
constexpr std::uint64_t extractionInterval = 250;

/// Deflate can't do better: that much data at most stands in an archive of that size.
std::size_t MostData(std::size_t archiveSize) {
    return (archiveSize + 1) * 1032;
}

/// What the archives came to, for the summary and against a run that tests nothing.
struct Tally {
    std::map<OrvaZipResult, unsigned> opened;
    std::map<OrvaZipResult, unsigned> entries;
    std::size_t largestPeak = 0;
};

class Explorer {
public:
    void Explore(const Mutant& mutant, std::uint64_t seed) {
        Random random(seed ^ 0x5EED);
        const char* const archive = m_archive.Put(mutant.bytes, random.OneIn(4));
        const std::size_t size = mutant.bytes.size();
        MemoryMeter::Start();
        {
            OrvaZipReader reader;
            const OrvaZipResult result = reader.OpenMemory(archive, size, mutant.password);
            ++tally.opened[result];
            if (result == OrvaZipSuccess) {
                ReadEntries(reader, size, random);
            } else {
                EXPECT_TRUE(result == OrvaZipCorrupt || result == OrvaZipBadArguments) << result << InputName();
                EXPECT_EQ(0u, reader.GetCount());
            }
        }
        MemoryMeter::Stop();
        tally.largestPeak = std::max(tally.largestPeak, MemoryMeter::Peak());
        // Buffers of a fixed size; and what the directory takes, as records and as compressed data.
        ASSERT_LE(MemoryMeter::Peak(), (std::size_t{768} << 10) + 24 * size) << InputName();
    }

    Tally tally;

private:
    void ReadEntries(OrvaZipReader& reader, std::size_t archiveSize, Random& random) {
        ASSERT_LE(reader.GetCount(), archiveSize / 46) << InputName();
        std::size_t taken = 0; // by all entries together: no two may share their bytes
        for (ULONGLONG index = 0; index < reader.GetCount(); ++index) {
            OrvaZipEntry entry;
            ASSERT_EQ(OrvaZipSuccess, reader.GetEntry(index, entry));
            const OrvaZipResult result = reader.OpenEntry(index);
            ++tally.entries[result];
            if (result != OrvaZipSuccess) {
                ASSERT_TRUE(result == OrvaZipCorrupt || result == OrvaZipBadArguments) << result << InputName();
                continue;
            }
            ASSERT_LE(entry.size, MostData(archiveSize)) << InputName();
            taken += static_cast<std::size_t>(entry.compressedSize);
            ASSERT_LE(taken, archiveSize) << InputName();
            ReadPieces(reader, index, entry, random);
        }
        OrvaZipEntry untouched;
        untouched.size = 4711;
        EXPECT_EQ(OrvaZipBadArguments, reader.GetEntry(reader.GetCount(), untouched));
        EXPECT_EQ(4711u, untouched.size);
        EXPECT_EQ(OrvaZipBadArguments, reader.OpenEntry(reader.GetCount()));
    }

    /// Reads the open entry in pieces, up to a budget, and once more as a whole: by two decoders.
    void ReadPieces(OrvaZipReader& reader, ULONGLONG index, const OrvaZipEntry& entry, Random& random) {
        constexpr std::size_t budget = std::size_t{64} << 10;
        const auto size = static_cast<std::size_t>(entry.size);
        const std::size_t pieceSize = 1 + random.Below(random.OneIn(2) ? 100 : 5000);
        m_data.clear();
        OrvaZipResult result = OrvaZipMore;
        while (result == OrvaZipMore && m_data.size() < budget) {
            std::size_t read = 0;
            char* const piece = m_piece.Last(pieceSize);
            result = reader.ReadEntry(piece, pieceSize, read);
            ASSERT_LE(read, pieceSize) << InputName();
            if (result == OrvaZipMore) {
                ASSERT_EQ(pieceSize, read) << InputName();
            }
            m_data.append(piece, read);
            ASSERT_LE(m_data.size(), size) << InputName();
        }
        if (result == OrvaZipMore) return;
        ++tally.entries[result];
        if (result == OrvaZipSuccess) {
            ASSERT_EQ(entry.size, m_data.size()) << InputName();
            ASSERT_EQ(entry.crc, Crc32(m_data)) << InputName();
        } else {
            ASSERT_EQ(OrvaZipCorrupt, result) << InputName();
        }
        char* const whole = m_piece.Last(std::min(size, m_piece.Capacity()));
        ASSERT_EQ(result, reader.ExtractToMemory(index, whole, size)) << InputName();
        if (result == OrvaZipSuccess) {
            ASSERT_EQ(0, std::memcmp(whole, m_data.data(), size)) << InputName();
        }
    }

    GuardedBytes m_archive{std::size_t{256} << 10};
    GuardedBytes m_piece{std::size_t{64} << 10};
    std::string m_data = std::string(std::size_t{128} << 10, '\0');
};

// What the extraction asks of the system

/// The only place in which something may be created, moved, changed or deleted.
std::wstring allowed;
unsigned escapes = 0;

std::wstring Plain(const wchar_t* path) {
    std::wstring plain = path;
    if (plain.starts_with(LR"(\\?\)")) plain.erase(0, 4);
    return plain;
}

void Expect(const wchar_t* path) {
    const std::wstring plain = Plain(path);
    const bool isBelow = plain == allowed || plain.starts_with(allowed + L'\\');
    if (isBelow && (plain + L'\\').find(L"\\..\\") == std::wstring::npos && plain.find(L':', 2) == std::wstring::npos) {
        return;
    }
    ++escapes;
    ADD_FAILURE() << "an attempt at " << Narrow(plain) << " by " << InputName();
}

HANDLE WINAPI CheckedCreateFile(const wchar_t* path, DWORD access, DWORD share, SECURITY_ATTRIBUTES* security,
                                DWORD creation, DWORD flags, HANDLE model) {
    if (access != GENERIC_READ || creation != OPEN_EXISTING) Expect(path);
    return ::CreateFileW(path, access, share, security, creation, flags, model);
}

BOOL WINAPI CheckedCreateDirectory(const wchar_t* path, SECURITY_ATTRIBUTES* security) {
    // The folders above are there already, which is found out by asking for them.
    if (!(allowed + L'\\').starts_with(Plain(path) + L'\\')) Expect(path);
    return ::CreateDirectoryW(path, security);
}

BOOL WINAPI CheckedMoveFile(const wchar_t* from, const wchar_t* to, DWORD flags) {
    Expect(from);
    Expect(to);
    return ::MoveFileExW(from, to, flags);
}

BOOL WINAPI CheckedDeleteFile(const wchar_t* path) {
    Expect(path);
    return ::DeleteFileW(path);
}

BOOL WINAPI CheckedRemoveDirectory(const wchar_t* path) {
    Expect(path);
    return ::RemoveDirectoryW(path);
}

BOOL WINAPI CheckedSetFileAttributes(const wchar_t* path, DWORD attributes) {
    Expect(path);
    return ::SetFileAttributesW(path, attributes);
}

struct CheckedSystem {
    static constexpr const wchar_t* library = L"TarnuWin32Utils.dll";
    ImportPatch createFile{library, "CreateFileW", &CheckedCreateFile};
    ImportPatch createDirectory{library, "CreateDirectoryW", &CheckedCreateDirectory};
    ImportPatch moveFile{library, "MoveFileExW", &CheckedMoveFile};
    ImportPatch deleteFile{library, "DeleteFileW", &CheckedDeleteFile};
    ImportPatch removeDirectory{library, "RemoveDirectoryW", &CheckedRemoveDirectory};
    ImportPatch setAttributes{library, "SetFileAttributesW", &CheckedSetFileAttributes};
};

std::vector<std::wstring> Listing(const std::wstring& folder) {
    std::vector<std::wstring> names;
    WIN32_FIND_DATAW data;
    const support::UniqueFindHandle find(::FindFirstFileW((folder + L"\\*").c_str(), &data));
    for (BOOL found = static_cast<bool>(find); found; found = ::FindNextFileW(find.Get(), &data))
        names.emplace_back(data.cFileName);
    std::sort(names.begin(), names.end());
    return names;
}

} // namespace

TEST(HostileArchives, MutationsReadFromMemoryAreSafe) {
    const std::vector<Specimen> corpus = ArchiveCorpus("C:/outside", /*components=*/1000);
    const auto explorer = std::make_unique<Explorer>();
    // As they are, too: what is good of them reads well.
    for (std::size_t number = 0; number < corpus.size(); ++number) {
        NameInput("specimen %s", corpus[number].what);
        explorer->Explore({corpus[number].bytes, corpus[number].password, corpus[number].what, "nothing"}, number);
    }
    EXPECT_EQ(corpus.size(), explorer->tally.opened[OrvaZipSuccess]);
    const unsigned handles = CountHandles();
    {
        const MemoryMeter meter;
        for (std::uint64_t seed = 1; seed <= mutations && !::testing::Test::HasFatalFailure(); ++seed) {
            const Mutant mutant = Mutate(corpus, seed);
            NameInput("seed %llu: %s, changed: %s", seed, mutant.specimen, mutant.change);
            explorer->Explore(mutant, seed);
        }
    }
    EXPECT_EQ(handles, CountHandles());
    Tally& tally = explorer->tally;
    std::printf("%llu archives: %u opened, %u refused; at most %zu KiB taken; entries by result:", mutations,
                tally.opened[OrvaZipSuccess], tally.opened[OrvaZipCorrupt], tally.largestPeak >> 10);
    for (const auto& [result, count] : tally.entries)
        std::printf(" 0x%x: %u", result, count);
    std::printf("\n");
    // Lies that are all found out at the door would test the door alone.
    EXPECT_GT(tally.opened[OrvaZipSuccess], mutations / 3);
    EXPECT_GT(tally.opened[OrvaZipCorrupt], mutations / 10);
    EXPECT_GT(tally.entries[OrvaZipCorrupt], mutations / 10);
    EXPECT_GT(tally.entries[OrvaZipBadArguments], mutations / 100);
}

TEST(HostileArchives, MutationsExtractedStayBelowTheFolder) {
    const TempFolder folder;
    const std::wstring box = folder.MakeFolder(L"a\\b\\c\\box");
    const std::wstring outside = folder.MakeFolder(L"outside");
    folder.MakeFile(L"a\\b\\c\\box\\evil", "not to be replaced");
    std::string outsideName = Narrow(outside);
    std::replace(outsideName.begin(), outsideName.end(), '\\', '/');
    // Wine needs half a minute to create a thousand folders within each other, with or without the library.
    const std::vector<Specimen> corpus = ArchiveCorpus(outsideName, /*components=*/60);
    const std::wstring current = folder.MakeFolder(L"current");
    ASSERT_TRUE(::SetCurrentDirectoryW(current.c_str()));
    const std::vector<std::wstring> root = Listing(L"C:");
    allowed = box + L"\\out";
    escapes = 0;
    unsigned extracted = 0;
    std::size_t written = 0;
    for (std::uint64_t seed = extractionInterval; seed <= mutations && escapes == 0; seed += extractionInterval) {
        const Mutant mutant = Mutate(corpus, seed);
        NameInput("seed %llu: %s, changed: %s", seed, mutant.specimen, mutant.change);
        const std::wstring archive = folder.MakeFile(L"archive.zip", mutant.bytes);
        {
            const CheckedSystem system;
            const bool replaces = seed % 2 == 0;
            const OrvaZipOverwrite overwrite =
                replaces ? OrvaZipOverwrite([](const wchar_t*, const WIN32_FIND_DATAW&) {}) : OrvaZipOverwrite();
            if (OrvaUnzipAll(archive.c_str(), OrvaPath(allowed.c_str()), nullptr, overwrite)) ++extracted;
        }
        const std::vector<std::wstring> found = Listing(allowed);
        written += found.size() > 2 ? 1 : 0;
        for (const std::wstring& name : found)
            EXPECT_FALSE(name.starts_with(L"~orv")) << "a temporary file is left by " << InputName();
        RemoveTree(allowed);
        const std::vector<std::wstring> rest = {L".", L"..", L"evil"};
        ASSERT_EQ(rest, Listing(box)) << InputName();
    }
    EXPECT_EQ("not to be replaced", ReadFile(box + L"\\evil"));
    EXPECT_EQ(2u, Listing(outside).size());
    EXPECT_EQ(2u, Listing(current).size());
    EXPECT_EQ(root, Listing(L"C:"));
    EXPECT_GT(extracted, mutations / extractionInterval / 3);
    EXPECT_GT(written, mutations / extractionInterval / 4);
}

} // namespace tarnu::test::hostile
