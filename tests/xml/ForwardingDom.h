/// @file
/// Stand-ins for the DOM: objects that forward every operation to a real one, so that a test overrides only what it
/// wants to go wrong, and a scope in which the library's documents are such objects.
#ifndef TARNU_TESTS_XML_FORWARDINGDOM_H
#define TARNU_TESTS_XML_FORWARDINGDOM_H

#include "tarnu/framework/framework.h"
#include "tarnu/support/Com.h"

#include <gtest/gtest.h>
#include <msxml2.h>
#include <utility>
#include <vector>
#include <wrl/client.h>

namespace tarnu::test {

using Microsoft::WRL::ComPtr;

/// Stand-ins alive, of all kinds.
inline LONG livingStandIns = 0;

/// Forwards IDispatch to an object of the real DOM and counts references. The reference of the creator is the first
/// one.
template <class Interface>
class ForwardingDispatch : public Interface {
public:
    ForwardingDispatch(ComPtr<Interface> inner, REFIID interfaceId)
        : m_inner(std::move(inner)), m_interfaceId(interfaceId) {
        ++livingStandIns;
    }
    virtual ~ForwardingDispatch() { --livingStandIns; }
    ForwardingDispatch(const ForwardingDispatch&) = delete;
    ForwardingDispatch& operator=(const ForwardingDispatch&) = delete;

    STDMETHODIMP QueryInterface(REFIID interfaceId, void** object) override {
        *object = nullptr;
        if (interfaceId == IID_IUnknown || interfaceId == IID_IDispatch || interfaceId == m_interfaceId ||
            (isNode && interfaceId == IID_IXMLDOMNode)) {
            *object = static_cast<Interface*>(this);
            this->AddRef();
            return S_OK;
        }
        return m_inner ? m_inner->QueryInterface(interfaceId, object) : E_NOINTERFACE;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return ++m_references; }
    STDMETHODIMP_(ULONG) Release() override {
        const ULONG references = --m_references;
        if (references == 0) delete this;
        return references;
    }
    STDMETHODIMP GetTypeInfoCount(UINT* count) override { return m_inner->GetTypeInfoCount(count); }
    STDMETHODIMP GetTypeInfo(UINT index, LCID locale, ITypeInfo** info) override {
        return m_inner->GetTypeInfo(index, locale, info);
    }
    STDMETHODIMP GetIDsOfNames(REFIID id, LPOLESTR* names, UINT count, LCID locale, DISPID* ids) override {
        return m_inner->GetIDsOfNames(id, names, count, locale, ids);
    }
    STDMETHODIMP Invoke(DISPID member, REFIID id, LCID locale, WORD flags, DISPPARAMS* parameters, VARIANT* result,
                        EXCEPINFO* exception, UINT* argument) override {
        return m_inner->Invoke(member, id, locale, flags, parameters, result, exception, argument);
    }

    ULONG References() const { return m_references; }

protected:
    ComPtr<Interface> m_inner;

private:
    static constexpr bool isNode = std::is_base_of_v<IXMLDOMNode, Interface>;
    IID m_interfaceId;
    ULONG m_references = 1;
};

/// Forwards the operations of a node.
template <class Interface>
class ForwardingNode : public ForwardingDispatch<Interface> {
public:
    using ForwardingDispatch<Interface>::ForwardingDispatch;

