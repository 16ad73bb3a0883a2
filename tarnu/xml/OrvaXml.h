/// @file
/// OrvaXml: one XML document of the system's DOM, with loading, walking, saving, LandXML roots and typed attributes.
#ifndef TARNU_XML_ORVAXML_H
#define TARNU_XML_ORVAXML_H

#include "tarnu/framework/framework.h"

#include <cstdint>
#include <msxml2.h>
#include <type_traits>
#include <wrl/client.h>

/// Owns one DOM document and what a host does with it.
///
/// Threads: an object lives and dies on the thread that created it, for which it initialises COM; the static members
/// belong to the thread of the document or element that they are given.
/// Ownership: the object holds one reference to its document; every reference that a member hands out is the caller's,
/// counted by ComPtr. Documents, nodes and elements that are passed in stay the caller's.
///
/// Results are HRESULTs, 0 for success, and no failure is thrown; a member that returns a text throws std::bad_alloc
/// when memory runs out.
///
/// @code
/// OrvaXml xml(L"site.xml", /*asynchronous=*/false, /*fromStream=*/false, /*ownFileStream=*/false);
/// xml.Load();
/// const auto root = OrvaXml::GetLandXMLRoot(xml.GetDocument().Get());
/// if (root) date = OrvaXml::GetString(root.Get(), L"date");
/// @endcode
class TARNU_API OrvaXml {
public:
    using DocumentPointer = Microsoft::WRL::ComPtr<IXMLDOMDocument>; ///< a counted reference to a document
    using ElementPointer = Microsoft::WRL::ComPtr<IXMLDOMElement>;   ///< a counted reference to an element
    using NodePointer = Microsoft::WRL::ComPtr<IXMLDOMNode>;         ///< a counted reference to a node

    /// Called for each node of a walk.
    /// @param name      the node's name ("#document", "#text", an element's or attribute's own)
    /// @param node      borrowed for the call
    /// @param userData  what was given to Walk
    /// @return false to stop the walk
    using WalkCallback = bool (*)(const CString& name, IXMLDOMNode* node, void* userData);

    /// Initialises COM for the thread and creates an empty document. Where that fails, GetDocument is empty.
    /// @param path           file path or URL that Load reads
    /// @param asynchronous   load by path in the background, dispatching the thread's messages until it is done
    /// @param fromStream     load through a stream instead of by path
    /// @param ownFileStream  with @p fromStream: the stream is an OrvaFileStream instead of the system's URL stream
    OrvaXml(const CString& path, bool asynchronous, bool fromStream, bool ownFileStream);
    /// Releases the document, then ends the thread's use of COM.
    virtual ~OrvaXml();
    OrvaXml(const OrvaXml&) = delete;
    OrvaXml& operator=(const OrvaXml&) = delete;

    // Document

    /// @return the path that Load reads
    CString GetPath() const { return m_path; }
    /// The document.
    /// @return a new reference; empty when the document could not be created
    DocumentPointer GetDocument() const { return m_document; }

    /// Replaces the document's content by what stands at the path.
    ///
    /// A path that begins with "http:" (lower case) is a URL for the system's stream, any other is made a full path of
    /// at most 259 characters first. A parse error is shown in a message box: its reason as caption; line, position and
    /// URL as text when a line is known. Loading in the background ends early with E_ABORT when WM_QUIT arrives, which
    /// is posted again.
    /// @return 0 for success, for an empty path (nothing is loaded) and for a load by path that the document itself
    ///         reports as failed; else the result of what failed: opening the stream (E_FAIL for the library's own),
    ///         loading from it, or the parse error's code. E_FAIL when there is no document or no parse-error object.
    HRESULT Load() noexcept;
    /// Stores the arguments, then loads.
    /// @param path,asynchronous,fromStream,ownFileStream as for the constructor
    /// @return as the other Load
    HRESULT Load(const CString& path, bool asynchronous, bool fromStream, bool ownFileStream) noexcept;

