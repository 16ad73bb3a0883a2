// The DOM helpers that read: names, attributes, children, and finding a node.

#include "tarnu/xml/OrvaXmlHelpers.h"
#include "tarnu/xml/XmlNodesInternal.h"

#include <utility>

using namespace tarnu::support;

namespace {

constexpr XmlContext attributesContext{L"OrvaXmlGetAttributes"};
constexpr XmlContext valuesContext{L"GetValuesOfAttribute"};
constexpr XmlContext findContext{L"predicate", L"COM Error:"};

// A node that the DOM's own list does not give is told apart from an empty reference of an array.
constexpr const wchar_t* MissingNode(IXMLDOMNodeList*) {
    return L"pNode is NULL!";
}
constexpr const wchar_t* MissingNode(const OrvaXmlNodeArray*) {
    return L"pCurNode is NULL!";
}

template <class List>
void GetNames(List* nodeList, OrvaXmlStringArray* names) {
    Perform(attributesContext, [&] {
        if (nodeList == nullptr) Fail(L"pNodeList is NULL!");
        if (names == nullptr) Fail(L"pNames is NULL!");
        OrvaXmlStringArray found;
        ForEachNode(nodeList, [&](IXMLDOMNode* node) {
            if (node == nullptr) Fail(MissingNode(nodeList));
            UniqueBstr name;
            if (!ReadName(node, name)) Fail(L"pCurNode is NULL!");
            found.push_back(TextOf(name));
            return true;
        });
        *names = std::move(found);
    });
}

template <class List>
void GetValues(List* nodes, const CString& desiredAttributeName, OrvaXmlStringArray* values) {
    Perform(valuesContext, [&] {
        if (desiredAttributeName.IsEmpty()) Fail(L"DesiredAttributeName is empty!");
        if (nodes == nullptr) Fail(L"pNodes is NULL!");
        if (values == nullptr) Fail(L"pAttributes is NULL!");
        const UniqueBstr name = MakeBstr(desiredAttributeName);
        OrvaXmlStringArray found;
        ForEachNode(nodes, [&](IXMLDOMNode* node) {
            if (node == nullptr) Fail(L"pNode is NULL!");
            const OrvaXmlNode attribute = FindAttribute(node, name.Get(), L"get_Attributes failed!");
            found.push_back(attribute ? ReadValue(attribute.Get()) : CString());
            return true;
        });
        *values = std::move(found);
    });
}

template <class List>
void GetAllAttributes(List* nodes, std::vector<OrvaXmlAttributeArray>* attributes) {
    Perform(attributesContext, [&] {
        if (nodes == nullptr) Fail(L"pNodes is NULL!");
        if (attributes == nullptr) Fail(L"pAttributes is NULL!");
        std::vector<OrvaXmlAttributeArray> found;
        ForEachNode(nodes, [&](IXMLDOMNode* node) {
            if (node == nullptr) Fail(L"pNode is NULL!");
            const ComPtr<IXMLDOMNamedNodeMap> map = AttributesOf(node, L"get_Attributes failed!");
            found.push_back(map ? ReadAll(map.Get()) : OrvaXmlAttributeArray());
            return true;
        });
        *attributes = std::move(found);
    });
}

template <class List, class Matches>
OrvaXmlNode Find(const XmlContext& context, List* nodes, Matches&& matches) {
    return Perform(context, [&] {
        if (nodes == nullptr) Fail(L"pNodes is NULL!");
        OrvaXmlNode found;
        ForEachNode(nodes, [&](IXMLDOMNode* node) {
            if (node == nullptr || !matches(node)) return true;
            found = node;
            return false;
        });
        if (!found) Fail(L"pFound is NULL!");
        return found;
    });
}

template <class List>
OrvaXmlNode FindByName(List* nodes, const CString& name) {
    return Find(findContext, nodes, [&](IXMLDOMNode* node) { return HasName(node, name); });
}

template <class List>
OrvaXmlNode FindByAttribute(List* nodes, const CString& attributeName, const CString& value) {
    UniqueBstr name;
    return Find(valuesContext, nodes, [&](IXMLDOMNode* node) {
        if (!name) name = MakeBstr(attributeName);
        const OrvaXmlNode attribute = FindAttribute(node, name.Get(), L"get_Attributes failed!");
        return attribute && ReadValue(attribute.Get()) == value;
    });
}

template <class List>
OrvaXmlNode FindByPredicate(List* nodes, const std::function<bool(IXMLDOMNode*)>& predicate) {
    return Find(findContext, nodes, predicate);
}

/// The node under which a search for children begins.
OrvaXmlNode TargetOf(IXMLDOMDocument* document) {
    if (document == nullptr) Fail(L"pDoc is NULL!");
    const ComPtr<IXMLDOMElement> root = RootElement(document);
    if (!root) Fail(L"pRootNodeList is NULL!");
    return root;
}
OrvaXmlNode TargetOf(IXMLDOMNode* targetRootNode) {
    if (targetRootNode == nullptr) Fail(L"pTargetRootNode is NULL!");
    return targetRootNode;
}

OrvaXmlNodeArray ChildrenNamed(IXMLDOMNode* target, const CString& name) {
    ComPtr<IXMLDOMNodeList> children;
    const HRESULT result = target->get_childNodes(children.GetAddressOf());
    if (FAILED(result) || !children) {
        Fail(L"pTargetRootNode->get_childNodes failed:\n" + HresultText(result, target, IID_IXMLDOMNode));
    }
    OrvaXmlNodeArray found;
    ForEachNode(children.Get(), [&](IXMLDOMNode* child) {
        if (HasName(child, name)) found.emplace_back(child);
        return true;
    });
    return found;
}

/// As ChildrenNamed, with at least one.
OrvaXmlNodeArray SomeChildrenNamed(IXMLDOMNode* target, const CString& name) {
    OrvaXmlNodeArray found = ChildrenNamed(target, name);
    if (found.empty()) Fail(L"DesiredChildNodesLen = 0!");
    return found;
}

CString ValueOrText(IXMLDOMNode* node) {
    Variant value;
    HRESULT result = node->get_nodeValue(&value);
    if (SUCCEEDED(result)) {
        if (value->vt != VT_NULL && value->vt != VT_EMPTY) return ValueText(value);
        UniqueBstr text;
        result = node->get_text(text.Put());
        if (SUCCEEDED(result)) return TextOf(text);
    }
    Fail(L"Exception on CurNode->get_nodeValue():\n" + HresultText(result, node, IID_IXMLDOMNode));
}

template <class Source>
void GetChildren(Source* source, const CString& name, OrvaXmlNodeArray* desiredChildNodes) {
    Perform(attributesContext, [&] {
        const OrvaXmlNode target = TargetOf(source);
        if (desiredChildNodes == nullptr) Fail(L"pDesiredChildNodes is NULL!");
        *desiredChildNodes = ChildrenNamed(target.Get(), name);
    });
}

template <class Source>
void GetChildren(Source* source, const CString& name, OrvaXmlStringArray* values) {
    Perform(attributesContext, [&] {
        const OrvaXmlNode target = TargetOf(source);
        if (values == nullptr) Fail(L"pNodes is NULL!");
        OrvaXmlStringArray found;
        for (const OrvaXmlNode& child : SomeChildrenNamed(target.Get(), name))
            found.push_back(ValueOrText(child.Get()));
        *values = std::move(found);
    });
}

template <class Source>
void GetChildren(Source* source, const CString& name, std::vector<OrvaXmlAttributeArray>* attributes) {
    Perform(attributesContext, [&] {
        const OrvaXmlNode target = TargetOf(source);
        if (attributes == nullptr) Fail(L"pNodes is NULL!");
        const OrvaXmlNodeArray children = SomeChildrenNamed(target.Get(), name);
        OrvaXmlGetAttributes(&children, attributes);
    });
}

} // namespace

