// orva time, message, error, registry and memory.
#include "orva/Dialogs.h"
#include "support/Program.h"
#include "support/TempFolder.h"
#include "support/Text.h"

#include <gtest/gtest.h>
#include <regex>
#include <string>

namespace {

using tarnu::test::Answer;
using tarnu::test::DialogOf;
using tarnu::test::OrvaProcess;
using tarnu::test::Quoted;
using tarnu::test::ReadFile;
using tarnu::test::TempFolder;
using tarnu::test::WaitUntil;

/// A key below HKEY_LOCAL_MACHINE that goes with the object.
class RegistryKey {
public:
    explicit RegistryKey(const wchar_t* path) : m_path(path) {
        ::RegCreateKeyExW(HKEY_LOCAL_MACHINE, path, 0, nullptr, REG_OPTION_VOLATILE, KEY_ALL_ACCESS, nullptr, &m_key,
                          nullptr);
    }
    ~RegistryKey() {
        if (m_key == nullptr) return;
        ::RegCloseKey(m_key);
        ::RegDeleteKeyW(HKEY_LOCAL_MACHINE, m_path);
    }
    RegistryKey(const RegistryKey&) = delete;
    RegistryKey& operator=(const RegistryKey&) = delete;

    HKEY Get() const { return m_key; } ///< null when the user may not write there

private:
    const wchar_t* m_path;
    HKEY m_key = nullptr;
};

} // namespace

TEST(TimeCommand, RunsAProgramWithItsArgumentsAndReports) {
    const TempFolder temp;
    const std::wstring path = Quoted(tarnu::test::PathBesideTest(L"orva.exe"));
    const std::wstring report = Quoted(temp / L"times.txt");

    // Blanks, quotes and backslashes reach the program as they are.
    OrvaProcess first(L"time -r " + report + L" -- " + path + LR"( path join -s "a b\\" "" e\f)");
    EXPECT_EQ(0u, first.Wait()) << first.Errors();
    const std::string output = first.Output();
    EXPECT_TRUE(output.starts_with("a b/e/f\n")) << output;
    EXPECT_TRUE(std::regex_search(output, std::regex("orva\\.exe: \\d+\\.\\d{3} sec, exit status 0\n$"))) << output;
    OrvaProcess second(L"time --report " + report + L" " + path + LR"( tree "c\"d\\")");
    EXPECT_EQ(1u, second.Wait());
    EXPECT_EQ("orva: c\"d\\: there is no such folder\n", second.Errors());
    EXPECT_NE(std::string::npos, second.Output().find(", exit status 1\n")) << second.Output();
    const std::string times = ReadFile(temp / L"times.txt");
    const std::regex line("Timer in [^\n]*orva\\.exe: \\d+\\.\\d{3} sec");
    EXPECT_EQ(2, std::distance(std::sregex_iterator(times.begin(), times.end(), line), std::sregex_iterator()))
        << times;

    OrvaProcess missing(L"time \"" + temp / L"none.exe" + L"\"");
    EXPECT_EQ(1u, missing.Wait());
    EXPECT_TRUE(missing.Errors().starts_with("orva: ")) << missing.Errors();
}

TEST(MessageCommand, PrintsTheAnswer) {
    const struct {
        const wchar_t* arguments;
        int button;
        DWORD status;
        const char* answer;
    } cases[] = {
        {L"message hello", IDOK, 0, "ok\n"},
        {L"message hello --buttons yes-no --icon question", IDNO, 1, "no\n"},
        {L"message hello -b ok-cancel", IDCANCEL, 1, "cancel\n"},
        {L"message \"\" -b retry-cancel -t \"\" -i error", IDRETRY, 0, "retry\n"},
    };
    for (const auto& entry : cases) {
        OrvaProcess orva(entry.arguments);
        Answer(orva, entry.button);
        EXPECT_EQ(entry.status, orva.Wait()) << orva.Errors();
        EXPECT_EQ(entry.answer, orva.Output());
    }
}

TEST(MessageCommand, CountsDownAndClosesTheBox) {
    OrvaProcess answered(L"message hello --title Title --for 600");
    std::wstring title;
    EXPECT_TRUE(WaitUntil([&] {
        wchar_t text[32] = {};
        ::GetWindowTextW(DialogOf(answered.Id()), text, 32);
        title = text;
        return title.ends_with(L" s)") || !answered.IsRunning();
    }));
    EXPECT_TRUE(std::regex_match(title, std::wregex(L"Title \\((600|5\\d\\d) s\\)"))) << title.c_str();
    Answer(answered, IDOK);
    EXPECT_EQ(0u, answered.Wait()) << answered.Errors();
    EXPECT_EQ("ok\n", answered.Output());

    // Not the answer that closing it by hand has, which for a single button is ok.
    for (const wchar_t* seconds : {L"0", L"0.3"}) {
        OrvaProcess unanswered(std::wstring(L"message hello --for ") + seconds);
        EXPECT_EQ(1u, unanswered.Wait()) << unanswered.Errors();
        EXPECT_EQ("none\n", unanswered.Output());
    }
}

