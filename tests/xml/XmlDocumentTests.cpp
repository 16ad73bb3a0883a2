// The document wrapper: loading by every way and its failures, the parse-error box, waiting, walking, saving, elements.

#include "ForwardingDom.h"
#include "support/MessageBoxes.h"
#include "support/TempFolder.h"
#include "tarnu/xml/OrvaXml.h"

#include <functional>
#include <gtest/gtest.h>
#include <string>
#include <utility>
#include <vector>

namespace {

using namespace tarnu::test;

constexpr wchar_t byPath[] = L"by path";

std::string Content(const char* root) {
    return std::string("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<") + root + " a=\"1\"><b/>text</" + root + ">";
}

std::wstring RootName(const OrvaXml& xml) {
    const ComPtr<IXMLDOMElement> root = RootOf(xml.GetDocument().Get());
    if (!root) return {};
    BSTR name = nullptr;
    root->get_nodeName(&name);
    std::wstring text = name;
    ::SysFreeString(name);
    return text;
}

/// Each test has COM and must free every stand-in.
class Xml : public ::testing::Test {
protected:
    void TearDown() override { EXPECT_EQ(0, livingStandIns); }

    ComScope m_com;
};

using XmlLoad = Xml;
using XmlWalk = Xml;
using XmlSave = Xml;
using XmlElements = Xml;

/// A document that plays its loads.
ComPtr<ScriptedDocument> NewScripted() {
    auto document = tarnu::support::Adopt(new ScriptedDocument);
    document->loadFlag = VARIANT_TRUE;
    return document;
}

} // namespace

// Loading

TEST_F(XmlLoad, ReadsByEveryWay) {
    const TempFolder folder;
    const struct {
        const char* name;
        bool asynchronous, fromStream, ownFileStream;
    } cases[] = {
        {"path", false, false, false},
        {"path in the background", true, false, false},
        {"path; the own stream counts with a stream only", false, false, true},
        {"URL stream", false, true, false},
        {"URL stream in the background", true, true, false},
        {"own stream", false, true, true},
    };
    const std::wstring path = folder.MakeFile(L"plain.xml", Content("survey"));
    for (const auto& test : cases) {
        SCOPED_TRACE(test.name);
        OrvaXml xml(path.c_str(), test.asynchronous, test.fromStream, test.ownFileStream);
        EXPECT_EQ(path, xml.GetPath().GetString());
        EXPECT_EQ(S_OK, xml.Load());
        EXPECT_EQ(L"survey", RootName(xml));
    }

    // A relative name is taken from the current directory, and each load replaces what the document held.
    ASSERT_TRUE(::SetCurrentDirectoryW(folder.Path().c_str()));
    folder.MakeFile(L"second.xml", Content("other"));
    OrvaXml xml(L"plain.xml", false, false, false);
    EXPECT_EQ(S_OK, xml.Load());
    const auto document = xml.GetDocument();
    EXPECT_EQ(S_OK, xml.Load(L"second.xml", false, true, false));
    EXPECT_EQ(L"second.xml", xml.GetPath());
    EXPECT_EQ(L"other", RootName(xml));
    EXPECT_EQ(document.Get(), xml.GetDocument().Get());
}

TEST_F(XmlLoad, FailuresGiveTheirOwnResults) {
    const TempFolder folder;
    ASSERT_TRUE(::SetCurrentDirectoryW(folder.Path().c_str()));
    folder.MakeFile(L"bad.xml", "<a><b></a>");
    MessageBoxes boxes;
    OrvaXml xml(L"", true, true, true);
    EXPECT_EQ(S_OK, xml.Load()) << "an empty path loads nothing";
    for (const wchar_t* path : {L"missing.xml", L"bad.xml"}) {
        EXPECT_EQ(S_OK, xml.Load(path, false, false, false)) << path;
        EXPECT_EQ(L"", RootName(xml)) << path;
    }
    EXPECT_EQ(0u, boxes.Shown().size()) << "a load by path that fails is silent";

    EXPECT_EQ(E_FAIL, xml.Load(L"missing.xml", false, true, true));
    EXPECT_TRUE(FAILED(xml.Load(L"missing.xml", false, true, false)));
    EXPECT_EQ(E_FAIL, xml.Load(L"\x4E2D.xml", false, true, true)) << "not in the ANSI code page";
    // Wine's parser fails the load from a stream, Windows' accepts it and shows the parse error.
    EXPECT_NE(S_OK, xml.Load(L"bad.xml", false, true, true));
    EXPECT_NE(S_OK, xml.Load(L"bad.xml", false, true, false));
    EXPECT_EQ(L"", RootName(xml));
}

