#include "tarnu/paths/PathExtras.h"

#include <filesystem>
#include <gtest/gtest.h>
#include <string>
#include <utility>

namespace {

std::wstring Text(const OrvaPath& path) {
    return path.GetText().GetString();
}

TEST(PathExtras, DotsAreResolvedByTheText) {
    const std::pair<const wchar_t*, const wchar_t*> cases[] = {
        {L"", L""},
        {L".", L"."},
        {L"..", L".."},
        {L".\\..\\.", L".."},
        {L"a\\..", L"."},
        {L"a\\..\\", L"."},
        {L"a\\b\\..", L"a"},
        {L"a\\b\\..\\", L"a\\"},
        {L"a\\.\\b", L"a\\b"},
        {L"..\\..\\a", L"..\\..\\a"},
        {L"a\\..\\..\\b", L"..\\b"},
        {L"..\\", L"..\\"},
        {L"...\\a.\\.b", L"...\\a.\\.b"},
        {L"C:\\a\\.\\b\\..\\..\\..\\c", L"C:\\c"},
        {L"C:\\..", L"C:\\"},
        {L"C:\\", L"C:\\"},
        {L"C:..\\x", L"C:..\\x"},
        {L"C:a\\..", L"C:."},
        {L"\\..\\a", L"\\a"},
        {L"\\\\server\\share\\..\\..\\a", L"\\\\server\\share\\a"},
        {L"\\\\server\\share", L"\\\\server\\share"},
        {L"\\\\server\\share\\..", L"\\\\server\\share\\"},
        {L"\\\\server", L"\\\\server"},
        {L"a//b\\\\c", L"a\\b\\c"},
    };
    for (const auto& [path, resolved] : cases) {
        EXPECT_EQ(resolved, Text(tarnu::resolve_dots(path))) << OrvaPath(path).GetText().GetString();
        EXPECT_EQ(resolved, Text(tarnu::resolve_dots(tarnu::resolve_dots(path)))) << "twice is once";
    }
    const OrvaPath slashes = tarnu::resolve_dots(OrvaPath(L"C:\\a\\..\\b\\", OrvaPath::SlashSeparator));
    EXPECT_EQ(L"C:/b/", Text(slashes));
    EXPECT_EQ(std::wstring(L"/"), slashes.GetSeparator());
    std::wstring deep = L"C:\\top";
    for (int level = 0; level < 500; ++level)
        deep += L"\\folder";
    std::wstring climbing = deep;
    for (int level = 0; level < 500; ++level)
        climbing += L"\\..";
    EXPECT_EQ(L"C:\\top", Text(tarnu::resolve_dots(climbing.c_str()))) << "no length is too long";
}

TEST(PathExtras, WithinIsByComponents) {
    struct Case {
        const wchar_t* path;
        const wchar_t* folder;
        bool isWithin;
    };
    const Case cases[] = {
        {L"C:\\job\\a.txt", L"C:\\job", true},
        {L"C:\\job\\a.txt", L"C:\\job\\", true},
        {L"c:/JOB/sub/a.txt", L"C:\\job", true},
        {L"C:\\job", L"C:\\job\\", true},
        {L"C:\\job2", L"C:\\job", false},
        {L"C:\\job2\\a", L"C:\\job", false},
        {L"C:\\jo", L"C:\\job", false},
        {L"C:\\", L"C:\\job", false},
        {L"C:\\job\\..\\other", L"C:\\job", false},
        {L"C:\\other\\..\\job\\a", L"C:\\job", true},
        {L"D:\\job\\a", L"C:\\job", false},
        {L"C:\\job\\a", L"C:\\", true},
        {L"C:job\\a", L"C:\\job", false}, // relative to the drive's current directory
        {L"job\\a", L"C:\\job", false},
        {L"job\\a", L"job", true},
        {L"job\\a", L".", true},
        {L"..\\job", L".", false},
        {L"..\\job", L"..", true},
        {L"..\\..\\job", L"..", false},
        {L"\\\\server\\share\\a", L"//SERVER/share", true},
        {L"\\\\server\\share2\\a", L"\\\\server\\share", false},
        {L"\\job\\a", L"\\job", true},
        {L"", L"", true},
    };
    for (const Case& c : cases)
        EXPECT_EQ(c.isWithin, tarnu::is_within(c.path, c.folder))
            << std::filesystem::path(c.path) << " in " << std::filesystem::path(c.folder);
}

TEST(PathExtras, SafeNamesCanBeFiles) {
    const std::pair<std::wstring, std::wstring> cases[] = {
        {L"plan.dwg", L"plan.dwg"},
        {L"a<b>c:d\"e/f\\g|h?i*j", L"a_b_c_d_e_f_g_h_i_j"},
        {L"tab\there", L"tab_here"},
        {L"ends. . ", L"ends"},
        {L"...", L"_"},
        {L"", L"_"},
        {L" leading", L" leading"},
        {L"con", L"_con"},
        {L"Nul.txt", L"_Nul.txt"},
        {L"NUL .txt", L"_NUL .txt"},
        {L"com1.tar.gz", L"_com1.tar.gz"},
        {L"LPT\u00B2", L"_LPT\u00B2"},
        {L"conin$", L"_conin$"},
        {L"com10", L"com10"},
        {L"comb", L"comb"},
        {L"a\x7F"
         L"b",
         L"a_b"},
        {L"console", L"console"},
        {L"x\xD83D\xDE00y", L"x\xD83D\xDE00y"}, // a surrogate pair
        {L"x\xD83Dy\xDE00", L"x_y_"},
    };
    for (const auto& [text, name] : cases) {
        EXPECT_EQ(name, Text(tarnu::safe_name(text)));
        EXPECT_EQ(name, Text(tarnu::safe_name(Text(tarnu::safe_name(text))))) << "a safe name stays";
    }
    EXPECT_EQ(std::wstring(251, L'a') + L".txt", Text(tarnu::safe_name(std::wstring(300, L'a') + L".txt")));
    EXPECT_EQ(std::wstring(255, L'a'), Text(tarnu::safe_name(std::wstring(255, L'a'))));
    EXPECT_EQ(std::wstring(255, L'a'), Text(tarnu::safe_name(std::wstring(256, L'a'))));
    EXPECT_EQ(std::wstring(254, L'a'), Text(tarnu::safe_name(std::wstring(254, L'a') + L"\xD83D\xDE00")))
        << "a pair is not cut in two";
    EXPECT_EQ(L"a-b", Text(tarnu::safe_name(L"a?b", L'-')));
}

TEST(PathExtras, Utf8BothWays) {
    const std::pair<const wchar_t*, const char*> cases[] = {{L"", ""},
                                                            {L"C:\\a b", "C:\\a b"},
                                                            {L"\u00E4\u20AC", "\xC3\xA4\xE2\x82\xAC"},
                                                            {L"\xD83D\xDE00", "\xF0\x9F\x98\x80"}};
    for (const auto& [wide, narrow] : cases) {
        EXPECT_EQ(std::string(narrow), tarnu::to_utf8(wide));
        ASSERT_TRUE(tarnu::from_utf8(narrow).has_value());
        EXPECT_EQ(wide, Text(*tarnu::from_utf8(narrow)));
    }
    EXPECT_FALSE(tarnu::to_utf8(L"a\xD83D").has_value());
    for (const std::string& bad : {std::string("\xC3"), std::string("\xC0\x80"), std::string("\xED\xA0\xBD"),
                                   std::string("a\0b", 3), std::string("\xFF")})
        EXPECT_FALSE(tarnu::from_utf8(bad).has_value());
}

TEST(PathExtras, StandardPathsBothWays) {
    const OrvaPath path(L"C:/a\\\u00E4\xD83D.txt");
    const auto standard = tarnu::to_path<std::filesystem::path>(path);
    EXPECT_EQ(Text(path), standard.native()) << "unit for unit, what is no valid text too";
    EXPECT_EQ(Text(path), Text(tarnu::from_path(standard)));
    EXPECT_EQ(L".txt", Text(tarnu::from_path(standard.extension())));
}

} // namespace
