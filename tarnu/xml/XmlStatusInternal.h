/// @file
/// The error convention of the DOM helpers: a status text at the first failure, thrown to the caller at the end.
#ifndef TARNU_XML_XMLSTATUSINTERNAL_H
#define TARNU_XML_XMLSTATUSINTERNAL_H

#include "tarnu/support/Com.h"
#include "tarnu/support/Owners.h"
#include "tarnu/text/OrvaStrings.h"
#include "tarnu/xml/XmlTextInternal.h"

#include <comdef.h>
#include <wrl/client.h>

namespace tarnu::support {

/// The status of the member that is at work, on its way to the end of that member.
struct XmlFailure {
    CString text;
};

[[noreturn]] inline void Fail(const CString& status) {
    throw XmlFailure{status};
}

/// Where nothing more is known.
constexpr wchar_t plainFailure[] = L"E_FAIL";

/// "HRESULT = 0x…" with the description that the failing interface recorded, else with the system's message.
inline CString HresultText(HRESULT result, IUnknown* failing, REFIID interfaceId) {
    CString text;
    Microsoft::WRL::ComPtr<ISupportErrorInfo> supports;
    if (SUCCEEDED(Ask(failing, IID_ISupportErrorInfo, supports))) {
        Microsoft::WRL::ComPtr<IErrorInfo> information;
        if (supports->InterfaceSupportsErrorInfo(interfaceId) == S_OK &&
            ::GetErrorInfo(/*dwReserved=*/0, information.GetAddressOf()) == S_OK && information) {
            UniqueBstr description;
            information->GetDescription(description.Put());
            text.Format(L"HRESULT = 0x%08X  IErrorInfo", static_cast<unsigned>(result));
            return text + TextOf(description) + L".\n";
        }
    }
    text.Format(L"HRESULT = 0x%08X ", static_cast<unsigned>(result));
    return text + ::OrvaGetSystemErrorText(static_cast<DWORD>(result)) + L".\n";
}

/// What a COM error says of itself.
inline CString Description(const _com_error& error) {
    Microsoft::WRL::ComPtr<IErrorInfo> information;
    *information.GetAddressOf() = error.ErrorInfo(); // takes the reference
    UniqueBstr description;
    if (information) information->GetDescription(description.Put());
    if (::SysStringLen(description.Get()) == 0) return L"No IErrorInfo recorded - Error is undefined!";
    return TextOf(description);
}

/// The texts in front of what a member catches.
struct XmlContext {
    const wchar_t* nested;                      ///< name of the function whose text is caught
    const wchar_t* comError = L"_com_error = "; ///< in front of a COM error's description
};

/// The status of the exception that is being handled. Not for want of memory.
inline CString StatusOfException(const XmlContext& context) {
    try {
        throw;
    } catch (const XmlFailure& failure) {
        return failure.text;
    } catch (const CString& text) {
        return CString(L"Exception in ") + context.nested + L"():\n" + text;
    } catch (const _com_error& error) {
        return context.comError + Description(error);
    } catch (CException* exception) {
        exception->Delete();
        throw std::bad_alloc(); // whatever it was, it has no text of its own
    }
}

/// What is said where nothing can be: made when the library is loaded, because there may be no memory left for it.
inline const CString unhandledStatus(L"Unhandled Exception!");

/// Does the work of one member: returns its result, or throws the status text.
template <class Work>
auto Perform(const XmlContext& context, Work&& work) {
    CString status(unhandledStatus);
    try {
        return work();
    } catch (...) {
        try {
            status = StatusOfException(context);
        } catch (...) { // no memory, or something unknown
            status = unhandledStatus;
        }
    }
    throw status;
}

} // namespace tarnu::support

#endif // TARNU_XML_XMLSTATUSINTERNAL_H
