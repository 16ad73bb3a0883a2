/// @file
/// Stand-ins for the DOM: objects that forward what the library calls to a real one, so that a test overrides only what
/// it wants to go wrong, and a scope in which the library's documents are such objects. Operations that the library has
/// no use for answer E_NOTIMPL, so that a call of one shows.
#ifndef TARNU_TESTS_XML_FORWARDINGDOM_H
#define TARNU_TESTS_XML_FORWARDINGDOM_H

#include "tarnu/framework/framework.h"
#include "tarnu/support/Com.h"

#include <functional>
#include <gtest/gtest.h>
#include <msxml2.h>
#include <ocidl.h>
#include <optional>
#include <utility>
#include <vector>
#include <wrl/client.h>

namespace tarnu::test {

using Microsoft::WRL::ComPtr;

/// Stand-ins alive, of all kinds.
inline LONG livingStandIns = 0;

/// Asks an object of the real DOM for the interfaces that it has not itself, and counts references. The reference of
/// the creator is the first one.
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
    STDMETHODIMP GetTypeInfoCount(UINT*) override { return E_NOTIMPL; }
    STDMETHODIMP GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
    STDMETHODIMP GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) override { return E_NOTIMPL; }
    STDMETHODIMP Invoke(DISPID, REFIID, LCID, WORD, DISPPARAMS*, VARIANT*, EXCEPINFO*, UINT*) override {
        return E_NOTIMPL;
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
    STDMETHODIMP put_nodeValue(VARIANT) override { return E_NOTIMPL; }
    STDMETHODIMP get_nodeType(DOMNodeType* type) override { return m_inner->get_nodeType(type); }
    STDMETHODIMP get_parentNode(IXMLDOMNode**) override { return E_NOTIMPL; }
    STDMETHODIMP get_childNodes(IXMLDOMNodeList** childList) override { return m_inner->get_childNodes(childList); }
    STDMETHODIMP get_firstChild(IXMLDOMNode** firstChild) override { return m_inner->get_firstChild(firstChild); }
    STDMETHODIMP get_lastChild(IXMLDOMNode**) override { return E_NOTIMPL; }
    STDMETHODIMP get_previousSibling(IXMLDOMNode**) override { return E_NOTIMPL; }
    STDMETHODIMP get_nextSibling(IXMLDOMNode** nextSibling) override { return m_inner->get_nextSibling(nextSibling); }
    STDMETHODIMP get_attributes(IXMLDOMNamedNodeMap** attributeMap) override {
        return m_inner->get_attributes(attributeMap);
    }
    STDMETHODIMP insertBefore(IXMLDOMNode*, VARIANT, IXMLDOMNode**) override { return E_NOTIMPL; }
    STDMETHODIMP replaceChild(IXMLDOMNode*, IXMLDOMNode*, IXMLDOMNode**) override { return E_NOTIMPL; }
    STDMETHODIMP removeChild(IXMLDOMNode* childNode, IXMLDOMNode** oldChild) override {
        return m_inner->removeChild(childNode, oldChild);
    }
    STDMETHODIMP appendChild(IXMLDOMNode* newChild, IXMLDOMNode** outNewChild) override {
        return m_inner->appendChild(newChild, outNewChild);
    }
    STDMETHODIMP hasChildNodes(VARIANT_BOOL* hasChild) override { return m_inner->hasChildNodes(hasChild); }
    STDMETHODIMP get_ownerDocument(IXMLDOMDocument**) override { return E_NOTIMPL; }
    STDMETHODIMP cloneNode(VARIANT_BOOL, IXMLDOMNode**) override { return E_NOTIMPL; }
    STDMETHODIMP get_nodeTypeString(BSTR*) override { return E_NOTIMPL; }
    STDMETHODIMP get_text(BSTR* text) override { return m_inner->get_text(text); }
    STDMETHODIMP put_text(BSTR text) override { return m_inner->put_text(text); }
    STDMETHODIMP get_specified(VARIANT_BOOL*) override { return E_NOTIMPL; }
    STDMETHODIMP get_definition(IXMLDOMNode**) override { return E_NOTIMPL; }
    STDMETHODIMP get_nodeTypedValue(VARIANT*) override { return E_NOTIMPL; }
    STDMETHODIMP put_nodeTypedValue(VARIANT) override { return E_NOTIMPL; }
    STDMETHODIMP get_dataType(VARIANT*) override { return E_NOTIMPL; }
    STDMETHODIMP put_dataType(BSTR) override { return E_NOTIMPL; }
    STDMETHODIMP get_xml(BSTR*) override { return E_NOTIMPL; }
    STDMETHODIMP transformNode(IXMLDOMNode*, BSTR*) override { return E_NOTIMPL; }
    STDMETHODIMP selectNodes(BSTR, IXMLDOMNodeList**) override { return E_NOTIMPL; }
    STDMETHODIMP selectSingleNode(BSTR, IXMLDOMNode**) override { return E_NOTIMPL; }
    STDMETHODIMP get_parsed(VARIANT_BOOL*) override { return E_NOTIMPL; }
    STDMETHODIMP get_namespaceURI(BSTR*) override { return E_NOTIMPL; }
    STDMETHODIMP get_prefix(BSTR*) override { return E_NOTIMPL; }
    STDMETHODIMP get_baseName(BSTR*) override { return E_NOTIMPL; }
    STDMETHODIMP transformNodeToObject(IXMLDOMNode*, VARIANT) override { return E_NOTIMPL; }

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

    STDMETHODIMP get_tagName(BSTR*) override { return E_NOTIMPL; }
    STDMETHODIMP getAttribute(BSTR, VARIANT*) override { return E_NOTIMPL; }
    STDMETHODIMP setAttribute(BSTR name, VARIANT value) override { return m_inner->setAttribute(name, value); }
    STDMETHODIMP removeAttribute(BSTR) override { return E_NOTIMPL; }
    STDMETHODIMP getAttributeNode(BSTR name, IXMLDOMAttribute** attributeNode) override {
        return m_inner->getAttributeNode(name, attributeNode);
    }
    STDMETHODIMP setAttributeNode(IXMLDOMAttribute*, IXMLDOMAttribute**) override { return E_NOTIMPL; }
    STDMETHODIMP removeAttributeNode(IXMLDOMAttribute*, IXMLDOMAttribute**) override { return E_NOTIMPL; }
    STDMETHODIMP getElementsByTagName(BSTR, IXMLDOMNodeList**) override { return E_NOTIMPL; }
    STDMETHODIMP normalize() override { return E_NOTIMPL; }
};

