// The typed attribute accessors of OrvaXml, and the version check that the 64-bit ones ask.

#include "tarnu/support/SrwLock.h"
#include "tarnu/xml/OrvaXml.h"
#include "tarnu/xml/XmlNumbers.h"
#include "tarnu/xml/XmlTextInternal.h"

#include <atomic>
#include <cwchar>
#include <iterator>

namespace {

using Microsoft::WRL::ComPtr;
using namespace tarnu::support;

/// Reads the value of an attribute into the empty variant @p value; false when it is not there.
bool Read(IXMLDOMElement* element, const CString& name, Variant& value) noexcept {
    if (element == nullptr) return false;
    CallBstr attributeName(name);
    ComPtr<IXMLDOMAttribute> attribute;
    return attributeName.Get() != nullptr &&
           SUCCEEDED(element->getAttributeNode(attributeName.Get(), attribute.GetAddressOf())) && attribute &&
           SUCCEEDED(attribute->get_nodeValue(&value));
}

/// Changes a value in place to another type, as the user's locale has it.
bool Change(Variant& value, VARTYPE type) noexcept {
    return SUCCEEDED(::VariantChangeType(&value, &value, /*wFlags=*/0, type));
}

bool ReadAs(IXMLDOMElement* element, const CString& name, VARTYPE type, Variant& value) noexcept {
    return Read(element, name, value) && Change(value, type);
}

HRESULT Write(IXMLDOMElement* element, const CString& name, const Variant& value) noexcept {
    if (element == nullptr) return E_POINTER;
    CallBstr attributeName(name);
    if (attributeName.Get() == nullptr) return E_OUTOFMEMORY;
    return element->setAttribute(attributeName.Get(), value.Get());
}

/// Reads one separator of the user's locale; false when it can't be read.
bool ReadSeparator(LCTYPE kind, wchar_t (&separator)[4]) noexcept {
    return ::GetLocaleInfoW(LOCALE_USER_DEFAULT, kind, separator, static_cast<int>(std::size(separator))) != 0;
}

/// Sets one separator of the user's locale for a scope; where it is the wanted one already, nothing is touched.
class ScopedSeparator {
public:
    ScopedSeparator(LCTYPE kind, const wchar_t* wanted) noexcept : m_kind(kind) {
        if (!ReadSeparator(kind, m_previous)) return; // what cannot be read could not be restored
        if (std::wcscmp(m_previous, wanted) == 0) return;
        m_changed = ::SetLocaleInfoW(LOCALE_USER_DEFAULT, kind, wanted) != FALSE;
    }
    ~ScopedSeparator() {
        if (!m_changed) return;
        // A setting of the user's: not given up at the first refusal.
        constexpr int attempts = 10;
        for (int attempt = 0; attempt < attempts; ++attempt) {
            if (::SetLocaleInfoW(LOCALE_USER_DEFAULT, m_kind, m_previous)) return;
        }
    }
    ScopedSeparator(const ScopedSeparator&) = delete;
    ScopedSeparator& operator=(const ScopedSeparator&) = delete;

private:
    LCTYPE m_kind;
    wchar_t m_previous[4] = {};
    bool m_changed = false;
};

/// Keeps the conversions of this process that change separators apart: a second one would take the first one's for the
/// user's.
SRWLOCK separatorLock = SRWLOCK_INIT;

/// Odd while a conversion has that lock.
std::atomic<unsigned> separatorTurns = 0;

bool IsUserSeparator(LCTYPE kind, wchar_t wanted) noexcept {
    wchar_t separator[4] = {};
    return ReadSeparator(kind, separator) && separator[0] == wanted && separator[1] == L'\0';
}

/// The user's separators are "." and ",": they are not those of a conversion, which would take them back.
bool HasXmlSeparators() noexcept {
    const unsigned turn = separatorTurns.load();
    return turn % 2 == 0 && IsUserSeparator(LOCALE_SDECIMAL, L'.') && IsUserSeparator(LOCALE_STHOUSAND, L',') &&
           separatorTurns.load() == turn;
}

/// Changes a value in place to a double, with the separators of XML.
bool ChangeToDouble(Variant& value) noexcept {
    // One expects a conversion that takes its separators as arguments; the user's own settings are changed for its
    // duration, because VariantChangeType has no other source, and hosts rely on its rules (blanks, currency signs).
    if (HasXmlSeparators()) return Change(value, VT_R8);
    const SrwExclusiveLock lock(separatorLock);
    ++separatorTurns;
    bool isChanged = false;
    {
        const ScopedSeparator decimal(LOCALE_SDECIMAL, L".");
        const ScopedSeparator thousands(LOCALE_STHOUSAND, L",");
        isChanged = Change(value, VT_R8);
    }
    ++separatorTurns;
    return isChanged;
}

} // namespace

// Getters that report presence

bool OrvaXml::TryGetString(IXMLDOMElement* element, const CString& name, CString& value) {
    Variant read;
    if (!ReadAs(element, name, VT_BSTR, read)) return false;
    value = TextOf(read->bstrVal);
    return true;
}

bool OrvaXml::TryGetBool(IXMLDOMElement* element, const CString& name, bool& value) noexcept {
    Variant read;
    if (!ReadAs(element, name, VT_BOOL, read)) return false;
    value = read->boolVal != VARIANT_FALSE;
    return true;
}

bool OrvaXml::TryGetInt16(IXMLDOMElement* element, const CString& name, std::int16_t& value) noexcept {
    Variant read;
    if (!ReadAs(element, name, VT_I2, read)) return false;
    value = read->iVal;
    return true;
}

bool OrvaXml::TryGetInt32(IXMLDOMElement* element, const CString& name, std::int32_t& value) noexcept {
    Variant read;
    if (!ReadAs(element, name, VT_I4, read)) return false;
    value = read->lVal;
    return true;
}

