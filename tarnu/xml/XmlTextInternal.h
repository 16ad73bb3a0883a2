/// @file
/// Texts on their way into and out of the DOM.
#ifndef TARNU_XML_XMLTEXTINTERNAL_H
#define TARNU_XML_XMLTEXTINTERNAL_H

#include "tarnu/support/Owners.h"

#include <new>

namespace tarnu::support {

/// A BSTR of the text; empty when memory runs out.
inline UniqueBstr NewBstr(const CString& text) noexcept {
    return UniqueBstr(::SysAllocStringLen(text, static_cast<UINT>(text.GetLength())));
}

/// A BSTR of the text; throws std::bad_alloc when memory runs out.
inline UniqueBstr MakeBstr(const CString& text) {
    UniqueBstr result = NewBstr(text);
    if (!result) throw std::bad_alloc();
    return result;
}

/// The text of a BSTR; null is the empty one.
inline CString TextOf(BSTR text) {
    return CString(text, static_cast<int>(::SysStringLen(text)));
}
inline CString TextOf(const UniqueBstr& text) {
    return TextOf(text.Get());
}

/// Makes the empty variant @p value a text.
/// @return false when memory runs out
inline bool SetText(Variant& value, const CString& text) noexcept {
    UniqueBstr copy = NewBstr(text);
    if (!copy) return false;
    value->vt = VT_BSTR;
    value->bstrVal = copy.Release();
    return true;
}

} // namespace tarnu::support

#endif // TARNU_XML_XMLTEXTINTERNAL_H