/// Forwards the operations of a document.
class ForwardingDocument : public ForwardingNode<IXMLDOMDocument> {
public:
    explicit ForwardingDocument(ComPtr<IXMLDOMDocument> inner)
        : ForwardingNode(std::move(inner), IID_IXMLDOMDocument) {}

    STDMETHODIMP get_doctype(IXMLDOMDocumentType**) override { return E_NOTIMPL; }
    STDMETHODIMP get_implementation(IXMLDOMImplementation**) override { return E_NOTIMPL; }
    STDMETHODIMP get_documentElement(IXMLDOMElement** dOMElement) override {
        return m_inner->get_documentElement(dOMElement);
    }
    STDMETHODIMP putref_documentElement(IXMLDOMElement*) override { return E_NOTIMPL; }
    STDMETHODIMP createElement(BSTR tagName, IXMLDOMElement** element) override {
        return m_inner->createElement(tagName, element);
    }
    STDMETHODIMP createDocumentFragment(IXMLDOMDocumentFragment**) override { return E_NOTIMPL; }
    STDMETHODIMP createTextNode(BSTR, IXMLDOMText**) override { return E_NOTIMPL; }
    STDMETHODIMP createComment(BSTR, IXMLDOMComment**) override { return E_NOTIMPL; }
    STDMETHODIMP createCDATASection(BSTR, IXMLDOMCDATASection**) override { return E_NOTIMPL; }
    STDMETHODIMP createProcessingInstruction(BSTR target, BSTR data, IXMLDOMProcessingInstruction** pi) override {
        return m_inner->createProcessingInstruction(target, data, pi);
    }
    STDMETHODIMP createAttribute(BSTR, IXMLDOMAttribute**) override { return E_NOTIMPL; }
    STDMETHODIMP createEntityReference(BSTR, IXMLDOMEntityReference**) override { return E_NOTIMPL; }
    STDMETHODIMP getElementsByTagName(BSTR, IXMLDOMNodeList**) override { return E_NOTIMPL; }
    STDMETHODIMP createNode(VARIANT, BSTR, BSTR, IXMLDOMNode**) override { return E_NOTIMPL; }
    STDMETHODIMP nodeFromID(BSTR, IXMLDOMNode**) override { return E_NOTIMPL; }
    STDMETHODIMP load(VARIANT xmlSource, VARIANT_BOOL* isSuccessful) override {
        return m_inner->load(xmlSource, isSuccessful);
    }
    STDMETHODIMP get_readyState(LONG* value) override { return m_inner->get_readyState(value); }
    STDMETHODIMP get_parseError(IXMLDOMParseError** errorObj) override { return m_inner->get_parseError(errorObj); }
    STDMETHODIMP get_url(BSTR* urlString) override { return m_inner->get_url(urlString); }
    STDMETHODIMP get_async(VARIANT_BOOL*) override { return E_NOTIMPL; }
    STDMETHODIMP put_async(VARIANT_BOOL isAsync) override { return m_inner->put_async(isAsync); }
    STDMETHODIMP abort() override { return m_inner->abort(); }
    STDMETHODIMP loadXML(BSTR, VARIANT_BOOL*) override { return E_NOTIMPL; }
    STDMETHODIMP save(VARIANT destination) override { return m_inner->save(destination); }
    STDMETHODIMP get_validateOnParse(VARIANT_BOOL*) override { return E_NOTIMPL; }
    STDMETHODIMP put_validateOnParse(VARIANT_BOOL) override { return E_NOTIMPL; }
    STDMETHODIMP get_resolveExternals(VARIANT_BOOL*) override { return E_NOTIMPL; }
    STDMETHODIMP put_resolveExternals(VARIANT_BOOL) override { return E_NOTIMPL; }
    STDMETHODIMP get_preserveWhiteSpace(VARIANT_BOOL*) override { return E_NOTIMPL; }
    STDMETHODIMP put_preserveWhiteSpace(VARIANT_BOOL) override { return E_NOTIMPL; }
    STDMETHODIMP put_onreadystatechange(VARIANT) override { return E_NOTIMPL; }
    STDMETHODIMP put_ondataavailable(VARIANT) override { return E_NOTIMPL; }
    STDMETHODIMP put_ontransformnode(VARIANT) override { return E_NOTIMPL; }
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

/// A parse error that a test makes up.
class MadeUpError : public ForwardingDispatch<IXMLDOMParseError> {
public:
    MadeUpError() : ForwardingDispatch(nullptr, IID_IXMLDOMParseError) {}