bool OrvaXml::TryGetInt64(IXMLDOMElement* element, const CString& name, std::int64_t& value) noexcept {
    Variant read;
    if (::OrvaIsWindowsXPOrLater()) {
        if (!ReadAs(element, name, VT_I8, read)) return false;
        value = read->llVal;
        return true;
    }
    // The automation of earlier systems has no 64-bit integers.
    if (!ReadAs(element, name, VT_BSTR, read) || read->bstrVal == nullptr) return false;
    long long number = 0;
    if (std::swscanf(read->bstrVal, L"%I64d", &number) != 1) return false;
    value = number;
    return true;
}

bool OrvaXml::TryGetUInt32(IXMLDOMElement* element, const CString& name, std::uint32_t& value) noexcept {
    Variant read;
    if (!ReadAs(element, name, VT_UI4, read)) return false;
    value = read->ulVal;
    return true;
}

bool OrvaXml::TryGetDouble(IXMLDOMElement* element, const CString& name, double& value) noexcept {
    Variant read;
    if (!Read(element, name, read)) return false;
    if (read->vt != VT_BSTR && Change(read, VT_R8)) { // a document with data types holds the number itself
        value = read->dblVal;
        return true;
    }
    try {
        return read->vt == VT_BSTR && tarnu::ParseXmlDouble(read->bstrVal, value);
    } catch (const std::bad_alloc&) {
        return false;
    }
}

// Getters with defaults

CString OrvaXml::GetString(IXMLDOMElement* element, const CString& name) {
    CString value;
    TryGetString(element, name, value);
    return value;
}

bool OrvaXml::GetBool(IXMLDOMElement* element, const CString& name) noexcept {
    bool value = false;
    TryGetBool(element, name, value);
    return value;
}

std::int16_t OrvaXml::GetInt16(IXMLDOMElement* element, const CString& name) noexcept {
    std::int16_t value = 0;
    TryGetInt16(element, name, value);
    return value;
}

std::int32_t OrvaXml::GetInt32(IXMLDOMElement* element, const CString& name) noexcept {
    std::int32_t value = 0;
    TryGetInt32(element, name, value);
    return value;
}

std::int64_t OrvaXml::GetInt64(IXMLDOMElement* element, const CString& name) noexcept {
    std::int64_t value = 0;
    TryGetInt64(element, name, value);
    return value;
}

std::uint32_t OrvaXml::GetUInt32(IXMLDOMElement* element, const CString& name) noexcept {
    std::uint32_t value = 0;
    TryGetUInt32(element, name, value);
    return value;
}

double OrvaXml::GetDouble(IXMLDOMElement* element, const CString& name) noexcept {
    Variant value;
    return Read(element, name, value) && ChangeToDouble(value) ? value->dblVal : 0.0;
}

// Setters

HRESULT OrvaXml::SetString(IXMLDOMElement* element, const CString& name, const CString& value) noexcept {
    Variant written;
    return SetText(written, value) ? Write(element, name, written) : E_OUTOFMEMORY;
}

HRESULT OrvaXml::SetBool(IXMLDOMElement* element, const CString& name, bool value) noexcept {
    Variant written;
    written->vt = VT_BOOL;
    written->boolVal = value ? VARIANT_TRUE : VARIANT_FALSE;
    return Write(element, name, written);
}

HRESULT OrvaXml::SetInt16(IXMLDOMElement* element, const CString& name, std::int16_t value) noexcept {
    Variant written;
    written->vt = VT_I2;
    written->iVal = value;
    return Write(element, name, written);
}

HRESULT OrvaXml::SetInt32(IXMLDOMElement* element, const CString& name, std::int32_t value) noexcept {
    Variant written;
    written->vt = VT_I4;
    written->lVal = value;
    return Write(element, name, written);
}

HRESULT OrvaXml::SetInt64(IXMLDOMElement* element, const CString& name, std::int64_t value) noexcept {
    if (::OrvaIsWindowsXPOrLater()) {
        Variant written;
        written->vt = VT_I8;
        written->llVal = value;
        return Write(element, name, written);
    }
    try {
        CString text;
        text.Format(L"%I64d", value);
        return SetString(element, name, text);
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    }
}

HRESULT OrvaXml::SetUInt32(IXMLDOMElement* element, const CString& name, std::uint32_t value) noexcept {
    Variant written;
    written->vt = VT_UI4;
    written->ulVal = value;
    return Write(element, name, written);
}

HRESULT OrvaXml::SetDouble(IXMLDOMElement* element, const CString& name, double value) noexcept {
    // One expects the counterpart of GetDouble; the number is stored with the user's decimal separator. Hosts rely on
    // documents that read as the user writes numbers.
    Variant written;
    written->vt = VT_R8;
    written->dblVal = value;
    return Write(element, name, written);
}

HRESULT OrvaXml::SetXmlDouble(IXMLDOMElement* element, const CString& name, double value) noexcept {
    try {
        return SetString(element, name, tarnu::FormatXmlDouble(value));
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    }
}

// System version

bool OrvaIsWindowsXPOrLater() noexcept {
    constexpr DWORD unknown = 0xFFFFFFFF;
    static std::atomic<DWORD> answer{unknown};
    if (answer == unknown) {
        OSVERSIONINFOW version = {};
        static_assert(sizeof(version) == 276);
        version.dwOSVersionInfoSize = sizeof(version);
        const bool known = ::GetVersionExW(&version) != FALSE;
        answer = known && (version.dwMajorVersion > 5 || (version.dwMajorVersion == 5 && version.dwMinorVersion > 0));
    }
    return answer == TRUE;
}
