// The DOM helpers: results, every status text, the chain of texts, and the references that they hand out.

#include "ForwardingDom.h"
#include "support/TempFolder.h"
#include "tarnu/text/OrvaStrings.h"
#include "tarnu/xml/OrvaXmlHelpers.h"

#include <comdef.h>
#include <functional>
#include <gtest/gtest.h>
#include <optional>
#include <string>
#include <vector>

namespace {

using namespace tarnu::test;
using tarnu::support::Adopt;

/// The text that a call throws; "nothing" when it returns.
template <class Work>
std::wstring Thrown(Work&& work) {
    try {
        work();
    } catch (const CString& text) {
        return text.GetString();
    }
    return L"nothing";
}

std::wstring Code(HRESULT result) {
    wchar_t text[32];
    ::swprintf(text, 32, L"HRESULT = 0x%08X ", static_cast<unsigned>(result));
    return text;
}

/// Says that it records error information for every interface.
class ErrorSupport : public ISupportErrorInfo {
public:
    STDMETHODIMP QueryInterface(REFIID, void**) override { return E_NOINTERFACE; }
    STDMETHODIMP_(ULONG) AddRef() override { return ++references; }
    STDMETHODIMP_(ULONG) Release() override { return --references; }
    STDMETHODIMP InterfaceSupportsErrorInfo(REFIID) override { return answer; }

    ULONG references = 0;
    HRESULT answer = S_OK;
};

ComPtr<IErrorInfo> ErrorInformation(const wchar_t* description) {
    ComPtr<ICreateErrorInfo> create;
    EXPECT_EQ(S_OK, ::CreateErrorInfo(create.GetAddressOf()));
    const BSTR text = ::SysAllocString(description);
    create->SetDescription(text);
    ::SysFreeString(text);
    ComPtr<IErrorInfo> information;
    EXPECT_EQ(S_OK, tarnu::support::Ask(create.Get(), IID_IErrorInfo, information));
    return information;
}

/// An element that refuses what the test names.
class RefusingElement : public ForwardingElement {
public:
    using ForwardingElement::ForwardingElement;
    STDMETHODIMP appendChild(IXMLDOMNode*, IXMLDOMNode**) override { return E_ACCESSDENIED; }
    STDMETHODIMP get_childNodes(IXMLDOMNodeList**) override { return E_ACCESSDENIED; }
    STDMETHODIMP get_attributes(IXMLDOMNamedNodeMap** map) override {
        *map = nullptr;
        return E_ACCESSDENIED;
    }
    STDMETHODIMP get_nodeName(BSTR*) override { throw _com_error(E_ACCESSDENIED); }
    STDMETHODIMP put_text(BSTR) override { return E_ACCESSDENIED; }
    STDMETHODIMP setAttribute(BSTR, VARIANT) override { return E_ACCESSDENIED; }
};

/// A node whose text and attributes cannot be read, and whose name and value are what the test says.
class HollowNode : public ForwardingPlainNode {
public:
    /// @param noName  how it answers without a name; it has one when this is empty
    HollowNode(ComPtr<IXMLDOMNode> inner, std::optional<HRESULT> noName, HRESULT valueResult, VARTYPE type)
        : ForwardingPlainNode(std::move(inner)), m_noName(noName), m_valueResult(valueResult), m_type(type) {}
    STDMETHODIMP get_nodeName(BSTR* name) override {
        if (!m_noName) return m_inner->get_nodeName(name);
        *name = nullptr;
        return *m_noName;
    }
    STDMETHODIMP get_nodeValue(VARIANT* value) override {
        *value = VARIANT();
        value->vt = m_type;
        return m_valueResult;
    }
    STDMETHODIMP get_text(BSTR*) override { return E_ACCESSDENIED; }
    STDMETHODIMP get_attributes(IXMLDOMNamedNodeMap**) override { return E_ACCESSDENIED; }

private:
    std::optional<HRESULT> m_noName;
    HRESULT m_valueResult;
    VARTYPE m_type;
};

ComPtr<IXMLDOMNode> Hollow(ComPtr<IXMLDOMNode> inner, std::optional<HRESULT> noName, HRESULT valueResult,
                           VARTYPE type = VT_EMPTY) {
    return Adopt<IXMLDOMNode>(new HollowNode(std::move(inner), noName, valueResult, type));
}

/// An element with the attributes that a test makes up.
class MappedElement : public ForwardingElement {
public:
    MappedElement(ComPtr<IXMLDOMElement> inner, ComPtr<IXMLDOMNamedNodeMap> map)
        : ForwardingElement(std::move(inner)), m_map(std::move(map)) {}
    STDMETHODIMP get_attributes(IXMLDOMNamedNodeMap** map) override { return m_map.CopyTo(map); }

private:
    ComPtr<IXMLDOMNamedNodeMap> m_map;
};

class XmlHelpers : public ::testing::Test {
protected:
    void TearDown() override { EXPECT_EQ(0, livingStandIns); }

