/// @file
/// Texts on their way into and out of the DOM.
#ifndef TARNU_XML_XMLTEXTINTERNAL_H
#define TARNU_XML_XMLTEXTINTERNAL_H

#include "tarnu/support/Owners.h"

#include <cstddef>
#include <cwchar>
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

/// A text as a BSTR for one call that only reads it. A short one takes no block of the system's.
class CallBstr {
public:
    explicit CallBstr(const CString& text) noexcept {
        const int length = text.GetLength();
        if (length > shortLength) {
            m_long = NewBstr(text);
            return;
        }
        m_short.size = static_cast<UINT>(length) * sizeof(wchar_t);
        std::wmemcpy(m_short.text, text.GetString(), static_cast<std::size_t>(length) + 1);
    }
    CallBstr(const CallBstr&) = delete;
    CallBstr& operator=(const CallBstr&) = delete;

    /// Null when memory ran out.
    BSTR Get() noexcept { return m_short.size != isLong ? m_short.text : m_long.Get(); }

private:
    static constexpr int shortLength = 63;
    static constexpr UINT isLong = ~0u;

    /// As the system lays out a BSTR: its size in bytes stands in front of the first character, which is aligned to 8.
    struct alignas(8) {
        UINT padding = 0;
        UINT size = isLong;
        wchar_t text[shortLength + 1];
    } m_short;
    UniqueBstr m_long;
};

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