    /// Saves the document to a file.
    /// @param path file path or URL
    /// @return the document's own result; 0 without any effect for an empty path, E_FAIL without a document
    HRESULT Save(const CString& path) const noexcept;

    /// Visits every node depth first, beginning with the document itself: the node, its attributes, its children.
    /// @param callback called for each node; null ends the walk at once
    /// @param userData handed to the callback
    /// @return true when the walk ran to its end, also without a callback or a document; false when a callback stopped
    ///         it or memory ran out
    bool Walk(WalkCallback callback, void* userData) const;
    /// The same with anything that can be called so, a lambda that captures for instance.
    /// @param callback called for each node; borrowed
    /// @param userData handed to the callback
    /// @return true when the walk ran to its end, also without a document; false when the callback stopped it or memory
    ///         ran out
    template <class Callback>
    requires std::is_invocable_r_v<bool, Callback&, const CString&, IXMLDOMNode*, void*>
    bool Walk(Callback&& callback, void* userData) const {
        struct Call {
            std::remove_reference_t<Callback>& callback;
            void* userData;
        } call = {callback, userData};
        const WalkCallback forward = [](const CString& name, IXMLDOMNode* node, void* data) -> bool {
            const Call& target = *static_cast<const Call*>(data);
            return target.callback(name, node, target.userData);
        };
        return Walk(forward, &call);
    }

    // Documents

    /// Serialises a document as the DOM's own persistence does.
    /// @param document what to save
    /// @param buffer  receives a block of CoTaskMemAlloc, which the caller frees with CoTaskMemFree; never null after a
    ///                success, null after a failure
    /// @param size    receives the number of bytes
    /// @return 0, else the first failure; E_OUTOFMEMORY when there is no room for the block
    static HRESULT SaveToBuffer(IXMLDOMDocument* document, void** buffer, UINT* size) noexcept;

    /// Appends the root element "LandXML" with its eight attributes (namespaces, version, date and time of now, flags).
    /// @param document an empty document
    /// @return the element; empty when it could not be created and appended, or an attribute could not be set: then it
    ///         is taken out of the document again
    static ElementPointer CreateLandXMLRoot(IXMLDOMDocument* document);
    /// The root element of a LandXML document.
    /// @param document null has none
    /// @return the element; empty when there is none or its name is not "LandXML"
    static ElementPointer GetLandXMLRoot(IXMLDOMDocument* document);
    /// Creates an element and appends it to @p parent, or to the document itself when @p parent is null.
    /// @param document what creates the element
    /// @param parent   null for the document
    /// @param name     the element's name
    /// @return the appended node; empty on failure, also for a null document
    static NodePointer CreateElement(IXMLDOMDocument* document, IXMLDOMNode* parent, const CString& name);

    // Attributes: getters
    //
    // The value of the attribute, converted as the user's locale has it; the default ("", false, 0, 0.0) when the
    // element is null, the attribute missing or the value of another kind.

    /// @{
    /// The value of an attribute.
    /// @param element null has no attributes
    /// @param name    the attribute's name
    /// @return the value, or the default
    static CString GetString(IXMLDOMElement* element, const CString& name);
    static bool GetBool(IXMLDOMElement* element, const CString& name) noexcept;
    static std::int16_t GetInt16(IXMLDOMElement* element, const CString& name) noexcept;
    static std::int32_t GetInt32(IXMLDOMElement* element, const CString& name) noexcept;
    static std::int64_t GetInt64(IXMLDOMElement* element, const CString& name) noexcept;
    static std::uint32_t GetUInt32(IXMLDOMElement* element, const CString& name) noexcept;
    /// @}
    /// Reads with "." as decimal and "," as thousands separator: for the time of the conversion these are the user's
    /// settings, which other processes see too. They are restored before the return. TryGetDouble leaves them alone.
    /// @param element,name the attribute
    /// @return the number; 0 where there is none
    static double GetDouble(IXMLDOMElement* element, const CString& name) noexcept;

