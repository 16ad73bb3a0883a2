// XML: loading a survey of 50 000 points, walking its nodes, and reading 100 000 doubles from its attributes.

#include "bench/Harness.h"

#include "tarnu/xml/OrvaXml.h"

#include <bit>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <memory>
#include <random>

namespace {

using Microsoft::WRL::ComPtr;
using tarnu::bench::Subject;
using tarnu::bench::Work;

/// A document in the temporary folder, gone with the object.
class Document {
public:
    explicit Document(std::uint64_t points) {
        wchar_t folder[MAX_PATH], path[MAX_PATH];
        if (::GetTempPathW(MAX_PATH, folder) == 0 || ::GetTempFileNameW(folder, L"orv", 0, path) == 0) std::abort();
        m_path = path;
        std::ofstream out(m_path.GetString(), std::ios::binary);
        out << "<?xml version=\"1.0\"?>\n<LandXML xmlns=\"http://www.landxml.org/schema/landxml-1.0\" "
               "version=\"1.0\">\n"
               "<CgPoints>\n";
        std::mt19937 engine(3);
        for (std::uint64_t point = 1; point <= points; ++point) {
            out << "<CgPoint name=\"" << point << "\" north=\"" << engine() % 1'000'000 << '.' << engine() % 1'000
                << "\" east=\"" << engine() % 1'000'000 << '.' << engine() % 1'000 << "\">" << engine() % 1'000
                << "</CgPoint>\n";
        }
        out << "</CgPoints>\n</LandXML>\n";
        if (!out.flush()) std::abort();
    }
    ~Document() { ::DeleteFileW(m_path); }
    Document(const Document&) = delete;
    Document& operator=(const Document&) = delete;

    const CString& Path() const { return m_path; }

private:
    CString m_path;
};

/// A text the DOM's own way, without an owner.
class Text {
public:
    explicit Text(const wchar_t* text) : m_text(::SysAllocString(text)) {}
    ~Text() { ::SysFreeString(m_text); }
    Text(const Text&) = delete;
    Text& operator=(const Text&) = delete;
    BSTR Get() const { return m_text; }

private:
    BSTR m_text;
};

std::uint64_t CountOfRoots(IXMLDOMDocument* document) {
    ComPtr<IXMLDOMElement> root;
    return SUCCEEDED(document->get_documentElement(root.GetAddressOf())) && root ? 1 : 0;
}

std::uint64_t LoadBare(IXMLDOMDocument* document, const CString& path) {
    const Text text(path);
    VARIANT source{};
    source.vt = VT_BSTR;
    source.bstrVal = text.Get();
    VARIANT_BOOL loaded = VARIANT_FALSE;
    document->put_async(VARIANT_FALSE);
    document->load(source, &loaded);
    ComPtr<IXMLDOMParseError> error;
    long code = 0;
    document->get_parseError(error.GetAddressOf());
    error->get_errorCode(&code);
    return loaded == VARIANT_TRUE && code == 0 ? CountOfRoots(document) : 0;
}

std::uint64_t VisitBare(IXMLDOMNode* node) {
    BSTR name = nullptr;
    node->get_nodeName(&name);
    std::uint64_t length = ::SysStringLen(name);
    ::SysFreeString(name);
    return length;
}

/// The total length of all names, of what OrvaXml::Walk visits.
std::uint64_t WalkBare(IXMLDOMNode* node) {
    std::uint64_t length = VisitBare(node);
    IXMLDOMNamedNodeMap* attributes = nullptr;
    if (node->get_attributes(&attributes) == S_OK && attributes != nullptr) {
        IXMLDOMNode* attribute = nullptr;
        while (attributes->nextNode(&attribute) == S_OK && attribute != nullptr) {
            length += VisitBare(attribute);
            attribute->Release();
            attribute = nullptr;
        }
        attributes->Release();
    }
    IXMLDOMNode* child = nullptr;
    node->get_firstChild(&child);
    while (child != nullptr) {
        length += WalkBare(child);
        IXMLDOMNode* next = nullptr;
        child->get_nextSibling(&next);
        child->Release();
        child = next;
    }
    return length;
}

std::uint64_t Walk(const OrvaXml& xml) {
    std::uint64_t length = 0;
    xml.Walk(
        [&length](const CString& name, IXMLDOMNode*, void*) {
            length += static_cast<std::uint64_t>(name.GetLength());
            return true;
        },
        nullptr);
    return length;
}

double ReadBare(IXMLDOMElement* element, BSTR name) {
    VARIANT value{};
    IXMLDOMAttribute* attribute = nullptr;
    element->getAttributeNode(name, &attribute);
    attribute->get_nodeValue(&value);
    attribute->Release();
    ::VariantChangeType(&value, &value, 0, VT_R8);
    return value.dblVal;
}

std::vector<ComPtr<IXMLDOMElement>> PointsOf(IXMLDOMDocument* document) {
    std::vector<ComPtr<IXMLDOMElement>> elements;
    const Text name(L"CgPoint");
    ComPtr<IXMLDOMNodeList> list;
    if (FAILED(document->getElementsByTagName(name.Get(), list.GetAddressOf()))) std::abort();
    for (;;) {
        ComPtr<IXMLDOMNode> node;
        if (list->nextNode(node.GetAddressOf()) != S_OK || !node) return elements;
        void* element = nullptr;
        if (FAILED(node->QueryInterface(IID_IXMLDOMElement, &element))) std::abort();
        *elements.emplace_back().GetAddressOf() = static_cast<IXMLDOMElement*>(element);
    }
}

/// The bits of all doubles, added up.
template <class Read>
std::uint64_t ReadAll(const std::vector<ComPtr<IXMLDOMElement>>& elements, Read read) {
    std::uint64_t sum = 0;
    for (const ComPtr<IXMLDOMElement>& element : elements) {
        for (const bool north : {true, false})
            sum += std::bit_cast<std::uint64_t>(read(element.Get(), north));
    }
    return sum;
}

} // namespace