TEST_F(XmlLoad, OnlyTheLowerCaseSchemeIsAWebAddress) {
    const std::wstring tail(300, L'x');
    const HRESULT tooLong = HRESULT_FROM_WIN32(ERROR_FILENAME_EXCED_RANGE);
    OrvaXml xml(L"", false, true, false);
    for (const wchar_t* scheme : {L"HTTP:", L"Http:", L"https:", L"file:", L""}) {
        EXPECT_EQ(tooLong, xml.Load((scheme + tail).c_str(), false, true, false)) << scheme;
    }
    const HRESULT asAddress = xml.Load((L"http:" + tail).c_str(), false, true, false);
    EXPECT_TRUE(FAILED(asAddress));
    EXPECT_NE(tooLong, asAddress);
}

TEST_F(XmlLoad, ShowsTheParseError) {
    const struct {
        LONG code, line, position;
        const wchar_t *reason, *documentUrl, *errorUrl, *text;
    } cases[] = {
        {0, 7, 1, L"unused", L"u", L"u", nullptr},
        {-1072896682, 3, 14, L"Bad end tag.\r\n", L"file:///C:/in.xml", L"other",
         L"Error on line 3, position 14 in \"file:///C:/in.xml\".\n"},
        {5, 2147483647, 0, L"Far down", nullptr, L"from the error",
         L"Error on line 2147483647, position 0 in \"from the error\".\n"},
        {5, 4, 5, L"Empty address", L"", L"\xE4.xml", L"Error on line 4, position 5 in \"\xE4.xml\".\n"},
        {5, 1, 2, L"No address", nullptr, nullptr, L"Error on line 1, position 2 in \"\".\n"},
        {5, 0, 9, L"No line", L"u", L"u", L""},
    };
    for (const auto& test : cases) {
        SCOPED_TRACE(test.reason);
        const auto document = NewScripted();
        document->error->code = test.code;
        document->error->line = test.line;
        document->error->position = test.position;
        document->error->reason = test.reason;
        document->error->url = test.errorUrl;
        document->url = test.documentUrl;
        const ServedDocument served(document.Get());
        MessageBoxes boxes;
        OrvaXml xml(byPath, false, false, false);
        EXPECT_EQ(test.code, xml.Load());
        EXPECT_EQ(false, document->async);
        ASSERT_EQ(test.text != nullptr ? 1u : 0u, boxes.Shown().size());
        if (test.text == nullptr) continue;
        const ShownBox& box = boxes.Shown()[0];
        EXPECT_EQ(test.text, box.text);
        EXPECT_EQ(std::wstring(test.reason).substr(0, 3), box.caption.substr(0, 3));
        EXPECT_EQ(nullptr, box.owner);
        EXPECT_EQ(std::vector<int>{IDOK}, box.buttons);
    }
}