    ComScope m_com;
};

ComPtr<ScriptedDocument> Scripted(const wchar_t* content = nullptr) {
    return Adopt(new ScriptedDocument(content));
}

/// Name and attributes of a node as one text: "name a=1 b=2".
std::wstring Describe(IXMLDOMNode* node) {
    OrvaXmlStringArray names;
    const OrvaXmlNodeArray nodes = {node};
    OrvaXmlGetNodeNames(&nodes, &names);
    std::wstring text = names.at(0).GetString();
    OrvaXmlAttributeArray attributes;
    OrvaXmlGetAttributes(node, &attributes);
    for (const OrvaXmlAttribute& attribute : attributes)
        text += L' ' + std::wstring(attribute.Name) + L'=' + attribute.Value.GetString();
    return text;
}

std::vector<std::wstring> Texts(const OrvaXmlStringArray& strings) {
    return {strings.begin(), strings.end()};
}

const OrvaXmlStringArray declaration = {L"xml", L"version='1.0'"};

} // namespace

// Files

TEST_F(XmlHelpers, CreateFileBuildsLoadsAndRecreates) {
    const TempFolder folder;
    const CString path = (folder / L"\x0416 new.xml").c_str();
    const auto document = RealDocument();
    const OrvaXmlStringArray instructions = {L"xml", L"version='1.0'", L"orva", L"x y"};
    const OrvaXmlStringArray nodes = {L"root", L" a = 1=2 ", L"no equals", L"=nameless", L"empty= ", L"\xE4=\x0416"};
    EXPECT_TRUE(OrvaXmlCreateFile(path, document.Get(), instructions, nodes, true)) << "nothing to remove";
    EXPECT_EQ(L"root a=1=2 \xE4=\x0416", Describe(RootOf(document.Get()).Get()));

    const auto loaded = RealDocument();
    EXPECT_TRUE(OrvaXmlCreateFile(path, loaded.Get(), {}, {}, false)) << "the file is there: it is loaded";
    OrvaXmlStringArray names;
    const OrvaXmlNodeArray children = OrvaXmlGetDocumentChildren(loaded.Get());
    OrvaXmlGetNodeNames(&children, &names);
    EXPECT_EQ((std::vector<std::wstring>{L"xml", L"orva", L"root"}), Texts(names));
    EXPECT_EQ(L"root a=1=2 \xE4=\x0416", Describe(RootOf(loaded.Get()).Get()));

    const auto anew = RealDocument();
    EXPECT_TRUE(OrvaXmlCreateFile(path, anew.Get(), declaration, {L"second"}, true));
    const auto again = RealDocument();
    EXPECT_TRUE(OrvaXmlLoadFile(path, again.Get()));
    EXPECT_EQ(L"second", Describe(RootOf(again.Get()).Get()));
}

TEST_F(XmlHelpers, CreateFileTexts) {
    const TempFolder folder;
    const std::wstring existing = folder.MakeFile(L"existing.xml", "<a><b></a>");
    const std::wstring fresh = folder / L"fresh.xml";
    const struct {
        const wchar_t* text;
        OrvaXmlStringArray instructions;
        OrvaXmlStringArray nodes;
        HRESULT ScriptedDocument::*refuses;
    } cases[] = {
        {L"InstructionsIndex >= InstructionsSize!", {L"xml", L"version='1.0'", L"odd"}, {L"r"}, nullptr},
        {L"InstructionsIndex >= InstructionsSize!", {L""}, {L"r"}, nullptr},
        {L"CurNodeName is empty!", {L"", L""}, {L"r"}, nullptr},
        {L"CurNodeValue is empty!", {L"xml", L""}, {L"r"}, nullptr},
        {L"CreatedAdditionalNode is NULL!", declaration, {L"r"}, &ScriptedDocument::instructionResult},
        {L"pAppendedAdditionalNode is empty!", declaration, {L"r"}, &ScriptedDocument::appendResult},
        {L"bXmlInstruction is FALSE!", {}, {L"r"}, nullptr},
        {L"bXmlInstruction is FALSE!", {L"XML", L"x"}, {L"r"}, nullptr},
        {L"pAppendedNode is NULL!", declaration, {}, nullptr},
        {L"pAppendedNode is NULL!", declaration, {L"r"}, &ScriptedDocument::createResult},
        {L"Save() failed!", declaration, {L"r", L"a=1"}, &ScriptedDocument::saveResult},
    };
    for (const auto& test : cases) {
        SCOPED_TRACE(test.text);
        // Nothing is made, with a failure or without one.
        for (const HRESULT refusal :
             {E_ACCESSDENIED, test.refuses == &ScriptedDocument::saveResult ? E_FAIL : S_FALSE}) {
            const auto document = Scripted();
            if (test.refuses != nullptr) document.Get()->*test.refuses = refusal;
            EXPECT_EQ(test.text, Thrown([&] {
                          OrvaXmlCreateFile(fresh.c_str(), document.Get(), test.instructions, test.nodes, true);
                      }));
            EXPECT_FALSE(Exists(fresh));
        }
    }
    const auto document = Scripted();
    const auto create = [&](const std::wstring& path, IXMLDOMDocument* target, bool recreate) {
        return Thrown([&] { OrvaXmlCreateFile(path.c_str(), target, declaration, {L"r"}, recreate); });
    };
    EXPECT_EQ(L"pDoc is NULL!", create(existing, nullptr, true));
    EXPECT_TRUE(Exists(existing)) << "nothing is removed for a document that is not there";
    EXPECT_EQ(L"Load failed!\nFile = " + existing, create(existing, document.Get(), false));
    EXPECT_EQ(L"Removal of file failed!\nFile = " + folder.Path(), create(folder.Path(), document.Get(), true));
    EXPECT_EQ(L"Save() failed!", create(L"", document.Get(), true));
    EXPECT_EQ("<a><b></a>", ReadFile(existing));
}

