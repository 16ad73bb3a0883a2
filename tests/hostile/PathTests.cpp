// Paths around the system's two limits, and texts that are no good paths.

#include "hostile/Random.h"
#include "support/CrashName.h"
#include "support/TempFolder.h"
#include "tarnu/TarnuWin32Utils.h"

#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace tarnu::test::hostile {
namespace {

/// A folder below @p base, and the name of a file in it whose whole path has exactly @p length characters.
struct LongPath {
    std::wstring folder;
    std::wstring file;
};

LongPath OfLength(const std::wstring& base, std::size_t length) {
    LongPath path{base, {}};
    while (length - path.folder.size() > 120)
        path.folder += L'\\' + std::wstring(99, L'd');
    path.file = path.folder + L'\\' + std::wstring(length - path.folder.size() - 1, L'f');
    return path;
}

/// Everything that a path can be asked without touching a file, twice: what comes out must not depend on what was in
/// the buffers before.
std::vector<std::wstring> Forms(const OrvaPath& path, const OrvaPath& other) {
    std::vector<std::wstring> forms;
    const auto add = [&forms](const OrvaPath& form) { forms.emplace_back(form.GetText().GetString()); };
    OrvaPath drive, directory, name, extension;
    path.SplitPath(drive, directory, name, extension);
    for (const OrvaPath* part : {&drive, &directory, &name, &extension})
        add(*part);
    path.SplitPathRaw(drive, directory, name, extension);
    for (const OrvaPath* part : {&drive, &directory, &name, &extension})
        add(*part);
    add(path.GetDriveAndDirectory());
    add(path.GetNameAndExtension());
    add(path / other);
    add(path.GetRelativeTo(other));
    forms.push_back(std::to_wstring(path.GetDepthBelow(other)));
    for (const unsigned flags : {OrvaPath::Normalized, OrvaPath::LowerCase, OrvaPath::WithTrailingSeparator,
                                 OrvaPath::SlashSeparator, OrvaPath::WithoutTrailingSeparator})
        add(OrvaPath(path, flags));
    OrvaPath changed = path;
    changed.ChangeExtension(L".new");
    add(changed);
    changed.RemoveFileSpec();
    add(changed);
    OrvaPath combined;
    OrvaPath::Combine(combined, other, path);
    add(combined);
    OrvaPath absolute = path;
    forms.push_back(absolute.MakeAbsolute(other, false, false, false) ? L"yes" : L"no");
    add(absolute);
    CStringList components;
    path.GetComponents(components);
    forms.push_back(std::to_wstring(components.GetCount()));
    add(tarnu::resolve_dots(path));
    forms.push_back(is_within(path, other) ? L"yes" : L"no");
    CString relative;
    forms.push_back(OrvaGetRelativePath(path, other, relative) ? L"yes" : L"no");
    forms.emplace_back(relative.GetString());
    return forms;
}

} // namespace

TEST(HostilePaths, EveryLengthAroundTheOldLimit) {
    const TempFolder folder;
    for (std::size_t length = 240; length <= 275; ++length) {
        const LongPath path = OfLength(folder.Path(), length);
        NameInput("a path of %zu characters", length);
        ASSERT_EQ(length, path.file.size());
        const wchar_t* const file = path.file.c_str();
        // Whatever the length: done, or refused with nothing left behind, and all agree with the system.
        EXPECT_EQ(0, OrvaCreateDirectoryPath(path.folder.c_str())) << length;
        EXPECT_TRUE(OrvaFileExists(path.folder.c_str())) << length;
        EXPECT_FALSE(OrvaFileExists(file)) << length;
        EXPECT_EQ(0, OrvaWriteFile(file, "text", 4)) << length;
        EXPECT_EQ("text", ReadFile(path.file)) << length;
        EXPECT_TRUE(OrvaFileExists(file)) << length;
        std::vector<unsigned char> contents;
        EXPECT_EQ(0, OrvaReadFile(file, contents)) << length;
        EXPECT_EQ(4u, contents.size()) << length;
        OrvaFileAttributeData data{};
        EXPECT_TRUE(OrvaGetFileAttributeData(file, 0, &data)) << length;
        EXPECT_TRUE(OrvaPath(file).Exists()) << length;
        OrvaBFSFileTree tree;
        std::size_t found = 0;
        OrvaPath entry;
        for (tree.Open(path.folder.c_str(), L"*", 0); tree.IsFound(); tree.Next())
            found += tree.GetPath(entry) == file ? 1 : 0;
        EXPECT_EQ(1u, found) << length;
        // These two are the system's own; Windows has its limit there, Wine has not.
        const std::wstring copy = path.file.substr(0, length - 1) + L"2";
        const bool isCopied = OrvaCopyFile(file, copy.c_str(), /*failIfExists=*/1) == 0;
        EXPECT_EQ(isCopied, Exists(copy)) << length;
        EXPECT_TRUE(isCopied || length >= MAX_PATH) << length;
        if (isCopied) {
            EXPECT_EQ("text", ReadFile(copy)) << length;
        }
        const bool isDeleted = OrvaDeleteFile(file) == 0;
        EXPECT_NE(isDeleted, Exists(path.file)) << length;
        EXPECT_TRUE(isDeleted || length >= MAX_PATH) << length;
        EXPECT_EQ(0, OrvaRemoveTree((folder / std::wstring(99, L'd')).c_str())) << length;
        EXPECT_FALSE(Exists(folder / std::wstring(99, L'd'))) << length;
    }
}

