// The code of docs/guides/xml.md, compiled. The documentation check compares the two.

// snippet
#include <tarnu/TarnuWin32Utils.h>

double FirstElevation(const wchar_t* path) {
    OrvaXml xml(path, /*asynchronous=*/false, /*fromStream=*/false, /*ownFileStream=*/false);
    double elevation = 0;
    if (FAILED(xml.Load())) return elevation;
    const auto root = OrvaXml::GetLandXMLRoot(xml.GetDocument().Get());
    if (root) OrvaXml::TryGetDouble(root.Get(), L"elevation", elevation);
    return elevation;
}

bool Raise(IXMLDOMElement* point, double by) {
    double elevation = 0;
    return OrvaXml::TryGetDouble(point, L"elevation", elevation) &&
           SUCCEEDED(OrvaXml::SetXmlDouble(point, L"elevation", elevation + by)); // "1.5", whatever the locale is
}

void ListPoints(IXMLDOMDocument* document) {
    try {
        OrvaXmlNodeArray groups;
        OrvaXmlGetChildNodes(document, L"CgPoints", &groups);
        for (const OrvaXmlNode& group : groups) {
            OrvaXmlStringArray coordinates;
            OrvaXmlGetChildNodes(group.Get(), L"CgPoint", &coordinates);
            for (const CString& text : coordinates)
                OrvaTrace(L"%s\n", text.GetString());
        }
    } catch (const CString& text) {
        OrvaTrace(L"%s\n", text.GetString());
    }
}
// end of snippet
