/// @file
/// Free functions over documents and nodes of the DOM: create, load and save files, append elements, read attributes
/// and children, find nodes.
///
/// Errors: each function either returns its result or throws one text, a CString by value, that says what was missing
/// or failed ("pDoc is NULL!"); a text from a function that it called stands behind a line of its own. Results are
/// built apart and handed over last, so the places given for them are as they were when a function throws. Only the
/// document itself may have been changed by then. Running out of memory is "Unhandled Exception!".
///
/// Threads: those of the documents and nodes that are given. Ownership: everything passed in stays the caller's; the
/// references handed out are counted, so nothing is released by hand.
///
/// @code
/// try {
///     OrvaXmlNodeArray points;
///     OrvaXmlGetChildNodes(document, L"CgPoint", &points);
/// } catch (const CString& text) {
///     OrvaTrace(L"%s\n", text.GetString());
/// }
/// @endcode
#ifndef TARNU_XML_ORVAXMLHELPERS_H
#define TARNU_XML_ORVAXMLHELPERS_H

#include "tarnu/framework/framework.h"

#include <functional>
#include <msxml2.h>
#include <vector>
#include <wrl/client.h>

/// A counted reference to a node.
using OrvaXmlNode = Microsoft::WRL::ComPtr<IXMLDOMNode>;
/// An ordered list of nodes.
using OrvaXmlNodeArray = std::vector<OrvaXmlNode>;
/// An ordered list of texts.
using OrvaXmlStringArray = std::vector<CString>;

/// Name and value of one attribute. A plain value: one thread at a time.
struct OrvaXmlAttribute {
    CString Name;  ///< as in the document
    CString Value; ///< unescaped
};
/// The attributes of one node, in the document's order.
using OrvaXmlAttributeArray = std::vector<OrvaXmlAttribute>;

// Files

/// Builds a new XML file in an empty document, or loads the file when it is there and is not to be recreated.
///
/// @param fileName      the file
/// @param document      the document to build in
/// @param instructions  pairs of processing-instruction name and value; one must be named "xml"
/// @param nodes         the root element's name, then its attributes as "name=value" (blanks around both are dropped;
///                      entry without name or value is passed over)
/// @param recreate      remove an existing file first and build it anew
/// @return true
/// @throws CString "pDoc is NULL!" before anything is touched, "Load failed!\nFile = …", "Removal of file failed!\nFile
///         = …", "InstructionsIndex >= InstructionsSize!", "CurNodeName is empty!", "CurNodeValue is empty!",
///         "CreatedAdditionalNode is NULL!", "pAppendedAdditionalNode is empty!", "bXmlInstruction is FALSE!",
///         "pAppendedNode is NULL!", "Save() failed!".
TARNU_API bool OrvaXmlCreateFile(const CString& fileName, IXMLDOMDocument* document,
                                 const OrvaXmlStringArray& instructions, const OrvaXmlStringArray& nodes,
                                 bool recreate);

/// Loads a file into a document, waiting for it.
/// @param fileName path of the file
/// @param document receives the content
/// @return true
/// @throws CString "XMLFullFilename is empty!", "pDoc is NULL!", "pDoc->load failed!", "Exception on pDoc->raw_load of
///         file:\n…"
TARNU_API bool OrvaXmlLoadFile(const CString& fileName, IXMLDOMDocument* document);

/// Saves a document to a file.
/// @param fileName path of the file
/// @param document what to save
/// @return true
/// @throws CString "XMLFullFilename is empty!", "pDoc is NULL!", or the text of the HRESULT.
TARNU_API bool OrvaXmlSaveFile(const CString& fileName, IXMLDOMDocument* document);

// Appending

/// @{
/// Appends references to the nodes that carry an attribute, one for each value of it: a node whose value one of the
/// growing nodes has already is passed over.
/// @param attributeName the attribute
/// @param nodesToAdd    the nodes to choose from
/// @param growingNodes  receives the references, behind those that it has
/// @throws CString "AttributeName is empty!", "pGrowingNodes is NULL!", "pNodesToAdd is NULL!".
TARNU_API void OrvaXmlAddGrowingNodes(const CString& attributeName, IXMLDOMNodeList* nodesToAdd,
                                      OrvaXmlNodeArray* growingNodes);
TARNU_API void OrvaXmlAddGrowingNodes(const CString& attributeName, const OrvaXmlNodeArray* nodesToAdd,
                                      OrvaXmlNodeArray* growingNodes);
/// @}
/// @{
/// Appends references to all nodes.
/// @param nodesToAdd   the nodes
/// @param growingNodes receives the references, behind those that it has
/// @throws CString "pGrowingNodes is NULL!", "pNodesToAdd is NULL!".
TARNU_API void OrvaXmlAddGrowingNodes(IXMLDOMNodeList* nodesToAdd, OrvaXmlNodeArray* growingNodes);
TARNU_API void OrvaXmlAddGrowingNodes(const OrvaXmlNodeArray* nodesToAdd, OrvaXmlNodeArray* growingNodes);
/// @}

