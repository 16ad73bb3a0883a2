#include "tarnu/xml/OrvaXml.h"

#include "tarnu/files/OrvaFileStream.h"
#include "tarnu/frame/OrvaMessageBox.h"
#include "tarnu/support/Com.h"
#include "tarnu/support/Errors.h"
#include "tarnu/support/Owners.h"
#include "tarnu/support/ThreadRule.h"
#include "tarnu/xml/XmlTextInternal.h"

#include <array>
#include <cstring>
#include <cwchar>
#include <new>
#include <ocidl.h>
#include <ole2.h>
#include <string>
#include <string_view>
#include <urlmon.h>
#include <utility>
#include <vector>

namespace {

using Microsoft::WRL::ComPtr;
using namespace tarnu::support;

/// The version-independent DOM document.
constexpr CLSID documentClass = {0xF6D90F11, 0x9C73, 0x11D3, {0xB3, 0x2E, 0x00, 0xC0, 0x4F, 0x99, 0x0B, 0xB4}};

constexpr long readyStateComplete = 4;

/// A document that completes without a message is noticed after this many milliseconds.
constexpr DWORD completionPoll = 10;

constexpr wchar_t landXmlName[] = L"LandXML";

ComPtr<IXMLDOMDocument> NewDocument() noexcept {
    ComPtr<IXMLDOMDocument> document;
    ComPtr<IUnknown> unknown;
    // A class that is served by another process has to be started before it is asked for anything.
    if (SUCCEEDED(::CoCreateInstance(documentClass, /*pUnkOuter=*/nullptr, CLSCTX_ALL, __uuidof(IUnknown),
                                     reinterpret_cast<void**>(unknown.GetAddressOf()))) &&
        SUCCEEDED(::OleRun(unknown.Get()))) {
        Ask(unknown.Get(), IID_IXMLDOMDocument, document);
    }
    return document;
}

/// Dispatches one message that was taken from the queue.
/// @return false for WM_QUIT, which is posted again for the loop that it is meant for
bool Dispatch(const MSG& message) noexcept {
    if (message.message == WM_QUIT) {
        ::PostQuitMessage(static_cast<int>(message.wParam));
        return false;
    }
    ::DispatchMessageW(&message);
    return true;
}

/// A text in the ANSI code page, as %S reads it.
std::string Narrow(const CString& text) {
    const int length = text.GetLength();
    const int size = ::WideCharToMultiByte(CP_ACP, 0, text, length, nullptr, 0, nullptr, nullptr);
    std::string narrow(static_cast<std::size_t>(size), '\0');
    ::WideCharToMultiByte(CP_ACP, 0, text, length, narrow.data(), size, nullptr, nullptr);
    return narrow;
}

/// Shows what the document says about a parse error.
void ReportParseError(IXMLDOMDocument* document, IXMLDOMParseError* error) {
    UniqueBstr reason;
    error->get_reason(reason.Put());
    CString message;
    long line = 0;
    if (SUCCEEDED(error->get_line(&line)) && line > 0) {
        long position = 0;
        error->get_linepos(&position);
        UniqueBstr url;
        if (FAILED(document->get_url(url.Put())) || ::SysStringLen(url.Get()) == 0) error->get_url(url.Put());
        message.Format(L"Error on line %d, position %d in \"%S\".\n", static_cast<int>(line),
                       static_cast<int>(position), Narrow(TextOf(url)).c_str());
    }
    ::DllMessageBox(/*owner=*/nullptr, message, TextOf(reason), /*flags=*/0);
}

CString NameOf(IXMLDOMNode* node) {
    UniqueBstr name;
    node->get_nodeName(name.Put());
    return TextOf(name);
}

/// The names of a walk as strings. The nodes of a document share few names, and one that is met again is given out
/// again, for a string of its own would cost more than the node's visit.
class NodeNames {
public:
    /// The name of a node, until the next call.
    const CString& Of(IXMLDOMNode* node) {
        UniqueBstr name;
        node->get_nodeName(name.Put());
        const std::wstring_view text(name.Get(), ::SysStringLen(name.Get()));
        const std::size_t place =
            text.empty() ? 0 : text.size() + std::size_t{5} * text.front() + std::size_t{11} * text.back();
        CString& known = m_names[place % m_names.size()];
        if (std::wstring_view(known.GetString(), static_cast<std::size_t>(known.GetLength())) != text) {
            known = TextOf(name);
        }
        return known;
    }

private:
    std::array<CString, 64> m_names; ///< by length, first and last character; names of one place replace each other
};

/// Calls the callback for the node, then for each of its attributes; false when it stopped the walk.
bool VisitWithAttributes(IXMLDOMNode* node, NodeNames& names, OrvaXml::WalkCallback callback, void* userData) {
    if (!callback(names.Of(node), node, userData)) return false;
    ComPtr<IXMLDOMNamedNodeMap> attributes;
    if (FAILED(node->get_attributes(attributes.GetAddressOf())) || !attributes) return true;
    attributes->reset(); // the map may be shared, and its cursor with it
    for (;;) {
        ComPtr<IXMLDOMNode> attribute;
        if (FAILED(attributes->nextNode(attribute.GetAddressOf())) || !attribute) return true;
        if (!callback(names.Of(attribute.Get()), attribute.Get(), userData)) return false;
    }
}

ComPtr<IXMLDOMNode> FirstChild(IXMLDOMNode* node) noexcept {
    ComPtr<IXMLDOMNode> child;
    if (FAILED(node->get_firstChild(child.GetAddressOf()))) child.Reset();
    return child;
}

ComPtr<IXMLDOMNode> NextSibling(IXMLDOMNode* node) noexcept {
    ComPtr<IXMLDOMNode> sibling;
    if (FAILED(node->get_nextSibling(sibling.GetAddressOf()))) sibling.Reset();
    return sibling;
}

} // namespace