// Names and attributes

void OrvaXmlGetNodeNames(IXMLDOMNodeList* nodeList, OrvaXmlStringArray* names) {
    GetNames(nodeList, names);
}

void OrvaXmlGetNodeNames(const OrvaXmlNodeArray* nodeList, OrvaXmlStringArray* names) {
    GetNames(nodeList, names);
}

CString OrvaXmlGetAttributes(IXMLDOMNode* node, const CString& desiredAttributeName) {
    return Perform(valuesContext, [&] {
        if (desiredAttributeName.IsEmpty()) Fail(L"DesiredAttributeName is empty!");
        if (node == nullptr) Fail(L"pNode is NULL!");
        const UniqueBstr name = MakeBstr(desiredAttributeName);
        const OrvaXmlNode attribute = FindAttribute(node, name.Get(), L"get_Attributes failed");
        return attribute ? ReadValue(attribute.Get()) : CString();
    });
}

void OrvaXmlGetAttributes(IXMLDOMNodeList* nodes, const CString& desiredAttributeName, OrvaXmlStringArray* values) {
    GetValues(nodes, desiredAttributeName, values);
}

void OrvaXmlGetAttributes(const OrvaXmlNodeArray* nodes, const CString& desiredAttributeName,
                          OrvaXmlStringArray* values) {
    GetValues(nodes, desiredAttributeName, values);
}