TEST_F(XmlHelpers, LoadAndSaveTexts) {
    const TempFolder folder;
    const CString path = folder.MakeFile(L"good.xml", "<r a='1'/>").c_str();
    const CString missing = (folder / L"missing.xml").c_str();
    const auto document = Scripted();
    EXPECT_TRUE(OrvaXmlLoadFile(path, document.Get()));
    EXPECT_TRUE(OrvaXmlSaveFile(path, document.Get()));
    EXPECT_EQ(L"pDoc->load failed!", Thrown([&] { OrvaXmlLoadFile(missing, document.Get()); }));
    EXPECT_EQ(L"XMLFullFilename is empty!", Thrown([&] { OrvaXmlLoadFile(L"", nullptr); }));
    EXPECT_EQ(L"XMLFullFilename is empty!", Thrown([&] { OrvaXmlSaveFile(L"", nullptr); }));
    EXPECT_EQ(L"pDoc is NULL!", Thrown([&] { OrvaXmlLoadFile(path, nullptr); }));
    EXPECT_EQ(L"pDoc is NULL!", Thrown([&] { OrvaXmlSaveFile(path, nullptr); }));
    document->asyncResult = E_UNEXPECTED;
    EXPECT_EQ(L"E_FAIL", Thrown([&] { OrvaXmlLoadFile(path, document.Get()); }));
    document->asyncResult = S_OK;

    const std::wstring system = OrvaGetSystemErrorText(static_cast<DWORD>(E_ACCESSDENIED)).GetString();
    EXPECT_FALSE(system.empty());
    document->saveResult = E_ACCESSDENIED;
    document->loadResult = E_ACCESSDENIED;
    const std::wstring plain = Code(E_ACCESSDENIED) + system + L".\n";
    const std::wstring head = L"Exception on pDoc->raw_load of file:\n" + std::wstring(path) + L"\n";
    EXPECT_EQ(plain, Thrown([&] { OrvaXmlSaveFile(path, document.Get()); }));
    EXPECT_EQ(head + plain, Thrown([&] { OrvaXmlLoadFile(path, document.Get()); }));
    document->loadResult = static_cast<HRESULT>(0xA0123456);
    EXPECT_EQ(head + Code(document->loadResult) + L".\n", Thrown([&] { OrvaXmlLoadFile(path, document.Get()); }))
        << "a code that the system does not know";

    // The description counts when the interface itself vouches for it.
    document->loadResult = E_ACCESSDENIED;
    document->onLoad = [] { ::SetErrorInfo(0, ErrorInformation(L"The gate is shut").Get()); };
    EXPECT_EQ(head + plain, Thrown([&] { OrvaXmlLoadFile(path, document.Get()); }));
    ErrorSupport support;
    document->errorSupport = &support;
    EXPECT_EQ(head + Code(E_ACCESSDENIED) + L" IErrorInfoThe gate is shut.\n",
              Thrown([&] { OrvaXmlLoadFile(path, document.Get()); }));
    EXPECT_EQ(plain, Thrown([&] { OrvaXmlSaveFile(path, document.Get()); })) << "nothing recorded this time";
    support.answer = S_FALSE;
    EXPECT_EQ(head + plain, Thrown([&] { OrvaXmlLoadFile(path, document.Get()); })) << "recorded by somebody else";
    ::SetErrorInfo(0, nullptr);
    EXPECT_EQ(0u, support.references);
}

// Growing and appending

