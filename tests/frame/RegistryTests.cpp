#include "tarnu/frame/OrvaRegistry.h"

#include "support/HandleCount.h"

#include <gtest/gtest.h>
#include <string>

using namespace tarnu::test;

namespace {

constexpr wchar_t KeyPath[] = L"SOFTWARE\\TarnuTestRegistry";

/// A key with one value of each kind; skipped where the machine's registry may not be written.
class OrvaRegistryTest : public testing::Test {
protected:
    void SetUp() override {
        const LSTATUS status = ::RegCreateKeyExW(HKEY_LOCAL_MACHINE, KeyPath, 0, nullptr, REG_OPTION_VOLATILE,
                                                 KEY_WRITE, nullptr, &m_key, nullptr);
        if (status == ERROR_ACCESS_DENIED) GTEST_SKIP() << "HKEY_LOCAL_MACHINE may not be written";
        ASSERT_EQ(ERROR_SUCCESS, status);
        Set(L"dword", REG_DWORD, "\x78\x56\x34\x12", 4);
        Set(L"binary4", REG_BINARY, "\xEF\xBE\xAD\xDE", 4);
        Set(L"binary5", REG_BINARY, "12345", 5);
        Set(L"binary2", REG_BINARY, "\x01\x02", 2);
        Set(L"text", REG_SZ, L"abc", 8);
        Set(L"", REG_SZ, L"unnamed", 16);
    }
    void TearDown() override {
        if (m_key == nullptr) return;
        ::RegCloseKey(m_key);
        ::RegDeleteKeyW(HKEY_LOCAL_MACHINE, KeyPath);
    }

private:
    void Set(const wchar_t* name, DWORD type, const void* data, DWORD size) {
        ASSERT_EQ(ERROR_SUCCESS, ::RegSetValueExW(m_key, name, 0, type, static_cast<const BYTE*>(data), size));
    }

    HKEY m_key = nullptr;
};

} // namespace

TEST_F(OrvaRegistryTest, ReadsAnyValue) {
    wchar_t text[16] = {};
    DWORD type = 0;
    DWORD size = sizeof text;
    EXPECT_EQ(1, OrvaReadRegistryValue(KeyPath, L"text", &type, reinterpret_cast<BYTE*>(text), &size));
    EXPECT_STREQ(L"abc", text);
    EXPECT_EQ(static_cast<DWORD>(REG_SZ), type);
    EXPECT_EQ(8U, size);

    size = sizeof text;
    EXPECT_EQ(1, OrvaReadRegistryValue(KeyPath, L"", nullptr, reinterpret_cast<BYTE*>(text), &size));
    EXPECT_STREQ(L"unnamed", text);

    EXPECT_EQ(1, OrvaReadRegistryValue(KeyPath, L"binary5", &type, nullptr, &size)) << "asks for the size alone";
    EXPECT_EQ(5U, size);
    EXPECT_EQ(static_cast<DWORD>(REG_BINARY), type);
}

TEST_F(OrvaRegistryTest, FailsWithZero) {
    BYTE data[4] = {};
    DWORD type = 0;
    DWORD size = sizeof data;
    EXPECT_EQ(0, OrvaReadRegistryValue(KeyPath, L"missing", &type, data, &size));
    size = sizeof data;
    EXPECT_EQ(0, OrvaReadRegistryValue(CString(KeyPath) + L"\\missing", L"dword", &type, data, &size));
    size = sizeof data;
    EXPECT_EQ(0, OrvaReadRegistryValue(KeyPath, L"binary5", &type, data, &size)) << "larger than the buffer";
    EXPECT_EQ(5U, size);
    EXPECT_EQ(0, OrvaReadRegistryValue(KeyPath, L"dword", &type, data, nullptr));
}

TEST_F(OrvaRegistryTest, DwordOfAnyType) {
    DWORD value = 0;
    EXPECT_EQ(1, OrvaReadRegistryDword(KeyPath, L"dword", &value));
    EXPECT_EQ(0x12345678U, value);
    EXPECT_EQ(1, OrvaReadRegistryDword(KeyPath, L"binary4", &value));
    EXPECT_EQ(0xDEADBEEFU, value);
    value = 0;
    EXPECT_EQ(1, OrvaReadRegistryDword(KeyPath, L"binary2", &value)) << "fewer bytes fill the low ones";
    EXPECT_EQ(0x0201U, value);
}

TEST_F(OrvaRegistryTest, DwordFailures) {
    DWORD value = 4711;
    EXPECT_EQ(0, OrvaReadRegistryDword(KeyPath, L"missing", &value));
    EXPECT_EQ(0, OrvaReadRegistryDword(L"SOFTWARE\\Tarnu\\No such key", L"dword", &value));
    EXPECT_EQ(4711U, value) << "untouched";
    EXPECT_EQ(0, OrvaReadRegistryDword(KeyPath, L"binary5", &value));
    EXPECT_EQ(0, OrvaReadRegistryDword(KeyPath, L"text", &value));
    EXPECT_EQ(0, OrvaReadRegistryDword(KeyPath, L"dword", nullptr));
}

TEST_F(OrvaRegistryTest, EveryCallLeavesItsKeyOpen) {
    DWORD value = 0;
    OrvaReadRegistryDword(KeyPath, L"dword", &value); // the first use of the hive opens handles of its own
    const unsigned before = CountHandles();
    for (int call = 0; call < 5; ++call)
        OrvaReadRegistryDword(KeyPath, L"dword", &value);
    EXPECT_EQ(before + 5, CountHandles());
    OrvaReadRegistryDword(KeyPath, L"missing", &value);
    EXPECT_EQ(before + 6, CountHandles()) << "also when the value is missing";
    OrvaReadRegistryDword(L"SOFTWARE\\Tarnu\\No such key", L"dword", &value);
    EXPECT_EQ(before + 6, CountHandles()) << "a key that was not opened leaves nothing";
}