OrvaXml::OrvaXml(const CString& path, bool asynchronous, bool fromStream, bool ownFileStream)
    : m_asynchronous(asynchronous)
    , m_fromStream(fromStream)
    , m_ownFileStream(ownFileStream)
    , m_path(path)
    , m_comInitialized(SUCCEEDED(::CoInitialize(nullptr))) {
    m_document = NewDocument();
}

OrvaXml::~OrvaXml() {
    tarnu::support::RequireThread(m_threadId);
    m_document.Reset();
    // A thread that already uses COM in another way refused the initialisation, so there is nothing to take back.
    if (m_comInitialized) ::CoUninitialize();
}

// Loading

HRESULT OrvaXml::Load(const CString& path, bool asynchronous, bool fromStream, bool ownFileStream) noexcept {
    m_path = path;
    m_asynchronous = asynchronous;
    m_fromStream = fromStream;
    m_ownFileStream = ownFileStream;
    return Load();
}

HRESULT OrvaXml::Load() noexcept {
    if (m_path.IsEmpty()) return S_OK;
    if (!m_document) return E_FAIL;
    try {
        return m_fromStream ? LoadFromStream() : LoadByPath();
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    } catch (...) {
        return E_FAIL;
    }
}

HRESULT OrvaXml::LoadFromStream() {
    ComPtr<IStream> stream;
    HRESULT result = OpenStream(stream);
    if (FAILED(result)) return result;
    ComPtr<IPersistStreamInit> persistence;
    result = Ask(m_document.Get(), IID_IPersistStreamInit, persistence);
    if (FAILED(result)) return result;
    result = persistence->Load(stream.Get());
    if (FAILED(result)) return result;
    result = WaitUntilComplete();
    return FAILED(result) ? result : CheckParse();
}

HRESULT OrvaXml::OpenStream(ComPtr<IStream>& stream) const {
    if (m_ownFileStream) {
        const ComPtr<OrvaFileStream> file = Adopt(new (std::nothrow) OrvaFileStream);
        if (!file) return E_OUTOFMEMORY;
        stream = file;
        return file->Open(m_path, /*readMode=*/true) ? S_OK : E_FAIL;
    }

    // One expects every web address to be recognised; the five characters are compared with case, so "HTTP:" and
    // "https:" are made full paths of files. Hosts rely on writing the scheme in lower case.
    constexpr wchar_t scheme[] = L"http:";
    const wchar_t* source = m_path;
    wchar_t fullPath[MAX_PATH];
    if (std::wcsncmp(source, scheme, std::size(scheme) - 1) != 0) {
        const DWORD length = ::GetFullPathNameW(m_path, MAX_PATH, fullPath, /*lpFilePart=*/nullptr);
        if (length == 0) return HresultFromLastError();
        if (length >= MAX_PATH) return HresultFromError(ERROR_FILENAME_EXCED_RANGE);
        source = fullPath;
    }
    const HRESULT result = ::URLOpenBlockingStreamW(/*pCaller=*/nullptr, source, stream.ReleaseAndGetAddressOf(),
                                                    /*dwReserved=*/0, /*lpfnCB=*/nullptr);
    if (FAILED(result)) return result;
    return stream ? S_OK : E_FAIL;
}