TEST_F(XmlHelpers, GrowingNodes) {
    const auto document = RealDocument(L"<r><p n='1'/><p n='2'/><q/><p n='1' m='x'/>text</r>");
    const auto root = RootOf(document.Get());
    ComPtr<IXMLDOMNodeList> list;
    ASSERT_EQ(S_OK, root->get_childNodes(list.GetAddressOf()));

    OrvaXmlNodeArray growing;
    OrvaXmlAddGrowingNodes(L"n", list.Get(), &growing);
    ASSERT_EQ(2u, growing.size()) << "one for each value";
    EXPECT_EQ(L"p n=1", Describe(growing[0].Get()));
    EXPECT_EQ(L"p n=2", Describe(growing[1].Get()));
    OrvaXmlAddGrowingNodes(L"n", list.Get(), &growing);
    EXPECT_EQ(2u, growing.size()) << "the values are there already";
    OrvaXmlAddGrowingNodes(list.Get(), &growing);
    EXPECT_EQ(7u, growing.size());
    OrvaXmlAddGrowingNodes(L"m", &growing, &growing);
    EXPECT_EQ(7u, growing.size());
    OrvaXmlAddGrowingNodes(&growing, &growing);
    EXPECT_EQ(14u, growing.size()) << "a list may grow by itself";

    IXMLDOMNodeList* const none = nullptr;
    const OrvaXmlNodeArray* const noArray = nullptr;
    EXPECT_EQ(L"AttributeName is empty!", Thrown([&] { OrvaXmlAddGrowingNodes(L"", none, nullptr); }));
    EXPECT_EQ(L"pGrowingNodes is NULL!", Thrown([&] { OrvaXmlAddGrowingNodes(L"n", none, nullptr); }));
    EXPECT_EQ(L"pNodesToAdd is NULL!", Thrown([&] { OrvaXmlAddGrowingNodes(L"n", noArray, &growing); }));
    EXPECT_EQ(L"pGrowingNodes is NULL!", Thrown([&] { OrvaXmlAddGrowingNodes(noArray, nullptr); }));
    EXPECT_EQ(L"pNodesToAdd is NULL!", Thrown([&] { OrvaXmlAddGrowingNodes(none, &growing); }));

    // A failure halfway leaves the list as it was.
    const auto refusing = Adopt<IXMLDOMElement>(new RefusingElement(root));
    const OrvaXmlNodeArray mixed = {growing[3], refusing};
    OrvaXmlNodeArray kept;
    EXPECT_EQ(L"E_FAIL", Thrown([&] { OrvaXmlAddGrowingNodes(L"n", &mixed, &kept); }));
    EXPECT_TRUE(kept.empty());

    // Gaps are passed over, in what grows too, and so is an attribute that cannot be asked for.
    const OrvaXmlNodeArray gaps = {nullptr, growing[0], nullptr};
    OrvaXmlAddGrowingNodes(&gaps, &kept);
    EXPECT_EQ(1u, kept.size());
    kept.emplace_back(nullptr);
    OrvaXmlAddGrowingNodes(L"n", &gaps, &kept);
    EXPECT_EQ(2u, kept.size());
    const auto map = Adopt(new MadeUpAttributes(growing[0]));
    map->itemResult = E_ACCESSDENIED;
    const OrvaXmlNodeArray mapped = {Adopt<IXMLDOMElement>(new MappedElement(root, map))};
    OrvaXmlAddGrowingNodes(L"n", &mapped, &kept);
    EXPECT_EQ(2u, kept.size());
}

TEST_F(XmlHelpers, AppendElement) {
    const auto document = RealDocument(L"<r/>");
    const OrvaXmlNode plain = OrvaXmlAppendElement(document.Get(), L"a");
    const OrvaXmlNode withText = OrvaXmlAppendElement(document.Get(), L"b", L"x < y");
    const OrvaXmlNode withAttributes =
        OrvaXmlAppendElement(document.Get(), L"c", OrvaXmlAttributeArray{{L"k", L"1"}, {L"\xE4", L"\x0416"}});
    EXPECT_EQ(L"a", Describe(plain.Get()));
    EXPECT_EQ(L"b", Describe(withText.Get()));
    EXPECT_EQ(L"c k=1 \xE4=\x0416", Describe(withAttributes.Get()));
    OrvaXmlStringArray values;
    OrvaXmlGetChildNodes(document.Get(), L"b", &values);
    EXPECT_EQ(std::vector<std::wstring>{L"x < y"}, Texts(values));
    const OrvaXmlNode loose = OrvaXmlSetNodeText(document.Get(), L"d", L"t");
    ComPtr<IXMLDOMNode> parent;
    loose->get_parentNode(parent.GetAddressOf());
    EXPECT_FALSE(parent) << "placing it is the caller's";

    const struct {
        const wchar_t *noDocument, *noRoot, *noElement, *noContents, *notAppended;
        std::function<void(IXMLDOMDocument*)> call;
    } cases[] = {
        {L"pDoc is NULL!", L"pRootNode is NULL!", L"pCreatedNode is NULL!", nullptr, L"pAppendedNode is NULL!",
         [](IXMLDOMDocument* target) { OrvaXmlAppendElement(target, L"a"); }},
        {L"pDoc is NULL!", L"pRootNode is NULL!", L"pCreatedNode is NULL!", L"E_FAIL", L"pAppendedNode is NULL!",
         [](IXMLDOMDocument* target) { OrvaXmlAppendElement(target, L"a", L"t"); }},
        {L"pDoc is NULL!", L"pRootElement is NULL!", L"pNewElement is NULL!", L"E_FAIL", L"pAppendedNode is NULL!",
         [](IXMLDOMDocument* target) {
             OrvaXmlAppendElement(target, L"a", OrvaXmlAttributeArray{{L"k", L"v"}});
         }},
        {L"pDoc is NULL!", L"nothing", L"pNewNode is NULL!", L"pNewNode->put_text failed!\n", L"nothing",
         [](IXMLDOMDocument* target) { OrvaXmlSetNodeText(target, L"a", L"t"); }},
    };
    for (const auto& test : cases) {
        SCOPED_TRACE(test.noElement);
        EXPECT_EQ(test.noDocument, Thrown([&] { test.call(nullptr); }));
        EXPECT_EQ(test.noRoot, Thrown([&] { test.call(RealDocument().Get()); }));
        const auto refusing = Scripted(L"<r/>");
        refusing->rootResult = E_ACCESSDENIED;
        EXPECT_EQ(test.noRoot, Thrown([&] { test.call(refusing.Get()); }));
        refusing->rootResult = S_OK;
        for (const HRESULT refusal : {E_ACCESSDENIED, S_FALSE}) {
            refusing->createResult = refusal;
            EXPECT_EQ(test.noElement, Thrown([&] { test.call(refusing.Get()); }));
        }
        refusing->createResult = S_OK;
        refusing->element = Adopt<IXMLDOMElement>(new RefusingElement(RootOf(refusing.Get())));
        if (test.noContents != nullptr) {
            EXPECT_EQ(test.noContents, Thrown([&] { test.call(refusing.Get()); }));
        }
        refusing->element.Reset();
        refusing->root = Adopt<IXMLDOMElement>(new RefusingElement(RootOf(refusing.Get())));
        EXPECT_EQ(test.notAppended, Thrown([&] { test.call(refusing.Get()); }));
    }
    const auto childless = Scripted();
    for (const HRESULT refusal : {E_ACCESSDENIED, S_FALSE}) {
        childless->childrenResult = refusal;
        EXPECT_EQ(L"pRootNodeList is NULL!", Thrown([&] { OrvaXmlSetNodeText(childless.Get(), L"a", L"t"); }));
    }
}

