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
    EXPECT_TRUE(path == L"a\\b" && L"a\\b" == path && path == CString(L"a\\b") && CString(L"a\\b") == path);
    EXPECT_EQ(L'\\', path[1]);
}

} // namespace
