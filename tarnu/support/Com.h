/// @file
/// COM references: taking over one that a creator hands out.
#ifndef TARNU_SUPPORT_COM_H
#define TARNU_SUPPORT_COM_H

#include "tarnu/framework/framework.h"

#include <wrl/client.h>

namespace tarnu::support {

/// Takes over a reference that is the caller's already. Written to the place itself: ComPtr::Attach of mingw-w64 10
/// adds a reference, elsewhere it does not.
template <class T>
Microsoft::WRL::ComPtr<T> Adopt(T* object) noexcept {
    Microsoft::WRL::ComPtr<T> reference;
    *reference.GetAddressOf() = object;
    return reference;
}

/// Asks an object for another of its interfaces; @p result is empty after a failure. The identifier is a parameter
/// because __uuidof does not link for the DOM interfaces of mingw-w64.
template <class T>
HRESULT Ask(IUnknown* object, REFIID interfaceId, Microsoft::WRL::ComPtr<T>& result) noexcept {
    result.Reset();
    if (object == nullptr) return E_POINTER;
    void* found = nullptr;
    const HRESULT status = object->QueryInterface(interfaceId, &found);
    if (FAILED(status)) return status;
    if (found == nullptr) return E_NOINTERFACE;
    *result.GetAddressOf() = static_cast<T*>(found);
    return status;
}

} // namespace tarnu::support

#endif // TARNU_SUPPORT_COM_H
