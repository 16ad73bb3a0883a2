// Faults in XML documents, attributes and helpers. What the DOM itself does with its memory is its own affair; that the
// library survives every failing method of it is tested with stand-ins for the DOM beside the other XML tests.

#include "faults/FaultDriver.h"
#include "support/MessageBoxes.h"
#include "xml/ForwardingDom.h"

#include "tarnu/xml/OrvaXml.h"
#include "tarnu/xml/OrvaXmlHelpers.h"

#include <gtest/gtest.h>
#include <objbase.h>

namespace tarnu::test::faults {
namespace {

constexpr char contents[] = "<?xml version=\"1.0\"?><root a=\"1\"><child name=\"x\">text</child></root>";

/// The objects of the DOM have to come and go with the library's references: its blocks are counted too.
constexpr Depth withDom{.allocations = 12, .countsHeap = true};

TEST(XmlFaults, LoadingFromThePath) {
    const ComScope com;
    Inject(
        [](Trial& trial) {
            const CString path(trial.MakeFile(L"in.xml", contents).c_str());
            HRESULT result = E_FAIL;
            bool isWhole = false;
            const bool noMemory = trial.Throws([&] {
                OrvaXml xml(path, /*asynchronous=*/false, /*fromStream=*/false, /*ownFileStream=*/false);
                result = xml.Load();
                ComPtr<IXMLDOMElement> root;
                isWhole = xml.GetDocument() && xml.GetDocument()->get_documentElement(root.GetAddressOf()) == S_OK;
            });
            trial.ExpectSuccessUnlessFault(!noMemory && result == S_OK && isWhole);
            EXPECT_TRUE(noMemory || FAILED(result) || isWhole) << "success without a document";
        },
        withDom);
}

TEST(XmlFaults, LoadingInTheBackground) {
    const ComScope com;
    Inject(
        [](Trial& trial) {
            const CString path(trial.MakeFile(L"in.xml", contents).c_str());
            HRESULT result = E_FAIL;
            const bool noMemory = trial.Throws([&] {
                OrvaXml xml(path, /*asynchronous=*/true, /*fromStream=*/false, /*ownFileStream=*/false);
                result = xml.Load();
            });
            trial.ExpectSuccessUnlessFault(!noMemory && result == S_OK);
        },
        withDom);
}

TEST(XmlFaults, LoadingFromStreams) {
    const ComScope com;
    for (const bool ownFileStream : {false, true}) {
        Inject(
            [ownFileStream](Trial& trial) {
                const CString path(trial.MakeFile(L"in.xml", contents).c_str());
                HRESULT result = E_FAIL;
                bool isWhole = false;
                const bool noMemory = trial.Throws([&] {
                    OrvaXml xml(path, /*asynchronous=*/false, /*fromStream=*/true, ownFileStream);
                    result = xml.Load();
                    ComPtr<IXMLDOMElement> root;
                    isWhole = xml.GetDocument() && xml.GetDocument()->get_documentElement(root.GetAddressOf()) == S_OK;
                });
                trial.ExpectSuccessUnlessFault(!noMemory && result == S_OK && isWhole);
                EXPECT_TRUE(noMemory || FAILED(result) || isWhole) << "success without a document";
            },
            withDom);
    }
}

TEST(XmlFaults, ReportingAParseError) {
    const ComScope com;
    Inject(
        [](Trial& trial) {
            const MessageBoxes boxes;
            const CString path(trial.MakeFile(L"in.xml", "<root><unclosed></root>").c_str());
            HRESULT result = S_OK;
            const bool noMemory = trial.Throws([&] {
                OrvaXml xml(path, /*asynchronous=*/false, /*fromStream=*/true, /*ownFileStream=*/true);
                result = xml.Load();
            });
            EXPECT_TRUE(noMemory || FAILED(result));
        },
        withDom);
}

/// Wine's parser fails every load of a bad text; this one passes for a success with a parse error.
class DocumentWithError : public ForwardingDocument {
public:
    DocumentWithError() : ForwardingDocument(RealDocument()) {
        VARIANT_BOOL loaded = VARIANT_FALSE;
        const BSTR text = ::SysAllocString(L"<root>\n<unclosed></root>");
        m_inner->loadXML(text, &loaded);
        ::SysFreeString(text);
    }
    STDMETHODIMP load(VARIANT, VARIANT_BOOL* success) override {
        *success = VARIANT_TRUE;
        return S_OK;
    }
};

TEST(XmlFaults, ReportingTheParseErrorOfADocument) {
    const ComScope com;
    Inject(
        [](Trial& trial) {
            const MessageBoxes boxes;
            const ComPtr<IXMLDOMDocument> document = support::Adopt<IXMLDOMDocument>(new DocumentWithError);
            const ServedDocument served(document.Get());
            HRESULT result = S_OK;
            const bool noMemory = trial.Throws([&] { result = OrvaXml(L"in.xml", false, false, false).Load(); });
            EXPECT_TRUE(noMemory || FAILED(result)) << std::hex << result;
            trial.ExpectSuccessUnlessFault(!noMemory && result != E_OUTOFMEMORY);
        },
        withDom);
}

TEST(XmlFaults, SavingAndWalking) {
    const ComScope com;
    Inject(
        [](Trial& trial) {
            const CString path(trial.MakeFile(L"in.xml", contents).c_str());
            const std::wstring target = trial / L"out.xml";
            const CString targetPath(target.c_str());
            OrvaXml xml(path, false, false, false);
            ASSERT_EQ(xml.Load(), S_OK);
            HRESULT saved = E_FAIL;
            HRESULT buffered = E_FAIL;
            void* buffer = nullptr;
            UINT size = 0;
            int nodes = 0;
            bool isWalked = false;
            bool noMemory = false;
            trial.Operate([&] {
                saved = xml.Save(targetPath);
                buffered = OrvaXml::SaveToBuffer(xml.GetDocument().Get(), &buffer, &size);
            });
            noMemory = trial.Throws([&] {
                isWalked = xml.Walk(
                    [](const CString&, IXMLDOMNode*, void* count) { return ++*static_cast<int*>(count) > 0; }, &nodes);
            });
            trial.ExpectSuccessUnlessFault(saved == S_OK && buffered == S_OK && isWalked && !noMemory);
            EXPECT_TRUE(FAILED(saved) || Exists(target));
            EXPECT_EQ(buffer != nullptr, SUCCEEDED(buffered));
            EXPECT_TRUE(!isWalked || nodes >= 6) << nodes;
            ::CoTaskMemFree(buffer);
        },
        withDom);
}

TEST(XmlFaults, Attributes) {
    const ComScope com;
    Inject(
        [](Trial& trial) {
            const ComPtr<IXMLDOMDocument> document = RealDocument(L"<root/>");
            const ComPtr<IXMLDOMElement> root = RootOf(document.Get());
            const CString number(L'n', 100); // longer than what needs no block of its own
            const CString name(L"name");
            HRESULT results[3] = {E_FAIL, E_FAIL, E_FAIL};
            std::int64_t integer = -1;
            double real = -1;
            CString text(L"untouched");
            bool isInteger = false;
            bool isReal = false;
            bool isText = false;
            const bool noMemory = trial.Throws([&] {
                results[0] = OrvaXml::SetString(root.Get(), name, L"value");
                results[1] = OrvaXml::SetInt64(root.Get(), number, 42);
                isInteger = OrvaXml::TryGetInt64(root.Get(), number, integer);
                results[2] = OrvaXml::SetXmlDouble(root.Get(), number, 1.0 / 3);
                isReal = OrvaXml::TryGetDouble(root.Get(), number, real);
                OrvaXml::SetDouble(root.Get(), number, 2.5);
                OrvaXml::GetDouble(root.Get(), number);
                isText = OrvaXml::TryGetString(root.Get(), name, text);
            });
            for (const HRESULT result : results)
                trial.ExpectSuccessUnlessFault(result == S_OK);
            trial.ExpectSuccessUnlessFault(!noMemory && isInteger && isReal && isText);
            EXPECT_EQ(isInteger, integer == 42);
            EXPECT_TRUE(isReal ? real == 1.0 / 3 || FAILED(results[2]) : real == -1);
            EXPECT_TRUE(isText ? text == L"value" : text == L"untouched");
            wchar_t separator[4] = {};
            ::GetLocaleInfoW(LOCALE_USER_DEFAULT, LOCALE_SDECIMAL, separator, 4);
            EXPECT_STREQ(separator, L".") << "the user's settings have changed";
        },
        withDom);
}

/// Under a comma as decimal separator the conversion of numbers changes the user's settings, and must put them back.
TEST(XmlFaults, NumbersUnderAnotherSeparator) {
    const ComScope com;
    wchar_t before[4] = {};
    ::GetLocaleInfoW(LOCALE_USER_DEFAULT, LOCALE_SDECIMAL, before, 4);
    ::SetLocaleInfoW(LOCALE_USER_DEFAULT, LOCALE_SDECIMAL, L",");
    Inject(
        [](Trial& trial) {
            const ComPtr<IXMLDOMDocument> document = RealDocument(L"<root number='1.5'/>");
            const ComPtr<IXMLDOMElement> root = RootOf(document.Get());
            const CString number(L"number");
            double value = 0;
            trial.Operate([&] { value = OrvaXml::GetDouble(root.Get(), number); });
            trial.ExpectSuccessUnlessFault(value == 1.5);
            wchar_t separator[4] = {};
            ::GetLocaleInfoW(LOCALE_USER_DEFAULT, LOCALE_SDECIMAL, separator, 4);
            EXPECT_STREQ(separator, L",") << "the user's settings have changed";
        },
        {.inARow = 1});
    ::SetLocaleInfoW(LOCALE_USER_DEFAULT, LOCALE_SDECIMAL, before);
}

TEST(XmlFaults, LandXmlRoot) {
    const ComScope com;
    Inject(
        [](Trial& trial) {
            const ComPtr<IXMLDOMDocument> document = RealDocument();
            OrvaXml::ElementPointer root;
            OrvaXml::ElementPointer found;
            OrvaXml::NodePointer child;
            const bool noMemory = trial.Throws([&] {
                root = OrvaXml::CreateLandXMLRoot(document.Get());
                found = OrvaXml::GetLandXMLRoot(document.Get());
                child = OrvaXml::CreateElement(document.Get(), root.Get(), L"Units");
            });
            trial.ExpectSuccessUnlessFault(!noMemory && root && found && child);
        },
        withDom);
}

/// Runs a helper that throws its status as a text.
template <class Helper>
bool Succeeds(Trial& trial, Helper helper) {
    bool succeeds = false;
    trial.Operate([&] {
        try {
            helper();
            succeeds = true;
        } catch (const CString& status) {
            EXPECT_FALSE(status.IsEmpty());
        }
    });
    return succeeds;
}

TEST(XmlFaults, HelpersForFiles) {
    const ComScope com;
    Inject(
        [](Trial& trial) {
            const std::wstring file = trial.MakeFile(L"there.xml", contents);
            const CString path(file.c_str());
            const CString fresh(trial.MakeFile(L"fresh.xml", contents).c_str());
            const OrvaXmlStringArray instructions = {L"xml", L"version='1.0'"};
            const OrvaXmlStringArray nodes = {L"made", L"a=1"};
            const ComPtr<IXMLDOMDocument> document = RealDocument();
            const ComPtr<IXMLDOMDocument> other = RealDocument();
            const bool isThere =
                Succeeds(trial, [&] { OrvaXmlCreateFile(path, document.Get(), instructions, nodes, false); });
            EXPECT_EQ(ReadFile(file), contents) << "a file that is there is loaded, not written";
            const bool isMade =
                Succeeds(trial, [&] { OrvaXmlCreateFile(fresh, other.Get(), instructions, nodes, true); });
            trial.ExpectSuccessUnlessFault(isThere && isMade);
            const ComPtr<IXMLDOMDocument> again = RealDocument();
            EXPECT_TRUE(!isMade || OrvaXmlLoadFile(fresh, again.Get()));
        },
        withDom);
}

TEST(XmlFaults, HelpersForNodes) {
    const ComScope com;
    Inject(
        [](Trial& trial) {
            const ComPtr<IXMLDOMDocument> document = RealDocument(L"<root><n a='1' b='2'>x</n><n a='3'>y</n></root>");
            const CString name(L"n");
            const CString attribute(L"a");
            const CString value(L"3");
            const CString madeName(L"made");
            OrvaXmlNodeArray nodes;
            OrvaXmlStringArray values(1, L"untouched");
            std::vector<OrvaXmlAttributeArray> attributes;
            OrvaXmlNode made;
            const bool succeeds = Succeeds(trial, [&] {
                OrvaXmlGetChildNodes(document.Get(), name, &nodes);
                OrvaXmlGetChildNodes(document.Get(), name, &attributes);
                OrvaXmlGetAttributes(&nodes, attribute, &values);
                OrvaXmlFindNode(&nodes, attribute, value);
                made = OrvaXmlAppendElement(document.Get(), madeName, value);
                OrvaXmlGetDocumentChildren(document.Get());
            });
            trial.ExpectSuccessUnlessFault(succeeds && nodes.size() == 2 && made);
            EXPECT_TRUE(nodes.empty() || nodes.size() == 2);
            EXPECT_TRUE(attributes.empty() || attributes.size() == 2);
            EXPECT_TRUE(values.size() == 1 ? values[0] == L"untouched" : values.size() >= 2);
        },
        withDom);
}

} // namespace
} // namespace tarnu::test::faults