HRESULT OrvaXml::LoadByPath() {
    HRESULT result = m_document->put_async(m_asynchronous ? VARIANT_TRUE : VARIANT_FALSE);
    if (FAILED(result)) return result;
    Variant source;
    if (!SetText(source, m_path)) return E_OUTOFMEMORY;
    VARIANT_BOOL loaded = VARIANT_FALSE;
    result = m_document->load(source.Get(), &loaded);
    // One expects the failure's code and a box; the result is 0 without one. Hosts rely on it when they try paths that
    // may be missing, and look at the document afterwards.
    if (FAILED(result) || loaded == VARIANT_FALSE) return S_OK;
    if (m_asynchronous) {
        result = WaitUntilComplete();
        if (FAILED(result)) return result;
    }
    return CheckParse();
}

HRESULT OrvaXml::WaitUntilComplete() const {
    MSG message;
    for (;;) {
        long state = 0;
        const HRESULT result = m_document->get_readyState(&state);
        if (FAILED(result)) return result;
        if (state == readyStateComplete) break;
        // The messages that are already there come first: the wait below reports them again and again.
        if (!::PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) {
            ::MsgWaitForMultipleObjectsEx(0, nullptr, completionPoll, QS_ALLINPUT, MWMO_INPUTAVAILABLE);
        } else if (!Dispatch(message)) {
            m_document->abort();
            return E_ABORT;
        }
    }
    while (::PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) {
        if (!Dispatch(message)) break;
    }
    return S_OK;
}

HRESULT OrvaXml::CheckParse() const {
    ComPtr<IXMLDOMParseError> error;
    if (FAILED(m_document->get_parseError(error.GetAddressOf())) || !error) return E_FAIL;
    long code = 0;
    const HRESULT result = error->get_errorCode(&code); // S_FALSE for the code 0
    if (FAILED(result)) return result;
    if (code != 0) ReportParseError(m_document.Get(), error.Get());
    return static_cast<HRESULT>(code);
}

// Saving

HRESULT OrvaXml::Save(const CString& path) const noexcept {
    if (path.IsEmpty()) return S_OK;
    if (!m_document) return E_FAIL;
    Variant target;
    if (!SetText(target, path)) return E_OUTOFMEMORY;
    return m_document->save(target.Get());
}

HRESULT OrvaXml::SaveToBuffer(IXMLDOMDocument* document, void** buffer, UINT* size) noexcept {
    if (document == nullptr || buffer == nullptr || size == nullptr) return E_POINTER;
    *buffer = nullptr;
    *size = 0;

    ComPtr<IStream> stream;
    HRESULT result = ::CreateStreamOnHGlobal(/*hGlobal=*/nullptr, /*fDeleteOnRelease=*/TRUE, stream.GetAddressOf());
    if (FAILED(result)) return result;
    ComPtr<IPersistStreamInit> persistence;
    result = Ask(document, IID_IPersistStreamInit, persistence);
    if (FAILED(result)) return result;
    result = persistence->Save(stream.Get(), /*fClearDirty=*/TRUE);
    if (FAILED(result)) return result;

    ULARGE_INTEGER position = {};
    result = stream->Seek({}, STREAM_SEEK_CUR, &position);
    if (FAILED(result)) return result;
    if (position.QuadPart > UINT_MAX) return E_OUTOFMEMORY;
    *size = static_cast<UINT>(position.QuadPart);

    // An empty document saves nothing, and an empty block would not tell success from failure.
    UniqueTaskMemory<void> block(::CoTaskMemAlloc(*size > 0 ? *size : 1));
    if (!block) return E_OUTOFMEMORY;
    if (*size > 0) {
        HGLOBAL memory = nullptr;
        result = ::GetHGlobalFromStream(stream.Get(), &memory);
        if (FAILED(result)) return result;
        const void* bytes = ::GlobalLock(memory);
        if (bytes == nullptr) return HresultFromLastError();
        std::memcpy(block.Get(), bytes, *size);
        ::GlobalUnlock(memory);
    }
    *buffer = block.Release();
    return S_OK;
}

