/// @file
/// OrvaPath: text handling, joins, parts, relative and absolute paths, well-known places.
#include "tarnu/paths/OrvaPath.h"

#include "tests/support/ImportPatch.h"
#include "tests/support/TempFolder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <random>
#include <shlobj.h>
#include <string>
#include <vector>

using tarnu::test::TempFolder;

void PrintTo(const OrvaPath& path, std::ostream* stream) {
    *stream << '"';
    for (const wchar_t* text = path; *text != L'\0'; ++text)
        *stream << (*text >= L' ' && *text < 0x7F ? static_cast<char>(*text) : '?');
    *stream << "\" (" << path.GetText().GetLength() << ')';
}

namespace {

std::wstring Text(const OrvaPath& path) {
    return std::wstring(path.GetText(), static_cast<std::size_t>(path.GetText().GetLength()));
}
std::wstring Repeat(std::wstring_view piece, std::size_t length) {
    std::wstring text;
    while (text.size() < length)
        text += piece;
    text.resize(length);
    return text;
}
/// Lengths around the system's buffers of 260 and 261 characters, and far beyond.
constexpr std::size_t criticalLengths[] = {255, 256, 257, 258, 259, 260, 261, 262, 1000, 40000};

struct Parts {
    std::wstring drive;
    std::wstring directory;
    std::wstring name;
    std::wstring extension;
    bool operator==(const Parts&) const = default;
};
Parts SplitRaw(const OrvaPath& path) {
    OrvaPath drive, directory, name, extension;
    path.SplitPathRaw(drive, directory, name, extension);
    return {Text(drive), Text(directory), Text(name), Text(extension)};
}
Parts Split(const OrvaPath& path) {
    OrvaPath drive, directory, name, extension;
    path.SplitPath(drive, directory, name, extension);
    return {Text(drive), Text(directory), Text(name), Text(extension)};
}
std::vector<std::wstring> Components(const OrvaPath& path) {
    CStringList list;
    list.AddTail(CString(L"from before"));
    path.GetComponents(list);
    std::vector<std::wstring> components;
    for (POSITION position = list.GetHeadPosition(); position != nullptr;)
        components.emplace_back(list.GetNext(position).GetString());
    return components;
}

/// Random texts over the characters that mean something in a path.
class PathTexts {
public:
    explicit PathTexts(std::wstring_view alphabet) : m_alphabet(alphabet) {}
    std::wstring Next() {
        std::wstring text(std::uniform_int_distribution<std::size_t>(0, 14)(m_random), L' ');
        for (wchar_t& character : text)
            character = m_alphabet[std::uniform_int_distribution<std::size_t>(0, m_alphabet.size() - 1)(m_random)];
        return text;
    }

private:
    std::wstring_view m_alphabet;
    std::mt19937 m_random{20240229};
};

// Construction, options, assignment

TEST(OrvaPath, TakesEveryKindOfTextAsItIs) {
    const std::wstring odd = L"a//b\\\\\"c\"/";
    EXPECT_EQ(Text(OrvaPath(odd.c_str())), odd);
    EXPECT_EQ(Text(OrvaPath(CString(odd.c_str()))), odd);
    EXPECT_EQ(Text(OrvaPath(odd)), odd);
    EXPECT_STREQ(OrvaPath(odd).GetSeparator(), L"\\");
    EXPECT_TRUE(OrvaPath().IsEmpty());
    EXPECT_TRUE(OrvaPath(static_cast<const wchar_t*>(nullptr)).IsEmpty());
}

TEST(OrvaPath, AppliesOptionsInTheirOrder) {
    struct Case {
        const wchar_t* text;
        unsigned flags;
        const wchar_t* result;
        const wchar_t* separator;
    };
    const Case cases[] = {
        {L"A\\b", 0x00, L"A\\b", L"\\"},
        {L"A\\b", 0x01, L"A\\b", L"/"},
        {L"A/b", 0x02, L"A/b", L"\\"},
        {L"A/b", 0x03, L"A/b", L"\\"},
        {L"A\\b", 0x11, L"a\\b", L"/"},
        {L"A\\b", 0x20, L"A\\B", L"\\"},
        {L"A\\b", 0x30, L"A\\b", L"\\"},
        {L"a", 0x08, L"a\\", L"\\"},
        {L"a", 0x09, L"a/", L"/"},
        {L"a/", 0x08, L"a/", L"\\"},
        {L"a//", 0x04, L"a", L"\\"},
        {L"a/", 0x0C, L"a/", L"\\"},
        {L"//x\\\\Y", 0x61, L"//X/Y", L"/"},
        {L"\\\\x//", 0x44, L"\\\\x", L"\\"},
        {L"a/b", 0x48, L"a\\b\\", L"\\"},
        {L"\"a b\"\\c", 0x42, L"a b\\c", L"\\"},
        {L"\u00c4\u00df", 0x10, L"\u00e4\u00df", L"\\"},
        {L"x", 0xFFFFFF80u, L"x", L"\\"},
    };
    for (const Case& expected : cases) {
        const OrvaPath path(expected.text, expected.flags);
        EXPECT_EQ(Text(path), expected.result) << expected.flags;
        EXPECT_STREQ(path.GetSeparator(), expected.separator) << expected.flags;
        OrvaPath same(OrvaPath(expected.text, 0x01), expected.flags);
        EXPECT_EQ(same, path) << expected.flags;
        EXPECT_STREQ(same.GetSeparator(), expected.separator) << expected.flags;
    }
}

TEST(OrvaPath, AssignmentOfATextKeepsTheSeparator) {
    OrvaPath path(L"a/b", OrvaPath::SlashSeparator);
    path = L"c";
    EXPECT_EQ(path / L"d", L"c/d");
    path = CString(L"e");
    EXPECT_EQ(path / L"d", L"e/d");
    path = std::wstring(L"f");
    EXPECT_EQ(path / L"d", L"f/d");
    const OrvaPath copy(path);
    EXPECT_STREQ(copy.GetSeparator(), L"/");
    path = OrvaPath(L"g");
    EXPECT_EQ(path / L"d", L"g\\d");
    EXPECT_EQ(copy, L"f");

    path = L"prefix\\tail";
    path = static_cast<const wchar_t*>(path) + 7;
    EXPECT_EQ(path, L"tail");
    path = *&path;
    EXPECT_EQ(path, L"tail");
}

TEST(OrvaPath, ReadsAsTextAndString) {
    const OrvaPath path(L"C:\\x");
    const wchar_t* text = path;
    const CString string = path;
    const auto length = [](const CString& value) { return value.GetLength(); };
    EXPECT_STREQ(text, L"C:\\x");
    EXPECT_EQ(length(path), 4);
    EXPECT_TRUE(string == path);
    EXPECT_EQ(path.GetText().GetString(), string.GetString()) << "a copy shares the buffer";
}

TEST(OrvaPath, ComparesTexts) {
    const OrvaPath path(L"a\\B");
    EXPECT_TRUE(path == OrvaPath(L"a\\B", OrvaPath::SlashSeparator));
    EXPECT_TRUE(path == L"a\\B" && L"a\\B" == path && path == CString(L"a\\B"));
    EXPECT_TRUE(path != L"a/B" && path != L"a\\b");
    EXPECT_TRUE(path < L"a\\b" && path > CString(L"a\\A") && path <= path);
    EXPECT_EQ(path.Compare(nullptr) > 0, true);
    struct Case {
        const wchar_t* left;
        const wchar_t* right;
        int sign;
    };
    const Case cases[] = {
        {L"A/b\\C", L"a\\B/c", 0}, {L"", L"", 0},      {L"", nullptr, 0},   {L"a", L"", 1},
        {L"", L"a", -1},           {L"a", L"B", -1},   {L"ab", L"A", 1},    {L"\u00c4", L"\u00e4", 0},
        {L"a/", L"a", 1},          {L"a", L"a\\", -1}, {L"a/b", L"aAb", 1},
    };
    for (const Case& expected : cases) {
        const int order = OrvaPath(expected.left).CompareNoCase(expected.right);
        EXPECT_EQ((order > 0) - (order < 0), expected.sign) << Text(expected.left);
    }
}

// Form

TEST(OrvaPath, Normalizes) {
    const std::array<const wchar_t*, 2> cases[] = {
        {L"", L""},
        {L"\\", L"\\"},
        {L"/", L"\\"},
        {L"//", L"\\\\"},
        {L"\\/\\/", L"\\\\"},
        {L"//server/share", L"\\\\server\\share"},
        {L"\\\\\\server\\\\share\\\\", L"\\\\server\\share\\"},
        {L"a//b\\\\c", L"a\\b\\c"},
        {L"a/", L"a\\"},
        {L"/a/", L"\\a\\"},
        {L"C:/x//y", L"C:\\x\\y"},
        {L"\"C:\\Program Files\\x\"", L"C:\\Program Files\\x"},
        {L"\"C:\\dir\\\"", L"C:\\dir"},       // the last character is the quote
        {L"\"\\\\server\\x\"", L"server\\x"}, // and the first one
        {L"a\"b", L"a\\b"},                   // a quote ends a component
        {L"\"", L""},
        {L"\"\"\"", L""},
        {L"\"\\", L"\\"},
        {L"a \\ b", L"a \\ b"},
        {L".\\..\\x", L".\\..\\x"},
    };
    for (const auto& [text, result] : cases) {
        OrvaPath path(text);
        path.NormalizeBackslash();
        EXPECT_EQ(path, result) << "from " << ::testing::PrintToString(OrvaPath(text));
        std::wstring slashes = result;
        std::replace(slashes.begin(), slashes.end(), L'\\', L'/');
        path.NormalizeSlash();
        EXPECT_EQ(Text(path), slashes);
        path.Normalize();
        EXPECT_EQ(Text(path), slashes);
    }
}

TEST(OrvaPath, NormalizingTwiceChangesNothing) {
    PathTexts texts(L"\\/\"a.");
    for (int round = 0; round < 20000; ++round) {
        const std::wstring text = texts.Next();
        const OrvaPath once(text, OrvaPath::Normalized);
        const OrvaPath twice(once, OrvaPath::Normalized);
        ASSERT_EQ(Text(once), Text(twice)) << ::testing::PrintToString(OrvaPath(text));
        ASSERT_EQ(Text(once).find_first_of(L"/\""), std::wstring::npos);
        ASSERT_EQ(Text(once).find(L"\\\\", 1), std::wstring::npos) << ::testing::PrintToString(OrvaPath(text));
        ASSERT_LE(Text(once).size(), text.size());
    }
}

TEST(OrvaPath, NormalizingANormalTextKeepsItsBufferShared) {
    const OrvaPath path(L"C:\\a\\b");
    OrvaPath copy(path);
    copy.Normalize();
    EXPECT_EQ(copy.GetText().GetString(), path.GetText().GetString());
    copy.NormalizeSlash();
    EXPECT_EQ(copy, L"C:/a/b");
    EXPECT_EQ(path, L"C:\\a\\b");
}

TEST(OrvaPath, KnowsSeparatorsAtBothEnds) {
    struct Case {
        const wchar_t* text;
        bool isUnc;
        bool hasTrailing;
        const wchar_t* added;
        const wchar_t* removed;
    };
    const Case cases[] = {
        {L"", false, false, L"\\", L""},
        {L"\\", false, true, L"\\", L""},
        {L"//", true, true, L"//", L""},
        {L"\\/x", true, false, L"\\/x\\", L"\\/x"},
        {L"/x//\\", false, true, L"/x//\\", L"/x"},
        {L"//s/t/", true, true, L"//s/t/", L"//s/t"},
        {L"a/b\\c", false, false, L"a/b\\c\\", L"a/b\\c"},
        {L"C:\\", false, true, L"C:\\", L"C:"},
        {L"a//b//", false, true, L"a//b//", L"a//b"},
    };
    for (const Case& expected : cases) {
        OrvaPath path(expected.text);
        EXPECT_EQ(path.IsUNC(), expected.isUnc) << Text(path);
        EXPECT_EQ(path.HasTrailingSeparator(), expected.hasTrailing) << Text(path);
        path.AddTrailingSeparator();
        EXPECT_EQ(path, expected.added);
        path = expected.text;
        path.RemoveTrailingSeparators();
        EXPECT_EQ(path, expected.removed);
    }
}

TEST(OrvaPath, RemovesTheLastComponent) {
    const std::array<const wchar_t*, 2> cases[] = {
        {L"a\\b\\c", L"a\\b\\"},
        {L"a\\b\\", L"a\\"},
        {L"a/b//", L"a/"},
        {L"a", L""},
        {L"\\a", L""},
        {L"//a/", L""},
        {L"", L""},
        {L"\\\\", L""},
        {L"\\\\s\\t", L"\\\\s\\"},
        {L"C:\\x.txt", L"C:\\"},
        {L"C:\\", L""},
        {L"a//b", L"a//"},
    };
    for (const auto& [text, result] : cases) {
        OrvaPath path(text);
        path.RemoveFileSpec();
        EXPECT_EQ(path, result) << "from " << ::testing::PrintToString(OrvaPath(text));
    }
}

// Joining

TEST(OrvaPath, Joins) {
    const std::array<const wchar_t*, 3> cases[] = {
        {L"a", L"b", L"a\\b"},
        {L"a\\", L"b", L"a\\b"},
        {L"a\\", L"\\/b", L"a\\b"},
        {L"a", L"\\\\server\\share\\", L"a\\server\\share\\"},
        {L"a", L"C:\\x", L"a\\C:\\x"},
        {L"", L"b//c", L"b\\c"},
        {L"", L"//s/t", L"\\\\s\\t"},
        {L"", L"", L""},
        {L"a//b", L"", L"a\\b"},
        {L"a/", L"", L"a\\"},
        {L"a", L"\"\"", L"a"},
        {L"\"\"", L"b", L"b"},
        {L"a", L"/", L"a\\"},
        {L"\\", L"b", L"\\b"},
        {L"\\\\", L"s\\t", L"\\\\s\\t"},
        {L"C:", L"x", L"C:\\x"},
        {L"a\"b", L"c\"d/", L"a\\b\\c\\d\\"},
    };
    for (const auto& [left, right, result] : cases) {
        const OrvaPath path(left);
        EXPECT_EQ(path.Join(right), result);
        EXPECT_EQ(path / CString(right), result);
        EXPECT_EQ(path / OrvaPath(right, OrvaPath::SlashSeparator), result);
        EXPECT_EQ(path, left) << "a join leaves its left side alone";
        OrvaPath changed(left);
        EXPECT_EQ(changed.JoinInPlace(right), result);
        EXPECT_EQ(changed, result);

        std::wstring slashes = result;
        std::replace(slashes.begin(), slashes.end(), L'\\', L'/');
        const OrvaPath joined = OrvaPath(left, OrvaPath::SlashSeparator) / OrvaPath(right);
        EXPECT_EQ(Text(joined), slashes);
        EXPECT_STREQ(joined.GetSeparator(), L"/");
    }
    EXPECT_EQ(OrvaPath(L"a") / static_cast<const wchar_t*>(nullptr), L"a");
}

TEST(OrvaPath, JoinsPartsOfItself) {
    OrvaPath path(L"a//b");
    path.JoinInPlace(path);
    EXPECT_EQ(path, L"a\\b\\a\\b");
    path.JoinInPlace(path.GetText());
    EXPECT_EQ(path, L"a\\b\\a\\b\\a\\b\\a\\b");
    path = L"x\\y";
    path.JoinInPlace(static_cast<const wchar_t*>(path) + 1);
    EXPECT_EQ(path, L"x\\y\\y");
}

// Parts

TEST(OrvaPath, SplitsLikeTheRuntime) {
    PathTexts texts(L"\\/.:ab\"");
    for (int round = 0; round < 20000; ++round) {
        const std::wstring text = texts.Next();
        wchar_t drive[_MAX_DRIVE], directory[_MAX_DIR], name[_MAX_FNAME], extension[_MAX_EXT];
        ::_wsplitpath(text.c_str(), drive, directory, name, extension);
        const Parts expected{drive, directory, name, extension};
        ASSERT_TRUE(SplitRaw(text) == expected) << ::testing::PrintToString(OrvaPath(text));
    }
}

TEST(OrvaPath, SplitsOffServerAndShare) {
    struct Case {
        const wchar_t* text;
        Parts parts;
    };
    const Case cases[] = {
        {L"C:\\dir\\sub\\name.ext", {L"C:", L"\\dir\\sub\\", L"name", L".ext"}},
        {L"C:dir/name", {L"C:", L"dir/", L"name", L""}},
        {L"dir\\archive.tar.gz", {L"", L"dir\\", L"archive.tar", L".gz"}},
        {L".profile", {L"", L"", L"", L".profile"}},
        {L"", {L"", L"", L"", L""}},
        {L"\\\\server\\share\\dir\\sub\\name.ext", {L"\\\\server\\share\\", L"dir\\sub\\", L"name", L".ext"}},
        {L"//server/share/dir//x", {L"\\\\server\\share\\", L"dir//", L"x", L""}},
        {L"\\\\server\\share\\", {L"\\\\server\\share\\", L"", L"", L""}},
        {L"\\\\server\\share", {L"\\\\server\\", L"", L"share", L""}},
        {L"\\\\server", {L"\\\\", L"", L"server", L""}},
        {L"\\\\", {L"\\\\", L"", L"", L""}},
        {L"\\\\?\\C:\\dir\\x", {L"\\\\?\\C:\\", L"dir\\", L"x", L""}},
    };
    for (const Case& expected : cases) {
        const OrvaPath path(expected.text);
        const Parts parts = Split(path);
        EXPECT_EQ(parts.drive, expected.parts.drive);
        EXPECT_EQ(parts.directory, expected.parts.directory);
        EXPECT_EQ(parts.name, expected.parts.name);
        EXPECT_EQ(parts.extension, expected.parts.extension);
        EXPECT_EQ(Text(path.GetDrive()), parts.drive);
        EXPECT_EQ(Text(path.GetDirectory()), parts.directory);
        EXPECT_EQ(Text(path.GetName()), parts.name);
        EXPECT_EQ(Text(path.GetExtension()), parts.extension);
        EXPECT_EQ(Text(path.GetNameAndExtension()), parts.name + parts.extension);
    }
    const OrvaPath slashes(L"//server/share/dir/x", OrvaPath::SlashSeparator);
    EXPECT_EQ(Split(slashes).drive, L"//server/share/");
    EXPECT_STREQ(slashes.GetExtension().GetSeparator(), L"/");
}

TEST(OrvaPath, PartsMayReplaceTheirSource) {
    OrvaPath path(L"C:\\dir\\x.txt");
    OrvaPath drive, name, extension;
    path.SplitPath(drive, path, name, extension);
    EXPECT_EQ(path, L"\\dir\\");
    EXPECT_EQ(drive / path / (name.GetText() + extension.GetText()), L"C:\\dir\\x.txt");
}

TEST(OrvaPath, PartsJoinToTheNormalizedPath) {
    PathTexts texts(L"\\/.ab");
    for (int round = 0; round < 20000; ++round) {
        // Unrooted, on a drive, and UNC.
        const std::wstring prefixes[] = {L"", L"C:\\", L"\\\\", L"//server/share/"};
        const std::wstring text = prefixes[static_cast<std::size_t>(round) % 4] + texts.Next();
        const OrvaPath path(text);
        OrvaPath drive, directory, name, extension;
        path.SplitPath(drive, directory, name, extension);
        const OrvaPath normal(text, OrvaPath::Normalized);
        ASSERT_EQ(drive / directory / (name.GetText() + extension.GetText()), normal) << ::testing::PrintToString(path);
        ASSERT_EQ(path.GetDriveAndDirectory() / path.GetNameAndExtension(), normal) << ::testing::PrintToString(path);
    }
}

TEST(OrvaPath, PairsPartsAndChangesTheExtension) {
    struct Case {
        const wchar_t* text;
        const wchar_t* driveAndDirectory;
        const wchar_t* withTxt;
    };
    const Case cases[] = {
        {L"C:\\dir\\x.doc", L"C:\\dir\\", L"C:\\dir\\x.txt"},
        {L"C:\\x.doc", L"C:\\", L"C:\\x.txt"},
        {L"C:x.doc", L"C:", L"C:x.txt"},
        {L"C:dir/x.doc", L"C:dir\\", L"C:dir\\x.txt"},
        {L"x", L"", L"x.txt"},
        {L"\\x.a.b", L"\\", L"\\x.a.txt"},
        {L"//s/t/d/x.doc", L"\\\\s\\t\\d\\", L"\\\\s\\t\\d\\x.txt"},
        {L"//s/t/x.doc", L"\\\\s\\t\\", L"\\\\s\\t\\x.txt"},
        {L"a.b\\c", L"a.b\\", L"a.b\\c.txt"},
        {L"dir\\", L"dir\\", L"dir\\.txt"},
        {L"", L"", L".txt"},
    };
    for (const Case& expected : cases) {
        EXPECT_EQ(OrvaPath(expected.text).GetDriveAndDirectory(), expected.driveAndDirectory);
        for (const wchar_t* extension : {L"txt", L".txt"}) {
            OrvaPath path(expected.text);
            path.ChangeExtension(extension);
            EXPECT_EQ(path, expected.withTxt);
        }
    }
    OrvaPath path(L"a\\x.doc");
    path.ChangeExtension(L"");
    EXPECT_EQ(path, L"a\\x.");
    path.ChangeExtension(nullptr);
    EXPECT_EQ(path, L"a\\x.");
    path.ChangeExtension(path);
    EXPECT_EQ(path, L"a\\x.a\\x.");
}

TEST(OrvaPath, ListsComponents) {
    using List = std::vector<std::wstring>;
    EXPECT_EQ(Components(L"C:\\a//b\\c.txt"), (List{L"C:", L"a", L"b", L"c.txt"}));
    EXPECT_EQ(Components(L"C:\\a\\b.c\\"), (List{L"C:", L"a", L"b.c"}));
    EXPECT_EQ(Components(L"//s/t/a/.x"), (List{L"\\\\s\\t\\", L"a", L".x"}));
    EXPECT_EQ(Components(L"\\a\\b"), (List{L"a", L"b"}));
    EXPECT_EQ(Components(L"x"), (List{L"x"}));
    EXPECT_EQ(Components(L"C:"), (List{L"C:"}));
    EXPECT_EQ(Components(L""), List());
}

// Long texts

TEST(OrvaPath, TextsOfEveryLengthSplitJoinAndNormalize) {
    for (const std::size_t length : criticalLengths) {
        const std::wstring name = Repeat(L"n", length);
        const std::wstring folders = Repeat(L"dir\\", length - 1) + L"\\";
        EXPECT_EQ(Text(OrvaPath(L"a") / name.c_str()), L"a\\" + name);
        EXPECT_EQ(Text(OrvaPath(L"C:\\" + name + L".x").GetName()), name) << length;
        EXPECT_EQ(Text(OrvaPath(L"x." + name).GetExtension()), L"." + name) << length;
        EXPECT_EQ(Text(OrvaPath(L"C:\\" + folders + L"x").GetDriveAndDirectory()).size(),
                  Text(OrvaPath(L"C:\\" + folders, OrvaPath::Normalized)).size());
        EXPECT_EQ(Components(L"C:\\" + name).back(), name);
        OrvaPath path(name + L".doc");
        path.ChangeExtension(L"txt");
        EXPECT_EQ(Text(path), name + L".txt");
        EXPECT_EQ(Text(OrvaPath(L"\"" + name + L"\"", OrvaPath::Normalized)), name);
        EXPECT_EQ(Text(OrvaPath(Repeat(L"/", length), OrvaPath::Normalized)), L"\\\\");
        EXPECT_FALSE(OrvaPath(name).Exists());
    }
}

TEST(OrvaPath, TextsThatDoNotFitASystemBufferAreRefused) {
    for (const std::size_t length : criticalLengths) {
        const bool fits = length < 260;
        // Cutting: the text stays.
        std::wstring text = L"C:\\" + Repeat(L"n", length - 4) + L"\\";
        OrvaPath path(text);
        path.RemoveTrailingSeparators();
        EXPECT_EQ(Text(path), fits ? text.substr(0, length - 1) : text);
        path = text;
        path.RemoveFileSpec();
        EXPECT_EQ(Text(path), fits ? L"C:\\" : text);

        // Relative paths: empty, or no depth.
        text = L"C:\\base\\" + Repeat(L"n", length - 8);
        EXPECT_EQ(Text(OrvaPath(text).GetRelativeTo(L"C:\\base\\")), fits ? L".\\" + text.substr(8) : L"") << length;
        EXPECT_EQ(OrvaPath(text).GetDepthBelow(L"C:\\base"), fits ? 1 : 0) << length;
        EXPECT_EQ(Text(OrvaPath(L"C:\\x").GetRelativeTo(text + L"\\")), length < 259 ? L"..\\..\\x" : L"") << length;
        EXPECT_EQ(OrvaPath(text + L"\\x").GetDepthBelow(text), length < 258 ? 1 : 0) << length;

        // Absolute paths: false, and the text stays.
        path = text.substr(3).c_str();
        EXPECT_EQ(path.MakeAbsolute(L"C:\\", false, false, false), fits) << length;
        EXPECT_EQ(Text(path), fits ? text : text.substr(3));
        path = L"x";
        EXPECT_EQ(path.MakeAbsolute(text.c_str(), true, true, false), length < 260) << length;
        OrvaPath out(L"from before", OrvaPath::SlashSeparator);
        OrvaPath::Combine(out, L"C:\\", text.substr(3));
        EXPECT_EQ(Text(out), fits ? text : L"") << length;
        EXPECT_STREQ(out.GetSeparator(), L"/");
    }
}

TEST(OrvaPath, RelativePathsOfDeepTreesEndWithinTheBuffer) {
    // The climb out of so many directories makes the answer longer than the question.
    for (std::size_t levels = 60; levels <= 128; ++levels) {
        const std::wstring base = L"C:\\" + Repeat(L"d\\", 2 * levels);
        const OrvaPath relative = OrvaPath(L"C:\\x").GetRelativeTo(base);
        const std::wstring expected = Repeat(L"..\\", 3 * levels) + L"x";
        EXPECT_EQ(Text(relative), base.size() < 260 && expected.size() < 260 ? expected : L"") << levels;
    }
}

// Relative and absolute paths

TEST(OrvaPath, FindsRelativePaths) {
    const std::array<const wchar_t*, 3> cases[] = {
        {L"C:\\a\\x.txt", L"C:\\a\\", L".\\x.txt"},
        {L"C:\\a\\x.txt", L"C:\\a\\other.txt", L".\\x.txt"},
        {L"C:\\a\\b\\x.txt", L"C:\\a\\", L".\\b\\x.txt"},
        {L"C:/a//b/x.txt", L"c:/A/", L".\\b\\x.txt"},
        {L"C:\\b\\x.txt", L"C:\\a\\", L"..\\b\\x.txt"},
        {L"C:\\x.txt", L"C:\\a\\b\\c", L"..\\..\\x.txt"},
        {L"D:\\x.txt", L"C:\\a\\", L""},
        {L"", L"C:\\a\\", L""},
        {L"C:\\x", L"", L""},
    };
    for (const auto& [path, base, result] : cases) {
        EXPECT_EQ(OrvaPath(path).GetRelativeTo(base), result)
            << ::testing::PrintToString(OrvaPath(path)) << " from " << ::testing::PrintToString(OrvaPath(base));
    }
    const OrvaPath slashes = OrvaPath(L"C:\\a\\b\\x", OrvaPath::SlashSeparator).GetRelativeTo(L"C:\\a\\");
    EXPECT_EQ(slashes, L"./b/x");
    EXPECT_EQ(slashes / L"y", L"./b/x/y");
}

TEST(OrvaPath, CountsLevelsBelowADirectory) {
    struct Case {
        const wchar_t* path;
        const wchar_t* base;
        int depth;
    };
    const Case cases[] = {
        {L"C:\\a\\x", L"C:\\a", 1},
        {L"C:\\a\\x", L"C:\\a\\", 1},
        {L"C:/a//b/x", L"c:/A", 2},
        {L"C:\\a\\b\\c\\", L"C:\\a", 2},
        {L"C:\\a\\b\\c\\", L"C:\\a\\", 2},
        {L"C:\\a", L"C:\\a", 0},
        {L"C:\\a\\", L"C:\\a", 0},
        {L"C:\\a", L"C:\\a\\", 0},
        {L"C:\\a\\", L"C:\\a\\", 0},
        {L"C:\\b\\x", L"C:\\a", 0},
        {L"D:\\x", L"C:\\", 0},
        {L"C:\\ab", L"C:\\a", 0},
        {L"", L"C:\\a", 0},
        {L"C:\\a", L"", 0},
    };
    for (const Case& expected : cases) {
        EXPECT_EQ(OrvaPath(expected.path).GetDepthBelow(expected.base), expected.depth)
            << ::testing::PrintToString(OrvaPath(expected.path)) << " below "
            << ::testing::PrintToString(OrvaPath(expected.base));
    }
}

TEST(OrvaPath, ResolvesAgainstABase) {
    const TempFolder folder;
    const std::wstring file = folder.MakeFile(L"x.txt");
    folder.MakeFolder(L"sub");
    const CString base(folder.Path().c_str());
    struct Case {
        const wchar_t* path;
        std::wstring base;
        bool baseIsFile, tryNameOnly, mustExist;
        std::wstring result; ///< empty: fails
    };
    const std::wstring root = folder.Path();
    const Case cases[] = {
        {L"x.txt", root, false, false, true, file},
        {L"sub\\..\\x.txt", root, false, false, true, file},
        {L"sub/../x.txt", root, false, false, true, file},
        {L"x.txt", file, true, false, true, file},
        {L"gone\\x.txt", root, false, false, true, L""},
        {L"gone\\x.txt", root, false, false, false, root + L"\\gone\\x.txt"},
        {L"gone\\x.txt", root, false, true, true, file},
        {L"gone/x.txt", root, false, true, true, file},
        {L"gone\\y.txt", root, false, true, true, L""},
        {L"gone\\x.txt", root, false, true, false, root + L"\\gone\\x.txt"},
        {L"C:\\anywhere", root, false, false, false, L"C:\\anywhere"},
        {L"", root, false, true, false, L""},
        {L"x.txt", L"", false, true, false, L""},
    };
    for (const Case& expected : cases) {
        OrvaPath path(expected.path, OrvaPath::SlashSeparator);
        const bool isResolved =
            path.MakeAbsolute(expected.base.c_str(), expected.baseIsFile, expected.tryNameOnly, expected.mustExist);
        EXPECT_EQ(isResolved, !expected.result.empty()) << ::testing::PrintToString(OrvaPath(expected.path));
        EXPECT_EQ(Text(path), expected.result.empty() ? expected.path : expected.result);
        EXPECT_STREQ(path.GetSeparator(), L"/");
    }
    std::wstring forward = file;
    std::replace(forward.begin(), forward.end(), L'\\', L'/');
    OrvaPath sibling(L"y");
    EXPECT_TRUE(sibling.MakeAbsolute(forward.c_str(), true, false, false));
    EXPECT_EQ(Text(sibling), root + L"\\y");
}

TEST(OrvaPath, CombinesAsTheSystemDoes) {
    OrvaPath out;
    OrvaPath::Combine(out, L"C:\\a\\b", L"..\\x");
    EXPECT_EQ(out, L"C:\\a\\x");
    OrvaPath::Combine(out, L"C:\\a", out);
    EXPECT_EQ(out, L"C:\\a\\x") << "an absolute right part stands alone, also when it is the result's old text";
    OrvaPath::Combine(out, L"C:/a/b", L"./x");
    EXPECT_EQ(out, L"C:\\a\\b\\x");
    OrvaPath::Combine(out, L"C:\\a\\b", L"\\x");
    EXPECT_EQ(out, L"C:\\x") << "from the root of the left part";
    // Nothing is left of the left part, and nothing of what the stack held before comes in its place.
    OrvaPath::Combine(out, L"a", L"..");
    EXPECT_EQ(out, L"\\");
    OrvaPath::Combine(out, L"a.b\\long name", L"..\\..");
    EXPECT_EQ(out, L"\\");
}

// The file behind the path

TEST(OrvaPath, AsksTheFileSystem) {
    const TempFolder folder;
    const OrvaPath file(folder.MakeFile(L"x.txt", "12345"));
    const OrvaPath missing(folder / L"missing");
    EXPECT_TRUE(file.Exists() && OrvaPath(folder.Path()).Exists());
    EXPECT_FALSE(missing.Exists());
    EXPECT_FALSE(OrvaPath().Exists());
    EXPECT_EQ(file.Access(4), 0);
    EXPECT_EQ(file.Access(6), 0);
    ::SetFileAttributesW(file, FILE_ATTRIBUTE_READONLY);
    EXPECT_EQ(file.Access(0), 0);
    EXPECT_EQ(file.Access(2), -1);
    ::SetFileAttributesW(file, FILE_ATTRIBUTE_NORMAL);
    for (const int mode : {1, 8, -1}) {
        errno = 0;
        EXPECT_EQ(file.Access(mode), -1);
        EXPECT_EQ(errno, EINVAL);
    }
    OrvaFileAttributeData data;
    EXPECT_TRUE(file.GetAttributeData(data));
    EXPECT_EQ(data.nFileSizeLow, 5u);
    EXPECT_FALSE(missing.GetAttributeData(data));
}

// Plain strings

TEST(OrvaPath, HandlesBackslashesOfPlainStrings) {
    const std::array<const wchar_t*, 3> cases[] = {
        {L"", L"\\", L""},   {L"a", L"a\\", L"a"},    {L"a\\\\", L"a\\\\", L"a"},
        {L"\\", L"\\", L""}, {L"a/", L"a/\\", L"a/"},
    };
    for (const auto& [text, added, removed] : cases) {
        CString string(text);
        OrvaPath::AddBackslash(string);
        EXPECT_STREQ(string, added);
        string = text;
        OrvaPath::RemoveBackslash(string);
        EXPECT_STREQ(string, removed);
    }
}

// Well-known places

/// What a getter stores: a text whose length counts the terminator.
void ExpectCountedTerminator(const OrvaPath& path, const std::wstring& expected) {
    EXPECT_STREQ(path, expected.c_str());
    EXPECT_EQ(path.GetText().GetLength(), static_cast<int>(expected.size()) + 1);
}

TEST(OrvaPath, DirectoryGettersCountTheTerminator) {
    wchar_t buffer[MAX_PATH];
    OrvaPath path(L"from before");
    ASSERT_TRUE(path.GetWindowsDirectory());
    ::GetWindowsDirectoryW(buffer, MAX_PATH);
    ExpectCountedTerminator(path, buffer);
    ExpectCountedTerminator(OrvaPath(OrvaPath::WindowsDirectory), buffer);
    ASSERT_TRUE(path.GetSystemDirectory());
    ::GetSystemDirectoryW(buffer, MAX_PATH);
    ExpectCountedTerminator(path, buffer);
    ExpectCountedTerminator(OrvaPath(OrvaPath::SystemDirectory), buffer);
    ASSERT_TRUE(path.GetTempPath());
    ::GetTempPathW(MAX_PATH, buffer);
    ExpectCountedTerminator(path, buffer);
    ExpectCountedTerminator(OrvaPath(OrvaPath::TempDirectory), buffer);
    ASSERT_TRUE(path.GetCurrentDirectory());
    ::GetCurrentDirectoryW(MAX_PATH, buffer);
    ExpectCountedTerminator(path, buffer);
    ExpectCountedTerminator(OrvaPath(OrvaPath::CurrentDirectory), buffer);
}

TEST(OrvaPath, CountedTerminatorsNeverEndUpInsideAText) {
    OrvaPath directory(OrvaPath::WindowsDirectory);
    const std::wstring text = directory.GetText().GetString();
    EXPECT_EQ(directory, text.c_str());
    EXPECT_EQ(Text(directory / L"x"), text + L"\\x");
    EXPECT_FALSE(directory.HasTrailingSeparator());
    EXPECT_EQ(Text(OrvaPath(OrvaPath::WindowsDirectory, OrvaPath::WithTrailingSeparator)), text + L"\\");
    EXPECT_EQ(Text(directory.GetDriveAndDirectory() / directory.GetNameAndExtension()), text);
    directory.Normalize();
    EXPECT_EQ(Text(directory), text);

    OrvaPath temp(OrvaPath::TempDirectory);
    EXPECT_TRUE(temp.HasTrailingSeparator());
    temp.RemoveFileSpec();
    EXPECT_TRUE(temp.HasTrailingSeparator());
    EXPECT_TRUE(temp.Exists());
}

TEST(OrvaPath, ACurrentDirectoryBeyondTheBufferIsCleared) {
    const TempFolder folder;
    std::wstring deep = L"\\\\?\\" + folder.Path();
    while (deep.size() < 300) {
        deep += L"\\" + std::wstring(60, L'd');
        ASSERT_TRUE(::CreateDirectoryW(deep.c_str(), nullptr));
    }
    // Windows refuses such a current directory to programs without long-path awareness.
    if (!::SetCurrentDirectoryW(deep.c_str() + 4)) GTEST_SKIP() << "no current directory of this length";
    OrvaPath path(L"from before");
    EXPECT_FALSE(path.GetCurrentDirectory());
    EXPECT_TRUE(path.IsEmpty());
    EXPECT_EQ(path.GetText().GetLength(), 0);
    ::SetCurrentDirectoryW(L"C:\\");
    EXPECT_TRUE(path.GetCurrentDirectory());
    ExpectCountedTerminator(path, L"C:\\");
}

constexpr DWORD longNameSize = 1000;

DWORD WINAPI SayLongName(HMODULE, wchar_t* buffer, DWORD size) {
    std::fill_n(buffer, std::min(size, longNameSize) - 1, L'm');
    buffer[std::min(size, longNameSize) - 1] = L'\0';
    if (size >= longNameSize) return longNameSize - 1;
    ::SetLastError(ERROR_INSUFFICIENT_BUFFER);
    return size;
}
DWORD WINAPI FillAndFail(HMODULE, wchar_t*, DWORD size) {
    ::SetLastError(ERROR_ACCESS_DENIED);
    return size;
}

TEST(OrvaPath, FindsModulesWithLongNames) {
    OrvaPath module;
    {
        const tarnu::test::ImportPatch patch(L"TarnuWin32Utils.dll", "GetModuleFileNameW", &SayLongName);
        EXPECT_TRUE(module.GetModuleFileName(nullptr));
    }
    const tarnu::test::ImportPatch patch(L"TarnuWin32Utils.dll", "GetModuleFileNameW", &FillAndFail);
    EXPECT_FALSE(module.GetModuleFileName(nullptr));
    EXPECT_EQ(Text(module), std::wstring(longNameSize - 1, L'm'));
}

TEST(OrvaPath, FindsTheExecutableAndModules) {
    wchar_t buffer[MAX_PATH];
    ::GetModuleFileNameW(nullptr, buffer, MAX_PATH);
    const OrvaPath file(OrvaPath::ExecutableFile);
    EXPECT_EQ(file, buffer);
    EXPECT_EQ(file.GetText().GetLength(), static_cast<int>(std::wcslen(buffer)));
    const OrvaPath directory(OrvaPath::ExecutableDirectory);
    EXPECT_TRUE(directory.HasTrailingSeparator());
    EXPECT_EQ(directory / file.GetNameAndExtension(), file);

    OrvaPath module(L"from before", OrvaPath::SlashSeparator);
    ASSERT_TRUE(module.GetModuleFileName(::GetModuleHandleW(L"kernel32.dll")));
    EXPECT_EQ(module.GetNameAndExtension().CompareNoCase(L"kernel32.dll"), 0);
    EXPECT_EQ(Text(module).find(L'\\'), std::wstring::npos) << "normalised with the path's own separator";
    EXPECT_FALSE(module.GetModuleFileName(reinterpret_cast<HMODULE>(static_cast<ULONG_PTR>(16))));
    EXPECT_EQ(module.GetNameAndExtension().CompareNoCase(L"kernel32.dll"), 0) << "a failure keeps the text";
}

TEST(OrvaPath, FindsFoldersOfTheShell) {
    wchar_t buffer[MAX_PATH];
    ASSERT_EQ(::SHGetFolderPathW(nullptr, CSIDL_DESKTOPDIRECTORY, nullptr, 0, buffer), S_OK);
    EXPECT_EQ(OrvaPath(OrvaPath::DesktopDirectory), buffer);
    OrvaPath path(L"from before");
    EXPECT_TRUE(path.GetFolderPath(CSIDL_DESKTOPDIRECTORY, nullptr));
    EXPECT_EQ(path, buffer);
    EXPECT_FALSE(path.GetFolderPath(0x7F, nullptr));
    EXPECT_EQ(path, buffer) << "a failure keeps the text";
    if (::SHGetFolderPathW(nullptr, CSIDL_FAVORITES, nullptr, 0, buffer) == S_OK) {
        EXPECT_EQ(OrvaPath(OrvaPath::Favorites), buffer);
    }
}

TEST(OrvaPath, InventsTemporaryFileNames) {
    const OrvaPath path(OrvaPath::TempFile);
    EXPECT_FALSE(path.IsEmpty());
    EXPECT_EQ(path.GetText().GetLength(), static_cast<int>(std::wcslen(path)));
    EXPECT_FALSE(path.Exists());
    EXPECT_TRUE(path.GetDriveAndDirectory().Exists());
    EXPECT_EQ(path.GetNameAndExtension().GetText()[0], L'~');
}

TEST(OrvaPath, UnknownPlacesChangeNothing) {
    OrvaPath path(L"a//b", OrvaPath::SlashSeparator);
    for (const int kind : {-1, 9, 1000}) {
        path.SetToLocation(kind);
        EXPECT_EQ(path, L"a//b");
        EXPECT_STREQ(path.GetSeparator(), L"/");
    }
}

} // namespace