// Reading

TEST_F(XmlHelpers, NamesAndAttributes) {
    const auto document = RealDocument(L"<r a='1' b='&lt;'><p n='1'/>text<q m='2' n=''/><!--c--></r>");
    const auto root = RootOf(document.Get());
    ComPtr<IXMLDOMNodeList> list;
    ASSERT_EQ(S_OK, root->get_childNodes(list.GetAddressOf()));
    OrvaXmlStringArray strings = {L"before"};
    OrvaXmlGetNodeNames(list.Get(), &strings);
    EXPECT_EQ((std::vector<std::wstring>{L"p", L"#text", L"q", L"#comment"}), Texts(strings));
    OrvaXmlGetAttributes(list.Get(), L"n", &strings);
    EXPECT_EQ((std::vector<std::wstring>{L"1", L"", L"", L""}), Texts(strings));
    EXPECT_EQ(L"<", OrvaXmlGetAttributes(root.Get(), L"b"));
    EXPECT_EQ(L"", OrvaXmlGetAttributes(root.Get(), L"missing"));
    std::vector<OrvaXmlAttributeArray> all;
    OrvaXmlGetAttributes(list.Get(), &all);
    ASSERT_EQ(4u, all.size());
    EXPECT_EQ(1u, all[0].size());
    EXPECT_TRUE(all[1].empty() && all[3].empty());
    ASSERT_EQ(2u, all[2].size());
    EXPECT_EQ(L"m", all[2][0].Name);
    EXPECT_EQ(L"2", all[2][0].Value);
    const OrvaXmlNodeArray one = {OrvaXmlGetAttributeNode(document.Get(), L"b")};
    OrvaXmlGetNodeNames(&one, &strings);
    EXPECT_EQ(std::vector<std::wstring>{L"b"}, Texts(strings));
}