    STDMETHODIMP get_nodeName(BSTR* name) override { return m_inner->get_nodeName(name); }
    STDMETHODIMP get_nodeValue(VARIANT* value) override { return m_inner->get_nodeValue(value); }
    STDMETHODIMP put_nodeValue(VARIANT value) override { return m_inner->put_nodeValue(value); }
    STDMETHODIMP get_nodeType(DOMNodeType* type) override { return m_inner->get_nodeType(type); }
    STDMETHODIMP get_parentNode(IXMLDOMNode** parent) override { return m_inner->get_parentNode(parent); }
    STDMETHODIMP get_childNodes(IXMLDOMNodeList** childList) override { return m_inner->get_childNodes(childList); }
    STDMETHODIMP get_firstChild(IXMLDOMNode** firstChild) override { return m_inner->get_firstChild(firstChild); }
    STDMETHODIMP get_lastChild(IXMLDOMNode** lastChild) override { return m_inner->get_lastChild(lastChild); }
    STDMETHODIMP get_previousSibling(IXMLDOMNode** previousSibling) override {
        return m_inner->get_previousSibling(previousSibling);
    }
    STDMETHODIMP get_nextSibling(IXMLDOMNode** nextSibling) override { return m_inner->get_nextSibling(nextSibling); }
    STDMETHODIMP get_attributes(IXMLDOMNamedNodeMap** attributeMap) override {
        return m_inner->get_attributes(attributeMap);
    }
    STDMETHODIMP insertBefore(IXMLDOMNode* newChild, VARIANT refChild, IXMLDOMNode** outNewChild) override {
        return m_inner->insertBefore(newChild, refChild, outNewChild);
    }
    STDMETHODIMP replaceChild(IXMLDOMNode* newChild, IXMLDOMNode* oldChild, IXMLDOMNode** outOldChild) override {
        return m_inner->replaceChild(newChild, oldChild, outOldChild);
    }
    STDMETHODIMP removeChild(IXMLDOMNode* childNode, IXMLDOMNode** oldChild) override {
        return m_inner->removeChild(childNode, oldChild);
    }
    STDMETHODIMP appendChild(IXMLDOMNode* newChild, IXMLDOMNode** outNewChild) override {
        return m_inner->appendChild(newChild, outNewChild);
    }
    STDMETHODIMP hasChildNodes(VARIANT_BOOL* hasChild) override { return m_inner->hasChildNodes(hasChild); }
    STDMETHODIMP get_ownerDocument(IXMLDOMDocument** dOMDocument) override {
        return m_inner->get_ownerDocument(dOMDocument);
    }
    STDMETHODIMP cloneNode(VARIANT_BOOL deep, IXMLDOMNode** cloneRoot) override {
        return m_inner->cloneNode(deep, cloneRoot);
    }
    STDMETHODIMP get_nodeTypeString(BSTR* nodeType) override { return m_inner->get_nodeTypeString(nodeType); }
    STDMETHODIMP get_text(BSTR* text) override { return m_inner->get_text(text); }
    STDMETHODIMP put_text(BSTR text) override { return m_inner->put_text(text); }
    STDMETHODIMP get_specified(VARIANT_BOOL* isSpecified) override { return m_inner->get_specified(isSpecified); }
    STDMETHODIMP get_definition(IXMLDOMNode** definitionNode) override {
        return m_inner->get_definition(definitionNode);
    }
    STDMETHODIMP get_nodeTypedValue(VARIANT* typedValue) override { return m_inner->get_nodeTypedValue(typedValue); }
    STDMETHODIMP put_nodeTypedValue(VARIANT typedValue) override { return m_inner->put_nodeTypedValue(typedValue); }
    STDMETHODIMP get_dataType(VARIANT* dataTypeName) override { return m_inner->get_dataType(dataTypeName); }
    STDMETHODIMP put_dataType(BSTR dataTypeName) override { return m_inner->put_dataType(dataTypeName); }
    STDMETHODIMP get_xml(BSTR* xmlString) override { return m_inner->get_xml(xmlString); }
    STDMETHODIMP transformNode(IXMLDOMNode* stylesheet, BSTR* xmlString) override {
        return m_inner->transformNode(stylesheet, xmlString);
    }
    STDMETHODIMP selectNodes(BSTR queryString, IXMLDOMNodeList** resultList) override {
        return m_inner->selectNodes(queryString, resultList);
    }
    STDMETHODIMP selectSingleNode(BSTR queryString, IXMLDOMNode** resultNode) override {
        return m_inner->selectSingleNode(queryString, resultNode);
    }
    STDMETHODIMP get_parsed(VARIANT_BOOL* isParsed) override { return m_inner->get_parsed(isParsed); }
    STDMETHODIMP get_namespaceURI(BSTR* namespaceURI) override { return m_inner->get_namespaceURI(namespaceURI); }
    STDMETHODIMP get_prefix(BSTR* prefixString) override { return m_inner->get_prefix(prefixString); }
    STDMETHODIMP get_baseName(BSTR* nameString) override { return m_inner->get_baseName(nameString); }
    STDMETHODIMP transformNodeToObject(IXMLDOMNode* stylesheet, VARIANT outputObject) override {
        return m_inner->transformNodeToObject(stylesheet, outputObject);
    }

protected:
    using ForwardingDispatch<Interface>::m_inner;
};

/// Forwards the operations of a plain node.
class ForwardingPlainNode : public ForwardingNode<IXMLDOMNode> {
public:
    explicit ForwardingPlainNode(ComPtr<IXMLDOMNode> inner) : ForwardingNode(std::move(inner), IID_IXMLDOMNode) {}
};

/// Forwards the operations of an element.
class ForwardingElement : public ForwardingNode<IXMLDOMElement> {
public:
    explicit ForwardingElement(ComPtr<IXMLDOMElement> inner) : ForwardingNode(std::move(inner), IID_IXMLDOMElement) {}

