// What Explorer's property sheet and installers read of the program and of the library beside it.
#include "support/Program.h"

#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace {

using tarnu::test::OrvaProcess;
using tarnu::test::PathBesideTest;

/// The version resource of a file.
class VersionResource {
public:
    explicit VersionResource(const std::wstring& path) : m_data(::GetFileVersionInfoSizeW(path.c_str(), nullptr)) {
        if (!m_data.empty() &&
            !::GetFileVersionInfoW(path.c_str(), 0, static_cast<DWORD>(m_data.size()), m_data.data())) {
            m_data.clear();
        }
    }
    /// The part without texts; all zero when there is none.
    VS_FIXEDFILEINFO Fixed() const {
        VS_FIXEDFILEINFO fixed{};
        UINT length = 0;
        if (const void* const found = Find(L"\\", length); found != nullptr && length >= sizeof fixed)
            fixed = *static_cast<const VS_FIXEDFILEINFO*>(found);
        return fixed;
    }
    /// A text in English; empty when there is none.
    std::wstring Text(const std::wstring& name) const {
        UINT length = 0;
        const void* const found = Find(L"\\StringFileInfo\\040904B0\\" + name, length);
        return found != nullptr && length > 0 ? static_cast<const wchar_t*>(found) : std::wstring();
    }

private:
    const void* Find(const std::wstring& name, UINT& length) const {
        void* value = nullptr;
        return !m_data.empty() && ::VerQueryValueW(m_data.data(), name.c_str(), &value, &length) ? value : nullptr;
    }

    std::vector<BYTE> m_data;
};

TEST(VersionResource, TellsTheProjectsVersionAndWhatTheFileIs) {
    const struct {
        const wchar_t* file;
        const wchar_t* name;
        const wchar_t* description;
        DWORD type;
    } cases[] = {
        {L"orva.exe", L"orva", L"Command-line host of TarnuWin32Utils", VFT_APP},
        {L"TarnuWin32Utils.dll", L"TarnuWin32Utils", L"TarnuWin32Utils library", VFT_DLL},
    };
    constexpr DWORD majorAndMinor = TARNU_VERSION_MAJOR << 16 | TARNU_VERSION_MINOR;
    constexpr DWORD patch = TARNU_VERSION_PATCH << 16;
    for (const auto& [file, name, description, type] : cases) {
        const VersionResource resource(PathBesideTest(file));
        const VS_FIXEDFILEINFO fixed = resource.Fixed();
        EXPECT_EQ(fixed.dwSignature, static_cast<DWORD>(VS_FFI_SIGNATURE)) << "there is no resource";
        EXPECT_EQ(fixed.dwFileVersionMS, majorAndMinor);
        EXPECT_EQ(fixed.dwFileVersionLS, patch);
        EXPECT_EQ(fixed.dwProductVersionMS, majorAndMinor);
        EXPECT_EQ(fixed.dwProductVersionLS, patch);
        EXPECT_EQ(fixed.dwFileOS, static_cast<DWORD>(VOS_NT_WINDOWS32));
        EXPECT_EQ(fixed.dwFileType, type);
        EXPECT_EQ(resource.Text(L"FileVersion"), TARNU_VERSION);
        EXPECT_EQ(resource.Text(L"ProductVersion"), TARNU_VERSION);
        EXPECT_EQ(resource.Text(L"ProductName"), L"TarnuWin32Utils");
        EXPECT_EQ(resource.Text(L"OriginalFilename"), file);
        EXPECT_EQ(resource.Text(L"InternalName"), name);
        EXPECT_EQ(resource.Text(L"FileDescription"), description);
        EXPECT_NE(resource.Text(L"LegalCopyright"), L"");
    }

    OrvaProcess orva(L"--version");
    EXPECT_EQ(orva.Wait(), 0u);
    const std::wstring version(TARNU_VERSION);
    EXPECT_NE(orva.Output().find(std::string(version.begin(), version.end())), std::string::npos) << orva.Output();
}

} // namespace