TEST_F(XmlLoad, PassesOnWhatTheDocumentAnswers) {
    const struct {
        const char* name;
        std::function<void(ScriptedDocument&)> prepare;
        bool asynchronous;
        HRESULT expected;
    } cases[] = {
        {"load fails", [](auto& document) { document.loadResult = E_ACCESSDENIED; }, false, S_OK},
        {"load flags failure", [](auto& document) { document.loadFlag = VARIANT_FALSE; }, true, S_OK},
        {"async is refused", [](auto& document) { document.asyncResult = E_PENDING; }, true, E_PENDING},
        {"no ready state", [](auto& document) { document.readyStateResult = E_UNEXPECTED; }, true, E_UNEXPECTED},
        {"a synchronous load does not wait", [](auto& document) { document.readyState = 1; }, false, S_OK},
        {"no parse error object", [](auto& document) { document.withParseError = false; }, false, E_FAIL},
        {"parse error fails",
         [](auto& document) {
             document.withParseError = false;
             document.parseErrorResult = E_ACCESSDENIED;
         },
         true, E_FAIL},
        {"an exception", [](auto& document) { document.onReadyState = [] { throw 7; }; }, true, E_FAIL},
        {"no code", [](auto& document) { document.error->codeResult = E_NOTIMPL; }, false, E_NOTIMPL},
    };
    for (const auto& test : cases) {
        SCOPED_TRACE(test.name);
        const auto document = NewScripted();
        document->error->code = test.expected == S_OK ? 0 : 77;
        test.prepare(*document.Get());
        const ServedDocument served(document.Get());
        MessageBoxes boxes;
        {
            OrvaXml xml(byPath, test.asynchronous, false, false);
            EXPECT_EQ(2u, document->References()) << "the test's and the wrapper's";
            EXPECT_EQ(test.expected, xml.Load());
        }
        EXPECT_EQ(0u, boxes.Shown().size());
        EXPECT_EQ(1u, document->References());
    }
}

TEST_F(XmlLoad, WorksWithoutADocument) {
    const ServedDocument nothing(nullptr);
    OrvaXml xml(byPath, false, false, false);
    EXPECT_FALSE(xml.GetDocument());
    EXPECT_EQ(E_FAIL, xml.Load());
    EXPECT_EQ(E_FAIL, xml.Load(byPath, true, true, true));
    EXPECT_EQ(S_OK, xml.Load(L"", false, false, false));
    EXPECT_EQ(E_FAIL, xml.Save(L"out.xml"));
    EXPECT_TRUE(xml.Walk([](const CString&, IXMLDOMNode*, void*) { return false; }, nullptr));
}

TEST_F(XmlLoad, WaitsUntilTheDocumentIsComplete) {
    static int received = 0;
    received = 0;
    const WNDPROC procedure = [](HWND window, UINT message, WPARAM wParam, LPARAM lParam) -> LRESULT {
        if (message == WM_APP) ++received;
        return ::DefWindowProcW(window, message, wParam, lParam);
    };
    const HWND window = ::CreateWindowExW(0, L"STATIC", L"", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, nullptr, nullptr);
    ASSERT_NE(nullptr, window);
    ::SetWindowLongPtrW(window, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(procedure));

    const auto document = NewScripted();
    const ServedDocument served(document.Get());
    OrvaXml xml(byPath, true, false, false);
    int asked = 0;
    for (const int messages : {3, 0}) { // those of the host are dispatched, also one that is left at the end
        document->readyState = 1;
        asked = received = 0;
        document->onReadyState = [&] {
            if (++asked <= messages) ::PostMessageW(window, WM_APP, 0, 0);
            if (asked == 3) document->readyState = 4;
        };
        EXPECT_EQ(S_OK, xml.Load());
        EXPECT_EQ(true, document->async);
        EXPECT_EQ(3, asked);
        EXPECT_EQ(messages, received);
    }
    {
        SCOPED_TRACE("WM_QUIT ends the wait and is left for the host's loop");
        document->readyState = 1;
        document->onReadyState = nullptr;
        ::PostQuitMessage(23);
        EXPECT_EQ(E_ABORT, xml.Load());
        EXPECT_EQ(1, document->aborts);
        MSG message = {};
        ASSERT_TRUE(::PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE));
        EXPECT_EQ(static_cast<UINT>(WM_QUIT), message.message);
        EXPECT_EQ(23u, message.wParam);

        document->readyState = 4;
        ::PostQuitMessage(24);
        EXPECT_EQ(S_OK, xml.Load()) << "the document is complete, so the load has its result";
        ASSERT_TRUE(::PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE));
        EXPECT_EQ(24u, message.wParam);
        EXPECT_FALSE(::PeekMessageW(&message, nullptr, 0, 0, PM_NOREMOVE));
    }
    ::DestroyWindow(window);
}

