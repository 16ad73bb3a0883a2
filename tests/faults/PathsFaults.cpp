// Faults in paths, texts and walks.

#include "faults/FaultDriver.h"

#include "tarnu/filesystem/OrvaBFSFileTree.h"
#include "tarnu/filesystem/OrvaDFSDirectoryTree.h"
#include "tarnu/filesystem/OrvaDFSFileTree.h"
#include "tarnu/filesystem/OrvaFileModifiedManager.h"
#include "tarnu/paths/OrvaFileAttributes.h"
#include "tarnu/paths/OrvaPath.h"
#include "tarnu/text/OrvaStrings.h"

#include <comdef.h>
#include <gtest/gtest.h>
#include <shlobj.h>
#include <vector>

namespace tarnu::test::faults {
namespace {

TEST(PathsFaults, WellKnownPlaces) {
    Inject([](Trial& trial) {
        using Getter = bool (OrvaPath::*)();
        const Getter getters[] = {&OrvaPath::GetSystemDirectory, &OrvaPath::GetWindowsDirectory, &OrvaPath::GetTempPath,
                                  &OrvaPath::GetCurrentDirectory};
        for (const Getter getter : getters) {
            OrvaPath path(L"untouched");
            const bool found = trial.Operate([&] { return (path.*getter)(); });
            trial.ExpectSuccessUnlessFault(found);
            EXPECT_TRUE(found ? path.Exists() : path == L"untouched" || path.IsEmpty()) << path.GetText().GetString();
        }
        OrvaPath module(L"untouched");
        const bool hasName = trial.Operate([&] { return module.GetModuleFileName(nullptr); });
        trial.ExpectSuccessUnlessFault(hasName);
        EXPECT_TRUE(hasName ? module.Exists() : module == L"untouched");
        OrvaPath desktop(L"untouched");
        const bool hasFolder = trial.Operate([&] { return desktop.GetFolderPath(CSIDL_DESKTOP, nullptr); });
        trial.ExpectSuccessUnlessFault(hasFolder);
        EXPECT_TRUE(hasFolder || desktop == L"untouched");
    });
}

TEST(PathsFaults, Locations) {
    Inject([](Trial& trial) {
        for (int kind = OrvaPath::ExecutableFile; kind <= OrvaPath::TempFile; ++kind) {
            OrvaPath path;
            if (trial.Throws([&] { path.SetToLocation(kind); })) continue;
            trial.ExpectSuccessUnlessFault(!path.IsEmpty());
        }
    });
}

TEST(PathsFaults, WorkingOnPaths) {
    Inject([](Trial& trial) {
        const std::wstring file = trial.MakeFile(L"folder\\name.txt", "12345");
        const CString base((trial.Folder() + L"\\").c_str());
        OrvaPath path;
        OrvaPath relative;
        bool isAbsolute = false;
        const bool noMemory = trial.Throws([&] {
            path = OrvaPath(base) / L"folder" / L"name.txt";
            relative = path.GetRelativeTo(base);
            OrvaPath absolute(L"folder\\name.txt");
            isAbsolute = absolute.MakeAbsolute(base, false, false, true);
            OrvaPath combined;
            OrvaPath::Combine(combined, base, OrvaPath(L"..\\x"));
            OrvaPath upper(path, OrvaPath::UpperCase | OrvaPath::Normalized);
            CStringList components;
            upper.GetComponents(components);
            OrvaPath other(upper);
            other.ChangeExtension(L"bak");
            other.RemoveFileSpec();
            other.AddTrailingSeparator();
        });
        trial.ExpectSuccessUnlessFault(!noMemory && path.Exists() && isAbsolute);
        EXPECT_TRUE(relative.IsEmpty() || relative == L".\\folder\\name.txt" || relative == L"folder\\name.txt" ||
                    trial.HasFault())
            << relative.GetText().GetString();
    });
}

TEST(PathsFaults, NormalizingATextThatIsShared) {
    Inject([](Trial& trial) {
        const OrvaPath raw(L"a\\\\b");
        OrvaPath shared(raw);
        trial.Operate([&] { shared.Normalize(); });
        trial.ExpectSuccessUnlessFault(shared == L"a\\b");
        EXPECT_TRUE(shared == L"a\\b" || shared == raw) << "a text is normalised or stays";
        EXPECT_TRUE(raw == L"a\\\\b");
    });
}

TEST(PathsFaults, AttributeData) {
    Inject([](Trial& trial) {
        const std::wstring file = trial.MakeFile(L"name.txt", "12345");
        OrvaFileAttributeData data{};
        const bool known = trial.Operate([&] { return OrvaGetFileAttributeData(file.c_str(), 0, &data); });
        trial.ExpectSuccessUnlessFault(known);
        EXPECT_TRUE(!known ||
                    (data.nFileSizeLow == 5 && data.nFileSizeHigh == 0 && data.ftLastWriteTime.dwHighDateTime));
        EXPECT_TRUE(!trial.IsFault("GetFileSize") || !known) << "no size, and still success";
        EXPECT_TRUE(OrvaGetFileAttributeData(file.c_str(), 0, &data));
    });
}

/// Walks a small tree; after a failure it must be possible to close and walk again.
template <class Walk>
void WalkTree(DWORD filter, std::size_t expected) {
    Inject([filter, expected](Trial& trial) {
        trial.MakeFile(L"tree\\a.txt");
        trial.MakeFile(L"tree\\sub\\b.txt");
        trial.MakeFile(L"tree\\sub\\deep\\c.txt");
        const std::wstring root = trial / L"tree";
        Walk walk;
        std::size_t count = 0;
        const auto run = [&] {
            count = 0;
            OrvaPath path;
            for (walk.Open(root.c_str(), L"*", filter); walk.IsFound(); walk.Next()) {
                walk.GetPath(path);
                ++count;
            }
        };
        const bool noMemory = trial.Throws(run);
        trial.ExpectSuccessUnlessFault(!noMemory && count == expected);
        EXPECT_LE(count, expected);
        walk.Close();
        run();
        EXPECT_EQ(count, expected);
    });
}

TEST(WalkFaults, Matcher) {
    WalkTree<OrvaBasicFileMatcher>(0, 2);
}
TEST(WalkFaults, BreadthFirstDirectories) {
    WalkTree<OrvaBFSDirectoryTree>(0x10, 3);
}
TEST(WalkFaults, DepthFirstDirectories) {
    WalkTree<OrvaDFSDirectoryTree>(0x10, 3);
}
TEST(WalkFaults, BreadthFirstFiles) {
    WalkTree<OrvaBFSFileTree>(0x20, 3);
}
TEST(WalkFaults, DepthFirstFiles) {
    WalkTree<OrvaDFSFileTree>(0x20, 3);
}

TEST(WalkFaults, FileModified) {
    Inject([](Trial& trial) {
        const std::wstring path = trial.MakeFile(L"watched.txt", "1");
        bool first = false;
        bool second = true;
        trial.Operate([&] {
            first = OrvaFileModifiedManager::IsFileModified(path.c_str());
            second = OrvaFileModifiedManager::IsFileModified(path.c_str());
        });
        EXPECT_TRUE(first);
        trial.ExpectSuccessUnlessFault(!second);
    });
}

TEST(TextFaults, Texts) {
    Inject([](Trial& trial) {
        const CString text(L"one, two ,three");
        CStringList items;
        CString placed(L"a;b;");
        CString quoted(L"a b");
        CString whole(placed);
        OrvaPlaceToken(L"c", L";", 0, whole);
        const bool noMemory = trial.Throws([&] {
            OrvaSplitCommaList(text, items);
            OrvaPlaceToken(L"c", L";", 0, placed);
            OrvaQuote(quoted);
            OrvaToUpper(text);
            OrvaEscapeEach(L"%", L"%", L"100%");
            OrvaFormatDouble(1.5, 3);
            OrvaMakeLabel(quoted, true);
        });
        EXPECT_TRUE(!noMemory || trial.HasFault());
        EXPECT_LE(items.GetCount(), 3);
        EXPECT_EQ(items.GetCount() == 3 || trial.HasFault(), true);
        EXPECT_TRUE(placed == L"a;b;" || placed == whole) << "an argument is left as it was";
    });
}

TEST(TextFaults, ErrorTexts) {
    Inject([](Trial& trial) {
        CString system;
        CString com;
        CString guid;
        const bool noMemory = trial.Throws([&] {
            system = OrvaGetSystemErrorText(ERROR_FILE_NOT_FOUND);
            com = OrvaGetComErrorText(_com_error(E_OUTOFMEMORY));
            guid = OrvaGuidToString(IID_IUnknown);
        });
        trial.ExpectSuccessUnlessFault(!noMemory && !system.IsEmpty() && !com.IsEmpty());
        trial.ExpectSuccessUnlessFault(guid == L"{00000000-0000-0000-C000-000000000046}");
    });
}

} // namespace
} // namespace tarnu::test::faults
