// The DOM helpers that make lists and documents grow.

#include "tarnu/xml/OrvaXmlHelpers.h"
#include "tarnu/xml/XmlNodesInternal.h"

#include <string>
#include <unordered_set>
#include <utility>

using namespace tarnu::support;

namespace {

constexpr XmlContext appendContext{L"GetValuesOfAttribute"};

/// Hands the new nodes over in one step that cannot fail halfway.
void Grow(OrvaXmlNodeArray& growing, OrvaXmlNodeArray& added) {
    growing.reserve(growing.size() + added.size());
    for (OrvaXmlNode& node : added)
        growing.push_back(std::move(node));
}

template <class List>
void AddAll(List* nodesToAdd, OrvaXmlNodeArray* growingNodes) {
    Perform(appendContext, [&] {
        if (growingNodes == nullptr) Fail(L"pGrowingNodes is NULL!");
        if (nodesToAdd == nullptr) Fail(L"pNodesToAdd is NULL!");
        OrvaXmlNodeArray added;
        ForEachNode(nodesToAdd, [&](IXMLDOMNode* node) {
            if (node != nullptr) added.emplace_back(node);
            return true;
        });
        Grow(*growingNodes, added);
    });
}

template <class List>
void AddByKey(const CString& attributeName, List* nodesToAdd, OrvaXmlNodeArray* growingNodes) {
    Perform(appendContext, [&] {
        if (attributeName.IsEmpty()) Fail(L"AttributeName is empty!");
        if (growingNodes == nullptr) Fail(L"pGrowingNodes is NULL!");
        if (nodesToAdd == nullptr) Fail(L"pNodesToAdd is NULL!");
        const UniqueBstr name = MakeBstr(attributeName);
        std::unordered_set<std::wstring> keys;
        // True when the node has the attribute with a value that no node before it had.
        const auto isNew = [&](IXMLDOMNode* node) {
            if (node == nullptr) return false;
            const OrvaXmlNode attribute = FindAttribute(node, name.Get(), plainFailure);
            if (!attribute) return false;
            const CString value = ReadValue(attribute.Get());
            return keys.emplace(value.GetString(), static_cast<std::size_t>(value.GetLength())).second;
        };
        for (const OrvaXmlNode& node : *growingNodes)
            isNew(node.Get());
        OrvaXmlNodeArray added;
        ForEachNode(nodesToAdd, [&](IXMLDOMNode* node) {
            if (isNew(node)) added.emplace_back(node);
            return true;
        });
        Grow(*growingNodes, added);
    });
}

/// Appends an element under the root, with the text when there is one.
OrvaXmlNode AppendWithText(IXMLDOMDocument* document, const CString& name, const CString* text) {
    return Perform(appendContext, [&] {
        if (document == nullptr) Fail(L"pDoc is NULL!");
        const ComPtr<IXMLDOMElement> root = RootElement(document);
        if (!root) Fail(L"pRootNode is NULL!");
        const ComPtr<IXMLDOMElement> created = NewElement(document, name, L"pCreatedNode is NULL!");
        if (text != nullptr && FAILED(created->put_text(MakeBstr(*text).Get()))) Fail(plainFailure);
        return Append(root.Get(), created.Get(), L"pAppendedNode is NULL!");
    });
}

} // namespace

void OrvaXmlAddGrowingNodes(const CString& attributeName, IXMLDOMNodeList* nodesToAdd, OrvaXmlNodeArray* growingNodes) {
    AddByKey(attributeName, nodesToAdd, growingNodes);
}

void OrvaXmlAddGrowingNodes(const CString& attributeName, const OrvaXmlNodeArray* nodesToAdd,
                            OrvaXmlNodeArray* growingNodes) {
    AddByKey(attributeName, nodesToAdd, growingNodes);
}

void OrvaXmlAddGrowingNodes(IXMLDOMNodeList* nodesToAdd, OrvaXmlNodeArray* growingNodes) {
    AddAll(nodesToAdd, growingNodes);
}

void OrvaXmlAddGrowingNodes(const OrvaXmlNodeArray* nodesToAdd, OrvaXmlNodeArray* growingNodes) {
    AddAll(nodesToAdd, growingNodes);
}

OrvaXmlNode OrvaXmlAppendElement(IXMLDOMDocument* document, const CString& name) {
    return AppendWithText(document, name, nullptr);
}

OrvaXmlNode OrvaXmlAppendElement(IXMLDOMDocument* document, const CString& name, const CString& text) {
    return AppendWithText(document, name, &text);
}

OrvaXmlNode OrvaXmlAppendElement(IXMLDOMDocument* document, const CString& name,
                                 const OrvaXmlAttributeArray& attributes) {
    return Perform(appendContext, [&] {
        if (document == nullptr) Fail(L"pDoc is NULL!");
        const ComPtr<IXMLDOMElement> root = RootElement(document);
        if (!root) Fail(L"pRootElement is NULL!");
        const ComPtr<IXMLDOMElement> created = NewElement(document, name, L"pNewElement is NULL!");
        for (const OrvaXmlAttribute& attribute : attributes)
            SetAttribute(created.Get(), attribute.Name, attribute.Value);
        return Append(root.Get(), created.Get(), L"pAppendedNode is NULL!");
    });
}

OrvaXmlNode OrvaXmlSetNodeText(IXMLDOMDocument* document, const CString& name, const CString& text) {
    return Perform(appendContext, [&] {
        if (document == nullptr) Fail(L"pDoc is NULL!");
        ComPtr<IXMLDOMNodeList> nodes;
        if (FAILED(document->get_childNodes(nodes.GetAddressOf())) || !nodes) Fail(L"pRootNodeList is NULL!");
        const ComPtr<IXMLDOMElement> created = NewElement(document, name, L"pNewNode is NULL!");
        if (FAILED(created->put_text(MakeBstr(text).Get()))) Fail(L"pNewNode->put_text failed!\n");
        return OrvaXmlNode(created);
    });
}
