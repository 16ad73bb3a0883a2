/// @file
/// Texts of system and COM errors, GUIDs as text.
#include "tarnu/frame/OrvaMessageBox.h"
#include "tarnu/support/Owners.h"
#include "tarnu/text/OrvaStrings.h"

#include <comdef.h>
#include <wrl/client.h>

using namespace tarnu::support;

CString OrvaGetSystemErrorText(DWORD code) {
    UniqueLocalMemory<wchar_t> text;
    const DWORD length =
        ::FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_IGNORE_INSERTS,
                         /*lpSource=*/nullptr, code, /*dwLanguageId=*/0, reinterpret_cast<wchar_t*>(text.Put()),
                         /*nSize=*/0, /*Arguments=*/nullptr);
    return CString(text.Get(), static_cast<int>(length));
}

CString OrvaGetComErrorText(const _com_error& error) {
    Microsoft::WRL::ComPtr<IErrorInfo> information;
    *information.GetAddressOf() = error.ErrorInfo(); // takes the reference; mingw-w64's Attach would add another
    if (information) {
        UniqueBstr description;
        if (SUCCEEDED(information->GetDescription(description.Put())) && ::SysStringLen(description.Get()) > 0)
            return CString(description.Get(), static_cast<int>(::SysStringLen(description.Get())));
    }
    return OrvaGetSystemErrorText(static_cast<DWORD>(error.Error()));
}

CString OrvaGuidToString(REFCLSID id) {
    UniqueTaskMemory<wchar_t> text;
    if (FAILED(::StringFromCLSID(id, text.Put()))) return CString();
    return CString(text.Get());
}

int OrvaShowSystemError(DWORD code) {
    return DllMessageBox(/*owner=*/nullptr, OrvaGetSystemErrorText(code), L"", MB_OKCANCEL);
}