int main() {
    constexpr std::uint64_t points = 50'000;
    const Document file(points);
    OrvaXml xml(file.Path(), /*asynchronous=*/false, /*fromStream=*/false, /*ownFileStream=*/false);
    const OrvaXml::DocumentPointer document = xml.GetDocument();
    if (!document || xml.Load() != S_OK) std::abort();
    const std::vector<ComPtr<IXMLDOMElement>> elements = PointsOf(document.Get());

    OrvaXml loaded(file.Path(), /*asynchronous=*/false, /*fromStream=*/false, /*ownFileStream=*/false);
    const OrvaXml::DocumentPointer target = loaded.GetDocument();
    Subject subject("XML: a survey of 50 000 points");
    subject.AddCase("load", "point", points)
        .Limit("bare DOM", [&] { return LoadBare(target.Get(), file.Path()); })
        .Library("OrvaXml::Load", [&] { return loaded.Load() == S_OK ? CountOfRoots(target.Get()) : 0; })
        .Goal(1.02)
        .Rounds(9);
    subject.AddCase("walk all nodes and attributes", "point", points)
        .Limit("bare DOM", [&] { return WalkBare(document.Get()); })
        .Library("OrvaXml::Walk", [&] { return Walk(xml); })
        .Goal(1.1)
        .Rounds(7);
    const Text north(L"north"), east(L"east");
    const CString northName(L"north"), eastName(L"east");
    subject.AddCase("read 100 000 doubles", "double", 2 * points)
        .Limit("bare DOM",
               [&] {
                   return ReadAll(elements, [&](IXMLDOMElement* element, bool first) {
                       return ReadBare(element, (first ? north : east).Get());
                   });
               })
        .Library("OrvaXml::GetDouble",
                 [&] {
                     return ReadAll(elements, [&](IXMLDOMElement* element, bool first) {
                         return OrvaXml::GetDouble(element, first ? northName : eastName);
                     });
                 })
        .Goal(1.1)
        .Rounds(7);
    subject.AddGrowth("loading and walking", "point", 1'000, [](std::uint64_t count) -> Work {
        auto grown = std::make_shared<Document>(count);
        return [grown] {
            OrvaXml one(grown->Path(), /*asynchronous=*/false, /*fromStream=*/false, /*ownFileStream=*/false);
            return one.Load() == S_OK ? Walk(one) : 0;
        };
    });
    return subject.Run();
}