    STDMETHODIMP get_tagName(BSTR* tagName) override { return m_inner->get_tagName(tagName); }
    STDMETHODIMP getAttribute(BSTR name, VARIANT* value) override { return m_inner->getAttribute(name, value); }
    STDMETHODIMP setAttribute(BSTR name, VARIANT value) override { return m_inner->setAttribute(name, value); }
    STDMETHODIMP removeAttribute(BSTR name) override { return m_inner->removeAttribute(name); }
    STDMETHODIMP getAttributeNode(BSTR name, IXMLDOMAttribute** attributeNode) override {
        return m_inner->getAttributeNode(name, attributeNode);
    }
    STDMETHODIMP setAttributeNode(IXMLDOMAttribute* dOMAttribute, IXMLDOMAttribute** attributeNode) override {
        return m_inner->setAttributeNode(dOMAttribute, attributeNode);
    }
    STDMETHODIMP removeAttributeNode(IXMLDOMAttribute* dOMAttribute, IXMLDOMAttribute** attributeNode) override {
        return m_inner->removeAttributeNode(dOMAttribute, attributeNode);
    }
    STDMETHODIMP getElementsByTagName(BSTR tagName, IXMLDOMNodeList** resultList) override {
        return m_inner->getElementsByTagName(tagName, resultList);
    }
    STDMETHODIMP normalize() override { return m_inner->normalize(); }
};

/// Forwards the operations of a document.
class ForwardingDocument : public ForwardingNode<IXMLDOMDocument> {
public:
    explicit ForwardingDocument(ComPtr<IXMLDOMDocument> inner)
        : ForwardingNode(std::move(inner), IID_IXMLDOMDocument) {}