    STDMETHODIMP get_errorCode(LONG* value) override {
        *value = code;
        return FAILED(codeResult) ? codeResult : code == 0 ? S_FALSE : S_OK;
    }
    STDMETHODIMP get_url(BSTR* text) override { return Give(url, text); }
    STDMETHODIMP get_reason(BSTR* text) override { return Give(reason, text); }
    STDMETHODIMP get_srcText(BSTR* text) override { return Give(L"", text); }
    STDMETHODIMP get_line(LONG* value) override {
        *value = line;
        return S_OK;
    }
    STDMETHODIMP get_linepos(LONG* value) override {
        *value = position;
        return S_OK;
    }
    STDMETHODIMP get_filepos(LONG*) override { return E_NOTIMPL; }

    static HRESULT Give(const wchar_t* text, BSTR* result) {
        *result = text == nullptr ? nullptr : ::SysAllocString(text);
        return text == nullptr ? E_NOTIMPL : S_OK;
    }

    LONG code = 0;
    HRESULT codeResult = S_OK;
    LONG line = 0;
    LONG position = 0;
    const wchar_t* reason = L"";
    const wchar_t* url = nullptr;
};

/// A document that answers as the test says, where it says so.
class ScriptedDocument : public ForwardingDocument {
public:
    explicit ScriptedDocument(const wchar_t* content = nullptr)
        : ForwardingDocument(RealDocument(content)), error(support::Adopt(new MadeUpError)) {}