TEST(HostilePaths, EveryLengthAroundTheSystemsLimit) {
    const TempFolder folder;
    const std::wstring old = folder.MakeFile(L"old", "old");
    for (std::size_t length = 32'740; length <= 32'800; ++length) {
        NameInput("a path of %zu characters", length);
        for (const wchar_t* root : {L"C:\\", L"\\\\server\\share\\", L"\\\\?\\C:\\", L"name\\", L"\\"}) {
            std::wstring text = root;
            while (text.size() + 100 < length)
                text += std::wstring(99, L'd') + L'\\';
            text.resize(length, L'f');
            const wchar_t* const path = text.c_str();
            EXPECT_EQ(Forms(path, L"C:\\other"), Forms(path, L"C:\\other"));
            EXPECT_EQ(Forms(L"C:\\other", path), Forms(L"C:\\other", path));
            EXPECT_FALSE(OrvaFileExists(path));
            std::vector<unsigned char> contents{1};
            EXPECT_EQ(1, OrvaReadFile(path, contents));
            EXPECT_EQ(1u, contents.size());
            EXPECT_EQ(1, OrvaWriteFile(path, "text", 4));
            EXPECT_EQ(1, OrvaCopyFile(old.c_str(), path, 0));
            EXPECT_EQ(1, OrvaCopyFile(path, old.c_str(), 0));
            EXPECT_EQ(1, OrvaDeleteFile(path));
            EXPECT_EQ(1, OrvaEnsureDirectory(path));
            EXPECT_EQ("old", ReadFile(old));
            CString relative = L"unchanged";
            EXPECT_FALSE(OrvaGetRelativePath(L"C:\\", path, relative));
            EXPECT_EQ(L"unchanged", relative);
        }
    }
}

TEST(HostilePaths, TextsThatAreNoPathsAreSafe) {
    const std::wstring pieces[] = {L"\\",
                                   L"/",
                                   L"\\\\",
                                   L"//",
                                   L":",
                                   L"C:",
                                   L"c:\\",
                                   L"\\\\?\\",
                                   L".",
                                   L"..",
                                   L"...",
                                   L" ",
                                   L"name",
                                   L"name.ext",
                                   L".ext",
                                   L"*",
                                   L"?",
                                   L"\"",
                                   L"<>|",
                                   L"CON",
                                   L"nul",
                                   L"\xD800",
                                   L"\xDC00",
                                   L"\xDBFF\xDFFF",
                                   L"\xFFFF",
                                   L"\x0130",
                                   L"\x00DF",
                                   L"\x01",
                                   L"\x202E",
                                   L"UNC\\",
                                   L"\\\\.\\",
                                   L"?\\Volume{",
                                   L"%TEMP%",
                                   std::wstring(300, L'x'),
                                   std::wstring(1, L'\0'),
                                   std::wstring(L"a\0b", 3)};
    Random random(20'240'607);
    const auto text = [&] {
        std::wstring result;
        for (std::size_t count = random.Below(9); count > 0; --count)
            result += random.Pick(pieces);
        return result;
    };
    const auto toCString = [](const std::wstring& from) {
        return CString(from.c_str(), static_cast<int>(from.size()));
    };
    const TempFolder folder;
    ASSERT_TRUE(::SetCurrentDirectoryW(folder.Path().c_str()));
    for (int round = 0; round < 20'000 && !::testing::Test::HasFailure(); ++round) {
        const std::wstring first = text();
        const std::wstring second = text();
        NameInput("round %d", round);
        const OrvaPath path(random.OneIn(2) ? OrvaPath(toCString(first)) : OrvaPath(first.c_str()));
        const OrvaPath other(toCString(second), random.OneIn(4) ? OrvaPath::SlashSeparator : 0x02u);
        EXPECT_EQ(Forms(path, other), Forms(path, other)) << InputName();
        // The safe form is one name, and stays as it is.
        const OrvaPath safe = safe_name(first);
        EXPECT_FALSE(safe.IsEmpty()) << InputName();
        EXPECT_EQ(safe, safe_name(safe.GetText().GetString())) << InputName();
        EXPECT_EQ(-1, safe.GetText().FindOneOf(L"\\/:*?\"<>|")) << InputName();
        if (const std::optional<std::string> utf8 = to_utf8(path)) {
            const std::optional<OrvaPath> back = from_utf8(*utf8);
            ASSERT_TRUE(back) << InputName();
            EXPECT_EQ(path, *back) << InputName();
        }
    }
}

} // namespace tarnu::test::hostile