TEST_F(XmlLoad, FromAStreamNeedsPersistence) {
    const TempFolder folder;
    const std::wstring path = folder.MakeFile(L"in.xml", Content("survey"));
    const auto document = NewScripted();
    document->withoutPersistence = true;
    const ServedDocument served(document.Get());
    OrvaXml xml(path.c_str(), false, true, true);
    EXPECT_EQ(E_NOINTERFACE, xml.Load());
    document->withoutPersistence = false;
    document->readyStateResult = E_UNEXPECTED;
    EXPECT_EQ(E_UNEXPECTED, xml.Load()) << "the wait's result";
    EXPECT_TRUE(::DeleteFileW(path.c_str())) << "the stream was let go";
}

// Walking

namespace {

struct Visits {
    std::vector<std::wstring> names;
    std::size_t limit = SIZE_MAX;
};

bool Record(const CString& name, IXMLDOMNode* node, void* userData) {
    auto& visits = *static_cast<Visits*>(userData);
    EXPECT_NE(nullptr, node);
    visits.names.push_back(name.GetString());
    return visits.names.size() < visits.limit;
}

} // namespace

TEST_F(XmlWalk, VisitsNodeAttributesChildrenInOrder) {
    const TempFolder folder;
    const std::wstring path =
        folder.MakeFile(L"in.xml", "<r b='1' a='2'><x><y k='3'/>text</x><!--c--><z l='4' m='5'/></r>");
    OrvaXml xml(path.c_str(), false, false, false);
    ASSERT_EQ(S_OK, xml.Load());
    Visits all;
    EXPECT_TRUE(xml.Walk(Record, &all));
    const std::vector<std::wstring> expected = {L"#document", L"r",     L"b",        L"a", L"x", L"y",
                                                L"k",         L"#text", L"#comment", L"z", L"l", L"m"};
    EXPECT_EQ(expected, all.names);

    for (std::size_t limit = 1; limit <= expected.size(); ++limit) {
        Visits some{{}, limit};
        EXPECT_FALSE(xml.Walk(Record, &some)) << limit;
        EXPECT_EQ(limit, some.names.size());
    }
    EXPECT_TRUE(xml.Walk(nullptr, nullptr));

    // Whatever can be called so will do: captures, the name as a plain text, an integer as answer.
    std::vector<std::wstring> names;
    const auto capturing = [&](const wchar_t* name, IXMLDOMNode*, void* userData) -> int {
        EXPECT_EQ(&names, userData);
        names.emplace_back(name);
        return names.size() < 3;
    };
    EXPECT_FALSE(xml.Walk(capturing, &names));
    EXPECT_EQ((std::vector<std::wstring>{L"#document", L"r", L"b"}), names);
    const auto scripted = NewScripted();
    scripted->nameResult = E_UNEXPECTED;
    const ServedDocument served(scripted.Get());
    Visits nameless;
    EXPECT_TRUE(OrvaXml(L"", false, false, false).Walk(Record, &nameless));
    EXPECT_EQ(std::vector<std::wstring>{L""}, nameless.names) << "a name that cannot be read";
}

TEST_F(XmlWalk, NestingDoesNotUseTheStack) {
    constexpr std::size_t levels = 10000;
    OrvaXml xml(L"", false, false, false);
    const auto document = xml.GetDocument();
    auto node = OrvaXml::CreateElement(document.Get(), nullptr, L"level");
    for (std::size_t level = 1; level < levels && node; ++level) {
        node = OrvaXml::CreateElement(document.Get(), node.Get(), L"level");
    }
    ASSERT_TRUE(node);
    std::size_t count = 0;
    const auto visit = [](const CString&, IXMLDOMNode*, void* userData) {
        ++*static_cast<std::size_t*>(userData);
        return true;
    };
    EXPECT_TRUE(xml.Walk(visit, &count));
    EXPECT_EQ(levels + 1, count);
}