TEST_F(XmlHelpers, NamesAndAttributesTexts) {
    const auto document = RealDocument(L"<r a='1'>text</r>");
    const auto root = RootOf(document.Get());
    ComPtr<IXMLDOMNode> text;
    root->get_firstChild(text.GetAddressOf());
    const auto gap = Adopt<IXMLDOMNodeList>(new MadeUpNodeList({root, nullptr}));
    const OrvaXmlNodeArray gapArray = {root, nullptr};
    const OrvaXmlNodeArray hollow = {Hollow(root, E_UNEXPECTED, E_UNEXPECTED)};
    const auto refusing = Adopt<IXMLDOMElement>(new RefusingElement(root));
    const OrvaXmlNodeArray refusingArray = {root, refusing};
    const OrvaXmlNodeArray silent = {Hollow(root, S_OK, S_OK)};
    const auto endless = Adopt(new MadeUpNodeList({root}));
    endless->lengthResult = E_ACCESSDENIED;
    const auto stuck = Adopt(new MadeUpNodeList({root}));
    stuck->nextResult = E_ACCESSDENIED;
    // Elements whose attributes cannot be counted, counted truly, be had, be named, and be read.
    const ComPtr<MadeUpAttributes> maps[] = {Adopt(new MadeUpAttributes(root)), Adopt(new MadeUpAttributes(root)),
                                             Adopt(new MadeUpAttributes(root)), Adopt(new MadeUpAttributes(silent[0])),
                                             Adopt(new MadeUpAttributes(Hollow(root, {}, E_UNEXPECTED)))};
    maps[0]->lengthResult = E_ACCESSDENIED;
    maps[1]->length = -1;
    maps[2]->itemResult = E_ACCESSDENIED;
    std::vector<ComPtr<IXMLDOMNode>> mapped;
    for (const auto& map : maps)
        mapped.push_back(Adopt<IXMLDOMNode>(new MappedElement(root, map)));
    IXMLDOMNodeList* const noList = nullptr;
    const OrvaXmlNodeArray* const noArray = nullptr;
    OrvaXmlStringArray strings = {L"kept"};
    OrvaXmlAttributeArray attributes = {{L"kept", L""}};
    std::vector<OrvaXmlAttributeArray> all = {attributes};
    const struct {
        const wchar_t* text;
        std::function<void()> call;
    } cases[] = {
        {L"pNodeList is NULL!", [&] { OrvaXmlGetNodeNames(noList, &strings); }},
        {L"pNames is NULL!", [&] { OrvaXmlGetNodeNames(&gapArray, nullptr); }},
        {L"pNode is NULL!", [&] { OrvaXmlGetNodeNames(gap.Get(), &strings); }},
        {L"pCurNode is NULL!", [&] { OrvaXmlGetNodeNames(&gapArray, &strings); }},
        {L"pCurNode is NULL!", [&] { OrvaXmlGetNodeNames(&hollow, &strings); }},
        {L"pCurNode is NULL!", [&] { OrvaXmlGetNodeNames(&silent, &strings); }},
        {L"E_FAIL", [&] { OrvaXmlGetNodeNames(endless.Get(), &strings); }},
        {L"pNode is NULL!", [&] { OrvaXmlGetNodeNames(stuck.Get(), &strings); }},
        {L"AttributesSize < 0!", [&] { OrvaXmlGetAttributes(mapped[0].Get(), &attributes); }},
        {L"AttributesSize < 0!", [&] { OrvaXmlGetAttributes(mapped[1].Get(), &attributes); }},
        {L"pCurAttribute is NULL!", [&] { OrvaXmlGetAttributes(mapped[2].Get(), &attributes); }},
        {L"pCurAttribute is NULL!", [&] { OrvaXmlGetAttributes(mapped[3].Get(), &attributes); }},
        {L"get_nodeValue failed!", [&] { OrvaXmlGetAttributes(mapped[4].Get(), &attributes); }},
        {L"get_nodeValue failed!", [&] { OrvaXmlGetAttributes(mapped[4].Get(), L"a"); }},
        {L"DesiredAttributeName is empty!", [&] { OrvaXmlGetAttributes(root.Get(), L""); }},
        {L"pNode is NULL!", [&] { OrvaXmlGetAttributes(static_cast<IXMLDOMNode*>(nullptr), L"a"); }},
        {L"get_Attributes failed", [&] { OrvaXmlGetAttributes(refusing.Get(), L"a"); }},
        {L"DesiredAttributeName is empty!", [&] { OrvaXmlGetAttributes(noList, L"", &strings); }},
        {L"pNodes is NULL!", [&] { OrvaXmlGetAttributes(noArray, L"a", &strings); }},
        {L"pAttributes is NULL!", [&] { OrvaXmlGetAttributes(gap.Get(), L"a", nullptr); }},
        {L"pNode is NULL!", [&] { OrvaXmlGetAttributes(gap.Get(), L"a", &strings); }},
        {L"get_Attributes failed!", [&] { OrvaXmlGetAttributes(&refusingArray, L"a", &strings); }},
        {L"pNode is NULL!", [&] { OrvaXmlGetAttributes(static_cast<IXMLDOMNode*>(nullptr), &attributes); }},
        {L"pAttributes is NULL!",
         [&] { OrvaXmlGetAttributes(root.Get(), static_cast<OrvaXmlAttributeArray*>(nullptr)); }},
        {L"pAttributes is NULL!", [&] { OrvaXmlGetAttributes(text.Get(), &attributes); }},
        {L"get_Attributes failed", [&] { OrvaXmlGetAttributes(refusing.Get(), &attributes); }},
        {L"pNodes is NULL!", [&] { OrvaXmlGetAttributes(noList, &all); }},
        {L"pAttributes is NULL!", [&] { OrvaXmlGetAttributes(&gapArray, nullptr); }},
        {L"pNode is NULL!", [&] { OrvaXmlGetAttributes(&gapArray, &all); }},
        {L"get_Attributes failed!", [&] { OrvaXmlGetAttributes(&refusingArray, &all); }},
        {L"pDoc is NULL!", [&] { OrvaXmlGetAttributeNode(nullptr, L"a"); }},
        {L"pRootNode is NULL!", [&] { OrvaXmlGetAttributeNode(RealDocument().Get(), L"a"); }},
        {L"pDesiredAttribute is NULL!", [&] { OrvaXmlGetAttributeNode(document.Get(), L"b"); }},
    };
    for (const auto& test : cases)
        EXPECT_EQ(test.text, Thrown(test.call));
    EXPECT_EQ(std::vector<std::wstring>{L"kept"}, Texts(strings));
    EXPECT_EQ(L"kept", attributes.at(0).Name);
    EXPECT_EQ(L"kept", all.at(0).at(0).Name);

    // Values that are none, or no text.
    for (const VARTYPE type : {VT_EMPTY, VT_NULL, VT_ERROR}) {
        const auto valued = Hollow(root, {}, S_OK, type);
        const auto map = Adopt<IXMLDOMNamedNodeMap>(new MadeUpAttributes(valued));
        const auto element = Adopt<IXMLDOMElement>(new MappedElement(root, map));
        EXPECT_EQ(L"", OrvaXmlGetAttributes(element.Get(), L"a")) << type;
    }
}