    STDMETHODIMP get_doctype(IXMLDOMDocumentType** documentType) override { return m_inner->get_doctype(documentType); }
    STDMETHODIMP get_implementation(IXMLDOMImplementation** impl) override { return m_inner->get_implementation(impl); }
    STDMETHODIMP get_documentElement(IXMLDOMElement** dOMElement) override {
        return m_inner->get_documentElement(dOMElement);
    }
    STDMETHODIMP putref_documentElement(IXMLDOMElement* dOMElement) override {
        return m_inner->putref_documentElement(dOMElement);
    }
    STDMETHODIMP createElement(BSTR tagName, IXMLDOMElement** element) override {
        return m_inner->createElement(tagName, element);
    }
    STDMETHODIMP createDocumentFragment(IXMLDOMDocumentFragment** docFrag) override {
        return m_inner->createDocumentFragment(docFrag);
    }
    STDMETHODIMP createTextNode(BSTR data, IXMLDOMText** text) override { return m_inner->createTextNode(data, text); }
    STDMETHODIMP createComment(BSTR data, IXMLDOMComment** comment) override {
        return m_inner->createComment(data, comment);
    }
    STDMETHODIMP createCDATASection(BSTR data, IXMLDOMCDATASection** cdata) override {
        return m_inner->createCDATASection(data, cdata);
    }
    STDMETHODIMP createProcessingInstruction(BSTR target, BSTR data, IXMLDOMProcessingInstruction** pi) override {
        return m_inner->createProcessingInstruction(target, data, pi);
    }
    STDMETHODIMP createAttribute(BSTR name, IXMLDOMAttribute** attribute) override {
        return m_inner->createAttribute(name, attribute);
    }
    STDMETHODIMP createEntityReference(BSTR name, IXMLDOMEntityReference** entityRef) override {
        return m_inner->createEntityReference(name, entityRef);
    }
    STDMETHODIMP getElementsByTagName(BSTR tagName, IXMLDOMNodeList** resultList) override {
        return m_inner->getElementsByTagName(tagName, resultList);
    }
    STDMETHODIMP createNode(VARIANT type, BSTR name, BSTR namespaceURI, IXMLDOMNode** node) override {
        return m_inner->createNode(type, name, namespaceURI, node);
    }
    STDMETHODIMP nodeFromID(BSTR idString, IXMLDOMNode** node) override { return m_inner->nodeFromID(idString, node); }
    STDMETHODIMP load(VARIANT xmlSource, VARIANT_BOOL* isSuccessful) override {
        return m_inner->load(xmlSource, isSuccessful);
    }
    STDMETHODIMP get_readyState(LONG* value) override { return m_inner->get_readyState(value); }
    STDMETHODIMP get_parseError(IXMLDOMParseError** errorObj) override { return m_inner->get_parseError(errorObj); }
    STDMETHODIMP get_url(BSTR* urlString) override { return m_inner->get_url(urlString); }
    STDMETHODIMP get_async(VARIANT_BOOL* isAsync) override { return m_inner->get_async(isAsync); }
    STDMETHODIMP put_async(VARIANT_BOOL isAsync) override { return m_inner->put_async(isAsync); }
    STDMETHODIMP abort() override { return m_inner->abort(); }
    STDMETHODIMP loadXML(BSTR bstrXML, VARIANT_BOOL* isSuccessful) override {
        return m_inner->loadXML(bstrXML, isSuccessful);
    }
    STDMETHODIMP save(VARIANT destination) override { return m_inner->save(destination); }
    STDMETHODIMP get_validateOnParse(VARIANT_BOOL* isValidating) override {
        return m_inner->get_validateOnParse(isValidating);
    }
    STDMETHODIMP put_validateOnParse(VARIANT_BOOL isValidating) override {
        return m_inner->put_validateOnParse(isValidating);
    }
    STDMETHODIMP get_resolveExternals(VARIANT_BOOL* isResolving) override {
        return m_inner->get_resolveExternals(isResolving);
    }
    STDMETHODIMP put_resolveExternals(VARIANT_BOOL isResolving) override {
        return m_inner->put_resolveExternals(isResolving);
    }
    STDMETHODIMP get_preserveWhiteSpace(VARIANT_BOOL* isPreserving) override {
        return m_inner->get_preserveWhiteSpace(isPreserving);
    }
    STDMETHODIMP put_preserveWhiteSpace(VARIANT_BOOL isPreserving) override {
        return m_inner->put_preserveWhiteSpace(isPreserving);
    }
    STDMETHODIMP put_onreadystatechange(VARIANT readystatechangeSink) override {
        return m_inner->put_onreadystatechange(readystatechangeSink);
    }
    STDMETHODIMP put_ondataavailable(VARIANT ondataavailableSink) override {
        return m_inner->put_ondataavailable(ondataavailableSink);
    }
    STDMETHODIMP put_ontransformnode(VARIANT ontransformnodeSink) override {
        return m_inner->put_ontransformnode(ontransformnodeSink);
    }
};

/// A list of nodes that a test makes up; its nodes may be null.
class MadeUpNodeList : public ForwardingDispatch<IXMLDOMNodeList> {
public:
    explicit MadeUpNodeList(std::vector<ComPtr<IXMLDOMNode>> nodes)
        : ForwardingDispatch(nullptr, IID_IXMLDOMNodeList), m_nodes(std::move(nodes)) {}

    STDMETHODIMP get_item(LONG index, IXMLDOMNode** node) override {
        *node = nullptr;
        if (index < 0 || static_cast<std::size_t>(index) >= m_nodes.size()) return S_FALSE;
        return m_nodes[static_cast<std::size_t>(index)].CopyTo(node);
    }
    STDMETHODIMP get_length(LONG* length) override {
        *length = static_cast<LONG>(m_nodes.size());
        return lengthResult;
    }
    STDMETHODIMP nextNode(IXMLDOMNode** node) override {
        return FAILED(nextResult) ? nextResult : get_item(m_next++, node);
    }
    STDMETHODIMP reset() override {
        m_next = 0;
        return S_OK;
    }
    STDMETHODIMP get__newEnum(IUnknown**) override { return E_NOTIMPL; }

    HRESULT lengthResult = S_OK;
    HRESULT nextResult = S_OK;

private:
    std::vector<ComPtr<IXMLDOMNode>> m_nodes;
    LONG m_next = 0;
};

/// The attributes of an element, as far as the test lets them be read.
class MadeUpAttributes : public ForwardingDispatch<IXMLDOMNamedNodeMap> {
public:
    /// @param node  each of the attributes; may be null
    explicit MadeUpAttributes(ComPtr<IXMLDOMNode> node)
        : ForwardingDispatch(nullptr, IID_IXMLDOMNamedNodeMap), m_node(std::move(node)) {}

