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

} // namespace tarnu::support

#endif // TARNU_SUPPORT_COM_H