    STDMETHODIMP QueryInterface(REFIID interfaceId, void** object) override {
        *object = nullptr;
        if (interfaceId == IID_IPersistStreamInit && withoutPersistence) return E_NOINTERFACE;
        if (interfaceId == IID_ISupportErrorInfo) {
            if (errorSupport == nullptr) return E_NOINTERFACE;
            errorSupport->AddRef();
            *object = errorSupport;
            return S_OK;
        }
        return ForwardingDocument::QueryInterface(interfaceId, object);
    }
    STDMETHODIMP put_async(VARIANT_BOOL value) override {
        async = value != VARIANT_FALSE;
        return Or(asyncResult, [&] { return m_inner->put_async(value); });
    }
    STDMETHODIMP load(VARIANT source, VARIANT_BOOL* success) override {
        if (onLoad) onLoad();
        if (!loadFlag) return Or(loadResult, [&] { return m_inner->load(source, success); });
        *success = *loadFlag;
        return loadResult;
    }
    STDMETHODIMP save(VARIANT target) override {
        return Or(saveResult, [&] { return m_inner->save(target); });
    }
    STDMETHODIMP get_readyState(LONG* value) override {
        if (onReadyState) onReadyState();
        *value = readyState;
        return readyStateResult;
    }
    STDMETHODIMP get_parseError(IXMLDOMParseError** result) override {
        *result = nullptr;
        return withParseError ? ComPtr<IXMLDOMParseError>(error).CopyTo(result) : parseErrorResult;
    }
    STDMETHODIMP get_url(BSTR* text) override { return MadeUpError::Give(url, text); }
    STDMETHODIMP get_nodeName(BSTR* name) override {
        return Or(nameResult, [&] { return m_inner->get_nodeName(name); });
    }
    STDMETHODIMP createProcessingInstruction(BSTR target, BSTR data, IXMLDOMProcessingInstruction** result) override {
        return Or(instructionResult, [&] { return m_inner->createProcessingInstruction(target, data, result); });
    }
    STDMETHODIMP createElement(BSTR name, IXMLDOMElement** result) override {
        return Or(createResult,
                  [&] { return element ? element.CopyTo(result) : m_inner->createElement(name, result); });
    }
    STDMETHODIMP appendChild(IXMLDOMNode* child, IXMLDOMNode** appended) override {
        return Or(appendResult, [&] { return m_inner->appendChild(child, appended); });
    }
    STDMETHODIMP get_childNodes(IXMLDOMNodeList** nodes) override {
        return Or(childrenResult, [&] { return children ? children.CopyTo(nodes) : m_inner->get_childNodes(nodes); });
    }
    STDMETHODIMP get_documentElement(IXMLDOMElement** result) override {
        return Or(rootResult, [&] { return root ? root.CopyTo(result) : m_inner->get_documentElement(result); });
    }
    STDMETHODIMP abort() override {
        ++aborts;
        return S_OK;
    }

    ComPtr<MadeUpError> error;
    ISupportErrorInfo* errorSupport = nullptr;
    std::function<void()> onLoad, onReadyState;
    ComPtr<IXMLDOMElement> root, element; ///< instead of the root, and of any element that is created
    ComPtr<IXMLDOMNodeList> children;
    std::optional<VARIANT_BOOL> loadFlag; ///< plays a load instead of loading
    const wchar_t* url = nullptr;
    std::optional<bool> async; ///< as it was put
    HRESULT asyncResult = S_OK, loadResult = S_OK, saveResult = S_OK, readyStateResult = S_OK,
            parseErrorResult = S_FALSE, nameResult = S_OK, rootResult = S_OK, instructionResult = S_OK,
            createResult = S_OK, appendResult = S_OK, childrenResult = S_OK;
    LONG readyState = 4;
    int aborts = 0;
    bool withParseError = true;
    bool withoutPersistence = false;

private:
    template <class Work>
    static HRESULT Or(HRESULT result, Work&& work) {
        return result == S_OK ? work() : result;
    }
};

} // namespace tarnu::test

#endif // TARNU_TESTS_XML_FORWARDINGDOM_H