void OrvaXmlGetAttributes(IXMLDOMNode* node, OrvaXmlAttributeArray* attributes) {
    Perform(attributesContext, [&] {
        if (node == nullptr) Fail(L"pNode is NULL!");
        constexpr wchar_t missing[] = L"pAttributes is NULL!";
        if (attributes == nullptr) Fail(missing);
        const ComPtr<IXMLDOMNamedNodeMap> map = AttributesOf(node, L"get_Attributes failed");
        if (!map) Fail(missing);
        *attributes = ReadAll(map.Get());
    });
}

void OrvaXmlGetAttributes(IXMLDOMNodeList* nodes, std::vector<OrvaXmlAttributeArray>* attributes) {
    GetAllAttributes(nodes, attributes);
}

void OrvaXmlGetAttributes(const OrvaXmlNodeArray* nodes, std::vector<OrvaXmlAttributeArray>* attributes) {
    GetAllAttributes(nodes, attributes);
}

OrvaXmlNode OrvaXmlGetAttributeNode(IXMLDOMDocument* document, const CString& name) {
    return Perform(attributesContext, [&] {
        if (document == nullptr) Fail(L"pDoc is NULL!");
        const ComPtr<IXMLDOMElement> root = RootElement(document);
        if (!root) Fail(L"pRootNode is NULL!");
        constexpr wchar_t missing[] = L"pDesiredAttribute is NULL!";
        OrvaXmlNode attribute = FindAttribute(root.Get(), MakeBstr(name).Get(), missing);
        if (!attribute) Fail(missing);
        return attribute;
    });
}

// Children

void OrvaXmlGetChildNodes(IXMLDOMDocument* document, const CString& name, OrvaXmlNodeArray* desiredChildNodes) {
    GetChildren(document, name, desiredChildNodes);
}

void OrvaXmlGetChildNodes(IXMLDOMNode* targetRootNode, const CString& name, OrvaXmlNodeArray* desiredChildNodes) {
    GetChildren(targetRootNode, name, desiredChildNodes);
}

void OrvaXmlGetChildNodes(IXMLDOMDocument* document, const CString& name, OrvaXmlStringArray* values) {
    GetChildren(document, name, values);
}

void OrvaXmlGetChildNodes(IXMLDOMNode* targetRootNode, const CString& name, OrvaXmlStringArray* values) {
    GetChildren(targetRootNode, name, values);
}

void OrvaXmlGetChildNodes(IXMLDOMDocument* document, const CString& name,
                          std::vector<OrvaXmlAttributeArray>* attributes) {
    GetChildren(document, name, attributes);
}

void OrvaXmlGetChildNodes(IXMLDOMNode* targetRootNode, const CString& name,
                          std::vector<OrvaXmlAttributeArray>* attributes) {
    GetChildren(targetRootNode, name, attributes);
}

OrvaXmlNodeArray OrvaXmlGetDocumentChildren(IXMLDOMDocument* document) {
    return Perform(attributesContext, [&] {
        if (document == nullptr) Fail(L"pDoc is NULL!");
        ComPtr<IXMLDOMNodeList> children;
        if (FAILED(document->get_childNodes(children.GetAddressOf())) || !children) Fail(L"get_childNodes failed!");
        OrvaXmlNodeArray found;
        ForEachNode(children.Get(), [&](IXMLDOMNode* child) {
            if (child == nullptr) Fail(L"get_childNodes failed!");
            found.emplace_back(child);
            return true;
        });
        return found;
    });
}

// Finding

OrvaXmlNode OrvaXmlFindNode(IXMLDOMNodeList* nodes, const CString& name) {
    return FindByName(nodes, name);
}

OrvaXmlNode OrvaXmlFindNode(const OrvaXmlNodeArray* nodes, const CString& name) {
    return FindByName(nodes, name);
}

OrvaXmlNode OrvaXmlFindNode(IXMLDOMNodeList* nodes, const CString& attributeName, const CString& value) {
    return FindByAttribute(nodes, attributeName, value);
}

OrvaXmlNode OrvaXmlFindNode(const OrvaXmlNodeArray* nodes, const CString& attributeName, const CString& value) {
    return FindByAttribute(nodes, attributeName, value);
}

OrvaXmlNode OrvaXmlFindNode(IXMLDOMNodeList* nodes, const std::function<bool(IXMLDOMNode*)>& predicate) {
    return FindByPredicate(nodes, predicate);
}

OrvaXmlNode OrvaXmlFindNode(const OrvaXmlNodeArray* nodes, const std::function<bool(IXMLDOMNode*)>& predicate) {
    return FindByPredicate(nodes, predicate);
}