// Saving

TEST_F(XmlSave, WritesAFileThatLoadsAgain) {
    const TempFolder folder;
    const std::wstring path = folder / L"\x0416\xE4.xml";
    OrvaXml xml(L"", false, false, false);
    const auto document = xml.GetDocument();
    const auto root = OrvaXml::CreateElement(document.Get(), nullptr, L"r\xE4\x0416");
    ASSERT_TRUE(root);
    EXPECT_EQ(S_OK, xml.Save(L"")) << "nothing to do";
    EXPECT_EQ(S_OK, xml.Save(path.c_str()));
    EXPECT_TRUE(FAILED(xml.Save((folder / L"missing\\out.xml").c_str())));

    OrvaXml copy(path.c_str(), false, false, false);
    EXPECT_EQ(S_OK, copy.Load());
    EXPECT_EQ(L"r\xE4\x0416", RootName(copy));
}

TEST_F(XmlSave, IntoABufferThatIsNeverNull) {
    const auto document = RealDocument(L"<r><a/></r>");
    void* buffer = nullptr;
    UINT size = 0;
    ASSERT_EQ(S_OK, OrvaXml::SaveToBuffer(document.Get(), &buffer, &size));
    ASSERT_NE(nullptr, buffer);
    std::string text; // UTF-16 under Wine, the declared encoding on Windows
    for (UINT index = 0; index < size; ++index) {
        const char character = static_cast<const char*>(buffer)[index];
        if (character > ' ') text += character;
    }
    EXPECT_NE(std::string::npos, text.find("<r><a/></r>")) << text;
    ::CoTaskMemFree(buffer);

    buffer = nullptr;
    size = 99;
    const auto empty = RealDocument();
    ASSERT_EQ(S_OK, OrvaXml::SaveToBuffer(empty.Get(), &buffer, &size));
    EXPECT_NE(nullptr, buffer);
    EXPECT_EQ(0u, size);
    ::CoTaskMemFree(buffer);

    const auto scripted = NewScripted();
    scripted->withoutPersistence = true;
    buffer = &size;
    EXPECT_EQ(E_NOINTERFACE, OrvaXml::SaveToBuffer(scripted.Get(), &buffer, &size));
    EXPECT_EQ(nullptr, buffer);
    EXPECT_EQ(0u, size);

    EXPECT_EQ(E_POINTER, OrvaXml::SaveToBuffer(nullptr, &buffer, &size));
    EXPECT_EQ(E_POINTER, OrvaXml::SaveToBuffer(document.Get(), nullptr, &size));
    EXPECT_EQ(E_POINTER, OrvaXml::SaveToBuffer(document.Get(), &buffer, nullptr));
}

// Elements

