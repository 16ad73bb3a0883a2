// Every way in which a path is handed to what wants a text: each must compile and keep the text.
#include "tarnu/paths/OrvaPath.h"

#include <gtest/gtest.h>

namespace {

CString Taken(const CString& text) {
    return text;
}
std::wstring TakenPlain(const wchar_t* text) {
    return text;
}

TEST(PathConversion, ReadsAsStringAndAsPlainText) {
    const OrvaPath path(L"a\\b");
    const CString copied = path;
    const CString direct(path);
    const CString braced{path};
    CString assigned;
    assigned = path;
    for (const CString& text : {copied, direct, braced, assigned, Taken(path), static_cast<CString>(path)}) {
        EXPECT_STREQ(L"a\\b", text);
    }
    EXPECT_EQ(L"a\\b", TakenPlain(path));
    EXPECT_EQ(L"a\\b", std::wstring(path));
    assigned += path;
    EXPECT_STREQ(L"a\\ba\\b", assigned);
    EXPECT_STREQ(L"<a\\b", CString(L"<") + path);
    EXPECT_STREQ(L"a\\b>", path + CString(L">"));
    EXPECT_STREQ(L"<a\\b", L"<" + path);
    EXPECT_STREQ(L"a\\b>", path + L">");
    EXPECT_STREQ(L"a\\ba\\b", path + path);
    CString appended(L"<");
    appended.Append(path);
    EXPECT_STREQ(L"<a\\b", appended);
    EXPECT_TRUE(path == L"a\\b" && L"a\\b" == path && path == CString(L"a\\b") && CString(L"a\\b") == path);
    EXPECT_EQ(L'\\', path[1]);
}

// Well-known places are taken as the enumeration and as a number; null is a text in every spelling.
TEST(PathConversion, TellsPlacesFromTexts) {
    for (int kind = 0; kind < OrvaPath::TempFile; ++kind) {
        OrvaPath expected;
        expected.SetToLocation(kind);
        EXPECT_FALSE(expected.IsEmpty()) << kind;
        EXPECT_EQ(expected, OrvaPath(kind, 2)) << kind;
        EXPECT_EQ(expected, OrvaPath(static_cast<OrvaPath::Location>(kind))) << kind;
    }
    EXPECT_EQ(OrvaPath(OrvaPath::ExecutableFile), OrvaPath(0, 2));
    EXPECT_EQ(L"", OrvaPath(9, 2));
    EXPECT_EQ(L"", OrvaPath(NULL, 2));
    EXPECT_EQ(L"", OrvaPath(nullptr, 2));
}

TEST(PathConversion, JoinsInPlaceByOperator) {
    OrvaPath path(L"a//b", OrvaPath::SlashSeparator);
    EXPECT_EQ(L"a/b/c", path /= L"\\c");
    EXPECT_EQ(L"a/b/c/d", path /= CString(L"d"));
    EXPECT_EQ(L"a/b/c/d/e", path /= OrvaPath(L"e"));
    EXPECT_EQ(L"a/b/c/d/e/f", path /= std::wstring(L"f"));
    EXPECT_EQ(L"a/b/c/d/e/f", path);
}

// Two separators behind a drive are no server: nothing of the path may get lost.
TEST(PathConversion, KeepsADriveInFrontOfDoubledSeparators) {
    OrvaPath drive, directory, name, extension;
    OrvaPath(L"C:\\\\dir\\sub\\x.txt").SplitPath(drive, directory, name, extension);
    EXPECT_EQ(L"C:", drive);
    EXPECT_EQ(L"\\\\dir\\sub\\", directory);
    EXPECT_EQ(L"C:\\dir\\sub\\x.txt", drive / directory / (name + extension));
    OrvaPath path(L"C:\\\\x.txt");
    path.ChangeExtension(L"log");
    EXPECT_EQ(L"C:\\x.log", path);
}

} // namespace
