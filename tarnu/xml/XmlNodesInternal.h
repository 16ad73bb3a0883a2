/// @file
/// Reading nodes and lists of them, for the DOM helpers.
#ifndef TARNU_XML_XMLNODESINTERNAL_H
#define TARNU_XML_XMLNODESINTERNAL_H

#include "tarnu/xml/OrvaXmlHelpers.h"
#include "tarnu/xml/XmlStatusInternal.h"

namespace tarnu::support {

using Microsoft::WRL::ComPtr;

/// Calls @p visit with each node of a list, in order, until it returns false. A node may be null: one that the list
/// counts and does not give, or an empty reference of an array.
template <class Visit>
void ForEachNode(IXMLDOMNodeList* nodes, Visit&& visit) {
    long length = 0;
    if (FAILED(nodes->get_length(&length))) Fail(plainFailure);
    nodes->reset();
    for (long index = 0; index < length; ++index) {
        OrvaXmlNode node;
        if (FAILED(nodes->nextNode(node.GetAddressOf()))) node.Reset();
        if (!visit(node.Get())) return;
    }
}
template <class Visit>
void ForEachNode(const OrvaXmlNodeArray* nodes, Visit&& visit) {
    for (const OrvaXmlNode& node : *nodes) {
        if (!visit(node.Get())) return;
    }
}

/// Name of a node; false when it has none.
inline bool ReadName(IXMLDOMNode* node, UniqueBstr& name) {
    return node != nullptr && SUCCEEDED(node->get_nodeName(name.Put())) && name;
}

inline bool HasName(IXMLDOMNode* node, const CString& wanted) {
    UniqueBstr name;
    return ReadName(node, name) && wanted.Compare(name.Get()) == 0;
}

/// The text of a value; empty for one that has none.
inline CString ValueText(Variant& value) {
    if (value->vt == VT_EMPTY || value->vt == VT_NULL) return CString();
    if (FAILED(::VariantChangeType(&value, &value, /*wFlags=*/0, VT_BSTR))) return CString();
    return TextOf(value->bstrVal);
}

/// Value of a node as text; fails with @p status.
inline CString ReadValue(IXMLDOMNode* node, const wchar_t* status = L"get_nodeValue failed!") {
    Variant value;
    if (FAILED(node->get_nodeValue(&value))) Fail(status);
    return ValueText(value);
}

/// The attributes of a node; empty for one that can have none. Fails with @p status.
inline ComPtr<IXMLDOMNamedNodeMap> AttributesOf(IXMLDOMNode* node, const wchar_t* status) {
    ComPtr<IXMLDOMNamedNodeMap> attributes;
    if (FAILED(node->get_attributes(attributes.GetAddressOf()))) Fail(status);
    return attributes;
}

/// A named attribute of a node; empty when there is none. Fails with @p status where the attributes cannot be read.
inline OrvaXmlNode FindAttribute(IXMLDOMNode* node, BSTR name, const wchar_t* status) {
    const ComPtr<IXMLDOMNamedNodeMap> attributes = AttributesOf(node, status);
    OrvaXmlNode attribute;
    if (attributes && FAILED(attributes->getNamedItem(name, attribute.GetAddressOf()))) attribute.Reset();
    return attribute;
}

inline OrvaXmlAttributeArray ReadAll(IXMLDOMNamedNodeMap* attributes) {
    long size = 0;
    if (FAILED(attributes->get_length(&size)) || size < 0) Fail(L"AttributesSize < 0!");
    OrvaXmlAttributeArray result;
    result.reserve(static_cast<std::size_t>(size));
    attributes->reset();
    for (long index = 0; index < size; ++index) {
        OrvaXmlNode attribute;
        UniqueBstr name;
        if (FAILED(attributes->nextNode(attribute.GetAddressOf())) || !ReadName(attribute.Get(), name)) {
            Fail(L"pCurAttribute is NULL!");
        }
        result.push_back({TextOf(name), ReadValue(attribute.Get())});
    }
    return result;
}

/// Root element of a document; empty when it has none.
inline ComPtr<IXMLDOMElement> RootElement(IXMLDOMDocument* document) {
    ComPtr<IXMLDOMElement> root;
    if (FAILED(document->get_documentElement(root.GetAddressOf()))) root.Reset();
    return root;
}

/// A new element that stands nowhere yet; fails with @p status.
inline ComPtr<IXMLDOMElement> NewElement(IXMLDOMDocument* document, const CString& name, const wchar_t* status) {
    ComPtr<IXMLDOMElement> element;
    if (FAILED(document->createElement(MakeBstr(name).Get(), element.GetAddressOf())) || !element) Fail(status);
    return element;
}

inline OrvaXmlNode Append(IXMLDOMNode* parent, IXMLDOMNode* child, const wchar_t* status) {
    OrvaXmlNode appended;
    if (FAILED(parent->appendChild(child, appended.GetAddressOf())) || !appended) Fail(status);
    return appended;
}

inline void SetAttribute(IXMLDOMElement* element, const CString& name, const CString& value) {
    Variant text;
    if (!SetText(text, value)) throw std::bad_alloc();
    if (FAILED(element->setAttribute(MakeBstr(name).Get(), text.Get()))) Fail(plainFailure);
}

} // namespace tarnu::support

#endif // TARNU_XML_XMLNODESINTERNAL_H