TEST_F(XmlElements, LandXmlRootHasItsEightAttributes) {
    OrvaXml site(L"", false, false, false);
    const auto document = site.GetDocument();
    EXPECT_FALSE(OrvaXml::GetLandXMLRoot(document.Get()));
    const auto stamp = [] {
        SYSTEMTIME now;
        ::GetLocalTime(&now);
        wchar_t text[32];
        ::swprintf(text, 32, L"%04d-%02d-%02d %02d-%02d-%02d", now.wYear, now.wMonth, now.wDay, now.wHour, now.wMinute,
                   now.wSecond);
        return std::wstring(text);
    };
    const std::wstring before = stamp();
    const auto root = OrvaXml::CreateLandXMLRoot(document.Get());
    const std::wstring after = stamp();
    ASSERT_TRUE(root);

    ComPtr<IXMLDOMNamedNodeMap> attributes;
    ASSERT_EQ(S_OK, root->get_attributes(attributes.GetAddressOf()));
    std::vector<std::pair<std::wstring, std::wstring>> found;
    ComPtr<IXMLDOMNode> attribute;
    while (attributes->nextNode(attribute.ReleaseAndGetAddressOf()) == S_OK) {
        BSTR name = nullptr;
        BSTR text = nullptr;
        attribute->get_nodeName(&name);
        attribute->get_text(&text);
        found.emplace_back(name, text);
        ::SysFreeString(name);
        ::SysFreeString(text);
    }
    ASSERT_EQ(8u, found.size());
    const std::wstring written = found[4].second + L' ' + found[5].second;
    EXPECT_LE(before, written);
    EXPECT_GE(after, written);
    const std::vector<std::pair<std::wstring, std::wstring>> expected = {
        {L"xmlns", L"http://www.landxml.org/schema/landxml-1.0"},
        {L"xmlns:xsi", L"http://www.w3.org/2001/XMLSchema-instance"},
        {L"xsi:schemaLocation", L"http://www.landxml.org/schema/LandXML-1.0 "
                                L"http://www.landxml.org/schema/LandXML-1.0/LandXML-1.0.xsd"},
        {L"version", L"1.0"},
        {L"date", found[4].second},
        {L"time", found[5].second},
        {L"readOnly", L"false"},
        {L"language", L"English"}};
    EXPECT_EQ(expected, found);

    EXPECT_TRUE(OrvaXml::GetLandXMLRoot(document.Get()));
    EXPECT_FALSE(OrvaXml::CreateLandXMLRoot(nullptr));
    EXPECT_FALSE(OrvaXml::GetLandXMLRoot(nullptr));

    // After the way through a file the root is in the namespace that it names.
    const TempFolder folder;
    const std::wstring path = folder / L"site.xml";
    EXPECT_EQ(S_OK, site.Save(path.c_str()));
    OrvaXml xml(path.c_str(), false, false, false);
    EXPECT_EQ(S_OK, xml.Load());
    const auto loaded = OrvaXml::GetLandXMLRoot(xml.GetDocument().Get());
    ASSERT_TRUE(loaded);
    EXPECT_EQ(found[5].second, OrvaXml::GetString(loaded.Get(), L"time").GetString());
    EXPECT_FALSE(OrvaXml::GetLandXMLRoot(RealDocument(L"<Other><LandXML/></Other>").Get()));
}

TEST_F(XmlElements, AreAppendedToTheirParent) {
    const auto document = RealDocument();
    const auto root = OrvaXml::CreateElement(document.Get(), nullptr, L"root");
    ASSERT_TRUE(root);
    for (const wchar_t* name : {L"a", L"\xE4\x0416", L"a"})
        EXPECT_TRUE(OrvaXml::CreateElement(document.Get(), root.Get(), name)) << name;
    BSTR xml = nullptr;
    root->get_xml(&xml);
    std::wstring text = xml;
    ::SysFreeString(xml);
    std::erase_if(text, [](wchar_t unit) { return unit <= L' '; }); // Wine indents
    EXPECT_EQ(L"<root><a/><\xE4\x0416/><a/></root>", text);

    EXPECT_FALSE(OrvaXml::CreateElement(document.Get(), root.Get(), L""));
    EXPECT_FALSE(OrvaXml::CreateElement(nullptr, root.Get(), L"a"));

    // A document that refuses (Wine's takes invalid names and a second root).
    const auto scripted = NewScripted();
    for (const auto member : {&ScriptedDocument::createResult, &ScriptedDocument::appendResult}) {
        scripted.Get()->*member = E_ACCESSDENIED;
        EXPECT_FALSE(OrvaXml::CreateElement(scripted.Get(), nullptr, L"a"));
        EXPECT_FALSE(OrvaXml::CreateLandXMLRoot(scripted.Get()));
        scripted.Get()->*member = S_OK;
    }
    EXPECT_TRUE(OrvaXml::CreateElement(scripted.Get(), nullptr, L"a"));
    scripted->rootResult = E_ACCESSDENIED;
    EXPECT_FALSE(OrvaXml::GetLandXMLRoot(scripted.Get()));
}
