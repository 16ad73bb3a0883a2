#include "tarnu/text/OrvaStrings.h"

#include "support/MessageBoxes.h"
#include "text/Texts.h"

#include <comdef.h>
#include <gtest/gtest.h>
#include <wrl/client.h>

using namespace tarnu::test;
using Microsoft::WRL::ComPtr;

namespace {

constexpr DWORD unknownCode = 0x2FEDCBA9; // customer bit set: the system has no text for it

ComPtr<IErrorInfo> MakeErrorInfo(const wchar_t* description) {
    ComPtr<ICreateErrorInfo> creator;
    EXPECT_HRESULT_SUCCEEDED(::CreateErrorInfo(creator.GetAddressOf()));
    std::wstring text(description);
    EXPECT_HRESULT_SUCCEEDED(creator->SetDescription(text.data()));
    ComPtr<IErrorInfo> information;
    EXPECT_HRESULT_SUCCEEDED(creator.As(&information));
    return information;
}

unsigned long References(IUnknown* object) {
    object->AddRef();
    return object->Release();
}

/// Error information whose description can't be had.
class FailingErrorInfo final : public IErrorInfo {
public:
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID, void** object) override {
        *object = nullptr;
        return E_NOINTERFACE;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return ++m_references; }
    ULONG STDMETHODCALLTYPE Release() override { return --m_references; }
    HRESULT STDMETHODCALLTYPE GetGUID(GUID*) override { return E_FAIL; }
    HRESULT STDMETHODCALLTYPE GetSource(BSTR*) override { return E_FAIL; }
    HRESULT STDMETHODCALLTYPE GetDescription(BSTR*) override { return E_OUTOFMEMORY; }
    HRESULT STDMETHODCALLTYPE GetHelpFile(BSTR*) override { return E_FAIL; }
    HRESULT STDMETHODCALLTYPE GetHelpContext(DWORD*) override { return E_FAIL; }

private:
    ULONG m_references = 1;
};

} // namespace

TEST(OrvaGetSystemErrorText, TextAsTheSystemGivesIt) {
    wchar_t expected[512] = {};
    ASSERT_NE(0U, ::FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr,
                                   ERROR_FILE_NOT_FOUND, 0, expected, 512, nullptr));
    const std::wstring text = Wide(OrvaGetSystemErrorText(ERROR_FILE_NOT_FOUND));
    EXPECT_EQ(expected, text);
    ASSERT_LT(2U, text.size());
    EXPECT_EQ(L"\r\n", text.substr(text.size() - 2)) << "the line break stays";
}

TEST(OrvaGetSystemErrorText, InsertsStayAsTheyAre) {
    // Which texts have inserts differs between systems, so look for the first; there are no arguments to fill it.
    std::wstring text;
    for (DWORD code = 1; code < 2000 && text.find(L"%1") == std::wstring::npos; ++code)
        text = Wide(OrvaGetSystemErrorText(code));
    EXPECT_NE(std::wstring::npos, text.find(L"%1"));
}

TEST(OrvaGetSystemErrorText, EmptyForUnknownCodes) {
    ::SetLastError(ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(L"", Wide(OrvaGetSystemErrorText(unknownCode)));
}

TEST(OrvaGetComErrorText, DescriptionBeforeSystemText) {
    const ComPtr<IErrorInfo> information = MakeErrorInfo(L"The drawing is locked.");
    const auto references = References(information.Get());
    {
        const _com_error error(E_ACCESSDENIED, information.Get(), /*fAddRef=*/true);
        EXPECT_EQ(L"The drawing is locked.", Wide(OrvaGetComErrorText(error)));
    }
    EXPECT_EQ(references, References(information.Get())) << "nothing is kept";
}

TEST(OrvaGetComErrorText, SystemTextWithoutDescription) {
    const std::wstring systemText = Wide(OrvaGetSystemErrorText(static_cast<DWORD>(E_ACCESSDENIED)));
    ASSERT_NE(L"", systemText);
    EXPECT_EQ(systemText, Wide(OrvaGetComErrorText(_com_error(E_ACCESSDENIED)))) << "no error information";

    const ComPtr<IErrorInfo> empty = MakeErrorInfo(L"");
    EXPECT_EQ(systemText, Wide(OrvaGetComErrorText(_com_error(E_ACCESSDENIED, empty.Get(), /*fAddRef=*/true))));

    FailingErrorInfo failing;
    EXPECT_EQ(systemText, Wide(OrvaGetComErrorText(_com_error(E_ACCESSDENIED, &failing, /*fAddRef=*/true))));
    EXPECT_EQ(1U, References(&failing));

    EXPECT_EQ(L"", Wide(OrvaGetComErrorText(_com_error(static_cast<HRESULT>(unknownCode | 0x80000000)))));
}

TEST(OrvaGuidToString, RegistryForm) {
    EXPECT_EQ(L"{00000000-0000-0000-C000-000000000046}", Wide(OrvaGuidToString(IID_IUnknown)));
    const GUID guid = {0x01234567, 0x89AB, 0xCDEF, {0xFE, 0xDC, 0xBA, 0x98, 0x76, 0x54, 0x32, 0x10}};
    EXPECT_EQ(L"{01234567-89AB-CDEF-FEDC-BA9876543210}", Wide(OrvaGuidToString(guid)));
}

TEST(OrvaShowSystemError, BoxWithOkAndCancel) {
    MessageBoxes boxes({IDCANCEL, IDOK});
    EXPECT_EQ(IDCANCEL, OrvaShowSystemError(ERROR_ACCESS_DENIED));
    EXPECT_EQ(IDOK, OrvaShowSystemError(unknownCode));
    ASSERT_EQ(2U, boxes.Shown().size());
    EXPECT_EQ(Wide(OrvaGetSystemErrorText(ERROR_ACCESS_DENIED)), boxes.Shown()[0].text);
    EXPECT_EQ(L"", boxes.Shown()[0].caption);
    EXPECT_EQ(nullptr, boxes.Shown()[0].owner);
    EXPECT_EQ((std::vector<int>{IDOK, IDCANCEL}), boxes.Shown()[0].buttons);
    EXPECT_EQ(L"", boxes.Shown()[1].text);
}