    // Attributes: setters
    //
    // Set the attribute, creating it where it is absent. The result is the DOM's own; E_POINTER for a null element.

    /// Stores a text.
    /// @param element,name the attribute
    /// @param value        what to store
    /// @return the DOM's result; E_POINTER for a null element
    static HRESULT SetString(IXMLDOMElement* element, const CString& name, const CString& value) noexcept;
    /// Stores what the DOM makes of a boolean: "-1" or "0".
    /// @param element,name the attribute
    /// @param value        what to store
    /// @return the DOM's result; E_POINTER for a null element
    static HRESULT SetBool(IXMLDOMElement* element, const CString& name, bool value) noexcept;
    /// @{
    /// Stores a number in decimal digits.
    /// @param element,name the attribute
    /// @param value        what to store
    /// @return the DOM's result; E_POINTER for a null element
    static HRESULT SetInt16(IXMLDOMElement* element, const CString& name, std::int16_t value) noexcept;
    static HRESULT SetInt32(IXMLDOMElement* element, const CString& name, std::int32_t value) noexcept;
    static HRESULT SetInt64(IXMLDOMElement* element, const CString& name, std::int64_t value) noexcept;
    static HRESULT SetUInt32(IXMLDOMElement* element, const CString& name, std::uint32_t value) noexcept;
    /// @}
    /// Stores the number with the user's decimal separator and some 15 digits. SetXmlDouble stores the XML form.
    /// @param element,name the attribute
    /// @param value        what to store
    /// @return the DOM's result; E_POINTER for a null element
    static HRESULT SetDouble(IXMLDOMElement* element, const CString& name, double value) noexcept;

    // Attributes: getters that report presence
    //
    // True when the attribute is there and converts to the type; @p value is untouched otherwise.

    /// @{
    /// Reads an attribute.
    /// @param element null has no attributes
    /// @param name    the attribute's name
    /// @param value   receives the value; untouched without one
    /// @return whether it is there and converts
    static bool TryGetString(IXMLDOMElement* element, const CString& name, CString& value);
    static bool TryGetBool(IXMLDOMElement* element, const CString& name, bool& value) noexcept;
    static bool TryGetInt16(IXMLDOMElement* element, const CString& name, std::int16_t& value) noexcept;
    static bool TryGetInt32(IXMLDOMElement* element, const CString& name, std::int32_t& value) noexcept;
    static bool TryGetInt64(IXMLDOMElement* element, const CString& name, std::int64_t& value) noexcept;
    static bool TryGetUInt32(IXMLDOMElement* element, const CString& name, std::uint32_t& value) noexcept;
    /// @}
    /// Reads the XML form of a double ("1.5", "1e3", "INF"), whatever the user's locale is.
    /// @param element,name the attribute
    /// @param value        receives the number; untouched without one
    /// @return whether the attribute is there and holds a double
    static bool TryGetDouble(IXMLDOMElement* element, const CString& name, double& value) noexcept;
    /// Stores the shortest XML form that reads back as the same double, whatever the user's locale is.
    /// @param element,name the attribute
    /// @param value        what to store
    /// @return the DOM's result; E_POINTER for a null element
    static HRESULT SetXmlDouble(IXMLDOMElement* element, const CString& name, double value) noexcept;

private:
    HRESULT LoadFromStream();
    HRESULT LoadByPath();
    HRESULT OpenStream(Microsoft::WRL::ComPtr<IStream>& stream) const;
    HRESULT WaitUntilComplete() const;
    HRESULT CheckParse() const;

    DocumentPointer m_document;
    bool m_asynchronous;
    bool m_fromStream;
    bool m_ownFileStream;
    CString m_path;
    bool m_comInitialized;
    const DWORD m_threadId = ::GetCurrentThreadId();
};

/// Whether the system is Windows 5.1 or later, asked of it once per process. Any thread.
/// @return true from there on; false also when the system does not tell
TARNU_API bool OrvaIsWindowsXPOrLater() noexcept;

#endif // TARNU_XML_ORVAXML_H