// Walking

bool OrvaXml::Walk(WalkCallback callback, void* userData) const {
    ComPtr<IXMLDOMNode> node;
    if (callback == nullptr || FAILED(Ask(m_document.Get(), IID_IXMLDOMNode, node))) return true;
    try {
        // The nodes above the current one, from the document down: a list of its own, because the nesting of a document
        // has no limit and the thread's stack has one.
        std::vector<ComPtr<IXMLDOMNode>> ancestors;
        NodeNames names;
        for (;;) {
            if (!VisitWithAttributes(node.Get(), names, callback, userData)) return false;
            ComPtr<IXMLDOMNode> next = FirstChild(node.Get());
            if (next) {
                ancestors.push_back(std::move(node));
            } else {
                while (!ancestors.empty() && !(next = NextSibling(node.Get()))) {
                    node = std::move(ancestors.back());
                    ancestors.pop_back();
                }
                if (!next) return true;
            }
            node = std::move(next);
        }
    } catch (const std::bad_alloc&) {
        return false;
    }
}

// Elements

OrvaXml::ElementPointer OrvaXml::CreateLandXMLRoot(IXMLDOMDocument* document) {
    const NodePointer appended = CreateElement(document, /*parent=*/nullptr, landXmlName);
    ElementPointer root;
    if (!appended || FAILED(Ask(appended.Get(), IID_IXMLDOMElement, root))) return {};

    SYSTEMTIME now;
    ::GetLocalTime(&now);
    CString date;
    date.Format(L"%04d-%02d-%02d", now.wYear, now.wMonth, now.wDay);
    // One expects colons; the parts of the time are joined by hyphens, as the readers of these headers rely on.
    CString time;
    time.Format(L"%02d-%02d-%02d", now.wHour, now.wMinute, now.wSecond);
    const std::pair<const wchar_t*, const wchar_t*> attributes[] = {
        // One expects one spelling of the namespace; its path is lower case here and mixed in the schema location.
        // Hosts rely on both as they are published.
        {L"xmlns", L"http://www.landxml.org/schema/landxml-1.0"},
        {L"xmlns:xsi", L"http://www.w3.org/2001/XMLSchema-instance"},
        {L"xsi:schemaLocation", L"http://www.landxml.org/schema/LandXML-1.0 "
                                L"http://www.landxml.org/schema/LandXML-1.0/LandXML-1.0.xsd"},
        {L"version", L"1.0"},
        {L"date", date},
        {L"time", time},
        {L"readOnly", L"false"},
        {L"language", L"English"},
    };
    for (const auto& [name, value] : attributes) {
        if (SUCCEEDED(SetString(root.Get(), name, value))) continue;
        NodePointer removed; // a root without its namespaces would be taken for another format's
        document->removeChild(root.Get(), removed.GetAddressOf());
        return {};
    }
    return root;
}

OrvaXml::ElementPointer OrvaXml::GetLandXMLRoot(IXMLDOMDocument* document) {
    ElementPointer root;
    // Not by a query: in a query the name without a prefix stands for no namespace, and the root is in one.
    if (document == nullptr || FAILED(document->get_documentElement(root.GetAddressOf())) || !root) return {};
    return NameOf(root.Get()) == landXmlName ? root : ElementPointer();
}

OrvaXml::NodePointer OrvaXml::CreateElement(IXMLDOMDocument* document, IXMLDOMNode* parent, const CString& name) {
    if (document == nullptr) return {};
    const UniqueBstr elementName = NewBstr(name);
    ElementPointer element;
    if (!elementName || FAILED(document->createElement(elementName.Get(), element.GetAddressOf())) || !element) {
        return {};
    }
    NodePointer appended;
    IXMLDOMNode* const target = parent != nullptr ? parent : document;
    if (FAILED(target->appendChild(element.Get(), appended.GetAddressOf()))) appended.Reset();
    return appended;
}