/// Creates an element and appends it under the document's root.
/// @param document a document with a root
/// @param name     the element's name
/// @return the appended node
/// @throws CString "pDoc is NULL!", "pRootNode is NULL!", "pCreatedNode is NULL!", "pAppendedNode is NULL!".
TARNU_API OrvaXmlNode OrvaXmlAppendElement(IXMLDOMDocument* document, const CString& name);
/// The same with a text in the element.
/// @param document a document with a root
/// @param name     the element's name
/// @param text     its content
/// @return the appended node
/// @throws CString as above; "E_FAIL" when the element does not take the text.
TARNU_API OrvaXmlNode OrvaXmlAppendElement(IXMLDOMDocument* document, const CString& name, const CString& text);
/// The same with attributes.
/// @param document   a document with a root
/// @param name       the element's name
/// @param attributes given to the element in their order
/// @return the appended node
/// @throws CString "pDoc is NULL!", "pRootElement is NULL!", "pNewElement is NULL!", "pAppendedNode is NULL!"; "E_FAIL"
///         when the element does not take an attribute.
TARNU_API OrvaXmlNode OrvaXmlAppendElement(IXMLDOMDocument* document, const CString& name,
                                           const OrvaXmlAttributeArray& attributes);

/// Creates an element with a text. It is not appended: that is the caller's.
/// @param document a document with a root
/// @param name     the element's name
/// @param text     its content
/// @return the element
/// @throws CString "pDoc is NULL!", "pRootNodeList is NULL!", "pNewNode is NULL!", "pNewNode->put_text failed!\n".
TARNU_API OrvaXmlNode OrvaXmlSetNodeText(IXMLDOMDocument* document, const CString& name, const CString& text);

// Names and attributes

/// @{
/// The names of the nodes of a list.
/// @param nodeList the nodes
/// @param names    receives the names, replaced
/// @throws CString "pNodeList is NULL!", "pNames is NULL!"; "pNode is NULL!" for a node that the list does not give,
///         "pCurNode is NULL!" for one without a name or an empty reference.
TARNU_API void OrvaXmlGetNodeNames(IXMLDOMNodeList* nodeList, OrvaXmlStringArray* names);
TARNU_API void OrvaXmlGetNodeNames(const OrvaXmlNodeArray* nodeList, OrvaXmlStringArray* names);
/// @}

/// The value of one attribute of a node; empty where the node has none of that name.
/// @param node                 an element
/// @param desiredAttributeName name of the attribute
/// @return the value
/// @throws CString "DesiredAttributeName is empty!", "pNode is NULL!", "get_Attributes failed", "get_nodeValue
///         failed!".
TARNU_API CString OrvaXmlGetAttributes(IXMLDOMNode* node, const CString& desiredAttributeName);
/// @{
/// The values of one attribute of each node of a list, one for each node: empty where a node has none of that name.
/// @param nodes                the nodes
/// @param desiredAttributeName name of the attribute
/// @param values               receives the values, replaced
/// @throws CString "DesiredAttributeName is empty!", "pNodes is NULL!", "pAttributes is NULL!" (no place for the
///         values), "pNode is NULL!", "get_Attributes failed!", "get_nodeValue failed!".
TARNU_API void OrvaXmlGetAttributes(IXMLDOMNodeList* nodes, const CString& desiredAttributeName,
                                    OrvaXmlStringArray* values);
TARNU_API void OrvaXmlGetAttributes(const OrvaXmlNodeArray* nodes, const CString& desiredAttributeName,
                                    OrvaXmlStringArray* values);
/// @}
/// All attributes of a node.
/// @param node       an element
/// @param attributes receives them, replaced
/// @throws CString "pNode is NULL!", "pAttributes is NULL!" (no place for them, or a node that can have none),
///         "get_Attributes failed", "AttributesSize < 0!", "pCurAttribute is NULL!", "get_nodeValue failed!".
TARNU_API void OrvaXmlGetAttributes(IXMLDOMNode* node, OrvaXmlAttributeArray* attributes);
/// @{
/// All attributes of each node of a list, one array for each node: empty for a node that can have none.
/// @param nodes      the nodes
/// @param attributes receives them, replaced
/// @throws CString "pNodes is NULL!", "pAttributes is NULL!", "pNode is NULL!", "get_Attributes failed!" and what
///         stands above.
TARNU_API void OrvaXmlGetAttributes(IXMLDOMNodeList* nodes, std::vector<OrvaXmlAttributeArray>* attributes);
TARNU_API void OrvaXmlGetAttributes(const OrvaXmlNodeArray* nodes, std::vector<OrvaXmlAttributeArray>* attributes);
/// @}