TEST_F(XmlHelpers, ChildNodes) {
    const auto document = RealDocument(L"<?pi x?><r><p n='1'>one<b>and more</b></p><q/><p n='2'/></r>");
    const auto root = RootOf(document.Get());
    OrvaXmlNodeArray nodes;
    OrvaXmlGetChildNodes(document.Get(), L"p", &nodes);
    ASSERT_EQ(2u, nodes.size());
    EXPECT_EQ(L"p n=2", Describe(nodes[1].Get()));
    OrvaXmlGetChildNodes(nodes[0].Get(), L"b", &nodes);
    EXPECT_EQ(1u, nodes.size());
    OrvaXmlGetChildNodes(root.Get(), L"missing", &nodes);
    EXPECT_TRUE(nodes.empty());
    OrvaXmlStringArray values;
    OrvaXmlGetChildNodes(document.Get(), L"p", &values);
    ASSERT_EQ(2u, values.size());
    EXPECT_EQ(0, values[0].Find(L"one"));
    EXPECT_EQ(L"", values[1]);
    OrvaXmlGetChildNodes(OrvaXmlFindNode(&(nodes = OrvaXmlGetDocumentChildren(document.Get())), L"r").Get(), L"p",
                         &nodes);
    OrvaXmlGetChildNodes(nodes[0].Get(), L"#text", &values);
    EXPECT_EQ(std::vector<std::wstring>{L"one"}, Texts(values)) << "a node's own value";
    std::vector<OrvaXmlAttributeArray> attributes;
    OrvaXmlGetChildNodes(root.Get(), L"p", &attributes);
    ASSERT_EQ(2u, attributes.size());
    EXPECT_EQ(L"2", attributes[1].at(0).Value);
}

TEST_F(XmlHelpers, ChildNodesTexts) {
    const auto document = RealDocument(L"<r><p/></r>");
    const auto root = RootOf(document.Get());
    const auto empty = RealDocument();
    const auto refusing = Adopt<IXMLDOMElement>(new RefusingElement(root));
    const auto childless = Scripted();
    childless->childrenResult = E_ACCESSDENIED;
    const auto listless = Scripted();
    listless->childrenResult = S_FALSE;
    const auto gapped = Scripted();
    gapped->children = Adopt<IXMLDOMNodeList>(new MadeUpNodeList({root, nullptr}));
    IXMLDOMNode* const noNode = nullptr;
    IXMLDOMDocument* const noDocument = nullptr;
    OrvaXmlNodeArray nodes(3);
    OrvaXmlStringArray values;
    std::vector<OrvaXmlAttributeArray> attributes;
    const std::wstring denied = L"pTargetRootNode->get_childNodes failed:\n" + Code(E_ACCESSDENIED) +
                                OrvaGetSystemErrorText(static_cast<DWORD>(E_ACCESSDENIED)).GetString() + L".\n";
    const struct {
        std::wstring text;
        std::function<void()> call;
    } cases[] = {
        {L"pDoc is NULL!", [&] { OrvaXmlGetChildNodes(noDocument, L"p", &nodes); }},
        {L"pRootNodeList is NULL!", [&] { OrvaXmlGetChildNodes(empty.Get(), L"p", &nodes); }},
        {L"pTargetRootNode is NULL!", [&] { OrvaXmlGetChildNodes(noNode, L"p", &values); }},
        {denied, [&] { OrvaXmlGetChildNodes(refusing.Get(), L"p", &nodes); }},
        {denied, [&] { OrvaXmlGetChildNodes(refusing.Get(), L"p", &values); }},
        {denied, [&] { OrvaXmlGetChildNodes(refusing.Get(), L"p", &attributes); }},
        {L"pDesiredChildNodes is NULL!",
         [&] { OrvaXmlGetChildNodes(root.Get(), L"p", static_cast<OrvaXmlNodeArray*>(nullptr)); }},
        {L"pNodes is NULL!",
         [&] { OrvaXmlGetChildNodes(root.Get(), L"p", static_cast<OrvaXmlStringArray*>(nullptr)); }},
        {L"pNodes is NULL!",
         [&] {
             OrvaXmlGetChildNodes(document.Get(), L"p", static_cast<std::vector<OrvaXmlAttributeArray>*>(nullptr));
         }},
        {L"DesiredChildNodesLen = 0!", [&] { OrvaXmlGetChildNodes(document.Get(), L"x", &values); }},
        {L"DesiredChildNodesLen = 0!", [&] { OrvaXmlGetChildNodes(root.Get(), L"", &attributes); }},
        {L"pDoc is NULL!", [&] { OrvaXmlGetDocumentChildren(nullptr); }},
        {L"get_childNodes failed!", [&] { OrvaXmlGetDocumentChildren(childless.Get()); }},
        {L"get_childNodes failed!", [&] { OrvaXmlGetDocumentChildren(listless.Get()); }},
        {L"get_childNodes failed!", [&] { OrvaXmlGetDocumentChildren(gapped.Get()); }},
    };
    for (const auto& test : cases)
        EXPECT_EQ(test.text, Thrown(test.call));
    EXPECT_EQ(3u, nodes.size()) << "untouched by failures";

    // A child whose value, and one whose attributes cannot be read: the second text stands behind its function's name.
    const auto parentOf = [](ComPtr<IXMLDOMNode> child) {
        const auto parent = Scripted();
        parent->children = Adopt<IXMLDOMNodeList>(new MadeUpNodeList({std::move(child)}));
        return ComPtr<IXMLDOMNode>(parent);
    };
    const struct {
        ComPtr<IXMLDOMNode> child;
        HRESULT result;
    } unreadable[] = {{Hollow(root, {}, E_UNEXPECTED), E_UNEXPECTED}, {Hollow(root, {}, S_OK), E_ACCESSDENIED}};
    for (const auto& test : unreadable) {
        const auto parent = parentOf(test.child);
        EXPECT_EQ(L"Exception on CurNode->get_nodeValue():\n" + Code(test.result) +
                      OrvaGetSystemErrorText(static_cast<DWORD>(test.result)).GetString() + L".\n",
                  Thrown([&] { OrvaXmlGetChildNodes(parent.Get(), L"r", &values); }));
    }
    const auto parent = parentOf(Hollow(root, {}, S_OK));
    EXPECT_EQ(L"Exception in OrvaXmlGetAttributes():\nget_Attributes failed!",
              Thrown([&] { OrvaXmlGetChildNodes(parent.Get(), L"r", &attributes); }));
}