TEST(ErrorCommand, ReadsCodesInEveryNotation) {
    OrvaProcess known(L"error 5 0x5 5h 0X80070005 80070005H -2147024891 2147942405");
    EXPECT_EQ(0u, known.Wait()) << known.Errors();
    const std::string output = known.Output();
    EXPECT_TRUE(std::regex_match(
        output, std::regex("(5 \\(0x00000005\\): [^\n]+\n){3}(2147942405 \\(0x80070005\\): [^\n]+\n){4}")))
        << output;
    OrvaProcess unknown(L"error 0x2FFFFFFF 5");
    EXPECT_EQ(1u, unknown.Wait());
    EXPECT_TRUE(unknown.Errors().starts_with("orva: 805306367 (0x2FFFFFFF): ")) << unknown.Errors();
    EXPECT_TRUE(unknown.Output().starts_with("5 (")) << "the others are answered all the same";
    for (const wchar_t* code : {L"x", L"0x", L"h", L"4294967296", L"-2147483649", L"5x", L"99999999999999999999"}) {
        OrvaProcess wrong(std::wstring(L"error 5 ") + code);
        EXPECT_EQ(2u, wrong.Wait()) << code;
        EXPECT_EQ("", wrong.Output());
    }
}

TEST(RegistryCommand, PrintsValuesOfEveryType) {
    OrvaProcess missing(L"registry SOFTWARE\\TarnuNoSuchKey name");
    EXPECT_EQ(1u, missing.Wait());
    EXPECT_TRUE(missing.Errors().starts_with("orva: HKEY_LOCAL_MACHINE\\SOFTWARE\\TarnuNoSuchKey: "))
        << missing.Errors();

    constexpr wchar_t keyPath[] = L"SOFTWARE\\TarnuOrvaTest";
    const RegistryKey key(keyPath);
    if (key.Get() == nullptr) GTEST_SKIP() << "this user may not write there";
    const struct {
        const wchar_t* name;
        DWORD type;
        std::wstring data; ///< code units; bytes are taken from them
        std::size_t size;
        const char* expected;
    } cases[] = {
        {L"text", REG_SZ, std::wstring(L"a b\0", 4), 8, "a b\n"},
        {L"unended", REG_EXPAND_SZ, L"%x%", 6, "%x%\n"},
        {L"odd", REG_SZ, L"abc", 5, "ab\n"},
        {L"empty", REG_SZ, L"", 0, ""},
        {L"list", REG_MULTI_SZ, std::wstring(L"one\0two\0\0", 9), 18, "one\ntwo\n"},
        {L"unended list", REG_MULTI_SZ, std::wstring(L"one\0two", 7), 14, "one\ntwo\n"},
        {L"empty list", REG_MULTI_SZ, L"", 0, ""},
        {L"number", REG_DWORD, std::wstring(L"\x0102\0", 2), 4, "258 (0x00000102)\n"},
        {L"long", REG_QWORD, std::wstring(L"\0\0\1\0", 4), 8, "4294967296 (0x0000000100000000)\n"},
        {L"bytes", REG_BINARY, L"\x0201\x0403\x0605\x0807\x0A09\x0C0B\x0E0D\x100F\x1211", 17,
         "01 02 03 04 05 06 07 08 09 0A 0B 0C 0D 0E 0F 10\n11\n"},
        {L"", REG_SZ, std::wstring(L"unnamed\0", 8), 16, "unnamed\n"},
    };
    for (const auto& entry : cases) {
        ASSERT_EQ(ERROR_SUCCESS,
                  ::RegSetValueExW(key.Get(), entry.name, 0, entry.type,
                                   reinterpret_cast<const BYTE*>(entry.data.data()), static_cast<DWORD>(entry.size)));
        OrvaProcess orva(std::wstring(L"registry ") + keyPath + L" \"" + entry.name + L"\"");
        EXPECT_EQ(0u, orva.Wait()) << orva.Errors();
        EXPECT_EQ(entry.expected, orva.Output()) << entry.name;
    }
}

TEST(MemoryCommand, ShowsHowBlocksLieInPages) {
    SYSTEM_INFO system{};
    ::GetSystemInfo(&system);
    const unsigned room = system.dwPageSize - 24; // a page begins with its header
    OrvaProcess orva(L"memory 24 8 " + std::to_wstring(room) + L" --count 40");
    EXPECT_EQ(0u, orva.Wait()) << orva.Errors();
    const std::string output = orva.Output();
    const auto line = [&](unsigned size, unsigned inPage) {
        const unsigned pages = (40 + inPage - 1) / inPage;
        return "\n +" + std::to_string(size) + " +" + std::to_string(inPage) + " +40 +" + std::to_string(pages) + " ";
    };
    // A block holds its two links while it is free.
    for (const std::string& wanted : {line(24, room / 24), line(8, room / 16), line(room, 1)})
        EXPECT_TRUE(std::regex_search(output, std::regex(wanted))) << wanted << " in\n" << output;

    OrvaProcess heap(L"memory --heap 4");
    EXPECT_EQ(0u, heap.Wait()) << heap.Errors();
    EXPECT_EQ("a heap block grows to 4.0 MiB\n", heap.Output());
    for (const std::wstring& wrong :
         {std::wstring(), std::wstring(L"0"), std::to_wstring(room + 1), std::wstring(L"x"), std::wstring(L"8x")}) {
        OrvaProcess refused(L"memory " + wrong);
        EXPECT_EQ(2u, refused.Wait()) << wrong.c_str();
    }
}