/// A named attribute of the document's root.
/// @param document a document with a root
/// @param name     name of the attribute
/// @return the attribute's node
/// @throws CString "pDoc is NULL!", "pRootNode is NULL!", "pDesiredAttribute is NULL!".
TARNU_API OrvaXmlNode OrvaXmlGetAttributeNode(IXMLDOMDocument* document, const CString& name);

// Children

/// The child nodes of that name under the document's root, in order; none is a result.
/// @param document          a document with a root
/// @param name              name of the children
/// @param desiredChildNodes receives references, replaced
/// @throws CString "pDoc is NULL!", "pRootNodeList is NULL!" (a document without a root), "pTargetRootNode is NULL!",
///         "pTargetRootNode->get_childNodes failed:\n…", "pDesiredChildNodes is NULL!".
TARNU_API void OrvaXmlGetChildNodes(IXMLDOMDocument* document, const CString& name,
                                    OrvaXmlNodeArray* desiredChildNodes);
/// The same under a given node.
/// @param targetRootNode    whose children are meant
/// @param name              name of the children
/// @param desiredChildNodes receives references, replaced
TARNU_API void OrvaXmlGetChildNodes(IXMLDOMNode* targetRootNode, const CString& name,
                                    OrvaXmlNodeArray* desiredChildNodes);
/// The values of those child nodes: their own where they have one, else the text in them.
/// @param document a document with a root
/// @param name     name of the children
/// @param values   receives the values, replaced
/// @throws CString what stands above, "pNodes is NULL!" (no place for them), "DesiredChildNodesLen = 0!" (no such
///         child), "Exception on CurNode->get_nodeValue():\n…".
TARNU_API void OrvaXmlGetChildNodes(IXMLDOMDocument* document, const CString& name, OrvaXmlStringArray* values);
/// The same under a given node.
/// @param targetRootNode whose children are meant
/// @param name           name of the children
/// @param values         receives the values, replaced
TARNU_API void OrvaXmlGetChildNodes(IXMLDOMNode* targetRootNode, const CString& name, OrvaXmlStringArray* values);
/// All attributes of those child nodes, one array for each.
/// @param document   a document with a root
/// @param name       name of the children
/// @param attributes receives them, replaced
/// @throws CString what stands above, and what OrvaXmlGetAttributes does behind "Exception in
///         OrvaXmlGetAttributes():\n".
TARNU_API void OrvaXmlGetChildNodes(IXMLDOMDocument* document, const CString& name,
                                    std::vector<OrvaXmlAttributeArray>* attributes);
/// The same under a given node.
/// @param targetRootNode whose children are meant
/// @param name           name of the children
/// @param attributes     receives them, replaced
TARNU_API void OrvaXmlGetChildNodes(IXMLDOMNode* targetRootNode, const CString& name,
                                    std::vector<OrvaXmlAttributeArray>* attributes);

/// The document's own child nodes: declaration, comments, root.
/// @param document the document
/// @return the nodes
/// @throws CString "pDoc is NULL!", "get_childNodes failed!".
TARNU_API OrvaXmlNodeArray OrvaXmlGetDocumentChildren(IXMLDOMDocument* document);

// Finding

/// @{
/// The first node of a list with that name.
/// @param nodes the nodes to look at
/// @param name  the node's name
/// @return the node
/// @throws CString "pNodes is NULL!", "pFound is NULL!" when there is none.
TARNU_API OrvaXmlNode OrvaXmlFindNode(IXMLDOMNodeList* nodes, const CString& name);
TARNU_API OrvaXmlNode OrvaXmlFindNode(const OrvaXmlNodeArray* nodes, const CString& name);
/// @}
/// @{
/// The first node of a list whose attribute has that value; an attribute that is missing has none.
/// @param nodes         the nodes to look at
/// @param attributeName the attribute's name
/// @param value         compared as text, by case
/// @return the node
/// @throws CString "pNodes is NULL!", "get_Attributes failed!", "pFound is NULL!" when there is none.
TARNU_API OrvaXmlNode OrvaXmlFindNode(IXMLDOMNodeList* nodes, const CString& attributeName, const CString& value);
TARNU_API OrvaXmlNode OrvaXmlFindNode(const OrvaXmlNodeArray* nodes, const CString& attributeName,
                                      const CString& value);
/// @}
/// @{
/// The first node of a list for which the predicate holds. A text that the predicate throws stands behind
/// "Exception in predicate():\n", a COM error behind "COM Error:".
/// @param nodes     the nodes to look at
/// @param predicate asked about each node in order, until it says yes
/// @return the node
/// @throws CString "pNodes is NULL!", "pFound is NULL!" when there is none.
TARNU_API OrvaXmlNode OrvaXmlFindNode(IXMLDOMNodeList* nodes, const std::function<bool(IXMLDOMNode*)>& predicate);
TARNU_API OrvaXmlNode OrvaXmlFindNode(const OrvaXmlNodeArray* nodes,
                                      const std::function<bool(IXMLDOMNode*)>& predicate);
/// @}

#endif // TARNU_XML_ORVAXMLHELPERS_H
