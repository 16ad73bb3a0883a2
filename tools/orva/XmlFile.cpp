#include "orva/XmlFile.h"

#include "orva/Console.h"

namespace orva {
namespace {

/// Takes a BSTR over.
std::wstring Take(BSTR text) {
    std::wstring result(text != nullptr ? text : L"", ::SysStringLen(text));
    ::SysFreeString(text);
    return result;
}

} // namespace

bool LoadXml(OrvaXml& xml) {
    const CString path = xml.GetPath();
    const DWORD attributes = ::GetFileAttributesW(path);
    if (attributes == INVALID_FILE_ATTRIBUTES || (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0) {
        PrintError(L"orva: " + Named(path.GetString()) + L": there is no such file\n");
        return false;
    }
    const OrvaXml::DocumentPointer document = xml.GetDocument();
    if (!document) {
        PrintError(L"orva: this system has no XML parser\n");
        return false;
    }
    const HRESULT result = xml.Load();
    OrvaXml::ElementPointer root;
    if (SUCCEEDED(result) && SUCCEEDED(document->get_documentElement(root.GetAddressOf())) && root) return true;

    std::wstring text = L"orva: " + std::wstring(path) + L": this is no XML document";
    Microsoft::WRL::ComPtr<IXMLDOMParseError> error;
    if (SUCCEEDED(document->get_parseError(error.GetAddressOf())) && error) {
        long line = 0;
        long position = 0;
        if (SUCCEEDED(error->get_line(&line)) && line > 0 && SUCCEEDED(error->get_linepos(&position))) {
            text += Format(L"; line %d, position %d", static_cast<int>(line), static_cast<int>(position));
        }
        BSTR reason = nullptr;
        error->get_reason(&reason);
        std::wstring why = Take(reason);
        while (!why.empty() && why.back() <= L' ')
            why.pop_back();
        if (!why.empty()) text += L": " + why;
    }
    PrintError(text + L"\n");
    return false;
}

std::wstring TextIn(IXMLDOMNode* node) {
    BSTR text = nullptr;
    node->get_text(&text);
    return Take(text);
}

} // namespace orva