    STDMETHODIMP getNamedItem(BSTR, IXMLDOMNode** node) override {
        return FAILED(itemResult) ? itemResult : m_node.CopyTo(node);
    }
    STDMETHODIMP setNamedItem(IXMLDOMNode*, IXMLDOMNode**) override { return E_NOTIMPL; }
    STDMETHODIMP removeNamedItem(BSTR, IXMLDOMNode**) override { return E_NOTIMPL; }
    STDMETHODIMP get_item(LONG, IXMLDOMNode**) override { return E_NOTIMPL; }
    STDMETHODIMP get_length(LONG* value) override {
        *value = length;
        return lengthResult;
    }
    STDMETHODIMP getQualifiedItem(BSTR, BSTR, IXMLDOMNode**) override { return E_NOTIMPL; }
    STDMETHODIMP removeQualifiedItem(BSTR, BSTR, IXMLDOMNode**) override { return E_NOTIMPL; }
    STDMETHODIMP nextNode(IXMLDOMNode** node) override { return getNamedItem(nullptr, node); }
    STDMETHODIMP reset() override { return S_OK; }
    STDMETHODIMP get__newEnum(IUnknown**) override { return E_NOTIMPL; }

    LONG length = 1;
    HRESULT lengthResult = S_OK;
    HRESULT itemResult = S_OK;

private:
    ComPtr<IXMLDOMNode> m_node;
};

/// While it lives, every DOM document that the process creates is @p document (or cannot be created, when it is null).
class ServedDocument {
public:
    explicit ServedDocument(IUnknown* document) : m_factory(document) {
        EXPECT_EQ(S_OK, ::CoRegisterClassObject(documentClass, &m_factory, CLSCTX_INPROC_SERVER, REGCLS_MULTIPLEUSE,
                                                &m_cookie));
    }
    ~ServedDocument() { ::CoRevokeClassObject(m_cookie); }
    ServedDocument(const ServedDocument&) = delete;
    ServedDocument& operator=(const ServedDocument&) = delete;

    static constexpr CLSID documentClass = {
        0xF6D90F11, 0x9C73, 0x11D3, {0xB3, 0x2E, 0x00, 0xC0, 0x4F, 0x99, 0x0B, 0xB4}};

private:
    class Factory : public IClassFactory {
    public:
        explicit Factory(IUnknown* document) : m_document(document) {}
        STDMETHODIMP QueryInterface(REFIID interfaceId, void** object) override {
            const bool known = interfaceId == IID_IUnknown || interfaceId == IID_IClassFactory;
            *object = known ? this : nullptr;
            return known ? S_OK : E_NOINTERFACE;
        }
        STDMETHODIMP_(ULONG) AddRef() override { return 2; } // lives with its scope
        STDMETHODIMP_(ULONG) Release() override { return 1; }
        STDMETHODIMP CreateInstance(IUnknown*, REFIID interfaceId, void** object) override {
            *object = nullptr;
            return m_document == nullptr ? CLASS_E_CLASSNOTAVAILABLE : m_document->QueryInterface(interfaceId, object);
        }
        STDMETHODIMP LockServer(BOOL) override { return S_OK; }

    private:
        IUnknown* m_document;
    };

    Factory m_factory;
    DWORD m_cookie = 0;
};

/// COM for the thread, for a scope.
class ComScope {
public:
    ComScope() { EXPECT_TRUE(SUCCEEDED(::CoInitialize(nullptr))); }
    ~ComScope() { ::CoUninitialize(); }
    ComScope(const ComScope&) = delete;
    ComScope& operator=(const ComScope&) = delete;
};

/// An empty document of the real DOM, or one with this content.
inline ComPtr<IXMLDOMDocument> RealDocument(const wchar_t* content = nullptr) {
    ComPtr<IXMLDOMDocument> document;
    EXPECT_EQ(S_OK, ::CoCreateInstance(ServedDocument::documentClass, nullptr, CLSCTX_INPROC_SERVER,
                                       IID_IXMLDOMDocument, reinterpret_cast<void**>(document.GetAddressOf())));
    if (content != nullptr) {
        VARIANT_BOOL loaded = VARIANT_FALSE;
        const BSTR text = ::SysAllocString(content);
        document->put_async(VARIANT_FALSE);
        EXPECT_EQ(S_OK, document->loadXML(text, &loaded)) << content;
        EXPECT_EQ(VARIANT_TRUE, loaded) << content;
        ::SysFreeString(text);
    }
    return document;
}

/// The root element of a document.
inline ComPtr<IXMLDOMElement> RootOf(IXMLDOMDocument* document) {
    ComPtr<IXMLDOMElement> root;
    EXPECT_HRESULT_SUCCEEDED(document->get_documentElement(root.GetAddressOf()));
    return root;
}

} // namespace tarnu::test

#endif // TARNU_TESTS_XML_FORWARDINGDOM_H