TEST_F(XmlHelpers, FindNode) {
    const auto document = RealDocument(L"<r><p n='1'/>text<q n='2'/><p n='2' m=''/></r>");
    const auto root = RootOf(document.Get());
    ComPtr<IXMLDOMNodeList> list;
    root->get_childNodes(list.GetAddressOf());
    OrvaXmlNodeArray nodes = {nullptr};
    OrvaXmlAddGrowingNodes(list.Get(), &nodes);
    EXPECT_EQ(L"q n=2", Describe(OrvaXmlFindNode(list.Get(), L"q").Get()));
    EXPECT_EQ(L"p n=1", Describe(OrvaXmlFindNode(&nodes, L"p").Get()));
    EXPECT_EQ(L"q n=2", Describe(OrvaXmlFindNode(list.Get(), L"n", L"2").Get()));
    EXPECT_EQ(L"p n=2 m=", Describe(OrvaXmlFindNode(&nodes, L"m", L"").Get()));
    int asked = 0;
    EXPECT_EQ(L"q n=2", Describe(OrvaXmlFindNode(&nodes, [&](IXMLDOMNode*) { return ++asked == 3; }).Get()));
    EXPECT_EQ(3, asked) << "the search ends at the first match";

    IXMLDOMNodeList* const noList = nullptr;
    EXPECT_EQ(L"pNodes is NULL!", Thrown([&] { OrvaXmlFindNode(noList, L"p"); }));
    EXPECT_EQ(L"pNodes is NULL!", Thrown([&] { OrvaXmlFindNode(noList, L"n", L"1"); }));
    EXPECT_EQ(L"pFound is NULL!", Thrown([&] { OrvaXmlFindNode(list.Get(), L"P"); }));
    EXPECT_EQ(L"pFound is NULL!", Thrown([&] { OrvaXmlFindNode(&nodes, L"n", L""); }));
    EXPECT_EQ(L"pFound is NULL!", Thrown([&] { OrvaXmlFindNode(list.Get(), [](IXMLDOMNode*) { return false; }); }));

    const OrvaXmlNodeArray hollow = {Hollow(root, E_UNEXPECTED, E_UNEXPECTED)};
    EXPECT_EQ(L"pFound is NULL!", Thrown([&] { OrvaXmlFindNode(&hollow, L"r"); })) << "a node without a name";

    const OrvaXmlNodeArray refusing = {Adopt<IXMLDOMElement>(new RefusingElement(root))};
    OrvaXmlStringArray names;
    EXPECT_EQ(L"get_Attributes failed!", Thrown([&] { OrvaXmlFindNode(&refusing, L"n", L"1"); }));
    EXPECT_EQ(L"_com_error = No IErrorInfo recorded - Error is undefined!",
              Thrown([&] { OrvaXmlGetNodeNames(&refusing, &names); }));
}

TEST_F(XmlHelpers, ExceptionsBecomeOneText) {
    const auto document = RealDocument(L"<r><p/></r>");
    const OrvaXmlNodeArray nodes = OrvaXmlGetDocumentChildren(document.Get());
    const struct {
        const wchar_t* text;
        std::function<void()> raise;
    } cases[] = {
        {L"COM Error:No IErrorInfo recorded - Error is undefined!", [] { throw _com_error(E_FAIL); }},
        {L"COM Error:The gate is shut",
         [] { throw _com_error(E_FAIL, ErrorInformation(L"The gate is shut").Detach()); }},
        {L"Exception in predicate():\nfirst\nsecond", [] { throw CString(L"first\nsecond"); }},
        {L"Exception in predicate():\npDoc is NULL!", [] { OrvaXmlGetDocumentChildren(nullptr); }},
        {L"Unhandled Exception!", [] { throw 7; }},
        {L"Unhandled Exception!", [] { throw std::bad_alloc(); }},
        {L"Unhandled Exception!", [] { AfxThrowFileException(CFileException::diskFull); }},
    };
    for (const auto& test : cases) {
        EXPECT_EQ(test.text, Thrown([&] {
                      OrvaXmlFindNode(&nodes, [&](IXMLDOMNode*) {
                          test.raise();
                          return true;
                      });
                  }));
    }
    EXPECT_EQ(L"Unhandled Exception!", Thrown([&] { OrvaXmlFindNode(&nodes, std::function<bool(IXMLDOMNode*)>()); }));
}
